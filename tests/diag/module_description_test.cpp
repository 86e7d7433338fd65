// KrGetDescription: reading other modules' self-description.
#include <kr/diag.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <string>

#include "test_modules.h"

namespace {

using kr_test::ConfiguredDir;

// KrGetDescription's result and every output, prefilled with "?" and 77 to
// show what was written.
std::string Describe(char const* module) {
  KrIniConfig config;
  config.Set("", "defaultModulePath", ConfiguredDir().c_str());
  kr_test::ScopedDefaultConfig installed(&config);
  char path[4096] = "?", title[256] = "?", name[256] = "?", dateTime[256] = "?";
  char text8[256] = "?", compilerName[256] = "?", text11[256] = "?";
  unsigned long v[5] = {77, 77, 77, 77, 77};
  int compilerNum = 77;
  int result = KrGetDescription(module, path, v[0], v[1], v[2], v[3], v[4], title, name,
                                dateTime, text8, compilerName, text11, compilerNum);
  std::string out = std::to_string(result) + "|" + path + "|";
  for (unsigned long part : v) out += std::to_string(part) + ".";
  return out + "|" + title + "|" + name + "|" + dateTime + "|" + text8 + "|" + compilerName +
         "|" + text11 + "|" + std::to_string(compilerNum);
}

TEST(ModuleDescription, ReadsTheRecordAndUnloadsTheModule) {
  std::string path = ConfiguredDir() + "/libkrtestmod.so";
  EXPECT_EQ(Describe("krtestmod"),
            "0|" + path + "|9.5.24.301.2.|krtestmod in configured|krtestmod|" +
                "Jan 02 2024 10:11:12|text eight|Test Compiler 1.0|text eleven|1234");
  EXPECT_FALSE(kr_test::IsLoaded(path));
}

TEST(ModuleDescription, ThisLibrary) {
  char expected[PATH_MAX];
  ASSERT_NE(realpath(kr_test::LibraryPath().c_str(), expected), nullptr);
  EXPECT_EQ(Describe("kr95Nbs"), std::string("0|") + expected +
                                     "|9.5.23.262.0.|Norvane Basic Algorithms|kr95Nbs|Jun 28 2005 "
                                     "00:54:01|unknown|GNU C++ gcc Compiler 3.2 (Linux)||320");
}

TEST(ModuleDescription, FailuresLeaveTheOutputs) {
  // Without a record only the path is written.
  EXPECT_EQ(Describe("krtestplain"), "-5003|" + ConfiguredDir() +
                                         "/libkrtestplain.so|77.77.77.77.77.|?|?|?|?|?|?|77");
  EXPECT_EQ(Describe("krnosuch"), "-5002|?|77.77.77.77.77.|?|?|?|?|?|?|77");

  unsigned long v[5] = {};
  int compilerNum = 0;
  char title[64] = "";
  KrIniConfig config;
  config.Set("", "defaultModulePath", ConfiguredDir().c_str());
  kr_test::ScopedDefaultConfig installed(&config);
  EXPECT_EQ(KrGetDescription("krtestmod", nullptr, v[0], v[1], v[2], v[3], v[4], title, nullptr,
                             nullptr, nullptr, nullptr, nullptr, compilerNum),
            0);  // null buffers are skipped
  EXPECT_STREQ(title, "krtestmod in configured");
}

}  // namespace
