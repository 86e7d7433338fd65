// krinfo crc32: the CRC-32 of files, as the common crc32 tool prints it.
#include <cstring>
#include <string>
#include <vector>

#include <kr/memory.h>

#include "command.h"
#include "file_io.h"

namespace krinfo {

namespace {

constexpr std::size_t kChunkSize = 1 << 20;

// The checksum of everything `file` holds, read in chunks and chained.
bool ChecksumOf(std::FILE* file, unsigned long* checksum) {
  std::vector<unsigned char> chunk(kChunkSize);
  *checksum = 0;
  std::size_t got = 0;
  while ((got = std::fread(chunk.data(), 1, chunk.size(), file)) > 0) {
    *checksum = CalcCheckSum(chunk.data(), got, checksum);
  }
  return !std::ferror(file);
}

}  // namespace

void HelpCrc32(std::FILE* out) {
  std::fputs(
      "Usage: krinfo crc32 FILE...\n"
      "\n"
      "Prints the CRC-32 of each FILE (the checksum zlib and the common crc32 tool\n"
      "compute) as eight lower-case hexadecimal digits, followed by a tab and the\n"
      "file name when more than one FILE is given. '-' reads standard input.\n"
      "\n"
      "  --          the arguments that follow are files, even if they start with '-'\n"
      "  -h, --help  show this help\n"
      "\n"
      "Exit status: 0, or 2 when no FILE is given or a FILE cannot be read (the\n"
      "others are still checked).\n",
      out);
}

int RunCrc32(int argc, char** argv) {
  std::vector<char const*> files;
  bool optionsDone = false;
  for (int i = 0; i < argc; ++i) {
    char const* arg = argv[i];
    if (!optionsDone && IsHelpOption(arg)) {
      HelpCrc32(stdout);
      return kExitOk;
    } else if (!optionsDone && std::strcmp(arg, "--") == 0) {
      optionsDone = true;
    } else if (!optionsDone && arg[0] == '-' && arg[1] != '\0') {
      return UsageError("crc32", "unknown option '%s'", arg);
    } else {
      files.push_back(arg);
    }
  }
  if (files.empty()) return UsageError("crc32", "no file given");

  int status = kExitOk;
  for (char const* name : files) {
    std::string error;
    std::FILE* file = OpenInput(name, &error);
    unsigned long checksum = 0;
    if (file && !ChecksumOf(file, &checksum)) error = std::string("cannot read '") + name + "'";
    CloseInput(file);
    if (!error.empty()) {
      std::fflush(stdout);
      status = UsageError("crc32", "%s", error.c_str());
      continue;
    }
    std::printf("%08lx", checksum);
    if (files.size() > 1) std::printf("\t%s", name);
    std::printf("\n");
  }
  return status;
}

}  // namespace krinfo
