// The option --quality of the command line.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace app {

/// Adds --quality, which holds for every verb.
void AddQuality(CLI::App &app);

/// While this lives, format libraries find the quality of --quality in the settings, when it was given. The user's own
/// settings stay as they are.
class QualityInSettings {
 public:
  QualityInSettings();
  ~QualityInSettings();
  QualityInSettings(const QualityInSettings &) = delete;
  QualityInSettings &operator=(const QualityInSettings &) = delete;

 private:
  std::string m_folder;  // of settings of our own; empty: none were made
  std::string m_before;  // $XDG_CONFIG_HOME; empty: none
};

}  // namespace app
