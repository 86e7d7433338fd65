// KrDynamicLoader against real shared objects built by the test build.
#include <kr/diag.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "child_process.h"
#include "recording_config.h"
#include "test_modules.h"

namespace {

using kr_test::ChildResult;
using kr_test::ConfiguredDir;
using kr_test::IsLoaded;
using kr_test::ModulesDir;
using kr_test::RecordingConfig;
using kr_test::RunInChild;
using kr_test::ScopedDefaultConfig;
using kr_test::SystemDir;

typedef char const* (*TitleFunction)();

// The title of the copy that `handle` loaded.
std::string LoadedTitle(KrModuleHandle* handle) {
  void* address = nullptr;
  EXPECT_EQ(KrDynamicLoader::GetEntryPoint("KrTestModuleTitle", handle, address), 0);
  return address ? reinterpret_cast<TitleFunction>(address)() : "";
}

std::string RealPath(std::string const& path) {
  char resolved[PATH_MAX];
  return realpath(path.c_str(), resolved) ? resolved : "";
}

std::unique_ptr<KrIniConfig> ModulePathConfig(std::string const& directory, bool trace = false) {
  std::unique_ptr<KrIniConfig> config(new KrIniConfig);
  config->Set("", "defaultModulePath", directory.c_str());
  if (trace) config->Set("debug", "loadModule", "on");
  return config;
}

TEST(Loader, LoadsFromTheConfiguredDirectory) {
  std::unique_ptr<KrIniConfig> config = ModulePathConfig(ConfiguredDir());
  ScopedDefaultConfig installed(config.get());
  KrModuleHandle* handle = nullptr;
  ASSERT_EQ(KrDynamicLoader::LoadModule("krtestmod", 0, handle), 0);
  ASSERT_NE(handle, nullptr);
  EXPECT_NE(handle->library, nullptr);
  EXPECT_EQ(handle->keepLoaded, 0);
  EXPECT_EQ(LoadedTitle(handle), "krtestmod in configured");
  std::string path = ConfiguredDir() + "/libkrtestmod.so";
  EXPECT_EQ(std::string(KrDynamicLoader::GetPhysicalModuleName(handle)), path);
  EXPECT_TRUE(IsLoaded(path));

  EXPECT_EQ(KrDynamicLoader::UnloadModule(handle), 0);
  EXPECT_EQ(handle, nullptr);
  EXPECT_FALSE(IsLoaded(path));
}

TEST(Loader, RelativeConfiguredDirectoryGivesAnAbsolutePath) {
  for (char const* directory : {"configured", "./configured//", "../modules/./configured"}) {
    ChildResult result = RunInChild([directory] {
      if (chdir(KR_TEST_MODULES_DIR) != 0) return 1;
      KrIniConfig config;
      config.Set("", "defaultModulePath", directory);
      DefaultConfig(&config);
      KrModuleHandle* handle = nullptr;
      if (KrDynamicLoader::LoadModule("krtestmod", 0, handle) != 0) return 2;
      char cwd[PATH_MAX];
      if (!getcwd(cwd, sizeof cwd)) return 3;
      std::printf("%s|%s", KrDynamicLoader::GetPhysicalModuleName(handle),
                  (std::string(cwd) + "/configured/libkrtestmod.so").c_str());
      return KrDynamicLoader::UnloadModule(handle);
    });
    ASSERT_EQ(result.exitCode, 0) << directory;
    std::size_t bar = result.out.find('|');
    ASSERT_NE(bar, std::string::npos);
    EXPECT_EQ(result.out.substr(0, bar), result.out.substr(bar + 1)) << directory;
    EXPECT_EQ(result.out[0], '/');
  }
}

TEST(Loader, ConfiguredDirectoryComesBeforeTheSystemSearch) {
  if (kr_test::RerunWithSystemDirOnSearchPath()) return;
  KrModuleHandle* handle = nullptr;
  {
    std::unique_ptr<KrIniConfig> config = ModulePathConfig(ConfiguredDir());
    ScopedDefaultConfig installed(config.get());
    ASSERT_EQ(KrDynamicLoader::LoadModule("krtestmod", 0, handle), 0);
    EXPECT_EQ(LoadedTitle(handle), "krtestmod in configured");
    EXPECT_EQ(KrDynamicLoader::UnloadModule(handle), 0);
  }
  ASSERT_EQ(KrDynamicLoader::LoadModule("krtestmod", 0, handle), 0);
  EXPECT_EQ(LoadedTitle(handle), "krtestmod in system");
  EXPECT_EQ(std::string(KrDynamicLoader::GetPhysicalModuleName(handle)),
            SystemDir() + "/libkrtestmod.so");
  EXPECT_EQ(KrDynamicLoader::UnloadModule(handle), 0);
}

TEST(Loader, FallsBackToTheSystemSearch) {
  if (kr_test::RerunWithSystemDirOnSearchPath()) return;
  std::unique_ptr<KrIniConfig> config = ModulePathConfig(ConfiguredDir());
  ScopedDefaultConfig installed(config.get());
  KrModuleHandle* handle = nullptr;
  ASSERT_EQ(KrDynamicLoader::LoadModule("krtestsysonly", 0, handle), 0);
  EXPECT_EQ(LoadedTitle(handle), "krtestsysonly in system");
  EXPECT_EQ(KrDynamicLoader::UnloadModule(handle), 0);
}

TEST(Loader, FindsThisLibraryThroughTheSystemSearch) {
  KrModuleHandle* handle = nullptr;
  ASSERT_EQ(KrDynamicLoader::LoadModule("kr95Nbs", 0, handle), 0);
  EXPECT_EQ(RealPath(KrDynamicLoader::GetPhysicalModuleName(handle)),
            RealPath(kr_test::LibraryPath()));
  void* address = nullptr;
  EXPECT_EQ(KrDynamicLoader::GetEntryPoint("KrCheckDll", handle, address), 0);
  EXPECT_EQ(address, reinterpret_cast<void*>(&KrCheckDll));
  EXPECT_EQ(KrDynamicLoader::UnloadModule(handle), 0);
  EXPECT_TRUE(IsLoaded(kr_test::LibraryPath()));  // still linked by this program
}

TEST(Loader, MissingModule) {
  ChildResult result = RunInChild([] {
    KrIniConfig config;
    config.Set("", "defaultModulePath", ConfiguredDir().c_str());
    DefaultConfig(&config);
    KrModuleHandle* handle = reinterpret_cast<KrModuleHandle*>(&config);  // any non-null
    int loaded = KrDynamicLoader::LoadModule("krnosuch", 0, handle);
    return loaded == -5002 && handle == nullptr ? 0 : 1;
  });
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");  // silent without the trace switch

  KrModuleHandle* handle = nullptr;
  EXPECT_EQ(KrDynamicLoader::LoadModule(nullptr, 0, handle), -5002);
  EXPECT_EQ(handle, nullptr);
}

TEST(Loader, TraceOfAFailedLoadNamesOnlyTheLastAttempt) {
  ChildResult result = RunInChild([] {
    std::unique_ptr<KrIniConfig> config = ModulePathConfig(ConfiguredDir(), true);
    DefaultConfig(config.get());
    KrModuleHandle* handle = nullptr;
    return KrDynamicLoader::LoadModule("krnosuch", 0, handle) == -5002 ? 0 : 1;
  });
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err,
            "Loading module 'krnosuch' failed libkrnosuch.so: cannot open shared object file: "
            "No such file or directory\n");
}

TEST(Loader, TraceOfASuccessfulLoad) {
  ChildResult result = RunInChild([] {
    std::unique_ptr<KrIniConfig> config = ModulePathConfig(ConfiguredDir(), true);
    DefaultConfig(config.get());
    KrModuleHandle* handle = nullptr;
    if (KrDynamicLoader::LoadModule("krtestmod", 0, handle) != 0) return 1;
    return KrDynamicLoader::UnloadModule(handle);
  });
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "Loading module 'krtestmod' as '" + ConfiguredDir() +
                            "/libkrtestmod.so' succeeded\n");
}

TEST(Loader, SettingsAreReadAtEveryCall) {
  RecordingConfig config;
  ScopedDefaultConfig installed(&config);
  KrModuleHandle* handle = nullptr;
  ASSERT_EQ(KrDynamicLoader::LoadModule("kr95Nbs", 0, handle), 0);
  void* address = nullptr;
  EXPECT_EQ(KrDynamicLoader::GetEntryPoint("KrCheckDll", handle, address), 0);
  EXPECT_EQ(KrDynamicLoader::UnloadModule(handle), 0);
  std::vector<std::string> const once = {"GetBool debug:loadModule", "GetText :defaultModulePath"};
  std::vector<std::string> twice = once;
  twice.insert(twice.end(), once.begin(), once.end());
  EXPECT_EQ(config.calls, twice);
}

TEST(Loader, UnloadModule) {
  KrModuleHandle* none = nullptr;
  EXPECT_EQ(KrDynamicLoader::UnloadModule(none), -5001);
  EXPECT_EQ(none, nullptr);

  // A record marked to stay loaded is freed without closing the module.
  std::unique_ptr<KrIniConfig> config = ModulePathConfig(ConfiguredDir());
  ScopedDefaultConfig installed(config.get());
  KrModuleHandle* handle = nullptr;
  ASSERT_EQ(KrDynamicLoader::LoadModule("krtestplain", 0, handle), 0);
  void* library = handle->library;
  handle->keepLoaded = 1;
  EXPECT_EQ(KrDynamicLoader::UnloadModule(handle), 0);
  EXPECT_EQ(handle, nullptr);
  std::string path = ConfiguredDir() + "/libkrtestplain.so";
  EXPECT_TRUE(IsLoaded(path));
  EXPECT_EQ(dlclose(library), 0);
  EXPECT_FALSE(IsLoaded(path));
}

TEST(Loader, GetEntryPoint) {
  void* address = &address;
  EXPECT_EQ(KrDynamicLoader::GetEntryPoint("KrTestPlainAnswer", nullptr, address), -5001);
  EXPECT_EQ(address, nullptr);

  std::unique_ptr<KrIniConfig> config = ModulePathConfig(ConfiguredDir());
  ScopedDefaultConfig installed(config.get());
  KrModuleHandle* handle = nullptr;
  ASSERT_EQ(KrDynamicLoader::LoadModule("krtestplain", 0, handle), 0);
  ASSERT_EQ(KrDynamicLoader::GetEntryPoint("KrTestPlainAnswer", handle, address), 0);
  EXPECT_EQ(reinterpret_cast<int (*)()>(address)(), 42);

  address = &address;
  EXPECT_EQ(KrDynamicLoader::GetEntryPoint("KrNoSuchEntry", handle, address), -5003);
  EXPECT_EQ(address, nullptr);
  // Without the trace the reason stays with the dynamic linker until asked.
  char const* reason = KrDynamicLoader::GetErrText();
  ASSERT_NE(reason, nullptr);
  EXPECT_NE(std::string(reason).find("undefined symbol: KrNoSuchEntry"), std::string::npos);
  EXPECT_EQ(KrDynamicLoader::GetErrText(), nullptr);  // cleared by reading
  EXPECT_EQ(KrDynamicLoader::UnloadModule(handle), 0);
}

TEST(Loader, TraceOfAFailedLookup) {
  ChildResult result = RunInChild([] {
    std::unique_ptr<KrIniConfig> config = ModulePathConfig(ConfiguredDir());
    DefaultConfig(config.get());
    KrModuleHandle* handle = nullptr;
    if (KrDynamicLoader::LoadModule("krtestplain", 0, handle) != 0) return 1;
    config->Set("debug", "loadModule", "1");  // read at every call
    void* address = nullptr;
    int found = KrDynamicLoader::GetEntryPoint("KrNoSuchEntry", handle, address);
    KrDynamicLoader::UnloadModule(handle);
    return found == -5003 ? 0 : 2;
  });
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "GetEntryPoint(KrNoSuchEntry) failed: " + ConfiguredDir() +
                            "/libkrtestplain.so: undefined symbol: KrNoSuchEntry\n");
}

TEST(Loader, SymbolicNamesOfTheFailures) {
  EXPECT_EQ(ERR_KR[0], nullptr);
  EXPECT_STREQ(ERR_KR[1], "ERR_KR_COULD_NOT_LOAD_MODULE");
  EXPECT_STREQ(ERR_KR[2], "ERR_KR_COULD_NOT_GET_ENTRY");
  EXPECT_STREQ(ERR_KR[3], "ERR_KR_MODULE_HANDLE_INVALID");
  EXPECT_STREQ(KrError(nullptr, nullptr, -5001, 1), "A module handle is invalid.");
  EXPECT_STREQ(KrError(nullptr, nullptr, -5002, 1), "A module could not be loaded.");
  EXPECT_STREQ(KrError(nullptr, nullptr, -5003, 1), "A module entry could not be found.");
}

}  // namespace
