// MemFile: a growable in-memory byte file of power-of-two segments.
#include <kr/memory.h>
#include <kr/platform.h>

#include <limits.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <utility>

namespace {

constexpr int kOutOfMemory = -10001;
constexpr int kBeyondCapacity = -10002;

// Growth keeps at most this many segments, doubling the segment size instead,
// until the segments reach 2^kLargestGrowthShift bytes; from there on the
// count grows freely, as far as the 16-bit segment count reaches.
constexpr long long kMostSegmentsBeforeDoubling = 7;
constexpr unsigned kLargestGrowthShift = 15;
constexpr long long kMaxSegmentCount = SHRT_MAX;
// The largest block: every offset into it must fit the logical size's type.
constexpr long long kMaxBlockBytes = LONG_MAX;

// The marker a destroyed file leaves in its block pointer.
constexpr uintptr_t kDestroyedMarker = 0xDEADDEAD;

// Byte-order code of native order for LongStore.
constexpr unsigned char kNativeOrder = 1;
constexpr long kWordBytes = 4;

// CheckSum's length meaning "up to the logical end".
constexpr unsigned long kToTheEnd = 0xFFFFFFFFul;

constexpr unsigned short kSeekFromStart = 0;
constexpr unsigned short kSeekFromPosition = 1;
constexpr unsigned short kSeekFromEnd = 2;

// The segment shift for a requested segment size: the number of significant
// bits of segmentSize >> 1. A negative size counts as its unsigned value (a
// signed shift would never reach zero).
unsigned char ShiftFor(long segmentSize) {
  unsigned char shift = 0;
  for (unsigned long rest = static_cast<unsigned long>(segmentSize) >> 1; rest != 0; rest >>= 1) {
    ++shift;
  }
  return shift;
}

// Segments of 2^shift bytes needed for `size` bytes (size >= 0).
long long SegmentsFor(long long size, unsigned shift) {
  unsigned long long const bytes = static_cast<unsigned long long>(size);
  unsigned long long const mask = (1ull << shift) - 1;
  return static_cast<long long>((bytes >> shift) + ((bytes & mask) != 0 ? 1 : 0));
}

// The capacity the fields describe; the block holds exactly that much.
long long CapacityOf(MemFile const& file) {
  if (file.segmentCount <= 0) return 0;
  unsigned const shift = file.segmentShift;
  if (shift >= 63 || file.segmentCount > (kMaxBlockBytes >> shift)) return kMaxBlockBytes;
  return static_cast<long long>(file.segmentCount) << shift;
}

// Whether [offset, offset + length) lies inside the block. Every byte access
// checks this too: it can only fail for arguments outside the documented
// ranges, or after a failed SizeSet left the logical size past the block.
bool InBlock(MemFile const& file, long long offset, long long length) {
  return offset >= 0 && length >= 0 && offset <= CapacityOf(file) - length;
}

// The offset of `p` in the file's block, or -1 when it points elsewhere.
long long OffsetInBlock(MemFile const& file, void const* p) {
  uintptr_t const at = reinterpret_cast<uintptr_t>(p);
  uintptr_t const start = reinterpret_cast<uintptr_t>(file.buffer);
  if (!file.buffer || at < start || at - start >= static_cast<uintptr_t>(CapacityOf(file))) {
    return -1;
  }
  return static_cast<long long>(at - start);
}

// buffer + offset, computed without pointer arithmetic so that the unchecked
// accessors stay defined for a null buffer.
unsigned char* At(unsigned char* buffer, long long offset) {
  return reinterpret_cast<unsigned char*>(reinterpret_cast<uintptr_t>(buffer) +
                                          static_cast<uintptr_t>(offset));
}

// SizeSet(newSize) for a size that grows the file within its last segment,
// without a call: the growth rule then keeps every field but the logical
// size (the segment count stays, and stays within the doubling limit), so
// only that changes. Returns false, changing nothing, for any other size.
bool GrowWithinLastSegment(MemFile& file, long newSize) {
  long long const segments = SegmentsFor(newSize, file.segmentShift);
  bool const sameSegments =
      file.logicalSize < newSize && segments == file.segmentCount && file.buffer &&
      (segments <= kMostSegmentsBeforeDoubling || file.segmentShift >= kLargestGrowthShift);
  if (sameSegments) file.logicalSize = newSize;
  return sameSegments;
}

// memcpy for the short pieces appends mostly are: up to 16 bytes as two
// overlapping loads and stores, without a call.
// Requires: the ranges do not overlap.
inline void CopyBytes(unsigned char* dst, unsigned char const* src, size_t n) {
  if (n > 16) {
    memcpy(dst, src, n);
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

// Writes the whole content of `source` at the position of `target`, leaving
// the source's position as it was.
void CopyContent(MemFile const& source, MemFile* target) {
  MemFile& from = const_cast<MemFile&>(source);  // Seek moves the mutable position only
  long const saved = from.position;
  unsigned long length = static_cast<unsigned long>(from.logicalSize);
  if (unsigned char* bytes = from.Seek(0, kSeekFromStart, &length, 0)) {
    target->Put(bytes, target->position, static_cast<long>(length));
  }
  from.position = saved;
}

}  // namespace

MemFile::MemFile(long initialSize, long segmentSize)
    : buffer(nullptr),
      logicalSize(0),
      position(0),
      segmentCount(0),
      segmentShift(ShiftFor(segmentSize)),
      initialSegmentShift(segmentShift) {
  if (initialSize != 0) SizeSet(initialSize, 0);
}

MemFile::MemFile(MemFile const& other)
    : buffer(nullptr),
      logicalSize(0),
      position(0),
      segmentCount(0),
      segmentShift(other.segmentShift),
      initialSegmentShift(other.segmentShift) {
  if (other.logicalSize == 0) return;
  SizeSet(other.logicalSize, 0);
  CopyContent(other, this);
}

MemFile::~MemFile() {
  if (!buffer) return;
  free(buffer);
  // A volatile store: the compiler may not drop it as a store to an object
  // whose lifetime ends here.
  *static_cast<unsigned char* volatile*>(&buffer) = reinterpret_cast<unsigned char*>(kDestroyedMarker);
}

MemFile& MemFile::operator=(MemFile const& other) {
  position = 0;
  SizeSet(other.logicalSize, 0);  // a failure shows as a short copy
  CopyContent(other, this);
  return *this;
}

int MemFile::SizeSet(long newSize, unsigned short) {
  if (newSize < 0) return kOutOfMemory;  // no such size: refused, nothing changes
  long long const oldCapacity = CapacityOf(*this);
  if (newSize == 0) {
    free(buffer);
    buffer = nullptr;
    segmentCount = 0;
    logicalSize = 0;
    segmentShift = initialSegmentShift;
    return 0;
  }

  unsigned shift = segmentShift;
  long long need = SegmentsFor(newSize, shift);
  // Shrinking into one segment returns to the initial segment size.
  if (newSize < logicalSize && need <= 1 && shift > initialSegmentShift) {
    shift = initialSegmentShift;
    need = SegmentsFor(newSize, shift);
  }
  // Few segments: double the segment size while there are more than 7.
  while (need > kMostSegmentsBeforeDoubling && shift < kLargestGrowthShift) {
    need = need / 2 + (need & 1);  // rounded up; need + 1 could overflow
    ++shift;
  }
  // Set before the allocation and kept if it fails, as callers expect.
  logicalSize = newSize;

  // A size beyond the 16-bit segment count or the offsets' type fails like a
  // refused allocation, before anything wraps.
  unsigned long long const bytes =
      static_cast<unsigned long long>(need) <= (ULLONG_MAX >> shift)
          ? static_cast<unsigned long long>(need) << shift
          : ULLONG_MAX;
  bool const representable =
      need <= kMaxSegmentCount && bytes <= static_cast<unsigned long long>(kMaxBlockBytes);
  if (representable && buffer && static_cast<long long>(bytes) == oldCapacity) {
    segmentShift = static_cast<unsigned char>(shift);
    segmentCount = static_cast<short>(need);
    return 0;
  }
  void* block = representable ? realloc(buffer, static_cast<size_t>(bytes)) : nullptr;
  if (!block) {
    // The old block stays, and so do the fields that describe it.
    KrCallMemoryHandler(bytes > ULONG_MAX ? ULONG_MAX : static_cast<unsigned long>(bytes));
    return kOutOfMemory;
  }
  buffer = static_cast<unsigned char*>(block);
  segmentShift = static_cast<unsigned char>(shift);
  segmentCount = static_cast<short>(need);
  return 0;
}

int MemFile::SizeSetDontShrink(long newSize, unsigned short flags) {
  if (newSize >= 0 && CapacityOf(*this) >= newSize) {
    logicalSize = newSize;
    return 0;
  }
  return SizeSet(newSize, flags);
}

int MemFile::SetLogicalSize(long newSize) {
  if (newSize < 0 || newSize > CapacityOf(*this)) return kBeyondCapacity;
  logicalSize = newSize;
  return 0;
}

void MemFile::SetSizeZeroAndShrink(unsigned long keepLimit) {
  if (static_cast<unsigned long long>(CapacityOf(*this)) > keepLimit) SizeSet(0, 0);
  logicalSize = 0;
  position = 0;
}

unsigned char* MemFile::Seek(long offset, unsigned short whence, unsigned long* length,
                             unsigned short) {
  long target = offset;
  bool overflow = false;
  if (whence == kSeekFromPosition) {
    overflow = __builtin_add_overflow(position, offset, &target);
  } else if (whence == kSeekFromEnd) {
    overflow = __builtin_sub_overflow(logicalSize, offset, &target);
  }
  unsigned long const requested = length ? *length : 0;
  unsigned long granted = requested;
  // A target before the start is refused like one past the end.
  bool refused = overflow || target < 0 || target > logicalSize;
  if (!refused && requested > static_cast<unsigned long>(logicalSize - target)) {
    refused = target == logicalSize;
    granted = static_cast<unsigned long>(logicalSize - target);
  }
  if (!refused && !InBlock(*this, target, static_cast<long long>(granted))) refused = true;
  if (refused) {
    if (length) *length = 0;
    return nullptr;
  }
  if (length) *length = granted;
  position = target;
  return At(buffer, target);
}

long MemFile::Put(unsigned char const* src, long offset, long length) {
  long end;
  // A negative or overflowing range writes nothing.
  if (offset < 0 || length < 0 || __builtin_add_overflow(offset, length, &end)) return 0;
  // A source inside this file's own block is found again if the block moves.
  long long const sourceOffset = OffsetInBlock(*this, src);
  if (logicalSize < end && !GrowWithinLastSegment(*this, end) && SizeSet(end, 0) != 0) return 0;
  if (!buffer || !InBlock(*this, offset, length)) return 0;
  if (sourceOffset >= 0) {
    memmove(buffer + offset, buffer + sourceOffset, static_cast<size_t>(length));
  } else {
    CopyBytes(buffer + offset, src, static_cast<size_t>(length));
  }
  return length;
}

long MemFile::Get(unsigned char* dst, long offset, long length) {
  if (offset < 0 || length < 0) return 0;  // a negative range reads nothing
  if (static_cast<long long>(offset) + length > logicalSize) {
    if (offset > logicalSize) return 0;
    length = logicalSize - offset;
  }
  if (!buffer || !InBlock(*this, offset, length)) return 0;
  if (length != 0) memmove(dst, buffer + offset, static_cast<size_t>(length));
  return length;
}

long MemFile::Get(MemFile* dst, unsigned long length, unsigned long dstOffset) {
  // Deliberately unchecked against the logical size; the block still bounds it.
  if (length > static_cast<unsigned long>(LONG_MAX) ||
      !InBlock(*this, position, static_cast<long long>(length))) {
    return 0;
  }
  if (dstOffset > static_cast<unsigned long>(LONG_MAX)) return 0;
  return dst->Put(At(buffer, position), static_cast<long>(dstOffset), static_cast<long>(length));
}

long MemFile::Put(MemFile const* src, unsigned long length, unsigned long srcOffset) {
  if (length == 0) length = static_cast<unsigned long>(src->logicalSize) - srcOffset;
  if (srcOffset > static_cast<unsigned long>(LONG_MAX)) return 0;
  MemFile* source = const_cast<MemFile*>(src);  // Seek moves the mutable position only
  long const saved = source->position;
  unsigned char* from = source->Seek(static_cast<long>(srcOffset), kSeekFromStart, &length, 0);
  if (!from) return 0;
  long const written = Put(from, position, static_cast<long>(length));
  source->position = saved;
  return written;
}

void MemFile::Exchange(MemFile* other) {
  std::swap(buffer, other->buffer);
  std::swap(logicalSize, other->logicalSize);
  std::swap(position, other->position);
  std::swap(segmentCount, other->segmentCount);
  std::swap(segmentShift, other->segmentShift);
  std::swap(initialSegmentShift, other->initialSegmentShift);
}

long MemFile::Copy(long dst, long src, long length) {
  long dstEnd;
  // Negative or overflowing ranges move nothing.
  if (dst < 0 || src < 0 || length < 0 || __builtin_add_overflow(dst, length, &dstEnd)) return 0;
  if (dstEnd > logicalSize) SizeSet(dstEnd, 0);  // a failure is ignored by design
  if (length == 0) return 0;
  if (dst == src) return length;
  if (!InBlock(*this, dst, length) || !InBlock(*this, src, length)) return 0;
  // Touching ranges count as overlapping, hence the strict comparisons.
  bool const disjoint = (dst < src && dstEnd < src) || (src < dst && src + length < dst);
  if (disjoint) {
    memcpy(buffer + dst, buffer + src, static_cast<size_t>(length));
  } else {
    memmove(buffer + dst, buffer + src, static_cast<size_t>(length));
  }
  return length;
}

int MemFile::Delete(unsigned long offset, unsigned long length) {
  unsigned long const size = static_cast<unsigned long>(logicalSize);
  // A range that does not lie within the content is left alone.
  if (logicalSize < 0 || offset > size || length > size - offset) return 0;
  long const tail = static_cast<long>(offset + length);
  Copy(static_cast<long>(offset), tail, logicalSize - tail);
  SizeSet(logicalSize - static_cast<long>(length), 0);
  return 0;
}

unsigned char* MemFile::GetSegment(unsigned long n) {
  return At(buffer, static_cast<long long>(n << segmentShift));
}

unsigned char* MemFile::GetPtr(long offset, unsigned long* length) {
  if (!length) return At(buffer, offset);
  // A negative offset is refused like a range past the end.
  if (offset < 0 || *length > static_cast<unsigned long long>(LONG_MAX) ||
      offset + static_cast<long long>(*length) > logicalSize ||
      !InBlock(*this, offset, static_cast<long long>(*length))) {
    return nullptr;
  }
  return buffer + offset;
}

void MemFile::InitializeWith(unsigned char value, long from) {
  if (!buffer || logicalSize < 1 || from < 0 || from >= logicalSize) return;
  if (!InBlock(*this, from, logicalSize - from)) return;
  memset(buffer + from, value, static_cast<size_t>(logicalSize - from));
}

unsigned long MemFile::CheckSum(unsigned long start, unsigned long length,
                                unsigned long* seed) const {
  MemFile* self = const_cast<MemFile*>(this);  // Seek moves the mutable position only
  unsigned long checksum = seed ? (*seed & 0xFFFFFFFFul) : 0;
  if (length == kToTheEnd) length = static_cast<unsigned long>(logicalSize);
  if (start > static_cast<unsigned long>(LONG_MAX)) return checksum;
  unsigned long done = 0;
  while (done < length) {
    unsigned long stretch = length - done;
    long const at = static_cast<long>(start) + static_cast<long>(done);
    unsigned char* bytes = self->Seek(at, kSeekFromStart, &stretch, 0);
    if (stretch == 0) break;  // past the logical end: stop instead of looping forever
    checksum = CalcCheckSum(bytes, stretch, &checksum);
    done += stretch;
  }
  return checksum;
}

unsigned long MemFile::Write(unsigned long value, int& rc) {
  if (logicalSize > LONG_MAX - kWordBytes) {
    rc = kOutOfMemory;  // the size would not fit its type
    return kWordBytes;
  }
  rc = SizeSetDontShrink(logicalSize + kWordBytes, 0);
  if (rc < 0) return kWordBytes;
  // A position outside the block gets nothing, rather than a write out of
  // bounds.
  if (!InBlock(*this, position, kWordBytes)) return kWordBytes;
  uint32_t const word = static_cast<uint32_t>(value);
  LongStore(buffer + position, &word, kNativeOrder, 1);
  position += kWordBytes;
  return kWordBytes;
}
