// KrRBTree: the descent, finding one particular node, and the container-level
// search that positions a result iterator.
//
// Among equal elements. Elements that compare equal (order 0) form one run in
// the in-order sequence. When the tree may hold such runs (hasDuplicates) or
// the caller asks for it (kKrWalkEqualElements), the descent does not stop at
// the first equal node it meets: it walks on below it towards the first of the
// run (the last with kKrWalkBackwards), stepping left from equal nodes and
// right from smaller ones, so the path ends at the in-order neighbour of the
// answer inside its subtree; that is the node deletion unlinks.
//
// One particular node of a run (kKrExactEntry with the parameter's `entry`,
// and SearchEntry) is found by identity: the first equal node met is taken at
// once if it is the one; otherwise the walk goes on as above and takes the
// node if it passes it, and failing that the path steps through the run from
// its first node (its last with kKrWalkBackwards) in order until it stands on
// the node, or leaves the run, which is a miss. The path is then re-seated on
// the node; each caller says how it is to end (see PathEnd). So a node is
// always found as itself, never as an equal twin, however long its run.
#include <kr/containers.h>

#include "containers/probe.h"
#include "containers/rbtree_internal.h"

using kr_detail::CompareWith;
using kr_detail::ReadKeyAndDat;
using kr_detail::TreeProbe;

namespace {

const unsigned short kPositionMiss = kKrMissToSmaller | kKrMissToGreater;
const unsigned short kNeedsPath = kPositionMiss | kKrExactEntry;

// Where the path ends after a particular node was found.
enum class PathEnd {
  kOnNode,       // on the node
  kPredecessor,  // on to its predecessor inside its subtree (left, then right links)
  kSuccessor,    // on to its successor inside its subtree (right, then left links)
};

// What is looked for besides the probe's value.
struct Wanted {
  bool exact;                // one particular node of the run
  KrRBTreeNode const* node;  // that node (may be null: nothing matches)
  bool evenWithoutWalk;      // checked also when the first match ends the search
  PathEnd end;
};

// A miss: status -510; with positioning asked for and a real path, the path
// moves to the neighbour of the probe's place, else it is emptied.
// `order` is the last comparison's.
KrRBTreeNode* Miss(int& status, unsigned short mode, int order, bool position,
                   KrRBTreeNodeStack& path) {
  status = kKrNotFound;
  if (!position || !(mode & kPositionMiss)) {
    path.Reset();
    return nullptr;
  }
  if (mode & kKrMissToGreater) {
    if (order > 0) {  // up until coming from a left child: the successor
      for (;;) {
        KrRBTreeNode* popped = path.Pop();
        KrRBTreeNode* parent = path.TopNode();
        if (!parent || parent->Left() == popped) break;
      }
    }
  } else if (order < 0) {  // up until coming from a right child: the predecessor
    for (;;) {
      KrRBTreeNode* popped = path.Pop();
      KrRBTreeNode* parent = path.TopNode();
      if (!parent || parent->right == popped) break;
    }
  }
  return path.TopNode();
}

KrRBTreeNode* Failed(KrRBTreeNodeStack& path) {
  path.Reset();
  return nullptr;
}

// The descent shared by SearchElement and SearchEntry. `position` tells
// whether the path is the caller's (misses are positioned only then).
KrRBTreeNode* Descend(KrRBTree const& tree, TreeProbe const& probe, int& status,
                      unsigned short mode, Wanted const& wanted, bool position,
                      KrRBTreeNodeStack& path, KrRBTreeNodeStackEntry*& found) {
  status = 0;
  found = nullptr;
  path.Reset();
  if (!tree.compareElement) {
    status = kKrNotImplemented;
    return nullptr;
  }

  int keyComparison;
  int order = 1;
  KrRBTreeNode* node = tree.root;
  while (node) {
    path.Push(node);
    status = CompareWith(tree, probe, node, keyComparison, order);
    if (status < 0) return Failed(path);
    if (order == 0) break;
    node = order < 0 ? node->Left() : node->right;
  }
  if (!node) return Miss(status, mode, order, position, path);

  if (!tree.hasDuplicates && !(mode & kKrWalkEqualElements)) {
    if (wanted.evenWithoutWalk && node != wanted.node) {
      status = kKrNotFound;
      return Failed(path);
    }
    found = path.top;
    return node;
  }

  // Walk on below the match towards the first (last) equal element.
  bool backwards = (mode & kKrWalkBackwards) != 0;
  bool compare = tree.hasDuplicates != 0;  // else only the match is equal
  KrRBTreeNodeStackEntry* answerSlot = path.top;
  KrRBTreeNodeStackEntry* wantedSlot = wanted.exact && node == wanted.node ? path.top : nullptr;
  KrRBTreeNode* next = wantedSlot ? nullptr : backwards ? node->right : node->Left();
  while (next) {
    path.Push(next);
    bool equal = false;
    if (compare) {
      status = CompareWith(tree, probe, next, keyComparison, order);
      if (status < 0) return Failed(path);
      equal = order == 0;
    }
    if (!equal) {
      next = backwards ? next->Left() : next->right;
      continue;
    }
    answerSlot = path.top;
    if (wanted.exact && next == wanted.node) {
      wantedSlot = path.top;
      break;
    }
    next = backwards ? next->right : next->Left();
  }
  if (!wanted.exact) {
    found = answerSlot;
    return answerSlot->node;
  }

  // Step through the run from its first (last) element.
  if (!wantedSlot && compare) {
    path.top = answerSlot;
    for (;;) {
      if (backwards) {
        path.GoToPriorEntry();
      } else {
        path.GoToNextEntry();
      }
      KrRBTreeNode* at = path.TopNode();
      if (!at) break;
      status = CompareWith(tree, probe, at, keyComparison, order);
      if (status < 0) return Failed(path);
      if (order != 0) break;
      if (at == wanted.node) {
        wantedSlot = path.top;
        break;
      }
    }
  }
  if (!wantedSlot) {
    status = kKrNotFound;
    return Failed(path);
  }

  path.top = wantedSlot;
  KrRBTreeNode* hit = wantedSlot->node;
  if (wanted.end == PathEnd::kPredecessor) path.PushRightmost(hit->Left());
  if (wanted.end == PathEnd::kSuccessor) path.PushLeftmost(hit->right);
  found = wantedSlot;
  return hit;
}

// The result iterator's status after a container-level search that returned
// no node. With both miss bits the nearest greater element was looked for.
int MissStatus(unsigned short mode) {
  if (mode & kKrMissToGreater) return kKrAfterLast;
  if (mode & kKrMissToSmaller) return kKrBeforeFirst;
  if (mode & kKrExactEntry) return kKrAfterLast;
  return kKrNoPosition;
}

}  // namespace

KrRBTreeNode* KrRBTree::SearchElement(KrVIterator const* probe, void const* key, void const* dat,
                                      int& status, unsigned short mode, KrVParameter* parameter,
                                      KrRBTreeNodeStack* path, KrRBTreeNodeStackEntry*& found) {
  TreeProbe treeProbe = {probe, key, dat, parameter};
  Wanted wanted = {false, nullptr, false, PathEnd::kSuccessor};
  if (mode & kKrExactEntry) {
    wanted.exact = true;
    wanted.node = parameter ? static_cast<KrRBTreeNode const*>(parameter->entry) : nullptr;
  }
  KrRBTreeNodeStack local;
  KrRBTreeNode* node =
      Descend(*this, treeProbe, status, mode, wanted, path != nullptr, path ? *path : local, found);
  if (!path) found = nullptr;
  return node;
}

KrRBTreeNode* KrRBTree::SearchEntry(KrRBTreeNode const* node, int& status, unsigned short mode,
                                    KrVParameter* parameter, KrRBTreeNodeStack* path,
                                    KrRBTreeNodeStackEntry*& found) {
  found = nullptr;
  KrRBTreeNodeStack local;
  KrRBTreeNodeStack& stack = path ? *path : local;
  TreeProbe treeProbe = {nullptr, nullptr, nullptr, parameter};
  status = node ? ReadKeyAndDat(*this, node->Element(), treeProbe.key, treeProbe.dat, parameter)
                : kKrNotFound;
  if (status < 0) return Failed(stack);

  PathEnd end = PathEnd::kOnNode;
  if (mode & kKrWalkEqualElements) {
    end = (mode & kKrWalkBackwards) ? PathEnd::kSuccessor : PathEnd::kPredecessor;
  }
  Wanted wanted = {true, node, true, end};
  // Identity decides, not the miss bits: a node that is not there has no place.
  unsigned short searchMode = static_cast<unsigned short>(mode & ~kNeedsPath);
  KrRBTreeNode* hit = Descend(*this, treeProbe, status, searchMode, wanted, false, stack, found);
  if (!path) found = nullptr;
  return hit;
}

int KrRBTree::SearchElement(KrVIterator const* probe, KrVParameter* probeParameter,
                            unsigned short mode, KrVParameter* parameter, KrVIterator* result) {
  void const* key = nullptr;
  void const* dat = nullptr;
  int status = kr_detail::ReadProbeParts(probe, probeParameter, key, dat);
  if (status < 0) return status;

  KrRBTreeNodeStackEntry* found = nullptr;
  if (result) {
    // The result must be able to hold a path: a tree iterator.
    if (result->GetType() != kKrTypeRBTree) return kKrNotImplemented;
    KrRBTreeIterator* iterator = static_cast<KrRBTreeIterator*>(result);
    KrRBTreeNode* node =
        SearchElement(probe, key, dat, status, mode, parameter, &iterator->path, found);
    // A hit stands on the element found, not on the neighbour the walk over
    // equal elements went on to.
    if (found) iterator->path.top = found;
    iterator->container = this;
    iterator->changeStamp = changeCount;
    iterator->status = node ? kKrPositioned : MissStatus(mode);
    return status;
  }
  if (mode & kNeedsPath) {
    KrRBTreeNodeStack path;
    SearchElement(probe, key, dat, status, mode, parameter, &path, found);
  } else {
    SearchElement(probe, key, dat, status, mode, parameter, nullptr, found);
  }
  return status;
}
