// kr95Nbs memory and byte buffers: the resize primitives and the low-memory
// handler, the memory file, CRC-32 checksums, run-length record compression,
// the byte queue, the node pool and the raw buffer.
#ifndef KR_MEMORY_H_
#define KR_MEMORY_H_

#include <kr/export.h>

// ---------------------------------------------------------------------------
// Checksums
//
// The standard CRC-32 (reflected polynomial 0xEDB88320, register starting all
// ones, result complemented), the same value zlib's crc32 and the common
// crc32 tools give; the checksum of the ASCII digits "123456789" is
// 0xCBF43926. A value can be carried across calls: passing the result of one
// call as the seed of the next continues the same checksum, so the pieces of
// a buffer give the value of the whole.

// Adds `length` bytes at `data` to the checksum `*seed` (null: start a new
// checksum) and returns the result. `*seed` is read, never written. A null
// `data` or a `length` of 0 returns the seed value (0 without a seed). Only
// the low 32 bits of `*seed` count, and the result always fits in 32 bits.
// Requires: `data` holds `length` readable bytes.
KR_API unsigned long CalcCheckSum(unsigned char* data, unsigned long length, unsigned long* seed);

// ---------------------------------------------------------------------------
// Record compression
//
// A byte-oriented run-length code for records with long stretches of one byte
// value (zero padding, blank fill). The compressed form is a plain sequence of
// items, with no header, terminator or checksum; the caller keeps its length:
//   run      count c (1 to 255), value v         c copies of v       2 bytes
//   literal  0x00, length n (0 to 255), n bytes  the n bytes as is   n + 2 bytes
// A run of 3 or more equal bytes becomes run items (255 bytes at most each);
// other bytes go into literal items of at most 255 bytes, a run of one or two
// equal bytes included. The functions keep no state and allocate nothing.

// Compresses the `srcLen` bytes at `src` into `dst`, whose capacity is
// `*dstLen` on entry. Returns 0 and stores the compressed length in `*dstLen`
// when the result is strictly shorter than the capacity, else -1 (`*dstLen`
// unchanged, `dst` holds undefined bytes), so that the caller stores the
// record plain instead. Some checks are stricter than the bytes written:
// before it splits a run or a literal stretch longer than 255 bytes, the
// compressor wants room for 257 more bytes, even for a 2-byte run item. The
// first source byte is read even when `srcLen` is below 1: such a record
// compresses to the run item (1, src[0]) when the capacity is at least 3. A
// null `src` returns -1.
// Requires: `src` holds max(srcLen, 1) readable bytes; `dst` has room for
// `*dstLen` bytes.
KR_API int DScomp(unsigned char* src, int srcLen, unsigned char* dst, int* dstLen);

// Expands the compressed bytes `src[0, srcLen)` into `dst`, whose capacity is
// `*dstLen` on entry; `*dstLen` receives the number of bytes produced. Items
// are never split: an item that does not fit whole ends the expansion before
// it, and the result is 2. The result is also 2 when a non-empty input
// produced nothing (for instance with a capacity of 0), else 0; a capacity
// filled exactly ends the expansion with 0 even if items remain. The input
// is trusted: an item that runs past `srcLen` is read whole.
// Requires: every item starting before `srcLen` lies wholly in readable
// memory (check input of unknown origin with DScheck first); `dst` has room
// for `*dstLen` bytes.
KR_API int DSdecomp(unsigned char* src, int srcLen, unsigned char* dst, int* dstLen);

// The expanded length of the compressed bytes `src[0, srcLen)`, without
// expanding them; 0 when `srcLen` is not positive. An item that runs past
// `srcLen` is counted whole (and read whole). The sum wraps like 32-bit
// arithmetic when it exceeds the range of int.
// Requires: as DSdecomp.
KR_API int DSlen(unsigned char* src, int srcLen);

// Validates compressed bytes of unknown origin: returns their expanded length
// when every item lies wholly inside `src[0, srcLen)` and the length fits in
// an int, else -1 (also for a negative `srcLen`, or a null `src` with a
// positive `srcLen`). Reads nothing outside `src[0, srcLen)`. An input that
// passes can be handed to DSdecomp with a capacity of the returned length.
KR_API int DScheck(unsigned char const* src, int srcLen);

#endif  // KR_MEMORY_H_
