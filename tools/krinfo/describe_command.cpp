// krinfo describe: other modules' self-description, read by loading them.
#include <kr/diag.h>

#include <cstring>
#include <vector>

#include "command.h"

namespace krinfo {

namespace {

// KrGetDescription copies texts without length checks: every buffer gets the
// size of a full path.
constexpr std::size_t kTextSize = 4096;

// Prints one module's description; returns KrGetDescription's result.
int Describe(char const* module, bool separate) {
  std::vector<char> path(kTextSize, '\0'), title(kTextSize, '\0'), name(kTextSize, '\0');
  std::vector<char> dateTime(kTextSize, '\0'), text8(kTextSize, '\0');
  std::vector<char> compilerName(kTextSize, '\0'), text11(kTextSize, '\0');
  unsigned long major = 0, minor = 0, revision = 0, build = 0, patch = 0;
  int compilerNum = 0;
  int result = KrGetDescription(module, path.data(), major, minor, revision, build, patch,
                                title.data(), name.data(), dateTime.data(), text8.data(),
                                compilerName.data(), text11.data(), compilerNum);
  if (result != 0) {
    std::fprintf(stderr, "krinfo describe: %s: %d %s", module, result,
                 KrError(nullptr, nullptr, result, 1));
    if (path[0] != '\0') std::fprintf(stderr, " (%s)", path.data());
    std::fputc('\n', stderr);
    return result;
  }
  if (separate) std::putchar('\n');
  std::printf("module:   %s\n", module);
  std::printf("path:     %s\n", path.data());
  std::printf("version:  %lu.%lu.%lu.%lu.%lu\n", major, minor, revision, build, patch);
  std::printf("title:    %s\n", title.data());
  std::printf("name:     %s\n", name.data());
  std::printf("built:    %s\n", dateTime.data());
  std::printf("compiler: %s (%d)\n", compilerName.data(), compilerNum);
  return result;
}

}  // namespace

void HelpDescribe(std::FILE* out) {
  std::fputs(
      "Usage: krinfo describe MODULE...\n"
      "       krinfo [--config FILE] [--trace-loading] describe MODULE...\n"
      "\n"
      "Loads each module of the product by its name (the file lib<MODULE>.so) and\n"
      "prints its self-description: absolute path, version, title, internal name,\n"
      "build date and compiler. The module is looked for in the directory named by\n"
      "\"defaultModulePath\" in the --config file first, then through the system's\n"
      "library search. --trace-loading shows each attempt on standard error.\n"
      "\n"
      "A module that cannot be loaded (-5002) or has no description (-5003) is\n"
      "reported on standard error with its result code and text.\n"
      "\n"
      "Example: krinfo describe kr95Nbs\n"
      "\n"
      "Exit status: 0, 1 when a module could not be described, 2 on bad arguments.\n",
      out);
}

int RunDescribe(int argc, char** argv) {
  std::vector<char const*> modules;
  bool optionsDone = false;
  for (int i = 0; i < argc; ++i) {
    char const* arg = argv[i];
    if (!optionsDone && IsHelpOption(arg)) {
      HelpDescribe(stdout);
      return kExitOk;
    }
    if (!optionsDone && std::strcmp(arg, "--") == 0) {
      optionsDone = true;
    } else if (!optionsDone && arg[0] == '-') {
      return UsageError("describe", "unknown option '%s'", arg);
    } else if (arg[0] == '\0') {
      return UsageError("describe", "empty module name");
    } else {
      modules.push_back(arg);
    }
  }
  if (modules.empty()) return UsageError("describe", "no module name given");
  int status = kExitOk;
  bool printed = false;
  for (char const* module : modules) {
    if (Describe(module, printed) != 0) {
      status = kExitNegative;
    } else {
      printed = true;
    }
  }
  return status;
}

}  // namespace krinfo
