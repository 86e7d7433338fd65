// The bulk byte work of the record codec: scanning for the end of a run or of
// a stretch of bytes that each differ from their predecessor, and short fills
// and copies (an item holds at most 255 bytes). Two interchangeable sets give
// identical results:
//   PlainBytes  eight bytes at a time in general-purpose registers, any CPU;
//   WideBytes   64 bytes at a time with AVX-512BW (x86_64 only): scans end
//               with the range's last 64 bytes (a masked load only for
//               ranges shorter than that, as those cost more), fills and
//               copies with overlapping stores.
// No function reads or writes outside the ranges its comment names.
#ifndef KR_SRC_MEMORY_BYTE_RUNS_H_
#define KR_SRC_MEMORY_BYTE_RUNS_H_

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#if defined(__x86_64__)
#define KR_HAVE_WIDE_BYTES 1
#include <immintrin.h>
#else
#define KR_HAVE_WIDE_BYTES 0
#endif

namespace kr_detail {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "the word-at-a-time scans find the first byte at the low end");

struct PlainBytes {
  static constexpr uint64_t kEveryByte = 0x0101010101010101ull;

  static uint64_t LoadWord(unsigned char const* p) {
    uint64_t word;
    memcpy(&word, p, sizeof word);
    return word;
  }

  template <typename Word>
  static void StoreWord(unsigned char* dst, Word word) {
    memcpy(dst, &word, sizeof word);
  }

  // Index of the lowest nonzero byte of a nonzero word.
  static size_t FirstNonzeroByte(uint64_t word) {
    return static_cast<size_t>(__builtin_ctzll(word) / 8);
  }

  // The number of bytes of p[0, limit) before the first one unequal to
  // `value` (limit when there is none). Reads p[0, limit).
  static size_t CountEqual(unsigned char const* p, size_t limit, unsigned char value) {
    uint64_t const pattern = kEveryByte * value;
    size_t n = 0;
    for (; limit - n >= sizeof(uint64_t); n += sizeof(uint64_t)) {
      uint64_t const differs = LoadWord(p + n) ^ pattern;
      if (differs != 0) return n + FirstNonzeroByte(differs);
    }
    while (n < limit && p[n] == value) ++n;
    return n;
  }

  // The number of bytes of p[0, limit) before the first one equal to the byte
  // before it (limit when there is none). Reads p[-1, limit).
  static size_t CountUnequalToPrevious(unsigned char const* p, size_t limit) {
    unsigned char const* const previous = p - 1;  // previous[n] is p[n]'s predecessor
    size_t n = 0;
    for (; limit - n >= sizeof(uint64_t); n += sizeof(uint64_t)) {
      // A zero byte k of the difference means p[n + k] == p[n + k - 1]; the
      // lowest byte the borrow trick flags is always a true zero byte.
      uint64_t const x = LoadWord(p + n) ^ LoadWord(previous + n);
      uint64_t const zeros = (x - kEveryByte) & ~x & (kEveryByte << 7);
      if (zeros != 0) return n + FirstNonzeroByte(zeros);
    }
    while (n < limit && p[n] != previous[n]) ++n;
    return n;
  }

  // Sets dst[0, n) to `value` with a few unaligned stores, the last one
  // overlapping the one before. (The compiler would turn a memset of a length
  // known to be small into a string instruction whose start-up dominates.)
  static void Fill(unsigned char* dst, unsigned char value, size_t n) {
    uint64_t const word = kEveryByte * value;
    if (n >= 16) {
      for (size_t at = 0; at + 16 <= n; at += 16) {
        StoreWord(dst + at, word);
        StoreWord(dst + at + 8, word);
      }
      StoreWord(dst + n - 16, word);
      StoreWord(dst + n - 8, word);
    } else if (n >= 8) {
      StoreWord(dst, word);
      StoreWord(dst + n - 8, word);
    } else if (n >= 4) {
      StoreWord(dst, static_cast<uint32_t>(word));
      StoreWord(dst + n - 4, static_cast<uint32_t>(word));
    } else if (n >= 2) {
      StoreWord(dst, static_cast<uint16_t>(word));
      StoreWord(dst + n - 2, static_cast<uint16_t>(word));
    } else if (n == 1) {
      *dst = value;
    }
  }

  // Copies src[0, n) to dst[0, n) in overlapping 16-, 8- and 4-byte pieces.
  // Requires: the two ranges do not overlap.
  static void Copy(unsigned char* dst, unsigned char const* src, size_t n) {
    if (n >= 16) {
      for (size_t at = 0; at + 16 <= n; at += 16) memcpy(dst + at, src + at, 16);
      memcpy(dst + n - 16, src + n - 16, 16);
    } else if (n >= 8) {
      uint64_t head, tail;
      memcpy(&head, src, 8);
      memcpy(&tail, src + n - 8, 8);
      memcpy(dst, &head, 8);
      memcpy(dst + n - 8, &tail, 8);
    } else if (n >= 4) {
      uint32_t head, tail;
      memcpy(&head, src, 4);
      memcpy(&tail, src + n - 4, 4);
      memcpy(dst, &head, 4);
      memcpy(dst + n - 4, &tail, 4);
    } else {
      for (size_t i = 0; i < n; ++i) dst[i] = src[i];
    }
  }
};

#if KR_HAVE_WIDE_BYTES

// Functions that use WideBytes carry this target too (and run only where
// WideBytesAvailable() says so).
#define KR_WIDE_BYTES_TARGET __attribute__((target("avx2,avx512f,avx512bw,avx512vl,bmi,bmi2")))

// True when the processor and the operating system run WideBytes.
inline bool WideBytesAvailable() {
  // libgcc's (and compiler-rt's) check includes the OS's saving of the
  // AVX-512 state.
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
         __builtin_cpu_supports("bmi2");
}

struct WideBytes {
  static constexpr size_t kWidth = 64;

  // A mask of the first n bytes. Requires: n <= 64.
  KR_WIDE_BYTES_TARGET static __mmask64 Prefix(size_t n) { return _bzhi_u64(~0ull, n); }

  KR_WIDE_BYTES_TARGET static __m512i Load(unsigned char const* p) {
    return _mm512_loadu_si512(p);
  }

  // As PlainBytes::CountEqual.
  KR_WIDE_BYTES_TARGET static size_t CountEqual(unsigned char const* p, size_t limit,
                                                unsigned char value) {
    __m512i const pattern = _mm512_set1_epi8(static_cast<char>(value));
    size_t n = 0;
    for (; limit - n >= kWidth; n += kWidth) {
      uint64_t const differs = _mm512_cmpneq_epi8_mask(Load(p + n), pattern);
      if (differs != 0) return n + _tzcnt_u64(differs);
    }
    if (n == limit) return limit;
    uint64_t differs;
    if (limit >= kWidth) {
      // The last 64 bytes of the range, shifted so that bit 0 is p[n].
      differs = _mm512_cmpneq_epi8_mask(Load(p + limit - kWidth), pattern) >>
                (kWidth - (limit - n));
    } else {
      __mmask64 const tail = Prefix(limit - n);
      differs = _mm512_mask_cmpneq_epi8_mask(tail, _mm512_maskz_loadu_epi8(tail, p + n), pattern);
    }
    return differs != 0 ? n + _tzcnt_u64(differs) : limit;
  }

  // As PlainBytes::CountUnequalToPrevious.
  KR_WIDE_BYTES_TARGET static size_t CountUnequalToPrevious(unsigned char const* p,
                                                            size_t limit) {
    unsigned char const* const previous = p - 1;
    size_t n = 0;
    for (; limit - n >= kWidth; n += kWidth) {
      uint64_t const equal = _mm512_cmpeq_epi8_mask(Load(p + n), Load(previous + n));
      if (equal != 0) return n + _tzcnt_u64(equal);
    }
    if (n == limit) return limit;
    uint64_t equal;
    if (limit >= kWidth) {
      size_t const last = limit - kWidth;  // as in CountEqual
      equal = _mm512_cmpeq_epi8_mask(Load(p + last), Load(previous + last)) >>
              (kWidth - (limit - n));
    } else {
      __mmask64 const tail = Prefix(limit - n);
      equal = _mm512_mask_cmpeq_epi8_mask(tail, _mm512_maskz_loadu_epi8(tail, p + n),
                                          _mm512_maskz_loadu_epi8(tail, previous + n));
    }
    return equal != 0 ? n + _tzcnt_u64(equal) : limit;
  }

  // As PlainBytes::Fill: below 32 bytes as there; up to 64 bytes as two
  // overlapping 32-byte stores; beyond, 64-byte stores, the last one
  // overlapping the one before. (Masked stores cost more than these.)
  KR_WIDE_BYTES_TARGET static void Fill(unsigned char* dst, unsigned char value, size_t n) {
    if (n < 32) {
      _mm256_mask_storeu_epi8(dst, _bzhi_u32(~0u, static_cast<unsigned>(n)),
                              _mm256_set1_epi8(static_cast<char>(value)));
      return;
    }
    if (n <= kWidth) {
      __m256i const pattern = _mm256_set1_epi8(static_cast<char>(value));
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), pattern);
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + n - 32), pattern);
      return;
    }
    __m512i const pattern = _mm512_set1_epi8(static_cast<char>(value));
    for (size_t at = 0; at + kWidth < n; at += kWidth) _mm512_storeu_si512(dst + at, pattern);
    _mm512_storeu_si512(dst + n - kWidth, pattern);
  }

  // As PlainBytes::Copy, in the same pieces as Fill.
  KR_WIDE_BYTES_TARGET static void Copy(unsigned char* dst, unsigned char const* src, size_t n) {
    if (n < 32) {
      __mmask32 const mask = _bzhi_u32(~0u, static_cast<unsigned>(n));
      _mm256_mask_storeu_epi8(dst, mask, _mm256_maskz_loadu_epi8(mask, src));
      return;
    }
    if (n <= kWidth) {
      __m256i const head = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(src));
      __m256i const tail = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(src + n - 32));
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), head);
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + n - 32), tail);
      return;
    }
    for (size_t at = 0; at + kWidth < n; at += kWidth) {
      _mm512_storeu_si512(dst + at, Load(src + at));
    }
    _mm512_storeu_si512(dst + n - kWidth, Load(src + n - kWidth));
  }
};

#endif  // KR_HAVE_WIDE_BYTES

}  // namespace kr_detail

#endif  // KR_SRC_MEMORY_BYTE_RUNS_H_
