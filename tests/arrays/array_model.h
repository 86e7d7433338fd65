// A differential test of an array's element operations against a
// std::vector model: random Insert, Delete (with and without shrink),
// Update/Get, SizeSet and Sort + Search + SortedInsert, with the result
// code, count, capacity and every element checked after each step.
#ifndef KR_TESTS_ARRAYS_ARRAY_MODEL_H_
#define KR_TESTS_ARRAYS_ARRAY_MODEL_H_

#include <kr/arrays.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <random>
#include <vector>

namespace kr_test {

// Elements of three bytes (an odd width), ordered bytewise; the first byte
// takes few values so that equal elements are common.
using Element3 = std::array<unsigned char, 3>;
constexpr unsigned short kModelWidth = 3;

inline int CompareBytes(KrVArray const*, void* a, void* b) { return std::memcmp(a, b, kModelWidth); }

// What an array's capacity becomes, as its own rules say.
struct CapacityRule {
  unsigned long (*grow)(unsigned long capacity);  // a full array takes one more element
  unsigned long (*shrink)(unsigned long capacity, unsigned long count);  // after Delete(i, 1)
  unsigned long limit;  // SizeSet above it fails with -501
};

// Runs `steps` random operations on `list` (empty, of width 3) and checks
// it against the model after each; `invariant` checks the array's own
// storage.
inline void RunArrayModel(KrVArray& list, CapacityRule const& rule, unsigned seed, int steps,
                          std::function<void()> const& invariant) {
  std::mt19937 random(seed);
  std::vector<Element3> model;
  unsigned long capacity = list.GetCurMaxCount();
  list.compare = CompareBytes;
  for (int step = 0; step < steps; ++step) {
    unsigned long const count = model.size();
    unsigned long const index = random() % (count + 2);  // up to one past the valid range
    Element3 value = {static_cast<unsigned char>(random() % 8), static_cast<unsigned char>(random() % 4), 7};
    Element3 out = {0, 0, 0};
    int const shrink = static_cast<int>(random() % 2);
    unsigned const operation = random() % 10;
    SCOPED_TRACE(testing::Message() << "step " << step << " operation " << operation << " index " << index);
    if (operation < 4) {  // Insert
      int const expected = index > count ? -502 : 0;
      ASSERT_EQ(list.Insert(index, value.data()), expected);
      if (expected == 0) {
        if (count == capacity) capacity = rule.grow(capacity);
        model.insert(model.begin() + static_cast<long>(index), value);
      }
    } else if (operation < 7) {  // Delete
      ASSERT_EQ(list.Delete(index, shrink), index >= count ? -502 : 0);
      if (index < count) {
        model.erase(model.begin() + static_cast<long>(index));
        if (shrink) capacity = rule.shrink(capacity, model.size());
      }
    } else if (operation == 7) {  // Update, then Get
      int const expected = index >= count ? -502 : 0;
      ASSERT_EQ(list.Update(index, value.data()), expected);
      ASSERT_EQ(list.Get(index, out.data()), expected);
      if (expected == 0) {
        model[index] = value;
        ASSERT_EQ(out, value);
      }
    } else if (operation == 8) {  // SizeSet, sometimes below the count or past a limit
      unsigned long const n = random() % 16 == 0 ? 40000 : count + random() % 12 - std::min(count, 2ul);
      int expected = n < count ? -502 : 0;
      if (expected == 0 && n != capacity && rule.limit != 0 && n > rule.limit) expected = -501;
      ASSERT_EQ(list.SizeSet(n), expected);
      if (expected == 0) capacity = n;
    } else {  // Sort; Search and SortedInsert of a random value
      ASSERT_EQ(list.Sort(0), 0);
      std::sort(model.begin(), model.end());
      unsigned long position = 99;
      auto const lower = std::lower_bound(model.begin(), model.end(), value);
      bool const present = lower != model.end() && *lower == value;
      ASSERT_EQ(list.Search(value.data(), &position, out.data()), present ? 0 : -502);
      if (present) {
        ASSERT_EQ(model[position], value);
        ASSERT_EQ(out, value);
      } else {
        ASSERT_EQ(position, static_cast<unsigned long>(lower - model.begin()));
      }
      int const allowDuplicates = shrink;
      unsigned long inserted = 99;
      int const result = list.SortedInsert(value.data(), &inserted, allowDuplicates, 1);
      if (present && !allowDuplicates) {
        ASSERT_EQ(result, -508);
      } else {
        ASSERT_EQ(result, 0);
        ASSERT_EQ(inserted, present ? position + 1 : position);  // after the element found
        if (count == capacity) capacity = rule.grow(capacity);
        model.insert(model.begin() + static_cast<long>(inserted), value);
      }
    }
    ASSERT_EQ(list.count, model.size());
    ASSERT_EQ(list.GetCurMaxCount(), capacity);
    for (unsigned long i = 0; i < model.size(); ++i) {
      ASSERT_EQ(std::memcmp(list.Element(i), model[i].data(), kModelWidth), 0) << i;
    }
    ASSERT_EQ(list.Element(model.size()), nullptr);
    invariant();
  }
}

}  // namespace kr_test

#endif  // KR_TESTS_ARRAYS_ARRAY_MODEL_H_
