// The algorithms every array shares. Search and SortedInsert positions, and sorts with an
// inconsistent compare function, are checked by the lists fuzz target.
#include <gtest/gtest.h>
#include <kr/arrays.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "failing_alloc.h"

namespace {

// Ordered by key alone; the payload shows where each of several equal elements went.
struct Item {
  int32_t key, payload;
  bool operator==(Item const& other) const { return key == other.key && payload == other.payload; }
};
struct Call {
  KrVArray const* array;
  void *a, *b;
};
std::vector<Call> gCalls;  // every comparison since the last Fill

int CompareItems(KrVArray const* array, void* a, void* b) {
  gCalls.push_back({array, a, b});
  return static_cast<Item*>(a)->key - static_cast<Item*>(b)->key;
}

std::vector<Item> Items(KrVArray const& list) {  // both lists hold their elements contiguously
  Item const* first = static_cast<Item const*>(list.Element(0));
  return std::vector<Item>(first, first + list.count);
}
void Fill(KrVArray& list, std::vector<Item> const& items) {
  list.compare = CompareItems;
  for (Item const& item : items) list.Insert(list.count, &item);
  gCalls.clear();
}

// The quicksort as plainly stated: the first element of a range is the pivot, compared in
// place (element first, then the bound); both sides by plain recursion.
struct ReferenceSort {
  std::vector<Item> items;
  std::vector<long> compared;  // the element index of each comparison with the pivot

  long Partition(long first, long last) {
    auto const compare = [&](long i) {
      compared.push_back(i);
      return items[i].key - items[first].key;
    };
    long i = first, j = last;
    while (first < last) {
      while (compare(i) <= 0 && i < last) ++i;
      while (compare(j) > 0 && j > first) --j;
      if (i >= j) break;
      std::swap(items[i], items[j]);
    }
    std::swap(items[first], items[j]);
    return j;
  }
  void QuickSort(long first, long last) {
    if (last <= first) return;
    long const p = Partition(first, last);
    QuickSort(first, p - 1);
    QuickSort(p + 1, last);
  }
};

// Random arrays of up to 40 elements with one to five distinct keys: the sort gives the plain
// recursion's permutation, and one partition of a random range makes the same comparisons in
// the same order (element second, pivot third). From 64 elements on a faster path (or, where
// equal elements differ, the defined algorithm with shortcuts) must still give the plain
// recursion's result byte for byte, for every shape of input, and within a bound on
// comparisons where the plain recursion is quadratic.
template <typename List>
void CheckAgainstTheReference(unsigned seed) {
  std::mt19937 random(seed);
  for (int round = 0; round < 2000; ++round) {
    ReferenceSort reference, single;
    long const keys = 1 + static_cast<long>(random() % 5), size = static_cast<long>(random() % 41);
    for (int32_t i = 0; i < size; ++i) reference.items.push_back({int32_t(random() % keys), i});
    List list(sizeof(Item), 0, nullptr);
    Fill(list, reference.items);
    if (size > 0) {
      long const first = static_cast<long>(random() % size);
      long const last = first + static_cast<long>(random() % (size - first));
      List partitioned(list);
      partitioned.compare = CompareItems;
      single.items = reference.items;
      Item scratch;
      ASSERT_EQ(partitioned._Partition(first, last, &scratch), single.Partition(first, last));
      ASSERT_EQ(Items(partitioned), single.items);
      ASSERT_EQ(gCalls.size(), single.compared.size());
      Item* const base = static_cast<Item*>(partitioned.Element(0));
      for (std::size_t k = 0; k < gCalls.size(); ++k) {
        ASSERT_TRUE(gCalls[k].array == &partitioned && gCalls[k].a == base + single.compared[k] &&
                    gCalls[k].b == base + first)
            << k;
      }
    }
    ASSERT_EQ(list.Sort(0), 0);
    reference.QuickSort(0, size - 1);
    ASSERT_EQ(Items(list), reference.items) << round;
  }
  // Shapes: random, sorted, reversed, seven keys, the same with distinct payloads, one key,
  // zigzag, mostly sorted with distinct payloads, one key with distinct payloads.
  unsigned long const compares[] = {20, 1, 1, 8, 16, 1, 16, 40, 4};  // per element, at most
  for (long size : {64L, 65L, 200L, 2500L}) {
    for (int shape = 0; shape < 9; ++shape) {
      ReferenceSort reference;
      for (int32_t i = 0; i < size; ++i) {
        int32_t const r = static_cast<int32_t>(random() % 1000000);
        int32_t const keys[] = {r, i, -i, r % 7, r % 7, 5, i < size / 2 ? i : -i, r % 3 ? i : r, 5};
        reference.items.push_back({keys[shape], shape == 4 || shape >= 7 ? i : 0});
      }
      List list(sizeof(Item), 0, nullptr);
      Fill(list, reference.items);
      ASSERT_EQ(list.Sort(0), 0);
      EXPECT_LE(gCalls.size(), compares[shape] * size) << "size " << size << " shape " << shape;
      reference.QuickSort(0, size - 1);
      ASSERT_EQ(Items(list), reference.items) << "size " << size << " shape " << shape;
    }
  }
}

TEST(VArray, SortGivesThePermutationOfThePlainRecursion) {
  CheckAgainstTheReference<KrCList>(1);
  CheckAgainstTheReference<KrLList>(2);
}

TEST(VArray, SearchAtSortedInsertAndFailures) {
  KrCList list(sizeof(Item), 0, nullptr);
  Fill(list, {{10, 0}, {20, 1}, {30, 2}});
  Item key = {25, 0}, out = {0, 0};  // SearchAt gives the compare function's own value
  EXPECT_TRUE(list.SearchAt(0, &key, &out) == 15 && list.SearchAt(2, &key, nullptr) == -5);
  EXPECT_TRUE(gCalls.size() == 2 && gCalls[1].a == &key && gCalls[1].b == list.Element(2));
  key.key = 30;
  EXPECT_TRUE(list.SearchAt(2, &key, &out) == 0 && out.payload == 2);
  EXPECT_EQ(list.SearchAt(3, &key, &out), -502);
  unsigned long position = 0;
  Item const twentyFive = {25, 88};
  EXPECT_TRUE(list.SortedInsert(&twentyFive, &position, 0, 0) == 0 && position == 2);
  EXPECT_EQ(Items(list)[2], (Item{30, 2}));  // the slot opened was left unwritten

  KrLList empty(sizeof(Item), 0, nullptr);
  EXPECT_EQ(empty.Sort(0), -2106);
  empty.compare = CompareItems;
  kr_test::FailAllocationsFrom(1);
  int const failed[] = {list.Sort(0), empty.Sort(0)};  // scratch even for no elements
  kr_test::StopFailingAllocations();
  EXPECT_TRUE(failed[0] == -2030 && failed[1] == -2030 && Items(list)[3].key == 30);
  EXPECT_TRUE(list.Merge(&empty, 0) == -507 && empty.GetMaxCount() == 0xFFFFFFFFul);
  empty.Insert(0, &twentyFive);  // a single element is found
  EXPECT_TRUE(empty.Search(&twentyFive, &position, nullptr) == 0 && position == 0);
}

}  // namespace
