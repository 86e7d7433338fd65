// KrVArray: binary search, sorted insertion and quicksort over any array
// that provides indexed element access.
#include <kr/arrays.h>

#include <stdlib.h>
#include <string.h>

#include "arrays/fast_sort.h"
#include "arrays/poison.h"

namespace {

// Copies one element; nothing for width 0 (whose addresses may be null).
void CopyElement(void* to, void const* from, unsigned short width) {
  if (width != 0 && to && from) memcpy(to, from, width);
}

}  // namespace

KrVArray::KrVArray(unsigned short elementWidth) : compare(nullptr), count(0), width(elementWidth) {}

KrVArray::KrVArray(KrVArray const& other)
    : compare(other.compare), count(other.count), width(other.width) {}

KrVArray::~KrVArray() {
  kr_detail::PoisonField(compare, static_cast<KrArrayCompare>(nullptr));
  kr_detail::PoisonField(count, kr_detail::kPoisonedCount);
  kr_detail::PoisonField(width, kr_detail::kPoisonedWidth);
}

unsigned long KrVArray::GetMaxCount() const { return 0xFFFFFFFFul; }

int KrVArray::SortedInsert(void const* key, unsigned long* position, int allowDuplicates,
                           int copyKey) {
  unsigned long local = 0;
  unsigned long* at = position ? position : &local;
  int const found = Search(key, at, nullptr);
  if (found == kKrArrayOk) {
    if (!allowDuplicates) return kKrArrayDuplicate;
    ++*at;  // directly after the element that matched
  }
  return Insert(*at, copyKey ? key : nullptr);
}

int KrVArray::Search(void const* key, unsigned long* position, void* out) const {
  if (position) *position = 0;
  long hi = static_cast<long>(count) - 1;
  if (hi < 0) return kKrArrayBadIndex;
  long lo = 0;
  long mid = 0;
  int c = 0;
  // lo <= mid <= hi inside the loop, so no compare result, however
  // inconsistent, leads outside the array.
  for (;;) {
    mid = (lo + hi) >> 1;
    c = compare(this, const_cast<void*>(key), Element(static_cast<unsigned long>(mid)));
    if (c >= 0) {
      lo = mid + 1;
    } else {
      hi = mid - 1;
    }
    if (c == 0 || lo > hi) break;
  }
  if (c > 0) ++mid;  // a miss after a greater key: insert behind `mid`
  if (position) *position = static_cast<unsigned long>(mid);
  if (c != 0) return kKrArrayBadIndex;
  if (out) CopyElement(out, Element(static_cast<unsigned long>(mid)), width);
  return kKrArrayOk;
}

int KrVArray::SearchAt(unsigned long index, void* key, void* out) const {
  if (index >= count) return kKrArrayBadIndex;
  void* element = Element(index);
  int const c = compare(this, key, element);
  // The raw value tells "before" from "after" by its sign.
  if (c != 0 || !out) return c;
  CopyElement(out, element, width);
  return kKrArrayOk;
}

int KrVArray::Sort(unsigned short) {
  if (!compare) return kKrArrayNoCompare;
  // Allocated even when there is nothing to sort.
  void* scratch = malloc(width);
  if (!scratch) return kKrArrayNoSortMemory;
  long const last = count == 0 ? 0 : static_cast<long>(count - 1);
  if (count < kr_detail::kFastSortMinimum) {
    if (last > 0) _QuickSort(0, last, scratch);
  } else if (!kr_detail::SortFast(*this, scratch)) {
    kr_detail::QuickSortWithShortcuts(*this, 0, last, scratch);
  }
  free(scratch);
  return kKrArrayOk;
}

int KrVArray::Merge(KrVArray const*, unsigned short) { return kKrArrayNotSupported; }

int KrVArray::_QuickSort(long first, long last, void* scratch) {
  // Partitions of disjoint ranges do not affect each other, so the order in
  // which the two sides are sorted does not change the result; taking the
  // smaller side by recursion bounds the depth.
  while (first < last) {
    long const p = _Partition(first, last, scratch);
    if (p - first < last - p) {
      _QuickSort(first, p - 1, scratch);
      first = p + 1;
    } else {
      _QuickSort(p + 1, last, scratch);
      last = p - 1;
    }
  }
  return 0;
}

long KrVArray::_Partition(long first, long last, void* scratch) {
  // The pivot stays at `first` and is compared there; i never passes last
  // and j never passes first, whatever the compare function answers.
  void* const pivot = Element(static_cast<unsigned long>(first));
  long i = first;
  long j = last;
  if (first < last) {
    for (;;) {
      while (compare(this, Element(static_cast<unsigned long>(i)), pivot) <= 0 && i < last) ++i;
      while (compare(this, Element(static_cast<unsigned long>(j)), pivot) > 0 && j > first) --j;
      if (i >= j) break;
      _Swap(static_cast<unsigned long>(i), static_cast<unsigned long>(j), scratch);
    }
  }
  // Done even when j == first.
  _Swap(static_cast<unsigned long>(first), static_cast<unsigned long>(j), scratch);
  return j;
}

void KrVArray::_Swap(unsigned long i, unsigned long j, void* scratch) {
  void* const a = Element(i);
  void* const b = Element(j);
  CopyElement(scratch, a, width);
  if (a != b) CopyElement(a, b, width);  // memcpy must not copy onto itself
  CopyElement(b, scratch, width);
}
