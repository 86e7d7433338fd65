// Fixed-size records in memory files, walked by memory-file containers, for
// the tests of the memory-file container, the differ and its outputs.
#ifndef KR_TESTS_CONTAINERS_DIFF_TEST_SUPPORT_H_
#define KR_TESTS_CONTAINERS_DIFF_TEST_SUPPORT_H_

#include <kr/containers.h>

#include <string>

namespace kr_test {

inline void Append(MemFile& file, std::string const& bytes) {
  file.Put(reinterpret_cast<unsigned char const*>(bytes.data()), file.logicalSize,
           static_cast<long>(bytes.size()));
}
inline std::string Contents(MemFile const& file) {
  return std::string(reinterpret_cast<char const*>(file.buffer),
                     static_cast<std::size_t>(file.logicalSize));
}

// `bytes` as `size`-byte records from offset 0, and an iterator on them.
struct Records {
  Records(std::string const& bytes, unsigned long size)
      : container((Append(file, bytes), &file), size, bytes.size() / size), walk(&container) {}
  MemFile file{0, 0};
  KrMemFileContainer container;
  KrMemFileIterator walk;
};

}  // namespace kr_test

#endif  // KR_TESTS_CONTAINERS_DIFF_TEST_SUPPORT_H_
