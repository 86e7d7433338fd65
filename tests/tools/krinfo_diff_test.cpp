// krinfo diff on real record files.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "krinfo_support.h"
#include "temp_dir.h"

namespace {

using kr_test::ChildResult;
using kr_test::Krinfo;

// Records in A more often than in B and the other way round, merged in
// ascending byte order (0x80 after 0x7f); equal files and an empty one.
TEST(KrinfoDiff, PrintsTheMultisetDifferenceInOrder) {
  kr_test::TempDir dir;
  std::string const a = dir.Make("a", "aaababacb\x80"), b = dir.Make("b", "abadb\x7f");
  ChildResult result = Krinfo({"diff", "--record-size", "2", a, b});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.out, "< 6161\n< 6162\n< 6163\n> 6164\n> 627f\n< 6280\n");
  EXPECT_EQ(result.err, "");
  result = Krinfo({"diff", "--record-size", "2", a, a});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(Krinfo({"diff", "--record-size", "2", dir.Make("empty", ""), b}).out,
            "> 6162\n> 6164\n> 627f\n");
}

TEST(KrinfoDiff, TextOutput) {
  kr_test::TempDir dir;
  std::string const a = dir.Make("a", "apple\nbanan\ncherr\n");
  std::string const b = dir.Make("b", "\\x\x01\x7fz\nbanan\ndates\n");
  ChildResult result = Krinfo({"diff", "--text", "--record-size", "6", a, b});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.out, "> \\\\x\\x01\\x7fz\n< apple\n< cherr\n> dates\n");
  // Only a newline that ends the record is left out.
  std::string const inner = dir.Make("inner", "a\nbabc"), plain = dir.Make("plain", "abc");
  result = Krinfo({"diff", "--record-size", "0x3", "--text", "--", inner, plain});
  EXPECT_EQ(result.out, "< a\\x0ab\n");
}

TEST(KrinfoDiff, BadArgumentsAndInputs) {
  kr_test::TempDir dir;
  std::string const ok = dir.Make("sorted", "aabbbc"), odd = dir.Make("odd", "aab");
  std::string const unsorted = dir.Make("unsorted", "aabbab\x80\x80");
  std::string const missing = dir.Name("missing");
  struct Case {
    std::vector<std::string> args;
    std::string message;
  } const cases[] = {
      {{ok, ok}, "krinfo diff: no --record-size given"},
      {{"--record-size", "2", ok}, "two files needed"},
      {{"--record-size", "2", ok, ok, odd}, "unexpected argument '" + odd + "'"},
      {{"--record-size"}, "option --record-size needs a size"},
      {{"--record-size", "0", ok, ok}, "bad record size '0' (1 to 1048576 bytes)"},
      {{"--record-size", "1048577", ok, ok}, "bad record size '1048577'"},
      {{"--record-size", "1048576", ok, ok}, "holds 6 bytes, not a whole number of 1048576-byte"},
      {{"--record-size", "-2", ok, ok}, "bad record size '-2'"},
      {{"--record", "2", ok, ok}, "unknown option '--record'"},
      {{"--record-size", "2", ok, odd},
       "'" + odd + "' holds 3 bytes, not a whole number of 2-byte records"},
      {{"--record-size", "2", unsorted, ok},
       "'" + unsorted + "' is not sorted: record 3 is smaller than record 2"},
      {{"--record-size", "2", ok, missing},
       "cannot open '" + missing + "': No such file or directory"},
      {{"--record-size", "2", ok, dir.path()}, "cannot read '" + dir.path() + "'"},
  };
  for (Case const& c : cases) {
    std::vector<std::string> args = c.args;
    args.insert(args.begin(), "diff");
    kr_test::ExpectUsageError(Krinfo(args), c.message);
  }
}

}  // namespace
