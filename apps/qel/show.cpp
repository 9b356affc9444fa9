// qel show FILE...: starts the window in place of this program. It lies beside the program where both are installed;
// else it is one that PATH names.
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "apps/qel/failure.h"
#include "apps/qel/verbs.h"
#include "qel/platform/kernel/module.h"

namespace app {
namespace {

constexpr const char *kWindow = "qelview";

struct Options {
  std::vector<std::string> paths;
  std::string size;
};

/// Becomes the window, or throws a Failure that tells why not.
[[noreturn]] void Run(const Options &options) {
  std::vector<std::string> words{kWindow};
  if (!options.size.empty()) words.insert(words.end(), {"--size", options.size});
  words.push_back("--");  // whatever the names of files begin with
  words.insert(words.end(), options.paths.begin(), options.paths.end());
  std::vector<char *> arguments;
  for (std::string &word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);

  execv((qel::kernel::FolderOf(qel::kernel::ModulePath(nullptr)) + kWindow).c_str(), arguments.data());
  if (errno == ENOENT) execvp(kWindow, arguments.data());
  throw Failure(kWindow, errno == ENOENT ? "is not installed: neither beside this program nor in PATH"
                                         : std::string("cannot be started: ") + std::strerror(errno));
}

}  // namespace

void AddShow(CLI::App &app, int &) {
  auto options = std::make_shared<Options>();
  CLI::App *verb = app.add_subcommand("show", "Shows pictures in a window (qelview)");
  verb->add_option("FILE", options->paths, "pictures")->required();
  verb->add_option("--size", options->size, "of the window")->type_name("WxH");
  verb->callback([options] { Run(*options); });
}

}  // namespace app
