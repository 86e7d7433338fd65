#include <kr/containers.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

// A hand-built tree of nodes carrying an int each: 4 over 2 and 6; 2 over 1
// and 3; 6 over 5 on its left.
// Nodes 2 and 5 are red, so left links carry colour bits to be masked.
struct Node {
  KrRBTreeNode links;
  int value;
};

class NodeStackTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (int i = 0; i < 7; ++i) {
      nodes[i].links.left = 0;
      nodes[i].links.right = nullptr;
      nodes[i].value = i;
    }
    Link(4, 2, 6);
    Link(2, 1, 3);
    Link(6, 5, 0);
    N(2)->SetRed();
    N(5)->SetRed();
  }
  KrRBTreeNode* N(int i) { return &nodes[i].links; }
  void Link(int parent, int left, int right) {
    N(parent)->SetLeft(left ? N(left) : nullptr);
    N(parent)->right = right ? N(right) : nullptr;
  }
  static int ValueOf(KrRBTreeNode const* node) {
    return node ? reinterpret_cast<Node const*>(node)->value : 0;
  }
  std::vector<int> Path(KrRBTreeNodeStack const& path) {
    std::vector<int> values;
    for (KrRBTreeNodeStackEntry const* slot = path.slots + 1; slot <= path.top; ++slot) {
      values.push_back(ValueOf(slot->node));
    }
    return values;
  }

  Node nodes[7];
};

using Values = std::vector<int>;

TEST_F(NodeStackTest, PopOnTheSentinelKeepsYieldingNull) {
  KrRBTreeNodeStack path;
  EXPECT_TRUE(path.IsEmpty());
  EXPECT_EQ(path.TopNode(), nullptr);
  path.Push(N(4));
  path.Push(N(2));
  EXPECT_EQ(path.Pop(), N(2));
  EXPECT_EQ(path.Pop(), N(4));
  EXPECT_EQ(path.Pop(), nullptr);
  EXPECT_EQ(path.Pop(), nullptr);
  EXPECT_EQ(path.top, path.slots);
  EXPECT_EQ(path.slots[0].node, nullptr);
  path.Push(N(6));
  path.Reset();
  EXPECT_TRUE(path.IsEmpty());
}

TEST_F(NodeStackTest, WalksInOrderBothWays) {
  KrRBTreeNodeStack path;
  path.PushLeftmost(N(4));
  EXPECT_EQ(Path(path), (Values{4, 2, 1}));
  std::vector<Values> forwards;
  for (; !path.IsEmpty(); path.GoToNextEntry()) forwards.push_back(Path(path));
  EXPECT_EQ(forwards, (std::vector<Values>{
                          {4, 2, 1}, {4, 2}, {4, 2, 3}, {4}, {4, 6, 5}, {4, 6}}));

  path.PushRightmost(N(4));
  EXPECT_EQ(Path(path), (Values{4, 6}));
  Values backwards;
  for (; !path.IsEmpty(); path.GoToPriorEntry()) backwards.push_back(ValueOf(path.TopNode()));
  EXPECT_EQ(backwards, (Values{6, 5, 4, 3, 2, 1}));
  path.GoToPriorEntry();  // on an empty path: nothing happens
  EXPECT_TRUE(path.IsEmpty());
}

TEST_F(NodeStackTest, CopiesHoldTheirOwnSlots) {
  KrRBTreeNodeStack path;
  path.PushLeftmost(N(4));
  KrRBTreeNodeStack copy(path);
  EXPECT_EQ(copy.top, copy.slots + 3);
  path.GoToNextEntry();
  path.GoToNextEntry();  // the original moves to 3, overwriting slot 3
  EXPECT_EQ(Path(copy), (Values{4, 2, 1}));
  copy.GoToNextEntry();
  EXPECT_EQ(Path(copy), (Values{4, 2}));

  KrRBTreeNodeStack assigned;
  assigned.Push(N(6));
  assigned = path;
  EXPECT_EQ(assigned.top, assigned.slots + 3);
  EXPECT_EQ(Path(assigned), (Values{4, 2, 3}));
  KrRBTreeNodeStack& alias = assigned;
  assigned = alias;  // self-assignment keeps the path
  EXPECT_EQ(Path(assigned), (Values{4, 2, 3}));

  KrRBTreeNodeStack empty;
  assigned = empty;
  EXPECT_TRUE(assigned.IsEmpty());
  EXPECT_EQ(assigned.TopNode(), nullptr);
}

TEST_F(NodeStackTest, LinkWritesKeepTheColourAndColourWritesKeepTheLink) {
  KrRBTreeNode* node = N(2);
  ASSERT_TRUE(node->IsRed());
  node->SetLeft(N(3));
  EXPECT_TRUE(node->IsRed());
  EXPECT_EQ(node->Left(), N(3));
  node->SetBlack();
  EXPECT_EQ(node->Left(), N(3));
  EXPECT_FALSE(node->IsRed());
  node->SetColourOf(N(5));
  EXPECT_TRUE(node->IsRed());
  EXPECT_EQ(node->Left(), N(3));
  EXPECT_FALSE(KrRBTreeIsRed(nullptr));
  EXPECT_EQ(node->Element(), &nodes[2].value);
}

}  // namespace
