#include <kr/containers.h>

#include <gtest/gtest.h>

#include "tree_test_support.h"

namespace {

using namespace kr_test;

struct RBTreeIteratorTest : ::testing::Test {
  RBTreeIteratorTest() {
    for (int key = 1; key <= 5; ++key) Insert(tree, {key, 0, key});  // 2 over 1 and 4
  }
  ItemTree tree{0};
  KrRBTreeIterator it{&tree, nullptr};
};

TEST_F(RBTreeIteratorTest, MovesAsItsStateTableSays) {
  EXPECT_EQ(it.Prior(), -521);  // before the first element Prior stays
  EXPECT_EQ(it.Next(), 0);      // and Next acts as First
  EXPECT_EQ(SerialAt(it), 1);
  EXPECT_EQ(it.Last(), 0);
  EXPECT_EQ(it.Next(), -522);
  EXPECT_EQ(it.Next(), -522);  // off the end it stays
  EXPECT_EQ(it.Prior(), 0);    // and Prior acts as Last
  EXPECT_EQ(SerialAt(it), 5);
  KrRBTreeIterator none(nullptr, nullptr);
  EXPECT_EQ(none.First() + none.Next() + none.Prior() + none.DeleteElement(0, nullptr), -4 * 520);
  ItemTree empty(0);
  KrRBTreeIterator onEmpty(&empty, nullptr);
  EXPECT_EQ(onEmpty.Next(), -522);
  EXPECT_EQ(onEmpty.Prior(), -521);
}

TEST_F(RBTreeIteratorTest, ChangesBehindItsBackMakeItStale) {
  ASSERT_EQ(it.First(), 0);
  ASSERT_EQ(Insert(tree, {9, 0, 9}), 0);
  int status = 0;
  EXPECT_EQ(it.GetEntry(status, nullptr), nullptr);
  EXPECT_EQ(status, -513);
  EXPECT_EQ(it.DeleteElement(0, nullptr), -513);
  EXPECT_EQ(tree.count, 6u);
  EXPECT_EQ(it.Next(), -513);
  EXPECT_EQ(it.status, -523);
  EXPECT_EQ(it.Prior(), -523);
  EXPECT_EQ(it.First(), 0);                  // re-established
  EXPECT_EQ(Insert(tree, {1, 0, 1}), -512);  // a refusal changes nothing
  EXPECT_EQ(it.Next(), 0);
}

TEST_F(RBTreeIteratorTest, DeletingStaysUsableOnTheNeighbour) {
  KrRBTreeIterator other(&tree, nullptr);
  ASSERT_EQ(other.First(), 0);
  ASSERT_EQ(it.First(), 0);
  ASSERT_EQ(it.Next(), 0);
  EXPECT_EQ(it.DeleteElement(0, nullptr), 0);  // 2 goes, on to 3
  EXPECT_EQ(SerialAt(it), 3);
  EXPECT_EQ(it.DeleteElement(kKrDeleteMoveToPrior, nullptr), 0);  // 3 goes, back to 1
  EXPECT_EQ(SerialAt(it), 1);
  EXPECT_EQ(it.DeleteElement(kKrDeleteMoveToPrior, nullptr), -521);  // the first
  EXPECT_EQ(it.Next(), 0);
  EXPECT_EQ(SerialAt(it), 4);
  EXPECT_EQ(it.Last(), 0);
  EXPECT_EQ(it.DeleteElement(0, nullptr), -522);  // the last
  EXPECT_EQ(it.Prior(), 0);
  EXPECT_EQ(Serials(tree), std::vector<int>{4});
  EXPECT_EQ(other.Next(), -513);  // another iterator is stale
}

// (Copies re-basing their path are used throughout the model test.)
TEST_F(RBTreeIteratorTest, ClonesOnlyIntoTreeIterators) {
  ASSERT_EQ(it.Last(), 0);
  KrVIterator* clone = it.Clone(nullptr);
  it.Prior();
  EXPECT_EQ(SerialAt(*clone), 5);
  delete clone;
  ItemTree other(0);
  KrRBTreeIterator target(&other, nullptr);
  EXPECT_EQ(it.Clone(&target), &target);
  EXPECT_EQ(target.container, &tree);
  EXPECT_EQ(target.Prior(), 0);
  EXPECT_EQ(SerialAt(target), 3);
  int key = 1;
  KrOneEntryContainer one(&key, nullptr, 0);
  KrOneEntryIterator onOne(&one, nullptr);
  EXPECT_EQ(it.Clone(&onOne), nullptr);  // not over a tree: nothing changes
  EXPECT_EQ(onOne.container, &one);
}

}  // namespace
