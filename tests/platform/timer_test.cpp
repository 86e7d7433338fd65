#include <kr/platform.h>

#include <gtest/gtest.h>

#include <climits>
#include <memory>

namespace {

// A wall-clock timer whose clock reads the instant the test set.
class ScriptedTimer : public GETTIMEOFDAYTimer {
 public:
  void At(long seconds, long microseconds) {
    seconds_ = seconds;
    microseconds_ = microseconds;
  }
  void ExpectFields(long startS, long startUs, long totalS, long totalUs) const {
    EXPECT_EQ(startSeconds, startS);
    EXPECT_EQ(startMicroseconds, startUs);
    EXPECT_EQ(totalSeconds, totalS);
    EXPECT_EQ(totalMicroseconds, totalUs);
  }

 protected:
  void ReadClock(long& seconds, long& microseconds) const override {
    seconds = seconds_;
    microseconds = microseconds_;
  }

 private:
  long seconds_ = 0, microseconds_ = 0;
};

TEST(KrTimer, BaseMeasuresNothingAndSplitsMilliseconds) {
  KrTimer timer;
  timer.Start();
  EXPECT_EQ(timer.TicksPerSecond() + timer.MilliSeconds() + timer.ElapsedTime(), 0u);
  EXPECT_EQ(timer.IsTimeOver(0, 1) + timer.Seconds() + timer.EstimatedTimeLeft(50), 0.0);
  unsigned long h = 9, m = 9, s = 9;
  EXPECT_EQ(timer.HourMinSec(h, m, s, 0xFFFFFFFF), 0u);  // the elapsed time: 0
  EXPECT_EQ(h + m + s, 0u);
  EXPECT_EQ(timer.HourMinSec(h, m, s, 3723456), 456u);
  EXPECT_EQ(h * 10000 + m * 100 + s, 10203u);
  EXPECT_EQ(timer.HourMinSec(h, m, s, 0xFFFFFFFE), 294u);
  EXPECT_EQ(h * 10000 + m * 100 + s, 11930247u);  // 1193 hours: no days
}

TEST(GETTIMEOFDAYTimer, StopAddsWithoutBorrowAndCarriesOnce) {
  ScriptedTimer timer;
  timer.ExpectFields(0, 0, 0, 0);
  for (long start : {0L, 5L}) {  // two intervals of 1.6 s
    timer.At(start, 0);
    timer.Start();
    timer.At(start + 1, 600000);
    timer.Stop();
  }
  timer.ExpectFields(5, 0, 3, 200000);
  EXPECT_DOUBLE_EQ(timer.Seconds(), 3.2);
  EXPECT_EQ(timer.MilliSeconds(), 3200u);
  timer.Stop();  // the start is kept: the same interval counts again
  timer.ExpectFields(5, 0, 4, 800000);

  timer.Reset();
  timer.At(50, 999999);
  timer.Start();
  timer.At(51, 400);  // 0.000401 s: one second and -999599 microseconds
  timer.Stop();
  timer.ExpectFields(50, 999999, 1, -999599);
  EXPECT_NEAR(timer.Seconds(), 0.000401, 1e-12);
  EXPECT_EQ(timer.MilliSeconds(), 1u);  // 1000 + (-999)
  timer.Reset();
  timer.At(51, 100000);
  timer.Start();
  timer.At(51, 0);  // the clock stepped back: negative totals wrap in 32 bits
  timer.Stop();
  EXPECT_EQ(timer.MilliSeconds(), 0xFFFFFFFFul - 99);
  EXPECT_EQ(timer.ElapsedTime(), 0xFFFFFFFFul - 99);
}

TEST(GETTIMEOFDAYTimer, ElapsedTimeAndEstimatedTimeLeft) {
  ScriptedTimer timer;
  timer.At(100, 250000);
  timer.Start();
  timer.At(103, 100400);
  EXPECT_EQ(timer.ElapsedTime(), 2851u);  // 3000 - 149.6 truncated toward zero
  EXPECT_EQ(timer.MilliSeconds(), 0u);
  timer.At(130, 250000);
  EXPECT_EQ(timer.EstimatedTimeLeft(25), 120000u);  // the projected total
  EXPECT_EQ(timer.EstimatedTimeLeft(99), 30303u);
  EXPECT_EQ(timer.EstimatedTimeLeft(0) + timer.EstimatedTimeLeft(100), 0u);
  timer.At(50100, 250000);  // 50 000 000 ms * 100 wraps in 32 bits
  EXPECT_EQ(timer.EstimatedTimeLeft(1), 5000000000ull % 0x100000000ull);
}

TEST(GETTIMEOFDAYTimer, IsTimeOverCountsWholeSecondsAndBackwardClocks) {
  ScriptedTimer timer;
  timer.At(100, 999999);
  timer.Start();
  EXPECT_EQ(timer.IsTimeOver(0, 0), 1);
  timer.At(101, 0);  // one microsecond later, but the seconds differ by one
  EXPECT_EQ(timer.IsTimeOver(5, 1), 0);
  EXPECT_EQ(timer.IsTimeOver(1, 0), 1);
  timer.ExpectFields(100, 999999, 0, 0);  // not restarted: not over, or no `restart`
  EXPECT_EQ(timer.IsTimeOver(1, 1), 1);
  timer.ExpectFields(101, 0, 0, 0);
  timer.At(90, 0);  // the clock went backwards: over whatever the limit
  EXPECT_EQ(timer.IsTimeOver(ULONG_MAX, 1), 1);
  timer.ExpectFields(90, 0, 0, 0);
}

TEST(GETTIMEOFDAYTimer, MakeTimerReadsTheWallClock) {
  std::unique_ptr<KrTimer> timer(KrTimer::MakeTimer());
  EXPECT_EQ(timer->TicksPerSecond(), 1000000u);
  timer->Start();
  while (timer->ElapsedTime() < 20) {
  }
  timer->Stop();
  EXPECT_GE(timer->MilliSeconds(), 20u);
  EXPECT_LT(timer->MilliSeconds(), 5000u);
}

}  // namespace
