// The CRC-32 kernels against the byte-at-a-time reference.
#include "memory/crc32.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

using kr_detail::Crc32Bytewise;

using Kernel = uint32_t (*)(uint32_t, unsigned char const*, size_t);

struct NamedKernel {
  char const* name;
  Kernel kernel;
};

std::vector<NamedKernel> FastKernels() {
  std::vector<NamedKernel> kernels = {{"sliced", kr_detail::Crc32Sliced},
                                      {"update", kr_detail::Crc32Update}};
  if (kr_detail::Crc32FoldedAvailable()) kernels.push_back({"folded", kr_detail::Crc32Folded});
  return kernels;
}

std::vector<unsigned char> RandomBytes(size_t size, std::mt19937& random) {
  std::vector<unsigned char> bytes(size);
  for (auto& byte : bytes) byte = static_cast<unsigned char>(random());
  return bytes;
}

TEST(Crc32Reference, StandardCheckValue) {
  unsigned char const digits[] = "123456789";
  EXPECT_EQ(~Crc32Bytewise(0xFFFFFFFFu, digits, 9), 0xCBF43926u);
  EXPECT_EQ(Crc32Bytewise(0x12345678u, digits, 0), 0x12345678u);
}

// Every length 0..64 at every alignment 0..15, from random registers, with
// guard bytes around the stretch so that a kernel reading past it would
// change nothing the test could miss (the sanitizer build sees the reads).
TEST(Crc32Kernels, ShortBuffersAtEveryAlignment) {
  std::mt19937 random(1);
  for (size_t length = 0; length <= 64; ++length) {
    for (size_t alignment = 0; alignment < 16; ++alignment) {
      std::vector<unsigned char> const data = RandomBytes(length, random);
      std::vector<unsigned char> buffer(alignment + length);
      std::copy(data.begin(), data.end(), buffer.begin() + alignment);
      unsigned char const* at = buffer.data() + alignment;
      uint32_t const reg = random();
      uint32_t const expected = Crc32Bytewise(reg, at, length);
      for (NamedKernel const& k : FastKernels()) {
        ASSERT_EQ(k.kernel(reg, at, length), expected)
            << k.name << " length " << length << " alignment " << alignment;
      }
    }
  }
}

// Lengths around the folding loops' boundaries (64-byte rounds, 16-byte
// lanes, tails of 0 to 15 bytes) and a long buffer.
TEST(Crc32Kernels, LongBuffers) {
  std::mt19937 random(2);
  std::vector<unsigned char> const data = RandomBytes(3 * 1024 * 1024 + 21, random);
  std::vector<size_t> lengths;
  for (size_t length = 60; length <= 400; ++length) lengths.push_back(length);
  for (int i = 0; i < 50; ++i) lengths.push_back(random() % 70000);
  lengths.push_back(data.size() - 7);
  for (size_t length : lengths) {
    size_t const offset = random() % 8;
    uint32_t const reg = random();
    uint32_t const expected = Crc32Bytewise(reg, data.data() + offset, length);
    for (NamedKernel const& k : FastKernels()) {
      ASSERT_EQ(k.kernel(reg, data.data() + offset, length), expected)
          << k.name << " length " << length;
    }
  }
}

// Data made of one repeated value or long zero stretches, where a wrong fold
// constant could cancel out.
TEST(Crc32Kernels, UniformData) {
  for (unsigned char value : {0x00, 0xFF, 0x5A}) {
    std::vector<unsigned char> const data(4096 + 13, value);
    for (uint32_t reg : {0u, 0xFFFFFFFFu}) {
      uint32_t const expected = Crc32Bytewise(reg, data.data(), data.size());
      for (NamedKernel const& k : FastKernels()) {
        EXPECT_EQ(k.kernel(reg, data.data(), data.size()), expected) << k.name;
      }
    }
  }
}

TEST(Crc32Kernels, FoldingIsUsedWhereTheProcessorHasIt) {
#if defined(__x86_64__) || defined(__i386__)
  // A detection that fails would silently fall back to the slower path.
  if (!__builtin_cpu_supports("pclmul")) GTEST_SKIP() << "no PCLMULQDQ here";
  EXPECT_TRUE(kr_detail::Crc32FoldedAvailable());
#else
  GTEST_SKIP() << "checked on x86 only";
#endif
}

}  // namespace
