// KrVContainerDiffer: the multiset difference of two ordered sequences,
// walked in step, with unmatched elements parked in a counting diff list.
#include <kr/containers.h>

#include <stdint.h>

namespace {

// A diff list's second way of saying "no such entry".
const int kNotFoundElsewhere = -511;

// Mismatch budget: ratio x the larger count, capped, with a floor of ten
// mismatches for a small positive ratio.
const uint32_t kUnlimitedBudget = 0xFFFFFFFFu;
const long double kBudgetCap = 4294967295.0L;
const uint32_t kSmallRatioBudget = 10;

// Bit 0 of the parameter's `aux`: the element came from (or is written for)
// the second sequence.
const uintptr_t kSecondSideBit = 1;

// What the walk does with the current elements after the comparison step.
enum Mode {
  kInStep = 0,      // nothing: both sides agree (or an element went out)
  kParkFirst = 1,   // park the first side's element, or cancel its twin
  kParkSecond = 2   // the same for the second side's element
};

uint32_t MismatchBudget(double ratio, unsigned long larger) {
  long double product = static_cast<long double>(ratio) * static_cast<long double>(larger);
  if (product != product || product >= kBudgetCap) return kUnlimitedBudget;
  // A negative ratio has no meaning; it allows no comparison, as 0 does.
  if (!(product > 0)) return 0;
  uint32_t budget = static_cast<uint32_t>(product);
  return budget == 0 ? kSmallRatioBudget : budget;
}

unsigned long CountOf(KrVIterator const* iterator) {
  return iterator->container ? iterator->container->count : 0;
}

// One of the two sequences being compared.
struct Side {
  KrVIterator* iterator;
  KrVContainer* output;   // receives what only this side holds
  unsigned long pending;  // diff-list entries parked from this side, not cancelled
  bool isSecond;

  // An iterator with a nonzero status has no element left to offer.
  bool Done() const { return iterator->status != 0; }
};

// The state of one Diff call.
class DiffRun {
 public:
  DiffRun(KrVIterator* first, KrVIterator* second, KrVContainer* onlyInFirst,
          KrVContainer* onlyInSecond, KrDiffListIteratorInterface* list)
      : list_(list), written_(false) {
    sides_[0] = Side{first, onlyInFirst, 0, false};
    sides_[1] = Side{second, onlyInSecond, 0, true};
  }

  int Run(double ratio);

 private:
  Side& First() { return sides_[0]; }
  Side& Second() { return sides_[1]; }
  Side& Other(Side const& side) { return side.isSecond ? sides_[0] : sides_[1]; }

  void MarkSide(Side const& side);
  static int Start(Side& side);
  static int Advance(Side& side);
  int Write(Side& side);
  int WriteAndAdvance(Side& side);
  int Park(Side& side, Mode& mode);
  int Walk(uint32_t budget);
  int Drain();

  KrDiffListIteratorInterface* list_;
  KrVParameter parameter_;  // carries the side bit to the diff list and outputs
  Side sides_[2];
  bool written_;
};

void DiffRun::MarkSide(Side const& side) {
  uintptr_t aux = reinterpret_cast<uintptr_t>(parameter_.aux);
  aux = side.isSecond ? (aux | kSecondSideBit) : (aux & ~kSecondSideBit);
  parameter_.aux = reinterpret_cast<void*>(aux);
}

// First: an empty container (-521) is no error.
int DiffRun::Start(Side& side) {
  int result = side.iterator->First();
  return result == kKrBeforeFirst ? 0 : result;
}

// Next: the end of the sequence (-522) is no error.
int DiffRun::Advance(Side& side) {
  int result = side.iterator->Next();
  return result == kKrAfterLast ? 0 : result;
}

// Writes the side's current element into the side's output.
int DiffRun::Write(Side& side) {
  MarkSide(side);
  int result = side.output->InsertElement(side.iterator, nullptr, 0, &parameter_);
  written_ = true;
  return result;
}

int DiffRun::WriteAndAdvance(Side& side) {
  int result = Write(side);
  return result < 0 ? result : Advance(side);
}

// Parks the side's current element in the diff list, or cancels a twin the
// other side parked; an element the other side can no longer match goes out
// at once. Then moves the side on. After parking, the other side's turn.
int DiffRun::Park(Side& side, Mode& mode) {
  Side& other = Other(side);
  int result = list_->SearchElement(side.iterator, nullptr, 0, nullptr);
  if (result >= 0) {
    int* count = list_->DiffCount();
    if (!count) return kKrNotImplemented;  // guard: a list that found an entry without a count
    *count += side.isSecond ? 1 : -1;
    if (*count == 0) {
      result = list_->DeleteElement(0, nullptr);
      if (result < 0) return result;
      --other.pending;
    }
  } else if (result == kKrNotFound || result == kNotFoundElsewhere) {
    if (other.Done()) {
      result = Write(side);
    } else {
      MarkSide(side);
      result = list_->InsertElement(side.iterator, nullptr, 0, &parameter_);
      ++side.pending;
      mode = side.isSecond ? kParkFirst : kParkSecond;
    }
    if (result < 0) return result;
  } else {
    return result;
  }
  return Advance(side);
}

// The main loop: in step while the elements agree; where they disagree (or
// once the budget is spent) through the diff list; a side whose partner is
// done and has nothing parked goes straight to its output.
int DiffRun::Walk(uint32_t budget) {
  uint32_t mismatches = 0;
  Mode mode = kParkFirst;
  for (;;) {
    int result = 0;
    bool firstDone = First().Done();
    bool secondDone = Second().Done();
    if (firstDone && secondDone) return 0;
    if (firstDone) {
      if (First().pending == 0) {
        result = WriteAndAdvance(Second());
        mode = kInStep;
      } else {
        mode = kParkSecond;
      }
    } else if (secondDone) {
      if (Second().pending != 0) {
        mode = kParkFirst;
      } else {
        result = WriteAndAdvance(First());
        mode = kInStep;
      }
    } else if (mismatches < budget) {
      int keyComparison = 0;
      int order = 0;
      result = First().iterator->CompareElement(Second().iterator, nullptr, keyComparison, order,
                                                nullptr);
      if (result < 0) return result;
      if (keyComparison != 0 || order != 0) {
        ++mismatches;
        if (mode == kInStep) mode = kParkFirst;
      } else {
        result = Advance(First());
        if (result >= 0) result = Advance(Second());
        mode = kInStep;
      }
    }
    // Once the budget is spent the mode is never kInStep here: the mismatch
    // that spent it chose a side to park, and parking only alternates.
    if (result >= 0 && mode == kParkFirst) result = Park(First(), mode);
    if (result >= 0 && mode == kParkSecond) result = Park(Second(), mode);
    if (result < 0) return result;
  }
}

// Writes every entry left in the diff list as often as its count says.
int DiffRun::Drain() {
  int result = list_->First();
  while (result >= 0) {
    int* count = list_->DiffCount();
    if (!count) return kKrNotImplemented;  // guard: a list entry without a count
    for (int c = *count; c != 0;) {
      Side& side = c < 0 ? First() : Second();
      MarkSide(side);
      result = side.output->InsertElement(list_, nullptr, 0, &parameter_);
      written_ = true;
      if (result < 0) {
        // An output that reports an end of sequence ends the draining quietly.
        if (result == kKrAfterLast || result == kKrBeforeFirst) return written_ ? 1 : 0;
        return result;
      }
      c += c < 0 ? 1 : -1;
    }
    result = list_->Next();
  }
  if (result == kKrAfterLast || result == kKrBeforeFirst) result = 0;
  if (result < 0) return result;
  return written_ ? 1 : 0;
}

int DiffRun::Run(double ratio) {
  unsigned long larger = CountOf(First().iterator);
  if (CountOf(Second().iterator) > larger) larger = CountOf(Second().iterator);
  uint32_t budget = MismatchBudget(ratio, larger);

  int result = Start(First());
  if (result < 0) return result;
  result = Start(Second());
  if (result < 0) return result;
  result = Walk(budget);
  if (result < 0) return result;
  return Drain();
}

}  // namespace

KrDiffListIteratorInterface::KrDiffListIteratorInterface(KrVContainer* owner)
    : KrVIterator(nullptr, owner) {}

KrDiffListIteratorInterface::~KrDiffListIteratorInterface() {}

KrVContainerDiffer::KrVContainerDiffer() : diffList(nullptr) {}

int KrVContainerDiffer::Diff(KrVIterator* first, KrVIterator* second, KrVContainer* onlyInFirst,
                             KrVContainer* onlyInSecond, double ratio) {
  // Guard: without a diff list nothing could be parked or drained.
  if (!diffList) return kKrNotImplemented;
  DiffRun run(first, second, onlyInFirst, onlyInSecond, diffList);
  return run.Run(ratio);
}
