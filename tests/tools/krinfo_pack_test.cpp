// krinfo pack and unpack on real files and standard streams.
#include <kr/memory.h>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstdio>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "child_process.h"
#include "temp_dir.h"

namespace {

using kr_test::ChildResult;
using kr_test::RunProgram;

// 1 KiB records of a random prefix and zero padding.
std::string PaddedRecords(int records) {
  std::mt19937 random(10);
  std::string bytes;
  for (int r = 0; r < records; ++r) {
    std::string record(1024, '\0');
    for (size_t i = 0, n = random() % 300; i < n; ++i) record[i] = static_cast<char>(random());
    bytes += record;
  }
  return bytes;
}

std::string Summary(std::string const& name, size_t from, size_t to, double percent) {
  char text[64];
  std::snprintf(text, sizeof text, ": %zu -> %zu bytes (%.1f%%)\n", from, to, percent);
  return name + text;
}

TEST(KrinfoPack, PacksAndUnpacks) {
  kr_test::TempDir dir;
  std::string plain = PaddedRecords(64);
  std::vector<unsigned char> library(plain.size());
  int size = static_cast<int>(plain.size());
  ASSERT_EQ(DScomp(reinterpret_cast<unsigned char*>(&plain[0]), size, library.data(), &size), 0);
  std::string const packed(library.begin(), library.begin() + size);
  double const percent = 100.0 * packed.size() / plain.size();

  std::string const input = dir.Make("records", plain), output = dir.Name("records.pack");
  ChildResult pack = RunProgram({KRINFO_PATH, "pack", input, "-o", output});
  EXPECT_EQ(pack.exitCode, 0);
  EXPECT_EQ(pack.out, Summary(input, plain.size(), packed.size(), percent));
  EXPECT_TRUE(kr_test::ReadFile(output) == packed);
  ChildResult unpack = RunProgram({KRINFO_PATH, "unpack", output, "-o", dir.Name("back")});
  EXPECT_EQ(unpack.out, Summary(output, packed.size(), plain.size(), percent));
  EXPECT_TRUE(kr_test::ReadFile(dir.Name("back")) == plain);

  // Standard streams: the data go out, the summary to standard error.
  pack = RunProgram({KRINFO_PATH, "pack", "-", "-o", "-"}, plain);
  EXPECT_TRUE(pack.out == packed);
  EXPECT_EQ(pack.err, Summary("-", plain.size(), packed.size(), percent));
  EXPECT_TRUE(RunProgram({KRINFO_PATH, "unpack", "-", "-o", "-"}, packed).out == plain);
}

TEST(KrinfoPack, RecordsThatDoNotShrinkOrAreNotPacked) {
  kr_test::TempDir dir;
  std::string const out = dir.Name("out");
  // AAAB packs to 4 bytes: not smaller than the file; AAAAB packs to 4 of 5.
  for (std::string const& content : {std::string("AAAB"), std::string("AB"), std::string()}) {
    ChildResult result = RunProgram({KRINFO_PATH, "pack", "-", "-o", out}, content);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "-: " + std::to_string(content.size()) + " bytes, not compressible\n");
  }
  EXPECT_EQ(RunProgram({KRINFO_PATH, "pack", "-"}, "AAAAB").out, "-: 5 -> 4 bytes (80.0%)\n");
  // A literal item claiming 5 bytes with 3 present; a lone count byte.
  for (std::string const& bad : {std::string("\0\5abc", 5), std::string("\3", 1)}) {
    ChildResult result = RunProgram({KRINFO_PATH, "unpack", "-", "-o", out}, bad);
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_NE(result.err.find("krinfo unpack: '-' is not a packed record"), std::string::npos);
  }
  EXPECT_FALSE(std::ifstream(out).good());  // never written
  EXPECT_EQ(RunProgram({KRINFO_PATH, "unpack", "-"}, std::string(4, '\0')).out,
            "-: 4 -> 0 bytes\n");
}

// Runs krinfo with the file-size limit set to `limit` bytes (inherited by the
// child), then restores the limit.
ChildResult RunLimited(rlim_t limit, std::vector<std::string> const& argv) {
  rlimit saved;
  getrlimit(RLIMIT_FSIZE, &saved);
  rlimit lowered = saved;
  lowered.rlim_cur = limit;
  setrlimit(RLIMIT_FSIZE, &lowered);
  ChildResult result = RunProgram(argv);
  setrlimit(RLIMIT_FSIZE, &saved);
  return result;
}

// An output that cannot be written whole (here: beyond the file-size limit)
// leaves the file it was to replace as it was, and no partial file beside it.
// An empty record is written as an empty file.
TEST(KrinfoPack, FailedWritesKeepTheOldFile) {
  kr_test::TempDir dir;
  std::string const plain = PaddedRecords(2048), packedName = dir.Name("packed");
  ASSERT_EQ(RunProgram({KRINFO_PATH, "pack", dir.Make("plain", plain), "-o", packedName}).exitCode, 0);
  std::string const out = dir.Make("out", "old content");
  for (std::string const command : {"pack", "unpack"}) {
    std::string const input = command == std::string("pack") ? dir.Name("plain") : packedName;
    ChildResult result = RunLimited(100 << 10, {KRINFO_PATH, command, input, "-o", out});
    EXPECT_EQ(result.exitCode, 2) << command;
    EXPECT_NE(result.err.find("cannot write '" + out + "'"), std::string::npos) << result.err;
    EXPECT_TRUE(kr_test::ReadFile(out) == "old content") << command;
  }
  EXPECT_EQ(system(("test $(ls -A '" + dir.path() + "' | wc -l) -eq 3").c_str()), 0)
      << "a temporary file was left behind";
  for (std::string const& empty : {std::string(), std::string("\0\0", 2)}) {
    ChildResult result = RunProgram({KRINFO_PATH, "unpack", "-", "-o", out}, empty);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(kr_test::ReadFile(out), "");
  }
}

TEST(KrinfoPack, BadArguments) {
  std::vector<std::vector<std::string>> const cases = {
      {"no file given"}, {"unexpected argument 'b'", "a", "b"},
      {"option -o needs a file name", "a", "-o"}, {"unknown option '-x'", "-x", "a"},
      {"cannot open '/nonexistent'", "/nonexistent"}};
  for (std::string const command : {"pack", "unpack"}) {
    for (auto const& c : cases) {
      std::vector<std::string> argv = {KRINFO_PATH, command};
      argv.insert(argv.end(), c.begin() + 1, c.end());
      ChildResult result = RunProgram(argv);
      EXPECT_EQ(result.exitCode, 2) << command << ": " << c[0];
      EXPECT_NE(result.err.find("krinfo " + command + ": " + c[0]), std::string::npos)
          << result.err;
    }
  }
}

}  // namespace
