#include <kr/memory.h>

#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <string>

#include "failing_alloc.h"
#include "recording_handler.h"

namespace {

int Put(MemQueue& q, std::string const& text) { return q.Put(const_cast<char*>(text.data()), text.size()); }
std::string Content(MemQueue const& q) { return std::string(q.buffer, q.buffer + q.logicalSize); }

// Expects `rc` from a Get of `n` bytes and returns what it read.
std::string Get(MemQueue& q, unsigned long n, int rc = 0) {
  std::string out(n, '\0');
  EXPECT_EQ(q.Get(&out[0], n), rc) << n;
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
    EXPECT_EQ(Content(q), compact ? "CDEF" : "ABCDEF");
    EXPECT_EQ(q.readOffset, compact ? 0 : 2);
    MemQueue copy(q);
    EXPECT_TRUE(copy.readOffset == q.readOffset && copy.compact == compact && Get(copy, 4) == "CDEF");
    EXPECT_EQ(q.Delete(0), 0);  // discards what was read
    EXPECT_TRUE(Content(q) == "CDEF" && q.readOffset == 0);
  }
}

// Random puts, gets and deletions against a std::deque, in both modes.
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
        int const rc = model.empty() ? -12001 : (model.size() < n ? -12003 : 0);
        std::string const got = Get(q, n, rc);
        if (rc == 0) {
          ASSERT_TRUE(std::equal(got.begin(), got.end(), model.begin()));
          model.erase(model.begin(), model.begin() + static_cast<long>(n));
        }
      }
      if (step % 100 == 0) q.Delete(0);
      ASSERT_EQ(q.logicalSize - q.readOffset, static_cast<long>(model.size()));
    }
  }
}

TEST(MemQueue, AllocationFailures) {
  kr_test::RecordingHandler handler;
  MemQueue q(1);
  std::string const hundred(100, 'h');
  ASSERT_EQ(Put(q, hundred), 0);  // 7 segments of 16
  int rc[2];
  std::string out(90, '\0');
  {
    kr_test::AllocationFailure failure(1, true);
    rc[0] = Put(q, hundred);  // growing to 7 segments of 32 fails
    rc[1] = q.Get(&out[0], 90);  // the shrink after the move fails
  }
  EXPECT_TRUE(rc[0] == -12002 && rc[1] == 12006);
  EXPECT_EQ(out, std::string(90, 'h'));
  ASSERT_EQ(handler.calls, 2);
  EXPECT_EQ(handler.sizes[0], 224u);
  EXPECT_EQ(Get(q, 10), std::string(10, 'h'));  // the queue is still whole
  Get(q, 1, -12001);
}

}  // namespace
