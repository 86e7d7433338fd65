// Sizes at the limits, each handled in seconds at most: sorts of a million elements, the smallest
// and largest entry rings, ten million tree nodes (krinfo's input beyond 2 GiB is a krinfo test).
#include <kr/arrays.h>
#include <kr/containers.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

int CompareInts(KrVArray const*, void* a, void* b) {
  int32_t const x = *static_cast<int32_t*>(a), y = *static_cast<int32_t*>(b);
  return (x > y) - (x < y);
}

// Sorted and all-equal input, the two shapes the plain quicksort takes quadratic time on.
TEST(Limits, MillionElementSorts) {
  for (bool const equal : {false, true}) {
    KrLList list(sizeof(int32_t), 1000000, nullptr);
    list.compare = CompareInts;
    for (int32_t i = 0; i < 1000000; ++i) {
      int32_t const value = equal ? 0 : i;
      ASSERT_EQ(list.Insert(list.count, &value), 0);
    }
    ASSERT_EQ(list.Sort(0), 0);
    for (int32_t i = 0; i < 1000000; ++i)
      ASSERT_EQ(*static_cast<int32_t const*>(list.Element(i)), equal ? 0 : i) << equal;
  }
}

int gCounted = 0;
void Count(KrTransactionContext*, void*) { ++gCounted; }

// Rings of one entry and of the most an entry stack holds fill both ways: one
// construction per entry, and one destruction each when the stack goes.
TEST(Limits, SmallestAndLargestEntryRingsFillBothWays) {
  for (unsigned short const entries : {1, 65535}) {
    std::string buffer(entries * 4u, '\0');
    for (bool forwards : {true, false}) {
      gCounted = 0;
      {
        KrEntryStack stack(nullptr, &buffer[0], 4, entries, Count, Count);
        EXPECT_EQ(stack.last, &buffer[0] + (entries - 1) * 4);
        for (void* entry; (entry = forwards ? stack.GetNextEntry() : stack.GetPrevEntry());) {
          ASSERT_EQ(stack.SetCurrentEntryWithTest(entry), entry);
        }
        EXPECT_EQ(gCounted, entries);
        // Forwards the walk ends on the last entry; backwards, past the first, on the second.
        EXPECT_EQ(stack.current, forwards ? stack.last : &buffer[0] + (entries > 1 ? 4 : 0));
      }
      EXPECT_EQ(gCounted, 2 * entries) << entries;
    }
  }
}

int CompareTreeInts(KrVContainer const*, int& keyComparison, int& order, KrVIterator const*,
                    void const* probeKey, void const*, void const* element, KrVParameter*) {
  int const a = *static_cast<int const*>(probeKey), b = *static_cast<int const*>(element);
  order = keyComparison = (a > b) - (a < b);
  return 0;
}

TEST(Limits, TenMillionTreeNodes) {
  KrRBTree big(sizeof(int), 0, 0);
  big.compareElement = CompareTreeInts;
  int value = 0;
  KrOneEntryContainer probe(&value, nullptr, 0);
  KrOneEntryIterator at(&probe, nullptr);
  constexpr int kNodes = 10000000;
  for (value = 0; value < kNodes; ++value) {
    ASSERT_EQ(big.InsertElement(&at, nullptr, 0, nullptr), 0);
  }
  KrRBTreeIterator walk(&big, nullptr);
  int expected = 0, status = 0;
  for (int step = walk.First(); step == 0; step = walk.Next(), ++expected) {
    ASSERT_EQ(*static_cast<int const*>(walk.GetElement(status, nullptr)), expected);
  }
  EXPECT_EQ(expected, kNodes);
  EXPECT_EQ(big.CheckTree(nullptr), 0);
  unsigned long former = 0;
  big.Clear(nullptr, &former, nullptr);
  EXPECT_TRUE(former == kNodes && big.count == 0 && !big.root);
}

}  // namespace
