#include <kr/containers.h>

#include <gtest/gtest.h>

#include <stdint.h>

#include <deque>
#include <string>

#include "tree_test_support.h"

namespace {

struct RecordProbe {
  explicit RecordProbe(char const* record) : one(record, nullptr, 0), it(&one, nullptr) {}
  KrOneEntryContainer one;
  KrOneEntryIterator it;
};

// The contract the differ relies on, driven with one-entry probes.
TEST(DiffList, SearchInsertCountDeleteAndWalk) {
  KrDiffList list(5, nullptr);  // bytewise
  EXPECT_EQ(list.countOffset, 8u);
  EXPECT_EQ(list.elementSize, 12u);
  KrDiffListIterator entries(&list);
  KrVParameter fromFirst, fromSecond;
  fromSecond.aux = reinterpret_cast<void*>(static_cast<uintptr_t>(0x10 | 1));
  std::deque<RecordProbe> probes;
  auto at = [&probes](char const* record) {
    probes.emplace_back(record);
    return &probes.back().it;
  };
  EXPECT_EQ(entries.SearchElement(at("bbbbb"), nullptr, 0, nullptr), -510);
  EXPECT_EQ(entries.DiffCount(), nullptr);
  struct Insert {
    char const* record;
    KrVParameter* side;
    int result, count;
  } const inserts[] = {{"bbbbb", &fromFirst, 0, -1}, {"\x80zzzz", &fromSecond, 0, 1},
                       {"bbbba", nullptr, 0, -1}, {"bbbbb", &fromSecond, -512, 0}};
  for (Insert const& insert : inserts) {
    EXPECT_EQ(entries.InsertElement(at(insert.record), nullptr, 0, insert.side), insert.result);
    if (insert.result != 0) continue;
    int status = 0;
    EXPECT_EQ(*entries.DiffCount(), insert.count) << insert.record;  // and stands on it
    EXPECT_EQ(std::string(static_cast<char const*>(entries.GetElement(status, nullptr)), 5),
              insert.record);
  }
  EXPECT_EQ(entries.SearchElement(at("bbbbb"), nullptr, 0, nullptr), 0);
  *entries.DiffCount() += 5;
  std::string walk;
  int status = 0;
  for (int s = entries.First(); s == 0; s = entries.Next()) {
    walk += std::string(static_cast<char const*>(entries.GetElement(status, nullptr)), 5) + "=" +
            std::to_string(*entries.DiffCount()) + " ";
  }
  EXPECT_EQ(walk, "bbbba=-1 bbbbb=4 \x80zzzz=1 ");
  EXPECT_EQ(entries.DiffCount(), nullptr);  // after the last entry

  // Deleting the greatest entry is a success that leaves the iterator past it.
  ASSERT_EQ(entries.Last(), 0);
  EXPECT_EQ(entries.DeleteElement(0, nullptr), 0);
  EXPECT_EQ(entries.status, -522);
  EXPECT_EQ(entries.DeleteElement(0, nullptr), -522);  // not on an entry
  EXPECT_EQ(list.count, 2u);
  ASSERT_EQ(entries.First(), 0);
  EXPECT_EQ(list.InsertElement(at("ccccc"), nullptr, 0, nullptr), 0);  // behind its back
  EXPECT_EQ(entries.DeleteElement(0, nullptr), -513);
  EXPECT_EQ(list.count, 3u);

  KrVIterator* created = list.CreateIterator(nullptr);
  EXPECT_EQ(created->container, &list);
  EXPECT_EQ(created->First(), 0);
  EXPECT_EQ(*static_cast<KrDiffListIterator*>(created)->DiffCount(), -1);
  delete created;
}

// With the inputs' compare function: elements with equal keys that differ as
// a whole are separate entries, each with its own count.
TEST(DiffList, EqualKeysDifferentElementsAreSeparateEntries) {
  using kr_test::Item;
  KrDiffList list(sizeof(Item), kr_test::CompareItems);
  KrDiffListIterator entries(&list);
  for (Item item : {Item{1, 1, 0}, Item{1, 2, 0}, Item{1, 1, 9}}) {
    kr_test::Probe probe(item);
    if (entries.SearchElement(&probe.it, nullptr, 0, nullptr) == 0) {
      --*entries.DiffCount();
    } else {
      EXPECT_EQ(entries.InsertElement(&probe.it, nullptr, 0, nullptr), 0);
    }
  }
  std::string counts;
  int status = 0;
  for (int s = entries.First(); s == 0; s = entries.Next()) {
    Item const& item = *static_cast<Item const*>(entries.GetElement(status, nullptr));
    counts += std::to_string(item.payload) + ":" + std::to_string(*entries.DiffCount()) + " ";
  }
  EXPECT_EQ(counts, "1:-2 2:-1 ");
}

}  // namespace
