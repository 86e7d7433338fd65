// _KrBitString: a fixed-length bit map with a running count of set bits.
#include <kr/arrays.h>

#include <string.h>

#include "arrays/poison.h"

namespace {

constexpr unsigned long kBitsPerByte = 8;

unsigned long ByteCount(unsigned long bits) { return (bits >> 3) + 1; }

unsigned char MaskOf(unsigned long i) { return static_cast<unsigned char>(1u << (i & 7)); }

}  // namespace

_KrBitString::_KrBitString(unsigned long bitCount)
    : bytes(new unsigned char[ByteCount(bitCount)]()), length(bitCount), setCount(0) {}

_KrBitString::~_KrBitString() {
  delete[] bytes;
  kr_detail::PoisonField(length, 0ul);
}

int _KrBitString::Set(unsigned long i) {
  if (i >= length) return kKrBitOutOfRange;
  unsigned char& byte = bytes[i >> 3];
  if (!(byte & MaskOf(i))) {
    byte = static_cast<unsigned char>(byte | MaskOf(i));
    ++setCount;
  }
  return 0;
}

int _KrBitString::Reset(unsigned long i) {
  if (i >= length) return kKrBitOutOfRange;
  unsigned char& byte = bytes[i >> 3];
  if (byte & MaskOf(i)) {
    byte = static_cast<unsigned char>(byte & ~MaskOf(i));
    --setCount;
  }
  return 0;
}

int _KrBitString::Get(unsigned long i, int& value) const {
  if (i >= length) return kKrBitOutOfRange;
  value = bytes[i >> 3] & MaskOf(i);  // the masked value, deliberately not 0/1
  return 0;
}

int _KrBitString::Flip(unsigned long i, int& previous) {
  if (i >= length) return kKrBitOutOfRange;
  unsigned char& byte = bytes[i >> 3];
  if (byte & MaskOf(i)) {
    byte = static_cast<unsigned char>(byte & ~MaskOf(i));
    previous = 1;
    --setCount;
  } else {
    byte = static_cast<unsigned char>(byte | MaskOf(i));
    previous = 0;
    ++setCount;
  }
  return 0;
}

unsigned long _KrBitString::Length() const { return length; }

unsigned long _KrBitString::GetNum() const { return setCount; }

int _KrBitString::SetAll() {
  memset(bytes, 0xFF, ByteCount(length));  // the spare bits too
  setCount = length;
  return 0;
}

int _KrBitString::ResetAll() {
  memset(bytes, 0, ByteCount(length));
  setCount = 0;
  return 0;
}

int _KrBitString::Find(unsigned long from, int value, unsigned long& at) const {
  bool const wanted = value != 0;
  // A whole byte of the other kind is skipped at once.
  unsigned char const uninteresting = wanted ? 0x00 : 0xFF;
  unsigned long i = from;
  while (i < length) {
    if ((i & 7) == 0 && length - i >= kBitsPerByte && bytes[i >> 3] == uninteresting) {
      i += kBitsPerByte;
      continue;
    }
    if (((bytes[i >> 3] & MaskOf(i)) != 0) == wanted) {
      at = i;
      return 0;
    }
    ++i;
  }
  at = length;
  return kKrBitOutOfRange;
}

int _KrBitString::TestAndSetArea(unsigned long start, unsigned long n, unsigned long& at) {
  // start + n > length, without the sum wrapping.
  if (n > length || start > length - n) return kKrBitOutOfRange;
  for (unsigned long k = 0; k < n; ++k) {
    if (bytes[(start + k) >> 3] & MaskOf(start + k)) {
      at = k;  // the offset inside the area
      return kKrBitAreaTaken;
    }
  }
  for (unsigned long k = 0; k < n; ++k) {
    unsigned char& byte = bytes[(start + k) >> 3];
    byte = static_cast<unsigned char>(byte | MaskOf(start + k));
  }
  setCount += n;
  return 0;
}

int _KrBitString::TestAndResetArea(unsigned long start, unsigned long n, unsigned long& at) {
  if (n > length || start > length - n) return kKrBitOutOfRange;
  for (unsigned long k = 0; k < n; ++k) {
    if (!(bytes[(start + k) >> 3] & MaskOf(start + k))) {
      at = k;
      return kKrBitAreaTaken;
    }
  }
  for (unsigned long k = 0; k < n; ++k) {
    unsigned char& byte = bytes[(start + k) >> 3];
    byte = static_cast<unsigned char>(byte & ~MaskOf(start + k));
  }
  setCount -= n;
  return 0;
}
