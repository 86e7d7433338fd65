#include <kr/arrays.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

// Random operations on strings of 0 to 70 bits against a std::vector<bool>:
// results, values (Get's masked byte value), `at` and the set count.
TEST(BitString, AgreesWithAVectorModel) {
  std::mt19937 random(3);
  for (unsigned long length : {0ul, 1ul, 7ul, 8ul, 16ul, 23ul, 64ul, 70ul}) {
    _KrBitString bits(length);
    std::vector<bool> model(length);
    auto const first = [&](unsigned long from, unsigned long end, bool value) {  // or `end`
      return static_cast<unsigned long>(
          std::find(model.begin() + static_cast<long>(from), model.begin() + static_cast<long>(end),
                    value) - model.begin());
    };
    for (int step = 0; step < 3000; ++step) {
      unsigned long const i = random() % (length + 3), n = random() % 6;  // a few past the end
      bool const inside = i < length, wanted = random() % 2;
      int const ok = inside ? 0 : -2005;
      int value = -1;
      unsigned long at = 12345;
      unsigned const operation = random() % 8;
      SCOPED_TRACE(testing::Message() << "length " << length << " step " << step);
      switch (operation) {
        case 0: ASSERT_EQ(bits.Set(i), ok); break;
        case 1: ASSERT_EQ(bits.Reset(i), ok); break;
        case 2: ASSERT_TRUE(bits.Flip(i, value) == ok && (!inside || value == model[i])); break;
        case 3:
          ASSERT_TRUE(bits.Get(i, value) == ok && (!inside || value == model[i] << (i & 7)));
          break;
        case 4: {
          unsigned long const found = first(std::min(i, length), length, wanted);
          ASSERT_TRUE(bits.Find(i, wanted ? 4 : 0, at) == (found < length ? 0 : -2005));
          ASSERT_EQ(at, found);
          break;
        }
        case 5:
        case 6: {  // claim (set) or release an area; `at`: the offset of the first bit in the way
          int const result =
              wanted ? bits.TestAndSetArea(i, n, at) : bits.TestAndResetArea(i, n, at);
          if (i + n > length) {
            ASSERT_EQ(result, -2005);
            break;
          }
          unsigned long const offending = first(i, i + n, wanted) - i;
          ASSERT_EQ(result, offending < n ? -1 : 0);
          ASSERT_EQ(at, offending < n ? offending : 12345);
          for (unsigned long k = i; offending == n && k < i + n; ++k) model[k] = wanted;
          break;
        }
        case 7:
          if (random() % 4 != 0) break;
          ASSERT_EQ(wanted ? bits.SetAll() : bits.ResetAll(), 0);
          model.assign(length, wanted);
          ASSERT_EQ(bits.bytes[length >> 3], wanted ? 0xFF : 0);  // the spare bits too
          break;
      }
      if (inside && operation < 3) model[i] = operation == 0 || (operation == 2 && !model[i]);
      long const set = std::count(model.begin(), model.end(), true);
      ASSERT_TRUE(bits.GetNum() == static_cast<unsigned long>(set) && bits.Length() == length);
    }
  }
}

}  // namespace
