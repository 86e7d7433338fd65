// KrDynamicLoader against real shared objects built by the test build.
#include <kr/diag.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <string>
#include <vector>

#include "child_process.h"
#include "recording_config.h"
#include "test_modules.h"

namespace {

using kr_test::ChildResult;
using kr_test::ConfiguredDir;
using kr_test::IsLoaded;
using kr_test::RunInChild;
using kr_test::ScopedDefaultConfig;
using kr_test::SystemDir;

// Loads `module` with "defaultModulePath" = `directory` (none when empty) and
// "loadModule" = `trace`; returns the loaded copy's title and its path, or the
// result code.
std::string Load(char const* module, std::string const& directory, char const* trace = "0") {
  KrIniConfig config;
  if (!directory.empty()) config.Set("", "defaultModulePath", directory.c_str());
  config.Set("debug", "loadModule", trace);
  ScopedDefaultConfig installed(&config);
  static KrModuleHandle stale;
  KrModuleHandle* handle = &stale;  // a failed load must null it
  int result = KrDynamicLoader::LoadModule(module, 0, handle);
  if (result != 0) return std::to_string(result) + (handle ? " with a handle" : "");
  EXPECT_EQ(handle->keepLoaded, 0);
  void* title = nullptr;
  EXPECT_EQ(KrDynamicLoader::GetEntryPoint("KrTestModuleTitle", handle, title), 0);
  std::string answer = (title ? reinterpret_cast<char const* (*)()>(title)() : "no title") +
                       std::string(" at ") + KrDynamicLoader::GetPhysicalModuleName(handle);
  EXPECT_EQ(KrDynamicLoader::UnloadModule(handle), 0);
  EXPECT_EQ(handle, nullptr);
  return answer;
}

TEST(Loader, ConfiguredDirectoryFirstThenTheSystemSearch) {
  if (kr_test::RerunWithSystemDirOnSearchPath()) return;
  std::string const configured = ConfiguredDir() + "/libkrtestmod.so";
  EXPECT_EQ(Load("krtestmod", ConfiguredDir()), "krtestmod in configured at " + configured);
  EXPECT_FALSE(IsLoaded(configured));  // unloaded
  EXPECT_EQ(Load("krtestmod", ""), "krtestmod in system at " + SystemDir() + "/libkrtestmod.so");
  EXPECT_EQ(Load("krtestsysonly", ConfiguredDir()),
            "krtestsysonly in system at " + SystemDir() + "/libkrtestsysonly.so");
  EXPECT_EQ(Load("krnosuch", ConfiguredDir()), "-5002");  // and the handle is null
  EXPECT_EQ(Load(nullptr, ConfiguredDir()), "-5002");
}

TEST(Loader, RelativeConfiguredDirectoryGivesAnAbsolutePath) {
  for (char const* directory : {"configured", "../modules/.//configured/"}) {
    ChildResult result = RunInChild([directory] {
      if (chdir(KR_TEST_MODULES_DIR) != 0) return 1;
      char cwd[PATH_MAX];
      if (!getcwd(cwd, sizeof cwd)) return 2;
      std::string expected = "krtestmod in configured at " + std::string(cwd) +
                             "/configured/libkrtestmod.so";
      return Load("krtestmod", directory) == expected ? 0 : 3;
    });
    EXPECT_EQ(result.exitCode, 0) << directory << result.err;
  }
}

TEST(Loader, TraceLines) {
  auto traced = [](char const* module, char const* entry) {
    return RunInChild([=] {
      KrIniConfig config;
      config.Set("", "defaultModulePath", ConfiguredDir().c_str());
      config.Set("debug", "loadModule", "1");
      ScopedDefaultConfig installed(&config);
      KrModuleHandle* handle = nullptr;
      if (KrDynamicLoader::LoadModule(module, 0, handle) == 0) {
        void* address = nullptr;
        if (entry) KrDynamicLoader::GetEntryPoint(entry, handle, address);
        KrDynamicLoader::UnloadModule(handle);
      }
      return 0;
    }).err;
  };
  EXPECT_EQ(traced("krtestmod", nullptr), "Loading module 'krtestmod' as '" + ConfiguredDir() +
                                              "/libkrtestmod.so' succeeded\n");
  // Only the error of the last attempt (the system search) is reported.
  EXPECT_EQ(traced("krnosuch", nullptr),
            "Loading module 'krnosuch' failed libkrnosuch.so: cannot open shared object file: "
            "No such file or directory\n");
  EXPECT_EQ(traced("krtestplain", "KrNoSuchEntry"),
            "Loading module 'krtestplain' as '" + ConfiguredDir() +
                "/libkrtestplain.so' succeeded\nGetEntryPoint(KrNoSuchEntry) failed: " +
                ConfiguredDir() + "/libkrtestplain.so: undefined symbol: KrNoSuchEntry\n");
  EXPECT_EQ(RunInChild([] { return Load("krnosuch", ConfiguredDir()) == "-5002" ? 0 : 1; }).err,
            "");  // silent without the switch
}

TEST(Loader, EntryPointsErrorTextAndUnload) {
  void* address = &address;
  EXPECT_EQ(KrDynamicLoader::GetEntryPoint("KrTestPlainAnswer", nullptr, address), -5001);
  EXPECT_EQ(address, nullptr);
  KrModuleHandle* none = nullptr;
  EXPECT_EQ(KrDynamicLoader::UnloadModule(none), -5001);

  kr_test::RecordingConfig config;
  config.Set("", "defaultModulePath", ConfiguredDir());
  ScopedDefaultConfig installed(&config);
  KrModuleHandle* handle = nullptr;
  ASSERT_EQ(KrDynamicLoader::LoadModule("krtestplain", 0, handle), 0);
  ASSERT_EQ(KrDynamicLoader::GetEntryPoint("KrTestPlainAnswer", handle, address), 0);
  EXPECT_EQ(reinterpret_cast<int (*)()>(address)(), 42);
  EXPECT_EQ(KrDynamicLoader::GetEntryPoint("KrNoSuchEntry", handle, address), -5003);
  EXPECT_EQ(address, nullptr);
  // Without the trace the reason stays with the dynamic linker until asked.
  char const* reason = KrDynamicLoader::GetErrText();
  EXPECT_NE(std::string(reason ? reason : "").find("undefined symbol: KrNoSuchEntry"),
            std::string::npos);
  EXPECT_EQ(KrDynamicLoader::GetErrText(), nullptr);
  // Both settings are read at every call.
  std::vector<std::string> expected;
  for (int call = 0; call < 3; ++call) {
    expected.push_back("GetBool debug:loadModule");
    expected.push_back("GetText :defaultModulePath");
  }
  EXPECT_EQ(config.calls, expected);

  // A record marked to stay loaded is freed without closing the module.
  std::string path = ConfiguredDir() + "/libkrtestplain.so";
  void* library = handle->library;
  handle->keepLoaded = 1;
  EXPECT_EQ(KrDynamicLoader::UnloadModule(handle), 0);
  EXPECT_EQ(handle, nullptr);
  EXPECT_TRUE(IsLoaded(path));
  EXPECT_EQ(dlclose(library), 0);
  EXPECT_FALSE(IsLoaded(path));

  // This library itself is found through the system search.
  ASSERT_EQ(KrDynamicLoader::LoadModule("kr95Nbs", 0, handle), 0);
  char found[PATH_MAX], built[PATH_MAX];
  ASSERT_NE(realpath(KrDynamicLoader::GetPhysicalModuleName(handle), found), nullptr);
  ASSERT_NE(realpath(kr_test::LibraryPath().c_str(), built), nullptr);
  EXPECT_STREQ(found, built);
  EXPECT_EQ(KrDynamicLoader::UnloadModule(handle), 0);

  EXPECT_STREQ(ERR_KR[1], "ERR_KR_COULD_NOT_LOAD_MODULE");
  EXPECT_STREQ(ERR_KR[2], "ERR_KR_COULD_NOT_GET_ENTRY");
  EXPECT_STREQ(ERR_KR[3], "ERR_KR_MODULE_HANDLE_INVALID");
}

}  // namespace
