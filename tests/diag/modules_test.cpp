// KrDynamicLoader and KrGetDescription on the shared objects of tests/modules, the version rule and
// module file names (the description fields krinfo prints are pinned by the krinfo tests).
#include <kr/diag.h>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <string>

#include "child_process.h"

namespace {

using kr_test::RunInChild;

// configured/: krtestmod, krtestplain; system/ (the library search path): krtestmod, krtestsysonly.
std::string const kConfigured = KR_TEST_MODULES_DIR "/configured";
std::string const kSystem = KR_TEST_MODULES_DIR "/system";

bool IsLoaded(std::string const& path) {
  void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  return library && dlclose(library) == 0;
}

// The default configuration for its lifetime (tests run without one), `directory` as module path.
struct ModulePath : KrIniConfig {
  explicit ModulePath(std::string const& directory) {
    if (!directory.empty()) Set("", "defaultModulePath", directory.c_str());
    DefaultConfig(this);
  }
  ~ModulePath() override { DefaultConfig(nullptr); }
};

// Loads `module` from `directory`, "loadModule" = `trace` if given: title and path, or the code.
std::string Load(char const* module, std::string const& directory, char const* trace = nullptr) {
  ModulePath config(directory);
  if (trace) config.Set("debug", "loadModule", trace);
  static KrModuleHandle stale;
  KrModuleHandle* handle = &stale;  // a failed load must null it
  int result = KrDynamicLoader::LoadModule(module, 0, handle);
  if (result != 0) return std::to_string(result) + (handle ? " with a handle" : "");
  EXPECT_EQ(handle->keepLoaded, 0);
  void* title = nullptr;
  KrDynamicLoader::GetEntryPoint("KrTestModuleTitle", handle, title);
  std::string answer = (title ? reinterpret_cast<char const* (*)()>(title)() : "no title") +
                       std::string(" at ") + KrDynamicLoader::GetPhysicalModuleName(handle);
  EXPECT_EQ(KrDynamicLoader::UnloadModule(handle), 0);
  EXPECT_EQ(handle, nullptr);
  return answer;
}

TEST(Loader, ConfiguredDirectoryFirstThenTheSystemSearch) {
  // The dynamic linker reads LD_LIBRARY_PATH at start: rerun in a new process with system/ on it.
  char const* searchPath = std::getenv("LD_LIBRARY_PATH");
  if (!searchPath || std::string(searchPath).find(kSystem) == std::string::npos) {
    kr_test::ChildResult rerun = kr_test::RunProgram(
        {"/proc/self/exe", "--gtest_filter=Loader.ConfiguredDirectoryFirstThenTheSystemSearch"},
        "", {"LD_LIBRARY_PATH=" + kSystem});
    EXPECT_EQ(rerun.exitCode, 0) << rerun.out << rerun.err;
    EXPECT_NE(rerun.out.find("[  PASSED  ] 1 test"), std::string::npos) << rerun.out;
    return;
  }
  EXPECT_EQ(Load("krtestmod", kConfigured),
            "krtestmod in configured at " + kConfigured + "/libkrtestmod.so");
  EXPECT_EQ(Load("krtestmod", ""), "krtestmod in system at " + kSystem + "/libkrtestmod.so");
  EXPECT_EQ(Load("krtestsysonly", kConfigured),
            "krtestsysonly in system at " + kSystem + "/libkrtestsysonly.so");
  EXPECT_EQ(Load("krnosuch", kConfigured), "-5002");  // and the handle is null
  // A relative directory gives an absolute, normalised path.
  kr_test::ChildResult relative = RunInChild([] {
    char cwd[PATH_MAX];
    if (chdir(KR_TEST_MODULES_DIR) != 0 || !getcwd(cwd, sizeof cwd)) return 1;
    std::string const answer = Load("krtestmod", "../modules/.//configured/");
    std::printf("%s", answer.c_str());
    return answer == "krtestmod in configured at " + std::string(cwd) +
                         "/configured/libkrtestmod.so" ? 0 : 2;
  });
  EXPECT_EQ(relative.exitCode, 0) << relative.out;
}

TEST(Loader, TraceLinesEntryPointsErrorTextAndUnload) {
  auto traced = [](char const* module, char const* trace) {
    return RunInChild([=] { return Load(module, kConfigured, trace).empty() ? 1 : 0; }).err;
  };
  std::string const plain = kConfigured + "/libkrtestplain.so";
  // Only the error of the last attempt (the system search) is reported.
  EXPECT_EQ(traced("krnosuch", "1"),
            "Loading module 'krnosuch' failed libkrnosuch.so: cannot open shared object file: "
            "No such file or directory\n");
  EXPECT_EQ(traced("krtestplain", "1"),
            "Loading module 'krtestplain' as '" + plain + "' succeeded\n" +
                "GetEntryPoint(KrTestModuleTitle) failed: " + plain +
                ": undefined symbol: KrTestModuleTitle\n");
  EXPECT_EQ(traced("krnosuch", "0") + traced("krtestplain", "0"), "");
  // A null handle is refused; lookups null the address (Load calls found ones).
  KrModuleHandle* handle = nullptr;
  void* address = &handle;
  EXPECT_EQ(KrDynamicLoader::GetEntryPoint("KrTestPlainAnswer", handle, address), -5001);
  EXPECT_EQ(address, nullptr);
  EXPECT_EQ(KrDynamicLoader::UnloadModule(handle), -5001);
  ModulePath config(kConfigured);
  ASSERT_EQ(KrDynamicLoader::LoadModule("krtestplain", 0, handle), 0);
  address = handle;
  EXPECT_EQ(KrDynamicLoader::GetEntryPoint("KrNoSuchEntry", handle, address), -5003);
  EXPECT_EQ(address, nullptr);
  // Without the trace the reason stays with the dynamic linker until asked.
  char const* reason = KrDynamicLoader::GetErrText();
  EXPECT_NE(std::string(reason ? reason : "").find("undefined symbol: KrNoSuchEntry"),
            std::string::npos);
  EXPECT_EQ(KrDynamicLoader::GetErrText(), nullptr);
  // A record marked to stay loaded is freed without closing the module.
  void* library = handle->library;
  handle->keepLoaded = 1;
  EXPECT_EQ(KrDynamicLoader::UnloadModule(handle), 0);
  EXPECT_TRUE(IsLoaded(kConfigured + "/libkrtestplain.so"));
  EXPECT_EQ(dlclose(library), 0);
}

// KrGetDescription's result, the texts krinfo omits (prefilled "?"), major + compiler number (77s).
std::string Describe(char const* module) {
  ModulePath config(kConfigured);
  char text8[256] = "?", text11[256] = "?";
  unsigned long v[5] = {77, 77, 77, 77, 77};
  int number = 77;
  int result = KrGetDescription(module, nullptr, v[0], v[1], v[2], v[3], v[4], nullptr, nullptr,
                                nullptr, text8, nullptr, text11, number);
  return std::to_string(result) + "|" + text8 + "|" + text11 + "|" + std::to_string(v[0] + number);
}

// A module's description (or the outputs left as they were), the version rule, module file names.
TEST(ModuleIdentity, DescriptionVersionRuleAndFileNames) {
  EXPECT_EQ(Describe("krtestmod"), "0|text eight|text eleven|1243");
  EXPECT_FALSE(IsLoaded(kConfigured + "/libkrtestmod.so"));
  EXPECT_EQ(Describe("krtestplain"), "-5003|?|?|154");
  // The version rule: major, minor, revision, build, patch, flags, then the result.
  int const cases[][7] = {
      {10, 5, 23, 262, 0, 3, -5004}, {9, 4, 23, 262, 0, 3, -5004}, {9, 5, 23, 262, 0, 0, -5004},
      {10, 5, 23, 262, 0, 0x70000000, -5004},  // no waiver there
      {9, 5, 24, 262, 0, 2, -5004}, {9, 5, 24, 262, 0, 2 | 0x10000000, 0}, {9, 5, 24, 262, 0, 1, 0},
      {9, 5, 23, 0, 262, 4, 0},  // the patch is compared with the build number
      {9, 5, 23, 262, 1, 8, -5004}, {9, 5, 23, 262, 1, 8 | 0x40000000, 0},
      {9, 5, 23, 1, 0, 2 | 8, 0},  // the build is never examined
      {9, 5, 24, 262, 262, 2 | 4 | 8 | 0x10000000 | 0x20000000, -5004},
      {9, 5, 99, 99, 99, 0x10000000, 0}};  // a waiver alone makes the flags nonzero
  for (auto const& c : cases)
    EXPECT_EQ(CheckKrVersionNumber(c[0], c[1], c[2], c[3], c[4], c[5]), c[6]) << &c - cases;
  EXPECT_EQ(KrCheckDll(0) + KrCheckDll(4 | 0x20000000), 0);  // flags | 3
  EXPECT_EQ(KrCheckDll(4), -5004);  // the patch, 0, is not the build number
  // Module file names: the number wins over the letter; the statics are read at each composition.
  EXPECT_STREQ(DllNameClass("Nbs").GetDllName(), "kr95Nbs");
  EXPECT_STREQ(DllNameClass("Nbs", 'd', 7).GetDllName(), "kr95Nbs7");
  char out[16];
  EXPECT_STREQ(DllNameClass::GetGenericDllName("Nbs", out), "krNbs");
  DllNameClass::mayor_vers[1] = '6';
  EXPECT_STREQ(DllNameClass("Nbs", 'd').GetDllName(), "kr96Nbsd");
  DllNameClass::mayor_vers[1] = '5';
  // Assignment copies the composed name only: with nothing to compose, the copy's buffer stays.
  DllNameClass source("Nbs", 'd'), copy("Other", 'z', 3);
  copy = source;
  EXPECT_STREQ(static_cast<char*>(copy), "kr95Nbsd");
}

}  // namespace
