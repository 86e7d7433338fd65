// The fault-injection hook of growth operations; its counter is process-wide,
// so every case runs in a child.
#include <kr/diag.h>

#include <gtest/gtest.h>

#include <string>

#include "child_process.h"
#include "recording_config.h"

namespace {

using kr_test::RecordingConfig;

// The answers of TestHandler for `kinds`, then the number of questions asked.
std::string Answers(char const* counter, std::vector<int> const& kinds) {
  kr_test::ChildResult result = kr_test::RunInChild([&] {
    RecordingConfig config;
    if (counter) config.Set("test", "growErrorCounter", counter);
    DefaultConfig(&config);
    for (int kind : kinds) {
      if (kind < 0) {
        TestHandlerReset();
      } else {
        std::printf("%d ", TestHandler(static_cast<unsigned long>(kind), nullptr, nullptr));
      }
    }
    std::printf("| %zu", config.calls.size());
    return 0;
  });
  return result.out;
}

TEST(TestHandler, CounterFailsTheFirstGrowthCallsOnly) {
  // Kinds other than 1 neither fail nor count, but do read the counter.
  EXPECT_EQ(Answers("2", {2, 1, 0, 1, 1, 1}), "0 -313 0 -313 0 0 | 1");
  EXPECT_EQ(Answers(nullptr, {1, 1}), "0 0 | 1");
  EXPECT_EQ(Answers("-3", {1}), "0 | 1");
}

TEST(TestHandler, ResetForgetsTheCounterAndReadsItAgain) {
  EXPECT_EQ(Answers("3", {1, -1, 1, 1, 1, 1}), "-313 -313 -313 -313 0 | 2");
  kr_test::ChildResult result = kr_test::RunInChild([] {
    RecordingConfig config;
    config.Set("test", "growErrorCounter", "3");
    DefaultConfig(&config);
    int first = TestHandler(1, nullptr, nullptr);
    TestHandlerReset();
    config.Erase("test", "growErrorCounter");  // missing now: the reset's 0 stays
    int second = TestHandler(1, nullptr, nullptr);
    return first == -313 && second == 0 && config.calls.size() == 2 ? 0 : 1;
  });
  EXPECT_EQ(result.exitCode, 0);
}

}  // namespace
