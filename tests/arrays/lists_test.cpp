// The contiguous list, the memory-file list and the sorted list: capacity rules, limits, copies
// and out-of-memory paths. Random operation sequences against a model (contents, results,
// copies) run in the lists fuzz target's replay.
#include <gtest/gtest.h>
#include <kr/arrays.h>
#include <kr/memory.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
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

}  // namespace
