// The red-black tree and its iterator, beyond the random-operation model of fuzz/rbtree_fuzz.cpp:
// failures, destruction order, `last` after deleting the greatest node, CheckTree's codes and the
// iterator's states.
#include <kr/containers.h>

#include <gtest/gtest.h>

#include <climits>
#include <vector>

#include "tree_test_support.h"

namespace {

using namespace kr_test;

void Fill(KrRBTree& tree, std::vector<int> const& keys) {
  for (int key : keys) ASSERT_EQ(Insert(tree, {key, 0, key}), 0);
}

// An unbuildable or uncomparable element changes nothing: the failure's code
// comes back, and a failed constructor keeps its node.
TEST(RBTree, FailuresLeaveTheTreeUnchanged) {
  Calls() = ElementCalls();
  ItemTree tree(0);
  Fill(tree, {10, 20, 25, 30, 40});
  unsigned long const changes = tree.changeCount;
  Calls().constructorStatus = -77;
  EXPECT_EQ(Insert(tree, {50, 0, 50}), -77);
  EXPECT_EQ(tree.nodeCache.returnedEntries, nullptr);  // neither reused nor lost
  Calls().constructorStatus = 0;
  Calls().compareStatus = -88;
  Probe probe({20, 0, 0});
  KrRBTreeIterator result(&tree, nullptr);
  EXPECT_EQ(Insert(tree, {5, 0, 5}), -88);
  EXPECT_EQ(tree.SearchElement(&probe.it, nullptr, 0, nullptr, &result), -88);
  EXPECT_EQ(result.status, -523);
  EXPECT_EQ(tree.DeleteElement(&probe.it, nullptr, 0, nullptr) + tree.CheckTree(nullptr), -176);
  EXPECT_EQ(tree.DeleteEntry(tree.root, 0, nullptr), -88);
  Calls().compareStatus = 0;
  EXPECT_TRUE(tree.changeCount == changes && tree.hasDuplicates == 0 && tree.count == 5);
  EXPECT_EQ(Serials(tree), (std::vector<int>{10, 20, 25, 30, 40}));
  ItemTree other(0);
  Fill(other, {40});
  EXPECT_EQ(tree.DeleteEntry(other.root, 0, nullptr), -510);  // not in this tree
  int status = 0;
  KrRBTree huge(ULONG_MAX - 4, 0, 0);  // the node size would wrap around
  EXPECT_TRUE(!huge.CreateEntry(status) && status == -2030);
}

TEST(RBTree, ClearDestroysInPostOrder) {
  Calls() = ElementCalls();
  ItemTree tree(0, 4);
  Fill(tree, {1, 2, 3, 4, 5});  // 2 over 1 and 4; 4 over 3 and 5
  EXPECT_EQ(tree.Clear(nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(Calls().destroyed, (std::vector<int>{1, 3, 5, 4, 2}));
}

// The greatest node 30 has a lone left child 25 (20 over 10 and 30). Deleted walking backwards,
// `last` must become 25, not the parent 20: an append after 20 would overwrite the link to 25.
TEST(RBTree, DeletingTheGreatestNodeWithALoneLeftChild) {
  ItemTree tree(0);
  Fill(tree, {10, 20, 30, 25});
  ASSERT_EQ(tree.last->Left(), tree.root->right->Left());
  Probe thirty({30, 0, 0});
  ASSERT_EQ(tree.DeleteElement(&thirty.it, nullptr, kKrWalkBackwards, nullptr), 0);
  ASSERT_EQ(Insert(tree, {40, 0, 40}), 0);
  EXPECT_EQ(tree.CheckTree(nullptr), 0);
  EXPECT_EQ(Serials(tree), (std::vector<int>{10, 20, 25, 40}));
}

TEST(RBTree, CheckTreeNamesTheFault) {
  ItemTree tree(0);
  int status = 0;
  auto node = [&](int key, bool red, KrRBTreeNode* left, KrRBTreeNode* right) {
    KrRBTreeNode* n = tree.CreateEntry(status);
    *static_cast<Item*>(n->Element()) = {key, 0, key};
    n->SetLeft(left);
    n->right = right;
    if (!red) n->SetBlack();
    return n;
  };
  auto check = [&](KrRBTreeNode* root, unsigned long count) {
    tree.root = root;
    tree.count = count;
    return tree.CheckTree(nullptr);
  };
  EXPECT_EQ(check(node(2, 0, node(1, 1, 0, 0), node(3, 1, 0, 0)), 3), 0);
  EXPECT_EQ(check(node(2, 1, node(1, 0, 0, 0), node(3, 0, 0, 0)), 3), -1);
  EXPECT_EQ(check(node(2, 0, node(1, 1, node(0, 1, 0, 0), 0), 0), 3), -2);
  EXPECT_EQ(check(node(2, 0, node(1, 0, 0, 0), 0), 2), -3);
  EXPECT_EQ(check(node(2, 0, node(3, 1, 0, 0), 0), 2), -4);
  EXPECT_EQ(check(node(2, 0, 0, node(1, 1, 0, 0)), 2), -4);
  EXPECT_EQ(check(node(2, 0, node(2, 1, 0, 0), 0), 2), -4);  // equal, without 0x0002
  tree.flags = kKrAllowEqualElements;
  EXPECT_EQ(tree.CheckTree(nullptr), 0);
  EXPECT_EQ(check(node(2, 0, 0, 0), 2), -5);
}

// Before the first element Prior stays and Next acts as First; after the
// last, the other way round. A change behind the iterator's back makes a
// step answer -513 and leaves it at -523 until First or Last.
TEST(RBTreeIterator, StatesAndStaleness) {
  Calls() = ElementCalls();
  ItemTree tree(0), empty(0);
  Fill(tree, {1, 2, 3, 4, 5});
  KrRBTreeIterator it(&tree, nullptr), onEmpty(&empty, nullptr), none(nullptr, nullptr);
  EXPECT_EQ(Steps(it, "PNLNNP"), "-521 0:1 0:5 -522 -522 0:5 ");
  EXPECT_EQ(Steps(onEmpty, "NPFL"), "-522 -521 -521 -522 ");
  EXPECT_EQ(Steps(none, "FLNPD"), "-520 -520 -520 -520 -520 ");
  ASSERT_EQ(Insert(tree, {9, 0, 9}), 0);
  int status = 0;
  EXPECT_TRUE(!it.GetEntry(status, nullptr) && status == -513);
  EXPECT_EQ(Steps(it, "DNPFN"), "-513 -513 -523 0:1 0:2 ");
  // Clones: a new copy, or assigned into a tree iterator; not into others.
  KrVIterator* clone = it.Clone(nullptr);
  it.Prior();
  EXPECT_EQ(SerialAt(*clone), 2);
  delete clone;
  KrRBTreeIterator target(&empty, nullptr);
  EXPECT_EQ(it.Clone(&target), &target);
  EXPECT_EQ(Steps(target, "N"), "0:2 ");
  KrOneEntryIterator onOne(nullptr, nullptr);
  EXPECT_EQ(it.Clone(&onOne), nullptr);
}

}  // namespace
