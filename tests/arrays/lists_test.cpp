// The contiguous list, the memory-file list and the sorted list: capacity rules, limits, copies,
// out-of-memory paths, and the sort and search they share. Random operation sequences against a
// model (contents, results, copies, search positions) run in the lists fuzz target's replay.
#include <gtest/gtest.h>
#include <kr/arrays.h>
#include <kr/memory.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "failing_alloc.h"
#include "recording_handler.h"

namespace {

int CompareBytes(KrVArray const* array, void* a, void* b) {
  return std::memcmp(a, b, array->width);
}

std::string Contents(KrVArray const& list) {
  char const* first = static_cast<char const*>(list.Element(0));
  return first ? std::string(first, list.count * list.width) : "";
}
MemFile* FileOf(char const* bytes) {
  MemFile* file = new MemFile(0, 0);
  file->Put(reinterpret_cast<unsigned char const*>(bytes), 0, static_cast<long>(strlen(bytes)));
  return file;
}

// Doubling; the last steps halve the increment until it fits under 32767.
TEST(CList, GrowsByDoublingUpToItsLimit) {
  int error = 1;
  KrCList none(0, 10, &error);
  EXPECT_TRUE(error == -503 && none.maxCount == 0 && none.Insert(0, "x") == -502);
  for (int asked : {40000, -1, 65541}) EXPECT_EQ(KrCList(2, asked, nullptr).capacity, 32767);
  KrCList list(1, 0, nullptr);
  std::vector<unsigned long> capacities = {0};
  for (unsigned long i = 0; i < 32767; ++i) {
    ASSERT_EQ(list.Insert(i, &i), 0);
    if (capacities.back() != list.capacity) capacities.push_back(list.capacity);
  }
  std::vector<unsigned long> const expected = {0,    1,     2,     4,     8,     16,   32,
                                               64,   128,   256,   512,   1024,  2048, 4096,
                                               8192, 16384, 24576, 30720, 32640, 32767};
  EXPECT_EQ(capacities, expected);
  EXPECT_EQ(list.Insert(0, "x"), -501);      // full
  EXPECT_EQ(list.Insert(32767, "x"), -502);  // an index at the limit is out of range first
}

// Delete with shrink halves the capacity once the count is down to half of it.
TEST(CList, ShrinksSizesCopiesAndPreparesSlots) {
  KrCList list(2, 8, nullptr);
  for (char const* element : {"a0", "a1", "a2", "a3", "a4"}) list.Insert(list.count, element);
  unsigned long const capacities[] = {8, 4, 2};  // counts 4 (no shrink asked), 3, 2
  for (int i = 0; i < 3; ++i)
    EXPECT_TRUE(list.Delete(i ? 0 : 4, i) == 0 && list.capacity == capacities[i]);
  EXPECT_TRUE(list.Delete(2, 1) == -502 && list.Update(2, "zz") == -502 && list.capacity == 2);
  EXPECT_TRUE(list.SizeSet(1) == -502 && list.SizeSet(32768) == -501);
  EXPECT_TRUE(list.SizeSet(4) == 0 && list.SizeSet(2) == 0 && list.capacity == 2);
  EXPECT_EQ(Contents(list), "a2a3");
  void* const slot = list.PrepareInsert(1);  // opened, left for the caller to fill
  EXPECT_TRUE(slot == list.buffer + 2 && list.PrepareInsert(4) == nullptr && list.count == 3);
  std::memcpy(slot, "cd", 2);
  std::memcpy(list.buffer + 6, "ef", 2);  // the empty slot
  list.compare = CompareBytes;
  KrCList target(8, 1, nullptr), copy(list);
  EXPECT_TRUE(target.Copy(&list) == 0 && target.Copy(&target) == 0);
  for (KrCList const* c : {&target, &copy}) {  // the whole buffer; not the compare function
    EXPECT_TRUE(c->width == 2 && c->capacity == 4 && c->count == 3 && c->maxCount == 32767);
    EXPECT_TRUE(c->compare == nullptr && std::memcmp(c->buffer, "a2cda3ef", 8) == 0);
  }
  KrLList other(2, 0, nullptr);
  EXPECT_EQ(target.Copy(&other), -506);
}

// One slot more when full; ten fewer on Delete with shrink once ten stand empty (all of them
// below ten). Import grows by the whole new count and copies what the source holds.
TEST(LList, CapacitiesImportAndCopies) {
  KrLList list(1, 25, nullptr), seven(1, 7, nullptr);
  for (unsigned long i = 0; i < 16; ++i) list.Insert(i, "x");
  unsigned long const capacities[] = {15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 5};  // counts 15..5
  for (unsigned long capacity : capacities) {
    EXPECT_TRUE(list.Delete(0, 1) == 0 && list.capacity == capacity);
  }
  for (int i = 0; i < 8; ++i) seven.Insert(0, "x");
  EXPECT_TRUE(seven.capacity == 8 && seven.memFile->logicalSize == 8);
  for (int i = 0; i < 8; ++i) seven.Delete(0, 1);
  EXPECT_TRUE(seven.capacity == 0 && !seven.memFile->buffer && seven.Delete(0, 1) == -502);

  KrLList target(2, 5, nullptr);
  for (char const* element : {"a0", "a1", "a2", "a3"}) target.Insert(target.count, element);
  std::unique_ptr<MemFile> source(FileOf("b0b1b2b3"));
  source->position = 2;
  EXPECT_TRUE(target.Import(3, source.get()) == 0 && target.count == 7 && target.capacity == 12);
  EXPECT_TRUE(target.Import(3, source.get()) == 0 && source->position == 2);  // the same again
  source->position = 6;  // one element left: it is copied, and the count grows by 3
  EXPECT_TRUE(target.Import(3, source.get()) == 0 && target.count == 13 && target.capacity == 25);
  EXPECT_EQ(Contents(target).substr(0, 22), "a0a1a2a3b1b2b3b1b2b3b3");
  source->position = 8;  // nothing left to read
  EXPECT_TRUE(target.Import(1, source.get()) == -501 && target.count == 13);

  KrCList contiguous(2, 0, nullptr);
  EXPECT_EQ(seven.Copy(&contiguous), -506);
  EXPECT_TRUE(target.Clear() == 0 && target.capacity == 0 && target.memFile->logicalSize == 0);
}

// The whole storage moves, into a list of the source's dynamic type; PtrElement strides by a
// pointer (4 bytes on i386), whatever the width. A SortList has its compare function at once.
TEST(LList, CreateCopyAndClearPtrElementAndSortList) {
  SortList sorted(2, CompareBytes, 3);  // built with width 4 first, then Init
  EXPECT_TRUE(sorted.width == 2 && sorted.capacity == 3 && sorted.memFile->logicalSize == 6);
  EXPECT_TRUE(sorted.Init(3, CompareBytes, 0) == 0 && sorted.width == 3 && sorted.compare);
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(sorted.SortedInsert(&"c00a00b00a00"[3 * i], 0, 0, 1), i < 3 ? 0 : -508);
  EXPECT_TRUE(Contents(sorted) == "a00b00c00" && SortList(sorted).compare == nullptr);
  EXPECT_TRUE(sorted.PtrElement(2) == sorted.memFile->buffer + 2 * sizeof(void*) &&
              !sorted.PtrElement(3));
  MemFile* const file = sorted.memFile;
  std::unique_ptr<KrLList> moved(sorted.CreateCopyAndClear());
  EXPECT_TRUE(moved->memFile == file && moved->count == 3 && moved->compare == CompareBytes);
  EXPECT_TRUE(dynamic_cast<SortList*>(moved.get()) && sorted.memFile != file && !sorted.capacity);
  moved.reset(KrLList(3, 0, nullptr).CreateCopyAndClear());
  EXPECT_EQ(dynamic_cast<SortList*>(moved.get()), nullptr);
}

// Each failed allocation: the error, the list as it was, the handler called once (with the
// bytes a contiguous list asked for); a failed shrink goes unnoticed.
TEST(Lists, OutOfMemory) {
  kr_test::RecordingHandler handler;
  KrCList list(3, 0, nullptr), grown(3, 8, nullptr);
  KrLList inFile(3, 4, nullptr);
  std::unique_ptr<MemFile> source(FileOf("efghijklmnop"));
  for (char const* element : {"ab0", "ab1", "ab2", "ab3"}) {
    list.Insert(list.count, element);
    inFile.Insert(inFile.count, element);
  }
  struct {
    std::function<int()> operation;
    int result;
    unsigned long size;  // 0: the memory file's own choice
  } const cases[] = {{[&] { return list.Insert(1, "xyz"); }, -501, 24},
                     {[&] { return list.SizeSet(9); }, -501, 27},
                     {[&] { return list.Copy(&grown); }, -501, 24},
                     {[&] { return inFile.Insert(1, "xyz"); }, -501, 0},
                     {[&] { return inFile.SizeSet(40); }, -10001, 0},
                     {[&] { return inFile.Import(20, source.get()); }, -501, 0}};
  for (auto const& c : cases) {
    handler.calls = 0;
    kr_test::FailNthAllocation(1);
    EXPECT_EQ(c.operation(), c.result) << c.size;
    kr_test::StopFailingAllocations();
    EXPECT_TRUE(handler.calls == 1 && (c.size == 0 || handler.sizes[0] == c.size)) << c.size;
    EXPECT_TRUE(list.capacity == 4 && inFile.capacity == 4 && inFile.memFile->logicalSize == 12);
    EXPECT_TRUE(Contents(list) == "ab0ab1ab2ab3" && Contents(inFile) == "ab0ab1ab2ab3");
  }
  kr_test::FailNthAllocation(1);
  EXPECT_TRUE(list.Delete(3, 0) + list.Delete(2, 1) == 0 && list.capacity == 2);
  handler.calls = 0;
  int error = 0;
  kr_test::FailNthAllocation(1);
  KrCList failed(5, 10, &error);  // -501, no block, after the handler
  kr_test::FailNthAllocation(1);
  KrCList emptyCopy(grown);  // nothing reported: it stays empty, of width 0
  kr_test::StopFailingAllocations();
  EXPECT_TRUE(error == -501 && !failed.buffer && !failed.capacity && handler.calls == 2);
  EXPECT_TRUE(handler.sizes[0] == 50 && handler.sizes[1] == 24);
  EXPECT_TRUE(emptyCopy.width == 0 && emptyCopy.capacity == 0 && emptyCopy.maxCount == 0);
}

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
