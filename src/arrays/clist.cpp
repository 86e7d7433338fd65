// KrCList: a contiguous array of at most 32767 elements in one heap block.
#include <kr/arrays.h>
#include <kr/memory.h>

#include <stdlib.h>
#include <string.h>

namespace {

// Bytes of a block of `capacity` elements of `width` bytes: 65535 * 65535 at
// most, which fits an unsigned long on every target.
unsigned long BlockBytes(unsigned long capacity, unsigned short width) {
  return capacity * width;
}

// Copies `bytes` bytes; nothing for 0 (whose addresses may be null).
void CopyBytes(void* to, void const* from, unsigned long bytes) {
  if (bytes != 0 && to && from) memcpy(to, from, bytes);
}

// As CopyBytes, for ranges that may overlap.
void MoveBytes(void* to, void const* from, unsigned long bytes) {
  if (bytes != 0 && to && from) memmove(to, from, bytes);
}

// Guard: after an Init whose block could not be had, a list has a capacity
// but no block, and inserting would write through a null pointer; the block
// is asked for first instead. False when it still cannot be had.
bool HaveBlock(KrCList& list) {
  if (list.buffer || list.capacity == 0) return true;
  void* block = nullptr;
  if (mmResize(&block, BlockBytes(list.capacity, list.width)) != 0) return false;
  list.buffer = static_cast<unsigned char*>(block);
  return true;
}

}  // namespace

KrCList::KrCList(unsigned short elementWidth, int initialCapacity, int* error)
    : KrVArray(elementWidth), maxCount(0), capacity(0), buffer(nullptr) {
  // A negative capacity converts to a huge one and is cut to the limit.
  int const result = Init(elementWidth, static_cast<unsigned long>(initialCapacity));
  if (error) *error = result;
}

KrCList::KrCList(KrCList const& source) : KrVArray(0), maxCount(0), capacity(0), buffer(nullptr) {
  if (source.GetType() != kKrArrayTypeCList) return;
  void* block = nullptr;
  if (mmResize(&block, BlockBytes(source.capacity, source.width)) != 0) return;
  buffer = static_cast<unsigned char*>(block);
  width = source.width;
  capacity = source.capacity;
  count = source.count;
  maxCount = width != 0 ? kKrCListMaxCount : 0;
  CopyBytes(buffer, source.buffer, BlockBytes(capacity, width));
}

KrCList::~KrCList() {
  if (buffer) free(buffer);
}

unsigned short KrCList::GetType() const { return kKrArrayTypeCList; }

unsigned long KrCList::GetMaxCount() const { return maxCount; }

unsigned long KrCList::GetCurMaxCount() const { return capacity; }

int KrCList::Init(unsigned short elementWidth, unsigned long initialCapacity) {
  count = 0;
  capacity = static_cast<unsigned short>(initialCapacity);
  width = elementWidth;
  if (elementWidth == 0) {
    maxCount = 0;
    buffer = nullptr;
    return kKrArrayZeroWidth;
  }
  maxCount = kKrCListMaxCount;
  if (initialCapacity > kKrCListMaxCount) capacity = kKrCListMaxCount;
  if (capacity == 0) {
    buffer = nullptr;
    return kKrArrayOk;
  }
  unsigned long const bytes = BlockBytes(capacity, width);
  buffer = static_cast<unsigned char*>(malloc(bytes));
  if (!buffer) {
    KrCallMemoryHandler(bytes);  // once, and no retry
    return kKrArrayNoMemory;  // the capacity stays as asked, without a block
  }
  return kKrArrayOk;
}

int KrCList::SizeSet(unsigned long n) {
  if (n < count) return kKrArrayBadIndex;
  if (n == capacity) return kKrArrayOk;
  if (n > maxCount) return kKrArrayNoMemory;
  void* block = buffer;
  if (mmResize(&block, BlockBytes(n, width)) != 0) return kKrArrayNoMemory;
  buffer = static_cast<unsigned char*>(block);
  capacity = static_cast<unsigned short>(n);  // n <= 32767: never truncated
  return kKrArrayOk;
}

int KrCList::Clear() {
  if (buffer) free(buffer);
  return Init(width, 0);
}

int KrCList::Get(unsigned long index, void* out) const {
  if (index >= count) return kKrArrayBadIndex;
  CopyBytes(out, buffer + index * width, width);
  return kKrArrayOk;
}

void* KrCList::Element(unsigned long index) const {
  if (index >= count) return nullptr;
  return buffer + index * width;
}

void* KrCList::PrepareInsert(unsigned long index) {
  if (Insert(index, nullptr) != kKrArrayOk) return nullptr;
  return buffer + index * width;
}

int KrCList::Insert(unsigned long index, void const* data) {
  if (index > count || index >= maxCount) return kKrArrayBadIndex;
  if (!HaveBlock(*this)) return kKrArrayNoMemory;
  if (count >= capacity) {
    if (count == maxCount) return kKrArrayNoMemory;
    // Double, halving the increment (as a 16-bit value) until it fits under
    // the limit. It cannot reach 0 while capacity < maxCount; the check only
    // stops a loop on fields a caller has set inconsistently.
    unsigned short increment = capacity != 0 ? capacity : 1;
    while (static_cast<unsigned long>(capacity) + increment > maxCount) {
      increment = static_cast<unsigned short>(increment >> 1);
      if (increment == 0) return kKrArrayNoMemory;
    }
    unsigned long const grown = static_cast<unsigned long>(capacity) + increment;
    void* block = buffer;
    if (mmResize(&block, BlockBytes(grown, width)) != 0) return kKrArrayNoMemory;
    buffer = static_cast<unsigned char*>(block);
    capacity = static_cast<unsigned short>(grown);
  }
  unsigned char* const slot = buffer + index * width;
  if (index < count) MoveBytes(slot + width, slot, (count - index) * width);
  if (data) CopyBytes(slot, data, width);
  ++count;
  return kKrArrayOk;
}

int KrCList::Update(unsigned long index, void const* data) {
  if (index >= count) return kKrArrayBadIndex;
  CopyBytes(buffer + index * width, data, width);
  return kKrArrayOk;
}

int KrCList::Delete(unsigned long index, int shrink) {
  if (index >= count) return kKrArrayBadIndex;
  --count;
  unsigned char* const slot = buffer + index * width;
  if (index < count) MoveBytes(slot, slot + width, (count - index) * width);
  unsigned short const half = static_cast<unsigned short>(capacity >> 1);
  if (count > half || !shrink) return kKrArrayOk;
  capacity = half;
  void* block = buffer;
  // A failed shrink keeps the larger block, which still holds every slot.
  mmResize(&block, BlockBytes(capacity, width));
  buffer = static_cast<unsigned char*>(block);
  return kKrArrayOk;
}

int KrCList::Copy(KrVArray const* source) {
  if (source->GetType() != kKrArrayTypeCList) return kKrArrayWrongType;
  KrCList const* list = static_cast<KrCList const*>(source);
  void* block = buffer;
  if (mmResize(&block, BlockBytes(list->capacity, list->width)) != 0) return kKrArrayNoMemory;
  buffer = static_cast<unsigned char*>(block);
  width = list->width;
  capacity = list->capacity;
  count = list->count;
  // The whole source block, empty slots included; the source may be this
  // list.
  MoveBytes(buffer, list->buffer, BlockBytes(capacity, width));
  return kKrArrayOk;
}
