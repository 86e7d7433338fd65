#include <kr/memory.h>

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <random>
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

std::string Text(MemFile& f) {
  std::string out(static_cast<size_t>(std::max(f.logicalSize, 0L)), '\0');
  EXPECT_EQ(f.Get(reinterpret_cast<unsigned char*>(&out[0]), 0, f.logicalSize), f.logicalSize);
  return out;
}

void ExpectLayout(MemFile const& f, long count, int shift, char const* what) {
  EXPECT_EQ(f.segmentCount, count) << what;
  EXPECT_EQ(f.segmentShift, shift) << what;
}

TEST(MemFile, SegmentShiftFromTheConstructor) {
  struct { long segmentSize; int shift; } const cases[] = {
      {0, 0}, {1, 0}, {2, 1}, {3, 1}, {4, 2}, {1000, 9}, {1024, 10}, {32768, 15}, {65536, 16}};
  for (auto const& c : cases) {
    MemFile f(0, c.segmentSize);
    EXPECT_EQ(f.segmentShift, c.shift) << c.segmentSize;
    EXPECT_EQ(f.initialSegmentShift, c.shift) << c.segmentSize;
    EXPECT_EQ(f.buffer, nullptr);
  }
  MemFile sized(100, 1);
  EXPECT_EQ(sized.logicalSize, 100);
  EXPECT_EQ(Capacity(sized), 112);
}

TEST(MemFile, GrowthRuleWorkedValues) {
  struct { long size, count; int shift; } const cases[] = {
      {100, 7, 4},      {8, 4, 1},        {1000, 4, 8},       {229376, 7, 15},
      {229377, 8, 15},  {1000000, 31, 15}, {7, 7, 0},         {1, 1, 0}};
  for (auto const& c : cases) {
    MemFile f(0, 1);
    ASSERT_EQ(f.SizeSet(c.size, 0), 0);
    ExpectLayout(f, c.count, c.shift, std::to_string(c.size).c_str());
    EXPECT_EQ(f.logicalSize, c.size);
    f.buffer[Capacity(f) - 1] = 1;  // the block holds the whole capacity
  }
  for (long size : {1L, 1000L, 1024L}) {
    MemFile f(0, 1024);
    ASSERT_EQ(f.SizeSet(size, 0), 0);
    ExpectLayout(f, 1, 10, "initial shift 10");
  }
  // Growing a byte at a time: few segments until they reach 32 KiB, no more
  // than a segment of slack, and the content survives every reallocation.
  MemFile f(0, 1);
  for (long size = 1; size <= 300000; ++size) {
    unsigned char const byte = static_cast<unsigned char>(size * 7);
    ASSERT_EQ(f.Put(&byte, size - 1, 1), 1);
    long const segment = 1L << f.segmentShift;
    ASSERT_TRUE(f.segmentCount <= 7 || f.segmentShift == 15) << size;
    ASSERT_TRUE(Capacity(f) >= size && Capacity(f) - size < segment) << size;
  }
  for (long at = 0; at < f.logicalSize; ++at) {
    ASSERT_EQ(f.buffer[at], static_cast<unsigned char>((at + 1) * 7)) << at;
  }
}

TEST(MemFile, ShrinkingEmptyingAndLogicalSizes) {
  MemFile f(0, 16);  // initial shift 4
  ASSERT_EQ(f.SizeSet(1000, 0), 0);
  ExpectLayout(f, 4, 8, "1000");
  Put(f, "keep me", 0);
  ASSERT_EQ(f.SizeSet(300, 0), 0);
  ExpectLayout(f, 2, 8, "two segments keep the large size");
  ASSERT_EQ(f.SizeSet(100, 0), 0);
  ExpectLayout(f, 7, 4, "one segment returns to the initial size");
  EXPECT_EQ(Text(f).substr(0, 7), "keep me");
  kr_test::FailNthAllocation(0);  // counts calls without failing any
  EXPECT_EQ(f.SizeSet(110, 0), 0);  // the same 112 bytes: no reallocation
  EXPECT_EQ(kr_test::AllocationCalls(), 0u);

  MemFile g(0, 1);  // from shift 0 the doubling rule applies again
  g.SizeSet(1000, 0);
  ASSERT_EQ(g.SizeSet(200, 0), 0);
  ExpectLayout(g, 7, 5, "200 after 1000");

  f.Seek(5, 0, nullptr, 0);
  EXPECT_EQ(f.SizeSet(0, 0), 0);
  EXPECT_EQ(f.buffer, nullptr);
  ExpectLayout(f, 0, 4, "emptied");
  EXPECT_EQ(f.position, 5);
  EXPECT_EQ(f.logicalSize, 0);

  f.SizeSet(100, 0);
  unsigned char* const block = f.buffer;
  EXPECT_EQ(f.SizeSetDontShrink(10, 0), 0);
  EXPECT_EQ(f.buffer, block);
  EXPECT_EQ(Capacity(f), 112);
  EXPECT_EQ(f.SetLogicalSize(113), -10002);
  EXPECT_EQ(f.logicalSize, 10);
  EXPECT_EQ(f.SetLogicalSize(112), 0);
  EXPECT_EQ(f.SizeSetDontShrink(113, 0), 0);
  EXPECT_EQ(Capacity(f), 128);
  f.SetSizeZeroAndShrink(128);
  EXPECT_TRUE(f.buffer && f.logicalSize == 0 && f.position == 0 && Capacity(f) == 128);
  f.SetSizeZeroAndShrink(127);
  EXPECT_TRUE(!f.buffer && Capacity(f) == 0 && f.segmentShift == 4);
}

TEST(MemFile, FailedAllocationsKeepTheBlock) {
  kr_test::RecordingHandler handler;
  MemFile f(0, 1);
  {
    kr_test::AllocationFailure failure(1);
    EXPECT_EQ(f.SizeSet(100, 0), -10001);
    EXPECT_EQ(kr_test::AllocationCalls(), 1u);
  }
  EXPECT_EQ(f.buffer, nullptr);
  EXPECT_EQ(f.logicalSize, 100);
  ExpectLayout(f, 0, 0, "failed first allocation");
  ASSERT_EQ(f.SizeSet(10, 0), 0);
  Put(f, "ABCDEFGHIJ", 0);
  unsigned char* const block = f.buffer;
  int grow, rc = 0;
  unsigned long written;
  {
    kr_test::AllocationFailure failure(1, true);
    grow = f.SizeSet(1000, 0);
    f.Seek(10, 0, nullptr, 0);
    written = f.Write(7, rc);  // fails as well, and writes nothing
  }
  EXPECT_EQ(grow, -10001);
  EXPECT_EQ(rc, -10001);
  EXPECT_EQ(written, 4u);
  EXPECT_EQ(kr_test::FailedAllocations(), 2u);
  ASSERT_EQ(handler.calls, 3);
  EXPECT_EQ(handler.sizes[0], 112u);   // the exact bytes asked for: 7 x 16
  EXPECT_EQ(handler.sizes[1], 1024u);  // 4 x 256
  EXPECT_EQ(handler.sizes[2], 1024u);
  EXPECT_EQ(f.logicalSize, 1004);      // set before the allocation, kept
  EXPECT_EQ(f.buffer, block);
  EXPECT_EQ(Capacity(f), 10);
  EXPECT_EQ(f.position, 10);
  unsigned char out[10];
  EXPECT_EQ(f.Get(out, 0, 10), 10);
  EXPECT_EQ(std::string(out, out + 10), "ABCDEFGHIJ");
  EXPECT_EQ(Put(f, "x", 500), 0);  // nothing lands outside the block
  EXPECT_EQ(f.Seek(500, 0, nullptr, 0), nullptr);

  // Sizes that cannot be described fail before any allocation.
  MemFile g(0, 1);
  kr_test::FailNthAllocation(0);
  EXPECT_EQ(g.SizeSet(32768L * 32768L, 0), -10001);  // 32768 segments of 32 KiB
  EXPECT_EQ(g.SizeSet(-1, 0), -10001);
  EXPECT_EQ(kr_test::AllocationCalls(), 0u);
  ASSERT_EQ(handler.calls, 4);  // not for the negative size
  EXPECT_EQ(handler.sizes[3], 1ul << 30);
  EXPECT_EQ(g.logicalSize, 32768L * 32768L);
}

TEST(MemFile, SeekClampsAndRefuses) {
  MemFile f(0, 1);
  Put(f, "0123456789", 0);
  unsigned long length = 5;
  EXPECT_EQ(f.Seek(0, 2, &length, 0), nullptr);  // whence 2 counts back from the end
  EXPECT_EQ(length, 0u);
  length = 4;
  EXPECT_EQ(f.Seek(3, 2, &length, 0), f.buffer + 7);
  EXPECT_EQ(length, 3u);
  length = 2;
  EXPECT_EQ(f.Seek(-2, 1, &length, 0), f.buffer + 5);
  EXPECT_EQ(length, 2u);
  length = 100;
  EXPECT_EQ(f.Seek(4, 9, &length, 0), f.buffer + 4);
  EXPECT_EQ(length, 6u);
  length = 0;
  EXPECT_EQ(f.Seek(10, 0, &length, 0), f.buffer + 10);  // the end itself
  EXPECT_EQ(f.position, 10);
  for (long target : {11L, -1L}) {
    length = 1;
    EXPECT_EQ(f.Seek(target, 0, &length, 0), nullptr);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(f.position, 10);
  }
  EXPECT_EQ(f.Seek(3, 0, nullptr, 0), f.buffer + 3);
  EXPECT_EQ(f.position, 3);
}

TEST(MemFile, ReadsWritesAndFileToFileCopies) {
  MemFile a(0, 1), b(0, 1);
  unsigned char out[16];
  EXPECT_EQ(a.Get(out, 0, 4), 0);
  EXPECT_EQ(Put(a, "abc", 5), 3);
  EXPECT_EQ(Put(a, "XY", 1), 2);
  EXPECT_EQ(a.logicalSize, 8);
  EXPECT_EQ(a.Get(out, 6, 10), 2);
  EXPECT_EQ(std::memcmp(out, "bc", 2), 0);
  EXPECT_EQ(a.Get(out, 8, 1), 0);
  EXPECT_EQ(a.Get(out, 9, 1), 0);
  EXPECT_EQ(Put(a, "", 20), 0);  // an empty write past the end still grows
  EXPECT_EQ(a.logicalSize, 20);
  EXPECT_EQ(a.position, 0);

  Put(a, "0123456789", 0);
  a.SetLogicalSize(10);
  a.Seek(2, 0, nullptr, 0);
  EXPECT_EQ(b.Put(&a, 3, 4), 3);
  EXPECT_EQ(Text(b), "456");
  b.Seek(3, 0, nullptr, 0);
  EXPECT_EQ(b.Put(&a, 0, 8), 2);  // length 0: the rest of the source
  EXPECT_EQ(Text(b), "45689");
  EXPECT_EQ(b.Put(&a, 0, 11), 0);
  EXPECT_EQ(a.position, 2);
  EXPECT_EQ(b.position, 3);
  a.SetLogicalSize(4);  // not checked against: the bytes past it still go
  MemFile c(0, 1);
  EXPECT_EQ(a.Get(&c, 6, 1), 6);
  EXPECT_EQ(Text(c).substr(1), "234567");
  EXPECT_EQ(a.Get(&c, 100, 0), 0);  // past the block
  EXPECT_EQ(a.position, 2);
  c.Seek(1, 0, nullptr, 0);
  EXPECT_EQ(c.Get(&c, 6, 1000), 6);  // into itself, moving its own block
  EXPECT_EQ(Text(c).substr(1000), "234567");
}

TEST(MemFile, CopyDeleteFillAndPointers) {
  struct { long dst, src, length, result; char const* after; } const copies[] = {
      {0, 4, 4, 4, "efghefgh"},  {2, 0, 4, 4, "ababcdgh"},   {0, 2, 4, 4, "cdefefgh"},
      {4, 0, 4, 4, "abcdabcd"},  {6, 0, 4, 4, "abcdefabcd"}, {3, 3, 2, 2, "abcdefgh"},
      {1, 5, 0, 0, "abcdefgh"}};
  for (auto const& c : copies) {
    MemFile f(0, 1);
    Put(f, "abcdefgh", 0);
    EXPECT_EQ(f.Copy(c.dst, c.src, c.length), c.result) << c.after;
    EXPECT_EQ(Text(f), c.after);
  }
  MemFile f(0, 1);
  Put(f, "abcdefgh", 0);
  EXPECT_EQ(f.Delete(2, 3), 0);
  EXPECT_EQ(Text(f), "abfgh");
  EXPECT_EQ(f.Delete(4, 9), 0);  // not within the content: left alone
  EXPECT_EQ(f.Delete(3, 2), 0);
  EXPECT_EQ(Text(f), "abf");
  EXPECT_EQ(Capacity(f), 4);
  f.InitializeWith('z', 1);
  f.InitializeWith('y', 3);
  f.InitializeWith('y', -1);
  EXPECT_EQ(Text(f), "azz");
  f.Delete(0, 3);
  EXPECT_EQ(f.buffer, nullptr);

  MemFile g(0, 4);
  Put(g, std::string(40, 'p'), 0);
  unsigned long length = 6;
  EXPECT_EQ(g.GetPtr(34, &length), g.buffer + 34);
  length = 7;
  EXPECT_EQ(g.GetPtr(34, &length), nullptr);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(g.GetPtr(100, nullptr)),
            reinterpret_cast<uintptr_t>(g.buffer) + 100);
  EXPECT_EQ(g.GetSegment(3), g.buffer + 3 * (1L << g.segmentShift));
}

TEST(MemFile, WriteGrowsAtTheEndAndWritesAtThePosition) {
  MemFile f(0, 1);
  int rc = 1;
  EXPECT_EQ(f.Write(0x11223344ul, rc), 4u);
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(f.Write(0xA1B2C3D4ul, rc), 4u);
  EXPECT_EQ(f.logicalSize, 8);
  EXPECT_EQ(f.position, 8);
  unsigned char const expected[] = {0x44, 0x33, 0x22, 0x11, 0xD4, 0xC3, 0xB2, 0xA1};
  EXPECT_EQ(std::memcmp(f.buffer, expected, 8), 0);
  f.Seek(0, 0, nullptr, 0);
  f.Write(static_cast<unsigned long>(0x55 + (sizeof(long) > 4 ? (0x7ull << 32) : 0)), rc);
  EXPECT_EQ(f.logicalSize, 12);
  EXPECT_EQ(f.position, 4);
  EXPECT_EQ(std::memcmp(f.buffer, "\x55\0\0\0\xD4", 5), 0);  // only the low 32 bits
}

TEST(MemFile, CopyingExchangeAndThePoisonedPointer) {
  MemFile source(0, 1);
  Put(source, std::string(1000, 's'), 0);
  source.Seek(7, 0, nullptr, 0);
  MemFile copy(source);
  EXPECT_EQ(Text(copy), std::string(1000, 's'));
  EXPECT_NE(copy.buffer, source.buffer);
  EXPECT_TRUE(copy.segmentShift == 8 && copy.initialSegmentShift == 8);
  EXPECT_EQ(copy.position, 0);
  EXPECT_EQ(source.position, 7);
  MemFile target(0, 4096);
  target.Seek(9, 0, nullptr, 0);
  target = source;
  EXPECT_EQ(Text(target), std::string(1000, 's'));
  EXPECT_TRUE(target.segmentShift == 12 && target.initialSegmentShift == 12);
  EXPECT_EQ(target.position, 0);
  target = target;
  EXPECT_EQ(Text(target), std::string(1000, 's'));
  MemFile empty(0, 1);
  EXPECT_EQ(MemFile(empty).buffer, nullptr);

  MemFile a(3, 1), b(0, 64);
  b.position = 2;
  short const aCount = a.segmentCount;
  unsigned char* const aBlock = a.buffer;
  a.Exchange(&b);
  EXPECT_TRUE(b.buffer == aBlock && b.logicalSize == 3 && b.segmentCount == aCount &&
              b.segmentShift == 0 && b.initialSegmentShift == 0 && b.position == 0);
  EXPECT_TRUE(!a.buffer && a.logicalSize == 0 && a.segmentCount == 0 && a.segmentShift == 6 &&
              a.initialSegmentShift == 6 && a.position == 2);

  for (long size : {10L, 0L}) {
    alignas(MemFile) unsigned char storage[sizeof(MemFile)];
    MemFile* f = new (storage) MemFile(size, 1);
    f->~MemFile();
    EXPECT_EQ(reinterpret_cast<uintptr_t>(f->buffer), size ? 0xDEADDEADu : 0u);
  }
}

TEST(MemFile, CheckSumOfRanges) {
  MemFile f(0, 1);
  unsigned long seed = 0x1234;
  EXPECT_EQ(f.CheckSum(0, 0xFFFFFFFFul, nullptr), 0u);
  EXPECT_EQ(f.CheckSum(0, 0xFFFFFFFFul, &seed), 0x1234u);
  Put(f, "123456789", 0);
  f.Seek(5, 0, nullptr, 0);
  EXPECT_EQ(f.CheckSum(0, 0xFFFFFFFFul, nullptr), 0xCBF43926ul);
  EXPECT_EQ(f.position, 0);
  unsigned long head = f.CheckSum(0, 5, nullptr);
  EXPECT_EQ(f.CheckSum(5, 0xFFFFFFFFul - 5, &head), 0xCBF43926ul);
  EXPECT_EQ(f.CheckSum(5, 4, &head), 0xCBF43926ul);
  EXPECT_EQ(f.position, 5);
  EXPECT_EQ(f.CheckSum(2, 3, nullptr), crc32(0, reinterpret_cast<Bytef const*>("345"), 3));
  // Ranges past the logical end stop there instead of looping.
  EXPECT_EQ(f.CheckSum(4, 100, nullptr), crc32(0, reinterpret_cast<Bytef const*>("56789"), 5));
  EXPECT_EQ(f.CheckSum(20, 5, &seed), seed);
}

// Random operations against a std::vector holding the same content.
TEST(MemFile, AgreesWithAVectorModel) {
  std::mt19937 random(2);
  for (long segmentSize : {1L, 8L, 1024L}) {
    MemFile f(0, segmentSize);
    std::vector<unsigned char> model;
    auto pick = [&](long bound) { return static_cast<long>(random() % (bound + 1)); };
    for (int step = 0; step < 3000; ++step) {
      long const size = static_cast<long>(model.size());
      long a = pick(size), b = pick(size), n = pick(300);
      std::vector<unsigned char> bytes(static_cast<size_t>(n));
      for (auto& byte : bytes) byte = static_cast<unsigned char>(random());
      switch (random() % 5) {
        case 0:  // write, possibly past the end (the gap is zero-filled first)
          if (a + n > size) {
            f.SizeSet(a + n, 0);
            f.InitializeWith(0, size);
          }
          ASSERT_EQ(f.Put(bytes.data(), a, n), n);
          model.resize(std::max<size_t>(model.size(), static_cast<size_t>(a + n)));
          std::copy(bytes.begin(), bytes.end(), model.begin() + a);
          break;
        case 1:  // move inside the content
          n = std::min(n, size - std::max(a, b));
          ASSERT_EQ(f.Copy(a, b, n), n);
          std::copy(model.begin() + b, model.begin() + b + n, bytes.begin());
          std::copy(bytes.begin(), bytes.begin() + n, model.begin() + a);
          break;
        case 2:
          n = std::min(n, size - a);
          f.Delete(static_cast<unsigned long>(a), static_cast<unsigned long>(n));
          model.erase(model.begin() + a, model.begin() + a + n);
          break;
        case 3:  // resize, zero-filling what grows
          n = pick(2 * size + 50);
          ASSERT_EQ(f.SizeSet(n, 0), 0);
          f.InitializeWith(0, size);
          model.resize(static_cast<size_t>(n));
          break;
        default: {
          std::vector<unsigned char> out(static_cast<size_t>(n));
          long const got = f.Get(out.data(), a, n);
          ASSERT_EQ(got, std::min(n, size - a));
          ASSERT_TRUE(std::equal(out.begin(), out.begin() + got, model.begin() + a));
        }
      }
      ASSERT_EQ(f.logicalSize, static_cast<long>(model.size()));
      ASSERT_TRUE(std::equal(model.begin(), model.end(), f.buffer)) << step;
      ASSERT_GE(Capacity(f), f.logicalSize);
      ASSERT_EQ(f.buffer != nullptr, f.segmentCount > 0);
    }
  }
}

}  // namespace
