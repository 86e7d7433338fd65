// Sizes at the limits, each handled in seconds at most: sorts of a million elements, the smallest
// and largest entry rings, ten million tree nodes, a krinfo input beyond 2 GiB.
#include <kr/arrays.h>
#include <kr/containers.h>

#include <gtest/gtest.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "child_process.h"
#include "temp_dir.h"

namespace {

int CompareInts(KrVArray const*, void* a, void* b) {
  int32_t const x = *static_cast<int32_t*>(a), y = *static_cast<int32_t*>(b);
  return (x > y) - (x < y);
}
int CompareAtRandom(KrVArray const*, void*, void*) {
  static std::mt19937 random(9);
  return static_cast<int>(random() % 3) - 1;
}

TEST(Limits, MillionElementSorts) {
  for (int shape = 0; shape < 3; ++shape) {  // sorted, all equal, 3000 with a random compare
    int32_t const n = shape == 2 ? 3000 : 1000000;
    KrLList list(sizeof(int32_t), static_cast<unsigned long>(n), nullptr);
    list.compare = shape == 2 ? CompareAtRandom : CompareInts;
    for (int32_t i = 0; i < n; ++i) {
      int32_t const value = shape == 1 ? 0 : i;
      ASSERT_EQ(list.Insert(list.count, &value), 0);
    }
    ASSERT_EQ(list.Sort(0), 0);
    int32_t const* first = static_cast<int32_t const*>(list.Element(0));
    std::vector<int32_t> values(first, first + n);
    if (shape == 2) std::sort(values.begin(), values.end());
    for (int32_t i = 0; i < n; ++i) ASSERT_EQ(values[i], shape == 1 ? 0 : i) << shape;
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

// A sparse file of 2 GiB and one zero byte: crc32 reads it all, beyond any 32-bit size.
TEST(Limits, KrinfoChecksumBeyondTwoGiB) {
  kr_test::TempDir dir;
  std::string const huge = dir.Make("huge", "");
  ASSERT_EQ(truncate(huge.c_str(), (2LL << 30) + 1), 0);
  std::string const megabyte(1 << 20, '\0');
  uLong const block = crc32(0, reinterpret_cast<Bytef const*>(megabyte.data()), 1 << 20);
  uLong crc = 0;
  for (int i = 0; i < 2048; ++i) crc = crc32_combine(crc, block, 1 << 20);
  crc = crc32(crc, reinterpret_cast<Bytef const*>(megabyte.data()), 1);
  char text[16];
  std::snprintf(text, sizeof text, "%08lx\n", crc);
  kr_test::ChildResult const result = kr_test::RunProgram({KRINFO_PATH, "crc32", huge});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.out, text);
}

}  // namespace
