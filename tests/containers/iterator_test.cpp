#include <kr/containers.h>

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

namespace {

// A container whose entries are 8-byte records {header, element}: the element
// lies 4 bytes into the entry. Every call it or its element functions receive
// is logged, and each element function's status can be preset.
struct Record {
  int header;
  int element;
};

class RecordingContainer : public KrVContainer {
 public:
  RecordingContainer() : KrVContainer(sizeof(int), 0) {
    keyOfElement = KeyOf;
    datOfElement = DatOf;
    flagsOfElement = FlagsOf;
    compareElement = Compare;
  }
  // Entries without an element: null and `badEntry`.
  void const* GetElementOfEntry(void const* entry) const override {
    log.push_back("element");
    if (!entry || entry == &badEntry) return nullptr;
    return &static_cast<Record const*>(entry)->element;
  }

  static RecordingContainer const* Of(KrVContainer const* c) {
    return static_cast<RecordingContainer const*>(c);
  }
  static void const* KeyOf(KrVContainer const* c, void const* element, int& status,
                           KrVParameter*) {
    Of(c)->log.push_back("key");
    status = Of(c)->keyStatus;
    return element;
  }
  static void const* DatOf(KrVContainer const* c, void const*, int& status, KrVParameter*) {
    Of(c)->log.push_back("dat");
    status = Of(c)->datStatus;
    return status == -519 ? nullptr : &Of(c)->datValue;
  }
  static unsigned long FlagsOf(KrVContainer const* c, void const*, int& status,
                               KrVParameter*) {
    Of(c)->log.push_back("flags");
    status = Of(c)->flagsStatus;
    return 0x55;
  }
  // Reports the preset results and records what it was given.
  static int Compare(KrVContainer const* c, int& keyComparison, int& order,
                     KrVIterator const* probe, void const* key, void const* dat,
                     void const* element, KrVParameter* parameter) {
    RecordingContainer const* self = Of(c);
    self->log.push_back("compare");
    self->seenProbe = probe;
    self->seenKey = key;
    self->seenDat = dat;
    self->seenElement = element;
    self->seenParameter = parameter;
    keyComparison = self->keyResult;
    order = self->orderResult;
    return self->compareStatus;
  }

  Record badEntry = {0, 0};
  mutable std::vector<std::string> log;
  int keyStatus = 0, datStatus = 0, flagsStatus = 0;
  int datValue = 0;
  int keyResult = 0, orderResult = 0, compareStatus = 0;
  mutable KrVIterator const* seenProbe = nullptr;
  mutable void const* seenKey = nullptr;
  mutable void const* seenDat = nullptr;
  mutable void const* seenElement = nullptr;
  mutable KrVParameter* seenParameter = nullptr;
};

// An iterator that stands on a fixed entry with a fixed status.
class FixedIterator : public KrVIterator {
 public:
  FixedIterator(KrVContainer* c, void const* entry, int entryStatus = 0)
      : KrVIterator(nullptr, c), entry_(entry) {
    status = entryStatus;
  }
  void const* GetEntry(int& s, KrVParameter*) const override {
    s = status;
    return status < 0 ? nullptr : entry_;
  }

 private:
  void const* entry_;
};

TEST(Iterator, StatusFollowsTheContainer) {
  KrVContainer container(4, 0);
  KrVIterator none(nullptr);
  EXPECT_EQ(none.status, -520);
  EXPECT_EQ(none.container, nullptr);
  KrVIterator nullContainer(nullptr, nullptr);
  EXPECT_EQ(nullContainer.status, -520);
  auto* context = reinterpret_cast<KrTransactionContext*>(0x10);
  KrVIterator on(context, &container);
  EXPECT_EQ(on.status, -521);
  EXPECT_EQ(on.transactionContext, context);
  on.Destroy();
  EXPECT_EQ(on.status, -520);
  EXPECT_EQ(on.container, nullptr);
  EXPECT_EQ(on.transactionContext, context);
  EXPECT_EQ(&(on = &container), &on);
  EXPECT_EQ(on.status, -521);
  on = static_cast<KrVContainer*>(nullptr);
  EXPECT_EQ(on.status, -520);
  on.SetContainer(&container);
  EXPECT_EQ(on.status, -521);
  EXPECT_EQ(on.container, &container);
}

TEST(Iterator, CopiesKeepTheStatusAsItStands) {
  KrVContainer container(4, 0);
  KrVIterator source(nullptr, &container);
  source.status = 0;
  KrVIterator copy(source);
  EXPECT_EQ(copy.status, 0);
  EXPECT_EQ(copy.container, &container);
  KrVIterator assigned(nullptr);
  assigned = source;
  EXPECT_EQ(assigned.status, 0);
  EXPECT_EQ(assigned.container, &container);
}

TEST(Iterator, BaseOperationsAreNotImplemented) {
  KrVContainer container(4, 0);
  KrVIterator it(nullptr, &container);
  KrVParameter parameter;
  EXPECT_EQ(it.GetType(), 0);
  EXPECT_EQ(it.Clone(nullptr), nullptr);
  EXPECT_EQ(it.First(), -2999);
  EXPECT_EQ(it.Next(), -2999);
  EXPECT_EQ(it.Prior(), -2999);
  EXPECT_EQ(it.Last(), -2999);
  EXPECT_EQ(it.SearchElement(&it, nullptr, 0, &parameter), -2999);
  EXPECT_EQ(it.InsertElement(&it, nullptr, 0, &parameter), -2999);
  EXPECT_EQ(it.UpdateElement(&it, nullptr, 0, &parameter), -2999);
  EXPECT_EQ(it.DeleteElement(0, &parameter), -2999);
  EXPECT_EQ(it.status, -521);
  int status = 0;
  EXPECT_EQ(it.GetEntry(status, nullptr), nullptr);
  EXPECT_EQ(status, -2999);
  status = 0;
  EXPECT_EQ(it.GetElement(status, nullptr), nullptr);
  EXPECT_EQ(status, -2999);
}

TEST(EntryParts, NothingAskedOrNoContainerTouchesNothing) {
  RecordingContainer container;
  KrVIterator it(nullptr, &container);
  Record record = {1, 2};
  EXPECT_EQ(it.GetEntryParts(&record, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_TRUE(container.log.empty());

  KrVIterator detached(nullptr);
  void const* key = &record;
  unsigned long flags = 9;
  EXPECT_EQ(detached.GetEntryParts(&record, nullptr, &key, nullptr, &flags, nullptr), 0);
  EXPECT_EQ(key, &record);
  EXPECT_EQ(flags, 9u);
}

TEST(EntryParts, ReadsInTheOrderElementKeyFlagsDat) {
  RecordingContainer container;
  KrVIterator it(nullptr, &container);
  Record record = {1, 2};
  void const* element = nullptr;
  void const* key = nullptr;
  void const* dat = nullptr;
  unsigned long flags = 0;
  EXPECT_EQ(it.GetEntryParts(&record, &element, &key, &dat, &flags, nullptr), 0);
  EXPECT_EQ(container.log, (std::vector<std::string>{"element", "key", "flags", "dat"}));
  EXPECT_EQ(element, &record.element);
  EXPECT_EQ(key, &record.element);
  EXPECT_EQ(dat, &container.datValue);
  EXPECT_EQ(flags, 0x55u);
}

TEST(EntryParts, DefaultContainerHasNoDat) {
  KrVContainer container(4, 0);
  KrVIterator it(nullptr, &container);
  int element = 5;
  void const* key = nullptr;
  void const* dat = &element;
  EXPECT_EQ(it.GetEntryParts(&element, nullptr, &key, &dat, nullptr, nullptr), -519);
  EXPECT_EQ(key, &element);
  EXPECT_EQ(dat, nullptr);
}

TEST(EntryParts, StopsAtTheFirstNegativeStatus) {
  RecordingContainer container;
  container.keyStatus = -7;
  KrVIterator it(nullptr, &container);
  Record record = {1, 2};
  void const* key = nullptr;
  void const* dat = nullptr;
  unsigned long flags = 0;
  EXPECT_EQ(it.GetEntryParts(&record, nullptr, &key, &dat, &flags, nullptr), -7);
  EXPECT_EQ(container.log, (std::vector<std::string>{"element", "key"}));

  container.log.clear();
  container.keyStatus = 0;
  container.flagsStatus = -8;
  EXPECT_EQ(it.GetEntryParts(&record, nullptr, &key, &dat, &flags, nullptr), -8);
  EXPECT_EQ(container.log, (std::vector<std::string>{"element", "key", "flags"}));
}

TEST(EntryParts, MissingFunctionsAndElementsReportNotImplemented) {
  RecordingContainer container;
  KrVIterator it(nullptr, &container);
  Record record = {1, 2};
  void const* key = nullptr;
  void const* dat = nullptr;
  void const* element = &record;

  // A null element: -2999 when the element was asked for, else 0.
  EXPECT_EQ(it.GetEntryParts(nullptr, &element, &key, nullptr, nullptr, nullptr), -2999);
  EXPECT_EQ(element, &record);
  EXPECT_EQ(it.GetEntryParts(nullptr, nullptr, &key, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(key, nullptr);

  container.keyOfElement = nullptr;
  EXPECT_EQ(it.GetEntryParts(&record, nullptr, &key, &dat, nullptr, nullptr), -2999);
  EXPECT_EQ(dat, nullptr);  // stopped before the dat
  container.keyOfElement = RecordingContainer::KeyOf;
  container.datOfElement = nullptr;
  EXPECT_EQ(it.GetEntryParts(&record, nullptr, &key, &dat, nullptr, nullptr), -2999);
  EXPECT_EQ(key, &record.element);
}

TEST(PartGetters, ReadThroughTheCurrentEntry) {
  RecordingContainer container;
  Record record = {1, 2};
  FixedIterator it(&container, &record);
  int status = 99;
  EXPECT_EQ(it.GetElement(status, nullptr), &record.element);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(it.GetKey(status, nullptr), &record.element);
  EXPECT_EQ(it.GetDat(status, nullptr), &container.datValue);
  EXPECT_EQ(it.GetFlags(status, nullptr), 0x55u);
  EXPECT_EQ(status, 0);

  container.datStatus = -519;
  EXPECT_EQ(it.GetDat(status, nullptr), nullptr);
  EXPECT_EQ(status, -519);
}

TEST(PartGetters, ReportWhyThereIsNoPart) {
  RecordingContainer container;
  Record record = {1, 2};
  FixedIterator unpositioned(&container, &record, -522);
  int status = 0;
  EXPECT_EQ(unpositioned.GetKey(status, nullptr), nullptr);
  EXPECT_EQ(status, -522);
  EXPECT_EQ(unpositioned.GetFlags(status, nullptr), 0u);
  EXPECT_EQ(status, -522);

  FixedIterator onNoEntry(&container, nullptr);
  status = 5;
  EXPECT_EQ(onNoEntry.GetElement(status, nullptr), nullptr);
  EXPECT_EQ(status, 0);  // as GetEntry left it
  EXPECT_EQ(onNoEntry.GetKey(status, nullptr), nullptr);
  EXPECT_EQ(status, 0);

  FixedIterator onNoElement(&container, &container.badEntry);
  EXPECT_EQ(onNoElement.GetElement(status, nullptr), nullptr);
  EXPECT_EQ(status, -2999);
  EXPECT_EQ(onNoElement.GetDat(status, nullptr), nullptr);
  EXPECT_EQ(status, -2999);

  FixedIterator positioned(&container, &record);
  container.flagsOfElement = nullptr;
  EXPECT_EQ(positioned.GetFlags(status, nullptr), 0u);
  EXPECT_EQ(status, -2999);

  FixedIterator detached(nullptr, &record);
  detached.status = 0;
  status = 5;
  EXPECT_EQ(detached.GetKey(status, nullptr), nullptr);
  EXPECT_EQ(status, 0);  // as GetEntry left it
}

TEST(CompareElement, NegatesTheCompareFunctionsResults) {
  RecordingContainer mine, theirs;
  Record a = {0, 10}, b = {0, 20};
  FixedIterator self(&mine, &a), other(&theirs, &b);
  KrVParameter parameter, otherParameter;
  mine.keyResult = 3;
  mine.orderResult = -4;
  mine.compareStatus = 6;
  int keyComparison = 0, order = 0;
  EXPECT_EQ(self.CompareElement(&other, &otherParameter, keyComparison, order, &parameter), 6);
  EXPECT_EQ(keyComparison, -3);
  EXPECT_EQ(order, 4);
  EXPECT_EQ(mine.seenProbe, &other);
  EXPECT_EQ(mine.seenKey, &b.element);
  EXPECT_EQ(mine.seenDat, &theirs.datValue);
  EXPECT_EQ(mine.seenElement, &a.element);
  EXPECT_EQ(mine.seenParameter, &parameter);
  EXPECT_EQ(theirs.log, (std::vector<std::string>{"element", "key", "element", "dat"}));

  mine.keyResult = INT_MIN;  // a callback computing a - b can produce this
  mine.orderResult = INT_MAX;
  self.CompareElement(&other, nullptr, keyComparison, order, nullptr);
  EXPECT_GT(keyComparison, 0);
  EXPECT_EQ(order, -INT_MAX);
}

TEST(CompareElement, DefaultCompareReportsEqual) {
  KrVContainer container(4, 0);
  int a = 1, b = 2;
  FixedIterator self(&container, &a), other(&container, &b);
  int keyComparison = 9, order = 9;
  EXPECT_EQ(self.CompareElement(&other, nullptr, keyComparison, order, nullptr), 0);
  EXPECT_EQ(keyComparison, 0);
  EXPECT_EQ(order, 0);
}

TEST(CompareElement, MissingDatIsNoError) {
  RecordingContainer mine, theirs;
  theirs.datStatus = -519;
  Record a = {0, 1}, b = {0, 2};
  FixedIterator self(&mine, &a), other(&theirs, &b);
  int keyComparison = 0, order = 0;
  mine.seenDat = &a;
  EXPECT_EQ(self.CompareElement(&other, nullptr, keyComparison, order, nullptr), 0);
  EXPECT_EQ(mine.seenDat, nullptr);
}

TEST(CompareElement, PassesFailuresOut) {
  RecordingContainer mine, theirs;
  Record a = {0, 1}, b = {0, 2};
  int keyComparison = 0, order = 0;

  FixedIterator lost(&mine, &a, -523), other(&theirs, &b);
  EXPECT_EQ(lost.CompareElement(&other, nullptr, keyComparison, order, nullptr), -523);
  FixedIterator self(&mine, &a), ended(&theirs, &b, -522);
  EXPECT_EQ(self.CompareElement(&ended, nullptr, keyComparison, order, nullptr), -522);
  EXPECT_TRUE(mine.log.empty());
  EXPECT_TRUE(theirs.log.empty());

  theirs.keyStatus = -11;
  EXPECT_EQ(self.CompareElement(&other, nullptr, keyComparison, order, nullptr), -11);
  theirs.keyStatus = 0;
  theirs.datStatus = -12;
  EXPECT_EQ(self.CompareElement(&other, nullptr, keyComparison, order, nullptr), -12);
  theirs.datStatus = 0;

  FixedIterator noElement(&mine, &mine.badEntry);
  EXPECT_EQ(noElement.CompareElement(&other, nullptr, keyComparison, order, nullptr), -2999);
  mine.compareElement = nullptr;
  EXPECT_EQ(self.CompareElement(&other, nullptr, keyComparison, order, nullptr), -2999);
  EXPECT_EQ(mine.seenProbe, nullptr);  // never called
}

}  // namespace
