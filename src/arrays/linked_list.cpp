// KrLinkedList: a doubly linked intrusive list that owns its items.
#include <kr/arrays.h>

KrLinkedListItem::KrLinkedListItem() : previous(nullptr), next(nullptr) {}

KrLinkedListItem::KrLinkedListItem(KrLinkedListItem const&) : previous(nullptr), next(nullptr) {}

KrLinkedListItem& KrLinkedListItem::operator=(KrLinkedListItem const&) { return *this; }

KrLinkedListItem::~KrLinkedListItem() { UnLink(); }

void KrLinkedListItem::UnLink() {
  if (next) next->previous = previous;
  if (previous) previous->next = next;
  previous = nullptr;
  next = nullptr;
}

KrLinkedList::KrLinkedList() : head(nullptr), tail(nullptr) {}

KrLinkedList::~KrLinkedList() { Clear(); }

void KrLinkedList::InsertFirst(KrLinkedListItem* item) {
  if (head) {
    head->previous = item;
  } else {
    tail = item;
  }
  item->next = head;
  head = item;
}

void KrLinkedList::Append(KrLinkedListItem* item) {
  if (tail) {
    tail->next = item;
  } else {
    head = item;
  }
  item->previous = tail;
  tail = item;
}

void KrLinkedList::RemoveFirst() {
  KrLinkedListItem* const first = head;
  if (!first) return;
  head = first->next;
  if (!head) tail = nullptr;
  first->UnLink();
}

void KrLinkedList::RemoveLast() {
  KrLinkedListItem* const last = tail;
  if (!last) return;
  tail = last->previous;
  if (!tail) head = nullptr;
  last->UnLink();
}

int KrLinkedList::RemoveItem(KrLinkedListItem* item) {
  KrLinkedListItem* at = head;
  while (at && at != item) at = at->next;
  if (!at) return kKrArrayBadIndex;
  if (item == tail) {
    RemoveLast();
  } else if (item == head) {
    RemoveFirst();
  } else {
    item->UnLink();  // an inner item: both neighbours exist
  }
  return kKrArrayOk;
}

void KrLinkedList::DeleteFirst() {
  KrLinkedListItem* const first = head;
  if (!first) return;
  head = first->next;
  if (!head) tail = nullptr;
  delete first;  // its destructor unlinks it from its former neighbour
}

void KrLinkedList::DeleteLast() {
  KrLinkedListItem* const last = tail;
  if (!last) return;
  tail = last->previous;
  if (!tail) head = nullptr;
  delete last;
}

int KrLinkedList::DeleteItem(KrLinkedListItem* item) {
  int const result = RemoveItem(item);
  if (result == kKrArrayOk && item) delete item;
  return result;
}

void KrLinkedList::Clear() {
  while (head) DeleteFirst();
}
