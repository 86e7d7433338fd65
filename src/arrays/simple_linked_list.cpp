// KrSimpleLinkedList: a singly linked intrusive list that owns nothing.
#include <kr/arrays.h>

KrSimpleLinkedListItem::KrSimpleLinkedListItem() : next(nullptr) {}

KrSimpleLinkedList::KrSimpleLinkedList() : head(nullptr) {}

void KrSimpleLinkedList::InsertFirst(KrSimpleLinkedListItem* item) {
  item->next = head;
  head = item;
}

void KrSimpleLinkedList::Append(KrSimpleLinkedListItem* item) {
  if (!head) {
    head = item;
    return;
  }
  KrSimpleLinkedListItem* last = head;
  while (last->next) last = last->next;
  last->next = item;
}

KrSimpleLinkedListItem* KrSimpleLinkedList::RemoveFirst() {
  KrSimpleLinkedListItem* const first = head;
  if (!first) return nullptr;
  head = first->next;
  first->next = nullptr;
  return first;
}

KrSimpleLinkedListItem* KrSimpleLinkedList::RemoveLast() {
  if (!head) return nullptr;
  if (!head->next) {
    KrSimpleLinkedListItem* const only = head;
    head = nullptr;
    return only;
  }
  KrSimpleLinkedListItem* beforeLast = head;
  while (beforeLast->next->next) beforeLast = beforeLast->next;
  KrSimpleLinkedListItem* const last = beforeLast->next;
  beforeLast->next = nullptr;
  return last;
}

KrSimpleLinkedListItem* KrSimpleLinkedList::RemoveItem(KrSimpleLinkedListItem* item) {
  if (!head) return nullptr;
  if (item == head) {
    head = item->next;
    item->next = nullptr;
    return item;
  }
  for (KrSimpleLinkedListItem* before = head; before->next; before = before->next) {
    if (before->next == item) {
      before->next = item->next;
      item->next = nullptr;
      return item;
    }
  }
  return nullptr;
}
