// How the tool fails: one exception type, one form of message, one list of exit codes.
#pragma once

#include <exception>
#include <functional>
#include <new>
#include <string>

/// What the program answers to its caller.
enum class ExitCode : int {
  kOk = 0,
  kDifferent = 1,  ///< the pictures differ, or some inputs of several failed
  kUsage = 2,
  kRead = 3,
  kWrite = 4,
  kNoGpu = 5,  ///< a GPU is required and there is none
  kInterrupted = 130,
};

/// A reason to stop, as a person reads it: "rimage: SUBJECT: REASON (HINT)".
class Failure : public std::exception {
 public:
  /// `subject` is the file (or the sub-command of a usage error); an empty `hint` is left out.
  Failure(ExitCode code, const std::string& subject, const std::string& reason, const std::string& hint = {});

  ExitCode Code() const { return mCode; }
  /// Returns the reason with its hint, without the subject.
  const std::string& Reason() const { return mReason; }
  const char* what() const noexcept override { return mMessage.c_str(); }

 private:
  ExitCode mCode;
  std::string mReason;
  std::string mMessage;
};

/// Returns the reason of an error number, such as "No space left on device".
std::string ErrorText(int number);

/// Returns the text on one line: control characters become \n, \t or \xHH.
std::string Printable(const std::string& text);

/// Returns the usage error of an option whose value cannot be taken; `hint` tells what can.
Failure WrongValue(const std::string& option, const std::string& value, const std::string& hint);

/// Shows text on standard error. One that is closed or full must not change how the program ends.
void Say(const std::string& text);

/// Shows "rimage: SUBJECT: TEXT" on standard error.
void ShowNote(const std::string& subject, const std::string& text);

/// Shows the failure's message on standard error.
void Show(const Failure& failure);

/// Does the work and answers its exit code; what it throws is shown, and has an exit code as well.
ExitCode RunCaught(const std::function<ExitCode()>& work);

/// Does the work; memory that runs out in it becomes a failure that names its subject.
template <class Work>
auto NamingMemoryFailure(ExitCode code, const std::string& subject, const Work& work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    throw Failure(code, subject, "not enough memory", "no picture can take more than 2 GiB");
  }
}
