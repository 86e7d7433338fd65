// KrOneEntryIterator: the cursor over a KrOneEntryContainer.
#include <kr/containers.h>

namespace {

KrOneEntryContainer const* OneEntry(KrVContainer const* container) {
  return static_cast<KrOneEntryContainer const*>(container);
}

}  // namespace

KrOneEntryIterator::KrOneEntryIterator(KrOneEntryContainer* owner, KrTransactionContext* context)
    : KrVIterator(context, owner) {
  if (owner) status = owner->key ? kKrPositioned : kKrBeforeFirst;
}

KrOneEntryIterator::~KrOneEntryIterator() {}

int KrOneEntryIterator::GetType() const { return kKrTypeOneEntry; }

int KrOneEntryIterator::First() {
  if (status == kKrNoContainer || !container) return status;
  status = OneEntry(container)->key ? kKrPositioned : kKrBeforeFirst;
  return status;
}

int KrOneEntryIterator::Last() {
  if (status == kKrNoContainer || !container) return status;
  status = OneEntry(container)->key ? kKrPositioned : kKrAfterLast;
  return status;
}

// Next from before the entry and Prior from after it land on the entry
// without asking whether there is a key: an iterator only stands there on an
// empty container after First or Last said so.
int KrOneEntryIterator::Next() {
  if (status == kKrBeforeFirst) {
    status = kKrPositioned;
  } else if (status == kKrPositioned) {
    status = kKrAfterLast;
  }
  return status;
}

int KrOneEntryIterator::Prior() {
  if (status == kKrAfterLast) {
    status = kKrPositioned;
  } else if (status == kKrPositioned) {
    status = kKrBeforeFirst;
  }
  return status;
}

void const* KrOneEntryIterator::GetEntry(int& entryStatus, KrVParameter*) const {
  entryStatus = status;
  return status >= 0 && container ? OneEntry(container)->key : nullptr;
}

void const* KrOneEntryIterator::GetKey(int& keyStatus, KrVParameter* parameter) const {
  return GetEntry(keyStatus, parameter);
}

void const* KrOneEntryIterator::GetDat(int& datStatus, KrVParameter*) const {
  datStatus = status;
  if (status < 0 || !container) return nullptr;
  void const* dat = OneEntry(container)->dat;
  if (!dat) datStatus = kKrNoDat;
  return dat;
}
