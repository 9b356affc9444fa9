// The record that a batch keeps in the folder of its results: the command, and which pictures it is done with.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace app {

class BatchRecord {
 public:
  /// Opens the record of a folder for one batch alone. What it tells of another command
  /// goes when this one has done its first picture. Throws a Failure.
  BatchRecord(const std::string &folder, const std::vector<std::string> &command);
  ~BatchRecord();

  BatchRecord(const BatchRecord &) = delete;
  BatchRecord &operator=(const BatchRecord &) = delete;

  /// True when the batch was done with this picture, and the file has not changed since.
  bool Holds(const std::string &name, const std::string &path) const;

  /// What Add is to be told of a file before it is read.
  static std::string StampOf(const std::string &path);

  /// Notes that the batch is done with a picture that had this stamp.
  void Add(const std::string &name, const std::string &stamp);

 private:
  std::string Load() const;
  void Write(const std::string &text) const;

  const std::string m_head;  // the first line
  bool m_mine = false;       // the file tells of this command
  int m_file = -1;
  std::map<std::string, std::string> m_stamps;  // by the picture's name, as it stands in the record
};

}  // namespace app
