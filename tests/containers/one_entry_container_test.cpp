#include <kr/containers.h>

#include <gtest/gtest.h>

#include <string>

namespace {

// Runs steps ('F'irst, 'L'ast, 'N'ext, 'P'rior) and lists the statuses.
std::string Steps(KrOneEntryIterator& it, char const* steps) {
  std::string results;
  for (; *steps; ++steps) {
    char c = *steps;
    results += std::to_string(c == 'F'   ? it.First()
                              : c == 'L' ? it.Last()
                              : c == 'N' ? it.Next()
                                         : it.Prior());
    results += " ";
  }
  return results;
}

TEST(OneEntryContainer, IteratorMovesAsItsTableSays) {
  int key = 1;
  KrOneEntryContainer full(&key, nullptr, 0), empty(nullptr, nullptr, 0);
  KrOneEntryIterator onFull(&full, nullptr), onEmpty(&empty, nullptr), none(nullptr, nullptr);
  EXPECT_EQ(onFull.status, 0);
  EXPECT_EQ(onEmpty.status, -521);
  EXPECT_EQ(Steps(onFull, "FNNLPPNPNP"), "0 -522 -522 0 -521 -521 0 -521 0 -521 ");
  EXPECT_EQ(Steps(onEmpty, "FLPFN"), "-521 -522 0 -521 0 ");  // lands "on" it unasked
  EXPECT_EQ(Steps(none, "FLNP"), "-520 -520 -520 -520 ");
  onFull.status = -523;
  EXPECT_EQ(Steps(onFull, "NPF"), "-523 -523 0 ");
}

TEST(OneEntryContainer, AnswersItsTripleAndFindsNothing) {
  int key = 1, dat = 2;
  KrOneEntryContainer container(&key, &dat, 0x1234), noDat(&key, nullptr, 7);
  KrOneEntryIterator it(&container, nullptr), bare(&noDat, nullptr);
  EXPECT_TRUE(container.GetType() == 4 && it.GetType() == 4);
  int status = 9;
  EXPECT_EQ(it.GetEntry(status, nullptr), &key);
  EXPECT_EQ(it.GetKey(status, nullptr), &key);
  EXPECT_EQ(it.GetDat(status, nullptr), &dat);
  EXPECT_EQ(it.GetFlags(status, nullptr), 0x1234u);  // base getter, OneEntryFlagsOfElement
  EXPECT_EQ(status, 0);
  EXPECT_EQ(bare.GetDat(status, nullptr), nullptr);
  EXPECT_EQ(status, -519);
  EXPECT_EQ(bare.status, 0);
  KrOneEntryIterator result(&container, nullptr);
  EXPECT_EQ(container.SearchElement(&it, nullptr, 0, nullptr, &result), -510);
  EXPECT_EQ(result.status, -522);
  it.Next();
  EXPECT_EQ(it.GetKey(status, nullptr), nullptr);
  EXPECT_EQ(status, -522);
  EXPECT_EQ(it.GetDat(status, nullptr), nullptr);
  EXPECT_EQ(status, -522);
}

}  // namespace
