// Replacement of the Cg runtime's functions by recording ones, in a whole test program.
//
// Every function of Cg/cg.h and Cg/cgGL.h exists in the test program under its own name, so that the module
// reaches it here first. It carries the call out on the runtime, unless a test lets it fail.
#pragma once

#include <string>
#include <vector>

namespace test {

/// Notes the calls until it goes. One at a time.
class CgRecorder {
 public:
  CgRecorder();
  ~CgRecorder();
  CgRecorder(const CgRecorder&) = delete;
  CgRecorder& operator=(const CgRecorder&) = delete;

  /// Every call in order, with the arguments that tell it from others: programs by their entry points,
  /// parameters by their names, numbers and profiles as "vertex" or "fragment". The calls that ask for errors
  /// are only counted.
  const std::vector<std::string>& Calls() const { return mCalls; }
  /// The calls one a line.
  std::string Text() const;
  /// How often the runtime was asked for its error.
  int ErrorQueries() const { return mErrorQueries; }
  void Clear() { mCalls.clear(); }
  void Add(std::string call) { mCalls.push_back(std::move(call)); }
  void AddErrorQuery() { ++mErrorQueries; }

 private:
  std::vector<std::string> mCalls;
  int mErrorQueries = 0;
};

/// How a call fails.
enum class CgFailureKind {
  kNull,    ///< it does nothing and hands out null, with an error
  kResult,  ///< it is carried out, with an error
  kSilent,  ///< it does nothing and hands out null, without an error
};

/// Lets a call, written as the recorder writes it, fail each time as long as it lives. One at a time.
class CgFailure {
 public:
  explicit CgFailure(const std::string& call, CgFailureKind kind = CgFailureKind::kNull);
  ~CgFailure();
  CgFailure(const CgFailure&) = delete;
  CgFailure& operator=(const CgFailure&) = delete;

  /// The text of the error.
  static constexpr const char* kText = "failed by the test";
};

/// Leaves an error behind that is none of the module's.
void LeaveCgError();

}  // namespace test
