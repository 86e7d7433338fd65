// A private directory for files a krinfo test hands to the tool; removed with
// the files made in it when the test ends.
#ifndef KR_TESTS_TOOLS_TEMP_DIR_H_
#define KR_TESTS_TOOLS_TEMP_DIR_H_

#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace kr_test {

class TempDir {
 public:
  TempDir() {
    char pattern[] = "/tmp/krinfo_test_XXXXXX";
    if (mkdtemp(pattern)) path_ = pattern;
  }
  ~TempDir() {
    for (std::string const& file : files_) unlink(file.c_str());
    rmdir(path_.c_str());
  }
  TempDir(TempDir const&) = delete;
  TempDir& operator=(TempDir const&) = delete;

  std::string const& path() const { return path_; }

  // The path of `name` in the directory, to be removed at the end.
  std::string Name(std::string const& name) {
    files_.push_back(path_ + "/" + name);
    return files_.back();
  }

  // Writes a file of `bytes` and returns its path.
  std::string Make(std::string const& name, std::string const& bytes) {
    std::string const file = Name(name);
    std::ofstream(file, std::ios::binary) << bytes;
    return file;
  }

 private:
  std::string path_;
  std::vector<std::string> files_;
};

inline std::string ReadFile(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline bool FileExists(std::string const& path) { return access(path.c_str(), F_OK) == 0; }

}  // namespace kr_test

#endif  // KR_TESTS_TOOLS_TEMP_DIR_H_
