// kr95Nbs arrays and lists: the abstract indexed array with its search, sorted
// insert and sort, the contiguous and memory-file lists, the sorted list, the
// intrusive linked lists, the bit string, the entry cache and entry stack.
#ifndef KR_ARRAYS_H_
#define KR_ARRAYS_H_

#include <kr/export.h>

// Bytes of the link word at the start of every cache block, and the least
// entry size (a returned entry holds a link in its first word). Both are one
// pointer: 4 bytes on i386, 8 on x86_64.
const unsigned long kKrEntryCacheLinkSize = sizeof(void*);
const unsigned long kKrEntryCacheMinEntrySize = sizeof(void*);
// Without an explicit count a block holds this many bytes of entries
// (rounded down to whole entries, at least one entry).
const unsigned long kKrEntryCacheDefaultBlockBytes = 494;

// A pool of fixed-size entries carved from blocks the cache allocates itself.
// There is no per-entry free: the owner gives every entry back at once
// (UngetAllEntries), and the blocks are kept for reuse until Clear. Single
// entries can be handed back through UngetEntry; GetEntry serves them first.
//
// Invariants: each block is one link word (the previously used block, or the
// next free block) followed by entriesPerBlock entries. Entries of the newest
// used block are handed out from its end towards its start; `remaining` is the
// number of bytes of that block still to hand out. `oldestUsedBlock` is the end
// of the used chain, so the whole chain moves to the free chain in constant
// time.
class KR_API KrEntryCache {
 public:
  // All fields zero, then Init(entrySize, entriesPerBlock, alignment).
  KrEntryCache(unsigned long entrySize, unsigned long entriesPerBlock, unsigned short alignment);
  // A cache of the same shape (entry size, entries per block, alignment);
  // no entries or blocks are copied.
  KrEntryCache(KrEntryCache const& other);
  KrEntryCache& operator=(KrEntryCache const&) = delete;
  // Releases all memory, as Clear does.
  virtual ~KrEntryCache();

  // Releases everything as Clear does, then sets the shape: entry size at
  // least kKrEntryCacheMinEntrySize and, for alignment > 1, rounded up to a
  // multiple of it; entriesPerBlock 0 means kKrEntryCacheDefaultBlockBytes /
  // entry size, but at least 1. An entry size that cannot be rounded without
  // overflowing becomes 0, so that GetEntry fails instead of handing out
  // entries that are too small.
  void Init(unsigned long entrySize, unsigned long entriesPerBlock, unsigned short alignment);

  // An entry of `entrySize` bytes: a returned entry if there is one, else the
  // next one of the newest block, else the last one of a kept or newly
  // allocated block. Null when no memory can be had or the shape is empty.
  void* GetEntry();

  // Gives one entry back; the next GetEntry hands it out again.
  // Requires: `entry` came from this cache's GetEntry since the last
  // UngetAllEntries and is not in use.
  void UngetEntry(void* entry);

  // Takes every entry back at once, keeping the blocks. Constant time.
  void UngetAllEntries();

  // UngetAllEntries, then frees every block.
  void Clear();

  char* usedBlocks;               // newest block in use (null: none)
  char* oldestUsedBlock;          // first block taken since the last reset
  unsigned long remaining;        // bytes of the newest block not handed out
  char* freeBlocks;               // blocks kept for reuse, linked by first word
  void* returnedEntries;          // entries given back, linked by first word
  unsigned long entrySize;        // bytes per entry
  unsigned long entriesPerBlock;  // entries per block
  unsigned short alignment;       // entry size is a multiple of it (if > 1)
};

// Callback that constructs or destroys one entry of a KrEntryStack.
typedef void (*KrEntryStackFunction)(KrTransactionContext* context, void* entry);

// A ring of fixed-size entries over a caller's buffer, walked forwards and
// backwards around a current entry. Entries are constructed lazily, through
// `createEntry`, the first time the walk reaches them, and destroyed through
// `destroyEntry` when the stack is.
//
// Invariants: the constructed entries are those from `bottom` to `top` going
// forwards around the ring (wrapping from `last` to `begin`); `current` is one
// of them. When the ring is full in one direction the step that way fails.
class KR_API KrEntryStack {
 public:
  // Constructs the first entry of `buffer` at once and makes it current.
  // Requires: `buffer` holds entryCount >= 1 entries of entrySize > 0 bytes
  // and outlives the stack. A null callback is skipped.
  KrEntryStack(KrTransactionContext* context, char* buffer, unsigned short entrySize,
               unsigned short entryCount, KrEntryStackFunction create,
               KrEntryStackFunction destroy);
  KrEntryStack(KrEntryStack const&) = delete;
  KrEntryStack& operator=(KrEntryStack const&) = delete;
  // DestroyAllEntries.
  ~KrEntryStack();

  // The entry after `current` (wrapping), constructing it if the walk has not
  // been there yet; null when the ring is full that way. Does not move
  // `current`.
  void* GetNextEntry();
  // The entry before `current` (wrapping), constructing it if needed; null
  // when the ring is full that way. Does not move `current`.
  void* GetPrevEntry();
  // Makes `entry` current if it is a constructed entry and returns it; null
  // (and `current` unchanged) otherwise.
  void* SetCurrentEntryWithTest(void* entry);
  // Destroys the entries from `from` up to and including `to`.
  void Destroy(char* from, char* to);
  // Destroys every constructed entry; the pointers are left as they are.
  void DestroyAllEntries();

  KrTransactionContext* context;      // passed to the callbacks
  char* begin;                        // first entry of the buffer
  char* last;                         // last entry of the buffer
  char* bottom;                       // oldest constructed entry
  char* current;                      // the entry the walk stands on
  char* top;                          // newest constructed entry
  unsigned short entrySize;           // bytes per entry
  KrEntryStackFunction createEntry;   // constructs an entry
  KrEntryStackFunction destroyEntry;  // destroys an entry
};

#endif  // KR_ARRAYS_H_
