// Running code and programs in child processes, for tests of process-wide
// state (settings read once, caches, aborts and signals) and of the tools.
#ifndef KR_TESTS_SUPPORT_CHILD_PROCESS_H_
#define KR_TESTS_SUPPORT_CHILD_PROCESS_H_

#include <functional>
#include <string>
#include <vector>

namespace kr_test {

struct ChildResult {
  bool exited = false;   // ended through exit(); `exitCode` holds the status
  int exitCode = -1;
  int signal = 0;        // the terminating signal when it did not exit
  std::string out;       // everything written to standard output
  std::string err;       // everything written to standard error
};

// Runs `body` in a forked child whose standard output and error are captured;
// the child exits with the value `body` returns (after flushing stdio).
// Requires: the calling process has a single thread.
ChildResult RunInChild(std::function<int()> const& body);

// Runs `argv[0]` with the arguments `argv`, feeding `input` to its standard
// input. Extra environment entries ("NAME=value") are added to the child's.
// Under an emulator (see Emulator()) the program is started through it.
ChildResult RunProgram(std::vector<std::string> const& argv, std::string const& input = "",
                       std::vector<std::string> const& environment = {});

// The command that runs this build's programs where the kernel cannot (the
// i386 build under qemu-i386), split into words; empty when they run natively.
std::vector<std::string> Emulator();

}  // namespace kr_test

// Skips the current test when the build's programs run under an emulator, for
// checks that cannot hold there (resource limits, signals, /proc details).
#define KR_SKIP_UNDER_EMULATOR(why)                                              \
  do {                                                                           \
    if (!kr_test::Emulator().empty()) GTEST_SKIP() << "under an emulator: " << why; \
  } while (0)

#endif  // KR_TESTS_SUPPORT_CHILD_PROCESS_H_
