// kr95Nbs arrays and lists: the abstract indexed array with its search, sorted
// insert and sort, the contiguous and memory-file lists, the sorted list, the
// intrusive linked lists, the bit string, the entry cache and entry stack.
#ifndef KR_ARRAYS_H_
#define KR_ARRAYS_H_

#include <kr/export.h>

class KrVArray;
class MemFile;

// ---------------------------------------------------------------------------
// Result codes and constants of the arrays and lists

// Results of the arrays. The codes -501 to -508 are this family's own and
// have no text in the result-text table; -2030 and -2106 have.
enum KrArrayResult {
  kKrArrayOk = 0,
  kKrArrayNoMemory = -501,        // out of memory, or the count limit reached
  kKrArrayBadIndex = -502,        // index out of range, or key not found
  kKrArrayZeroWidth = -503,       // Init with element width 0
  kKrArrayWrongType = -506,       // Copy from an array of another type
  kKrArrayNotSupported = -507,    // Merge
  kKrArrayDuplicate = -508,       // key present and duplicates not allowed
  kKrArrayNoSortMemory = -2030,   // Sort could not allocate its scratch element
  kKrArrayNoCompare = -2106       // Sort without a compare function
};

// Type codes returned by KrVArray::GetType.
const unsigned short kKrArrayTypeCList = 1;
const unsigned short kKrArrayTypeLList = 2;  // SortList too

// Orders two elements: negative when `a` sorts before `b`, 0 when they are
// equal, positive when `a` sorts after `b`.
typedef int (*KrArrayCompare)(KrVArray const* array, void* a, void* b);

// ---------------------------------------------------------------------------
// Abstract array

// An indexed sequence of `count` untyped elements of `width` bytes each, with
// a caller-supplied order. Concrete arrays supply the storage (the pure
// operations); binary search, sorted insertion, comparison at an index and an
// in-place quicksort are implemented here once, through Element and Insert.
//
// Contract of every concrete array, on which the algorithms here rely:
// Element(i) is the address of element i (valid until the next insertion,
// deletion or resize) and null for i >= count; Insert(i, data) with
// i <= count opens a slot at i, moving elements i.. up by one, and fills it
// from `data` unless `data` is null, and yields -502 for i > count; Get,
// Update and Delete yield -502 for i >= count.
//
// The virtual operations keep this declaration order (the order of the
// dispatch table). A destroyed array leaves compare null, count 0xFFFFFFFF
// and width 0xFFFF behind, so that a late use is recognisable. Not
// synchronised.
class KR_API KrVArray {
 public:
  // compare null, count 0, the given width.
  explicit KrVArray(unsigned short elementWidth);
  // Copies compare, count and width; storage is the concrete class's.
  KrVArray(KrVArray const& other);
  virtual ~KrVArray();

  // kKrArrayTypeCList or kKrArrayTypeLList.
  virtual unsigned short GetType() const = 0;
  // The most elements the array can ever hold: 0xFFFFFFFF (no limit) here.
  virtual unsigned long GetMaxCount() const;
  // The elements the storage holds now (the capacity).
  virtual unsigned long GetCurMaxCount() const = 0;
  virtual int Init(unsigned short elementWidth, unsigned long capacity) = 0;
  // Sets the capacity.
  virtual int SizeSet(unsigned long capacity) = 0;
  virtual int Clear() = 0;
  // Copies element `index` to `out`.
  virtual int Get(unsigned long index, void* out) const = 0;
  // The address of element `index`, null when index >= count.
  virtual void* Element(unsigned long index) const = 0;
  // Opens an unfilled slot at `index`; its address, or null on failure.
  virtual void* PrepareInsert(unsigned long index) = 0;
  virtual int Insert(unsigned long index, void const* data) = 0;
  virtual int Update(unsigned long index, void const* data) = 0;
  // Removes element `index`; a non-zero `shrink` lets the storage shrink.
  virtual int Delete(unsigned long index, int shrink) = 0;
  // Becomes a copy of `source`, which must be of the same type (else -506).
  virtual int Copy(KrVArray const* source) = 0;

  // Inserts at the place Search finds for `key`: after the element found
  // when allowDuplicates is non-zero, else -508 (nothing changes). With
  // copyKey non-zero the slot is filled from `key`; with 0 it is left
  // unwritten for the caller to fill. Returns Insert's result; on success
  // `*position` (if given) is the index of the new element.
  // Requires: a compare function, and the array sorted by it.
  virtual int SortedInsert(void const* key, unsigned long* position, int allowDuplicates,
                           int copyKey);
  // Binary search for `key`, passed to compare as its second argument with
  // the element as its third. Found: 0, `*position` the index of whichever
  // equal element the halving meets first, the element copied to `out` (if
  // given). Not found: -502, `*position` the index at which `key` would be
  // inserted to keep the order (0 for an empty array).
  // Requires: a compare function, and the array sorted by it.
  virtual int Search(void const* key, unsigned long* position, void* out) const;
  // -502 when index >= count. Otherwise compares `key` with element `index`
  // and returns the compare function's own value when it is non-zero or
  // `out` is null; on equality the element is copied to `out` and 0
  // returned.
  // Requires: a compare function.
  virtual int SearchAt(unsigned long index, void* key, void* out) const;
  // Sorts ascending, in place, by an unstable quicksort whose pivot is the
  // first element of each range (equal elements gather on its left).
  // Returns 0, -2106 without a compare function, or -2030 when the scratch
  // element cannot be allocated (nothing changes in either case). The
  // argument is ignored.
  // Below 64 elements each partition calls the compare function exactly as
  // this algorithm does, though the smaller side of a partition is sorted
  // first. From 64 elements on the result is reached faster: the compare function
  // may then be called in another order and another number of times than
  // this algorithm would call it, and with the addresses of copies of the
  // elements; for a compare function that orders consistently by the
  // elements' bytes the array ends exactly as this algorithm leaves it.
  virtual int Sort(unsigned short);
  // Not supported: always -507.
  virtual int Merge(KrVArray const* other, unsigned short);

  // Sorts elements first..last, partitioning exactly as a plain recursion on
  // both sides would, but recursing only into the smaller side and looping
  // on the larger, so the stack depth stays below log2 of the range length.
  // Returns 0. `scratch` holds one element.
  int _QuickSort(long first, long last, void* scratch);
  // Partitions first..last around element `first`, which stays in place
  // (and is compared there, as the third argument) until the final
  // exchange; elements equal to it end on its left. Returns its final index.
  // Requires: 0 <= first <= last < count.
  long _Partition(long first, long last, void* scratch);
  // Exchanges elements i and j through `scratch`.
  void _Swap(unsigned long i, unsigned long j, void* scratch);

  KrArrayCompare compare;  // null until the owner sets one
  unsigned long count;     // elements in use
  unsigned short width;    // bytes per element
};

// ---------------------------------------------------------------------------
// Contiguous list

// The most elements a KrCList holds.
const unsigned short kKrCListMaxCount = 32767;

// A small array in one heap block: the elements lie back to back, so element
// access is address arithmetic. The capacity doubles on growth (the last
// step towards the 32767-element limit halves the increment until it fits)
// and halves on a Delete with shrink once the count falls to half of it.
//
// Invariants: count <= capacity <= maxCount; `buffer` holds capacity * width
// bytes and is null while the capacity is 0. maxCount is 32767, or 0 after
// an Init with width 0 (every Insert then fails with -502).
class KR_API KrCList : public KrVArray {
 public:
  // Init(elementWidth, initialCapacity); its result goes to `*error` if
  // given (-503 for width 0, -501 when the buffer cannot be allocated).
  KrCList(unsigned short elementWidth, int initialCapacity, int* error);
  // An empty list of width 0, then, when `source` is a KrCList, a copy of
  // its width, capacity, count and whole buffer, with maxCount 32767 (0 for
  // width 0). The compare function is not copied. When the buffer cannot be
  // allocated the list stays empty with width 0; nothing is reported.
  KrCList(KrCList const& source);
  KrCList& operator=(KrCList const&) = delete;
  // Frees the buffer.
  ~KrCList() override;

  unsigned short GetType() const override;          // 1
  unsigned long GetMaxCount() const override;       // maxCount
  unsigned long GetCurMaxCount() const override;    // capacity
  // Count 0; capacity min(capacity, 32767) allocated at once (-501, buffer
  // null with the capacity kept, after calling the low-memory handler once,
  // when that fails; the next Insert asks for the block again); -503 and
  // maxCount 0 for width 0. Does not free a buffer already there.
  int Init(unsigned short elementWidth, unsigned long capacity) override;
  // 0 when `capacity` equals the current one; -502 below the count, -501
  // above 32767 or when the buffer cannot be resized.
  int SizeSet(unsigned long capacity) override;
  // Frees the buffer and returns Init(width, 0).
  int Clear() override;
  int Get(unsigned long index, void* out) const override;
  void* Element(unsigned long index) const override;
  void* PrepareInsert(unsigned long index) override;
  // -502 when index > count or index >= maxCount; -501 when the list is
  // full at 32767 elements or the buffer cannot grow (nothing changes).
  // Requires: `data` is null or does not point into this list.
  int Insert(unsigned long index, void const* data) override;
  int Update(unsigned long index, void const* data) override;
  // With `shrink` non-zero the capacity halves (at most once per call) when
  // the count falls to half of it or below; a failed shrink goes unnoticed.
  int Delete(unsigned long index, int shrink) override;
  // -506 unless `source` is a KrCList; -501 when the buffer cannot be
  // resized. Copies width, capacity, count and the whole source buffer,
  // empty slots included; maxCount and compare stay.
  int Copy(KrVArray const* source) override;

  unsigned short maxCount;  // 32767, or 0 after Init with width 0
  unsigned short capacity;  // element slots in `buffer`
  unsigned char* buffer;    // owned; null while the capacity is 0 or after a failed Init
};

// ---------------------------------------------------------------------------
// Memory-file list and sorted list

// An array whose elements lie back to back in a memory file it owns (element
// i at bytes i * width up to (i + 1) * width - 1). It has no count limit,
// grows by one element at a time (the memory file amortises), shrinks by ten
// slots at a time on a Delete with shrink, appends a block of elements
// straight from another memory file (Import) and hands its whole storage to
// a new list in constant time (CreateCopyAndClear).
//
// Invariants: count <= capacity; the memory file was last sized to
// capacity * width bytes (a copy may size it to its content instead). Sizes
// that do not fit the memory file's offsets are refused as out of memory.
// A destroyed list leaves memFile null and capacity 0. Not synchronised.
class KR_API KrLList : public KrVArray {
 public:
  // Creates the memory file (initialCapacity * width bytes) and sets the
  // capacity to initialCapacity (even when the memory file could not be
  // sized). Always stores 0 in `*error` if given.
  KrLList(unsigned short elementWidth, unsigned long initialCapacity, int* error);
  // An empty list of width 0 with a memory file of its own, then, when
  // `source` is of type 2, a copy of its count, width, capacity and memory
  // file content. The compare function is not copied.
  KrLList(KrLList const& source);
  KrLList& operator=(KrLList const&) = delete;
  // Deletes the memory file.
  ~KrLList() override;

  unsigned short GetType() const override;        // 2
  unsigned long GetCurMaxCount() const override;  // capacity
  // Always 0: count 0, the given width, and for a non-zero width the memory
  // file sized to capacity * width (left alone when the old and the new
  // capacity are both 0); the capacity field is set in every case.
  int Init(unsigned short elementWidth, unsigned long capacity) override;
  // -502 below the count; 0 when unchanged; otherwise the memory file's
  // result (0, or -10001 when it cannot be resized; the capacity then stays).
  int SizeSet(unsigned long capacity) override;
  // Init(width, 0).
  int Clear() override;
  int Get(unsigned long index, void* out) const override;
  // Null also when the element does not lie whole in the memory file.
  void* Element(unsigned long index) const override;
  void* PrepareInsert(unsigned long index) override;
  // -502 when index > count; -501 when a full list cannot grow by one slot
  // (nothing changes).
  // Requires: `data` is null or does not point into this list.
  int Insert(unsigned long index, void const* data) override;
  int Update(unsigned long index, void const* data) override;
  // With `shrink` non-zero the capacity drops by ten slots (or to 0) when at
  // least ten slots stand empty; a failed shrink goes unnoticed.
  int Delete(unsigned long index, int shrink) override;
  // -506 unless `source` is of type 2. Takes its count, width and capacity,
  // sizes the memory file to the count and copies the source's whole memory
  // file content to the start of this one; memory-file failures go
  // unnoticed.
  int Copy(KrVArray const* source) override;

  // For lists of pointers: the address of byte index * sizeof(void*) of the
  // memory file (4 on i386), whatever the width, without checking that the
  // bytes lie in it; null when index >= count.
  void* PtrElement(unsigned long index) const;
  // Appends n elements read from `source` at its position, which does not
  // move. When the list is too small, the capacity grows by count + n (the
  // whole new count, not just what is missing); -501 when that fails (the
  // capacity stays). The byte count passes through both files, each cutting
  // it to what it holds from the offset concerned, and that many bytes are
  // copied; the count grows by n all the same. -501, nothing copied, when
  // either file has nothing at the offset.
  int Import(unsigned long n, MemFile* source);
  // Moves the whole list into a new heap list of the same dynamic type in
  // constant time (no element is copied) and leaves this one empty with the
  // same width and capacity 0. The caller owns the result.
  // Requires: the dynamic type adds no fields to KrLList (true of SortList).
  KrLList* CreateCopyAndClear();

  unsigned long capacity;  // element slots the memory file is sized for
  MemFile* memFile;        // owned; holds the elements
};

// A KrLList given its compare function at construction, so that Search,
// SortedInsert and Sort work on it at once. Adds no fields; its type code
// is 2 as well.
class KR_API SortList : public KrLList {
 public:
  // A KrLList of width 4 and capacity 0, then the compare function, then
  // KrLList::Init(elementWidth, initialCapacity).
  SortList(unsigned short elementWidth, KrArrayCompare compareFunction,
           unsigned long initialCapacity);
  // The KrLList copy: the compare function is not carried over.
  SortList(SortList const& source);
  ~SortList() override;

  using KrLList::Init;
  // Sets the compare function, then KrLList::Init(elementWidth, capacity).
  int Init(unsigned short elementWidth, KrArrayCompare compareFunction, unsigned long capacity);
};

// ---------------------------------------------------------------------------
// Intrusive linked lists

// The links of an item of a KrLinkedList; client classes derive their items
// from it. An item belongs to at most one list, and is destroyed only
// through that list or after being removed from it.
class KR_API KrLinkedListItem {
 public:
  KrLinkedListItem();
  // A copy is a new, unlinked item (copying the links would make it pose as
  // a member of the original's list).
  KrLinkedListItem(KrLinkedListItem const&);
  // Leaves this item's links alone.
  KrLinkedListItem& operator=(KrLinkedListItem const&);
  // UnLink.
  virtual ~KrLinkedListItem();

  // Joins the neighbours to each other and clears this item's links. The
  // item does not know its list: never use this on a list's head or tail
  // (the list's ends would not follow); use the list's removals instead.
  void UnLink();

  KrLinkedListItem* previous;  // null at the head
  KrLinkedListItem* next;      // null at the tail
};

// A doubly linked list that owns its items: deleting, clearing or destroying
// the list deletes them through their virtual destructor, so items must come
// from new. Items passed in must have null links.
//
// Invariant: head and tail are both null or both non-null.
class KR_API KrLinkedList {
 public:
  KrLinkedList();
  KrLinkedList(KrLinkedList const&) = delete;
  KrLinkedList& operator=(KrLinkedList const&) = delete;
  // Clear.
  virtual ~KrLinkedList();

  // Links `item` in front of the head. The item's `previous` is not written.
  void InsertFirst(KrLinkedListItem* item);
  // Links `item` after the tail. The item's `next` is not written.
  void Append(KrLinkedListItem* item);
  // Unlinks the head (nothing on an empty list); it is neither deleted nor
  // returned.
  void RemoveFirst();
  // Unlinks the tail (nothing on an empty list); not deleted.
  void RemoveLast();
  // Unlinks `item` (found by identity, from the head); not deleted. 0, or
  // -502 when it is not in this list.
  int RemoveItem(KrLinkedListItem* item);
  // Unlinks and deletes the head (nothing on an empty list).
  void DeleteFirst();
  // Unlinks and deletes the tail (nothing on an empty list).
  void DeleteLast();
  // RemoveItem, and on success deletes the item; returns RemoveItem's result
  // (-502: not in this list, not deleted).
  int DeleteItem(KrLinkedListItem* item);
  // Deletes every item, from the head to the tail.
  void Clear();

  KrLinkedListItem* head;
  KrLinkedListItem* tail;
};

// The link of an item of a KrSimpleLinkedList. Not polymorphic.
class KR_API KrSimpleLinkedListItem {
 public:
  KrSimpleLinkedListItem();

  KrSimpleLinkedListItem* next;  // null at the end
};

// A singly linked list that owns nothing: removals hand the item back, and
// destroying the list leaves the items as they are, still linked. Not
// polymorphic.
class KR_API KrSimpleLinkedList {
 public:
  KrSimpleLinkedList();

  // Links `item` in front of the head.
  void InsertFirst(KrSimpleLinkedListItem* item);
  // Links `item` after the last item (linear in the length).
  // Requires: item->next is null.
  void Append(KrSimpleLinkedListItem* item);
  // Unlinks and returns the first item; null on an empty list.
  KrSimpleLinkedListItem* RemoveFirst();
  // Unlinks and returns the last item; null on an empty list.
  KrSimpleLinkedListItem* RemoveLast();
  // Unlinks and returns `item`; null (nothing changes) when it is not in
  // the list.
  KrSimpleLinkedListItem* RemoveItem(KrSimpleLinkedListItem* item);

  KrSimpleLinkedListItem* head;
};

// ---------------------------------------------------------------------------
// Bit string

// Results of the bit string.
const int kKrBitOutOfRange = -2005;  // index or area outside the string
const int kKrBitAreaTaken = -1;      // an area is not wholly clear (or set)

// A fixed-length bit map with a running count of its set bits: single-bit
// operations, a search for the next set or clear bit, and all-or-nothing
// area operations that claim or release a run of bits only when the whole
// run is in the expected state, as an allocation map needs.
//
// Invariants: bit i lives in bytes[i >> 3] under the mask 1 << (i & 7);
// `bytes` holds (length >> 3) + 1 bytes, one spare byte when the length is a
// multiple of 8; setCount is the number of set bits below `length`. The
// spare bits past the length are clear, except after SetAll, which sets
// them too. Not copyable; not synchronised.
class KR_API _KrBitString {
 public:
  // All bits clear.
  explicit _KrBitString(unsigned long bitCount);
  _KrBitString(_KrBitString const&) = delete;
  _KrBitString& operator=(_KrBitString const&) = delete;
  // Frees the bytes and leaves length 0.
  ~_KrBitString();

  // -2005 when i >= length; sets bit i (counting it if it was clear); 0.
  int Set(unsigned long i);
  // -2005 when i >= length; clears bit i (counting it if it was set); 0.
  int Reset(unsigned long i);
  // -2005 when i >= length; `value` = the bit's masked byte value: 0 when
  // clear, else 1 << (i & 7) (1, 2, 4 ... 128, not 1); 0.
  int Get(unsigned long i, int& value) const;
  // -2005 when i >= length; inverts bit i, `previous` = its old value as 0
  // or 1; 0.
  int Flip(unsigned long i, int& previous);
  unsigned long Length() const;
  // The number of set bits.
  unsigned long GetNum() const;
  // Every byte 0xFF (the spare bits too); set count = length; 0.
  int SetAll();
  // Every byte 0; set count 0; 0.
  int ResetAll();
  // The first bit from `from` upwards that is set (value non-zero) or clear
  // (value 0): 0 and `at` its index; -2005 and `at` = length when there is
  // none or from >= length.
  int Find(unsigned long from, int value, unsigned long& at) const;
  // -2005 when the area start..start+n-1 passes the length (nothing
  // changes). -1 when a bit in it is set, `at` = that bit's offset in the
  // area (not its index), nothing changed. Otherwise sets the n bits and
  // adds n to the set count; 0. An area of 0 bits succeeds when start <=
  // length.
  int TestAndSetArea(unsigned long start, unsigned long n, unsigned long& at);
  // The mirror of TestAndSetArea: -1 with `at` at the first clear bit, else
  // clears the n bits and subtracts n from the set count.
  int TestAndResetArea(unsigned long start, unsigned long n, unsigned long& at);

  unsigned char* bytes;    // owned (array new)
  unsigned long length;    // bits
  unsigned long setCount;  // bits set
};

// ---------------------------------------------------------------------------
// Entry cache and entry stack

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
