// A quality travels to a format library in the settings file alone. So that one command does not change what the user
// has set for all programs, it gets a settings folder of its own meanwhile.
#include "apps/qel/quality.h"

#include <cstdlib>
#include <filesystem>

#include "apps/qel/failure.h"
#include "qel/platform/kernel/profile.h"

namespace app {
namespace {

constexpr char kVariable[] = "XDG_CONFIG_HOME";

int g_quality = 0;  // 0: not given

}  // namespace

void AddQuality(CLI::App &app) {
  app.add_option("--quality", g_quality,
                 "of the JPEG and WebP files written, 1 to 100 (default: as set, else JPEG 75, WebP "
                 "without loss)")
      ->check(CLI::Range(1, 100));
}

QualityInSettings::QualityInSettings() {
  if (g_quality == 0) return;
  m_folder = (std::filesystem::temp_directory_path() / "qel-settings-XXXXXX").string();
  if (mkdtemp(m_folder.data()) == nullptr) throw Failure(m_folder, "cannot be made");
  if (const char *const before = std::getenv(kVariable)) m_before = before;
  setenv(kVariable, m_folder.c_str(), 1);
  for (const char *const section : {"JPEG", "WEBP"})
    WritePrivateProfileStringA(section, "QFACTOR", std::to_string(g_quality).c_str(), "zulall.ini");
}

QualityInSettings::~QualityInSettings() {
  if (m_folder.empty()) return;
  std::error_code ignored;
  std::filesystem::remove_all(m_folder, ignored);
  m_before.empty() ? unsetenv(kVariable) : setenv(kVariable, m_before.c_str(), 1);
}

}  // namespace app
