// Helpers shared by the red-black tree's source files.
#ifndef KR_SRC_CONTAINERS_RBTREE_INTERNAL_H_
#define KR_SRC_CONTAINERS_RBTREE_INTERNAL_H_

#include <kr/containers.h>

namespace kr_detail {

// What the tree compares stored elements against: the key and dat of the
// probe, the iterator they came from (null for a node of the tree) and the
// caller's parameter block.
struct TreeProbe {
  KrVIterator const* iterator;
  void const* key;
  void const* dat;
  KrVParameter* parameter;
};

// Reads key and dat of an element through the tree's element functions; a
// missing dat (-519) is no failure. Returns 0 or the first negative status
// (-2999 for a missing function).
inline int ReadKeyAndDat(KrRBTree const& tree, void const* element, void const*& key,
                         void const*& dat, KrVParameter* parameter) {
  if (!tree.keyOfElement || !tree.datOfElement) return kKrNotImplemented;
  int status = 0;
  key = tree.keyOfElement(&tree, element, status, parameter);
  if (status < 0) return status;
  dat = tree.datOfElement(&tree, element, status, parameter);
  if (status == kKrNoDat) {
    dat = nullptr;
    status = 0;
  }
  return status;
}

// Compares the probe with `node`'s element. `order` starts at 1, as does
// `keyComparison`, in case the compare function leaves them alone.
// Requires: tree.compareElement is set.
inline int CompareWith(KrRBTree const& tree, TreeProbe const& probe, KrRBTreeNode const* node,
                       int& keyComparison, int& order) {
  keyComparison = 1;
  order = 1;
  return tree.compareElement(&tree, keyComparison, order, probe.iterator, probe.key, probe.dat,
                             node->Element(), probe.parameter);
}

// Makes `replacement` hang where `old` hung: under `parent` on the same side,
// or as the root when `parent` is null.
inline void Replace(KrRBTree& tree, KrRBTreeNode* parent, KrRBTreeNode const* old,
                    KrRBTreeNode* replacement) {
  if (!parent) {
    tree.root = replacement;
  } else if (parent->Left() == old) {
    parent->SetLeft(replacement);
  } else {
    parent->right = replacement;
  }
}

}  // namespace kr_detail

#endif  // KR_SRC_CONTAINERS_RBTREE_INTERNAL_H_
