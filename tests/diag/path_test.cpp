// Absolute paths: zvmIsAbsolutePath and zvmabspath.
#include <kr/diag.h>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "child_process.h"

namespace {

std::string AbsPath(std::string const& in, int size = 4096) {
  std::vector<char> input(in.begin(), in.end());
  input.push_back('\0');
  std::vector<char> out(4096, 'x');
  char* result = zvmabspath(input.data(), out.data(), size);
  if (!result) return out[0] == '\0' ? "<null>" : "<null, out not emptied>";
  EXPECT_EQ(result, out.data());
  return out.data();
}

TEST(Path, IsAbsolute) {
  EXPECT_TRUE(zvmIsAbsolutePath("/"));
  EXPECT_TRUE(zvmIsAbsolutePath("/usr/lib"));
  EXPECT_TRUE(zvmIsAbsolutePath("//x"));
  EXPECT_FALSE(zvmIsAbsolutePath("usr/lib"));
  EXPECT_FALSE(zvmIsAbsolutePath("./lib"));
  EXPECT_FALSE(zvmIsAbsolutePath(""));
  EXPECT_FALSE(zvmIsAbsolutePath(nullptr));
}

TEST(Path, NormalisesAbsolutePaths) {
  EXPECT_EQ(AbsPath("/a/b/c"), "/a/b/c");
  EXPECT_EQ(AbsPath("/a/b/../c"), "/a/c");
  EXPECT_EQ(AbsPath("//a///b/./"), "/a/b");
  EXPECT_EQ(AbsPath("/a/./b/./c/."), "/a/b/c");
  EXPECT_EQ(AbsPath("/a/b/c/../../.."), "/");
  EXPECT_EQ(AbsPath("/.."), "/");
  EXPECT_EQ(AbsPath("/../../x/.."), "/");
  EXPECT_EQ(AbsPath("/../../x"), "/x");
  EXPECT_EQ(AbsPath("/"), "/");
  EXPECT_EQ(AbsPath("/..."), "/...");
  EXPECT_EQ(AbsPath("/a/..b/.c"), "/a/..b/.c");
}

TEST(Path, RelativePathsStartAtTheCurrentDirectory) {
  kr_test::ChildResult result = kr_test::RunInChild([] {
    if (chdir("/usr/lib") != 0) return 1;
    std::printf("%s|%s|%s|%s|%s", AbsPath("x.so").c_str(), AbsPath("./a//b/").c_str(),
                AbsPath("../../etc").c_str(), AbsPath("").c_str(), AbsPath("../../../..").c_str());
    return 0;
  });
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, "/usr/lib/x.so|/usr/lib/a/b|/etc|/usr/lib|/");
}

TEST(Path, BoundedBySize) {
  std::string path = "/abc/def";  // 8 characters and the NUL
  EXPECT_EQ(AbsPath(path, 9), "/abc/def");
  EXPECT_EQ(AbsPath(path, 8), "<null>");
  EXPECT_EQ(AbsPath("/abc/../def", 5), "/def");  // only the result must fit
  EXPECT_EQ(AbsPath("/", 2), "/");
  EXPECT_EQ(AbsPath("/", 1), "<null>");
  char out[4] = "xyz";
  EXPECT_EQ(zvmabspath(const_cast<char*>("/a"), out, 0), nullptr);
  EXPECT_STREQ(out, "xyz");  // no room to write anything
  EXPECT_EQ(zvmabspath(nullptr, out, sizeof out), nullptr);
  EXPECT_STREQ(out, "");
}

TEST(Path, InputAndOutputMayBeOneBuffer) {
  char buffer[64] = "/a/./b/../c//d";
  EXPECT_EQ(zvmabspath(buffer, buffer, sizeof buffer), buffer);
  EXPECT_STREQ(buffer, "/a/c/d");
}

// Differential check against realpath on a tree of real directories without
// symbolic links, where lexical normalisation must give the same path.
TEST(Path, AgreesWithRealpathOnRealDirectories) {
  char base[] = "/tmp/kr_path_XXXXXX";
  ASSERT_NE(mkdtemp(base), nullptr);
  char resolvedBase[PATH_MAX];
  ASSERT_NE(realpath(base, resolvedBase), nullptr);
  std::vector<std::string> const names = {"a", "b", "c"};
  for (std::string const& first : names) {
    ASSERT_EQ(mkdir((std::string(resolvedBase) + "/" + first).c_str(), 0700), 0);
    for (std::string const& second : names) {
      ASSERT_EQ(mkdir((std::string(resolvedBase) + "/" + first + "/" + second).c_str(), 0700), 0);
    }
  }
  std::mt19937 random(12345);
  std::vector<std::string> const parts = {"a", "b", "c", ".", "..", ""};
  for (int i = 0; i < 2000; ++i) {
    std::string path = resolvedBase;
    int depth = 0;
    int count = 1 + static_cast<int>(random() % 7);
    for (int j = 0; j < count; ++j) {
      std::string const& part = parts[random() % parts.size()];
      // Stay inside the tree: at most two levels down, never above the base.
      if (part == ".." && depth == 0) continue;
      if (part != "." && part != ".." && !part.empty() && depth == 2) continue;
      depth += part == ".." ? -1 : (part == "." || part.empty() ? 0 : 1);
      path += "/" + part;
    }
    char expected[PATH_MAX];
    ASSERT_NE(realpath(path.c_str(), expected), nullptr) << path;
    EXPECT_EQ(AbsPath(path), expected) << path;
  }
  std::string cleanup = std::string("rm -rf ") + resolvedBase;
  EXPECT_EQ(std::system(cleanup.c_str()), 0);
}

}  // namespace
