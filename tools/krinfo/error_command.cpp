// krinfo error: the texts of result codes.
#include <cstring>
#include <string>
#include <vector>

#include <kr/diag.h>

#include "command.h"

namespace krinfo {

void HelpError(std::FILE* out) {
  std::fputs(
      "Usage: krinfo error CODE... [--context TEXT]\n"
      "\n"
      "Prints the text of each result code, one line per code, as \"CODE: text\".\n"
      "Codes are decimal integers with an optional sign (-2008, 3001, +5).\n"
      "\n"
      "  --context TEXT  print the line KrError formats for a failed operation\n"
      "                  named TEXT instead, e.g. \"Open : -2008 -> database is not opened\"\n"
      "  -h, --help      show this help\n"
      "\n"
      "Exit status: 0, or 2 when an argument is not a code.\n",
      out);
}

int RunError(int argc, char** argv) {
  char const* context = nullptr;
  std::vector<int> codes;
  bool optionsDone = false;
  for (int i = 0; i < argc; ++i) {
    char const* arg = argv[i];
    int code = 0;
    // A code like -2008 looks like an option: numbers are taken first.
    if (ParseInt32(arg, &code)) {
      codes.push_back(code);
    } else if (!optionsDone && IsHelpOption(arg)) {
      HelpError(stdout);
      return kExitOk;
    } else if (!optionsDone && std::strcmp(arg, "--context") == 0) {
      if (i + 1 >= argc) return UsageError("error", "option --context needs a text");
      context = argv[++i];
    } else if (!optionsDone && std::strncmp(arg, "--context=", 10) == 0) {
      context = arg + 10;
    } else if (!optionsDone && std::strcmp(arg, "--") == 0) {
      optionsDone = true;
    } else if (!optionsDone && arg[0] == '-' && arg[1] == '-') {
      return UsageError("error", "unknown option '%s'", arg);
    } else {
      return UsageError("error", "'%s' is not a result code (a decimal integer such as -2008)",
                        arg);
    }
  }
  if (codes.empty()) return UsageError("error", "no result code given");

  // KrError does not bound what it writes into a caller's buffer: size it for
  // the longest text, the context, the code and the separators.
  std::vector<char> line(kKrLongestErrorText + (context ? std::strlen(context) : 0) + 32);
  for (int code : codes) {
    if (context) {
      std::printf("%s\n", KrError(line.data(), context, code, 0));
    } else {
      std::printf("%d: %s\n", code, KrError(nullptr, nullptr, code, 1));
    }
  }
  return kExitOk;
}

}  // namespace krinfo
