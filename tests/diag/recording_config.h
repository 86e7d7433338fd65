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

  int GetText(char const* key, char*& buffer, char const** sectionPath) override {
    std::string const* value = Answer("GetText", key, sectionPath);
    if (!value) return -1;
    std::strcpy(buffer, value->c_str());
    return 0;
  }
  int GetBool(char const* key, short* value, char const** sectionPath) override {
    std::string const* text = Answer("GetBool", key, sectionPath);
    if (!text) return -1;
    *value = static_cast<short>(std::stoi(*text));
    return 0;
  }
  int GetInt(char const* key, int* value, char const** sectionPath) override {
    std::string const* text = Answer("GetInt", key, sectionPath);
    if (!text) return -1;
    *value = std::stoi(*text);
    return 0;
  }

  // Questions asked, as "GetInt debug:assertMode".
  std::vector<std::string> calls;

 private:
  std::string const* Answer(char const* getter, char const* key, char const** sectionPath) {
    std::string path;
    for (; *sectionPath; ++sectionPath) path += (path.empty() ? "" : "/") + std::string(*sectionPath);
    std::string name = path + ":" + key;
    calls.push_back(std::string(getter) + " " + name);
    auto it = values_.find(name);
    return it == values_.end() ? nullptr : &it->second;
  }

  std::map<std::string, std::string> values_;
};

}  // namespace kr_test

#endif  // KR_TESTS_DIAG_RECORDING_CONFIG_H_
