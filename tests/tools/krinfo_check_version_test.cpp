// krinfo check-version.
#include <gtest/gtest.h>

#include "krinfo_support.h"

namespace {

using kr_test::ExpectUsageError;
using kr_test::Krinfo;

TEST(KrinfoCheckVersion, AnswersWithCodeAndText) {
  kr_test::ChildResult ok = Krinfo({"check-version", "9.5.23.262.0"});
  EXPECT_EQ(ok.exitCode, 0);
  EXPECT_EQ(ok.out, "9.5.23.262.0 flags 0x00000003: 0 ok\n");

  kr_test::ChildResult patch = Krinfo({"check-version", "9.5.23.262.0", "--flags", "4"});
  EXPECT_EQ(patch.exitCode, 1);
  EXPECT_EQ(patch.out,
            "9.5.23.262.0 flags 0x00000004: -5004 A module has an incompatible version.\n");

  EXPECT_EQ(Krinfo({"check-version", "--flags=0x20000004", "9.5.23.262.0"}).out,
            "9.5.23.262.0 flags 0x20000004: 0 ok\n");
  EXPECT_EQ(Krinfo({"check-version", "9.4.23.262.0"}).exitCode, 1);
  EXPECT_EQ(Krinfo({"check-version", "9.5.23.262.0", "--flags", "0"}).exitCode, 1);
  EXPECT_EQ(Krinfo({"check-version", "9.5.24.0.0", "--flags", "0x10000002"}).exitCode, 0);
  EXPECT_EQ(Krinfo({"check-version", "9.5.24.0.0", "--flags", "2"}).exitCode, 1);
  EXPECT_EQ(Krinfo({"check-version", "9.5.23.262.1", "--flags", "0xFFFFFFFF"}).out,
            "9.5.23.262.1 flags 0xffffffff: 0 ok\n");
}

TEST(KrinfoCheckVersion, RejectsBadArguments) {
  ExpectUsageError(Krinfo({"check-version"}), "no version given");
  ExpectUsageError(Krinfo({"check-version", "9.5.23.262"}), "is not a version");
  ExpectUsageError(Krinfo({"check-version", "9.5.23.262.0.1"}), "is not a version");
  ExpectUsageError(Krinfo({"check-version", "9.5..262.0"}), "is not a version");
  ExpectUsageError(Krinfo({"check-version", "9.5.23.262.x"}), "is not a version");
  ExpectUsageError(Krinfo({"check-version", "9.5.23.4294967296.0"}), "is not a version");
  ExpectUsageError(Krinfo({"check-version", "9.5.23.262.0", "--flags"}), "--flags needs a number");
  ExpectUsageError(Krinfo({"check-version", "9.5.23.262.0", "--flags", "-1"}),
                   "'-1' is not a flags value");
  ExpectUsageError(Krinfo({"check-version", "9.5.23.262.0", "9.5.23.262.0"}),
                   "unexpected argument");
  ExpectUsageError(Krinfo({"check-version", "--frob"}), "unknown option '--frob'");
}

}  // namespace
