// Output channels: the console (with its text class), the stdio stream, message boxes with the
// service flag, and the system log's front end, shared switch and entries as /dev/log gets them.
#include <kr/diag.h>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
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
  KrServCons console;  // enabled, without an implementation yet
  auto drive = [&] {
    impl.log.clear();
    console << "abc" << static_cast<char const*>(nullptr) << text << copy << empty << -7L;
    endl(console.printf("%s=%d", "n", 5).terminateLine().flush());
    return impl.log;
  };
  EXPECT_EQ(drive(), "");
  EXPECT_EQ(console.setImplementation(&impl), nullptr);
  EXPECT_EQ(drive(),
            "write(abc,-1)str(s1)str(first5)str(0)write(-7,-1)write(n=5,-1)lineflushlineflush");
  impl.log.clear();
  console.printf("%s", std::string(3000, 'z').c_str());
  EXPECT_EQ(impl.log, "write(" + std::string(KrServCons::kLineSize - 1, 'z') + ",-1)");
  console.flags &= ~KrServCons::kEnabled;
  EXPECT_EQ(drive(), "");
  EXPECT_EQ(console.setImplementation(nullptr), &impl);
  kr_test::ChildResult result = RunInChild([] {  // the base implementation: standard error
    struct StderrCons : _KrServCons {
      void writeString(KrString const&) override {}
    } impl;
    impl.write("value", 2);  // the length is not used
    impl.write(nullptr, 3);  // ignored
    impl.terminateLine();
    return 0;
  });
  EXPECT_EQ(result.err + "|" + result.out, "value\n|");
}

TEST(OutStream, FormatsEachTypeAndFlushesOnlyWhenAsked) {
  char* data = nullptr;
  std::size_t size = 0;  // what the memory stream holds, updated when it is flushed
  std::FILE* file = open_memstream(&data, &size);
  ASSERT_NE(file, nullptr);
  {
    KrOutStreamFILE stream(file);
    static_cast<KrOutStreamStub&>(stream)
        << "text" << '|' << -12 << '|' << static_cast<short>(-7) << '|' << -123456L << '|'
        << 4000000000u << '|' << static_cast<unsigned short>(65535) << '|' << 4294967295ul << '|'
        << 1.5f << '|' << 2.25 << '|' << reinterpret_cast<void*>(0x1f) << endl;
    EXPECT_EQ(size, 0u);  // endl does not flush
    EXPECT_EQ(&(stream << flush), &stream);
    EXPECT_EQ(std::string(data, size),
              "text|-12|-7|-123456|4000000000|65535|4294967295|1.500000|2.250000|0x1f\n");
  }
  EXPECT_EQ(std::fclose(file), 0);  // the destructor left it open
  std::free(data);
}

struct RecordingMsg : KrMsg {  // keeps the base Box; records what reaches _Box
  unsigned long _Box(char const* title, unsigned long flags, char const* text) override {
    last = std::string(title) + "|" + std::to_string(flags) + "|" + text;
    return 7;
  }
  std::string last;
};

struct RecordingLog : KrSysLog {  // keeps the base LogPermanent, records _LogPermanent
  void _LogPermanent(KrSysLogLevel level, int length, char const* text) override {
    log += std::to_string(level) + "," + std::to_string(length) + "," + text + "|";
  }
  std::string log;
};

KrSysLogPosix* ProcessLog() { return static_cast<KrSysLogPosix*>(KrSystemLog()); }

// Message boxes and the system log format, cut what does not fit and obey their shared switches
// (a forced box excepted); the logger stays closed while logging is off.
TEST(MessageBoxAndSysLog, FormatCutAndObeyTheSharedSwitches) {
  RecordingMsg box;
  box.Box("t", 0, "%s", std::string(10000, 'm').c_str());
  EXPECT_EQ(box.last, "t|0|" + std::string(KrMsg::kTextSize - 1, 'm'));
  RecordingLog formats;
  formats.LogPermanent(KrSysLogWarning, "%s %d", "disk", 3);
  formats.LogPermanent(KrSysLogError, "%s", std::string(1024, 'a').c_str());
  EXPECT_EQ(formats.log, "3,6,disk 3|4,1023," + std::string(1023, 'a') + "|");
  auto const child = RunInChild([] {
    RecordingMsg box, other;
    KrMsg* dummy = KrMessage();
    if (box.AllowMessageBoxes(0) != 1) return 1;  // on at load
    if (box.Box("t", 0x1FFFFFFF, "x") != 0x40000000 || !box.last.empty()) return 2;
    if (box.Box("t", 0x20000000, "%d", 1) != 7 || box.last != "t|536870912|1") return 3;  // forced
    // The dummy shows nothing whatever the switch, and leaves the switch alone.
    if (dummy->Box("t", 0, "x") != 0x80000000 || dummy->_Box("t", 0, "x") != 0x80000000) return 4;
    if (dummy->AllowMessageBoxes(1) != -1) return 5;
    // One switch for all boxes, stored as 0 or 1.
    if (other.AllowMessageBoxes(5) != 0 || box.AllowMessageBoxes(1) != 1) return 6;
    RecordingLog log;
    KrSysLogPosix* process = ProcessLog();
    if (process->opened != 0 || log.AllowLogging(0) != 1) return 7;  // closed, on at load
    log.LogPermanent(KrSysLogError, "dropped");
    process->LogPermanent(KrSysLogError, "x");
    process->_LogPermanent(KrSysLogError, 1, "x");
    process->Init("name");
    process->SetApplicationName("name");
    if (!log.log.empty() || process->opened != 0) return 8;
    if (process->AllowLogging(5) != 0 || log.AllowLogging(1) != 5) return 9;  // as given
    // The service flag, process-wide like the switches, only goes from 0 to 1.
    if (KIRO_Service_hasStopped() != 0) return 10;
    StopKIRO_Service();
    return KIRO_Service_hasStopped() == 1 ? 0 : 11;
  });
  EXPECT_EQ(child.exitCode, 0);
}

constexpr char kDevLog[] = "/dev/log";

// A datagram socket bound at /dev/log, as a system logger listens: the C library's syslog() sends
// each entry there as "<priority>Mmm dd hh:mm:ss ident[pid]: text".
struct DevLogListener {
  int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  bool bound = false;
  DevLogListener() {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, kDevLog);
    bound = bind(fd, reinterpret_cast<sockaddr const*>(&address), sizeof address) == 0;
  }
  ~DevLogListener() {
    if (bound) unlink(kDevLog);  // /dev/log was free before: leave no socket behind
    close(fd);
  }
  // The entries holding `marker`, the time left out, until `count` came or none for ten seconds.
  std::vector<std::string> WaitFor(std::string const& marker, std::size_t count) const {
    std::vector<std::string> found;
    timeval const wait = {10, 0};
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof wait);
    char entry[4096];
    for (ssize_t n; found.size() < count && (n = recv(fd, entry, sizeof entry, 0)) > 0;) {
      std::string text(entry, static_cast<std::size_t>(n));
      std::size_t const end = text.find('>');  // then 15 bytes of time
      if (text.find(marker) != std::string::npos) found.push_back(text.erase(end, 16).substr(1));
    }
    return found;
  }
};

TEST(SysLog, EntriesOnDevLogCarryIdentPriorityTextAndVersionLine) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root to listen on /dev/log";
  if (access(kDevLog, F_OK) == 0) GTEST_SKIP() << "/dev/log is taken (a logger or a stale socket)";
  DevLogListener devLog;
  ASSERT_TRUE(devLog.bound) << std::strerror(errno);
  std::string const marker = "krtest-" + std::to_string(getpid());
  std::string const version = "\n(Norvane 9.5.23.262.0)\n", cut(1500, 'y');
  // Levels and the priorities they are logged with (facility user, 8, added).
  int const levels[][2] = {{1, 6}, {2, 5}, {3, 4}, {4, 3}, {0, 5}, {5, 5}, {-1, 5}, {10, 5}};
  kr_test::ChildResult child = RunInChild([&] {
    for (auto const& level : levels) {
      KrSystemLog()->LogPermanent(static_cast<KrSysLogLevel>(level[0]), "%s level %d",
                                  marker.c_str(), level[0]);
    }
    KrSystemLog()->LogPermanent(KrSysLogError, "%s %s", marker.c_str(), cut.c_str());
    if (ProcessLog()->opened != 1) return 1;  // opened by the first entry
    std::printf("%d", getpid());
    return 0;
  });
  // The name is copied, and fixed once the log is open.
  kr_test::ChildResult named = RunInChild([&] {
    std::string name = "krtest-application";
    KrSystemLog()->SetApplicationName(name.c_str());
    name.assign(name.size(), '#');
    KrSystemLog()->LogPermanent(KrSysLogInformational, "%s-named first", marker.c_str());
    KrSystemLog()->SetApplicationName("later-name");
    ProcessLog()->Init(nullptr);
    ProcessLog()->_LogPermanent(KrSysLogWarning, 0, (marker + "-named second").c_str());
    std::printf("%d", getpid());
    return 0;
  });
  ASSERT_TRUE(child.exitCode == 0 && named.exitCode == 0);
  std::string const ident = " Norvane Runtime System[" + child.out + "]: " + marker;
  std::vector<std::string> expected;
  for (auto const& level : levels) {
    expected.push_back(std::to_string(8 + level[1]) + ident + " level " +
                       std::to_string(level[0]) + version);
  }
  expected.push_back("11" + ident + (" " + cut).substr(0, 1023 - marker.size()) + version);
  std::string const app = " krtest-application[" + named.out + "]: " + marker;
  expected.push_back("14" + app + "-named first" + version);
  expected.push_back("12" + app + "-named second" + version);
  EXPECT_EQ(devLog.WaitFor(marker, expected.size()), expected);
}

}  // namespace
