// The 64-byte operations of the record codec against the 8-byte ones, at
// every length up to 300 and every alignment up to 63, with guard bytes
// around each output. (The codec itself is checked against its model in
// compress_test.cpp, on whichever operations this processor runs.)
#include "memory/byte_runs.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

using kr_detail::PlainBytes;

TEST(ByteRuns, WideOperationsAgreeWithPlainOnes) {
#if KR_HAVE_WIDE_BYTES
  if (!kr_detail::WideBytesAvailable()) GTEST_SKIP() << "this processor lacks AVX-512BW";
  using kr_detail::WideBytes;
  std::mt19937 random(11);
  constexpr size_t kGuard = 64;
  std::vector<unsigned char> src(1024), plain(1024), wide(1024);
  for (size_t length = 0; length <= 300; ++length) {
    for (size_t align = 0; align < 64; ++align) {
      // Runs of random length over a small alphabet, so that both scans stop
      // anywhere in the stretch (or nowhere).
      for (size_t i = 0; i < src.size();) {
        unsigned char const value = static_cast<unsigned char>(random() % 3);
        for (size_t n = 1 + random() % (length + 2); n > 0 && i < src.size(); --n) src[i++] = value;
      }
      unsigned char const* p = src.data() + kGuard + align;
      unsigned char const value = p[random() % (length + 1)];
      ASSERT_EQ(WideBytes::CountEqual(p, length, value), PlainBytes::CountEqual(p, length, value))
          << length << " at " << align;
      ASSERT_EQ(WideBytes::CountUnequalToPrevious(p, length),
                PlainBytes::CountUnequalToPrevious(p, length))
          << length << " at " << align;
      std::fill(plain.begin(), plain.end(), 0xEE);
      std::fill(wide.begin(), wide.end(), 0xEE);
      PlainBytes::Fill(plain.data() + kGuard + align, value, length);
      WideBytes::Fill(wide.data() + kGuard + align, value, length);
      ASSERT_EQ(wide, plain) << "fill " << length << " at " << align;
      PlainBytes::Copy(plain.data() + kGuard + align, p + 1, length);
      WideBytes::Copy(wide.data() + kGuard + align, p + 1, length);
      ASSERT_EQ(wide, plain) << "copy " << length << " at " << align;
      ASSERT_TRUE(std::equal(p + 1, p + 1 + length, plain.data() + kGuard + align));
      ASSERT_EQ(plain[kGuard + align + length], 0xEE) << "written past the end";
    }
  }
#else
  GTEST_SKIP() << "the 64-byte operations exist on x86_64 only";
#endif
}

}  // namespace
