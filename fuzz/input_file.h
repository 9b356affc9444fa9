// What a fuzzer made up, as a file that readers open by its name.
#pragma once

#include <cstddef>
#include <string>

#include "qel/image/image.h"

namespace fuzz {

/// A file in memory; its name has a dot, without which some readers refuse it.
class InputFile {
 public:
  InputFile();
  ~InputFile();
  InputFile(const InputFile &) = delete;
  InputFile &operator=(const InputFile &) = delete;

  /// Gives the file this content.
  void Fill(const unsigned char *data, std::size_t size);

  const char *Name() const { return m_name.c_str(); }

 private:
  int m_file;
  std::string m_name;
};

/// Ends the program as a finding.
[[noreturn]] void Find(const char *what);

/// Reads the first, the middle and the last rows, as a user of the picture would.
void ReadRows(PQel &image);

/// True for pictures of the same kind and size with the same pixels; of large ones only some rows are compared.
bool AreSame(PQel &a, PQel &b);

}  // namespace fuzz
