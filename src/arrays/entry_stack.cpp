// KrEntryStack: a ring of lazily constructed entries over a caller's buffer.
#include <kr/arrays.h>

#include <cstdint>

namespace {

// Entries handed to SetCurrentEntryWithTest may lie anywhere; compare them as
// addresses.
bool InRange(void const* entry, char const* from, char const* to) {
  std::uintptr_t at = reinterpret_cast<std::uintptr_t>(entry);
  return reinterpret_cast<std::uintptr_t>(from) <= at && at <= reinterpret_cast<std::uintptr_t>(to);
}

}  // namespace

KrEntryStack::KrEntryStack(KrTransactionContext* transactionContext, char* buffer,
                           unsigned short size, unsigned short entryCount,
                           KrEntryStackFunction create, KrEntryStackFunction destroy)
    : context(transactionContext),
      begin(buffer),
      last(buffer + (static_cast<long>(entryCount) - 1) * size),
      bottom(buffer),
      current(buffer),
      top(buffer),
      entrySize(size),
      createEntry(create),
      destroyEntry(destroy) {
  if (createEntry) createEntry(context, current);
}

KrEntryStack::~KrEntryStack() { DestroyAllEntries(); }

void* KrEntryStack::GetNextEntry() {
  char* next = current == last ? begin : current + entrySize;
  if (next == bottom) return nullptr;  // full: the walk would overrun the oldest entry
  if (current == top) {
    top = next;
    if (createEntry) createEntry(context, next);
  }
  return next;
}

void* KrEntryStack::GetPrevEntry() {
  char* prev = current == begin ? last : current - entrySize;
  if (prev == top) return nullptr;  // full: the walk would overrun the newest entry
  if (current == bottom) {
    bottom = prev;
    if (createEntry) createEntry(context, prev);
  }
  return prev;
}

void* KrEntryStack::SetCurrentEntryWithTest(void* entry) {
  bool constructed = bottom <= top ? InRange(entry, bottom, top)
                                   : InRange(entry, begin, top) || InRange(entry, bottom, last);
  if (!constructed) return nullptr;
  current = static_cast<char*>(entry);
  return entry;
}

void KrEntryStack::Destroy(char* from, char* to) {
  if (!destroyEntry) return;
  // Guard: with entries of size 0 the walk would never get past `to`.
  if (entrySize == 0) {
    if (from <= to) destroyEntry(context, from);
    return;
  }
  for (char* entry = from; entry <= to; entry += entrySize) destroyEntry(context, entry);
}

void KrEntryStack::DestroyAllEntries() {
  if (bottom > top) {
    Destroy(begin, top);
    Destroy(bottom, last);
  } else {
    Destroy(bottom, top);
  }
}
