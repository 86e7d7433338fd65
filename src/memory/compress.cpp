// Run-length record compression: DScomp, DSdecomp, DSlen and DScheck. The
// compressor and the expander run on the 64-byte operations of byte_runs.h
// where the processor has them, else on the 8-byte ones; both give identical
// results.
#include <kr/memory.h>

#include <limits.h>
#include <stdint.h>

#include "memory/byte_runs.h"

namespace {

using kr_detail::PlainBytes;

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

// The compressor's output: a capacity, the bytes written so far and the room
// tests, writing through the byte operations `Bytes` (byte_runs.h).
// Invariant: written <= capacity.
template <typename Bytes>
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
    Bytes::Copy(dst_ + written_ + kLiteralHeaderSize, bytes, static_cast<size_t>(length));
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
template <typename Bytes>
class Compressor {
 public:
  Compressor(unsigned char const* src, int srcLen, ItemWriter<Bytes>* out)
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
      int const n = static_cast<int>(
          Bytes::CountEqual(src_ + next_, Min(end_ - next_, limit), src_[next_ - 1]));
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
    run_ = 1;
    do {
      size_t remaining = 1 + Bytes::CountUnequalToPrevious(src_ + next_ + 1, end_ - next_ - 1);
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
    } while (TakeLonePair());
    return true;
  }

  // The scan stopped at a byte equal to its predecessor. When the byte after
  // it differs again, the pair stays in the literal stretch: the byte rules
  // would add the byte to the stretch and, at the next one, go on scanning.
  // Taking it here saves the round trip; it is left to them when it would
  // fill the stretch to kRunLimit or the source ends.
  bool TakeLonePair() {
    if (end_ - next_ < 2 || pending_ + 1 >= kRunLimit || src_[next_ + 1] == src_[next_]) {
      return false;
    }
    ++pending_;
    ++next_;
    return true;
  }

  static size_t Min(size_t a, size_t b) { return a < b ? a : b; }

  unsigned char const* src_;
  size_t const end_;  // bytes to read; at least 1
  ItemWriter<Bytes>* out_;
  size_t next_ = 1;   // the first byte is read in every case
  int pending_ = 1;
  int run_ = 1;
};

constexpr int kCacheLine = 64;
constexpr int kPrefetchBytes = 4096;

// Asks for the first kPrefetchBytes of a record at once, one request per cache
// line. The scans stop at every item boundary, so the processor's own
// prefetcher learns the stream late; requested up front, the lines of a
// record that is not in the cache arrive in parallel. (A prefetch never
// faults; none is made beyond the record.)
inline void PrefetchRecord(unsigned char const* p, int length) {
  int const limit = length < kPrefetchBytes ? length : kPrefetchBytes;
  for (int at = 0; at < limit; at += kCacheLine) __builtin_prefetch(p + at);
}

// DScomp with the byte operations `Bytes`.
template <typename Bytes>
int Compress(unsigned char const* src, int srcLen, unsigned char* dst, int* dstLen) {
  PrefetchRecord(src, srcLen);
  ItemWriter<Bytes> out(dst, *dstLen);
  Compressor<Bytes> compressor(src, srcLen, &out);
  if (*dstLen >= 1 && !compressor.ReadAll()) return -1;
  if (!compressor.Flush()) return -1;
  *dstLen = out.written();
  return 0;
}

// DSdecomp with the byte operations `Bytes`.
template <typename Bytes>
int Expand(unsigned char const* src, int srcLen, unsigned char* dst, int* dstLen) {
  PrefetchRecord(src, srcLen);
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
        Bytes::Fill(dst + produced, src[used + 1], count);
        used += kRunItemSize;
        produced += count;
      } else {
        unsigned char const length = src[used + 1];
        if (produced + static_cast<long long>(length) > *dstLen) {
          *dstLen = produced;
          return 2;
        }
        Bytes::Copy(dst + produced, src + used + kLiteralHeaderSize, length);
        used += length + kLiteralHeaderSize;
        produced += length;
      }
    } while (used < srcLen && produced < *dstLen);
  }
  *dstLen = produced;
  return produced == 0 && srcLen > 0 ? 2 : 0;
}

// The plain codec, and on x86_64 the one on 64-byte operations with every
// call inlined, so that those are compiled for the processor they need.
// DScomp and DSdecomp are bound to one or the other when the library is
// loaded (an indirect function), so that a call costs no run-time test.
using CompressFunction = int (*)(unsigned char*, int, unsigned char*, int*);

int CompressPlain(unsigned char* src, int srcLen, unsigned char* dst, int* dstLen) {
  // Guard: without a first byte there is nothing to read; storing plain is
  // the caller's way out.
  if (!src) return -1;
  return Compress<PlainBytes>(src, srcLen, dst, dstLen);
}

int ExpandPlain(unsigned char* src, int srcLen, unsigned char* dst, int* dstLen) {
  return Expand<PlainBytes>(src, srcLen, dst, dstLen);
}

#if KR_HAVE_WIDE_BYTES
using kr_detail::WideBytes;

KR_WIDE_BYTES_TARGET __attribute__((flatten)) int CompressWide(unsigned char* src, int srcLen,
                                                                unsigned char* dst, int* dstLen) {
  if (!src) return -1;
  return Compress<WideBytes>(src, srcLen, dst, dstLen);
}

KR_WIDE_BYTES_TARGET __attribute__((flatten)) int ExpandWide(unsigned char* src, int srcLen,
                                                              unsigned char* dst, int* dstLen) {
  return Expand<WideBytes>(src, srcLen, dst, dstLen);
}
#endif

}  // namespace

// The resolvers run while the library is relocated, before any constructor.
extern "C" {
__attribute__((visibility("hidden"))) CompressFunction ResolveDScomp() {
#if KR_HAVE_WIDE_BYTES
  if (kr_detail::WideBytesAvailable()) return CompressWide;
#endif
  return CompressPlain;
}

__attribute__((visibility("hidden"))) CompressFunction ResolveDSdecomp() {
#if KR_HAVE_WIDE_BYTES
  if (kr_detail::WideBytesAvailable()) return ExpandWide;
#endif
  return ExpandPlain;
}
}

int DScomp(unsigned char* src, int srcLen, unsigned char* dst, int* dstLen)
    __attribute__((ifunc("ResolveDScomp")));
int DSdecomp(unsigned char* src, int srcLen, unsigned char* dst, int* dstLen)
    __attribute__((ifunc("ResolveDSdecomp")));

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
