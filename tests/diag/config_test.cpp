// KrIniConfig's edge rules (the ini fuzz target replays generated and raw texts); in children, the
// assertion mode and callback and the settings read once; statistics and the platform stubs.
#include <kr/diag.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <new>
#include <string>
#include <vector>

#include "child_process.h"
#include "temp_dir.h"

namespace {

using kr_test::ChildResult;
using kr_test::RunInChild;

char const* kTest[] = {"test", nullptr};

// GetText's, GetBool's and GetInt's "<result> <value>", from known defaults, joined by '|'.
std::string Get(KrIniConfig& config, char const* key, char const** path = kTest) {
  char text[1100] = "default";
  char* designated = text;
  short flag = 99;
  int number = 4711;
  int const asText = config.GetText(key, designated, path);
  int const asBool = config.GetBool(key, &flag, path);
  int const asInt = config.GetInt(key, &number, path);
  return std::to_string(asText) + " " + text + "|" + std::to_string(asBool) + " " +
         std::to_string(flag) + "|" + std::to_string(asInt) + " " + std::to_string(number);
}

TEST(IniConfig, TypedValuesAndNullArguments) {
  // Texts GetBool refuses (keeping its value) and GetInt's reading; the fuzz target has the rest.
  char const* const cases[][2] = {
      {"2", "0 2"}, {"-0XaF", "0 -175"}, {"-2147483648", "0 -2147483648"}, {"", "-2752 4711"},
      {"2147483648", "-2752 4711"}, {"0x80000000", "-2752 4711"}, {"12a", "-2752 4711"},
      {"0x", "-2752 4711"}};
  KrIniConfig config;
  for (auto const& c : cases) {
    ASSERT_EQ(config.Set("test", "key", c[0]), 0);
    EXPECT_EQ(Get(config, "key"), "0 " + std::string(c[0]) + "|-2752 99|" + c[1]);
  }
  // Each getter refuses a null key and a null value, also when the key exists.
  EXPECT_EQ(Get(config, nullptr), "-2002 default|-2002 99|-2002 4711");
  char* none = nullptr;
  EXPECT_EQ(config.GetText("key", none, kTest), -2002);
  EXPECT_EQ(config.GetBool("key", nullptr, kTest) + config.GetInt("key", nullptr, kTest), -4004);
}

TEST(IniConfig, FailedReadsNameTheLineAndLeaveNothing) {
  std::string const longest(KrIniConfig::kMaxValueLength, 'v');
  struct { std::string text; int line; } const cases[] = {
      {"just words\n", 1}, {"a = 1\n\n# c\n[debug\nb = 1\n", 4}, {"[]\n", 1}, {"[debug]x\n", 1},
      {"[servers//krserver]\n", 1}, {"a = 1\r\n = 2\n", 2}, {"a = 1\np = " + longest + "v\n", 2}};
  KrIniConfig config;
  for (auto const& c : cases) {  // that nothing is left is seen by the fuzz target
    EXPECT_EQ(config.ReadText(c.text.c_str()), -2754) << c.text;
    EXPECT_EQ(config.ErrorLine(), c.line) << c.text;
  }
  // Values are bounded for the loader's 1024-byte directory buffer.
  EXPECT_EQ(config.ReadText(("[test]\np = " + longest + "\n").c_str()), 0);
  EXPECT_EQ(Get(config, "p"), "0 " + longest + "|-2752 99|-2752 4711");
  EXPECT_EQ(config.Set("", "p", (longest + "v").c_str()), -2002);
  EXPECT_EQ(config.Set("a//b", "k", "v") + config.Set("", " ", "v"), -4004);
  // Files: read by the constructor; a NUL makes its line malformed.
  kr_test::TempDir dir;
  std::string name = dir.Make("kr.ini", "[test]\nassertMode = 1\n");
  KrIniConfig file(name.c_str());
  EXPECT_EQ(file.Result(), 0);
  EXPECT_EQ(Get(file, "assertMode"), "0 1|0 1|0 1");
  dir.Make("kr.ini", std::string("[test]\nassertMode = 1\nb = 2\0\n", 29));
  EXPECT_EQ(file.ReadFile(name.c_str()), -2754);
  EXPECT_EQ(file.ErrorLine(), 3);
  EXPECT_EQ(file.ReadFile(dir.path().c_str()), -2753);  // opens, but cannot be read
  EXPECT_EQ(file.ReadFile(nullptr), -2002);
  EXPECT_EQ(Get(file, "assertMode"), "-1 default|-1 99|-1 4711");
}

// Records the questions asked ("GetInt assertMode"); an untyped flag reads as 7 (nonzero counts).
struct RecordingConfig : KrIniConfig {
  int GetBool(char const* key, short* value, char const** path) override {
    calls.push_back("GetBool " + std::string(key));
    int const rc = KrIniConfig::GetBool(key, value, path);
    if (rc == -2752) *value = 7;
    return rc == -2752 ? 0 : rc;
  }
  int GetInt(char const* key, int* value, char const** path) override {
    calls.push_back("GetInt " + std::string(key));
    return KrIniConfig::GetInt(key, value, path);
  }
  std::vector<std::string> calls;  // also written by tests, to interleave other events
};

// Fails one assertion with "assertMode" = `mode` (no key when null, which aborts as 0 does).
ChildResult FailWithMode(char const* mode) {
  return RunInChild([=] {
    KrIniConfig config;
    if (mode) config.Set("debug", "assertMode", mode);
    DefaultConfig(&config);
    return KIRO_assert("x > 0", "kr_file.cpp", 42);
  });
}

// The modes that end the process (those that return are in the callback test).
TEST(Assert, ModesThatEndTheProcess) {
  // 0 aborts through the C library's assertion: one line, with an empty function name field.
  std::string const tail = ": kr_file.cpp:42: : Assertion `x > 0' failed.\n";
  for (ChildResult const& r : {FailWithMode(nullptr), FailWithMode("0")}) {
    EXPECT_EQ(r.signal, SIGABRT);
    EXPECT_EQ(r.err.rfind(tail), r.err.size() - tail.size()) << r.err;
    EXPECT_EQ(r.err.find('\n'), r.err.size() - 1) << r.err;
  }
  for (char const* mode : {"2", "3"}) {  // a null read; sanitizers end the process with a report
    ChildResult r = FailWithMode(mode);
    bool const reported = r.err.find("AddressSanitizer: SEGV") != std::string::npos ||
                          r.err.find("load of null pointer") != std::string::npos;
    EXPECT_TRUE(r.signal == SIGSEGV || (r.exited && reported)) << mode << r.err;
  }
}

RecordingConfig* gConfig = nullptr;  // the callback writes its calls among the questions

// The callback comes first at every failure; the mode is asked once (again only after a configured
// -1); a removed callback is not called. Modes 5 and -1 return 1, mode 1 0, all writing nothing.
TEST(Assert, CallbackFirstModeReadOnceAndRemoval) {
  auto run = [](char const* firstMode) {
    return RunInChild([firstMode] {
      dup2(1, 2);  // anything written to standard error shows in the answer
      RecordingConfig config;
      gConfig = &config;
      config.Set("debug", "assertMode", firstMode);
      DefaultConfig(&config);
      KrFatalErrorCallback record = [](char const* condition, char const* file, int line) {
        gConfig->calls.push_back(condition + (" " + std::string(file)) + std::to_string(line));
      };
      if (GetFatalErrorCallback() || SetFatalErrorCallback(record)) return 1;  // none at load
      std::printf("%d ", KIRO_assert("a", "f.cpp", 1));
      config.Set("debug", "assertMode", "1");  // counts only while the mode is unread
      std::printf("%d ", KIRO_assert("b", "g.cpp", 2));
      if (SetFatalErrorCallback(nullptr) != record || GetFatalErrorCallback()) return 2;
      std::printf("%d", KIRO_assert("c", "h.cpp", 3));
      for (std::string const& call : config.calls) std::printf("|%s", call.c_str());
      return 0;
    }).out;
  };
  EXPECT_EQ(run("5"), "1 1 1|a f.cpp1|GetInt assertMode|b g.cpp2");
  EXPECT_EQ(run("-1"), "1 0 0|a f.cpp1|GetInt assertMode|b g.cpp2|GetInt assertMode");
}

// TestHandler's answers to `kinds` (-1: reset, -2: also drop the key), then the counter's reads.
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

// DefaultConfig installs, answers the query value and removes; the priority boost setting is read
// once, at the first call, whatever is installed later, and the growth counter once per reset.
TEST(DefaultConfig, InstallQueryRemoveAndTheSettingsReadOnce) {
  // The setting, both answers and its reads; null: a "1" installed only after the first answer.
  char const* const cases[][2] = {
      {"0", "0 0 1"}, {"yes", "1 1 1"}, {"7", "1 1 1"}, {nullptr, "0 0 0"}};
  for (auto const& c : cases) {
    EXPECT_EQ(RunInChild([&] {
      RecordingConfig config;
      config.Set("servers/krserver", "disableWin32PriorityBoost", c[0] ? c[0] : "1");
      if (DefaultConfig(KrQueryConfig())) return 1;  // none at load
      if (c[0]) DefaultConfig(&config);
      int first = GetDisableWin32PriorityBoost();
      if (DefaultConfig(&config) != &config) return 2;
      config.Set("servers/krserver", "disableWin32PriorityBoost", "1");
      int second = GetDisableWin32PriorityBoost();
      if (DefaultConfig(nullptr) || DefaultConfig(KrQueryConfig())) return 3;  // removed
      std::printf("%d %d %zu", first, second, config.calls.size());
      return 0;
    }).out, c[1]) << (c[0] ? c[0] : "installed late");
  }
  // The first calls of kind 1 fail, a reset rereads the counter; other kinds only read it.
  EXPECT_EQ(Answers("2", {2, 1, 0, 1, 1, 1}), "0 -313 0 -313 0 0 | 1");
  EXPECT_EQ(Answers("-3", {1}), "0 | 1");
  EXPECT_EQ(Answers("3", {1, -1, 1, 1, 1, 1}), "-313 -313 -313 -313 0 | 2");
  EXPECT_EQ(Answers("3", {1, -2, 1}), "-313 0 | 2");  // missing now: the reset's 0 stays
}

std::vector<int> Counters(KrStatistics const& s) {
  return {s.transactions, s.commits, s.aborts, s.csRequests, s.failedCsRequests,
          s.serverNotifications, s.queries, s.clients, s.objDescs, s.extents, s.locks,
          s.watches, s.refreshedObjects, s.deliveredObjects, s.internalTransactions};
}

// Step i runs i + 1 times, so a step that misses its counter or also changes
// another shows in two totals; each Add runs once. Counters wrap in 32 bits.
TEST(Statistics, EachOperationChangesOnlyItsCounterAndClearKeepsTheLastThree) {
  using S = KrStatistics;
  S& (S::*const steps[])() = {
      &S::IncTransactions, &S::DecTransactions, &S::IncCommits, &S::IncAborts, &S::IncCSRequests,
      &S::IncFailedCSRequests, &S::IncServerNotifications, &S::IncQueries, &S::IncClients,
      &S::DecClients, &S::IncObjDescs, &S::DecObjDescs, &S::IncExtents, &S::DecExtents,
      &S::IncLocks, &S::DecLocks, &S::IncWatches, &S::DecWatches, &S::IncInternalTransactions};
  S& (S::*const adds[])(long) = {&S::AddLocks, &S::AddWatches, &S::AddRefreshedObjects,
                                 &S::AddDeliveredObjects};
  alignas(S) unsigned char storage[sizeof(S)] = {};  // zeroed, as the process object's
  S& stats = *new (storage) S;
  stats.locks = 0x7FFFFFFF;
  for (auto const& step : steps) {
    for (auto n = &step - steps; n >= 0; --n) EXPECT_EQ(&(stats.*step)(), &stats);
  }
  for (auto const& add : adds) EXPECT_EQ(&(stats.*add)(-(10L << (&add - adds))), &stats);
  EXPECT_EQ(Counters(stats), std::vector<int>({-1, 3, 4, 5, 6, 7, 8, -1, -1, -1,
                                               0x7FFFFFFF - 11, -21, -40, -80, 19}));
  stats.flags = 0x12;
  stats.Clear();
  EXPECT_EQ(stats.flags, 0x12);
  EXPECT_EQ(Counters(stats), std::vector<int>({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, -40, -80, 19}));
  // The process object starts at zero; registering it does nothing.
  EXPECT_EQ(Counters(*Statistics()), std::vector<int>(15));
  EXPECT_EQ(Statistics()->flags * 100 + RegisterStatistics() * 10 + DeregisterStatistics(), 0);
}

TEST(PlatformStubs, RegistryIsNotImplementedAndHostnameIsTheSystems) {
  char const* path[] = {"Software", nullptr};
  char value[16] = "untouched", expected[256] = {}, name[256] = "x";
  long length = 16;
  EXPECT_EQ(KrGetRegistryEntry(path, value, length), -2999);
  EXPECT_EQ(KrSetRegistryEntry(nullptr, value, length) + KrDeleteRegistryEntry(path), -5998);
  EXPECT_STREQ(value, "untouched");
  ASSERT_EQ(gethostname(expected, sizeof expected), 0);
  EXPECT_EQ(KrGetHostname(name, sizeof name), 0);
  EXPECT_STREQ(name, expected);
  EXPECT_EQ(KrGetHostname(name, 0) * 10 + KrGetHostname(name, -5), 0);  // the system fails
}

}  // namespace
