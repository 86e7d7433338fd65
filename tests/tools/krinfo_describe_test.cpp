// krinfo describe and the global options that configure module loading.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "krinfo_support.h"

namespace {

using kr_test::ChildResult;
using kr_test::ExpectUsageError;
using kr_test::Krinfo;

std::string const kModules = KR_TEST_MODULES_DIR;
std::string const kConfigured = kModules + "/configured";
std::string const kLibraryDir = KR_LIBRARY_DIR;

// A configuration file that lives as long as the object.
class ConfigFile {
 public:
  explicit ConfigFile(std::string const& content) {
    char name[] = "/tmp/krinfo_config_XXXXXX";
    int fd = mkstemp(name);
    EXPECT_GE(fd, 0);
    close(fd);
    path_ = name;
    std::ofstream(path_) << content;
  }
  ~ConfigFile() { std::remove(path_.c_str()); }
  std::string const& path() const { return path_; }

 private:
  std::string path_;
};

std::string Description(std::string const& module, std::string const& path,
                        std::string const& version, std::string const& title,
                        std::string const& name, std::string const& built,
                        std::string const& compiler) {
  return "module:   " + module + "\npath:     " + path + "\nversion:  " + version +
         "\ntitle:    " + title + "\nname:     " + name + "\nbuilt:    " + built +
         "\ncompiler: " + compiler + "\n";
}

std::string const kTestModule =
    Description("krtestmod", kConfigured + "/libkrtestmod.so", "9.5.24.301.2",
                "krtestmod in configured", "krtestmod", "Jan 02 2024 10:11:12",
                "Test Compiler 1.0 (1234)");

TEST(KrinfoDescribe, ThisLibraryFromTheBuildDirectory) {
  ConfigFile config("defaultModulePath = " + kLibraryDir + "\n");
  ChildResult result = Krinfo({"--config", config.path(), "describe", "kr95Nbs"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out, Description("kr95Nbs", kLibraryDir + "/libkr95Nbs.so", "9.5.23.262.0",
                                    "Norvane Basic Algorithms", "kr95Nbs", "Jun 28 2005 00:54:01",
                                    "GNU C++ gcc Compiler 3.2 (Linux) (320)"));
}

TEST(KrinfoDescribe, FailuresGiveCodeTextAndStatusOne) {
  ConfigFile config("defaultModulePath = " + kConfigured + "\n");
  ChildResult result =
      Krinfo({"--config", config.path(), "describe", "krnosuch", "krtestplain", "krtestmod"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.out, kTestModule);  // the good one is still described
  EXPECT_EQ(Krinfo({"--config=" + config.path(), "describe", "krtestmod", "krtestmod"}).out,
            kTestModule + "\n" + kTestModule);
  EXPECT_EQ(result.err,
            "krinfo describe: krnosuch: -5002 A module could not be loaded.\n"
            "krinfo describe: krtestplain: -5003 A module entry could not be found. (" +
                kConfigured + "/libkrtestplain.so)\n");
  // Without the configuration the test modules are not found.
  EXPECT_EQ(Krinfo({"describe", "krtestmod"}).err,
            "krinfo describe: krtestmod: -5002 A module could not be loaded.\n");
}

TEST(KrinfoDescribe, TraceLoading) {
  ConfigFile config("defaultModulePath = " + kConfigured + "\n");
  ConfigFile tracing("defaultModulePath = " + kConfigured + "\n[debug]\nloadModule = yes\n");
  std::string const success =
      "Loading module 'krtestmod' as '" + kConfigured + "/libkrtestmod.so' succeeded\n";
  // The option counts wherever it stands among the global options.
  EXPECT_EQ(Krinfo({"--trace-loading", "--config", config.path(), "describe", "krtestmod"}).err,
            success);
  EXPECT_EQ(Krinfo({"--config", config.path(), "--trace-loading", "describe", "krtestmod"}).err,
            success);
  EXPECT_EQ(Krinfo({"--config", tracing.path(), "describe", "krtestmod"}).err, success);
  EXPECT_EQ(Krinfo({"--config", config.path(), "describe", "krtestmod"}).err, "");
}

TEST(KrinfoDescribe, BadArgumentsAndConfigurations) {
  ExpectUsageError(Krinfo({"describe"}), "no module name given");
  ExpectUsageError(Krinfo({"describe", ""}), "empty module name");
  ExpectUsageError(Krinfo({"describe", "--frob"}), "unknown option '--frob'");
  ExpectUsageError(Krinfo({"--config"}), "--config needs a file");
  ExpectUsageError(Krinfo({"--config", "/nonexistent/kr.ini", "self"}),
                   "configuration '/nonexistent/kr.ini': -2751 The Norvane configuration file "
                   "was not found.");
  ConfigFile broken("a = 1\n[debug\n");
  ExpectUsageError(Krinfo({"--config", broken.path(), "self"}),
                   "line 2: -2754 The Norvane configuration file contains syntax errors.");
  ExpectUsageError(Krinfo({"--config", "/tmp", "self"}), "-2753");
}

}  // namespace
