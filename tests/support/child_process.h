// Code and programs run in child processes, for tests of process-wide state
// (settings read once, caches, aborts and signals) and of the tools.
#ifndef KR_TESTS_SUPPORT_CHILD_PROCESS_H_
#define KR_TESTS_SUPPORT_CHILD_PROCESS_H_

#include <functional>
#include <string>
#include <vector>

namespace kr_test {

struct ChildResult {
  bool exited = false;  // ended through exit() with `exitCode`; else `signal` ended it
  int exitCode = -1, signal = 0;
  std::string out, err;  // all of standard output and standard error
};

// Runs `body` in a forked child that exits with what it returns (stdio
// flushed). Requires: the calling process has a single thread.
ChildResult RunInChild(std::function<int()> const& body);

// Runs the program argv[0] with `input` on its standard input and the extra
// environment entries ("NAME=value"); through the emulator, if there is one.
ChildResult RunProgram(std::vector<std::string> const& argv, std::string const& input = "",
                       std::vector<std::string> const& environment = {});

// Runs `/bin/sh -c script` with the positional parameters set to the
// emulator's words (if any) followed by argv, so that a script ending in
// `exec "$@"` starts this build's program the way RunProgram would.
ChildResult RunInShell(std::string const& script, std::vector<std::string> const& argv,
                       std::string const& input = "");

// The command (in words) that runs this build's programs where the kernel
// cannot, as qemu-i386 for the i386 build; empty when they run natively.
std::vector<std::string> Emulator();

}  // namespace kr_test

#endif  // KR_TESTS_SUPPORT_CHILD_PROCESS_H_
