// KrIniConfig and absolute paths. Generated configurations, raw texts and the
// normal form of any path are replayed by the ini and texts fuzz targets; this
// file pins the edge rules: typed values refused, the line a syntax error
// names, the value bound, files, and paths against a known directory.
#include <kr/diag.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "child_process.h"
#include "temp_dir.h"

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
                            "quoted = \"  kept  \"\r\n"
                            "path = a=b;c # not a comment\n"
                            "\n[debug]\n"
                            "; comment\n"
                            "assertMode = 1\n"
                            "assertMode = 2\n"
                            "\t[ servers /  krserver ]  \n"
                            "disableWin32PriorityBoost = YES\n"),
            0);
  EXPECT_EQ(config.ErrorLine(), 0);
  EXPECT_EQ(Text(config, "quoted", globalSection), "0   kept  ");
  EXPECT_EQ(Text(config, "path", globalSection), "0 a=b;c # not a comment");
  EXPECT_EQ(Int(config, "assertMode", debugSection), "0 2");  // the later value
  EXPECT_EQ(Bool(config, "disableWin32PriorityBoost", kServers), "0 1");
  // A key is found only in its own section and with its own case.
  EXPECT_EQ(Int(config, "assertMode", globalSection), "-1 4711");
  EXPECT_EQ(Bool(config, "disableWin32PriorityBoost", kServers + 1), "-1 99");
  EXPECT_EQ(Int(config, "AssertMode", debugSection), "-1 4711");
  // Null parameters are refused, also when only one of them is null.
  short flag = 0;
  int number = 0;
  EXPECT_EQ(config.GetBool("assertMode", nullptr, debugSection), -2002);
  EXPECT_EQ(config.GetBool(nullptr, &flag, debugSection), -2002);
  EXPECT_EQ(config.GetInt("assertMode", nullptr, debugSection) + config.GetInt(nullptr, &number, debugSection), -4004);
}

TEST(IniConfig, TypedValues) {
  struct {
    char const* text;
    char const* asBool;
    char const* asInt;
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
    EXPECT_EQ(Bool(config, "key", kTest), c.asBool) << c.text;
    EXPECT_EQ(Int(config, "key", kTest), c.asInt) << c.text;
  }
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
    ASSERT_EQ(config.Set("", "a", "before"), 0);
    EXPECT_EQ(config.ReadText(c.text.c_str()), -2754) << c.text;
    EXPECT_EQ(config.Result(), -2754);
    EXPECT_EQ(config.ErrorLine(), c.line) << c.text;
    EXPECT_EQ(Text(config, "a", globalSection), "-1 default") << c.text;
  }
  // Values are bounded for the loader's 1024-byte directory buffer.
  KrIniConfig config;
  EXPECT_EQ(config.ReadText(("p = " + longest + "\n").c_str()), 0);
  EXPECT_EQ(Text(config, "p", globalSection), "0 " + longest);
  EXPECT_EQ(config.Set("", "p", (longest + "v").c_str()), -2002);
  EXPECT_EQ(config.Set("a//b", "k", "v"), -2002);
  EXPECT_EQ(config.Set("", " ", "v"), -2002);
}

TEST(IniConfig, Files) {
  kr_test::TempDir dir;
  std::string name = dir.Make("kr.ini", "[debug]\nassertMode = 1\n");
  KrIniConfig config(name.c_str());
  EXPECT_EQ(config.Result(), 0);
  EXPECT_EQ(Int(config, "assertMode", debugSection), "0 1");
  // A NUL makes its line malformed.
  dir.Make("kr.ini", std::string("[debug]\nassertMode = 1\nb = 2\0\n", 30));
  EXPECT_EQ(config.ReadFile(name.c_str()), -2754);
  EXPECT_EQ(config.ErrorLine(), 3);
  EXPECT_EQ(config.ReadFile(dir.Name("missing").c_str()), -2751);
  EXPECT_EQ(config.ReadFile(dir.path().c_str()), -2753);  // opens, but cannot be read
  EXPECT_EQ(config.ReadFile(nullptr), -2002);
  EXPECT_EQ(Int(config, "assertMode", debugSection), "-1 4711");
}

// zvmabspath's answer, "<null>" for a failure that empties the output.
std::string AbsPath(std::string const& in, int size = 4096) {
  std::vector<char> input(in.c_str(), in.c_str() + in.size() + 1);
  std::vector<char> out(4096, 'x');
  char* result = zvmabspath(input.data(), out.data(), size);
  if (!result) return out[0] == '\0' ? "<null>" : "<null, output not emptied>";
  return result == out.data() ? out.data() : "<another buffer>";
}

TEST(Path, NormalisesLexicallyAndBoundsBySize) {
  EXPECT_TRUE(zvmIsAbsolutePath("/usr"));
  EXPECT_FALSE(zvmIsAbsolutePath(""));
  EXPECT_FALSE(zvmIsAbsolutePath(nullptr));
  EXPECT_EQ(AbsPath("/a/..b/.c/..."), "/a/..b/.c/...");
  EXPECT_EQ(AbsPath("/abc/def", 9), "/abc/def");  // 8 characters and the NUL
  EXPECT_EQ(AbsPath("/abc/def", 8), "<null>");
  EXPECT_EQ(AbsPath("/abc/../def", 5), "/def");  // only the result must fit
  EXPECT_EQ(AbsPath("/abc", 0), "<null, output not emptied>");
  EXPECT_EQ(AbsPath("/abc", -1), "<null, output not emptied>");
  char buffer[64] = "/a/./b/../c//d";  // input and output may be one buffer
  EXPECT_EQ(zvmabspath(buffer, buffer, sizeof buffer), buffer);
  EXPECT_STREQ(buffer, "/a/c/d");
  kr_test::ChildResult result = kr_test::RunInChild([] {
    if (chdir("/usr/lib") != 0) return 1;
    std::printf("%s|%s|%s|%s", AbsPath("x.so").c_str(), AbsPath("./a//b/").c_str(),
                AbsPath("../../etc").c_str(), AbsPath("").c_str());
    return 0;
  });
  EXPECT_EQ(result.out, "/usr/lib/x.so|/usr/lib/a/b|/etc|/usr/lib");
}

}  // namespace
