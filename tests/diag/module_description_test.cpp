// KrGetDescription: reading other modules' self-description.
#include <kr/diag.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>

#include "test_modules.h"

namespace {

using kr_test::ConfiguredDir;
using kr_test::IsLoaded;
using kr_test::ScopedDefaultConfig;

// Every output of KrGetDescription, prefilled with marks that show what was
// written.
struct Description {
  char path[4096] = "untouched";
  unsigned long major = 77, minor = 77, revision = 77, build = 77, patch = 77;
  char title[256] = "untouched";
  char name[256] = "untouched";
  char dateTime[256] = "untouched";
  char text8[256] = "untouched";
  char compilerName[256] = "untouched";
  char text11[256] = "untouched";
  int compilerNum = 77;

  int Read(char const* module) {
    return KrGetDescription(module, path, major, minor, revision, build, patch, title, name,
                            dateTime, text8, compilerName, text11, compilerNum);
  }
  std::string Version() const {
    return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(revision) +
           "." + std::to_string(build) + "." + std::to_string(patch);
  }
};

class ModuleDescription : public ::testing::Test {
 protected:
  void SetUp() override { config_.Set("", "defaultModulePath", ConfiguredDir().c_str()); }
  KrIniConfig config_;
  ScopedDefaultConfig installed_{&config_};
};

TEST_F(ModuleDescription, ReadsAModulesRecordAndUnloadsIt) {
  Description d;
  ASSERT_EQ(d.Read("krtestmod"), 0);
  std::string path = ConfiguredDir() + "/libkrtestmod.so";
  EXPECT_STREQ(d.path, path.c_str());
  EXPECT_EQ(d.Version(), "9.5.24.301.2");
  EXPECT_STREQ(d.title, "krtestmod in configured");
  EXPECT_STREQ(d.name, "krtestmod");
  EXPECT_STREQ(d.dateTime, "Jan 02 2024 10:11:12");
  EXPECT_STREQ(d.text8, "text eight");
  EXPECT_STREQ(d.compilerName, "Test Compiler 1.0");
  EXPECT_STREQ(d.text11, "text eleven");
  EXPECT_EQ(d.compilerNum, 1234);
  EXPECT_FALSE(IsLoaded(path));
}

TEST_F(ModuleDescription, ThisLibrary) {
  Description d;
  ASSERT_EQ(d.Read("kr95Nbs"), 0);
  char expected[PATH_MAX];
  ASSERT_NE(realpath(kr_test::LibraryPath().c_str(), expected), nullptr);
  char got[PATH_MAX];
  ASSERT_NE(realpath(d.path, got), nullptr) << d.path;
  EXPECT_STREQ(got, expected);
  EXPECT_EQ(d.path[0], '/');
  EXPECT_EQ(d.Version(), "9.5.23.262.0");
  EXPECT_STREQ(d.title, "Norvane Basic Algorithms");
  EXPECT_STREQ(d.name, "kr95Nbs");
  EXPECT_STREQ(d.dateTime, "Jun 28 2005 00:54:01");
  EXPECT_STREQ(d.text8, "unknown");
  EXPECT_STREQ(d.compilerName, "GNU C++ gcc Compiler 3.2 (Linux)");
  EXPECT_STREQ(d.text11, "");
  EXPECT_EQ(d.compilerNum, 320);
}

TEST_F(ModuleDescription, ModuleWithoutRecordStillGivesItsPath) {
  Description d;
  EXPECT_EQ(d.Read("krtestplain"), -5003);
  std::string path = ConfiguredDir() + "/libkrtestplain.so";
  EXPECT_STREQ(d.path, path.c_str());
  EXPECT_EQ(d.Version(), "77.77.77.77.77");
  EXPECT_STREQ(d.title, "untouched");
  EXPECT_STREQ(d.name, "untouched");
  EXPECT_STREQ(d.text11, "untouched");
  EXPECT_EQ(d.compilerNum, 77);
  EXPECT_FALSE(IsLoaded(path));
}

TEST_F(ModuleDescription, MissingModuleWritesNothing) {
  Description d;
  EXPECT_EQ(d.Read("krnosuch"), -5002);
  EXPECT_STREQ(d.path, "untouched");
  EXPECT_STREQ(d.title, "untouched");
  EXPECT_EQ(d.Version(), "77.77.77.77.77");
}

TEST_F(ModuleDescription, NullBuffersAreSkipped) {
  unsigned long major = 0, minor = 0, revision = 0, build = 0, patch = 0;
  int compilerNum = 0;
  char title[64] = "";
  EXPECT_EQ(KrGetDescription("krtestmod", nullptr, major, minor, revision, build, patch, title,
                             nullptr, nullptr, nullptr, nullptr, nullptr, compilerNum),
            0);
  EXPECT_STREQ(title, "krtestmod in configured");
  EXPECT_EQ(build, 301u);
  EXPECT_EQ(compilerNum, 1234);
}

}  // namespace
