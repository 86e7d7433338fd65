// A plain model of the record compressor for differential tests: one byte at
// a time, the pending stretch kept in a vector of its own, each rule written
// out as defined. DScomp must give the same result and the same bytes.
#ifndef KR_TESTS_SUPPORT_COMPRESS_MODEL_H_
#define KR_TESTS_SUPPORT_COMPRESS_MODEL_H_

#include <vector>

namespace kr_test {

struct ModelResult {
  int rc = -1;
  std::vector<unsigned char> out;  // the compressed bytes when rc is 0
};

// `first` stands for src[0] of an empty record (it is read in every case).
inline ModelResult ModelCompress(std::vector<unsigned char> const& src, long capacity,
                                 unsigned char first = 0) {
  ModelResult r;
  auto room = [&](long bytes) { return static_cast<long>(r.out.size()) + bytes <= capacity; };
  auto emit = [&](long count, std::vector<unsigned char> const& pending, bool literal) {
    if (literal) r.out.push_back(0);
    r.out.push_back(static_cast<unsigned char>(count));
    if (!literal) r.out.push_back(pending.back());
    if (literal) r.out.insert(r.out.end(), pending.begin(), pending.begin() + count);
  };
  long const srcLen = static_cast<long>(src.size());
  std::vector<unsigned char> pending(1, src.empty() ? first : src[0]);
  long run = 1;
  for (long taken = 1; srcLen >= 2 && capacity >= 1;) {
    unsigned char const b = src[taken];
    bool const equal = b == pending.back();
    pending.push_back(b);
    long const size = static_cast<long>(pending.size());
    if (equal && ++run == 256 && size == run) {
      if (!room(257)) return r;
      emit(255, pending, false);
      pending.assign(1, b);
      run = 1;
    } else if (equal && size > run && (run > 2 || size == 256)) {
      if (!room(size - run + 2)) return r;
      emit(size - run, pending, true);
      pending.erase(pending.begin(), pending.begin() + (size - run));
    } else if (!equal && run <= 2) {
      run = 1;
      if (size == 256) {
        if (!room(257)) return r;
        emit(255, pending, true);
        pending.assign(1, b);
      }
    } else if (!equal) {
      if (!room(2)) return r;
      pending.pop_back();
      emit(run, pending, false);
      pending.assign(1, b);
      run = 1;
    }
    if (++taken >= srcLen || static_cast<long>(r.out.size()) >= capacity) break;
  }
  long const size = static_cast<long>(pending.size());
  bool const literal = size > run;
  if (static_cast<long>(r.out.size()) + (literal ? size + 2 : 2) >= capacity) return r;
  emit(size, pending, literal);
  r.rc = 0;
  return r;
}

}  // namespace kr_test

#endif  // KR_TESTS_SUPPORT_COMPRESS_MODEL_H_
