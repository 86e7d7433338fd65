#include <kr/arrays.h>

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <vector>

#include "array_model.h"
#include "failing_alloc.h"
#include "recording_handler.h"

namespace {

// Doubling, the increment halved as a 16-bit value until it fits under 32767.
unsigned long Doubled(unsigned long capacity) {
  unsigned short increment = capacity ? static_cast<unsigned short>(capacity) : 1;
  while (capacity + increment > 32767) increment = static_cast<unsigned short>(increment >> 1);
  return capacity + increment;
}

unsigned long Halved(unsigned long capacity, unsigned long count) {
  return count <= capacity / 2 ? capacity / 2 : capacity;
}

TEST(CList, AgreesWithAVectorModel) {
  for (unsigned seed = 1; seed <= 4; ++seed) {
    KrCList list(kr_test::kModelWidth, 0, nullptr);
    kr_test::RunArrayModel(list, {Doubled, Halved, 32767}, seed, [&] {
      ASSERT_TRUE((list.buffer == nullptr) == (list.capacity == 0) && list.maxCount == 32767);
    });
  }
}

TEST(CList, ConstructionAndTheLimitOf32767) {
  int error = 1;
  KrCList none(0, 10, &error);
  EXPECT_TRUE(error == -503 && none.maxCount == 0 && none.buffer == nullptr);
  EXPECT_EQ(none.Insert(0, "x"), -502);
  for (int asked : {40000, -1, 65541}) EXPECT_EQ(KrCList(2, asked, nullptr).capacity, 32767);
  KrCList list(1, 0, nullptr);  // one-byte elements up to the limit
  ASSERT_EQ(list.SizeSet(20000), 0);
  std::vector<unsigned long> capacities = {20000}, expected = {20000, 30000, 31875};
  while (expected.back() < 32767) expected.push_back(Doubled(expected.back()));
  for (unsigned long i = 0; i < 32767; ++i) {
    ASSERT_EQ(list.Insert(i, &i), 0);
    if (capacities.back() != list.capacity) capacities.push_back(list.capacity);
  }
  EXPECT_EQ(capacities, expected);
  EXPECT_EQ(list.Insert(0, "x"), -501);      // full
  EXPECT_EQ(list.Insert(32767, "x"), -502);  // an index at the limit is out of range first
}

TEST(CList, CopiesTakeTheWholeBuffer) {
  KrCList source(2, 4, nullptr);
  source.compare = kr_test::CompareBytes;
  source.Insert(0, "ab");
  std::memcpy(source.buffer + 2, "cdefgh", 6);  // the empty slots too
  KrCList target(8, 1, nullptr), copy(source);
  EXPECT_EQ(target.Copy(&source), 0);
  for (KrCList const* list : {&target, &copy}) {  // neither takes the compare function
    EXPECT_TRUE(list->width == 2 && list->capacity == 4 && list->count == 1);
    EXPECT_TRUE(list->maxCount == 32767 && list->compare == nullptr);
    EXPECT_EQ(std::memcmp(list->buffer, "abcdefgh", 8), 0);
  }
  KrLList other(2, 0, nullptr);
  EXPECT_EQ(target.Copy(&other), -506);
}

// Each allocation failure: -501 and the list as it was, the handler called
// once with the bytes asked for; a failed shrink goes unnoticed.
TEST(CList, OutOfMemory) {
  kr_test::RecordingHandler handler;
  KrCList list(3, 0, nullptr), grown(3, 8, nullptr);
  for (char const* element : {"ab0", "ab1", "ab2", "ab3"}) list.Insert(list.count, element);
  std::function<int()> const operations[] = {[&] { return list.Insert(1, "xyz"); },
                                             [&] { return list.SizeSet(9); },
                                             [&] { return list.Copy(&grown); },
                                             [&] { return list.Delete(3, 0) + list.Delete(2, 1); }};
  unsigned long const sizes[] = {24, 27, 24, 6};
  for (int i = 0; i < 4; ++i) {
    handler.calls = 0;
    kr_test::FailNthAllocation(1);
    int const result = operations[i]();
    kr_test::StopFailingAllocations();
    EXPECT_EQ(result, i < 3 ? -501 : 0);
    EXPECT_TRUE(handler.calls == 1 && handler.sizes[0] == sizes[i]) << i;
    EXPECT_TRUE(list.count == (i < 3 ? 4u : 2u) && list.capacity == (i < 3 ? 4u : 2u)) << i;
    EXPECT_EQ(std::memcmp(list.buffer, "ab0ab1ab2ab3", list.count * 3), 0) << i;
  }
  int error = 0;
  kr_test::FailNthAllocation(1);
  KrCList failed(5, 10, &error);
  kr_test::FailNthAllocation(1);
  KrCList emptyCopy(grown);
  kr_test::StopFailingAllocations();
  EXPECT_TRUE(error == -501 && !failed.buffer && !failed.capacity && handler.sizes[1] == 50);
  EXPECT_TRUE(emptyCopy.width == 0 && emptyCopy.capacity == 0 && emptyCopy.maxCount == 0);
}

}  // namespace
