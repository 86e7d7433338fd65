// KrRBTreeIterator: in-order walks over a KrRBTree in both directions, with
// detection of changes made behind the iterator's back.
#include <kr/containers.h>

KrRBTreeIterator::KrRBTreeIterator(KrRBTree* tree, KrTransactionContext* context)
    : KrVIterator(context, tree), changeStamp(tree ? tree->changeCount : 0) {}

KrRBTreeIterator::KrRBTreeIterator(KrRBTreeIterator const& other) = default;

KrRBTreeIterator& KrRBTreeIterator::operator=(KrRBTreeIterator const& other) = default;

KrRBTreeIterator::~KrRBTreeIterator() {}

int KrRBTreeIterator::GetType() const { return kKrTypeRBTree; }

KrVIterator* KrRBTreeIterator::Clone(KrVIterator* target) const {
  if (!target) return new KrRBTreeIterator(*this);
  // The target must hold a path of its own: a tree iterator over a tree.
  if (!target->container || target->container->GetType() != kKrTypeRBTree ||
      target->GetType() != kKrTypeRBTree) {
    return nullptr;
  }
  *static_cast<KrRBTreeIterator*>(target) = *this;
  return target;
}

int KrRBTreeIterator::First() {
  if (status == kKrNoContainer || !container) return status;
  KrRBTree* tree = Tree();
  path.Reset();
  if (!tree->root) {
    status = kKrBeforeFirst;
    return status;
  }
  path.PushLeftmost(tree->root);
  status = kKrPositioned;
  changeStamp = tree->changeCount;
  return status;
}

int KrRBTreeIterator::Last() {
  if (status == kKrNoContainer || !container) return status;
  KrRBTree* tree = Tree();
  path.Reset();
  if (!tree->root) {
    status = kKrAfterLast;
    return status;
  }
  path.PushRightmost(tree->root);
  status = kKrPositioned;
  changeStamp = tree->changeCount;
  return status;
}

int KrRBTreeIterator::Next() {
  if (status == kKrBeforeFirst) {
    if (First() == kKrBeforeFirst) status = kKrAfterLast;
    return status;
  }
  if (status < 0 || !container) return status;
  if (changeStamp != Tree()->changeCount) {
    status = kKrNoPosition;
    return kKrContainerChanged;
  }
  path.GoToNextEntry();
  status = path.TopNode() ? kKrPositioned : kKrAfterLast;
  return status;
}

int KrRBTreeIterator::Prior() {
  if (status == kKrAfterLast) {
    if (Last() == kKrAfterLast) status = kKrBeforeFirst;
    return status;
  }
  if (status < 0 || !container) return status;
  if (changeStamp != Tree()->changeCount) {
    status = kKrNoPosition;
    return kKrContainerChanged;
  }
  path.GoToPriorEntry();
  status = path.TopNode() ? kKrPositioned : kKrBeforeFirst;
  return status;
}

void const* KrRBTreeIterator::GetEntry(int& entryStatus, KrVParameter*) const {
  entryStatus = status;
  if (status < 0 || !container) return nullptr;
  if (changeStamp != Tree()->changeCount) {
    entryStatus = kKrContainerChanged;
    return nullptr;
  }
  return path.TopNode();
}

int KrRBTreeIterator::DeleteElement(unsigned short mode, KrVParameter* parameter) {
  if (status < 0 || !container) return status;
  KrRBTree* tree = Tree();
  if (changeStamp != tree->changeCount) return kKrContainerChanged;
  if (path.IsEmpty()) return status;

  // Step to the neighbour first; the slots up to z's stay as they were,
  // because a step only pushes above z or pops below it.
  bool backwards = (mode & kKrDeleteMoveToPrior) != 0;
  KrRBTreeNodeStackEntry* zSlot = path.top;
  KrRBTreeNode* z = zSlot->node;
  int moved = backwards ? Prior() : Next();
  if (moved != kKrPositioned && moved != kKrBeforeFirst && moved != kKrAfterLast) {
    status = moved;
    return moved;
  }
  KrRBTreeNode* neighbour = path.TopNode();

  // Unlink z through its in-order predecessor (or z itself without a left
  // child), as the tree's own deletion does.
  path.top = zSlot;
  path.PushRightmost(z->Left());
  int result = tree->_Delete(&path, zSlot);
  changeStamp = tree->changeCount;  // our own deletion does not make us stale

  // Rotations may have moved the neighbour: find it again, by identity.
  path.Reset();
  if (result >= 0 && neighbour) {
    KrRBTreeNodeStackEntry* found = nullptr;
    unsigned short searchMode = backwards ? kKrWalkBackwards : 0;
    tree->SearchEntry(neighbour, result, searchMode, parameter, &path, found);
    if (result == kKrNotFound) result = kKrNeighbourLost;
  }
  if (result < 0) return result;
  status = neighbour ? kKrPositioned : moved;
  return status;
}
