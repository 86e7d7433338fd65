// The system log: the formatting front end, the shared switch, and entries as
// a real system logger (rsyslogd, started by the test) receives them.
#include <kr/diag.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "child_process.h"
#include "temp_dir.h"

namespace {

using kr_test::ChildResult;
using kr_test::RunInChild;

// Keeps the base LogPermanent and records what reaches _LogPermanent.
class RecordingLog : public KrSysLog {
 public:
  void _LogPermanent(KrSysLogLevel level, int length, char const* text) override {
    levels.push_back(level);
    lengths.push_back(length);
    texts.push_back(text);
  }
  std::vector<int> levels;
  std::vector<int> lengths;
  std::vector<std::string> texts;
};

KrSysLogPosix* ProcessLog() { return static_cast<KrSysLogPosix*>(KrSystemLog()); }

TEST(SysLog, LogPermanentFormatsCutsAndForwards) {
  RecordingLog log;
  log.LogPermanent(KrSysLogWarning, "%s %d", "disk", 3);
  log.LogPermanent(static_cast<KrSysLogLevel>(10), "Tried to allocate %lu bytes", 99ul);
  EXPECT_EQ(log.levels, (std::vector<int>{3, 10}));
  EXPECT_EQ(log.texts, (std::vector<std::string>{"disk 3", "Tried to allocate 99 bytes"}));
  EXPECT_EQ(log.lengths, (std::vector<int>{6, 26}));
  for (std::size_t size : {1023u, 1024u, 5000u}) {
    std::string text(size, 'a');
    log.LogPermanent(KrSysLogError, "%s", text.c_str());
    EXPECT_EQ(log.texts.back(), text.substr(0, 1023)) << size;
    EXPECT_EQ(log.lengths.back(), 1023) << size;
  }
}

TEST(SysLog, SharedSwitchKeepsTheLoggerClosed) {
  ChildResult result = RunInChild([] {
    RecordingLog log;
    KrSysLogPosix* process = ProcessLog();
    if (process != KrSystemLog() || process->opened != 0) return 1;
    if (log.AllowLogging(0) != 1) return 2;  // on at load
    log.LogPermanent(KrSysLogError, "dropped");
    process->LogPermanent(KrSysLogError, "x");
    process->_LogPermanent(KrSysLogError, 1, "x");
    process->Init("name");
    process->SetApplicationName("name");
    if (!log.texts.empty() || process->opened != 0) return 3;
    if (process->AllowLogging(5) != 0 || log.AllowLogging(1) != 5) return 4;  // stored as given
    process->SetApplicationName("name");
    return process->opened == 1 ? 0 : 5;
  });
  EXPECT_EQ(result.exitCode, 0);
}

// ---------------------------------------------------------------------------
// Against rsyslogd.

constexpr char kDevLog[] = "/dev/log";

bool SocketAnswers(char const* path) {
  int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
  if (fd < 0) return false;
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path, sizeof address.sun_path - 1);
  bool answers = connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  close(fd);
  return answers;
}

// One entry as the logger received it: "<pri>Mmm dd hh:mm:ss ident[pid]: text".
struct Entry {
  int priority = -1;
  std::string ident;
  int pid = 0;
  std::string message;
};

std::string ReadFile(std::string const& path) {
  std::stringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

// rsyslogd in the foreground on a private configuration that writes every
// entry of facility user, raw (with its priority), to a file of its own.
class RsyslogDaemon {
 public:
  // Empty when the daemon serves /dev/log, else why it does not.
  std::string Start(std::string const& binary) {
    if (dir_.path().empty()) return "cannot make a temporary directory";
    std::string config = dir_.Name("rsyslog.conf"), log = dir_.Name("rsyslogd.out");
    std::ofstream(config) << "global(workDirectory=\"" << dir_.path()
                          << "\" parser.escapeControlCharactersOnReceive=\"off\")\n"
                          << "module(load=\"imuxsock\" SysSock.Name=\"" << kDevLog
                          << "\" SysSock.RateLimit.Interval=\"0\")\n"
                          << "template(name=\"raw\" type=\"string\" string=\"%rawmsg%"
                          << kSeparator << "\\n\")\n"
                          << "user.* action(type=\"omfile\" file=\"" << Output()
                          << "\" template=\"raw\")\n";
    if ((pid_ = fork()) == 0) {
      int fd = open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
      dup2(fd, STDOUT_FILENO);
      dup2(fd, STDERR_FILENO);
      execl(binary.c_str(), binary.c_str(), "-n", "-f", config.c_str(), "-i",
            dir_.Name("rsyslogd.pid").c_str(), static_cast<char*>(nullptr));
      _exit(127);
    }
    for (int i = 0; pid_ > 0 && i < 200; ++i) {
      if (SocketAnswers(kDevLog)) return "";
      if (waitpid(pid_, nullptr, WNOHANG) == pid_) return "rsyslogd ended: " + ReadFile(log);
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return "rsyslogd did not serve /dev/log: " + ReadFile(log);
  }

  void Stop() {
    if (pid_ > 0 && kill(pid_, SIGTERM) == 0) waitpid(pid_, nullptr, 0);
    // It was free before we started: leave no stale socket behind.
    if (pid_ > 0 && !SocketAnswers(kDevLog)) unlink(kDevLog);
  }

  // The entries holding `marker`, once `count` of them arrived (or after ten
  // seconds, with what there is).
  std::vector<Entry> WaitFor(std::string const& marker, std::size_t count) const {
    static std::regex const format("<(\\d+)>.{15} ([\\s\\S]*?)\\[(\\d+)\\]: ([\\s\\S]*)");
    std::vector<Entry> found;
    for (int i = 0; i < 200 && found.size() < count; ++i) {
      if (i > 0) std::this_thread::sleep_for(std::chrono::milliseconds(50));
      found.clear();
      std::string text = ReadFile(Output());
      std::smatch match;
      for (std::size_t start = 0, end; (end = text.find(kSeparator, start)) != std::string::npos;
           start = end + std::strlen(kSeparator) + 1) {
        std::string raw = text.substr(start, end - start);
        if (raw.find(marker) == std::string::npos) continue;
        if (!std::regex_match(raw, match, format)) continue;
        found.push_back({std::stoi(match[1]), match[2], std::stoi(match[3]), match[4]});
      }
    }
    return found;
  }

 private:
  static constexpr char kSeparator[] = "<<END>>";
  std::string Output() const { return dir_.Name("user.log"); }
  pid_t pid_ = -1;
  kr_test::TempDir dir_;
};

constexpr char RsyslogDaemon::kSeparator[];

class SysLogDaemon : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    std::string binary;
    for (char const* path : {"/usr/sbin/rsyslogd", "/sbin/rsyslogd"}) {
      if (binary.empty() && access(path, X_OK) == 0) binary = path;
    }
    if (geteuid() != 0) {
      skipReason_ = "needs root to serve /dev/log with a private rsyslogd";
    } else if (SocketAnswers(kDevLog)) {
      skipReason_ = "/dev/log is taken by another system logger";
    } else if (binary.empty()) {
      skipReason_ = "rsyslogd is not installed (scripts/deps.sh installs it)";
    } else {
      startError_ = daemon_.Start(binary);
    }
  }
  static void TearDownTestSuite() { daemon_.Stop(); }
  void SetUp() override {
    if (!skipReason_.empty()) GTEST_SKIP() << "system-log test skipped: " << skipReason_;
    ASSERT_EQ(startError_, "");
  }

  // A text no other entry holds.
  static std::string Marker(char const* what) {
    return std::string("krtest-") + what + "-" + std::to_string(getpid());
  }

  static RsyslogDaemon daemon_;
  static std::string skipReason_;
  static std::string startError_;
};

RsyslogDaemon SysLogDaemon::daemon_;
std::string SysLogDaemon::skipReason_;
std::string SysLogDaemon::startError_;

constexpr char kVersionLine[] = "\n(Norvane 9.5.23.262.0)";
constexpr int kUser = 8;

// Levels map to priorities (anything unknown is a notice), texts are cut at 1023 characters
// and carry the version line, the logger opens with the first entry under the default name;
// a name set later is copied and fixed once open, and the switch drops entries.
TEST_F(SysLogDaemon, EntriesCarryTextVersionLinePriorityAndName) {
  std::string const marker = Marker("levels");
  int const levels[] = {1, 2, 3, 4, 0, 5, -1, 10};
  int const priorities[] = {6, 5, 4, 3, 5, 5, 5, 5};
  auto log = [&marker](KrSysLogLevel level, std::string const& text) {
    KrSystemLog()->LogPermanent(level, "%s %s", marker.c_str(), text.c_str());
  };
  ChildResult const first = RunInChild([&] {
    for (int level : levels) log(static_cast<KrSysLogLevel>(level), "level " + std::to_string(level));
    log(KrSysLogError, std::string(1500, 'y'));
    std::printf("%d", static_cast<int>(getpid()));
    return ProcessLog()->opened == 1 ? 0 : 1;
  });
  ChildResult const second = RunInChild([&] {
    KrSystemLog()->AllowLogging(0);
    log(KrSysLogError, "dropped");
    KrSystemLog()->AllowLogging(1);
    std::string name = "krtest-application";
    KrSystemLog()->SetApplicationName(name.c_str());
    name.assign(name.size(), '#');  // the caller's text changes
    log(KrSysLogInformational, "first");
    KrSystemLog()->SetApplicationName("later-name");
    ProcessLog()->Init(nullptr);
    ProcessLog()->_LogPermanent(KrSysLogWarning, 0, (marker + " second").c_str());
    return 0;
  });
  ASSERT_TRUE(first.exitCode == 0 && second.exitCode == 0);
  std::vector<Entry> entries = daemon_.WaitFor(marker, 11);
  ASSERT_EQ(entries.size(), 11u);
  EXPECT_EQ(entries[8].message,
            (marker + " " + std::string(1500, 'y')).substr(0, 1023) + kVersionLine);
  for (std::size_t i = 0; i < 11; ++i) {
    std::string const text = i < 8 ? "level " + std::to_string(levels[i]) : i == 9 ? "first" : "second";
    if (i != 8) {
      EXPECT_EQ(entries[i].message, marker + " " + text + kVersionLine) << i;
    }
    int const priority = i < 8 ? priorities[i] : i == 8 ? 3 : i == 9 ? 6 : 4;
    EXPECT_EQ(entries[i].priority, kUser + priority) << i;
    EXPECT_EQ(entries[i].ident, i < 9 ? "Norvane Runtime System" : "krtest-application") << i;
    EXPECT_EQ(entries[i].pid, i < 9 ? std::atoi(first.out.c_str()) : entries[9].pid) << i;
  }
}

}  // namespace
