// The resize primitives and the low-memory handler. Like the failing
// allocator, this binary replaces syslog (recording entries) and
// KrCallMemoryHandler (counting calls, then passing them on) process-wide.
#include <kr/diag.h>
#include <kr/memory.h>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <syslog.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "child_process.h"
#include "failing_alloc.h"
#include "recording_handler.h"

namespace {
int gSyslogEntries = 0, gSyslogPriority = -1, gThroughKrCallMemoryHandler = 0;
char gSyslogText[2048];
}  // namespace

extern "C" void syslog(int priority, char const* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(gSyslogText, sizeof gSyslogText, format, arguments);
  va_end(arguments);
  gSyslogPriority = priority;
  ++gSyslogEntries;
}

int KrCallMemoryHandler(unsigned long size) {
  ++gThroughKrCallMemoryHandler;
  static auto library = reinterpret_cast<int (*)(unsigned long)>(dlsym(RTLD_NEXT, "_Z19KrCallMemoryHandlerm"));
  return library(size);
}

namespace {

using kr_test::RecordingHandler;
using Resize = int (*)(void**, unsigned long);

constexpr char kReport[] = "\nNorvane runs out of memory.\nTried to allocate 12345 bytes of memory.\n";

// Both primitives: the life of a block, then a failed first allocation and a
// failed growth, each reported once with the size asked for and not retried.
TEST(Resize, LifeOfABlockAndFailures) {
  for (Resize resize : {mmResize, mmFarResize}) {
    RecordingHandler handler(1);  // a non-zero answer does not bring a retry
    void* block = nullptr;
    EXPECT_TRUE(resize(&block, 0) == 0 && block == nullptr);
    ASSERT_EQ(resize(&block, 8), 0);
    std::memcpy(block, "content", 8);
    ASSERT_EQ(resize(&block, 1 << 20), 0);
    static_cast<char*>(block)[(1 << 20) - 1] = 0;
    ASSERT_EQ(resize(&block, 8), 0);
    void* const old = block;
    void* fresh = nullptr;
    int rc[2];
    unsigned long calls;
    {
      kr_test::AllocationFailure failure(1, true);
      rc[0] = resize(&fresh, 40);
      rc[1] = resize(&block, 5000);
      calls = kr_test::AllocationCalls();
    }
    EXPECT_TRUE(rc[0] == -1 && rc[1] == -1 && fresh == nullptr && block == old && calls == 2u);
    EXPECT_STREQ(static_cast<char*>(block), "content");
    ASSERT_EQ(handler.calls, 2);
    EXPECT_TRUE(handler.sizes[0] == 40u && handler.sizes[1] == 5000u);  // not the growth
    EXPECT_TRUE(resize(&block, 0) == 0 && block == nullptr);
  }
}

unsigned long gAnsweredSize = 0;
int Answer42(unsigned long size) {
  gAnsweredSize = size;
  return 42;
}

TEST(Resize, HandlersAndTheirCallers) {
  kr_test::ChildResult result = kr_test::RunInChild([] {
    if (mmKrMemExc != mmKrMemExcHdl) return 1;
    if (mmKrSetHandler(&Answer42) != mmKrMemExcHdl || mmKrMemExc != &Answer42) return 2;
    if (KrCallMemoryHandler(77) != 42 || gAnsweredSize != 77) return 3;
    return mmKrSetHandler(mmKrMemExcHdl) == &Answer42 ? 0 : 4;
  });
  EXPECT_EQ(result.exitCode, 0);

  // Only mmFarResize and the memory file go through KrCallMemoryHandler.
  RecordingHandler handler;
  void* block = nullptr;
  MemFile file(0, 1);
  int const before = gThroughKrCallMemoryHandler;
  kr_test::AllocationFailure failure(1, true);
  mmResize(&block, 10);
  int const afterResize = gThroughKrCallMemoryHandler;
  mmFarResize(&block, 10);
  file.SizeSet(10, 0);
  kr_test::StopFailingAllocations();
  EXPECT_EQ(afterResize, before);
  EXPECT_EQ(gThroughKrCallMemoryHandler, before + 2);
  EXPECT_EQ(handler.calls, 3);

  EXPECT_EQ(KiroCheckMemory(), -1);
  for (char const* name : {"mmResize", "mmFarResize", "KiroCheckMemory", "mmKrMemExc"}) {
    EXPECT_NE(dlsym(RTLD_DEFAULT, name), nullptr) << name;  // plain, undecorated names
  }
}

void PrintAssertion(char const* condition, char const* file, int line) {
  std::printf("callback %s|%s|%d|entries %d priority %d|%s", condition, file, line,
              gSyslogEntries, gSyslogPriority, gSyslogText);
  std::fflush(stdout);
}

TEST(Resize, DefaultHandlerReportsAndAborts) {
  kr_test::ChildResult result = kr_test::RunInChild([] {
    SetFatalErrorCallback(&PrintAssertion);
    void* block = nullptr;
    kr_test::AllocationFailure failure(1);
    mmResize(&block, 12345);
    return 0;
  });
  EXPECT_EQ(result.signal, SIGABRT);
  EXPECT_EQ(result.err.substr(0, sizeof kReport - 1), kReport);
  // No function name: the C library prints an empty one.
  EXPECT_NE(result.err.find("src/resize:73: : Assertion `\"Out of memory. Aborting!\" && 0' failed."),
            std::string::npos) << result.err;
  EXPECT_EQ(result.out, std::string("callback \"Out of memory. Aborting!\" && 0|src/resize|73|") +
                            "entries 1 priority " + std::to_string(LOG_USER | LOG_NOTICE) + "|" +
                            kReport + "\n(Norvane 9.5.23.262.0)\n");
}

TEST(Resize, DefaultHandlerReturnsWhenTheAssertionModeAllows) {
  kr_test::ChildResult result = kr_test::RunInChild([] {
    KrIniConfig config;
    config.Set("debug", "assertMode", "1");
    DefaultConfig(&config);
    void* block = nullptr;
    kr_test::FailNthAllocation(1);
    int const rc = mmFarResize(&block, 12345);
    return rc == -1 && !block && mmKrMemExcHdl(12345) == 0 ? 0 : 1;
  });
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, std::string(kReport) + kReport);
}

}  // namespace
