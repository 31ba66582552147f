#include "Host.h"

#include <QGuiApplication>
#include <utility>

#include "module/EntryPointrimage.h"

namespace {

std::vector<std::string> gMessages;

void KeepMessage(QtMsgType, const QMessageLogContext&, const QString& text) {
  gMessages.push_back(text.trimmed().toStdString());
}

}  // namespace

Host::Host(char* program) : mArguments{program, nullptr} {
  qInstallMessageHandler(KeepMessage);
  EntryPointrimage(kDllStart);
}

Host::~Host() { qInstallMessageHandler(nullptr); }

void Host::StartGui() {
  if (mGui) return;
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  mGui = std::make_unique<QGuiApplication>(mArgumentCount, mArguments);
}

std::vector<std::string> Host::TakeMessages() { return std::exchange(gMessages, {}); }
