// The process-wide statistics counters.
#include <kr/diag.h>

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <new>
#include <string>
#include <vector>

#include "child_process.h"

namespace {

using kr_test::RunInChild;

// The counters in declaration order, for comparisons of whole records.
std::vector<int> Counters(KrStatistics const& s) {
  return {s.transactions, s.commits,       s.aborts,   s.csRequests,
          s.failedCsRequests, s.serverNotifications, s.queries, s.clients,
          s.objDescs,     s.extents,       s.locks,    s.watches,
          s.refreshedObjects, s.deliveredObjects, s.internalTransactions};
}

struct Operation {
  char const* name;
  std::function<KrStatistics&(KrStatistics&)> apply;
  int field;  // index into Counters()
  int delta;
};

TEST(Statistics, EachOperationChangesOnlyItsCounter) {
  std::vector<Operation> const operations = {
      {"IncTransactions", [](KrStatistics& s) -> KrStatistics& { return s.IncTransactions(); }, 0, 1},
      {"DecTransactions", [](KrStatistics& s) -> KrStatistics& { return s.DecTransactions(); }, 0, -1},
      {"IncCommits", [](KrStatistics& s) -> KrStatistics& { return s.IncCommits(); }, 1, 1},
      {"IncAborts", [](KrStatistics& s) -> KrStatistics& { return s.IncAborts(); }, 2, 1},
      {"IncCSRequests", [](KrStatistics& s) -> KrStatistics& { return s.IncCSRequests(); }, 3, 1},
      {"IncFailedCSRequests", [](KrStatistics& s) -> KrStatistics& { return s.IncFailedCSRequests(); }, 4, 1},
      {"IncServerNotifications", [](KrStatistics& s) -> KrStatistics& { return s.IncServerNotifications(); }, 5, 1},
      {"IncQueries", [](KrStatistics& s) -> KrStatistics& { return s.IncQueries(); }, 6, 1},
      {"IncClients", [](KrStatistics& s) -> KrStatistics& { return s.IncClients(); }, 7, 1},
      {"DecClients", [](KrStatistics& s) -> KrStatistics& { return s.DecClients(); }, 7, -1},
      {"IncObjDescs", [](KrStatistics& s) -> KrStatistics& { return s.IncObjDescs(); }, 8, 1},
      {"DecObjDescs", [](KrStatistics& s) -> KrStatistics& { return s.DecObjDescs(); }, 8, -1},
      {"IncExtents", [](KrStatistics& s) -> KrStatistics& { return s.IncExtents(); }, 9, 1},
      {"DecExtents", [](KrStatistics& s) -> KrStatistics& { return s.DecExtents(); }, 9, -1},
      {"IncLocks", [](KrStatistics& s) -> KrStatistics& { return s.IncLocks(); }, 10, 1},
      {"DecLocks", [](KrStatistics& s) -> KrStatistics& { return s.DecLocks(); }, 10, -1},
      {"AddLocks", [](KrStatistics& s) -> KrStatistics& { return s.AddLocks(-17); }, 10, -17},
      {"IncWatches", [](KrStatistics& s) -> KrStatistics& { return s.IncWatches(); }, 11, 1},
      {"DecWatches", [](KrStatistics& s) -> KrStatistics& { return s.DecWatches(); }, 11, -1},
      {"AddWatches", [](KrStatistics& s) -> KrStatistics& { return s.AddWatches(1000); }, 11, 1000},
      {"AddRefreshedObjects", [](KrStatistics& s) -> KrStatistics& { return s.AddRefreshedObjects(33); }, 12, 33},
      {"AddDeliveredObjects", [](KrStatistics& s) -> KrStatistics& { return s.AddDeliveredObjects(-4); }, 13, -4},
      {"IncInternalTransactions", [](KrStatistics& s) -> KrStatistics& { return s.IncInternalTransactions(); }, 14, 1},
  };
  KrStatistics& stats = *Statistics();
  KrStatistics const saved = stats;  // other tests expect the process object at rest
  for (Operation const& op : operations) {
    std::vector<int> expected = Counters(stats);
    expected[op.field] += op.delta;
    short flags = stats.flags;
    EXPECT_EQ(&op.apply(stats), &stats) << op.name;
    EXPECT_EQ(Counters(stats), expected) << op.name;
    EXPECT_EQ(stats.flags, flags) << op.name;
  }
  stats = saved;
}

TEST(Statistics, ProcessObjectStartsAtZero) {
  auto result = RunInChild([] {
    KrStatistics* stats = Statistics();
    if (stats != Statistics()) return 1;
    if (stats->flags != 0) return 2;
    return Counters(*stats) == std::vector<int>(15, 0) ? 0 : 3;
  });
  EXPECT_EQ(result.exitCode, 0);
}

TEST(Statistics, ClearKeepsTheLastThreeCounters) {
  KrStatistics& stats = *Statistics();
  KrStatistics const saved = stats;
  stats.IncTransactions().IncCommits().IncAborts().IncCSRequests().IncFailedCSRequests();
  stats.IncServerNotifications().IncQueries().IncClients().IncObjDescs().IncExtents();
  stats.AddLocks(5).AddWatches(6).AddRefreshedObjects(7).AddDeliveredObjects(8);
  stats.IncInternalTransactions();
  std::vector<int> before = Counters(stats);
  stats.flags = 0x1234;
  stats.Clear();
  std::vector<int> after = Counters(stats);
  EXPECT_EQ(std::vector<int>(after.begin(), after.begin() + 12), std::vector<int>(12, 0));
  EXPECT_EQ(std::vector<int>(after.begin() + 12, after.end()),
            std::vector<int>(before.begin() + 12, before.end()));
  EXPECT_EQ(stats.flags, 0x1234);
  stats.AddDeliveredObjects(2);
  stats.Clear();
  EXPECT_EQ(stats.deliveredObjects, before[13] + 2);
  stats = saved;
}

TEST(Statistics, ConstructorZeroesFlagsAndTheFirstTwelve) {
  alignas(KrStatistics) unsigned char storage[sizeof(KrStatistics)];
  std::memset(storage, 0xAB, sizeof storage);
  KrStatistics* stats = new (storage) KrStatistics;
  // Only what the constructor sets is read: the last three are left as they were.
  EXPECT_EQ(stats->flags, 0);
  std::vector<int> firstTwelve = {stats->transactions, stats->commits, stats->aborts,
                                  stats->csRequests, stats->failedCsRequests,
                                  stats->serverNotifications, stats->queries, stats->clients,
                                  stats->objDescs, stats->extents, stats->locks, stats->watches};
  EXPECT_EQ(firstTwelve, std::vector<int>(12, 0));
}

TEST(Statistics, CountersWrapInThirtyTwoBits) {
  KrStatistics stats;  // only `locks` is used
  stats.locks = 0x7FFFFFFF;
  stats.IncLocks();
  EXPECT_EQ(stats.locks, static_cast<int>(0x80000000u));
  stats.AddLocks(-1);
  EXPECT_EQ(stats.locks, 0x7FFFFFFF);
}

TEST(Statistics, RegistrationIsANoOp) {
  EXPECT_EQ(RegisterStatistics(), 0);
  EXPECT_EQ(DeregisterStatistics(), 0);
  std::vector<int> before = Counters(*Statistics());
  Statistics()->Enable();
  EXPECT_EQ(Counters(*Statistics()), before);
}

}  // namespace
