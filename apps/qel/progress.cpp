// The bar is one line of standard output that is written over again and again, cut to the terminal's width.
#include "apps/qel/progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace app {
namespace {

constexpr std::size_t kBar = 30;

std::size_t TerminalWidth() {
  winsize window{};
  const bool known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) == 0 && window.ws_col > 0;
  return known ? window.ws_col : 80;
}

}  // namespace

Progress::Progress(std::size_t steps) : m_steps(steps), m_terminal(isatty(STDOUT_FILENO) != 0) {}

Progress::~Progress() {
  if (m_done > 0) Clear();
}

void Progress::Step(const std::string &told) {
  ++m_done;
  const std::string count = std::to_string(m_done) + "/" + std::to_string(m_steps);
  if (!m_terminal) {
    std::printf("[%s] %s\n", count.c_str(), told.c_str());
  } else {
    const std::size_t full = kBar * m_done / std::max(m_steps, m_done);
    const std::string bar = '[' + std::string(full, '#') + std::string(kBar - full, '.') + "] " + count + ' ' + told;
    Clear();
    std::fputs(bar.substr(0, TerminalWidth() - 1).c_str(), stdout);
  }
  std::fflush(stdout);
}

void Progress::Clear() const {
  if (m_terminal) std::fputs("\r\x1b[K", stdout);
}

}  // namespace app
