// krinfo's subcommands and the helpers they share.
#ifndef KR_TOOLS_KRINFO_COMMAND_H_
#define KR_TOOLS_KRINFO_COMMAND_H_

#include <cstdio>

namespace krinfo {

// Exit statuses of every subcommand.
constexpr int kExitOk = 0;
constexpr int kExitNegative = 1;  // ran, answer is "no" / "different" / "failed"
constexpr int kExitUsage = 2;     // bad arguments or unusable input

struct Command {
  char const* name;
  char const* synopsis;  // arguments, shown in the usage line
  char const* summary;   // one line for the command list
  // Runs with the arguments after the command name (argv[0] is the first).
  int (*run)(int argc, char** argv);
  // Writes the command's help text.
  void (*help)(std::FILE* out);
};

// All subcommands, ending with an entry whose name is null.
extern Command const kCommands[];

Command const* FindCommand(char const* name);

// Prints "krinfo <command>: <message>" and the help hint to standard error;
// returns kExitUsage.
int UsageError(char const* command, char const* format, ...)
    __attribute__((format(printf, 2, 3)));

// True for "-h" and "--help".
bool IsHelpOption(char const* arg);

// Parses a whole argument as a decimal 32-bit integer with optional sign.
bool ParseInt32(char const* text, int* value);

// Parses a whole argument as an unsigned decimal (or 0x-hex) count that fits
// in 32 bits.
bool ParseUnsigned32(char const* text, unsigned long* value);

}  // namespace krinfo

#endif  // KR_TOOLS_KRINFO_COMMAND_H_
