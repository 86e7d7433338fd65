#include <kr/containers.h>

#include <gtest/gtest.h>

#include "tree_test_support.h"

namespace {

using kr_test::gCalls;
using kr_test::Insert;
using kr_test::ItemTree;

// Builds trees by hand, sound or not, from nodes of the tree's own cache.
class RBTreeCheckTest : public ::testing::Test {
 protected:
  void SetUp() override { gCalls = kr_test::ElementCalls(); }
  KrRBTreeNode* Node(int key, bool red, KrRBTreeNode* left = nullptr,
                     KrRBTreeNode* right = nullptr, int payload = 0) {
    int status = 0;
    KrRBTreeNode* node = tree.CreateEntry(status);
    *static_cast<kr_test::Item*>(node->Element()) = {key, payload, key};
    node->SetLeft(left);
    node->right = right;
    if (!red) node->SetBlack();
    return node;
  }
  void Use(KrRBTreeNode* root, unsigned long count) {
    tree.root = root;
    tree.count = count;
  }
  void TearDown() override { tree.Clear(nullptr, nullptr, nullptr); }
  ItemTree tree{0};
};

TEST_F(RBTreeCheckTest, SoundTreesPass) {
  EXPECT_EQ(tree.CheckTree(nullptr), 0);  // empty
  Use(Node(20, false, Node(10, true), Node(30, true)), 3);
  EXPECT_EQ(tree.CheckTree(nullptr), 0);
}

TEST_F(RBTreeCheckTest, RedRoot) {
  Use(Node(20, true, Node(10, false), Node(30, false)), 3);
  EXPECT_EQ(tree.CheckTree(nullptr), -1);
}

TEST_F(RBTreeCheckTest, RedNodeWithRedChild) {
  // Black heights are equal (0 below the root on both sides).
  Use(Node(20, false, Node(10, true, Node(5, true))), 3);
  EXPECT_EQ(tree.CheckTree(nullptr), -2);
  Use(Node(20, false, Node(10, true, nullptr, Node(15, true))), 3);
  EXPECT_EQ(tree.CheckTree(nullptr), -2);
}

TEST_F(RBTreeCheckTest, UnequalBlackHeights) {
  Use(Node(20, false, Node(10, false)), 2);
  EXPECT_EQ(tree.CheckTree(nullptr), -3);
  Use(Node(20, false, Node(10, false), Node(30, false, nullptr, Node(40, false))), 4);
  EXPECT_EQ(tree.CheckTree(nullptr), -3);
}

TEST_F(RBTreeCheckTest, NeighboursOutOfOrder) {
  Use(Node(20, false, Node(30, true), Node(40, true)), 3);
  EXPECT_EQ(tree.CheckTree(nullptr), -4);
  Use(Node(20, false, Node(10, true), Node(15, true)), 3);
  EXPECT_EQ(tree.CheckTree(nullptr), -4);
  // Deep inside: 25 is in 20's left subtree (its greatest node).
  Use(Node(20, false, Node(10, false, Node(5, true), Node(25, true)), Node(30, false)), 5);
  EXPECT_EQ(tree.CheckTree(nullptr), -4);
}

TEST_F(RBTreeCheckTest, FullyEqualNeighboursOnlyWhereAdmitted) {
  Use(Node(20, false, Node(20, true)), 2);
  EXPECT_EQ(tree.CheckTree(nullptr), -4);
  tree.flags = kKrAllowEqualKeys;
  EXPECT_EQ(tree.CheckTree(nullptr), -4);
  Use(Node(20, false, Node(20, true, nullptr, nullptr, -1)), 2);  // same key, smaller
  EXPECT_EQ(tree.CheckTree(nullptr), 0);
  tree.flags = kKrAllowEqualElements;
  Use(Node(20, false, Node(20, true)), 2);
  EXPECT_EQ(tree.CheckTree(nullptr), 0);
}

TEST_F(RBTreeCheckTest, CountDiffers) {
  Use(Node(20, false, Node(10, true), Node(30, true)), 4);
  EXPECT_EQ(tree.CheckTree(nullptr), -5);
  Use(nullptr, 1);
  EXPECT_EQ(tree.CheckTree(nullptr), -5);
}

TEST_F(RBTreeCheckTest, WorkerReportsHeightNodesAndEnds) {
  KrRBTreeNode* smallest = Node(10, true);
  KrRBTreeNode* greatest = Node(40, true);
  KrRBTreeNode* root = Node(20, false, smallest, Node(30, false, nullptr, greatest));
  Use(root, 4);
  root->SetLeft(Node(15, false, smallest));
  unsigned long height = 0, nodes = 0;
  KrRBTreeNode* low = nullptr;
  KrRBTreeNode* high = nullptr;
  EXPECT_EQ(tree.CheckTree(root, height, nodes, low, high, nullptr), 0);
  EXPECT_EQ(height, 2u);
  EXPECT_EQ(nodes, 5u);
  EXPECT_EQ(low, smallest);
  EXPECT_EQ(high, greatest);
}

TEST_F(RBTreeCheckTest, FailingCompareIsPassedOut) {
  for (int key : {1, 2, 3}) ASSERT_EQ(Insert(tree, {key, 0, key}), 0);
  gCalls.compareStatus = -42;
  EXPECT_EQ(tree.CheckTree(nullptr), -42);
  gCalls.compareStatus = 0;
  EXPECT_EQ(tree.CheckTree(nullptr), 0);
  tree.OutTree(nullptr);  // a hook: walks, prints nothing
}

}  // namespace
