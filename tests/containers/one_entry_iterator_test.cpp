#include <kr/containers.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

TEST(OneEntryIterator, StartsOnTheEntryWhenThereIsAKey) {
  int key = 1;
  KrOneEntryContainer full(&key, nullptr, 0);
  KrOneEntryContainer empty(nullptr, nullptr, 0);
  EXPECT_EQ(KrOneEntryIterator(&full, nullptr).status, 0);
  EXPECT_EQ(KrOneEntryIterator(&empty, nullptr).status, -521);
  KrOneEntryIterator none(nullptr, nullptr);
  EXPECT_EQ(none.status, -520);
  EXPECT_EQ(none.GetType(), 4);
  EXPECT_EQ(none.container, nullptr);
}

// Runs the steps ('F'irst, 'L'ast, 'N'ext, 'P'rior) and collects the results.
std::vector<int> Steps(KrOneEntryIterator& iterator, char const* steps) {
  std::vector<int> results;
  for (char const* step = steps; *step; ++step) {
    int result = 0;
    switch (*step) {
      case 'F': result = iterator.First(); break;
      case 'L': result = iterator.Last(); break;
      case 'N': result = iterator.Next(); break;
      default: result = iterator.Prior(); break;
    }
    EXPECT_EQ(result, iterator.status) << *step;
    results.push_back(result);
  }
  return results;
}

TEST(OneEntryIterator, MovesAsItsTableSays) {
  int key = 1;
  KrOneEntryContainer full(&key, nullptr, 0);
  KrOneEntryIterator iterator(&full, nullptr);
  EXPECT_EQ(Steps(iterator, "FNN"), (std::vector<int>{0, -522, -522}));
  EXPECT_EQ(Steps(iterator, "LPP"), (std::vector<int>{0, -521, -521}));
  EXPECT_EQ(Steps(iterator, "NPN"), (std::vector<int>{0, -521, 0}));
  EXPECT_EQ(Steps(iterator, "NPL"), (std::vector<int>{-522, 0, 0}));

  iterator.status = -523;  // anything else stays
  EXPECT_EQ(Steps(iterator, "NP"), (std::vector<int>{-523, -523}));
  EXPECT_EQ(Steps(iterator, "F"), (std::vector<int>{0}));
}

TEST(OneEntryIterator, EmptyContainerIsReachedOnlyFromItsEnds) {
  KrOneEntryContainer empty(nullptr, nullptr, 0);
  KrOneEntryIterator iterator(&empty, nullptr);
  EXPECT_EQ(Steps(iterator, "FL"), (std::vector<int>{-521, -522}));
  // Next from before and Prior from after land "on" the entry without asking.
  EXPECT_EQ(Steps(iterator, "FN"), (std::vector<int>{-521, 0}));
  EXPECT_EQ(Steps(iterator, "LP"), (std::vector<int>{-522, 0}));

  KrOneEntryIterator detached(nullptr, nullptr);
  EXPECT_EQ(Steps(detached, "FLNP"), (std::vector<int>{-520, -520, -520, -520}));
}

TEST(OneEntryIterator, AccessorsAnswerOnlyWhilePositioned) {
  int key = 1, dat = 2;
  KrOneEntryContainer container(&key, &dat, 7);
  KrOneEntryIterator iterator(&container, nullptr);
  int status = 99;
  EXPECT_EQ(iterator.GetEntry(status, nullptr), &key);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(iterator.GetKey(status, nullptr), &key);
  EXPECT_EQ(iterator.GetDat(status, nullptr), &dat);
  EXPECT_EQ(status, 0);

  iterator.Next();  // -522
  EXPECT_EQ(iterator.GetEntry(status, nullptr), nullptr);
  EXPECT_EQ(status, -522);
  EXPECT_EQ(iterator.GetKey(status, nullptr), nullptr);
  EXPECT_EQ(iterator.GetDat(status, nullptr), nullptr);
  EXPECT_EQ(status, -522);
  EXPECT_EQ(iterator.GetFlags(status, nullptr), 0u);
  EXPECT_EQ(status, -522);
}

TEST(OneEntryIterator, MissingDatIsReportedWithoutChangingThePosition) {
  int key = 1;
  KrOneEntryContainer container(&key, nullptr, 0);
  KrOneEntryIterator iterator(&container, nullptr);
  int status = 0;
  EXPECT_EQ(iterator.GetDat(status, nullptr), nullptr);
  EXPECT_EQ(status, -519);
  EXPECT_EQ(iterator.status, 0);
}

TEST(OneEntryIterator, KeepsTheBaseBehaviourElsewhere) {
  int key = 1;
  KrOneEntryContainer container(&key, nullptr, 0);
  KrOneEntryIterator iterator(&container, nullptr);
  EXPECT_EQ(iterator.Clone(nullptr), nullptr);
  EXPECT_EQ(iterator.DeleteElement(0, nullptr), -2999);
  EXPECT_EQ(iterator.InsertElement(&iterator, nullptr, 0, nullptr), -2999);
  // Both default compare results, turned around: still 0.
  int keyComparison = 5, order = 5;
  EXPECT_EQ(iterator.CompareElement(&iterator, nullptr, keyComparison, order, nullptr), 0);
  EXPECT_EQ(keyComparison, 0);
  EXPECT_EQ(order, 0);
  iterator.Destroy();
  EXPECT_EQ(iterator.status, -520);
  EXPECT_EQ(iterator.First(), -520);
}

}  // namespace
