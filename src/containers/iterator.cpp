// KrVIterator: the cursor base class, and reading an element's parts.
#include <kr/containers.h>

#include <climits>

namespace {

int StatusFor(KrVContainer const* container) {
  return container ? kKrBeforeFirst : kKrNoContainer;
}

// The current element for a part getter: null with the status GetEntry left
// when there is no entry or container, null with -2999 when the element or
// the part's element function is missing.
void const* ElementForPart(KrVIterator const& iterator, int& status, KrVParameter* parameter,
                           bool hasFunction) {
  void const* entry = iterator.GetEntry(status, parameter);
  if (!entry || !iterator.container) return nullptr;
  void const* element = iterator.container->GetElementOfEntry(entry);
  if (!element || !hasFunction) {
    status = kKrNotImplemented;
    return nullptr;
  }
  return element;
}

// Turns a comparison around. -INT_MIN does not exist; a callback computing
// `a - b` can return INT_MIN, which becomes INT_MAX so the sign still flips.
int Negate(int value) { return value == INT_MIN ? INT_MAX : -value; }

}  // namespace

KrVIterator::KrVIterator(KrTransactionContext* context)
    : container(nullptr), transactionContext(context), status(kKrNoContainer) {}

KrVIterator::KrVIterator(KrTransactionContext* context, KrVContainer* owner)
    : container(owner), transactionContext(context), status(StatusFor(owner)) {}

KrVIterator::KrVIterator(KrVIterator const& other) = default;

KrVIterator& KrVIterator::operator=(KrVIterator const& other) = default;

KrVIterator& KrVIterator::operator=(KrVContainer* owner) {
  SetContainer(owner);
  return *this;
}

void KrVIterator::SetContainer(KrVContainer* owner) {
  container = owner;
  status = StatusFor(owner);
}

KrVIterator::~KrVIterator() {}

int KrVIterator::GetType() const { return kKrTypeBase; }

KrVIterator* KrVIterator::Clone(KrVIterator*) const { return nullptr; }

int KrVIterator::First() { return kKrNotImplemented; }
int KrVIterator::Next() { return kKrNotImplemented; }
int KrVIterator::Prior() { return kKrNotImplemented; }
int KrVIterator::Last() { return kKrNotImplemented; }

int KrVIterator::CompareElement(KrVIterator const* other, KrVParameter* otherParameter,
                                int& keyComparison, int& order, KrVParameter* parameter) const {
  if (status < 0) return status;
  if (other->status < 0) return other->status;

  int partStatus = 0;
  void const* key = other->GetKey(partStatus, otherParameter);
  void const* dat = nullptr;
  if (partStatus >= 0) {
    dat = other->GetDat(partStatus, otherParameter);
    if (partStatus == kKrNoDat) partStatus = 0;
  }
  if (partStatus < 0) return partStatus;

  int elementStatus = 0;
  void const* element = GetElement(elementStatus, parameter);
  if (elementStatus < 0) return elementStatus;

  // A positioned iterator has a container; guard a caller who set the status
  // by hand as if the compare function were missing.
  if (!container || !container->compareElement) return kKrNotImplemented;
  int result = container->compareElement(container, keyComparison, order, other, key, dat,
                                         element, parameter);
  keyComparison = Negate(keyComparison);
  order = Negate(order);
  return result;
}

int KrVIterator::SearchElement(KrVIterator const*, KrVParameter*, unsigned short,
                               KrVParameter*) {
  return kKrNotImplemented;
}

int KrVIterator::InsertElement(KrVIterator const*, KrVParameter*, unsigned short,
                               KrVParameter*) {
  return kKrNotImplemented;
}

int KrVIterator::UpdateElement(KrVIterator const*, KrVParameter*, unsigned short,
                               KrVParameter*) {
  return kKrNotImplemented;
}

int KrVIterator::DeleteElement(unsigned short, KrVParameter*) { return kKrNotImplemented; }

void KrVIterator::Destroy() {
  container = nullptr;
  status = kKrNoContainer;
}

void const* KrVIterator::GetEntry(int& entryStatus, KrVParameter*) const {
  entryStatus = kKrNotImplemented;
  return nullptr;
}

int KrVIterator::GetEntryParts(void const* entry, void const** element, void const** key,
                               void const** dat, unsigned long* flags,
                               KrVParameter* parameter) const {
  if (!container || (!element && !key && !dat && !flags)) return 0;

  int partStatus = 0;
  void const* theElement = container->GetElementOfEntry(entry);
  if (element) {
    if (theElement) {
      *element = theElement;
    } else {
      partStatus = kKrNotImplemented;
    }
  }
  if (!theElement) return partStatus;

  if (key) {
    if (container->keyOfElement) {
      *key = container->keyOfElement(container, theElement, partStatus, parameter);
    } else {
      partStatus = kKrNotImplemented;
    }
    if (partStatus < 0) return partStatus;
  }
  if (flags) {
    if (container->flagsOfElement) {
      *flags = container->flagsOfElement(container, theElement, partStatus, parameter);
    } else {
      partStatus = kKrNotImplemented;
    }
    if (partStatus < 0) return partStatus;
  }
  if (dat) {
    if (container->datOfElement) {
      *dat = container->datOfElement(container, theElement, partStatus, parameter);
    } else {
      partStatus = kKrNotImplemented;
    }
  }
  return partStatus;
}

void const* KrVIterator::GetElement(int& elementStatus, KrVParameter* parameter) const {
  void const* entry = GetEntry(elementStatus, parameter);
  if (!entry || !container) return nullptr;
  void const* element = container->GetElementOfEntry(entry);
  if (!element) elementStatus = kKrNotImplemented;
  return element;
}

void const* KrVIterator::GetKey(int& keyStatus, KrVParameter* parameter) const {
  bool usable = container && container->keyOfElement;
  void const* element = ElementForPart(*this, keyStatus, parameter, usable);
  return element ? container->keyOfElement(container, element, keyStatus, parameter) : nullptr;
}

void const* KrVIterator::GetDat(int& datStatus, KrVParameter* parameter) const {
  bool usable = container && container->datOfElement;
  void const* element = ElementForPart(*this, datStatus, parameter, usable);
  return element ? container->datOfElement(container, element, datStatus, parameter) : nullptr;
}

unsigned long KrVIterator::GetFlags(int& flagsStatus, KrVParameter* parameter) const {
  bool usable = container && container->flagsOfElement;
  void const* element = ElementForPart(*this, flagsStatus, parameter, usable);
  return element ? container->flagsOfElement(container, element, flagsStatus, parameter) : 0;
}
