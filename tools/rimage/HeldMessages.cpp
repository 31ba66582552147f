#include "HeldMessages.h"

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <csignal>

#include "Descriptor.h"

namespace {
bool gHolding = false;
}

HeldMessages* HeldMessages::sInnermost = nullptr;

HeldMessages::HeldMessages(bool withQt) : mOuter(sInnermost), mWasHolding(gHolding) {
  mHeld = memfd_create("rimage-messages", MFD_CLOEXEC);
  if (mHeld < 0) return;
  mStandardError = dup(STDERR_FILENO);
  const bool isHeld = mStandardError >= 0 && dup2(mHeld, STDERR_FILENO) >= 0;
  gHolding = isHeld && withQt;
  if (!isHeld) return;
  sInnermost = this;
  (void)std::signal(SIGABRT, PassOnAndAbort);
}

HeldMessages::~HeldMessages() {
  Restore();
  if (mHeld >= 0) close(mHeld);
}

void HeldMessages::Restore() {
  if (mStandardError < 0) return;
  (void)dup2(mStandardError, STDERR_FILENO);
  close(mStandardError);
  mStandardError = -1;
  gHolding = mWasHolding;
  sInnermost = mOuter;
}

// A signal handler: nothing may allocate.
void HeldMessages::PassOnAndAbort(int signal) {
  std::array<char, 4096> part;
  off_t done = 0;
  for (ssize_t size = 0; sInnermost && (size = pread(sInnermost->mHeld, part.data(), part.size(), done)) > 0;
       done += size) {
    if (!WriteWhole(sInnermost->mStandardError, part.data(), static_cast<std::size_t>(size))) break;
  }
  (void)std::signal(signal, SIG_DFL);
  (void)raise(signal);
}

bool HeldMessages::IsHolding() { return gHolding; }

std::vector<std::string> HeldMessages::Take() {
  Restore();
  // The start is enough: a decoder that goes wrong may repeat itself for every row.
  std::array<char, 4096> start;
  const ssize_t size = mHeld < 0 ? 0 : pread(mHeld, start.data(), start.size(), 0);
  std::vector<std::string> lines;
  std::string line;
  for (ssize_t i = 0; i < size; ++i) {
    const char c = start[static_cast<std::size_t>(i)];
    if (c != '\n') line += c;
    if (c != '\n' || line.empty()) continue;
    lines.push_back(std::move(line));
    line.clear();
  }
  return lines;
}
