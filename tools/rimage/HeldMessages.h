// What libraries say while they decode and encode.
#pragma once

#include <string>
#include <vector>

/// Holds back what is written to standard error while the object lives: Qt and the decoders under it talk to
/// it directly, without naming a file. When the process aborts meanwhile, the messages go out, for they tell
/// why.
class HeldMessages {
 public:
  /// Remarks of Qt are messages about a file only while one is read or written.
  explicit HeldMessages(bool withQt = true);
  ~HeldMessages();
  HeldMessages(const HeldMessages&) = delete;
  HeldMessages& operator=(const HeldMessages&) = delete;

  /// Ends the holding and returns the lines that were said.
  std::vector<std::string> Take();

  /// Whether an object holds messages back now, Qt's included.
  static bool IsHolding();

 private:
  static void PassOnAndAbort(int signal);
  void Restore();

  static HeldMessages* sInnermost;

  HeldMessages* mOuter;
  bool mWasHolding;
  int mStandardError = -1;  // where standard error went before
  int mHeld = -1;           // where it goes meanwhile
};
