// The table of krinfo's subcommands, in the order `krinfo --help` lists them.
#include "command.h"

namespace krinfo {

int RunCrc32(int argc, char** argv);
void HelpCrc32(std::FILE* out);
int RunError(int argc, char** argv);
void HelpError(std::FILE* out);
int RunNow(int argc, char** argv);
void HelpNow(std::FILE* out);
int RunPack(int argc, char** argv);
void HelpPack(std::FILE* out);
int RunUnpack(int argc, char** argv);
void HelpUnpack(std::FILE* out);
int RunVersion(int argc, char** argv);
void HelpVersion(std::FILE* out);

Command const kCommands[] = {
    {"crc32", "FILE...", "print the CRC-32 of files", RunCrc32, HelpCrc32},
    {"error", "CODE... [--context TEXT]", "print the text of result codes", RunError, HelpError},
    {"now", "", "print local and UTC date and time and the time zone", RunNow, HelpNow},
    {"pack", "FILE [-o OUT]", "compress a file as one run-length record", RunPack, HelpPack},
    {"unpack", "FILE [-o OUT]", "expand a record made by pack", RunUnpack, HelpUnpack},
    {"version", "", "print the version of krinfo", RunVersion, HelpVersion},
    {nullptr, nullptr, nullptr, nullptr, nullptr},
};

}  // namespace krinfo
