// MemQueue: a first-in first-out byte queue in a memory file.
#include <kr/memory.h>

#include <limits.h>

namespace {

constexpr long kQueueInitialSize = 0;
constexpr long kQueueSegmentSize = 8;

constexpr int kQueueEmpty = -12001;
constexpr int kQueueGrowFailed = -12002;
constexpr int kQueueTooShort = -12003;
constexpr int kQueueReadShort = -12004;
constexpr int kQueueWriteShort = -12005;
// Positive, unlike the others: the bytes were delivered, only the shrink
// after the compacting move failed.
constexpr int kQueueShrinkFailed = 12006;

}  // namespace

MemQueue::MemQueue(unsigned short compact)
    : MemFile(kQueueInitialSize, kQueueSegmentSize), readOffset(0), compact(compact) {}

MemQueue::MemQueue(MemQueue const& other)
    : MemFile(other), readOffset(other.readOffset), compact(other.compact) {}

MemQueue& MemQueue::operator=(MemQueue const& other) {
  MemFile::operator=(other);
  readOffset = other.readOffset;
  compact = other.compact;
  return *this;
}

MemQueue::~MemQueue() {}

int MemQueue::Put(void* src, unsigned long n) {
  long const end = logicalSize;
  if (n > static_cast<unsigned long>(LONG_MAX - end)) return kQueueGrowFailed;  // would not fit
  long const count = static_cast<long>(n);
  if (SizeSet(end + count, 0) != 0) {
    // The block kept its size and the queued bytes: forget the size the
    // failed growth set, so the queue stays usable.
    SetLogicalSize(end);
    return kQueueGrowFailed;
  }
  long const written = MemFile::Put(static_cast<unsigned char const*>(src), end, count);
  return written == count ? 0 : kQueueWriteShort;
}

int MemQueue::Get(void* dst, unsigned long n) {
  long const available = logicalSize - readOffset;
  // A read offset past the content (set through Delete) counts as empty.
  if (available <= 0) return kQueueEmpty;
  if (static_cast<unsigned long>(available) < n) return kQueueTooShort;
  long const count = static_cast<long>(n);
  if (MemFile::Get(static_cast<unsigned char*>(dst), readOffset, count) != count) {
    return kQueueReadShort;
  }
  if (compact) {
    long const remaining = available - count;
    if (Copy(0, count, remaining) != remaining) return kQueueReadShort;
    if (SizeSet(remaining, 0) != 0) return kQueueShrinkFailed;
  } else {
    readOffset += count;
  }
  return 0;
}

int MemQueue::Delete(unsigned long offset) {
  int const result = MemFile::Delete(offset, static_cast<unsigned long>(readOffset) - offset);
  readOffset = static_cast<long>(offset);
  return result;
}
