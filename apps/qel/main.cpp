// qel VERB ...: a thin face over the library. Exit status: 0 done, 1 a file or the memory failed (one line on standard
// error tells which and why), 2 wrong usage.
#include <csignal>
#include <cstdio>
#include <new>

#include "apps/qel/failure.h"
#include "apps/qel/quality.h"
#include "apps/qel/verbs.h"

namespace app {

void Complain(const std::exception &failure) {
  std::fflush(stdout);
  std::fprintf(stderr, "qel: %s\n", failure.what());
}

namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

int Run(int argc, char **argv) {
  int status = 0;
  CLI::App app("Reads, shows and converts pictures in every depth, store and layout.", "qel");
  app.set_version_flag("--version", "qel " QEL_VERSION);
  app.require_subcommand(1);
  app.fallthrough();  // options of all verbs may stand behind the verb
  AddQuality(app);
  for (const auto add : {AddInfo, AddConvert, AddPalette, AddGallery, AddResize, AddTurn,    AddRotate,
                         AddBlur, AddMask,    AddShadow,  AddCompose, AddBorder, AddBounds,  AddCompare,
                         AddCard, AddScene,   AddDraw,    AddShow,    AddText,   AddFormats, AddBatch})
    add(app, status);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success &help) {
    return app.exit(help);
  } catch (const CLI::ParseError &error) {
    std::fprintf(stderr, "qel: %s (qel --help tells the usage)\n", error.what());
    return kWrongUsage;
  }
  if (std::fflush(stdout) != 0 || std::ferror(stdout)) throw Failure("standard output", "cannot be written");
  return status;
}

}  // namespace
}  // namespace app

int main(int argc, char **argv) {
  // A file that grows past a limit is an error to report, not the end of the process.
  std::signal(SIGXFSZ, SIG_IGN);
  try {
    return app::Run(argc, argv);
  } catch (const std::bad_alloc &) {
    app::Complain(std::runtime_error("out of memory"));
  } catch (const std::exception &failure) {
    app::Complain(failure);
  }
  return app::kFailed;
}
