// KrRBTree: construction, insertion, deletion and clearing.
#include <kr/containers.h>

#include "containers/probe.h"
#include "containers/rbtree_internal.h"

using kr_detail::CompareWith;
using kr_detail::ReadKeyAndDat;
using kr_detail::Replace;
using kr_detail::TreeProbe;

namespace {

// A node is its two link words followed by the element.
const unsigned long kNodeLinks = sizeof(KrRBTreeNode);
// Mode bits a deletion drops, and the one it adds: deletion always walks the
// equal elements so that the path reaches the node that is unlinked.
const unsigned short kDeleteDropsModes = kKrMissToSmaller | kKrMissToGreater | kKrExactEntry;

unsigned short DeletionMode(unsigned short mode) {
  return static_cast<unsigned short>((mode & ~kDeleteDropsModes) | kKrWalkEqualElements);
}

// Applies the admission rules to one comparison of a new element. Returns 0
// or -512 and notes in `sameKey` when an equal key was admitted.
int Admit(unsigned short flags, int keyComparison, int order, bool& sameKey) {
  if (order == 0) {
    if (!(flags & kKrAllowEqualElements)) return kKrDuplicate;
    sameKey = true;
  } else if (keyComparison == 0) {
    if (!(flags & (kKrAllowEqualKeys | kKrAllowEqualElements))) return kKrDuplicate;
    sameKey = true;
  }
  return 0;
}

KrRBTreeNode* Rightmost(KrRBTreeNode* node) {
  while (node->right) node = node->right;
  return node;
}

}  // namespace

KrRBTree::KrRBTree(unsigned long size, unsigned short optionFlags, unsigned long entriesPerBlock)
    : KrVContainer(size, optionFlags),
      root(nullptr),
      last(nullptr),
      nodeCache(size + kNodeLinks, entriesPerBlock, alignof(KrRBTreeNode)),
      hasDuplicates(0),
      changeCount(0),
      spineStamp_(0),
      spineKnown_(false) {}

KrRBTree::~KrRBTree() {
  if (destructorElement && root) DeleteTree(root);
}

int KrRBTree::GetType() const { return kKrTypeRBTree; }

int KrRBTree::Clear(KrTransactionContext*, unsigned long* countOut, KrVContainer*) {
  if (countOut) *countOut = count;
  count = 0;
  if (destructorElement && root) DeleteTree(root);
  root = nullptr;
  last = nullptr;
  hasDuplicates = 0;
  nodeCache.UngetAllEntries();
  return 0;
}

void KrRBTree::DeleteTree(KrRBTreeNode* node) {
  if (!node || !destructorElement) return;
  DeleteTree(node->Left());
  DeleteTree(node->right);
  destructorElement(this, node->Element());
}

void const* KrRBTree::GetElementOfEntry(void const* entry) const {
  return entry ? static_cast<KrRBTreeNode const*>(entry)->Element() : nullptr;
}

KrVIterator* KrRBTree::CreateIterator(KrTransactionContext* context) {
  return new KrRBTreeIterator(this, context);
}

KrRBTreeNode* KrRBTree::CreateEntry(int& status) {
  // Guard: an element size so large that the node size wrapped around would
  // give nodes too small for their element.
  unsigned long size = nodeCache.entrySize;
  void* memory =
      size >= kNodeLinks && size - kNodeLinks >= elementSize ? nodeCache.GetEntry() : nullptr;
  if (!memory) {
    status = kKrNoMemory;
    return nullptr;
  }
  KrRBTreeNode* node = static_cast<KrRBTreeNode*>(memory);
  node->left = KrRBTreeNode::kRed;
  node->right = nullptr;
  status = 0;
  return node;
}

int KrRBTree::InsertEntry(void const* entry, unsigned short mode, KrVParameter* parameter) {
  KrRBTreeNode* node = static_cast<KrRBTreeNode*>(const_cast<void*>(entry));
  node->left = KrRBTreeNode::kRed;
  node->right = nullptr;
  KrRBTreeNodeStack path;
  bool appended = false;
  int status = _Link(node, mode, parameter, path, appended);
  if (status < 0) {
    if (destructorElement) destructorElement(this, node->Element());
    nodeCache.UngetEntry(node);
    return status;
  }
  if (appended) {
    _AppendBalance(node);
  } else if (node != root) {
    RestoreBalance(&path, node);
  }
  ++changeCount;
  ++count;
  if (appended) spineStamp_ = changeCount;  // the spine is up to date
  return 0;
}

int KrRBTree::_Link(KrRBTreeNode* node, unsigned short mode, KrVParameter* parameter,
                    KrRBTreeNodeStack& path, bool& appended) {
  TreeProbe probe = {nullptr, nullptr, nullptr, parameter};
  int status = ReadKeyAndDat(*this, node->Element(), probe.key, probe.dat, parameter);
  if (status < 0) return status;
  if (!root) {
    node->SetBlack();
    root = last = node;
    return 0;
  }
  if (!compareElement) return kKrNotImplemented;

  bool before = (mode & kKrInsertBefore) != 0;
  bool sameKey = false;
  int keyComparison;
  int order;
  status = CompareWith(*this, probe, last, keyComparison, order);
  if (status < 0) return status;
  if (order > 0 || (order == 0 && !before)) {
    // Append: the new greatest element goes right of `last`, the path being
    // the right spine.
    status = Admit(flags, keyComparison, order, sameKey);
    if (status < 0) return status;
    bool const known = spineKnown_ && spineStamp_ == changeCount &&
                       spine_.slots[1].node == root && spine_.TopNode() == last;
    if (!known) {
      spine_.Reset();
      spine_.PushRightmost(root);
      spineKnown_ = true;
    }
    last->right = node;
    last = node;
    appended = true;
  } else {
    bool goLeft = false;
    for (KrRBTreeNode* at = root; at; at = goLeft ? at->Left() : at->right) {
      path.Push(at);
      status = CompareWith(*this, probe, at, keyComparison, order);
      if (status < 0) return status;
      status = Admit(flags, keyComparison, order, sameKey);
      if (status < 0) return status;
      goLeft = order < 0 || (order == 0 && before);
    }
    if (goLeft) {
      path.TopNode()->SetLeft(node);
    } else {
      path.TopNode()->right = node;
    }
  }
  if (sameKey) hasDuplicates = 1;
  return 0;
}

void KrRBTree::_AppendBalance(KrRBTreeNode* x) {
  // RestoreBalance with the spine as the path: every node on it is the right
  // child of the one before, so only two of its cases occur. A red uncle
  // moves the red pair two levels up; a black one ends it with a single left
  // rotation at the grandparent g, which leaves the spine to its right child.
  spine_.Push(x);
  KrRBTreeNodeStackEntry* xSlot = spine_.top;
  for (;;) {
    KrRBTreeNodeStackEntry* const pSlot = xSlot - 1;
    KrRBTreeNode* const p = pSlot->node;  // null (the sentinel) when x is the root
    if (!p || !p->IsRed()) break;
    KrRBTreeNodeStackEntry* const gSlot = pSlot - 1;
    KrRBTreeNode* const g = gSlot->node;  // a red node is never the root
    KrRBTreeNode* const uncle = g->Left();
    if (KrRBTreeIsRed(uncle)) {
      p->SetBlack();
      uncle->SetBlack();
      g->SetRed();
      xSlot = gSlot;
      continue;
    }
    g->right = p->Left();  // rotate left at g
    p->SetLeft(g);
    p->SetBlack();
    g->SetRed();
    Replace(*this, (gSlot - 1)->node, g, p);
    // g leaves the spine: the slots above it move down by one. They are two,
    // or two more for each red uncle met on the way up, so always an even
    // number. (Copied in pairs: a plain loop here becomes a call to memmove,
    // which costs more than the few copies.)
    for (KrRBTreeNodeStackEntry* at = gSlot; at < spine_.top; at += 2) {
      at[0] = at[1];
      at[1] = at[2];
    }
    --spine_.top;
    break;
  }
  root->SetBlack();
}

int KrRBTree::InsertElement(KrVIterator const* probe, KrVParameter* probeParameter,
                            unsigned short mode, KrVParameter* parameter) {
  void const* key = nullptr;
  void const* dat = nullptr;
  int status = kr_detail::ReadProbeParts(probe, probeParameter, key, dat);
  if (status < 0) return status;

  if (!constructorElement) return kKrNotImplemented;
  KrRBTreeNode* node = CreateEntry(status);
  if (!node) return status;
  // A failed constructor leaves its node with the cache until the next Clear:
  // the element may be half built, so it is neither destroyed nor reused.
  status = constructorElement(this, node->Element(), probe, key, dat, parameter);
  if (status < 0) return status;
  return InsertEntry(node, mode, parameter);
}

int KrRBTree::DeleteElement(KrVIterator const* probe, KrVParameter* probeParameter,
                            unsigned short mode, KrVParameter* parameter) {
  void const* key = nullptr;
  void const* dat = nullptr;
  int status = kr_detail::ReadProbeParts(probe, probeParameter, key, dat);
  if (status < 0) return status;

  KrRBTreeNodeStack path;
  KrRBTreeNodeStackEntry* found = nullptr;
  SearchElement(probe, key, dat, status, DeletionMode(mode), parameter, &path, found);
  if (status < 0) return status;
  return _Delete(&path, found);
}

int KrRBTree::DeleteEntry(void const* entry, unsigned short mode, KrVParameter* parameter) {
  KrRBTreeNodeStack path;
  KrRBTreeNodeStackEntry* found = nullptr;
  int status = 0;
  SearchEntry(static_cast<KrRBTreeNode const*>(entry), status, DeletionMode(mode), parameter, &path,
              found);
  if (status < 0) return status;
  return _Delete(&path, found);
}

int KrRBTree::_Delete(KrRBTreeNodeStack* path, KrRBTreeNodeStackEntry* zSlot) {
  KrRBTreeNodeStackEntry* ySlot = path->top;
  KrRBTreeNode* y = ySlot->node;
  KrRBTreeNode* z = zSlot->node;
  KrRBTreeNode* x = y->Left() ? y->Left() : y->right;
  bool needsFixup = !y->IsRed();

  if (last == z) {
    if (y != z) {
      last = y;
    } else if (z->Left()) {
      // The greatest node goes and its lone left child takes its place: the
      // greatest node is now the rightmost one of that child's subtree. (Its
      // parent, which is smaller than the child, must not become `last`:
      // the next append would hang over the child's subtree.)
      last = Rightmost(z->Left());
    } else {
      KrRBTreeNode* parent = (zSlot - 1)->node;
      last = parent ? parent : root;
    }
  }

  // x takes y's place under y's parent.
  KrRBTreeNode* yParent = (ySlot - 1)->node;
  int side = 0;
  if (!yParent) {
    root = x;
  } else if (yParent->Left() == y) {
    yParent->SetLeft(x);
    side = 1;
  } else {
    yParent->right = x;
    side = -1;
  }

  // y takes z's place, colour and links.
  if (y != z) {
    zSlot->node = y;
    y->left = z->left;
    y->right = z->right;
    Replace(*this, (zSlot - 1)->node, z, y);
  }

  if (destructorElement) destructorElement(this, z->Element());
  nodeCache.UngetEntry(z);

  if (needsFixup) {
    path->top = ySlot - 1;  // x's parent on top
    Fixup(path, x, side);
  }
  ++changeCount;
  --count;
  return 0;
}
