#include <kr/memory.h>

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

// Worked values and boundaries; agreement with the model codec and round trips on records of
// every shape are the codec fuzz target's (replayed with the tests).
namespace {

using Bytes = std::vector<unsigned char>;

Bytes Of(std::string const& text) { return Bytes(text.begin(), text.end()); }

// DScomp into exactly `capacity` bytes: {rc, *dstLen, output}. The source is
// copied to a block of its exact size (one byte for an empty record).
struct Compressed { int rc, dstLen; Bytes out; };
Compressed Compress(Bytes const& src, int capacity) {
  Bytes source = src.empty() ? Bytes(1, 0) : src;
  Bytes dst(static_cast<size_t>(std::max(capacity, 0)));
  int dstLen = capacity;
  int const rc = DScomp(source.data(), static_cast<int>(src.size()), dst.data(), &dstLen);
  dst.resize(rc == 0 ? static_cast<size_t>(dstLen) : 0);
  return {rc, dstLen, dst};
}

// The smallest capacity DScomp accepts for `src`.
int SmallestCapacity(Bytes const& src) {
  int capacity = static_cast<int>(src.size()) + 600;
  while (capacity > 0 && Compress(src, capacity - 1).rc == 0) --capacity;
  return capacity;
}

TEST(DScomp, WorkedExamplesAndTheirCapacities) {
  struct { char const* in; Bytes out; int smallest; } const cases[] = {
      {"AAAAB", {4, 'A', 1, 'B'}, 5},
      {"AAAB", {3, 'A', 1, 'B'}, 5},
      {"ABCDDDDE", {0, 3, 'A', 'B', 'C', 4, 'D', 1, 'E'}, 10},
      {"AAB", {0, 3, 'A', 'A', 'B'}, 6},  // a pair stays in the literal stretch
      {"ABB", {0, 3, 'A', 'B', 'B'}, 6},
      {"AA", {2, 'A'}, 3},  // a whole record of one short run is a run item
      {"AB", {0, 2, 'A', 'B'}, 5},
  };
  for (auto const& c : cases) {
    EXPECT_EQ(Compress(Of(c.in), 300).out, c.out) << c.in;
    EXPECT_EQ(SmallestCapacity(Of(c.in)), c.smallest) << c.in;
  }
  Compressed const failed = Compress(Of("AAAB"), 4);
  EXPECT_EQ(failed.rc, -1);
  EXPECT_EQ(failed.dstLen, 4);  // unchanged
}

TEST(DScomp, EmptyOneByteAndNullRecords) {
  unsigned char src = 'Q', dst[4] = {};
  for (int srcLen : {0, -5, 1}) {  // the first byte is read in every case
    int dstLen = 3;
    ASSERT_EQ(DScomp(&src, srcLen, dst, &dstLen), 0) << srcLen;
    EXPECT_EQ(Bytes(dst, dst + dstLen), (Bytes{1, 'Q'}));
    EXPECT_EQ(DScomp(&src, srcLen, dst, &(dstLen = 2)), -1);
  }
  int dstLen = 4;
  EXPECT_EQ(DScomp(nullptr, 0, dst, &dstLen), -1);
  EXPECT_EQ(DScomp(&src, 1, dst, &(dstLen = -1)), -1);
}

// Splitting a long stretch wants room for a full literal item (257 bytes),
// even before writing a 2-byte run item.
TEST(DScomp, LongStretchesAndTheStricterRoomTest) {
  Bytes const zeros(1000, 0);
  EXPECT_EQ(Compress(zeros, 1000).out, (Bytes{255, 0, 255, 0, 255, 0, 235, 0}));
  EXPECT_EQ(SmallestCapacity(zeros), 4 + 257);  // the third split, 4 bytes written
  EXPECT_EQ(Compress(Bytes(256, 7), 300).out, (Bytes{255, 7, 1, 7}));
  EXPECT_EQ(SmallestCapacity(Bytes(256, 7)), 257);
  Bytes unequal(300);
  for (size_t i = 0; i < unequal.size(); ++i) unequal[i] = static_cast<unsigned char>(i);
  Bytes expected = {0, 255};
  expected.insert(expected.end(), unequal.begin(), unequal.begin() + 255);
  expected.insert(expected.end(), {0, 45});
  expected.insert(expected.end(), unequal.begin() + 255, unequal.end());
  EXPECT_EQ(Compress(unequal, 305).out, expected);
  EXPECT_EQ(Compress(unequal, 304).rc, -1);
}

// DSdecomp of the items (3, 'a'), literal "xyz", (2, 'b') into `capacity`
// bytes (plus a guard byte): {rc, *dstLen, output}.
struct Expanded { int rc, dstLen; std::string out; };
Expanded Expand(int srcLen, int capacity, Bytes src = {3, 'a', 0, 3, 'x', 'y', 'z', 2, 'b'}) {
  std::string dst(static_cast<size_t>(std::max(capacity, 0)) + 1, '#');
  int dstLen = capacity;
  int const rc = DSdecomp(src.data(), srcLen, reinterpret_cast<unsigned char*>(&dst[0]), &dstLen);
  return {rc, dstLen, dst};
}

TEST(DSdecomp, WholeItemsOnly) {
  struct { int capacity, rc, dstLen; char const* out; } const cases[] = {
      {8, 0, 8, "aaaxyzbb#"},
      {9, 0, 8, "aaaxyzbb##"},
      {5, 2, 3, "aaa###"},   // ends inside the literal: stops before it
      {7, 2, 6, "aaaxyz##"}, // ends inside the last run
      {3, 0, 3, "aaa#"},     // reached exactly at an item's end: no error
      {2, 2, 0, "###"},      // nothing produced from a non-empty input
      {0, 2, 0, "#"},
  };
  for (auto const& c : cases) {
    Expanded const e = Expand(9, c.capacity);
    EXPECT_EQ(e.rc, c.rc) << c.capacity;
    EXPECT_EQ(e.dstLen, c.dstLen) << c.capacity;
    EXPECT_EQ(e.out, c.out) << c.capacity;
  }
  EXPECT_EQ(Expand(0, 8).rc, 0);
  EXPECT_EQ(Expand(-1, 8).dstLen, 0);
  EXPECT_EQ(Expand(4, 8, {0, 0, 0, 0}).rc, 2);  // empty literals produce nothing
}

TEST(DSlenAndDScheck, TruncatedAndOversizedInput) {
  Bytes items = {2, 'b', 0, 5, 'h', 'e', 'l', 'l', 'o'};
  // DSlen counts a truncated last item whole; DScheck refuses it.
  struct { int srcLen, length, check; } const cases[] = {
      {9, 7, 7}, {8, 7, -1}, {4, 7, -1}, {3, 7, -1}, {2, 2, 2}, {1, 2, -1}, {0, 0, 0}, {-3, 0, -1}};
  for (auto const& c : cases) {
    EXPECT_EQ(DSlen(items.data(), c.srcLen), c.length) << c.srcLen;
    EXPECT_EQ(DScheck(items.data(), c.srcLen), c.check) << c.srcLen;
  }
  EXPECT_EQ(DScheck(nullptr, 0), 0);
  EXPECT_EQ(DScheck(nullptr, 4), -1);
  // 8421505 full runs expand to 2147483775 bytes, 128 past INT_MAX.
  Bytes runs(2 * 8421505, 255);
  int const length = static_cast<int>(runs.size());
  EXPECT_EQ(DScheck(runs.data(), length), -1);
  EXPECT_EQ(DScheck(runs.data(), length - 2), INT_MAX - 127);
  EXPECT_EQ(DSlen(runs.data(), length), static_cast<int>(2147483775u));  // wraps
}

}  // namespace
