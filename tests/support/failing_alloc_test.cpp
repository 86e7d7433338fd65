// The allocation-failure helper itself: it must fail exactly the chosen calls,
// in this binary and inside the shared library, and leave the rest alone.
#include "failing_alloc.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

namespace {

// Opaque to the optimiser, so the calls below really reach the allocator.
void* (*volatile gMalloc)(std::size_t) = std::malloc;
void* (*volatile gRealloc)(void*, std::size_t) = std::realloc;
void* (*volatile gCalloc)(std::size_t, std::size_t) = std::calloc;

TEST(FailingAlloc, FailsOnlyTheChosenCall) {
  kr_test::FailNthAllocation(2);
  void* first = gMalloc(10);
  void* second = gMalloc(20);
  void* third = gMalloc(30);
  kr_test::StopFailingAllocations();
  EXPECT_NE(first, nullptr);
  EXPECT_EQ(second, nullptr);
  EXPECT_NE(third, nullptr);
  EXPECT_EQ(kr_test::FailedAllocations(), 1u);
  EXPECT_EQ(kr_test::LastFailedSize(), 20u);
  std::free(first);
  std::free(third);
}

TEST(FailingAlloc, FailedReallocKeepsTheBlock) {
  char* block = static_cast<char*>(gMalloc(8));
  ASSERT_NE(block, nullptr);
  std::memcpy(block, "content", 8);
  {
    kr_test::AllocationFailure failure(1);
    EXPECT_EQ(gRealloc(block, 1 << 20), nullptr);
    EXPECT_EQ(kr_test::LastFailedSize(), 1u << 20);
  }
  EXPECT_STREQ(block, "content");
  void* grown = gRealloc(block, 64);
  ASSERT_NE(grown, nullptr);
  std::free(grown);
}

TEST(FailingAlloc, FailsEveryCallFromThereOn) {
  kr_test::AllocationFailure failure(1, true);
  EXPECT_EQ(gMalloc(1), nullptr);
  EXPECT_EQ(gCalloc(2, 3), nullptr);
  EXPECT_EQ(kr_test::FailedAllocations(), 2u);
  EXPECT_EQ(kr_test::LastFailedSize(), 6u);
}

}  // namespace
