// krinfo pack and unpack: a file as one record of the run-length format.
#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include <kr/memory.h>

#include "command.h"
#include "file_io.h"

namespace krinfo {

namespace {

// Record lengths are ints.
constexpr std::size_t kMaxRecord = INT_MAX;

struct Arguments {
  char const* input = nullptr;
  char const* output = nullptr;  // null: write nothing
};

// Parses "FILE [-o OUT]"; returns kExitOk to go on, or the status to end with.
int ParseArguments(char const* command, void (*help)(std::FILE*), int argc, char** argv,
                   Arguments* args, bool* done) {
  *done = false;
  bool optionsDone = false;
  for (int i = 0; i < argc; ++i) {
    char const* arg = argv[i];
    if (!optionsDone && IsHelpOption(arg)) {
      help(stdout);
      *done = true;
      return kExitOk;
    } else if (!optionsDone && std::strcmp(arg, "--") == 0) {
      optionsDone = true;
    } else if (!optionsDone && std::strcmp(arg, "-o") == 0) {
      if (i + 1 >= argc) return UsageError(command, "option -o needs a file name");
      args->output = argv[++i];
    } else if (!optionsDone && arg[0] == '-' && arg[1] != '\0') {
      return UsageError(command, "unknown option '%s'", arg);
    } else if (args->input) {
      return UsageError(command, "unexpected argument '%s'", arg);
    } else {
      args->input = arg;
    }
  }
  if (!args->input) return UsageError(command, "no file given");
  return kExitOk;
}

// The summary goes to standard error when the data go to standard output.
std::FILE* SummaryStream(Arguments const& args) {
  return args.output && std::strcmp(args.output, "-") == 0 ? stderr : stdout;
}

// "NAME: 65536 -> 1184 bytes (1.8%)", the percentage being the packed size
// against the plain one (left out when the plain record is empty).
void PrintSummary(Arguments const& args, std::size_t from, std::size_t to, std::size_t packed,
                  std::size_t plain) {
  std::FILE* out = SummaryStream(args);
  std::fprintf(out, "%s: %zu -> %zu bytes", args.input, from, to);
  if (plain > 0) std::fprintf(out, " (%.1f%%)", 100.0 * static_cast<double>(packed) / plain);
  std::fputc('\n', out);
}

}  // namespace

void HelpPack(std::FILE* out) {
  std::fputs(
      "Usage: krinfo pack FILE [-o OUT]\n"
      "\n"
      "Compresses FILE as one record of the library's run-length format (DScomp),\n"
      "offering the file's own size as the room for the result, and prints the\n"
      "sizes and the packed size as a percentage of the plain one, e.g.\n"
      "\n"
      "  record.bin: 65536 -> 1184 bytes (1.8%)\n"
      "\n"
      "A file whose packed form would not be strictly smaller is reported as not\n"
      "compressible. '-' reads standard input.\n"
      "\n"
      "  -o OUT      write the packed record to OUT ('-': standard output, the\n"
      "              summary then goes to standard error); without it nothing is\n"
      "              written\n"
      "  -h, --help  show this help\n"
      "\n"
      "Exit status: 0 packed, 1 not compressible, 2 bad arguments or a file that\n"
      "cannot be read or written.\n",
      out);
}

void HelpUnpack(std::FILE* out) {
  std::fputs(
      "Usage: krinfo unpack FILE [-o OUT]\n"
      "\n"
      "Expands FILE, a record packed by 'krinfo pack' (DSdecomp), after checking\n"
      "that every item of it lies wholly inside the file (DScheck), and prints the\n"
      "sizes and the packed size as a percentage of the plain one, e.g.\n"
      "\n"
      "  record.pack: 1184 -> 65536 bytes (1.8%)\n"
      "\n"
      "'-' reads standard input.\n"
      "\n"
      "  -o OUT      write the expanded record to OUT ('-': standard output, the\n"
      "              summary then goes to standard error); without it nothing is\n"
      "              written\n"
      "  -h, --help  show this help\n"
      "\n"
      "Exit status: 0, or 2 for bad arguments, a file that is not a packed record\n"
      "or a file that cannot be read or written.\n",
      out);
}

int RunPack(int argc, char** argv) {
  Arguments args;
  bool done = false;
  int const status = ParseArguments("pack", HelpPack, argc, argv, &args, &done);
  if (status != kExitOk || done) return status;

  std::vector<unsigned char> plain;
  std::string error;
  if (!ReadWholeFile(args.input, kMaxRecord, &plain, &error)) {
    return UsageError("pack", "%s", error.c_str());
  }
  int const size = static_cast<int>(plain.size());
  // A spare byte: the compressor reads the first byte even of an empty record.
  std::vector<unsigned char> packed;
  if (!ResizeBuffer(&plain, plain.size() + 1) ||
      !ResizeBuffer(&packed, static_cast<std::size_t>(size))) {
    return UsageError("pack", "'%s' does not fit in memory", args.input);
  }
  int packedSize = size;
  if (DScomp(plain.data(), size, packed.data(), &packedSize) != 0) {
    std::fprintf(SummaryStream(args), "%s: %d bytes, not compressible\n", args.input, size);
    return kExitNegative;
  }
  if (args.output &&
      !WriteWholeFile(args.output, packed.data(), static_cast<std::size_t>(packedSize), &error)) {
    return UsageError("pack", "%s", error.c_str());
  }
  std::size_t const plainSize = static_cast<std::size_t>(size);
  std::size_t const packedBytes = static_cast<std::size_t>(packedSize);
  PrintSummary(args, plainSize, packedBytes, packedBytes, plainSize);
  return kExitOk;
}

int RunUnpack(int argc, char** argv) {
  Arguments args;
  bool done = false;
  int const status = ParseArguments("unpack", HelpUnpack, argc, argv, &args, &done);
  if (status != kExitOk || done) return status;

  std::vector<unsigned char> packed;
  std::string error;
  if (!ReadWholeFile(args.input, kMaxRecord, &packed, &error)) {
    return UsageError("unpack", "%s", error.c_str());
  }
  int const size = static_cast<int>(packed.size());
  int const expected = DScheck(packed.data(), size);
  if (expected < 0) {
    return UsageError("unpack", "'%s' is not a packed record (an item runs past its end, or it "
                      "expands beyond 2147483647 bytes)", args.input);
  }
  std::vector<unsigned char> plain;
  if (!ResizeBuffer(&plain, static_cast<std::size_t>(expected))) {
    return UsageError("unpack", "'%s' expands to %d bytes, more than fit in memory", args.input,
                      expected);
  }
  // Nothing to expand: DSdecomp would answer 2 for an input of empty items.
  if (expected > 0) {
    int produced = expected;
    if (DSdecomp(packed.data(), size, plain.data(), &produced) != 0 || produced != expected) {
      return UsageError("unpack", "'%s' expanded to %d bytes instead of %d", args.input, produced,
                        expected);
    }
  }
  if (args.output && !WriteWholeFile(args.output, plain.data(), plain.size(), &error)) {
    return UsageError("unpack", "%s", error.c_str());
  }
  PrintSummary(args, packed.size(), plain.size(), packed.size(), plain.size());
  return kExitOk;
}

}  // namespace krinfo
