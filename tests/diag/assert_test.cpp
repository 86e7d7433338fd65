// KIRO_assert, its modes and the fatal-error callback. The mode is read once
// per process, so every case runs in a child of its own.
#include <kr/diag.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <vector>

#include "child_process.h"
#include "recording_config.h"

namespace {

using kr_test::ChildResult;
using kr_test::RecordingConfig;
using kr_test::RunInChild;

// What happened in order: callback calls and configuration questions.
std::vector<std::string>* events = nullptr;

struct EventConfig : RecordingConfig {
  int GetInt(char const* key, int* value, char const** sectionPath) override {
    if (events) events->push_back(std::string("config ") + key);
    return RecordingConfig::GetInt(key, value, sectionPath);
  }
};

void RecordCallback(char const* condition, char const* file, int line) {
  events->push_back(std::string("callback ") + condition + " " + file + " " + std::to_string(line));
}

// Fails one assertion in a child with "assertMode" set to `mode` (no key when
// null) and reports its result as the exit status (100 + result).
ChildResult FailWithMode(char const* mode) {
  return RunInChild([mode] {
    KrIniConfig config;
    if (mode) config.Set("debug", "assertMode", mode);
    DefaultConfig(&config);
    return 100 + KIRO_assert("x > 0", "kr_file.cpp", 42);
  });
}

// A deliberate null read ends the child with SIGSEGV; under the sanitizers
// their own handler reports it instead and exits.
void ExpectSegmentationFault(ChildResult const& result) {
#if defined(__SANITIZE_ADDRESS__)
  bool sanitizerReport = result.exited &&
                         (result.err.find("AddressSanitizer: SEGV") != std::string::npos ||
                          result.err.find("load of null pointer") != std::string::npos);
  EXPECT_TRUE(result.signal == SIGSEGV || sanitizerReport) << result.err;
#else
  EXPECT_FALSE(result.exited);
  EXPECT_EQ(result.signal, SIGSEGV);
#endif
}

TEST(Assert, WithoutConfigurationAbortsThroughTheStandardAssertion) {
  ChildResult result = RunInChild([] { return KIRO_assert("x > 0", "kr_file.cpp", 42); });
  EXPECT_FALSE(result.exited);
  EXPECT_EQ(result.signal, SIGABRT);
  // The C library's message. An empty (not null) function name shows as an
  // empty field between the line number and "Assertion".
  std::string tail = ": kr_file.cpp:42: : Assertion `x > 0' failed.\n";
  ASSERT_GE(result.err.size(), tail.size()) << result.err;
  EXPECT_EQ(result.err.substr(result.err.size() - tail.size()), tail);
  EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
}

TEST(Assert, ConfigurationWithoutTheKeyAborts) {
  ChildResult result = FailWithMode(nullptr);
  EXPECT_EQ(result.signal, SIGABRT);
  EXPECT_NE(result.err.find("kr_file.cpp:42: : Assertion `x > 0' failed."), std::string::npos);
  EXPECT_EQ(FailWithMode("0").signal, SIGABRT);
}

TEST(Assert, ModesThatReturn) {
  struct Case {
    char const* mode;
    int result;
  } const cases[] = {{"1", 0}, {"4", 1}, {"5", 1}, {"-7", 1}, {"-1", 1}, {"2147483647", 1}};
  for (Case const& c : cases) {
    ChildResult result = FailWithMode(c.mode);
    EXPECT_TRUE(result.exited) << c.mode;
    EXPECT_EQ(result.exitCode, 100 + c.result) << c.mode;
    EXPECT_EQ(result.err, "") << c.mode;  // the text is built and dropped
  }
}

TEST(Assert, ModesTwoAndThreeFault) {
  ExpectSegmentationFault(FailWithMode("2"));
  ExpectSegmentationFault(FailWithMode("3"));
}

TEST(Assert, CallbackComesFirstAndOnEveryFailure) {
  ChildResult result = RunInChild([] {
    std::vector<std::string> seen;
    events = &seen;
    EventConfig config;
    config.Set("debug", "assertMode", "1");
    DefaultConfig(&config);
    if (SetFatalErrorCallback(RecordCallback) != nullptr) return 1;
    int first = KIRO_assert("a", "f.cpp", 1);
    config.Set("debug", "assertMode", "0");  // read already: no effect
    int second = KIRO_assert("b", "g.cpp", 2);
    for (std::string const& event : seen) std::printf("%s|", event.c_str());
    return first * 10 + second;
  });
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, "callback a f.cpp 1|config assertMode|callback b g.cpp 2|");
}

TEST(Assert, ConfiguredMinusOneIsReadAgain) {
  ChildResult result = RunInChild([] {
    std::vector<std::string> seen;
    events = &seen;
    EventConfig config;
    config.Set("debug", "assertMode", "-1");
    DefaultConfig(&config);
    int first = KIRO_assert("a", "f.cpp", 1);
    config.Set("debug", "assertMode", "1");
    int second = KIRO_assert("a", "f.cpp", 1);
    int third = KIRO_assert("a", "f.cpp", 1);
    std::printf("%d %d %d %zu", first, second, third, seen.size());
    return 0;
  });
  EXPECT_EQ(result.out, "1 0 0 2");
}

TEST(Assert, CallbackThatEndsTheProcessEndsIt) {
  ChildResult result = RunInChild([] {
    SetFatalErrorCallback([](char const*, char const*, int line) { _exit(line); });
    KIRO_assert("never", "here.cpp", 7);
    return 1;
  });
  EXPECT_TRUE(result.exited);
  EXPECT_EQ(result.exitCode, 7);
  EXPECT_EQ(result.err, "");
}

TEST(Assert, CallbackIsCalledBeforeTheAbort) {
  ChildResult result = RunInChild([] {
    SetFatalErrorCallback([](char const* condition, char const*, int) {
      std::fprintf(stderr, "callback saw %s\n", condition);
    });
    return KIRO_assert("p != 0", "q.cpp", 9);
  });
  EXPECT_EQ(result.signal, SIGABRT);
  EXPECT_EQ(result.err.rfind("callback saw p != 0\n", 0), 0u) << result.err;
}

TEST(FatalErrorCallback, SetReturnsThePreviousAndNullStopsTheCalls) {
  ChildResult result = RunInChild([] {
    static int calls = 0;
    KrFatalErrorCallback counting = [](char const*, char const*, int) { ++calls; };
    KrFatalErrorCallback other = [](char const*, char const*, int) { calls += 100; };
    KrIniConfig config;
    config.Set("debug", "assertMode", "1");
    DefaultConfig(&config);
    if (GetFatalErrorCallback() != nullptr || fatalErrorCallback != nullptr) return 1;
    if (SetFatalErrorCallback(counting) != nullptr) return 2;
    if (GetFatalErrorCallback() != counting || fatalErrorCallback != counting) return 3;
    KIRO_assert("a", "b", 1);
    if (SetFatalErrorCallback(other) != counting) return 4;
    KIRO_assert("a", "b", 1);
    if (SetFatalErrorCallback(nullptr) != other) return 5;
    KIRO_assert("a", "b", 1);
    if (GetFatalErrorCallback() != nullptr) return 6;
    return calls == 101 ? 0 : 7;
  });
  EXPECT_EQ(result.exitCode, 0);
}

TEST(AssertTexts, ByteExact) {
  EXPECT_STREQ(assFmtU, "Assertion '%s' failed.\nFile '%s' \nLine %d \n");
  EXPECT_STREQ(assFmtW, "Assertion '%s' failed.\nFile '%s' \nLine %d \nPress retry TO DEBUG.");
  EXPECT_STREQ(assHeader, "Norvane Runtime Debugging");
}

TEST(AssertTexts, PointersAreWritable) {
  ChildResult result = RunInChild([] {
    assFmtU = "%s|%s|%d";
    KrIniConfig config;
    config.Set("debug", "assertMode", "1");
    DefaultConfig(&config);
    // A caller's format is used without harm, however long the result.
    std::string longCondition(5000, 'c');
    return KIRO_assert(longCondition.c_str(), "f", 1);
  });
  EXPECT_TRUE(result.exited);
  EXPECT_EQ(result.exitCode, 0);
}

}  // namespace
