// Absolute paths: zvmIsAbsolutePath and zvmabspath.
#include <kr/diag.h>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "child_process.h"
#include "temp_dir.h"

namespace {

// zvmabspath's answer, "<null>" for a failure that empties the output.
std::string AbsPath(std::string const& in, int size = 4096) {
  std::vector<char> input(in.c_str(), in.c_str() + in.size() + 1);
  std::vector<char> out(4096, 'x');
  char* result = zvmabspath(input.data(), out.data(), size);
  if (!result) return out[0] == '\0' ? "<null>" : "<null, output not emptied>";
  return result == out.data() ? out.data() : "<another buffer>";
}

TEST(Path, NormalisesLexically) {
  EXPECT_TRUE(zvmIsAbsolutePath("/usr"));
  EXPECT_FALSE(zvmIsAbsolutePath("usr/lib"));
  EXPECT_FALSE(zvmIsAbsolutePath(""));
  EXPECT_FALSE(zvmIsAbsolutePath(nullptr));
  EXPECT_EQ(AbsPath("/../../x"), "/x");  // the rest is compared with realpath below
  EXPECT_EQ(AbsPath("/a/..b/.c/..."), "/a/..b/.c/...");
  kr_test::ChildResult result = kr_test::RunInChild([] {
    if (chdir("/usr/lib") != 0) return 1;
    std::printf("%s|%s|%s|%s", AbsPath("x.so").c_str(), AbsPath("./a//b/").c_str(),
                AbsPath("../../etc").c_str(), AbsPath("").c_str());
    return 0;
  });
  EXPECT_EQ(result.out, "/usr/lib/x.so|/usr/lib/a/b|/etc|/usr/lib");
}

TEST(Path, BoundedBySize) {
  EXPECT_EQ(AbsPath("/abc/def", 9), "/abc/def");  // 8 characters and the NUL
  EXPECT_EQ(AbsPath("/abc/def", 8), "<null>");
  EXPECT_EQ(AbsPath("/abc/../def", 5), "/def");  // only the result must fit
  char out[4] = "xyz";
  EXPECT_EQ(zvmabspath(out, out, 0), nullptr);
  EXPECT_STREQ(out, "xyz");
  char buffer[64] = "/a/./b/../c//d";  // input and output may be one buffer
  EXPECT_EQ(zvmabspath(buffer, buffer, sizeof buffer), buffer);
  EXPECT_STREQ(buffer, "/a/c/d");
}

// Differential check against realpath on a tree of real directories without
// symbolic links, where lexical normalisation must give the same path.
TEST(Path, AgreesWithRealpathOnRealDirectories) {
  kr_test::TempDir made;
  char base[PATH_MAX];
  ASSERT_NE(realpath(made.path().c_str(), base), nullptr);
  for (char const* dir : {"a", "b", "a/a", "a/b", "b/a", "b/b"}) {
    ASSERT_EQ(mkdir((std::string(base) + "/" + dir).c_str(), 0700), 0);
  }
  std::mt19937 random(12345);
  char const* const parts[] = {"a", "b", ".", "..", ""};
  for (int i = 0; i < 2000; ++i) {
    std::string path = base;
    int depth = 0;
    for (int j = 1 + static_cast<int>(random() % 8); j > 0; --j) {
      std::string part = parts[random() % 5];
      int step = part == ".." ? -1 : (part == "." || part.empty() ? 0 : 1);
      if (depth + step < 0 || depth + step > 2) continue;  // stay inside the tree
      depth += step;
      path += "/" + part;
    }
    char expected[PATH_MAX];
    ASSERT_NE(realpath(path.c_str(), expected), nullptr) << path;
    EXPECT_EQ(AbsPath(path), expected) << path;
  }
}

}  // namespace
