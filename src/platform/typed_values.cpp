// Typed values moved between memory and their stored byte order.
#include <kr/platform.h>

#include <stdint.h>
#include <string.h>

namespace {

// The byte-order code that asks for reversed (big-endian) elements, and the
// bits of the code each family of types looks at. The two masks differ on
// purpose: a code with bits 4 to 6 set reverses integers but not
// floating-point values.
constexpr unsigned char kReversedOrder = 2;
constexpr unsigned char kIntegerOrderMask = 0x0F;
constexpr unsigned char kFloatOrderMask = 0x7F;

constexpr unsigned long kCharWidth = 1;
constexpr unsigned long kShortWidth = 2;
constexpr unsigned long kInt32Width = 4;  // int, long and unsigned as stored
constexpr unsigned long kFloatWidth = 4;
constexpr unsigned long kDoubleWidth = 8;

constexpr char kBlank = ' ';

// count * width as the int the array functions return (wraps like the
// 32-bit product on every target).
int BytesWritten(unsigned long count, unsigned long width) {
  return static_cast<int>(static_cast<uint32_t>(count * width));
}

// Per element: the bytes reversed or copied. Each element is read whole
// before it is written, which makes dst == src work.
template <typename Word, Word (*Swap)(Word)>
int StoreIntegers(void* dst, void const* src, unsigned char order, unsigned long count) {
  bool const reverse = (order & kIntegerOrderMask) == kReversedOrder;
  unsigned char* out = static_cast<unsigned char*>(dst);
  unsigned char const* in = static_cast<unsigned char const*>(src);
  for (unsigned long i = 0; i < count; ++i) {
    Word element;
    memcpy(&element, in + i * sizeof element, sizeof element);
    if (reverse) element = Swap(element);
    memcpy(out + i * sizeof element, &element, sizeof element);
  }
  return BytesWritten(count, sizeof(Word));
}

uint16_t Swap16(uint16_t value) { return __builtin_bswap16(value); }
uint32_t Swap32(uint32_t value) { return __builtin_bswap32(value); }

// Reversed per element through memreverse, or one block copy.
int StoreFloatingPoint(void* dst, void const* src, unsigned char order, unsigned long count,
                       unsigned short width) {
  if ((order & kFloatOrderMask) == kReversedOrder) {
    unsigned char* out = static_cast<unsigned char*>(dst);
    unsigned char* in = static_cast<unsigned char*>(const_cast<void*>(src));
    for (unsigned long i = 0; i < count; ++i) memreverse(in + i * width, out + i * width, width);
  } else if (count != 0) {
    memmove(dst, src, count * width);
  }
  return BytesWritten(count, width);
}

}  // namespace

int CharStore(void* dst, void const* src, unsigned char, unsigned long count) {
  if (count != 0) memmove(dst, src, count);
  return BytesWritten(count, kCharWidth);
}

int ShortStore(void* dst, void const* src, unsigned char order, unsigned long count) {
  return StoreIntegers<uint16_t, Swap16>(dst, src, order, count);
}

int LongStore(void* dst, void const* src, unsigned char order, unsigned long count) {
  return StoreIntegers<uint32_t, Swap32>(dst, src, order, count);
}

int IntStore(void* dst, void const* src, unsigned char order, unsigned long count) {
  return LongStore(dst, src, order, count);
}

int IntLoad(void* dst, void const* src, unsigned char order, unsigned long count) {
  return LongStore(dst, src, order, count);
}

int UnsignedStore(void* dst, void const* src, unsigned char order, unsigned long count) {
  return LongStore(dst, src, order, count);
}

int UnsignedLoad(void* dst, void const* src, unsigned char order, unsigned long count) {
  return LongStore(dst, src, order, count);
}

int FloatStore(void* dst, void const* src, unsigned char order, unsigned long count) {
  return StoreFloatingPoint(dst, src, order, count, kFloatWidth);
}

int DoubleStore(void* dst, void const* src, unsigned char order, unsigned long count) {
  return StoreFloatingPoint(dst, src, order, count, kDoubleWidth);
}

unsigned long CharSizeGet(void const*, unsigned char, unsigned char, unsigned long count) {
  return count * kCharWidth;
}
unsigned long ShortSizeGet(void const*, unsigned char, unsigned char, unsigned long count) {
  return count * kShortWidth;
}
unsigned long IntSizeGet(void const*, unsigned char, unsigned char, unsigned long count) {
  return count * kInt32Width;
}
unsigned long LongSizeGet(void const* value, unsigned char a, unsigned char b,
                          unsigned long count) {
  return IntSizeGet(value, a, b, count);
}
unsigned long FloatSizeGet(void const* value, unsigned char a, unsigned char b,
                           unsigned long count) {
  return IntSizeGet(value, a, b, count);
}
unsigned long DoubleSizeGet(void const*, unsigned char, unsigned char, unsigned long count) {
  return count * kDoubleWidth;
}

unsigned long CharNullSizeGet(unsigned long count) { return count * kCharWidth; }
unsigned long ShortNullSizeGet(unsigned long count) { return count * kShortWidth; }
unsigned long IntNullSizeGet(unsigned long count) { return count * kInt32Width; }
unsigned long LongNullSizeGet(unsigned long count) { return IntNullSizeGet(count); }
unsigned long FloatNullSizeGet(unsigned long count) { return IntNullSizeGet(count); }
unsigned long DoubleNullSizeGet(unsigned long count) { return count * kDoubleWidth; }

void memreverse(void* src, void* dst, unsigned short n) {
  unsigned char const* in = static_cast<unsigned char const*>(src);
  unsigned char* out = static_cast<unsigned char*>(dst);
  for (unsigned short k = 0; k < n; ++k) out[k] = in[n - 1 - k];
}

int stfloat(float value, char* dst) {
  return FloatStore(dst, &value, kReversedOrder, 1);
}

float ldfloat(char* src) {
  float value;
  FloatStore(&value, src, kReversedOrder, 1);
  return value;
}

int stdbl(double value, char* dst) {
  return DoubleStore(dst, &value, kReversedOrder, 1);
}

double lddbl(char* src) {
  double value;
  DoubleStore(&value, src, kReversedOrder, 1);
  return value;
}

void stchar(char* src, char* dst, int n) {
  int i = 0;
  for (; i < n && src[i] != '\0'; ++i) dst[i] = src[i];
  for (; i < n; ++i) dst[i] = kBlank;
}

void ldchar(char* src, int n, char* dst) {
  int i = 0;
  for (; i < n && src[i] != kBlank; ++i) dst[i] = src[i];
  if (i < n) dst[i] = '\0';
}
