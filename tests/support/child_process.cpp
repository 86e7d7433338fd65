#include "child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <sstream>

namespace kr_test {
namespace {

// Collects both output pipes until end of file while writing `input` to the
// child's standard input (closed at once when there is none).
void Collect(int outFd, int errFd, int inFd, std::string const& input, ChildResult* result) {
  std::size_t inputDone = 0;
  if (input.empty()) {
    close(inFd);
    inFd = -1;
  }
  if (inFd >= 0) fcntl(inFd, F_SETFL, O_NONBLOCK);
  while (outFd >= 0 || errFd >= 0) {
    pollfd fds[3];
    int n = 0;
    for (int fd : {outFd, errFd}) {
      if (fd >= 0) fds[n++] = {fd, POLLIN, 0};
    }
    if (inFd >= 0) fds[n++] = {inFd, POLLOUT, 0};
    if (poll(fds, n, -1) < 0) {
      if (errno == EINTR) continue;
      break;
    }
    for (int i = 0; i < n; ++i) {
      if (!fds[i].revents) continue;
      if (fds[i].fd == inFd) {
        ssize_t written = write(inFd, input.data() + inputDone, input.size() - inputDone);
        if (written > 0) inputDone += static_cast<std::size_t>(written);
        if (written < 0 || inputDone == input.size()) {
          close(inFd);
          inFd = -1;
        }
        continue;
      }
      char buffer[4096];
      ssize_t got = read(fds[i].fd, buffer, sizeof buffer);
      if (got > 0) {
        (fds[i].fd == outFd ? result->out : result->err).append(buffer, static_cast<std::size_t>(got));
      } else {
        close(fds[i].fd);
        (fds[i].fd == outFd ? outFd : errFd) = -1;
      }
    }
  }
  if (inFd >= 0) close(inFd);
}

// qemu-user reports a guest's fatal signal on the guest's standard error
// ("qemu: uncaught target signal 6 (Aborted) - core dumped"); the program
// under test did not write it, so it is dropped.
void DropEmulatorReport(std::string* err) {
  std::string const report = "qemu: uncaught target signal";
  std::size_t at = err->find(report);
  if (at == std::string::npos || (at > 0 && (*err)[at - 1] != '\n')) return;
  std::size_t end = err->find('\n', at);
  err->erase(at, end == std::string::npos ? std::string::npos : end + 1 - at);
}

// Forks; the child gets the three pipes as its standard streams and runs
// `child` (which must not return). The parent feeds `input`, collects the
// output and reaps the child.
ChildResult Spawn(std::function<void()> const& child, std::string const& input) {
  ChildResult result;
  int in[2], out[2], err[2];
  if (pipe(in) != 0 || pipe(out) != 0 || pipe(err) != 0) return result;
  std::signal(SIGPIPE, SIG_IGN);  // a child that exits before reading its input
  std::fflush(nullptr);
  pid_t const pid = fork();
  if (pid == 0) {
    dup2(in[0], STDIN_FILENO);
    dup2(out[1], STDOUT_FILENO);
    dup2(err[1], STDERR_FILENO);
    for (int fd : {in[1], out[0], err[0]}) close(fd);
    child();
  }
  for (int fd : {in[0], out[1], err[1]}) close(fd);
  if (pid < 0) {
    for (int fd : {in[1], out[0], err[0]}) close(fd);
    return result;
  }
  Collect(out[0], err[0], in[1], input, &result);
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  result.exited = WIFEXITED(status);
  if (result.exited) result.exitCode = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  if (!Emulator().empty()) DropEmulatorReport(&result.err);
  return result;
}

// The program `path` names; resolves /proc/self/exe, which an emulator's own
// exec would otherwise take as the emulator itself.
std::string ProgramPath(std::string const& path) {
  if (path != "/proc/self/exe") return path;
  char buffer[4096];
  ssize_t n = readlink(path.c_str(), buffer, sizeof buffer - 1);
  return n > 0 ? std::string(buffer, static_cast<std::size_t>(n)) : path;
}

}  // namespace

std::vector<std::string> Emulator() {
  std::vector<std::string> words;
#ifdef KR_TEST_EMULATOR
  std::istringstream in(KR_TEST_EMULATOR);
  for (std::string word; in >> word;) words.push_back(word);
#endif
  return words;
}

ChildResult RunInChild(std::function<int()> const& body) {
  return Spawn([&body] {
    int const code = body();
    std::fflush(nullptr);
    _exit(code);
  }, "");
}

ChildResult RunProgram(std::vector<std::string> const& argv, std::string const& input,
                       std::vector<std::string> const& environment) {
  if (argv.empty()) return ChildResult();
  return Spawn([&] {
    for (std::string const& entry : environment) putenv(const_cast<char*>(entry.c_str()));
    std::vector<std::string> command = Emulator();
    command.push_back(command.empty() ? argv[0] : ProgramPath(argv[0]));
    command.insert(command.end(), argv.begin() + 1, argv.end());
    std::vector<char*> args;
    for (std::string const& arg : command) args.push_back(const_cast<char*>(arg.c_str()));
    args.push_back(nullptr);
    execv(args[0], args.data());
    std::fprintf(stderr, "cannot run %s: %s\n", args[0], std::strerror(errno));
    _exit(127);
  }, input);
}

}  // namespace kr_test
