#include <kr/platform.h>

#include <gtest/gtest.h>
#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

#include "child_process.h"

namespace {

// Runs `body` in a forked child, free to change TZ, the hour offset and the
// cached zone; the child's failures are reported here.
void InChild(std::function<void()> const& body) {
  kr_test::ChildResult result = kr_test::RunInChild([&] {
    body();
    return ::testing::Test::HasFailure() ? 1 : 0;
  });
  EXPECT_EQ(result.exitCode, 0) << result.out << result.err;
}

void SetZone(char const* zone) {
  setenv("TZ", zone, 1);
  tzset();
}

// Sets a fixed zone east of UTC in which the local hour is `hour`, runs `read`
// within one second and gives that second as the C library breaks it down.
void AtLocalHour(int hour, std::function<void()> const& read, tm* local, tm* utc) {
  for (;;) {
    time_t const at = time(nullptr);
    gmtime_r(&at, utc);
    char zone[16];
    std::snprintf(zone, sizeof zone, "XXX-%d", (hour - utc->tm_hour + 24) % 24);
    SetZone(zone);
    read();
    localtime_r(&at, local);
    if (time(nullptr) == at && local->tm_hour == hour) return;
  }
}

TEST(Datetime, HoursWrapInEightBitsAndDatesAreLocalOrUtc) {
  InChild([] {
    EXPECT_EQ(KrOffsetHours(2), 0);
    EXPECT_EQ(KrOffsetHours(300), 2);
    EXPECT_EQ(KrOffsetHours(200), 44);  // 300 modulo 256
    EXPECT_EQ(KrOffsetHours(0), -56);   // 200 as a signed byte
    struct { int localHour, offset, reported; } const cases[] = {{23, 2, 25}, {0, -1, 255}};
    for (auto const& c : cases) {
      KrOffsetHours(c.offset);
      btime t, ut;
      bdate d, ud;
      tm local, utc;
      auto const read = [&] {
        zvmgettime(&t);
        zvmgetdate(&d);
        zvmgetsystemtime(&ut, &ud);
      };
      AtLocalHour(c.localHour, read, &local, &utc);
      EXPECT_EQ(t.hour, c.reported);
      EXPECT_EQ(t.minute * 100 + t.second, local.tm_min * 100 + local.tm_sec);
      EXPECT_EQ(t.zone, timezone);  // seconds west, as the C library has it
      EXPECT_EQ((d.year - 1900) * 10000 + d.month * 100 + d.day,
                local.tm_year * 10000 + (local.tm_mon + 1) * 100 + local.tm_mday);
      EXPECT_EQ(ut.hour, static_cast<unsigned char>(utc.tm_hour + c.offset));
      EXPECT_EQ(ut.minute * 100 + ut.second, utc.tm_min * 100 + utc.tm_sec);
      EXPECT_EQ((ud.year - 1900) * 10000 + ud.month * 100 + ud.day,
                utc.tm_year * 10000 + (utc.tm_mon + 1) * 100 + utc.tm_mday);
      EXPECT_EQ(ut.zone, zvmgettimezone());
    }
  });
}

// Real zones, against the C library's offset for this moment (daylight saving
// time included) and the zone's known standard offset.
TEST(Datetime, ZoneOfRealZones) {
  struct { char const* zone; long standard; char const* names; } const cases[] = {
      {"UTC", 0, "UTC"}, {"America/New_York", -300, "EST EDT"},
      {"Asia/Kolkata", 330, "IST"}, {"Europe/Berlin", 60, "CET CEST"}};
  for (auto const& c : cases) {
    InChild([&] {
      SetZone("XXX-7");  // the library must notice the change of TZ itself
      setenv("TZ", c.zone, 1);
      long const zone = zvmgettimezone();
      tzset();
      time_t const now = time(nullptr);
      tm local;
      localtime_r(&now, &local);
      ASSERT_NE(std::string(c.names).find(local.tm_zone), std::string::npos)
          << c.zone << " is " << local.tm_zone << ": is tzdata installed?";
      EXPECT_EQ(zone, local.tm_gmtoff / 60) << c.zone;
      EXPECT_EQ(zone, c.standard + (local.tm_isdst > 0 ? 60 : 0)) << c.zone;
    });
  }
}

TEST(Datetime, ZoneTruncatesAndTakesOneHourForDaylightSaving) {
  struct { char const* zone; long minutesEast; } const cases[] = {
      {"ABC-0:01:30", 1},  // 90 s east: truncated toward zero, not 2
      {"ABC+0:01:30", -1},
      {"STD+5DST+3,0/0,J365/25", -240}};  // summer all year, two hours ahead: one counts
  for (auto const& c : cases) {
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
    btime t;
    bdate d;
    zvmgetsystemtime(&t, &d);
    EXPECT_EQ(t.zone, 330);
    zvmgettime(&t);
    EXPECT_EQ(t.zone, 18000);  // `timezone` now: standard time, no daylight saving
  });
}

}  // namespace
