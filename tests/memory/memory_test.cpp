// Checksums, worked examples of the record codec and its byte operations, memory files,
// queues, pools and raw buffers; the codec and memory-file fuzz targets check arbitrary input.
#include <kr/memory.h>

#include <gtest/gtest.h>
#include <zlib.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "failing_alloc.h"
#include "memory/byte_runs.h"
#include "memory/crc32.h"
#include "recording_handler.h"

namespace {

using Bytes = std::vector<unsigned char>;
using Checksum = unsigned long (*)(unsigned long, unsigned char*, size_t);
using Layout = std::vector<long>;  // segmentCount, segmentShift, logicalSize

template <uint32_t (*update)(uint32_t, unsigned char const*, size_t)>
unsigned long Kernel(unsigned long seed, unsigned char* data, size_t length) {
  return static_cast<uint32_t>(~update(~static_cast<uint32_t>(seed), data, length));
}
unsigned long Library(unsigned long seed, unsigned char* data, size_t length) {
  return CalcCheckSum(data, length, &seed);
}

// Every length to 512 at each alignment to 63, ending a heap block (the sanitizer sees overreads),
// and where the wide kernel stops prefetching, from random seeds: all kernels give zlib's.
TEST(CalcCheckSum, EveryKernelAgreesWithZlib) {
  using namespace kr_detail;
  std::vector<std::pair<char const*, Checksum>> all = {
      {"bytewise", Kernel<Crc32Bytewise>}, {"sliced", Kernel<Crc32Sliced>},
      {"update", Kernel<Crc32Update>}, {"library", Library}};
  if (Crc32FoldedAvailable()) all.push_back({"folded", Kernel<Crc32Folded>});
  if (Crc32WideAvailable()) all.push_back({"wide", Kernel<Crc32FoldedWide>});
#if defined(__x86_64__) || defined(__i386__)
  EXPECT_EQ(Crc32FoldedAvailable(), __builtin_cpu_supports("pclmul") != 0);
  EXPECT_EQ(Crc32WideAvailable(), __builtin_cpu_supports("vpclmulqdq") != 0 &&
                                      __builtin_cpu_supports("avx512f") != 0);
#endif
  std::mt19937 random(1);
  auto expectZlib = [&](unsigned char* data, size_t length) {
    unsigned long const seed = random(), zlib = length ? crc32(seed, data, length) : seed;
    for (auto const& checksum : all)
      ASSERT_EQ(checksum.second(seed, data, length), zlib) << checksum.first << " " << length;
  };
  for (size_t length = 0; length <= 512; ++length) {
    for (size_t alignment = 0; alignment < 64; ++alignment) {
      Bytes buffer(alignment + length);
      for (auto& byte : buffer) byte = static_cast<unsigned char>(random());
      ASSERT_NO_FATAL_FAILURE(expectZlib(buffer.data() + alignment, length));
    }
  }
  Bytes data(kCrc32WidePrefetchDistance + 1024);
  for (auto& byte : data) byte = static_cast<unsigned char>(random());
  for (size_t length = 0; length < 600; ++length)
    expectZlib(data.data() + length % 7, kCrc32WidePrefetchDistance + length);
  unsigned long const whole = CalcCheckSum(data.data(), 4096, nullptr);  // chained at every split
  for (size_t split = 0; split <= 4096; ++split) {
    unsigned long head = CalcCheckSum(data.data(), split, nullptr);
    ASSERT_EQ(CalcCheckSum(data.data() + split, 4096 - split, &head), whole) << split;
  }
  // A seed is read, not written, its low 32 bits only; with nothing to add: it.
  unsigned char digits[] = "123456789";
  unsigned long const head = CalcCheckSum(digits, 5, nullptr);
  unsigned long seed = head | (sizeof(long) > 4 ? 0xABCDul << 16 << 16 : 0);
  EXPECT_EQ(CalcCheckSum(digits + 5, 4, &seed), 0xCBF43926ul);
  EXPECT_TRUE(CalcCheckSum(digits, 0, &seed) == head && CalcCheckSum(nullptr, 9, &seed) == head);
  EXPECT_EQ(CalcCheckSum(nullptr, 9, nullptr) + CalcCheckSum(digits, 0, nullptr), 0ul);
}

// DScomp into exactly `capacity` bytes: the output, or nothing on failure (*dstLen left alone).
Bytes Compress(Bytes src, int capacity) {
  Bytes dst(static_cast<size_t>(capacity));
  int dstLen = capacity;
  int const rc = DScomp(src.data(), static_cast<int>(src.size()), dst.data(), &dstLen);
  EXPECT_TRUE(rc == 0 || (rc == -1 && dstLen == capacity)) << rc;
  dst.resize(rc == 0 ? static_cast<size_t>(dstLen) : 0);
  return dst;
}

// At the smallest capacity each takes: a pair stays in a literal, one short run
// is a run item, a split wants room for a full literal even to write a run.
TEST(DScomp, WorkedExamples) {
  Bytes unequal(300), split = {0, 255};
  for (size_t i = 0; i < unequal.size(); ++i) {
    if (i == 255) split.insert(split.end(), {0, 45});
    split.push_back(unequal[i] = static_cast<unsigned char>(i));
  }
  // A pair that fills the stretch to 256 bytes ends the literal before it.
  Bytes pair(unequal.begin(), unequal.begin() + 255), pairOut(pair.begin(), pair.end() - 1);
  pair.insert(pair.end(), {254, 0, 1});
  pairOut.insert(pairOut.begin(), {0, 254});
  pairOut.insert(pairOut.end(), {0, 4, 254, 254, 0, 1});
  auto of = [](std::string const& text) { return Bytes(text.begin(), text.end()); };
  struct { Bytes in, out; int smallest; } const cases[] = {
      {of("AAAAB"), {4, 'A', 1, 'B'}, 5}, {of("AAAB"), {3, 'A', 1, 'B'}, 5},
      {of("AAB"), {0, 3, 'A', 'A', 'B'}, 6}, {of("ABB"), {0, 3, 'A', 'B', 'B'}, 6},
      {of("AA"), {2, 'A'}, 3}, {of("AB"), {0, 2, 'A', 'B'}, 5}, {of("Q"), {1, 'Q'}, 3},
      {of("ABCDDDDE"), {0, 3, 'A', 'B', 'C', 4, 'D', 1, 'E'}, 10},
      {Bytes(1000, 0), {255, 0, 255, 0, 255, 0, 235, 0}, 4 + 257},
      {Bytes(256, 7), {255, 7, 1, 7}, 257}, {unequal, split, 305}, {pair, pairOut, 263}};
  for (auto const& c : cases) {
    EXPECT_TRUE(Compress(c.in, c.smallest) == c.out && Compress(c.in, c.smallest - 1).empty())
        << c.in.size() << " bytes";
  }
  unsigned char src = 'Q', dst[4] = {};
  for (int srcLen : {0, -5}) {  // an empty record still reads its first byte
    int dstLen = 3;
    EXPECT_TRUE(DScomp(&src, srcLen, dst, &dstLen) == 0 && dstLen == 2 && dst[1] == 'Q');
  }
  int dstLen = 4;
  EXPECT_TRUE(DScomp(nullptr, 0, dst, &dstLen) == -1 && DScomp(&src, 1, dst, &(dstLen = -1)) == -1);
}

// The items (3, 'a'), literal "xyz", (2, 'b') into `capacity` bytes plus a
// guard byte: whole items only, and 2 when a non-empty input gives nothing.
TEST(DSdecomp, WholeItemsTruncatedAndOversizedInput) {
  Bytes const items = {3, 'a', 0, 3, 'x', 'y', 'z', 2, 'b'};
  struct { int srcLen, capacity; Bytes src; char const* result; } const cases[] = {
      {9, 8, items, "0 8 aaaxyzbb#"}, {9, 9, items, "0 8 aaaxyzbb##"}, {9, 5, items, "2 3 aaa###"},
      {9, 7, items, "2 6 aaaxyz##"}, {9, 3, items, "0 3 aaa#"}, {9, 2, items, "2 0 ###"},
      {9, 0, items, "2 0 #"}, {0, 8, items, "0 0 #########"}, {-1, 8, items, "0 0 #########"},
      {4, 8, {0, 0, 0, 0}, "2 0 #########"}};
  for (auto c : cases) {
    std::string dst(static_cast<size_t>(c.capacity) + 1, '#');
    int dstLen = c.capacity;
    auto* const out = reinterpret_cast<unsigned char*>(&dst[0]);
    int const rc = DSdecomp(c.src.data(), c.srcLen, out, &dstLen);
    EXPECT_EQ(std::to_string(rc) + " " + std::to_string(dstLen) + " " + dst, c.result);
  }
  // DSlen counts a truncated last item whole; DScheck refuses it.
  Bytes more = {2, 'b', 0, 5, 'h', 'e', 'l', 'l', 'o'};
  struct { int srcLen, length, check; } const lengths[] = {
      {9, 7, 7}, {8, 7, -1}, {4, 7, -1}, {3, 7, -1}, {2, 2, 2}, {1, 2, -1}, {0, 0, 0}, {-3, 0, -1}};
  for (auto const& c : lengths) {
    EXPECT_EQ(DSlen(more.data(), c.srcLen), c.length) << c.srcLen;
    EXPECT_EQ(DScheck(more.data(), c.srcLen), c.check) << c.srcLen;
  }
  EXPECT_TRUE(DScheck(nullptr, 0) == 0 && DScheck(nullptr, 4) == -1);
  Bytes runs(2 * 8421505, 255);  // 8421505 full runs: 2147483775 bytes, INT_MAX + 128
  int const n = static_cast<int>(runs.size());
  EXPECT_EQ(DSlen(runs.data(), n), static_cast<int>(2147483775u));  // wraps
  runs[n - 2] = 128;  // INT_MAX + 1 bytes are refused, INT_MAX bytes taken
  EXPECT_EQ(DScheck(runs.data(), n), -1);
  runs[n - 2] = 127;
  EXPECT_EQ(DScheck(runs.data(), n), INT_MAX);
}

Layout LayoutOf(MemFile const& f) { return {f.segmentCount, f.segmentShift, f.logicalSize}; }
long Put(MemFile& f, std::string const& text, long at) {
  return f.Put(reinterpret_cast<unsigned char const*>(text.data()), at, long(text.size()));
}
std::string Text(MemFile const& f, long at, long n) { return {f.buffer + at, f.buffer + at + n}; }

TEST(MemFile, SegmentSizesAndLayouts) {
  std::pair<long, int> const shifts[] = {{0, 0}, {1, 0}, {3, 1}, {4, 2}, {1000, 9}, {65536, 16}};
  for (auto const& s : shifts) EXPECT_EQ(MemFile(0, s.first).initialSegmentShift, s.second);
  MemFile f(100, 16);  // 7 segments of 16
  // The same capacity: no reallocation; a block no larger than the limit stays.
  kr_test::FailNthAllocation(0);  // counts calls, fails none
  unsigned char* const block = f.buffer;
  EXPECT_TRUE(f.SizeSet(110, 0) == 0 && f.SizeSetDontShrink(10, 0) == 0 && f.buffer == block);
  EXPECT_EQ(kr_test::AllocationCalls(), 0u);
  EXPECT_TRUE(f.SetLogicalSize(113) == -10002 && f.SetLogicalSize(-1) == -10002);
  EXPECT_TRUE(LayoutOf(f) == (Layout{7, 4, 10}) && f.SetLogicalSize(112) == 0);
  f.SetSizeZeroAndShrink(112);
  EXPECT_TRUE(f.buffer == block && LayoutOf(f) == (Layout{7, 4, 0}));
  f.SetSizeZeroAndShrink(111);
  EXPECT_TRUE(!f.buffer && LayoutOf(f) == (Layout{0, 4, 0}));
}

TEST(MemFile, FailedAllocationsKeepTheBlock) {
  kr_test::RecordingHandler handler;
  MemFile f(0, 1), more(0, 0);
  int rc = 0;
  kr_test::FailNthAllocation(1);
  EXPECT_TRUE(f.SizeSet(100, 0) == -10001 && !f.buffer && LayoutOf(f) == (Layout{0, 0, 100}));
  ASSERT_TRUE(f.SizeSet(10, 0) == 0 && Put(f, "ABCDEFGHIJ", 0) == 10);
  unsigned char* const block = f.buffer;
  f.position = 10;
  {
    kr_test::AllocationFailure failure(1, true);  // a word fails as well, and writes nothing
    EXPECT_TRUE(f.SizeSet(1000, 0) == -10001 && f.Write(7, rc) == 4u && rc == -10001);
  }
  EXPECT_TRUE(f.buffer == block && f.position == 10 && LayoutOf(f) == (Layout{5, 1, 1004}));
  // Nothing is read or written outside the block.
  EXPECT_TRUE(Put(f, "x", 500) == 0 && f.Copy(0, 500, 4) == 0 && f.Copy(500, 0, 4) == 0);
  EXPECT_TRUE(f.Seek(500, 0, nullptr, 0) == nullptr && Text(f, 0, 10) == "ABCDEFGHIJ");
  // Sizes the fields cannot hold fail unallocated, a negative one unreported.
  kr_test::FailNthAllocation(0);
  EXPECT_TRUE(f.SizeSet(32768L * 32768L, 0) == -10001 && f.SizeSet(-1, 0) == -10001);
  EXPECT_TRUE(more.Put(block, LONG_MAX - 1, 1) == 0 && more.SizeSet(LONG_MAX, 0) == -10001);
  EXPECT_EQ(kr_test::AllocationCalls(), 0u);
  ASSERT_EQ(handler.calls, 6);
  EXPECT_EQ(Layout(handler.sizes, handler.sizes + 4), (Layout{112, 1024, 1024, 1L << 30}));
}

TEST(MemFile, SeeksTransfersWordsAndCheckSums) {
  MemFile f(0, 1), c(0, 1);
  Put(f, "123456789", 0);
  struct { long offset; unsigned short whence; unsigned long length, granted; long at; } const
      seeks[] = {{0, 2, 5, 0, -1},  {3, 2, 4, 3, 6},  {-2, 1, 2, 2, 4},  {4, 9, 100, 5, 4},
                 {9, 0, 0, 0, 9},   {10, 0, 1, 0, -1}, {-1, 0, 1, 0, -1}, {LONG_MIN, 2, 0, 0, -1}};
  for (auto const& s : seeks) {
    long const before = f.position;
    unsigned long length = s.length;
    unsigned char* p = f.Seek(s.offset, s.whence, &length, 0);
    EXPECT_TRUE(p == (s.at < 0 ? nullptr : f.buffer + s.at) && length == s.granted) << s.offset;
    EXPECT_EQ(f.position, s.at < 0 ? before : s.at) << s.offset << " from " << s.whence;
  }
  unsigned long length = 3, all = 0xFFFFFFFFul, head = f.CheckSum(0, 5, nullptr), seed = 0x1234;
  EXPECT_TRUE(f.GetPtr(6, &length) == f.buffer + 6 && !f.GetPtr(6, &(length = 4)));
  EXPECT_TRUE(f.CheckSum(5, 4, &head) == 0xCBF43926ul && f.position == 5);
  EXPECT_TRUE(f.CheckSum(0, all, nullptr) == 0xCBF43926ul && f.position == 0);  // to the end
  EXPECT_TRUE(f.CheckSum(20, 5, &seed) == seed && c.CheckSum(0, all, &seed) == seed);
  f.position = 1;
  f.SetLogicalSize(4);  // Get into a file does not check it; the block bounds it
  EXPECT_TRUE(f.Get(&c, 6, 1) == 6 && f.Get(&c, 100, 0) == 0 && Text(c, 1, 6) == "234567");
  c.position = 1;
  EXPECT_TRUE(c.Get(&c, 6, 1000) == 6 && Text(c, 1000, 6) == "234567");  // into itself
  EXPECT_TRUE(Put(f, "", 20) == 0 && f.logicalSize == 20);  // an empty write still grows
  int rc = 1;  // a word: native byte order, low 32 bits, at the position
  c.position = 0;
  c.Write(static_cast<unsigned long>(0x11223355 + (sizeof(long) > 4 ? (0x7ull << 32) : 0)), rc);
  EXPECT_TRUE(rc == 0 && c.logicalSize == 1010 && c.position == 4);
  EXPECT_EQ(Text(c, 0, 6), "\x55\x33\x22\x11" "56");
}

// Nodes are carved one after another from 4096-byte buffers (a large node
// gets a buffer of its own); returned ones come back last first, untouched.
TEST(KrMemPool, NodesBuffersAndReuse) {
  struct { unsigned long size, perBuffer; } const cases[] = {
      {1000, 4}, {1, 4096}, {2048, 2}, {4096, 1}, {5000, 1}};
  for (auto const& c : cases) {
    KrMemPool pool{};
    pool.nodeSize = c.size;
    std::vector<unsigned char*> nodes;
    for (unsigned long i = 0; i < 2 * c.perBuffer + 1; ++i) {
      nodes.push_back(static_cast<unsigned char*>(pool.GetNode()));
      std::memset(nodes.back(), static_cast<int>(i), c.size);  // the whole node is ours
      ASSERT_EQ(pool.NodesAvailable(), c.perBuffer - 1 - i % c.perBuffer) << c.size;
      ASSERT_EQ(nodes[i], i % c.perBuffer ? nodes[i - 1] + c.size : pool.buffers->block) << i;
    }
    for (int i : {0, 1}) pool.PutNode(nodes[i]);
    EXPECT_TRUE(pool.FreeListLength() == 2 && pool.nodesRequested == 2 * c.perBuffer + 1);
    EXPECT_TRUE(pool.GetNode() == nodes[1] && pool.GetNode() == nodes[0]);
    EXPECT_EQ(std::string(nodes[1], nodes[1] + c.size), std::string(c.size, '\1')) << c.size;
    pool.AddNewBuffer();  // its first node counts as handed out
    EXPECT_EQ(pool.NodesAvailable(), c.perBuffer - 1);
    pool.DeallocateBuffers();
    EXPECT_TRUE(!pool.buffers && !pool.freeNodes && pool.buffersFreed == 4) << c.size;
  }
}

// An owned block (copied or adopted) is copied with the buffer, a borrowed one
// (or one of an unknown kind) shared; growing a borrowed one does not free it.
TEST(KrRawBuffer, CopyBorrowAdoptAndEnsureCapacity) {
  char text[] = "payload";
  void* const adopted = std::memcpy(std::malloc(8), text, 8);
  struct { void* block; int how; bool copied, twinCopied; } const cases[] = {
      {text, KrRawBufferCopy, true, true}, {text, KrRawBufferBorrow, false, false},
      {text, 7, false, false}, {adopted, KrRawBufferAdopt, false, true}};
  for (auto const& c : cases) {
    KrRawBuffer b(c.block, 8, static_cast<KrRawBufferBehavior>(c.how)), twin(b);
    EXPECT_TRUE((b.GetBuf() != c.block) == c.copied && (twin.data != c.block) == c.twinCopied);
    EXPECT_TRUE(twin.GetBufLen() == 8 && !std::memcmp(twin.data, text, 8)) << c.how;
  }
  KrRawBuffer b(text, 8, KrRawBufferBorrow);
  EXPECT_TRUE(b.EnsureCapacity(8) == 0 && b.data == text && b.EnsureCapacity(100) == 0);
  EXPECT_TRUE(b.data != text && b.behaviour == KrRawBufferCopy && b.length == 100);
}

// The codec's 64-byte operations against its 8-byte ones, every length to 300, alignment to 63.
TEST(ByteRuns, WideOperationsAgreeWithPlainOnes) {
#if KR_HAVE_WIDE_BYTES
  if (!kr_detail::WideBytesAvailable()) GTEST_SKIP() << "this processor lacks AVX-512BW";
  using kr_detail::PlainBytes;
  using kr_detail::WideBytes;
  std::mt19937 random(11);
  Bytes src(1024), plain, wide;
  for (size_t length = 0; length <= 300; ++length) {
    for (size_t at = 64; at < 128; ++at) {
      // Runs at even lengths, unequal stretches at odd ones, of random length: both scans stop
      // anywhere in the stretch (or nowhere), after any number of 64-byte steps.
      for (size_t i = 1; i < src.size(); ++i) {
        bool const repeat = (random() % (length / 2 + 2) != 0) == (length % 2 == 0);
        src[i] = static_cast<unsigned char>(src[i - 1] + (repeat ? 0 : 1 + random() % 2));
      }
      unsigned char const* p = &src[at];
      unsigned char const value = p[random() % (length + 1)];
      SCOPED_TRACE(std::to_string(length) + " at " + std::to_string(at));
      ASSERT_EQ(WideBytes::CountEqual(p, length, value), PlainBytes::CountEqual(p, length, value));
      ASSERT_EQ(WideBytes::CountUnequalToPrevious(p, length),
                PlainBytes::CountUnequalToPrevious(p, length));
      wide = plain = Bytes(1024, 0xEE);
      PlainBytes::Fill(&plain[at], value, length);
      WideBytes::Fill(&wide[at], value, length);
      ASSERT_EQ(wide, plain) << "fill";
      PlainBytes::Copy(&plain[at], p + 1, length);
      WideBytes::Copy(&wide[at], p + 1, length);
      ASSERT_EQ(wide, plain) << "copy";
    }
  }
#else
  GTEST_SKIP() << "the 64-byte operations exist on x86_64 only";
#endif
}

}  // namespace
