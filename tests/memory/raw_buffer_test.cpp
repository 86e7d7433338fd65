#include <kr/memory.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "failing_alloc.h"

namespace {

// A stack block handed to a buffer that wrongly frees it, or an adopted block
// that is not freed, is reported by the sanitizer configuration.
TEST(KrRawBuffer, CopyBorrowAndAdopt) {
  char text[] = "payload";
  {
    KrRawBuffer copy(text, 8, KrRawBufferCopy);
    EXPECT_NE(copy.GetBuf(), text);
    EXPECT_STREQ(static_cast<char*>(copy.GetBuf()), "payload");
    KrRawBuffer twin(copy);
    EXPECT_NE(twin.data, copy.data);
    EXPECT_STREQ(static_cast<char*>(twin.data), "payload");
  }
  for (int behaviour : {1, 7}) {  // borrowing, and any other value
    KrRawBuffer borrow(text, 8, static_cast<KrRawBufferBehavior>(behaviour));
    KrRawBuffer twin(borrow);
    EXPECT_TRUE(borrow.data == text && twin.data == text && twin.GetBufLen() == 8);
  }
  {
    void* block = std::malloc(8);
    std::memcpy(block, text, 8);
    KrRawBuffer adopt(block, 8, KrRawBufferAdopt);
    KrRawBuffer twin(adopt);
    EXPECT_TRUE(adopt.data == block && twin.data != block && twin.behaviour == KrRawBufferAdopt);
    EXPECT_STREQ(static_cast<char*>(twin.data), "payload");
  }
  KrRawBuffer noData(nullptr, 8, KrRawBufferCopy), noLength(text, 0, KrRawBufferBorrow);
  EXPECT_TRUE(noData.data == nullptr && noData.length == 0);
  EXPECT_TRUE(noLength.data == nullptr && noLength.length == 0);
}

TEST(KrRawBuffer, EnsureCapacityAndFailures) {
  char text[] = "payload";
  KrRawBuffer b(text, 8, KrRawBufferBorrow);
  EXPECT_EQ(b.EnsureCapacity(8), 0);
  EXPECT_EQ(b.data, text);
  EXPECT_EQ(b.EnsureCapacity(100), 0);  // the borrowed block is not freed
  EXPECT_TRUE(b.data != text && b.length == 100 && b.behaviour == KrRawBufferCopy);
  std::memset(b.data, 0, 100);
  int rc;
  {
    kr_test::AllocationFailure failure(1);
    rc = b.EnsureCapacity(200);
  }
  EXPECT_EQ(rc, -2030);
  EXPECT_TRUE(b.data == nullptr && b.length == 200);
  kr_test::AllocationFailure failure(1);
  KrRawBuffer c(text, 8, KrRawBufferCopy);
  EXPECT_TRUE(c.data == nullptr && c.length == 0);
}

}  // namespace
