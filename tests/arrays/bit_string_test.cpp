#include <kr/arrays.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <random>
#include <vector>

namespace {

// Random operations on strings of 0 to 70 bits (multiples of 8 among them)
// against a std::vector<bool>: results, values, `at` and the set count.
TEST(BitString, AgreesWithAVectorModel) {
  std::mt19937 random(3);
  for (unsigned long length : {0ul, 1ul, 7ul, 8ul, 16ul, 23ul, 64ul, 70ul}) {
    _KrBitString bits(length);
    std::vector<bool> model(length);
    for (int step = 0; step < 3000; ++step) {
      SCOPED_TRACE(testing::Message() << "length " << length << " step " << step);
      unsigned long const i = random() % (length + 3);  // a few past the end
      unsigned long const n = random() % 6;
      bool const inside = i < length;
      int value = -1;
      unsigned long at = 12345;
      switch (random() % 9) {
        case 0: ASSERT_EQ(bits.Set(i), inside ? 0 : -2005); if (inside) model[i] = true; break;
        case 1: ASSERT_EQ(bits.Reset(i), inside ? 0 : -2005); if (inside) model[i] = false; break;
        case 2:
          ASSERT_EQ(bits.Flip(i, value), inside ? 0 : -2005);
          if (inside) {
            ASSERT_EQ(value, model[i] ? 1 : 0);
            model[i] = !model[i];
          }
          break;
        case 3:
          ASSERT_EQ(bits.Get(i, value), inside ? 0 : -2005);
          if (inside) {
            ASSERT_EQ(value, model[i] ? 1 << (i & 7) : 0);  // the masked value
          }
          break;
        case 4: {
          bool const wanted = random() % 2;
          auto const begin = model.begin() + static_cast<long>(std::min(i, length));
          unsigned long const found = static_cast<unsigned long>(std::find(begin, model.end(), wanted) - model.begin());
          ASSERT_EQ(bits.Find(i, wanted ? 4 : 0, at), found < length ? 0 : -2005);
          ASSERT_EQ(at, found);
          break;
        }
        case 5:
        case 6: {
          bool const claim = random() % 2;  // TestAndSetArea, else TestAndResetArea
          int const result = claim ? bits.TestAndSetArea(i, n, at) : bits.TestAndResetArea(i, n, at);
          if (i + n > length) {
            ASSERT_EQ(result, -2005);
            break;
          }
          auto const begin = model.begin() + static_cast<long>(i);
          unsigned long const offending = static_cast<unsigned long>(std::find(begin, begin + static_cast<long>(n), claim) - begin);
          ASSERT_EQ(result, offending < n ? -1 : 0);
          ASSERT_EQ(at, offending < n ? offending : 12345ul);
          if (offending == n) std::fill(begin, begin + static_cast<long>(n), claim);
          break;
        }
        case 7: if (random() % 4 == 0) { ASSERT_EQ(bits.SetAll(), 0); model.assign(length, true); } break;
        case 8: if (random() % 4 == 0) { ASSERT_EQ(bits.ResetAll(), 0); model.assign(length, false); } break;
      }
      ASSERT_EQ(bits.GetNum(), static_cast<unsigned long>(std::count(model.begin(), model.end(), true)));
      ASSERT_EQ(bits.Length(), length);
    }
  }
}

TEST(BitString, SpareByteAndDestruction) {
  alignas(_KrBitString) unsigned char storage[sizeof(_KrBitString)];
  _KrBitString* bits = new (storage) _KrBitString(16);
  EXPECT_EQ(bits->bytes[2], 0);  // 16 bits take 3 bytes
  bits->SetAll();
  EXPECT_TRUE(bits->bytes[2] == 0xFF && bits->GetNum() == 16);  // the spare bits are set, not counted
  unsigned long at = 0;
  EXPECT_TRUE(bits->Find(3, 0, at) == -2005 && at == 16);
  EXPECT_TRUE(bits->TestAndResetArea(16, 0, at) == 0 && bits->TestAndSetArea(17, 0, at) == -2005);
  std::ptrdiff_t const lengthOffset = reinterpret_cast<unsigned char*>(&bits->length) - storage;
  bits->~_KrBitString();
  unsigned long left;
  std::memcpy(&left, storage + lengthOffset, sizeof left);  // raw storage: no object any more
  EXPECT_EQ(left, 0ul);
}

}  // namespace
