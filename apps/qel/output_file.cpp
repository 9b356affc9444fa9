// Output files that appear whole or not at all. The passing file lies in the same folder, so that the final rename is
// one step of the file system; an interrupting signal removes it too.
#include "apps/qel/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "apps/qel/failure.h"

namespace app {
namespace {

// Interruption -------------------------------------------------------------------------------------------------------

// The passing file at hand, for the signal handler; the flag is set while the name is whole.
char g_temporary[PATH_MAX];
std::atomic<bool> g_removes{false};

void RemoveAndEnd(int signal) {
  if (g_removes) unlink(g_temporary);
  std::signal(signal, SIG_DFL);
  raise(signal);
}

void RemoveWhenInterrupted(const std::string &temporary) {
  if (temporary.size() >= sizeof(g_temporary)) return;
  std::memcpy(g_temporary, temporary.c_str(), temporary.size() + 1);
  g_removes = true;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    if (std::signal(signal, RemoveAndEnd) == SIG_IGN) std::signal(signal, SIG_IGN);
}

// Places -------------------------------------------------------------------------------------------------------------

[[noreturn]] void Fail(const std::string &path, int error) {
  throw Failure(path, std::strerror(error));
}

/// The file that a name stands for, symbolic links followed as far as they lead.
std::string FollowLinks(const std::string &path) {
  std::error_code error;
  const std::string target = std::filesystem::weakly_canonical(path, error).string();
  return error || target.empty() ? path : target;
}

/// Permissions for the finished file: those of the file that it replaces, else what the process gives to new files.
/// Throws when `target` cannot be replaced by a file.
mode_t ModeFor(const std::string &path, const std::string &target) {
  struct stat status;
  if (stat(target.c_str(), &status) != 0) {
    if (errno != ENOENT) Fail(path, errno);
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
  }
  if (S_ISDIR(status.st_mode)) throw Failure(path, "is a folder");
  if (!S_ISREG(status.st_mode)) throw Failure(path, "is not a regular file");
  // The rename would succeed on a read-only file too, yet who protects a file means its content.
  if (access(target.c_str(), W_OK) != 0) Fail(path, errno);
  return status.st_mode & 0777;
}

/// Makes an empty file beside `target` and returns its name.
std::string MakeTemporary(const std::string &path, const std::string &target) {
  std::string temporary = (std::filesystem::path(target).parent_path() / ".qel-XXXXXX").string();
  const int descriptor = mkostemp(temporary.data(), O_CLOEXEC);
  if (descriptor < 0) Fail(path, errno);
  close(descriptor);
  return temporary;
}

}  // namespace

std::string ReasonOf(const CFileException &problem) {
  if (problem.m_cause == CFileException::sharingViolation) return "in use by another program";
  return problem.m_lOsError > 0 ? std::strerror(problem.m_lOsError) : "cannot be read or written";
}

OutputFile::OutputFile(const std::string &path)
    : m_path(path), m_target(FollowLinks(path)), m_mode(ModeFor(path, m_target)) {
  m_temporary = MakeTemporary(path, m_target);
  RemoveWhenInterrupted(m_temporary);
  CFileException problem;
  if (!m_file.Open(m_temporary.c_str(), CFile::modeReadWrite | CFile::shareExclusive, &problem)) {
    unlink(m_temporary.c_str());
    throw Failure(path, ReasonOf(problem));
  }
}

OutputFile::~OutputFile() {
  g_removes = false;
  if (!m_temporary.empty()) unlink(m_temporary.c_str());
}

void OutputFile::Commit() {
  m_file.Close();
  if (chmod(m_temporary.c_str(), m_mode) != 0 || std::rename(m_temporary.c_str(), m_target.c_str()) != 0)
    Fail(m_path, errno);
  m_temporary.clear();
}

}  // namespace app
