// Records in memory files, the recording output, the diff list and the
// container differ that walks the one and writes into the other.
#include <kr/containers.h>

#include <gtest/gtest.h>

#include <stdint.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <limits>
#include <string>
#include <vector>

#include "failing_alloc.h"
#include "recording_handler.h"
#include "tree_test_support.h"

namespace {

const int kFail = -4242;

void Append(MemFile& file, std::string const& bytes) {
  file.Put(reinterpret_cast<unsigned char const*>(bytes.data()), file.logicalSize,
           static_cast<long>(bytes.size()));
}
std::string Contents(MemFile const& file) {
  return std::string(reinterpret_cast<char const*>(file.buffer),
                     static_cast<std::size_t>(file.logicalSize));
}

// `bytes` as `size`-byte records from offset 0, and a walk over them whose
// n-th First or Next fails; it counts its comparisons and may fail them all.
struct Records : KrMemFileIterator {
  Records(std::string const& bytes, unsigned long size)
      : KrMemFileIterator(nullptr),
        records((Append(file, bytes), &file), size, bytes.size() / size) {
    SetContainer(&records);
  }
  int First() override { return ++steps == failAt ? kFail : KrMemFileIterator::First(); }
  int Next() override { return ++steps == failAt ? kFail : KrMemFileIterator::Next(); }
  int CompareElement(KrVIterator const* o, KrVParameter* op, int& k, int& r,
                     KrVParameter* p) const override {
    ++compares;
    return failCompare ? kFail : KrMemFileIterator::CompareElement(o, op, k, r, p);
  }
  MemFile file{0, 0};
  KrMemFileContainer records;
  int steps = 0, failAt = 0;
  mutable int compares = 0;
  bool failCompare = false;
};

// Records walk from the file's position at construction, forwards only, and
// compare as unsigned bytes (first difference deciding, both results); a
// side that is not positioned gives its status. The recording output appends
// at the logical end, built from the probe's key; a failure leaves the file.
TEST(MemFileContainers, WalkCompareAndRecord) {
  Records walk("----aaabbb", 3);
  walk.file.position = 4;
  KrMemFileContainer records(&walk.file, 3, 2);
  walk.SetContainer(&records);
  std::string seen;
  for (int s = walk.First(), status; s == 0 || seen.size() < 20; s = walk.Next()) {
    char const* record = static_cast<char const*>(walk.GetKey(status, nullptr));
    seen += std::to_string(s) + (s == 0 ? std::string(record, 3) : "") + " ";
  }
  EXPECT_EQ(seen, "0aaa 0bbb -522 -522 ");
  EXPECT_TRUE(walk.Prior() == kKrNotImplemented && walk.First() == 0 && walk.file.position == 4);
  for (char const* c : {"abcabd-", "abdabc+", "abcabc=", "\x80..\x7f..+", "a\x7f.a\x80.-"}) {
    Records a(std::string(c, 3), 3);
    KrOneEntryContainer one(c + 3, nullptr, 0);
    KrOneEntryIterator probe(&one, nullptr);
    int key = 9, order = 9, expected = c[6] == '+' ? 1 : c[6] == '-' ? -1 : 0;
    EXPECT_EQ(a.CompareElement(&probe, nullptr, key, order, nullptr), -521);
    EXPECT_TRUE(a.First() == 0 && a.CompareElement(&probe, nullptr, key, order, nullptr) == 0);
    EXPECT_TRUE(key == expected && order == expected) << c;
  }

  MemFile file(0, 0);
  Append(file, "head:");
  KrRecordingContainer out(&file, 3), huge(&file, 4096);
  KrOneEntryContainer one("xyz", nullptr, 0);
  KrOneEntryIterator probe(&one, nullptr);
  KrMemFileIterator fresh(&records);
  EXPECT_EQ(out.InsertElement(&fresh, nullptr, 0, nullptr), -521);  // no element yet
  EXPECT_TRUE(fresh.First() == 0 && out.InsertElement(&fresh, nullptr, 0, nullptr) == 0);
  EXPECT_EQ(out.InsertElement(&probe, nullptr, 0, nullptr), 0);
  out.constructorElement = [](KrVContainer*, void*, KrVIterator const*, void const*, void const*,
                              KrVParameter*) { return -77; };
  EXPECT_EQ(out.InsertElement(&probe, nullptr, 0, nullptr), -77);
  {
    kr_test::RecordingHandler handler;
    kr_test::AllocationFailure failure(1, true);
    EXPECT_TRUE(huge.InsertElement(&probe, nullptr, 0, nullptr) == kKrNoMemory && handler.calls == 1);
  }
  EXPECT_TRUE(Contents(file) == "head:aaaxyz" && out.count == 2);
}

// Counts start at -1, or +1 when bit 0 of aux is set whatever its other bits;
// a second entry for an element is refused; deleting at the end, off an entry
// and when stale. Equal keys of different elements are separate entries.
TEST(DiffList, EntriesCountsAndDeletion) {
  KrDiffList list(5, nullptr);
  EXPECT_TRUE(list.countOffset == 8u && list.elementSize == 12u);
  KrDiffListIterator entries(&list);
  KrVParameter first, second;
  first.aux = reinterpret_cast<void*>(static_cast<uintptr_t>(0x10));
  second.aux = reinterpret_cast<void*>(static_cast<uintptr_t>(0x11));
  KrOneEntryContainer b("bbbbb", nullptr, 0), c("ccccc", nullptr, 0);
  KrOneEntryIterator atB(&b, nullptr), atC(&c, nullptr);
  ASSERT_EQ(entries.InsertElement(&atC, nullptr, 0, &second), 0);
  EXPECT_EQ(*entries.DiffCount(), 1);
  ASSERT_EQ(entries.InsertElement(&atB, nullptr, 0, &first), 0);
  EXPECT_EQ(*entries.DiffCount(), -1);
  EXPECT_EQ(entries.InsertElement(&atB, nullptr, 0, &second), kKrDuplicate);
  EXPECT_EQ(entries.Last(), 0);
  EXPECT_EQ(entries.DeleteElement(0, nullptr), 0);  // the greatest: past the end
  EXPECT_TRUE(entries.status == -522 && !entries.DiffCount());
  EXPECT_EQ(entries.DeleteElement(0, nullptr), -522);  // not on an entry
  EXPECT_EQ(entries.First(), 0);
  EXPECT_EQ(list.InsertElement(&atC, nullptr, 0, nullptr), 0);  // behind its back
  EXPECT_TRUE(entries.DeleteElement(0, nullptr) == -513 && list.count == 2);
  KrDiffList items(sizeof(kr_test::Item), kr_test::CompareItems);
  for (int payload : {1, 2, 1}) {
    kr_test::Probe probe({1, payload, 0});
    int const expected = items.count == 2 ? kKrDuplicate : 0;
    EXPECT_EQ(items.InsertElement(&probe.it, nullptr, 0, nullptr), expected) << payload;
  }
}

// A ready diff list that logs its operations ('F'irst, 'N'ext, 'S'earch,
// 'I'nsert, 'D'elete) and fails the n-th one; its misses may read -511.
struct LoggingList : KrDiffListIterator {
  explicit LoggingList(KrDiffList* list) : KrDiffListIterator(list) {}
  bool Fails(char op) {
    log += op;
    return static_cast<int>(log.size()) == failAt;
  }
  int First() override { return Fails('F') ? kFail : KrDiffListIterator::First(); }
  int Next() override { return Fails('N') ? kFail : KrDiffListIterator::Next(); }
  int SearchElement(KrVIterator const* p, KrVParameter* pp, unsigned short m,
                    KrVParameter* q) override {
    int result = Fails('S') ? kFail : KrDiffListIterator::SearchElement(p, pp, m, q);
    return result == kKrNotFound ? missCode : result;
  }
  int InsertElement(KrVIterator const* p, KrVParameter* pp, unsigned short m,
                    KrVParameter* q) override {
    return Fails('I') ? kFail : KrDiffListIterator::InsertElement(p, pp, m, q);
  }
  int DeleteElement(unsigned short m, KrVParameter* q) override {
    return Fails('D') ? kFail : KrDiffListIterator::DeleteElement(m, q);
  }
  int failAt = 0, missCode = kKrNotFound;
  std::string log;
};
// An output of records whose n-th insertion fails with `code`.
struct Output : KrRecordingContainer {
  explicit Output(unsigned long size) : KrRecordingContainer(&file, size) {}
  int InsertElement(KrVIterator const* p, KrVParameter* pp, unsigned short m,
                    KrVParameter* q) override {
    return ++calls == at ? code : KrRecordingContainer::InsertElement(p, pp, m, q);
  }
  std::string Sorted() const {
    std::string bytes = Contents(file);
    std::sort(bytes.begin(), bytes.end());
    return bytes;
  }
  MemFile file{0, 0};
  int calls = 0, at = 0, code = 0;
};

// One Diff of two strings of one-byte records; set failures before Run.
struct DiffRun {
  DiffRun(std::string const& a, std::string const& b) : first(a, 1), second(b, 1) {}
  int Run(double ratio) {
    KrVContainerDiffer differ;
    differ.diffList = &log;
    int result = differ.Diff(&first, &second, &onlyFirst, &onlySecond, ratio);
    KrDiffListIterator entries(&list);
    for (int s = entries.First(); s == 0; s = entries.Next()) {
      counts += *static_cast<char const*>(entries.GetElement(s, nullptr)) +
                std::to_string(*entries.DiffCount()) + " ";
    }
    return result;
  }
  Records first, second;
  KrDiffList list{1, nullptr};
  LoggingList log{&list};
  Output onlyFirst{1}, onlySecond{1};
  std::string counts;  // the entries left in the list
};

// Outputs in their order of writing, the diff-list traffic, the entries left.
TEST(ContainerDiffer, ScenariosWithTheirDiffListTraffic) {
  struct Case {
    char const *a, *b;
    double ratio;
    int result;
    char const *onlyFirst, *onlySecond, *ops, *counts;
  } const cases[] = {
      {"ABC", "ABC", 1, 0, "", "", "F", ""},  // in step: the list is not touched
      {"", "", 1, 0, "", "", "F", ""},
      {"", "ABC", 1, 1, "", "ABC", "F", ""},  // straight to the output
      {"ABC", "", 0, 1, "ABC", "", "F", ""},
      {"ABC", "AC", 1, 1, "B", "", "SISISDFN", "B-1 "},
      {"ABC", "BCA", 1, 0, "", "", "SISISDSDF", ""},  // parked A cancelled at the end
      {"ABC", "CBA", 0, 0, "", "", "SISISISDSDSDF", ""},  // no comparison: all via the list
      {"AAB", "AB", 1, 1, "A", "", "SISISDFN", "A-1 "},
      {"AB", "BB", 1, 1, "A", "B", "SISIFNN", "A-1 B1 "},
      {"ABCD", "DCBA", 10, 0, "", "", "SISISISISDSDSDSDF", ""},
      {"AB", "BAC", 1, 1, "", "C", "SISISDSDF", ""},  // C straight out: nothing to cancel
      {"ACD", "BAE", 1, 1, "DC", "BE", "SISISISDSISFNNN", "B1 C-1 E1 "},  // a twin keeps the turn
      {"AAAC", "BBD", 1, 1, "AAAC", "DBB", "SISISSSISSFNNN", "A-3 B2 C-1 "},
  };
  for (auto const& c : cases) {
    for (int missCode : {-510, -511}) {
      SCOPED_TRACE(std::string(c.a) + " vs " + c.b + " " + std::to_string(missCode));
      DiffRun run(c.a, c.b);
      run.log.missCode = missCode;
      EXPECT_EQ(run.Run(c.ratio), c.result);
      EXPECT_EQ(Contents(run.onlyFirst.file), c.onlyFirst);
      EXPECT_EQ(Contents(run.onlySecond.file), c.onlySecond);
      EXPECT_EQ(run.log.log, c.ops);
      EXPECT_EQ(run.counts, c.counts);
    }
  }
}

// Whichever diff-list call fails, Diff ends with its code at once and what
// was written stays: a start of the full run's output. A failed output ends
// it too, except that draining takes -521 and -522 for an end. A failing
// input stops the other side from stepping on.
TEST(ContainerDiffer, EndsWithTheFailureOfAnyCall) {
  DiffRun full("ABCDEE", "BDAFEC");
  full.Run(1);
  std::string const ops = full.log.log, a = Contents(full.onlyFirst.file),
                    b = Contents(full.onlySecond.file);
  for (char op : std::string("FNSID")) ASSERT_NE(ops.find(op), std::string::npos) << op;
  for (int n = 1; n <= static_cast<int>(ops.size()); ++n) {
    DiffRun failed("ABCDEE", "BDAFEC");
    failed.log.failAt = n;
    EXPECT_EQ(failed.Run(1), kFail) << n;
    EXPECT_EQ(failed.log.log, ops.substr(0, n));
    EXPECT_EQ(a.rfind(Contents(failed.onlyFirst.file), 0), 0u) << n;
    EXPECT_EQ(b.rfind(Contents(failed.onlySecond.file), 0), 0u) << n;
  }
  struct Case {
    char const *a, *b;
    int at, code, result;
    char const* written;
  } const cases[] = {{"AB", "", 2, -7, -7, "A"},
                     {"AB", "", 2, kKrAfterLast, kKrAfterLast, "A"},  // a direct write
                     {"AAB", "B", 1, -7, -7, ""},                     // while draining
                     {"AAB", "B", 1, kKrAfterLast, 1, ""},
                     {"AAB", "B", 2, kKrBeforeFirst, 1, "A"}};
  for (Case const& c : cases) {
    DiffRun run(c.a, c.b);
    run.onlyFirst.at = c.at;
    run.onlyFirst.code = c.code;
    EXPECT_EQ(run.Run(1), c.result) << c.a << " " << c.code;
    EXPECT_EQ(Contents(run.onlyFirst.file), c.written) << c.a << " " << c.code;
  }
  for (int n = 0; n <= 4; ++n) {  // 0: the comparison fails
    DiffRun run("ABC", "ABC");
    run.first.failAt = n;
    run.first.failCompare = n == 0;
    EXPECT_EQ(run.Run(1), kFail) << n;
    EXPECT_EQ(run.second.steps, n == 0 ? 1 : n - 1) << n;
  }
  KrVContainerDiffer none;  // no diff list
  Records one("A", 1);
  EXPECT_EQ(none.Diff(&one, &one, nullptr, nullptr, 1), kKrNotImplemented);
}

// Evens against odds: every pair compared is a mismatch, so the comparisons
// made are the budget: ratio x the larger count, truncated; 10 when that is
// below 1 but positive; unlimited for NaN; none for 0 or a negative ratio.
TEST(ContainerDiffer, MismatchBudget) {
  double const nan = std::numeric_limits<double>::quiet_NaN();
  double const inf = std::numeric_limits<double>::infinity();
  struct Case {
    int n;
    double ratio;
    int comparisons;
  } const cases[] = {{30, 0, 0},   {30, 0.01, 10}, {30, 0.05, 1}, {30, 0.5, 15}, {30, 10, 30},
                     {30, nan, 30}, {30, inf, 30},  {30, -1, 0},   {10, 0.05, 10}, {10, 0.1, 1},
                     {10, 0.29, 2}, {30, 4294967295.0, 30}};
  for (Case const& c : cases) {
    std::string evens, odds;
    for (char i = 0; i < c.n; ++i) evens += static_cast<char>(2 * i), odds += evens.back() + 1;
    DiffRun run(evens, odds);
    EXPECT_EQ(run.Run(c.ratio), 1);
    EXPECT_EQ(run.first.compares, c.comparisons) << c.n << " x " << c.ratio;
    EXPECT_TRUE(run.onlyFirst.Sorted() == evens && run.onlySecond.Sorted() == odds) << c.ratio;
  }
}

// Two sorted multisets of 2-byte records, then random insertions, deletions and swaps of
// neighbours on either side: whatever the ratio, the outputs are exactly the multiset
// differences.
TEST(ContainerDiffer, AgreesWithSetDifferenceOnRandomEdits) {
  std::mt19937 random(8);
  auto sorted = [](std::string const& bytes) {
    std::vector<std::string> records;
    for (std::size_t i = 0; i < bytes.size(); i += 2) records.push_back(bytes.substr(i, 2));
    std::sort(records.begin(), records.end());
    return records;
  };
  for (int trial = 0; trial < 300; ++trial) {
    std::vector<unsigned> base(random() % 60);
    for (unsigned& v : base) v = random() % (trial % 2 ? 20 : 1000);
    std::sort(base.begin(), base.end());
    std::string bytes[2];
    for (std::string& side : bytes) {
      std::vector<unsigned> values = base;
      for (int edits = random() % 8; edits > 0; --edits) {
        std::size_t const at = values.empty() ? 0 : random() % values.size();
        int const kind = random() % 3;
        if (kind == 0) values.insert(values.begin() + at, random() % 1000);
        if (kind == 1 && !values.empty()) values.erase(values.begin() + at);
        if (kind == 2 && at + 1 < values.size()) std::swap(values[at], values[at + 1]);
      }
      for (unsigned v : values) side += {static_cast<char>(v >> 8), static_cast<char>(v)};
    }
    std::vector<std::string> a = sorted(bytes[0]), b = sorted(bytes[1]), onlyA, onlyB;
    std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(onlyA));
    std::set_difference(b.begin(), b.end(), a.begin(), a.end(), std::back_inserter(onlyB));
    for (double ratio : {0.0, 0.05, 1.0, 10.0}) {
      Records first(bytes[0], 2), second(bytes[1], 2);
      KrDiffList list(2, nullptr);
      KrDiffListIterator entries(&list);
      MemFile onlyFirst(0, 0), onlySecond(0, 0);
      KrRecordingContainer outFirst(&onlyFirst, 2), outSecond(&onlySecond, 2);
      KrVContainerDiffer differ;
      differ.diffList = &entries;
      int const result = differ.Diff(&first, &second, &outFirst, &outSecond, ratio);
      ASSERT_EQ(result, onlyA.empty() && onlyB.empty() ? 0 : 1) << trial << " " << ratio;
      ASSERT_EQ(sorted(Contents(onlyFirst)), onlyA) << trial << " " << ratio;
      ASSERT_EQ(sorted(Contents(onlySecond)), onlyB) << trial << " " << ratio;
    }
  }
}

}  // namespace
