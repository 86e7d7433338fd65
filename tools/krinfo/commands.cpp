// The table of krinfo's subcommands, in the order `krinfo --help` lists them.
#include "command.h"

namespace krinfo {

int RunCrc32(int argc, char** argv);
void HelpCrc32(std::FILE* out);
int RunDiff(int argc, char** argv);
void HelpDiff(std::FILE* out);
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
int RunSelf(int argc, char** argv);
void HelpSelf(std::FILE* out);
int RunDescribe(int argc, char** argv);
void HelpDescribe(std::FILE* out);
int RunCheckVersion(int argc, char** argv);
void HelpCheckVersion(std::FILE* out);

Command const kCommands[] = {
    {"crc32", "FILE...", "print the CRC-32 of files", RunCrc32, HelpCrc32},
    {"diff", "--record-size N [--text] FILE_A FILE_B",
     "print the records only one of two sorted record files holds", RunDiff, HelpDiff},
    {"error", "CODE... [--context TEXT]", "print the text of result codes", RunError, HelpError},
    {"now", "", "print local and UTC date and time and the time zone", RunNow, HelpNow},
    {"pack", "FILE [-o OUT]", "compress a file as one run-length record", RunPack, HelpPack},
    {"unpack", "FILE [-o OUT]", "expand a record made by pack", RunUnpack, HelpUnpack},
    {"version", "", "print the version of krinfo", RunVersion, HelpVersion},
    {"self", "", "describe the kr95Nbs library itself", RunSelf, HelpSelf},
    {"describe", "MODULE...", "load modules and print their self-description", RunDescribe,
     HelpDescribe},
    {"check-version", "VERSION [--flags N]", "apply the version rule to a module version",
     RunCheckVersion, HelpCheckVersion},
    {nullptr, nullptr, nullptr, nullptr, nullptr},
};

}  // namespace krinfo
