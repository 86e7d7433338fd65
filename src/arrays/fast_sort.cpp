// KrVArray::Sort's fast path: sorting the elements' addresses, verifying the
// order, then moving the elements; and the defined quicksort with exact
// shortcuts for equal and ascending ranges.
#include "arrays/fast_sort.h"

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <utility>

namespace kr_detail {

namespace {

// Copies one element of `Width` bytes (0: `width` bytes, known at run time
// only).
template <size_t Width>
struct ElementCopy {
  static void Copy(unsigned char* to, unsigned char const* from, size_t) {
    memcpy(to, from, Width);
  }
};
template <>
struct ElementCopy<0> {
  static void Copy(unsigned char* to, unsigned char const* from, size_t width) {
    memcpy(to, from, width);
  }
};

// A bottom-up merge sort of n elements of `width` bytes lying back to back
// in `a` (copies of the array's elements), using `b`, as large, for the
// merges; returns the buffer that ends sorted. The compare function sees
// addresses in the two buffers. A merge step takes an element without a
// branch on the comparison (whose outcome on unsorted input is a coin toss
// for the branch predictor), and every step is bounded by the runs' ends,
// whatever the compare function answers.
template <size_t Width>
class MergeSorter {
 public:
  MergeSorter(KrVArray& array, size_t width) : array_(array), width_(width) {}

  unsigned char* Sort(unsigned char* a, unsigned char* b, size_t n) const {
    for (size_t run = 1; run < n; run *= 2) {
      for (size_t start = 0; start < n; start += 2 * run) {
        size_t const middle = start + run < n ? start + run : n;
        size_t const end = start + 2 * run < n ? start + 2 * run : n;
        Merge(a + start * width_, a + middle * width_, a + end * width_, b + start * width_);
      }
      unsigned char* const t = a;
      a = b;
      b = t;
    }
    return a;
  }

 private:
  // Merges [left, middle) and [middle, end) into out: the smallest heads
  // from the front and the greatest tails from the back, one of each per
  // step, so that two chains of comparisons run side by side. Each take
  // checks that its run still has elements between the two ends, so the
  // output is a permutation of the input whatever the compare function says.
  void Merge(unsigned char* left, unsigned char* middle, unsigned char* end,
             unsigned char* out) const {
    size_t const w = width_;
    size_t const total = static_cast<size_t>(end - left) / w;
    unsigned char* leftFront = left;
    unsigned char* leftBack = middle - w;  // last untaken of the left run
    unsigned char* rightFront = middle;
    unsigned char* rightBack = end - w;
    unsigned char* outFront = out;
    unsigned char* outBack = out + (total - 1) * w;
    for (size_t step = 0; step < total / 2; ++step) {
      TakeFront(leftFront, leftBack, rightFront, rightBack, outFront);
      TakeBack(leftFront, leftBack, rightFront, rightBack, outBack);
    }
    if (total % 2 != 0) TakeFront(leftFront, leftBack, rightFront, rightBack, outFront);
  }

  // The smaller head (the left one on a tie) goes to the front.
  void TakeFront(unsigned char*& leftFront, unsigned char* leftBack, unsigned char*& rightFront,
                 unsigned char* rightBack, unsigned char*& out) const {
    bool const leftEmpty = leftFront > leftBack, rightEmpty = rightFront > rightBack;
    bool const right = leftEmpty || (!rightEmpty && array_.compare(&array_, rightFront, leftFront) < 0);
    ElementCopy<Width>::Copy(out, right ? rightFront : leftFront, width_);
    out += width_;
    rightFront += right ? width_ : 0;
    leftFront += right ? 0 : width_;
  }

  // The greater tail (the right one on a tie) goes to the back.
  void TakeBack(unsigned char* leftFront, unsigned char*& leftBack, unsigned char* rightFront,
                unsigned char*& rightBack, unsigned char*& out) const {
    bool const leftEmpty = leftFront > leftBack, rightEmpty = rightFront > rightBack;
    bool const left = rightEmpty || (!leftEmpty && array_.compare(&array_, rightBack, leftBack) < 0);
    ElementCopy<Width>::Copy(out, left ? leftBack : rightBack, width_);
    out -= width_;
    leftBack -= left ? width_ : 0;
    rightBack -= left ? 0 : width_;
  }

  KrVArray& array_;
  size_t const width_;
};

// A quicksort of element copies that keeps the comparisons independent of
// each other: each range is compared against a copy of its pivot (median
// of three) in one pass that only records the answers, and moved in a
// second pass without comparisons into the other buffer, three-way: smaller,
// equal, greater. Elements equal to the pivot are done; the other two parts
// go on from the other buffer. Every finished part is copied to the same
// place in `final` (one of the two buffers), which ends holding the sorted
// copies. Short ranges are finished by insertion sort, and a range whose
// depth budget runs out (only an inconsistent compare function gets there)
// by the merge sort. Indexes stay inside each range whatever the compare
// function answers, and each element lands exactly once.
template <size_t Width>
class PartitionSorter {
 public:
  PartitionSorter(KrVArray& array, unsigned char* final, unsigned char* pivot)
      : array_(array), width_(array.width), final_(final), pivot_(pivot) {}

  // Sorts n elements at `data`; `other` is the same place in the other buffer.
  void Sort(unsigned char* data, unsigned char* other, size_t n, int depthBudget) const {
    size_t const w = width_;
    if (n <= kInsertionSortMost) {
      InsertionSort(data, n);
      Finish(data, n);
      return;
    }
    if (depthBudget == 0) {
      Finish(MergeSorter<Width>(array_, w).Sort(data, other, n), n);
      return;
    }
    ElementCopy<Width>::Copy(pivot_, ChoosePivot(data, n), w);
    // Smaller than the pivot to the front of `other`, the rest to its back.
    size_t const smaller = Split(data, other, n, false);
    if (smaller > 0) {
      Sort(other, data, smaller, depthBudget - 1);
      Sort(other + smaller * w, data + smaller * w, n - smaller, depthBudget - 1);
      return;
    }
    // The pivot is the least: equal elements (done) to the front, greater
    // ones to the back, back in `data`.
    size_t const equal = Split(other, data, n, true);
    Finish(data, equal);
    Sort(data + equal * w, other + equal * w, n - equal, depthBudget - 1);
  }

  void SetBuffers(unsigned char* a, unsigned char* b, size_t bytes) {
    a_ = a;
    b_ = b;
    bytes_ = bytes;
  }

 private:
  static constexpr size_t kInsertionSortMost = 12;
  static constexpr size_t kMaxInlineWidth = 64;
  static constexpr size_t kNintherFrom = 128;
  static constexpr size_t kSampleFrom = 2048;
  static constexpr size_t kSamples = 31;

  // Moves the n elements at `from` into `to`: those that go first to its
  // front, the others to its back; returns how many went first. They go
  // first when smaller than the pivot, or with `equalFirst` when not greater
  // than it. Only the destination depends on the comparison, not which
  // element is compared next.
  size_t Split(unsigned char* from, unsigned char* to, size_t n, bool equalFirst) const {
    size_t const w = width_;
    size_t front = 0, back = n;
    for (size_t i = 0; i < n; ++i) {
      unsigned char* const element = from + i * w;
      bool const first = equalFirst ? !Less(pivot_, element) : Less(element, pivot_);
      ElementCopy<Width>::Copy(to + (first ? front : back - 1) * w, element, w);
      front += first;
      back -= !first;
    }
    return front;
  }

  bool Less(unsigned char* a, unsigned char* b) const {
    return array_.compare(&array_, a, b) < 0;
  }

  // The start of the buffer `p` lies in, to place the answers alongside.
  unsigned char* BufferStart(unsigned char* p) const {
    return p >= a_ && p < a_ + bytes_ ? a_ : b_;
  }

  unsigned char* Median(unsigned char* a, unsigned char* b, unsigned char* c) const {
    if (Less(b, a)) std::swap(a, b);
    if (Less(c, b)) b = Less(c, a) ? a : c;
    return b;
  }

  // The median of three elements, or of three such medians for long
  // ranges: a pivot closer to the true median saves comparisons later.
  unsigned char* ChoosePivot(unsigned char* data, size_t n) const {
    size_t const w = width_;
    unsigned char* const last = data + (n - 1) * w;
    unsigned char* const middle = data + (n / 2) * w;
    if (n < kNintherFrom) return Median(data, middle, last);
    if (n >= kSampleFrom && w <= kMaxInlineWidth) return SampleMedian(data, n);
    size_t const step = n / 8 * w;
    return Median(Median(data, data + step, data + 2 * step),
                  Median(middle - step, middle, middle + step),
                  Median(last - 2 * step, last - step, last));
  }

  // The median of kSamples elements spread over the range, found by sorting
  // copies of them; its copy is in `samples_`, which the caller copies.
  unsigned char* SampleMedian(unsigned char* data, size_t n) const {
    size_t const w = width_;
    for (size_t k = 0; k < kSamples; ++k) {
      ElementCopy<Width>::Copy(samples_ + k * w, data + (n / kSamples * k + n / (2 * kSamples)) * w, w);
    }
    InsertionSort(samples_, kSamples);
    return samples_ + kSamples / 2 * w;
  }

  void InsertionSort(unsigned char* data, size_t n) const {
    size_t const w = width_;
    unsigned char item[kMaxInlineWidth];
    if (w > kMaxInlineWidth) {
      SlowInsertionSort(data, n);
      return;
    }
    for (size_t i = 1; i < n; ++i) {
      ElementCopy<Width>::Copy(item, data + i * w, w);
      size_t j = i;
      for (; j > 0 && Less(item, data + (j - 1) * w); --j) {
        ElementCopy<Width>::Copy(data + j * w, data + (j - 1) * w, w);
      }
      ElementCopy<Width>::Copy(data + j * w, item, w);
    }
  }

  // Adjacent swaps through the pivot copy, for elements too wide for the
  // stack buffer.
  void SlowInsertionSort(unsigned char* data, size_t n) const {
    size_t const w = width_;
    for (size_t i = 1; i < n; ++i) {
      for (size_t j = i; j > 0 && Less(data + j * w, data + (j - 1) * w); --j) {
        memcpy(pivot_, data + j * w, w);
        memcpy(data + j * w, data + (j - 1) * w, w);
        memcpy(data + (j - 1) * w, pivot_, w);
      }
    }
  }

  // Copies a finished part into the final buffer, unless it is there.
  void Finish(unsigned char* data, size_t n) const {
    if (n == 0 || BufferStart(data) == final_) return;
    unsigned char* const to = final_ + (data - BufferStart(data));
    memcpy(to, data, n * width_);
  }

  KrVArray& array_;
  size_t const width_;
  unsigned char* const final_;
  unsigned char* const pivot_;
  mutable unsigned char samples_[kSamples * kMaxInlineWidth];
  unsigned char* a_ = nullptr;
  unsigned char* b_ = nullptr;
  size_t bytes_ = 0;
};

// Sorts the n element copies in `a` (with `b` as large, n answer bytes and
// room for one element): the sorted copies end in `a`.
template <size_t Width>
void PartitionSort(KrVArray& array, unsigned char* a, unsigned char* b, unsigned char* pivot,
                   size_t n, int depthBudget) {
  PartitionSorter<Width> sorter(array, a, pivot);
  sorter.SetBuffers(a, b, n * array.width);
  sorter.Sort(a, b, n, depthBudget);
}

void QuickSortCopies(KrVArray& array, unsigned char* a, unsigned char* b, unsigned char* pivot,
                     size_t n) {
  int depthBudget = 0;
  for (size_t rest = n; rest > 1; rest >>= 1) depthBudget += 2;
  switch (array.width) {
    case 4:
      return PartitionSort<4>(array, a, b, pivot, n, depthBudget);
    case 8:
      return PartitionSort<8>(array, a, b, pivot, n, depthBudget);
    case 16:
      return PartitionSort<16>(array, a, b, pivot, n, depthBudget);
    default:
      return PartitionSort<0>(array, a, b, pivot, n, depthBudget);
  }
}

// What one pass over the elements tells: whether they are already in order
// (ascending with equal neighbours byte-identical, or strictly descending)
// and whether they lie back to back. n - 1 compare calls at most.
struct Survey {
  bool ascending = true;
  bool descending = true;
  bool contiguous = true;
};

Survey SurveyElements(KrVArray& array) {
  Survey survey;
  size_t const width = array.width;
  unsigned char* const start = static_cast<unsigned char*>(array.Element(0));
  unsigned char* previous = start;
  for (unsigned long i = 1; i < array.count; ++i) {
    unsigned char* const current = static_cast<unsigned char*>(array.Element(i));
    survey.contiguous = survey.contiguous && current == start + i * width;
    if (survey.ascending || survey.descending) {
      int const c = array.compare(&array, previous, current);
      if (c > 0 || (c == 0 && memcmp(previous, current, width) != 0)) survey.ascending = false;
      if (c <= 0) survey.descending = false;
    }
    previous = current;
  }
  return survey;
}

// The sorted copies are in the order the defined algorithm gives: every pair
// of neighbours strictly ascending, or equal and byte-identical.
bool CertainlyTheSame(KrVArray& array, unsigned char* sorted, size_t n) {
  size_t const width = array.width;
  for (size_t i = 1; i < n; ++i) {
    unsigned char* const a = sorted + (i - 1) * width;
    unsigned char* const b = a + width;
    int const c = array.compare(&array, a, b);
    if (c < 0) continue;
    if (c > 0 || memcmp(a, b, width) != 0) return false;
  }
  return true;
}

// Whether every element of first..last compares equal to the first one.
bool AllEqualToFirst(KrVArray& array, long first, long last) {
  void* const pivot = array.Element(static_cast<unsigned long>(first));
  for (long i = first + 1; i <= last; ++i) {
    if (array.compare(&array, array.Element(static_cast<unsigned long>(i)), pivot) != 0) {
      return false;
    }
  }
  return true;
}

bool StrictlyAscending(KrVArray& array, long first, long last) {
  for (long i = first + 1; i <= last; ++i) {
    if (array.compare(&array, array.Element(static_cast<unsigned long>(i - 1)),
                      array.Element(static_cast<unsigned long>(i))) >= 0) {
      return false;
    }
  }
  return true;
}

void RotateLeftByOne(KrVArray& array, long first, long last, void* scratch) {
  size_t const width = array.width;
  memcpy(scratch, array.Element(static_cast<unsigned long>(first)), width);
  for (long i = first; i < last; ++i) {
    memcpy(array.Element(static_cast<unsigned long>(i)),
           array.Element(static_cast<unsigned long>(i + 1)), width);
  }
  memcpy(array.Element(static_cast<unsigned long>(last)), scratch, width);
}

}  // namespace

bool SortFast(KrVArray& array, void*) {
  unsigned long const n = array.count;
  size_t const width = array.width;
  Survey const survey = SurveyElements(array);
  if (survey.ascending) return true;
  // Two buffers of copies and the pivot's copy.
  if (width == 0 || n > (SIZE_MAX - width) / (2 * width)) return false;
  unsigned char* const buffers = static_cast<unsigned char*>(malloc(2 * n * width + width));
  if (!buffers) return false;
  unsigned char* const other = buffers + n * width;
  unsigned char* const pivot = other + n * width;
  // Elements that lie back to back (as in both of the library's arrays) are
  // copied as one block each way.
  unsigned char* const start = static_cast<unsigned char*>(array.Element(0));
  if (survey.contiguous) {
    memcpy(buffers, start, n * width);
  } else {
    for (unsigned long i = 0; i < n; ++i) memcpy(buffers + i * width, array.Element(i), width);
  }
  unsigned char* sorted = buffers;
  bool same = true;
  if (survey.descending) {  // strictly descending: reversed it is the order
    for (unsigned long i = 0; i < n; ++i) {
      memcpy(other + i * width, buffers + (n - 1 - i) * width, width);
    }
    sorted = other;
  } else {
    QuickSortCopies(array, buffers, other, pivot, n);
    same = CertainlyTheSame(array, sorted, n);
  }
  if (same && survey.contiguous) {
    memcpy(start, sorted, n * width);
  } else if (same) {
    for (unsigned long i = 0; i < n; ++i) memcpy(array.Element(i), sorted + i * width, width);
  }
  free(buffers);
  return same;
}

int QuickSortWithShortcuts(KrVArray& array, long first, long last, void* scratch) {
  while (first < last) {
    // The defined partition of a range of elements equal to its first swaps
    // the first and the last and goes on with the range before the last:
    // the range ends rotated left by one. An ascending range partitions
    // around its first element without a move, and so on down.
    if (AllEqualToFirst(array, first, last)) {
      RotateLeftByOne(array, first, last, scratch);
      return 0;
    }
    if (StrictlyAscending(array, first, last)) return 0;
    long const p = array._Partition(first, last, scratch);
    if (p - first < last - p) {
      QuickSortWithShortcuts(array, first, p - 1, scratch);
      first = p + 1;
    } else {
      QuickSortWithShortcuts(array, p + 1, last, scratch);
      last = p - 1;
    }
  }
  return 0;
}

}  // namespace kr_detail
