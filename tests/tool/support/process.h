#ifndef GCUSCHEMA_TESTS_TOOL_SUPPORT_PROCESS_H
#define GCUSCHEMA_TESTS_TOOL_SUPPORT_PROCESS_H

#include <string>
#include <vector>

namespace gcuschema::test {

// How a child process ended and what it wrote.
struct ProcessResult {
  int exit_status = -1;  // exit code, or -1 when a signal ended it
  int signal = 0;        // the signal that ended it, or 0
  int pid = -1;          // its process id
  long max_rss_kb = 0;   // the most memory it held at once (resident, KiB)
  std::string out;
  std::string err;
};

// Runs argv[0] with the arguments as given (no shell: nothing is
// interpreted), feeding `input` to its standard input and collecting its
// standard output and error. Fails the current test and returns a result
// with exit_status -1 when the process cannot be started.
ProcessResult RunProcess(const std::vector<std::string>& argv, const std::string& input = "");

// Runs argv[0] with its standard input, output and error on a new
// pseudo-terminal, as from an interactive shell; `out` holds everything it
// wrote to the terminal (line ends as the terminal gives them, "\r\n").
ProcessResult RunOnTerminal(const std::vector<std::string>& argv);

// The built command-line tool with these arguments.
ProcessResult RunTool(const std::vector<std::string>& arguments, const std::string& input = "");

// RunTool, the test failing (with the tool's standard error) unless it
// exits 0.
ProcessResult RunToolOk(const std::vector<std::string>& arguments, const std::string& input = "");

// RunTool with its standard output sent to the file `stdout_path` (such as
// /dev/full) instead of collected; standard input is empty.
ProcessResult RunToolWritingTo(const std::string& stdout_path,
                               const std::vector<std::string>& arguments);

// Runs `script` with /bin/sh in `directory`, the tool's path in "$T", for
// runs whose shell redirections are the point (< x.json, 2>> run.log).
ProcessResult RunToolScript(const std::string& directory, const std::string& script);

// Starts the tool without waiting for it, its standard streams on
// /dev/null; its process id, or -1 (the test failed) when it cannot start.
int StartTool(const std::vector<std::string>& arguments);
// Waits for a process that StartTool started and tells how it ended.
ProcessResult WaitForProcess(int pid);

}  // namespace gcuschema::test

#endif
