// A differential test of an array against a std::vector model: random
// Insert, Delete (with and without shrink), Update + Get, SizeSet, and Sort
// followed by Search and SortedInsert; result, count, capacity and every
// element are checked after each step.
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

// Three-byte elements (an odd width) ordered bytewise, from few values so
// that equal elements are common.
using Element3 = std::array<unsigned char, 3>;
constexpr unsigned short kModelWidth = 3;

inline int CompareBytes(KrVArray const*, void* a, void* b) {
  return std::memcmp(a, b, kModelWidth);
}

// An array's capacity rules: growth of a full array by one insertion, the
// capacity after Delete with shrink, and the largest capacity (0: none).
struct CapacityRule {
  unsigned long (*grow)(unsigned long capacity);
  unsigned long (*shrink)(unsigned long capacity, unsigned long count);
  unsigned long limit;
};

inline void RunArrayModel(KrVArray& list, CapacityRule const& rule, unsigned seed,
                          std::function<void()> const& invariant) {
  std::mt19937 random(seed);
  std::vector<Element3> model;
  unsigned long capacity = list.GetCurMaxCount();
  list.compare = CompareBytes;
  auto insert = [&](unsigned long at, Element3 const& value) {
    if (model.size() == capacity) capacity = rule.grow(capacity);
    model.insert(model.begin() + static_cast<long>(at), value);
  };
  for (int step = 0; step < 3000; ++step) {
    unsigned long const count = model.size(), index = random() % (count + 2);  // one past valid
    Element3 out = {0, 0, 0}, value = {static_cast<unsigned char>(random() % 8), 0, 7};
    value[1] = static_cast<unsigned char>(random() % 4);
    int const flag = static_cast<int>(random() % 2);  // shrink, or duplicates allowed
    unsigned const operation = random() % 10;
    SCOPED_TRACE(testing::Message() << "step " << step << " operation " << operation);
    if (operation < 4) {
      ASSERT_EQ(list.Insert(index, value.data()), index > count ? -502 : 0);
      if (index <= count) insert(index, value);
    } else if (operation < 7) {
      ASSERT_EQ(list.Delete(index, flag), index >= count ? -502 : 0);
      if (index < count) model.erase(model.begin() + static_cast<long>(index));
      if (index < count && flag) capacity = rule.shrink(capacity, model.size());
    } else if (operation == 7) {
      ASSERT_EQ(list.Update(index, value.data()), index >= count ? -502 : 0);
      ASSERT_EQ(list.Get(index, out.data()), index >= count ? -502 : 0);
      if (index < count) model[index] = value;
      ASSERT_TRUE(index >= count || out == value);
    } else if (operation == 8) {  // sometimes below the count, sometimes past the limit
      unsigned long const n = random() % 16 ? count + random() % 12 - std::min(count, 2ul) : 40000;
      int expected = n < count ? -502 : 0;
      if (expected == 0 && n != capacity && rule.limit != 0 && n > rule.limit) expected = -501;
      ASSERT_EQ(list.SizeSet(n), expected);
      if (expected == 0) capacity = n;
    } else {
      ASSERT_EQ(list.Sort(0), 0);
      std::sort(model.begin(), model.end());
      unsigned long position = 99, inserted = 99;
      auto const lower = std::lower_bound(model.begin(), model.end(), value);
      bool const present = lower != model.end() && *lower == value;
      ASSERT_EQ(list.Search(value.data(), &position, out.data()), present ? 0 : -502);
      ASSERT_TRUE(present ? model[position] == value && out == value
                          : position == static_cast<unsigned long>(lower - model.begin()));
      int const result = list.SortedInsert(value.data(), &inserted, flag, 1);
      ASSERT_EQ(result, present && !flag ? -508 : 0);
      ASSERT_TRUE(result != 0 || inserted == position + present);  // after the match
      if (result == 0) insert(inserted, value);
    }
    ASSERT_TRUE(list.count == model.size() && list.GetCurMaxCount() == capacity);
    for (unsigned long i = 0; i < model.size(); ++i) {
      ASSERT_EQ(std::memcmp(list.Element(i), model[i].data(), kModelWidth), 0) << i;
    }
    ASSERT_EQ(list.Element(model.size()), nullptr);
    invariant();
  }
}

}  // namespace kr_test

#endif  // KR_TESTS_ARRAYS_ARRAY_MODEL_H_
