// The default element functions every container starts with.
#include <kr/containers.h>

#include <cstring>

int DefaultConstructorElement(KrVContainer* container, void* destination, KrVIterator const*,
                              void const* key, void const*, KrVParameter*) {
  std::memcpy(destination, key, container->elementSize);
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
