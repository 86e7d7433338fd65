// Where the test build puts the shared objects that the loader tests open
// (see tests/modules/CMakeLists.txt), and helpers to reach them.
#ifndef KR_TESTS_DIAG_TEST_MODULES_H_
#define KR_TESTS_DIAG_TEST_MODULES_H_

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include <kr/diag.h>

#include "child_process.h"

namespace kr_test {

// configured/ holds krtestmod and krtestplain; system/ holds krtestmod and
// krtestsysonly and stands for the system's library search path.
inline std::string ModulesDir() { return KR_TEST_MODULES_DIR; }
inline std::string ConfiguredDir() { return ModulesDir() + "/configured"; }
inline std::string SystemDir() { return ModulesDir() + "/system"; }
inline std::string LibraryPath() { return KR_LIBRARY_PATH; }

// Whether the file at `path` is loaded in this process.
inline bool IsLoaded(std::string const& path) {
  void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (library) dlclose(library);
  return library != nullptr;
}

// The dynamic linker reads LD_LIBRARY_PATH once, at start. A test that needs
// system/ on the search path calls this first: when the path lacks it, the
// test runs again in a new process of this program that has it, the result is
// checked here, and the caller returns at once.
inline bool RerunWithSystemDirOnSearchPath() {
  char const* current = std::getenv("LD_LIBRARY_PATH");
  if (current && std::string(current).find(SystemDir()) != std::string::npos) return false;
  ::testing::TestInfo const* info = ::testing::UnitTest::GetInstance()->current_test_info();
  std::string filter =
      std::string("--gtest_filter=") + info->test_suite_name() + "." + info->name();
  ChildResult result =
      RunProgram({"/proc/self/exe", filter}, "", {"LD_LIBRARY_PATH=" + SystemDir()});
  EXPECT_EQ(result.exitCode, 0) << result.out << result.err;
  EXPECT_NE(result.out.find("[  PASSED  ] 1 test"), std::string::npos) << result.out;
  return true;
}

// Installs a configuration for the lifetime of the object (tests start and
// end without one).
class ScopedDefaultConfig {
 public:
  explicit ScopedDefaultConfig(KrConfig* config) { DefaultConfig(config); }
  ~ScopedDefaultConfig() { DefaultConfig(nullptr); }
  ScopedDefaultConfig(ScopedDefaultConfig const&) = delete;
  ScopedDefaultConfig& operator=(ScopedDefaultConfig const&) = delete;
};

}  // namespace kr_test

#endif  // KR_TESTS_DIAG_TEST_MODULES_H_
