// What ends a verb: a message of one line that names the file and tells the reason.
#pragma once

#include <stdexcept>
#include <string>

namespace app {

class Failure : public std::runtime_error {
 public:
  Failure(const std::string &path, const std::string &reason)
      : std::runtime_error((path.empty() ? "''" : path) + ": " + reason) {}
};

/// Writes the message of a failure to standard error.
void Complain(const std::exception &failure);

}  // namespace app
