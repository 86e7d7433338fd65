// A low-memory handler for tests that records the sizes it is called with
// (into a fixed array: it must not allocate while allocations fail) and gives
// a chosen answer; installed for the object's lifetime.
#ifndef KR_TESTS_SUPPORT_RECORDING_HANDLER_H_
#define KR_TESTS_SUPPORT_RECORDING_HANDLER_H_

#include <kr/memory.h>

namespace kr_test {

class RecordingHandler {
 public:
  explicit RecordingHandler(int answer = 0) : previous_(mmKrSetHandler(&Record)) {
    calls = 0;
    answer_ = answer;
  }
  ~RecordingHandler() { mmKrSetHandler(previous_); }

  static int Record(unsigned long size) {
    if (calls < 8) sizes[calls] = size;
    ++calls;
    return answer_;
  }

  static inline int calls = 0;
  static inline unsigned long sizes[8] = {};

 private:
  static inline int answer_ = 0;
  KrMemoryHandler previous_;
};

}  // namespace kr_test

#endif  // KR_TESTS_SUPPORT_RECORDING_HANDLER_H_
