// CalcCheckSum: the library's CRC-32 with a seed carried between calls.
#include <kr/memory.h>

#include <stdint.h>

#include "memory/crc32.h"

unsigned long CalcCheckSum(unsigned char* data, unsigned long length, unsigned long* seed) {
  // A checksum has 32 bits even where unsigned long has 64: stray upper bits
  // of a caller's seed must not leak into the register or the result.
  uint32_t const checksum = seed ? static_cast<uint32_t>(*seed & 0xFFFFFFFFu) : 0;
  if (!data || length == 0) return checksum;
  // The register is the complement of the checksum, on entry and on exit.
  return static_cast<uint32_t>(~kr_detail::Crc32Update(~checksum, data, length));
}
