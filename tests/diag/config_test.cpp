// The default configuration and the setting cached from it.
#include <kr/diag.h>

#include <gtest/gtest.h>

#include "child_process.h"
#include "recording_config.h"

namespace {

using kr_test::RecordingConfig;
using kr_test::RunInChild;

TEST(DefaultConfig, InstallQueryAndRemove) {
  auto result = RunInChild([] {
    if (DefaultConfig(KrQueryConfig()) != nullptr) return 1;  // nothing installed at load
    RecordingConfig config;
    if (DefaultConfig(&config) != &config) return 2;
    if (DefaultConfig(KrQueryConfig()) != &config) return 3;
    RecordingConfig other;
    if (DefaultConfig(&other) != &other) return 4;
    if (DefaultConfig(nullptr) != nullptr) return 5;
    if (DefaultConfig(KrQueryConfig()) != nullptr) return 6;
    return 0;
  });
  EXPECT_TRUE(result.exited);
  EXPECT_EQ(result.exitCode, 0);
}

TEST(DefaultConfig, QueryValueIsAllOnes) {
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(KrQueryConfig()), ~std::uintptr_t(0));
}

TEST(DefaultConfig, SectionPaths) {
  EXPECT_EQ(globalSection[0], nullptr);
  EXPECT_STREQ(debugSection[0], "debug");
  EXPECT_EQ(debugSection[1], nullptr);
}

TEST(DisableWin32PriorityBoost, WithoutConfigurationIsZeroAndNeverAskedAgain) {
  auto result = RunInChild([] {
    if (GetDisableWin32PriorityBoost() != 0) return 1;
    RecordingConfig config;
    config.Set("servers/krserver", "disableWin32PriorityBoost", "1");
    DefaultConfig(&config);
    if (GetDisableWin32PriorityBoost() != 0) return 2;
    return config.calls.empty() ? 0 : 3;
  });
  EXPECT_EQ(result.exitCode, 0);
}

TEST(DisableWin32PriorityBoost, ReadOnceFromServersKrserver) {
  for (auto const& [value, expected] : {std::pair<char const*, int>{"1", 1}, {"0", 0}, {"7", 1}}) {
    auto result = RunInChild([value = value] {
      RecordingConfig config;
      config.Set("servers/krserver", "disableWin32PriorityBoost", value);
      DefaultConfig(&config);
      int first = GetDisableWin32PriorityBoost();
      config.Set("servers/krserver", "disableWin32PriorityBoost", "0");
      int second = GetDisableWin32PriorityBoost();
      if (first != second) return 10;
      if (config.calls != std::vector<std::string>{
                              "GetBool servers/krserver:disableWin32PriorityBoost"}) {
        return 11;
      }
      return first;
    });
    EXPECT_EQ(result.exitCode, expected) << value;
  }
}

TEST(DisableWin32PriorityBoost, MissingKeyIsZero) {
  auto result = RunInChild([] {
    KrIniConfig config;
    config.ReadText("[servers]\ndisableWin32PriorityBoost = 1\n");  // wrong section
    DefaultConfig(&config);
    return GetDisableWin32PriorityBoost();
  });
  EXPECT_EQ(result.exitCode, 0);
}

}  // namespace
