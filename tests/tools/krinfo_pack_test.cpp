// krinfo pack and unpack on real files and standard streams.
#include <kr/memory.h>

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "child_process.h"
#include "temp_dir.h"

namespace {

using kr_test::ChildResult;
using kr_test::RunProgram;

// A record set of the kind the format is for: random prefixes, zero padding.
std::string PaddedRecords(int records) {
  std::mt19937 random(10);
  std::string bytes;
  for (int r = 0; r < records; ++r) {
    std::string record(1024, '\0');
    for (size_t i = 0, prefix = random() % 300; i < prefix; ++i) record[i] = static_cast<char>(random());
    bytes += record;
  }
  return bytes;
}

// What the library itself makes of `plain` with the file's size as room.
std::string Packed(std::string plain) {
  std::vector<unsigned char> out(plain.size());
  int size = static_cast<int>(plain.size());
  EXPECT_EQ(DScomp(reinterpret_cast<unsigned char*>(&plain[0]), size, out.data(), &size), 0);
  return std::string(out.begin(), out.begin() + size);
}

TEST(KrinfoPack, PacksAndUnpacksAFile) {
  kr_test::TempDir dir;
  std::string const plain = PaddedRecords(64);
  std::string const input = dir.Make("records", plain);
  std::string const packedPath = dir.Name("records.pack");
  std::string const expected = Packed(plain);
  char summary[128];

  ChildResult pack = RunProgram({KRINFO_PATH, "pack", input, "-o", packedPath});
  EXPECT_EQ(pack.exitCode, 0) << pack.err;
  EXPECT_EQ(kr_test::ReadFile(packedPath), expected);
  std::snprintf(summary, sizeof summary, ": %zu -> %zu bytes (%.1f%%)\n", plain.size(),
                expected.size(), 100.0 * expected.size() / plain.size());
  EXPECT_EQ(pack.out, input + summary);

  std::string const back = dir.Name("records.back");
  ChildResult unpack = RunProgram({KRINFO_PATH, "unpack", packedPath, "-o", back});
  EXPECT_EQ(unpack.exitCode, 0) << unpack.err;
  EXPECT_TRUE(kr_test::ReadFile(back) == plain);
  std::snprintf(summary, sizeof summary, ": %zu -> %zu bytes (%.1f%%)\n", expected.size(),
                plain.size(), 100.0 * expected.size() / plain.size());
  EXPECT_EQ(unpack.out, packedPath + summary);

  // Without -o only the summary is printed.
  EXPECT_EQ(RunProgram({KRINFO_PATH, "pack", input}).out, pack.out);
}

TEST(KrinfoPack, ThroughStandardStreams) {
  std::string const plain = PaddedRecords(3);
  ChildResult pack = RunProgram({KRINFO_PATH, "pack", "-", "-o", "-"}, plain);
  EXPECT_EQ(pack.exitCode, 0);
  EXPECT_TRUE(pack.out == Packed(plain));
  EXPECT_EQ(pack.err.rfind("-: 3072 -> ", 0), 0u) << pack.err;
  ChildResult unpack = RunProgram({KRINFO_PATH, "unpack", "-", "-o", "-"}, pack.out);
  EXPECT_EQ(unpack.exitCode, 0);
  EXPECT_TRUE(unpack.out == plain);
}

TEST(KrinfoPack, NotCompressible) {
  kr_test::TempDir dir;
  std::string const out = dir.Name("out");
  // "AAAB" packs to 4 bytes, which is not smaller than the file.
  for (std::string const& content : {std::string("AAAB"), std::string("AB"), std::string()}) {
    std::string const input = dir.Make("small", content);
    ChildResult result = RunProgram({KRINFO_PATH, "pack", input, "-o", out});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, input + ": " + std::to_string(content.size()) +
                              " bytes, not compressible\n");
    EXPECT_FALSE(kr_test::FileExists(out));
  }
  EXPECT_EQ(RunProgram({KRINFO_PATH, "pack", dir.Make("five", "AAAAB")}).exitCode, 0);
}

TEST(KrinfoUnpack, ChecksTheRecordFirst) {
  kr_test::TempDir dir;
  std::string const out = dir.Name("out");
  // A literal item claiming 5 bytes with 3 present, then a lone count byte.
  for (std::string const& bad : {std::string("\x00\x05" "abc", 5), std::string("\x03", 1)}) {
    ChildResult result = RunProgram({KRINFO_PATH, "unpack", dir.Make("bad", bad), "-o", out});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_NE(result.err.find("is not a packed record"), std::string::npos) << result.err;
    EXPECT_FALSE(kr_test::FileExists(out));
  }
  // Empty items and an empty file expand to nothing.
  ChildResult empty = RunProgram({KRINFO_PATH, "unpack", "-", "-o", out}, std::string(4, '\0'));
  EXPECT_EQ(empty.exitCode, 0);
  EXPECT_EQ(empty.out, "-: 4 -> 0 bytes\n");
  EXPECT_TRUE(kr_test::FileExists(out));
  EXPECT_EQ(kr_test::ReadFile(out), "");
}

TEST(KrinfoPack, BadArguments) {
  for (char const* command : {"pack", "unpack"}) {
    struct { std::vector<std::string> args; char const* message; } const cases[] = {
        {{}, "no file given"},
        {{"a", "b"}, "unexpected argument 'b'"},
        {{"a", "-o"}, "option -o needs a file name"},
        {{"-x", "a"}, "unknown option '-x'"},
        {{"/nonexistent/file"}, "cannot open '/nonexistent/file'"},
    };
    for (auto const& c : cases) {
      std::vector<std::string> argv = {KRINFO_PATH, command};
      argv.insert(argv.end(), c.args.begin(), c.args.end());
      ChildResult result = RunProgram(argv);
      EXPECT_EQ(result.exitCode, 2) << command << " " << c.message;
      EXPECT_EQ(result.out, "");
      EXPECT_NE(result.err.find(std::string("krinfo ") + command + ": " + c.message),
                std::string::npos) << result.err;
    }
  }
}

}  // namespace
