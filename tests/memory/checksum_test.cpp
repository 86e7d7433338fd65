// CRC-32: every kernel this processor runs against the byte-at-a-time reference, and
// CalcCheckSum (seeds, chaining, 32-bit results) against zlib's crc32.
#include <kr/memory.h>

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "memory/crc32.h"

namespace {

using kr_detail::Crc32Bytewise;

struct Kernel {
  char const* name;
  uint32_t (*update)(uint32_t, unsigned char const*, size_t);
};

// The kernels this processor runs (the dispatch entry among them); the log names those it
// cannot.
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

// Every length 0..512 at every alignment 0..63, each stretch at the end of a heap block (the
// sanitizer build sees any read past it); then random lengths and a long one, random and
// uniform data, from random registers.
TEST(Crc32Kernels, SameAsTheReference) {
  unsigned char const digits[] = "123456789";
  EXPECT_EQ(~Crc32Bytewise(0xFFFFFFFFu, digits, 9), 0xCBF43926u);
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
#if defined(__x86_64__) || defined(__i386__)
  EXPECT_EQ(kr_detail::Crc32FoldedAvailable(), __builtin_cpu_supports("pclmul") != 0);
  EXPECT_EQ(kr_detail::Crc32WideAvailable(), __builtin_cpu_supports("vpclmulqdq") != 0 &&
                                                 __builtin_cpu_supports("avx512f") != 0);
#endif
}

unsigned long Checksum(std::string text, unsigned long* seed = nullptr) {
  return CalcCheckSum(reinterpret_cast<unsigned char*>(&text[0]), text.size(), seed);
}

// The seed is read, never written; with nothing to add the result is the seed (0 without
// one); only a seed's low 32 bits count. Every split point of a 4 KiB buffer chains to the
// whole, and random lengths, alignments and seeds agree with zlib.
TEST(CalcCheckSum, SeedsChainingAndZlib) {
  EXPECT_EQ(Checksum("123456789"), 0xCBF43926ul);
  unsigned long first = Checksum("12345");
  EXPECT_EQ(Checksum("6789", &first), 0xCBF43926ul);
  EXPECT_EQ(first, Checksum("12345"));
  unsigned char byte = 'x';
  unsigned long seed = 0xCBF43926ul;
  EXPECT_TRUE(CalcCheckSum(nullptr, 10, nullptr) == 0 && CalcCheckSum(&byte, 0, nullptr) == 0);
  EXPECT_EQ(CalcCheckSum(nullptr, 10, &seed), 0xCBF43926ul);
  EXPECT_EQ(CalcCheckSum(&byte, 0, &seed), 0xCBF43926ul);
  if (sizeof(unsigned long) > 4) {
    unsigned long wide = Checksum("12345") | static_cast<unsigned long>(0xABCDull << 32);
    EXPECT_EQ(Checksum("6789", &wide), 0xCBF43926ul);
    EXPECT_EQ(CalcCheckSum(&byte, 0, &wide), Checksum("12345"));
    wide = ~0ul;
    EXPECT_EQ(CalcCheckSum(&byte, 1, &wide), crc32(0xFFFFFFFFul, &byte, 1));
  }
  std::mt19937 random(4);
  std::vector<unsigned char> data(5 * 1024 * 1024 + 3);
  for (auto& b : data) b = static_cast<unsigned char>(random());
  unsigned long const whole = CalcCheckSum(data.data(), 4096, nullptr);
  EXPECT_EQ(whole, crc32(0, data.data(), 4096));
  for (size_t split = 0; split <= 4096; ++split) {
    unsigned long head = CalcCheckSum(data.data(), split, nullptr);
    ASSERT_EQ(CalcCheckSum(data.data() + split, 4096 - split, &head), whole) << split;
  }
  for (int i = 0; i < 200; ++i) {
    uInt const length = static_cast<uInt>(random() % 5000);
    unsigned char* at = data.data() + random() % 16;
    unsigned long seed32 = random();
    ASSERT_EQ(CalcCheckSum(at, length, &seed32), crc32(seed32, at, length)) << length;
  }
  EXPECT_EQ(CalcCheckSum(data.data(), data.size(), nullptr),
            crc32(0, data.data(), static_cast<uInt>(data.size())));
}

}  // namespace
