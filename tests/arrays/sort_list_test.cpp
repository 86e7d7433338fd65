#include <kr/arrays.h>
#include <kr/memory.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

namespace {

int CompareWords(KrVArray const*, void* a, void* b) {
  uint32_t const x = *static_cast<uint32_t*>(a), y = *static_cast<uint32_t*>(b);
  return (x > y) - (x < y);
}

TEST(SortList, ComparesFromTheStartAndCopiesWithoutIt) {
  SortList list(2, CompareWords, 3);  // built with width 4 first, then Init
  EXPECT_TRUE(list.width == 2 && list.capacity == 3 && list.memFile->logicalSize == 6);
  EXPECT_TRUE(list.compare == CompareWords && list.GetType() == 2);
  EXPECT_TRUE(list.Init(4, CompareWords, 0) == 0 && list.width == 4 && !list.memFile->buffer);
  uint32_t const values[] = {5, 1, 4, 1}, sorted[] = {1, 4, 5};
  int const results[] = {0, 0, 0, -508};
  for (int i = 0; i < 4; ++i) EXPECT_EQ(list.SortedInsert(&values[i], nullptr, 0, 1), results[i]);
  EXPECT_EQ(std::memcmp(list.memFile->buffer, sorted, sizeof sorted), 0);
  SortList copy(list);
  EXPECT_TRUE(copy.compare == nullptr && copy.count == 3 && copy.width == 4);
}

}  // namespace
