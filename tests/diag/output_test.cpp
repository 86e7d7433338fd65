// Output front ends (server console, stdio stream, message boxes), the text
// class they write, the service flag, the statistics counters and the
// platform stubs.
#include <kr/diag.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "child_process.h"

namespace {

using kr_test::RunInChild;

struct RecordingCons : _KrServCons {  // what the console asks of its implementation
  void write(char const* text, int length) override {
    log += "write(" + std::string(text) + "," + std::to_string(length) + ")";
  }
  void writeString(KrString const& text) override {
    log += "str(" + std::string(text.Text()) + std::to_string(text.Length()) + ")";
  }
  void terminateLine() override { log += "line"; }
  void flush() override { log += "flush"; }
  std::string log;
};

TEST(Console, ForwardsWhileEnabledAndCutsLines) {
  std::string source = "first";
  KrString text(source.c_str()), copy(text), empty(nullptr);
  source[0] = '#';       // the strings own their texts,
  text = KrString("s");  // also after an assignment
  RecordingCons impl;
  KrServCons console(&impl), none;
  auto drive = [&](KrServCons& cons) {
    impl.log.clear();
    cons << "abc" << static_cast<char const*>(nullptr) << text << copy << empty << -7L;
    endl(cons.printf("%s=%d", "n", 5).terminateLine().flush());
    return impl.log;
  };
  std::string const all =
      "write(abc,-1)str(s1)str(first5)str(0)write(-7,-1)write(n=5,-1)lineflushlineflush";
  EXPECT_EQ(drive(console), all);
  EXPECT_EQ(console.setImplementation(nullptr), &impl);
  EXPECT_EQ(drive(console), "");
  EXPECT_EQ(none.setImplementation(&impl), nullptr);
  EXPECT_EQ(drive(none), all);
  impl.log.clear();
  none.printf("%s", std::string(3000, 'z').c_str());
  EXPECT_EQ(impl.log, "write(" + std::string(KrServCons::kLineSize - 1, 'z') + ",-1)");
  none.flags &= ~KrServCons::kEnabled;
  EXPECT_EQ(drive(none), "");
  kr_test::ChildResult result = RunInChild([] {  // the base implementation: standard error
    struct StderrCons : _KrServCons {
      void writeString(KrString const& text) override { write(text.Text(), -1); }
    } impl;
    KrServCons console(&impl);
    endl(console << "value " << 12L << KrString(" and text"));
    impl.write(nullptr, 3);  // ignored
    console.printf("%05d", 42);
    impl.terminateLine();
    return 0;
  });
  EXPECT_EQ(result.err + "|" + result.out, "value 12 and text\n00042\n|");
}

TEST(OutStream, FormatsEachTypeAndFlushesOnlyWhenAsked) {
  char* data = nullptr;
  std::size_t size = 0;  // what the memory stream holds, updated when it is flushed
  std::FILE* file = open_memstream(&data, &size);
  ASSERT_NE(file, nullptr);
  std::string const line =
      "text|-12|-7|-123456|4000000000|65535|4294967295|1.500000|2.250000|0x1f\n";
  {
    KrOutStreamFILE stream(file);
    static_cast<KrOutStreamStub&>(stream)
        << "text" << '|' << -12 << '|' << static_cast<short>(-7) << '|' << -123456L << '|'
        << 4000000000u << '|' << static_cast<unsigned short>(65535) << '|' << 4294967295ul << '|'
        << 1.5f << '|' << 2.25 << '|' << reinterpret_cast<void*>(0x1f) << endl;
    EXPECT_EQ(size, 0u);  // endl does not flush
    EXPECT_EQ(&(stream << flush), &stream);
    EXPECT_EQ(std::string(data, size), line);
  }  // the destructor leaves the stream open
  EXPECT_GE(std::fputs("!", file), 0);
  EXPECT_EQ(std::fclose(file), 0);
  EXPECT_EQ(std::string(data, size), line + "!");
  std::free(data);
}

struct RecordingMsg : KrMsg {  // keeps the base Box; records what reaches _Box
  unsigned long _Box(char const* title, unsigned long flags, char const* text) override {
    last = std::string(title) + "|" + std::to_string(flags) + "|" + text;
    return 7;
  }
  std::string last;
};

TEST(MessageBox, FormatsCutsAndObeysTheSharedSwitchUnlessForced) {
  RecordingMsg box;
  EXPECT_EQ(box.Box("Title", 0x11, "%s needs %d bytes", "table", 4096), 7u);
  EXPECT_EQ(box.last, "Title|17|table needs 4096 bytes");
  box.Box("t", 0, "%s", std::string(10000, 'm').c_str());
  EXPECT_EQ(box.last, "t|0|" + std::string(KrMsg::kTextSize - 1, 'm'));
  auto const child = RunInChild([] {
    RecordingMsg box, other;
    KrMsg* dummy = KrMessage();
    if (box.AllowMessageBoxes(0) != 1) return 1;  // on at load
    if (box.Box("t", 0x1FFFFFFF, "x") != 0x40000000 || !box.last.empty()) return 2;
    if (box.Box("t", 0x20000000, "forced %d", 1) != 7) return 3;
    if (box.last != "t|536870912|forced 1") return 4;
    // The dummy shows nothing whatever the switch, and leaves the switch alone.
    if (dummy->Box("t", 0, "x") != 0x80000000 || dummy->_Box("t", 0, "x") != 0x80000000) return 5;
    if (dummy->AllowMessageBoxes(1) != -1) return 6;
    // One switch for all boxes, stored as 0 or 1.
    if (other.AllowMessageBoxes(5) != 0 || box.AllowMessageBoxes(1) != 1) return 7;
    // The service flag, process-wide like the switch, only goes from 0 to 1.
    if (KIRO_Service_hasStopped() != 0) return 8;
    StopKIRO_Service();
    return KIRO_Service_hasStopped() == 1 ? 0 : 9;
  });
  EXPECT_EQ(child.exitCode, 0);
}

std::vector<int> Counters(KrStatistics const& s) {
  return {s.transactions, s.commits, s.aborts, s.csRequests, s.failedCsRequests,
          s.serverNotifications, s.queries, s.clients, s.objDescs, s.extents, s.locks,
          s.watches, s.refreshedObjects, s.deliveredObjects, s.internalTransactions};
}

TEST(Statistics, EachOperationChangesOnlyItsCounterAndClearKeepsTheLastThree) {
  using S = KrStatistics;
  struct {
    S& (S::*step)();
    S& (S::*add)(long);
    int field, delta;
  } const steps[] = {
      {&S::IncTransactions, 0, 0, 1}, {&S::DecTransactions, 0, 0, -1}, {&S::IncCommits, 0, 1, 1},
      {&S::IncAborts, 0, 2, 1}, {&S::IncCSRequests, 0, 3, 1}, {&S::IncFailedCSRequests, 0, 4, 1},
      {&S::IncServerNotifications, 0, 5, 1}, {&S::IncQueries, 0, 6, 1}, {&S::IncClients, 0, 7, 1},
      {&S::DecClients, 0, 7, -1}, {&S::IncObjDescs, 0, 8, 1}, {&S::DecObjDescs, 0, 8, -1},
      {&S::IncExtents, 0, 9, 1}, {&S::DecExtents, 0, 9, -1}, {&S::IncLocks, 0, 10, 1},
      {&S::DecLocks, 0, 10, -1}, {&S::IncWatches, 0, 11, 1}, {&S::DecWatches, 0, 11, -1},
      {&S::IncInternalTransactions, 0, 14, 1}, {0, &S::AddLocks, 10, -17},
      {0, &S::AddWatches, 11, -17}, {0, &S::AddRefreshedObjects, 12, -17},
      {0, &S::AddDeliveredObjects, 13, -17}};
  auto const child = RunInChild([&] {
    S& stats = *Statistics();  // starts at zero
    if (&stats != Statistics() || stats.flags || Counters(stats) != std::vector<int>(15)) return 1;
    stats.locks = 0x7FFFFFFF;  // counters wrap in 32 bits
    for (auto const& s : steps) {
      std::vector<int> expected = Counters(stats);
      expected[s.field] = static_cast<int>(static_cast<unsigned>(expected[s.field]) + s.delta);
      if (&(s.step ? (stats.*s.step)() : (stats.*s.add)(s.delta)) != &stats) return 2;
      if (Counters(stats) != expected) return 100 + s.field;
    }
    stats.flags = 0x12;
    stats.Clear();
    if (Counters(stats) != std::vector<int>{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, -17, -17, 1}) {
      return 3;
    }
    return stats.flags == 0x12 ? RegisterStatistics() * 10 + DeregisterStatistics() : 4;
  });
  EXPECT_EQ(child.exitCode, 0);
}

TEST(PlatformStubs, RegistryIsNotImplementedAndHostnameIsTheSystems) {
  char const* path[] = {"Software", nullptr};
  char value[16] = "untouched", expected[256] = {}, name[256] = "x";
  long length = 16;
  EXPECT_EQ(KrGetRegistryEntry(path, value, length), -2999);
  EXPECT_EQ(KrSetRegistryEntry(nullptr, value, length) + KrDeleteRegistryEntry(path), -5998);
  EXPECT_STREQ(value, "untouched");
  ASSERT_EQ(gethostname(expected, sizeof expected), 0);
  EXPECT_EQ(KrGetHostname(name, sizeof name), 0);
  EXPECT_STREQ(name, expected);
  EXPECT_EQ(KrGetHostname(name, 0) * 10 + KrGetHostname(name, -5), 0);  // the system fails
}

}  // namespace
