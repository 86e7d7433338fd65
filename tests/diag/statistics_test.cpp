// The process-wide statistics counters.
#include <kr/diag.h>

#include <gtest/gtest.h>

#include <vector>

#include "child_process.h"

namespace {

std::vector<int> Counters(KrStatistics const& s) {
  return {s.transactions, s.commits,  s.aborts,   s.csRequests,       s.failedCsRequests,
          s.serverNotifications, s.queries, s.clients, s.objDescs,    s.extents,
          s.locks,        s.watches,  s.refreshedObjects, s.deliveredObjects,
          s.internalTransactions};
}

TEST(Statistics, EachOperationChangesOnlyItsCounter) {
  typedef KrStatistics& (KrStatistics::*Step)();
  typedef KrStatistics& (KrStatistics::*Add)(long);
  struct { Step step; int field, delta; } const steps[] = {
      {&KrStatistics::IncTransactions, 0, 1}, {&KrStatistics::DecTransactions, 0, -1},
      {&KrStatistics::IncCommits, 1, 1},      {&KrStatistics::IncAborts, 2, 1},
      {&KrStatistics::IncCSRequests, 3, 1},   {&KrStatistics::IncFailedCSRequests, 4, 1},
      {&KrStatistics::IncServerNotifications, 5, 1}, {&KrStatistics::IncQueries, 6, 1},
      {&KrStatistics::IncClients, 7, 1},      {&KrStatistics::DecClients, 7, -1},
      {&KrStatistics::IncObjDescs, 8, 1},     {&KrStatistics::DecObjDescs, 8, -1},
      {&KrStatistics::IncExtents, 9, 1},      {&KrStatistics::DecExtents, 9, -1},
      {&KrStatistics::IncLocks, 10, 1},       {&KrStatistics::DecLocks, 10, -1},
      {&KrStatistics::IncWatches, 11, 1},     {&KrStatistics::DecWatches, 11, -1},
      {&KrStatistics::IncInternalTransactions, 14, 1}};
  struct { Add add; int field; } const adds[] = {
      {&KrStatistics::AddLocks, 10}, {&KrStatistics::AddWatches, 11},
      {&KrStatistics::AddRefreshedObjects, 12}, {&KrStatistics::AddDeliveredObjects, 13}};
  KrStatistics& stats = *Statistics();
  KrStatistics const saved = stats;  // other tests see the process object at rest
  for (auto const& s : steps) {
    std::vector<int> expected = Counters(stats);
    expected[s.field] += s.delta;
    EXPECT_EQ(&(stats.*s.step)(), &stats);
    EXPECT_EQ(Counters(stats), expected) << "field " << s.field;
  }
  for (auto const& a : adds) {
    std::vector<int> expected = Counters(stats);
    expected[a.field] -= 17;
    EXPECT_EQ(&(stats.*a.add)(-17), &stats);
    EXPECT_EQ(Counters(stats), expected) << "field " << a.field;
  }
  stats = saved;
}

TEST(Statistics, ClearKeepsTheLastThreeAndTheProcessObjectStartsAtZero) {
  kr_test::ChildResult result = kr_test::RunInChild([] {
    KrStatistics& stats = *Statistics();
    if (&stats != Statistics() || stats.flags != 0 || Counters(stats) != std::vector<int>(15, 0)) {
      return 1;
    }
    stats.IncTransactions().IncQueries().AddWatches(6).AddRefreshedObjects(7);
    stats.AddDeliveredObjects(8).IncInternalTransactions().flags = 0x12;
    stats.Clear();
    std::vector<int> expected(15, 0);
    expected[12] = 7;
    expected[13] = 8;
    expected[14] = 1;
    return Counters(stats) == expected && stats.flags == 0x12 ? 0 : 2;
  });
  EXPECT_EQ(result.exitCode, 0);
}

TEST(Statistics, CountersWrapInThirtyTwoBitsAndRegistrationIsANoOp) {
  KrStatistics stats;  // only `locks` is read
  stats.locks = 0x7FFFFFFF;
  EXPECT_EQ(stats.IncLocks().locks, static_cast<int>(0x80000000u));
  EXPECT_EQ(stats.AddLocks(-1).locks, 0x7FFFFFFF);
  EXPECT_EQ(RegisterStatistics(), 0);
  EXPECT_EQ(DeregisterStatistics(), 0);
}

}  // namespace
