// KrIniConfig and absolute paths. Generated configurations (sections, keys in
// their own section and case, quoting, the later value), raw texts and the
// normal form of any path are replayed by the ini and texts fuzz targets;
// this file pins the edge rules: typed values refused, the line a syntax
// error names, the value bound, files, null arguments and path sizes.
#include <kr/diag.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "temp_dir.h"

namespace {

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
  struct {
    char const *text, *asBool, *asInt;
  } const cases[] = {
      {"1", "0 1", "0 1"}, {"0", "0 0", "0 0"}, {"True", "0 1", "-2752 4711"},
      {"nO", "0 0", "-2752 4711"}, {"2", "-2752 99", "0 2"}, {"0x1f", "-2752 99", "0 31"},
      {"-0XaF", "-2752 99", "0 -175"}, {"-2147483648", "-2752 99", "0 -2147483648"},
      {"2147483648", "-2752 99", "-2752 4711"}, {"0x80000000", "-2752 99", "-2752 4711"},
      {"0x", "-2752 99", "-2752 4711"}, {"12a", "-2752 99", "-2752 4711"},
      {"", "-2752 99", "-2752 4711"},
  };
  for (auto const& c : cases) {
    KrIniConfig config;
    ASSERT_EQ(config.Set("test", "key", c.text), 0);
    EXPECT_EQ(Get(config, "key"), "0 " + std::string(c.text) + "|" + c.asBool + "|" + c.asInt);
  }
  // Each getter refuses a null key and a null value, also when the key exists.
  KrIniConfig config;
  ASSERT_EQ(config.Set("test", "k", "1"), 0);
  char text[8];
  char *buffer = text, *none = nullptr;
  short flag = 0;
  int number = 0;
  std::vector<int> const answers = {
      config.GetText(nullptr, buffer, kTest), config.GetText("k", none, kTest),
      config.GetBool(nullptr, &flag, kTest),  config.GetBool("k", nullptr, kTest),
      config.GetInt(nullptr, &number, kTest), config.GetInt("k", nullptr, kTest)};
  EXPECT_EQ(answers, std::vector<int>(6, -2002));
}

TEST(IniConfig, SyntaxErrorsNameTheLineAndLeaveNothing) {
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
    EXPECT_EQ(config.Result(), -2754);
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
}

TEST(IniConfig, Files) {
  kr_test::TempDir dir;
  std::string name = dir.Make("kr.ini", "[test]\nassertMode = 1\n");
  KrIniConfig config(name.c_str());
  EXPECT_EQ(config.Result(), 0);
  EXPECT_EQ(Get(config, "assertMode"), "0 1|0 1|0 1");
  // A NUL makes its line malformed.
  dir.Make("kr.ini", std::string("[test]\nassertMode = 1\nb = 2\0\n", 29));
  EXPECT_EQ(config.ReadFile(name.c_str()), -2754);
  EXPECT_EQ(config.ErrorLine(), 3);
  EXPECT_EQ(config.ReadFile(dir.Name("missing").c_str()), -2751);
  EXPECT_EQ(config.ReadFile(dir.path().c_str()), -2753);  // opens, but cannot be read
  EXPECT_EQ(config.ReadFile(nullptr), -2002);
  EXPECT_EQ(Get(config, "assertMode"), "-1 default|-1 99|-1 4711");
}

// What the texts fuzz target's model of zvmabspath does not reach: a size
// without room, a null input, and one buffer as input and output.
TEST(Path, SizesWithoutRoomNullInputAndOneBuffer) {
  EXPECT_FALSE(zvmIsAbsolutePath(nullptr));
  char in[] = "/abc", out[8] = "x";
  EXPECT_EQ(zvmabspath(in, out, 0), nullptr);
  EXPECT_EQ(zvmabspath(in, out, -1), nullptr);
  EXPECT_STREQ(out, "x");  // not even emptied
  EXPECT_EQ(zvmabspath(nullptr, out, sizeof out), nullptr);
  EXPECT_STREQ(out, "");
  char buffer[64] = "/a/./b/../c//d";
  EXPECT_EQ(zvmabspath(buffer, buffer, sizeof buffer), buffer);
  EXPECT_STREQ(buffer, "/a/c/d");
}

}  // namespace
