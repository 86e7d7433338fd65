// krinfo as operators run it: arguments and input in; exact text, exit status
// and files out. Checksums are checked against zlib, packing against the library.
#include <kr/memory.h>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>
#include <zlib.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "child_process.h"
#include "temp_dir.h"

namespace {

using kr_test::ChildResult;
using Args = std::vector<std::string>;

ChildResult Krinfo(Args args, std::string const& input = "") {
  args.insert(args.begin(), KRINFO_PATH);
  return kr_test::RunProgram(args, input);
}

// One invocation and everything it must answer, byte for byte.
struct Call {
  Args args;
  int status;
  std::string out, err, input = "";
};

// A usage error of `command` ("": of the tool itself): status 2, the message
// and where help is on standard error, nothing on standard output.
Call Bad(std::string const& command, Args args, std::string const& message) {
  std::string const who = command.empty() ? "krinfo" : "krinfo " + command;
  if (!command.empty()) args.insert(args.begin(), command);
  return {args, 2, "", who + ": " + message + "\nTry '" + who + " --help'.\n"};
}

void Expect(std::vector<Call> const& calls) {
  for (Call const& call : calls) {
    std::string line = "krinfo";
    for (std::string const& arg : call.args) line += " '" + arg + "'";
    ChildResult const result = Krinfo(call.args, call.input);
    EXPECT_EQ(result.exitCode, call.status) << line << "\nsignal " << result.signal;
    EXPECT_TRUE(result.out == call.out) << line << "\nstandard output:\n" << result.out;
    EXPECT_EQ(result.err, call.err) << line;
  }
}

// Every command's answers to good and bad arguments and inputs, by command.
TEST(Krinfo, Invocations) {
  kr_test::TempDir dir;
  std::string const mods = std::string(KR_TEST_MODULES_DIR) + "/configured";
  std::string const config = dir.Make("c.ini", "defaultModulePath = " + mods + "\n");
  std::string const broken = dir.Make("broken.ini", "a = 1\n[debug\n"), no = dir.Name("no");
  std::string const testmod =
      "module:   krtestmod\npath:     " + mods + "/libkrtestmod.so\nversion:  9.5.24.301.2\n"
      "title:    krtestmod in configured\nname:     krtestmod\nbuilt:    Jan 02 2024 10:11:12\n"
      "compiler: Test Compiler 1.0 (1234)\n";
  std::string const cfg = "configuration '", loaded = "Loading module 'krtestmod' as '" + mods +
                                                        "/libkrtestmod.so' succeeded\n";
  std::string const cv = "check-version", v = "9.5.23.262.0", ok = ": 0 ok\n", rs = "--record-size";
  std::string const a = dir.Make("a", "aaababacb\x80"), b = dir.Make("b", "abadb\x7f");
  std::string const lines = dir.Make("l", "apple\nbanan\ncherr\n"), three = dir.Make("3", "aab");
  std::string const unsorted = dir.Make("u", "aabbab\x80\x80"), nine = dir.Make("9", "123456789");
  std::vector<Call> calls = {
      Bad("", {"frobnicate"}, "unknown command 'frobnicate'"),
      Bad("", {"--frobnicate"}, "unknown option '--frobnicate'"),
      Bad("", {"help", "nothing"}, "unknown command 'nothing'"),
      Bad("", {"--config"}, "option --config needs a file"),
      Bad("", {"--config", no, "self"}, cfg + no + "': -2751 The Norvane configuration file was "
                                                   "not found."),
      Bad("", {"--config=" + broken, "self"},
          cfg + broken + "', line 2: -2754 The Norvane configuration file contains syntax errors."),
      {{"version"}, 0, "krinfo 9.5.23.262.0 (kr95Nbs)\n", ""},
      Bad("version", {"extra"}, "unexpected argument 'extra'"),
      {{"self"}, 0, "title:        Norvane Basic Algorithms\nname:         kr95Nbs\nversion:      "
       "9.5.23.262.0\nbuilt:        Jun 28 2005 00:54:01\ncompiler:     GNU C++ gcc Compiler 3.2 "
       "(Linux) (320)\nversion text: \"Norvane Basic Algorithms 9.5.23.262.0 \"\nbuild date:   "
       "Jun 28 2005\n", ""},
      Bad("self", {"kr95Nbs"}, "unexpected argument 'kr95Nbs'"),
      Bad("now", {"--utc"}, "unexpected argument '--utc'"),
      // error: numbers first (a negative code is not an option), then the options.
      {{"error", "-2008", "0", "+5", "12345", "-2147483648"}, 0, "-2008: database is not opened\n"
       "0: ok\n5: count\n12345: unknown error\n-2147483648: unknown error\n", ""},
      {{"error", "-2008", "--context", "Open"}, 0, "Open : -2008 -> database is not opened\n", ""},
      {{"error", "--context=Open", "0", "--", "-2002"}, 0, "Open : ok\nOpen : -2002 -> One of the "
       "parameters passed to this function is not valid.\n", ""},
      Bad("error", {}, "no result code given"),
      Bad("error", {"5", "--context"}, "option --context needs a text"),
      Bad("error", {"--frobnicate", "5"}, "unknown option '--frobnicate'"),
      // check-version: the answer's code and text, exit status 1 when it is not 0.
      {{cv, v}, 0, v + " flags 0x00000003" + ok, ""},
      {{cv, v, "--flags", "4"}, 1, v + " flags 0x00000004: -5004 A module has an incompatible "
                                       "version.\n", ""},
      {{cv, "--flags=0x20000004", v}, 0, v + " flags 0x20000004" + ok, ""},
      {{cv, "9.5.23.262.1", "--flags", "0XFFFFFFFF"}, 0, "9.5.23.262.1 flags 0xffffffff" + ok, ""},
      Bad(cv, {}, "no version given"), Bad(cv, {v, "--flags"}, "option --flags needs a number"),
      Bad(cv, {v, v}, "unexpected argument '" + v + "'"),
      Bad(cv, {"--frob"}, "unknown option '--frob'"),
      // describe: failures give code, text and any path found; the others still print.
      {{"--config", config, "describe", "krnosuch", "krtestplain", "krtestmod"}, 1, testmod,
       "krinfo describe: krnosuch: -5002 A module could not be loaded.\nkrinfo describe: "
       "krtestplain: -5003 A module entry could not be found. (" + mods + "/libkrtestplain.so)\n"},
      {{"--config=" + config, "describe", "krtestmod", "--", "krtestmod"}, 0,
       testmod + "\n" + testmod, ""},
      // Tracing counts even when given before the configuration file.
      {{"--trace-loading", "--config", config, "describe", "krtestmod"}, 0, testmod, loaded},
      Bad("describe", {}, "no module name given"), Bad("describe", {""}, "empty module name"),
      Bad("describe", {"kr95Nbs", "--frob"}, "unknown option '--frob'"),
      // diff: records one file holds more often than the other, merged in ascending byte
      // order (0x80 after 0x7f); as text only a newline that ends a record is left out.
      {{"diff", rs, "2", a, b}, 1, "< 6161\n< 6162\n< 6163\n> 6164\n> 627f\n< 6280\n", ""},
      {{"diff", rs, "2", a, a}, 0, "", ""},
      {{"diff", rs, "2", dir.Make("0", ""), "-"}, 1, "> 6162\n> 6164\n> 627f\n", "", "abadb\x7f"},
      {{"diff", "--text", rs, "6", lines, dir.Make("odd", "\\x\x01\x7fz\nbanan\ndates\n")}, 1,
       "> \\\\x\\x01\\x7fz\n< apple\n< cherr\n> dates\n", ""},
      {{"diff", rs, "0x3", "--text", "--", dir.Make("i", "a\nbabc"), dir.Make("p", "abc")}, 1,
       "< a\\x0ab\n", ""},
      Bad("diff", {a, a}, "no --record-size given"), Bad("diff", {rs, "2", a}, "two files needed"),
      Bad("diff", {rs, "2", a, a, b}, "unexpected argument '" + b + "'"),
      Bad("diff", {rs}, "option --record-size needs a size"),
      Bad("diff", {"--record", "2", a, a}, "unknown option '--record'"),
      Bad("diff", {rs, "2", a, three}, "'" + three + "' holds 3 bytes, not a whole number of "
                                                     "2-byte records"),
      Bad("diff", {rs, "2", unsorted, a}, "'" + unsorted + "' is not sorted: record 3 is smaller "
                                                           "than record 2"),
      Bad("diff", {rs, "2", a, no}, "cannot open '" + no + "': No such file or directory"),
      Bad("diff", {rs, "2", a, dir.path()}, "cannot read '" + dir.path() + "'"),
      // crc32: a single file without its name; an unreadable file does not stop the others.
      {{"crc32", nine}, 0, "cbf43926\n", ""},
      {{"crc32", "--", "-"}, 0, "cbf43926\n", "", "123456789"},
      {{"crc32", no, nine, dir.path()}, 2, "cbf43926\t" + nine + "\n",
       Bad("crc32", {}, "cannot open '" + no + "': No such file or directory").err +
           Bad("crc32", {}, "cannot read '" + dir.path() + "'").err},
      Bad("crc32", {}, "no file given"), Bad("crc32", {"-x", nine}, "unknown option '-x'"),
      // pack: AAAB packs to 4 bytes, not smaller than itself; AAAAB to 4 of 5.
      {{"pack", "-", "-o", no}, 1, "-: 4 bytes, not compressible\n", "", "AAAB"},
      {{"pack", "-"}, 1, "-: 0 bytes, not compressible\n", "", ""},
      {{"pack", "-"}, 0, "-: 5 -> 4 bytes (80.0%)\n", "", "AAAAB"},
      {{"unpack", "-"}, 0, "-: 4 -> 0 bytes\n", "", std::string(4, '\0')},
      // A literal item claiming 5 bytes with 3 present.
      Bad("unpack", {"-", "-o", no}, "'-' is not a packed record (an item runs past its end, or "
                                     "it expands beyond 2147483647 bytes)")};
  calls.back().input = std::string("\0\5abc", 5);
  auto quoting = [&](std::string const& c, Args const& args, std::string const& before,
                     Args const& values, std::string const& after) {
    for (std::string const& value : values) {
      calls.push_back(Bad(c, args, before + "'" + value + "' " + after));
      calls.back().args.push_back(value);
    }
  };
  quoting("error", {"1", "--"}, "", {"abc", "12x", "2147483648", "-2147483649", " 5", "", "--"},
          "is not a result code (a decimal integer such as -2008)");
  quoting(cv, {}, "", {"9.5.23.262", "9.5.23.262.0.1", "9.5..262.0", "9.5.23.4294967296.0"},
          "is not a version MAJOR.MINOR.REVISION.BUILD.PATCH");
  quoting(cv, {v, "--flags"}, "", {"-1", "0x", "4294967296", "1e3"},
          "is not a flags value (decimal or 0x-hex)");
  quoting("diff", {a, a, rs}, "bad record size ", {"0", "1048577", "-2", "0x"},
          "(1 to 1048576 bytes)");
  for (std::string c : {"pack", "unpack"}) {
    calls.insert(calls.end(),
                 {Bad(c, {}, "no file given"), Bad(c, {nine, "b"}, "unexpected argument 'b'"),
                  Bad(c, {nine, "-o"}, "option -o needs a file name"),
                  Bad(c, {"-x", nine}, "unknown option '-x'"),
                  Bad(c, {"--", no}, "cannot open '" + no + "': No such file or directory")});
  }
  Expect(calls);
  EXPECT_NE(access(no.c_str(), F_OK), 0);  // failures write nothing
  // Without a command the usage goes to standard error; asked for, to standard output.
  ChildResult const help = Krinfo({"--help"}), bare = Krinfo({});
  EXPECT_EQ(help.out.rfind("Usage: krinfo [--config FILE]", 0), 0u) << help.out;
  EXPECT_TRUE(help.exitCode == 0 && bare.exitCode == 2 && bare.err == help.out);
  for (std::string command : {"crc32", "diff", "error", "now", "pack", "unpack", "version", "self",
                              "describe", "check-version"}) {
    ChildResult const own = Krinfo({command, "-h"});
    EXPECT_TRUE(own.exitCode == 0 && own.out.rfind("Usage: krinfo " + command, 0) == 0 &&
                Krinfo({"help", command}).out == own.out &&
                help.out.find("\n  " + command + " ") != std::string::npos)
        << own.out;
  }
  // A context far longer than any error text still gets the whole line.
  std::string const context(5000, 'x'), plain = Krinfo({"error", "2685"}).out;
  ASSERT_EQ(plain.rfind("2685: ", 0), 0u);
  EXPECT_EQ(Krinfo({"error", "--context", context, "2685"}).out,
            context + " : 2685 -> " + plain.substr(6));
}

// More than one 1 MiB read chunk of records: crc32 agrees with zlib, pack with
// the library; on standard streams the data go out and the summary to
// standard error. A file too large for a record is refused before it is read.
TEST(Krinfo, LargeFiles) {
  std::string plain;  // numbers between runs of zeros
  for (int i = 0; plain.size() < 1100000; ++i) {
    plain += std::to_string(i * 7919) + std::string(i % 600, '\0');
  }
  std::vector<unsigned char> library(plain.size());
  int size = static_cast<int>(plain.size());
  ASSERT_EQ(DScomp(reinterpret_cast<unsigned char*>(&plain[0]), size, library.data(), &size), 0);
  std::string const packed(library.begin(), library.begin() + size);
  char text[4][64];
  for (int i = 0; i < 2; ++i) {
    std::snprintf(text[i], 64, ": %zu -> %zu bytes (%.1f%%)\n", i ? packed.size() : plain.size(),
                  i ? plain.size() : packed.size(), 100.0 * packed.size() / plain.size());
  }
  std::snprintf(text[2], 64, "%08lx", crc32(0, reinterpret_cast<Bytef const*>(plain.data()),
                                            static_cast<uInt>(plain.size())));
  std::string const megabyte(1 << 20, '\0');  // the sparse file beyond 2 GiB: 2049 MiB of zeros
  uLong const block = crc32(0, reinterpret_cast<Bytef const*>(megabyte.data()), 1 << 20);
  uLong beyond = 0;
  for (int i = 0; i < 2048; ++i) beyond = crc32_combine(beyond, block, 1 << 20);
  beyond = crc32(beyond, reinterpret_cast<Bytef const*>(megabyte.data()), 1);
  std::snprintf(text[3], 64, "%08lx\n", beyond);
  kr_test::TempDir dir;
  std::string const in = dir.Make("plain", plain), pack = dir.Name("pack"), out = dir.Name("out");
  std::string const huge = dir.Make("huge", ""), zero = dir.Make("zero", "");
  std::string const large = "' is too large (more than 2147483647 bytes)";
  ASSERT_EQ(truncate(huge.c_str(), (2LL << 30) + 1), 0);  // sparse
  Expect({{{"pack", in, "-o", pack}, 0, in + text[0], ""},
          {{"unpack", pack, "-o", out}, 0, pack + text[1], ""},
          {{"pack", "-", "-o", "-"}, 0, packed, std::string("-") + text[0], plain},
          {{"unpack", "-", "-o", "-"}, 0, plain, std::string("-") + text[1], packed},
          {{"crc32", in, zero}, 0, text[2] + ("\t" + in) + "\n00000000\t" + zero + "\n", ""},
          {{"crc32", "-"}, 0, text[2] + std::string("\n"), "", plain},
          {{"crc32", huge}, 0, text[3], ""},  // read beyond any 32-bit size
          Bad("pack", {huge}, "'" + huge + large), Bad("unpack", {huge}, "'" + huge + large)});
  EXPECT_TRUE(kr_test::ReadFile(pack) == packed && kr_test::ReadFile(out) == plain);
  // An output that cannot be written whole (past the file-size limit) leaves the file it was to
  // replace as it was and no temporary file beside it; a full standard output is reported too.
  // Outputs keep their permissions, follow a symbolic link, and may be empty.
  std::string const link = dir.Name("link");
  std::ofstream(out) << "old content";
  ASSERT_TRUE(chmod(out.c_str(), 0640) == 0 && symlink(out.c_str(), link.c_str()) == 0);
  for (std::string c : {"pack", "unpack"}) {
    ChildResult const result = kr_test::RunInShell(
        "ulimit -f 16; exec \"$@\"", {KRINFO_PATH, c, c == "pack" ? in : pack, "-o", link});
    EXPECT_EQ(result.err, Bad(c, {}, "cannot write '" + link + "': File too large").err);
    EXPECT_TRUE(result.exitCode == 2 && kr_test::ReadFile(out) == "old content") << c;
  }
  EXPECT_EQ(system(("test $(ls -A '" + dir.path() + "' | wc -l) -eq 6").c_str()), 0)
      << "a temporary file was left behind";
  ChildResult const full = kr_test::RunInShell(
      "exec \"$@\" >/dev/full", {KRINFO_PATH, "pack", "-", "-o", "-"}, "AAAAAAAAB");
  EXPECT_EQ(full.err, Bad("pack", {}, "cannot write '-': No space left on device").err);
  for (std::string const& empty : {std::string(), std::string("\0\0", 2)}) {
    EXPECT_TRUE(Krinfo({"unpack", "-", "-o", link}, empty).exitCode == 0 &&
                kr_test::ReadFile(out) == "");
  }
  ASSERT_EQ(Krinfo({"unpack", pack, "-o", link}).exitCode, 0);
  struct stat status;
  EXPECT_TRUE(kr_test::ReadFile(out) == plain && lstat(link.c_str(), &status) == 0 &&
              S_ISLNK(status.st_mode));
  EXPECT_TRUE(stat(out.c_str(), &status) == 0 && (status.st_mode & 07777) == 0640);
}

// The local and UTC time of the run, and the zone: here 13 3/4 hours east.
TEST(Krinfo, Now) {
  time_t const before = time(nullptr);
  ChildResult const result = kr_test::RunProgram({KRINFO_PATH, "now"}, "", {"TZ=XXX-13:45"});
  ASSERT_EQ(result.out.size(), 86u) << result.out;
  tm t[2] = {};
  for (int i = 0; i < 2; ++i) ASSERT_TRUE(strptime(&result.out[7 + 27 * i], "%F %T", &t[i]));
  EXPECT_EQ(result.out.substr(0, 7) + result.out.substr(26, 8) + result.out.substr(53),
            "local  \nutc    \nzone   +825 minutes east of UTC\n");
  time_t const utc = timegm(&t[1]), shift = timegm(&t[0]) - utc - 825 * 60;
  EXPECT_TRUE(result.exitCode == 0 && utc >= before && utc <= time(nullptr)) << result.out;
  EXPECT_TRUE(shift == 0 || shift == -1) << shift;  // the local time is read first
}

}  // namespace
