#include <kr/containers.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "diff_test_support.h"

namespace {

using kr_test::Contents;
using kr_test::Records;

const int kFail = -4242;

// A ready diff list that logs its operations (First, Next, Search, Insert,
// Delete) and fails the n-th one; its misses may read -511.
struct LoggingList : KrDiffListIterator {
  LoggingList(KrDiffList* list, int n, int miss)
      : KrDiffListIterator(list), failAt(n), missCode(miss) {}
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
  int failAt, missCode;
  std::string log;
};
// An output of one-byte records whose n-th insertion fails with `code`.
struct FailingOutput : KrRecordingContainer {
  FailingOutput(int n, int failure) : KrRecordingContainer(&file, 1), at(n), code(failure) {}
  int InsertElement(KrVIterator const* p, KrVParameter* pp, unsigned short m,
                    KrVParameter* q) override {
    return ++calls == at ? code : KrRecordingContainer::InsertElement(p, pp, m, q);
  }
  MemFile file{0, 0};
  int calls = 0, at, code;
};

// An input whose n-th First or Next fails; it may fail every comparison.
struct FailingWalk : KrMemFileIterator {
  explicit FailingWalk(KrMemFileContainer* records) : KrMemFileIterator(records) {}
  int First() override { return ++calls == failAt ? kFail : KrMemFileIterator::First(); }
  int Next() override { return ++calls == failAt ? kFail : KrMemFileIterator::Next(); }
  int CompareElement(KrVIterator const* o, KrVParameter* op, int& k, int& r,
                     KrVParameter* p) const override {
    return failCompare ? kFail : KrMemFileIterator::CompareElement(o, op, k, r, p);
  }
  int calls = 0, failAt = 0;
  bool failCompare = false;
};

struct Outcome {
  int result;
  std::string onlyFirst, onlySecond, ops, counts;  // counts: the entries left
};

// Diffs two strings of one-byte records.
Outcome DiffStrings(std::string const& a, std::string const& b, double ratio, int failAt = 0,
                    int missCode = kKrNotFound, int outputAt = 0, int outputCode = 0) {
  Records first(a, 1), second(b, 1);
  KrDiffList list(1, nullptr);
  LoggingList log(&list, failAt, missCode);
  FailingOutput onlyFirst(outputAt, outputCode), onlySecond(0, 0);
  KrVContainerDiffer differ;
  differ.diffList = &log;
  Outcome got = {differ.Diff(&first.walk, &second.walk, &onlyFirst, &onlySecond, ratio),
                 Contents(onlyFirst.file), Contents(onlySecond.file), log.log, ""};
  KrDiffListIterator entries(&list);
  for (int s = entries.First(); s == 0; s = entries.Next()) {
    got.counts += *static_cast<char const*>(entries.GetElement(s, nullptr)) +
                  std::to_string(*entries.DiffCount()) + " ";
  }
  return got;
}

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
  for (Case const& c : cases) {
    for (int missCode : {-510, -511}) {
      Outcome got = DiffStrings(c.a, c.b, c.ratio, 0, missCode);
      std::string const trace = std::string(c.a) + " vs " + c.b;
      EXPECT_EQ(got.result, c.result) << trace;
      EXPECT_EQ(got.onlyFirst + "|" + got.onlySecond, std::string(c.onlyFirst) + "|" + c.onlySecond)
          << trace;
      EXPECT_EQ(got.ops, c.ops) << trace;
      EXPECT_EQ(got.counts, c.counts) << trace;
    }
  }
}

// Whichever diff-list operation fails, Diff ends with its code at once, and
// what was written up to then stays: a start of the full run's output. A
// failed output ends it too, except that draining takes -521 and -522 for an
// end and reports what was written.
TEST(ContainerDiffer, EndsWithTheFailureOfAnyCall) {
  Outcome const full = DiffStrings("ABCDEE", "BDAFEC", 1);
  for (char op : std::string("FNSID")) ASSERT_NE(full.ops.find(op), std::string::npos) << op;
  for (int n = 1; n <= static_cast<int>(full.ops.size()); ++n) {
    Outcome failed = DiffStrings("ABCDEE", "BDAFEC", 1, n);
    EXPECT_EQ(failed.result, kFail) << n;
    EXPECT_EQ(failed.ops, full.ops.substr(0, n));
    EXPECT_EQ(full.onlyFirst.rfind(failed.onlyFirst, 0), 0u) << n;
    EXPECT_EQ(full.onlySecond.rfind(failed.onlySecond, 0), 0u) << n;
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
    Outcome got = DiffStrings(c.a, c.b, 1, 0, kKrNotFound, c.at, c.code);
    EXPECT_EQ(got.result, c.result) << c.a << " " << c.code;
    EXPECT_EQ(got.onlyFirst, c.written) << c.a << " " << c.code;
  }
  // Inputs: the other side makes no step after the first side's failure.
  for (int n = 0; n <= 4; ++n) {
    Records a("ABC", 1), b("ABC", 1);
    FailingWalk first(&a.container), second(&b.container);
    first.failAt = n;
    first.failCompare = n == 0;
    KrDiffList list(1, nullptr);
    KrDiffListIterator entries(&list);
    FailingOutput onlyFirst(0, 0), onlySecond(0, 0);
    KrVContainerDiffer differ;
    differ.diffList = &entries;
    EXPECT_EQ(differ.Diff(&first, &second, &onlyFirst, &onlySecond, 1), kFail) << n;
    EXPECT_EQ(second.calls, n == 0 ? 1 : n - 1) << n;
  }
  KrVContainerDiffer none;  // no diff list
  Records a("A", 1);
  EXPECT_EQ(none.Diff(&a.walk, &a.walk, nullptr, nullptr, 1), kKrNotImplemented);
}

// Trees of ints, compared by a function that counts its calls on one tree.
KrVContainer const* gCounted = nullptr;
int gComparisons = 0;
int CompareInts(KrVContainer const* container, int& keyComparison, int& order, KrVIterator const*,
                void const* probeKey, void const*, void const* element, KrVParameter*) {
  gComparisons += container == gCounted;
  int a = *static_cast<int const*>(probeKey), b = *static_cast<int const*>(element);
  order = keyComparison = (a > b) - (a < b);
  return 0;
}
struct IntTree : KrRBTree {
  explicit IntTree(std::vector<int> const& values) : KrRBTree(sizeof(int), 0, 0) {
    compareElement = CompareInts;
    for (int v : values) {
      KrOneEntryContainer one(&v, nullptr, 0);
      KrOneEntryIterator probe(&one, nullptr);
      InsertElement(&probe, nullptr, 0, nullptr);
    }
  }
  std::vector<int> Values() {
    std::vector<int> values;
    KrRBTreeIterator it(this, nullptr);
    for (int s = it.First(); s == 0; s = it.Next()) {
      values.push_back(*static_cast<int const*>(it.GetElement(s, nullptr)));
    }
    return values;
  }
};
int DiffTrees(KrVIterator* a, KrVIterator* b, IntTree* onlyA, IntTree* onlyB, double ratio) {
  KrDiffList list(sizeof(int), CompareInts);
  KrDiffListIterator entries(&list);
  KrVContainerDiffer differ;
  differ.diffList = &entries;
  return differ.Diff(a, b, onlyA, onlyB, ratio);
}

// Evens against odds: every pair compared is a mismatch, so the comparisons
// made are the budget: ratio x the larger count, truncated; 10 when that is
// below 1 but positive; unlimited for NaN; none for 0 or a negative ratio.
// Then a one-entry container as either input.
TEST(ContainerDiffer, TreesBudgetAndOneEntryInputs) {
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
    std::vector<int> evens, odds;
    for (int i = 0; i < c.n; ++i) evens.push_back(2 * i), odds.push_back(2 * i + 1);
    IntTree first(evens), second(odds), onlyFirst({}), onlySecond({});
    KrRBTreeIterator a(&first, nullptr), b(&second, nullptr);
    gCounted = &first;
    gComparisons = 0;
    EXPECT_EQ(DiffTrees(&a, &b, &onlyFirst, &onlySecond, c.ratio), 1);
    EXPECT_EQ(gComparisons, c.comparisons) << c.n << " x " << c.ratio;
    EXPECT_EQ(onlyFirst.Values(), evens);
    EXPECT_EQ(onlySecond.Values(), odds);
  }
  for (int probe : {4, 5}) {
    IntTree tree({3, 5}), onlyProbe({}), onlyTree({});
    KrOneEntryContainer one(&probe, nullptr, 0);
    one.compareElement = CompareInts;
    KrOneEntryIterator single(&one, nullptr);
    KrRBTreeIterator walk(&tree, nullptr);
    EXPECT_EQ(probe == 4 ? DiffTrees(&single, &walk, &onlyProbe, &onlyTree, 1)
                         : DiffTrees(&walk, &single, &onlyTree, &onlyProbe, 1), 1);
    EXPECT_EQ(onlyProbe.Values(), probe == 4 ? std::vector<int>{4} : std::vector<int>{});
    EXPECT_EQ(onlyTree.Values(), probe == 4 ? std::vector<int>({3, 5}) : std::vector<int>{3});
  }
}

// Two sorted multisets, then random insertions, deletions and swaps of
// neighbours on either side: whatever the ratio, the outputs are exactly the
// multiset differences.
TEST(ContainerDiffer, AgreesWithSetDifferenceOnRandomEdits) {
  std::mt19937 random(8);
  auto sorted = [](std::string const& bytes) {  // of 2-byte big-endian records
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
        std::size_t at = values.empty() ? 0 : random() % values.size();
        int kind = random() % 3;
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
      int result = differ.Diff(&first.walk, &second.walk, &outFirst, &outSecond, ratio);
      ASSERT_EQ(result, onlyA.empty() && onlyB.empty() ? 0 : 1) << trial << " " << ratio;
      ASSERT_EQ(sorted(Contents(onlyFirst)), onlyA) << trial << " " << ratio;
      ASSERT_EQ(sorted(Contents(onlySecond)), onlyB) << trial << " " << ratio;
    }
  }
}

}  // namespace
