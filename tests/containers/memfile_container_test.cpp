#include <kr/containers.h>

#include <gtest/gtest.h>

#include <string>

#include "diff_test_support.h"

namespace {

using kr_test::Records;

TEST(MemFileContainer, WalksItsRecordsFromTheFilesPosition) {
  MemFile file(0, 0);
  kr_test::Append(file, std::string(16, '-') + "aaabbbccc");
  EXPECT_NE(file.Seek(16, 0, nullptr, 0), nullptr);
  KrMemFileContainer records(&file, 3, 3);
  EXPECT_EQ(records.startOffset, 16u);
  EXPECT_EQ(records.GetType(), 0);
  KrMemFileIterator walk(&records);
  EXPECT_EQ(walk.status, -521);
  EXPECT_EQ(walk.GetType(), 0);
  std::string seen, statuses;
  for (int step = 0; step < 5; ++step) {
    int s = step == 0 ? walk.First() : walk.Next();
    int status = 1;
    void const* record = walk.GetKey(status, nullptr);
    statuses += std::to_string(s) + "/" + std::to_string(status) + " ";
    if (s == 0) {
      seen += std::string(static_cast<char const*>(record), 3);
      seen += std::to_string(records.currentIndex);
    }
  }
  EXPECT_EQ(statuses, "0/0 0/0 0/0 -522/-522 -522/-522 ");
  EXPECT_EQ(seen, "aaa0bbb1ccc2");
  EXPECT_EQ(walk.Prior(), kKrNotImplemented);  // forwards only
  EXPECT_EQ(walk.Last(), kKrNotImplemented);
  EXPECT_EQ(walk.First(), 0);  // First starts over
  EXPECT_EQ(file.position, 16);

  KrMemFileContainer empty(&file, 3, 0);
  file.position = 26;  // Seek refuses to go there; the position may lie past the end
  KrMemFileContainer pastTheEnd(&file, 3, 1);
  KrMemFileIterator onEmpty(&empty), onPast(&pastTheEnd), none(nullptr);
  EXPECT_EQ(onEmpty.First(), -521);
  EXPECT_EQ(onPast.First(), -521);  // the start lies past the logical end
  EXPECT_EQ(none.First(), -520);
}

// Bytewise, as unsigned bytes, the first difference deciding; both results.
TEST(MemFileContainer, ComparesRecordsAsUnsignedBytes) {
  struct Case {
    char const *a, *b;
    int expected;
  } const cases[] = {{"abc", "abd", -1}, {"abd", "abc", 1}, {"abc", "abc", 0},
                     {"\x80..", "\x7f..", 1}, {"a\x7f.", "a\x80.", -1}, {"ba.", "ab.", 1}};
  for (Case const& c : cases) {
    Records a(c.a, 3), b(c.b, 3);
    ASSERT_EQ(a.walk.First(), 0);
    ASSERT_EQ(b.walk.First(), 0);
    int keyComparison = 9, order = 9;
    EXPECT_EQ(a.walk.CompareElement(&b.walk, nullptr, keyComparison, order, nullptr), 0);
    EXPECT_EQ(keyComparison, c.expected) << c.a << " " << c.b;
    EXPECT_EQ(order, c.expected) << c.a << " " << c.b;
  }
  // Against a one-entry probe, and with either side not positioned.
  Records a("abc", 3), none("", 3);
  KrOneEntryContainer one("abd", nullptr, 0);
  KrOneEntryIterator probe(&one, nullptr);
  int keyComparison = 9, order = 9;
  EXPECT_EQ(a.walk.CompareElement(&probe, nullptr, keyComparison, order, nullptr), -521);
  ASSERT_EQ(a.walk.First(), 0);
  EXPECT_EQ(a.walk.CompareElement(&probe, nullptr, keyComparison, order, nullptr), 0);
  EXPECT_EQ(order, -1);
  EXPECT_EQ(a.walk.CompareElement(&none.walk, nullptr, keyComparison, order, nullptr), -521);
  EXPECT_EQ(keyComparison, -1);  // untouched on failure
  // A record size of 0 compares equal.
  KrMemFileContainer nothing(&a.file, 0, 1);
  KrMemFileIterator zero(&nothing);
  ASSERT_EQ(zero.First(), 0);
  EXPECT_EQ(zero.CompareElement(&probe, nullptr, keyComparison, order, nullptr), 0);
  EXPECT_EQ(order, 0);
}

}  // namespace
