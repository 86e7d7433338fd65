// A private directory for the files a test writes (or hands to krinfo),
// removed with them when the test ends.
#ifndef KR_TESTS_SUPPORT_TEMP_DIR_H_
#define KR_TESTS_SUPPORT_TEMP_DIR_H_

#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <string>

namespace kr_test {

struct TempDir {
  TempDir() {
    char pattern[] = "/tmp/kr_test_XXXXXX";
    if (mkdtemp(pattern)) path_ = pattern;
  }
  ~TempDir() { (void)!system(("rm -rf '" + path_ + "'").c_str()); }
  std::string const& path() const { return path_; }
  std::string Name(std::string const& name) const { return path_ + "/" + name; }
  // Writes a file of `bytes`; returns its path.
  std::string Make(std::string const& name, std::string const& bytes) const {
    std::ofstream(Name(name), std::ios::binary) << bytes;
    return Name(name);
  }
  std::string path_;
};

inline std::string ReadFile(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace kr_test

#endif  // KR_TESTS_SUPPORT_TEMP_DIR_H_
