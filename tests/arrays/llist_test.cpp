#include <kr/arrays.h>
#include <kr/memory.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "array_model.h"
#include "failing_alloc.h"
#include "recording_handler.h"

namespace {

unsigned long OneMore(unsigned long capacity) { return capacity + 1; }

// Ten slots fewer (or none) once at least ten stand empty.
unsigned long TenFewer(unsigned long capacity, unsigned long count) {
  unsigned long const target = capacity - std::min(capacity, 10ul);
  return count <= target ? target : capacity;
}

std::string Contents(KrLList const& list) {
  std::string text;
  for (unsigned long i = 0; i < list.count; ++i) {
    text.append(static_cast<char const*>(list.Element(i)), list.width);
  }
  return text;
}

TEST(LList, AgreesWithAVectorModel) {
  for (unsigned seed = 1; seed <= 4; ++seed) {
    KrLList list(kr_test::kModelWidth, 0, nullptr);
    kr_test::RunArrayModel(list, {OneMore, TenFewer, 0}, seed, 3000, [&] {
      ASSERT_EQ(list.memFile->logicalSize, static_cast<long>(list.capacity * kr_test::kModelWidth));
    });
  }
}

TEST(LList, CapacitiesOfTheWorkedExamples) {
  KrLList five(4, 5, nullptr);
  for (unsigned long i = 0; i < 6; ++i) five.Insert(i, "abcd");
  EXPECT_EQ(five.capacity, 6ul);
  EXPECT_TRUE(five.GetType() == 2 && five.GetMaxCount() == 0xFFFFFFFFul);
  KrLList list(1, 25, nullptr);
  for (unsigned long i = 0; i < 16; ++i) list.Insert(i, "x");
  std::vector<std::pair<unsigned long, unsigned long>> changes;  // count, new capacity
  for (unsigned long capacity = 25; list.count > 1; capacity = list.capacity) {
    list.Delete(0, 1);
    if (list.capacity != capacity) changes.push_back({list.count, list.capacity});
  }
  EXPECT_EQ(changes, (std::vector<std::pair<unsigned long, unsigned long>>{{15, 15}, {5, 5}}));
  KrLList seven(1, 7, nullptr);
  seven.Insert(0, "x");
  EXPECT_TRUE(seven.Delete(0, 1) == 0 && seven.capacity == 0 && seven.memFile->buffer == nullptr);
  // Init and Clear: width 0 leaves the file alone but sets the capacity.
  EXPECT_TRUE(five.Init(0, 7) == 0 && five.capacity == 7 && five.memFile->logicalSize == 24);
  EXPECT_TRUE(five.Init(2, 3) == 0 && five.memFile->logicalSize == 6 && five.count == 0);
  EXPECT_TRUE(five.Clear() == 0 && five.capacity == 0 && five.memFile->logicalSize == 0);
}

TEST(LList, ImportReadsAtTheSourcePositionWithoutMovingIt) {
  KrLList list(2, 5, nullptr);
  for (char const* element : {"a0", "a1", "a2", "a3"}) list.Insert(list.count, element);
  MemFile source(0, 0);
  source.Put(reinterpret_cast<unsigned char const*>("b0b1b2b3"), 0, 8);
  source.position = 2;
  EXPECT_EQ(list.Import(3, &source), 0);
  EXPECT_TRUE(list.count == 7 && list.capacity == 12 && source.position == 2);
  EXPECT_EQ(list.Import(3, &source), 0);  // the same bytes again
  EXPECT_EQ(Contents(list), "a0a1a2a3b1b2b3b1b2b3");
  source.position = 6;  // one element left: copied, yet the count grows by 3
  EXPECT_EQ(list.Import(3, &source), 0);
  EXPECT_TRUE(list.count == 13 && list.capacity == 25);
  EXPECT_EQ(Contents(list).substr(20, 2), "b3");
  source.position = 8;
  EXPECT_EQ(list.Import(1, &source), -501);  // nothing at the source's position
  EXPECT_EQ(list.count, 13ul);

  // Copy writes to the start of the file, wherever an Import left it.
  KrLList target(2, 0, nullptr);
  source.position = 0;
  target.Import(2, &source);
  EXPECT_EQ(target.Copy(&list), 0);
  EXPECT_TRUE(target.count == 13 && target.capacity == 25 && Contents(target) == Contents(list));
  KrCList contiguous(2, 0, nullptr);
  EXPECT_EQ(target.Copy(&contiguous), -506);
  list.compare = kr_test::CompareBytes;
  KrLList copy(list);
  EXPECT_TRUE(copy.count == 13 && copy.capacity == 25 && Contents(copy) == Contents(list));
  EXPECT_EQ(copy.compare, nullptr);  // not carried over
}

TEST(LList, CreateCopyAndClearHandsTheStorageOver) {
  SortList sorted(4, kr_test::CompareBytes, 0);
  for (uint32_t i = 0; i < 100; ++i) sorted.Insert(0, &i);
  MemFile* const file = sorted.memFile;
  KrLList* moved = sorted.CreateCopyAndClear();
  EXPECT_TRUE(moved->memFile == file && moved->count == 100 && moved->capacity == 100);
  EXPECT_TRUE(moved->compare == kr_test::CompareBytes && moved->width == 4);
  EXPECT_NE(dynamic_cast<SortList*>(moved), nullptr);  // of the source's type
  EXPECT_TRUE(sorted.count == 0 && sorted.capacity == 0 && sorted.width == 4);
  EXPECT_TRUE(sorted.memFile != file && sorted.memFile->logicalSize == 0);
  EXPECT_EQ(moved->Sort(0), 0);
  delete moved;
  KrLList plain(1, 0, nullptr);
  moved = plain.CreateCopyAndClear();
  EXPECT_EQ(dynamic_cast<SortList*>(moved), nullptr);
  delete moved;

  // PtrElement strides by a pointer's size (4 on i386), whatever the width.
  KrLList pointers(3, 0, nullptr);
  for (unsigned long i = 0; i < 10; ++i) pointers.Insert(i, "abc");
  for (unsigned long i = 0; i < 10; ++i) {
    EXPECT_EQ(pointers.PtrElement(i), static_cast<void*>(pointers.memFile->buffer + i * sizeof(void*)));
  }
  EXPECT_EQ(pointers.PtrElement(10), nullptr);
}

TEST(LList, OutOfMemoryLeavesTheListUnchanged) {
  kr_test::RecordingHandler handler;
  KrLList list(2, 2, nullptr);
  list.Insert(0, "ab");
  list.Insert(1, "cd");
  MemFile source(0, 0);
  source.Put(reinterpret_cast<unsigned char const*>("efgh"), 0, 4);
  std::function<int()> const operations[] = {[&] { return list.Insert(1, "xy"); },
                                             [&] { return list.SizeSet(40); },
                                             [&] { return list.Import(20, &source); }};
  int const expected[] = {-501, -10001, -501};
  for (int i = 0; i < 3; ++i) {
    {
      kr_test::AllocationFailure failure(1);
      EXPECT_EQ(operations[i](), expected[i]) << i;
    }
    EXPECT_TRUE(list.count == 2 && list.capacity == 2 && list.memFile->logicalSize == 4) << i;
    EXPECT_EQ(Contents(list), "abcd");
  }
  EXPECT_EQ(handler.calls, 3);

  kr_test::FailNthAllocation(2);  // the file's block, after the file itself
  int error = 1;
  KrLList failed(4, 10, &error);
  kr_test::StopFailingAllocations();
  EXPECT_TRUE(error == 0 && failed.capacity == 10 && failed.memFile->logicalSize == 0);
  EXPECT_TRUE(failed.Insert(0, "abcd") == 0 && Contents(failed) == "abcd");
}

}  // namespace
