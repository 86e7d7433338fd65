// The CRC-32 kernels against the byte-at-a-time reference.
#include "memory/crc32.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

using kr_detail::Crc32Bytewise;

struct Kernel {
  char const* name;
  uint32_t (*update)(uint32_t, unsigned char const*, size_t);
};

std::vector<Kernel> FastKernels() {
  std::vector<Kernel> kernels = {{"sliced", kr_detail::Crc32Sliced},
                                 {"update", kr_detail::Crc32Update}};
  if (kr_detail::Crc32FoldedAvailable()) kernels.push_back({"folded", kr_detail::Crc32Folded});
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

// Every length 0..64 at every alignment 0..15, each stretch in a heap block
// that ends with it (the sanitizer build sees any read past it); then
// lengths around the folding loops' boundaries, random ones and a long one,
// random data and uniform data, from random registers.
TEST(Crc32Kernels, SameAsTheReference) {
  std::mt19937 random(1);
  for (size_t length = 0; length <= 64; ++length) {
    for (size_t alignment = 0; alignment < 16; ++alignment) {
      std::vector<unsigned char> buffer(alignment + length);
      for (auto& byte : buffer) byte = static_cast<unsigned char>(random());
      ExpectSameAsReference(random(), buffer.data() + alignment, length);
    }
  }
  std::vector<unsigned char> data(3 * 1024 * 1024 + 21);
  for (auto& byte : data) byte = static_cast<unsigned char>(random());
  std::vector<size_t> lengths = {data.size() - 7};
  for (size_t length = 60; length <= 400; ++length) lengths.push_back(length);
  for (int i = 0; i < 50; ++i) lengths.push_back(random() % 70000);
  for (size_t length : lengths) ExpectSameAsReference(random(), data.data() + random() % 8, length);
  for (unsigned char value : {0x00, 0xFF}) {
    std::vector<unsigned char> const uniform(4096 + 13, value);
    ExpectSameAsReference(0, uniform.data(), uniform.size());
    ExpectSameAsReference(0xFFFFFFFFu, uniform.data(), uniform.size());
  }
}

TEST(Crc32Kernels, FoldingIsUsedWhereTheProcessorHasIt) {
#if defined(__x86_64__) || defined(__i386__)
  EXPECT_EQ(kr_detail::Crc32FoldedAvailable(), __builtin_cpu_supports("pclmul") != 0);
#else
  GTEST_SKIP() << "x86 only";
#endif
}

}  // namespace
