// krinfo as operators run it: arguments and standard input in; standard output, standard error
// and exit status out, over real files in a private directory.
#include <kr/memory.h>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <time.h>
#include <zlib.h>

#include <cstdio>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "child_process.h"
#include "temp_dir.h"

namespace {

using kr_test::ChildResult;

std::string const kModules = std::string(KR_TEST_MODULES_DIR) + "/configured";

std::string Description(std::string const& module, std::string const& path,
                        std::string const& version, std::string const& title,
                        std::string const& built, std::string const& compiler) {
  return "module:   " + module + "\npath:     " + path + "\nversion:  " + version +
         "\ntitle:    " + title + "\nname:     " + module + "\nbuilt:    " + built +
         "\ncompiler: " + compiler + "\n";
}

// Replaces each "$X" in `text`: $D the test's directory, $M the test modules' directory, $L
// the library's, $T the description of the test module, $S that of this library.
std::string Expand(std::string text, std::string const& dir) {
  std::string const values[][2] = {
      {"$T", Description("krtestmod", kModules + "/libkrtestmod.so", "9.5.24.301.2",
                         "krtestmod in configured", "Jan 02 2024 10:11:12",
                         "Test Compiler 1.0 (1234)")},
      {"$S", Description("kr95Nbs", std::string(KR_LIBRARY_DIR) + "/libkr95Nbs.so",
                         "9.5.23.262.0", "Norvane Basic Algorithms", "Jun 28 2005 00:54:01",
                         "GNU C++ gcc Compiler 3.2 (Linux) (320)")},
      {"$D", dir}, {"$M", kModules}, {"$L", KR_LIBRARY_DIR}};
  for (auto const& value : values) {
    for (size_t at; (at = text.find(value[0])) != std::string::npos;) text.replace(at, 2, value[1]);
  }
  return text;
}

class Krinfo : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string const files[][2] = {
        {"a", "aaababacb\x80"}, {"b", "abadb\x7f"}, {"empty", ""}, {"nine", "123456789"},
        {"t1", "apple\nbanan\ncherr\n"}, {"t2", "\\x\x01\x7fz\nbanan\ndates\n"},
        {"inner", "a\nbabc"}, {"plain", "abc"}, {"sorted", "aabbbc"}, {"odd", "aab"},
        {"unsorted", "aabbab\x80\x80"}, {"conf", "defaultModulePath = $M\n"},
        {"trace", "defaultModulePath = $M\n[debug]\nloadModule = yes\n"},
        {"libconf", "defaultModulePath = $L\n"}, {"broken", "a = 1\n[debug\n"}};
    for (auto const& file : files) dir_.Make(file[0], Expand(file[1], dir_.path()));
  }
  ChildResult Run(std::vector<std::string> args, std::string const& input = "",
                  std::vector<std::string> const& environment = {}) {
    for (std::string& arg : args) arg = Expand(arg, dir_.path());
    args.insert(args.begin(), KRINFO_PATH);
    return kr_test::RunProgram(args, input, environment);
  }
  kr_test::TempDir dir_;
};

// One invocation: its exit status, its whole standard output and a piece of its standard error
// (all of it when `err` starts with '='). A usage error (status 2) ends with the hint to --help.
struct Case {
  std::vector<std::string> args;
  std::string input;
  int status;
  std::string out, err;
};

Case const kCases[] = {
    // usage, help, version, self
    {{}, "", 2, "", "Usage: krinfo"},
    {{"frobnicate"}, "", 2, "", "=krinfo: unknown command 'frobnicate'\nTry 'krinfo --help'.\n"},
    {{"--frobnicate"}, "", 2, "", "unknown option '--frobnicate'"},
    {{"version", "extra"}, "", 2, "", "unexpected argument 'extra'"},
    {{"help", "nothing"}, "", 2, "", "unknown command 'nothing'"},
    {{"version"}, "", 0, "krinfo 9.5.23.262.0 (kr95Nbs)\n", "="},
    {{"self"}, "", 0,
     "title:        Norvane Basic Algorithms\nname:         kr95Nbs\nversion:      9.5.23.262.0\n"
     "built:        Jun 28 2005 00:54:01\n"
     "compiler:     GNU C++ gcc Compiler 3.2 (Linux) (320)\n"
     "version text: \"Norvane Basic Algorithms 9.5.23.262.0 \"\nbuild date:   Jun 28 2005\n",
     "="},
    {{"self", "kr95Nbs"}, "", 2, "", "unexpected argument 'kr95Nbs'"},
    // error
    {{"error", "-2008", "0", "+5", "12345"}, "", 0,
     "-2008: database is not opened\n0: ok\n5: count\n12345: unknown error\n", "="},
    {{"error", "-2008", "--context", "Open"}, "", 0, "Open : -2008 -> database is not opened\n", ""},
    {{"error", "--context=Open", "0", "-2002"}, "", 0,
     "Open : ok\nOpen : -2002 -> One of the parameters passed to this function is not valid.\n", ""},
    {{"error", "-2147483648"}, "", 0, "-2147483648: unknown error\n", ""},
    {{"error", "abc"}, "", 2, "",
     "=krinfo error: 'abc' is not a result code (a decimal integer such as -2008)\n"
     "Try 'krinfo error --help'.\n"},
    {{"error", "12x"}, "", 2, "", "'12x' is not a result code"},
    {{"error", "2147483648"}, "", 2, "", "is not a result code"},
    {{"error", "-2147483649"}, "", 2, "", "is not a result code"},
    {{"error", " 5"}, "", 2, "", "is not a result code"},
    {{"error", ""}, "", 2, "", "is not a result code"},
    {{"error"}, "", 2, "", "no result code given"},
    {{"error", "5", "--context"}, "", 2, "", "--context needs a text"},
    {{"error", "--frobnicate", "5"}, "", 2, "", "unknown option"},
    // check-version
    {{"check-version", "9.5.23.262.0"}, "", 0, "9.5.23.262.0 flags 0x00000003: 0 ok\n", "="},
    {{"check-version", "9.5.23.262.0", "--flags", "4"}, "", 1,
     "9.5.23.262.0 flags 0x00000004: -5004 A module has an incompatible version.\n", "="},
    {{"check-version", "--flags=0x20000004", "9.5.23.262.0"}, "", 0,
     "9.5.23.262.0 flags 0x20000004: 0 ok\n", ""},
    {{"check-version", "9.4.23.262.0"}, "", 1,
     "9.4.23.262.0 flags 0x00000003: -5004 A module has an incompatible version.\n", ""},
    {{"check-version", "9.5.23.262.0", "--flags", "0"}, "", 1,
     "9.5.23.262.0 flags 0x00000000: -5004 A module has an incompatible version.\n", ""},
    {{"check-version", "9.5.24.0.0", "--flags", "0x10000002"}, "", 0,
     "9.5.24.0.0 flags 0x10000002: 0 ok\n", ""},
    {{"check-version", "9.5.24.0.0", "--flags", "2"}, "", 1,
     "9.5.24.0.0 flags 0x00000002: -5004 A module has an incompatible version.\n", ""},
    {{"check-version", "9.5.23.262.1", "--flags", "0xFFFFFFFF"}, "", 0,
     "9.5.23.262.1 flags 0xffffffff: 0 ok\n", ""},
    {{"check-version"}, "", 2, "", "no version given"},
    {{"check-version", "9.5.23.262"}, "", 2, "", "is not a version"},
    {{"check-version", "9.5.23.262.0.1"}, "", 2, "", "is not a version"},
    {{"check-version", "9.5..262.0"}, "", 2, "", "is not a version"},
    {{"check-version", "9.5.23.262.x"}, "", 2, "", "is not a version"},
    {{"check-version", "9.5.23.4294967296.0"}, "", 2, "", "is not a version"},
    {{"check-version", "9.5.23.262.0", "--flags"}, "", 2, "", "--flags needs a number"},
    {{"check-version", "9.5.23.262.0", "--flags", "-1"}, "", 2, "", "'-1' is not a flags value"},
    {{"check-version", "9.5.23.262.0", "9.5.23.262.0"}, "", 2, "", "unexpected argument"},
    {{"check-version", "--frob"}, "", 2, "", "unknown option '--frob'"},
    // describe and the global options that configure module loading
    {{"--config", "$D/libconf", "describe", "kr95Nbs"}, "", 0, "$S", "="},
    {{"--config", "$D/conf", "describe", "krnosuch", "krtestplain", "krtestmod"}, "", 1, "$T",
     "=krinfo describe: krnosuch: -5002 A module could not be loaded.\n"
     "krinfo describe: krtestplain: -5003 A module entry could not be found. "
     "($M/libkrtestplain.so)\n"},
    {{"--config=$D/conf", "describe", "krtestmod", "krtestmod"}, "", 0, "$T\n$T", "="},
    {{"describe", "krtestmod"}, "", 1, "",
     "=krinfo describe: krtestmod: -5002 A module could not be loaded.\n"},
    {{"--trace-loading", "--config", "$D/conf", "describe", "krtestmod"}, "", 0, "$T",
     "=Loading module 'krtestmod' as '$M/libkrtestmod.so' succeeded\n"},
    {{"--config", "$D/conf", "--trace-loading", "describe", "krtestmod"}, "", 0, "$T",
     "=Loading module 'krtestmod' as '$M/libkrtestmod.so' succeeded\n"},
    {{"--config", "$D/trace", "describe", "krtestmod"}, "", 0, "$T",
     "=Loading module 'krtestmod' as '$M/libkrtestmod.so' succeeded\n"},
    {{"describe"}, "", 2, "", "no module name given"},
    {{"describe", ""}, "", 2, "", "empty module name"},
    {{"describe", "--frob"}, "", 2, "", "unknown option '--frob'"},
    {{"--config"}, "", 2, "", "--config needs a file"},
    {{"--config", "/nonexistent/kr.ini", "self"}, "", 2, "",
     "configuration '/nonexistent/kr.ini': -2751 The Norvane configuration file was not found."},
    {{"--config", "$D/broken", "self"}, "", 2, "",
     "line 2: -2754 The Norvane configuration file contains syntax errors."},
    {{"--config", "/tmp", "self"}, "", 2, "", "-2753"},
    // diff: records only in A ("<") or only in B (">"), merged in ascending byte order
    {{"diff", "--record-size", "2", "$D/a", "$D/b"}, "", 1,
     "< 6161\n< 6162\n< 6163\n> 6164\n> 627f\n< 6280\n", "="},
    {{"diff", "--record-size", "2", "$D/a", "$D/a"}, "", 0, "", "="},
    {{"diff", "--record-size", "2", "$D/empty", "$D/b"}, "", 1, "> 6162\n> 6164\n> 627f\n", ""},
    {{"diff", "--text", "--record-size", "6", "$D/t1", "$D/t2"}, "", 1,
     "> \\\\x\\x01\\x7fz\n< apple\n< cherr\n> dates\n", ""},
    {{"diff", "--record-size", "0x3", "--text", "--", "$D/inner", "$D/plain"}, "", 1,
     "< a\\x0ab\n", ""},  // only a newline that ends the record is left out
    {{"diff", "$D/sorted", "$D/sorted"}, "", 2, "", "krinfo diff: no --record-size given"},
    {{"diff", "--record-size", "2", "$D/sorted"}, "", 2, "", "two files needed"},
    {{"diff", "--record-size", "2", "$D/sorted", "$D/sorted", "$D/odd"}, "", 2, "",
     "unexpected argument '$D/odd'"},
    {{"diff", "--record-size"}, "", 2, "", "option --record-size needs a size"},
    {{"diff", "--record-size", "0", "$D/sorted", "$D/sorted"}, "", 2, "",
     "bad record size '0' (1 to 1048576 bytes)"},
    {{"diff", "--record-size", "1048577", "$D/sorted", "$D/sorted"}, "", 2, "",
     "bad record size '1048577'"},
    {{"diff", "--record-size", "1048576", "$D/sorted", "$D/sorted"}, "", 2, "",
     "holds 6 bytes, not a whole number of 1048576-byte"},
    {{"diff", "--record-size", "-2", "$D/sorted", "$D/sorted"}, "", 2, "", "bad record size '-2'"},
    {{"diff", "--record", "2", "$D/sorted", "$D/sorted"}, "", 2, "", "unknown option '--record'"},
    {{"diff", "--record-size", "2", "$D/sorted", "$D/odd"}, "", 2, "",
     "'$D/odd' holds 3 bytes, not a whole number of 2-byte records"},
    {{"diff", "--record-size", "2", "$D/unsorted", "$D/sorted"}, "", 2, "",
     "'$D/unsorted' is not sorted: record 3 is smaller than record 2"},
    {{"diff", "--record-size", "2", "$D/sorted", "$D/missing"}, "", 2, "",
     "cannot open '$D/missing': No such file or directory"},
    {{"diff", "--record-size", "2", "$D/sorted", "$D"}, "", 2, "", "cannot read '$D'"},
    // crc32: a single file gets no name; unreadable ones are reported, the rest still checked
    {{"crc32", "$D/nine"}, "", 0, "cbf43926\n", "="},
    {{"crc32", "--", "-"}, "123456789", 0, "cbf43926\n", "="},
    {{"crc32", "$D/missing", "$D/nine", "$D"}, "", 2, "cbf43926\t$D/nine\n",
     "krinfo crc32: cannot open '$D/missing': No such file or directory\n"
     "Try 'krinfo crc32 --help'."},
    {{"crc32", "$D/nine", "$D"}, "", 2, "cbf43926\t$D/nine\n", "cannot read '$D'"},
    {{"crc32"}, "", 2, "", "krinfo crc32: no file given"},
    {{"crc32", "-x", "$D/nine"}, "", 2, "", "unknown option '-x'"},
    {{"now", "--utc"}, "", 2, "", "krinfo now: unexpected argument '--utc'"},
    // pack: AAAB packs to 4 bytes, not smaller than the input; AAAAB to 4 of 5
    {{"pack", "-", "-o", "$D/never"}, "AAAB", 1, "-: 4 bytes, not compressible\n", ""},
    {{"pack", "-", "-o", "$D/never"}, "AB", 1, "-: 2 bytes, not compressible\n", ""},
    {{"pack", "-", "-o", "$D/never"}, "", 1, "-: 0 bytes, not compressible\n", ""},
    {{"pack", "-"}, "AAAAB", 0, "-: 5 -> 4 bytes (80.0%)\n", ""},
    // unpack: a literal item claiming 5 bytes with 3 present; a lone count byte
    {{"unpack", "-", "-o", "$D/never"}, std::string("\0\5abc", 5), 2, "",
     "krinfo unpack: '-' is not a packed record"},
    {{"unpack", "-", "-o", "$D/never"}, "\3", 2, "", "krinfo unpack: '-' is not a packed record"},
    {{"unpack", "-"}, std::string(4, '\0'), 0, "-: 4 -> 0 bytes\n", ""},
};

TEST_F(Krinfo, Invocations) {
  for (Case const& c : kCases) {
    std::string const name = ::testing::PrintToString(c.args);
    ChildResult const result = Run(c.args, c.input);
    std::string const err = Expand(c.err, dir_.path());
    EXPECT_TRUE(result.exited && result.exitCode == c.status) << name << ": " << result.exitCode;
    EXPECT_EQ(result.out, Expand(c.out, dir_.path())) << name;
    if (!err.empty() && err[0] == '=') {
      EXPECT_EQ(result.err, err.substr(1)) << name;
    } else {
      EXPECT_NE(result.err.find(err), std::string::npos) << name << ": " << result.err;
    }
    bool const hinted = result.err.find("--help'.\n") != std::string::npos;
    EXPECT_TRUE(c.status != 2 || c.args.empty() || hinted) << name;  // bare: the whole usage
    EXPECT_EQ(result.err.find("Assertion"), std::string::npos) << name;
  }
  EXPECT_FALSE(std::ifstream(dir_.Name("never")).good());  // refused outputs are never written
  std::string const longContext(5000, 'x');  // "<context> : 2685 -> <189 characters>\n"
  EXPECT_EQ(Run({"error", "--context", longContext, "2685"}).out.size(), 5000u + 3 + 4 + 4 + 189 + 1);
}

TEST_F(Krinfo, HelpForTheToolAndEveryCommand) {
  ChildResult const help = Run({"--help"});
  EXPECT_EQ(help.exitCode, 0);
  for (char const* command : {"crc32", "diff", "error", "now", "pack", "unpack", "version", "self",
                               "describe", "check-version"}) {
    EXPECT_NE(help.out.find(std::string("  ") + command), std::string::npos) << command;
    ChildResult const own = Run({command, "--help"});
    EXPECT_EQ(own.exitCode, 0) << command;
    EXPECT_EQ(own.out.rfind(std::string("Usage: krinfo ") + command, 0), 0u) << own.out;
    EXPECT_EQ(Run({"help", command}).out, own.out);
  }
}

std::string CrcText(uLong crc) {
  char text[16];
  std::snprintf(text, sizeof text, "%08lx", crc);
  return text;
}
uLong Crc(std::string const& bytes) {
  return crc32(0, reinterpret_cast<Bytef const*>(bytes.data()), static_cast<uInt>(bytes.size()));
}

// Real files of a few hundred KiB (the tool and the library), one larger than the tool's 1 MiB
// chunks, an empty one and standard input, against zlib; then a sparse file beyond 2 GiB (zeros
// but for its last byte), which pack and unpack refuse at once as too large for a record.
TEST_F(Krinfo, Crc32AgreesWithZlibAndLargeFiles) {
  std::mt19937 random(9);
  std::string big(3 * 1024 * 1024 + 5, '\0');
  for (char& c : big) c = static_cast<char>(random());
  std::vector<std::string> const files = {KRINFO_PATH, KR_LIBRARY_PATH, dir_.Make("big", big),
                                          dir_.Name("empty")};
  std::vector<std::string> args = {"crc32"};
  args.insert(args.end(), files.begin(), files.end());
  std::string expected;
  for (std::string const& file : files) expected += CrcText(Crc(kr_test::ReadFile(file))) + "\t" + file + "\n";
  EXPECT_EQ(Run(args).out, expected);
  EXPECT_EQ(Run({"crc32", "-"}, big).out, CrcText(Crc(big)) + "\n");

  std::string const name = dir_.Name("sparse");
  long long const size = (2LL << 30) + (1 << 20);
  std::FILE* file = std::fopen(name.c_str(), "wb");
  ASSERT_TRUE(file && fseeko(file, size - 1, SEEK_SET) == 0 && std::fputc(1, file) == 1);
  std::fclose(file);
  std::string megabyte(1 << 20, '\0');
  uLong crc = 0;
  for (int i = 0; i < 2048; ++i) crc = crc32_combine(crc, Crc(megabyte), 1 << 20);
  megabyte.back() = 1;
  crc = crc32(crc, reinterpret_cast<Bytef const*>(megabyte.data()), 1 << 20);
  EXPECT_EQ(Run({"crc32", name}).out, CrcText(crc) + "\n");
  for (char const* command : {"pack", "unpack"}) {
    ChildResult const result = Run({command, name});
    EXPECT_EQ(result.exitCode, 2) << command;
    EXPECT_NE(result.err.find("is too large (more than 2147483647 bytes)"), std::string::npos);
  }
}

// 1 KiB records of a random prefix and zero padding, packed as the library packs them, to
// files and through the standard streams (the summary then goes to standard error).
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

TEST_F(Krinfo, PackAndUnpack) {
  std::string plain = PaddedRecords(64);
  std::vector<unsigned char> library(plain.size());
  int size = static_cast<int>(plain.size());
  ASSERT_EQ(DScomp(reinterpret_cast<unsigned char*>(&plain[0]), size, library.data(), &size), 0);
  std::string const packed(library.begin(), library.begin() + size);
  double const percent = 100.0 * packed.size() / plain.size();
  std::string const input = dir_.Make("records", plain), output = dir_.Name("records.pack");
  EXPECT_EQ(Run({"pack", input, "-o", output}).out,
            Summary(input, plain.size(), packed.size(), percent));
  EXPECT_TRUE(kr_test::ReadFile(output) == packed);
  EXPECT_EQ(Run({"unpack", output, "-o", "$D/back"}).out,
            Summary(output, packed.size(), plain.size(), percent));
  EXPECT_TRUE(kr_test::ReadFile(dir_.Name("back")) == plain);
  ChildResult const pack = Run({"pack", "-", "-o", "-"}, plain);
  EXPECT_TRUE(pack.out == packed);
  EXPECT_EQ(pack.err, Summary("-", plain.size(), packed.size(), percent));
  EXPECT_TRUE(Run({"unpack", "-", "-o", "-"}, packed).out == plain);
  for (char const* command : {"pack", "unpack"}) {
    std::string const cases[][2] = {{"no file given"},
                                    {"unexpected argument 'b'", "a b"},
                                    {"option -o needs a file name", "a -o"},
                                    {"unknown option '-x'", "-x a"},
                                    {"cannot open '/nonexistent'", "/nonexistent"}};
    for (auto const& c : cases) {
      std::vector<std::string> args = {command};
      for (size_t from = 0, to; from < c[1].size(); from = to + 1) {
        to = std::min(c[1].find(' ', from), c[1].size());
        args.push_back(c[1].substr(from, to - from));
      }
      ChildResult const result = Run(args);
      EXPECT_EQ(result.exitCode, 2) << command << ": " << c[0];
      EXPECT_NE(result.err.find("krinfo " + std::string(command) + ": " + c[0]), std::string::npos)
          << result.err;
    }
  }
}

// An output that cannot be written whole (here: beyond the file-size limit, inherited by the
// child) leaves the file it was to replace as it was, and no partial file beside it. An empty
// record is written as an empty file.
TEST_F(Krinfo, FailedWritesKeepTheOldFile) {
  ASSERT_EQ(Run({"pack", dir_.Make("big", PaddedRecords(2048)), "-o", "$D/packed"}).exitCode, 0);
  std::string const out = dir_.Make("out", "old content");
  rlimit saved;
  getrlimit(RLIMIT_FSIZE, &saved);
  rlimit lowered = saved;
  lowered.rlim_cur = 100 << 10;
  for (char const* command : {"pack", "unpack"}) {
    setrlimit(RLIMIT_FSIZE, &lowered);
    ChildResult const result = Run({command, command[0] == 'p' ? "$D/big" : "$D/packed", "-o", out});
    setrlimit(RLIMIT_FSIZE, &saved);
    EXPECT_EQ(result.exitCode, 2) << command;
    EXPECT_NE(result.err.find("cannot write '" + out + "'"), std::string::npos) << result.err;
    EXPECT_TRUE(kr_test::ReadFile(out) == "old content") << command;
  }
  EXPECT_EQ(system(("test $(ls -A '" + dir_.path() + "' | wc -l) -eq 18").c_str()), 0)
      << "a temporary file was left behind";
  for (std::string const& empty : {std::string(), std::string("\0\0", 2)}) {
    EXPECT_EQ(Run({"unpack", "-", "-o", out}, empty).exitCode, 0);
    EXPECT_EQ(kr_test::ReadFile(out), "");
  }
}

// krinfo now under chosen zones: local and UTC time of the moment it ran, and the zone's offset.
TEST_F(Krinfo, NowPrintsLocalAndUtcTimeAndTheZone) {
  struct { char const* zone; long minutesEast; } const cases[] = {
      {"UTC", 0}, {"Asia/Kolkata", 330}, {"XXX+12", -720}, {"XXX-13:45", 825}};
  for (auto const& c : cases) {
    time_t const before = time(nullptr);
    ChildResult const result = Run({"now"}, "", {std::string("TZ=") + c.zone});
    time_t const after = time(nullptr);
    tm local = {}, utc = {};
    long zone = 0;
    char sign = 0, end = 0;
    ASSERT_EQ(std::sscanf(result.out.c_str(),
                          "local  %4d-%2d-%2d %2d:%2d:%2d\nutc    %4d-%2d-%2d %2d:%2d:%2d\n"
                          "zone   %c%ld minutes east of UTC%c",
                          &local.tm_year, &local.tm_mon, &local.tm_mday, &local.tm_hour,
                          &local.tm_min, &local.tm_sec, &utc.tm_year, &utc.tm_mon, &utc.tm_mday,
                          &utc.tm_hour, &utc.tm_min, &utc.tm_sec, &sign, &zone, &end),
              15)
        << result.out;
    EXPECT_TRUE(end == '\n' && sign == (c.minutesEast < 0 ? '-' : '+')) << c.zone;
    EXPECT_EQ(sign == '-' ? -zone : zone, c.minutesEast) << c.zone;
    for (tm* broken : {&local, &utc}) broken->tm_year -= 1900, broken->tm_mon -= 1;
    time_t const utcAt = timegm(&utc);
    EXPECT_TRUE(utcAt >= before && utcAt <= after) << c.zone;
    long const shift = static_cast<long>(timegm(&local) - utcAt) - c.minutesEast * 60;
    EXPECT_TRUE(shift == 0 || shift == -1) << c.zone << ": " << shift;  // local read first
  }
}

}  // namespace
