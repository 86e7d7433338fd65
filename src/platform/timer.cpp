// KrTimer, the stopwatch interface, and its wall-clock implementation.
#include <kr/platform.h>

#include <stdint.h>
#include <sys/time.h>

namespace {

constexpr long kMicrosecondsPerSecond = 1000000;
constexpr long kMaxMicroseconds = kMicrosecondsPerSecond - 1;
constexpr long kMicrosecondsPerMillisecond = 1000;
constexpr uint32_t kMillisecondsPerSecond = 1000;
constexpr unsigned long kSecondsPerMinute = 60;
constexpr unsigned long kMinutesPerHour = 60;
constexpr unsigned long kUseElapsedTime = 0xFFFFFFFF;
constexpr unsigned long kMinPercent = 1;
constexpr unsigned long kMaxPercent = 99;

// Milliseconds of a seconds and microseconds pair, in unsigned 32-bit
// arithmetic so that both targets wrap alike; a negative microsecond part
// counts down, truncating toward zero.
unsigned long ToMilliseconds(long seconds, long microseconds) {
  return static_cast<uint32_t>(seconds) * kMillisecondsPerSecond +
         static_cast<uint32_t>(microseconds / kMicrosecondsPerMillisecond);
}

}  // namespace

// The base measures nothing.

KrTimer::~KrTimer() {}

unsigned long KrTimer::TicksPerSecond() { return 0; }
void KrTimer::Start() {}
void KrTimer::Stop() {}
void KrTimer::Reset() {}
int KrTimer::IsTimeOver(unsigned long, int) { return 0; }
double KrTimer::Seconds() const { return 0.0; }
unsigned long KrTimer::MilliSeconds() const { return 0; }
unsigned long KrTimer::ElapsedTime() const { return 0; }

unsigned long KrTimer::EstimatedTimeLeft(unsigned long percentDone) const {
  if (percentDone < kMinPercent || percentDone > kMaxPercent) return 0;
  uint32_t const elapsed = static_cast<uint32_t>(ElapsedTime());
  return elapsed * 100u / static_cast<uint32_t>(percentDone);
}

unsigned long KrTimer::HourMinSec(unsigned long& hours, unsigned long& minutes,
                                  unsigned long& seconds, unsigned long milliSeconds) const {
  if (milliSeconds == kUseElapsedTime) milliSeconds = ElapsedTime();
  seconds = milliSeconds / kMillisecondsPerSecond;
  unsigned long const leftover = milliSeconds - seconds * kMillisecondsPerSecond;
  minutes = seconds / kSecondsPerMinute;
  seconds %= kSecondsPerMinute;
  hours = minutes / kMinutesPerHour;
  minutes %= kMinutesPerHour;
  return leftover;
}

KrTimer* KrTimer::MakeTimer() { return new GETTIMEOFDAYTimer; }

// The wall-clock timer.

GETTIMEOFDAYTimer::GETTIMEOFDAYTimer()
    : startSeconds(0), startMicroseconds(0), totalSeconds(0), totalMicroseconds(0) {}

GETTIMEOFDAYTimer::~GETTIMEOFDAYTimer() {}

void GETTIMEOFDAYTimer::ReadClock(long& seconds, long& microseconds) const {
  struct timeval now = {};
  gettimeofday(&now, nullptr);
  seconds = static_cast<long>(now.tv_sec);
  microseconds = static_cast<long>(now.tv_usec);
}

unsigned long GETTIMEOFDAYTimer::TicksPerSecond() { return kMicrosecondsPerSecond; }

void GETTIMEOFDAYTimer::Start() { ReadClock(startSeconds, startMicroseconds); }

void GETTIMEOFDAYTimer::Stop() {
  long seconds = 0, microseconds = 0;
  ReadClock(seconds, microseconds);
  // No borrow: a negative microsecond difference stays in the total.
  totalMicroseconds += microseconds - startMicroseconds;
  if (totalMicroseconds > kMaxMicroseconds) {
    totalSeconds += 1;
    totalMicroseconds -= kMicrosecondsPerSecond;
  }
  totalSeconds += seconds - startSeconds;
}

void GETTIMEOFDAYTimer::Reset() {
  startSeconds = startMicroseconds = totalSeconds = totalMicroseconds = 0;
}

int GETTIMEOFDAYTimer::IsTimeOver(unsigned long seconds, int restart) {
  long nowSeconds = 0, nowMicroseconds = 0;
  ReadClock(nowSeconds, nowMicroseconds);
  // A clock that went backwards counts as over, deliberately; microseconds
  // are not considered.
  bool const over = nowSeconds < startSeconds ||
                    static_cast<unsigned long>(nowSeconds - startSeconds) >= seconds;
  if (over && restart) {
    startSeconds = nowSeconds;
    startMicroseconds = nowMicroseconds;
  }
  return over ? 1 : 0;
}

double GETTIMEOFDAYTimer::Seconds() const {
  return totalMicroseconds / 1e6 + totalSeconds;
}

unsigned long GETTIMEOFDAYTimer::MilliSeconds() const {
  return ToMilliseconds(totalSeconds, totalMicroseconds);
}

unsigned long GETTIMEOFDAYTimer::ElapsedTime() const {
  long nowSeconds = 0, nowMicroseconds = 0;
  ReadClock(nowSeconds, nowMicroseconds);
  long microseconds = nowMicroseconds - startMicroseconds;
  long carry = 0;
  if (microseconds > kMaxMicroseconds) {
    carry = 1;
    microseconds -= kMicrosecondsPerSecond;
  }
  return ToMilliseconds(nowSeconds - startSeconds + carry, microseconds);
}
