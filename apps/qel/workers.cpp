// Workers are this program started anew, so that one picture that takes all memory, hangs or hits a fault costs no
// other. One thread waits for everything: their pipes, and through a descriptor the signals, so that nothing happens in
// a handler. The pipes of a worker close when it ends. A worker removes its unfinished file when it gets a signal to
// end; it gets one also when this process is killed.
#include "apps/qel/workers.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "apps/qel/failure.h"

namespace app {
namespace {

constexpr int kNotStarted = 127;                // exit status of a worker without a program, as shells have it
constexpr std::size_t kLongestError = 1 << 16;  // of what a worker prints to standard error

[[noreturn]] void Fail() {
  throw Failure("worker", std::strerror(errno));
}

/// The signals to end that this process does not ignore.
sigset_t SignalsToEnd() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction action;
    if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) sigaddset(&signals, signal);
  }
  return signals;
}

/// A pipe that both sides close when a program starts.
struct Pipe {
  int read, write;

  Pipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) Fail();
    read = ends[0], write = ends[1];
  }
};

/// The child's part of starting: only system calls between fork and exec.
[[noreturn]] void Become(char **arguments, int out, int err, pid_t parent, const sigset_t &mask) {
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (getppid() != parent) _exit(kNotStarted);
  const int nothing = open("/dev/null", O_RDWR);
  dup2(nothing, STDIN_FILENO);
  dup2(out >= 0 ? out : nothing, STDOUT_FILENO);
  dup2(err, STDERR_FILENO);
  if (nothing > STDERR_FILENO) close(nothing);
  sigprocmask(SIG_SETMASK, &mask, nullptr);
  execv("/proc/self/exe", arguments);
  _exit(kNotStarted);
}

/// Takes in what a pipe holds; closes it at its end.
void Drain(int &pipe, std::string &text, std::size_t most) {
  char part[1 << 14];
  const ssize_t got = read(pipe, part, sizeof part);
  if (got < 0 && errno == EINTR) return;
  if (got > 0) {
    text.append(part, std::min(static_cast<std::size_t>(got), most - std::min(most, text.size())));
    return;
  }
  close(pipe);
  pipe = -1;
}

}  // namespace

Workers::Workers(int most) : m_most(static_cast<std::size_t>(most)) {
  const sigset_t signals = SignalsToEnd();
  sigprocmask(SIG_BLOCK, &signals, &m_before);
  m_signals = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
  if (m_signals < 0) Fail();
}

Workers::~Workers() {
  Tell(SIGTERM);
  for (Worker &worker : m_workers) End(worker);
  close(m_signals);
}

int Workers::Run(const std::function<std::optional<Work>()> &next,
                 const std::function<void(std::size_t number, const WorkResult &result)> &done) {
  for (bool more = true; more || !m_workers.empty();) {
    while (more && m_signal == 0 && m_workers.size() < m_most) {
      const std::optional<Work> work = next();
      more = work.has_value();
      if (work) Start(*work);
    }
    if (m_signal != 0) more = false;
    if (m_workers.empty()) break;
    Collect();
    const auto IsOver = [](const Worker &worker) { return worker.out < 0 && worker.err < 0; };
    const auto over = std::stable_partition(m_workers.begin(), m_workers.end(), std::not_fn(IsOver));
    std::vector<Worker> ended(over, m_workers.end());
    m_workers.erase(over, m_workers.end());
    for (Worker &worker : ended) End(worker);
    for (const Worker &worker : ended) done(worker.number, worker.result);
  }
  return m_signal;
}

void Workers::EndBy(int signal) {
  std::signal(signal, SIG_DFL);
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, signal);
  raise(signal);
  sigprocmask(SIG_UNBLOCK, &signals, nullptr);
  _exit(128 + signal);  // not reached: the signal ends the process
}

void Workers::Start(const Work &work) {
  std::vector<char *> arguments{const_cast<char *>("qel")};
  for (const std::string &argument : work.arguments) arguments.push_back(const_cast<char *>(argument.c_str()));
  arguments.push_back(nullptr);

  const Pipe err;
  int out = -1, outEnd = -1;
  if (work.keepsOutput) {
    const Pipe pipe;
    out = pipe.read, outEnd = pipe.write;
  }
  const pid_t parent = getpid(), process = fork();
  if (process == 0) Become(arguments.data(), outEnd, err.write, parent, m_before);
  const int error = errno;
  close(err.write);
  if (outEnd >= 0) close(outEnd);
  if (process < 0) {
    close(err.read);
    if (out >= 0) close(out);
    errno = error;
    Fail();
  }
  m_workers.push_back({m_started++, process, out, err.read, {}});
}

/// Waits until a pipe or signal has something, and takes it in.
void Workers::Collect() {
  std::vector<pollfd> waited{{m_signals, POLLIN, 0}};
  for (const Worker &worker : m_workers)
    for (const int pipe : {worker.out, worker.err}) waited.push_back({pipe, POLLIN, 0});  // -1 is passed over
  if (poll(waited.data(), waited.size(), -1) < 0) return;  // only a passing lack of something
  signalfd_siginfo told;
  if (waited[0].revents != 0 && read(m_signals, &told, sizeof told) == sizeof told) {
    m_signal = static_cast<int>(told.ssi_signo);
    Tell(SIGTERM);
  }
  for (std::size_t i = 0; i < m_workers.size(); ++i) {
    Worker &worker = m_workers[i];
    if (waited[1 + 2 * i].revents != 0) Drain(worker.out, worker.result.out, worker.result.out.max_size());
    if (waited[2 + 2 * i].revents != 0) Drain(worker.err, worker.result.err, kLongestError);
  }
}

/// Waits for the end of a worker and notes how it came.
void Workers::End(Worker &worker) {
  for (const int pipe : {worker.out, worker.err})
    if (pipe >= 0) close(pipe);
  int status = 0;
  while (waitpid(worker.process, &status, 0) < 0 && errno == EINTR) continue;
  worker.result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 1;
  worker.result.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
}

void Workers::Tell(int signal) const {
  for (const Worker &worker : m_workers) kill(worker.process, signal);
}

}  // namespace app
