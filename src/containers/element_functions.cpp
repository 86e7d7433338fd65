// The default element functions every container starts with.
#include <kr/containers.h>

#include <cstring>

namespace {

// memcpy of a size known only at run time, inline for the common small
// element sizes (a call costs more than the copy there).
void CopyElement(void* destination, void const* source, unsigned long size) {
  switch (size) {
    case 4:
      std::memcpy(destination, source, 4);
      break;
    case 8:
      std::memcpy(destination, source, 8);
      break;
    case 16:
      std::memcpy(destination, source, 16);
      break;
    default:
      std::memcpy(destination, source, size);
  }
}

}  // namespace

int DefaultConstructorElement(KrVContainer* container, void* destination, KrVIterator const*,
                              void const* key, void const*, KrVParameter*) {
  CopyElement(destination, key, container->elementSize);
  return 0;
}

int DefaultCompareElement(KrVContainer const*, int& keyComparison, int& order,
                          KrVIterator const*, void const*, void const*, void const*,
                          KrVParameter*) {
  keyComparison = 0;
  order = 0;
  return 0;
}

void const* DefaultKeyOfElement(KrVContainer const*, void const* element, int& status,
                                KrVParameter*) {
  status = 0;
  return element;
}

void const* DefaultDatOfElement(KrVContainer const*, void const*, int& status, KrVParameter*) {
  status = kKrNoDat;
  return nullptr;
}

unsigned long DefaultFlagsOfElement(KrVContainer const*, void const*, int& status,
                                    KrVParameter*) {
  status = 0;
  return 1;
}
