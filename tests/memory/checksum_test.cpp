#include <kr/memory.h>

#include <gtest/gtest.h>
#include <zlib.h>

#include <random>
#include <string>
#include <vector>

namespace {

unsigned long Checksum(std::string text, unsigned long* seed = nullptr) {
  return CalcCheckSum(reinterpret_cast<unsigned char*>(&text[0]), text.size(), seed);
}

TEST(CalcCheckSum, CheckValueChainingAndSeeds) {
  EXPECT_EQ(Checksum("123456789"), 0xCBF43926ul);
  unsigned long first = Checksum("12345");
  EXPECT_EQ(Checksum("6789", &first), 0xCBF43926ul);
  EXPECT_EQ(first, Checksum("12345"));  // the seed is read, never written
  // Nothing to add: the seed, or 0 without one.
  unsigned char byte = 'x';
  unsigned long seed = 0xCBF43926ul;
  EXPECT_EQ(CalcCheckSum(nullptr, 10, nullptr), 0ul);
  EXPECT_EQ(CalcCheckSum(&byte, 0, nullptr), 0ul);
  EXPECT_EQ(CalcCheckSum(nullptr, 10, &seed), 0xCBF43926ul);
  EXPECT_EQ(CalcCheckSum(&byte, 0, &seed), 0xCBF43926ul);
  // Only the low 32 bits of a seed count, and a result has 32 bits.
  if (sizeof(unsigned long) > 4) {
    unsigned long wide = Checksum("12345") | static_cast<unsigned long>(0xABCDull << 32);
    EXPECT_EQ(Checksum("6789", &wide), 0xCBF43926ul);
    EXPECT_EQ(CalcCheckSum(&byte, 0, &wide), Checksum("12345"));
    wide = ~0ul;
    EXPECT_EQ(CalcCheckSum(&byte, 1, &wide), crc32(0xFFFFFFFFul, &byte, 1));
  }
}

// Random data against zlib's crc32: every split point of a 4 KiB buffer chains
// to the whole; lengths 0..4096 at random alignments with random seeds; and
// a buffer of several MiB.
TEST(CalcCheckSum, AgreesWithZlib) {
  std::mt19937 random(4);
  std::vector<unsigned char> data(5 * 1024 * 1024 + 3);
  for (auto& byte : data) byte = static_cast<unsigned char>(random());
  unsigned long const whole = CalcCheckSum(data.data(), 4096, nullptr);
  EXPECT_EQ(whole, crc32(0, data.data(), 4096));
  for (size_t split = 0; split <= 4096; ++split) {
    unsigned long head = CalcCheckSum(data.data(), split, nullptr);
    ASSERT_EQ(CalcCheckSum(data.data() + split, 4096 - split, &head), whole) << split;
  }
  for (uInt length = 0; length <= 4096; ++length) {
    unsigned char* at = data.data() + random() % 16;
    unsigned long seed = random();
    ASSERT_EQ(CalcCheckSum(at, length, nullptr), crc32(0, at, length)) << length;
    ASSERT_EQ(CalcCheckSum(at, length, &seed), crc32(seed, at, length)) << length;
  }
  EXPECT_EQ(CalcCheckSum(data.data(), data.size(), nullptr),
            crc32(0, data.data(), static_cast<uInt>(data.size())));
}

}  // namespace
