#include "child_process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <sstream>

namespace kr_test {
namespace {

std::string Slurp(std::FILE* file) {
  std::fseek(file, 0, SEEK_END);
  std::string text(static_cast<size_t>(std::ftell(file)), '\0');
  std::rewind(file);
  text.resize(std::fread(&text[0], 1, text.size(), file));
  std::fclose(file);
  return text;
}

// Forks; the child gets a pipe as standard input and temporary files as standard output and error,
// and runs `child` (which must not return). The parent writes `input` to the pipe (giving up on the
// rest once the child has exited without reading it all), reaps the child and reads the files.
ChildResult Spawn(std::function<void()> const& child, std::string const& input) {
  ChildResult result;
  std::FILE* out = std::tmpfile();
  std::FILE* err = std::tmpfile();
  int in[2];
  if (!out || !err || pipe(in) != 0) return result;
  std::fflush(nullptr);
  pid_t const pid = fork();
  if (pid == 0) {
    dup2(in[0], STDIN_FILENO);
    dup2(fileno(out), STDOUT_FILENO);
    dup2(fileno(err), STDERR_FILENO);
    close(in[1]);
    child();
  }
  close(in[0]);
  auto const onBrokenPipe = std::signal(SIGPIPE, SIG_IGN);  // a write fails with EPIPE instead
  for (ssize_t done = 0, n = 0; pid > 0 && done < static_cast<ssize_t>(input.size()); done += n) {
    if ((n = write(in[1], input.data() + done, input.size() - done)) <= 0) break;
  }
  std::signal(SIGPIPE, onBrokenPipe);
  close(in[1]);
  int status = 0;
  while (pid > 0 && waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  result.exited = pid > 0 && WIFEXITED(status);
  if (result.exited) result.exitCode = WEXITSTATUS(status);
  if (pid > 0 && WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  result.out = Slurp(out);
  result.err = Slurp(err);
  // qemu-user reports a guest's fatal signal on the guest's standard error;
  // the program under test did not write that line.
  std::size_t const at = result.err.find("qemu: uncaught target signal");
  if (!Emulator().empty() && at != std::string::npos && (at == 0 || result.err[at - 1] == '\n')) {
    result.err.erase(at, result.err.find('\n', at) + 1 - at);
  }
  return result;
}

[[noreturn]] void Exec(std::vector<std::string> const& command) {
  std::vector<char*> args;
  for (std::string const& arg : command) args.push_back(const_cast<char*>(arg.c_str()));
  args.push_back(nullptr);
  execv(args[0], args.data());
  std::fprintf(stderr, "cannot run %s: %s\n", args[0], std::strerror(errno));
  _exit(127);
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

ChildResult RunInShell(std::string const& script, std::vector<std::string> const& argv,
                       std::string const& input) {
  std::vector<std::string> command = {"/bin/sh", "-c", script, "sh"};
  for (std::string const& word : Emulator()) command.push_back(word);
  command.insert(command.end(), argv.begin(), argv.end());
  return Spawn([&command] { Exec(command); }, input);
}

ChildResult RunProgram(std::vector<std::string> const& argv, std::string const& input,
                       std::vector<std::string> const& environment) {
  if (argv.empty()) return ChildResult();
  return Spawn([&] {
    for (std::string const& entry : environment) putenv(const_cast<char*>(entry.c_str()));
    std::vector<std::string> command = Emulator();
    std::string program = argv[0];
    char resolved[4096];  // an emulator would take /proc/self/exe as itself
    ssize_t const n = program == "/proc/self/exe" ? readlink(program.c_str(), resolved, 4095) : -1;
    if (n > 0 && !command.empty()) program.assign(resolved, static_cast<size_t>(n));
    command.push_back(program);
    command.insert(command.end(), argv.begin() + 1, argv.end());
    Exec(command);
  }, input);
}

}  // namespace kr_test
