#include <kr/containers.h>

#include <gtest/gtest.h>

#include <string>

#include "diff_test_support.h"

namespace {

using kr_test::Records;

// Records from the position the file had at construction; past the last one
// Next keeps answering -522; a start past the logical end gives -521.
TEST(MemFileContainer, WalksItsRecordsFromTheFilesPosition) {
  MemFile file(0, 0);
  kr_test::Append(file, std::string(16, '-') + "aaabbbccc");
  file.position = 16;
  KrMemFileContainer records(&file, 3, 3);
  KrMemFileIterator walk(&records);
  EXPECT_EQ(walk.status, -521);
  std::string seen;
  for (int step = 0; step < 5; ++step) {
    int s = step == 0 ? walk.First() : walk.Next(), status = 1;
    char const* record = static_cast<char const*>(walk.GetKey(status, nullptr));
    seen += std::to_string(s) + "/" + std::to_string(status) + "/" +
            (s == 0 ? std::string(record, 3) + std::to_string(records.currentIndex) : "") + " ";
  }
  EXPECT_EQ(seen, "0/0/aaa0 0/0/bbb1 0/0/ccc2 -522/-522/ -522/-522/ ");
  EXPECT_EQ(walk.Prior(), kKrNotImplemented);  // forwards only
  EXPECT_EQ(walk.First(), 0);
  EXPECT_EQ(file.position, 16);
  file.position = 26;  // past the logical end of 25
  KrMemFileContainer empty(&file, 3, 0), pastTheEnd(&file, 3, 1);
  KrMemFileIterator onEmpty(&empty), onPast(&pastTheEnd), none(nullptr);
  EXPECT_EQ(onEmpty.First(), -521);
  EXPECT_EQ(onPast.First(), -521);
  EXPECT_EQ(none.First(), -520);
}

// Unsigned bytes, the first difference deciding, in both results; against a
// one-entry probe too. A side that is not positioned gives its status and
// leaves the results alone.
TEST(MemFileContainer, ComparesRecordsAsUnsignedBytes) {
  struct Case {
    char const *a, *b;
    int expected;
  } const cases[] = {{"abc", "abd", -1}, {"abd", "abc", 1}, {"abc", "abc", 0},
                     {"\x80..", "\x7f..", 1}, {"a\x7f.", "a\x80.", -1}, {"ba.", "ab.", 1}};
  for (Case const& c : cases) {
    Records a(c.a, 3);
    KrOneEntryContainer one(c.b, nullptr, 0);
    KrOneEntryIterator probe(&one, nullptr);
    int keyComparison = 9, order = 9;
    EXPECT_EQ(a.walk.CompareElement(&probe, nullptr, keyComparison, order, nullptr), -521);
    ASSERT_EQ(a.walk.First(), 0);
    EXPECT_EQ(a.walk.CompareElement(&probe, nullptr, keyComparison, order, nullptr), 0);
    EXPECT_EQ(keyComparison, c.expected) << c.a << " " << c.b;
    EXPECT_EQ(order, c.expected) << c.a << " " << c.b;
    probe.Next();
    EXPECT_EQ(a.walk.CompareElement(&probe, nullptr, keyComparison, order, nullptr), -522);
    EXPECT_EQ(order, c.expected);
  }
}

}  // namespace
