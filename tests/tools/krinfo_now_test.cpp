// krinfo now, run under chosen zones.
#include <gtest/gtest.h>
#include <time.h>

#include <cstdio>
#include <string>

#include "child_process.h"

namespace {

TEST(KrinfoNow, PrintsLocalAndUtcTimeAndTheZone) {
  struct { char const* zone; long minutesEast; } const cases[] = {
      {"UTC", 0}, {"Asia/Kolkata", 330}, {"XXX+12", -720}, {"XXX-13:45", 825}};
  for (auto const& c : cases) {
    time_t const before = time(nullptr);
    kr_test::ChildResult result =
        kr_test::RunProgram({KRINFO_PATH, "now"}, "", {std::string("TZ=") + c.zone});
    time_t const after = time(nullptr);
    EXPECT_EQ(result.exitCode, 0);
    tm local = {}, utc = {};
    long zone = 0;
    char sign = 0, end = 0;
    ASSERT_EQ(std::sscanf(result.out.c_str(),
                          "local  %4d-%2d-%2d %2d:%2d:%2d\nutc    %4d-%2d-%2d %2d:%2d:%2d\n"
                          "zone   %c%ld minutes east of UTC%c",
                          &local.tm_year, &local.tm_mon, &local.tm_mday, &local.tm_hour,
                          &local.tm_min, &local.tm_sec, &utc.tm_year, &utc.tm_mon, &utc.tm_mday,
                          &utc.tm_hour, &utc.tm_min, &utc.tm_sec, &sign, &zone, &end),
              15)
        << result.out;
    EXPECT_EQ(end, '\n');
    EXPECT_EQ(sign == '-' ? -zone : zone, c.minutesEast) << c.zone;
    EXPECT_EQ(sign, c.minutesEast < 0 ? '-' : '+') << c.zone;
    for (tm* broken : {&local, &utc}) {
      broken->tm_year -= 1900;
      broken->tm_mon -= 1;
    }
    time_t const utcAt = timegm(&utc);
    EXPECT_TRUE(utcAt >= before && utcAt <= after) << c.zone;
    long const shift = static_cast<long>(timegm(&local) - utcAt) - c.minutesEast * 60;
    EXPECT_TRUE(shift == 0 || shift == -1) << c.zone << ": " << shift;  // local read first
  }
  kr_test::ChildResult bad = kr_test::RunProgram({KRINFO_PATH, "now", "--utc"});
  EXPECT_EQ(bad.exitCode, 2);
  EXPECT_NE(bad.err.find("krinfo now: unexpected argument '--utc'"), std::string::npos);
}

}  // namespace
