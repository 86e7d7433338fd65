// KrOneEntryContainer: one key, dat and flags triple seen as a container, and
// the element functions that answer its stored values.
#include <kr/containers.h>

namespace {

KrOneEntryContainer const* OneEntry(KrVContainer const* container) {
  return static_cast<KrOneEntryContainer const*>(container);
}

}  // namespace

KrOneEntryContainer::KrOneEntryContainer(void const* entryKey, void const* entryDat,
                                         unsigned long flags)
    : KrVContainer(0, 0), key(entryKey), dat(entryDat), entryFlags(flags) {
  keyOfElement = OneEntryKeyOfElement;
  datOfElement = OneEntryDatOfElement;
  flagsOfElement = OneEntryFlagsOfElement;
}

KrOneEntryContainer::~KrOneEntryContainer() {}

int KrOneEntryContainer::GetType() const { return kKrTypeOneEntry; }

int KrOneEntryContainer::SearchElement(KrVIterator const*, KrVParameter*, unsigned short,
                                       KrVParameter*, KrVIterator* result) {
  if (result) result->status = kKrAfterLast;
  return kKrNotFound;
}

void const* OneEntryKeyOfElement(KrVContainer const* container, void const*, int& status,
                                 KrVParameter*) {
  status = 0;
  return OneEntry(container)->key;
}

void const* OneEntryDatOfElement(KrVContainer const* container, void const*, int& status,
                                 KrVParameter*) {
  status = 0;
  void const* dat = OneEntry(container)->dat;
  if (!dat) status = kKrNoDat;
  return dat;
}

unsigned long OneEntryFlagsOfElement(KrVContainer const* container, void const*, int& status,
                                     KrVParameter*) {
  status = 0;
  return OneEntry(container)->entryFlags;
}
