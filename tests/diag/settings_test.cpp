// Settings: the INI-style configuration, the default configuration and what is read from it
// once (the priority-boost switch, the growth fault-injection counter), and the process-wide
// statistics. The ini fuzz target reads back generated configurations of every layout.
#include <kr/diag.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "child_process.h"
#include "recording_config.h"
#include "temp_dir.h"

namespace {

using kr_test::RecordingConfig;
using kr_test::RunInChild;

char const* kServers[] = {"servers", "krserver", nullptr};
char const* kTest[] = {"test", nullptr};

// "<result> <value>" of each getter, starting from a known default.
std::string Text(KrIniConfig& config, char const* key, char const** path) {
  char buffer[1100] = "default";
  char* designated = buffer;
  int const result = config.GetText(key, designated, path);
  return std::to_string(result) + " " + buffer;
}
std::string Int(KrIniConfig& config, char const* key, char const** path) {
  int value = 4711;
  int const result = config.GetInt(key, &value, path);
  return std::to_string(result) + " " + std::to_string(value);
}
std::string Bool(KrIniConfig& config, char const* key, char const** path) {
  short value = 99;
  int const result = config.GetBool(key, &value, path);
  return std::to_string(result) + " " + std::to_string(value);
}

TEST(IniConfig, SectionsKeysAndTypedValues) {
  KrIniConfig config;
  ASSERT_EQ(config.ReadText("# settings\ndefaultModulePath = /opt/norvane/lib\n"
                            "quoted = \"  kept  \"\r\npath = a=b;c # not a comment\n"
                            "\n[debug]\n; comment\nassertMode = 1\nassertMode = 2\nloadModule=on\n"
                            "\t[ servers /  krserver ]  \ndisableWin32PriorityBoost = YES\n"
                            "[test]\ngrowErrorCounter = -0x10\n"),
            0);
  EXPECT_EQ(config.ErrorLine(), 0);
  std::string const read[] = {
      Text(config, "defaultModulePath", globalSection), Text(config, "quoted", globalSection),
      Text(config, "path", globalSection), Int(config, "assertMode", debugSection),
      Bool(config, "loadModule", debugSection), Bool(config, "disableWin32PriorityBoost", kServers),
      Int(config, "growErrorCounter", kTest),
      // a key is found only in its own section, by its exact name
      Text(config, "defaultModulePath", debugSection), Int(config, "assertMode", globalSection),
      Bool(config, "disableWin32PriorityBoost", kServers + 1),
      Int(config, "AssertMode", debugSection)};
  std::vector<std::string> const expected = {
      "0 /opt/norvane/lib", "0   kept  ", "0 a=b;c # not a comment", "0 2", "0 1", "0 1", "0 -16",
      "-1 default", "-1 4711", "-1 99", "-1 4711"};
  EXPECT_EQ(std::vector<std::string>(read, read + 11), expected);
  struct { char const *text, *asBool, *asInt; } const typed[] = {
      {"1", "0 1", "0 1"},          {"0", "0 0", "0 0"},
      {"True", "0 1", "-2752 4711"}, {"nO", "0 0", "-2752 4711"},
      {"2", "-2752 99", "0 2"},     {"0x1F", "-2752 99", "0 31"},
      {"-2147483648", "-2752 99", "0 -2147483648"}, {"2147483648", "-2752 99", "-2752 4711"},
      {"0x80000000", "-2752 99", "-2752 4711"},     {"0x", "-2752 99", "-2752 4711"},
      {"12a", "-2752 99", "-2752 4711"},            {"", "-2752 99", "-2752 4711"}};
  for (auto const& c : typed) {
    ASSERT_EQ(config.Set("test", "key", c.text), 0);
    EXPECT_EQ(Bool(config, "key", kTest), c.asBool) << c.text;
    EXPECT_EQ(Int(config, "key", kTest), c.asInt) << c.text;
  }
}

TEST(IniConfig, SyntaxErrorsFilesAndBounds) {
  struct { char const* text; int line; } const cases[] = {
      {"just words\n", 1}, {"a = 1\n\n# c\n[debug\nb = 1\n", 4}, {"[]\n", 1},
      {"[servers//krserver]\n", 1}, {"a = 1\r\n = 2\n", 2}, {"[debug]x\n", 1}};
  for (auto const& c : cases) {  // the line is named, and nothing is kept
    KrIniConfig config;
    ASSERT_EQ(config.Set("", "a", "before"), 0);
    EXPECT_EQ(config.ReadText(c.text), -2754) << c.text;
    EXPECT_TRUE(config.Result() == -2754 && config.ErrorLine() == c.line) << c.text;
    EXPECT_EQ(Text(config, "a", globalSection), "-1 default") << c.text;
  }
  // Values are bounded for the loader's 1024-byte directory buffer.
  std::string const longest(KrIniConfig::kMaxValueLength, 'v');
  KrIniConfig config;
  EXPECT_EQ(config.ReadText(("p = " + longest + "\n").c_str()), 0);
  EXPECT_EQ(Text(config, "p", globalSection), "0 " + longest);
  EXPECT_EQ(config.ReadText(("a = 1\np = " + longest + "v\n").c_str()), -2754);
  EXPECT_EQ(config.ErrorLine(), 2);
  EXPECT_EQ(config.Set("", "p", (longest + "v").c_str()), -2002);
  EXPECT_EQ(config.Set("a//b", "k", "v"), -2002);
  EXPECT_EQ(config.Set("", " ", "v"), -2002);
  kr_test::TempDir dir;
  std::string const name = dir.Make("kr.ini", "[debug]\nassertMode = 1\n");
  KrIniConfig fromFile(name.c_str());
  EXPECT_EQ(fromFile.Result(), 0);
  EXPECT_EQ(Int(fromFile, "assertMode", debugSection), "0 1");
  dir.Make("kr.ini", std::string("[debug]\nassertMode = 1\nb = 2\0\n", 30));  // a NUL in line 3
  EXPECT_EQ(fromFile.ReadFile(name.c_str()), -2754);
  EXPECT_EQ(fromFile.ErrorLine(), 3);
  EXPECT_EQ(fromFile.ReadFile(dir.Name("missing").c_str()), -2751);
  EXPECT_EQ(fromFile.ReadFile(dir.path().c_str()), -2753);  // opens, but cannot be read
  EXPECT_EQ(fromFile.ReadFile(nullptr), -2002);
  EXPECT_EQ(Int(fromFile, "assertMode", debugSection), "-1 4711");
}

TEST(DefaultConfig, InstallQueryAndSettingsReadOnce) {
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(KrQueryConfig()), ~std::uintptr_t(0));
  EXPECT_TRUE(globalSection[0] == nullptr && debugSection[1] == nullptr);
  EXPECT_STREQ(debugSection[0], "debug");
  EXPECT_EQ(RunInChild([] {
              RecordingConfig config;
              if (DefaultConfig(KrQueryConfig()) != nullptr) return 1;  // none at load
              if (DefaultConfig(&config) != &config || DefaultConfig(KrQueryConfig()) != &config)
                return 2;
              return DefaultConfig(nullptr) == nullptr && !DefaultConfig(KrQueryConfig()) ? 0 : 3;
            }).exitCode,
            0);
  // GetDisableWin32PriorityBoost's two answers with the key set to `value` (or configured
  // only after the first answer), then how often it was asked: once at most.
  auto boost = [](char const* value, bool late) {
    return RunInChild([=] {
      RecordingConfig config;
      config.Set("servers/krserver", "disableWin32PriorityBoost", value);
      if (!late) DefaultConfig(&config);
      int const first = GetDisableWin32PriorityBoost();
      DefaultConfig(&config);
      config.Set("servers/krserver", "disableWin32PriorityBoost", "1");
      std::printf("%d %d %zu", first, GetDisableWin32PriorityBoost(), config.calls.size());
      return 0;
    }).out;
  };
  EXPECT_EQ(boost("0", false), "0 0 1");
  EXPECT_EQ(boost("1", false), "1 1 1");
  EXPECT_EQ(boost("7", false), "1 1 1");
  EXPECT_EQ(boost("1", true), "0 0 0");
}

// TestHandler's answers for `kinds` (-1: reset; -2: reset after removing the key), then the
// number of questions asked. Only kind 1 counts and fails (-313) while the counter lasts.
std::string Answers(char const* counter, std::vector<int> const& kinds) {
  return RunInChild([&] {
    RecordingConfig config;
    if (counter) config.Set("test", "growErrorCounter", counter);
    DefaultConfig(&config);
    for (int kind : kinds) {
      if (kind == -2) config.Erase("test", "growErrorCounter");
      if (kind < 0) TestHandlerReset();
      else std::printf("%d ", TestHandler(static_cast<unsigned long>(kind), nullptr, nullptr));
    }
    std::printf("| %zu", config.calls.size());
    return 0;
  }).out;
}

TEST(TestHandler, CounterFailsTheFirstGrowthCallsAndResetReadsItAgain) {
  EXPECT_EQ(Answers("2", {2, 1, 0, 1, 1, 1}), "0 -313 0 -313 0 0 | 1");
  EXPECT_EQ(Answers(nullptr, {1, 1}), "0 0 | 1");
  EXPECT_EQ(Answers("-3", {1}), "0 | 1");
  EXPECT_EQ(Answers("3", {1, -1, 1, 1, 1, 1}), "-313 -313 -313 -313 0 | 2");
  EXPECT_EQ(Answers("3", {1, -2, 1}), "-313 0 | 2");  // missing now: the reset's 0 stays
}

std::vector<int> Counters(KrStatistics const& s) {
  return {s.transactions, s.commits, s.aborts, s.csRequests, s.failedCsRequests,
          s.serverNotifications, s.queries, s.clients, s.objDescs, s.extents, s.locks, s.watches,
          s.refreshedObjects, s.deliveredObjects, s.internalTransactions};
}

TEST(Statistics, EachOperationChangesOnlyItsCounter) {
  typedef KrStatistics& (KrStatistics::*Step)();
  typedef KrStatistics& (KrStatistics::*Add)(long);
  struct { Step step; int field, delta; } const steps[] = {
      {&KrStatistics::IncTransactions, 0, 1}, {&KrStatistics::DecTransactions, 0, -1},
      {&KrStatistics::IncCommits, 1, 1},      {&KrStatistics::IncAborts, 2, 1},
      {&KrStatistics::IncCSRequests, 3, 1},   {&KrStatistics::IncFailedCSRequests, 4, 1},
      {&KrStatistics::IncServerNotifications, 5, 1}, {&KrStatistics::IncQueries, 6, 1},
      {&KrStatistics::IncClients, 7, 1},      {&KrStatistics::DecClients, 7, -1},
      {&KrStatistics::IncObjDescs, 8, 1},     {&KrStatistics::DecObjDescs, 8, -1},
      {&KrStatistics::IncExtents, 9, 1},      {&KrStatistics::DecExtents, 9, -1},
      {&KrStatistics::IncLocks, 10, 1},       {&KrStatistics::DecLocks, 10, -1},
      {&KrStatistics::IncWatches, 11, 1},     {&KrStatistics::DecWatches, 11, -1},
      {&KrStatistics::IncInternalTransactions, 14, 1}};
  struct { Add add; int field; } const adds[] = {
      {&KrStatistics::AddLocks, 10}, {&KrStatistics::AddWatches, 11},
      {&KrStatistics::AddRefreshedObjects, 12}, {&KrStatistics::AddDeliveredObjects, 13}};
  KrStatistics& stats = *Statistics();
  KrStatistics const saved = stats;  // other tests see the process object at rest
  for (auto const& s : steps) {
    std::vector<int> expected = Counters(stats);
    expected[s.field] += s.delta;
    EXPECT_EQ(&(stats.*s.step)(), &stats);
    EXPECT_EQ(Counters(stats), expected) << "field " << s.field;
  }
  for (auto const& a : adds) {
    std::vector<int> expected = Counters(stats);
    expected[a.field] -= 17;
    EXPECT_EQ(&(stats.*a.add)(-17), &stats);
    EXPECT_EQ(Counters(stats), expected) << "field " << a.field;
  }
  stats = saved;
  KrStatistics wrapping;  // 32-bit counters; only `locks` is read
  wrapping.locks = 0x7FFFFFFF;
  EXPECT_EQ(wrapping.IncLocks().locks, static_cast<int>(0x80000000u));
  EXPECT_EQ(wrapping.AddLocks(-1).locks, 0x7FFFFFFF);
  EXPECT_TRUE(RegisterStatistics() == 0 && DeregisterStatistics() == 0);
}

TEST(Statistics, ClearKeepsTheLastThreeAndTheProcessObjectStartsAtZero) {
  EXPECT_EQ(RunInChild([] {
              KrStatistics& stats = *Statistics();
              if (&stats != Statistics() || stats.flags != 0 ||
                  Counters(stats) != std::vector<int>(15, 0))
                return 1;
              stats.IncTransactions().IncQueries().AddWatches(6).AddRefreshedObjects(7);
              stats.AddDeliveredObjects(8).IncInternalTransactions().flags = 0x12;
              stats.Clear();
              std::vector<int> expected(15, 0);
              expected[12] = 7, expected[13] = 8, expected[14] = 1;
              return Counters(stats) == expected && stats.flags == 0x12 ? 0 : 2;
            }).exitCode,
            0);
}

}  // namespace
