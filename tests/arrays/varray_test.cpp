#include <kr/arrays.h>

#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <random>
#include <utility>
#include <vector>

#include "failing_alloc.h"

namespace {

// Ordered by key alone; the payload shows where each of several equal
// elements went.
struct Item {
  int32_t key, payload;
};
struct Call {
  KrVArray const* array;
  void *a, *b;
};
std::vector<Call>* gCalls = nullptr;  // records every comparison while set

int CompareItems(KrVArray const* array, void* a, void* b) {
  if (gCalls) gCalls->push_back({array, a, b});
  return static_cast<Item*>(a)->key - static_cast<Item*>(b)->key;
}

// The quicksort as plainly stated: the first element of a range is the
// pivot, compared in place (compare first, then the bound); both sides by
// plain recursion. Records the indexes of each comparison.
struct ReferenceSort {
  std::vector<Item> items;
  std::vector<std::pair<long, long>> calls;

  int Compare(long a, long b) {
    calls.push_back({a, b});
    return items[a].key - items[b].key;
  }
  long Partition(long first, long last) {
    long i = first, j = last;
    while (first < last) {
      while (Compare(i, first) <= 0 && i < last) ++i;
      while (Compare(j, first) > 0 && j > first) --j;
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

// Keys and payloads in order (the elements of both lists are contiguous).
std::vector<std::pair<long, long>> Order(Item const* items, unsigned long count) {
  std::vector<std::pair<long, long>> order;
  for (unsigned long i = 0; i < count; ++i) order.push_back({items[i].key, items[i].payload});
  return order;
}
std::vector<std::pair<long, long>> Order(KrVArray const& list) {
  return Order(static_cast<Item const*>(list.Element(0)), list.count);
}

// Random arrays of up to 40 elements with one to five distinct keys: the
// library's sort gives the permutation of the plain recursion, and a single
// partition of a random range makes the same comparisons in the same order
// (element second, pivot third) with the same outcome.
template <typename List>
void CheckAgainstTheReference(unsigned seed) {
  std::mt19937 random(seed);
  for (int round = 0; round < 2000; ++round) {
    ReferenceSort reference, single;
    long const keys = 1 + static_cast<long>(random() % 5), size = static_cast<long>(random() % 41);
    List list(sizeof(Item), 0, nullptr);
    list.compare = CompareItems;
    for (int32_t i = 0; i < size; ++i) {
      reference.items.push_back({static_cast<int32_t>(random() % keys), i});
      list.Insert(list.count, &reference.items.back());
    }
    if (size > 0) {
      long const first = static_cast<long>(random() % size);
      long const last = first + static_cast<long>(random() % (size - first));
      List partitioned(list);
      partitioned.compare = CompareItems;
      single.items = reference.items;
      std::vector<Call> calls;
      Item scratch;
      gCalls = &calls;
      ASSERT_EQ(partitioned._Partition(first, last, &scratch), single.Partition(first, last));
      gCalls = nullptr;
      ASSERT_EQ(Order(partitioned), Order(single.items.data(), single.items.size()));
      ASSERT_EQ(calls.size(), single.calls.size());
      Item* const base = static_cast<Item*>(partitioned.Element(0));
      for (std::size_t k = 0; k < calls.size(); ++k) {
        ASSERT_TRUE(calls[k].array == &partitioned && calls[k].a == base + single.calls[k].first &&
                    calls[k].b == base + single.calls[k].second) << k;
      }
    }
    ASSERT_EQ(list.Sort(0), 0);
    reference.QuickSort(0, size - 1);
    ASSERT_EQ(Order(list), Order(reference.items.data(), reference.items.size())) << round;
  }
}

TEST(VArray, SortGivesThePermutationOfThePlainRecursion) {
  CheckAgainstTheReference<KrCList>(1);
  CheckAgainstTheReference<KrLList>(2);
}

// Arrays from 64 elements on take the fast path (or, where equal elements
// differ, the defined algorithm with shortcuts): the result must be the
// plain recursion's, byte for byte, for every shape of input.
template <typename List>
void CheckLargeArrays(unsigned seed) {
  std::mt19937 random(seed);
  for (long size : {64L, 65L, 200L, 2500L}) {
    for (int shape = 0; shape < 9; ++shape) {
      ReferenceSort reference;
      for (int32_t i = 0; i < size; ++i) {
        int32_t const r = static_cast<int32_t>(random() % 1000000);
        int32_t const keys[] = {r,           i,         -i,   r % 7, r % 7, 5,
                                i < size / 2 ? i : -i,     r % 3 ? i : r, 5};
        bool const payload = shape == 4 || shape == 8 || shape == 7;
        reference.items.push_back({keys[shape], payload ? i : 0});
      }
      List list(sizeof(Item), 0, nullptr);
      list.compare = CompareItems;
      for (Item const& item : reference.items) list.Insert(list.count, &item);
      ASSERT_EQ(list.Sort(0), 0);
      reference.QuickSort(0, size - 1);
      ASSERT_EQ(Order(list), Order(reference.items.data(), reference.items.size()))
          << "size " << size << " shape " << shape;
    }
  }
}

TEST(VArray, LargeArraysSortAsThePlainRecursion) {
  CheckLargeArrays<KrCList>(3);
  CheckLargeArrays<KrLList>(4);
}

// A million sorted, and a million equal, elements sort at once; a compare
// function answering at random leaves a permutation of the elements.
int CompareAtRandom(KrVArray const*, void*, void*) {
  static std::mt19937 random(9);
  return static_cast<int>(random() % 3) - 1;
}

TEST(VArray, SortedEqualAndInconsistentInput) {
  for (bool equal : {false, true}) {
    KrLList list(sizeof(Item), 1000000, nullptr);
    list.compare = CompareItems;
    for (int32_t i = 0; i < 1000000; ++i) {
      Item const item = {equal ? 0 : i, 0};
      list.Insert(list.count, &item);
    }
    ASSERT_EQ(list.Sort(0), 0);
    Item const* items = static_cast<Item const*>(list.Element(0));
    for (int32_t i = 0; i < 1000000; ++i) ASSERT_EQ(items[i].key, equal ? 0 : i);
  }
  KrCList list(sizeof(Item), 0, nullptr);
  list.compare = CompareAtRandom;
  for (int32_t i = 0; i < 3000; ++i) {
    Item const item = {i, i};
    list.Insert(list.count, &item);
  }
  ASSERT_EQ(list.Sort(0), 0);
  std::vector<std::pair<long, long>> order = Order(list);
  std::sort(order.begin(), order.end());
  for (long i = 0; i < 3000; ++i) ASSERT_EQ(order[i], std::make_pair(i, i));
}

// Sorted input is the worst case: each partition splits off one element, so
// the plain recursion would nest 20,000 frames.
void* SortTwentyThousandSorted(void* result) {
  KrLList list(sizeof(Item), 20000, nullptr);
  list.compare = CompareItems;
  for (int32_t i = 0; i < 20000; ++i) {
    Item const item = {i, -i};
    list.Insert(list.count, &item);
  }
  int const sorted = list.Sort(0);
  std::vector<std::pair<long, long>> const order = Order(list);
  for (long i = 0; i < 20000; ++i) {
    if (order[i] != std::make_pair(i, -i)) return nullptr;
  }
  *static_cast<int*>(result) = sorted;
  return nullptr;
}

TEST(VArray, SortedInputSortsOnA256KiBStack) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, 256 * 1024), 0);
  int result = 1;
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, &attributes, SortTwentyThousandSorted, &result), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  EXPECT_EQ(result, 0);
}

TEST(VArray, SearchSearchAtSortedInsertAndFailures) {
  KrCList list(sizeof(Item), 0, nullptr);
  list.compare = CompareItems;
  int32_t const keys[] = {10, 20, 20, 20, 30};
  for (int32_t i = 0; i < 5; ++i) {
    Item const item = {keys[i], i};
    list.Insert(list.count, &item);
  }
  std::vector<Call> calls;
  gCalls = &calls;
  // key, result, position: of the equal 20s the halving meets the middle one
  int32_t const searches[][3] = {{5, -502, 0}, {10, 0, 0}, {15, -502, 1}, {20, 0, 2},
                                 {25, -502, 4}, {30, 0, 4}, {35, -502, 5}};
  for (auto const& s : searches) {
    Item key = {s[0], -1}, out = {-7, -7};
    unsigned long position = 99;
    EXPECT_EQ(list.Search(&key, &position, &out), s[1]) << s[0];
    EXPECT_TRUE(position == static_cast<unsigned long>(s[2]) && out.payload == (s[1] ? -7 : s[2]));
    for (Call const& c : calls) EXPECT_TRUE(c.array == &list && c.a == &key && c.b >= list.buffer);
    calls.clear();
  }
  Item key = {25, 0}, out = {0, 0};
  EXPECT_TRUE(list.SearchAt(0, &key, &out) == 15 && list.SearchAt(4, &key, nullptr) == -5);
  EXPECT_TRUE(calls.size() == 2 && calls[1].a == &key && calls[1].b == list.Element(4));
  key.key = 30;
  EXPECT_TRUE(list.SearchAt(4, &key, &out) == 0 && out.payload == 4);
  EXPECT_EQ(list.SearchAt(5, &key, &out), -502);
  gCalls = nullptr;
  unsigned long position = 0;
  Item const twentyFive = {25, 88};
  EXPECT_TRUE(list.SortedInsert(&twentyFive, &position, 0, 0) == 0 && position == 4);
  EXPECT_EQ(Order(list)[4], std::make_pair(30L, 4L));  // the slot opened was left unwritten

  KrLList empty(sizeof(Item), 0, nullptr);
  EXPECT_EQ(empty.Sort(0), -2106);
  empty.compare = CompareItems;
  kr_test::FailAllocationsFrom(1);
  int const failed[] = {list.Sort(0), empty.Sort(0)};  // scratch even for no elements
  kr_test::StopFailingAllocations();
  EXPECT_TRUE(failed[0] == -2030 && failed[1] == -2030);
  EXPECT_TRUE(list.Merge(&empty, 0) == -507 && list.count == 6);
  EXPECT_EQ(empty.GetMaxCount(), 0xFFFFFFFFul);
}

// A destroyed array leaves marker values in its fields.
TEST(VArray, Poisoning) {
  alignas(KrLList) unsigned char storage[sizeof(KrLList)];
  KrLList* list = new (storage) KrLList(3, 4, nullptr);
  list->compare = CompareItems;
  auto const offset = [&](void const* f) { return static_cast<unsigned char const*>(f) - storage; };
  std::ptrdiff_t const at[] = {offset(&list->compare), offset(&list->count), offset(&list->width),
                               offset(&list->capacity), offset(&list->memFile)};
  list->~KrLList();
  KrArrayCompare compare;  // read as raw storage: there is no object any more
  unsigned long count, capacity;
  unsigned short width;
  MemFile* file;
  std::memcpy(&compare, storage + at[0], sizeof compare);
  std::memcpy(&count, storage + at[1], sizeof count);
  std::memcpy(&width, storage + at[2], sizeof width);
  std::memcpy(&capacity, storage + at[3], sizeof capacity);
  std::memcpy(&file, storage + at[4], sizeof file);
  EXPECT_TRUE(compare == nullptr && count == 0xFFFFFFFFul && width == 0xFFFF);
  EXPECT_TRUE(capacity == 0 && file == nullptr);
}

}  // namespace
