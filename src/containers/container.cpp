// KrVContainer: the abstract keyed container.
#include <kr/containers.h>

KrVContainer::KrVContainer(unsigned long size, unsigned short optionFlags)
    : count(0),
      elementSize(size),
      flags(optionFlags),
      constructorElement(DefaultConstructorElement),
      destructorElement(nullptr),
      compareElement(DefaultCompareElement),
      keyOfElement(DefaultKeyOfElement),
      datOfElement(DefaultDatOfElement),
      flagsOfElement(DefaultFlagsOfElement) {}

KrVContainer::KrVContainer(KrVContainer const& other) = default;

KrVContainer::~KrVContainer() {}

KrVContainer* KrVContainer::Clone(KrVContainer*) const { return nullptr; }

int KrVContainer::GetType() const { return kKrTypeBase; }

int KrVContainer::Clear(KrTransactionContext*, unsigned long*, KrVContainer*) {
  return kKrNotImplemented;
}

int KrVContainer::SearchElement(KrVIterator const*, KrVParameter*, unsigned short, KrVParameter*,
                                KrVIterator*) {
  return kKrNotImplemented;
}

int KrVContainer::InsertElement(KrVIterator const*, KrVParameter*, unsigned short,
                                KrVParameter*) {
  return kKrNotImplemented;
}

int KrVContainer::DeleteElement(KrVIterator const*, KrVParameter*, unsigned short,
                                KrVParameter*) {
  return kKrNotImplemented;
}

void const* KrVContainer::GetElementOfEntry(void const* entry) const { return entry; }

KrVIterator* KrVContainer::CreateIterator(KrTransactionContext*) { return nullptr; }
