// The default configuration and the setting cached from it.
#include <kr/diag.h>

#include <gtest/gtest.h>

#include "child_process.h"
#include "recording_config.h"

namespace {

using kr_test::RecordingConfig;
using kr_test::RunInChild;

TEST(DefaultConfig, InstallQueryAndRemove) {
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(KrQueryConfig()), ~std::uintptr_t(0));
  EXPECT_EQ(globalSection[0], nullptr);
  EXPECT_STREQ(debugSection[0], "debug");
  EXPECT_EQ(debugSection[1], nullptr);
  auto result = RunInChild([] {
    RecordingConfig config;
    if (DefaultConfig(KrQueryConfig()) != nullptr) return 1;  // none at load
    if (DefaultConfig(&config) != &config || DefaultConfig(KrQueryConfig()) != &config) return 2;
    return DefaultConfig(nullptr) == nullptr && DefaultConfig(KrQueryConfig()) == nullptr ? 0 : 3;
  });
  EXPECT_EQ(result.exitCode, 0);
}

// GetDisableWin32PriorityBoost's two answers with the key set to `value` (or
// installed only after the first answer), then how often it was asked.
std::string Boost(char const* value, bool installLate) {
  return RunInChild([=] {
    RecordingConfig config;
    config.Set("servers/krserver", "disableWin32PriorityBoost", value);
    if (!installLate) DefaultConfig(&config);
    int first = GetDisableWin32PriorityBoost();
    DefaultConfig(&config);
    config.Set("servers/krserver", "disableWin32PriorityBoost", "1");
    std::printf("%d %d %zu", first, GetDisableWin32PriorityBoost(), config.calls.size());
    return 0;
  }).out;
}

TEST(DisableWin32PriorityBoost, ReadOnceFromServersKrserver) {
  EXPECT_EQ(Boost("0", false), "0 0 1");
  EXPECT_EQ(Boost("1", false), "1 1 1");
  EXPECT_EQ(Boost("7", false), "1 1 1");
  EXPECT_EQ(Boost("1", true), "0 0 0");  // without configuration: 0, never asked again
}

}  // namespace
