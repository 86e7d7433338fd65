// A low-memory handler, installed for the object's lifetime, that records the sizes it is called
// with (in a fixed array: it must not allocate while allocations fail) and gives a chosen answer.
#ifndef KR_TESTS_SUPPORT_RECORDING_HANDLER_H_
#define KR_TESTS_SUPPORT_RECORDING_HANDLER_H_

#include <kr/memory.h>

namespace kr_test {

struct RecordingHandler {
  explicit RecordingHandler(int answer = 0) : previous(mmKrSetHandler(&Record)) {
    calls = 0;
    answer_ = answer;
  }
  ~RecordingHandler() { mmKrSetHandler(previous); }
  static int Record(unsigned long size) {
    if (calls < 8) sizes[calls] = size;
    return ++calls, answer_;
  }
  static inline int calls = 0, answer_ = 0;
  static inline unsigned long sizes[8] = {};
  KrMemoryHandler const previous;
};

}  // namespace kr_test

#endif  // KR_TESTS_SUPPORT_RECORDING_HANDLER_H_
