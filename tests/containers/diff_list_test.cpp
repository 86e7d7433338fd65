#include <kr/containers.h>

#include <gtest/gtest.h>

#include <stdint.h>

#include <string>

#include "tree_test_support.h"

namespace {

using kr_test::Item;
using kr_test::Probe;

// What the differ's tests do not reach: the layout, refusing a second entry
// for an element, and deleting at the end, off an entry and when stale.
// Counts start at -1, or +1 when bit 0 of aux is set, whatever its other bits.
TEST(DiffList, EntriesCountsAndDeletion) {
  KrDiffList list(5, nullptr);
  EXPECT_EQ(list.countOffset, 8u);
  EXPECT_EQ(list.elementSize, 12u);
  KrDiffListIterator entries(&list);
  KrVParameter first, second;
  first.aux = reinterpret_cast<void*>(static_cast<uintptr_t>(0x10));
  second.aux = reinterpret_cast<void*>(static_cast<uintptr_t>(0x11));
  KrOneEntryContainer b("bbbbb", nullptr, 0), c("ccccc", nullptr, 0);
  KrOneEntryIterator atB(&b, nullptr), atC(&c, nullptr);
  EXPECT_EQ(entries.InsertElement(&atC, nullptr, 0, &second), 0);
  EXPECT_EQ(*entries.DiffCount(), 1);
  EXPECT_EQ(entries.InsertElement(&atB, nullptr, 0, &first), 0);
  EXPECT_EQ(*entries.DiffCount(), -1);
  EXPECT_EQ(entries.InsertElement(&atB, nullptr, 0, &second), kKrDuplicate);
  EXPECT_EQ(entries.Last(), 0);
  EXPECT_EQ(entries.DeleteElement(0, nullptr), 0);  // the greatest: past the end
  EXPECT_EQ(entries.status, -522);
  EXPECT_EQ(entries.DiffCount(), nullptr);
  EXPECT_EQ(entries.DeleteElement(0, nullptr), -522);  // not on an entry
  EXPECT_EQ(entries.First(), 0);
  EXPECT_EQ(list.InsertElement(&atC, nullptr, 0, nullptr), 0);  // behind its back
  EXPECT_EQ(entries.DeleteElement(0, nullptr), -513);
  EXPECT_EQ(list.count, 2u);
  KrVIterator* created = list.CreateIterator(nullptr);
  EXPECT_EQ(created->First(), 0);
  EXPECT_EQ(*static_cast<KrDiffListIterator*>(created)->DiffCount(), -1);
  delete created;
}

// With a compare function that tells keys from elements, elements with equal
// keys that differ as a whole are separate entries.
TEST(DiffList, EqualKeysDifferentElementsAreSeparateEntries) {
  KrDiffList list(sizeof(Item), kr_test::CompareItems);
  KrDiffListIterator entries(&list);
  for (Item item : {Item{1, 1, 0}, Item{1, 2, 0}, Item{1, 1, 9}}) {
    Probe probe(item);
    if (entries.SearchElement(&probe.it, nullptr, 0, nullptr) == 0) {
      --*entries.DiffCount();
    } else {
      EXPECT_EQ(entries.InsertElement(&probe.it, nullptr, 0, nullptr), 0);
    }
  }
  std::string counts;
  for (int s = entries.First(); s == 0; s = entries.Next()) {
    counts += std::to_string(static_cast<Item const*>(entries.GetElement(s, nullptr))->payload) +
              ":" + std::to_string(*entries.DiffCount()) + " ";
  }
  EXPECT_EQ(counts, "1:-2 2:-1 ");
}

}  // namespace
