// qel batch IN_DIR OUT_DIR VERB ...: runs a verb over the pictures of a folder, a worker process a picture.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "apps/qel/batch_record.h"
#include "apps/qel/batch_works.h"
#include "apps/qel/failure.h"
#include "apps/qel/formats.h"
#include "apps/qel/output_file.h"
#include "apps/qel/picture_file.h"
#include "apps/qel/progress.h"
#include "apps/qel/verbs.h"
#include "apps/qel/workers.h"

namespace app {
namespace {

namespace fs = std::filesystem;

constexpr int kWrongUsage = 2;

struct Options {
  std::string input, output;
  BatchCommand command;
  int jobs = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
  int quality = 0;  // 0: not given
  bool recursive = false;
};

class Batch {
 public:
  explicit Batch(const Options &options) : m_options(options) {}

  /// The exit status.
  int Run();

 private:
  void Prepare();
  void Plan(const std::vector<std::string> &names, const BatchRecord &record);
  std::optional<Work> Next();
  void Done(const BatchWork &work, const WorkResult &result, BatchRecord &record, Progress &progress);
  void Fail(const std::string &message);
  void TellEnd(int signal) const;

  const Options &m_options;
  std::vector<BatchWork> m_works;
  std::size_t m_begun = 0;
  std::size_t m_upToDate = 0, m_noPictures = 0, m_done = 0, m_incomplete = 0, m_failed = 0;
  std::vector<std::string> m_messages;  // of standard error, in the order in which they came
  bool m_wrongUsage = false;
};

// Finding what to do -------------------------------------------------------------------------------------------------

/// The names of the files in a folder below `root`, in order; hidden ones and the folder `without` are left out.
void ListFiles(const fs::path &root, const fs::path &below, const fs::path &without, bool recursive,
               std::vector<std::string> &names) {
  std::vector<fs::path> folders;
  std::error_code error;
  for (fs::directory_iterator at(root / below, error), end; !error && at != end; at.increment(error)) {
    const fs::path name = below / at->path().filename();
    std::error_code ignored;
    if (at->path().filename().string()[0] == '.') continue;
    if (!at->is_directory(ignored))
      names.push_back(name.string());
    else if (recursive && !at->is_symlink(ignored) && !fs::equivalent(at->path(), without, ignored))
      folders.push_back(name);
  }
  if (error) throw Failure((root / below).string(), error.message());
  for (const fs::path &folder : folders) ListFiles(root, folder, without, recursive, names);
}

void Batch::Prepare() {
  std::error_code error;
  if (!fs::is_directory(m_options.input, error))
    throw Failure(m_options.input, error ? error.message() : "is not a folder");
  fs::create_directories(m_options.output, error);
  if (error) throw Failure(m_options.output, error.message());
  if (fs::equivalent(m_options.input, m_options.output, error))
    throw Failure(m_options.output, "is the folder of the pictures; the results need another");
}

/// False for files that are surely no pictures. What cannot be looked into is left to the verb, which tells why.
bool MayHoldPicture(const std::string &path) {
  std::error_code ignored;
  if (!fs::is_regular_file(path, ignored)) return false;
  return access(path.c_str(), R_OK) != 0 || HoldsPicture(path);
}

/// Makes the works that are left to do.
void Batch::Plan(const std::vector<std::string> &names, const BatchRecord &record) {
  std::set<std::string> taken;  // places of results
  for (const std::string &name : names) {
    const std::string path = (fs::path(m_options.input) / name).string();
    if (!MayHoldPicture(path)) {
      ++m_noPictures;
      std::printf("%s: is no picture, skipped\n", path.c_str());
      continue;
    }
    BatchWork work = MakeWork(m_options.command, name, path, m_options.output);
    const auto IsTaken = [&taken](const std::string &result) { return !taken.insert(result).second; };
    const auto IsThere = [](const std::string &result) { return fs::exists(result); };
    if (const auto found = std::find_if(work.results.begin(), work.results.end(), IsTaken);
        found != work.results.end()) {
      Fail(Failure(path, "has the same result as another picture: " + *found).what());
    } else if (record.Holds(name, path) && std::all_of(work.results.begin(), work.results.end(), IsThere)) {
      ++m_upToDate;
    } else {
      m_works.push_back(std::move(work));
    }
  }
}

// Doing it -----------------------------------------------------------------------------------------------------------

int Batch::Run() {
  Prepare();
  std::vector<std::string> names;
  ListFiles(m_options.input, "", m_options.output, m_options.recursive, names);
  std::sort(names.begin(), names.end());
  BatchRecord record(m_options.output, DescribeCommand(m_options.command, m_options.input));
  Plan(names, record);
  int signal = 0;
  {
    Workers workers(m_options.jobs);
    Progress progress(m_works.size());
    signal = workers.Run([this] { return Next(); },
                         [&](std::size_t i, const WorkResult &result) { Done(m_works[i], result, record, progress); });
  }
  TellEnd(signal);
  if (signal != 0) Workers::EndBy(signal);
  return m_wrongUsage ? kWrongUsage : m_failed > 0;
}

std::optional<Work> Batch::Next() {
  // The same options are wrong for every picture.
  if (m_wrongUsage || m_begun == m_works.size()) return {};
  BatchWork &work = m_works[m_begun++];
  work.stamp = BatchRecord::StampOf(work.path);
  std::error_code ignored;  // the worker tells what is wrong with its place
  fs::create_directories(fs::path(work.results.front()).parent_path(), ignored);
  return Work{work.arguments, work.keepsOutput};
}

/// Puts the text that a verb printed into its file.
void WriteText(const std::string &text, const std::string &path) {
  WithFile(path, [&] {
    OutputFile output(path);
    output.File().Write(text.data(), static_cast<UINT>(text.size()));
    output.Commit();
  });
}

/// Why a work failed, in one line; empty for one that is well done.
std::string WhyFailed(const BatchWork &work, const WorkResult &result) {
  if (result.signal != 0)
    return Failure(work.path, std::string("the worker was ended: ") + strsignal(result.signal)).what();
  if (result.status != 0)
    return result.err.empty() ? Failure(work.path, "exit status " + std::to_string(result.status)).what() : result.err;
  try {
    if (work.keepsOutput) WriteText(result.out, work.results.front());
  } catch (const Failure &failure) {
    return failure.what();
  }
  for (const std::string &path : work.results)
    if (!fs::exists(path)) return Failure(work.path, "left no " + path).what();
  return {};
}

void Batch::Done(const BatchWork &work, const WorkResult &result, BatchRecord &record, Progress &progress) {
  const std::string why = WhyFailed(work, result);
  if (why.empty()) {
    record.Add(work.name, work.stamp);
    ++m_done;
    if (!result.err.empty()) {
      ++m_incomplete;
      m_messages.push_back(result.err);
    }
  } else if (result.status == kWrongUsage) {
    if (!m_wrongUsage) m_messages.push_back(why);
    m_wrongUsage = true;
  } else {
    Fail(why);
  }
  progress.Step(work.name + (why.empty() ? result.err.empty() ? "" : ": with a warning" : ": failed"));
}

void Batch::Fail(const std::string &message) {
  ++m_failed;
  m_messages.push_back(message);
}

void Batch::TellEnd(int signal) const {
  std::fflush(stdout);
  for (std::string message : m_messages) {
    if (message.rfind("qel: ", 0) != 0) message.insert(0, "qel: ");
    if (message.back() != '\n') message += '\n';
    std::fputs(message.c_str(), stderr);
  }
  if (m_wrongUsage) return;
  std::printf("%zu done", m_done);
  if (m_incomplete > 0) std::printf(" (%zu with a warning)", m_incomplete);
  const struct {
    std::size_t count;
    const char *what;
  } others[] = {{m_upToDate, "done before"}, {m_noPictures, "no pictures"}, {m_failed, "failed"}};
  for (const auto &other : others)
    if (other.count > 0) std::printf(", %zu %s", other.count, other.what);
  if (signal != 0) std::printf("; interrupted, the same command goes on from here");
  std::printf("\n");
  std::fflush(stdout);
}

}  // namespace

// The verb -----------------------------------------------------------------------------------------------------------

namespace {

int RunParsed(CLI::App &app, CLI::App &batch, Options &options) {
  options.command.arguments = batch.remaining();
  const CLI::Option *const quality = app.get_option("--quality");  // before the verb
  if (quality->count() > 0 && options.quality == 0) options.quality = quality->as<int>();
  if (options.quality > 0)
    options.command.arguments.insert(options.command.arguments.end(), {"--quality", std::to_string(options.quality)});
  if (app.get_subcommands([&](CLI::App *verb) { return verb->check_name(options.command.verb); }).empty())
    throw CLI::ValidationError("VERB", "there is no verb '" + options.command.verb + "'");
  CompleteCommand(options.command);
  return Batch(options).Run();
}

}  // namespace

void AddBatch(CLI::App &app, int &status) {
  auto options = std::make_shared<Options>();
  CLI::App *verb = app.add_subcommand("batch", "Runs a verb over all pictures of a folder, several at a time");
  verb->fallthrough(false);
  verb->allow_extras();
  verb->add_option("IN_DIR", options->input, "folder of the pictures")->required();
  verb->add_option("OUT_DIR", options->output, "folder of the results; made when it is not there")->required();
  verb->add_option(
          "VERB", options->command.verb,
          "what to do, with its options, and {in} {out} among them where the files do not just follow the verb "
          "({name}: the picture's name, {mask}: a second result)")
      ->required();
  verb->add_option("--jobs", options->jobs, "pictures at a time (default: one a processor)")
      ->check(CLI::Range(1, 1024))
      ->type_name("N");
  verb->add_option("--format", options->command.extension, "extension of the results (default: as the pictures)")
      ->check([](const std::string &text) {
        return NamesPicture("a." + text) ? "" : "'" + text + "' is the extension of no format that is written";
      })
      ->type_name("EXT");
  verb->add_option("--quality", options->quality, "see qel --help")->check(CLI::Range(1, 100))->type_name("N");
  verb->add_flag("--recursive", options->recursive, "take the folders inside too");
  verb->callback([&app, verb, options, &status] { status = RunParsed(app, *verb, *options); });
}

}  // namespace app
