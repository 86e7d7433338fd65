// krinfo: the operators' command-line tool of the kr95Nbs runtime library.
#include <cstring>

#include "command.h"

namespace {

void PrintUsage(std::FILE* out) {
  std::fputs(
      "Usage: krinfo [--help] COMMAND [ARGS...]\n"
      "\n"
      "Commands:\n",
      out);
  for (krinfo::Command const* command = krinfo::kCommands; command->name; ++command) {
    std::fprintf(out, "  %-10s %s\n", command->name, command->summary);
  }
  std::fputs(
      "\n"
      "Run 'krinfo COMMAND --help' for a command's arguments.\n"
      "Exit status: 0 success, 1 a negative answer, 2 bad arguments or input.\n",
      out);
}

}  // namespace

int main(int argc, char** argv) {
  using namespace krinfo;
  int next = 1;
  if (next >= argc) {
    PrintUsage(stderr);
    return kExitUsage;
  }
  char const* name = argv[next];
  if (IsHelpOption(name)) {
    PrintUsage(stdout);
    return kExitOk;
  }
  if (std::strcmp(name, "help") == 0) {
    if (next + 1 >= argc) {
      PrintUsage(stdout);
      return kExitOk;
    }
    Command const* command = FindCommand(argv[next + 1]);
    if (!command) return UsageError(nullptr, "unknown command '%s'", argv[next + 1]);
    command->help(stdout);
    return kExitOk;
  }
  Command const* command = FindCommand(name);
  if (!command) {
    if (name[0] == '-') return UsageError(nullptr, "unknown option '%s'", name);
    return UsageError(nullptr, "unknown command '%s'", name);
  }
  return command->run(argc - next - 1, argv + next + 1);
}
