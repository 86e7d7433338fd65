// krinfo now: the clock and zone, run under chosen zones.
#include <gtest/gtest.h>
#include <time.h>

#include <cstdio>
#include <string>

#include "child_process.h"

namespace {

struct NowOutput {
  time_t local = 0;  // the local date and time read as if it were UTC
  time_t utc = 0;
  long zone = 0;
  bool parsed = false;
};

time_t ParseStamp(char const* line, char const* format) {
  struct tm broken = {};
  if (std::sscanf(line, format, &broken.tm_year, &broken.tm_mon, &broken.tm_mday,
                  &broken.tm_hour, &broken.tm_min, &broken.tm_sec) != 6) {
    return -1;
  }
  broken.tm_year -= 1900;
  broken.tm_mon -= 1;
  return timegm(&broken);
}

// Runs `krinfo now` with TZ set to `zone` and reads its three lines.
NowOutput KrinfoNow(std::string const& zone) {
  kr_test::ChildResult result = kr_test::RunProgram({KRINFO_PATH, "now"}, "", {"TZ=" + zone});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
  NowOutput now;
  std::string const& text = result.out;
  std::size_t utcLine = text.find("\nutc    ");
  std::size_t zoneLine = text.find("\nzone   ");
  if (utcLine == std::string::npos || zoneLine == std::string::npos) {
    ADD_FAILURE() << text;
    return now;
  }
  now.local = ParseStamp(text.c_str(), "local  %4d-%2d-%2d %2d:%2d:%2d\n");
  now.utc = ParseStamp(text.c_str() + utcLine + 1, "utc    %4d-%2d-%2d %2d:%2d:%2d\n");
  char tail[64] = {};
  now.parsed = std::sscanf(text.c_str() + zoneLine + 1, "zone   %ld %63[^\n]", &now.zone,
                           tail) == 2 &&
               std::string(tail) == "minutes east of UTC" && now.local != -1 &&
               now.utc != -1 && text.back() == '\n';
  EXPECT_TRUE(now.parsed) << text;
  return now;
}

TEST(KrinfoNow, PrintsLocalAndUtcTimeAndTheZone) {
  struct Case {
    char const* zone;
    long minutesEast;
  } const cases[] = {{"UTC", 0}, {"Asia/Kolkata", 330}, {"XXX+12", -720}, {"XXX-13:45", 825}};
  for (Case const& c : cases) {
    time_t const before = time(nullptr);
    NowOutput now = KrinfoNow(c.zone);
    time_t const after = time(nullptr);
    EXPECT_EQ(now.zone, c.minutesEast) << c.zone;
    EXPECT_GE(now.utc, before) << c.zone;
    EXPECT_LE(now.utc, after) << c.zone;
    // The local line is read first: the UTC reading may be a second later.
    long const shift = static_cast<long>(now.local - now.utc) - c.minutesEast * 60;
    EXPECT_TRUE(shift == 0 || shift == -1) << c.zone << ": " << shift;
  }
}

TEST(KrinfoNow, ZeroZoneHasASignAndArgumentsAreRefused) {
  kr_test::ChildResult result = kr_test::RunProgram({KRINFO_PATH, "now"}, "", {"TZ=UTC"});
  EXPECT_NE(result.out.find("\nzone   +0 minutes east of UTC\n"), std::string::npos)
      << result.out;
  result = kr_test::RunProgram({KRINFO_PATH, "now", "--utc"});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_NE(result.err.find("krinfo now: unexpected argument '--utc'"), std::string::npos);
  EXPECT_NE(result.err.find("--help"), std::string::npos);
}

}  // namespace
