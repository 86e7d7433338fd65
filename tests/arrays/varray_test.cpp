#include <kr/arrays.h>

#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <new>
#include <random>
#include <utility>
#include <vector>

#include "failing_alloc.h"

namespace {

// Elements of the sort tests: ordered by key alone; the payload shows which
// of several equal elements went where.
struct Item {
  int32_t key;
  int32_t payload;
};

struct Call {
  KrVArray const* array;
  void* a;
  void* b;
};
std::vector<Call>* gCalls = nullptr;  // records every comparison while set

int CompareItems(KrVArray const* array, void* a, void* b) {
  if (gCalls) gCalls->push_back({array, a, b});
  return static_cast<Item*>(a)->key - static_cast<Item*>(b)->key;
}

// The sort as plainly described: the first element of each range is the
// pivot and is compared in place (compare first, then the bound), both
// sides are sorted by plain recursion. Records each comparison as the pair
// of indexes compared.
struct ReferenceSort {
  std::vector<Item> items;
  std::vector<std::pair<long, long>> calls;

  int Compare(long a, long b) {
    calls.push_back({a, b});
    return items[a].key - items[b].key;
  }
  long Partition(long first, long last) {
    long i = first, j = last;
    if (first < last) {
      for (;;) {
        while (Compare(i, first) <= 0 && i < last) ++i;
        while (Compare(j, first) > 0 && j > first) --j;
        if (i >= j) break;
        std::swap(items[i], items[j]);
      }
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

std::vector<Item> RandomItems(std::mt19937& random) {
  std::vector<Item> items(random() % 41);
  int const keys = 1 + static_cast<int>(random() % 5);  // one key: all equal
  for (std::size_t i = 0; i < items.size(); ++i) {
    items[i] = {static_cast<int32_t>(random() % keys), static_cast<int32_t>(i)};
  }
  return items;
}

template <typename List>
std::vector<Item> Contents(List const& list) {
  std::vector<Item> items(list.count);
  for (unsigned long i = 0; i < list.count; ++i) list.Get(i, &items[i]);
  return items;
}

bool SameOrder(std::vector<Item> const& a, std::vector<Item> const& b) {
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(), [](Item const& x, Item const& y) {
           return x.key == y.key && x.payload == y.payload;
         });
}

// The library's sort (smaller side first) gives the permutation of the
// plain recursion, and each single partition makes the same comparisons,
// with the element as second and the pivot as third argument.
template <typename List>
void CheckAgainstTheReference(unsigned seed) {
  std::mt19937 random(seed);
  for (int round = 0; round < 2000; ++round) {
    ReferenceSort reference{RandomItems(random), {}};
    List list(sizeof(Item), 0, nullptr);
    list.compare = CompareItems;
    for (Item const& item : reference.items) list.Insert(list.count, &item);
    List partitioned(list);
    partitioned.compare = CompareItems;
    if (!reference.items.empty()) {
      long const size = static_cast<long>(reference.items.size());
      long const first = static_cast<long>(random() % size);
      long const last = first + static_cast<long>(random() % (size - first));
      ReferenceSort single = reference;
      Item scratch;
      std::vector<Call> calls;
      gCalls = &calls;
      long const p = partitioned._Partition(first, last, &scratch);
      gCalls = nullptr;
      ASSERT_EQ(p, single.Partition(first, last));
      ASSERT_TRUE(SameOrder(Contents(partitioned), single.items));
      ASSERT_EQ(calls.size(), single.calls.size());
      char* const base = static_cast<char*>(partitioned.Element(0));
      for (std::size_t k = 0; k < calls.size(); ++k) {
        ASSERT_EQ(calls[k].array, &partitioned);
        ASSERT_EQ((static_cast<char*>(calls[k].a) - base) / 8, single.calls[k].first) << k;
        ASSERT_EQ((static_cast<char*>(calls[k].b) - base) / 8, single.calls[k].second) << k;
      }
    }
    ASSERT_EQ(list.Sort(0), 0);
    reference.QuickSort(0, static_cast<long>(reference.items.size()) - 1);
    ASSERT_TRUE(SameOrder(Contents(list), reference.items)) << "round " << round;
  }
}

TEST(VArray, SortGivesThePermutationOfThePlainRecursion) {
  CheckAgainstTheReference<KrCList>(1);
  CheckAgainstTheReference<KrLList>(2);
}

struct SortedOnSmallStack {
  int result = -1;
  bool ordered = false;
};

void* SortTwentyThousandSorted(void* argument) {
  auto* outcome = static_cast<SortedOnSmallStack*>(argument);
  KrLList list(sizeof(Item), 20000, nullptr);
  list.compare = CompareItems;
  for (int32_t i = 0; i < 20000; ++i) {
    Item const item = {i, -i};
    list.Insert(static_cast<unsigned long>(i), &item);
  }
  outcome->result = list.Sort(0);
  outcome->ordered = true;
  for (unsigned long i = 0; i < list.count; ++i) {
    outcome->ordered = outcome->ordered && static_cast<Item*>(list.Element(i))->key == static_cast<int32_t>(i);
  }
  return nullptr;
}

// Sorted input is the worst case: each partition splits off one element.
// The plain recursion would nest 20,000 frames; this stack holds far fewer.
TEST(VArray, SortedInputSortsOnA256KiBStack) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, 256 * 1024), 0);
  SortedOnSmallStack outcome;
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, &attributes, SortTwentyThousandSorted, &outcome), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  EXPECT_EQ(outcome.result, 0);
  EXPECT_TRUE(outcome.ordered);
}

TEST(VArray, SearchSortedInsertAndSearchAt) {
  KrCList list(sizeof(Item), 0, nullptr);
  list.compare = CompareItems;
  int32_t const keys[] = {10, 20, 20, 20, 30};
  for (int32_t i = 0; i < 5; ++i) {
    Item const item = {keys[i], i};
    list.Insert(static_cast<unsigned long>(i), &item);
  }
  std::vector<Call> calls;
  gCalls = &calls;
  // key, result, position: the halving meets the middle of the 20s first.
  int32_t const searches[][3] = {{5, -502, 0},  {10, 0, 0},  {15, -502, 1}, {20, 0, 2},
                                 {25, -502, 4}, {30, 0, 4},  {35, -502, 5}};
  for (auto const& s : searches) {
    Item key = {s[0], -1}, out = {-7, -7};
    unsigned long position = 99;
    EXPECT_EQ(list.Search(&key, &position, &out), s[1]) << s[0];
    EXPECT_EQ(position, static_cast<unsigned long>(s[2])) << s[0];
    EXPECT_EQ(out.payload, s[1] == 0 ? s[2] : -7) << s[0];  // copied on a hit only
    for (Call const& call : calls) {
      EXPECT_TRUE(call.array == &list && call.a == &key && call.b >= list.buffer &&
                  call.b < list.buffer + 5 * sizeof(Item));
    }
    calls.clear();
  }
  Item key = {25, 0}, out = {0, 0};
  EXPECT_EQ(list.SearchAt(0, &key, &out), 15);  // the compare function's own value
  EXPECT_EQ(list.SearchAt(4, &key, nullptr), -5);
  ASSERT_EQ(calls.size(), 2u);
  EXPECT_TRUE(calls[1].a == &key && calls[1].b == list.Element(4));
  key.key = 30;
  EXPECT_TRUE(list.SearchAt(4, &key, &out) == 0 && out.payload == 4);
  EXPECT_EQ(list.SearchAt(5, &key, &out), -502);
  gCalls = nullptr;

  Item twenty = {20, 77};
  unsigned long position = 0;
  EXPECT_EQ(list.SortedInsert(&twenty, &position, 0, 1), -508);
  EXPECT_EQ(list.count, 5ul);
  EXPECT_TRUE(list.SortedInsert(&twenty, &position, 1, 1) == 0 && position == 3);
  EXPECT_EQ(static_cast<Item*>(list.Element(3))->payload, 77);
  Item const twentyFive = {25, 88};
  EXPECT_TRUE(list.SortedInsert(&twentyFive, &position, 0, 0) == 0 && position == 5);
  EXPECT_EQ(list.count, 7ul);
  EXPECT_EQ(static_cast<Item*>(list.Element(5))->key, 30);  // the slot was left unwritten
  EXPECT_EQ(list.SortedInsert(&twentyFive, nullptr, 1, 1), 0);

  KrCList empty(sizeof(Item), 0, nullptr);
  empty.compare = CompareItems;
  position = 99;
  EXPECT_TRUE(empty.Search(&key, &position, nullptr) == -502 && position == 0);
}

TEST(VArray, SortAndMergeFailures) {
  KrCList list(sizeof(Item), 0, nullptr);
  Item const items[] = {{3, 0}, {1, 1}};
  for (Item const& item : items) list.Insert(list.count, &item);
  EXPECT_EQ(list.Sort(0), -2106);
  list.compare = CompareItems;
  KrLList empty(4, 0, nullptr);
  empty.compare = CompareItems;
  {
    kr_test::AllocationFailure failure(1, true);
    EXPECT_EQ(list.Sort(0), -2030);
    EXPECT_EQ(empty.Sort(0), -2030);  // the scratch element is allocated even then
  }
  EXPECT_EQ(static_cast<Item*>(list.Element(0))->key, 3);
  EXPECT_EQ(list.Merge(&list, 0), -507);
  EXPECT_EQ(list.Sort(0), 0);
  EXPECT_EQ(static_cast<Item*>(list.Element(0))->key, 1);
  EXPECT_EQ(empty.GetMaxCount(), 0xFFFFFFFFul);
}

// The dispatch-table slot of a virtual member (Itanium C++ ABI: the pointer
// holds 1 + the slot's byte offset); slots 0 and 1 are the destructors.
template <typename Member>
std::size_t Slot(Member member) {
  struct {
    std::uintptr_t pointer;
    std::ptrdiff_t adjustment;
  } raw;
  static_assert(sizeof raw == sizeof member, "an Itanium member function pointer");
  std::memcpy(&raw, &member, sizeof raw);
  return (raw.pointer - 1) / sizeof(void*);
}

TEST(VArray, LayoutSlotsAndPoisoning) {
  std::size_t const slots[] = {
      Slot(&KrVArray::GetType),      Slot(&KrVArray::GetMaxCount), Slot(&KrVArray::GetCurMaxCount),
      Slot(&KrVArray::Init),         Slot(&KrVArray::SizeSet),     Slot(&KrVArray::Clear),
      Slot(&KrVArray::Get),          Slot(&KrVArray::Element),     Slot(&KrVArray::PrepareInsert),
      Slot(&KrVArray::Insert),       Slot(&KrVArray::Update),      Slot(&KrVArray::Delete),
      Slot(&KrVArray::Copy),         Slot(&KrVArray::SortedInsert), Slot(&KrVArray::Search),
      Slot(&KrVArray::SearchAt),     Slot(&KrVArray::Sort),        Slot(&KrVArray::Merge)};
  for (std::size_t i = 0; i < 18; ++i) EXPECT_EQ(slots[i], i + 2);

  alignas(KrCList) unsigned char cStorage[sizeof(KrCList)];
  alignas(KrLList) unsigned char lStorage[sizeof(KrLList)];
  KrCList* c = new (cStorage) KrCList(3, 4, nullptr);
  KrLList* l = new (lStorage) KrLList(3, 4, nullptr);
  c->compare = l->compare = CompareItems;
  auto offset = [](void const* object, void const* field) {
    return static_cast<unsigned char const*>(field) - static_cast<unsigned char const*>(object);
  };
  // Fields in declared order, after the dispatch pointer.
  std::ptrdiff_t const cFields[] = {offset(c, &c->compare), offset(c, &c->count), offset(c, &c->width),
                                    offset(c, &c->maxCount), offset(c, &c->capacity), offset(c, &c->buffer)};
  EXPECT_EQ(cFields[0], static_cast<std::ptrdiff_t>(sizeof(void*)));
  EXPECT_TRUE(std::is_sorted(std::begin(cFields), std::end(cFields)));
  std::ptrdiff_t const lWidth = offset(l, &l->width), lCapacity = offset(l, &l->capacity),
                       lFile = offset(l, &l->memFile);
  EXPECT_TRUE(lWidth < lCapacity && lCapacity < lFile);

  c->~KrCList();
  l->~KrLList();
  // Read as raw storage: there are no objects any more.
  struct Poison {
    KrArrayCompare compare;
    unsigned long count;
    unsigned short width;
  };
  for (unsigned char* storage : {cStorage, lStorage}) {
    Poison left;
    std::memcpy(&left.compare, storage + cFields[0], sizeof left.compare);
    std::memcpy(&left.count, storage + cFields[1], sizeof left.count);
    std::memcpy(&left.width, storage + cFields[2], sizeof left.width);
    EXPECT_TRUE(left.compare == nullptr && left.count == 0xFFFFFFFFul && left.width == 0xFFFF);
  }
  MemFile* file;
  unsigned long capacity;
  std::memcpy(&file, lStorage + lFile, sizeof file);
  std::memcpy(&capacity, lStorage + lCapacity, sizeof capacity);
  EXPECT_TRUE(file == nullptr && capacity == 0);
}

}  // namespace
