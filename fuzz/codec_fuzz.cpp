// The record codec. The first input byte picks the mode:
//  even: the rest is compressed bytes of unknown origin; whatever DScheck
//        accepts must expand to exactly the length it reported, DSlen must
//        agree, and no function may read outside the input;
//  odd:  the rest is a record, compressed with a capacity taken from the
//        next two bytes; DScomp must give the model's result and bytes, and a
//        compressed record must expand back to the record.
#include <kr/memory.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "fuzz_input.h"

namespace {

using Bytes = std::vector<unsigned char>;

// The compressor as a plain model: one byte at a time, the pending stretch
// kept in a vector of its own, each rule written out as defined. Gives the
// compressed bytes, or nothing where DScomp must fail.
Bytes ModelCompress(Bytes const& src, long capacity) {
  Bytes out;
  auto room = [&](long bytes) { return static_cast<long>(out.size()) + bytes <= capacity; };
  auto emit = [&](long count, Bytes const& pending, bool literal) {
    if (literal) out.push_back(0);
    out.push_back(static_cast<unsigned char>(count));
    if (!literal) out.push_back(pending.back());
    if (literal) out.insert(out.end(), pending.begin(), pending.begin() + count);
  };
  long const srcLen = static_cast<long>(src.size());
  Bytes pending(1, src.empty() ? 0 : src[0]);  // an empty record's first byte is read too
  long run = 1;
  for (long taken = 1; srcLen >= 2 && capacity >= 1;) {
    unsigned char const b = src[taken];
    bool const equal = b == pending.back();
    pending.push_back(b);
    long const size = static_cast<long>(pending.size());
    if (equal && ++run == 256 && size == run) {
      if (!room(257)) return {};
      emit(255, pending, false);
      pending.assign(1, b);
      run = 1;
    } else if (equal && size > run && (run > 2 || size == 256)) {
      if (!room(size - run + 2)) return {};
      emit(size - run, pending, true);
      pending.erase(pending.begin(), pending.begin() + (size - run));
    } else if (!equal && run <= 2) {
      run = 1;
      if (size == 256) {
        if (!room(257)) return {};
        emit(255, pending, true);
        pending.assign(1, b);
      }
    } else if (!equal) {
      if (!room(2)) return {};
      pending.pop_back();
      emit(run, pending, false);
      pending.assign(1, b);
      run = 1;
    }
    if (++taken >= srcLen || static_cast<long>(out.size()) >= capacity) break;
  }
  long const size = static_cast<long>(pending.size());
  bool const literal = size > run;
  if (static_cast<long>(out.size()) + (literal ? size + 2 : 2) >= capacity) return {};
  emit(size, pending, literal);
  return out;
}

void FuzzExpansion(unsigned char const* data, size_t size) {
  Bytes input(data, data + size);  // exact size: overreads trap
  int const length = static_cast<int>(input.size());
  int const expected = DScheck(input.data(), length);
  if (expected < 0) return;
  KR_FUZZ_CHECK(DSlen(input.data(), length) == expected);
  Bytes out(static_cast<size_t>(expected));
  int produced = expected;
  int const rc = DSdecomp(input.data(), length, out.data(), &produced);
  KR_FUZZ_CHECK(produced == expected);
  KR_FUZZ_CHECK(rc == (expected == 0 && length > 0 ? 2 : 0));
  // Half the room: whole items only, a prefix of the full output, and 2 when
  // an item did not fit.
  if (expected > 1) {
    int smaller = expected / 2;
    Bytes half(static_cast<size_t>(smaller));
    int const halfRc = DSdecomp(input.data(), length, half.data(), &smaller);
    KR_FUZZ_CHECK(halfRc == (smaller == expected / 2 ? 0 : 2) && smaller <= expected / 2);
    KR_FUZZ_CHECK(std::equal(half.begin(), half.begin() + smaller, out.begin()));
  }
}

void FuzzRoundTrip(unsigned char const* data, size_t size) {
  if (size < 2) return;
  int const capacity = (data[0] | data[1] << 8) % 4100;
  Bytes const record(data + 2, data + size);
  Bytes source = record;
  if (source.empty()) source.push_back(0);  // the first byte is read in every case
  Bytes out(static_cast<size_t>(capacity));
  int outLen = capacity;
  int const rc = DScomp(source.data(), static_cast<int>(record.size()), out.data(), &outLen);
  Bytes const model = ModelCompress(record, capacity);
  KR_FUZZ_CHECK(rc == (model.empty() ? -1 : 0));
  if (rc != 0) {
    KR_FUZZ_CHECK(outLen == capacity);
    return;
  }
  out.resize(static_cast<size_t>(outLen));
  KR_FUZZ_CHECK(out == model);
  int const plainLen = static_cast<int>(source.size());
  KR_FUZZ_CHECK(DScheck(out.data(), outLen) == plainLen);
  Bytes back(source.size());
  int backLen = plainLen;
  KR_FUZZ_CHECK(DSdecomp(out.data(), outLen, back.data(), &backLen) == 0);
  KR_FUZZ_CHECK(backLen == plainLen && back == source);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  if (size == 0) return 0;
  if (data[0] % 2 == 0) {
    FuzzExpansion(data + 1, size - 1);
  } else {
    FuzzRoundTrip(data + 1, size - 1);
  }
  return 0;
}
