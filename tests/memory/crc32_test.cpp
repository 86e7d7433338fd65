// The CRC-32 kernels against the byte-at-a-time reference.
#include "memory/crc32.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <vector>

namespace {

using kr_detail::Crc32Bytewise;

struct Kernel {
  char const* name;
  uint32_t (*update)(uint32_t, unsigned char const*, size_t);
};

// The kernels this processor runs (the dispatch entry among them); the test
// log names those it cannot.
std::vector<Kernel> FastKernels() {
  std::vector<Kernel> kernels = {{"sliced", kr_detail::Crc32Sliced},
                                 {"update", kr_detail::Crc32Update}};
  if (kr_detail::Crc32FoldedAvailable()) kernels.push_back({"folded", kr_detail::Crc32Folded});
  if (kr_detail::Crc32WideAvailable()) kernels.push_back({"wide", kr_detail::Crc32FoldedWide});
  static bool const told = [] {
    if (!kr_detail::Crc32FoldedAvailable()) std::puts("not run here: the folded kernel");
    if (!kr_detail::Crc32WideAvailable()) std::puts("not run here: the wide kernel");
    return true;
  }();
  (void)told;
  return kernels;
}

void ExpectSameAsReference(uint32_t reg, unsigned char const* data, size_t length) {
  uint32_t const expected = Crc32Bytewise(reg, data, length);
  for (Kernel const& k : FastKernels()) {
    ASSERT_EQ(k.update(reg, data, length), expected) << k.name << " length " << length;
  }
}

TEST(Crc32Kernels, ReferenceCheckValue) {
  unsigned char const digits[] = "123456789";
  EXPECT_EQ(~Crc32Bytewise(0xFFFFFFFFu, digits, 9), 0xCBF43926u);
}

// Every length 0..512 at every alignment 0..63, each stretch at the end of a
// heap block (the sanitizer build sees any read past it); then random
// lengths and a long one, random data and uniform data, from random
// registers.
TEST(Crc32Kernels, SameAsTheReference) {
  std::mt19937 random(1);
  for (size_t length = 0; length <= 512; ++length) {
    for (size_t alignment = 0; alignment < 64; ++alignment) {
      std::vector<unsigned char> buffer(alignment + length);
      for (auto& byte : buffer) byte = static_cast<unsigned char>(random());
      ASSERT_NO_FATAL_FAILURE(ExpectSameAsReference(random(), buffer.data() + alignment, length));
    }
  }
  std::vector<unsigned char> data(3 * 1024 * 1024 + 21);
  for (auto& byte : data) byte = static_cast<unsigned char>(random());
  std::vector<size_t> lengths = {data.size() - 64};
  for (int i = 0; i < 50; ++i) lengths.push_back(random() % 70000);
  for (size_t length : lengths) ExpectSameAsReference(random(), data.data() + random() % 64, length);
  for (unsigned char value : {0x00, 0xFF}) {
    std::vector<unsigned char> const uniform(4096 + 13, value);
    ExpectSameAsReference(0, uniform.data(), uniform.size());
    ExpectSameAsReference(0xFFFFFFFFu, uniform.data(), uniform.size());
  }
}

TEST(Crc32Kernels, FoldingIsUsedWhereTheProcessorHasIt) {
#if defined(__x86_64__) || defined(__i386__)
  EXPECT_EQ(kr_detail::Crc32FoldedAvailable(), __builtin_cpu_supports("pclmul") != 0);
  EXPECT_EQ(kr_detail::Crc32WideAvailable(), __builtin_cpu_supports("vpclmulqdq") != 0 &&
                                                 __builtin_cpu_supports("avx512f") != 0);
#else
  GTEST_SKIP() << "x86 only";
#endif
}

}  // namespace
