// The container, iterator and parameter bases, the default element functions
// and the one-entry container.
#include <kr/containers.h>

#include <gtest/gtest.h>

#include <climits>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "tree_test_support.h"

namespace {

using kr_test::Steps;

// Entries are {header, element} pairs; `bad` has no element. The element
// functions log their calls ('e'lement of entry, 'k'ey, 'f'lags, 'd'at,
// 'c'ompare) and answer the statuses in `fail` (-519 from 'd': no dat).
struct Record {
  int header, element;
};
struct Logged : KrVContainer {
  Logged() : KrVContainer(sizeof(int), 0) {
    keyOfElement = [](KrVContainer const* c, void const* e, int& s, KrVParameter*) {
      return Of(c).Log('k', s), e;
    };
    datOfElement = [](KrVContainer const* c, void const*, int& s, KrVParameter*) {
      return Of(c).Log('d', s), s == -519 ? nullptr : static_cast<void const*>(&Of(c).dat);
    };
    flagsOfElement = [](KrVContainer const* c, void const*, int& s, KrVParameter*) {
      return Of(c).Log('f', s), 0x55ul;
    };
    compareElement = [](KrVContainer const* c, int& k, int& o, KrVIterator const* probe,
                        void const* key, void const* dat, void const* element, KrVParameter* p) {
      int s;
      Of(c).Log('c', s);
      Of(c).seen = {probe, key, dat, element, p};
      k = Of(c).keyResult, o = Of(c).orderResult;
      return s;
    };
  }
  static Logged const& Of(KrVContainer const* c) { return *static_cast<Logged const*>(c); }
  void Log(char what, int& status) const {
    log += what;
    status = fail.count(what) ? fail.at(what) : 0;
  }
  void const* GetElementOfEntry(void const* entry) const override {
    log += 'e';
    return entry && entry != &bad ? &static_cast<Record const*>(entry)->element : nullptr;
  }
  Record bad = {0, 0};
  int dat = 0, keyResult = 0, orderResult = 0;
  std::map<char, int> fail;
  mutable std::string log;
  mutable std::vector<void const*> seen;  // probe, key, dat, element, parameter
};

// Stands on a fixed entry with a fixed status.
struct Fixed : KrVIterator {
  Fixed(KrVContainer* c, void const* on, int s = 0) : KrVIterator(nullptr, c), entry(on) {
    status = s;
  }
  void const* GetEntry(int& s, KrVParameter*) const override {
    s = status;
    return status < 0 ? nullptr : entry;
  }
  void const* entry;
};

// The default element functions (the tree model keys its elements with
// theirs): exactly elementSize bytes copied from the key, answering 0; all
// elements equal; no dat; flags 1. An iterator's status follows its container.
TEST(Bases, DefaultElementFunctionsAndIteratorStatus) {
  KrVContainer base(6, 3);
  char destination[8] = "xxxxxxx";
  int key = 7, order = 7, s[3] = {9, 9, 0};
  EXPECT_EQ(base.constructorElement(&base, destination, nullptr, "abcdefgh", nullptr, 0), 0);
  EXPECT_EQ(base.compareElement(&base, key, order, nullptr, "a", nullptr, "b", nullptr), 0);
  EXPECT_TRUE(std::string(destination) == "abcdefx" && key == 0 && order == 0);
  EXPECT_FALSE(base.datOfElement(&base, &key, s[0], nullptr));
  EXPECT_EQ(base.flagsOfElement(&base, &key, s[1], nullptr), 1u);
  KrVIterator it(nullptr, &base);
  EXPECT_TRUE(it.First() == kKrNotImplemented && it.status == -521);
  EXPECT_FALSE(it.GetElement(s[2], nullptr));
  EXPECT_EQ(std::vector<int>(s, s + 3), (std::vector<int>{-519, 0, -2999}));
  it.Destroy();
  EXPECT_TRUE(it.status == -520 && !it.container && KrVIterator(nullptr, nullptr).status == -520);
  EXPECT_EQ((it = &base).status, -521);
  it.SetContainer(nullptr);
  EXPECT_EQ(it.status, -520);
}

// Parts are read in the order element, key, flags, dat, only those asked for, up to the first
// negative status; a missing element or function is -2999. The part getters read through the
// current entry, the status explaining a null (0) answer.
TEST(EntryParts, ReadInOrderUpToTheFirstFailure) {
  Logged c;
  Record r = {1, 2};
  KrVIterator it(nullptr, &c), detached(nullptr);
  void const *e = nullptr, *k = nullptr, *d = nullptr;
  unsigned long f = 0;
  EXPECT_EQ(it.GetEntryParts(&r, &e, &k, &d, &f, nullptr), 0);
  EXPECT_TRUE(c.log == "ekfd" && e == &r.element && k == e && d == &c.dat && f == 0x55);
  // The entry, the element asked for, the part failing with -7 ('D': -519; 'K': no key
  // function), the result and the calls made.
  std::tuple<void const*, bool, char, int, char const*> const cases[] = {
      {&r, 0, 'k', -7, "ek"},    {&r, 0, 'f', -7, "ekf"},        {&r, 0, 'd', -7, "ekfd"},
      {&r, 0, 'D', -519, "ekfd"}, {&r, 0, 'K', -2999, "e"},      {nullptr, 1, 0, -2999, "e"},
      {nullptr, 0, 0, 0, "e"},   {&c.bad, 1, 0, -2999, "e"}};
  for (auto const& [entry, element, fail, result, log] : cases) {
    c.log.clear();
    c.fail = {{fail, -7}, {'d', fail == 'D' ? -519 : fail == 'd' ? -7 : 0}};
    c.keyOfElement = fail == 'K' ? nullptr : Logged().keyOfElement;
    e = k = d = &r;
    EXPECT_EQ(it.GetEntryParts(entry, element ? &e : nullptr, &k, &d, &f, nullptr), result);
    EXPECT_EQ(c.log, log);
    void const* dat = fail == 'D' ? nullptr : fail == 'd' ? &c.dat : static_cast<void*>(&r);
    EXPECT_TRUE(e == &r && d == dat) << log;
  }
  c.log.clear();
  EXPECT_TRUE(it.GetEntryParts(&r, nullptr, nullptr, nullptr, nullptr, nullptr) == 0 &&
              detached.GetEntryParts(&r, &e, &k, &d, &f, nullptr) == 0 && c.log.empty() && e == &r);

  c.fail.clear();
  Fixed on(&c, &r), ended(&c, &r, -522), noEntry(&c, nullptr), bad(&c, &c.bad), none(nullptr, &r);
  int s[9];
  EXPECT_TRUE(on.GetKey(s[0], nullptr) == &r.element && on.GetDat(s[1], nullptr) == &c.dat);
  EXPECT_TRUE(!ended.GetKey(s[2], nullptr) && !noEntry.GetElement(s[3], nullptr));
  EXPECT_TRUE(!bad.GetDat(s[4], nullptr) && !bad.GetElement(s[5], nullptr));
  c.flagsOfElement = nullptr;
  EXPECT_TRUE(!on.GetFlags(s[6], nullptr) && !ended.GetFlags(s[7], nullptr));
  EXPECT_TRUE(!none.GetKey(s[8], nullptr));  // no container: as GetEntry left it
  EXPECT_EQ(std::vector<int>(s, s + 9),
            (std::vector<int>{0, 0, -522, 0, -2999, -2999, -2999, -522, 0}));
}

// This iterator's element is described relative to the other's: the compare
// function (given the other as probe) has its results negated; INT_MIN turns
// into INT_MAX. Failures of either side pass out before anything is called.
TEST(CompareElement, NegatesTheCompareFunctionAndPassesFailuresOut) {
  Logged mine, theirs;
  Record a = {0, 10}, b = {0, 20};
  Fixed self(&mine, &a), other(&theirs, &b);
  KrVParameter parameter;
  mine.keyResult = 3, mine.orderResult = -4, mine.fail['c'] = 6;
  int key = 0, order = 0;
  EXPECT_EQ(self.CompareElement(&other, nullptr, key, order, &parameter), 6);
  EXPECT_TRUE(key == -3 && order == 4);
  EXPECT_EQ(mine.seen, (std::vector<void const*>{&other, &b.element, &theirs.dat, &a.element,
                                                  &parameter}));
  EXPECT_EQ(theirs.log, "eked");
  mine.keyResult = INT_MIN, mine.orderResult = INT_MAX;
  self.CompareElement(&other, nullptr, key, order, nullptr);
  EXPECT_TRUE(key == INT_MAX && order == -INT_MAX);
  theirs.fail['d'] = -519;  // no dat is no failure
  EXPECT_EQ(self.CompareElement(&other, nullptr, key, order, nullptr), 6);
  EXPECT_EQ(mine.seen[2], nullptr);
  Fixed lost(&mine, &a, -523), ended(&theirs, &b, -522), noElement(&mine, &mine.bad);
  mine.log.clear(), theirs.log.clear();
  EXPECT_EQ(lost.CompareElement(&other, nullptr, key, order, nullptr), -523);
  EXPECT_EQ(self.CompareElement(&ended, nullptr, key, order, nullptr), -522);
  EXPECT_TRUE(mine.log.empty() && theirs.log.empty());
  for (int code : {-11, -12}) {
    theirs.fail = {{code == -11 ? 'k' : 'd', code}};
    EXPECT_EQ(self.CompareElement(&other, nullptr, key, order, nullptr), code);
  }
  theirs.fail.clear();
  mine.seen.clear();
  EXPECT_EQ(noElement.CompareElement(&other, nullptr, key, order, nullptr), -2999);
  mine.compareElement = nullptr;
  EXPECT_EQ(self.CompareElement(&other, nullptr, key, order, nullptr), -2999);
  EXPECT_TRUE(mine.seen.empty());  // never called
}

TEST(OneEntryContainer, MovesAsItsTableSaysAndAnswersItsTriple) {
  int key = 1, dat = 2;
  KrOneEntryContainer full(&key, &dat, 0x1234), empty(nullptr, nullptr, 0), noDat(&key, nullptr, 7);
  KrOneEntryIterator it(&full, nullptr), onEmpty(&empty, nullptr), none(nullptr, nullptr);
  EXPECT_TRUE(it.status == 0 && onEmpty.status == -521);
  EXPECT_EQ(Steps(it, "FNNLPPNPNP", false), "0 -522 -522 0 -521 -521 0 -521 0 -521 ");
  EXPECT_EQ(Steps(onEmpty, "FLPFN", false), "-521 -522 0 -521 0 ");  // lands "on" it unasked
  EXPECT_EQ(Steps(none, "FLNP", false), "-520 -520 -520 -520 ");
  it.status = -523;
  EXPECT_EQ(Steps(it, "NPF", false), "-523 -523 0 ");

  // Its key and dat are every tree probe's; the flags come through the base.
  KrOneEntryIterator bare(&noDat, nullptr), result(&full, nullptr);
  int status = 9;
  EXPECT_TRUE(it.GetFlags(status, nullptr) == 0x1234u && status == 0 && full.GetType() == 4);
  EXPECT_TRUE(!bare.GetDat(status, nullptr) && status == -519 && bare.status == 0);
  EXPECT_EQ(full.SearchElement(&it, nullptr, 0, nullptr, &result), -510);
  EXPECT_EQ(result.status, -522);
  it.Next();
  EXPECT_TRUE(!it.GetKey(status, nullptr) && !it.GetDat(status, nullptr) && status == -522);
}

}  // namespace
