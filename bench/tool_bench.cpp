// The command-line host from start to end, beside a bare Qt program: start, read, convert and write 256 x 256
// pixels.
#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QImage>
#include <array>
#include <string>

namespace {

std::string InMemory(const char* name) {
  return "/dev/shm/rimage-bench-" + std::to_string(getpid()) + '-' + name;
}

QImage MakePicture(bool translucent) {
  QImage picture(256, 256, QImage::Format_ARGB32);
  for (int y = 0; y < 256; ++y) {
    for (int x = 0; x < 256; ++x)
      picture.setPixel(x, y, qRgba(x, y, (x * y) & 255, translucent ? x ^ y : 255));
  }
  return picture;
}

int Run(const char* program, const char* command, const std::string& input, const std::string& output) {
  std::array<char*, 5> arguments{};
  std::size_t count = 0;
  arguments[count++] = const_cast<char*>(program);
  if (command) arguments[count++] = const_cast<char*>(command);
  arguments[count++] = const_cast<char*>(input.c_str());
  arguments[count++] = const_cast<char*>(output.c_str());
  pid_t process = 0;
  int status = -1;
  if (posix_spawn(&process, program, nullptr, nullptr, arguments.data(), environ) != 0) return -1;
  waitpid(process, &status, 0);
  return status;
}

void Convert(benchmark::State& state, const char* program, const char* command, bool translucent) {
  const std::string input = InMemory("in.png");
  const std::string output = InMemory("out.png");
  const QImage picture = MakePicture(translucent);
  picture.save(QString::fromStdString(input));
  if (Run(program, command, input, output) != 0 || QImage(QString::fromStdString(output)) != picture) {
    state.SkipWithError("the picture does not come out as it went in");
  }
  for (auto _ : state) {
    if (Run(program, command, input, output) != 0) state.SkipWithError("the program failed");
  }
  state.SetBytesProcessed(state.iterations() * picture.sizeInBytes());
  unlink(input.c_str());
  unlink(output.c_str());
}

void ConvertByTool(benchmark::State& state, bool translucent) {
  Convert(state, RIMAGE_TOOL, "convert", translucent);
}

void ConvertByBareQt(benchmark::State& state, bool translucent) {
  Convert(state, RIMAGE_BARE_QT, nullptr, translucent);
}

BENCHMARK_CAPTURE(ConvertByTool, opaque, false)->Name("ToolConvert256/ours")->UseRealTime();
BENCHMARK_CAPTURE(ConvertByBareQt, opaque, false)->Name("ToolConvert256/bare_qt")->UseRealTime();
BENCHMARK_CAPTURE(ConvertByTool, translucent, true)->Name("ToolConvert256Translucent/ours")->UseRealTime();
BENCHMARK_CAPTURE(ConvertByBareQt, translucent, true)
    ->Name("ToolConvert256Translucent/bare_qt")
    ->UseRealTime();

}  // namespace
