// The resize primitives and the low-memory handler. This binary replaces syslog (recording the
// entry) and KrCallMemoryHandler (counting calls, then passing them on) process-wide.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <kr/diag.h>
#include <kr/memory.h>
#include <signal.h>
#include <syslog.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "child_process.h"
#include "failing_alloc.h"
#include "recording_handler.h"

static int gSyslogEntries = 0, gSyslogPriority = -1, gThroughKrCallMemoryHandler = 0;
static char gSyslogText[2048];

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
  static auto library =
      reinterpret_cast<int (*)(unsigned long)>(dlsym(RTLD_NEXT, "_Z19KrCallMemoryHandlerm"));
  return library(size);
}

namespace {

constexpr char kReport[] =
    "\nNorvane runs out of memory.\nTried to allocate 12345 bytes of memory.\n";

// A block's life; a failed first allocation and growth are reported once with the size, not
// retried whatever the handler answers, the block kept; only mmFarResize uses KrCallMemoryHandler.
TEST(Resize, LifeOfABlockFailuresAndHandlers) {
  KrMemoryHandler const answer42 = [](unsigned long size) { return size == 77 ? 42 : -1; };
  for (auto resize : {mmResize, mmFarResize}) {
    kr_test::RecordingHandler handler(1);
    void *block = nullptr, *fresh = nullptr;
    EXPECT_TRUE(resize(&block, 0) == 0 && block == nullptr);
    ASSERT_TRUE(resize(&block, 1 << 20) == 0 && resize(&block, 8) == 0);
    std::memcpy(block, "content", 8);
    void* const old = block;
    int const through = gThroughKrCallMemoryHandler;
    {
      kr_test::AllocationFailure failure(1, true);
      EXPECT_TRUE(resize(&fresh, 40) == -1 && resize(&block, 5000) == -1);
      EXPECT_EQ(kr_test::AllocationCalls(), 2u);
    }
    EXPECT_TRUE(fresh == nullptr && block == old && handler.calls == 2);
    EXPECT_STREQ(static_cast<char*>(block), "content");
    EXPECT_TRUE(handler.sizes[0] == 40u && handler.sizes[1] == 5000u);
    EXPECT_EQ(gThroughKrCallMemoryHandler - through, resize == mmFarResize ? 2 : 0);
    EXPECT_TRUE(resize(&block, 0) == 0 && block == nullptr);
  }
  EXPECT_TRUE(mmKrMemExc == mmKrMemExcHdl && mmKrSetHandler(answer42) == mmKrMemExcHdl);
  EXPECT_TRUE(KrCallMemoryHandler(77) == 42 && mmKrSetHandler(mmKrMemExcHdl) == answer42);
  EXPECT_TRUE(KiroCheckMemory() == -1 && dlsym(RTLD_DEFAULT, "mmKrMemExc"));  // an undecorated name
}

// The default handler reports on standard error, to the system log (a notice) and through the
// fatal-error callback, then fails its assertion: an abort, unless the assertion mode returns.
TEST(Resize, DefaultHandlerReportsThenAbortsOrReturns) {
  kr_test::ChildResult result = kr_test::RunInChild([] {
    SetFatalErrorCallback([](char const* condition, char const* file, int line) {
      std::printf("callback %s|%s|%d|entries %d priority %d|%s", condition, file, line,
                  gSyslogEntries, gSyslogPriority, gSyslogText);
      std::fflush(stdout);
    });
    void* block = nullptr;
    kr_test::AllocationFailure failure(1);
    mmResize(&block, 12345);
    return 0;
  });
  EXPECT_EQ(result.signal, SIGABRT);
  EXPECT_EQ(result.err.substr(0, sizeof kReport - 1), kReport);
  // No function name: the C library prints an empty one.
  EXPECT_PRED_FORMAT2(::testing::IsSubstring,
                      "src/resize:73: : Assertion `\"Out of memory. Aborting!\" && 0' failed.",
                      result.err);
  EXPECT_EQ(result.out, std::string("callback \"Out of memory. Aborting!\" && 0|src/resize|73|") +
                            "entries 1 priority " + std::to_string(LOG_USER | LOG_NOTICE) + "|" +
                            kReport + "\n(Norvane 9.5.23.262.0)\n");
  result = kr_test::RunInChild([] {
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
