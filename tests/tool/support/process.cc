#include "support/process.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include <gtest/gtest.h>

extern char** environ;

namespace gcuschema::test {
namespace {

std::vector<char*> ArgvPointers(const std::vector<std::string>& argv) {
  std::vector<char*> pointers;
  for (const std::string& arg : argv) pointers.push_back(const_cast<char*>(arg.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

ProcessResult Ended(pid_t pid, ProcessResult result) {
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status)) {
    result.exit_status = WEXITSTATUS(status);
  } else if (WIFSIGNALED(status)) {
    result.signal = WTERMSIG(status);
  }
  return result;
}

void ClosePipe(int fds[2]) {
  for (int i = 0; i < 2; ++i) {
    if (fds[i] >= 0) ::close(fds[i]);
    fds[i] = -1;
  }
}

}  // namespace

ProcessResult RunProcess(const std::vector<std::string>& argv, const std::string& input) {
  ProcessResult result;
  int in[2] = {-1, -1}, out[2] = {-1, -1}, err[2] = {-1, -1};
  if (::pipe2(in, O_CLOEXEC) != 0 || ::pipe2(out, O_CLOEXEC) != 0 ||
      ::pipe2(err, O_CLOEXEC) != 0) {
    ADD_FAILURE() << "pipe: " << std::strerror(errno);
    ClosePipe(in), ClosePipe(out), ClosePipe(err);
    return result;
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, err[1], STDERR_FILENO);
  std::vector<char*> args = ArgvPointers(argv);
  pid_t pid = -1;
  int spawned = ::posix_spawn(&pid, args[0], &actions, nullptr, args.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  ::close(in[0]), ::close(out[1]), ::close(err[1]);
  in[0] = out[1] = err[1] = -1;
  if (spawned != 0) {
    ADD_FAILURE() << "cannot run " << argv[0] << ": " << std::strerror(spawned);
    ClosePipe(in), ClosePipe(out), ClosePipe(err);
    return result;
  }

  // Feed and drain at the same time: a child that writes more than a pipe
  // holds before reading all its input would otherwise block us both.
  ::fcntl(in[1], F_SETFL, O_NONBLOCK);
  // A child that stops reading early must not kill the test with SIGPIPE.
  struct sigaction ignore {}, previous {};
  ignore.sa_handler = SIG_IGN;
  ::sigaction(SIGPIPE, &ignore, &previous);
  std::size_t written = 0;
  if (input.empty()) ::close(in[1]), in[1] = -1;
  char buffer[65536];
  while (in[1] >= 0 || out[0] >= 0 || err[0] >= 0) {
    pollfd fds[3] = {{in[1], POLLOUT, 0}, {out[0], POLLIN, 0}, {err[0], POLLIN, 0}};
    if (::poll(fds, 3, -1) < 0) {
      if (errno == EINTR) continue;
      ADD_FAILURE() << "poll: " << std::strerror(errno);
      break;
    }
    if (in[1] >= 0 && fds[0].revents != 0) {
      ssize_t n = ::write(in[1], input.data() + written, input.size() - written);
      if (n > 0) written += static_cast<std::size_t>(n);
      if ((n < 0 && errno != EAGAIN && errno != EINTR) || written == input.size()) {
        ::close(in[1]);
        in[1] = -1;
      }
    }
    int* readers[2] = {&out[0], &err[0]};
    std::string* sinks[2] = {&result.out, &result.err};
    for (int i = 0; i < 2; ++i) {
      if (*readers[i] < 0 || fds[i + 1].revents == 0) continue;
      ssize_t n = ::read(*readers[i], buffer, sizeof buffer);
      if (n > 0) {
        sinks[i]->append(buffer, static_cast<std::size_t>(n));
      } else if (n == 0 || errno != EINTR) {
        ::close(*readers[i]);
        *readers[i] = -1;
      }
    }
  }
  ::sigaction(SIGPIPE, &previous, nullptr);
  ClosePipe(in), ClosePipe(out), ClosePipe(err);
  return Ended(pid, std::move(result));
}

ProcessResult RunOnTerminal(const std::vector<std::string>& argv) {
  ProcessResult result;
  std::vector<char*> args = ArgvPointers(argv);
  int terminal = -1;
  pid_t pid = ::forkpty(&terminal, nullptr, nullptr, nullptr);
  if (pid < 0) {
    ADD_FAILURE() << "forkpty: " << std::strerror(errno);
    return result;
  }
  if (pid == 0) {
    ::execve(args[0], args.data(), environ);
    ::_exit(127);
  }
  char buffer[4096];
  for (;;) {
    ssize_t n = ::read(terminal, buffer, sizeof buffer);
    if (n > 0) {
      result.out.append(buffer, static_cast<std::size_t>(n));
    } else if (n < 0 && errno == EINTR) {
      continue;
    } else {
      break;  // EIO once the child has closed its side of the terminal
    }
  }
  ::close(terminal);
  return Ended(pid, std::move(result));
}

ProcessResult RunTool(const std::vector<std::string>& arguments, const std::string& input) {
  std::vector<std::string> argv = {GCUSCHEMA_TOOL};
  argv.insert(argv.end(), arguments.begin(), arguments.end());
  return RunProcess(argv, input);
}

}  // namespace gcuschema::test
