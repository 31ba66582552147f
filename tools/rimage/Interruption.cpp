#include "Interruption.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>

#include "Descriptor.h"

namespace {

constexpr std::array kInterruptions = {SIGINT, SIGTERM, SIGHUP};

// For the signal handler, which may use nothing that allocates or locks.
TemporaryNames gOwnTemporaries = {};
TemporaryNames* gTemporaries = &gOwnTemporaries;
std::array<pid_t, kMostChildren> gChildren = {};

extern "C" void HandleInterruption(int signal) {
  for (const pid_t child : gChildren) {
    if (child > 0) kill(child, SIGTERM);
  }
  // They remove their own files first.
  for (const pid_t child : gChildren) {
    if (child > 0) (void)Uninterrupted([&] { return waitpid(child, nullptr, 0); });
  }
  RemoveTemporaryFiles(*gTemporaries);
  _exit(128 + signal);
}

void Handle(int signal) {
  struct sigaction action {};
  action.sa_handler = HandleInterruption;
  sigfillset(&action.sa_mask);
  sigaction(signal, &action, nullptr);
}

bool Replace(pid_t from, pid_t to) {
  auto* const place = std::ranges::find(gChildren, from);
  if (place == gChildren.end()) return false;
  *place = to;
  return true;
}

}  // namespace

void InstallInterruptHandlers() {
  for (const int signal : kInterruptions) {
    struct sigaction before {};
    sigaction(signal, nullptr, &before);
    // Who runs the tool in the background with interruptions ignored wants it to go on.
    if (before.sa_handler != SIG_IGN) Handle(signal);
  }
  std::signal(SIGXFSZ, SIG_IGN);
}

TemporaryName& NoteTemporaryFile(std::string_view name) {
  TemporaryName& note = (*gTemporaries)[0][0] == '\0' ? (*gTemporaries)[0] : (*gTemporaries)[1];
  note.at(name.copy(note.data(), name.size())) = '\0';
  return note;
}

void KeepTemporaryFilesIn(TemporaryNames& names) { gTemporaries = &names; }

void RemoveTemporaryFiles(const TemporaryNames& names) {
  for (const TemporaryName& name : names) {
    if (name[0] != '\0') unlink(name.data());
  }
}

bool NoteChild(pid_t child) { return Replace(0, child); }

void ForgetChild(pid_t child) { (void)Replace(child, 0); }

void StartAsChild() {
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  gChildren = {};
  gOwnTemporaries = {};
  gTemporaries = &gOwnTemporaries;
  Handle(SIGTERM);
}

InterruptionsHeld::InterruptionsHeld() {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : kInterruptions) sigaddset(&set, signal);
  sigprocmask(SIG_BLOCK, &set, &mBefore);
}

InterruptionsHeld::~InterruptionsHeld() { sigprocmask(SIG_SETMASK, &mBefore, nullptr); }
