#include <kr/arrays.h>
#include <kr/memory.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>

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
  return std::string(reinterpret_cast<char const*>(list.memFile->buffer), list.count * list.width);
}

TEST(LList, AgreesWithAVectorModel) {
  for (unsigned seed = 1; seed <= 4; ++seed) {
    KrLList list(kr_test::kModelWidth, 0, nullptr);
    kr_test::RunArrayModel(list, {OneMore, TenFewer, 0}, seed, [&] {
      ASSERT_EQ(list.memFile->logicalSize, static_cast<long>(list.capacity * kr_test::kModelWidth));
    });
  }
}

TEST(LList, WorkedCapacitiesAndImport) {
  KrLList list(1, 25, nullptr), seven(1, 7, nullptr);
  for (unsigned long i = 0; i < 16; ++i) list.Insert(i, "x");
  unsigned long const capacities[] = {15, 15, 15, 15, 15, 15, 15, 15, 15, 15, 5};  // counts 15..5
  for (unsigned long capacity : capacities) {
    EXPECT_TRUE(list.Delete(0, 1) == 0 && list.capacity == capacity);
  }
  seven.Insert(0, "x");
  EXPECT_TRUE(seven.Delete(0, 1) == 0 && seven.capacity == 0 && seven.memFile->buffer == nullptr);

  KrLList target(2, 5, nullptr);
  for (char const* element : {"a0", "a1", "a2", "a3"}) target.Insert(target.count, element);
  MemFile source(0, 0);
  source.Put(reinterpret_cast<unsigned char const*>("b0b1b2b3"), 0, 8);
  source.position = 2;
  EXPECT_TRUE(target.Import(3, &source) == 0 && target.count == 7 && target.capacity == 12);
  EXPECT_TRUE(target.Import(3, &source) == 0 && source.position == 2);  // the same bytes again
  source.position = 6;  // one element left: it is copied, and the count grows by 3
  EXPECT_TRUE(target.Import(3, &source) == 0 && target.count == 13 && target.capacity == 25);
  EXPECT_EQ(Contents(target).substr(0, 22), "a0a1a2a3b1b2b3b1b2b3b3");
  source.position = 8;
  EXPECT_TRUE(target.Import(1, &source) == -501 && target.count == 13);  // nothing left to read

  KrLList copied(2, 0, nullptr);  // Copy fills from the start, wherever an Import left the file
  source.position = 0;
  copied.Import(1, &source);
  copied.Import(1, &source);  // leaves the file's position at byte 2
  target.compare = kr_test::CompareBytes;
  KrLList constructed(target);
  EXPECT_EQ(copied.Copy(&target), 0);
  for (KrLList const* copy : {&copied, &constructed}) {
    EXPECT_TRUE(copy->count == 13 && copy->capacity == 25 && copy->compare == nullptr);
    // The bytes the last import counted but could not read were never written.
    EXPECT_EQ(Contents(*copy).substr(0, 22), Contents(target).substr(0, 22));
  }
  KrCList contiguous(2, 0, nullptr);
  EXPECT_EQ(copied.Copy(&contiguous), -506);
  EXPECT_TRUE(copied.Init(0, 7) == 0 && copied.capacity == 7 && copied.memFile->logicalSize == 50);
  EXPECT_TRUE(target.Clear() == 0 && target.capacity == 0 && target.memFile->logicalSize == 0);
}

TEST(LList, CreateCopyAndClearAndPtrElement) {
  SortList sorted(4, kr_test::CompareBytes, 0);
  for (uint32_t i = 0; i < 100; ++i) sorted.Insert(0, &i);
  MemFile* const file = sorted.memFile;
  KrLList* moved = sorted.CreateCopyAndClear();
  EXPECT_TRUE(moved->memFile == file && moved->count == 100 && moved->capacity == 100);
  EXPECT_TRUE(moved->compare == kr_test::CompareBytes && moved->width == 4);
  EXPECT_NE(dynamic_cast<SortList*>(moved), nullptr);  // of the source's type
  EXPECT_TRUE(sorted.count == 0 && sorted.capacity == 0 && sorted.width == 4);
  EXPECT_TRUE(sorted.memFile != file && sorted.memFile->logicalSize == 0);
  delete moved;
  KrLList plain(3, 0, nullptr);
  for (unsigned long i = 0; i < 10; ++i) plain.Insert(i, "abc");
  for (unsigned long i = 0; i < 10; ++i) {  // a pointer's stride (4 on i386), whatever the width
    EXPECT_EQ(plain.PtrElement(i), static_cast<void*>(plain.memFile->buffer + i * sizeof(void*)));
  }
  EXPECT_EQ(plain.PtrElement(10), nullptr);
  moved = plain.CreateCopyAndClear();
  EXPECT_EQ(dynamic_cast<SortList*>(moved), nullptr);
  delete moved;
}

TEST(LList, OutOfMemory) {
  kr_test::RecordingHandler handler;
  KrLList list(2, 2, nullptr);
  list.Insert(0, "ab");
  list.Insert(1, "cd");
  MemFile source(0, 0);
  source.Put(reinterpret_cast<unsigned char const*>("efgh"), 0, 4);
  std::function<int()> const operations[] = {[&] { return list.Insert(1, "xy"); },
                                             [&] { return list.SizeSet(40); },
                                             [&] { return list.Import(20, &source); }};
  for (int i = 0; i < 3; ++i) {
    kr_test::FailNthAllocation(1);
    int const result = operations[i]();
    kr_test::StopFailingAllocations();
    EXPECT_EQ(result, i == 1 ? -10001 : -501);
    EXPECT_TRUE(list.count == 2 && list.capacity == 2 && list.memFile->logicalSize == 4) << i;
    EXPECT_EQ(Contents(list), "abcd");
  }
  kr_test::FailNthAllocation(0);  // counts: the file's block is the last allocation
  { KrLList probe(4, 10, nullptr); }
  kr_test::FailNthAllocation(kr_test::AllocationCalls());
  int error = 1;
  KrLList failed(4, 10, &error);
  kr_test::StopFailingAllocations();
  EXPECT_TRUE(error == 0 && failed.capacity == 10 && failed.memFile->logicalSize == 0);
  EXPECT_TRUE(failed.Insert(0, "abcd") == 0 && Contents(failed) == "abcd");
  EXPECT_EQ(handler.calls, 4);
}

}  // namespace
