// Run-length record compression: DScomp, DSdecomp, DSlen and DScheck.
#include <kr/memory.h>

#include <limits.h>
#include <stdint.h>
#include <string.h>

namespace {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "the word-at-a-time scans below find the first byte at the low end");

constexpr int kMaxItemCount = 255;     // longest run or literal one item holds
constexpr int kRunLimit = 256;         // a pure run this long is split
constexpr int kRunItemSize = 2;        // count, value
constexpr int kLiteralHeaderSize = 2;  // 0x00, length
constexpr unsigned char kLiteralMarker = 0;
// Room the compressor wants before it splits a long run or a long literal
// stretch: that of a full literal item, even where it writes a 2-byte run
// item. The stricter test is part of the format's behaviour (it decides which
// records count as compressible) and is kept.
constexpr int kSplitRoom = kMaxItemCount + kLiteralHeaderSize;

constexpr uint64_t kEveryByte = 0x0101010101010101ull;

inline uint64_t LoadWord(unsigned char const* p) {
  uint64_t word;
  memcpy(&word, p, sizeof word);
  return word;
}

// Short fills and copies (an item holds at most 255 bytes) as a few
// unaligned 16-, 8-, 4-, 2- and 1-byte stores, the last one overlapping the
// one before. The compiler would otherwise turn memset and memcpy with a
// length known to be small into string instructions, whose start-up cost
// dominates at these sizes. Neither writes outside [dst, dst + n).
template <typename Word>
inline void StoreWord(unsigned char* dst, Word word) {
  memcpy(dst, &word, sizeof word);
}

inline void FillShort(unsigned char* dst, unsigned char value, size_t n) {
  uint64_t const word = kEveryByte * value;
  if (n >= 16) {
    for (size_t at = 0; at + 16 <= n; at += 16) {
      StoreWord(dst + at, word);
      StoreWord(dst + at + 8, word);
    }
    StoreWord(dst + n - 16, word);
    StoreWord(dst + n - 8, word);
  } else if (n >= 8) {
    StoreWord(dst, word);
    StoreWord(dst + n - 8, word);
  } else if (n >= 4) {
    StoreWord(dst, static_cast<uint32_t>(word));
    StoreWord(dst + n - 4, static_cast<uint32_t>(word));
  } else if (n >= 2) {
    StoreWord(dst, static_cast<uint16_t>(word));
    StoreWord(dst + n - 2, static_cast<uint16_t>(word));
  } else if (n == 1) {
    *dst = value;
  }
}

// Requires: the two ranges do not overlap.
inline void CopyShort(unsigned char* dst, unsigned char const* src, size_t n) {
  unsigned char chunk[16];
  if (n >= 16) {
    for (size_t at = 0; at + 16 <= n; at += 16) {
      memcpy(chunk, src + at, 16);
      memcpy(dst + at, chunk, 16);
    }
    memcpy(chunk, src + n - 16, 16);
    memcpy(dst + n - 16, chunk, 16);
  } else if (n >= 8) {
    memcpy(chunk, src, 8);
    memcpy(chunk + 8, src + n - 8, 8);
    memcpy(dst, chunk, 8);
    memcpy(dst + n - 8, chunk + 8, 8);
  } else if (n >= 4) {
    memcpy(chunk, src, 4);
    memcpy(chunk + 4, src + n - 4, 4);
    memcpy(dst, chunk, 4);
    memcpy(dst + n - 4, chunk + 4, 4);
  } else {
    for (size_t i = 0; i < n; ++i) dst[i] = src[i];
  }
}

// Index of the lowest nonzero byte of a nonzero word.
inline int FirstNonzeroByte(uint64_t word) { return __builtin_ctzll(word) / 8; }

// The number of bytes at `p`, at most `limit`, equal to `value`.
size_t CountEqual(unsigned char const* p, size_t limit, unsigned char value) {
  uint64_t const pattern = kEveryByte * value;
  size_t n = 0;
  while (limit - n >= sizeof(uint64_t)) {
    uint64_t const differs = LoadWord(p + n) ^ pattern;
    if (differs != 0) return n + FirstNonzeroByte(differs);
    n += sizeof(uint64_t);
  }
  while (n < limit && p[n] == value) ++n;
  return n;
}

// The number of bytes from `p`, at most `limit`, that each differ from the
// byte before them (p[-1] is the first one's predecessor).
size_t CountUnequalToPrevious(unsigned char const* p, size_t limit) {
  size_t n = 0;
  while (limit - n >= sizeof(uint64_t)) {
    // A zero byte k in the difference means p[n + k] == p[n + k - 1]. The
    // lowest byte the borrow trick flags is always a true zero byte.
    uint64_t const x = LoadWord(p + n) ^ LoadWord(p + n - 1);
    uint64_t const zeros = (x - kEveryByte) & ~x & (kEveryByte << 7);
    if (zeros != 0) return n + FirstNonzeroByte(zeros);
    n += sizeof(uint64_t);
  }
  while (n < limit && p[n] != p[n - 1]) ++n;
  return n;
}

// The compressor's output: a capacity, the bytes written so far and the room
// tests. Invariant: written <= capacity.
class ItemWriter {
 public:
  ItemWriter(unsigned char* dst, int capacity) : dst_(dst), capacity_(capacity) {}

  int written() const { return written_; }
  // Having room for `bytes` means written + bytes does not pass the capacity.
  bool HasRoom(int bytes) const { return capacity_ - written_ >= bytes; }
  // Once the output reaches its capacity no final item can fit any more.
  bool Full() const { return written_ >= capacity_; }

  // Requires: HasRoom(kRunItemSize).
  void PutRun(int count, unsigned char value) {
    dst_[written_] = static_cast<unsigned char>(count);
    dst_[written_ + 1] = value;
    written_ += kRunItemSize;
  }

  // Requires: HasRoom(length + kLiteralHeaderSize), length <= kMaxItemCount.
  void PutLiteral(unsigned char const* bytes, int length) {
    dst_[written_] = kLiteralMarker;
    dst_[written_ + 1] = static_cast<unsigned char>(length);
    CopyShort(dst_ + written_ + kLiteralHeaderSize, bytes, static_cast<size_t>(length));
    written_ += length + kLiteralHeaderSize;
  }

 private:
  unsigned char* dst_;
  int capacity_;
  int written_ = 0;
};

// The compressor reads the source once, keeping a pending stretch of bytes
// read but not yet written: src[next - pending, next). The stretch ends in a
// run of `run` equal bytes, all equal to src[next - 1]; a run of 3 or more is
// the whole stretch (pending == run), and pending and run stay below 256.
// Runs of 3 or more become run items; shorter runs stay in the literal
// stretch. The byte-by-byte rules are applied in bulk where they do nothing
// but count: along a run (until it reaches kRunLimit) and along bytes that
// each differ from the one before (until the stretch reaches kRunLimit).
class Compressor {
 public:
  Compressor(unsigned char const* src, int srcLen, ItemWriter* out)
      : src_(src), end_(srcLen > 1 ? static_cast<size_t>(srcLen) : 1), out_(out) {}

  // Reads the whole source; false when a room test failed or the output is
  // full, either of which makes the final item impossible.
  bool ReadAll() {
    while (next_ < end_) {
      bool const ok = src_[next_] == src_[next_ - 1] ? TakeEqualBytes() : TakeUnequalBytes();
      if (!ok || out_->Full()) return false;
    }
    return true;
  }

  // Writes the pending stretch as the last item: a run item when it is one
  // run (even of 1 or 2 bytes), else one literal item (even if it ends in a
  // pair). The whole output must stay strictly below the capacity.
  bool Flush() {
    int const size = pending_ <= run_ ? kRunItemSize : pending_ + kLiteralHeaderSize;
    if (!out_->HasRoom(size + 1)) return false;
    if (pending_ <= run_) {
      out_->PutRun(pending_, src_[next_ - 1]);
    } else {
      out_->PutLiteral(src_ + next_ - pending_, pending_);
    }
    return true;
  }

 private:
  // src[next_] equals the byte before it.
  bool TakeEqualBytes() {
    if (pending_ == run_) {
      size_t const limit = static_cast<size_t>(kRunLimit - run_);
      int const n = static_cast<int>(CountEqual(src_ + next_, Min(end_ - next_, limit),
                                                src_[next_ - 1]));
      run_ += n;
      pending_ += n;
      next_ += static_cast<size_t>(n);
      if (run_ < kRunLimit) return true;
      // The last byte of the run stays pending as the start of a new run.
      if (!out_->HasRoom(kSplitRoom)) return false;
      out_->PutRun(kMaxItemCount, src_[next_ - 1]);
      pending_ = run_ = 1;
      return true;
    }
    ++run_;
    ++pending_;
    ++next_;
    if (run_ > 2 || pending_ == kRunLimit) {
      // Write the literal bytes before the run and keep the run pending.
      int const length = pending_ - run_;
      if (!out_->HasRoom(length + kLiteralHeaderSize)) return false;
      out_->PutLiteral(src_ + next_ - pending_, length);
      pending_ = run_;
    }
    return true;
  }

  // src[next_] differs from the byte before it.
  bool TakeUnequalBytes() {
    if (run_ > 2) {
      // The pending stretch is exactly that run.
      if (!out_->HasRoom(kRunItemSize)) return false;
      out_->PutRun(run_, src_[next_ - 1]);
      pending_ = run_ = 1;
      ++next_;
      return true;
    }
    // This byte and every following one that differs from its predecessor
    // join the literal stretch; a stretch that reaches kRunLimit bytes gives
    // its first 255 as a literal item.
    size_t remaining = 1 + CountUnequalToPrevious(src_ + next_ + 1, end_ - next_ - 1);
    run_ = 1;
    while (remaining > 0) {
      size_t const step = Min(remaining, static_cast<size_t>(kRunLimit - pending_));
      pending_ += static_cast<int>(step);
      next_ += step;
      remaining -= step;
      if (pending_ == kRunLimit) {
        if (!out_->HasRoom(kSplitRoom)) return false;
        out_->PutLiteral(src_ + next_ - kRunLimit, kMaxItemCount);
        pending_ = 1;
        if (out_->Full()) return false;
      }
    }
    return true;
  }

  static size_t Min(size_t a, size_t b) { return a < b ? a : b; }

  unsigned char const* src_;
  size_t const end_;  // bytes to read; at least 1
  ItemWriter* out_;
  size_t next_ = 1;   // the first byte is read in every case
  int pending_ = 1;
  int run_ = 1;
};

}  // namespace

int DScomp(unsigned char* src, int srcLen, unsigned char* dst, int* dstLen) {
  // Guard: without a first byte there is nothing to read; storing plain is
  // the caller's way out.
  if (!src) return -1;
  ItemWriter out(dst, *dstLen);
  Compressor compressor(src, srcLen, &out);
  if (*dstLen >= 1 && !compressor.ReadAll()) return -1;
  if (!compressor.Flush()) return -1;
  *dstLen = out.written();
  return 0;
}

int DSdecomp(unsigned char* src, int srcLen, unsigned char* dst, int* dstLen) {
  int produced = 0;
  if (srcLen > 0 && *dstLen > 0) {
    long long used = 0;  // an item may end past srcLen
    do {
      unsigned char const count = src[used];
      // *dstLen is read afresh for every item, as the capacity test always has.
      if (count != kLiteralMarker) {
        if (produced + static_cast<long long>(count) > *dstLen) {
          *dstLen = produced;
          return 2;
        }
        FillShort(dst + produced, src[used + 1], count);
        used += kRunItemSize;
        produced += count;
      } else {
        unsigned char const length = src[used + 1];
        if (produced + static_cast<long long>(length) > *dstLen) {
          *dstLen = produced;
          return 2;
        }
        CopyShort(dst + produced, src + used + kLiteralHeaderSize, length);
        used += length + kLiteralHeaderSize;
        produced += length;
      }
    } while (used < srcLen && produced < *dstLen);
  }
  *dstLen = produced;
  return produced == 0 && srcLen > 0 ? 2 : 0;
}

int DSlen(unsigned char* src, int srcLen) {
  // Unsigned 32-bit sum: it wraps instead of overflowing.
  uint32_t total = 0;
  for (long long at = 0; at < srcLen;) {
    if (src[at] != kLiteralMarker) {
      total += src[at];
      at += kRunItemSize;
    } else {
      total += src[at + 1];
      at += src[at + 1] + kLiteralHeaderSize;
    }
  }
  return static_cast<int>(total);
}

int DScheck(unsigned char const* src, int srcLen) {
  if (srcLen < 0 || (!src && srcLen > 0)) return -1;
  long long total = 0;
  int at = 0;
  while (at < srcLen) {
    // Every item has two bytes at least: the marker or count, and the value
    // or length.
    if (srcLen - at < kRunItemSize) return -1;
    if (src[at] != kLiteralMarker) {
      total += src[at];
      at += kRunItemSize;
    } else {
      int const length = src[at + 1];
      if (srcLen - at - kLiteralHeaderSize < length) return -1;
      total += length;
      at += length + kLiteralHeaderSize;
    }
    if (total > INT_MAX) return -1;
  }
  return static_cast<int>(total);
}
