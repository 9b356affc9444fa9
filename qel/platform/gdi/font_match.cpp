// Which font file serves a description: fontconfig's answer, remembered for each name and style.

#include "qel/platform/gdi/font_match.h"

#include <fontconfig/fontconfig.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <tuple>
#include <utility>

namespace qel::gdi {

namespace {

constexpr int kBoldFrom = 600;  // weights from here on are drawn bolder when the face is not
constexpr BYTE kFixedPitch = 1, kRoman = 0x10, kModern = 0x30;

struct ReleasePattern {
  void operator()(FcPattern *p) const { FcPatternDestroy(p); }
};
using Pattern = std::unique_ptr<FcPattern, ReleasePattern>;

// What decides about the file.
struct Wanted {
  std::string name;
  const char *pszFamily;  // in place of the name
  int nWeight;
  bool bItalic;

  auto Key() const { return std::tuple(name, std::string(pszFamily), nWeight, bItalic); }
};

const FcChar8 *Text(const char *psz) {
  return reinterpret_cast<const FcChar8 *>(psz);
}

Wanted WantedFont(const LOGFONTA &logFont) {
  Wanted wanted;
  wanted.name.assign(logFont.lfFaceName, strnlen(logFont.lfFaceName, sizeof logFont.lfFaceName));
  const BYTE byFamily = logFont.lfPitchAndFamily & 0xF0;
  const bool bFixed = (logFont.lfPitchAndFamily & 3) == kFixedPitch || byFamily == kModern;
  wanted.pszFamily = bFixed ? "monospace" : byFamily == kRoman ? "serif" : "sans-serif";
  wanted.nWeight = logFont.lfWeight < 1 ? 400 : logFont.lfWeight > 1000 ? 1000 : logFont.lfWeight;
  wanted.bItalic = logFont.lfItalic != 0;
  return wanted;
}

FcConfig *g_pConfig = nullptr;

// The system's font settings in an instance of our own, so that it can be given back at exit whoever else uses
// fontconfig in this process. Null afterwards.
FcConfig *Config() {
  static const bool bLoaded = [] {
    g_pConfig = FcInitLoadConfigAndFonts();
    return g_pConfig != nullptr && std::atexit([] { FcConfigDestroy(std::exchange(g_pConfig, nullptr)); }) == 0;
  }();
  return bLoaded ? g_pConfig : nullptr;
}

Pattern Match(const Wanted &wanted) {
  FcConfig *const pConfig = Config();
  const Pattern pattern(FcPatternCreate());
  if (pConfig == nullptr || pattern == nullptr) return nullptr;
  if (!wanted.name.empty()) FcPatternAddString(pattern.get(), FC_FAMILY, Text(wanted.name.c_str()));
  FcPatternAddString(pattern.get(), FC_FAMILY, Text(wanted.pszFamily));
  FcPatternAddInteger(pattern.get(), FC_WEIGHT, FcWeightFromOpenType(wanted.nWeight));
  FcPatternAddInteger(pattern.get(), FC_SLANT, wanted.bItalic ? FC_SLANT_ITALIC : FC_SLANT_ROMAN);
  FcPatternAddBool(pattern.get(), FC_SCALABLE, FcTrue);
  FcPatternAddBool(pattern.get(), FC_OUTLINE, FcTrue);
  FcConfigSubstitute(pConfig, pattern.get(), FcMatchPattern);
  FcDefaultSubstitute(pattern.get());
  FcResult result;
  return Pattern(FcFontMatch(pConfig, pattern.get(), &result));
}

bool HasName(FcPattern *pPattern, const char *pszProperty, const std::string &name) {
  FcChar8 *pFound = nullptr;
  for (int i = 0; FcPatternGetString(pPattern, pszProperty, i, &pFound) == FcResultMatch; ++i)
    if (FcStrCmpIgnoreCase(pFound, Text(name.c_str())) == 0) return true;
  return false;
}

// An empty name and the names of whole families are no faces that could be missing.
bool IsAnyFace(const std::string &name) {
  for (const char *psz : {"", "sans", "sans-serif", "serif", "mono", "monospace"})
    if (FcStrCmpIgnoreCase(Text(name.c_str()), Text(psz)) == 0) return true;
  return false;
}

void TellReplaced(const std::string &name, FcPattern *pFound) {
  FcChar8 *pFamily = nullptr;
  if (FcPatternGetString(pFound, FC_FAMILY, 0, &pFamily) != FcResultMatch) return;
  std::fprintf(stderr, "font \"%s\" is not installed: \"%s\" takes its place\n", name.c_str(),
               reinterpret_cast<const char *>(pFamily));
}

FontFile FileOf(const Wanted &wanted, FcPattern *pFound) {
  FontFile file;
  FcChar8 *pPath = nullptr;
  if (FcPatternGetString(pFound, FC_FILE, 0, &pPath) != FcResultMatch) return file;
  file.path = reinterpret_cast<const char *>(pPath);
  FcPatternGetInteger(pFound, FC_INDEX, 0, &file.nIndex);
  file.nIndex &= 0xFFFF;  // above: a named instance of a variable font, which has no size of its own here
  int nWeight = FC_WEIGHT_REGULAR, nSlant = FC_SLANT_ROMAN;
  FcPatternGetInteger(pFound, FC_WEIGHT, 0, &nWeight);
  FcPatternGetInteger(pFound, FC_SLANT, 0, &nSlant);
  file.bEmbolden = wanted.nWeight >= kBoldFrom && nWeight <= FC_WEIGHT_MEDIUM;
  file.bSlant = wanted.bItalic && nSlant == FC_SLANT_ROMAN;
  return file;
}

}  // namespace

FontFile MatchFont(const LOGFONTA &logFont) {
  using Known = std::map<decltype(Wanted().Key()), FontFile>;
  static std::mutex &mutex = *new std::mutex;
  static Known &known = *new Known;
  static auto &told = *new std::map<std::string, bool>;
  const Wanted wanted = WantedFont(logFont);
  std::lock_guard lock(mutex);
  const auto it = known.find(wanted.Key());
  if (it != known.end()) return it->second;
  const Pattern found = Match(wanted);
  if (found == nullptr) return {};
  const bool bReplaced = !IsAnyFace(wanted.name) && !HasName(found.get(), FC_FAMILY, wanted.name) &&
                         !HasName(found.get(), FC_FULLNAME, wanted.name);
  if (bReplaced && told.emplace(wanted.name, true).second) TellReplaced(wanted.name, found.get());
  return known[wanted.Key()] = FileOf(wanted, found.get());
}

}  // namespace qel::gdi
