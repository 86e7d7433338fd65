// CRC-32 register updates: a byte-at-a-time reference, a sliced table loop
// and, on x86 processors that have it, carry-less multiplication.
#include "memory/crc32.h"

#if defined(__x86_64__) || defined(__i386__)
#define KR_CRC32_HAVE_FOLDING 1
#include <cpuid.h>
#include <immintrin.h>
#else
#define KR_CRC32_HAVE_FOLDING 0
#endif

namespace kr_detail {

namespace {

constexpr int kSlices = 16;
constexpr int kTableSize = 256;

// tables[0][n] is the register after adding byte n to a zero register;
// tables[k][n] the register after adding byte n followed by k zero bytes,
// which lets one round look up sixteen bytes independently.
struct Crc32Tables {
  uint32_t entries[kSlices][kTableSize];
};

constexpr Crc32Tables MakeTables() {
  Crc32Tables tables{};
  for (uint32_t n = 0; n < kTableSize; ++n) {
    uint32_t reg = n;
    for (int bit = 0; bit < 8; ++bit) reg = (reg & 1) ? (reg >> 1) ^ kCrc32Polynomial : reg >> 1;
    tables.entries[0][n] = reg;
  }
  for (int k = 1; k < kSlices; ++k) {
    for (int n = 0; n < kTableSize; ++n) {
      uint32_t const previous = tables.entries[k - 1][n];
      tables.entries[k][n] = (previous >> 8) ^ tables.entries[0][previous & 0xFF];
    }
  }
  return tables;
}

constexpr Crc32Tables kTables = MakeTables();

// The published table's first entries, as a guard against a wrong generator.
static_assert(kTables.entries[0][1] == 0x77073096u, "CRC-32 table entry 1");
static_assert(kTables.entries[0][255] == 0x2D02EF8Du, "CRC-32 table entry 255");

inline uint32_t LoadLe32(unsigned char const* p) {
  return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 |
         static_cast<uint32_t>(p[2]) << 16 | static_cast<uint32_t>(p[3]) << 24;
}

inline uint32_t SliceWord(uint32_t word, int firstTable) {
  auto const& t = kTables.entries;
  return t[firstTable][word & 0xFF] ^ t[firstTable - 1][(word >> 8) & 0xFF] ^
         t[firstTable - 2][(word >> 16) & 0xFF] ^ t[firstTable - 3][word >> 24];
}

}  // namespace

uint32_t Crc32Bytewise(uint32_t reg, unsigned char const* data, size_t length) {
  for (size_t i = 0; i < length; ++i) {
    reg = (reg >> 8) ^ kTables.entries[0][(reg ^ data[i]) & 0xFF];
  }
  return reg;
}

uint32_t Crc32Sliced(uint32_t reg, unsigned char const* data, size_t length) {
  while (length >= kSlices) {
    // Byte j of the round is followed by 15 - j more bytes of it.
    reg = SliceWord(LoadLe32(data) ^ reg, 15) ^ SliceWord(LoadLe32(data + 4), 11) ^
          SliceWord(LoadLe32(data + 8), 7) ^ SliceWord(LoadLe32(data + 12), 3);
    data += kSlices;
    length -= kSlices;
  }
  return Crc32Bytewise(reg, data, length);
}

#if KR_CRC32_HAVE_FOLDING

namespace {

// Folding: the data are a polynomial over GF(2); a 128-bit block B followed
// by D more bits contributes B * x^D, and replacing x^D by its remainder
// modulo the CRC polynomial keeps the checksum while moving B onto the block
// D bits further on. In the bit-reflected order of the data a lane's low
// 64 bits are its high-degree half; each half is multiplied by the remainder
// of x^(D + 32) or x^(D - 32), bit-reflected and shifted left by one for the
// reflected product. The last 128-bit block left over is congruent to all the
// data folded into it, so a plain table update of it from a zero register
// gives the register for everything folded.

constexpr uint32_t Reflect32(uint32_t value) {
  uint32_t reflected = 0;
  for (int bit = 0; bit < 32; ++bit) {
    if (value & (1u << bit)) reflected |= 1u << (31 - bit);
  }
  return reflected;
}

// x^n modulo the CRC polynomial, in the usual (not reflected) bit order.
constexpr uint32_t XPowerModPolynomial(unsigned n) {
  uint32_t const polynomial = Reflect32(kCrc32Polynomial);
  uint32_t remainder = 1;
  for (unsigned i = 0; i < n; ++i) {
    remainder = (remainder & 0x80000000u) ? (remainder << 1) ^ polynomial : remainder << 1;
  }
  return remainder;
}

constexpr long long FoldConstant(unsigned n) {
  return static_cast<long long>(static_cast<uint64_t>(Reflect32(XPowerModPolynomial(n))) << 1);
}

constexpr unsigned kLaneBits = 128;
constexpr unsigned kLanes = 4;
constexpr size_t kLaneBytes = kLaneBits / 8;
constexpr long long kFold4Low = FoldConstant(kLanes * kLaneBits + 32);
constexpr long long kFold4High = FoldConstant(kLanes * kLaneBits - 32);
constexpr long long kFold1Low = FoldConstant(kLaneBits + 32);
constexpr long long kFold1High = FoldConstant(kLaneBits - 32);

#define KR_CRC32_FOLDING_TARGET __attribute__((target("sse2,pclmul")))

KR_CRC32_FOLDING_TARGET inline __m128i LoadLane(unsigned char const* p) {
  return _mm_loadu_si128(reinterpret_cast<__m128i const*>(p));
}

// `lane` moved forward by the distance `constants` stand for, added to `next`.
KR_CRC32_FOLDING_TARGET inline __m128i FoldLane(__m128i lane, __m128i constants, __m128i next) {
  __m128i const lowHalf = _mm_clmulepi64_si128(lane, constants, 0x00);
  __m128i const highHalf = _mm_clmulepi64_si128(lane, constants, 0x11);
  return _mm_xor_si128(_mm_xor_si128(lowHalf, highHalf), next);
}

}  // namespace

bool Crc32FoldedAvailable() {
  // The answer never changes during the process; computing it once in a
  // function-local static is thread-safe.
  static bool const available = [] {
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
    return __get_cpuid(1, &eax, &ebx, &ecx, &edx) != 0 && (ecx & bit_PCLMUL) != 0 &&
           (edx & bit_SSE2) != 0;
  }();
  return available;
}

KR_CRC32_FOLDING_TARGET
uint32_t Crc32Folded(uint32_t reg, unsigned char const* data, size_t length) {
  if (length < kCrc32FoldedMinimum) return Crc32Sliced(reg, data, length);
  __m128i const fold4 = _mm_set_epi64x(kFold4High, kFold4Low);
  __m128i const fold1 = _mm_set_epi64x(kFold1High, kFold1Low);

  // The register enters as the first 32 bits of the data.
  __m128i x0 = _mm_xor_si128(LoadLane(data), _mm_cvtsi32_si128(static_cast<int>(reg)));
  __m128i x1 = LoadLane(data + kLaneBytes);
  __m128i x2 = LoadLane(data + 2 * kLaneBytes);
  __m128i x3 = LoadLane(data + 3 * kLaneBytes);
  data += kLanes * kLaneBytes;
  length -= kLanes * kLaneBytes;
  while (length >= kLanes * kLaneBytes) {
    x0 = FoldLane(x0, fold4, LoadLane(data));
    x1 = FoldLane(x1, fold4, LoadLane(data + kLaneBytes));
    x2 = FoldLane(x2, fold4, LoadLane(data + 2 * kLaneBytes));
    x3 = FoldLane(x3, fold4, LoadLane(data + 3 * kLaneBytes));
    data += kLanes * kLaneBytes;
    length -= kLanes * kLaneBytes;
  }
  __m128i x = FoldLane(x0, fold1, x1);
  x = FoldLane(x, fold1, x2);
  x = FoldLane(x, fold1, x3);
  while (length >= kLaneBytes) {
    x = FoldLane(x, fold1, LoadLane(data));
    data += kLaneBytes;
    length -= kLaneBytes;
  }
  unsigned char folded[kLaneBytes];
  _mm_storeu_si128(reinterpret_cast<__m128i*>(folded), x);
  return Crc32Sliced(Crc32Sliced(0, folded, kLaneBytes), data, length);
}

#undef KR_CRC32_FOLDING_TARGET

namespace {

// The same folding on 512-bit registers: each holds four 128-bit lanes, four
// registers take 256 bytes per round, and the lanes are folded into one at
// the end.
#define KR_CRC32_WIDE_TARGET __attribute__((target("sse2,pclmul,avx2,avx512f,vpclmulqdq")))

constexpr size_t kWideBytes = 64;
constexpr size_t kWideRound = 4 * kWideBytes;
constexpr unsigned kWideRoundBits = kWideRound * 8;
constexpr unsigned kWideBits = kWideBytes * 8;

KR_CRC32_WIDE_TARGET inline __m512i LoadWide(unsigned char const* p) {
  return _mm512_loadu_si512(p);
}

// The pair of constants for folding over `bits`, in each of the four lanes.
// Requires: `low` and `high` are FoldConstant(bits + 32) and (bits - 32),
// computed at compile time (the computation loops `bits` times).
KR_CRC32_WIDE_TARGET inline __m512i WideConstants(long long low, long long high) {
  // The zero-masking form: gcc 12 warns about the undefined source operand
  // of the plain one.
  return _mm512_maskz_broadcast_i32x4(0xFFFF, _mm_set_epi64x(high, low));
}

constexpr long long kFoldRoundLow = FoldConstant(kWideRoundBits + 32);
constexpr long long kFoldRoundHigh = FoldConstant(kWideRoundBits - 32);
constexpr long long kFoldWideLow = FoldConstant(kWideBits + 32);
constexpr long long kFoldWideHigh = FoldConstant(kWideBits - 32);
constexpr long long kFold2Low = FoldConstant(2 * kLaneBits + 32);
constexpr long long kFold2High = FoldConstant(2 * kLaneBits - 32);
constexpr long long kFold3Low = FoldConstant(3 * kLaneBits + 32);
constexpr long long kFold3High = FoldConstant(3 * kLaneBits - 32);

// Lane `n` (0 to 3) of a 512-bit register.
template <int n>
KR_CRC32_WIDE_TARGET inline __m128i Lane(__m512i lanes) {
  return _mm512_maskz_extracti32x4_epi32(0xF, lanes, n);
}

KR_CRC32_WIDE_TARGET inline __m512i FoldWide(__m512i lanes, __m512i constants, __m512i next) {
  __m512i const lowHalves = _mm512_clmulepi64_epi128(lanes, constants, 0x00);
  __m512i const highHalves = _mm512_clmulepi64_epi128(lanes, constants, 0x11);
  return _mm512_ternarylogic_epi64(lowHalves, highHalves, next, 0x96);  // a ^ b ^ c
}

// One round: 256 bytes folded into the four registers.
KR_CRC32_WIDE_TARGET inline void FoldRound(unsigned char const* data, __m512i constants,
                                           __m512i& z0, __m512i& z1, __m512i& z2, __m512i& z3) {
  z0 = FoldWide(z0, constants, LoadWide(data));
  z1 = FoldWide(z1, constants, LoadWide(data + kWideBytes));
  z2 = FoldWide(z2, constants, LoadWide(data + 2 * kWideBytes));
  z3 = FoldWide(z3, constants, LoadWide(data + 3 * kWideBytes));
}

}  // namespace

bool Crc32WideAvailable() {
  static bool const available = [] {
    __builtin_cpu_init();
    // The compiler runtime's check includes the OS's saving of the AVX-512
    // state.
    return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("vpclmulqdq") &&
           __builtin_cpu_supports("avx2") && Crc32FoldedAvailable();
  }();
  return available;
}

KR_CRC32_WIDE_TARGET
uint32_t Crc32FoldedWide(uint32_t reg, unsigned char const* data, size_t length) {
  if (length < kCrc32WideMinimum) return Crc32Folded(reg, data, length);
  __m512i const foldRound = WideConstants(kFoldRoundLow, kFoldRoundHigh);
  __m512i const foldOne = WideConstants(kFoldWideLow, kFoldWideHigh);

  // The register enters as the first 32 bits of the data.
  __m512i const first = _mm512_inserti32x4(_mm512_setzero_si512(),
                                           _mm_cvtsi32_si128(static_cast<int>(reg)), 0);
  __m512i z0 = _mm512_xor_si512(LoadWide(data), first);
  __m512i z1 = LoadWide(data + kWideBytes);
  __m512i z2 = LoadWide(data + 2 * kWideBytes);
  __m512i z3 = LoadWide(data + 3 * kWideBytes);
  data += kWideRound;
  length -= kWideRound;
  // While the data reach that far, each round also asks for the round
  // kCrc32WidePrefetchDistance bytes ahead.
  for (; length >= kCrc32WidePrefetchDistance + kWideRound;
       data += kWideRound, length -= kWideRound) {
    for (size_t line = 0; line < kWideRound; line += kWideBytes) {
      _mm_prefetch(reinterpret_cast<char const*>(data + kCrc32WidePrefetchDistance + line),
                   _MM_HINT_T0);
    }
    FoldRound(data, foldRound, z0, z1, z2, z3);
  }
  for (; length >= kWideRound; data += kWideRound, length -= kWideRound) {
    FoldRound(data, foldRound, z0, z1, z2, z3);
  }
  __m512i z = FoldWide(z0, foldOne, z1);
  z = FoldWide(z, foldOne, z2);
  z = FoldWide(z, foldOne, z3);
  while (length >= kWideBytes) {
    z = FoldWide(z, foldOne, LoadWide(data));
    data += kWideBytes;
    length -= kWideBytes;
  }
  // Lanes 0 to 2 moved forward onto lane 3, the last 128 bits folded so far.
  __m128i x = FoldLane(Lane<2>(z), _mm_set_epi64x(kFold1High, kFold1Low),
                       Lane<3>(z));
  x = FoldLane(Lane<1>(z), _mm_set_epi64x(kFold2High, kFold2Low), x);
  x = FoldLane(Lane<0>(z), _mm_set_epi64x(kFold3High, kFold3Low), x);
  __m128i const fold1 = _mm_set_epi64x(kFold1High, kFold1Low);
  while (length >= kLaneBytes) {
    x = FoldLane(x, fold1, LoadLane(data));
    data += kLaneBytes;
    length -= kLaneBytes;
  }
  unsigned char folded[kLaneBytes];
  _mm_storeu_si128(reinterpret_cast<__m128i*>(folded), x);
  return Crc32Sliced(Crc32Sliced(0, folded, kLaneBytes), data, length);
}

#undef KR_CRC32_WIDE_TARGET

#else  // !KR_CRC32_HAVE_FOLDING

bool Crc32FoldedAvailable() { return false; }

uint32_t Crc32Folded(uint32_t reg, unsigned char const* data, size_t length) {
  return Crc32Sliced(reg, data, length);
}

bool Crc32WideAvailable() { return false; }

uint32_t Crc32FoldedWide(uint32_t reg, unsigned char const* data, size_t length) {
  return Crc32Sliced(reg, data, length);
}

#endif  // KR_CRC32_HAVE_FOLDING

uint32_t Crc32Update(uint32_t reg, unsigned char const* data, size_t length) {
  if (length >= kCrc32WideMinimum && Crc32WideAvailable()) {
    return Crc32FoldedWide(reg, data, length);
  }
  if (length >= kCrc32FoldedMinimum && Crc32FoldedAvailable()) {
    return Crc32Folded(reg, data, length);
  }
  return Crc32Sliced(reg, data, length);
}

}  // namespace kr_detail
