// KrRawBuffer: a block that is copied, borrowed or adopted.
#include <kr/memory.h>

#include <stdlib.h>
#include <string.h>

namespace {

constexpr int kNoMemory = -2030;

bool Owns(KrRawBufferBehavior behaviour) {
  return behaviour == KrRawBufferCopy || behaviour == KrRawBufferAdopt;
}

// A private heap copy of `length` bytes, or null when none can be had.
void* CopyOf(void const* data, unsigned long length) {
  void* copy = malloc(length);
  if (copy) memcpy(copy, data, length);
  return copy;
}

}  // namespace

KrRawBuffer::KrRawBuffer(void* block, unsigned long size, KrRawBufferBehavior how)
    : data(size != 0 ? block : nullptr), length(block ? size : 0), behaviour(how) {
  if (behaviour == KrRawBufferCopy && data) {
    data = CopyOf(block, length);
    if (!data) length = 0;  // nothing was copied
  }
}

KrRawBuffer::KrRawBuffer(KrRawBuffer const& other)
    : data(other.data), length(other.length), behaviour(other.behaviour) {
  if (Owns(behaviour) && data) {
    data = CopyOf(other.data, length);
    if (!data) length = 0;  // nothing was copied
  }
}

KrRawBuffer::~KrRawBuffer() {
  if (Owns(behaviour) && data) free(data);
}

int KrRawBuffer::EnsureCapacity(unsigned long n) {
  if (length >= n) return 0;
  length = n;
  if (Owns(behaviour) && data) free(data);
  data = malloc(n);
  behaviour = KrRawBufferCopy;
  return data ? 0 : kNoMemory;
}

void* KrRawBuffer::GetBuf() const { return data; }

unsigned long KrRawBuffer::GetBufLen() const { return length; }
