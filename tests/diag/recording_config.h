// A KrConfig whose answers a test sets and which records every question, to
// check what the library asks, in which order and how often.
#ifndef KR_TESTS_DIAG_RECORDING_CONFIG_H_
#define KR_TESTS_DIAG_RECORDING_CONFIG_H_

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include <kr/diag.h>

namespace kr_test {

class RecordingConfig : public KrConfig {
 public:
  // `path` is the section path joined with '/', "" for the global section.
  void Set(std::string const& path, std::string const& key, std::string const& value) {
    values_[path + ":" + key] = value;
  }
  void Erase(std::string const& path, std::string const& key) { values_.erase(path + ":" + key); }

  int GetText(char const* key, char*& buffer, char const** path) override {
    std::string const* value = Answer("GetText", key, path);
    return value ? (std::strcpy(buffer, value->c_str()), 0) : -1;
  }
  int GetBool(char const* key, short* value, char const** path) override {
    std::string const* text = Answer("GetBool", key, path);
    return text ? (*value = static_cast<short>(std::stoi(*text)), 0) : -1;
  }
  int GetInt(char const* key, int* value, char const** path) override {
    std::string const* text = Answer("GetInt", key, path);
    return text ? (*value = std::stoi(*text), 0) : -1;
  }

  std::vector<std::string> calls;  // questions asked, as "GetInt debug:assertMode"

 private:
  std::string const* Answer(char const* getter, char const* key, char const** path) {
    std::string name;
    for (; *path; ++path) name += (name.empty() ? "" : "/") + std::string(*path);
    name += std::string(":") + key;
    calls.push_back(getter + (" " + name));
    auto it = values_.find(name);
    return it == values_.end() ? nullptr : &it->second;
  }

  std::map<std::string, std::string> values_;
};

}  // namespace kr_test

#endif  // KR_TESTS_DIAG_RECORDING_CONFIG_H_
