// A text file: the command in the first line, then a line a picture, its time and length before its name. Lines are
// added as pictures are done, so an end of any kind leaves at worst the last of them torn, which is dropped.
#include "apps/qel/batch_record.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <sstream>

#include "apps/qel/failure.h"
#include "qel/platform/kernel/descriptor.h"

namespace app {

using qel::kernel::Retry;

namespace {

constexpr char kName[] = "/.qel-batch";

/// On one line, whatever it holds.
std::string Escape(const std::string &text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '\n' || c == '\\' || c == ' ') escaped += '\\';
    escaped += c == '\n' ? 'n' : c;
  }
  return escaped;
}

std::string HeadOf(const std::vector<std::string> &command) {
  std::string head = "qel " QEL_VERSION;
  for (const std::string &argument : command) head += ' ' + Escape(argument);
  return head + '\n';
}

}  // namespace

BatchRecord::BatchRecord(const std::string &folder, const std::vector<std::string> &command) : m_head(HeadOf(command)) {
  const std::string path = folder + kName;
  m_file = open(path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
  if (m_file < 0) throw Failure(path, std::strerror(errno));
  try {
    if (flock(m_file, LOCK_EX | LOCK_NB) != 0) throw Failure(folder, "is in use by another batch");
    const std::string text = Load();
    const bool same = text.compare(0, m_head.size(), m_head) == 0;
    const std::size_t whole = same ? text.rfind('\n') + 1 : 0;
    if (same && ftruncate(m_file, static_cast<off_t>(whole)) != 0) throw Failure(path, std::strerror(errno));
    m_mine = same;
    std::istringstream lines(same ? text.substr(m_head.size(), whole - m_head.size()) : "");
    for (std::string line; std::getline(lines, line);) {
      const std::size_t space = line.find(' ', line.find(' ') + 1);
      if (space != std::string::npos) m_stamps[line.substr(space + 1)] = line.substr(0, space);
    }
  } catch (...) {
    close(m_file);
    throw;
  }
}

BatchRecord::~BatchRecord() {
  close(m_file);
}

bool BatchRecord::Holds(const std::string &name, const std::string &path) const {
  const auto found = m_stamps.find(Escape(name));
  return found != m_stamps.end() && found->second == StampOf(path);
}

std::string BatchRecord::StampOf(const std::string &path) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) return "- -";
  return std::to_string(status.st_mtim.tv_sec) + '.' + std::to_string(status.st_mtim.tv_nsec) + ' ' +
         std::to_string(status.st_size);
}

void BatchRecord::Add(const std::string &name, const std::string &stamp) {
  if (!m_mine && ftruncate(m_file, 0) == 0) {
    Write(m_head);
    m_mine = true;
  }
  if (m_mine) Write(stamp + ' ' + Escape(name) + '\n');
}

std::string BatchRecord::Load() const {
  std::string text;
  char part[1 << 14];
  for (ssize_t got; (got = Retry([&] { return read(m_file, part, sizeof part); })) > 0;)
    text.append(part, static_cast<std::size_t>(got));
  return text;
}

/// A line that cannot be written, on a full disk, costs no more than doing the picture again.
void BatchRecord::Write(const std::string &text) const {
  (void)Retry([&] { return write(m_file, text.data(), text.size()); });
}

}  // namespace app
