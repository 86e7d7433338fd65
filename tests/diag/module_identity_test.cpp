// This library's self-description and the version rule.
#include <kr/diag.h>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

TEST(CheckKrVersionNumber, Rules) {
  struct Case {
    unsigned long major, minor, revision, build, patch;
    int flags, expected;
  } const cases[] = {
      {9, 5, 23, 262, 0, 3, 0},        {10, 5, 23, 262, 0, 3, -5004},
      {9, 4, 23, 262, 0, 3, -5004},    {9, 5, 23, 262, 0, 0, -5004},
      {10, 5, 23, 262, 0, 0x70000000, -5004},  // waivers never excuse major or minor
      {9, 5, 24, 262, 0, 2, -5004},    {9, 5, 24, 262, 0, 2 | 0x10000000, 0},
      {9, 5, 24, 262, 0, 1, 0},        {9, 5, 23, 262, 0, 4, -5004},  // patch vs build number
      {9, 5, 23, 0, 262, 4, 0},        {9, 5, 23, 262, 0, 4 | 0x20000000, 0},
      {9, 5, 23, 262, 1, 8, -5004},    {9, 5, 23, 262, 1, 8 | 0x40000000, 0},
      {9, 5, 23, 1, 0, 2 | 8, 0},      // the build is never examined
      {9, 5, 24, 262, 262, 2 | 4 | 8 | 0x10000000 | 0x40000000, 0},
      {9, 5, 24, 262, 262, 2 | 4 | 8 | 0x10000000 | 0x20000000, -5004},
      {9, 5, 99, 99, 99, 0x10000000, 0},  // a waiver alone makes the flags nonzero
  };
  for (Case const& c : cases) {
    EXPECT_EQ(CheckKrVersionNumber(c.major, c.minor, c.revision, c.build, c.patch, c.flags),
              c.expected)
        << c.major << "." << c.minor << "." << c.revision << "." << c.build << "." << c.patch
        << " flags 0x" << std::hex << c.flags;
  }
  EXPECT_EQ(KrCheckDll(0), 0);  // flags | 3
  EXPECT_EQ(KrCheckDll(8), 0);
  EXPECT_EQ(KrCheckDll(4), -5004);
  EXPECT_EQ(KrCheckDll(4 | 0x20000000), 0);
}

TEST(ModuleIdentity, DescribeDllAndBasicsInfo) {
  unsigned long v[5] = {};
  char const* texts[5] = {};
  int compilerNum = 0;
  EXPECT_STREQ(KrDescribeDll(&v[0], &v[1], &v[2], &v[3], &v[4], &texts[0], &texts[1], &texts[2],
                             &compilerNum, &texts[3], &texts[4]),
               "Norvane Basic Algorithms");
  EXPECT_EQ(std::vector<unsigned long>(v, v + 5), (std::vector<unsigned long>{9, 5, 23, 262, 0}));
  EXPECT_STREQ(texts[0], "kr95Nbs");
  EXPECT_STREQ(texts[1], "Jun 28 2005 00:54:01");
  EXPECT_STREQ(texts[2], "unknown");
  EXPECT_STREQ(texts[3], "GNU C++ gcc Compiler 3.2 (Linux)");
  EXPECT_STREQ(texts[4], "");
  EXPECT_EQ(compilerNum, 320);

  char const* info[4] = {};
  compilerNum = 0;
  GETKRBASICSINFO(&info[0], &compilerNum, &info[1], &info[2], &info[3]);
  EXPECT_STREQ(info[0], "GNU C++ gcc Compiler 3.2 (Linux)");
  EXPECT_EQ(compilerNum, 320);
  EXPECT_STREQ(info[1], "Norvane Basic Algorithms 9.5.23.262.0 ");
  EXPECT_STREQ(info[2], "Jun 28 2005");
  EXPECT_STREQ(info[3], "kr95Nbs");
  GETKRBASICSINFO(nullptr, nullptr, nullptr, nullptr, nullptr);
  // The version text is rebuilt at each call, whatever a caller did to it.
  std::memset(const_cast<char*>(info[1]), 'x', 10);
  char const* again = nullptr;
  GETKRBASICSINFO(nullptr, nullptr, &again, nullptr, nullptr);
  EXPECT_STREQ(again, "Norvane Basic Algorithms 9.5.23.262.0 ");
}

TEST(ModuleIdentity, EntryPointsAreExportedUnderPlainNames) {
  EXPECT_EQ(dlsym(RTLD_DEFAULT, "KrCheckDll"), reinterpret_cast<void*>(&KrCheckDll));
  EXPECT_EQ(dlsym(RTLD_DEFAULT, "KrDescribeDll"), reinterpret_cast<void*>(&KrDescribeDll));
  EXPECT_EQ(dlsym(RTLD_DEFAULT, "GETKRBASICSINFO"), reinterpret_cast<void*>(&GETKRBASICSINFO));
}

}  // namespace
