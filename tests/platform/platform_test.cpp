// Date and time, timers, and typed values in their stored byte order.
#include <kr/platform.h>

#include <gtest/gtest.h>
#include <time.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "child_process.h"

namespace {

std::vector<int> Fields(tm const& t, int offset) {  // hour with offset, minute, second, date
  return {static_cast<unsigned char>(t.tm_hour + offset), t.tm_min, t.tm_sec,
          (t.tm_year + 1900) * 10000 + (t.tm_mon + 1) * 100 + t.tm_mday};
}
std::vector<int> Fields(btime const& t, bdate const& d) {
  return {t.hour, t.minute, t.second, d.year * 10000 + d.month * 100 + d.day};
}

// One process per zone, as the zone is computed once per process (the library notices a change of
// TZ itself): minutes east, truncated toward zero, one hour more in daylight saving time whatever
// the real shift. The hour offset is the low byte, signed, added to every hour in 8 bits without
// reduction to 0..23; zvmgettime and zvmgetdate are local with `timezone` (seconds west, standard
// time), zvmgetsystemtime is UTC with the minutes east.
TEST(Datetime, ZonesAndHoursOffsetInEightBits) {
  struct { char const* zone; long standard; int offset, stored; } const cases[] = {
      {"UTC", 0, 2, 2},      {"America/New_York", -300, -1, -1}, {"Asia/Kolkata", 330, 100, 100},
      {"ABC-0:01:30", 1, 300, 44}, {"Europe/Berlin", 60, -100, -100},
      {"ABC+0:01:30", -1, 200, -56}, {"STD+5DST+3,0/0,J365/25", -300, 0, 0}};
  for (auto const& c : cases) {
    auto const result = kr_test::RunInChild([&] {
      setenv("TZ", "XXX-7", 1);
      tzset();
      setenv("TZ", c.zone, 1);
      long const zone = zvmgettimezone();
      tzset();
      EXPECT_TRUE(KrOffsetHours(c.offset) == 0 && KrOffsetHours(c.offset) == c.stored);
      btime t, ut;
      bdate d, ud;
      tm local, utc;
      for (time_t at = 0; at != time(nullptr);) {  // all within one second
        at = time(nullptr);
        zvmgettime(&t);
        zvmgetdate(&d);
        zvmgetsystemtime(&ut, &ud);
        localtime_r(&at, &local);
        gmtime_r(&at, &utc);
      }
      EXPECT_EQ(zone, c.standard + (local.tm_isdst > 0 ? 60 : 0)) << "is tzdata installed?";
      EXPECT_EQ(Fields(t, d), Fields(local, c.offset));
      EXPECT_EQ(Fields(ut, ud), Fields(utc, c.offset));
      EXPECT_TRUE(t.zone == timezone && ut.zone == zone) << t.zone << " " << ut.zone;
      setenv("TZ", "XXX-7", 1);
      EXPECT_EQ(zvmgettimezone(), zone);  // kept
      return ::testing::Test::HasFailure() ? 1 : 0;
    });
    EXPECT_EQ(result.exitCode, 0) << c.zone << "\n" << result.out << result.err;
  }
}

struct ScriptedTimer : GETTIMEOFDAYTimer {  // its clock reads the instant the test set
  long now[2] = {0, 0};
  void ReadClock(long& s, long& us) const override { s = now[0], us = now[1]; }
};

TEST(KrTimer, BaseMeasuresNothingAndHoursAreNotReducedToDays) {
  KrTimer timer;
  timer.Start();
  EXPECT_EQ(timer.TicksPerSecond() + timer.MilliSeconds() + timer.ElapsedTime(), 0u);
  EXPECT_EQ(timer.IsTimeOver(0, 1) + timer.Seconds() + timer.EstimatedTimeLeft(50), 0.0);
  struct { unsigned long ms, left, hms; } const cases[] = {
      {0xFFFFFFFF, 0, 0}, {3723456, 456, 10203}, {0xFFFFFFFE, 294, 11930247}};
  for (auto const& c : cases) {
    unsigned long h = 9, m = 9, s = 9, left = timer.HourMinSec(h, m, s, c.ms);
    EXPECT_TRUE(left == c.left && h * 10000 + m * 100 + s == c.hms) << c.ms;
  }
  std::unique_ptr<KrTimer> wall(KrTimer::MakeTimer());  // on the wall clock
  for (wall->Start(); wall->ElapsedTime() < 20;) continue;
  wall->Stop();
  EXPECT_TRUE(wall->TicksPerSecond() == 1000000u && wall->MilliSeconds() - 20 < 5000u);
}

// Each step sets the clock, makes a call, checks its result and, when given, the fields (start,
// total: seconds, microseconds). Stop adds the two apart: no borrow, one carry, the start stays.
// Elapsed times truncate and wrap in 32 bits; the estimate is the projected total. IsTimeOver
// counts whole seconds, is over on a clock that went backwards, and restarts only when over.
TEST(GETTIMEOFDAYTimer, Script) {
  struct { char call; long s, us; unsigned long argument, result; std::vector<long> fields; }
      const steps[] = {
          {'S', 0, 0, 0, 0, {0, 0, 0, 0}},         {'P', 1, 600000, 0, 0, {0, 0, 1, 600000}},
          {'S', 5, 0, 0, 0, {5, 0, 1, 600000}},    {'P', 6, 600000, 0, 0, {5, 0, 3, 200000}},
          {'M', 6, 600000, 0, 3200, {}},           {'P', 6, 600000, 0, 0, {5, 0, 4, 800000}},
          {'R', 0, 0, 0, 0, {0, 0, 0, 0}},         {'S', 50, 999999, 0, 0, {50, 999999, 0, 0}},
          {'P', 51, 400, 0, 0, {50, 999999, 1, -999599}},  {'M', 51, 400, 0, 1, {}},  // -999 ms
          {'R', 0, 0, 0, 0, {0, 0, 0, 0}},         {'S', 51, 100000, 0, 0, {51, 100000, 0, 0}},
          {'E', 51, 0, 0, 0xFFFFFF9C, {}},         {'P', 51, 0, 0, 0, {51, 100000, 0, -100000}},
          {'M', 51, 0, 0, 0xFFFFFF9C, {}},  {'S', 100, 999999, 0, 0, {100, 999999, 0, -100000}},
          {'o', 100, 999999, 0, 1, {}},            {'O', 101, 0, 5, 0, {100, 999999, 0, -100000}},
          {'o', 101, 0, 1, 1, {}},                 {'O', 101, 0, 1, 1, {101, 0, 0, -100000}},
          {'O', 90, 0, ULONG_MAX, 1, {90, 0, 0, -100000}},  {'S', 100, 250000, 0, 0, {}},
          {'E', 103, 100400, 0, 2851, {}},         {'L', 130, 250000, 25, 120000, {}},
          {'L', 130, 250000, 99, 30303, {}},       {'L', 130, 250000, 0, 0, {}},
          {'L', 130, 250000, 100, 0, {}},          {'L', 50100, 250000, 1, 705032704, {}}};
  ScriptedTimer timer;
  for (auto const& step : steps) {
    timer.now[0] = step.s, timer.now[1] = step.us;
    unsigned long result = 0;
    switch (step.call) {
      case 'S': timer.Start(); break;
      case 'P': timer.Stop(); break;
      case 'R': timer.Reset(); break;
      case 'o': case 'O': result = timer.IsTimeOver(step.argument, step.call == 'O'); break;
      case 'M': result = timer.MilliSeconds(); break;
      case 'E': result = timer.ElapsedTime(); break;
      default: result = timer.EstimatedTimeLeft(step.argument);
    }
    SCOPED_TRACE(std::string("step ") + std::to_string(&step - steps));
    EXPECT_EQ(result, step.result);
    std::vector<long> const fields = {timer.startSeconds, timer.startMicroseconds,
                                      timer.totalSeconds, timer.totalMicroseconds};
    EXPECT_TRUE(step.fields.empty() || fields == step.fields);
    EXPECT_NEAR(timer.Seconds(), fields[2] + fields[3] / 1e6, 1e-9);  // 3.2, 0.000401
  }
}

// Every function and order code on random data, nothing past count * width; integers in place too.
TEST(TypedValues, OrderCodesSingleValuesAndText) {
  struct { int (*store)(void*, void const*, unsigned char, unsigned long); size_t width; int mask; }
      const cases[] = {{CharStore, 1, 0},        {ShortStore, 2, 0x0F},   {LongStore, 4, 0x0F},
                       {IntStore, 4, 0x0F},      {IntLoad, 4, 0x0F},      {UnsignedStore, 4, 0x0F},
                       {UnsignedLoad, 4, 0x0F},  {FloatStore, 4, 0x7F},   {DoubleStore, 8, 0x7F}};
  std::mt19937 random(7);
  for (auto const& c : cases) {
    std::vector<unsigned char> source(7 * c.width);
    for (auto& byte : source) byte = static_cast<unsigned char>(random());
    for (int code = 0; code < 256; ++code) {
      std::vector<unsigned char> expected(source), out(source.size() + 3, 0xA5), same(source);
      for (size_t at = 0; (code & c.mask) == 2 && at < source.size(); at += c.width)
        std::reverse(&expected[at], &expected[at] + c.width);  // stored big-endian: reversed
      expected.resize(out.size(), 0xA5);
      unsigned char const order = static_cast<unsigned char>(code);
      ASSERT_EQ(c.store(out.data(), source.data(), order, 7), static_cast<int>(source.size()));
      ASSERT_EQ(out, expected) << "width " << c.width << ", code " << code;
      if (c.mask != 0x7F) c.store(same.data(), same.data(), order, 7);
      ASSERT_TRUE(c.mask == 0x7F || std::equal(same.begin(), same.end(), expected.begin()));
    }
    EXPECT_EQ(c.store(nullptr, nullptr, 2, 0), 0);
  }
  // Values are big-endian; text is blank-padded, unterminated, read to a blank (ended if room).
  unsigned char source[3] = {1, 2, 3}, out[4] = {9, 9, 9, 9};
  memreverse(source, out, 0);
  memreverse(source, out, 3);
  EXPECT_EQ(std::memcmp(out, "\x03\x02\x01\x09", 4), 0);
  char stored[8];
  float const f = -123.456f;
  EXPECT_TRUE(stfloat(f, stored) == 4 && !std::memcmp(stored, "\xC2\xF6\xE9\x79", 4));
  EXPECT_EQ(ldfloat(stored), f);
  EXPECT_EQ(stdbl(0.1, stored), 8);
  EXPECT_EQ(std::memcmp(stored, "\x3F\xB9\x99\x99\x99\x99\x99\x9A", 8), 0);
  EXPECT_EQ(lddbl(stored), 0.1);
  struct { char const* text; int n; std::string fieldAndText; } const texts[] = {
      {"AB", 5, std::string("AB   ###AB\0#####", 16)}, {"ABCDEFG", 5, "ABCDE###ABCDE###"},
      {"AB CD", 6, std::string("AB CD ##AB\0#####", 16)}, {"XY", 0, std::string(16, '#')}};
  for (auto const& c : texts) {
    char both[16];
    std::memset(both, '#', 16);
    stchar(const_cast<char*>(c.text), both, c.n);
    ldchar(both, c.n, both + 8);
    EXPECT_EQ(std::string(both, 16), c.fieldAndText) << c.text;
  }
}

}  // namespace
