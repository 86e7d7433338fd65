// krinfo self: this library's own description.
#include <kr/diag.h>

#include "command.h"

namespace krinfo {

void HelpSelf(std::FILE* out) {
  std::fputs(
      "Usage: krinfo self\n"
      "\n"
      "Prints the self-description of the kr95Nbs library krinfo runs with: title,\n"
      "module name, version, build date and time, and compiler (KrDescribeDll), then\n"
      "the version text and build date that GETKRBASICSINFO reports.\n",
      out);
}

int RunSelf(int argc, char** argv) {
  if (argc > 0) {
    if (IsHelpOption(argv[0])) {
      HelpSelf(stdout);
      return kExitOk;
    }
    return UsageError("self", "unexpected argument '%s'", argv[0]);
  }
  unsigned long major = 0, minor = 0, revision = 0, build = 0, patch = 0;
  char const* name = "";
  char const* dateTime = "";
  char const* text8 = "";
  char const* compilerName = "";
  char const* text11 = "";
  int compilerNum = 0;
  char const* title = KrDescribeDll(&major, &minor, &revision, &build, &patch, &name, &dateTime,
                                    &text8, &compilerNum, &compilerName, &text11);
  char const* versionInfo = "";
  char const* date = "";
  GETKRBASICSINFO(nullptr, nullptr, &versionInfo, &date, nullptr);

  std::printf("title:        %s\n", title);
  std::printf("name:         %s\n", name);
  std::printf("version:      %lu.%lu.%lu.%lu.%lu\n", major, minor, revision, build, patch);
  std::printf("built:        %s\n", dateTime);
  std::printf("compiler:     %s (%d)\n", compilerName, compilerNum);
  std::printf("version text: \"%s\"\n", versionInfo);
  std::printf("build date:   %s\n", date);
  return kExitOk;
}

}  // namespace krinfo
