#include <kr/memory.h>

#include <gtest/gtest.h>

#include <cstring>
#include <deque>
#include <random>
#include <string>
#include <vector>

#include "failing_alloc.h"
#include "recording_handler.h"

namespace {

int Put(MemQueue& q, std::string const& text) {
  return q.Put(const_cast<char*>(text.data()), text.size());
}

std::string Get(MemQueue& q, unsigned long n, int expected = 0) {
  std::string out(n, '\0');
  EXPECT_EQ(q.Get(&out[0], n), expected) << n;
  return out;
}

TEST(MemQueue, CompactAndNormalReads) {
  for (unsigned short compact : {1, 0}) {
    MemQueue q(compact);
    EXPECT_TRUE(q.segmentShift == 3 && q.readOffset == 0 && q.compact == compact);
    Get(q, 1, -12001);
    ASSERT_EQ(Put(q, "ABCDEF"), 0);
    Get(q, 7, -12003);  // all or nothing
    EXPECT_EQ(Get(q, 2), "AB");
    EXPECT_EQ(std::string(q.buffer, q.buffer + q.logicalSize), compact ? "CDEF" : "ABCDEF");
    EXPECT_EQ(q.readOffset, compact ? 0 : 2);
    MemQueue copy(q);
    EXPECT_TRUE(copy.readOffset == q.readOffset && copy.compact == compact);
    EXPECT_EQ(Get(copy, 4), "CDEF");
    EXPECT_EQ(q.Delete(0), 0);  // discards what was read
    EXPECT_EQ(std::string(q.buffer, q.buffer + q.logicalSize), "CDEF");
    EXPECT_EQ(Get(q, 4), "CDEF");
    Get(q, 1, -12001);
  }
}

// Random puts and gets against a std::deque, in both modes.
TEST(MemQueue, AgreesWithADequeModel) {
  std::mt19937 random(5);
  for (unsigned short compact : {1, 0}) {
    MemQueue q(compact);
    std::deque<char> model;
    for (int step = 0; step < 4000; ++step) {
      unsigned long const n = random() % 200;
      if (random() % 2) {
        std::string bytes(n, '\0');
        for (char& c : bytes) c = static_cast<char>(random());
        ASSERT_EQ(Put(q, bytes), 0);
        model.insert(model.end(), bytes.begin(), bytes.end());
      } else {
        int const expected = model.empty() ? -12001 : (model.size() < n ? -12003 : 0);
        std::string const got = Get(q, n, expected);
        if (expected == 0) {
          ASSERT_TRUE(std::equal(got.begin(), got.end(), model.begin()));
          model.erase(model.begin(), model.begin() + static_cast<long>(n));
        }
      }
      if (!compact && step % 100 == 0) q.Delete(0);
      ASSERT_EQ(q.logicalSize - q.readOffset, static_cast<long>(model.size()));
    }
  }
}

TEST(MemQueue, AllocationFailures) {
  kr_test::RecordingHandler handler;
  MemQueue q(1);
  std::string const hundred(100, 'h');
  ASSERT_EQ(Put(q, hundred), 0);  // 7 segments of 16
  int rc;
  {
    kr_test::AllocationFailure failure(1);
    rc = Put(q, hundred);
  }
  EXPECT_EQ(rc, -12002);
  ASSERT_EQ(handler.calls, 1);
  EXPECT_EQ(handler.sizes[0], 224u);
  EXPECT_EQ(q.logicalSize, 100);  // the queue is as it was
  std::string out(90, '\0');
  {
    kr_test::AllocationFailure failure(1);  // the shrink after the move
    rc = q.Get(&out[0], 90);
  }
  EXPECT_EQ(rc, 12006);
  EXPECT_EQ(out, std::string(90, 'h'));
  EXPECT_EQ(handler.calls, 2);
  EXPECT_EQ(Get(q, 10), std::string(10, 'h'));
  Get(q, 1, -12001);
}

}  // namespace
