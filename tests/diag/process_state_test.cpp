// Process-wide state read from the default configuration: the assertion mode
// and fatal-error callback, the cached priority-boost setting, the growth
// fault-injection counter and the service flag. Each case runs in a child.
#include <kr/diag.h>

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

#include "child_process.h"
#include "recording_config.h"

namespace {

using kr_test::ChildResult;
using kr_test::RecordingConfig;
using kr_test::RunInChild;

// Fails one assertion with "assertMode" = `mode` (no key when null, no
// configuration at all when `configured` is false); exits with 100 + result.
ChildResult FailWithMode(char const* mode, bool configured = true) {
  return RunInChild([=] {
    KrIniConfig config;
    if (mode) config.Set("debug", "assertMode", mode);
    if (configured) DefaultConfig(&config);
    return 100 + KIRO_assert("x > 0", "kr_file.cpp", 42);
  });
}

TEST(Assert, Modes) {
  // 0 aborts through the C library's assertion: one line, the empty function
  // name showing as an empty field.
  std::string const tail = ": kr_file.cpp:42: : Assertion `x > 0' failed.\n";
  for (ChildResult const& r :
       {FailWithMode(nullptr, false), FailWithMode(nullptr), FailWithMode("0")}) {
    EXPECT_EQ(r.signal, SIGABRT);
    ASSERT_GE(r.err.size(), tail.size()) << r.err;
    EXPECT_EQ(r.err.substr(r.err.size() - tail.size()), tail);
    EXPECT_EQ(r.err.find('\n'), r.err.size() - 1) << r.err;
  }
  for (auto const& [mode, value] : {std::pair<char const*, int>{"1", 0}, {"4", 1}, {"-7", 1}}) {
    ChildResult r = FailWithMode(mode);
    EXPECT_EQ(r.exitCode, 100 + value) << mode;
    EXPECT_EQ(r.err, "") << mode;  // the text is built and dropped
  }
  for (char const* mode : {"2", "3"}) {  // a null read; sanitizers end the process with a report
    ChildResult r = FailWithMode(mode);
    bool const reported = r.err.find("AddressSanitizer: SEGV") != std::string::npos ||
                          r.err.find("load of null pointer") != std::string::npos;
    EXPECT_TRUE(r.signal == SIGSEGV || (r.exited && reported)) << mode << r.err;
  }
  EXPECT_STREQ(assFmtU, "Assertion '%s' failed.\nFile '%s' \nLine %d \n");
  EXPECT_STREQ(assFmtW, "Assertion '%s' failed.\nFile '%s' \nLine %d \nPress retry TO DEBUG.");
  EXPECT_STREQ(assHeader, "Norvane Runtime Debugging");
}

RecordingConfig* gConfig = nullptr;  // the callback writes its calls among the questions

// The callback comes first at every failure; the mode is asked once (again
// only after a configured -1); a removed callback is called no more.
TEST(Assert, CallbackFirstModeReadOnceAndRemoval) {
  auto run = [](char const* firstMode) {
    return RunInChild([firstMode] {
      RecordingConfig config;
      gConfig = &config;
      config.Set("debug", "assertMode", firstMode);
      DefaultConfig(&config);
      KrFatalErrorCallback record = [](char const* condition, char const* file, int line) {
        gConfig->calls.push_back(condition + (" " + std::string(file)) + std::to_string(line));
      };
      if (GetFatalErrorCallback() || SetFatalErrorCallback(record)) return 1;  // none at load
      int first = KIRO_assert("a", "f.cpp", 1);
      config.Set("debug", "assertMode", "1");  // counts only while the mode is unread
      int second = KIRO_assert("b", "g.cpp", 2);
      if (SetFatalErrorCallback(nullptr) != record || GetFatalErrorCallback()) return 2;
      int third = KIRO_assert("c", "h.cpp", 3);
      for (std::string const& call : config.calls) std::printf("%s|", call.c_str());
      std::printf("%d %d %d", first, second, third);
      return 0;
    }).out;
  };
  EXPECT_EQ(run("5"), "a f.cpp1|GetInt assertMode|b g.cpp2|1 1 1");
  EXPECT_EQ(run("-1"), "a f.cpp1|GetInt assertMode|b g.cpp2|GetInt assertMode|1 0 0");
}

// DefaultConfig installs, answers the query value and removes; the priority
// boost setting is read once, at the first call, whatever is installed later.
TEST(DefaultConfig, InstallQueryRemoveAndThePriorityBoostReadOnce) {
  struct {
    char const* value;
    bool installLate;
    char const* answers;  // both answers, then how often the setting was asked
  } const cases[] = {{"0", false, "0 0 1"}, {"yes", false, "1 1 1"}, {"7", false, "1 1 1"},
                     {"1", true, "0 0 0"}};
  for (auto const& c : cases) {
    EXPECT_EQ(RunInChild([&] {
                struct : RecordingConfig {  // "7": any nonzero answer of GetBool counts as 1
                  int GetBool(char const* key, short* value, char const** path) override {
                    int const rc = RecordingConfig::GetBool(key, value, path);
                    if (rc == -2752) *value = 7;
                    return rc == -2752 ? 0 : rc;
                  }
                } config;
                config.Set("servers/krserver", "disableWin32PriorityBoost", c.value);
                if (DefaultConfig(KrQueryConfig())) return 1;  // none at load
                if (!c.installLate) DefaultConfig(&config);
                int first = GetDisableWin32PriorityBoost();
                if (DefaultConfig(&config) != &config) return 2;
                config.Set("servers/krserver", "disableWin32PriorityBoost", "1");
                int second = GetDisableWin32PriorityBoost();
                if (DefaultConfig(nullptr) || DefaultConfig(KrQueryConfig())) return 3;  // removed
                std::printf("%d %d %zu", first, second, config.calls.size());
                return 0;
              }).out,
              c.answers)
        << c.value << (c.installLate ? " installed late" : "");
  }
}

// TestHandler's answers for `kinds` (-1: reset, -2: reset and drop the key),
// then how often the counter was asked.
std::string Answers(char const* counter, std::vector<int> const& kinds) {
  return RunInChild([&] {
           RecordingConfig config;
           if (counter) config.Set("test", "growErrorCounter", counter);
           DefaultConfig(&config);
           for (int kind : kinds) {
             if (kind < 0) TestHandlerReset();
             if (kind == -2) config.ReadText("");
             if (kind >= 0) std::printf("%d ", TestHandler(kind + 0ul, nullptr, nullptr));
           }
           std::printf("| %zu", config.calls.size());
           return 0;
         }).out;
}

TEST(TestHandler, CounterFailsTheFirstGrowthCallsAndResetRereadsIt) {
  // Kinds other than 1 neither fail nor count, but do read the counter.
  EXPECT_EQ(Answers("2", {2, 1, 0, 1, 1, 1}), "0 -313 0 -313 0 0 | 1");
  EXPECT_EQ(Answers(nullptr, {1, 1}), "0 0 | 1");
  EXPECT_EQ(Answers("-3", {1}), "0 | 1");
  EXPECT_EQ(Answers("3", {1, -1, 1, 1, 1, 1}), "-313 -313 -313 -313 0 | 2");
  EXPECT_EQ(Answers("3", {1, -2, 1}), "-313 0 | 2");  // missing now: the reset's 0 stays
}

TEST(ServiceState, GoesFromZeroToOne) {
  EXPECT_EQ(RunInChild([] {
              int before = KIRO_Service_hasStopped();
              StopKIRO_Service();
              StopKIRO_Service();
              return before * 10 + KIRO_Service_hasStopped();
            }).exitCode,
            1);
}

}  // namespace
