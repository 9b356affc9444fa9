// Child processes of this program, some at a time: what they print is collected, and a signal to end ends them all.
#pragma once

#include <sys/types.h>

#include <csignal>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace app {

/// What a worker is to do: the arguments behind the program's name. Its standard output is dropped unless kept.
struct Work {
  std::vector<std::string> arguments;
  bool keepsOutput = false;
};

/// How a worker ended: its exit status, or the signal that ended it, and what it printed.
struct WorkResult {
  int status = 0;
  int signal = 0;
  std::string out, err;
};

class Workers {
 public:
  /// Ready for `most` workers at a time. Signals to end are held back from here on, those that are ignored excepted.
  explicit Workers(int most);

  /// Ends the workers that still run.
  ~Workers();

  Workers(const Workers &) = delete;
  Workers &operator=(const Workers &) = delete;

  /// Starts works as long as `next` gives some and tells `done` of the number of each, from 0 on, as it ends. Returns
  /// the signal that came meanwhile, after all workers have ended, or 0.
  int Run(const std::function<std::optional<Work>()> &next,
          const std::function<void(std::size_t number, const WorkResult &result)> &done);

  /// Ends this process by a signal that was held back.
  [[noreturn]] static void EndBy(int signal);

 private:
  struct Worker {
    std::size_t number;
    pid_t process;
    int out, err;  // pipes to read from; -1: closed, or not kept
    WorkResult result;
  };

  void Start(const Work &work);
  void Collect();
  void End(Worker &worker);
  void Tell(int signal) const;

  std::size_t m_most;
  std::size_t m_started = 0;
  int m_signal = 0;        // that came
  int m_signals = -1;      // descriptor that the signals are read from
  sigset_t m_before = {};  // signal mask that the workers get
  std::vector<Worker> m_workers;
};

}  // namespace app
