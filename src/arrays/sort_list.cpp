// SortList: a memory-file list that carries its compare function from the
// start.
#include <kr/arrays.h>

namespace {

// The width the list part is first built with, before Init sets the real one.
constexpr unsigned short kProvisionalWidth = 4;

}  // namespace

SortList::SortList(unsigned short elementWidth, KrArrayCompare compareFunction,
                   unsigned long initialCapacity)
    : KrLList(kProvisionalWidth, 0, nullptr) {
  compare = compareFunction;
  KrLList::Init(elementWidth, initialCapacity);
}

SortList::SortList(SortList const& source) : KrLList(source) {}

SortList::~SortList() {}

int SortList::Init(unsigned short elementWidth, KrArrayCompare compareFunction,
                   unsigned long capacity) {
  compare = compareFunction;
  return KrLList::Init(elementWidth, capacity);
}
