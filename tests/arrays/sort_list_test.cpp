#include <kr/arrays.h>
#include <kr/memory.h>

#include <gtest/gtest.h>

#include <cstdint>

namespace {

int CompareWords(KrVArray const*, void* a, void* b) {
  uint32_t const x = *static_cast<uint32_t*>(a), y = *static_cast<uint32_t*>(b);
  return (x > y) - (x < y);
}

int Reversed(KrVArray const* array, void* a, void* b) { return CompareWords(array, b, a); }

TEST(SortList, ComparesFromTheStart) {
  SortList list(4, CompareWords, 3);
  EXPECT_TRUE(list.width == 4 && list.capacity == 3 && list.memFile->logicalSize == 12);
  EXPECT_TRUE(list.compare == CompareWords && list.GetType() == 2 && list.GetMaxCount() == 0xFFFFFFFFul);
  uint32_t const values[] = {5, 1, 4, 1};
  int const results[] = {0, 0, 0, -508};
  for (int i = 0; i < 4; ++i) EXPECT_EQ(list.SortedInsert(&values[i], nullptr, 0, 1), results[i]);
  uint32_t const expected[] = {1, 4, 5};
  for (unsigned long i = 0; i < 3; ++i) EXPECT_EQ(*static_cast<uint32_t*>(list.Element(i)), expected[i]);

  SortList copy(list);
  EXPECT_TRUE(copy.compare == nullptr && copy.count == 3 && copy.width == 4);  // not carried over
  EXPECT_EQ(copy.Init(2, Reversed, 0), 0);
  EXPECT_TRUE(copy.compare == Reversed && copy.width == 2 && copy.count == 0 && copy.capacity == 0);
  EXPECT_EQ(copy.memFile->logicalSize, 0);
  SortList narrow(2, CompareWords, 0);  // built with width 4 first, then Init
  EXPECT_TRUE(narrow.width == 2 && narrow.capacity == 0 && narrow.memFile->buffer == nullptr);
}

}  // namespace
