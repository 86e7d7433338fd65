#include <kr/platform.h>

#include <arpa/inet.h>
#include <endian.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

typedef std::vector<unsigned char> Bytes;

Bytes RandomBytes(std::size_t size) {
  std::mt19937 random(static_cast<unsigned>(size));
  Bytes bytes(size);
  for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random());
  return bytes;
}

// One element in stored form, by the system's own byte-order functions.
template <typename Word>
void Reference(unsigned char const* in, unsigned char* out, bool big) {
  Word v;
  std::memcpy(&v, in, sizeof v);
  if (big) v = sizeof v == 2 ? htons(v) : sizeof v == 4 ? htonl(v) : htobe64(v);
  std::memcpy(out, &v, sizeof v);
}

TEST(TypedValues, WorkedValues) {
  uint32_t const value = 0x11223344;
  unsigned char out[4];
  EXPECT_EQ(LongStore(out, &value, 2, 1), 4);
  EXPECT_EQ(std::memcmp(out, "\x11\x22\x33\x44", 4), 0);
  EXPECT_EQ(LongStore(out, &value, 1, 1), 4);
  EXPECT_EQ(std::memcmp(out, "\x44\x33\x22\x11", 4), 0);
}

// Every function under every order code on random data; nothing is written
// past count * width.
TEST(TypedValues, EveryOrderCodeMatchesTheSystemByteOrder) {
  typedef int (*Store)(void*, void const*, unsigned char, unsigned long);
  typedef void (*Ref)(unsigned char const*, unsigned char*, bool);
  struct { Store store; std::size_t width; int mask; Ref reference; } const cases[] = {
      {CharStore, 1, 0, Reference<uint8_t>},       {ShortStore, 2, 0x0F, Reference<uint16_t>},
      {LongStore, 4, 0x0F, Reference<uint32_t>},   {IntStore, 4, 0x0F, Reference<uint32_t>},
      {IntLoad, 4, 0x0F, Reference<uint32_t>},     {UnsignedStore, 4, 0x0F, Reference<uint32_t>},
      {UnsignedLoad, 4, 0x0F, Reference<uint32_t>}, {FloatStore, 4, 0x7F, Reference<uint32_t>},
      {DoubleStore, 8, 0x7F, Reference<uint64_t>}};
  constexpr std::size_t kCount = 7;
  for (auto const& c : cases) {
    Bytes const source = RandomBytes(kCount * c.width);
    for (int code = 0; code < 256; ++code) {
      Bytes expected(kCount * c.width + 3, 0xA5), out(expected);
      for (std::size_t i = 0; i < kCount; ++i) {
        c.reference(&source[i * c.width], &expected[i * c.width], (code & c.mask) == 2);
      }
      ASSERT_EQ(c.store(out.data(), source.data(), static_cast<unsigned char>(code), kCount),
                static_cast<int>(kCount * c.width));
      ASSERT_EQ(out, expected) << "width " << c.width << ", code " << code;
    }
    EXPECT_EQ(c.store(nullptr, nullptr, 2, 0), 0);
  }
}

TEST(TypedValues, LoadUndoesStoreAndIntegersConvertInPlace) {
  Bytes const original = RandomBytes(256);
  Bytes stored(256), loaded(256), inPlace(original);
  IntStore(stored.data(), original.data(), 0x22, 64);
  IntLoad(loaded.data(), stored.data(), 2, 64);
  EXPECT_EQ(loaded, original);
  LongStore(inPlace.data(), inPlace.data(), 2, 64);
  EXPECT_EQ(inPlace, stored);
  ShortStore(inPlace.data(), inPlace.data(), 2, 128);
  ShortStore(inPlace.data(), inPlace.data(), 2, 128);
  EXPECT_EQ(inPlace, stored);
}

TEST(TypedValues, SizesAreCountTimesWidth) {
  for (unsigned long n : {0ul, 1ul, 100000ul}) {
    EXPECT_EQ(CharSizeGet(&n, 2, 0x7F, n) + CharNullSizeGet(n), 2 * n);
    EXPECT_EQ(ShortSizeGet(&n, 2, 0x7F, n) + ShortNullSizeGet(n), 4 * n);
    EXPECT_EQ(IntSizeGet(&n, 2, 0x7F, n) + IntNullSizeGet(n), 8 * n);
    EXPECT_EQ(LongSizeGet(&n, 2, 0x7F, n) + LongNullSizeGet(n), 8 * n);
    EXPECT_EQ(FloatSizeGet(&n, 2, 0x7F, n) + FloatNullSizeGet(n), 8 * n);
    EXPECT_EQ(DoubleSizeGet(&n, 2, 0x7F, n) + DoubleNullSizeGet(n), 16 * n);
  }
}

TEST(TypedValues, SingleValuesAreBigEndian) {
  unsigned char source[3] = {1, 2, 3}, out[4] = {9, 9, 9, 9};
  memreverse(source, out, 0);
  memreverse(source, out, 3);
  EXPECT_EQ(std::memcmp(out, "\x03\x02\x01\x09", 4), 0);
  unsigned char stored[8], expected[8];
  for (float f : {1.0f, -0.0f, 3.4e38f, 1e-45f, -123.456f}) {
    ASSERT_EQ(stfloat(f, reinterpret_cast<char*>(stored)), 4);
    Reference<uint32_t>(reinterpret_cast<unsigned char*>(&f), expected, true);
    EXPECT_EQ(std::memcmp(stored, expected, 4), 0) << f;
    float const loaded = ldfloat(reinterpret_cast<char*>(stored));
    EXPECT_EQ(std::memcmp(&loaded, &f, 4), 0) << f;
  }
  for (double d : {-2.5, 1e308, 5e-324, 0.1}) {
    ASSERT_EQ(stdbl(d, reinterpret_cast<char*>(stored)), 8);
    Reference<uint64_t>(reinterpret_cast<unsigned char*>(&d), expected, true);
    EXPECT_EQ(std::memcmp(stored, expected, 8), 0) << d;
    double const loaded = lddbl(reinterpret_cast<char*>(stored));
    EXPECT_EQ(std::memcmp(&loaded, &d, 8), 0) << d;
  }
  EXPECT_EQ(std::memcmp(stored, "\x3F\xB9\x99\x99\x99\x99\x99\x9A", 8), 0);  // 0.1
}

TEST(TypedValues, TextFieldsArePaddedAndNotTerminated) {
  struct { char const* text; int n; std::string stored, loaded; } const cases[] = {
      {"AB", 5, "AB   ###", std::string("AB\0#####", 8)},
      {"ABCDEFG", 5, "ABCDE###", "ABCDE###"},  // a full field: no terminator
      {"AB CD", 6, "AB CD ##", std::string("AB\0#####", 8)},  // up to the first blank
      {"XY", 0, "########", "########"}};
  for (auto const& c : cases) {
    char field[8], text[8];
    std::memset(field, '#', 8);
    std::memset(text, '#', 8);
    stchar(const_cast<char*>(c.text), field, c.n);
    EXPECT_EQ(std::string(field, 8), c.stored) << c.text;
    ldchar(field, c.n, text);
    EXPECT_EQ(std::string(text, 8), c.loaded) << c.text;
  }
}

}  // namespace
