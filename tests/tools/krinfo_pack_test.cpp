// krinfo pack and unpack on real files and standard streams.
#include <kr/memory.h>

#include <gtest/gtest.h>

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
