// The table of krinfo's subcommands, in the order `krinfo --help` lists them.
#include "command.h"

namespace krinfo {

int RunError(int argc, char** argv);
void HelpError(std::FILE* out);
int RunVersion(int argc, char** argv);
void HelpVersion(std::FILE* out);

Command const kCommands[] = {
    {"error", "CODE... [--context TEXT]", "print the text of result codes", RunError, HelpError},
    {"version", "", "print the version of krinfo", RunVersion, HelpVersion},
    {nullptr, nullptr, nullptr, nullptr, nullptr},
};

}  // namespace krinfo
