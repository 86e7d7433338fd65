// The fast path of KrVArray::Sort for arrays of kFastSortMinimum elements or
// more.
//
// The defined sort (first-element-pivot quicksort) is quadratic on sorted,
// reverse-sorted and few-distinct input. When every element is distinct
// under the compare function the ascending order is unique, so any correct
// sort leaves the same array; and where elements that compare equal are also
// byte-identical, their order does not show. So one pass first looks for an
// array already in ascending order (nothing to do) or strictly descending
// (reversed it is sorted); otherwise copies of the elements are sorted by a
// quicksort whose comparisons do not wait on each other, the result is
// verified - every pair of neighbours compares strictly ascending, or equal
// and byte-identical - and only then written back. When the check fails, or
// the memory for the copies cannot be had, nothing has moved and the caller
// runs the defined algorithm. The compare function is then called in
// another order and another number of times than the defined algorithm
// would call it, and with addresses of copies of the elements; for a compare
// function that orders by the elements' bytes, consistently, the array ends
// the same.
//
// The compare function may be inconsistent: every index stays inside the
// array whatever it answers, and every loop ends.
#ifndef KR_SRC_ARRAYS_FAST_SORT_H_
#define KR_SRC_ARRAYS_FAST_SORT_H_

#include <kr/arrays.h>

namespace kr_detail {

// Below this many elements Sort runs the defined algorithm itself: each
// partition makes exactly its defined sequence of compare calls (only the
// order in which the two sides of a partition are sorted may differ).
constexpr unsigned long kFastSortMinimum = 64;

// Sorts `array` as described above. Returns false, with the array as it
// was, when the result would not be certain to equal the defined
// algorithm's or memory ran out. `scratch` (one element) is not needed.
// Requires: a compare function; array.count >= 2.
bool SortFast(KrVArray& array, void* scratch);

// The defined quicksort's result on elements first..last, with two exact
// shortcuts for ranges: one whose elements all compare equal to its first
// ends rotated left by one; one whose neighbours all compare strictly
// ascending stays as it is (each costs a scan of compare calls, so it is
// used only where the exact sequence of calls need not be kept). Returns 0.
int QuickSortWithShortcuts(KrVArray& array, long first, long last, void* scratch);

}  // namespace kr_detail

#endif  // KR_SRC_ARRAYS_FAST_SORT_H_
