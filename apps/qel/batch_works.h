// What a batch runs for each of its pictures: the command line of a worker, and the files that it leaves.
#pragma once

#include <string>
#include <vector>

namespace app {

/// The verb of a batch as the user gave it.
struct BatchCommand {
  std::string verb;
  std::vector<std::string> arguments;  // {in}, {name}, {out}, {mask} stand for files
  std::string extension;               // of the results; empty: that of the picture
  bool keepsOutput = false;            // what the verb prints is the result
};

/// Puts the places of the files in where the user left them out. Throws CLI::ValidationError for verbs that need them.
void CompleteCommand(BatchCommand &command);

struct BatchWork {
  std::string name;  // of the picture, below the folder
  std::string path;
  std::vector<std::string> arguments;
  std::vector<std::string> results;  // one at least
  bool keepsOutput = false;
  std::string stamp;  // of the picture when the work began
};

/// The work on one picture.
BatchWork MakeWork(const BatchCommand &command, const std::string &name, const std::string &path,
                   const std::string &folder);

/// All that decides what the results are: two batches with the same description do the same.
std::vector<std::string> DescribeCommand(const BatchCommand &command, const std::string &folder);

}  // namespace app
