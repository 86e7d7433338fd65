// KrIniConfig: the INI-style configuration.
#include <kr/diag.h>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>

namespace {

char const* kServers[] = {"servers", "krserver", nullptr};
char const* kTest[] = {"test", nullptr};

std::string Text(KrIniConfig& config, char const* key, char const** path, int* result = nullptr) {
  char buffer[1100] = "default";
  char* designated = buffer;
  int got = config.GetText(key, designated, path);
  if (result) *result = got;
  return buffer;
}

// The answer of GetInt and the value, starting from 4711.
std::pair<int, int> Int(KrIniConfig& config, char const* key, char const** path) {
  int value = 4711;
  int result = config.GetInt(key, &value, path);
  return {result, value};
}

std::pair<int, short> Bool(KrIniConfig& config, char const* key, char const** path) {
  short value = 99;
  int result = config.GetBool(key, &value, path);
  return {result, value};
}

std::string TempFile(std::string const& content) {
  char name[] = "/tmp/kr_ini_XXXXXX";
  int fd = mkstemp(name);
  EXPECT_GE(fd, 0);
  EXPECT_EQ(write(fd, content.data(), content.size()), static_cast<ssize_t>(content.size()));
  close(fd);
  return name;
}

TEST(IniConfig, SectionsAndTheGlobalKeys) {
  KrIniConfig config;
  ASSERT_EQ(config.ReadText("# settings\n"
                            "defaultModulePath = /opt/norvane/lib\n"
                            "\n"
                            "[debug]\n"
                            "; the assertion mode\n"
                            "assertMode = 2\n"
                            "loadModule=on\n"
                            "[servers/krserver]\n"
                            "disableWin32PriorityBoost = yes\n"
                            "[test]\n"
                            "growErrorCounter = 0x10\n"),
            0);
  EXPECT_EQ(config.Result(), 0);
  EXPECT_EQ(config.ErrorLine(), 0);
  int result = 0;
  EXPECT_EQ(Text(config, "defaultModulePath", globalSection, &result), "/opt/norvane/lib");
  EXPECT_EQ(result, 0);
  EXPECT_EQ(Int(config, "assertMode", debugSection), std::make_pair(0, 2));
  EXPECT_EQ(Bool(config, "loadModule", debugSection), std::make_pair(0, short{1}));
  EXPECT_EQ(Bool(config, "disableWin32PriorityBoost", kServers), std::make_pair(0, short{1}));
  EXPECT_EQ(Int(config, "growErrorCounter", kTest), std::make_pair(0, 16));

  // A key is found only in its own section; missing keys keep the default.
  EXPECT_EQ(Text(config, "defaultModulePath", debugSection, &result), "default");
  EXPECT_EQ(result, -1);
  EXPECT_EQ(Int(config, "assertMode", globalSection), std::make_pair(-1, 4711));
  char const* serversOnly[] = {"servers", nullptr};
  EXPECT_EQ(Bool(config, "disableWin32PriorityBoost", serversOnly), std::make_pair(-1, short{99}));
  EXPECT_EQ(Int(config, "AssertMode", debugSection), std::make_pair(-1, 4711));
}

TEST(IniConfig, BlanksQuotesLineEndsAndRepeatedKeys) {
  KrIniConfig config;
  ASSERT_EQ(config.ReadText("  name  =  two words  \r\n"
                            "quoted = \"  kept  \"\r\n"
                            "empty =\n"
                            "path = a=b;c # not a comment\n"
                            "\t[ servers /  krserver ]  \n"
                            "\tdisableWin32PriorityBoost\t=\tOFF\n"
                            "[debug]\n"
                            "assertMode = 1\n"
                            "assertMode = 3\n"),
            0);
  EXPECT_EQ(Text(config, "name", globalSection), "two words");
  EXPECT_EQ(Text(config, "quoted", globalSection), "  kept  ");
  EXPECT_EQ(Text(config, "empty", globalSection), "");
  EXPECT_EQ(Text(config, "path", globalSection), "a=b;c # not a comment");
  EXPECT_EQ(Bool(config, "disableWin32PriorityBoost", kServers), std::make_pair(0, short{0}));
  EXPECT_EQ(Int(config, "assertMode", debugSection), std::make_pair(0, 3));
}

TEST(IniConfig, BooleanWords) {
  for (char const* word : {"1", "true", "TRUE", "Yes", "on", "oN"}) {
    KrIniConfig config;
    ASSERT_EQ(config.Set("debug", "loadModule", word), 0);
    EXPECT_EQ(Bool(config, "loadModule", debugSection), std::make_pair(0, short{1})) << word;
  }
  for (char const* word : {"0", "false", "False", "no", "NO", "off"}) {
    KrIniConfig config;
    ASSERT_EQ(config.Set("debug", "loadModule", word), 0);
    EXPECT_EQ(Bool(config, "loadModule", debugSection), std::make_pair(0, short{0})) << word;
  }
  for (char const* word : {"2", "-1", "y", "enabled", "", "truex", "o"}) {
    KrIniConfig config;
    ASSERT_EQ(config.Set("debug", "loadModule", word), 0);
    EXPECT_EQ(Bool(config, "loadModule", debugSection), std::make_pair(-2752, short{99})) << word;
  }
}

TEST(IniConfig, Integers) {
  struct Case {
    char const* text;
    int result;
    int value;
  } const cases[] = {
      {"0", 0, 0},           {"42", 0, 42},
      {"-7", 0, -7},         {"+5", 0, 5},
      {"0x1F", 0, 31},       {"0XfF", 0, 255},
      {"-0x10", 0, -16},     {"2147483647", 0, 2147483647},
      {"-2147483648", 0, -2147483647 - 1}, {"0x7FFFFFFF", 0, 0x7FFFFFFF},
      {"2147483648", -2752, 4711},         {"-2147483649", -2752, 4711},
      {"0x80000000", -2752, 4711},         {"99999999999999999999", -2752, 4711},
      {"", -2752, 4711},     {"-", -2752, 4711},
      {"0x", -2752, 4711},   {"12a", -2752, 4711},
      {"1 2", -2752, 4711},  {"0x1G", -2752, 4711},
      {"one", -2752, 4711},  {"--1", -2752, 4711},
  };
  for (Case const& c : cases) {
    KrIniConfig config;
    ASSERT_EQ(config.Set("test", "growErrorCounter", c.text), 0);
    EXPECT_EQ(Int(config, "growErrorCounter", kTest), std::make_pair(c.result, c.value)) << c.text;
  }
}

TEST(IniConfig, SyntaxErrorsNameTheLineAndLeaveNothing) {
  struct Case {
    char const* text;
    int line;
  } const cases[] = {
      {"just words\n", 1},
      {"a = 1\n\n# fine\n[debug\nassertMode = 1\n", 4},
      {"[]\n", 1},
      {"[servers//krserver]\n", 1},
      {"[servers/]\n", 1},
      {"[ ]\n", 1},
      {"a = 1\n = 2\n", 2},
      {"a = 1\r\nb\r\n", 2},
      {"x = 1\n]\n", 2},
      {"[debug]x\n", 1},
  };
  for (Case const& c : cases) {
    KrIniConfig config;
    ASSERT_EQ(config.Set("", "a", "before"), 0);
    EXPECT_EQ(config.ReadText(c.text), -2754) << c.text;
    EXPECT_EQ(config.Result(), -2754);
    EXPECT_EQ(config.ErrorLine(), c.line) << c.text;
    EXPECT_EQ(Text(config, "a", globalSection), "default") << c.text;
  }
  // A later good read clears the error.
  KrIniConfig config;
  config.ReadText("bad\n");
  EXPECT_EQ(config.ReadText("a = 1\n"), 0);
  EXPECT_EQ(config.ErrorLine(), 0);
  EXPECT_EQ(Text(config, "a", globalSection), "1");
}

TEST(IniConfig, ValueLengthIsBoundedForTheLoadersBuffer) {
  std::string longest(KrIniConfig::kMaxValueLength, 'v');
  KrIniConfig config;
  ASSERT_EQ(config.ReadText(("defaultModulePath = " + longest + "\n").c_str()), 0);
  EXPECT_EQ(Text(config, "defaultModulePath", globalSection), longest);
  EXPECT_EQ(config.ReadText(("ok = 1\ndefaultModulePath = " + longest + "v\n").c_str()), -2754);
  EXPECT_EQ(config.ErrorLine(), 2);
  EXPECT_EQ(config.Set("", "defaultModulePath", (longest + "v").c_str()), -2002);
  EXPECT_EQ(config.Set("", "defaultModulePath", longest.c_str()), 0);
}

TEST(IniConfig, ReplacesTheWholeContentOnEachRead) {
  KrIniConfig config;
  ASSERT_EQ(config.ReadText("a = 1\nb = 2\n"), 0);
  ASSERT_EQ(config.ReadText("b = 3\n"), 0);
  EXPECT_EQ(Text(config, "a", globalSection), "default");
  EXPECT_EQ(Text(config, "b", globalSection), "3");
}

TEST(IniConfig, SetAddsOrReplacesOneValue) {
  KrIniConfig config;
  ASSERT_EQ(config.ReadText("[debug]\nassertMode = 1\n"), 0);
  EXPECT_EQ(config.Set("debug", "assertMode", "3"), 0);
  EXPECT_EQ(config.Set(" servers / krserver ", "disableWin32PriorityBoost", "1"), 0);
  EXPECT_EQ(config.Set("", "defaultModulePath", "/x"), 0);
  EXPECT_EQ(Int(config, "assertMode", debugSection), std::make_pair(0, 3));
  EXPECT_EQ(Bool(config, "disableWin32PriorityBoost", kServers), std::make_pair(0, short{1}));
  EXPECT_EQ(Text(config, "defaultModulePath", globalSection), "/x");

  EXPECT_EQ(config.Set(nullptr, "k", "v"), -2002);
  EXPECT_EQ(config.Set("", nullptr, "v"), -2002);
  EXPECT_EQ(config.Set("", "k", nullptr), -2002);
  EXPECT_EQ(config.Set("", "  ", "v"), -2002);
  EXPECT_EQ(config.Set("a//b", "k", "v"), -2002);
}

TEST(IniConfig, NullArgumentsAreRefused) {
  KrIniConfig config;
  config.Set("", "a", "1");
  char* none = nullptr;
  EXPECT_EQ(config.GetText("a", none, globalSection), -2002);
  EXPECT_EQ(config.GetInt("a", nullptr, globalSection), -2002);
  EXPECT_EQ(config.GetBool(nullptr, nullptr, globalSection), -2002);
  EXPECT_EQ(config.ReadText(nullptr), -2002);
  EXPECT_EQ(config.ReadFile(nullptr), -2002);
}

TEST(IniConfig, Files) {
  std::string path = TempFile("[debug]\nassertMode = 1\n");
  KrIniConfig fromConstructor(path.c_str());
  EXPECT_EQ(fromConstructor.Result(), 0);
  EXPECT_EQ(Int(fromConstructor, "assertMode", debugSection), std::make_pair(0, 1));

  KrIniConfig config;
  EXPECT_EQ(config.ReadFile(path.c_str()), 0);
  EXPECT_EQ(Int(config, "assertMode", debugSection), std::make_pair(0, 1));
  std::remove(path.c_str());

  EXPECT_EQ(config.ReadFile(path.c_str()), -2751);  // gone
  EXPECT_EQ(config.Result(), -2751);
  EXPECT_EQ(Int(config, "assertMode", debugSection), std::make_pair(-1, 4711));
  KrIniConfig missing("/nonexistent/dir/kr.ini");
  EXPECT_EQ(missing.Result(), -2751);

  EXPECT_EQ(config.ReadFile("/tmp"), -2753);  // opens, but cannot be read

  // A NUL byte makes its line malformed instead of ending the text early.
  std::string withNul = TempFile(std::string("a = 1\nb = 2\0\nc = 3\n", 19));
  EXPECT_EQ(config.ReadFile(withNul.c_str()), -2754);
  EXPECT_EQ(config.ErrorLine(), 2);
  std::remove(withNul.c_str());
}

TEST(IniConfig, DefaultConstructedIsEmpty) {
  KrIniConfig config;
  EXPECT_EQ(config.Result(), 0);
  EXPECT_EQ(config.ErrorLine(), 0);
  EXPECT_EQ(Int(config, "assertMode", debugSection), std::make_pair(-1, 4711));
}

}  // namespace
