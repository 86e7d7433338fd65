// KrDiffList and KrDiffListIterator: a ready counting multiset for the
// container differ, built on the red-black tree.
#include <kr/containers.h>

#include <stdint.h>
#include <string.h>

namespace {

// Bit 0 of a parameter's `aux`: the element came from the second sequence.
const uintptr_t kSecondSideBit = 1;

// Same key, different element may coexist: a compare function that tells
// keys apart from whole elements must not make the tree refuse a new entry.
const unsigned short kListFlags = kKrAllowEqualKeys;

unsigned long CountOffsetFor(unsigned long recordSize) {
  unsigned long const align = sizeof(int);
  return (recordSize + align - 1) / align * align;
}

KrDiffList const* ListOf(KrVContainer const* container) {
  return static_cast<KrDiffList const*>(container);
}

// Orders records as unsigned bytes, the first difference deciding; the
// whole record is its key.
int CompareRecordBytes(KrVContainer const* container, int& keyComparison, int& order,
                       KrVIterator const*, void const* probeKey, void const*,
                       void const* element, KrVParameter*) {
  int result = memcmp(probeKey, element, ListOf(container)->recordSize);
  order = (result > 0) - (result < 0);
  keyComparison = order;
  return 0;
}

// Copies the probe's element and starts its count at -1 or +1 by the side
// bit of the parameter. Without a probe iterator the key stands for the
// element (the key of a default element is the whole element).
int ConstructListElement(KrVContainer* container, void* destination, KrVIterator const* source,
                         void const* key, void const*, KrVParameter* parameter) {
  KrDiffList const* list = ListOf(container);
  void const* element = key;
  if (source) {
    int status = 0;
    element = source->GetElement(status, nullptr);
    if (status < 0) return status;
    if (!element) return kKrNotImplemented;
  }
  memcpy(destination, element, list->recordSize);
  bool second = parameter && (reinterpret_cast<uintptr_t>(parameter->aux) & kSecondSideBit);
  *list->CountOf(destination) = second ? 1 : -1;
  return 0;
}

}  // namespace

KrDiffList::KrDiffList(unsigned long size, KrCompareElementFunction compare,
                       unsigned long entriesPerBlock)
    : KrRBTree(CountOffsetFor(size) + sizeof(int), kListFlags, entriesPerBlock),
      recordSize(size),
      countOffset(CountOffsetFor(size)) {
  compareElement = compare ? compare : CompareRecordBytes;
  constructorElement = ConstructListElement;
}

KrDiffList::~KrDiffList() {}

KrVIterator* KrDiffList::CreateIterator(KrTransactionContext*) {
  return new KrDiffListIterator(this);
}

int* KrDiffList::CountOf(void const* element) const {
  // The list's elements are its own, writable storage.
  return reinterpret_cast<int*>(static_cast<char*>(const_cast<void*>(element)) + countOffset);
}

KrDiffListIterator::KrDiffListIterator(KrDiffList* list)
    : KrDiffListIteratorInterface(list), cursor(list, nullptr) {}

KrDiffListIterator::~KrDiffListIterator() {}

int KrDiffListIterator::First() { return status = cursor.First(); }
int KrDiffListIterator::Next() { return status = cursor.Next(); }
int KrDiffListIterator::Prior() { return status = cursor.Prior(); }
int KrDiffListIterator::Last() { return status = cursor.Last(); }

int KrDiffListIterator::SearchElement(KrVIterator const* probe, KrVParameter* probeParameter,
                                      unsigned short mode, KrVParameter* parameter) {
  if (!List()) return status;  // guard: no list to search, status stays -520
  int result = List()->KrRBTree::SearchElement(probe, probeParameter, mode, parameter, &cursor);
  status = cursor.status;
  return result;
}

// The tree links the new node where a search for the same element finds it
// (there is no fully equal entry besides it), so that search positions the
// cursor on it.
int KrDiffListIterator::InsertElement(KrVIterator const* probe, KrVParameter* probeParameter,
                                      unsigned short mode, KrVParameter* parameter) {
  if (!List()) return status;  // guard: no list to insert into, status stays -520
  int result = List()->InsertElement(probe, probeParameter, mode, parameter);
  if (result < 0) return result;
  result = KrDiffListIterator::SearchElement(probe, probeParameter, 0, parameter);
  return result < 0 ? result : 0;
}

int KrDiffListIterator::DeleteElement(unsigned short mode, KrVParameter* parameter) {
  if (cursor.status != 0) return cursor.status;  // not on an entry: nothing to delete
  int result = cursor.DeleteElement(mode, parameter);
  status = cursor.status;
  // Standing past either end afterwards is no failure of the deletion.
  if (result == kKrAfterLast || result == kKrBeforeFirst) return 0;
  return result;
}

void const* KrDiffListIterator::GetEntry(int& entryStatus, KrVParameter* parameter) const {
  return cursor.GetEntry(entryStatus, parameter);
}

int* KrDiffListIterator::DiffCount() {
  int entryStatus = 0;
  void const* element = cursor.GetElement(entryStatus, nullptr);
  return element ? List()->CountOf(element) : nullptr;
}
