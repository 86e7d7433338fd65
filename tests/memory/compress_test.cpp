#include <kr/memory.h>

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <string>
#include <vector>

#include "compress_model.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes Of(std::string const& text) { return Bytes(text.begin(), text.end()); }

struct Compressed {
  int rc;
  int dstLen;
  Bytes out;
};

// DScomp into a buffer of exactly `capacity` bytes; the source is copied into
// a heap block of its exact size (one byte for an empty record).
Compressed Compress(Bytes const& src, int capacity) {
  Bytes source = src.empty() ? Bytes(1, 0) : src;
  Bytes dst(static_cast<size_t>(capacity > 0 ? capacity : 0));
  int dstLen = capacity;
  int const rc = DScomp(source.data(), static_cast<int>(src.size()), dst.data(), &dstLen);
  dst.resize(rc == 0 ? static_cast<size_t>(dstLen) : 0);
  return {rc, dstLen, dst};
}

// The smallest capacity DScomp accepts for `src`, found by walking down.
int SmallestCapacity(Bytes const& src) {
  int capacity = static_cast<int>(src.size()) + 600;
  EXPECT_EQ(Compress(src, capacity).rc, 0);
  while (capacity > 0 && Compress(src, capacity - 1).rc == 0) --capacity;
  return capacity;
}

TEST(DScomp, WorkedExamples) {
  EXPECT_EQ(Compress(Of("AAAAB"), 5).out, (Bytes{0x04, 0x41, 0x01, 0x42}));
  EXPECT_EQ(SmallestCapacity(Of("AAAAB")), 5);
  EXPECT_EQ(Compress(Of("AAAB"), 5).out, (Bytes{0x03, 0x41, 0x01, 0x42}));
  Compressed const tooSmall = Compress(Of("AAAB"), 4);
  EXPECT_EQ(tooSmall.rc, -1);
  EXPECT_EQ(tooSmall.dstLen, 4);  // unchanged on failure
  EXPECT_EQ(Compress(Of("ABCDDDDE"), 10).out,
            (Bytes{0x00, 0x03, 0x41, 0x42, 0x43, 0x04, 0x44, 0x01, 0x45}));
  EXPECT_EQ(SmallestCapacity(Of("ABCDDDDE")), 10);
  // A pair at the start stays in the literal stretch; a final pair in it too.
  EXPECT_EQ(Compress(Of("AAB"), 10).out, (Bytes{0x00, 0x03, 0x41, 0x41, 0x42}));
  EXPECT_EQ(Compress(Of("ABB"), 10).out, (Bytes{0x00, 0x03, 0x41, 0x42, 0x42}));
  // A whole record of one short run is a run item.
  EXPECT_EQ(Compress(Of("AA"), 10).out, (Bytes{0x02, 0x41}));
  EXPECT_EQ(Compress(Of("AB"), 10).out, (Bytes{0x00, 0x02, 0x41, 0x42}));
}

TEST(DScomp, EmptyAndOneByteRecords) {
  unsigned char src = 'Q';
  unsigned char dst[8] = {};
  for (int srcLen : {0, -5, 1}) {
    int dstLen = 3;
    ASSERT_EQ(DScomp(&src, srcLen, dst, &dstLen), 0) << srcLen;
    EXPECT_EQ(dstLen, 2);
    EXPECT_EQ(dst[0], 1);
    EXPECT_EQ(dst[1], 'Q');
    dstLen = 2;
    EXPECT_EQ(DScomp(&src, srcLen, dst, &dstLen), -1);
    EXPECT_EQ(dstLen, 2);
  }
  int dstLen = 8;
  EXPECT_EQ(DScomp(nullptr, 0, dst, &dstLen), -1);
  for (int capacity : {0, -1}) {
    dstLen = capacity;
    EXPECT_EQ(DScomp(&src, 1, dst, &dstLen), -1);
    EXPECT_EQ(dstLen, capacity);
  }
}

// Splitting a long stretch wants room for a full literal item (257 bytes),
// even before writing a 2-byte run item.
TEST(DScomp, LongRunsAndTheStricterRoomTest) {
  Bytes const zeros(1000, 0);
  Compressed const result = Compress(zeros, 1000);
  EXPECT_EQ(result.out, (Bytes{255, 0, 255, 0, 255, 0, 235, 0}));
  // The third split happens with 4 bytes written: 4 + 257 = 261.
  EXPECT_EQ(SmallestCapacity(zeros), 261);
  EXPECT_EQ(Compress(Bytes(256, 7), 300).out, (Bytes{255, 7, 1, 7}));
  EXPECT_EQ(SmallestCapacity(Bytes(256, 7)), 257);
  EXPECT_EQ(Compress(Bytes(255, 7), 3).out, (Bytes{255, 7}));
}

TEST(DScomp, LongLiteralStretches) {
  Bytes alternating(300);
  for (size_t i = 0; i < alternating.size(); ++i) alternating[i] = static_cast<unsigned char>(i);
  Compressed const result = Compress(alternating, 305);
  ASSERT_EQ(result.rc, 0);
  ASSERT_EQ(result.out.size(), 304u);
  EXPECT_EQ(result.out[0], 0);
  EXPECT_EQ(result.out[1], 255);
  EXPECT_EQ(Bytes(result.out.begin() + 2, result.out.begin() + 257),
            Bytes(alternating.begin(), alternating.begin() + 255));
  EXPECT_EQ(result.out[257], 0);
  EXPECT_EQ(result.out[258], 45);
  EXPECT_EQ(Bytes(result.out.begin() + 259, result.out.end()),
            Bytes(alternating.begin() + 255, alternating.end()));
  EXPECT_EQ(Compress(alternating, 304).rc, -1);
  // 254 unequal bytes and a pair reach 256 pending bytes: the 254 go out as
  // a literal item and the pair stays pending, becoming part of the run.
  Bytes mixed(alternating.begin(), alternating.begin() + 254);
  mixed.insert(mixed.end(), 5, 0xEE);
  Compressed const split = Compress(mixed, 300);
  ASSERT_EQ(split.out.size(), 258u);
  EXPECT_EQ(split.out[1], 254);
  EXPECT_EQ(Bytes(split.out.end() - 2, split.out.end()), (Bytes{5, 0xEE}));
}

// Records of runs and literal stretches of every length class, built from a
// small alphabet so that pairs and triples occur by chance too.
Bytes RandomRecord(std::mt19937& random) {
  Bytes record;
  size_t const target = random() % 1500;
  unsigned char const alphabet = static_cast<unsigned char>(2 + random() % 254);
  while (record.size() < target) {
    size_t const length = random() % 4 == 0 ? random() % 700 : random() % 6;
    if (random() % 2) {
      record.insert(record.end(), length, static_cast<unsigned char>(random() % alphabet));
    } else {
      for (size_t i = 0; i < length; ++i) record.push_back(static_cast<unsigned char>(random() % alphabet));
    }
  }
  return record;
}

TEST(DScomp, SameBytesAsTheModelAndRoundTrips) {
  std::mt19937 random(5);
  for (int trial = 0; trial < 3000; ++trial) {
    Bytes const record = RandomRecord(random);
    int const size = static_cast<int>(record.size());
    kr_test::ModelResult const roomy = kr_test::ModelCompress(record, size + 600);
    ASSERT_EQ(roomy.rc, 0);
    int const produced = static_cast<int>(roomy.out.size());
    // Capacities around the result's size and around the room tests.
    for (int capacity : {size + 600, size, produced + 1, produced, produced + 256,
                         produced + 257, produced + 258, static_cast<int>(random() % 600)}) {
      kr_test::ModelResult const model = kr_test::ModelCompress(record, capacity);
      Compressed const actual = Compress(record, capacity);
      ASSERT_EQ(actual.rc, model.rc) << "trial " << trial << " capacity " << capacity;
      if (model.rc != 0) continue;
      ASSERT_EQ(actual.out, model.out) << "trial " << trial;
      ASSERT_LT(actual.dstLen, capacity);
      Bytes compressed = actual.out;
      int const length = static_cast<int>(compressed.size());
      ASSERT_EQ(DSlen(compressed.data(), length), std::max(size, 1));
      ASSERT_EQ(DScheck(compressed.data(), length), std::max(size, 1));
      Bytes expanded(record.size() + 1);
      int expandedLen = static_cast<int>(expanded.size());
      ASSERT_EQ(DSdecomp(compressed.data(), length, expanded.data(), &expandedLen), 0);
      expanded.resize(static_cast<size_t>(expandedLen));
      if (!record.empty()) {
        ASSERT_EQ(expanded, record);
      }
    }
  }
}

// Items: run (3, 'a'), literal "xyz", run (2, 'b').
Bytes const kItems = {3, 'a', 0, 3, 'x', 'y', 'z', 2, 'b'};

struct Expanded {
  int rc;
  int dstLen;
  std::string out;
};

Expanded Expand(Bytes src, int srcLen, int capacity) {
  Bytes dst(static_cast<size_t>(std::max(capacity, 0)) + 1, '#');
  int dstLen = capacity;
  int const rc = DSdecomp(src.data(), srcLen, dst.data(), &dstLen);
  return {rc, dstLen, std::string(dst.begin(), dst.end() - 1)};
}

TEST(DSdecomp, WholeItemsOnly) {
  Expanded const all = Expand(kItems, 9, 8);
  EXPECT_EQ(all.rc, 0);
  EXPECT_EQ(all.dstLen, 8);
  EXPECT_EQ(all.out, "aaaxyzbb");
  // A capacity that ends inside an item stops before it.
  Expanded const inLiteral = Expand(kItems, 9, 5);
  EXPECT_EQ(inLiteral.rc, 2);
  EXPECT_EQ(inLiteral.dstLen, 3);
  EXPECT_EQ(inLiteral.out.substr(0, 4), "aaa#");
  Expanded const inRun = Expand(kItems, 9, 7);
  EXPECT_EQ(inRun.rc, 2);
  EXPECT_EQ(inRun.dstLen, 6);
  EXPECT_EQ(inRun.out, "aaaxyz#");
  // A capacity reached exactly at an item's end ends the walk without error.
  Expanded const exact = Expand(kItems, 9, 3);
  EXPECT_EQ(exact.rc, 0);
  EXPECT_EQ(exact.dstLen, 3);
}

TEST(DSdecomp, NothingProduced) {
  EXPECT_EQ(Expand(kItems, 9, 0).rc, 2);
  EXPECT_EQ(Expand(kItems, 9, 0).dstLen, 0);
  EXPECT_EQ(Expand(kItems, 9, 2).rc, 2);
  EXPECT_EQ(Expand(kItems, 9, 2).dstLen, 0);
  EXPECT_EQ(Expand(kItems, 0, 8).rc, 0);
  EXPECT_EQ(Expand(kItems, 0, 8).dstLen, 0);
  EXPECT_EQ(Expand(kItems, -1, 8).rc, 0);
  Expanded const emptyLiterals = Expand(Bytes{0, 0, 0, 0}, 4, 8);
  EXPECT_EQ(emptyLiterals.rc, 2);
  EXPECT_EQ(emptyLiterals.dstLen, 0);
}

TEST(DSlenAndDScheck, TruncatedItems) {
  Bytes items = {2, 'b', 0, 5, 'h', 'e', 'l', 'l', 'o'};
  EXPECT_EQ(DSlen(items.data(), 9), 7);
  EXPECT_EQ(DScheck(items.data(), 9), 7);
  // The last item is counted whole although it runs past srcLen.
  for (int srcLen : {3, 4, 8}) {
    EXPECT_EQ(DSlen(items.data(), srcLen), 7) << srcLen;
    EXPECT_EQ(DScheck(items.data(), srcLen), -1) << srcLen;
  }
  EXPECT_EQ(DSlen(items.data(), 1), 2);
  EXPECT_EQ(DScheck(items.data(), 1), -1);
  EXPECT_EQ(DSlen(items.data(), 2), 2);
  EXPECT_EQ(DScheck(items.data(), 2), 2);
  EXPECT_EQ(DSlen(items.data(), 0), 0);
  EXPECT_EQ(DSlen(items.data(), -3), 0);
  EXPECT_EQ(DScheck(items.data(), 0), 0);
  EXPECT_EQ(DScheck(items.data(), -3), -1);
  EXPECT_EQ(DScheck(nullptr, 0), 0);
  EXPECT_EQ(DScheck(nullptr, 4), -1);
  EXPECT_EQ(DScheck(Bytes{0, 0, 0, 0}.data(), 4), 0);
}

TEST(DSlenAndDScheck, ExpandedLengthBeyondInt) {
  // 8421505 full runs expand to 2147483775 bytes, 128 past INT_MAX.
  Bytes runs(2 * 8421505, 255);
  int const length = static_cast<int>(runs.size());
  EXPECT_EQ(DScheck(runs.data(), length), -1);
  EXPECT_EQ(DScheck(runs.data(), length - 2), INT_MAX - 127);
  EXPECT_EQ(DSlen(runs.data(), length), static_cast<int>(2147483775u));
}

// Random bytes in a heap block of their exact size: DScheck never reads
// outside it (the sanitizer build would see it), and whatever it accepts
// expands to exactly the length it reported.
TEST(DSlenAndDScheck, RandomInputIsValidatedBeforeExpansion) {
  std::mt19937 random(6);
  int accepted = 0;
  for (int trial = 0; trial < 20000; ++trial) {
    Bytes input(random() % 24);
    for (auto& byte : input) byte = static_cast<unsigned char>(random() % 3 == 0 ? 0 : random() % 8);
    int const length = static_cast<int>(input.size());
    int const expected = DScheck(input.data(), length);
    if (expected < 0) continue;
    ++accepted;
    ASSERT_EQ(DSlen(input.data(), length), expected);
    Bytes out(static_cast<size_t>(expected) + 1);
    int outLen = expected;
    int const rc = DSdecomp(input.data(), length, out.data(), &outLen);
    ASSERT_EQ(outLen, expected);
    ASSERT_EQ(rc, expected == 0 && length > 0 ? 2 : 0);
  }
  EXPECT_GT(accepted, 1000);
}

}  // namespace
