// Configuration and the process-wide state beside it: KrIniConfig's edge
// rules (typed values, the line a syntax error names, the value bound, files,
// null arguments; generated and raw texts are replayed by the ini fuzz
// target), then, each in a child, the assertion mode and fatal-error
// callback, the default configuration with the cached priority-boost
// setting and the growth fault-injection counter; last the statistics
// counters (on an object of their own) and the platform stubs.
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

// The answers of GetText, GetBool and GetInt, each "<result> <value>" from a
// known default, joined by '|'.
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
  char const* const cases[][3] = {  // the text, then what GetBool and GetInt make of it
      {"True", "0 1", "-2752 4711"}, {"nO", "0 0", "-2752 4711"}, {"2", "-2752 99", "0 2"},
      {"0x1f", "-2752 99", "0 31"}, {"-0XaF", "-2752 99", "0 -175"}, {"", "-2752 99", "-2752 4711"},
      {"-2147483648", "-2752 99", "0 -2147483648"}, {"2147483648", "-2752 99", "-2752 4711"},
      {"0x80000000", "-2752 99", "-2752 4711"}, {"12a", "-2752 99", "-2752 4711"},
      {"0x", "-2752 99", "-2752 4711"}};
  for (auto const& c : cases) {
    KrIniConfig config;
    ASSERT_EQ(config.Set("test", "key", c[0]), 0);
    EXPECT_EQ(Get(config, "key"), "0 " + std::string(c[0]) + "|" + c[1] + "|" + c[2]);
  }
  // Each getter refuses a null key and a null value, also when the key exists.
  KrIniConfig config;
  ASSERT_EQ(config.Set("test", "k", "1"), 0);
  EXPECT_EQ(Get(config, nullptr), "-2002 default|-2002 99|-2002 4711");
  char* none = nullptr;
  EXPECT_EQ(config.GetText("k", none, kTest), -2002);
  EXPECT_EQ(config.GetBool("k", nullptr, kTest) + config.GetInt("k", nullptr, kTest), -4004);
}

TEST(IniConfig, FailedReadsNameTheLineAndLeaveNothing) {
  std::string const longest(KrIniConfig::kMaxValueLength, 'v');
  struct {
    std::string text;
    int line;
  } const cases[] = {{"just words\n", 1},         {"a = 1\n\n# c\n[debug\nb = 1\n", 4},
                     {"[]\n", 1},                 {"[servers//krserver]\n", 1},
                     {"a = 1\r\n = 2\n", 2},      {"[debug]x\n", 1},
                     {"a = 1\np = " + longest + "v\n", 2}};
  for (auto const& c : cases) {
    KrIniConfig config;
    ASSERT_EQ(config.Set("test", "a", "before"), 0);
    EXPECT_EQ(config.ReadText(c.text.c_str()), -2754) << c.text;
    EXPECT_EQ(config.ErrorLine(), c.line) << c.text;
    EXPECT_EQ(Get(config, "a"), "-1 default|-1 99|-1 4711") << c.text;
  }
  // Values are bounded for the loader's 1024-byte directory buffer.
  KrIniConfig config;
  EXPECT_EQ(config.ReadText(("[test]\np = " + longest + "\n").c_str()), 0);
  EXPECT_EQ(Get(config, "p"), "0 " + longest + "|-2752 99|-2752 4711");
  EXPECT_EQ(config.Set("", "p", (longest + "v").c_str()), -2002);
  EXPECT_EQ(config.Set("a//b", "k", "v"), -2002);
  EXPECT_EQ(config.Set("", " ", "v"), -2002);
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

// A KrIniConfig that records the questions asked of it ("GetInt assertMode").
// A value it cannot type as a flag reads as 7: any nonzero flag counts as 1.
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
    EXPECT_EQ(r.err.rfind(tail), r.err.size() - tail.size()) << r.err;
    EXPECT_EQ(r.err.find('\n'), r.err.size() - 1) << r.err;
  }
  for (auto const& [mode, value] : {std::pair<char const*, int>{"1", 0}, {"4", 1}, {"-7", 1}}) {
    ChildResult r = FailWithMode(mode);  // the text is built and dropped: nothing is written
    EXPECT_EQ(std::to_string(r.exitCode) + r.err, std::to_string(100 + value)) << mode;
  }
  for (char const* mode : {"2", "3"}) {  // a null read; sanitizers end the process with a report
    ChildResult r = FailWithMode(mode);
    bool const reported = r.err.find("AddressSanitizer: SEGV") != std::string::npos ||
                          r.err.find("load of null pointer") != std::string::npos;
    EXPECT_TRUE(r.signal == SIGSEGV || (r.exited && reported)) << mode << r.err;
  }
  EXPECT_STREQ(assFmtU, "Assertion '%s' failed.\nFile '%s' \nLine %d \n");
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

// DefaultConfig installs, answers the query value and removes; the priority
// boost setting is read once, at the first call, whatever is installed later,
// and the growth counter once until it is reset.
TEST(DefaultConfig, InstallQueryRemoveAndTheSettingsReadOnce) {
  // The setting, then both answers and how often it was asked; no setting
  // stands for a "1" installed only after the first answer.
  char const* const cases[][2] = {
      {"0", "0 0 1"}, {"yes", "1 1 1"}, {"7", "1 1 1"}, {nullptr, "0 0 0"}};
  for (auto const& c : cases) {
    std::string const answers = RunInChild([&] {
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
    }).out;
    EXPECT_EQ(answers, c[1]) << (c[0] ? c[0] : "installed late");
  }
  // The growth counter: the first calls of kind 1 fail, a reset rereads it.
  // Kinds other than 1 neither fail nor count, but do read the counter.
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

TEST(Statistics, EachOperationChangesOnlyItsCounterAndClearKeepsTheLastThree) {
  using S = KrStatistics;
  struct {
    S& (S::*step)();
    S& (S::*add)(long);
    int field, delta;
  } const steps[] = {
      {&S::IncTransactions, 0, 0, 1}, {&S::DecTransactions, 0, 0, -1}, {&S::IncCommits, 0, 1, 1},
      {&S::IncAborts, 0, 2, 1}, {&S::IncCSRequests, 0, 3, 1}, {&S::IncFailedCSRequests, 0, 4, 1},
      {&S::IncServerNotifications, 0, 5, 1}, {&S::IncQueries, 0, 6, 1}, {&S::IncClients, 0, 7, 1},
      {&S::DecClients, 0, 7, -1}, {&S::IncObjDescs, 0, 8, 1}, {&S::DecObjDescs, 0, 8, -1},
      {&S::IncExtents, 0, 9, 1}, {&S::DecExtents, 0, 9, -1}, {&S::IncLocks, 0, 10, 1},
      {&S::DecLocks, 0, 10, -1}, {&S::IncWatches, 0, 11, 1}, {&S::DecWatches, 0, 11, -1},
      {&S::IncInternalTransactions, 0, 14, 1}, {0, &S::AddLocks, 10, -17},
      {0, &S::AddWatches, 11, -17}, {0, &S::AddRefreshedObjects, 12, -17},
      {0, &S::AddDeliveredObjects, 13, -17}};
  alignas(S) unsigned char storage[sizeof(S)] = {};  // zeroed, as the process object's
  S& stats = *new (storage) S;
  stats.locks = 0x7FFFFFFF;  // counters wrap in 32 bits
  for (auto const& s : steps) {
    std::vector<int> expected = Counters(stats);
    expected[s.field] = static_cast<int>(static_cast<unsigned>(expected[s.field]) + s.delta);
    EXPECT_EQ(&(s.step ? (stats.*s.step)() : (stats.*s.add)(s.delta)), &stats);
    EXPECT_EQ(Counters(stats), expected) << "step " << &s - steps;
  }
  stats.flags = 0x12;
  stats.Clear();
  EXPECT_EQ(stats.flags, 0x12);
  EXPECT_EQ(Counters(stats), std::vector<int>({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, -17, -17, 1}));
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
