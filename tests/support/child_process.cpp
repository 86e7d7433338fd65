#include "child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace kr_test {
namespace {

struct Pipe {
  int read = -1;
  int write = -1;
  bool Open() {
    int fds[2];
    if (pipe(fds) != 0) return false;
    read = fds[0];
    write = fds[1];
    return true;
  }
};

// Collects both pipes until end of file while writing `input` to the child.
void Collect(int outFd, int errFd, int inFd, std::string const& input, ChildResult* result) {
  std::size_t inputDone = 0;
  if (inFd >= 0 && input.empty()) {
    close(inFd);
    inFd = -1;
  }
  if (inFd >= 0) fcntl(inFd, F_SETFL, O_NONBLOCK);
  while (outFd >= 0 || errFd >= 0) {
    pollfd fds[3];
    int n = 0;
    if (outFd >= 0) fds[n++] = {outFd, POLLIN, 0};
    if (errFd >= 0) fds[n++] = {errFd, POLLIN, 0};
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
      std::string& sink = fds[i].fd == outFd ? result->out : result->err;
      if (got > 0) {
        sink.append(buffer, static_cast<std::size_t>(got));
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

void Reap(pid_t pid, ChildResult* result) {
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status)) {
    result->exited = true;
    result->exitCode = WEXITSTATUS(status);
  } else if (WIFSIGNALED(status)) {
    result->signal = WTERMSIG(status);
  }
  if (!Emulator().empty()) DropEmulatorReport(&result->err);
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
  ChildResult result;
  Pipe out, err;
  if (!out.Open() || !err.Open()) return result;
  std::fflush(nullptr);
  pid_t pid = fork();
  if (pid == 0) {
    dup2(out.write, STDOUT_FILENO);
    dup2(err.write, STDERR_FILENO);
    close(out.read);
    close(err.read);
    int code = body();
    std::fflush(nullptr);
    _exit(code);
  }
  close(out.write);
  close(err.write);
  if (pid < 0) {
    close(out.read);
    close(err.read);
    return result;
  }
  Collect(out.read, err.read, -1, "", &result);
  Reap(pid, &result);
  return result;
}

ChildResult RunProgram(std::vector<std::string> const& argv, std::string const& input,
                       std::vector<std::string> const& environment) {
  ChildResult result;
  // A child that exits before reading its input must not kill the test.
  std::signal(SIGPIPE, SIG_IGN);
  Pipe in, out, err;
  if (argv.empty() || !in.Open() || !out.Open() || !err.Open()) return result;
  std::fflush(nullptr);
  pid_t pid = fork();
  if (pid == 0) {
    dup2(in.read, STDIN_FILENO);
    dup2(out.write, STDOUT_FILENO);
    dup2(err.write, STDERR_FILENO);
    close(in.write);
    close(out.read);
    close(err.read);
    for (std::string const& entry : environment) putenv(const_cast<char*>(entry.c_str()));
    std::vector<std::string> command = Emulator();
    if (!command.empty()) command.push_back(ProgramPath(argv[0]));
    else command.push_back(argv[0]);
    command.insert(command.end(), argv.begin() + 1, argv.end());
    std::vector<char*> args;
    for (std::string const& arg : command) args.push_back(const_cast<char*>(arg.c_str()));
    args.push_back(nullptr);
    execv(args[0], args.data());
    std::fprintf(stderr, "cannot run %s: %s\n", args[0], std::strerror(errno));
    _exit(127);
  }
  close(in.read);
  close(out.write);
  close(err.write);
  if (pid < 0) {
    close(in.write);
    close(out.read);
    close(err.read);
    return result;
  }
  Collect(out.read, err.read, in.write, input, &result);
  Reap(pid, &result);
  return result;
}

}  // namespace kr_test
