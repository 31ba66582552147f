#include "Host.h"

#include <QGuiApplication>
#include <cstdio>

#include "Failure.h"
#include "HeldMessages.h"
#include "IsolatedReader.h"
#include "module/EntryPointrimage.h"

namespace {

// Messages about files are held back and told with the file's name; other remarks of Qt are no concern of the
// user.
void ShowMessage(QtMsgType type, const QMessageLogContext&, const QString& text) {
  const std::string line = Printable(text.trimmed().toStdString());
  if (type == QtFatalMsg)
    ShowNote("Qt", line);
  else if (HeldMessages::IsHolding())
    Say(line + '\n');
}

}  // namespace

Host::Host(char* program) : mArguments{program, nullptr} {
  qInstallMessageHandler(ShowMessage);
  EntryPointrimage(kDllStart);
}

Host::~Host() { qInstallMessageHandler(nullptr); }

void Host::StartGui() {
  if (mGui) return;
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  mGui = std::make_unique<QGuiApplication>(mArgumentCount, mArguments);
}

const Gpu& Host::FindGpu(GpuMode mode) {
  if (!mGpu) mGpu = std::make_unique<Gpu>(mode);
  return *mGpu;
}

const Gpu& Host::StartGpu(GpuMode mode) {
  const Gpu& gpu = FindGpu(mode);
  if (mGui || !gpu.IsUsable()) return gpu;
  // Pictures that are read with a context of their own share it through Qt's global one.
  QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
  StartGui();
  return gpu;
}

void Host::StartIsolation(const ReadOptions& options) {
  if (!mIsolation) mIsolation = std::make_unique<IsolatedReader>(*this, options);
}
