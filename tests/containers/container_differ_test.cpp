#include <kr/containers.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "diff_test_support.h"

namespace {

using kr_test::Output;
using kr_test::Records;

const int kFail = -4242;

// A ready diff list that logs its operations (First, Next, Search, Insert,
// Delete) and fails the n-th one; it may also report misses as -511.
struct LoggingList : KrDiffListIterator {
  explicit LoggingList(KrDiffList* list) : KrDiffListIterator(list) {}
  bool Fails(char op) {
    log += op;
    return ++ops == failAt;
  }
  int First() override { return Fails('F') ? kFail : KrDiffListIterator::First(); }
  int Next() override { return Fails('N') ? kFail : KrDiffListIterator::Next(); }
  int SearchElement(KrVIterator const* p, KrVParameter* pp, unsigned short m,
                    KrVParameter* q) override {
    if (Fails('S')) return kFail;
    int result = KrDiffListIterator::SearchElement(p, pp, m, q);
    return result == kKrNotFound ? missCode : result;
  }
  int InsertElement(KrVIterator const* p, KrVParameter* pp, unsigned short m,
                    KrVParameter* q) override {
    return Fails('I') ? kFail : KrDiffListIterator::InsertElement(p, pp, m, q);
  }
  int DeleteElement(unsigned short m, KrVParameter* q) override {
    return Fails('D') ? kFail : KrDiffListIterator::DeleteElement(m, q);
  }
  std::string log;
  int ops = 0, failAt = 0, missCode = kKrNotFound;
};

// A sequence whose iterator fails its first First, its n-th Next or every
// comparison, and an output whose n-th insertion fails with a given code.
struct FailingWalk : KrMemFileIterator {
  explicit FailingWalk(KrMemFileContainer* c) : KrMemFileIterator(c) {}
  int First() override { return failFirst ? kFail : KrMemFileIterator::First(); }
  int Next() override { return ++nexts == failNextAt ? kFail : KrMemFileIterator::Next(); }
  int CompareElement(KrVIterator const* o, KrVParameter* op, int& k, int& r,
                     KrVParameter* p) const override {
    return failCompare ? kFail : KrMemFileIterator::CompareElement(o, op, k, r, p);
  }
  bool failFirst = false, failCompare = false;
  int nexts = 0, failNextAt = 0;
};
struct FailingOutput : KrRecordingContainer {
  FailingOutput(MemFile* f, int at, int code) : KrRecordingContainer(f, 1), at(at), code(code) {}
  int InsertElement(KrVIterator const* p, KrVParameter* pp, unsigned short m,
                    KrVParameter* q) override {
    return ++calls == at ? code : KrRecordingContainer::InsertElement(p, pp, m, q);
  }
  int calls = 0, at, code;
};

struct Outcome {
  int result;
  std::string onlyFirst, onlySecond, ops;
};

// Diffs two strings of one-byte records.
Outcome DiffStrings(std::string const& a, std::string const& b, double ratio, int failAt = 0,
                    int missCode = kKrNotFound) {
  Records first(a, 1), second(b, 1);
  KrDiffList list(1, nullptr);
  LoggingList log(&list);
  log.failAt = failAt;
  log.missCode = missCode;
  Output onlyFirst(1), onlySecond(1);
  KrVContainerDiffer differ;
  differ.diffList = &log;
  int result = differ.Diff(&first.walk, &second.walk, &onlyFirst.out, &onlySecond.out, ratio);
  return {result, onlyFirst.Bytes(), onlySecond.Bytes(), log.log};
}

TEST(ContainerDiffer, ScenariosWithTheirDiffListTraffic) {
  struct Case {
    char const *a, *b;
    double ratio;
    int result;
    char const *onlyFirst, *onlySecond, *ops;
  } const cases[] = {
      {"ABC", "ABC", 1, 0, "", "", "F"},  // in step: the list is not touched
      {"", "", 1, 0, "", "", "F"},
      {"", "ABC", 1, 1, "", "ABC", "F"},  // straight to the output
      {"ABC", "", 0, 1, "ABC", "", "F"},
      {"ABC", "AC", 1, 1, "B", "", "SISISDFN"},
      {"ABC", "BCA", 1, 0, "", "", "SISISDSDF"},  // parked A cancelled at the end
      {"ABC", "CBA", 0, 0, "", "", "SISISISDSDSDF"},  // no comparison: all via the list
      {"AAB", "AB", 1, 1, "A", "", "SISISDFN"},
      {"AB", "BB", 1, 1, "A", "B", "SISIFNN"},
      {"ABCD", "DCBA", 10, 0, "", "", "SISISISISDSDSDSDF"},
      {"AB", "BAC", 1, 1, "", "C", "SISISDSDF"},  // C straight out: nothing left to cancel
      {"ACD", "BAE", 1, 1, "DC", "BE", "SISISISDSISFNNN"},  // a found twin keeps the turn
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(std::string(c.a) + " vs " + c.b);
    Outcome got = DiffStrings(c.a, c.b, c.ratio);
    EXPECT_EQ(got.result, c.result);
    EXPECT_EQ(got.onlyFirst, c.onlyFirst);
    EXPECT_EQ(got.onlySecond, c.onlySecond);
    EXPECT_EQ(got.ops, c.ops);
    // -511 is a miss as much as -510.
    Outcome viaOther = DiffStrings(c.a, c.b, c.ratio, 0, -511);
    EXPECT_EQ(viaOther.result, c.result);
    EXPECT_EQ(viaOther.ops, c.ops);
  }
}

// The entries stay after the draining, with their counts.
TEST(ContainerDiffer, LeavesTheCountsInTheDiffList) {
  Records first("AAAC", 1), second("BBD", 1);
  KrDiffList list(1, nullptr);
  KrDiffListIterator entries(&list);
  Output onlyFirst(1), onlySecond(1);
  KrVContainerDiffer differ;
  differ.diffList = &entries;
  EXPECT_EQ(differ.Diff(&first.walk, &second.walk, &onlyFirst.out, &onlySecond.out, 1), 1);
  EXPECT_EQ(onlyFirst.Bytes(), "AAAC");
  EXPECT_EQ(onlySecond.Bytes(), "DBB");  // D directly, once the first side was done
  std::string counts;
  for (int s = entries.First(); s == 0; s = entries.Next()) {
    int status = 0;
    counts += *static_cast<char const*>(entries.GetElement(status, nullptr)) +
              std::to_string(*entries.DiffCount()) + " ";
  }
  EXPECT_EQ(counts, "A-3 B2 C-1 ");
}

// Sorted int sequences in trees, ints compared through a compare function
// that counts the comparisons made on the first input.
KrVContainer const* gCounted = nullptr;
int gComparisons = 0;
int CompareInts(KrVContainer const* container, int& keyComparison, int& order, KrVIterator const*,
                void const* probeKey, void const*, void const* element, KrVParameter*) {
  if (container == gCounted) ++gComparisons;
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
    int status = 0;
    for (int s = it.First(); s == 0; s = it.Next()) {
      values.push_back(*static_cast<int const*>(it.GetElement(status, nullptr)));
    }
    return values;
  }
};

// ratio x the larger count pairwise mismatches, truncated; 10 when that is
// below 1 but positive; no limit for NaN; none for 0 and negative ratios.
TEST(ContainerDiffer, MismatchBudgetBoundsTheComparisons) {
  double const nan = std::numeric_limits<double>::quiet_NaN();
  double const inf = std::numeric_limits<double>::infinity();
  struct Case {
    int n;
    double ratio;
    int comparisons;
  } const cases[] = {{30, 0, 0},   {30, 0.01, 10}, {30, 0.05, 1},  {30, 0.5, 15},
                     {30, 10, 30}, {30, nan, 30},  {30, inf, 30},  {30, -1, 0},
                     {10, 0.05, 10}, {10, 0.1, 1}, {10, 0.29, 2}, {30, 4294967295.0, 30}};
  for (Case const& c : cases) {
    SCOPED_TRACE(std::to_string(c.n) + " x " + std::to_string(c.ratio));
    std::vector<int> evens, odds;
    for (int i = 0; i < c.n; ++i) {
      evens.push_back(2 * i);
      odds.push_back(2 * i + 1);
    }
    IntTree first(evens), second(odds), onlyFirst({}), onlySecond({});
    KrRBTreeIterator a(&first, nullptr), b(&second, nullptr);
    KrDiffList list(sizeof(int), CompareInts);
    KrDiffListIterator entries(&list);
    KrVContainerDiffer differ;
    differ.diffList = &entries;
    gCounted = &first;
    gComparisons = 0;
    EXPECT_EQ(differ.Diff(&a, &b, &onlyFirst, &onlySecond, c.ratio), 1);
    gCounted = nullptr;
    EXPECT_EQ(gComparisons, c.comparisons);
    EXPECT_EQ(onlyFirst.Values(), evens);
    EXPECT_EQ(onlySecond.Values(), odds);
  }
}

// A one-entry container as either input, against a tree.
TEST(ContainerDiffer, OneEntryProbeAgainstATree) {
  for (int probe : {3, 5, 4}) {
    for (bool probeFirst : {true, false}) {
      IntTree tree({3, 5}), onlyProbe({}), onlyTree({});
      KrOneEntryContainer one(&probe, nullptr, 0);
      one.compareElement = CompareInts;
      KrOneEntryIterator single(&one, nullptr);
      KrRBTreeIterator walk(&tree, nullptr);
      KrDiffList list(sizeof(int), CompareInts);
      KrDiffListIterator entries(&list);
      KrVContainerDiffer differ;
      differ.diffList = &entries;
      int result = probeFirst ? differ.Diff(&single, &walk, &onlyProbe, &onlyTree, 1)
                              : differ.Diff(&walk, &single, &onlyTree, &onlyProbe, 1);
      EXPECT_EQ(result, 1);
      EXPECT_EQ(onlyProbe.Values(), probe == 4 ? std::vector<int>{4} : std::vector<int>{});
      std::vector<int> rest;
      for (int v : {3, 5}) {
        if (v != probe) rest.push_back(v);
      }
      EXPECT_EQ(onlyTree.Values(), rest) << probe << probeFirst;
    }
  }
}

// Two sorted multisets, then random insertions, deletions and swaps of
// neighbours on either side: whatever the ratio, the outputs are exactly the
// multiset differences.
TEST(ContainerDiffer, AgreesWithSetDifferenceOnRandomEdits) {
  std::mt19937 random(8);
  auto asRecords = [](std::vector<unsigned> const& values) {
    std::string bytes;
    for (unsigned v : values) {
      for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(v >> shift);
    }
    return bytes;
  };
  auto sortedRecords = [](std::string const& bytes) {
    std::vector<std::string> records;
    for (std::size_t i = 0; i < bytes.size(); i += 4) records.push_back(bytes.substr(i, 4));
    std::sort(records.begin(), records.end());
    return records;
  };
  for (int trial = 0; trial < 300; ++trial) {
    std::vector<unsigned> base(random() % 60);
    for (unsigned& v : base) v = random() % (trial % 2 ? 20 : 1000);
    std::sort(base.begin(), base.end());
    std::vector<unsigned> sides[2] = {base, base};
    for (std::vector<unsigned>& side : sides) {
      for (int edits = random() % 8; edits > 0; --edits) {
        std::size_t at = side.empty() ? 0 : random() % side.size();
        int kind = random() % 3;
        if (kind == 0) side.insert(side.begin() + at, random() % 1000);
        if (kind == 1 && !side.empty()) side.erase(side.begin() + at);
        if (kind == 2 && at + 1 < side.size()) std::swap(side[at], side[at + 1]);
      }
    }
    std::string const a = asRecords(sides[0]), b = asRecords(sides[1]);
    std::vector<std::string> modelA = sortedRecords(a), modelB = sortedRecords(b), onlyA, onlyB;
    std::set_difference(modelA.begin(), modelA.end(), modelB.begin(), modelB.end(),
                        std::back_inserter(onlyA));
    std::set_difference(modelB.begin(), modelB.end(), modelA.begin(), modelA.end(),
                        std::back_inserter(onlyB));
    for (double ratio : {0.0, 0.05, 1.0, 10.0}) {
      SCOPED_TRACE("trial " + std::to_string(trial) + " ratio " + std::to_string(ratio));
      Records first(a, 4), second(b, 4);
      KrDiffList list(4, nullptr);
      KrDiffListIterator entries(&list);
      Output onlyFirst(4), onlySecond(4);
      KrVContainerDiffer differ;
      differ.diffList = &entries;
      int result = differ.Diff(&first.walk, &second.walk, &onlyFirst.out, &onlySecond.out, ratio);
      ASSERT_EQ(result, onlyA.empty() && onlyB.empty() ? 0 : 1);
      ASSERT_EQ(sortedRecords(onlyFirst.Bytes()), onlyA);
      ASSERT_EQ(sortedRecords(onlySecond.Bytes()), onlyB);
    }
  }
}

// Whichever diff-list operation fails, Diff ends with its code at once, and
// what was written up to then stays: a start of the full run's output.
TEST(ContainerDiffer, EndsWithTheFailureOfAnyDiffListOperation) {
  Outcome const full = DiffStrings("ABCDEE", "BDAFEC", 1);
  for (char op : std::string("FNSID")) ASSERT_NE(full.ops.find(op), std::string::npos) << op;
  for (int n = 1; n <= static_cast<int>(full.ops.size()); ++n) {
    SCOPED_TRACE(n);
    Outcome failed = DiffStrings("ABCDEE", "BDAFEC", 1, n);
    EXPECT_EQ(failed.result, kFail);
    EXPECT_EQ(failed.ops, full.ops.substr(0, n));
    EXPECT_EQ(full.onlyFirst.rfind(failed.onlyFirst, 0), 0u);
    EXPECT_EQ(full.onlySecond.rfind(failed.onlySecond, 0), 0u);
  }
}

TEST(ContainerDiffer, EndsWithTheFailureOfAnInputOrOutput) {
  struct Case {
    char const *a, *b;
    int failFirst, failNextAt, failCompare;  // on the first input
    int outputAt, outputCode;                // on the first output
    int result;
    char const* written;
  } const cases[] = {
      {"AB", "AB", 1, 0, 0, 0, 0, kFail, ""},
      {"ABC", "ABC", 0, 2, 0, 0, 0, kFail, ""},
      {"ABC", "", 0, 2, 0, 0, 0, kFail, "AB"},  // written directly before the failure
      {"AB", "AB", 0, 0, 1, 0, 0, kFail, ""},
      {"AB", "", 0, 0, 0, 2, -7, -7, "A"},
      {"AB", "", 0, 0, 0, 2, kKrAfterLast, kKrAfterLast, "A"},  // direct: passed on
      {"AAB", "B", 0, 0, 0, 1, -7, -7, ""},             // while draining
      {"AAB", "B", 0, 0, 0, 1, kKrAfterLast, 1, ""},    // draining: an end, and 1
      {"AAB", "B", 0, 0, 0, 2, kKrBeforeFirst, 1, "A"},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(std::string(c.a) + " vs " + c.b);
    Records first(c.a, 1), second(c.b, 1);
    FailingWalk walk(&first.container);
    walk.failFirst = c.failFirst;
    walk.failNextAt = c.failNextAt;
    walk.failCompare = c.failCompare;
    KrDiffList list(1, nullptr);
    KrDiffListIterator entries(&list);
    MemFile written(0, 0);
    FailingOutput onlyFirst(&written, c.outputAt, c.outputCode);
    Output onlySecond(1);
    KrVContainerDiffer differ;
    differ.diffList = &entries;
    EXPECT_EQ(differ.Diff(&walk, &second.walk, &onlyFirst, &onlySecond.out, 1), c.result);
    EXPECT_EQ(kr_test::Contents(written), c.written);
  }
  KrVContainerDiffer none;  // no diff list
  Records a("A", 1);
  EXPECT_EQ(none.Diff(&a.walk, &a.walk, nullptr, nullptr, 1), kKrNotImplemented);
}

}  // namespace
