// Makes heap allocations fail on purpose, for tests of out-of-memory paths.
//
// A test binary that links kr_test_failing_alloc replaces malloc, calloc and
// realloc for the whole process, the shared library included: every call is
// passed to the real allocator except the one chosen to fail, which returns
// null as an exhausted heap would (realloc leaves the old block alone). The
// counters are process-wide and unsynchronised; arm them from one thread.
#ifndef KR_TESTS_SUPPORT_FAILING_ALLOC_H_
#define KR_TESTS_SUPPORT_FAILING_ALLOC_H_

#include <cstddef>

namespace kr_test {

// Fails the `n`-th allocation call from now (1 = the very next one) and only
// that one; 0 disarms. Frees never count.
void FailNthAllocation(unsigned long n);

// Fails every allocation call from the `n`-th on, until disarmed.
void FailAllocationsFrom(unsigned long n);

// Stops failing.
void StopFailingAllocations();

// Allocation calls seen since the last arming (or since start).
unsigned long AllocationCalls();

// Allocation calls that were made to fail since the last arming.
unsigned long FailedAllocations();

// Size requested by the most recent allocation call that was made to fail.
std::size_t LastFailedSize();

// Blocks allocated and not yet freed (all calls, counted or not): a balance
// taken before and after a piece of code shows what it leaked.
long LiveBlocks();

// While one exists, allocation calls neither count nor fail: for a test's own
// bookkeeping (models, messages) between the calls under test.
class Uncounted {
 public:
  Uncounted();
  ~Uncounted();
  Uncounted(Uncounted const&) = delete;
  Uncounted& operator=(Uncounted const&) = delete;

 private:
  bool outer_;
};

// Arms on construction, disarms on destruction.
class AllocationFailure {
 public:
  // Fails the `n`-th call from now, or with `fromThereOn` every call from it.
  explicit AllocationFailure(unsigned long n, bool fromThereOn = false) {
    if (fromThereOn) {
      FailAllocationsFrom(n);
    } else {
      FailNthAllocation(n);
    }
  }
  ~AllocationFailure() { StopFailingAllocations(); }
  AllocationFailure(AllocationFailure const&) = delete;
  AllocationFailure& operator=(AllocationFailure const&) = delete;
};

}  // namespace kr_test

#endif  // KR_TESTS_SUPPORT_FAILING_ALLOC_H_
