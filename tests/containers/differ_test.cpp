// Records in memory files, the recording output, the diff list and the
// container differ that walks the one and writes into the other.
#include <kr/containers.h>

#include <gtest/gtest.h>

#include <math.h>
#include <stdint.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <string>
#include <tuple>

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

// Counts the calls a Diff makes on its inputs, diff list and outputs; the
// n-th of them fails with kFail.
struct Failure {
  bool Now() { return ++calls == at; }
  int calls = 0, at = 0;
};

// `bytes` as `size`-byte records from offset 0, and a walk over them that
// counts its comparisons; with a Failure, its steps and comparisons count.
struct Records : KrMemFileIterator {
  Records(std::string const& bytes, unsigned long size, Failure* f = nullptr)
      : KrMemFileIterator(nullptr),
        records((Append(file, bytes), &file), size, bytes.size() / size),
        failure(f) {
    SetContainer(&records);
  }
  bool Fails() const { return failure && failure->Now(); }
  int First() override { return Fails() ? kFail : KrMemFileIterator::First(); }
  int Next() override { return Fails() ? kFail : KrMemFileIterator::Next(); }
  int CompareElement(KrVIterator const* o, KrVParameter* op, int& k, int& r,
                     KrVParameter* p) const override {
    ++compares;
    return Fails() ? kFail : KrMemFileIterator::CompareElement(o, op, k, r, p);
  }
  MemFile file{0, 0};
  KrMemFileContainer records;
  Failure* failure;
  mutable int compares = 0;
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
  int status;
  EXPECT_EQ(walk.First(), 0);
  EXPECT_EQ(std::string(static_cast<char const*>(walk.GetKey(status, nullptr)), 3), "aaa");
  EXPECT_TRUE(walk.Next() == 0 && walk.Next() == -522 && walk.Next() == -522);
  EXPECT_TRUE(walk.Prior() == kKrNotImplemented && walk.First() == 0 && walk.file.position == 4);
  for (char const* c : {"aab-", "aaa=", "aa`+", "\x80" "aa-"}) {  // against "aaa"
    KrOneEntryContainer one(c, nullptr, 0);
    KrOneEntryIterator probe(&one, nullptr);
    int key = 9, order = 9, expected = c[3] == '+' ? 1 : c[3] == '-' ? -1 : 0;
    EXPECT_EQ(walk.CompareElement(&probe, nullptr, key, order, nullptr), 0);
    EXPECT_TRUE(key == expected && order == expected) << c;
  }

  KrRecordingContainer out(&walk.file, 3);
  KrOneEntryContainer one("xyz", nullptr, 0);
  KrOneEntryIterator probe(&one, nullptr);
  KrMemFileIterator fresh(&records);
  int key, order;  // no element yet
  EXPECT_EQ(fresh.CompareElement(&probe, nullptr, key, order, nullptr), -521);
  EXPECT_EQ(out.InsertElement(&fresh, nullptr, 0, nullptr), -521);
  EXPECT_EQ(out.InsertElement(&probe, nullptr, 0, nullptr), 0);
  out.constructorElement = [](KrVContainer*, void*, KrVIterator const*, void const*, void const*,
                              KrVParameter*) { return -77; };
  EXPECT_EQ(out.InsertElement(&probe, nullptr, 0, nullptr), -77);
  EXPECT_TRUE(Contents(walk.file) == "----aaabbbxyz" && out.count == 1);
}

// An insertion stands on the new entry, its count -1, or +1 when bit 0 of
// aux is set whatever its other bits; a second entry for an element is
// refused, but equal keys of different elements are separate entries.
TEST(DiffList, EntriesAndTheirCounts) {
  KrDiffList items(sizeof(kr_test::Item), kr_test::CompareItems);
  KrDiffListIterator entries(&items);
  KrVParameter parameter;
  for (int payload : {1, 2, 1}) {  // aux 0x11, 0x12, 0x11
    parameter.aux = reinterpret_cast<void*>(static_cast<uintptr_t>(0x10 + payload));
    kr_test::Probe probe({1, payload, 0});
    int const expected = items.count == 2 ? kKrDuplicate : 0;
    EXPECT_EQ(entries.InsertElement(&probe.it, nullptr, 0, &parameter), expected) << payload;
    EXPECT_TRUE(expected || *entries.DiffCount() == (payload == 1 ? 1 : -1)) << payload;
  }
}

// A ready diff list that logs its operations ('F'irst, 'N'ext, 'S'earch,
// 'I'nsert, 'D'elete), which count as calls; its misses may read -511.
struct LoggingList : KrDiffListIterator {
  LoggingList(KrDiffList* list, Failure* f) : KrDiffListIterator(list), failure(f) {}
  bool Fails(char op) {
    log += op;
    return failure->Now();
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
  Failure* failure;
  int missCode = kKrNotFound;
  std::string log;
};
// An output of one-byte records; its writes count as calls, and its n-th write may answer `code`.
struct Output : KrRecordingContainer {
  explicit Output(Failure* f) : KrRecordingContainer(&file, 1), failure(f) {}
  int InsertElement(KrVIterator const* p, KrVParameter* pp, unsigned short m,
                    KrVParameter* q) override {
    if (failure->Now()) return kFail;
    return ++writes == at ? code : KrRecordingContainer::InsertElement(p, pp, m, q);
  }
  std::string Sorted() const {
    std::string bytes = Contents(file);
    std::sort(bytes.begin(), bytes.end());
    return bytes;
  }
  MemFile file{0, 0};
  Failure* failure;
  int writes = 0, at = 0, code = 0;
};

// One Diff of two strings of one-byte records; set failures before Run.
struct DiffRun {
  DiffRun(std::string const& a, std::string const& b)
      : first(a, 1, &failure), second(b, 1, &failure) {}
  int Run(double ratio) {
    KrVContainerDiffer differ;
    differ.diffList = &log;
    return differ.Diff(&first, &second, &onlyFirst, &onlySecond, ratio);
  }
  // The result, each output in its order of writing, the diff-list calls and
  // the entries left in the list.
  std::string Summary(double ratio) {
    std::string summary = std::to_string(Run(ratio));
    summary += " " + Contents(onlyFirst.file) + "|" + Contents(onlySecond.file) + " " + log.log;
    KrDiffListIterator entries(&list);
    for (int s = entries.First(); s == 0; s = entries.Next()) {
      summary += " " + std::string(static_cast<char const*>(entries.GetElement(s, nullptr)), 1) +
                 std::to_string(*entries.DiffCount());
    }
    return summary;
  }
  Failure failure;
  Records first, second;
  KrDiffList list{1, nullptr};
  LoggingList log{&list, &failure};
  Output onlyFirst{&failure}, onlySecond{&failure};
};

// The summaries of hand-picked runs, the list answering either code for a
// miss. A write answering -521 or -522 while draining ends it quietly.
TEST(ContainerDiffer, ScenariosWithTheirDiffListTraffic) {
  // The inputs, the ratio, the summary; the write to the first output that answers a code
  // (0: none), and that code.
  std::tuple<char const*, char const*, double, char const*, int, int> const cases[] = {
      {"ABC", "ABC", 1, "0 | F", 0, 0},  // in step: the list is not touched
      {"", "ABC", 1, "1 |ABC F", 0, 0},  // straight to the output
      {"ABC", "", 0, "1 ABC| F", 0, 0},
      {"ABC", "AC", 1, "1 B| SISISDFN B-1", 0, 0},
      {"ABC", "CBA", 0, "0 | SISISISDSDSDF", 0, 0},  // no comparison: all via the list
      {"AB", "BB", 1, "1 A|B SISIFNN A-1 B1", 0, 0},
      {"AB", "BAC", 1, "1 |C SISISDSDF", 0, 0},  // parked A cancelled; C straight out
      {"ACD", "BAE", 1, "1 DC|BE SISISISDSISFNNN B1 C-1 E1", 0, 0},  // a twin keeps the turn
      {"AAAC", "BBD", 1, "1 AAAC|DBB SISISSSISSFNNN A-3 B2 C-1", 0, 0},
      {"AB", "", 1, "-522 A| ", 2, kKrAfterLast},  // a direct write
      {"AAB", "B", 1, "1 | SISISSDF A-2", 1, kKrAfterLast},  // while draining
      {"AAB", "B", 1, "1 A| SISISSDF A-2", 2, kKrBeforeFirst},
  };
  for (auto const& [a, b, ratio, summary, at, code] : cases) {
    for (int missCode : {-510, -511}) {
      DiffRun run(a, b);
      run.log.missCode = missCode;
      run.onlyFirst.at = at;
      run.onlyFirst.code = code;
      EXPECT_EQ(run.Summary(ratio), summary) << a << " vs " << b << ", " << missCode;
    }
  }
}

// Evens against odds: every pair compared is a mismatch, so the comparisons
// made are the budget: ratio x the larger count, truncated; 10 when that is
// below 1 but positive; unlimited for NaN; none for 0 or a negative ratio.
TEST(ContainerDiffer, MismatchBudget) {
  std::tuple<int, double, int> const cases[] = {  // elements, ratio, comparisons
      {30, 0, 0},     {30, 0.01, 10}, {30, 0.05, 1},      {30, 0.5, 15},
      {30, 10, 30},   {30, NAN, 30},  {30, INFINITY, 30}, {30, -1, 0},
      {10, 0.05, 10}, {10, 0.1, 1},   {10, 0.29, 2},      {30, 4294967295.0, 30}};
  for (auto const& [n, ratio, comparisons] : cases) {
    std::string evens, odds;
    for (char i = 0; i < n; ++i) evens += static_cast<char>(2 * i), odds += evens.back() + 1;
    DiffRun run(evens, odds);
    EXPECT_EQ(run.Run(ratio), 1);
    EXPECT_EQ(run.first.compares, comparisons) << n << " x " << ratio;
  }
}

// Two sorted multisets of bytes, then random insertions, deletions and swaps of neighbours on
// either side: whatever the ratio, the outputs are exactly the multiset differences. Whichever call
// then fails (a step or comparison of an input, a diff-list call, a write), Diff ends with its code
// at once, calling nothing more, and what was written stays: a start of the output.
TEST(ContainerDiffer, AgreesWithSetDifferenceOnRandomEdits) {
  std::mt19937 random(8);
  for (int trial = 0; trial < 300; ++trial) {
    std::string base(random() % 60, '\0'), sides[2], sorted[2];
    for (char& c : base) c = static_cast<char>(random() % (trial % 2 ? 20 : 256));
    std::sort(base.begin(), base.end());
    for (int s = 0; s < 2; ++s) {
      sides[s] = base;
      for (int edits = random() % 8; edits > 0; --edits) {
        std::size_t const at = sides[s].empty() ? 0 : random() % sides[s].size();
        int const kind = random() % 3;
        if (kind == 0) sides[s].insert(at, 1, static_cast<char>(random()));
        if (kind == 1 && !sides[s].empty()) sides[s].erase(at, 1);
        if (kind == 2 && at + 1 < sides[s].size()) std::swap(sides[s][at], sides[s][at + 1]);
      }
      sorted[s] = sides[s];
      std::sort(sorted[s].begin(), sorted[s].end());
    }
    std::string only[2];  // the multiset differences, first minus second and the other way
    for (int s = 0; s < 2; ++s)
      std::set_difference(sorted[s].begin(), sorted[s].end(), sorted[1 - s].begin(),
                          sorted[1 - s].end(), std::back_inserter(only[s]));
    for (double ratio : {0.0, 0.05, 1.0, 10.0}) {
      SCOPED_TRACE(std::to_string(trial) + " " + std::to_string(ratio));
      DiffRun run(sides[0], sides[1]), failed(sides[0], sides[1]);
      ASSERT_EQ(run.Run(ratio), only[0].empty() && only[1].empty() ? 0 : 1);
      ASSERT_EQ(run.onlyFirst.Sorted(), only[0]);
      ASSERT_EQ(run.onlySecond.Sorted(), only[1]);
      failed.failure.at = 1 + static_cast<int>(random() % run.failure.calls);
      ASSERT_EQ(failed.Run(ratio), kFail);
      ASSERT_EQ(failed.failure.calls, failed.failure.at);
      ASSERT_EQ(run.log.log.rfind(failed.log.log, 0), 0u);
      ASSERT_EQ(Contents(run.onlyFirst.file).rfind(Contents(failed.onlyFirst.file), 0), 0u);
      ASSERT_EQ(Contents(run.onlySecond.file).rfind(Contents(failed.onlySecond.file), 0), 0u);
    }
  }
}

}  // namespace
