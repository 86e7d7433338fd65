// The fault-injection hook of growth operations.
#include <kr/diag.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "child_process.h"
#include "recording_config.h"

namespace {

using kr_test::RecordingConfig;
using kr_test::RunInChild;

// Runs `body` in a child and returns what it printed to standard output.
std::string InChild(std::function<void()> body) {
  auto result = RunInChild([&] {
    body();
    return 0;
  });
  EXPECT_TRUE(result.exited);
  EXPECT_EQ(result.err, "");
  return result.out;
}

void Print(int value) { std::printf("%d ", value); }

TEST(TestHandler, CounterFailsTheFirstGrowthCallsOnly) {
  std::string out = InChild([] {
    RecordingConfig config;
    config.Set("test", "growErrorCounter", "2");
    DefaultConfig(&config);
    Print(TestHandler(1, nullptr, nullptr));
    Print(TestHandler(2, nullptr, nullptr));  // other kinds neither fail nor count
    Print(TestHandler(0, nullptr, nullptr));
    Print(TestHandler(1, nullptr, nullptr));
    Print(TestHandler(1, nullptr, nullptr));
    Print(TestHandler(1, nullptr, nullptr));
    std::printf("| %zu %s", config.calls.size(), config.calls[0].c_str());
  });
  EXPECT_EQ(out, "-313 0 0 -313 0 0 | 1 GetInt test:growErrorCounter");
}

TEST(TestHandler, OtherKindReadsTheCounterToo) {
  std::string out = InChild([] {
    RecordingConfig config;
    config.Set("test", "growErrorCounter", "1");
    DefaultConfig(&config);
    Print(TestHandler(7, nullptr, nullptr));
    config.Set("test", "growErrorCounter", "5");  // read already
    Print(TestHandler(1, nullptr, nullptr));
    Print(TestHandler(1, nullptr, nullptr));
    std::printf("| %zu", config.calls.size());
  });
  EXPECT_EQ(out, "0 -313 0 | 1");
}

TEST(TestHandler, WithoutConfigurationNeverFails) {
  std::string out = InChild([] {
    for (int i = 0; i < 3; ++i) Print(TestHandler(1, nullptr, nullptr));
  });
  EXPECT_EQ(out, "0 0 0 ");
}

TEST(TestHandler, ResetReadsTheConfigurationAgain) {
  std::string out = InChild([] {
    RecordingConfig config;
    config.Set("test", "growErrorCounter", "3");
    DefaultConfig(&config);
    Print(TestHandler(1, nullptr, nullptr));
    TestHandlerReset();  // forgets the two failures left
    config.Erase("test", "growErrorCounter");
    Print(TestHandler(1, nullptr, nullptr));
    TestHandlerReset();
    config.Set("test", "growErrorCounter", "1");
    Print(TestHandler(1, nullptr, nullptr));
    Print(TestHandler(1, nullptr, nullptr));
    std::printf("| %zu", config.calls.size());
  });
  EXPECT_EQ(out, "-313 0 -313 0 | 3");
}

}  // namespace
