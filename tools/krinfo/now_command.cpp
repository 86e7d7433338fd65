// krinfo now: the machine's clock and zone as the library reads them.
#include <kr/platform.h>

#include "command.h"

namespace krinfo {

namespace {

constexpr int kAttempts = 10;

bool SameDate(bdate const& a, bdate const& b) {
  return a.year == b.year && a.month == b.month && a.day == b.day;
}

void PrintLine(char const* label, bdate const& d, btime const& t) {
  std::printf("%-7s%04u-%02u-%02u %02u:%02u:%02u\n", label, static_cast<unsigned>(d.year),
              static_cast<unsigned>(d.month), static_cast<unsigned>(d.day),
              static_cast<unsigned>(t.hour), static_cast<unsigned>(t.minute),
              static_cast<unsigned>(t.second));
}

}  // namespace

void HelpNow(std::FILE* out) {
  std::fputs(
      "Usage: krinfo now\n"
      "\n"
      "Prints the local date and time, the UTC date and time, and the local time\n"
      "zone in minutes east of UTC (daylight saving included), as the library's\n"
      "date and time functions report them, e.g.\n"
      "\n"
      "  local  2024-07-01 14:05:09\n"
      "  utc    2024-07-01 12:05:09\n"
      "  zone   +120 minutes east of UTC\n"
      "\n"
      "The zone follows TZ as it is when the command starts.\n",
      out);
}

int RunNow(int argc, char** argv) {
  if (argc > 0) {
    if (IsHelpOption(argv[0])) {
      HelpNow(stdout);
      return kExitOk;
    }
    return UsageError("now", "unexpected argument '%s'", argv[0]);
  }
  // The local date and time are two readings of the clock: read the date on
  // both sides of the time so that a change of day between them is noticed.
  bdate localDate = {}, dateAfter = {};
  btime localTime = {};
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    zvmgetdate(&localDate);
    zvmgettime(&localTime);
    zvmgetdate(&dateAfter);
    if (SameDate(localDate, dateAfter)) break;
  }
  bdate utcDate = {};
  btime utcTime = {};
  zvmgetsystemtime(&utcTime, &utcDate);

  PrintLine("local", localDate, localTime);
  PrintLine("utc", utcDate, utcTime);
  std::printf("%-7s%+ld minutes east of UTC\n", "zone", zvmgettimezone());
  return kExitOk;
}

}  // namespace krinfo
