#include <kr/arrays.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <set>
#include <vector>

#include "failing_alloc.h"

namespace {

const unsigned long kLink = sizeof(void*);

char* LinkOf(char const* block) {
  char* link;
  std::memcpy(&link, block, sizeof link);
  return link;
}

unsigned long ChainLength(char* block) {
  unsigned long length = 0;
  for (; block; block = LinkOf(block)) ++length;
  return length;
}

TEST(EntryCacheShape, SizeIsAtLeastALinkAndRoundedToTheAlignment) {
  struct Case {
    unsigned long size, perBlock;
    unsigned short alignment;
    unsigned long expectedSize, expectedPerBlock;
  };
  unsigned long minimum = std::max<unsigned long>(3, kLink);
  Case const cases[] = {
      {3, 0, 0, minimum, 494 / minimum},  // 4 and 123 on i386
      {10, 0, 8, 16, 30},
      {1000, 0, 0, 1000, 1},              // never fewer than one entry
      {10, 0, 3, 12, 41},                 // any alignment, not only powers of two
      {24, 0, 1, 24, 20},                 // alignment 1 rounds nothing
      {16, 7, 8, 16, 7},                  // an explicit count is kept
  };
  for (Case const& c : cases) {
    KrEntryCache cache(c.size, c.perBlock, c.alignment);
    EXPECT_EQ(cache.entrySize, c.expectedSize) << c.size;
    EXPECT_EQ(cache.entriesPerBlock, c.expectedPerBlock) << c.size;
    EXPECT_EQ(cache.alignment, c.alignment);
  }
}

TEST(EntryCacheShape, SizeThatCannotBeRoundedGivesNoEntries) {
  kr_test::FailNthAllocation(0);  // count calls without failing any
  KrEntryCache cache(ULONG_MAX - 2, 0, 8);
  EXPECT_EQ(cache.entrySize, 0u);
  EXPECT_EQ(cache.GetEntry(), nullptr);
  KrEntryCache huge(ULONG_MAX / 2, 4, 0);  // the block size would overflow
  EXPECT_EQ(huge.GetEntry(), nullptr);
  EXPECT_EQ(kr_test::AllocationCalls(), 0u);
}

TEST(EntryCacheShape, CopyHasTheShapeButNoEntries) {
  KrEntryCache source(10, 5, 8);
  ASSERT_NE(source.GetEntry(), nullptr);
  KrEntryCache copy(source);
  EXPECT_EQ(copy.entrySize, 16u);
  EXPECT_EQ(copy.entriesPerBlock, 5u);
  EXPECT_EQ(copy.alignment, 8);
  EXPECT_EQ(copy.usedBlocks, nullptr);
  EXPECT_EQ(copy.remaining, 0u);
  char* entry = static_cast<char*>(copy.GetEntry());
  EXPECT_EQ(entry, copy.usedBlocks + kLink + 4 * 16);
}

TEST(EntryCacheGet, HandsOutEntriesFromTheEndOfEachBlock) {
  KrEntryCache cache(16, 4, 0);
  char* first = static_cast<char*>(cache.GetEntry());
  char* block = cache.usedBlocks;
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(first, block + kLink + 48);
  EXPECT_EQ(cache.remaining, 48u);
  EXPECT_EQ(cache.GetEntry(), block + kLink + 32);
  EXPECT_EQ(cache.GetEntry(), block + kLink + 16);
  EXPECT_EQ(cache.GetEntry(), block + kLink);
  EXPECT_EQ(cache.remaining, 0u);

  char* fifth = static_cast<char*>(cache.GetEntry());
  char* second = cache.usedBlocks;
  EXPECT_NE(second, block);
  EXPECT_EQ(fifth, second + kLink + 48);
  EXPECT_EQ(LinkOf(second), block);  // newest block links to the previous one
  EXPECT_EQ(cache.oldestUsedBlock, block);
}

TEST(EntryCacheGet, ReturnedEntriesComeBackFirstNewestFirst) {
  KrEntryCache cache(16, 4, 0);
  void* a = cache.GetEntry();
  void* b = cache.GetEntry();
  cache.UngetEntry(a);
  cache.UngetEntry(b);
  EXPECT_EQ(cache.returnedEntries, b);
  EXPECT_EQ(cache.GetEntry(), b);
  EXPECT_EQ(cache.GetEntry(), a);
  EXPECT_EQ(cache.returnedEntries, nullptr);
  EXPECT_EQ(cache.GetEntry(), cache.usedBlocks + kLink + 16);  // then the block goes on
}

TEST(EntryCacheGet, EntriesOfUnalignedSizeCanBeReturned) {
  // An entry of an odd size without alignment starts at an odd address; the
  // link written into it must still work (and stay clean under UBSan).
  KrEntryCache cache(kLink + 1, 3, 0);
  void* entries[3];
  for (void*& entry : entries) entry = cache.GetEntry();
  for (void* entry : entries) cache.UngetEntry(entry);
  EXPECT_EQ(cache.GetEntry(), entries[2]);
  EXPECT_EQ(cache.GetEntry(), entries[1]);
  EXPECT_EQ(cache.GetEntry(), entries[0]);
}

TEST(EntryCacheRelease, UngetAllKeepsTheBlocksForReuse) {
  KrEntryCache cache(16, 2, 0);
  std::set<void*> handedOut;
  for (int i = 0; i < 6; ++i) handedOut.insert(cache.GetEntry());  // three blocks
  char* newest = cache.usedBlocks;
  cache.UngetEntry(*handedOut.begin());

  cache.UngetAllEntries();
  EXPECT_EQ(cache.usedBlocks, nullptr);
  EXPECT_EQ(cache.oldestUsedBlock, nullptr);
  EXPECT_EQ(cache.remaining, 0u);
  EXPECT_EQ(cache.returnedEntries, nullptr);
  EXPECT_EQ(cache.freeBlocks, newest);
  EXPECT_EQ(ChainLength(cache.freeBlocks), 3u);

  // Six entries again from the kept blocks, while every allocation would fail.
  void* again[7];
  unsigned long calls;
  {
    kr_test::AllocationFailure failure(1, true);
    for (void*& entry : again) entry = cache.GetEntry();
    calls = kr_test::AllocationCalls();
  }
  EXPECT_EQ(calls, 1u);  // only for a fourth block
  EXPECT_EQ(again[6], nullptr);
  EXPECT_EQ(again[0], newest + kLink + 16);  // newest kept block first
  for (int i = 0; i < 6; ++i) EXPECT_EQ(handedOut.count(again[i]), 1u) << i;
  EXPECT_EQ(std::set<void*>(again, again + 6).size(), 6u);
  EXPECT_EQ(cache.freeBlocks, nullptr);
  EXPECT_EQ(ChainLength(cache.usedBlocks), 3u);
}

TEST(EntryCacheRelease, UngetAllPutsTheUsedChainInFrontOfTheFreeOne) {
  KrEntryCache cache(16, 1, 0);
  cache.GetEntry();
  cache.GetEntry();
  cache.UngetAllEntries();  // two free blocks
  cache.GetEntry();         // one of them in use again
  char* reused = cache.usedBlocks;
  char* stillFree = cache.freeBlocks;
  cache.UngetAllEntries();
  EXPECT_EQ(cache.freeBlocks, reused);
  EXPECT_EQ(LinkOf(reused), stillFree);
  EXPECT_EQ(ChainLength(cache.freeBlocks), 2u);
}

TEST(EntryCacheRelease, ClearAndInitFreeEveryBlock) {
  KrEntryCache cache(16, 2, 0);
  for (int i = 0; i < 3; ++i) cache.GetEntry();
  cache.UngetAllEntries();
  cache.GetEntry();
  cache.Clear();
  EXPECT_EQ(cache.usedBlocks, nullptr);
  EXPECT_EQ(cache.freeBlocks, nullptr);
  EXPECT_EQ(cache.entrySize, 16u);  // the shape stays
  kr_test::FailNthAllocation(0);
  EXPECT_NE(cache.GetEntry(), nullptr);
  EXPECT_EQ(kr_test::AllocationCalls(), 1u);  // a new block
  cache.Init(32, 0, 0);
  EXPECT_EQ(cache.usedBlocks, nullptr);
  EXPECT_EQ(cache.freeBlocks, nullptr);
  EXPECT_EQ(cache.entriesPerBlock, 494u / 32);
  // Leaks of the released blocks would show in the sanitizer build.
}

TEST(EntryCacheFailure, NoMemoryGivesNullAndChangesNothing) {
  KrEntryCache cache(24, 3, 0);
  {
    kr_test::AllocationFailure failure(1);
    EXPECT_EQ(cache.GetEntry(), nullptr);
    EXPECT_EQ(kr_test::LastFailedSize(), 24 * 3 + kLink);
  }
  EXPECT_EQ(cache.usedBlocks, nullptr);
  EXPECT_EQ(cache.oldestUsedBlock, nullptr);
  EXPECT_EQ(cache.remaining, 0u);
  char* entry = static_cast<char*>(cache.GetEntry());
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry, cache.usedBlocks + kLink + 48);
}

}  // namespace
