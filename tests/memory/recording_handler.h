// A low-memory handler for tests: records the sizes it is called with and
// answers a chosen value. It is installed for the lifetime of the object and
// the previous handler restored afterwards. It records into a fixed array, so
// that it allocates nothing while allocations are being made to fail.
#ifndef KR_TESTS_MEMORY_RECORDING_HANDLER_H_
#define KR_TESTS_MEMORY_RECORDING_HANDLER_H_

#include <kr/memory.h>

namespace kr_test {

class RecordingHandler {
 public:
  static const int kMaxCalls = 8;

  explicit RecordingHandler(int answer = 0) : previous_(mmKrSetHandler(&Record)) {
    calls = 0;
    answer_ = answer;
  }
  ~RecordingHandler() { mmKrSetHandler(previous_); }
  RecordingHandler(RecordingHandler const&) = delete;
  RecordingHandler& operator=(RecordingHandler const&) = delete;

  static int Record(unsigned long size) {
    if (calls < kMaxCalls) sizes[calls] = size;
    ++calls;
    return answer_;
  }

  static inline int calls = 0;
  static inline unsigned long sizes[kMaxCalls] = {};

 private:
  static inline int answer_ = 0;
  KrMemoryHandler previous_;
};

}  // namespace kr_test

#endif  // KR_TESTS_MEMORY_RECORDING_HANDLER_H_
