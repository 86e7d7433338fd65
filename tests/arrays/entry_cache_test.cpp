#include <kr/arrays.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

#include "failing_alloc.h"

namespace {

const unsigned long kLink = sizeof(void*);

TEST(EntryCache, ShapeOfEntriesAndBlocks) {
  unsigned long minimum = std::max(3ul, kLink);  // 4, and 123 entries, on i386
  unsigned long const cases[][5] = {{3, 0, 0, minimum, 494 / minimum},
                                    {10, 0, 8, 16, 30},
                                    {1000, 0, 0, 1000, 1},
                                    {10, 0, 3, 12, 41}};
  for (auto const& c : cases) {
    KrEntryCache cache(c[0], c[1], static_cast<unsigned short>(c[2]));
    EXPECT_EQ(cache.entrySize, c[3]) << c[0];
    EXPECT_EQ(cache.entriesPerBlock, c[4]) << c[0];
  }
  KrEntryCache source(10, 7, 8);
  source.GetEntry();
  KrEntryCache copy(source);  // the shape, no entries
  EXPECT_TRUE(copy.entrySize == 16 && copy.entriesPerBlock == 7 && copy.alignment == 8);
  EXPECT_EQ(copy.usedBlocks, nullptr);
  KrEntryCache unroundable(ULONG_MAX - 2, 0, 8), unallocatable(ULONG_MAX / 2, 4, 0);
  kr_test::FailNthAllocation(0);  // counts calls without failing any
  EXPECT_EQ(unroundable.GetEntry(), nullptr);
  EXPECT_EQ(unallocatable.GetEntry(), nullptr);
  EXPECT_EQ(kr_test::AllocationCalls(), 0u);
}

TEST(EntryCache, HandsOutFromTheBlockEndAndReturnedEntriesFirst) {
  KrEntryCache cache(16, 4, 0);
  char* first = static_cast<char*>(cache.GetEntry());
  char* block = cache.usedBlocks;
  EXPECT_EQ(first, block + kLink + 48);
  EXPECT_EQ(cache.GetEntry(), block + kLink + 32);
  cache.UngetEntry(first);
  EXPECT_EQ(cache.GetEntry(), first);
  EXPECT_EQ(cache.GetEntry(), block + kLink + 16);
  EXPECT_EQ(cache.GetEntry(), block + kLink);
  char* fifth = static_cast<char*>(cache.GetEntry());
  EXPECT_EQ(fifth, cache.usedBlocks + kLink + 48);  // from a second block
  EXPECT_EQ(*reinterpret_cast<char**>(cache.usedBlocks), block);  // linked to the first
  EXPECT_EQ(cache.oldestUsedBlock, block);
}

TEST(EntryCache, UngetAllKeepsTheBlocksAndClearFreesThem) {
  KrEntryCache cache(16, 2, 0);
  for (int i = 0; i < 5; ++i) cache.GetEntry();  // three blocks
  char* newest = cache.usedBlocks;
  cache.UngetEntry(cache.GetEntry());
  cache.UngetAllEntries();
  EXPECT_TRUE(!cache.usedBlocks && !cache.oldestUsedBlock && !cache.remaining);
  EXPECT_TRUE(!cache.returnedEntries && cache.freeBlocks == newest);
  void* again[7];
  unsigned long calls;
  {
    kr_test::AllocationFailure failure(1, true);
    for (void*& entry : again) entry = cache.GetEntry();
    calls = kr_test::AllocationCalls();
  }
  EXPECT_EQ(again[0], newest + kLink + 16);  // the kept blocks, newest first
  EXPECT_EQ(calls, 1u);                      // only the seventh entry needed memory
  EXPECT_EQ(again[6], nullptr);
  EXPECT_TRUE(cache.usedBlocks && !cache.freeBlocks);
  cache.Clear();
  EXPECT_TRUE(!cache.usedBlocks && !cache.freeBlocks);  // leaks would show under ASan
}

TEST(EntryCache, NoMemoryGivesNullAndChangesNothing) {
  KrEntryCache cache(24, 3, 0);
  {
    kr_test::AllocationFailure failure(1);
    EXPECT_EQ(cache.GetEntry(), nullptr);
    EXPECT_EQ(kr_test::LastFailedSize(), 24 * 3 + kLink);
  }
  EXPECT_TRUE(!cache.usedBlocks && !cache.oldestUsedBlock && !cache.remaining);
  EXPECT_NE(cache.GetEntry(), nullptr);
}

}  // namespace
