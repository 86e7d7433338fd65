#include <kr/containers.h>

#include <gtest/gtest.h>

#include <vector>

#include "tree_test_support.h"

namespace {

using kr_test::gCalls;
using kr_test::Insert;
using kr_test::Item;
using kr_test::ItemOf;
using kr_test::ItemTree;
using kr_test::Probe;

// Result of a container-level search: return value, the result iterator's
// status and, when positioned, the key it stands on.
struct Found {
  int result;
  int status;
  int key;
  int serial;
};

bool operator==(Found const& a, Found const& b) {
  return a.result == b.result && a.status == b.status && a.key == b.key && a.serial == b.serial;
}

std::ostream& operator<<(std::ostream& out, Found const& f) {
  return out << "{" << f.result << ", " << f.status << ", " << f.key << ", " << f.serial << "}";
}

Found Search(KrRBTree& tree, Item value, unsigned short mode, KrVParameter* parameter = nullptr) {
  Probe probe(value);
  KrRBTreeIterator result(&tree, nullptr);
  Found found = {tree.SearchElement(probe.It(), nullptr, mode, parameter, &result), result.status,
                 0, 0};
  int status = 0;
  Item const* item = static_cast<Item const*>(result.GetElement(status, nullptr));
  if (item) {
    found.key = item->key;
    found.serial = item->serial;
  }
  return found;
}

class RBTreeSearchTest : public ::testing::Test {
 protected:
  void SetUp() override {
    gCalls = kr_test::ElementCalls();
    for (int key = 10; key <= 100; key += 10) ASSERT_EQ(Insert(tree, {key, 0, key}), 0);
  }
  ItemTree tree{0};
};

TEST_F(RBTreeSearchTest, HitPositionsTheResultOnTheElement) {
  for (int key = 10; key <= 100; key += 10) {
    EXPECT_EQ(Search(tree, {key, 0, 0}, 0), (Found{0, 0, key, key}));
  }
  Probe probe({40, 0, 0});
  KrRBTreeIterator result(&tree, nullptr);
  ASSERT_EQ(tree.SearchElement(probe.It(), nullptr, 0, nullptr, &result), 0);
  EXPECT_EQ(result.changeStamp, tree.changeCount);
  EXPECT_EQ(result.Next(), 0);
  int status = 0;
  EXPECT_EQ(static_cast<Item const*>(result.GetElement(status, nullptr))->key, 50);
  EXPECT_EQ(tree.SearchElement(probe.It(), nullptr, 0, nullptr, nullptr), 0);
}

TEST_F(RBTreeSearchTest, MissIsPositionedOnTheNeighbourTheModeAsksFor) {
  for (int key = 5; key <= 105; key += 10) {
    SCOPED_TRACE(key);
    int above = key + 5, below = key - 5;
    Found greater = above > 100 ? Found{-510, -522, 0, 0} : Found{-510, 0, above, above};
    Found smaller = below < 10 ? Found{-510, -521, 0, 0} : Found{-510, 0, below, below};
    EXPECT_EQ(Search(tree, {key, 0, 0}, kKrMissToGreater), greater);
    EXPECT_EQ(Search(tree, {key, 0, 0}, kKrMissToSmaller), smaller);
    EXPECT_EQ(Search(tree, {key, 0, 0}, kKrMissToGreater | kKrMissToSmaller), greater);
    EXPECT_EQ(Search(tree, {key, 0, 0}, 0), (Found{-510, -523, 0, 0}));
    EXPECT_EQ(Search(tree, {key, 0, 0}, kKrExactEntry), (Found{-510, -522, 0, 0}));
    EXPECT_EQ(tree.SearchElement(Probe({key, 0, 0}).It(), nullptr, kKrMissToGreater, nullptr,
                                 nullptr),
              -510);
  }
}

TEST_F(RBTreeSearchTest, PositionedMissWalksOnBothWays) {
  Probe probe({35, 0, 0});
  KrRBTreeIterator result(&tree, nullptr);
  ASSERT_EQ(tree.SearchElement(probe.It(), nullptr, kKrMissToSmaller, nullptr, &result), -510);
  int status = 0;
  EXPECT_EQ(result.Next(), 0);
  EXPECT_EQ(static_cast<Item const*>(result.GetElement(status, nullptr))->key, 40);
  EXPECT_EQ(result.Prior(), 0);
  EXPECT_EQ(result.Prior(), 0);
  EXPECT_EQ(static_cast<Item const*>(result.GetElement(status, nullptr))->key, 20);

  // Past the greatest element: Prior lands on it.
  Probe beyond({200, 0, 0});
  ASSERT_EQ(tree.SearchElement(beyond.It(), nullptr, kKrMissToGreater, nullptr, &result), -510);
  EXPECT_EQ(result.Prior(), 0);
  EXPECT_EQ(static_cast<Item const*>(result.GetElement(status, nullptr))->key, 100);
  // Before the smallest element: Next lands on it.
  Probe before({1, 0, 0});
  ASSERT_EQ(tree.SearchElement(before.It(), nullptr, kKrMissToSmaller, nullptr, &result), -510);
  EXPECT_EQ(result.Next(), 0);
  EXPECT_EQ(static_cast<Item const*>(result.GetElement(status, nullptr))->key, 10);
}

TEST_F(RBTreeSearchTest, EmptyTreeMissesEverywhere) {
  ItemTree empty(0);
  EXPECT_EQ(Search(empty, {1, 0, 0}, kKrMissToGreater), (Found{-510, -522, 0, 0}));
  EXPECT_EQ(Search(empty, {1, 0, 0}, kKrMissToSmaller), (Found{-510, -521, 0, 0}));
  EXPECT_EQ(Search(empty, {1, 0, 0}, 0), (Found{-510, -523, 0, 0}));
}

TEST_F(RBTreeSearchTest, ResultMustBeATreeIterator) {
  Probe probe({10, 0, 0});
  int key = 1;
  KrOneEntryContainer other(&key, nullptr, 0);
  KrOneEntryIterator wrong(&other, nullptr);
  EXPECT_EQ(tree.SearchElement(probe.It(), nullptr, 0, nullptr, &wrong), -2999);
  EXPECT_EQ(wrong.status, 0);
}

// A run of equal elements with other values around it.
class EqualRunTest : public ::testing::Test {
 protected:
  void SetUp() override {
    gCalls = kr_test::ElementCalls();
    for (int serial = 0; serial < 45; ++serial) {
      int key = serial % 3 == 0 ? 5 : serial % 3 == 1 ? 3 : 8;
      ASSERT_EQ(Insert(tree, {key, 0, serial}, serial % 2 ? kKrInsertBefore : 0), 0);
      if (key == 5) run.push_back(kr_test::LastInserted());
    }
    std::vector<Item> items = kr_test::WalkForwards(tree);
    for (Item const& item : items) {
      if (item.key == 5) runSerials.push_back(item.serial);
    }
  }
  ItemTree tree{kKrAllowEqualElements};
  std::vector<KrRBTreeNode*> run;  // the fives, in insertion order
  std::vector<int> runSerials;     // the fives, in tree order
};

TEST_F(EqualRunTest, FirstOrLastOfTheRunIsFound) {
  Found first = Search(tree, {5, 0, 0}, 0);
  EXPECT_EQ(first, (Found{0, 0, 5, runSerials.front()}));
  EXPECT_EQ(Search(tree, {5, 0, 0}, kKrWalkBackwards), (Found{0, 0, 5, runSerials.back()}));

  // The result stands on the element itself and walks through the run.
  Probe probe({5, 0, 0});
  KrRBTreeIterator result(&tree, nullptr);
  ASSERT_EQ(tree.SearchElement(probe.It(), nullptr, 0, nullptr, &result), 0);
  std::vector<int> walked;
  int status = 0;
  for (int step = 0; step == 0; step = result.Next()) {
    Item const* item = static_cast<Item const*>(result.GetElement(status, nullptr));
    if (item->key != 5) break;
    walked.push_back(item->serial);
  }
  EXPECT_EQ(walked, runSerials);
  ASSERT_EQ(tree.SearchElement(probe.It(), nullptr, kKrWalkBackwards, nullptr, &result), 0);
  EXPECT_EQ(result.Next(), 0);  // the last five is followed by an eight
  EXPECT_EQ(static_cast<Item const*>(result.GetElement(status, nullptr))->key, 8);
}

TEST_F(EqualRunTest, ExactEntryFindsEachNodeOfTheRun) {
  KrRBTreeParameter parameter;
  for (unsigned short extra : {0, int(kKrWalkBackwards), int(kKrWalkEqualElements)}) {
    for (KrRBTreeNode* node : run) {
      parameter.entry = node;
      Probe probe({5, 0, 0});
      KrRBTreeIterator result(&tree, nullptr);
      ASSERT_EQ(tree.SearchElement(probe.It(), nullptr, kKrExactEntry | extra, &parameter, &result),
                0);
      int status = 0;
      EXPECT_EQ(result.GetEntry(status, nullptr), node);
      // Without a result iterator the search needs a path all the same.
      EXPECT_EQ(tree.SearchElement(probe.It(), nullptr, kKrExactEntry | extra, &parameter, nullptr),
                0);
    }
  }
  // A node of the tree that is not among the equal elements: a miss.
  parameter.entry = tree.root->right;
  ASSERT_NE(ItemOf(parameter.entry).key, 5);
  EXPECT_EQ(Search(tree, {5, 0, 0}, kKrExactEntry, &parameter), (Found{-510, -522, 0, 0}));
  EXPECT_EQ(Search(tree, {5, 0, 0}, kKrExactEntry, nullptr), (Found{-510, -522, 0, 0}));
}

TEST_F(EqualRunTest, DescentPathRunsOnToTheNeighbourOfTheAnswer) {
  Item value = {5, 0, 0};
  KrRBTreeNodeStack path;
  KrRBTreeNodeStackEntry* found = nullptr;
  int status = 1;
  KrRBTreeNode* node =
      tree.SearchElement(nullptr, &value, nullptr, status, 0, nullptr, &path, found);
  ASSERT_NE(node, nullptr);
  EXPECT_EQ(status, 0);
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->node, node);
  EXPECT_EQ(ItemOf(node).serial, runSerials.front());
  // The walk ended on the node's predecessor inside its subtree, or on it.
  KrRBTreeNode* expectedTop = node->Left() ? kr_test::Rightmost(node->Left()) : node;
  EXPECT_EQ(path.TopNode(), expectedTop);

  // Finding one node: on it, or on to its neighbour when asked to walk.
  KrRBTreeNode* middle = run[run.size() / 2];
  EXPECT_EQ(tree.SearchEntry(middle, status, 0, nullptr, &path, found), middle);
  EXPECT_EQ(path.TopNode(), middle);
  EXPECT_EQ(found, path.top);
  EXPECT_EQ(tree.SearchEntry(middle, status, kKrWalkEqualElements, nullptr, &path, found), middle);
  EXPECT_EQ(path.TopNode(), middle->Left() ? kr_test::Rightmost(middle->Left()) : middle);
  EXPECT_EQ(found->node, middle);
  EXPECT_EQ(tree.SearchEntry(middle, status, kKrWalkEqualElements | kKrWalkBackwards, nullptr,
                             &path, found),
            middle);
  KrRBTreeNode* successor = middle->right;
  while (successor && successor->Left()) successor = successor->Left();
  EXPECT_EQ(path.TopNode(), successor ? successor : middle);
  EXPECT_EQ(tree.SearchEntry(middle, status, 0, nullptr, nullptr, found), middle);
  EXPECT_EQ(found, nullptr);  // no path, no slot
}

TEST(RBTreeSearchWithoutDuplicates, WalkIsForcedByModeAndMakesNoComparisons) {
  gCalls = kr_test::ElementCalls();
  ItemTree tree(0);
  for (int key = 1; key <= 63; ++key) ASSERT_EQ(Insert(tree, {key, 0, key}), 0);
  ASSERT_EQ(tree.hasDuplicates, 0);
  Item value = {32, 0, 0};
  KrRBTreeNodeStack path;
  KrRBTreeNodeStackEntry* found = nullptr;
  int status = 0;
  gCalls.compares = 0;
  KrRBTreeNode* node = tree.SearchElement(nullptr, &value, nullptr, status, kKrWalkEqualElements,
                                          nullptr, &path, found);
  ASSERT_NE(node, nullptr);
  int comparesToMatch = static_cast<int>(found - path.slots);
  EXPECT_EQ(gCalls.compares, comparesToMatch);  // none below the match
  EXPECT_EQ(ItemOf(path.TopNode()).key, 31);    // the predecessor

  // With no duplicates the first match answers even an exact-entry search.
  KrRBTreeParameter parameter;
  parameter.entry = tree.root;
  EXPECT_EQ(Search(tree, {32, 0, 0}, kKrExactEntry, &parameter), (Found{0, 0, 32, 32}));
  // Unless the walk is forced: then only the match is looked at.
  EXPECT_EQ(Search(tree, {32, 0, 0}, kKrExactEntry | kKrWalkEqualElements, &parameter),
            (Found{-510, -522, 0, 0}));
  parameter.entry = node;
  EXPECT_EQ(Search(tree, {32, 0, 0}, kKrExactEntry | kKrWalkEqualElements, &parameter),
            (Found{0, 0, 32, 32}));
}

}  // namespace
