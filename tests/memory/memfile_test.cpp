#include <kr/memory.h>

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "failing_alloc.h"
#include "recording_handler.h"

namespace {

long Capacity(MemFile const& f) { return static_cast<long>(f.segmentCount) << f.segmentShift; }

long Put(MemFile& f, std::string const& text, long offset) {
  return f.Put(reinterpret_cast<unsigned char const*>(text.data()), offset,
               static_cast<long>(text.size()));
}

std::string Text(MemFile const& f) {
  return std::string(f.buffer, f.buffer + std::min(f.logicalSize, Capacity(f)));
}

// segmentCount, segmentShift, logicalSize
std::vector<long> Layout(MemFile const& f) { return {f.segmentCount, f.segmentShift, f.logicalSize}; }

TEST(MemFile, SegmentSizesAndTheGrowthRule) {
  std::pair<long, int> const shifts[] = {{0, 0}, {1, 0}, {3, 1}, {4, 2}, {1000, 9}, {65536, 16}};
  for (auto const& s : shifts) EXPECT_EQ(MemFile(0, s.first).initialSegmentShift, s.second);
  std::vector<long> const grown[] = {{100, 7, 4},       {8, 4, 1},        {1000, 4, 8},
                                     {229376, 7, 15},   {229377, 8, 15},  {1000000, 31, 15}};
  for (auto const& g : grown) {
    MemFile f(0, 1);
    ASSERT_EQ(f.SizeSet(g[0], 0), 0);
    EXPECT_EQ(Layout(f), (std::vector<long>{g[1], g[2], g[0]}));
    f.buffer[Capacity(f) - 1] = 1;  // the block holds the whole capacity
  }
  for (long size : {1L, 1024L}) EXPECT_EQ(Layout(MemFile(size, 1024)), (std::vector<long>{1, 10, size}));
  // A byte at a time: at most 7 segments below 32 KiB, less than one of slack.
  MemFile f(0, 1);
  for (long size = 1; size <= 300000; ++size) {
    ASSERT_EQ(f.SizeSet(size, 0), 0);
    ASSERT_TRUE(f.segmentCount <= 7 || f.segmentShift == 15) << size;
    ASSERT_TRUE(Capacity(f) >= size && Capacity(f) - size < (1L << f.segmentShift)) << size;
  }
}

TEST(MemFile, ShrinkingEmptyingAndLogicalSizes) {
  MemFile f(1000, 16);  // initial shift 4; 4 segments of 256
  Put(f, "keep", 0);
  ASSERT_EQ(f.SizeSet(300, 0), 0);
  EXPECT_EQ(Layout(f), (std::vector<long>{2, 8, 300}));  // two segments keep the size
  ASSERT_EQ(f.SizeSet(100, 0), 0);
  EXPECT_EQ(Layout(f), (std::vector<long>{7, 4, 100}));  // one goes back to 16 bytes
  EXPECT_EQ(Text(f).substr(0, 4), "keep");
  MemFile g(1000, 1);
  ASSERT_EQ(g.SizeSet(200, 0), 0);  // back to 1-byte segments, then doubled again
  EXPECT_EQ(Layout(g), (std::vector<long>{7, 5, 200}));

  kr_test::FailNthAllocation(0);    // counts calls, fails none
  EXPECT_EQ(f.SizeSet(110, 0), 0);  // the same 112 bytes: no reallocation
  EXPECT_EQ(kr_test::AllocationCalls(), 0u);
  unsigned char* const block = f.buffer;
  EXPECT_EQ(f.SizeSetDontShrink(10, 0), 0);
  EXPECT_TRUE(f.buffer == block && Capacity(f) == 112 && f.logicalSize == 10);
  EXPECT_EQ(f.SetLogicalSize(113), -10002);
  EXPECT_EQ(f.logicalSize, 10);
  EXPECT_EQ(f.SetLogicalSize(112), 0);
  EXPECT_EQ(f.SizeSetDontShrink(113, 0), 0);
  EXPECT_EQ(Capacity(f), 128);
  f.position = 5;
  f.SetSizeZeroAndShrink(128);
  EXPECT_TRUE(f.buffer && f.logicalSize == 0 && f.position == 0 && Capacity(f) == 128);
  f.SetSizeZeroAndShrink(127);
  EXPECT_TRUE(!f.buffer && Capacity(f) == 0 && f.segmentShift == 4);
  g.position = 5;
  EXPECT_EQ(g.SizeSet(0, 0), 0);
  EXPECT_EQ(Layout(g), (std::vector<long>{0, 0, 0}));
  EXPECT_TRUE(!g.buffer && g.position == 5);
}

TEST(MemFile, FailedAllocationsKeepTheBlock) {
  kr_test::RecordingHandler handler;
  MemFile f(0, 1);
  int grow[2], rc = 0;
  unsigned long written;
  {
    kr_test::AllocationFailure failure(1);
    grow[0] = f.SizeSet(100, 0);
  }
  EXPECT_TRUE(grow[0] == -10001 && !f.buffer && f.logicalSize == 100 && f.segmentCount == 0);
  ASSERT_EQ(f.SizeSet(10, 0), 0);
  Put(f, "ABCDEFGHIJ", 0);
  unsigned char* const block = f.buffer;
  f.position = 10;
  {
    kr_test::AllocationFailure failure(1, true);
    grow[1] = f.SizeSet(1000, 0);
    written = f.Write(7, rc);  // fails as well, and writes nothing
  }
  EXPECT_TRUE(grow[1] == -10001 && rc == -10001 && written == 4u);
  EXPECT_EQ(kr_test::FailedAllocations(), 2u);
  ASSERT_EQ(handler.calls, 3);
  EXPECT_EQ(std::vector<unsigned long>(handler.sizes, handler.sizes + 3),
            (std::vector<unsigned long>{112, 1024, 1024}));  // 7 x 16, 4 x 256
  EXPECT_TRUE(f.buffer == block && f.logicalSize == 1004 && f.position == 10);
  EXPECT_EQ(Layout(f), (std::vector<long>{5, 1, 1004}));
  EXPECT_EQ(Text(f), "ABCDEFGHIJ");
  EXPECT_EQ(Put(f, "x", 500), 0);  // nothing lands outside the block
  EXPECT_EQ(f.Seek(500, 0, nullptr, 0), nullptr);
  // Sizes that the fields cannot describe fail before any allocation.
  kr_test::FailNthAllocation(0);
  EXPECT_EQ(f.SizeSet(32768L * 32768L, 0), -10001);  // 32768 segments of 32 KiB
  EXPECT_EQ(f.SizeSet(-1, 0), -10001);
  EXPECT_EQ(kr_test::AllocationCalls(), 0u);
  ASSERT_EQ(handler.calls, 4);  // not for the negative size
  EXPECT_EQ(handler.sizes[3], 1ul << 30);
  // The largest sizes, with 1-byte segments to start from: refused, without
  // overflow on the way.
  MemFile bytes(0, 0), more(0, 0);
  unsigned char const one = 1;
  EXPECT_EQ(bytes.SizeSet(LONG_MAX, 0), -10001);
  EXPECT_EQ(more.Put(&one, LONG_MAX - 1, 1), 0);
  EXPECT_EQ(handler.calls, 6);
}

TEST(MemFile, SeekClampsAndRefuses) {
  MemFile f(0, 1);
  Put(f, "0123456789", 0);
  struct { long offset; unsigned short whence; unsigned long length, granted; long at; } const seeks[] = {
      {0, 2, 5, 0, -1}, {3, 2, 4, 3, 7},   {-2, 1, 2, 2, 5},  {4, 9, 100, 6, 4},
      {10, 0, 0, 0, 10}, {11, 0, 1, 0, -1}, {-1, 0, 1, 0, -1}};
  for (auto const& s : seeks) {
    long const before = f.position;
    unsigned long length = s.length;
    unsigned char* p = f.Seek(s.offset, s.whence, &length, 0);
    EXPECT_EQ(p, s.at < 0 ? nullptr : f.buffer + s.at) << s.offset << " " << s.whence;
    EXPECT_EQ(length, s.granted);
    EXPECT_EQ(f.position, s.at < 0 ? before : s.at);
  }
  EXPECT_EQ(f.Seek(3, 0, nullptr, 0), f.buffer + 3);
}

TEST(MemFile, OffsetAndFileToFileTransfers) {
  MemFile a(0, 1), b(0, 1), c(0, 1);
  unsigned char out[4];
  EXPECT_EQ(a.Get(out, 0, 4), 0);
  EXPECT_EQ(Put(a, "0123456789", 0), 10);
  EXPECT_EQ(a.Get(out, 8, 4), 2);
  EXPECT_TRUE(a.Get(out, 10, 1) == 0 && a.Get(out, 11, 1) == 0);
  a.position = 2;
  EXPECT_EQ(b.Put(&a, 3, 4), 3);
  b.position = 3;
  EXPECT_EQ(b.Put(&a, 0, 8), 2);  // length 0: the rest of the source
  EXPECT_EQ(b.Put(&a, 0, 11), 0);
  EXPECT_EQ(Text(b), "45689");
  EXPECT_TRUE(a.position == 2 && b.position == 3);
  a.SetLogicalSize(4);  // Get does not check against it; the block still bounds it
  EXPECT_EQ(a.Get(&c, 6, 1), 6);
  EXPECT_EQ(a.Get(&c, 100, 0), 0);
  EXPECT_EQ(Text(c).substr(1), "234567");
  c.position = 1;
  EXPECT_EQ(c.Get(&c, 6, 1000), 6);  // into itself, moving its own block
  EXPECT_EQ(Text(c).substr(1000), "234567");
  EXPECT_EQ(Put(a, "", 20), 0);  // an empty write past the end still grows
  EXPECT_EQ(a.logicalSize, 20);
  MemFile empty(0, 0);  // its start is found but has no pointer: the seek's position stays
  empty.position = 5;
  EXPECT_EQ(b.Put(&empty, 0, 0), 0);
  EXPECT_EQ(empty.position, 0);
}

TEST(MemFile, MovesFillsPointersAndWrites) {
  struct { long dst, src, length; char const* after; } const copies[] = {
      {0, 4, 4, "efghefgh"}, {4, 0, 4, "abcdabcd"}, {2, 0, 4, "ababcdgh"}, {6, 0, 4, "abcdefabcd"}};
  for (auto const& c : copies) {
    MemFile f(0, 1);
    Put(f, "abcdefgh", 0);
    EXPECT_EQ(f.Copy(c.dst, c.src, c.length), c.length);
    EXPECT_EQ(Text(f), c.after);
  }
  MemFile f(0, 4);
  Put(f, "abcdefgh", 0);
  EXPECT_TRUE(f.Copy(3, 3, 2) == 2 && f.Copy(1, 5, 0) == 0);
  f.InitializeWith('z', 5);
  f.InitializeWith('y', 8);
  EXPECT_EQ(Text(f), "abcdezzz");
  unsigned long length = 3;
  EXPECT_EQ(f.GetPtr(5, &length), f.buffer + 5);
  length = 4;
  EXPECT_EQ(f.GetPtr(5, &length), nullptr);
  EXPECT_EQ(f.GetSegment(1), f.buffer + 4);
  int rc = 1;
  f.position = 8;
  EXPECT_EQ(f.Write(0x11223344ul, rc), 4u);
  f.position = 0;
  f.Write(static_cast<unsigned long>(0x55 + (sizeof(long) > 4 ? (0x7ull << 32) : 0)), rc);
  EXPECT_TRUE(rc == 0 && f.logicalSize == 16 && f.position == 4);
  // Native byte order, low 32 bits; the second value went to the position.
  EXPECT_EQ(std::memcmp(f.buffer, "\x55\0\0\0ezzz\x44\x33\x22\x11", 12), 0);
}

TEST(MemFile, CopiesExchangeAndThePoisonedPointer) {
  MemFile source(1000, 1), target(0, 4096), empty(0, 1);
  source.InitializeWith('s', 0);
  source.position = 7;
  MemFile copy(source);
  EXPECT_TRUE(Text(copy) == Text(source) && copy.buffer != source.buffer);
  EXPECT_TRUE(copy.segmentShift == 8 && copy.initialSegmentShift == 8 && copy.position == 0);
  target.position = 9;
  target = source;
  EXPECT_TRUE(Text(target) == Text(source) && target.position == 0 && source.position == 7);
  EXPECT_TRUE(target.segmentShift == 12 && target.initialSegmentShift == 12);
  MemFile const& itself = target;
  target = itself;
  EXPECT_EQ(Text(target), std::string(1000, 's'));
  EXPECT_EQ(MemFile(empty).buffer, nullptr);

  unsigned char* const block = source.buffer;
  source.Exchange(&empty);
  EXPECT_EQ(Layout(empty), (std::vector<long>{4, 8, 1000}));
  EXPECT_TRUE(empty.buffer == block && empty.position == 7 && empty.initialSegmentShift == 0);
  EXPECT_TRUE(!source.buffer && source.position == 0 && Layout(source) == Layout(MemFile(0, 1)));

  for (long size : {10L, 0L}) {
    alignas(MemFile) unsigned char storage[sizeof(MemFile)];
    MemFile* f = new (storage) MemFile(size, 1);
    unsigned char* const field = reinterpret_cast<unsigned char*>(&f->buffer);
    f->~MemFile();
    uintptr_t left;  // read as raw storage: there is no object any more
    std::memcpy(&left, field, sizeof left);
    EXPECT_EQ(left, size ? 0xDEADDEADu : 0u);
  }
}

TEST(MemFile, CheckSumOfRanges) {
  MemFile f(0, 1);
  unsigned long seed = 0x1234;
  EXPECT_TRUE(f.CheckSum(0, 0xFFFFFFFFul, nullptr) == 0 && f.CheckSum(0, 0xFFFFFFFFul, &seed) == seed);
  Put(f, "123456789", 0);
  f.position = 5;
  EXPECT_EQ(f.CheckSum(0, 0xFFFFFFFFul, nullptr), 0xCBF43926ul);
  EXPECT_EQ(f.position, 0);
  unsigned long head = f.CheckSum(0, 5, nullptr);
  EXPECT_EQ(f.CheckSum(5, 4, &head), 0xCBF43926ul);
  EXPECT_EQ(f.position, 5);
  // Past the logical end the range stops there instead of looping.
  EXPECT_EQ(f.CheckSum(5, 0xFFFFFFF0ul, &head), 0xCBF43926ul);
  EXPECT_EQ(f.CheckSum(2, 3, nullptr), crc32(0, reinterpret_cast<Bytef const*>("345"), 3));
  EXPECT_EQ(f.CheckSum(20, 5, &seed), seed);
}

}  // namespace
