// The CRC-32 register update behind CalcCheckSum, in four interchangeable
// implementations that give identical results.
//
// Each function takes the 32-bit register as it stands (not complemented),
// adds `length` bytes and returns the new register; complementing on entry
// and exit is the caller's business. Updates chain: Update(Update(r, a), b)
// equals Update(r, a followed by b).
#ifndef KR_SRC_MEMORY_CRC32_H_
#define KR_SRC_MEMORY_CRC32_H_

#include <stddef.h>
#include <stdint.h>

namespace kr_detail {

// The reflected CRC-32 polynomial (IEEE 802.3).
constexpr uint32_t kCrc32Polynomial = 0xEDB88320u;

// The reference: one table lookup per byte.
uint32_t Crc32Bytewise(uint32_t reg, unsigned char const* data, size_t length);

// Sixteen bytes per round through sixteen tables, the rest byte by byte.
uint32_t Crc32Sliced(uint32_t reg, unsigned char const* data, size_t length);

// True when this processor can run Crc32Folded (x86 with PCLMULQDQ).
bool Crc32FoldedAvailable();

// Carry-less multiplication folding 64 bytes per round; stretches of fewer
// than kCrc32FoldedMinimum bytes and the tail go through Crc32Sliced.
// Requires: Crc32FoldedAvailable().
uint32_t Crc32Folded(uint32_t reg, unsigned char const* data, size_t length);
constexpr size_t kCrc32FoldedMinimum = 64;

// True when this processor (and its OS) can run Crc32FoldedWide: x86 with
// AVX-512 and VPCLMULQDQ.
bool Crc32WideAvailable();

// The same folding on 512-bit registers, 256 bytes per round; stretches of
// fewer than kCrc32WideMinimum bytes go through Crc32Folded, the tail through
// Crc32Sliced. Requires: Crc32WideAvailable().
uint32_t Crc32FoldedWide(uint32_t reg, unsigned char const* data, size_t length);
constexpr size_t kCrc32WideMinimum = 256;
// How far ahead Crc32FoldedWide asks for the data it will fold, while the
// data reach that far. Data that are not in the cache then arrive faster
// than the processor's own prefetcher brings them (on 16 MiB: from 7 % below
// the speed of a plain read to that speed); data in the cache do not notice.
constexpr size_t kCrc32WidePrefetchDistance = 4096;

// The fastest of the above that this processor runs.
uint32_t Crc32Update(uint32_t reg, unsigned char const* data, size_t length);

}  // namespace kr_detail

#endif  // KR_SRC_MEMORY_CRC32_H_
