// KrIniConfig: the INI-style configuration.
#include <kr/diag.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>

namespace {

char const* kServers[] = {"servers", "krserver", nullptr};
char const* kTest[] = {"test", nullptr};

// "<result> <value>" of each getter, starting from a known default.
std::string Text(KrIniConfig& config, char const* key, char const** path) {
  char buffer[1100] = "default";
  char* designated = buffer;
  int result = config.GetText(key, designated, path);
  return std::to_string(result) + " " + buffer;
}
std::string Int(KrIniConfig& config, char const* key, char const** path) {
  int value = 4711;
  int result = config.GetInt(key, &value, path);
  return std::to_string(result) + " " + std::to_string(value);
}
std::string Bool(KrIniConfig& config, char const* key, char const** path) {
  short value = 99;
  int result = config.GetBool(key, &value, path);
  return std::to_string(result) + " " + std::to_string(value);
}

TEST(IniConfig, SectionsKeysAndValues) {
  KrIniConfig config;
  ASSERT_EQ(config.ReadText("# settings\n"
                            "defaultModulePath = /opt/norvane/lib\n"
                            "quoted = \"  kept  \"\r\n"
                            "path = a=b;c # not a comment\n"
                            "\n[debug]\n"
                            "; comment\n"
                            "assertMode = 1\n"
                            "assertMode = 2\n"
                            "loadModule=on\n"
                            "\t[ servers /  krserver ]  \n"
                            "disableWin32PriorityBoost = YES\n"
                            "[test]\n"
                            "growErrorCounter = -0x10\n"),
            0);
  EXPECT_EQ(config.ErrorLine(), 0);
  EXPECT_EQ(Text(config, "defaultModulePath", globalSection), "0 /opt/norvane/lib");
  EXPECT_EQ(Text(config, "quoted", globalSection), "0   kept  ");
  EXPECT_EQ(Text(config, "path", globalSection), "0 a=b;c # not a comment");
  EXPECT_EQ(Int(config, "assertMode", debugSection), "0 2");  // the later value
  EXPECT_EQ(Bool(config, "loadModule", debugSection), "0 1");
  EXPECT_EQ(Bool(config, "disableWin32PriorityBoost", kServers), "0 1");
  EXPECT_EQ(Int(config, "growErrorCounter", kTest), "0 -16");
  // A key is found only in its own section; missing keys keep the default.
  EXPECT_EQ(Text(config, "defaultModulePath", debugSection), "-1 default");
  EXPECT_EQ(Int(config, "assertMode", globalSection), "-1 4711");
  EXPECT_EQ(Bool(config, "disableWin32PriorityBoost", kServers + 1), "-1 99");
  EXPECT_EQ(Int(config, "AssertMode", debugSection), "-1 4711");
}

TEST(IniConfig, TypedValues) {
  struct Case {
    char const* text;
    char const* asBool;
    char const* asInt;
  } const cases[] = {
      {"1", "0 1", "0 1"},          {"0", "0 0", "0 0"},
      {"True", "0 1", "-2752 4711"}, {"nO", "0 0", "-2752 4711"},
      {"2", "-2752 99", "0 2"},     {"0x1F", "-2752 99", "0 31"},
      {"-2147483648", "-2752 99", "0 -2147483648"}, {"2147483648", "-2752 99", "-2752 4711"},
      {"0x80000000", "-2752 99", "-2752 4711"},     {"0x", "-2752 99", "-2752 4711"},
      {"12a", "-2752 99", "-2752 4711"},            {"", "-2752 99", "-2752 4711"},
  };
  for (Case const& c : cases) {
    KrIniConfig config;
    ASSERT_EQ(config.Set("test", "key", c.text), 0);
    EXPECT_EQ(Bool(config, "key", kTest), c.asBool) << c.text;
    EXPECT_EQ(Int(config, "key", kTest), c.asInt) << c.text;
  }
}

TEST(IniConfig, SyntaxErrorsNameTheLineAndLeaveNothing) {
  struct Case {
    char const* text;
    int line;
  } const cases[] = {{"just words\n", 1}, {"a = 1\n\n# c\n[debug\nb = 1\n", 4},
                     {"[]\n", 1},         {"[servers//krserver]\n", 1},
                     {"a = 1\r\n = 2\n", 2}, {"[debug]x\n", 1}};
  for (Case const& c : cases) {
    KrIniConfig config;
    ASSERT_EQ(config.Set("", "a", "before"), 0);
    EXPECT_EQ(config.ReadText(c.text), -2754) << c.text;
    EXPECT_EQ(config.Result(), -2754);
    EXPECT_EQ(config.ErrorLine(), c.line) << c.text;
    EXPECT_EQ(Text(config, "a", globalSection), "-1 default") << c.text;
  }
  // Values are bounded for the loader's 1024-byte directory buffer.
  std::string longest(KrIniConfig::kMaxValueLength, 'v');
  KrIniConfig config;
  EXPECT_EQ(config.ReadText(("p = " + longest + "\n").c_str()), 0);
  EXPECT_EQ(Text(config, "p", globalSection), "0 " + longest);
  EXPECT_EQ(config.ReadText(("a = 1\np = " + longest + "v\n").c_str()), -2754);
  EXPECT_EQ(config.ErrorLine(), 2);
  EXPECT_EQ(config.Set("", "p", (longest + "v").c_str()), -2002);
  EXPECT_EQ(config.Set("a//b", "k", "v"), -2002);
  EXPECT_EQ(config.Set("", " ", "v"), -2002);
}

TEST(IniConfig, Files) {
  char name[] = "/tmp/kr_ini_XXXXXX";
  int fd = mkstemp(name);
  ASSERT_GE(fd, 0);
  std::string content("[debug]\nassertMode = 1\nb = 2\0\n", 30);
  ASSERT_EQ(write(fd, content.data(), 23), 23);  // without the NUL line
  KrIniConfig config(name);
  EXPECT_EQ(config.Result(), 0);
  EXPECT_EQ(Int(config, "assertMode", debugSection), "0 1");
  ASSERT_EQ(write(fd, content.data() + 23, 7), 7);  // a NUL makes its line malformed
  close(fd);
  EXPECT_EQ(config.ReadFile(name), -2754);
  EXPECT_EQ(config.ErrorLine(), 3);
  std::remove(name);
  EXPECT_EQ(config.ReadFile(name), -2751);
  EXPECT_EQ(config.ReadFile("/tmp"), -2753);  // opens, but cannot be read
  EXPECT_EQ(config.ReadFile(nullptr), -2002);
  EXPECT_EQ(Int(config, "assertMode", debugSection), "-1 4711");
}

}  // namespace
