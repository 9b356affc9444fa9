// A file that appears whole or not at all: it is written beside its place under a passing name and renamed at the end.
#pragma once

#include <sys/types.h>

#include <string>

#include "apps/qel/failure.h"
#include "qel/platform/mfc/file.h"

namespace app {

/// Tells why a file operation failed, in words.
std::string ReasonOf(const CFileException &problem);

class OutputFile {
 public:
  /// Opens the passing file in the folder of `path`. Throws a Failure when the place cannot be written to: a folder, a
  /// device, a file or folder without write permission.
  explicit OutputFile(const std::string &path);

  /// Removes the passing file unless it was put in place.
  ~OutputFile();

  OutputFile(const OutputFile &) = delete;
  OutputFile &operator=(const OutputFile &) = delete;

  /// The open file. Its exceptions are the caller's.
  CFile &File() { return m_file; }

  /// Closes the file, for others to write it; its passing name.
  const std::string &CloseForOthers() {
    m_file.Close();
    return m_temporary;
  }

  /// Closes the file and puts it in place.
  void Commit();

 private:
  std::string m_path;       // as the caller named it, for messages
  std::string m_target;     // the same with symbolic links followed
  std::string m_temporary;  // the passing name; empty when nothing is to be removed
  mode_t m_mode;            // permissions of the finished file
  CFile m_file;
};

/// Runs `work` on an open file and turns the exceptions of that file into a Failure that names `path`.
template <class Work>
void WithFile(const std::string &path, Work work) {
  try {
    work();
  } catch (CFileException *problem) {
    const std::string reason = ReasonOf(*problem);
    problem->Delete();
    throw Failure(path, reason);
  }
}

}  // namespace app
