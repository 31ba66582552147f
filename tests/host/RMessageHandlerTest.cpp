#include "rbaselib/RMessageHandler.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

struct Keeper : RMessageHandler {
  void DisplayWarning(const char* title, const char* text, const char* button) override {
    last = std::string(title) + '|' + text + '|' + button;
  }
  std::string last;
};

TEST(RMessageHandler, PrintsToStandardError) {
  testing::internal::CaptureStderr();
  GetMainMessageHandler()->DisplayWarning("title", "100 % text", "Ok");
  GetMainMessageHandler()->DisplayWarning(nullptr, nullptr, nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Warning: title: 100 % text\nWarning: : \n");
}

TEST(RMessageHandler, CanBeReplacedAndBroughtBack) {
  RMessageHandler* printing = GetMainMessageHandler();
  ASSERT_NE(printing, nullptr);
  Keeper first;
  Keeper second;
  EXPECT_EQ(SetMainMessageHandler(&first), printing);
  EXPECT_EQ(GetMainMessageHandler(), &first);
  GetMainMessageHandler()->DisplayWarning("a", "b", "c");
  EXPECT_EQ(first.last, "a|b|c");
  EXPECT_EQ(SetMainMessageHandler(&second), &first);
  EXPECT_EQ(SetMainMessageHandler(printing), &second);
  EXPECT_EQ(GetMainMessageHandler(), printing);
}

TEST(RMessageHandler, NullBringsThePrintingHandlerBack) {
  RMessageHandler* printing = GetMainMessageHandler();
  Keeper keeper;
  SetMainMessageHandler(&keeper);
  EXPECT_EQ(SetMainMessageHandler(nullptr), &keeper);
  EXPECT_EQ(GetMainMessageHandler(), printing);
}

TEST(RMessageHandler, MayBeReplacedWhileOthersAsk) {
  struct Counter : RMessageHandler {
    void DisplayWarning(const char*, const char*, const char*) override { ++count; }
    std::atomic<int> count = 0;
  } a, b;
  SetMainMessageHandler(&a);
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([] {
      for (int round = 0; round < 1000; ++round) GetMainMessageHandler()->DisplayWarning("", "", "");
    });
  }
  for (int round = 0; round < 1000; ++round) SetMainMessageHandler(round % 2 ? &a : &b);
  for (auto& thread : threads) thread.join();
  SetMainMessageHandler(nullptr);
  EXPECT_EQ(a.count + b.count, 3000);
}

}  // namespace
