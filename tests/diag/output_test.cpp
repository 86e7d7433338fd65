// Output channels: the console (with its text class), the stdio stream, message boxes with the
// service flag, and the system log's front end, shared switch and entries as a real system logger
// (a private rsyslogd on /dev/log) receives them.
#include <kr/diag.h>

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "child_process.h"
#include "temp_dir.h"

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

// Message boxes and the system log format, cut what does not fit and obey
// their shared switches (a forced box excepted); the logger stays closed
// while logging is off (the daemon test sees a name open it).
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
constexpr char kEnd[] = "<<END>>";

// rsyslogd in the foreground on a private configuration: each entry of facility
// user goes to a file of its own as "<priority> ident[pid]: text" (no time).
struct RsyslogDaemon {
  kr_test::TempDir dir;
  pid_t pid = -1;

  // Whether the daemon serves /dev/log (its own messages go to standard error).
  bool Start(char const* binary) {
    std::string pidFile = dir.Name("pid"), config = dir.Make(
        "rsyslog.conf", "global(workDirectory=\"" + dir.path() +
                            "\" parser.escapeControlCharactersOnReceive=\"off\")\n"
                            "module(load=\"imuxsock\" SysSock.Name=\"" + kDevLog +
                            "\" SysSock.RateLimit.Interval=\"0\")\ntemplate(name=\"entry\" "
                            "type=\"string\" string=\"%pri%%rawmsg-after-pri:16:$%" + kEnd +
                            "\\n\")\nuser.* action(type=\"omfile\" file=\"" +
                            dir.Name("user.log") + "\" template=\"entry\")\n");
    if ((pid = fork()) == 0) {
      execl(binary, binary, "-n", "-f", config.c_str(), "-i", pidFile.c_str(),
            static_cast<char*>(nullptr));
      _exit(127);
    }
    for (int i = 0; pid > 0 && i < 200; ++i) {
      if (access(kDevLog, F_OK) == 0) return true;
      if (waitpid(pid, nullptr, WNOHANG) == pid && (pid = -1)) break;
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
  }
  ~RsyslogDaemon() {
    // /dev/log was free before: leave no socket behind.
    if (pid > 0 && kill(pid, SIGTERM) == 0 && waitpid(pid, nullptr, 0) == pid) unlink(kDevLog);
  }
  // The entries holding `marker`, once `count` of them arrived (or after ten seconds, what came).
  std::vector<std::string> WaitFor(std::string const& marker, std::size_t count) const {
    std::vector<std::string> found;
    for (int i = 0; i < 200 && found.size() < count; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(i ? 50 : 0));
      std::string text = kr_test::ReadFile(dir.Name("user.log"));
      found.clear();
      for (std::size_t start = 0, end; (end = text.find(kEnd, start)) != std::string::npos;
           start = end + sizeof kEnd) {  // each entry ends in kEnd and a newline
        std::string const entry = text.substr(start, end - start);
        if (entry.find(marker) != std::string::npos) found.push_back(entry);
      }
    }
    return found;
  }
};

TEST(SysLogDaemon, EntriesCarryIdentPriorityTextAndVersionLine) {
  char const* const binary = "/usr/sbin/rsyslogd";
  if (geteuid() != 0) GTEST_SKIP() << "needs root to serve /dev/log with a private rsyslogd";
  if (access(kDevLog, F_OK) == 0) GTEST_SKIP() << "/dev/log is taken (a logger or a stale socket)";
  if (access(binary, X_OK) != 0) GTEST_SKIP() << "rsyslogd is missing (scripts/deps.sh has it)";
  RsyslogDaemon daemon;
  ASSERT_TRUE(daemon.Start(binary)) << "rsyslogd does not serve /dev/log";
  std::string const marker = "krtest-" + std::to_string(getpid());
  std::string const version = "\n(Norvane 9.5.23.262.0)", cut(1500, 'y');
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
  EXPECT_EQ(daemon.WaitFor(marker, expected.size()), expected);
}

}  // namespace
