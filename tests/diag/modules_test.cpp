// Modules: this library's self-description and the version rule, module file names, the
// loader against real shared objects of the test build (configured/ holds krtestmod and
// krtestplain; system/ holds krtestmod and krtestsysonly and stands for the system's search
// path), and the description read from other modules.
#include <kr/diag.h>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "child_process.h"
#include "recording_config.h"

namespace {

using kr_test::RunInChild;

std::string const kConfigured = std::string(KR_TEST_MODULES_DIR) + "/configured";
std::string const kSystem = std::string(KR_TEST_MODULES_DIR) + "/system";

bool IsLoaded(std::string const& path) {
  void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (library) dlclose(library);
  return library != nullptr;
}

// Installs a configuration for the lifetime of the object (tests start and end without one).
struct ScopedConfig {
  explicit ScopedConfig(KrConfig* config) { DefaultConfig(config); }
  ~ScopedConfig() { DefaultConfig(nullptr); }
};

TEST(Modules, VersionRule) {
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
  EXPECT_TRUE(KrCheckDll(0) == 0 && KrCheckDll(8) == 0 && KrCheckDll(4 | 0x20000000) == 0);
  EXPECT_EQ(KrCheckDll(4), -5004);  // flags | 3
}

TEST(Modules, SelfDescriptionUnderPlainNames) {
  unsigned long v[5] = {};
  char const* texts[5] = {};
  int compilerNum = 0;
  EXPECT_STREQ(KrDescribeDll(&v[0], &v[1], &v[2], &v[3], &v[4], &texts[0], &texts[1], &texts[2],
                             &compilerNum, &texts[3], &texts[4]),
               "Norvane Basic Algorithms");
  EXPECT_EQ(std::vector<unsigned long>(v, v + 5), (std::vector<unsigned long>{9, 5, 23, 262, 0}));
  std::vector<std::string> const expected = {"kr95Nbs", "Jun 28 2005 00:54:01", "unknown",
                                             "GNU C++ gcc Compiler 3.2 (Linux)", ""};
  EXPECT_EQ(std::vector<std::string>(texts, texts + 5), expected);
  EXPECT_EQ(compilerNum, 320);
  char const* info[4] = {};
  compilerNum = 0;
  GETKRBASICSINFO(&info[0], &compilerNum, &info[1], &info[2], &info[3]);
  EXPECT_EQ(std::vector<std::string>(info, info + 4),
            (std::vector<std::string>{"GNU C++ gcc Compiler 3.2 (Linux)",
                                      "Norvane Basic Algorithms 9.5.23.262.0 ", "Jun 28 2005",
                                      "kr95Nbs"}));
  EXPECT_EQ(compilerNum, 320);
  GETKRBASICSINFO(nullptr, nullptr, nullptr, nullptr, nullptr);
  std::memset(const_cast<char*>(info[1]), 'x', 10);  // rebuilt at each call
  char const* again = nullptr;
  GETKRBASICSINFO(nullptr, nullptr, &again, nullptr, nullptr);
  EXPECT_STREQ(again, "Norvane Basic Algorithms 9.5.23.262.0 ");
  EXPECT_EQ(dlsym(RTLD_DEFAULT, "KrCheckDll"), reinterpret_cast<void*>(&KrCheckDll));
  EXPECT_EQ(dlsym(RTLD_DEFAULT, "KrDescribeDll"), reinterpret_cast<void*>(&KrDescribeDll));
  EXPECT_EQ(dlsym(RTLD_DEFAULT, "GETKRBASICSINFO"), reinterpret_cast<void*>(&GETKRBASICSINFO));
}

// Base, then the number if any, else the letter; assignment freezes the composed name.
TEST(Modules, FileNames) {
  EXPECT_STREQ(DllNameClass("Nbs").GetDllName(), "kr95Nbs");
  EXPECT_STREQ(DllNameClass("Nbs", 'd').GetDllName(), "kr95Nbsd");
  EXPECT_STREQ(DllNameClass("Nbs", 'd', 7).GetDllName(), "kr95Nbs7");
  EXPECT_STREQ(DllNameClass("Nbs", 0, -12).GetDllName(), "kr95Nbs-12");
  DllNameClass name(nullptr);
  EXPECT_STREQ(static_cast<char*>(name), "");  // nothing to compose: buffer as it is
  std::strcpy(name.buffer, "kept");
  EXPECT_STREQ(name.GetDllName(), "kept");
  char out[16];
  EXPECT_STREQ(DllNameClass::GetGenericDllName("Nbs", out), "krNbs");
  DllNameClass::second_char = 'q';
  DllNameClass::mayor_vers[1] = '6';
  EXPECT_STREQ(DllNameClass("Nbs", 'd').GetDllName(), "kq96Nbsd");
  EXPECT_STREQ(DllNameClass::GetGenericDllName("Nbs", out), "kqNbs");
  DllNameClass::second_char = 'r';
  DllNameClass::mayor_vers[1] = '5';
  DllNameClass source("Nbs", 'd'), copy("Other", 'z', 3);
  copy = source;
  EXPECT_TRUE(copy.base == nullptr && copy.letter == 0 && copy.number == 0);
  source.letter = 'e';
  EXPECT_STREQ(source.GetDllName(), "kr95Nbse");
  EXPECT_STREQ(copy.GetDllName(), "kr95Nbsd");
}

// Loads `module` with "defaultModulePath" = `directory` (none when empty) and "loadModule" =
// `trace`; returns the loaded copy's title and its path, or the result code.
std::string Load(char const* module, std::string const& directory, char const* trace = "0") {
  KrIniConfig config;
  if (!directory.empty()) config.Set("", "defaultModulePath", directory.c_str());
  config.Set("debug", "loadModule", trace);
  ScopedConfig installed(&config);
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

// The dynamic linker reads LD_LIBRARY_PATH once, at start: without system/ on it, this test
// runs again in a new process of this program that has it, and the caller returns at once.
bool RerunWithSystemDirOnSearchPath() {
  char const* current = std::getenv("LD_LIBRARY_PATH");
  if (current && std::string(current).find(kSystem) != std::string::npos) return false;
  ::testing::TestInfo const* info = ::testing::UnitTest::GetInstance()->current_test_info();
  std::string const filter =
      std::string("--gtest_filter=") + info->test_suite_name() + "." + info->name();
  kr_test::ChildResult const result =
      kr_test::RunProgram({"/proc/self/exe", filter}, "", {"LD_LIBRARY_PATH=" + kSystem});
  EXPECT_EQ(result.exitCode, 0) << result.out << result.err;
  EXPECT_NE(result.out.find("[  PASSED  ] 1 test"), std::string::npos) << result.out;
  return true;
}

TEST(Loader, ConfiguredDirectoryFirstThenTheSystemSearch) {
  if (RerunWithSystemDirOnSearchPath()) return;
  std::string const configured = kConfigured + "/libkrtestmod.so";
  EXPECT_EQ(Load("krtestmod", kConfigured), "krtestmod in configured at " + configured);
  EXPECT_FALSE(IsLoaded(configured));  // unloaded
  EXPECT_EQ(Load("krtestmod", ""), "krtestmod in system at " + kSystem + "/libkrtestmod.so");
  EXPECT_EQ(Load("krtestsysonly", kConfigured),
            "krtestsysonly in system at " + kSystem + "/libkrtestsysonly.so");
  EXPECT_EQ(Load("krnosuch", kConfigured), "-5002");  // and the handle is null
  EXPECT_EQ(Load(nullptr, kConfigured), "-5002");
  for (char const* directory : {"configured", "../modules/.//configured/"}) {
    kr_test::ChildResult const result = RunInChild([directory] {  // relative: made absolute
      char cwd[PATH_MAX];
      if (chdir(KR_TEST_MODULES_DIR) != 0 || !getcwd(cwd, sizeof cwd)) return 1;
      return Load("krtestmod", directory) ==
                     "krtestmod in configured at " + std::string(cwd) + "/configured/libkrtestmod.so"
                 ? 0
                 : 3;
    });
    EXPECT_EQ(result.exitCode, 0) << directory << result.err;
  }
}

TEST(Loader, TraceLines) {
  auto traced = [](char const* module, char const* entry) {
    return RunInChild([=] {
      KrIniConfig config;
      config.Set("", "defaultModulePath", kConfigured.c_str());
      config.Set("debug", "loadModule", "1");
      ScopedConfig installed(&config);
      KrModuleHandle* handle = nullptr;
      if (KrDynamicLoader::LoadModule(module, 0, handle) == 0) {
        void* address = nullptr;
        if (entry) KrDynamicLoader::GetEntryPoint(entry, handle, address);
        KrDynamicLoader::UnloadModule(handle);
      }
      return 0;
    }).err;
  };
  EXPECT_EQ(traced("krtestmod", nullptr),
            "Loading module 'krtestmod' as '" + kConfigured + "/libkrtestmod.so' succeeded\n");
  // Only the error of the last attempt (the system search) is reported.
  EXPECT_EQ(traced("krnosuch", nullptr),
            "Loading module 'krnosuch' failed libkrnosuch.so: cannot open shared object file: "
            "No such file or directory\n");
  EXPECT_EQ(traced("krtestplain", "KrNoSuchEntry"),
            "Loading module 'krtestplain' as '" + kConfigured +
                "/libkrtestplain.so' succeeded\nGetEntryPoint(KrNoSuchEntry) failed: " +
                kConfigured + "/libkrtestplain.so: undefined symbol: KrNoSuchEntry\n");
  EXPECT_EQ(RunInChild([] { return Load("krnosuch", kConfigured) == "-5002" ? 0 : 1; }).err,
            "");  // silent without the switch
}

TEST(Loader, EntryPointsErrorTextAndUnload) {
  void* address = &address;
  EXPECT_EQ(KrDynamicLoader::GetEntryPoint("KrTestPlainAnswer", nullptr, address), -5001);
  EXPECT_EQ(address, nullptr);
  KrModuleHandle* none = nullptr;
  EXPECT_EQ(KrDynamicLoader::UnloadModule(none), -5001);
  kr_test::RecordingConfig config;
  config.Set("", "defaultModulePath", kConfigured);
  ScopedConfig installed(&config);
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
  std::vector<std::string> expected;  // both settings are read at every call
  for (int call = 0; call < 3; ++call) {
    expected.insert(expected.end(), {"GetBool debug:loadModule", "GetText :defaultModulePath"});
  }
  EXPECT_EQ(config.calls, expected);
  // A record marked to stay loaded is freed without closing the module.
  std::string const path = kConfigured + "/libkrtestplain.so";
  void* library = handle->library;
  handle->keepLoaded = 1;
  EXPECT_EQ(KrDynamicLoader::UnloadModule(handle), 0);
  EXPECT_TRUE(handle == nullptr && IsLoaded(path));
  EXPECT_EQ(dlclose(library), 0);
  EXPECT_FALSE(IsLoaded(path));
  // This library itself is found through the system search.
  ASSERT_EQ(KrDynamicLoader::LoadModule("kr95Nbs", 0, handle), 0);
  char found[PATH_MAX], built[PATH_MAX];
  ASSERT_NE(realpath(KrDynamicLoader::GetPhysicalModuleName(handle), found), nullptr);
  ASSERT_NE(realpath(KR_LIBRARY_PATH, built), nullptr);
  EXPECT_STREQ(found, built);
  EXPECT_EQ(KrDynamicLoader::UnloadModule(handle), 0);
  EXPECT_STREQ(ERR_KR[1], "ERR_KR_COULD_NOT_LOAD_MODULE");
  EXPECT_STREQ(ERR_KR[2], "ERR_KR_COULD_NOT_GET_ENTRY");
  EXPECT_STREQ(ERR_KR[3], "ERR_KR_MODULE_HANDLE_INVALID");
}

// KrGetDescription's result and every output, prefilled with "?" and 77 to show what was
// written; the module is unloaded afterwards. Without a record only the path is written.
std::string Describe(char const* module) {
  KrIniConfig config;
  config.Set("", "defaultModulePath", kConfigured.c_str());
  ScopedConfig installed(&config);
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

TEST(Loader, DescriptionsOfOtherModules) {
  std::string const path = kConfigured + "/libkrtestmod.so";
  EXPECT_EQ(Describe("krtestmod"), "0|" + path + "|9.5.24.301.2.|krtestmod in configured|" +
                                       "krtestmod|Jan 02 2024 10:11:12|text eight|" +
                                       "Test Compiler 1.0|text eleven|1234");
  EXPECT_FALSE(IsLoaded(path));
  char self[PATH_MAX];
  ASSERT_NE(realpath(KR_LIBRARY_PATH, self), nullptr);
  EXPECT_EQ(Describe("kr95Nbs"), std::string("0|") + self +
                                     "|9.5.23.262.0.|Norvane Basic Algorithms|kr95Nbs|Jun 28 2005 "
                                     "00:54:01|unknown|GNU C++ gcc Compiler 3.2 (Linux)||320");
  EXPECT_EQ(Describe("krtestplain"),
            "-5003|" + kConfigured + "/libkrtestplain.so|77.77.77.77.77.|?|?|?|?|?|?|77");
  EXPECT_EQ(Describe("krnosuch"), "-5002|?|77.77.77.77.77.|?|?|?|?|?|?|77");
  unsigned long v[5] = {};
  int compilerNum = 0;
  char title[64] = "";
  KrIniConfig config;
  config.Set("", "defaultModulePath", kConfigured.c_str());
  ScopedConfig installed(&config);
  EXPECT_EQ(KrGetDescription("krtestmod", nullptr, v[0], v[1], v[2], v[3], v[4], title, nullptr,
                             nullptr, nullptr, nullptr, nullptr, compilerNum),
            0);  // null buffers are skipped
  EXPECT_STREQ(title, "krtestmod in configured");
}

}  // namespace
