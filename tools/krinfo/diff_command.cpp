// krinfo diff: the records only one of two sorted record files holds, found
// by walking both with memory-file containers and the container differ.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include <kr/containers.h>
#include <kr/diag.h>
#include <kr/memory.h>

#include "command.h"
#include "file_io.h"

namespace krinfo {

namespace {

constexpr char kCommand[] = "diff";
constexpr unsigned long kMaxRecordSize = 1ul << 20;
constexpr std::size_t kChunkSize = 1 << 20;
// Pairwise comparisons the differ may spend on mismatches, per record of the
// larger file; sorted files fall back in step after each difference anyway.
constexpr double kMismatchRatio = 1.0;

struct Arguments {
  unsigned long recordSize = 0;  // 0: not given
  bool text = false;
  std::vector<char const*> files;
};

// Parses the arguments; returns kExitOk to go on, or the status to end with.
int ParseArguments(int argc, char** argv, Arguments* args, bool* done) {
  *done = false;
  bool optionsDone = false;
  for (int i = 0; i < argc; ++i) {
    char const* arg = argv[i];
    if (!optionsDone && IsHelpOption(arg)) {
      *done = true;
      return kExitOk;
    } else if (!optionsDone && std::strcmp(arg, "--") == 0) {
      optionsDone = true;
    } else if (!optionsDone && std::strcmp(arg, "--text") == 0) {
      args->text = true;
    } else if (!optionsDone && std::strcmp(arg, "--record-size") == 0) {
      if (i + 1 >= argc) return UsageError(kCommand, "option --record-size needs a size");
      char const* size = argv[++i];
      if (!ParseUnsigned32(size, &args->recordSize) || args->recordSize == 0 ||
          args->recordSize > kMaxRecordSize) {
        return UsageError(kCommand, "bad record size '%s' (1 to %lu bytes)", size,
                          kMaxRecordSize);
      }
    } else if (!optionsDone && arg[0] == '-' && arg[1] != '\0') {
      return UsageError(kCommand, "unknown option '%s'", arg);
    } else if (args->files.size() == 2) {
      return UsageError(kCommand, "unexpected argument '%s'", arg);
    } else {
      args->files.push_back(arg);
    }
  }
  if (args->recordSize == 0) return UsageError(kCommand, "no --record-size given");
  if (args->files.size() != 2) return UsageError(kCommand, "two files needed");
  return kExitOk;
}

// While installed, a failed allocation only makes the call fail (the
// library's default handler would end the process): a file too large for
// memory is bad input, not a crash.
class QuietLowMemory {
 public:
  QuietLowMemory() : previous_(mmKrSetHandler(Ignore)) {}
  ~QuietLowMemory() { mmKrSetHandler(previous_); }

 private:
  static int Ignore(unsigned long) { return 0; }
  KrMemoryHandler previous_;
};

// Appends everything `name` holds to `file`.
bool ReadInto(char const* name, MemFile* file, std::string* error) {
  std::FILE* input = OpenInput(name, error);
  if (!input) return false;
  std::vector<unsigned char> chunk(kChunkSize);
  bool ok = true;
  std::size_t got = 0;
  while (ok && (got = std::fread(chunk.data(), 1, chunk.size(), input)) > 0) {
    long const length = static_cast<long>(got);
    if (file->Put(chunk.data(), file->logicalSize, length) != length) {
      *error = std::string("'") + name + "' does not fit in memory";
      ok = false;
    }
  }
  if (ok && std::ferror(input)) {
    *error = std::string("cannot read '") + name + "'";
    ok = false;
  }
  CloseInput(input);
  return ok;
}

// Reads a record file and checks that it is a whole number of records in
// ascending byte order.
bool LoadRecords(char const* name, unsigned long recordSize, MemFile* file,
                 std::string* error) {
  if (!ReadInto(name, file, error)) return false;
  unsigned long const size = static_cast<unsigned long>(file->logicalSize);
  if (size % recordSize != 0) {
    *error = std::string("'") + name + "' holds " + std::to_string(size) +
             " bytes, not a whole number of " + std::to_string(recordSize) + "-byte records";
    return false;
  }
  for (unsigned long at = recordSize; at < size; at += recordSize) {
    if (std::memcmp(file->buffer + at - recordSize, file->buffer + at, recordSize) > 0) {
      unsigned long const record = at / recordSize + 1;
      *error = std::string("'") + name + "' is not sorted: record " + std::to_string(record) +
               " is smaller than record " + std::to_string(record - 1);
      return false;
    }
  }
  return true;
}

// The records a recording container wrote, in ascending byte order.
std::vector<unsigned char const*> SortedRecords(MemFile const& file, unsigned long recordSize) {
  std::vector<unsigned char const*> records;
  for (long at = 0; at < file.logicalSize; at += static_cast<long>(recordSize)) {
    records.push_back(file.buffer + at);
  }
  std::sort(records.begin(), records.end(), [recordSize](unsigned char const* a,
                                                         unsigned char const* b) {
    return std::memcmp(a, b, recordSize) < 0;
  });
  return records;
}

// "< " or "> ", then the record in hexadecimal, or as text: printable ASCII
// as it is, a backslash doubled, other bytes as \xHH, and a newline that ends
// the record left out (so that records that are lines print as lines).
void PrintRecord(char side, unsigned char const* record, unsigned long size, bool text) {
  std::printf("%c ", side);
  if (text && size > 0 && record[size - 1] == '\n') --size;
  for (unsigned long i = 0; i < size; ++i) {
    unsigned char const c = record[i];
    if (!text) {
      std::printf("%02x", c);
    } else if (c == '\\') {
      std::fputs("\\\\", stdout);
    } else if (c >= 0x20 && c < 0x7F) {
      std::putchar(c);
    } else {
      std::printf("\\x%02x", c);
    }
  }
  std::putchar('\n');
}

// Both lists merged in ascending order, each record marked with its side.
void PrintDifferences(MemFile const& onlyA, MemFile const& onlyB, unsigned long recordSize,
                      bool text) {
  std::vector<unsigned char const*> const a = SortedRecords(onlyA, recordSize);
  std::vector<unsigned char const*> const b = SortedRecords(onlyB, recordSize);
  std::size_t i = 0;
  std::size_t j = 0;
  while (i < a.size() || j < b.size()) {
    if (j == b.size() || (i < a.size() && std::memcmp(a[i], b[j], recordSize) <= 0)) {
      PrintRecord('<', a[i++], recordSize, text);
    } else {
      PrintRecord('>', b[j++], recordSize, text);
    }
  }
}

}  // namespace

void HelpDiff(std::FILE* out) {
  std::fputs(
      "Usage: krinfo diff --record-size N [--text] FILE_A FILE_B\n"
      "\n"
      "Compares two files of N-byte records, each in ascending byte order (equal\n"
      "records may repeat), as collections of records: a record that FILE_A holds\n"
      "more often than FILE_B is printed after '< ' (once per surplus copy), one\n"
      "that FILE_B holds more often after '> ', all in ascending order. Records\n"
      "print in hexadecimal; with --text as text, printable ASCII as it is, '\\' as\n"
      "'\\\\', other bytes as \\xHH, and a newline that ends a record left out.\n"
      "'-' reads standard input.\n"
      "\n"
      "  --record-size N  the record size in bytes, 1 to 1048576 (0x-hex accepted)\n"
      "  --text           print records as text\n"
      "  --               the arguments that follow are files\n"
      "  -h, --help       show this help\n"
      "\n"
      "Exit status: 0 when the files hold the same records, 1 when they differ, 2\n"
      "on bad arguments or input: a file that cannot be read, whose size is not a\n"
      "multiple of N, or whose records are not in ascending order.\n",
      out);
}

int RunDiff(int argc, char** argv) {
  Arguments args;
  bool done = false;
  int status = ParseArguments(argc, argv, &args, &done);
  if (done) HelpDiff(stdout);
  if (done || status != kExitOk) return status;

  QuietLowMemory quiet;
  MemFile fileA(0, 0);
  MemFile fileB(0, 0);
  std::string error;
  if (!LoadRecords(args.files[0], args.recordSize, &fileA, &error) ||
      !LoadRecords(args.files[1], args.recordSize, &fileB, &error)) {
    return UsageError(kCommand, "%s", error.c_str());
  }

  // The containers take their records from the files' positions, both 0.
  KrMemFileContainer a(&fileA, args.recordSize, fileA.logicalSize / args.recordSize);
  KrMemFileContainer b(&fileB, args.recordSize, fileB.logicalSize / args.recordSize);
  KrMemFileIterator walkA(&a);
  KrMemFileIterator walkB(&b);
  KrDiffList list(args.recordSize, nullptr);  // bytewise, as the iterators compare
  KrDiffListIterator listIterator(&list);
  MemFile onlyA(0, 0);
  MemFile onlyB(0, 0);
  KrRecordingContainer outA(&onlyA, args.recordSize);
  KrRecordingContainer outB(&onlyB, args.recordSize);
  KrVContainerDiffer differ;
  differ.diffList = &listIterator;
  int const result = differ.Diff(&walkA, &walkB, &outA, &outB, kMismatchRatio);
  if (result < 0) {
    char text[kKrErrorBufferSize];
    return UsageError(kCommand, "comparing failed: %s",
                      KrError(text, nullptr, result, 0));
  }
  PrintDifferences(onlyA, onlyB, args.recordSize, args.text);
  return result == 0 ? kExitOk : kExitNegative;
}

}  // namespace krinfo
