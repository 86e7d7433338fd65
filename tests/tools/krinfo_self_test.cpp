// krinfo self.
#include <gtest/gtest.h>

#include "krinfo_support.h"

namespace {

using kr_test::Krinfo;

TEST(KrinfoSelf, DescribesTheLibrary) {
  kr_test::ChildResult result = Krinfo({"self"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out,
            "title:        Norvane Basic Algorithms\n"
            "name:         kr95Nbs\n"
            "version:      9.5.23.262.0\n"
            "built:        Jun 28 2005 00:54:01\n"
            "compiler:     GNU C++ gcc Compiler 3.2 (Linux) (320)\n"
            "version text: \"Norvane Basic Algorithms 9.5.23.262.0 \"\n"
            "build date:   Jun 28 2005\n");
}

TEST(KrinfoSelf, TakesNoArguments) {
  kr_test::ExpectUsageError(Krinfo({"self", "kr95Nbs"}), "unexpected argument 'kr95Nbs'");
}

}  // namespace
