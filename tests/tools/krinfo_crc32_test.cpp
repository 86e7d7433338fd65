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

using kr_test::ChildResult;

std::string ZlibCrcText(std::string const& bytes) {
  unsigned long const crc =
      crc32(0, reinterpret_cast<Bytef const*>(bytes.data()), static_cast<uInt>(bytes.size()));
  char text[16];
  std::snprintf(text, sizeof text, "%08lx", crc);
  return text;
}

class KrinfoCrc32 : public ::testing::Test {
 protected:
  std::string Make(std::string const& name, std::string const& bytes) {
    return dir_.Make(name, bytes);
  }
  kr_test::TempDir dir_;
};

TEST_F(KrinfoCrc32, OneFileOrStandardInput) {
  ChildResult one = kr_test::RunProgram({KRINFO_PATH, "crc32", Make("digits", "123456789")});
  EXPECT_EQ(one.exitCode, 0);
  EXPECT_EQ(one.out, "cbf43926\n");
  EXPECT_EQ(one.err, "");
  EXPECT_EQ(kr_test::RunProgram({KRINFO_PATH, "crc32", "-"}, "123456789").out, "cbf43926\n");
}

// Several files, among them the tool and the library themselves (real files
// of a few hundred KiB) and one larger than the tool's 1 MiB chunks.
TEST_F(KrinfoCrc32, SeveralFilesAgreeWithZlib) {
  std::mt19937 random(9);
  std::string big(3 * 1024 * 1024 + 5, '\0');
  for (char& c : big) c = static_cast<char>(random());
  std::vector<std::string> const paths = {KRINFO_PATH, KR_LIBRARY_PATH, Make("big", big),
                                          Make("empty", "")};
  std::vector<std::string> argv = {KRINFO_PATH, "crc32"};
  argv.insert(argv.end(), paths.begin(), paths.end());
  ChildResult result = kr_test::RunProgram(argv);
  EXPECT_EQ(result.exitCode, 0) << result.err;
  std::string expected;
  for (std::string const& path : paths) expected += ZlibCrcText(kr_test::ReadFile(path)) + "\t" + path + "\n";
  EXPECT_EQ(result.out, expected);
  EXPECT_EQ(kr_test::RunProgram({KRINFO_PATH, "crc32", "-"}, big).out, ZlibCrcText(big) + "\n");
}

TEST_F(KrinfoCrc32, UnreadableFilesAndBadArguments) {
  std::string const digits = Make("digits", "123456789");
  ChildResult result =
      kr_test::RunProgram({KRINFO_PATH, "crc32", dir_.path() + "/missing", digits, dir_.path()});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.out, "cbf43926\t" + digits + "\n");  // the readable one is still checked
  EXPECT_NE(result.err.find("krinfo crc32: cannot open '" + dir_.path() + "/missing'"), std::string::npos);
  EXPECT_NE(result.err.find("cannot read '" + dir_.path() + "'"), std::string::npos) << result.err;
  ChildResult none = kr_test::RunProgram({KRINFO_PATH, "crc32"});
  EXPECT_EQ(none.exitCode, 2);
  EXPECT_NE(none.err.find("krinfo crc32: no file given\nTry 'krinfo crc32 --help'."),
            std::string::npos);
  EXPECT_EQ(kr_test::RunProgram({KRINFO_PATH, "crc32", "-x", digits}).exitCode, 2);
  EXPECT_EQ(kr_test::RunProgram({KRINFO_PATH, "crc32", "--", "-"}, "123456789").out, "cbf43926\n");
}

}  // namespace
