// Most verbs take IN and OUT right behind their name, some print what they find, and some need more files than a batch
// can guess. Those get them by way of marks.
#include "apps/qel/batch_works.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <map>

namespace app {
namespace {

namespace fs = std::filesystem;

constexpr const char *kIn = "{in}", *kName = "{name}", *kOut = "{out}", *kMask = "{mask}";

/// The files that follow the name of a verb.
const std::map<std::string, std::vector<std::string>> kFiles = {
    {"blur", {kIn, kOut}},        {"border", {kIn}}, {"bounds", {kIn}},       {"convert", {kIn, kOut}},
    {"gallery", {kIn, kOut}},     {"info", {kIn}},   {"palette", {kIn}},      {"resize", {kIn, kOut}},
    {"mask", {kIn, kOut, kMask}}, {"compare", {}},   {"rotate", {kIn, kOut}}, {"turn", {kIn, kOut}},
    {"text", {kIn, kOut}},
};

/// Verbs whose result is what they print, unless a file for it is named.
bool Prints(const std::string &verb) {
  for (const char *printing : {"border", "bounds", "compare", "info", "palette"})
    if (verb == printing) return true;
  return false;
}

bool Mentions(const BatchCommand &command, const std::string &mark) {
  return std::any_of(command.arguments.begin(), command.arguments.end(),
                     [&mark](const std::string &argument) { return argument.find(mark) != std::string::npos; });
}

void ReplaceAll(std::string &text, const std::string &mark, const std::string &with) {
  for (std::size_t at = 0; (at = text.find(mark, at)) != std::string::npos; at += with.size())
    text.replace(at, mark.size(), with);
}

}  // namespace

void CompleteCommand(BatchCommand &command) {
  const bool named = Mentions(command, kIn) || Mentions(command, kOut);
  if (const auto files = kFiles.find(command.verb); files != kFiles.end() && !named)
    command.arguments.insert(command.arguments.begin(), files->second.begin(), files->second.end());
  const bool hasResult = Mentions(command, kOut);
  command.keepsOutput = !hasResult && Prints(command.verb);
  if (!Mentions(command, kIn) || (!hasResult && !command.keepsOutput))
    throw CLI::ValidationError("VERB", "'" + command.verb + "' needs " +
                                           (Prints(command.verb) ? "{in}" : "{in} and {out}") + " among its arguments");
}

BatchWork MakeWork(const BatchCommand &command, const std::string &name, const std::string &path,
                   const std::string &folder) {
  const fs::path place = fs::path(folder) / name;
  const std::string extension = command.extension.empty() ? place.extension().string() : '.' + command.extension;
  const fs::path stem = place.parent_path() / place.stem();
  const std::string out = stem.string() + extension, mask = stem.string() + "-mask" + extension;

  BatchWork work{name, path, {command.verb}, {}, command.keepsOutput, {}};
  for (std::string argument : command.arguments) {
    // Names of files may hold a mark themselves; each argument has one file at most.
    for (const auto &[mark, file] : {std::pair{kIn, path}, {kName, name}, {kOut, out}, {kMask, mask}})
      if (argument.find(mark) != std::string::npos) {
        ReplaceAll(argument, mark, file);
        break;
      }
    work.arguments.push_back(std::move(argument));
  }
  if (command.keepsOutput)
    work.results.push_back(place.string() + ".txt");
  else
    work.results.push_back(out);
  if (Mentions(command, kMask)) work.results.push_back(mask);
  return work;
}

std::vector<std::string> DescribeCommand(const BatchCommand &command, const std::string &folder) {
  std::vector<std::string> description{fs::weakly_canonical(folder).string(), '.' + command.extension, command.verb};
  description.insert(description.end(), command.arguments.begin(), command.arguments.end());
  return description;
}

}  // namespace app
