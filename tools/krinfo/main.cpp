// krinfo: the operators' command-line tool of the kr95Nbs runtime library.
#include <csignal>
#include <cstring>

#include <kr/diag.h>

#include "command.h"

namespace {

void PrintUsage(std::FILE* out) {
  std::fputs(
      "Usage: krinfo [--config FILE] [--trace-loading] [--help] COMMAND [ARGS...]\n"
      "\n"
      "Options (before the command):\n"
      "  --config FILE    read settings from an INI file and install them as the\n"
      "                   default configuration (e.g. \"defaultModulePath\" for\n"
      "                   describe, \"[debug]\" \"loadModule\" to trace loading)\n"
      "  --trace-loading  trace module loading on standard error (\"loadModule\" on)\n"
      "  -h, --help       show this help\n"
      "\n"
      "Commands:\n",
      out);
  for (krinfo::Command const* command = krinfo::kCommands; command->name; ++command) {
    std::fprintf(out, "  %-14s %s\n", command->name, command->summary);
  }
  std::fputs(
      "\n"
      "Run 'krinfo COMMAND --help' for a command's arguments.\n"
      "Exit status: 0 success, 1 a negative answer, 2 bad arguments or input.\n",
      out);
}

// Reads the --config file; returns kExitOk or the usage error's status.
int ReadConfig(KrIniConfig& config, char const* path) {
  int result = config.ReadFile(path);
  if (result == 0) return krinfo::kExitOk;
  char const* text = KrError(nullptr, nullptr, result, 1);
  if (config.ErrorLine() > 0) {
    return krinfo::UsageError(nullptr, "configuration '%s', line %d: %d %s", path,
                              config.ErrorLine(), result, text);
  }
  return krinfo::UsageError(nullptr, "configuration '%s': %d %s", path, result, text);
}

}  // namespace

int main(int argc, char** argv) {
  using namespace krinfo;
  // A write beyond the file-size limit is an error to report (and to clean
  // up after), not a reason to die.
  std::signal(SIGXFSZ, SIG_IGN);
  // The configuration the global options build; installed only when one of
  // them is given, so that without them the library sees no configuration.
  KrIniConfig globalConfig;
  int next = 1;
  bool configured = false;
  bool traceLoading = false;
  for (; next < argc; ++next) {
    char const* arg = argv[next];
    if (std::strcmp(arg, "--config") == 0) {
      if (next + 1 >= argc) return UsageError(nullptr, "option --config needs a file");
      if (int status = ReadConfig(globalConfig, argv[++next])) return status;
      configured = true;
    } else if (std::strncmp(arg, "--config=", 9) == 0) {
      if (int status = ReadConfig(globalConfig, arg + 9)) return status;
      configured = true;
    } else if (std::strcmp(arg, "--trace-loading") == 0) {
      traceLoading = true;
    } else {
      break;
    }
  }
  // After the file, which replaces every setting it is read over.
  if (traceLoading) globalConfig.Set("debug", "loadModule", "1");
  if (configured || traceLoading) DefaultConfig(&globalConfig);

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
