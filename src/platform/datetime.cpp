// Date, time and time zone from the system clock.
#include <kr/platform.h>

#include <time.h>

namespace {

// Process-wide state of the date and time functions: plain globals,
// unsynchronised by design (two threads making the first zvmgettimezone call
// at once compute the same value and both store it).

// Added to every reported hour; only its low 8 bits are kept.
signed char gHourOffset = 0;

// Marks the cached zone as not yet computed.
constexpr long kZoneNotComputed = 0x0FFFFFFF;
long gCachedZone = kZoneNotComputed;

constexpr int kSecondsPerMinute = 60;
constexpr long kDaylightSavingShift = 3600;  // seconds, whatever the zone's real shift
constexpr int kBrokenDownYearBase = 1900;

// The hour with the offset added in 8-bit arithmetic: no reduction to 0..23.
unsigned char OffsetHour(int hour) {
  return static_cast<unsigned char>(hour + gHourOffset);
}

void FillTime(struct tm const& broken, btime* t) {
  t->hour = OffsetHour(broken.tm_hour);
  t->minute = static_cast<unsigned char>(broken.tm_min);
  t->second = static_cast<unsigned char>(broken.tm_sec);
}

void FillDate(struct tm const& broken, bdate* d) {
  d->year = static_cast<unsigned short>(broken.tm_year + kBrokenDownYearBase);
  d->month = static_cast<unsigned char>(broken.tm_mon + 1);
  d->day = static_cast<unsigned char>(broken.tm_mday);
}

struct tm LocalNow() {
  time_t now = time(nullptr);
  struct tm broken = {};
  localtime_r(&now, &broken);
  return broken;
}

}  // namespace

long KrOffsetHours(long hours) {
  long previous = gHourOffset;
  gHourOffset = static_cast<signed char>(static_cast<unsigned char>(hours & 0xFF));
  return previous;
}

void zvmgetdate(bdate* d) {
  FillDate(LocalNow(), d);
}

void zvmgettime(btime* t) {
  FillTime(LocalNow(), t);
  t->zone = timezone;
}

// The time and the date come from one reading of the clock, so that a call
// at midnight cannot pair the old day's time with the new day's date.
void zvmgetsystemtime(btime* t, bdate* d) {
  time_t now = time(nullptr);
  struct tm broken = {};
  gmtime_r(&now, &broken);
  FillTime(broken, t);
  t->zone = zvmgettimezone();
  FillDate(broken, d);
}

long zvmgettimezone() {
  if (gCachedZone != kZoneNotComputed) return gCachedZone;
  tzset();
  time_t now = time(nullptr);
  struct tm const* broken = localtime(&now);
  long secondsWest = timezone;
  if (broken && broken->tm_isdst > 0) secondsWest -= kDaylightSavingShift;
  gCachedZone = -(secondsWest / kSecondsPerMinute);  // division truncates toward zero
  return gCachedZone;
}
