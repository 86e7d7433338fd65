// Heap allocations made to fail on purpose, for tests of out-of-memory paths.
//
// A test binary that links kr_test_failing_alloc replaces malloc, calloc and realloc for the whole
// process, the shared library included: each call goes to the real allocator except those chosen to
// fail, which return null as an exhausted heap would (realloc keeps the old block). Frees never
// count. The counters are process-wide and unsynchronised: arm them from one thread.
#ifndef KR_TESTS_SUPPORT_FAILING_ALLOC_H_
#define KR_TESTS_SUPPORT_FAILING_ALLOC_H_

#include <cstddef>

namespace kr_test {

// Arming resets the counters. Fails the `n`-th call from now (1: the next
// one) and only that one; 0 counts calls and fails none.
void FailNthAllocation(unsigned long n);
// Fails every call from the `n`-th on.
void FailAllocationsFrom(unsigned long n);
void StopFailingAllocations();

unsigned long AllocationCalls();    // since the last arming
unsigned long FailedAllocations();  // since the last arming
std::size_t LastFailedSize();       // of the latest failed call
// Blocks allocated and not yet freed, counted or not: a balance taken before
// and after a piece of code shows what it leaked.
long LiveBlocks();

// While one exists, calls neither count nor fail: for a test's own
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

// Armed for its lifetime: the `n`-th call fails, or every call from it on.
struct AllocationFailure {
  explicit AllocationFailure(unsigned long n, bool fromThereOn = false) {
    fromThereOn ? FailAllocationsFrom(n) : FailNthAllocation(n);
  }
  ~AllocationFailure() { StopFailingAllocations(); }
  AllocationFailure(AllocationFailure const&) = delete;
  AllocationFailure& operator=(AllocationFailure const&) = delete;
};

}  // namespace kr_test

#endif  // KR_TESTS_SUPPORT_FAILING_ALLOC_H_
