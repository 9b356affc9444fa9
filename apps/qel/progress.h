// How far a long command is: a bar on a terminal, a line a step anywhere else.
#pragma once

#include <cstddef>
#include <string>

namespace app {

class Progress {
 public:
  explicit Progress(std::size_t steps);

  /// Takes the bar away.
  ~Progress();

  Progress(const Progress &) = delete;
  Progress &operator=(const Progress &) = delete;

  /// A step is over; `told` is what there is to say about it.
  void Step(const std::string &told);

 private:
  void Clear() const;

  const std::size_t m_steps;
  std::size_t m_done = 0;
  const bool m_terminal;
};

}  // namespace app
