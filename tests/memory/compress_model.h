// A plain model of the record compressor for differential tests: one byte at
// a time, the pending stretch kept in a vector of its own, each rule written
// out as the compressor's behaviour is defined. Slow and obviously faithful;
// the library's DScomp must give the same result and the same bytes.
#ifndef KR_TESTS_MEMORY_COMPRESS_MODEL_H_
#define KR_TESTS_MEMORY_COMPRESS_MODEL_H_

#include <vector>

namespace kr_test {

struct ModelResult {
  int rc = -1;
  std::vector<unsigned char> out;  // the compressed bytes when rc is 0
};

// `first` stands for src[0] when the record is empty (the compressor reads
// it in every case).
inline ModelResult ModelCompress(std::vector<unsigned char> const& src, int capacity,
                                 unsigned char first = 0) {
  ModelResult result;
  std::vector<unsigned char>& out = result.out;
  auto room = [&](long bytes) { return static_cast<long>(out.size()) + bytes <= capacity; };
  auto emitRun = [&](long count, unsigned char value) {
    out.push_back(static_cast<unsigned char>(count));
    out.push_back(value);
  };
  auto emitLiteral = [&](std::vector<unsigned char> const& bytes, long count) {
    out.push_back(0);
    out.push_back(static_cast<unsigned char>(count));
    out.insert(out.end(), bytes.begin(), bytes.begin() + count);
  };

  long const srcLen = static_cast<long>(src.size());
  unsigned char current = src.empty() ? first : src[0];
  std::vector<unsigned char> pendingBytes(1, current);
  long run = 1;
  long taken = 1;
  if (srcLen >= 2 && capacity >= 1) {
    while (true) {
      unsigned char const b = src[taken];
      if (b == current) {
        ++run;
        pendingBytes.push_back(b);
        long const pending = static_cast<long>(pendingBytes.size());
        if (pending <= run && run == 256) {
          if (!room(257)) return result;
          emitRun(255, current);
          pendingBytes.assign(1, current);
          run = 1;
        } else if (pending > run && (run > 2 || pending == 256)) {
          if (!room(pending - run + 2)) return result;
          emitLiteral(pendingBytes, pending - run);
          pendingBytes.erase(pendingBytes.begin(), pendingBytes.begin() + (pending - run));
        }
      } else if (run <= 2) {
        pendingBytes.push_back(b);
        if (pendingBytes.size() == 256) {
          if (!room(257)) return result;
          emitLiteral(pendingBytes, 255);
          pendingBytes.assign(1, b);
        }
        current = b;
        run = 1;
      } else {
        if (!room(2)) return result;
        emitRun(run, current);
        pendingBytes.assign(1, b);
        run = 1;
        current = b;
      }
      ++taken;
      if (taken >= srcLen || static_cast<long>(out.size()) >= capacity) break;
    }
  }
  long const pending = static_cast<long>(pendingBytes.size());
  long const size = pending <= run ? 2 : pending + 2;
  if (static_cast<long>(out.size()) + size >= capacity) return result;
  if (pending <= run) {
    emitRun(pending, current);
  } else {
    emitLiteral(pendingBytes, pending);
  }
  result.rc = 0;
  return result;
}

}  // namespace kr_test

#endif  // KR_TESTS_MEMORY_COMPRESS_MODEL_H_
