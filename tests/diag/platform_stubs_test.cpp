// Registry stubs and the host name.
#include <kr/diag.h>

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

TEST(PlatformStubs, RegistryIsNotImplementedAndHostnameIsTheSystems) {
  char const* path[] = {"Software", nullptr};
  char value[16] = "untouched";
  long length = 16;
  EXPECT_EQ(KrGetRegistryEntry(path, value, length), -2999);
  EXPECT_EQ(KrSetRegistryEntry(nullptr, value, length), -2999);
  EXPECT_EQ(KrDeleteRegistryEntry(path), -2999);
  EXPECT_STREQ(value, "untouched");

  char expected[256] = {};
  ASSERT_EQ(gethostname(expected, sizeof expected), 0);
  char name[256] = "x";
  EXPECT_EQ(KrGetHostname(name, sizeof name), 0);
  EXPECT_STREQ(name, expected);
  char small[2] = "x";
  EXPECT_EQ(KrGetHostname(small, 0), 0);  // the system fails; the result stays 0
  EXPECT_EQ(KrGetHostname(small, -5), 0);
  EXPECT_STREQ(small, "x");
}

}  // namespace
