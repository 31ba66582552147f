#include "rbaselib/RMessageHandler.h"

#include <atomic>
#include <cstdio>

namespace {

RMessageHandler& PrintingHandler() {
  static RMessageHandler& handler = *new RMessageHandler;
  return handler;
}

std::atomic<RMessageHandler*> gMainHandler = nullptr;

}  // namespace

RMessageHandler::~RMessageHandler() = default;

void RMessageHandler::DisplayWarning(const char* title, const char* text, const char*) {
  std::fprintf(stderr, "Warning: %s: %s\n", title ? title : "", text ? text : "");
}

RMessageHandler* GetMainMessageHandler() {
  RMessageHandler* handler = gMainHandler;
  return handler ? handler : &PrintingHandler();
}

RMessageHandler* SetMainMessageHandler(RMessageHandler* handler) {
  RMessageHandler* before = gMainHandler.exchange(handler);
  return before ? before : &PrintingHandler();
}
