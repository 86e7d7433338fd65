#include <kr/platform.h>

#include <gtest/gtest.h>
#include <sys/time.h>

#include <climits>
#include <memory>

namespace {

// A wall-clock timer whose clock reads the instant the test set.
class ScriptedTimer : public GETTIMEOFDAYTimer {
 public:
  void At(long seconds, long microseconds) {
    nowSeconds_ = seconds;
    nowMicroseconds_ = microseconds;
  }

 protected:
  void ReadClock(long& seconds, long& microseconds) const override {
    seconds = nowSeconds_;
    microseconds = nowMicroseconds_;
  }

 private:
  long nowSeconds_ = 0;
  long nowMicroseconds_ = 0;
};

void ExpectFields(GETTIMEOFDAYTimer const& timer, long startSeconds, long startMicroseconds,
                  long totalSeconds, long totalMicroseconds) {
  EXPECT_EQ(timer.startSeconds, startSeconds);
  EXPECT_EQ(timer.startMicroseconds, startMicroseconds);
  EXPECT_EQ(timer.totalSeconds, totalSeconds);
  EXPECT_EQ(timer.totalMicroseconds, totalMicroseconds);
}

TEST(KrTimer, BaseMeasuresNothing) {
  KrTimer timer;
  timer.Start();
  timer.Stop();
  timer.Reset();
  EXPECT_EQ(timer.TicksPerSecond(), 0u);
  EXPECT_EQ(timer.IsTimeOver(0, 1), 0);
  EXPECT_EQ(timer.Seconds(), 0.0);
  EXPECT_EQ(timer.MilliSeconds(), 0u);
  EXPECT_EQ(timer.ElapsedTime(), 0u);
  EXPECT_EQ(timer.EstimatedTimeLeft(50), 0u);
  unsigned long hours = 9, minutes = 9, seconds = 9;
  EXPECT_EQ(timer.HourMinSec(hours, minutes, seconds, 0xFFFFFFFF), 0u);
  EXPECT_EQ(hours + minutes + seconds, 0u);
}

TEST(KrTimer, HourMinSecSplitsMilliseconds) {
  KrTimer timer;
  unsigned long hours = 0, minutes = 0, seconds = 0;
  EXPECT_EQ(timer.HourMinSec(hours, minutes, seconds, 3723456), 456u);
  EXPECT_EQ(hours, 1u);
  EXPECT_EQ(minutes, 2u);
  EXPECT_EQ(seconds, 3u);
  EXPECT_EQ(timer.HourMinSec(hours, minutes, seconds, 0xFFFFFFFE), 294u);  // no days
  EXPECT_EQ(hours, 1193u);
  EXPECT_EQ(minutes, 2u);
  EXPECT_EQ(seconds, 47u);

  ScriptedTimer scripted;  // 0xFFFFFFFF asks for the elapsed time
  scripted.At(1000, 0);
  scripted.Start();
  scripted.At(1000 + 3723, 456999);
  EXPECT_EQ(scripted.HourMinSec(hours, minutes, seconds, 0xFFFFFFFF), 456u);
  EXPECT_EQ(hours * 10000 + minutes * 100 + seconds, 10203u);
}

TEST(GETTIMEOFDAYTimer, StopAddsWithoutBorrowAndCarriesOnce) {
  ScriptedTimer timer;
  ExpectFields(timer, 0, 0, 0, 0);
  EXPECT_EQ(timer.TicksPerSecond(), 1000000u);

  timer.At(10, 900000);  // 0.7 s: one second and -300000 microseconds
  timer.Start();
  timer.At(11, 600000);
  timer.Stop();
  ExpectFields(timer, 10, 900000, 1, -300000);
  EXPECT_DOUBLE_EQ(timer.Seconds(), 0.7);
  EXPECT_EQ(timer.MilliSeconds(), 700u);

  timer.At(20, 100000);  // 0.9 s more: the negative part grows
  timer.Start();
  timer.At(21, 0);
  timer.Stop();
  ExpectFields(timer, 20, 100000, 2, -400000);
  EXPECT_EQ(timer.MilliSeconds(), 1600u);

  timer.Reset();
  ExpectFields(timer, 0, 0, 0, 0);
  for (long start : {0L, 5L}) {  // two intervals of 1.6 s: the carry happens once
    timer.At(start, 0);
    timer.Start();
    timer.At(start + 1, 600000);
    timer.Stop();
  }
  ExpectFields(timer, 5, 0, 3, 200000);
  EXPECT_DOUBLE_EQ(timer.Seconds(), 3.2);
  EXPECT_EQ(timer.MilliSeconds(), 3200u);

  timer.Stop();  // the start is kept: the same interval counts again
  ExpectFields(timer, 5, 0, 4, 800000);
}

TEST(GETTIMEOFDAYTimer, NegativeTotalsWrapInThirtyTwoBits) {
  ScriptedTimer timer;
  timer.At(50, 999999);
  timer.Start();
  timer.At(50, 400);
  timer.Stop();
  ExpectFields(timer, 50, 999999, 0, -999599);
  EXPECT_DOUBLE_EQ(timer.Seconds(), -0.999599);
  EXPECT_EQ(timer.MilliSeconds(), 0xFFFFFFFFul - 999 + 1);  // -999 as unsigned 32-bit
}

TEST(GETTIMEOFDAYTimer, ElapsedTimeIgnoresTheTotal) {
  ScriptedTimer timer;
  timer.At(100, 250000);
  timer.Start();
  timer.At(103, 100400);
  EXPECT_EQ(timer.ElapsedTime(), 2851u);  // 3000 - 149.6 truncated toward zero
  timer.Stop();
  timer.At(104, 250000);
  EXPECT_EQ(timer.ElapsedTime(), 4000u);
  EXPECT_EQ(timer.MilliSeconds(), 2851u);
}

TEST(GETTIMEOFDAYTimer, IsTimeOverCountsWholeSecondsAndBackwardClocks) {
  ScriptedTimer timer;
  timer.At(100, 999999);
  timer.Start();
  EXPECT_EQ(timer.IsTimeOver(0, 0), 1);
  EXPECT_EQ(timer.IsTimeOver(5, 1), 0);
  ExpectFields(timer, 100, 999999, 0, 0);

  timer.At(101, 0);  // one microsecond later, but the seconds differ by one
  EXPECT_EQ(timer.IsTimeOver(1, 0), 1);
  timer.At(104, 999999);
  EXPECT_EQ(timer.IsTimeOver(5, 1), 0);
  timer.At(105, 7);
  EXPECT_EQ(timer.IsTimeOver(5, 0), 1);
  ExpectFields(timer, 100, 999999, 0, 0);  // not restarted without `restart`
  EXPECT_EQ(timer.IsTimeOver(5, 1), 1);
  ExpectFields(timer, 105, 7, 0, 0);

  timer.At(90, 0);  // the clock went backwards
  EXPECT_EQ(timer.IsTimeOver(ULONG_MAX, 0), 1);  // over, though 90 - 105 as unsigned is less
  EXPECT_EQ(timer.IsTimeOver(1000000, 1), 1);
  ExpectFields(timer, 90, 0, 0, 0);
}

TEST(GETTIMEOFDAYTimer, EstimatedTimeLeftIsTheProjectedTotal) {
  ScriptedTimer timer;
  timer.At(0, 0);
  timer.Start();
  timer.At(30, 0);
  EXPECT_EQ(timer.EstimatedTimeLeft(25), 120000u);
  EXPECT_EQ(timer.EstimatedTimeLeft(99), 30303u);
  EXPECT_EQ(timer.EstimatedTimeLeft(1), 3000000u);
  EXPECT_EQ(timer.EstimatedTimeLeft(0), 0u);
  EXPECT_EQ(timer.EstimatedTimeLeft(100), 0u);
  timer.At(50000, 0);  // 50 000 000 ms * 100 wraps in 32 bits
  EXPECT_EQ(timer.EstimatedTimeLeft(1), (50000000ull * 100) % 0x100000000ull);
  EXPECT_EQ(timer.EstimatedTimeLeft(50), (50000000ull * 100) % 0x100000000ull / 50);
}

TEST(GETTIMEOFDAYTimer, MakeTimerMeasuresTheWallClock) {
  std::unique_ptr<KrTimer> timer(KrTimer::MakeTimer());
  EXPECT_EQ(timer->TicksPerSecond(), 1000000u);
  struct timeval begin, now;
  gettimeofday(&begin, nullptr);
  timer->Start();
  do {  // a short busy wait of 20 ms on the same clock
    gettimeofday(&now, nullptr);
  } while ((now.tv_sec - begin.tv_sec) * 1000000 + (now.tv_usec - begin.tv_usec) < 20000);
  timer->Stop();
  EXPECT_GE(timer->MilliSeconds(), 19u);
  EXPECT_LT(timer->MilliSeconds(), 5000u);
  EXPECT_GE(timer->ElapsedTime(), timer->MilliSeconds());
  EXPECT_NEAR(timer->Seconds() * 1000, static_cast<double>(timer->MilliSeconds()), 1.0);
}

}  // namespace
