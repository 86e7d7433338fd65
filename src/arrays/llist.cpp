// KrLList: an array whose elements lie back to back in a memory file.
#include <kr/arrays.h>
#include <kr/memory.h>

#include <limits.h>
#include <string.h>

#include <utility>

#include "arrays/poison.h"

namespace {

constexpr int kFileNoMemory = -10001;  // MemFile::SizeSet's refusal
constexpr unsigned short kSeekFromStart = 0;
constexpr unsigned short kSeekFromPosition = 1;
// Delete with shrink gives back this many slots at a time.
constexpr unsigned long kShrinkStep = 10;

// The byte offset (or size) of `n` elements of `width` bytes, or -1 when it
// does not fit the memory file's offsets; the memory file refuses negative
// offsets, so a -1 passed on reads and writes nothing.
long ByteOffset(unsigned long n, unsigned long width) {
  unsigned long bytes;
  if (__builtin_mul_overflow(n, width, &bytes) || bytes > static_cast<unsigned long>(LONG_MAX)) {
    return -1;
  }
  return static_cast<long>(bytes);
}

// Sizes `file` for `n` elements. Returns the memory file's result, or -10001
// with nothing touched when the size does not fit its offsets. A failed
// SizeSet has already set the logical size to the new value; it is put back,
// so that the list's content reads as before.
int SizeFile(MemFile* file, unsigned long n, unsigned short width) {
  long const bytes = ByteOffset(n, width);
  if (bytes < 0) return kFileNoMemory;
  long const before = file->logicalSize;
  int const result = file->SizeSet(bytes, 0);
  if (result != 0) file->SetLogicalSize(before);
  return result;
}

}  // namespace

KrLList::KrLList(unsigned short elementWidth, unsigned long initialCapacity, int* error)
    : KrVArray(elementWidth), capacity(0), memFile(new MemFile(0, 0)) {
  // Sized here rather than by the memory file's constructor, so that a
  // failure leaves the file empty instead of with a logical size past its
  // block.
  if (elementWidth != 0 && initialCapacity != 0) SizeFile(memFile, initialCapacity, elementWidth);
  capacity = initialCapacity;  // even when the file could not be sized
  if (error) *error = kKrArrayOk;
}

KrLList::KrLList(KrLList const& source) : KrVArray(0), capacity(0), memFile(new MemFile(0, 0)) {
  if (source.GetType() != kKrArrayTypeLList) return;
  count = source.count;
  width = source.width;
  capacity = source.capacity;
  SizeFile(memFile, count, width);
  memFile->Put(source.memFile, 0, 0);
}

KrLList::~KrLList() {
  if (memFile) {
    delete memFile;
    kr_detail::PoisonField(memFile, static_cast<MemFile*>(nullptr));
  }
  kr_detail::PoisonField(capacity, 0ul);
}

unsigned short KrLList::GetType() const { return kKrArrayTypeLList; }

unsigned long KrLList::GetCurMaxCount() const { return capacity; }

int KrLList::Init(unsigned short elementWidth, unsigned long n) {
  count = 0;
  width = elementWidth;
  if (elementWidth != 0 && (capacity != 0 || n != 0)) SizeFile(memFile, n, elementWidth);
  capacity = n;
  return kKrArrayOk;
}

int KrLList::SizeSet(unsigned long n) {
  if (n < count) return kKrArrayBadIndex;
  if (n == capacity) return kKrArrayOk;
  int const result = SizeFile(memFile, n, width);
  if (result == 0) capacity = n;
  return result;
}

int KrLList::Clear() { return Init(width, 0); }

int KrLList::Get(unsigned long index, void* out) const {
  if (index >= count) return kKrArrayBadIndex;
  memFile->Get(static_cast<unsigned char*>(out), ByteOffset(index, width), width);
  return kKrArrayOk;
}

void* KrLList::Element(unsigned long index) const {
  if (index >= count) return nullptr;
  unsigned long length = width;
  return memFile->GetPtr(ByteOffset(index, width), &length);
}

void* KrLList::PtrElement(unsigned long index) const {
  if (index >= count) return nullptr;
  long const offset = ByteOffset(index, sizeof(void*));
  return offset < 0 ? nullptr : memFile->GetPtr(offset, nullptr);
}

void* KrLList::PrepareInsert(unsigned long index) {
  if (Insert(index, nullptr) != kKrArrayOk) return nullptr;
  return Element(index);
}

int KrLList::Insert(unsigned long index, void const* data) {
  if (index > count) return kKrArrayBadIndex;
  if (count >= capacity) {
    // One slot at a time: amortising is the memory file's business.
    if (capacity == ULONG_MAX || SizeFile(memFile, capacity + 1, width) != 0) {
      return kKrArrayNoMemory;
    }
    ++capacity;
  }
  if (index < count) {
    memFile->Copy(ByteOffset(index + 1, width), ByteOffset(index, width),
                  ByteOffset(count - index, width));
  }
  if (data) memFile->Put(static_cast<unsigned char const*>(data), ByteOffset(index, width), width);
  ++count;
  return kKrArrayOk;
}

int KrLList::Update(unsigned long index, void const* data) {
  if (index >= count) return kKrArrayBadIndex;
  memFile->Put(static_cast<unsigned char const*>(data), ByteOffset(index, width), width);
  return kKrArrayOk;
}

int KrLList::Delete(unsigned long index, int shrink) {
  if (index >= count) return kKrArrayBadIndex;
  --count;
  memFile->Copy(ByteOffset(index, width), ByteOffset(index + 1, width),
                ByteOffset(count - index, width));
  if (!shrink) return kKrArrayOk;
  // Ten slots at a time, once ten stand empty.
  unsigned long const step = capacity < kShrinkStep ? capacity : kShrinkStep;
  unsigned long const target = capacity - step;
  if (count > target) return kKrArrayOk;
  capacity = target;
  SizeFile(memFile, capacity, width);  // a failed shrink keeps the larger file
  return kKrArrayOk;
}

int KrLList::Copy(KrVArray const* source) {
  if (source->GetType() != kKrArrayTypeLList) return kKrArrayWrongType;
  KrLList const* list = static_cast<KrLList const*>(source);
  count = list->count;
  width = list->width;
  capacity = list->capacity;
  SizeFile(memFile, count, width);
  // The content goes to the start of the file, wherever an Import left its
  // position.
  memFile->position = 0;
  memFile->Put(list->memFile, 0, 0);
  return kKrArrayOk;
}

int KrLList::Import(unsigned long n, MemFile* source) {
  long const byteCount = ByteOffset(n, width);
  unsigned long needed;
  if (byteCount < 0 || __builtin_add_overflow(count, n, &needed)) return kKrArrayNoMemory;
  if (needed > capacity) {
    // The capacity grows by the whole new count, not by what is missing.
    unsigned long grown;
    if (__builtin_add_overflow(capacity, needed, &grown) ||
        SizeFile(memFile, grown, width) != 0) {
      return kKrArrayNoMemory;
    }
    capacity = grown;
  }
  // One length passes through both seeks, each cutting it to what its file
  // holds; the count grows by n all the same.
  unsigned long bytes = static_cast<unsigned long>(byteCount);
  unsigned char* const from = source->Seek(0, kSeekFromPosition, &bytes, 0);
  unsigned char* const to = memFile->Seek(ByteOffset(count, width), kSeekFromStart, &bytes, 0);
  if (!from || !to) return kKrArrayNoMemory;
  memmove(to, from, bytes);  // the source may be this list's own file
  count += n;
  return kKrArrayOk;
}

KrLList* KrLList::CreateCopyAndClear() {
  KrLList* copy = new KrLList(width, 0, nullptr);
  // The new list takes this one's dispatch identity, so that a list of a
  // derived type (which adds no fields) moves into a list of that type.
  memcpy(static_cast<void*>(copy), static_cast<void const*>(this), sizeof(void*));
  copy->compare = compare;
  copy->count = count;
  copy->capacity = capacity;
  std::swap(memFile, copy->memFile);  // this list takes the new, empty file
  capacity = 0;
  Init(width, 0);
  return copy;
}
