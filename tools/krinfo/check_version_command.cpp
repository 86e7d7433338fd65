// krinfo check-version: the product's version-compatibility rule.
#include <kr/diag.h>

#include <cstring>
#include <string>

#include "command.h"

namespace krinfo {

namespace {

// The flags KrCheckDll forces on: without --flags the plain check.
constexpr unsigned long kDefaultFlags = 3;
constexpr int kComponents = 5;

// Parses "MAJOR.MINOR.REVISION.BUILD.PATCH", each an unsigned 32-bit number.
bool ParseVersion(char const* text, unsigned long* parts) {
  std::string rest = text;
  for (int i = 0; i < kComponents; ++i) {
    std::size_t dot = rest.find('.');
    bool last = i == kComponents - 1;
    if (last != (dot == std::string::npos)) return false;
    std::string part = last ? rest : rest.substr(0, dot);
    if (!ParseUnsigned32(part.c_str(), &parts[i])) return false;
    if (!last) rest = rest.substr(dot + 1);
  }
  return true;
}

}  // namespace

void HelpCheckVersion(std::FILE* out) {
  std::fputs(
      "Usage: krinfo check-version MAJOR.MINOR.REVISION.BUILD.PATCH [--flags N]\n"
      "\n"
      "Applies the product's version rule (CheckKrVersionNumber) to a module version\n"
      "and prints its answer: 0 (compatible) or -5004 with its text.\n"
      "\n"
      "  --flags N   the checks to make, decimal or 0x-hex (default 3):\n"
      "                1           no check of its own; makes the flags nonzero\n"
      "                2           the revision must be 23    (0x10000000 waives it)\n"
      "                4           the patch must be 262      (0x20000000 waives it)\n"
      "                8           the patch must be 0        (0x40000000 waives it)\n"
      "              Major 9 and minor 5 are always required; flags 0 always fail.\n"
      "  -h, --help  show this help\n"
      "\n"
      "Example: krinfo check-version 9.5.23.262.0 --flags 4\n"
      "\n"
      "Exit status: 0 compatible, 1 incompatible, 2 on bad arguments.\n",
      out);
}

int RunCheckVersion(int argc, char** argv) {
  char const* version = nullptr;
  unsigned long flags = kDefaultFlags;
  for (int i = 0; i < argc; ++i) {
    char const* arg = argv[i];
    char const* flagsText = nullptr;
    if (IsHelpOption(arg)) {
      HelpCheckVersion(stdout);
      return kExitOk;
    }
    if (std::strcmp(arg, "--flags") == 0) {
      if (i + 1 >= argc) return UsageError("check-version", "option --flags needs a number");
      flagsText = argv[++i];
    } else if (std::strncmp(arg, "--flags=", 8) == 0) {
      flagsText = arg + 8;
    } else if (arg[0] == '-') {
      return UsageError("check-version", "unknown option '%s'", arg);
    } else if (version) {
      return UsageError("check-version", "unexpected argument '%s'", arg);
    } else {
      version = arg;
    }
    if (flagsText && !ParseUnsigned32(flagsText, &flags)) {
      return UsageError("check-version", "'%s' is not a flags value (decimal or 0x-hex)",
                        flagsText);
    }
  }
  if (!version) return UsageError("check-version", "no version given");
  unsigned long parts[kComponents];
  if (!ParseVersion(version, parts)) {
    return UsageError("check-version",
                      "'%s' is not a version MAJOR.MINOR.REVISION.BUILD.PATCH", version);
  }
  int result = CheckKrVersionNumber(parts[0], parts[1], parts[2], parts[3], parts[4],
                                    static_cast<int>(static_cast<unsigned int>(flags)));
  std::printf("%lu.%lu.%lu.%lu.%lu flags 0x%08lx: %d %s\n", parts[0], parts[1], parts[2],
              parts[3], parts[4], flags, result, KrError(nullptr, nullptr, result, 1));
  return result == 0 ? kExitOk : kExitNegative;
}

}  // namespace krinfo
