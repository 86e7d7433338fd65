// The record codec. The first input byte picks the mode:
//  even: the rest is compressed bytes of unknown origin; whatever DScheck
//        accepts must expand to exactly the length it reported, DSlen must
//        agree, and no function may read outside the input;
//  odd:  the rest is a record, compressed with a capacity taken from the
//        next two bytes; DScomp must give the model's result and bytes, and a
//        compressed record must expand back to the record.
#include <kr/memory.h>

#include <cstdint>
#include <vector>

#include "compress_model.h"
#include "fuzz_input.h"

namespace {

void FuzzExpansion(unsigned char const* data, size_t size) {
  std::vector<unsigned char> input(data, data + size);  // exact size: overreads trap
  int const length = static_cast<int>(input.size());
  int const expected = DScheck(input.data(), length);
  if (expected < 0) return;
  KR_FUZZ_CHECK(DSlen(input.data(), length) == expected);
  std::vector<unsigned char> out(static_cast<size_t>(expected));
  int produced = expected;
  int const rc = DSdecomp(input.data(), length, out.data(), &produced);
  KR_FUZZ_CHECK(produced == expected);
  KR_FUZZ_CHECK(rc == (expected == 0 && length > 0 ? 2 : 0));
  // A smaller capacity stops at an item boundary without writing past it.
  if (expected > 1) {
    int smaller = expected / 2;
    std::vector<unsigned char> half(static_cast<size_t>(smaller));
    int const halfRc = DSdecomp(input.data(), length, half.data(), &smaller);
    KR_FUZZ_CHECK(smaller <= expected / 2);
    KR_FUZZ_CHECK(halfRc == 0 || halfRc == 2);
  }
}

void FuzzRoundTrip(unsigned char const* data, size_t size) {
  if (size < 2) return;
  int const capacity = (data[0] | data[1] << 8) % 4100;
  std::vector<unsigned char> record(data + 2, data + size);
  std::vector<unsigned char> source = record;
  if (source.empty()) source.push_back(0);  // the first byte is read in every case
  std::vector<unsigned char> out(static_cast<size_t>(capacity));
  int outLen = capacity;
  int const rc = DScomp(source.data(), static_cast<int>(record.size()), out.data(), &outLen);
  kr_test::ModelResult const model = kr_test::ModelCompress(record, capacity, 0);
  KR_FUZZ_CHECK(rc == model.rc);
  if (rc != 0) {
    KR_FUZZ_CHECK(outLen == capacity);
    return;
  }
  out.resize(static_cast<size_t>(outLen));
  KR_FUZZ_CHECK(out == model.out);
  KR_FUZZ_CHECK(outLen < capacity);
  int const plainLen = record.empty() ? 1 : static_cast<int>(record.size());
  KR_FUZZ_CHECK(DScheck(out.data(), outLen) == plainLen);
  std::vector<unsigned char> back(static_cast<size_t>(plainLen));
  int backLen = plainLen;
  KR_FUZZ_CHECK(DSdecomp(out.data(), outLen, back.data(), &backLen) == 0);
  KR_FUZZ_CHECK(backLen == plainLen);
  KR_FUZZ_CHECK(back == source);
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
