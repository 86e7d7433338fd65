#include <kr/platform.h>

#include <gtest/gtest.h>
#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

#include "child_process.h"

namespace {

constexpr int kAttempts = 100;

// Runs `body` in a forked child, where it may change TZ, the hour offset and
// the cached zone freely; the child's failures are reported here.
void InChild(std::function<void()> const& body) {
  kr_test::ChildResult result = kr_test::RunInChild([&] {
    body();
    return ::testing::Test::HasFailure() ? 1 : 0;
  });
  EXPECT_TRUE(result.exited) << "signal " << result.signal;
  EXPECT_EQ(result.exitCode, 0) << result.out << result.err;
}

void SetZone(char const* zone) {
  setenv("TZ", zone, 1);
  tzset();
}

// Calls `read` until the clock shows the same second before and after it and
// returns that second, so that tests can compare what `read` saw with the C
// library's broken-down form of the same instant.
time_t Bracketed(std::function<void()> const& read) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    time_t before = time(nullptr);
    read();
    if (time(nullptr) == before) return before;
  }
  ADD_FAILURE() << "the clock never held still";
  return 0;
}

struct tm Local(time_t at) {
  struct tm broken = {};
  localtime_r(&at, &broken);
  return broken;
}

struct tm Utc(time_t at) {
  struct tm broken = {};
  gmtime_r(&at, &broken);
  return broken;
}

// Sets TZ to a fixed zone east of UTC in which the local hour now is `hour`.
void ZoneWhereLocalHourIs(int hour) {
  char zone[32];
  std::snprintf(zone, sizeof zone, "XXX-%d", (hour - Utc(time(nullptr)).tm_hour + 24) % 24);
  SetZone(zone);
}

// zvmgettime in a zone where the local hour is `hour`; `local` receives the C
// library's view of the same second.
btime LocalTimeAtHour(int hour, struct tm* local) {
  btime t = {};
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    ZoneWhereLocalHourIs(hour);
    *local = Local(Bracketed([&] { zvmgettime(&t); }));
    if (local->tm_hour == hour) return t;
  }
  ADD_FAILURE() << "could not read the time at local hour " << hour;
  return t;
}

TEST(Datetime, HourOffsetKeepsEightBits) {
  InChild([] {
    EXPECT_EQ(KrOffsetHours(2), 0);
    EXPECT_EQ(KrOffsetHours(2), 2);
    EXPECT_EQ(KrOffsetHours(300), 2);
    EXPECT_EQ(KrOffsetHours(-1), 44);  // 300 modulo 256
    EXPECT_EQ(KrOffsetHours(200), -1);
    EXPECT_EQ(KrOffsetHours(0x7FFFFF80), -56);  // 200 as a signed byte
    EXPECT_EQ(KrOffsetHours(0), -128);
  });
}

TEST(Datetime, LocalHourWithOffsetIsNotReduced) {
  InChild([] {
    struct Case {
      int localHour;
      long offset;
      int reported;
    } const cases[] = {{23, 2, 25}, {0, -1, 255}, {5, 300, 49}, {12, 0, 12}, {1, -2, 255}};
    for (Case const& c : cases) {
      KrOffsetHours(c.offset);
      struct tm local;
      btime t = LocalTimeAtHour(c.localHour, &local);
      EXPECT_EQ(t.hour, c.reported) << c.localHour << " + " << c.offset;
      EXPECT_EQ(t.minute, local.tm_min);
      EXPECT_EQ(t.second, local.tm_sec);
      EXPECT_EQ(t.zone, timezone);  // seconds west: minus the hours east
      EXPECT_EQ(t.zone % 3600, 0);
    }
  });
}

TEST(Datetime, DateIsLocal) {
  InChild([] {
    // Twelve hours off UTC, the local date is never the UTC date.
    SetZone(Utc(time(nullptr)).tm_hour >= 12 ? "XXX-12" : "XXX+12");
    bdate d = {};
    time_t at = Bracketed([&] { zvmgetdate(&d); });
    struct tm local = Local(at);
    EXPECT_EQ(d.year, local.tm_year + 1900);
    EXPECT_EQ(d.month, local.tm_mon + 1);
    EXPECT_EQ(d.day, local.tm_mday);
    EXPECT_NE(local.tm_mday, Utc(at).tm_mday);
  });
}

TEST(Datetime, SystemTimeIsUtcWithZoneInMinutesEast) {
  InChild([] {
    SetZone(Utc(time(nullptr)).tm_hour >= 12 ? "XXX-12" : "XXX+12");
    KrOffsetHours(3);
    btime t = {};
    bdate d = {};
    struct tm utc = Utc(Bracketed([&] { zvmgetsystemtime(&t, &d); }));
    EXPECT_EQ(t.hour, utc.tm_hour + 3);
    EXPECT_EQ(t.minute, utc.tm_min);
    EXPECT_EQ(t.second, utc.tm_sec);
    EXPECT_EQ(d.year, utc.tm_year + 1900);
    EXPECT_EQ(d.month, utc.tm_mon + 1);
    EXPECT_EQ(d.day, utc.tm_mday);
    EXPECT_EQ(t.zone, zvmgettimezone());
    EXPECT_EQ(t.zone, timezone < 0 ? 720 : -720);
  });
}

// Real zones against the C library's offset for this moment, so that daylight
// saving time is accounted for.
TEST(Datetime, ZoneOfRealZones) {
  struct Case {
    char const* zone;
    long standardMinutes;
    char const* names;  // the abbreviations the zone file gives (a missing file gives none)
  } const cases[] = {{"UTC", 0, "UTC"},
                     {"America/New_York", -300, "EST EDT"},
                     {"Asia/Kolkata", 330, "IST"},
                     {"Europe/Berlin", 60, "CET CEST"}};
  for (Case const& c : cases) {
    InChild([&] {
      SetZone("XXX-7");  // the library must pick up the change of TZ itself
      setenv("TZ", c.zone, 1);
      long const zone = zvmgettimezone();
      tzset();
      struct tm const local = Local(time(nullptr));
      ASSERT_NE(std::string(c.names).find(local.tm_zone), std::string::npos)
          << c.zone << " gave " << local.tm_zone << ": is tzdata installed?";
      EXPECT_EQ(zone, local.tm_gmtoff / 60) << c.zone;
      EXPECT_EQ(zone, c.standardMinutes + (local.tm_isdst > 0 ? 60 : 0)) << c.zone;
    });
  }
}

TEST(Datetime, ZoneTruncatesTowardZeroAndTakesOneHourForDaylightSaving) {
  struct Case {
    char const* zone;
    long minutesEast;
  } const cases[] = {
      {"ABC-0:01:30", 1},  // 90 s east: -(-90 / 60), not 2
      {"ABC+0:01:30", -1},
      {"STD+5DST,0/0,J365/25", -240},    // daylight saving all year, one hour ahead
      {"STD+5DST+3,0/0,J365/25", -240},  // two hours ahead, but one hour is taken
  };
  for (Case const& c : cases) {
    InChild([&] {
      SetZone(c.zone);
      EXPECT_EQ(zvmgettimezone(), c.minutesEast) << c.zone;
    });
  }
}

TEST(Datetime, ZoneIsComputedOncePerProcess) {
  InChild([] {
    SetZone("Asia/Kolkata");
    EXPECT_EQ(zvmgettimezone(), 330);
    SetZone("STD+5DST,0/0,J365/25");
    EXPECT_EQ(zvmgettimezone(), 330);
    btime t = {};
    bdate d = {};
    zvmgetsystemtime(&t, &d);
    EXPECT_EQ(t.zone, 330);
    zvmgettime(&t);  // the C library's variable as it stands now
    EXPECT_EQ(t.zone, 18000);
  });
}

}  // namespace
