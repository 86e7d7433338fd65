// Record sequences for the differ and diff-list tests: strings of fixed-size
// records in memory files, walked by memory-file containers, and outputs that
// record what the differ writes.
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

// `bytes` as a sequence of `size`-byte records, and an iterator on them.
struct Records {
  Records(std::string const& bytes, unsigned long size)
      : file(0, 0),
        container((Append(file, bytes), &file), size, bytes.size() / size),
        walk(&container) {}
  MemFile file;
  KrMemFileContainer container;
  KrMemFileIterator walk;
};

// An output container and the bytes written into it.
struct Output {
  explicit Output(unsigned long size) : file(0, 0), out(&file, size) {}
  std::string Bytes() const { return Contents(file); }
  MemFile file;
  KrRecordingContainer out;
};

}  // namespace kr_test

#endif  // KR_TESTS_CONTAINERS_DIFF_TEST_SUPPORT_H_
