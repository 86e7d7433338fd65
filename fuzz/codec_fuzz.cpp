// The record codec. The first byte picks: even, compressed bytes of unknown origin (what DScheck
// accepts expands to exactly its length, DSlen agreeing, reading nothing outside); odd, a record to
// compress into a capacity from its first two bytes. The unit tests pin exact bytes.
#include <kr/memory.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "fuzz_input.h"

namespace {

using Bytes = std::vector<unsigned char>;

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
  // Half the room: whole items only, a prefix of the full output, and 2 when an item did not fit.
  if (expected > 1) {
    int smaller = expected / 2;
    Bytes half(static_cast<size_t>(smaller));
    int const halfRc = DSdecomp(input.data(), length, half.data(), &smaller);
    KR_FUZZ_CHECK(halfRc == (smaller == expected / 2 ? 0 : 2) && smaller <= expected / 2);
    KR_FUZZ_CHECK(std::equal(half.begin(), half.begin() + smaller, out.begin()));
  }
}

// The room offered changes nothing but success: what fits is what a roomy output holds, and 257
// bytes more (a full literal item) always fit; a failure leaves *dstLen alone. Records expand back.
void FuzzRoundTrip(unsigned char const* data, size_t size) {
  if (size < 2) return;
  int const capacity = (data[0] | data[1] << 8) % 4100;
  int const srcLen = static_cast<int>(size - 2);
  Bytes source(data + 2, data + size);
  if (source.empty()) source.push_back(0);  // the first byte is read in every case
  int roomyLen = 2 * srcLen + 600, outLen = capacity;
  Bytes roomy(static_cast<size_t>(roomyLen)), out(static_cast<size_t>(capacity));
  KR_FUZZ_CHECK(DScomp(source.data(), srcLen, roomy.data(), &roomyLen) == 0);
  if (DScomp(source.data(), srcLen, out.data(), &outLen) != 0) {
    KR_FUZZ_CHECK(outLen == capacity && capacity < roomyLen + 257);
  } else {
    out.resize(static_cast<size_t>(outLen));
    KR_FUZZ_CHECK(outLen < capacity && out == Bytes(roomy.begin(), roomy.begin() + roomyLen));
  }
  int const plainLen = static_cast<int>(source.size());
  KR_FUZZ_CHECK(DScheck(roomy.data(), roomyLen) == plainLen);
  Bytes back(source.size());
  int backLen = plainLen;
  KR_FUZZ_CHECK(DSdecomp(roomy.data(), roomyLen, back.data(), &backLen) == 0);
  KR_FUZZ_CHECK(backLen == plainLen && back == source);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  if (size == 0) return 0;
  data[0] % 2 == 0 ? FuzzExpansion(data + 1, size - 1) : FuzzRoundTrip(data + 1, size - 1);
  return 0;
}
