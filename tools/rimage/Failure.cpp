#include "Failure.h"

#include <fmt/format.h>

#include <cstdio>
#include <system_error>

namespace {

// A standard error that is closed or full must not change how the program ends.
void Say(const std::string& line) { (void)std::fputs(line.c_str(), stderr); }

}  // namespace

Failure::Failure(ExitCode code, const std::string& subject, const std::string& reason,
                 const std::string& hint)
    : mCode(code),
      mReason(hint.empty() ? reason : fmt::format("{} ({})", reason, hint)),
      mMessage(fmt::format("rimage: {}: {}", Printable(subject), mReason)) {}

std::string ErrorText(int number) { return std::generic_category().message(number); }

std::string Printable(const std::string& text) {
  std::string line;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '\n')
      line += "\\n";
    else if (c == '\t')
      line += "\\t";
    else if (byte < 0x20 || byte == 0x7F)
      line += fmt::format("\\x{:02X}", byte);
    else
      line += c;
  }
  return line;
}

void ShowNote(const std::string& subject, const std::string& text) {
  Say(fmt::format("rimage: {}: {}\n", Printable(subject), text));
}

void Show(const Failure& failure) { Say(fmt::format("{}\n", failure.what())); }
