// krinfo crc32 on real files and standard input, against zlib's crc32.
#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "child_process.h"
#include "temp_dir.h"

namespace {

using kr_test::RunProgram;

std::string ZlibCrcText(std::string const& bytes) {
  char text[16];
  std::snprintf(text, sizeof text, "%08lx",
                crc32(0, reinterpret_cast<Bytef const*>(bytes.data()),
                      static_cast<uInt>(bytes.size())));
  return text;
}

// The tool and the library themselves (real files of a few hundred KiB), a
// file larger than the tool's 1 MiB chunks and an empty one; then standard
// input.
TEST(KrinfoCrc32, AgreesWithZlib) {
  kr_test::TempDir dir;
  std::mt19937 random(9);
  std::string big(3 * 1024 * 1024 + 5, '\0');
  for (char& c : big) c = static_cast<char>(random());
  std::vector<std::string> const files = {KRINFO_PATH, KR_LIBRARY_PATH, dir.Make("big", big),
                                          dir.Make("empty", "")};
  std::vector<std::string> argv = {KRINFO_PATH, "crc32"};
  argv.insert(argv.end(), files.begin(), files.end());
  std::string expected;
  for (std::string const& file : files) {
    expected += ZlibCrcText(kr_test::ReadFile(file)) + "\t" + file + "\n";
  }
  EXPECT_EQ(RunProgram(argv).out, expected);
  kr_test::ChildResult one = RunProgram({KRINFO_PATH, "crc32", dir.Make("nine", "123456789")});
  EXPECT_EQ(one.exitCode, 0);
  EXPECT_EQ(one.out, "cbf43926\n");  // a single file: no name
  EXPECT_EQ(RunProgram({KRINFO_PATH, "crc32", "-"}, big).out, ZlibCrcText(big) + "\n");
  EXPECT_EQ(RunProgram({KRINFO_PATH, "crc32", "--", "-"}, "123456789").out, "cbf43926\n");
}

TEST(KrinfoCrc32, UnreadableFilesAndBadArguments) {
  kr_test::TempDir dir;
  std::string const nine = dir.Make("nine", "123456789");
  kr_test::ChildResult result =
      RunProgram({KRINFO_PATH, "crc32", dir.Name("missing"), nine, dir.path()});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.out, "cbf43926\t" + nine + "\n");  // the readable one is still checked
  EXPECT_NE(result.err.find("krinfo crc32: cannot open '" + dir.Name("missing") +
                            "': No such file or directory\nTry 'krinfo crc32 --help'."),
            std::string::npos);
  EXPECT_NE(result.err.find("cannot read '" + dir.path() + "'"), std::string::npos);
  EXPECT_NE(RunProgram({KRINFO_PATH, "crc32"}).err.find("krinfo crc32: no file given"),
            std::string::npos);
  EXPECT_EQ(RunProgram({KRINFO_PATH, "crc32", "-x", nine}).exitCode, 2);
}

// A sparse file of 2 GiB and 1 MiB (zeros but for its last byte): crc32
// reads it all; pack and unpack refuse it at once as too large for a record.
TEST(KrinfoLimits, FilesBeyondTwoGiB) {
  kr_test::TempDir dir;
  std::string const name = dir.Name("sparse");
  long long const size = (2LL << 30) + (1 << 20);
  {
    std::FILE* file = std::fopen(name.c_str(), "wb");
    ASSERT_TRUE(file && fseeko(file, size - 1, SEEK_SET) == 0 && std::fputc(1, file) == 1);
    std::fclose(file);
  }
  std::vector<unsigned char> zeros(1 << 20, 0);
  uLong const megabyte = crc32(0, zeros.data(), static_cast<uInt>(zeros.size()));
  uLong crc = 0;
  for (int i = 0; i < 2048; ++i) crc = crc32_combine(crc, megabyte, 1 << 20);
  zeros.back() = 1;
  crc = crc32(crc, zeros.data(), static_cast<uInt>(zeros.size()));
  char text[16];
  std::snprintf(text, sizeof text, "%08lx", crc);
  kr_test::ChildResult result = RunProgram({KRINFO_PATH, "crc32", name});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.out, std::string(text) + "\n");  // one file: the checksum alone
  for (char const* command : {"pack", "unpack"}) {
    result = RunProgram({KRINFO_PATH, command, name});
    EXPECT_EQ(result.exitCode, 2) << command;
    EXPECT_NE(result.err.find("is too large (more than 2147483647 bytes)"), std::string::npos)
        << result.err;
  }
}

}  // namespace
