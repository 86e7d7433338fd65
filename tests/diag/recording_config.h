// A KrIniConfig that records every question asked of it ("GetInt assertMode"),
// to check what the library asks, in which order and how often.
#ifndef KR_TESTS_DIAG_RECORDING_CONFIG_H_
#define KR_TESTS_DIAG_RECORDING_CONFIG_H_

#include <string>
#include <vector>

#include <kr/diag.h>

namespace kr_test {

struct RecordingConfig : KrIniConfig {
  int GetText(char const* key, char*& buffer, char const** path) override {
    return Ask("GetText ", key), KrIniConfig::GetText(key, buffer, path);
  }
  int GetBool(char const* key, short* value, char const** path) override {
    return Ask("GetBool ", key), KrIniConfig::GetBool(key, value, path);
  }
  int GetInt(char const* key, int* value, char const** path) override {
    return Ask("GetInt ", key), KrIniConfig::GetInt(key, value, path);
  }
  void Ask(char const* getter, char const* key) { calls.push_back(getter + std::string(key)); }
  std::vector<std::string> calls;  // also written by tests, to interleave other events
};

}  // namespace kr_test

#endif  // KR_TESTS_DIAG_RECORDING_CONFIG_H_
