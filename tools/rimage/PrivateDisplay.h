// An X server of the tool's own.
#pragma once

#include <sys/types.h>

#include <memory>
#include <string>

/// A virtual X server that draws in memory. It ends with the object, and also with the process when that is
/// killed.
class PrivateDisplay {
 public:
  /// Starts Xvfb; null with a `reason` when it is not installed or does not come up.
  static std::unique_ptr<PrivateDisplay> Start(std::string& reason);
  ~PrivateDisplay();
  PrivateDisplay(const PrivateDisplay&) = delete;
  PrivateDisplay& operator=(const PrivateDisplay&) = delete;

  /// Returns its name as in DISPLAY.
  const std::string& Name() const { return mName; }

 private:
  PrivateDisplay(pid_t server, std::string name) : mServer(server), mName(std::move(name)) {}

  pid_t mServer;
  std::string mName;
};
