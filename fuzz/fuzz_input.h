// What the fuzz targets share: decisions drawn from the fuzzer's bytes, and a check that ends
// the run with a message (libFuzzer then keeps the input). Each target's LLVMFuzzerTestOneInput
// runs under libFuzzer (scripts/fuzz.sh) and, through replay_main.cpp, in CTest on every build.
#ifndef KR_FUZZ_FUZZ_INPUT_H_
#define KR_FUZZ_FUZZ_INPUT_H_

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace kr_fuzz {

[[noreturn]] inline void Fail(char const* condition, char const* file, int line) {
  std::fprintf(stderr, "%s:%d: check failed: %s\n", file, line, condition);
  std::abort();
}

#define KR_FUZZ_CHECK(condition) \
  ((condition) ? static_cast<void>(0) : ::kr_fuzz::Fail(#condition, __FILE__, __LINE__))

// The fuzzer's bytes, read front to back; an exhausted input reads zeros.
class FuzzInput {
 public:
  FuzzInput(uint8_t const* data, size_t size) : data_(data), size_(size) {}

  bool Done() const { return at_ >= size_; }
  unsigned Byte() { return at_ < size_ ? data_[at_++] : 0; }
  bool Coin() { return (Byte() & 1) != 0; }
  // A number below `bound` (at least 1), from one byte or, above 256, two.
  unsigned Pick(unsigned bound) {
    unsigned value = Byte();
    if (bound > 256) value |= Byte() << 8;
    return value % bound;
  }
  // The next `n` bytes, fewer where the input ends.
  std::vector<unsigned char> Bytes(size_t n) {
    size_t const take = n < size_ - at_ ? n : size_ - at_;
    std::vector<unsigned char> bytes(data_ + at_, data_ + at_ + take);
    at_ += take;
    return bytes;
  }

 private:
  uint8_t const* data_;
  size_t size_;
  size_t at_ = 0;
};

}  // namespace kr_fuzz

#endif  // KR_FUZZ_FUZZ_INPUT_H_
