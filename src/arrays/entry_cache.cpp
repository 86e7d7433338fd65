// KrEntryCache: fixed-size entries carved from self-allocated blocks.
#include <kr/arrays.h>

#include <climits>
#include <cstdlib>
#include <cstring>

namespace {

// Link words are read and written through memcpy: a block starts aligned,
// but an entry of a cache without alignment need not be.
void* ReadLink(void const* at) {
  void* link;
  std::memcpy(&link, at, sizeof link);
  return link;
}

void WriteLink(void* at, void const* link) { std::memcpy(at, &link, sizeof link); }

}  // namespace

KrEntryCache::KrEntryCache(unsigned long size, unsigned long perBlock, unsigned short align)
    : usedBlocks(nullptr),
      oldestUsedBlock(nullptr),
      remaining(0),
      freeBlocks(nullptr),
      returnedEntries(nullptr),
      entrySize(0),
      entriesPerBlock(0),
      alignment(0) {
  Init(size, perBlock, align);
}

// Copies the shape only: no entries, no blocks.
KrEntryCache::KrEntryCache(KrEntryCache const& other)
    : KrEntryCache(other.entrySize, other.entriesPerBlock, other.alignment) {}

KrEntryCache::~KrEntryCache() { Clear(); }

void KrEntryCache::Init(unsigned long size, unsigned long perBlock, unsigned short align) {
  Clear();
  if (size < kKrEntryCacheMinEntrySize) size = kKrEntryCacheMinEntrySize;
  if (align > 1 && size % align != 0) {
    unsigned long padding = align - size % align;
    size = size > ULONG_MAX - padding ? 0 : size + padding;
  }
  entrySize = size;
  alignment = align;
  if (perBlock == 0 && size != 0) {
    perBlock = kKrEntryCacheDefaultBlockBytes / size;
    if (perBlock == 0) perBlock = 1;
  }
  entriesPerBlock = perBlock;
}

void* KrEntryCache::GetEntry() {
  if (returnedEntries) {
    void* entry = returnedEntries;
    returnedEntries = ReadLink(entry);
    return entry;
  }
  if (remaining != 0) {
    remaining -= entrySize;
    return usedBlocks + kKrEntryCacheLinkSize + remaining;
  }
  if (entrySize == 0 || entriesPerBlock == 0) return nullptr;

  char* block = freeBlocks;
  if (block) {
    freeBlocks = static_cast<char*>(ReadLink(block));
  } else {
    // A block size that does not fit in the address space cannot be had.
    if (entriesPerBlock > (ULONG_MAX - kKrEntryCacheLinkSize) / entrySize) return nullptr;
    block = static_cast<char*>(std::malloc(entrySize * entriesPerBlock + kKrEntryCacheLinkSize));
    if (!block) return nullptr;
  }
  WriteLink(block, usedBlocks);
  usedBlocks = block;
  if (!oldestUsedBlock) oldestUsedBlock = block;
  remaining = (entriesPerBlock - 1) * entrySize;
  return block + kKrEntryCacheLinkSize + remaining;
}

void KrEntryCache::UngetEntry(void* entry) {
  WriteLink(entry, returnedEntries);
  returnedEntries = entry;
}

void KrEntryCache::UngetAllEntries() {
  if (usedBlocks) {
    WriteLink(oldestUsedBlock, freeBlocks);
    freeBlocks = usedBlocks;
    usedBlocks = nullptr;
    oldestUsedBlock = nullptr;
  }
  remaining = 0;
  returnedEntries = nullptr;
}

void KrEntryCache::Clear() {
  UngetAllEntries();
  while (freeBlocks) {
    char* next = static_cast<char*>(ReadLink(freeBlocks));
    std::free(freeBlocks);
    freeBlocks = next;
  }
}
