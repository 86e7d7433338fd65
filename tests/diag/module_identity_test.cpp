// This library's self-description and the version rule.
#include <kr/diag.h>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

TEST(CheckKrVersionNumber, Rules) {
  struct Case {
    unsigned long major, minor, revision, build, patch;
    int flags;
    int expected;
  } const cases[] = {
      {9, 5, 23, 262, 0, 3, 0},
      {9, 5, 23, 262, 0, 1, 0},
      {10, 5, 23, 262, 0, 3, -5004},
      {9, 4, 23, 262, 0, 3, -5004},
      {9, 5, 23, 262, 0, 0, -5004},
      {10, 5, 23, 262, 0, 0x70000000, -5004},  // waivers never excuse major or minor
      // Bit 2: the revision.
      {9, 5, 24, 262, 0, 2, -5004},
      {9, 5, 24, 262, 0, 2 | 0x10000000, 0},
      {9, 5, 24, 262, 0, 1, 0},
      // Bit 4: the fifth component is compared with the build number.
      {9, 5, 23, 262, 0, 4, -5004},
      {9, 5, 23, 262, 262, 4, 0},
      {9, 5, 23, 0, 262, 4, 0},
      {9, 5, 23, 262, 0, 4 | 0x20000000, 0},
      // Bit 8: the patch must be 0.
      {9, 5, 23, 262, 1, 8, -5004},
      {9, 5, 23, 262, 1, 8 | 0x40000000, 0},
      {9, 5, 23, 262, 0, 8, 0},
      // The build component is never examined.
      {9, 5, 23, 1, 0, 2 | 8, 0},
      {9, 5, 23, 0xFFFFFFFF, 0, 0x7FFFFFFF & ~4, 0},
      // Several tests: any failure wins, waivers act on their own test only.
      {9, 5, 24, 262, 262, 2 | 4 | 8, -5004},
      {9, 5, 24, 262, 262, 2 | 4 | 8 | 0x10000000 | 0x40000000, 0},
      {9, 5, 24, 262, 262, 2 | 4 | 8 | 0x10000000 | 0x20000000, -5004},
      // A waiver bit alone makes the flags nonzero.
      {9, 5, 99, 99, 99, 0x10000000, 0},
  };
  for (Case const& c : cases) {
    EXPECT_EQ(CheckKrVersionNumber(c.major, c.minor, c.revision, c.build, c.patch, c.flags),
              c.expected)
        << c.major << "." << c.minor << "." << c.revision << "." << c.build << "." << c.patch
        << " flags 0x" << std::hex << c.flags;
  }
}

TEST(KrCheckDll, ChecksThisLibrarysVersionWithTheLowBitsForced) {
  EXPECT_EQ(KrCheckDll(0), 0);
  EXPECT_EQ(KrCheckDll(2), 0);
  EXPECT_EQ(KrCheckDll(8), 0);
  EXPECT_EQ(KrCheckDll(4), -5004);  // patch 0 compared with 262
  EXPECT_EQ(KrCheckDll(4 | 0x20000000), 0);
  EXPECT_EQ(KrCheckDll(-1), 0);  // every bit, every waiver
}

TEST(KrDescribeDll, ThisLibrary) {
  unsigned long major = 1, minor = 1, revision = 1, build = 1, patch = 1;
  char const* name = nullptr;
  char const* dateTime = nullptr;
  char const* text8 = nullptr;
  char const* compilerName = nullptr;
  char const* text11 = nullptr;
  int compilerNum = 0;
  char const* title = KrDescribeDll(&major, &minor, &revision, &build, &patch, &name, &dateTime,
                                    &text8, &compilerNum, &compilerName, &text11);
  EXPECT_STREQ(title, "Norvane Basic Algorithms");
  EXPECT_EQ(std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(revision) +
                "." + std::to_string(build) + "." + std::to_string(patch),
            "9.5.23.262.0");
  EXPECT_STREQ(name, "kr95Nbs");
  EXPECT_STREQ(dateTime, "Jun 28 2005 00:54:01");
  EXPECT_STREQ(text8, "unknown");
  EXPECT_EQ(compilerNum, 320);
  EXPECT_STREQ(compilerName, "GNU C++ gcc Compiler 3.2 (Linux)");
  ASSERT_NE(text11, nullptr);
  EXPECT_STREQ(text11, "");

  EXPECT_STREQ(KrDescribeDll(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                             nullptr, nullptr, nullptr, nullptr),
               "Norvane Basic Algorithms");
}

TEST(GetKrBasicsInfo, FillsOnlyWhatIsAsked) {
  char const* compilerName = nullptr;
  int compilerNum = 0;
  char const* versionInfo = nullptr;
  char const* date = nullptr;
  char const* name = nullptr;
  GETKRBASICSINFO(&compilerName, &compilerNum, &versionInfo, &date, &name);
  EXPECT_STREQ(compilerName, "GNU C++ gcc Compiler 3.2 (Linux)");
  EXPECT_EQ(compilerNum, 320);
  EXPECT_STREQ(versionInfo, "Norvane Basic Algorithms 9.5.23.262.0 ");
  EXPECT_STREQ(date, "Jun 28 2005");
  EXPECT_STREQ(name, "kr95Nbs");

  GETKRBASICSINFO(nullptr, nullptr, nullptr, nullptr, nullptr);
  char const* onlyDate = nullptr;
  GETKRBASICSINFO(nullptr, nullptr, nullptr, &onlyDate, nullptr);
  EXPECT_STREQ(onlyDate, "Jun 28 2005");
}

TEST(GetKrBasicsInfo, VersionTextIsRebuiltAtEachCall) {
  char const* versionInfo = nullptr;
  GETKRBASICSINFO(nullptr, nullptr, &versionInfo, nullptr, nullptr);
  ASSERT_NE(versionInfo, nullptr);
  // A caller that scribbles over the shared buffer gets it back whole.
  std::memset(const_cast<char*>(versionInfo), 'x', 10);
  char const* again = nullptr;
  GETKRBASICSINFO(nullptr, nullptr, &again, nullptr, nullptr);
  EXPECT_EQ(again, versionInfo);
  EXPECT_STREQ(again, "Norvane Basic Algorithms 9.5.23.262.0 ");
}

TEST(ModuleIdentity, EntryPointsAreExportedUnderPlainNames) {
  EXPECT_EQ(dlsym(RTLD_DEFAULT, "KrCheckDll"), reinterpret_cast<void*>(&KrCheckDll));
  EXPECT_EQ(dlsym(RTLD_DEFAULT, "KrDescribeDll"), reinterpret_cast<void*>(&KrDescribeDll));
  EXPECT_EQ(dlsym(RTLD_DEFAULT, "GETKRBASICSINFO"), reinterpret_cast<void*>(&GETKRBASICSINFO));
  ___KrBasicsContext(0);  // a hook that does nothing
  ___KrBasicsContext(-1);
}

}  // namespace
