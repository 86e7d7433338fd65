// krinfo diff on real record files, against a model of the multiset
// difference.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "krinfo_support.h"
#include "temp_dir.h"

namespace {

using kr_test::ChildResult;
using kr_test::Krinfo;

std::string Hex(std::string const& record) {
  std::string text;
  char byte[3];
  for (unsigned char c : record) {
    std::snprintf(byte, sizeof byte, "%02x", c);
    text += byte;
  }
  return text;
}

// Random sorted files of 3-byte records from a few values (so that records
// repeat), sometimes empty; the expected lines merged in ascending order.
TEST(KrinfoDiff, PrintsTheMultisetDifferenceInOrder) {
  kr_test::TempDir dir;
  std::mt19937 random(81);
  for (int trial = 0; trial < 25; ++trial) {
    std::vector<std::string> files[2];
    for (std::vector<std::string>& records : files) {
      for (int n = random() % (trial % 5 ? 12 : 1); n > 0; --n) {
        std::string record = "\x01\x80";
        record += static_cast<char>(0x7e + random() % 4);  // 7e..81: the sign bit counts
        record[random() % 2] = 'a';
        records.push_back(record);
      }
      std::sort(records.begin(), records.end(), [](std::string const& a, std::string const& b) {
        return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                            [](char x, char y) {
                                              return static_cast<unsigned char>(x) <
                                                     static_cast<unsigned char>(y);
                                            });
      });
    }
    std::vector<std::string> onlyA, onlyB;
    std::set_difference(files[0].begin(), files[0].end(), files[1].begin(), files[1].end(),
                        std::back_inserter(onlyA));
    std::set_difference(files[1].begin(), files[1].end(), files[0].begin(), files[0].end(),
                        std::back_inserter(onlyB));
    std::vector<std::pair<std::string, char>> lines;  // hex sorts as the bytes do
    for (std::string const& r : onlyA) lines.push_back({Hex(r), '<'});
    for (std::string const& r : onlyB) lines.push_back({Hex(r), '>'});
    std::sort(lines.begin(), lines.end());
    std::string expected;
    for (auto const& line : lines) {
      expected += std::string(1, line.second) + " " + line.first + "\n";
    }

    std::string a, b;
    for (std::string const& r : files[0]) a += r;
    for (std::string const& r : files[1]) b += r;
    ChildResult result =
        Krinfo({"diff", "--record-size", "3", dir.Make("a", a), dir.Make("b", b)});
    EXPECT_TRUE(result.exited);
    EXPECT_EQ(result.exitCode, expected.empty() ? 0 : 1) << trial;
    EXPECT_EQ(result.out, expected) << trial;
    EXPECT_EQ(result.err, "");
  }
}

TEST(KrinfoDiff, TextOutput) {
  kr_test::TempDir dir;
  std::string const a = dir.Make("a", "apple\nbanan\ncherr\n");
  std::string const b = dir.Make("b", "\\x\x01yz\nbanan\ndates\n");
  ChildResult result = Krinfo({"diff", "--text", "--record-size", "6", a, b});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.out, "> \\\\x\\x01yz\n< apple\n< cherr\n> dates\n");
  // Only a newline that ends the record is left out.
  std::string const inner = dir.Make("inner", "a\nbabc"), plain = dir.Make("plain", "abc");
  result = Krinfo({"diff", "--record-size", "0x3", "--text", "--", inner, plain});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.out, "< a\\x0ab\n");
  EXPECT_EQ(Krinfo({"diff", "--text", "--record-size", "6", a, a}).out, "");
}

TEST(KrinfoDiff, BadArgumentsAndInputs) {
  using kr_test::ExpectUsageError;
  kr_test::TempDir dir;
  std::string const sorted = dir.Make("sorted", "aabbbc");
  std::string const unsorted = dir.Make("unsorted", "aabbab\x80\x80" "bb");
  std::string const odd = dir.Make("odd", "aab");
  ExpectUsageError(Krinfo({"diff", sorted, sorted}), "krinfo diff: no --record-size given");
  ExpectUsageError(Krinfo({"diff", "--record-size", "2", sorted}), "two files needed");
  ExpectUsageError(Krinfo({"diff", "--record-size", "2", sorted, sorted, sorted}),
                   "unexpected argument '" + sorted + "'");
  ExpectUsageError(Krinfo({"diff", "--record-size"}), "option --record-size needs a size");
  for (char const* size : {"0", "-2", "1048577", "2x", ""}) {
    ExpectUsageError(Krinfo({"diff", "--record-size", size, sorted, sorted}),
                     std::string("bad record size '") + size + "' (1 to 1048576 bytes)");
  }
  ExpectUsageError(Krinfo({"diff", "--record", "2", sorted, sorted}), "unknown option '--record'");
  ExpectUsageError(Krinfo({"diff", "--record-size", "2", sorted, odd}),
                   "'" + odd + "' holds 3 bytes, not a whole number of 2-byte records");
  ExpectUsageError(Krinfo({"diff", "--record-size", "2", unsorted, sorted}),
                   "'" + unsorted + "' is not sorted: record 3 is smaller than record 2");
  ExpectUsageError(Krinfo({"diff", "--record-size", "2", sorted, dir.Name("missing")}),
                   "cannot open '" + dir.Name("missing") + "': No such file or directory");
  ExpectUsageError(Krinfo({"diff", "--record-size", "2", sorted, dir.path()}),
                   "cannot read '" + dir.path() + "'");
  // The same file twice, and records past the 0x80 boundary: in order.
  EXPECT_EQ(Krinfo({"diff", "--record-size", "1048576", odd, odd}).exitCode, 2);
  std::string const high = dir.Make("high", std::string("ab\x7f\x7f\x80\x01", 6));
  EXPECT_EQ(Krinfo({"diff", "--record-size", "2", high, high}).exitCode, 0);
}

}  // namespace
