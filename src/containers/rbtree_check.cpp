// KrRBTree: consistency check of the red-black rules, the order and the
// count, and the hook for a debugging print.
#include <kr/containers.h>

#include "containers/rbtree_internal.h"

using kr_detail::CompareWith;
using kr_detail::ReadKeyAndDat;
using kr_detail::TreeProbe;

namespace {

const int kRedRoot = -1;
const int kRedRedLink = -2;
const int kUnequalBlackHeights = -3;
const int kOutOfOrder = -4;
const int kWrongCount = -5;

// Checks that `smaller` sorts before `greater` (or, where fully equal
// elements may coexist, not after it).
int CheckOrder(KrRBTree const& tree, KrRBTreeNode const* smaller, KrRBTreeNode const* greater,
               KrVParameter* parameter) {
  TreeProbe probe = {nullptr, nullptr, nullptr, parameter};
  int status = ReadKeyAndDat(tree, smaller->Element(), probe.key, probe.dat, parameter);
  if (status < 0) return status;
  if (!tree.compareElement) return kKrNotImplemented;
  int keyComparison;
  int order;
  status = CompareWith(tree, probe, greater, keyComparison, order);
  if (status < 0) return status;
  if (order > 0 || (order == 0 && !(tree.flags & kKrAllowEqualElements))) return kOutOfOrder;
  return 0;
}

// Visits the subtree right side first, then the node, then the left side:
// top-down, the order a sideways print of the tree reads in.
void OutSubtree(KrRBTreeNode const* node, int depth, KrVParameter* parameter) {
  if (!node) return;
  OutSubtree(node->right, depth + 2, parameter);
  // A debugging build prints the node here, indented by `depth`.
  OutSubtree(node->Left(), depth + 2, parameter);
}

}  // namespace

int KrRBTree::CheckTree(KrVParameter* parameter) {
  if (!root) return count == 0 ? 0 : kWrongCount;
  if (root->IsRed()) return kRedRoot;
  unsigned long blackHeight = 0;
  unsigned long nodes = 0;
  KrRBTreeNode* smallest = nullptr;
  KrRBTreeNode* greatest = nullptr;
  int status = CheckTree(root, blackHeight, nodes, smallest, greatest, parameter);
  if (status < 0) return status;
  return nodes == count ? 0 : kWrongCount;
}

int KrRBTree::CheckTree(KrRBTreeNode* node, unsigned long& blackHeight, unsigned long& nodes,
                        KrRBTreeNode*& smallest, KrRBTreeNode*& greatest, KrVParameter* parameter) {
  blackHeight = 0;
  nodes = 0;
  smallest = greatest = nullptr;
  if (!node) return 0;
  if (node->IsRed() && (KrRBTreeIsRed(node->Left()) || KrRBTreeIsRed(node->right))) {
    return kRedRedLink;
  }

  unsigned long leftHeight, leftNodes, rightHeight, rightNodes;
  KrRBTreeNode *leftSmallest, *leftGreatest, *rightSmallest, *rightGreatest;
  int status =
      CheckTree(node->Left(), leftHeight, leftNodes, leftSmallest, leftGreatest, parameter);
  if (status < 0) return status;
  status = CheckTree(node->right, rightHeight, rightNodes, rightSmallest, rightGreatest, parameter);
  if (status < 0) return status;
  if (leftHeight != rightHeight) return kUnequalBlackHeights;
  if (leftGreatest) {
    status = CheckOrder(*this, leftGreatest, node, parameter);
    if (status < 0) return status;
  }
  if (rightSmallest) {
    status = CheckOrder(*this, node, rightSmallest, parameter);
    if (status < 0) return status;
  }

  blackHeight = leftHeight + (node->IsRed() ? 0 : 1);
  nodes = leftNodes + rightNodes + 1;
  smallest = leftSmallest ? leftSmallest : node;
  greatest = rightGreatest ? rightGreatest : node;
  return 0;
}

void KrRBTree::OutTree(KrVParameter* parameter) { OutSubtree(root, 0, parameter); }
