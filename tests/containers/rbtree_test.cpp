#include <kr/containers.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <random>
#include <vector>

#include "failing_alloc.h"
#include "tree_test_support.h"

namespace {

using namespace kr_test;

class RBTreeTest : public ::testing::Test {
 protected:
  RBTreeTest() { Calls() = ElementCalls(); }
  void Fill(KrRBTree& tree, std::vector<int> const& keys) {
    for (int key : keys) ASSERT_EQ(Insert(tree, {key, 0, key}), 0);
  }
  // Checks the tree and its sequence both ways.
  void Expect(KrRBTree& tree, std::vector<int> const& serials) {
    EXPECT_EQ(tree.CheckTree(nullptr), 0);
    EXPECT_EQ(tree.count, serials.size());
    EXPECT_EQ(Serials(tree), serials);
    EXPECT_EQ(Serials(tree, true), serials);
  }
  ItemTree tree{0};
};

TEST_F(RBTreeTest, NodesAndTheAppendPath) {
  KrRBTree bytes(1, 0, 7);  // 1 byte + two pointers, rounded to pointer alignment
  EXPECT_EQ(bytes.nodeCache.entrySize, 3 * sizeof(void*));
  EXPECT_EQ(bytes.nodeCache.entriesPerBlock, 7u);
  EXPECT_EQ(bytes.nodeCache.alignment, alignof(void*));
  ASSERT_EQ(Insert(tree, {0, 0, 0}), 0);
  EXPECT_TRUE(tree.root == tree.last && !tree.root->IsRed());
  EXPECT_EQ(tree.GetElementOfEntry(tree.root),
            reinterpret_cast<char*>(tree.root) + 2 * sizeof(void*));
  for (int key = 1; key <= 3000; ++key) ASSERT_EQ(Insert(tree, {key, 0, key}), 0);
  EXPECT_EQ(Calls().compares, 3000);  // one comparison each, against `last`
  EXPECT_EQ(ItemOf(tree.last).key, 3000);
  EXPECT_EQ(tree.CheckTree(nullptr), 0);
}

// Keys and colours in preorder, with 0 for a null link.
void Shape(KrRBTreeNode const* node, std::vector<int>* out) {
  out->push_back(node ? 1 + ItemOf(node).key * 2 + node->IsRed() : 0);
  if (node) Shape(node->Left(), out), Shape(node->right, out);
}

// Appends (mostly ascending keys, with deletions and inserts lower down in
// between, which the append path must notice) build the very tree that the
// append as first written builds: link under `last`, walk the right spine
// for the path, RestoreBalance.
TEST_F(RBTreeTest, AppendsBalanceAsTheGeneralFixUp) {
  ItemTree reference{0};
  std::mt19937 random(4);
  int next = 1000;
  for (int step = 0; step < 6000; ++step) {
    int const kind = static_cast<int>(random() % 20);
    Item item{kind == 0 ? static_cast<int>(random() % next) : ++next, 0, step};
    if (kind == 1 && tree.count > 0) {
      KrRBTreeNode const* node = reference.root;  // a random node
      while (random() % 4 != 0) {
        KrRBTreeNode const* child = random() % 2 ? node->Left() : node->right;
        if (!child) break;
        node = child;
      }
      Probe probe(ItemOf(node));
      ASSERT_EQ(tree.DeleteElement(&probe.it, nullptr, 0, nullptr), 0);
      ASSERT_EQ(reference.DeleteElement(&probe.it, nullptr, 0, nullptr), 0);
    } else if (int const rc = Insert(tree, item); kind == 0 || !reference.last) {
      ASSERT_EQ(Insert(reference, item), rc);
    } else {
      int status = 0;
      KrRBTreeNode* node = reference.CreateEntry(status);
      *static_cast<Item*>(node->Element()) = item;
      KrRBTreeNodeStack path;
      path.PushRightmost(reference.root);
      reference.last->right = node;
      reference.last = node;
      reference.RestoreBalance(&path, node);
      ++reference.count;
    }
    std::vector<int> a, b;
    Shape(tree.root, &a);
    Shape(reference.root, &b);
    ASSERT_EQ(a, b) << step;
    ASSERT_EQ(tree.last ? ItemOf(tree.last).serial : -1,
              reference.last ? ItemOf(reference.last).serial : -1);
  }
  EXPECT_EQ(tree.CheckTree(nullptr), 0);
}

// Ten million nodes: appended, walked in order, checked, emptied.
int CompareInts(KrVContainer const*, int& keyComparison, int& order, KrVIterator const*,
                void const* probeKey, void const*, void const* element, KrVParameter*) {
  int const a = *static_cast<int const*>(probeKey), b = *static_cast<int const*>(element);
  order = keyComparison = (a > b) - (a < b);
  return 0;
}

TEST(RBTreeLimits, TenMillionNodes) {
  KrRBTree big(sizeof(int), 0, 0);
  big.compareElement = CompareInts;
  int value = 0;
  KrOneEntryContainer probe(&value, nullptr, 0);
  KrOneEntryIterator at(&probe, nullptr);
  constexpr int kNodes = 10000000;
  for (value = 0; value < kNodes; ++value) ASSERT_EQ(big.InsertElement(&at, nullptr, 0, nullptr), 0);
  KrRBTreeIterator walk(&big, nullptr);
  int expected = 0, status = 0;
  for (int step = walk.First(); step == 0; step = walk.Next(), ++expected) {
    ASSERT_EQ(*static_cast<int const*>(walk.GetElement(status, nullptr)), expected);
  }
  EXPECT_EQ(expected, kNodes);
  EXPECT_EQ(big.CheckTree(nullptr), 0);
  unsigned long former = 0;
  big.Clear(nullptr, &former, nullptr);
  EXPECT_TRUE(former == kNodes && big.count == 0 && !big.root);
}

TEST_F(RBTreeTest, RefusalAndFailuresLeaveTheTreeUnchanged) {
  ItemTree tree(0, 1);  // one node per block: every new node allocates
  Fill(tree, {10, 20, 30, 40});
  EXPECT_EQ(Insert(tree, {20, 1, 99}), -512);
  EXPECT_EQ(Calls().destroyed, std::vector<int>{99});  // destroyed, node back to the cache
  EXPECT_EQ(tree.nodeCache.returnedEntries, LastInserted());
  ASSERT_EQ(Insert(tree, {25, 0, 25}), 0);  // reuses it
  EXPECT_EQ(tree.nodeCache.returnedEntries, nullptr);
  unsigned long changes = tree.changeCount;
  {
    AllocationFailure failure(1);
    EXPECT_EQ(Insert(tree, {50, 0, 50}), -2030);
  }
  Calls().constructorStatus = -77;  // a failed constructor keeps its node
  EXPECT_EQ(Insert(tree, {50, 0, 50}), -77);
  EXPECT_EQ(tree.nodeCache.returnedEntries, nullptr);
  Calls().constructorStatus = 0;
  Calls().compareStatus = -88;
  Probe probe({20, 0, 0});
  KrRBTreeIterator result(&tree, nullptr);
  EXPECT_EQ(Insert(tree, {5, 0, 5}), -88);
  EXPECT_EQ(tree.SearchElement(&probe.it, nullptr, 0, nullptr, &result), -88);
  EXPECT_EQ(result.status, -523);
  EXPECT_EQ(tree.DeleteElement(&probe.it, nullptr, 0, nullptr), -88);
  EXPECT_EQ(tree.DeleteEntry(tree.root, 0, nullptr), -88);
  EXPECT_EQ(tree.CheckTree(nullptr), -88);
  Calls().compareStatus = 0;
  EXPECT_EQ(tree.changeCount, changes);
  EXPECT_EQ(tree.hasDuplicates, 0);
  Expect(tree, {10, 20, 25, 30, 40});
  int status = 0;
  KrRBTreeNode* node = tree.CreateEntry(status);         // a node built by the caller
  ASSERT_TRUE(node && node->left == 1 && !node->right);  // red, no children
  *static_cast<Item*>(node->Element()) = {40, 0, 41};
  EXPECT_EQ(tree.InsertEntry(node, 0, nullptr), -512);
  EXPECT_EQ(tree.nodeCache.returnedEntries, node);
  KrRBTree huge(ULONG_MAX - 4, 0, 0);  // the node size would wrap around
  EXPECT_EQ(huge.CreateEntry(status), nullptr);
  EXPECT_EQ(status, -2030);
}

// The greatest node 30 has a lone left child 25 (20 over 10 and 30).
TEST_F(RBTreeTest, DeletingTheGreatestNodeKeepsLastOnTheGreatest) {
  for (int how = 0; how < 4; ++how) {
    ItemTree tree(0);
    Fill(tree, {10, 20, 30, 25});
    ASSERT_EQ(tree.last->Left(), tree.root->right->Left());
    Probe thirty({30, 0, 0});
    unsigned short mode = how < 2 ? kKrWalkBackwards : 0;
    ASSERT_EQ(how % 2 ? tree.DeleteEntry(tree.last, mode, nullptr)
                      : tree.DeleteElement(&thirty.it, nullptr, mode, nullptr),
              0);
    EXPECT_EQ(ItemOf(tree.last).key, 25) << how;
    ASSERT_EQ(Insert(tree, {40, 0, 40}), 0);  // appended after `last`
    Expect(tree, {10, 20, 25, 40});
  }
  Fill(tree, {10, 20, 30});
  KrRBTreeNode* root = tree.root;
  ASSERT_EQ(tree.DeleteEntry(tree.last, 0, nullptr), 0);  // a leaf: its parent follows
  EXPECT_EQ(tree.last, root);
}

TEST_F(RBTreeTest, DeletesExactlyTheEntryAmongManyEqualOnes) {
  ItemTree twins(kKrAllowEqualElements);
  std::vector<KrRBTreeNode*> nodes;
  for (int serial = 1; serial <= 60; ++serial) {
    ASSERT_EQ(Insert(twins, {serial % 10 ? 5 : 1, 0, serial}, serial % 3 ? 0 : kKrInsertBefore), 0);
    nodes.push_back(LastInserted());
  }
  std::vector<int> expected = Serials(twins);
  std::reverse(nodes.begin() + 20, nodes.end());
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    int serial = ItemOf(nodes[i]).serial;
    if (i % 2) {
      ASSERT_EQ(twins.DeleteEntry(nodes[i], i % 4 == 1 ? kKrWalkBackwards : 0, nullptr), 0);
    } else {  // through an iterator standing on it
      KrRBTreeParameter parameter;
      parameter.entry = nodes[i];
      Probe probe(ItemOf(nodes[i]));
      KrRBTreeIterator it(&twins, nullptr);
      ASSERT_EQ(twins.SearchElement(&probe.it, nullptr, kKrExactEntry, &parameter, &it), 0);
      ASSERT_EQ(SerialAt(it), serial);
      ASSERT_GE(it.DeleteElement(i % 4 ? kKrDeleteMoveToPrior : 0, nullptr), -522);
    }
    ASSERT_EQ(Calls().destroyed.back(), serial);
    expected.erase(std::find(expected.begin(), expected.end(), serial));
    ASSERT_EQ(Serials(twins), expected);
    ASSERT_EQ(twins.CheckTree(nullptr), 0);
  }
  EXPECT_EQ(twins.DeleteEntry(tree.root, 0, nullptr), -510);  // not in this tree
  // DeleteElement ignores kKrExactEntry: of three equal elements with the
  // second as the parameter's entry, the search finds the second but the
  // deletion takes the first (the last with kKrWalkBackwards).
  for (int walk : {0, int{kKrWalkBackwards}}) {
    KrRBTreeParameter parameter;
    for (int serial = 101; serial <= 103; ++serial) {
      ASSERT_EQ(Insert(twins, {7, 0, serial}), 0);
      if (serial == 102) parameter.entry = LastInserted();
    }
    Probe probe({7, 0, 0});
    KrRBTreeIterator it(&twins, nullptr);
    ASSERT_EQ(twins.SearchElement(&probe.it, nullptr, kKrExactEntry, &parameter, &it), 0);
    EXPECT_EQ(SerialAt(it), 102);
    ASSERT_EQ(twins.DeleteElement(&probe.it, nullptr, static_cast<unsigned short>(kKrExactEntry | walk),
                                  &parameter),
              0);
    EXPECT_EQ(Calls().destroyed.back(), walk ? 103 : 101);
    twins.Clear(nullptr, nullptr, nullptr);
  }
}

TEST_F(RBTreeTest, ClearDestroysInPostOrderKeepsChangeCountAndTheBlocks) {
  ItemTree tree(kKrAllowEqualKeys, 4);
  Fill(tree, {1, 2, 3});
  ASSERT_EQ(Insert(tree, {3, 1, 4}), 0);
  ASSERT_EQ(Insert(tree, {3, 2, 5}), 0);  // 2 over 1 and 4; 4 over 3 and 5
  unsigned long changes = tree.changeCount, former = 0;
  EXPECT_EQ(tree.Clear(nullptr, &former, nullptr), 0);
  EXPECT_EQ(former, 5u);
  EXPECT_EQ(Calls().destroyed, (std::vector<int>{1, 3, 5, 4, 2}));
  EXPECT_TRUE(!tree.root && !tree.last && !tree.count && !tree.hasDuplicates);
  EXPECT_EQ(tree.changeCount, changes);
  unsigned long allocations;
  std::vector<int> keys = {1, 2, 3, 4, 5, 6, 7, 8};
  {
    AllocationFailure failure(1, true);
    Fill(tree, keys);  // from the kept blocks
    allocations = AllocationCalls();
  }
  EXPECT_EQ(allocations, 0u);
}

TEST_F(RBTreeTest, CheckTreeNamesTheFault) {
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
  EXPECT_EQ(check(node(2, 0, node(2, 1, 0, 0), 0), 2), -4);  // equal, without 0x0002
  tree.flags = kKrAllowEqualElements;
  EXPECT_EQ(tree.CheckTree(nullptr), 0);
  EXPECT_EQ(check(node(2, 0, 0, 0), 2), -5);
  tree.Clear(nullptr, nullptr, nullptr);
  Calls() = ElementCalls();
}

}  // namespace
