#include <kr/containers.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>
#include <vector>

#include "tree_test_support.h"

namespace {

using kr_test::Insert;
using kr_test::Item;
using kr_test::ItemOf;
using kr_test::ItemTree;
using kr_test::Probe;

class RBTreeBalanceTest : public ::testing::Test {
 protected:
  void SetUp() override { kr_test::gCalls = kr_test::ElementCalls(); }
};

int MaxHeight(unsigned long count) {
  return static_cast<int>(2 * std::log2(static_cast<double>(count) + 1) + 1e-9);
}

TEST_F(RBTreeBalanceTest, ThreeAscendingElementsRotateIntoABlackRootWithRedChildren) {
  ItemTree tree(0);
  for (int key : {1, 2, 3}) ASSERT_EQ(Insert(tree, {key, 0, key}), 0);
  EXPECT_EQ(ItemOf(tree.root).key, 2);
  EXPECT_FALSE(tree.root->IsRed());
  EXPECT_TRUE(tree.root->Left()->IsRed());
  EXPECT_TRUE(tree.root->right->IsRed());
  // The uncle is red: colours flip, the root stays black.
  ASSERT_EQ(Insert(tree, {4, 0, 4}), 0);
  EXPECT_FALSE(tree.root->Left()->IsRed());
  EXPECT_FALSE(tree.root->right->IsRed());
  EXPECT_TRUE(tree.last->IsRed());
  EXPECT_FALSE(tree.root->IsRed());
}

TEST_F(RBTreeBalanceTest, InnerGrandchildIsRotatedTwice) {
  ItemTree tree(0);
  for (int key : {3, 1, 2}) ASSERT_EQ(Insert(tree, {key, 0, key}), 0);
  EXPECT_EQ(ItemOf(tree.root).key, 2);
  EXPECT_EQ(ItemOf(tree.root->Left()).key, 1);
  EXPECT_EQ(ItemOf(tree.root->right).key, 3);
  EXPECT_EQ(tree.CheckTree(nullptr), 0);
  ItemTree mirror(0);
  for (int key : {1, 3, 2}) ASSERT_EQ(Insert(mirror, {key, 0, key}), 0);
  EXPECT_EQ(ItemOf(mirror.root).key, 2);
  EXPECT_EQ(mirror.CheckTree(nullptr), 0);
}

// Every insertion order of six elements, each deleted again in several
// orders, by value and by node: every fix-up case on both sides.
TEST_F(RBTreeBalanceTest, EveryOrderOfSixStaysBalanced) {
  std::vector<int> keys(6);
  std::iota(keys.begin(), keys.end(), 1);
  std::vector<std::vector<int>> deleteOrders = {
      {1, 2, 3, 4, 5, 6}, {6, 5, 4, 3, 2, 1}, {3, 4, 2, 5, 1, 6}, {4, 1, 6, 2, 5, 3}};
  int trees = 0;
  do {
    for (std::vector<int> const& order : deleteOrders) {
      for (bool byNode : {false, true}) {
        ItemTree tree(0);
        for (int key : keys) ASSERT_EQ(Insert(tree, {key, 0, key}), 0);
        ASSERT_EQ(tree.CheckTree(nullptr), 0);
        for (int key : order) {
          Probe probe({key, 0, 0});
          if (byNode) {
            KrRBTreeIterator at(&tree, nullptr);
            ASSERT_EQ(tree.SearchElement(probe.It(), nullptr, 0, nullptr, &at), 0);
            int status = 0;
            ASSERT_EQ(tree.DeleteEntry(at.GetEntry(status, nullptr), kKrWalkBackwards, nullptr), 0);
          } else {
            ASSERT_EQ(tree.DeleteElement(probe.It(), nullptr, 0, nullptr), 0);
          }
          ASSERT_EQ(tree.CheckTree(nullptr), 0) << "deleting " << key;
          if (tree.root) {
            ASSERT_EQ(tree.last, kr_test::Rightmost(tree.root));
          }
        }
        ++trees;
      }
    }
  } while (std::next_permutation(keys.begin(), keys.end()));
  EXPECT_EQ(trees, 720 * 4 * 2);
}

TEST_F(RBTreeBalanceTest, LargeTreesKeepTheirHeightBound) {
  std::mt19937 random(20240611);
  for (int shape = 0; shape < 3; ++shape) {
    ItemTree tree(0);
    const int n = 20000;
    std::vector<int> keys(n);
    std::iota(keys.begin(), keys.end(), 0);
    if (shape == 1) std::reverse(keys.begin(), keys.end());
    if (shape == 2) std::shuffle(keys.begin(), keys.end(), random);
    for (int key : keys) ASSERT_EQ(Insert(tree, {key, 0, key}), 0);
    ASSERT_EQ(tree.CheckTree(nullptr), 0);
    EXPECT_LE(kr_test::Height(tree.root), MaxHeight(n));
    // Delete a random half, then check again.
    std::shuffle(keys.begin(), keys.end(), random);
    for (int i = 0; i < n / 2; ++i) {
      Probe probe({keys[i], 0, 0});
      ASSERT_EQ(tree.DeleteElement(probe.It(), nullptr, i % 2 ? kKrWalkBackwards : 0, nullptr), 0);
    }
    ASSERT_EQ(tree.CheckTree(nullptr), 0);
    EXPECT_LE(kr_test::Height(tree.root), MaxHeight(n / 2));
    EXPECT_EQ(tree.last, kr_test::Rightmost(tree.root));
  }
}

}  // namespace
