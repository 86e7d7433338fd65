// KIRO_assert, its modes and the fatal-error callback. The mode is read once
// per process, so every case runs in a child of its own.
#include <kr/diag.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <string>

#include "child_process.h"
#include "recording_config.h"

namespace {

using kr_test::ChildResult;
using kr_test::RunInChild;

// Fails one assertion with "assertMode" = `mode` (no key when null); the
// child exits with 100 + the result.
ChildResult FailWithMode(char const* mode) {
  return RunInChild([mode] {
    KrIniConfig config;
    if (mode) config.Set("debug", "assertMode", mode);
    DefaultConfig(&config);
    return 100 + KIRO_assert("x > 0", "kr_file.cpp", 42);
  });
}

TEST(Assert, ModeZeroAbortsThroughTheStandardAssertion) {
  for (ChildResult const& result :
       {RunInChild([] { return KIRO_assert("x > 0", "kr_file.cpp", 42); }),
        FailWithMode(nullptr), FailWithMode("0")}) {
    EXPECT_EQ(result.signal, SIGABRT);
    // The C library's one-line message; the empty (not null) function name
    // shows as an empty field before "Assertion".
    std::string const tail = ": kr_file.cpp:42: : Assertion `x > 0' failed.\n";
    ASSERT_GE(result.err.size(), tail.size()) << result.err;
    EXPECT_EQ(result.err.substr(result.err.size() - tail.size()), tail);
    EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
  }
}

TEST(Assert, OtherModes) {
  for (auto const& [mode, value] : {std::pair<char const*, int>{"1", 0}, {"4", 1}, {"-7", 1}}) {
    ChildResult result = FailWithMode(mode);
    EXPECT_EQ(result.exitCode, 100 + value) << mode;
    EXPECT_EQ(result.err, "") << mode;  // the text is built and dropped
  }
  for (char const* mode : {"2", "3"}) {
    ChildResult result = FailWithMode(mode);
#if KR_TEST_ADDRESS_SANITIZER
    // The sanitizers catch the null read and end the process with a report.
    bool report = result.exited &&
                  (result.err.find("AddressSanitizer: SEGV") != std::string::npos ||
                   result.err.find("load of null pointer") != std::string::npos);
    EXPECT_TRUE(result.signal == SIGSEGV || report) << result.err;
#else
    EXPECT_FALSE(result.exited) << mode;
    EXPECT_EQ(result.signal, SIGSEGV) << mode;
#endif
  }
}

std::string* events = nullptr;  // callback calls and questions, in order

struct EventConfig : kr_test::RecordingConfig {
  int GetInt(char const* key, int* value, char const** sectionPath) override {
    *events += std::string("config ") + key + "|";
    return RecordingConfig::GetInt(key, value, sectionPath);
  }
};

TEST(Assert, CallbackFirstAndModeReadOnce) {
  auto run = [](char const* firstMode) {
    return RunInChild([firstMode] {
      std::string seen;
      events = &seen;
      EventConfig config;
      config.Set("debug", "assertMode", firstMode);
      DefaultConfig(&config);
      SetFatalErrorCallback([](char const* condition, char const* file, int line) {
        *events += std::string("callback ") + condition + " " + file + " " +
                   std::to_string(line) + "|";
      });
      int first = KIRO_assert("a", "f.cpp", 1);
      config.Set("debug", "assertMode", "1");  // counts only while the mode is unread
      int second = KIRO_assert("b", "g.cpp", 2);
      std::printf("%s%d %d", seen.c_str(), first, second);
      return 0;
    }).out;
  };
  EXPECT_EQ(run("5"), "callback a f.cpp 1|config assertMode|callback b g.cpp 2|1 1");
  // A configured -1 means "not read": it is asked again at the next failure.
  EXPECT_EQ(run("-1"),
            "callback a f.cpp 1|config assertMode|callback b g.cpp 2|config assertMode|1 0");
}

TEST(FatalErrorCallback, RunsBeforeTheAbortMayEndTheProcessAndCanBeRemoved) {
  ChildResult before = RunInChild([] {
    if (GetFatalErrorCallback() != nullptr) return 1;
    KrFatalErrorCallback say = [](char const* condition, char const*, int) {
      std::fprintf(stderr, "saw %s\n", condition);
    };
    if (SetFatalErrorCallback(say) != nullptr || fatalErrorCallback != say) return 2;
    if (SetFatalErrorCallback(nullptr) != say || GetFatalErrorCallback() != nullptr) return 3;
    SetFatalErrorCallback(say);
    return KIRO_assert("x > 0", "kr_file.cpp", 42);
  });
  EXPECT_EQ(before.err.rfind("saw x > 0\n", 0), 0u) << before.err;
  EXPECT_EQ(before.signal, SIGABRT);
  ChildResult ended = RunInChild([] {
    SetFatalErrorCallback([](char const*, char const*, int line) { _exit(line); });
    return KIRO_assert("x", "f.cpp", 7);
  });
  EXPECT_EQ(ended.exitCode, 7);
  EXPECT_EQ(ended.err, "");
  EXPECT_STREQ(assFmtU, "Assertion '%s' failed.\nFile '%s' \nLine %d \n");
  EXPECT_STREQ(assFmtW, "Assertion '%s' failed.\nFile '%s' \nLine %d \nPress retry TO DEBUG.");
  EXPECT_STREQ(assHeader, "Norvane Runtime Debugging");
}

}  // namespace
