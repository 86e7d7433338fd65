// krinfo version.
#include "command.h"

namespace krinfo {

void HelpVersion(std::FILE* out) {
  std::fputs(
      "Usage: krinfo version\n"
      "\n"
      "Prints the version of krinfo, which is the version of the kr95Nbs library it\n"
      "was built with.\n",
      out);
}

int RunVersion(int argc, char** argv) {
  if (argc > 0) {
    if (IsHelpOption(argv[0])) {
      HelpVersion(stdout);
      return kExitOk;
    }
    return UsageError("version", "unexpected argument '%s'", argv[0]);
  }
  std::printf("krinfo %s (kr95Nbs)\n", KRINFO_VERSION);
  return kExitOk;
}

}  // namespace krinfo
