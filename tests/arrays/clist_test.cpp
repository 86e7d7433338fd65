#include <kr/arrays.h>

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <vector>

#include "array_model.h"
#include "failing_alloc.h"
#include "recording_handler.h"

namespace {

// Doubling; the increment is halved (as a 16-bit value) until it fits under
// 32767.
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
    kr_test::RunArrayModel(list, {Doubled, Halved, 32767}, seed, 3000, [&] {
      ASSERT_EQ(list.buffer == nullptr, list.capacity == 0);
      ASSERT_EQ(list.maxCount, 32767);
    });
  }
}

TEST(CList, ConstructionAndTheLimitOf32767) {
  int error = 1;
  KrCList none(0, 10, &error);
  EXPECT_EQ(error, -503);
  EXPECT_TRUE(none.maxCount == 0 && none.buffer == nullptr && none.GetMaxCount() == 0);
  EXPECT_EQ(none.Insert(0, "x"), -502);
  for (int asked : {40000, -1, 65541}) EXPECT_EQ(KrCList(2, asked, nullptr).capacity, 32767) << asked;
  KrCList five(4, 5, &error);
  EXPECT_TRUE(error == 0 && five.capacity == 5 && five.buffer != nullptr && five.count == 0);
  EXPECT_TRUE(five.GetType() == 1 && five.GetMaxCount() == 32767 && five.GetCurMaxCount() == 5);
  EXPECT_TRUE(five.SizeSet(32768) == -501 && five.SizeSet(32767) == 0);
  EXPECT_TRUE(five.Clear() == 0 && five.capacity == 0 && five.buffer == nullptr && five.maxCount == 32767);

  // One-byte elements up to the limit: every capacity follows the rule
  // (20000 -> 30000 -> 31875 -> ...), the last step lands on 32767.
  KrCList list(1, 0, nullptr);
  ASSERT_EQ(list.SizeSet(20000), 0);
  std::vector<unsigned long> capacities, expected = {20000};
  while (expected.back() < 32767) expected.push_back(Doubled(expected.back()));
  for (unsigned long i = 0; i < 32767; ++i) {
    unsigned char byte = static_cast<unsigned char>(i);
    ASSERT_EQ(list.Insert(i, &byte), 0);
    if (capacities.empty() || capacities.back() != list.capacity) capacities.push_back(list.capacity);
  }
  EXPECT_EQ(capacities, expected);
  EXPECT_TRUE(expected[1] == 30000 && expected[2] == 31875);
  EXPECT_EQ(list.Insert(0, "x"), -501);      // full
  EXPECT_EQ(list.Insert(32767, "x"), -502);  // an index at the limit is out of range first
  EXPECT_EQ(*static_cast<unsigned char*>(list.Element(32766)), static_cast<unsigned char>(32766));
}

TEST(CList, CopiesTakeTheWholeBuffer) {
  KrCList source(2, 4, nullptr);
  source.compare = kr_test::CompareBytes;
  source.Insert(0, "ab");
  std::memcpy(source.buffer + 2, "cdefgh", 6);  // the empty slots too
  KrCList target(8, 1, nullptr);
  EXPECT_EQ(target.Copy(&source), 0);
  EXPECT_TRUE(target.width == 2 && target.capacity == 4 && target.count == 1);
  EXPECT_EQ(std::memcmp(target.buffer, "abcdefgh", 8), 0);
  EXPECT_EQ(target.compare, nullptr);  // compare and maxCount stay
  KrCList copy(source);
  EXPECT_TRUE(copy.width == 2 && copy.capacity == 4 && copy.count == 1 && copy.maxCount == 32767);
  EXPECT_EQ(std::memcmp(copy.buffer, "abcdefgh", 8), 0);
  EXPECT_EQ(copy.compare, nullptr);  // not carried over
  EXPECT_EQ(copy.Copy(&copy), 0);    // onto itself
  EXPECT_EQ(std::memcmp(copy.buffer, "abcdefgh", 8), 0);
  KrLList other(2, 0, nullptr);
  EXPECT_EQ(target.Copy(&other), -506);
  EXPECT_EQ(target.width, 2);
}

// Every allocation failure: -501 and the list as it was, the handler called
// once with the bytes asked for; a failed shrink goes unnoticed.
TEST(CList, OutOfMemoryLeavesTheListUnchanged) {
  kr_test::RecordingHandler handler;
  KrCList list(3, 0, nullptr);
  for (unsigned long i = 0; i < 4; ++i) list.Insert(i, "abc");
  KrCList grown(3, 8, nullptr);
  struct Case {
    std::function<int()> operation;
    int expected;
    unsigned long size;
  } const cases[] = {
      {[&] { return list.Insert(1, "xyz"); }, -501, 24},
      {[&] { return list.SizeSet(9); }, -501, 27},
      {[&] { return list.Copy(&grown); }, -501, 24},
      {[&] { return list.Delete(3, 0) + list.Delete(2, 1); }, 0, 6},
  };
  for (auto const& c : cases) {
    std::vector<unsigned char> before(list.buffer, list.buffer + list.count * 3);
    unsigned long const count = list.count, capacity = list.capacity;
    handler.calls = 0;
    {
      kr_test::AllocationFailure failure(1);
      EXPECT_EQ(c.operation(), c.expected);
    }
    EXPECT_TRUE(handler.calls == 1 && handler.sizes[0] == c.size) << c.size;
    if (c.expected != 0) {
      EXPECT_TRUE(list.count == count && list.capacity == capacity) << c.size;
      EXPECT_EQ(std::vector<unsigned char>(list.buffer, list.buffer + count * 3), before);
    }
  }
  EXPECT_TRUE(list.count == 2 && list.capacity == 2);  // halved, on the larger block
  EXPECT_EQ(std::memcmp(list.Element(1), "abc", 3), 0);

  int error = 0;
  handler.calls = 0;
  kr_test::FailNthAllocation(1);
  KrCList failed(5, 10, &error);
  EXPECT_TRUE(error == -501 && failed.buffer == nullptr && failed.capacity == 0);
  EXPECT_TRUE(handler.calls == 1 && handler.sizes[0] == 50);
  kr_test::FailNthAllocation(1);
  KrCList emptyCopy(grown);
  kr_test::StopFailingAllocations();
  EXPECT_TRUE(emptyCopy.width == 0 && emptyCopy.capacity == 0 && emptyCopy.maxCount == 0);
}

}  // namespace
