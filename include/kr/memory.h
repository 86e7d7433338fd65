// kr95Nbs memory and byte buffers: the resize primitives and the low-memory
// handler, the memory file, CRC-32 checksums, run-length record compression,
// the byte queue, the node pool and the raw buffer.
#ifndef KR_MEMORY_H_
#define KR_MEMORY_H_

#include <kr/export.h>

// ---------------------------------------------------------------------------
// Resize primitives and the low-memory handler
//
// Raw blocks are obtained, grown, shrunk and released through one primitive
// that never throws: it returns 0 or -1 (out of memory), and before it
// returns -1 it calls the process-wide low-memory handler exactly once with
// the size that could not be had. The handler's answer is ignored and the
// allocation is never retried; a handler that frees memory helps only the
// caller's next attempt. Blocks are plain heap blocks (malloc, realloc,
// free): a block from here may be released with free.

// A low-memory handler: receives the byte count that could not be obtained.
typedef int (*KrMemoryHandler)(unsigned long size);

// The current low-memory handler; initially mmKrMemExcHdl. A plain
// unsynchronised global: install handlers during start-up, on one thread.
// Nothing guards against a null handler.
KR_API extern KrMemoryHandler mmKrMemExc;

// Allocates, grows, shrinks or frees `*block` in place:
//   size 0           frees a non-null block and nulls `*block`; returns 0
//   `*block` null    allocates `size` bytes into `*block`
//   otherwise        reallocates to `size` bytes; on failure `*block` keeps
//                    the old block with its contents
// Returns 0, or -1 after calling the handler in mmKrMemExc with `size` (the
// requested size, not the growth); a failed first allocation leaves `*block`
// null.
// Requires: `block` is not null; `*block` is null or a heap block.
KR_C_API int mmResize(void** block, unsigned long size);

// As mmResize, except that the handler is called through KrCallMemoryHandler
// (so a replacement of that function is honoured here, unlike in mmResize).
KR_C_API int mmFarResize(void** block, unsigned long size);

// Installs `handler` and returns the one installed before; passing that back
// restores it.
KR_API KrMemoryHandler mmKrSetHandler(KrMemoryHandler handler);

// Calls the current handler once with `size` and returns its answer.
KR_API int KrCallMemoryHandler(unsigned long size);

// The default handler. Writes
//   "\nNorvane runs out of memory.\nTried to allocate <size> bytes of memory.\n"
// to standard error, to the system log (KrSystemLog(), level 10) and to a
// message box (KrMessage(), no title, flags 0), then fails the assertion
// "\"Out of memory. Aborting!\" && 0" in file "src/resize", line 73: the
// assertion mode decides whether the process ends. Returns 0 if it goes on.
KR_API int mmKrMemExcHdl(unsigned long size);

// Memory-check hook. Checks nothing on this platform: always -1.
KR_C_API int KiroCheckMemory();

// ---------------------------------------------------------------------------
// Memory file
//
// A growable in-memory byte file: one heap block, a logical size (the bytes
// that count as content, at most the capacity) and a current position. The
// capacity is a whole number of equal segments whose size is a power of two;
// growth doubles the segment size rather than the segment count, so a file
// holds at most 7 segments until the segments reach 32768 bytes, and
// repeated appends cost few reallocations. Callers read and write by offset,
// or Seek and work through the returned pointer directly.
//
// Invariants: capacity = segmentCount * 2^segmentShift bytes, and `buffer`
// holds exactly that many (null while the capacity is 0). The position is not
// kept inside the content; every accessor checks its own bounds.
//
// The codes -10001 (no memory) and -10002 (beyond the capacity) have no text
// of their own. After a failed SizeSet the logical size already holds the
// requested value while the block keeps its old capacity and contents: treat
// the file as unusable, except to empty or destroy it. Accessors never touch
// bytes outside the block, even then.
//
// A destroyed file leaves 0xDEADDEAD in `buffer` (if it had a block), so a use
// after destruction faults recognisably. Not synchronised.
class KR_API MemFile {
 public:
  // Segments of 2^k bytes, where k is the number of significant bits of
  // segmentSize >> 1 (1024 -> 1024, 1000 -> 512, 0 and 1 -> 1); then
  // SizeSet(initialSize) when initialSize is non-zero, its result dropped.
  MemFile(long initialSize, long segmentSize);
  // Copies the content; both segment shifts become `other`'s current one.
  MemFile(MemFile const& other);
  virtual ~MemFile();
  // Copies the content and moves the position to 0; keeps this file's segment
  // shifts. Self-assignment is harmless.
  MemFile& operator=(MemFile const& other);

  // Sets the logical size and makes the capacity the least whole number of
  // segments that holds it, reallocating (also to shrink) when that differs:
  //  - size 0 frees the block and restores the initial segment size; the
  //    position is kept;
  //  - shrinking to one segment returns to the initial segment size;
  //  - more than 7 segments doubles the segment size (up to 32768 bytes) and
  //    halves the count, rounding up, until at most 7 remain.
  // Returns 0, or -10001 after calling KrCallMemoryHandler once with the byte
  // count (the logical size is set even then). A negative size, and one whose
  // segment count would not fit in 16 bits, is refused as out of memory.
  // `flags` is ignored.
  int SizeSet(long newSize, unsigned short flags);
  // Sets the logical size alone when the capacity holds it, else SizeSet.
  int SizeSetDontShrink(long newSize, unsigned short flags);
  // Sets the logical size alone: 0, or -10002 (nothing changes) when it
  // exceeds the capacity or is negative.
  int SetLogicalSize(long newSize);
  // Empties the file (logical size and position 0); also frees the block
  // and restores the initial segment size if the capacity exceeds keepLimit.
  void SetSizeZeroAndShrink(unsigned long keepLimit);

  // Moves the position and returns a pointer to it. The target is `offset`
  // from the start (whence 0 or any value but 1 and 2), from the position
  // (whence 1) or backwards from the logical end (whence 2). When target +
  // *length passes the logical end, *length is cut to the bytes left. A
  // target past the end or before the start, or at the end with a non-zero
  // *length, gives null and *length 0, the position unchanged; the end itself
  // with length 0 gives the end pointer. A null `length` asks for 0 bytes.
  // The last argument is ignored.
  unsigned char* Seek(long offset, unsigned short whence, unsigned long* length, unsigned short);

  // Writes `length` bytes at `offset`, growing the file (SizeSet) when they
  // pass the logical end. Returns the bytes written: `length`, or 0 when
  // growing failed or there is no block. The position does not move.
  long Put(unsigned char const* src, long offset, long length);
  // Reads up to `length` bytes at `offset`, cut at the logical end. Returns
  // the bytes read (0 at or past the end, or without a block).
  long Get(unsigned char* dst, long offset, long length);
  // Writes `length` bytes from this file's position into `dst` at
  // `dstOffset` (dst->Put). The source range is not checked against this
  // file's logical size, only against its block; the position does not move.
  long Get(MemFile* dst, unsigned long length, unsigned long dstOffset);
  // Writes `length` bytes of `src` from `srcOffset` (0: all from there to its
  // logical end; cut at its end) at this file's position, which does not move;
  // `src`'s position is restored. Returns the bytes written, 0 when the range
  // lies outside `src`. One case keeps the seek's position instead: a `src`
  // without a block (empty) whose start is asked for, where the seek succeeds
  // but yields no pointer; `src`'s position is 0 afterwards.
  long Put(MemFile const* src, unsigned long length, unsigned long srcOffset);
  // Swaps all six fields with `other`.
  void Exchange(MemFile* other);
  // Moves `length` bytes from `src` to `dst` inside the file (ranges may
  // overlap), first growing the file when dst + length passes the logical
  // end; a failure to grow is ignored and the copy goes ahead if the block
  // holds both ranges. Returns `length` (0 when the ranges leave the block).
  long Copy(long dst, long src, long length);
  // Removes [offset, offset + length), closing the gap, and shrinks the file
  // by `length` (SizeSet). Always 0; a range that does not lie within the
  // logical size is left alone.
  int Delete(unsigned long offset, unsigned long length);
  // The start of segment `n`. Not checked.
  unsigned char* GetSegment(unsigned long n);
  // buffer + offset. With a `length`, null when offset + *length passes the
  // logical end (or offset is negative); without one, not checked.
  unsigned char* GetPtr(long offset, unsigned long* length);
  // Sets every byte from `from` to the logical end to `value`; does nothing
  // unless 0 <= from < logical size.
  void InitializeWith(unsigned char value, long from);
  // The CRC-32 (as CalcCheckSum) of `length` bytes from `start`, or of
  // everything from `start` to the logical end when `length` is 0xFFFFFFFF,
  // continuing `*seed` (null: a new checksum). The part of a range that lies
  // past the logical end is not counted. Moves the position to `start`
  // (const notwithstanding).
  unsigned long CheckSum(unsigned long start, unsigned long length, unsigned long* seed) const;
  // Grows the logical size by 4 (as SizeSetDontShrink), stores that result
  // in `rc` and, unless it is negative, writes the low 32 bits of `value` in
  // native byte order at the position and advances the position by 4. The
  // size grows at the end while the value goes to the position, so appending
  // requires the position to stand at the end. Always returns 4, even when
  // nothing was written.
  unsigned long Write(unsigned long value, int& rc);

  unsigned char* buffer;  // owned; null while the capacity is 0
  long logicalSize;       // content bytes
  mutable long position;  // set by Seek (also from const members), advanced by Write
  short segmentCount;
  unsigned char segmentShift;         // log2 of the segment size
  unsigned char initialSegmentShift;  // the shift an emptied file returns to
};

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

// ---------------------------------------------------------------------------
// Memory queue, node pool and raw buffer

// A first-in first-out byte queue in a memory file: the queued bytes are the
// file's content from `readOffset` to the logical size. In compact mode every
// read moves the remaining bytes to offset 0 (and `readOffset` stays 0);
// otherwise reads only advance `readOffset`, and Delete(0) discards what has
// been read. The codes below have no text of their own. The queue's Put, Get
// and Delete hide the memory file's; reach those as MemFile::Put and so on.
// Not synchronised.
class KR_API MemQueue : public MemFile {
 public:
  // An empty queue in a memory file of 8-byte segments.
  explicit MemQueue(unsigned short compact);
  MemQueue(MemQueue const& other);
  MemQueue& operator=(MemQueue const& other);
  ~MemQueue() override;

  // Appends `n` bytes. Returns 0, -12002 (growing failed; the queue is left
  // as it was) or -12005 (the write came up short).
  int Put(void* src, unsigned long n);
  // Takes the `n` oldest bytes, all or nothing. Returns 0, -12001 (empty) or
  // -12003 (fewer than `n` queued), both leaving the queue as it was; -12004
  // (a read or move came up short); or, after a compacting read whose shrink
  // failed, the positive 12006 (the bytes were read).
  int Get(void* dst, unsigned long n);
  // Removes the bytes between `offset` and the read offset from the file and
  // makes `offset` the read offset. Returns 0.
  // Requires: offset <= readOffset.
  int Delete(unsigned long offset);

  long readOffset;         // the oldest unread byte
  unsigned short compact;  // non-zero: compact mode
};

// The records a KrMemPool keeps: one per buffer it obtained, and one per node
// returned to it (so a returned node is never written into).
struct KrMemPoolBuffer {
  KrMemPoolBuffer* next;  // the buffer obtained before
  void* block;
};
struct KrMemPoolFreeNode {
  KrMemPoolFreeNode* next;  // the node returned before
  void* node;
};

// Nodes of one size, carved from buffers of 4096 bytes (4096 / nodeSize
// nodes each; a node larger than that gets a buffer of its own). Returned
// nodes are reused last-returned first, with their contents untouched.
// There is no constructor: the owner zeroes the pool (KrMemPool pool{}), sets
// `nodeSize`, and calls DeallocateBuffers when done. Not synchronised.
//
// Invariant: `nextNode` is the node handed out last from the newest buffer
// and `lastNode` that buffer's last node; both are null before the first
// buffer.
class KR_API KrMemPool {
 public:
  static const unsigned long kBufferBytes = 4096;

  // A returned node if there is one, else the next fresh node of the newest
  // buffer, else the first node of a new buffer. Null when a new buffer
  // cannot be allocated.
  // Requires: nodeSize != 0.
  void* GetNode();
  // Takes `node` back (recording it in a small record of its own). If that
  // record cannot be allocated the node is not reused; its buffer still
  // releases it.
  void PutNode(void* node);
  // Obtains a new buffer and makes it the newest; its first node counts as
  // handed out.
  // Requires: nodeSize != 0.
  void AddNewBuffer();
  // Releases every buffer and record; the statistics stay (buffersFreed
  // counts the blocks released).
  void DeallocateBuffers();
  // Returned nodes waiting for reuse.
  unsigned long FreeListLength();
  // Fresh nodes left in the newest buffer (returned nodes not counted).
  unsigned long NodesAvailable();

  KrMemPoolBuffer* buffers;      // newest first
  KrMemPoolFreeNode* freeNodes;  // last returned first
  unsigned char* nextNode;
  unsigned char* lastNode;
  unsigned long nodeSize;
  unsigned long buffersAllocated;
  unsigned long buffersFreed;
  unsigned long nodesRequested;  // GetNode calls
  unsigned long nodesReturned;   // PutNode calls
};

// How a KrRawBuffer holds the block it is given.
enum KrRawBufferBehavior : int {
  KrRawBufferCopy = 0,    // makes and owns a private copy
  KrRawBufferBorrow = 1,  // refers to the caller's block, never frees it
  KrRawBufferAdopt = 2    // takes the caller's heap block over and frees it
};

// A pointer and a length that copies, borrows or adopts a block. The buffer
// owns `data` exactly when `behaviour` is KrRawBufferCopy or KrRawBufferAdopt;
// any other value borrows. Owned blocks are released with free. Not
// assignable; not synchronised.
class KR_API KrRawBuffer {
 public:
  // Keeps `data` only with a non-zero `length`, and `length` only with a
  // non-null `data` (so a block adopted with length 0 stays the caller's).
  // KrRawBufferCopy copies the bytes into a block of its own (if that block
  // cannot be allocated the buffer is left empty).
  // Requires for KrRawBufferAdopt: `data` comes from malloc.
  KrRawBuffer(void* data, unsigned long length, KrRawBufferBehavior behaviour);
  // An owning source yields a private copy, a borrowing one a borrowing copy
  // of the same pointer.
  KrRawBuffer(KrRawBuffer const& other);
  ~KrRawBuffer();
  KrRawBuffer& operator=(KrRawBuffer const&) = delete;

  // Makes room for at least `n` bytes. A buffer that is long enough is left
  // alone; otherwise it gets a fresh block of `n` bytes of its own (the old
  // contents are not carried over: this is scratch space), and the length
  // becomes `n` even when that fails. Returns 0, or -2030 (then `data` is
  // null).
  int EnsureCapacity(unsigned long n);
  void* GetBuf() const;
  unsigned long GetBufLen() const;

  void* data;
  unsigned long length;
  KrRawBufferBehavior behaviour;
};

#endif  // KR_MEMORY_H_
