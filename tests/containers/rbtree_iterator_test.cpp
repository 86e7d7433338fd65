#include <kr/containers.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tree_test_support.h"

namespace {

using kr_test::Describe;
using kr_test::gCalls;
using kr_test::Insert;
using kr_test::Item;
using kr_test::ItemOf;
using kr_test::ItemTree;
using kr_test::Probe;
using kr_test::WalkForwards;

// The serial of the element the iterator stands on, or 0.
int SerialAt(KrRBTreeIterator const& iterator) {
  int status = 0;
  void const* element = iterator.GetElement(status, nullptr);
  return element ? static_cast<Item const*>(element)->serial : 0;
}

class RBTreeIteratorTest : public ::testing::Test {
 protected:
  void SetUp() override {
    gCalls = kr_test::ElementCalls();
    for (int key = 1; key <= 5; ++key) ASSERT_EQ(Insert(tree, {key, 0, key}), 0);
  }
  // Puts the iterator on the element with `key` by searching for it.
  void PlaceOn(KrRBTreeIterator& iterator, int key) {
    Probe probe({key, 0, 0});
    ASSERT_EQ(tree.SearchElement(probe.It(), nullptr, 0, nullptr, &iterator), 0);
  }
  ItemTree tree{0};
};

TEST_F(RBTreeIteratorTest, StartsBeforeTheFirstElement) {
  KrRBTreeIterator iterator(&tree, nullptr);
  EXPECT_EQ(iterator.GetType(), 1);
  EXPECT_EQ(iterator.status, -521);
  EXPECT_EQ(iterator.changeStamp, tree.changeCount);
  EXPECT_TRUE(iterator.path.IsEmpty());
  EXPECT_EQ(iterator.Prior(), -521);  // stays
  EXPECT_EQ(iterator.Next(), 0);
  EXPECT_EQ(SerialAt(iterator), 1);

  KrRBTreeIterator detached(nullptr, nullptr);
  EXPECT_EQ(detached.status, -520);
  EXPECT_EQ(detached.First(), -520);
  EXPECT_EQ(detached.Last(), -520);
  EXPECT_EQ(detached.Next(), -520);
  EXPECT_EQ(detached.Prior(), -520);
  EXPECT_EQ(detached.DeleteElement(0, nullptr), -520);
}

TEST_F(RBTreeIteratorTest, StepsOffBothEndsAndBack) {
  KrRBTreeIterator iterator(&tree, nullptr);
  ASSERT_EQ(iterator.Last(), 0);
  EXPECT_EQ(SerialAt(iterator), 5);
  EXPECT_EQ(iterator.Next(), -522);
  EXPECT_EQ(iterator.Next(), -522);
  EXPECT_TRUE(iterator.path.IsEmpty());
  int status = 0;
  EXPECT_EQ(iterator.GetEntry(status, nullptr), nullptr);
  EXPECT_EQ(status, -522);
  EXPECT_EQ(iterator.Prior(), 0);
  EXPECT_EQ(SerialAt(iterator), 5);

  ASSERT_EQ(iterator.First(), 0);
  EXPECT_EQ(iterator.Prior(), -521);
  EXPECT_EQ(iterator.Prior(), -521);
  EXPECT_EQ(iterator.Next(), 0);
  EXPECT_EQ(SerialAt(iterator), 1);
}

TEST_F(RBTreeIteratorTest, EmptyTreeHasNoPosition) {
  ItemTree empty(0);
  KrRBTreeIterator iterator(&empty, nullptr);
  EXPECT_EQ(iterator.Next(), -522);  // First finds nothing: after the end
  EXPECT_EQ(iterator.Prior(), -521);  // Last finds nothing: before the start
  EXPECT_EQ(iterator.First(), -521);
  EXPECT_EQ(iterator.Last(), -522);
}

TEST_F(RBTreeIteratorTest, ChangesThroughTheTreeMakeItStale) {
  KrRBTreeIterator iterator(&tree, nullptr);
  ASSERT_EQ(iterator.First(), 0);
  ASSERT_EQ(Insert(tree, {9, 0, 9}), 0);
  int status = 0;
  EXPECT_EQ(iterator.GetEntry(status, nullptr), nullptr);
  EXPECT_EQ(status, -513);
  EXPECT_EQ(iterator.Next(), -513);
  EXPECT_EQ(iterator.status, -523);
  EXPECT_EQ(iterator.Next(), -523);
  EXPECT_EQ(iterator.Prior(), -523);
  EXPECT_EQ(iterator.DeleteElement(0, nullptr), -523);
  EXPECT_EQ(iterator.Last(), 0);  // re-established
  EXPECT_EQ(SerialAt(iterator), 9);

  Probe probe({3, 0, 0});
  ASSERT_EQ(tree.DeleteElement(probe.It(), nullptr, 0, nullptr), 0);
  EXPECT_EQ(iterator.Prior(), -513);
  // A refused insertion and a miss change nothing.
  ASSERT_EQ(iterator.First(), 0);
  EXPECT_EQ(Insert(tree, {1, 0, 1}), -512);
  EXPECT_EQ(tree.DeleteElement(probe.It(), nullptr, 0, nullptr), -510);
  EXPECT_EQ(iterator.Next(), 0);
}

TEST_F(RBTreeIteratorTest, StaleIteratorDeletesNothing) {
  KrRBTreeIterator iterator(&tree, nullptr);
  PlaceOn(iterator, 2);
  ASSERT_EQ(Insert(tree, {9, 0, 9}), 0);
  EXPECT_EQ(iterator.DeleteElement(0, nullptr), -513);
  EXPECT_EQ(iterator.status, 0);  // the status is left alone
  EXPECT_EQ(tree.count, 6u);
}

TEST_F(RBTreeIteratorTest, DeletingMovesToTheNeighbour) {
  KrRBTreeIterator iterator(&tree, nullptr);
  PlaceOn(iterator, 3);
  EXPECT_EQ(iterator.DeleteElement(0, nullptr), 0);
  EXPECT_EQ(SerialAt(iterator), 4);
  EXPECT_EQ(iterator.DeleteElement(kKrDeleteMoveToPrior, nullptr), 0);
  EXPECT_EQ(SerialAt(iterator), 2);
  EXPECT_EQ(iterator.changeStamp, tree.changeCount);  // not stale by its own deletions
  EXPECT_EQ(iterator.Next(), 0);
  EXPECT_EQ(SerialAt(iterator), 5);
  EXPECT_EQ(Describe(WalkForwards(tree)), Describe({{1, 0, 1}, {2, 0, 2}, {5, 0, 5}}));
  EXPECT_EQ(tree.CheckTree(nullptr), 0);
}

TEST_F(RBTreeIteratorTest, DeletingAtTheEndsLeavesItOffTheEnd) {
  KrRBTreeIterator iterator(&tree, nullptr);
  ASSERT_EQ(iterator.Last(), 0);
  EXPECT_EQ(iterator.DeleteElement(0, nullptr), -522);
  EXPECT_EQ(iterator.status, -522);
  EXPECT_EQ(iterator.Prior(), 0);
  EXPECT_EQ(SerialAt(iterator), 4);

  ASSERT_EQ(iterator.First(), 0);
  EXPECT_EQ(iterator.DeleteElement(kKrDeleteMoveToPrior, nullptr), -521);
  EXPECT_EQ(iterator.Next(), 0);
  EXPECT_EQ(SerialAt(iterator), 2);

  ASSERT_EQ(iterator.Last(), 0);  // with the move going the other way
  EXPECT_EQ(iterator.DeleteElement(kKrDeleteMoveToPrior, nullptr), 0);
  EXPECT_EQ(SerialAt(iterator), 3);
  ASSERT_EQ(iterator.First(), 0);
  EXPECT_EQ(iterator.DeleteElement(0, nullptr), 0);
  EXPECT_EQ(SerialAt(iterator), 3);
  EXPECT_EQ(iterator.DeleteElement(0, nullptr), -522);  // the only one
  EXPECT_EQ(tree.root, nullptr);
  EXPECT_EQ(iterator.Prior(), -521);
  EXPECT_EQ(iterator.DeleteElement(0, nullptr), -521);  // not positioned
}

TEST_F(RBTreeIteratorTest, OwnDeletionLeavesOtherIteratorsStale) {
  KrRBTreeIterator deleter(&tree, nullptr);
  KrRBTreeIterator other(&tree, nullptr);
  ASSERT_EQ(deleter.First(), 0);
  ASSERT_EQ(other.Last(), 0);
  ASSERT_EQ(deleter.DeleteElement(0, nullptr), 0);
  EXPECT_EQ(deleter.Next(), 0);
  EXPECT_EQ(other.Prior(), -513);
  EXPECT_EQ(other.status, -523);
}

TEST_F(RBTreeIteratorTest, DeletesItsOwnElementAmongEqualOnes) {
  ItemTree twins(kKrAllowEqualElements);
  for (int serial = 1; serial <= 40; ++serial) {
    ASSERT_EQ(Insert(twins, {serial % 4 == 0 ? 2 : 7, 0, serial}), 0);
  }
  std::vector<Item> expected = WalkForwards(twins);
  KrRBTreeIterator iterator(&twins, nullptr);
  // Delete every second element walking forwards, then the rest backwards.
  ASSERT_EQ(iterator.First(), 0);
  for (std::size_t i = 0; i < expected.size(); i += 2) {
    ASSERT_EQ(SerialAt(iterator), expected[i].serial);
    bool hasNext = i + 1 < expected.size();
    ASSERT_EQ(iterator.DeleteElement(0, nullptr), hasNext ? 0 : -522);
    ASSERT_EQ(gCalls.destroyedSerials.back(), expected[i].serial);
    ASSERT_EQ(twins.CheckTree(nullptr), 0);
    if (!hasNext) break;
    ASSERT_EQ(SerialAt(iterator), expected[i + 1].serial);
    if (i + 2 < expected.size()) {
      ASSERT_EQ(iterator.Next(), 0);
    }
  }
  std::vector<Item> rest;
  for (std::size_t i = 1; i < expected.size(); i += 2) rest.push_back(expected[i]);
  ASSERT_EQ(Describe(WalkForwards(twins)), Describe(rest));
  ASSERT_EQ(iterator.Last(), 0);
  while (!rest.empty()) {
    ASSERT_EQ(SerialAt(iterator), rest.back().serial);
    rest.pop_back();
    ASSERT_EQ(iterator.DeleteElement(kKrDeleteMoveToPrior, nullptr), rest.empty() ? -521 : 0);
    ASSERT_EQ(twins.CheckTree(nullptr), 0);
    ASSERT_EQ(Describe(WalkForwards(twins)), Describe(rest));
  }
  EXPECT_EQ(twins.count, 0u);
}

TEST_F(RBTreeIteratorTest, CopiesAndClonesWalkOnTheirOwn) {
  KrRBTreeIterator iterator(&tree, nullptr);
  PlaceOn(iterator, 2);
  KrRBTreeIterator copy(iterator);
  EXPECT_EQ(copy.path.top - copy.path.slots, iterator.path.top - iterator.path.slots);
  iterator.Next();
  iterator.Next();
  EXPECT_EQ(SerialAt(copy), 2);
  EXPECT_EQ(copy.Next(), 0);
  EXPECT_EQ(SerialAt(copy), 3);

  KrVIterator* clone = iterator.Clone(nullptr);
  ASSERT_NE(clone, nullptr);
  EXPECT_EQ(clone->GetType(), 1);
  EXPECT_EQ(SerialAt(*static_cast<KrRBTreeIterator*>(clone)), 4);
  iterator.Next();
  EXPECT_EQ(clone->Prior(), 0);
  EXPECT_EQ(SerialAt(*static_cast<KrRBTreeIterator*>(clone)), 3);
  delete clone;

  ItemTree other(0);
  KrRBTreeIterator target(&other, nullptr);
  EXPECT_EQ(iterator.Clone(&target), &target);
  EXPECT_EQ(target.container, &tree);
  EXPECT_EQ(target.status, 0);
  EXPECT_EQ(target.changeStamp, iterator.changeStamp);
  EXPECT_EQ(SerialAt(target), 5);
}

TEST_F(RBTreeIteratorTest, ClonesOnlyIntoTreeIterators) {
  KrRBTreeIterator iterator(&tree, nullptr);
  PlaceOn(iterator, 2);
  int key = 1;
  KrOneEntryContainer one(&key, nullptr, 0);
  KrOneEntryIterator onOther(&one, nullptr);
  EXPECT_EQ(iterator.Clone(&onOther), nullptr);
  EXPECT_EQ(onOther.container, &one);
  EXPECT_EQ(onOther.status, 0);
  KrRBTreeIterator detached(nullptr, nullptr);
  EXPECT_EQ(iterator.Clone(&detached), nullptr);
  EXPECT_EQ(detached.status, -520);
}

}  // namespace
