// The table of krinfo's subcommands, in the order `krinfo --help` lists them.
#include "command.h"

namespace krinfo {

int RunError(int argc, char** argv);
void HelpError(std::FILE* out);
int RunNow(int argc, char** argv);
void HelpNow(std::FILE* out);
int RunVersion(int argc, char** argv);
void HelpVersion(std::FILE* out);

Command const kCommands[] = {
    {"error", "CODE... [--context TEXT]", "print the text of result codes", RunError, HelpError},
    {"now", "", "print local and UTC date and time and the time zone", RunNow, HelpNow},
    {"version", "", "print the version of krinfo", RunVersion, HelpVersion},
    {nullptr, nullptr, nullptr, nullptr, nullptr},
};

}  // namespace krinfo
