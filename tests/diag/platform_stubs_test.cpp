// Registry stubs and the host name.
#include <kr/diag.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>

namespace {

TEST(Registry, EveryOperationIsNotImplemented) {
  char const* path[] = {"Software", "Norvane", nullptr};
  char value[16] = "untouched";
  long length = 16;
  EXPECT_EQ(KrGetRegistryEntry(path, value, length), -2999);
  EXPECT_EQ(KrSetRegistryEntry(path, value, length), -2999);
  EXPECT_EQ(KrDeleteRegistryEntry(path), -2999);
  EXPECT_EQ(KrGetRegistryEntry(nullptr, nullptr, length), -2999);
  EXPECT_EQ(KrDeleteRegistryEntry(nullptr), -2999);
  EXPECT_STREQ(value, "untouched");
  EXPECT_EQ(length, 16);
  EXPECT_STREQ(KrError(nullptr, nullptr, -2999, 1), "The operation is not yet implemented.");
}

TEST(Hostname, MatchesTheSystemAndAlwaysReturnsZero) {
  char expected[256] = {};
  ASSERT_EQ(gethostname(expected, sizeof expected), 0);
  char name[256];
  std::memset(name, 'x', sizeof name);
  EXPECT_EQ(KrGetHostname(name, sizeof name), 0);
  EXPECT_STREQ(name, expected);

  // Too short for the name: the system reports failure, the result stays 0.
  char small[1] = {'x'};
  EXPECT_EQ(KrGetHostname(small, 0), 0);
  EXPECT_EQ(small[0], 'x');
  EXPECT_EQ(KrGetHostname(small, -5), 0);
  EXPECT_EQ(small[0], 'x');
}

}  // namespace
