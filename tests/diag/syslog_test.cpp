// The system log: the formatting front end, the shared switch, and entries as
// a real system logger (a private rsyslogd on /dev/log) receives them.
#include <kr/diag.h>

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "child_process.h"
#include "temp_dir.h"

namespace {

using kr_test::RunInChild;

struct RecordingLog : KrSysLog {  // keeps the base LogPermanent, records _LogPermanent
  void _LogPermanent(KrSysLogLevel level, int length, char const* text) override {
    log += std::to_string(level) + "," + std::to_string(length) + "," + text + "|";
  }
  std::string log;
};

KrSysLogPosix* ProcessLog() { return static_cast<KrSysLogPosix*>(KrSystemLog()); }

TEST(SysLog, FormatsCutsAndForwardsAndTheSharedSwitchKeepsTheLoggerClosed) {
  RecordingLog formats;
  formats.LogPermanent(KrSysLogWarning, "%s %d", "disk", 3);
  formats.LogPermanent(KrSysLogError, "%s", std::string(1024, 'a').c_str());
  EXPECT_EQ(formats.log, "3,6,disk 3|4,1023," + std::string(1023, 'a') + "|");
  auto const child = RunInChild([] {
    RecordingLog log;
    KrSysLogPosix* process = ProcessLog();
    if (process->opened != 0 || log.AllowLogging(0) != 1) return 1;  // closed, on at load
    log.LogPermanent(KrSysLogError, "dropped");
    process->LogPermanent(KrSysLogError, "x");
    process->_LogPermanent(KrSysLogError, 1, "x");
    process->Init("name");
    process->SetApplicationName("name");
    if (!log.log.empty() || process->opened != 0) return 2;
    if (process->AllowLogging(5) != 0 || log.AllowLogging(1) != 5) return 3;  // as given
    process->SetApplicationName("name");
    return process->opened == 1 ? 0 : 4;
  });
  EXPECT_EQ(child.exitCode, 0);
}

constexpr char kDevLog[] = "/dev/log";
constexpr char kEnd[] = "<<END>>";

bool SocketAnswers() {
  int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  std::strcpy(address.sun_path, kDevLog);
  bool answers = connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  close(fd);
  return answers;
}

// rsyslogd in the foreground on a private configuration that writes every
// entry of facility user, raw and with its priority, to a file of its own.
struct RsyslogDaemon {
  kr_test::TempDir dir;
  pid_t pid = -1;

  // Whether the daemon serves /dev/log (its own messages go to standard error).
  bool Start(char const* binary) {
    std::string pidFile = dir.Name("pid"), config = dir.Make(
        "rsyslog.conf", "global(workDirectory=\"" + dir.path() +
                            "\" parser.escapeControlCharactersOnReceive=\"off\")\n"
                            "module(load=\"imuxsock\" SysSock.Name=\"" + kDevLog +
                            "\" SysSock.RateLimit.Interval=\"0\")\n"
                            "template(name=\"raw\" type=\"string\" string=\"%rawmsg%" + kEnd +
                            "\\n\")\nuser.* action(type=\"omfile\" file=\"" +
                            dir.Name("user.log") + "\" template=\"raw\")\n");
    if ((pid = fork()) == 0) {
      execl(binary, binary, "-n", "-f", config.c_str(), "-i", pidFile.c_str(),
            static_cast<char*>(nullptr));
      _exit(127);
    }
    for (int i = 0; pid > 0 && i < 200; ++i) {
      if (SocketAnswers()) return true;
      if (waitpid(pid, nullptr, WNOHANG) == pid && (pid = -1)) break;
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
  }
  ~RsyslogDaemon() {
    if (pid > 0 && kill(pid, SIGTERM) == 0) waitpid(pid, nullptr, 0);
    if (pid > 0 && !SocketAnswers()) unlink(kDevLog);  // it was free before: leave no socket
  }

  // The entries holding `marker` as "<priority> ident[pid]: text", once
  // `count` of them arrived (or after ten seconds, with what there is).
  std::vector<std::string> WaitFor(std::string const& marker, std::size_t count) const {
    std::vector<std::string> found;
    for (int i = 0; i < 200 && found.size() < count; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(i ? 50 : 0));
      std::string text = kr_test::ReadFile(dir.Name("user.log"));
      found.clear();
      for (std::size_t start = 0, end; (end = text.find(kEnd, start)) != std::string::npos;
           start = end + sizeof kEnd) {  // "<pri>Mmm dd hh:mm:ss ident[pid]: text" and a newline
        std::string raw = text.substr(start, end - start);
        std::size_t close = raw.find('>');
        if (raw.find(marker) == std::string::npos || close == std::string::npos) continue;
        found.push_back(raw.substr(1, close - 1) + raw.substr(close + 16));
      }
    }
    return found;
  }
};

TEST(SysLogDaemon, EntriesCarryIdentPriorityTextAndVersionLine) {
  char const* const binary = "/usr/sbin/rsyslogd";
  if (geteuid() != 0) GTEST_SKIP() << "needs root to serve /dev/log with a private rsyslogd";
  if (SocketAnswers()) GTEST_SKIP() << "/dev/log is taken by another system logger";
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
    KrSystemLog()->AllowLogging(0);  // the switch drops entries
    KrSystemLog()->LogPermanent(KrSysLogError, "%s dropped", marker.c_str());
    KrSystemLog()->AllowLogging(1);
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
