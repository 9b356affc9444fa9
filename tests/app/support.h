// Running programs as children, and scratch folders with files of given bytes.
#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

namespace test {

using Bytes = std::string;

inline Bytes ReadFile(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void WriteFile(const std::string &path, const Bytes &bytes) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path, std::ios::binary) << bytes;
}

/// A folder that goes with everything in it.
class Scratch {
 public:
  Scratch() {
    std::string name = (std::filesystem::temp_directory_path() / "qel-test-XXXXXX").string();
    m_folder = mkdtemp(name.data());
  }
  ~Scratch() { std::filesystem::remove_all(m_folder); }
  Scratch(const Scratch &) = delete;
  Scratch &operator=(const Scratch &) = delete;

  std::string operator/(const std::string &name) const { return m_folder + "/" + name; }

  /// Names in a folder inside, in order.
  std::vector<std::string> List(const std::string &folder = "") const {
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(*this / folder))
      names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }

 private:
  std::string m_folder;
};

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
