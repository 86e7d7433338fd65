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
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "child_process.h"

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

TEST(SysLog, LogPermanentFormatsAndForwards) {
  RecordingLog log;
  log.LogPermanent(KrSysLogWarning, "%s %d", "disk", 3);
  log.LogPermanent(static_cast<KrSysLogLevel>(10), "Tried to allocate %lu bytes", 99ul);
  EXPECT_EQ(log.levels, (std::vector<int>{3, 10}));
  EXPECT_EQ(log.texts, (std::vector<std::string>{"disk 3", "Tried to allocate 99 bytes"}));
  EXPECT_EQ(log.lengths, (std::vector<int>{6, 26}));
}

TEST(SysLog, TextsAreCutAfter1023Characters) {
  RecordingLog log;
  for (std::size_t size : {1022u, 1023u, 1024u, 5000u}) {
    std::string text(size, 'a');
    log.LogPermanent(KrSysLogError, "%s", text.c_str());
    std::size_t kept = size < 1023 ? size : 1023;
    EXPECT_EQ(log.texts.back(), text.substr(0, kept)) << size;
    EXPECT_EQ(log.lengths.back(), static_cast<int>(kept)) << size;
  }
}

TEST(SysLog, SwitchIsSharedAndReturnsThePreviousValue) {
  ChildResult result = RunInChild([] {
    RecordingLog log;
    if (log.AllowLogging(0) != 1) return 1;  // on at load
    log.LogPermanent(KrSysLogError, "dropped");
    if (!log.texts.empty()) return 2;
    if (KrSystemLog()->AllowLogging(5) != 0) return 3;  // one switch for all objects
    if (log.AllowLogging(1) != 5) return 4;             // stored as given
    log.LogPermanent(KrSysLogError, "kept");
    return log.texts == std::vector<std::string>{"kept"} ? 0 : 5;
  });
  EXPECT_EQ(result.exitCode, 0);
}

TEST(SysLog, ProcessLogStaysClosedWhileLoggingIsOff) {
  ChildResult result = RunInChild([] {
    KrSysLogPosix* log = ProcessLog();
    if (log != KrSystemLog() || log->opened != 0) return 1;
    log->AllowLogging(0);
    log->LogPermanent(KrSysLogError, "x");
    log->_LogPermanent(KrSysLogError, 1, "x");
    log->Init("name");
    log->SetApplicationName("name");
    if (log->opened != 0) return 2;
    log->AllowLogging(1);
    log->SetApplicationName("name");
    return log->opened == 1 ? 0 : 3;
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

std::string FindRsyslogd() {
  for (char const* path : {"/usr/sbin/rsyslogd", "/sbin/rsyslogd"}) {
    if (access(path, X_OK) == 0) return path;
  }
  return "";
}

// One entry as the logger received it: "<pri>Mmm dd hh:mm:ss ident[pid]: text".
struct Entry {
  int priority = -1;
  std::string ident;
  int pid = 0;
  std::string message;
};

bool ParseEntry(std::string const& raw, Entry* entry) {
  if (raw.size() < 2 || raw[0] != '<') return false;
  std::size_t close = raw.find('>');
  constexpr std::size_t kTimestamp = 16;  // "Mmm dd hh:mm:ss "
  if (close == std::string::npos || raw.size() < close + 1 + kTimestamp) return false;
  entry->priority = std::atoi(raw.c_str() + 1);
  std::size_t start = close + 1 + kTimestamp;
  std::size_t end = raw.find("]: ", start);
  if (end == std::string::npos) return false;
  std::size_t open = raw.rfind('[', end);
  if (open == std::string::npos || open < start) return false;
  entry->ident = raw.substr(start, open - start);
  entry->pid = std::atoi(raw.c_str() + open + 1);
  entry->message = raw.substr(end + 3);
  return true;
}

// Runs rsyslogd in the foreground on a private configuration that writes
// every entry of facility user, with its priority, to a file of its own.
class RsyslogDaemon {
 public:
  static constexpr char kSeparator[] = "<<END>>\n";

  // Empty when the daemon runs, else why it does not.
  std::string Start() {
    std::string binary = FindRsyslogd();
    if (binary.empty()) return "rsyslogd is not installed";
    char dir[] = "/tmp/kr_syslog_XXXXXX";
    if (!mkdtemp(dir)) return "cannot make a temporary directory";
    dir_ = dir;
    output_ = dir_ + "/user.log";
    std::string config = dir_ + "/rsyslog.conf";
    std::ofstream(config)
        << "global(workDirectory=\"" << dir_ << "\" parser.escapeControlCharactersOnReceive=\"off\")\n"
        << "module(load=\"imuxsock\" SysSock.Name=\"" << kDevLog
        << "\" SysSock.RateLimit.Interval=\"0\")\n"
        << "template(name=\"krtest\" type=\"string\" string=\"%rawmsg%" << "<<END>>\\n\")\n"
        << "user.* action(type=\"omfile\" file=\"" << output_ << "\" template=\"krtest\")\n";
    std::string pidFile = dir_ + "/rsyslogd.pid";
    std::string daemonLog = dir_ + "/rsyslogd.out";
    pid_ = fork();
    if (pid_ == 0) {
      int fd = open(daemonLog.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
      dup2(fd, STDOUT_FILENO);
      dup2(fd, STDERR_FILENO);
      execl(binary.c_str(), binary.c_str(), "-n", "-f", config.c_str(), "-i", pidFile.c_str(),
            static_cast<char*>(nullptr));
      _exit(127);
    }
    if (pid_ < 0) return "cannot fork";
    for (int i = 0; i < 200; ++i) {
      if (SocketAnswers(kDevLog)) return "";
      int status;
      if (waitpid(pid_, &status, WNOHANG) == pid_) {
        pid_ = -1;
        return "rsyslogd ended at start: " + ReadFile(daemonLog);
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return "rsyslogd did not open " + std::string(kDevLog) + ": " + ReadFile(daemonLog);
  }

  void Stop() {
    if (pid_ > 0) {
      kill(pid_, SIGTERM);
      int status;
      for (int i = 0; i < 100 && waitpid(pid_, &status, WNOHANG) == 0; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
      }
      if (waitpid(pid_, &status, WNOHANG) == 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, &status, 0);
      }
      pid_ = -1;
      // Ours, and nobody listens to it any more.
      if (!SocketAnswers(kDevLog)) unlink(kDevLog);
    }
    if (!dir_.empty()) {
      std::string command = "rm -rf " + dir_;
      if (std::system(command.c_str()) != 0) std::fprintf(stderr, "cannot remove %s\n", dir_.c_str());
      dir_.clear();
    }
  }

  // Entries whose text holds `marker`, once `count` of them arrived (or
  // after ten seconds, with what there is).
  std::vector<Entry> WaitFor(std::string const& marker, std::size_t count) const {
    std::vector<Entry> found;
    for (int i = 0; i < 200; ++i) {
      found.clear();
      std::string text = ReadFile(output_);
      std::size_t start = 0;
      std::size_t end;
      while ((end = text.find(kSeparator, start)) != std::string::npos) {
        Entry entry;
        std::string raw = text.substr(start, end - start);
        if (raw.find(marker) != std::string::npos && ParseEntry(raw, &entry)) {
          found.push_back(entry);
        }
        start = end + std::strlen(kSeparator);
      }
      if (found.size() >= count) break;
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return found;
  }

 private:
  static std::string ReadFile(std::string const& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }

  pid_t pid_ = -1;
  std::string dir_;
  std::string output_;
};

constexpr char RsyslogDaemon::kSeparator[];

class SysLogDaemon : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    if (geteuid() != 0) {
      skipReason_ = new std::string("needs root to serve /dev/log with a private rsyslogd");
    } else if (SocketAnswers(kDevLog)) {
      skipReason_ = new std::string("/dev/log is taken by another system logger");
    } else if (FindRsyslogd().empty()) {
      skipReason_ = new std::string("rsyslogd is not installed (scripts/deps.sh installs it)");
    } else {
      daemon_ = new RsyslogDaemon;
      startError_ = new std::string(daemon_->Start());
    }
  }
  static void TearDownTestSuite() {
    if (daemon_) daemon_->Stop();
    delete daemon_;
    delete skipReason_;
    delete startError_;
    daemon_ = nullptr;
    skipReason_ = startError_ = nullptr;
  }
  void SetUp() override {
    if (skipReason_) GTEST_SKIP() << "system-log test skipped: " << *skipReason_;
    ASSERT_EQ(*startError_, "");
  }

  // A text no other entry holds.
  static std::string Marker(char const* what) {
    return std::string("krtest-") + what + "-" + std::to_string(getpid());
  }

  static RsyslogDaemon* daemon_;
  static std::string* skipReason_;
  static std::string* startError_;
};

RsyslogDaemon* SysLogDaemon::daemon_ = nullptr;
std::string* SysLogDaemon::skipReason_ = nullptr;
std::string* SysLogDaemon::startError_ = nullptr;

constexpr char kVersionLine[] = "\n(Norvane 9.5.23.262.0)";
constexpr int kUser = 8;

TEST_F(SysLogDaemon, EntriesCarryTextVersionLineAndPriority) {
  std::string marker = Marker("levels");
  int const levels[] = {1, 2, 3, 4, 0, 5, -1, 10};
  int const priorities[] = {6, 5, 4, 3, 5, 5, 5, 5};
  ChildResult child = RunInChild([&] {
    for (int level : levels) {
      KrSystemLog()->LogPermanent(static_cast<KrSysLogLevel>(level), "%s level %d", marker.c_str(),
                                  level);
    }
    std::printf("%d", static_cast<int>(getpid()));
    return ProcessLog()->opened == 1 ? 0 : 1;  // opened by the first entry
  });
  ASSERT_EQ(child.exitCode, 0);
  int childPid = std::atoi(child.out.c_str());
  std::vector<Entry> entries = daemon_->WaitFor(marker, 8);
  ASSERT_EQ(entries.size(), 8u);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    std::string text = marker + " level " + std::to_string(levels[i]);
    EXPECT_EQ(entries[i].message, text + kVersionLine) << i;
    EXPECT_EQ(entries[i].priority, kUser + priorities[i]) << "level " << levels[i];
    EXPECT_EQ(entries[i].ident, "Norvane Runtime System");
    EXPECT_EQ(entries[i].pid, childPid);
  }
}

TEST_F(SysLogDaemon, LongTextsAreCut) {
  std::string marker = Marker("long");
  std::string text = marker + std::string(1500, 'y');
  ChildResult child = RunInChild([&] {
    KrSystemLog()->LogPermanent(KrSysLogError, "%s", text.c_str());
    return 0;
  });
  ASSERT_EQ(child.exitCode, 0);
  std::vector<Entry> entries = daemon_->WaitFor(marker, 1);
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].message, text.substr(0, 1023) + kVersionLine);
}

TEST_F(SysLogDaemon, ApplicationNameIsCopiedAndFixedOnceOpen) {
  std::string marker = Marker("ident");
  ChildResult child = RunInChild([&] {
    {
      std::string name = "krtest-application";
      KrSystemLog()->SetApplicationName(name.c_str());
      name.assign(name.size(), '#');  // the caller's text changes and goes away
    }
    KrSystemLog()->LogPermanent(KrSysLogInformational, "%s first", marker.c_str());
    KrSystemLog()->SetApplicationName("later-name");
    ProcessLog()->Init("init-name");
    KrSystemLog()->LogPermanent(KrSysLogInformational, "%s second", marker.c_str());
    return 0;
  });
  ASSERT_EQ(child.exitCode, 0);
  std::vector<Entry> entries = daemon_->WaitFor(marker, 2);
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0].ident, "krtest-application");
  EXPECT_EQ(entries[1].ident, "krtest-application");
  EXPECT_EQ(entries[1].message, marker + " second" + kVersionLine);
  EXPECT_EQ(entries[1].priority, kUser + 6);
}

TEST_F(SysLogDaemon, InitWithoutNameUsesTheProductIdentity) {
  std::string marker = Marker("init");
  ChildResult child = RunInChild([&] {
    ProcessLog()->Init(nullptr);
    ProcessLog()->_LogPermanent(KrSysLogWarning, 0, (marker + " direct").c_str());
    return 0;
  });
  ASSERT_EQ(child.exitCode, 0);
  std::vector<Entry> entries = daemon_->WaitFor(marker, 1);
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].ident, "Norvane Runtime System");
  EXPECT_EQ(entries[0].message, marker + " direct" + kVersionLine);
  EXPECT_EQ(entries[0].priority, kUser + 4);
}

TEST_F(SysLogDaemon, NothingIsWrittenWhileLoggingIsOff) {
  std::string marker = Marker("switch");
  ChildResult child = RunInChild([&] {
    KrSystemLog()->AllowLogging(0);
    KrSystemLog()->LogPermanent(KrSysLogError, "%s dropped", marker.c_str());
    KrSystemLog()->AllowLogging(1);
    KrSystemLog()->LogPermanent(KrSysLogError, "%s kept", marker.c_str());
    return 0;
  });
  ASSERT_EQ(child.exitCode, 0);
  // The later entry arrives; the earlier one never does.
  std::vector<Entry> entries = daemon_->WaitFor(marker, 1);
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].message, marker + " kept" + kVersionLine);
}

}  // namespace
