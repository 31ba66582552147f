#include "Failure.h"

#include <fmt/format.h>

#include <cstdio>
#include <system_error>

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

Failure WrongValue(const std::string& option, const std::string& value, const std::string& hint) {
  return {ExitCode::kUsage, option, fmt::format("wrong value '{}'", Printable(value)), hint};
}

void Say(const std::string& text) { (void)std::fputs(text.c_str(), stderr); }

void ShowNote(const std::string& subject, const std::string& text) {
  Say(fmt::format("rimage: {}: {}\n", Printable(subject), text));
}

void Show(const Failure& failure) { Say(fmt::format("{}\n", failure.what())); }

ExitCode RunCaught(const std::function<ExitCode()>& work) {
  try {
    return work();
  } catch (const Failure& failure) {
    Show(failure);
    return failure.Code();
  } catch (const std::bad_alloc&) {
    ShowNote("memory", "not enough for this picture (no picture can take more than 2 GiB)");
    return ExitCode::kRead;
  } catch (const std::system_error& error) {
    ShowNote("standard output", ErrorText(error.code().value()));
    return ExitCode::kWrite;
  } catch (const std::exception& error) {
    ShowNote("internal error", error.what());
    return ExitCode::kUsage;
  }
}
