#include "support/process.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
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
  struct rusage usage {};
  while (::wait4(pid, &status, 0, &usage) < 0 && errno == EINTR) {
  }
  result.pid = pid;
  result.max_rss_kb = usage.ru_maxrss;
  if (WIFEXITED(status)) {
    result.exit_status = WEXITSTATUS(status);
  } else if (WIFSIGNALED(status)) {
    result.signal = WTERMSIG(status);
  }
  return result;
}

std::vector<std::string> ToolArgv(const std::vector<std::string>& arguments) {
  std::vector<std::string> argv = {GCUSCHEMA_TOOL};
  argv.insert(argv.end(), arguments.begin(), arguments.end());
  return argv;
}

void ClosePipe(int fds[2]) {
  for (int i = 0; i < 2; ++i) {
    if (fds[i] >= 0) ::close(fds[i]);
    fds[i] = -1;
  }
}

// RunProcess, standard output going to `stdout_path` when it is not empty.
ProcessResult RunProcessWith(const std::vector<std::string>& argv, const std::string& input,
                             const std::string& stdout_path) {
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
  if (stdout_path.empty()) {
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
  } else {
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, stdout_path.c_str(), O_WRONLY, 0);
  }
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

}  // namespace

ProcessResult RunProcess(const std::vector<std::string>& argv, const std::string& input) {
  return RunProcessWith(argv, input, "");
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
  return RunProcess(ToolArgv(arguments), input);
}

ProcessResult RunToolOk(const std::vector<std::string>& arguments, const std::string& input) {
  ProcessResult result = RunTool(arguments, input);
  EXPECT_EQ(result.exit_status, 0) << result.err;
  return result;
}

ProcessResult RunToolWritingTo(const std::string& stdout_path,
                               const std::vector<std::string>& arguments) {
  return RunProcessWith(ToolArgv(arguments), "", stdout_path);
}

ProcessResult RunToolScript(const std::string& directory, const std::string& script) {
  return RunProcess({"/bin/sh", "-c", "cd \"$1\" && T=\"$2\" && " + script, "sh", directory, GCUSCHEMA_TOOL});
}

int StartTool(const std::vector<std::string>& arguments) {
  const std::vector<std::string> argv = ToolArgv(arguments);
  std::vector<char*> args = ArgvPointers(argv);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t pid = -1;
  const int spawned = ::posix_spawn(&pid, args[0], &actions, nullptr, args.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (spawned != 0) {
    ADD_FAILURE() << "cannot run " << argv[0] << ": " << std::strerror(spawned);
    return -1;
  }
  return pid;
}

ProcessResult WaitForProcess(int pid) { return Ended(pid, ProcessResult()); }

}  // namespace gcuschema::test
