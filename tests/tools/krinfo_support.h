// Running krinfo from its tests.
#ifndef KR_TESTS_TOOLS_KRINFO_SUPPORT_H_
#define KR_TESTS_TOOLS_KRINFO_SUPPORT_H_

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "child_process.h"

namespace kr_test {

inline ChildResult Krinfo(std::vector<std::string> args,
                          std::vector<std::string> const& environment = {}) {
  args.insert(args.begin(), KRINFO_PATH);
  return RunProgram(args, "", environment);
}

// Exit status 2, nothing on standard output, `message` and the help hint on
// standard error.
inline void ExpectUsageError(ChildResult const& result, std::string const& message) {
  EXPECT_TRUE(result.exited);
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_NE(result.err.find(message), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("--help"), std::string::npos) << result.err;
  EXPECT_EQ(result.err.find("Assertion"), std::string::npos) << result.err;
}

}  // namespace kr_test

#endif  // KR_TESTS_TOOLS_KRINFO_SUPPORT_H_
