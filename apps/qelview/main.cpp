// qelview FILE...: pictures in a window, painted by the engine's own display. Exit status: 0 done, 1 a file or the
// display failed (one line on standard error tells which and why), 2 wrong usage.
#define SDL_MAIN_HANDLED
#include <CLI/CLI.hpp>
#include <cstdio>
#include <new>

#include "apps/qel/failure.h"
#include "apps/qel/numbers.h"
#include "apps/qelview/keys.h"
#include "apps/qelview/viewer.h"

namespace app {

void Complain(const std::exception &failure) {
  std::fprintf(stderr, "qelview: %s\n", failure.what());
}

}  // namespace app

namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;
constexpr long kLargestSide = 16384;  // of a window

view::Extent ParseSize(const std::string &option, const std::string &text) {
  const SIZE size = app::ParseBox(option, text);
  if (size.cx > kLargestSide || size.cy > kLargestSide)
    throw CLI::ValidationError(option, "'" + text + "' exceeds " + std::to_string(kLargestSide) + " pixels");
  return {size.cx, size.cy};
}

int Run(int argc, char **argv) {
  CLI::App app("Shows pictures in a window.", "qelview");
  app.set_version_flag("--version", "qelview " QEL_VERSION);
  app.footer(view::HelpText());
  std::vector<std::string> paths;
  std::optional<view::Extent> size;
  app.add_option("FILE", paths, "pictures")->required();
  app::AddParsed(app, "--size", size, "of the window; default: as the first picture, as far as the screen allows",
                 ParseSize)
      ->type_name("WxH");
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success &help) {
    return app.exit(help);
  } catch (const CLI::ParseError &error) {
    std::fprintf(stderr, "qelview: %s (qelview --help tells the usage)\n", error.what());
    return kWrongUsage;
  }
  return view::Viewer(std::move(paths), size).Run();
}

}  // namespace

int main(int argc, char **argv) {
  SDL_SetMainReady();
  try {
    return Run(argc, argv);
  } catch (const std::bad_alloc &) {
    app::Complain(std::runtime_error("out of memory"));
  } catch (const std::exception &failure) {
    app::Complain(failure);
  }
  return kFailed;
}
