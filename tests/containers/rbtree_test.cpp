#include <kr/containers.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <random>
#include <vector>

#include "failing_alloc.h"
#include "tree_test_support.h"

namespace {

using kr_test::Describe;
using kr_test::gCalls;
using kr_test::Insert;
using kr_test::Item;
using kr_test::ItemOf;
using kr_test::ItemTree;
using kr_test::Probe;
using kr_test::WalkBackwards;
using kr_test::WalkForwards;

const unsigned long kLinks = 2 * sizeof(void*);

class RBTreeTest : public ::testing::Test {
 protected:
  void SetUp() override { gCalls = kr_test::ElementCalls(); }

  // Checks the tree and that both walks give `expected`.
  static void ExpectItems(KrRBTree& tree, std::vector<Item> const& expected) {
    EXPECT_EQ(tree.CheckTree(nullptr), 0);
    EXPECT_EQ(tree.count, expected.size());
    EXPECT_EQ(Describe(WalkForwards(tree)), Describe(expected));
    EXPECT_EQ(Describe(WalkBackwards(tree)), Describe(expected));
    if (tree.root) {
      EXPECT_EQ(tree.last, kr_test::Rightmost(tree.root));
    }
  }
};

TEST_F(RBTreeTest, NodesAreTheElementBehindTwoLinkWords) {
  KrRBTree tree(1, 0, 7);
  EXPECT_EQ(tree.GetType(), 1);
  EXPECT_EQ(tree.nodeCache.entrySize, 3 * sizeof(void*));  // 1 + links, pointer-aligned
  EXPECT_EQ(tree.nodeCache.entriesPerBlock, 7u);
  EXPECT_EQ(tree.nodeCache.alignment, alignof(void*));
  ItemTree items(0);
  // 12 + 8 = 20 bytes on i386; 12 + 16 rounded to 32 on x86_64.
  unsigned long nodeSize = (sizeof(Item) + kLinks + alignof(void*) - 1) / alignof(void*) * alignof(void*);
  EXPECT_EQ(items.nodeCache.entrySize, nodeSize);
  EXPECT_EQ(items.nodeCache.entriesPerBlock, 494 / nodeSize);

  int status = 1;
  KrRBTreeNode* node = tree.CreateEntry(status);
  ASSERT_NE(node, nullptr);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(node->left, 1u);  // red, no child
  EXPECT_EQ(node->right, nullptr);
  EXPECT_EQ(tree.GetElementOfEntry(node), reinterpret_cast<char*>(node) + kLinks);
  EXPECT_EQ(tree.GetElementOfEntry(nullptr), nullptr);
}

TEST_F(RBTreeTest, FirstElementBecomesABlackRootAndLast) {
  ItemTree tree(0);
  ASSERT_EQ(Insert(tree, {5, 0, 1}), 0);
  ASSERT_NE(tree.root, nullptr);
  EXPECT_EQ(tree.root, tree.last);
  EXPECT_FALSE(tree.root->IsRed());
  EXPECT_EQ(ItemOf(tree.root).serial, 1);
  EXPECT_EQ(tree.count, 1u);
  EXPECT_EQ(tree.changeCount, 1u);
  EXPECT_EQ(gCalls.compares, 0);
}

TEST_F(RBTreeTest, AscendingInputTakesOneComparisonEach) {
  ItemTree tree(0);
  const int n = 5000;
  for (int i = 0; i < n; ++i) {
    ASSERT_EQ(Insert(tree, {i, 0, i}), 0);
    ASSERT_EQ(ItemOf(tree.last).key, i);
  }
  EXPECT_EQ(gCalls.compares, n - 1);
  EXPECT_EQ(tree.CheckTree(nullptr), 0);
  EXPECT_LE(kr_test::Height(tree.root), 2 * 13);  // 2 log2(n + 1)
}

TEST_F(RBTreeTest, EqualElementsGoAfterOrWithModeBeforeTheirTwins) {
  ItemTree tree(kKrAllowEqualElements);
  ASSERT_EQ(Insert(tree, {1, 0, 1}), 0);
  ASSERT_EQ(Insert(tree, {5, 0, 2}), 0);
  ASSERT_EQ(Insert(tree, {5, 0, 3}), 0);  // equal to last: appended
  KrRBTreeNode* last = tree.last;
  EXPECT_EQ(ItemOf(last).serial, 3);
  ASSERT_EQ(Insert(tree, {5, 0, 4}, kKrInsertBefore), 0);  // before both twins
  EXPECT_EQ(tree.last, last);
  ASSERT_EQ(Insert(tree, {5, 0, 5}), 0);
  ASSERT_EQ(Insert(tree, {5, 0, 6}, kKrInsertBefore), 0);
  ASSERT_EQ(Insert(tree, {3, 0, 7}), 0);
  ExpectItems(tree, {{1, 0, 1}, {3, 0, 7}, {5, 0, 6}, {5, 0, 4}, {5, 0, 2}, {5, 0, 3}, {5, 0, 5}});
  EXPECT_EQ(tree.hasDuplicates, 1);
}

TEST_F(RBTreeTest, FlagsDecideWhichEqualKeysAreAdmitted) {
  struct Case {
    unsigned short flags;
    int sameKey, fullyEqual;  // expected results
  };
  Case const cases[] = {{0, -512, -512}, {kKrAllowEqualKeys, 0, -512},
                        {kKrAllowEqualElements, 0, 0}, {kKrAllowEqualKeys | kKrAllowEqualElements, 0, 0}};
  for (Case const& c : cases) {
    for (unsigned short mode : {0, int(kKrInsertBefore)}) {
      SCOPED_TRACE(testing::Message() << "flags " << c.flags << " mode " << mode);
      ItemTree tree(c.flags);
      for (int key : {10, 20, 30}) ASSERT_EQ(Insert(tree, {key, 5, key}), 0);
      EXPECT_EQ(tree.hasDuplicates, 0);
      // Through the append path (greater than last) and through the descent.
      EXPECT_EQ(Insert(tree, {30, 6, 1}, mode), c.sameKey);
      EXPECT_EQ(Insert(tree, {20, 4, 2}, mode), c.sameKey);
      EXPECT_EQ(tree.hasDuplicates, c.sameKey == 0 ? 1 : 0);
      EXPECT_EQ(Insert(tree, {30, 5, 3}, mode), c.fullyEqual);
      EXPECT_EQ(Insert(tree, {10, 5, 4}, mode), c.fullyEqual);
      int admitted = 3 + (c.sameKey == 0 ? 2 : 0) + (c.fullyEqual == 0 ? 2 : 0);
      EXPECT_EQ(tree.count, static_cast<unsigned long>(admitted));
      EXPECT_EQ(tree.CheckTree(nullptr), 0);
    }
  }
}

TEST_F(RBTreeTest, RefusedDuplicateLeavesTheTreeAsItWas) {
  ItemTree tree(0);
  for (int key : {10, 20, 30, 40}) ASSERT_EQ(Insert(tree, {key, 0, key}), 0);
  std::vector<Item> before = WalkForwards(tree);
  KrRBTreeNode* root = tree.root;
  unsigned long changes = tree.changeCount;
  gCalls.destroyedSerials.clear();

  EXPECT_EQ(Insert(tree, {20, 1, 99}), -512);
  EXPECT_EQ(tree.changeCount, changes);
  EXPECT_EQ(tree.root, root);
  EXPECT_EQ(tree.hasDuplicates, 0);
  ExpectItems(tree, before);
  // The refused element was destroyed and its node went back to the cache,
  // which hands it out next.
  EXPECT_EQ(gCalls.destroyedSerials, std::vector<int>{99});
  void* refused = kr_test::LastInserted();
  EXPECT_EQ(tree.nodeCache.returnedEntries, refused);
  ASSERT_EQ(Insert(tree, {25, 0, 25}), 0);
  EXPECT_EQ(kr_test::LastInserted(), refused);
  EXPECT_EQ(tree.nodeCache.returnedEntries, nullptr);
}

TEST_F(RBTreeTest, InsertEntryLinksANodeBuiltByTheCaller) {
  ItemTree tree(0);
  int status = 0;
  KrRBTreeNode* node = tree.CreateEntry(status);
  ASSERT_NE(node, nullptr);
  *static_cast<Item*>(node->Element()) = {7, 0, 1};
  EXPECT_EQ(tree.InsertEntry(node, 0, nullptr), 0);
  EXPECT_EQ(tree.root, node);

  KrRBTreeNode* twin = tree.CreateEntry(status);
  *static_cast<Item*>(twin->Element()) = {7, 0, 2};
  EXPECT_EQ(tree.InsertEntry(twin, 0, nullptr), -512);
  EXPECT_EQ(tree.nodeCache.returnedEntries, twin);
  EXPECT_EQ(gCalls.destroyedSerials, std::vector<int>{2});
  EXPECT_EQ(tree.count, 1u);
}

TEST_F(RBTreeTest, NoMemoryForANodeChangesNothing) {
  ItemTree tree(0, 1);  // one node per block: every insertion allocates
  for (int key : {1, 2, 3}) ASSERT_EQ(Insert(tree, {key, 0, key}), 0);
  int constructed = gCalls.constructed;
  unsigned long changes = tree.changeCount;
  int result;
  {
    kr_test::AllocationFailure failure(1);
    result = Insert(tree, {4, 0, 4});
  }
  EXPECT_EQ(result, -2030);
  EXPECT_EQ(gCalls.constructed, constructed);  // no element was built
  EXPECT_EQ(tree.changeCount, changes);
  ExpectItems(tree, {{1, 0, 1}, {2, 0, 2}, {3, 0, 3}});
  ASSERT_EQ(Insert(tree, {4, 0, 4}), 0);
  EXPECT_EQ(tree.count, 4u);

  int status = 0;
  {
    kr_test::AllocationFailure failure(1);
    EXPECT_EQ(tree.CreateEntry(status), nullptr);
  }
  EXPECT_EQ(status, -2030);

  KrRBTree huge(ULONG_MAX - 4, 0, 0);  // node size would wrap around
  EXPECT_EQ(huge.CreateEntry(status), nullptr);
  EXPECT_EQ(status, -2030);
}

TEST_F(RBTreeTest, FailedConstructorKeepsItsNodeOutOfUse) {
  ItemTree tree(0);
  ASSERT_EQ(Insert(tree, {1, 0, 1}), 0);
  gCalls.constructorStatus = -77;
  EXPECT_EQ(Insert(tree, {2, 0, 2}), -77);
  EXPECT_EQ(tree.nodeCache.returnedEntries, nullptr);
  EXPECT_EQ(gCalls.destroyed, 0);
  gCalls.constructorStatus = 0;
  KrRBTreeNode* first = tree.root;
  ASSERT_EQ(Insert(tree, {3, 0, 3}), 0);
  // The failed node is skipped: entries come from the block's end downwards.
  EXPECT_EQ(reinterpret_cast<char*>(first) - reinterpret_cast<char*>(kr_test::LastInserted()),
            static_cast<long>(2 * tree.nodeCache.entrySize));
  ExpectItems(tree, {{1, 0, 1}, {3, 0, 3}});
}

// Key-of function that fails when the element's serial is negative.
void const* PickyKeyOf(KrVContainer const*, void const* element, int& status, KrVParameter*) {
  status = static_cast<Item const*>(element)->serial < 0 ? -66 : 0;
  return element;
}

TEST_F(RBTreeTest, FailingElementFunctionsAbortWithTheirStatus) {
  ItemTree tree(0);
  tree.keyOfElement = PickyKeyOf;
  for (int key : {1, 2, 3}) ASSERT_EQ(Insert(tree, {key, 0, key}), 0);
  unsigned long changes = tree.changeCount;
  EXPECT_EQ(Insert(tree, {4, 0, -1}), -66);
  EXPECT_EQ(gCalls.destroyedSerials, std::vector<int>{-1});

  gCalls.compareStatus = -88;
  EXPECT_EQ(Insert(tree, {0, 0, 5}), -88);
  Probe probe({2, 0, 0});
  KrRBTreeIterator result(&tree, nullptr);
  EXPECT_EQ(tree.SearchElement(probe.It(), nullptr, 0, nullptr, &result), -88);
  EXPECT_EQ(result.status, -523);
  EXPECT_EQ(tree.DeleteElement(probe.It(), nullptr, 0, nullptr), -88);
  EXPECT_EQ(tree.DeleteEntry(tree.root, 0, nullptr), -88);
  EXPECT_EQ(tree.CheckTree(nullptr), -88);
  gCalls.compareStatus = 0;
  EXPECT_EQ(tree.changeCount, changes);
  ExpectItems(tree, {{1, 0, 1}, {2, 0, 2}, {3, 0, 3}});

  tree.compareElement = nullptr;
  EXPECT_EQ(Insert(tree, {9, 0, 9}), -2999);
  EXPECT_EQ(tree.DeleteElement(probe.It(), nullptr, 0, nullptr), -2999);
}

TEST_F(RBTreeTest, DeleteElementRemovesTheFirstOrLastOfEqualElements) {
  ItemTree tree(kKrAllowEqualElements);
  for (int serial = 1; serial <= 5; ++serial) ASSERT_EQ(Insert(tree, {7, 0, serial}), 0);
  ASSERT_EQ(Insert(tree, {3, 0, 6}), 0);
  ASSERT_EQ(Insert(tree, {9, 0, 7}), 0);
  Probe seven({7, 0, 0});
  // Miss bits and the exact-entry bit are dropped by a deletion.
  EXPECT_EQ(tree.DeleteElement(seven.It(), nullptr, kKrMissToGreater | kKrExactEntry, nullptr), 0);
  EXPECT_EQ(gCalls.destroyedSerials, std::vector<int>{1});
  EXPECT_EQ(tree.DeleteElement(seven.It(), nullptr, kKrWalkBackwards, nullptr), 0);
  EXPECT_EQ(gCalls.destroyedSerials, (std::vector<int>{1, 5}));
  ExpectItems(tree, {{3, 0, 6}, {7, 0, 2}, {7, 0, 3}, {7, 0, 4}, {9, 0, 7}});

  unsigned long changes = tree.changeCount;
  Probe missing({8, 0, 0});
  EXPECT_EQ(tree.DeleteElement(missing.It(), nullptr, kKrMissToSmaller, nullptr), -510);
  EXPECT_EQ(tree.changeCount, changes);
  EXPECT_EQ(tree.count, 5u);
}

TEST_F(RBTreeTest, DeleteEntryRemovesExactlyThatNodeAmongManyEqualOnes) {
  for (unsigned short mode : {0, int(kKrWalkBackwards)}) {
    SCOPED_TRACE(mode);
    ItemTree tree(kKrAllowEqualElements);
    std::vector<Item> expected;
    std::vector<KrRBTreeNode*> nodes;
    for (int serial = 0; serial < 60; ++serial) {
      Item item = {serial % 10 == 0 ? 1 : 5, 0, serial};  // a long run of fives
      ASSERT_EQ(Insert(tree, item, serial % 3 ? 0 : kKrInsertBefore), 0);
      nodes.push_back(kr_test::LastInserted());
    }
    expected = WalkForwards(tree);
    std::mt19937 random(7);
    std::shuffle(nodes.begin(), nodes.end(), random);
    for (KrRBTreeNode* node : nodes) {
      int serial = ItemOf(node).serial;
      ASSERT_EQ(tree.DeleteEntry(node, mode, nullptr), 0) << serial;
      ASSERT_EQ(gCalls.destroyedSerials.back(), serial);
      expected.erase(std::find_if(expected.begin(), expected.end(),
                                  [&](Item const& item) { return item.serial == serial; }));
      ASSERT_EQ(tree.CheckTree(nullptr), 0);
      ASSERT_EQ(Describe(WalkForwards(tree)), Describe(expected));
    }
    EXPECT_EQ(tree.root, nullptr);
  }
}

TEST_F(RBTreeTest, DeleteEntryOfAForeignNodeFindsNothing) {
  ItemTree tree(kKrAllowEqualElements);
  ItemTree other(kKrAllowEqualElements);
  ASSERT_EQ(Insert(tree, {1, 0, 1}), 0);
  ASSERT_EQ(Insert(other, {1, 0, 2}), 0);
  EXPECT_EQ(tree.DeleteEntry(other.root, 0, nullptr), -510);
  EXPECT_EQ(tree.DeleteEntry(nullptr, 0, nullptr), -510);
  ASSERT_EQ(Insert(tree, {1, 0, 3}), 0);  // now with duplicates: a run is searched
  EXPECT_EQ(tree.DeleteEntry(other.root, 0, nullptr), -510);
  EXPECT_EQ(tree.count, 2u);
}

// The greatest node has a lone left child: 20(B) 10(B) 30(B) with 25(R)
// left of 30.
class GreatestWithLeftChild : public RBTreeTest {
 protected:
  void SetUp() override {
    RBTreeTest::SetUp();
    for (int key : {10, 20, 30, 25}) ASSERT_EQ(Insert(tree, {key, 0, key}), 0);
    ASSERT_EQ(ItemOf(tree.last).key, 30);
    ASSERT_NE(tree.last->Left(), nullptr);
    ASSERT_EQ(ItemOf(tree.last->Left()).key, 25);
  }
  ItemTree tree{0};
};

TEST_F(GreatestWithLeftChild, DeletingItTowardsTheSuccessorKeepsLastRight) {
  Probe thirty({30, 0, 0});
  ASSERT_EQ(tree.DeleteElement(thirty.It(), nullptr, kKrWalkBackwards, nullptr), 0);
  EXPECT_EQ(ItemOf(tree.last).key, 25);
  ASSERT_EQ(Insert(tree, {40, 0, 40}), 0);  // appended after `last`
  ExpectItems(tree, {{10, 0, 10}, {20, 0, 20}, {25, 0, 25}, {40, 0, 40}});
}

TEST_F(GreatestWithLeftChild, DeletingItByEntryTowardsTheSuccessorToo) {
  ASSERT_EQ(tree.DeleteEntry(tree.last, kKrWalkBackwards, nullptr), 0);
  EXPECT_EQ(ItemOf(tree.last).key, 25);
  ASSERT_EQ(Insert(tree, {40, 0, 40}), 0);
  ExpectItems(tree, {{10, 0, 10}, {20, 0, 20}, {25, 0, 25}, {40, 0, 40}});
}

TEST_F(GreatestWithLeftChild, DeletingItTowardsThePredecessorMovesItIn) {
  KrRBTreeNode* predecessor = tree.last->Left();
  Probe thirty({30, 0, 0});
  ASSERT_EQ(tree.DeleteElement(thirty.It(), nullptr, 0, nullptr), 0);
  EXPECT_EQ(tree.last, predecessor);
  ASSERT_EQ(Insert(tree, {40, 0, 40}), 0);
  ExpectItems(tree, {{10, 0, 10}, {20, 0, 20}, {25, 0, 25}, {40, 0, 40}});
}

TEST_F(RBTreeTest, DeletingTheGreatestLeafMakesItsParentLast) {
  ItemTree tree(0);
  for (int key : {10, 20, 30}) ASSERT_EQ(Insert(tree, {key, 0, key}), 0);
  KrRBTreeNode* root = tree.root;
  ASSERT_EQ(tree.DeleteEntry(tree.last, 0, nullptr), 0);
  EXPECT_EQ(tree.last, root);
  ASSERT_EQ(tree.DeleteEntry(tree.last, 0, nullptr), 0);  // the root, with a left child
  EXPECT_EQ(ItemOf(tree.last).key, 10);
  ExpectItems(tree, {{10, 0, 10}});
  ASSERT_EQ(tree.DeleteEntry(tree.last, 0, nullptr), 0);
  EXPECT_EQ(tree.root, nullptr);
  EXPECT_EQ(tree.count, 0u);
  ASSERT_EQ(Insert(tree, {5, 0, 5}), 0);
  ExpectItems(tree, {{5, 0, 5}});
}

TEST_F(RBTreeTest, ClearDestroysEachElementOnceInPostOrderAndKeepsTheCount) {
  ItemTree tree(kKrAllowEqualKeys, 4);
  for (int key : {1, 2, 3}) ASSERT_EQ(Insert(tree, {key, 0, key}), 0);  // 2 over 1 and 3
  ASSERT_EQ(Insert(tree, {3, 1, 4}), 0);
  ASSERT_EQ(Insert(tree, {3, 2, 5}), 0);
  unsigned long changes = tree.changeCount;
  unsigned long former = 0;
  EXPECT_EQ(tree.Clear(nullptr, &former, nullptr), 0);
  EXPECT_EQ(former, 5u);
  EXPECT_EQ(tree.count, 0u);
  EXPECT_EQ(tree.changeCount, changes);
  EXPECT_EQ(tree.root, nullptr);
  EXPECT_EQ(tree.last, nullptr);
  EXPECT_EQ(tree.hasDuplicates, 0);
  // 2 over 1 and 4; 4 over 3 and 5.
  EXPECT_EQ(gCalls.destroyedSerials, (std::vector<int>{1, 3, 5, 4, 2}));
  EXPECT_EQ(tree.nodeCache.usedBlocks, nullptr);
  ASSERT_NE(tree.nodeCache.freeBlocks, nullptr);

  // The kept blocks serve the next insertions without allocating.
  unsigned long calls;
  {
    kr_test::AllocationFailure failure(1, true);
    for (int key = 0; key < 8; ++key) ASSERT_EQ(Insert(tree, {key, 0, key}), 0);
    calls = kr_test::AllocationCalls();
  }
  EXPECT_EQ(calls, 0u);
  EXPECT_EQ(tree.Clear(nullptr, nullptr, nullptr), 0);

  tree.destructorElement = nullptr;
  gCalls.destroyed = 0;
  ASSERT_EQ(Insert(tree, {1, 0, 1}), 0);
  EXPECT_EQ(tree.Clear(nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(gCalls.destroyed, 0);
}

TEST_F(RBTreeTest, DestroyingTheTreeDestroysItsElements) {
  {
    ItemTree tree(0);
    for (int key = 0; key < 100; ++key) ASSERT_EQ(Insert(tree, {key, 0, key}), 0);
    Probe probe({50, 0, 0});
    ASSERT_EQ(tree.DeleteElement(probe.It(), nullptr, 0, nullptr), 0);
  }
  EXPECT_EQ(gCalls.destroyed, 100);
  std::sort(gCalls.destroyedSerials.begin(), gCalls.destroyedSerials.end());
  EXPECT_EQ(std::unique(gCalls.destroyedSerials.begin(), gCalls.destroyedSerials.end()),
            gCalls.destroyedSerials.end());
}

TEST_F(RBTreeTest, CreateIteratorGivesAnIteratorTheCallerOwns) {
  ItemTree tree(0);
  ASSERT_EQ(Insert(tree, {1, 0, 1}), 0);
  KrVIterator* iterator = tree.CreateIterator(nullptr);
  ASSERT_NE(iterator, nullptr);
  EXPECT_EQ(iterator->GetType(), 1);
  EXPECT_EQ(iterator->container, &tree);
  EXPECT_EQ(iterator->status, -521);
  EXPECT_EQ(iterator->Next(), 0);
  delete iterator;
  EXPECT_EQ(tree.Clone(nullptr), nullptr);
}

}  // namespace
