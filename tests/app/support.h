// Running programs as children.
#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <string>
#include <vector>

#include "support/files.h"

namespace test {

struct Outcome {
  int status;  // exit status; 128 + the signal's number for a child that a signal ended
  std::string out;
  std::string err;
};

/// Starts a program with `prepare` run in the child before it; its streams go to files in `streams`.
inline pid_t Start(const Scratch &streams, std::vector<std::string> arguments,
                   const std::function<void()> &prepare = {}) {
  std::vector<char *> argv;
  for (std::string &argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  const std::string out = streams / "out", err = streams / "err";
  const pid_t child = fork();
  if (child != 0) return child;
  dup2(open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO);
  dup2(open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
  if (prepare) prepare();
  execv(argv[0], argv.data());
  _exit(127);
}

inline int Wait(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

inline Outcome Run(std::vector<std::string> arguments, const std::function<void()> &prepare = {}) {
  const Scratch streams;
  const int status = Wait(Start(streams, std::move(arguments), prepare));
  return {status, ReadFile(streams / "out"), ReadFile(streams / "err")};
}

/// Runs the command line.
inline Outcome Qel(std::vector<std::string> arguments, const std::function<void()> &prepare = {}) {
  arguments.insert(arguments.begin(), QEL_PROGRAM);
  return Run(std::move(arguments), prepare);
}

}  // namespace test
