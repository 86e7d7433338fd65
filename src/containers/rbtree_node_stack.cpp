// KrRBTreeNodeStack: a path from the root of a KrRBTree down to one node.
#include <kr/containers.h>

#include <cstring>

KrRBTreeNodeStack::KrRBTreeNodeStack(KrRBTreeNodeStack const& other) : top(slots) { *this = other; }

KrRBTreeNodeStack& KrRBTreeNodeStack::operator=(KrRBTreeNodeStack const& other) {
  if (this == &other) return *this;
  std::ptrdiff_t used = other.top - other.slots;
  std::memcpy(slots, other.slots, (used + 1) * sizeof slots[0]);
  top = slots + used;
  return *this;
}

void KrRBTreeNodeStack::PushLeftmost(KrRBTreeNode* node) {
  for (; node; node = node->Left()) Push(node);
}

void KrRBTreeNodeStack::PushRightmost(KrRBTreeNode* node) {
  for (; node; node = node->right) Push(node);
}

void KrRBTreeNodeStack::GoToNextEntry() {
  KrRBTreeNode* node = TopNode();
  if (!node) return;
  if (node->right) {
    PushLeftmost(node->right);
    return;
  }
  // Up until coming from a left child: that parent is the successor.
  for (;;) {
    KrRBTreeNode* popped = Pop();
    KrRBTreeNode* parent = TopNode();
    if (!parent || parent->Left() == popped) return;
  }
}

void KrRBTreeNodeStack::GoToPriorEntry() {
  KrRBTreeNode* node = TopNode();
  if (!node) return;
  if (node->Left()) {
    PushRightmost(node->Left());
    return;
  }
  // Up until coming from a right child: that parent is the predecessor.
  for (;;) {
    KrRBTreeNode* popped = Pop();
    KrRBTreeNode* parent = TopNode();
    if (!parent || parent->right == popped) return;
  }
}
