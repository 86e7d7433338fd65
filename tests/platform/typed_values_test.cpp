#include <kr/platform.h>

#include <arpa/inet.h>
#include <endian.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace {

typedef int (*ArrayFunction)(void*, void const*, unsigned char, unsigned long);
typedef unsigned long (*SizeFunction)(void const*, unsigned char, unsigned char, unsigned long);

constexpr unsigned char kGuard = 0xA5;

std::vector<unsigned char> RandomBytes(std::size_t size, unsigned seed) {
  std::mt19937 random(seed);
  std::vector<unsigned char> bytes(size);
  for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random());
  return bytes;
}

// The stored form of one element by the system's own byte-order functions.
void ReferenceElement(unsigned char const* in, unsigned char* out, std::size_t width,
                      bool bigEndian) {
  if (width == 2) {
    uint16_t v;
    std::memcpy(&v, in, 2);
    if (bigEndian) v = htons(v);
    std::memcpy(out, &v, 2);
  } else if (width == 4) {
    uint32_t v;
    std::memcpy(&v, in, 4);
    if (bigEndian) v = htonl(v);
    std::memcpy(out, &v, 4);
  } else if (width == 8) {
    uint64_t v;
    std::memcpy(&v, in, 8);
    if (bigEndian) v = htobe64(v);
    std::memcpy(out, &v, 8);
  } else {
    *out = *in;
  }
}

struct ArrayCase {
  char const* name;
  ArrayFunction function;
  std::size_t width;
  unsigned char mask;  // 0: the order code is ignored
};

ArrayCase const kArrayCases[] = {
    {"CharStore", CharStore, 1, 0},          {"ShortStore", ShortStore, 2, 0x0F},
    {"LongStore", LongStore, 4, 0x0F},       {"IntStore", IntStore, 4, 0x0F},
    {"IntLoad", IntLoad, 4, 0x0F},           {"UnsignedStore", UnsignedStore, 4, 0x0F},
    {"UnsignedLoad", UnsignedLoad, 4, 0x0F}, {"FloatStore", FloatStore, 4, 0x7F},
    {"DoubleStore", DoubleStore, 8, 0x7F},
};

TEST(TypedValues, WorkedValues) {
  uint32_t const value = 0x11223344;
  unsigned char out[4];
  EXPECT_EQ(LongStore(out, &value, 2, 1), 4);
  EXPECT_EQ(std::memcmp(out, "\x11\x22\x33\x44", 4), 0);
  EXPECT_EQ(LongStore(out, &value, 1, 1), 4);
  EXPECT_EQ(std::memcmp(out, "\x44\x33\x22\x11", 4), 0);

  uint16_t const shortValue = 0x1122;
  EXPECT_EQ(ShortStore(out, &shortValue, 0x12, 1), 2);  // 0x12 & 0x0F == 2: reversed
  EXPECT_EQ(std::memcmp(out, "\x11\x22", 2), 0);
  EXPECT_EQ(FloatStore(out, &value, 0x12, 1), 4);  // 0x12 & 0x7F != 2: copied
  EXPECT_EQ(std::memcmp(out, "\x44\x33\x22\x11", 4), 0);
  EXPECT_EQ(FloatStore(out, &value, 0x82, 1), 4);  // bit 7 is outside both masks
  EXPECT_EQ(std::memcmp(out, "\x11\x22\x33\x44", 4), 0);
  EXPECT_EQ(CharStore(out, "abc", 2, 3), 3);
  EXPECT_EQ(std::memcmp(out, "abc", 3), 0);
}

// Every function under every order code, on random data, against htonl and
// friends; nothing is written past count * width.
TEST(TypedValues, EveryOrderCodeMatchesTheSystemByteOrder) {
  constexpr std::size_t kCount = 7;
  for (ArrayCase const& c : kArrayCases) {
    std::vector<unsigned char> const source = RandomBytes(kCount * c.width, 17);
    for (int code = 0; code < 256; ++code) {
      bool const reversed = c.mask != 0 && (code & c.mask) == 2;
      std::vector<unsigned char> expected(kCount * c.width + 3, kGuard);
      for (std::size_t i = 0; i < kCount; ++i) {
        ReferenceElement(&source[i * c.width], &expected[i * c.width], c.width, reversed);
      }
      std::vector<unsigned char> out(expected.size(), kGuard);
      EXPECT_EQ(c.function(out.data(), source.data(), static_cast<unsigned char>(code), kCount),
                static_cast<int>(kCount * c.width))
          << c.name;
      ASSERT_EQ(out, expected) << c.name << " with code " << code;
    }
    std::vector<unsigned char> untouched(4, kGuard);
    EXPECT_EQ(c.function(untouched.data(), source.data(), 2, 0), 0) << c.name;
    EXPECT_EQ(untouched, std::vector<unsigned char>(4, kGuard)) << c.name;
  }
}

TEST(TypedValues, LoadUndoesStoreAndIntegersConvertInPlace) {
  std::vector<unsigned char> const original = RandomBytes(4 * 64, 5);
  std::vector<unsigned char> stored(original.size()), loaded(original.size());
  EXPECT_EQ(IntStore(stored.data(), original.data(), 2, 64), 256);
  EXPECT_NE(stored, original);
  EXPECT_EQ(IntLoad(loaded.data(), stored.data(), 2, 64), 256);
  EXPECT_EQ(loaded, original);
  UnsignedStore(stored.data(), original.data(), 0x22, 64);
  UnsignedLoad(loaded.data(), stored.data(), 0x22, 64);
  EXPECT_EQ(loaded, original);

  std::vector<unsigned char> inPlace = original;
  LongStore(inPlace.data(), inPlace.data(), 2, 64);
  for (std::size_t i = 0; i < 64; ++i) {
    uint32_t word, big;
    std::memcpy(&word, &original[4 * i], 4);
    std::memcpy(&big, &inPlace[4 * i], 4);
    ASSERT_EQ(be32toh(big), word) << i;
  }
  std::vector<unsigned char> shorts = original;
  ShortStore(shorts.data(), shorts.data(), 2, 128);
  ShortStore(shorts.data(), shorts.data(), 2, 128);
  EXPECT_EQ(shorts, original);
}

TEST(TypedValues, SizesAreCountTimesWidth) {
  struct SizeCase {
    SizeFunction size;
    unsigned long (*nullSize)(unsigned long);
    unsigned long width;
  } const cases[] = {{CharSizeGet, CharNullSizeGet, 1},   {ShortSizeGet, ShortNullSizeGet, 2},
                     {IntSizeGet, IntNullSizeGet, 4},     {LongSizeGet, LongNullSizeGet, 4},
                     {FloatSizeGet, FloatNullSizeGet, 4}, {DoubleSizeGet, DoubleNullSizeGet, 8}};
  int value = 0;
  for (SizeCase const& c : cases) {
    for (unsigned long count : {0ul, 1ul, 7ul, 100000ul}) {
      EXPECT_EQ(c.size(&value, 2, 0x7F, count), count * c.width) << c.width;
      EXPECT_EQ(c.size(nullptr, 0, 0, count), count * c.width) << c.width;
      EXPECT_EQ(c.nullSize(count), count * c.width) << c.width;
    }
  }
}

TEST(TypedValues, MemreverseReversesExactlyNBytes) {
  unsigned char const source[6] = {1, 2, 3, 4, 5, 6};
  unsigned char out[7] = {9, 9, 9, 9, 9, 9, 9};
  memreverse(const_cast<unsigned char*>(source), out, 0);
  EXPECT_EQ(std::memcmp(out, "\x09\x09\x09\x09\x09\x09\x09", 7), 0);
  memreverse(const_cast<unsigned char*>(source), out, 1);
  EXPECT_EQ(std::memcmp(out, "\x01\x09", 2), 0);
  memreverse(const_cast<unsigned char*>(source), out, 6);
  EXPECT_EQ(std::memcmp(out, "\x06\x05\x04\x03\x02\x01\x09", 7), 0);
}

TEST(TypedValues, SingleFloatingPointValuesAreBigEndian) {
  char out[9] = {};
  EXPECT_EQ(stfloat(1.0f, out), 4);
  EXPECT_EQ(std::memcmp(out, "\x3F\x80\x00\x00", 4), 0);
  EXPECT_EQ(stdbl(-2.5, out), 8);
  EXPECT_EQ(std::memcmp(out, "\xC0\x04\x00\x00\x00\x00\x00\x00", 8), 0);

  std::mt19937 random(99);
  for (int i = 0; i < 10000; ++i) {
    uint32_t bits = static_cast<uint32_t>(random());
    uint64_t wide = (static_cast<uint64_t>(random()) << 32) | random();
    float f;
    double d;
    std::memcpy(&f, &bits, 4);
    std::memcpy(&d, &wide, 8);
    if (std::isnan(f) || std::isnan(d)) continue;  // i386 quiets signalling NaNs on return
    stfloat(f, out);
    uint32_t stored;
    std::memcpy(&stored, out, 4);
    ASSERT_EQ(be32toh(stored), bits);
    float loadedF = ldfloat(out);
    ASSERT_EQ(std::memcmp(&loadedF, &f, 4), 0);
    stdbl(d, out);
    uint64_t storedWide;
    std::memcpy(&storedWide, out, 8);
    ASSERT_EQ(be64toh(storedWide), wide);
    double loadedD = lddbl(out);
    ASSERT_EQ(std::memcmp(&loadedD, &d, 8), 0);
  }
  stfloat(std::nanf(""), out);
  EXPECT_TRUE(std::isnan(ldfloat(out)));
}

TEST(TypedValues, TextFieldsArePaddedWithBlanksAndNotTerminated) {
  char field[8];
  std::memset(field, '#', sizeof field);
  stchar(const_cast<char*>("AB"), field, 5);
  EXPECT_EQ(std::string(field, 8), "AB   ###");
  stchar(const_cast<char*>("ABCDEFG"), field, 5);
  EXPECT_EQ(std::string(field, 8), "ABCDE###");
  stchar(const_cast<char*>("XY"), field, 0);
  EXPECT_EQ(std::string(field, 8), "ABCDE###");

  char text[8];
  std::memset(text, '#', sizeof text);
  ldchar(const_cast<char*>("ABCD"), 4, text);
  EXPECT_EQ(std::string(text, 8), "ABCD####");  // whole field: no terminator
  std::memset(text, '#', sizeof text);
  ldchar(const_cast<char*>("AB  "), 4, text);
  EXPECT_EQ(std::string(text, 8), std::string("AB\0#####", 8));
  std::memset(text, '#', sizeof text);
  ldchar(const_cast<char*>("AB CD "), 6, text);  // stops at the first blank
  EXPECT_EQ(std::string(text, 8), std::string("AB\0#####", 8));
  std::memset(text, '#', sizeof text);
  ldchar(const_cast<char*>("    "), 4, text);
  EXPECT_EQ(std::string(text, 2), std::string("\0#", 2));
  std::memset(text, '#', sizeof text);
  ldchar(const_cast<char*>("ABCD"), 0, text);
  EXPECT_EQ(std::string(text, 8), "########");
}

}  // namespace
