#include <kr/memory.h>

#include <gtest/gtest.h>
#include <zlib.h>

#include <random>
#include <string>
#include <vector>

namespace {

unsigned long Checksum(std::string const& text, unsigned long* seed = nullptr) {
  std::vector<unsigned char> bytes(text.begin(), text.end());
  return CalcCheckSum(bytes.data(), bytes.size(), seed);
}

unsigned long ZlibCrc(unsigned long seed, unsigned char const* data, size_t length) {
  return crc32(seed, data, static_cast<uInt>(length));
}

TEST(CalcCheckSum, StandardCheckValueAndChaining) {
  EXPECT_EQ(Checksum("123456789"), 0xCBF43926ul);
  unsigned long first = Checksum("12345");
  EXPECT_EQ(Checksum("6789", &first), 0xCBF43926ul);
  EXPECT_EQ(first, Checksum("12345"));  // the seed is read, never written
  EXPECT_EQ(Checksum(""), 0ul);
}

TEST(CalcCheckSum, NothingToAddReturnsTheSeed) {
  unsigned char byte = 'x';
  unsigned long seed = 0xCBF43926ul;
  EXPECT_EQ(CalcCheckSum(nullptr, 10, nullptr), 0ul);
  EXPECT_EQ(CalcCheckSum(&byte, 0, nullptr), 0ul);
  EXPECT_EQ(CalcCheckSum(nullptr, 10, &seed), 0xCBF43926ul);
  EXPECT_EQ(CalcCheckSum(&byte, 0, &seed), 0xCBF43926ul);
  seed = 0xFFFFFFFFul;
  EXPECT_EQ(CalcCheckSum(&byte, 0, &seed), 0xFFFFFFFFul);
  EXPECT_EQ(CalcCheckSum(&byte, 1, &seed), ZlibCrc(0xFFFFFFFFul, &byte, 1));
}

TEST(CalcCheckSum, OnlyTheLow32BitsOfTheSeedCount) {
  if (sizeof(unsigned long) == 4) GTEST_SKIP() << "unsigned long has 32 bits here";
  unsigned long const low = Checksum("12345");
  unsigned long seed = low | (0xABCDull << 32);
  EXPECT_EQ(Checksum("6789", &seed), 0xCBF43926ul);
  unsigned char byte = 0;
  EXPECT_EQ(CalcCheckSum(&byte, 0, &seed), low);
  seed = ~0ul;  // all 64 bits set: the checksum 0xFFFFFFFF
  unsigned long const result = CalcCheckSum(&byte, 1, &seed);
  EXPECT_EQ(result, ZlibCrc(0xFFFFFFFFul, &byte, 1));
  EXPECT_LE(result, 0xFFFFFFFFul);
}

TEST(CalcCheckSum, EverySplitPointChainsToTheWhole) {
  std::mt19937 random(3);
  std::vector<unsigned char> data(300);
  for (auto& byte : data) byte = static_cast<unsigned char>(random());
  unsigned long const whole = CalcCheckSum(data.data(), data.size(), nullptr);
  for (size_t split = 0; split <= data.size(); ++split) {
    unsigned long head = CalcCheckSum(data.data(), split, nullptr);
    ASSERT_EQ(CalcCheckSum(data.data() + split, data.size() - split, &head), whole) << split;
  }
}

// zlib's crc32 as the model, over random lengths, alignments and seeds.
TEST(CalcCheckSum, AgreesWithZlib) {
  std::mt19937 random(4);
  std::vector<unsigned char> data(4096 + 16);
  for (auto& byte : data) byte = static_cast<unsigned char>(random());
  for (size_t length = 0; length <= 4096; ++length) {
    size_t const offset = random() % 16;
    unsigned long seed = random();
    unsigned char* at = data.data() + offset;
    ASSERT_EQ(CalcCheckSum(at, length, nullptr), ZlibCrc(0, at, length)) << length;
    ASSERT_EQ(CalcCheckSum(at, length, &seed), ZlibCrc(seed, at, length)) << length;
  }
  std::vector<unsigned char> big(5 * 1024 * 1024 + 3);
  for (auto& byte : big) byte = static_cast<unsigned char>(random());
  EXPECT_EQ(CalcCheckSum(big.data(), big.size(), nullptr), ZlibCrc(0, big.data(), big.size()));
}

}  // namespace
