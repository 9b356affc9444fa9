// Fonts: faces of FreeType's, opened on first use and drawn in 1 bit with the hints for it.

#include "qel/platform/gdi/font.h"

#include <freetype/freetype.h>
#include <freetype/ftoutln.h>
#include <freetype/ftsynth.h>
#include <freetype/tttables.h>

#include <algorithm>

#include "qel/platform/gdi/font_match.h"
#include "qel/platform/gdi/font_object.h"

namespace qel::gdi {

namespace {

constexpr int kLargestSize = 16383;  // lines of such a font stay within FreeType's 16-bit coordinates
constexpr int kDefaultHeight = 16;

// Opening and closing faces is the one thing that FreeType does not do from several threads at a time.
std::mutex &FaceMutex() {
  static std::mutex &mutex = *new std::mutex;
  return mutex;
}

FT_Library Library() {
  static const FT_Library library = [] {
    FT_Library made = nullptr;
    return FT_Init_FreeType(&made) == 0 ? made : nullptr;
  }();
  return library;
}

// n x nNumerator / nDenominator, rounded.
int Scale(std::int64_t n, std::int64_t nNumerator, std::int64_t nDenominator) {
  const std::int64_t product = 2 * n * nNumerator + nDenominator;
  const std::int64_t quotient = product / (2 * nDenominator);
  return static_cast<int>(product < 0 && product % (2 * nDenominator) != 0 ? quotient - 1 : quotient);
}

const TT_OS2 *Os2Table(FT_Face face) {
  const auto *table = static_cast<const TT_OS2 *>(FT_Get_Sfnt_Table(face, FT_SFNT_OS2));
  return table != nullptr && table->version != 0xFFFF ? table : nullptr;
}

// Sizes in font units.
struct FaceMetrics {
  int nAscent, nDescent, nAverageWidth;
};

FaceMetrics Measure(FT_Face face) {
  FaceMetrics metrics = {face->ascender, -face->descender, face->units_per_EM / 2};
  if (const TT_OS2 *table = Os2Table(face)) {
    if (table->usWinAscent + table->usWinDescent > 0)
      metrics.nAscent = table->usWinAscent, metrics.nDescent = table->usWinDescent;
    if (table->xAvgCharWidth > 0) metrics.nAverageWidth = table->xAvgCharWidth;
  }
  metrics.nAscent = std::max(metrics.nAscent, 1);
  metrics.nDescent = std::max(metrics.nDescent, 0);
  return metrics;
}

}  // namespace

Font::~Font() {
  if (m_face == nullptr) return;
  std::lock_guard lock(FaceMutex());
  FT_Done_Face(m_face);
}

bool Font::Load() {
  if (m_face == nullptr && !m_bFailed) m_bFailed = !Open();
  return m_face != nullptr && !m_bFailed;
}

bool Font::Open() {
  const FontFile file = MatchFont(m_logFont);
  if (file.path.empty()) return false;
  m_bEmbolden = file.bEmbolden, m_bSlant = file.bSlant;
  {
    std::lock_guard lock(FaceMutex());
    if (Library() == nullptr || FT_New_Face(Library(), file.path.c_str(), file.nIndex, &m_face) != 0) {
      m_face = nullptr;
      return false;
    }
  }
  return FT_IS_SCALABLE(m_face) && m_face->units_per_EM > 0 && SetSize();
}

bool Font::SetSize() {
  const FaceMetrics metrics = Measure(m_face);
  const int nUnits = m_face->units_per_EM;
  if (m_logFont.lfHeight < 0) {
    m_nEm = -m_logFont.lfHeight;
    m_nAscent = FromUnits(metrics.nAscent);
    m_nDescent = FromUnits(metrics.nDescent);
  } else {
    // The line's height is exact; what rounding the em square leaves over goes to the ascent.
    const int nHeight = m_logFont.lfHeight > 0 ? m_logFont.lfHeight : kDefaultHeight;
    m_nEm = std::max(Scale(nHeight, nUnits, metrics.nAscent + metrics.nDescent), 1);
    m_nDescent = std::min(FromUnits(metrics.nDescent), nHeight);
    m_nAscent = nHeight - m_nDescent;
  }
  const int nWidth =
      m_logFont.lfWidth > 0 ? std::max(Scale(m_logFont.lfWidth, nUnits, metrics.nAverageWidth), 1) : m_nEm;
  return FT_Set_Pixel_Sizes(m_face, static_cast<FT_UInt>(nWidth), static_cast<FT_UInt>(m_nEm)) == 0;
}

int Font::FromUnits(int nUnits) const {
  return Scale(nUnits, m_nEm, m_face->units_per_EM);
}

Rule Font::Underline() const {
  const int nHeight = std::max(FromUnits(m_face->underline_thickness), 1);
  return {FromUnits(-m_face->underline_position) - nHeight / 2, nHeight};
}

Rule Font::StrikeOut() const {
  const TT_OS2 *table = Os2Table(m_face);
  if (table == nullptr) return {-m_nAscent / 3, std::max(m_nEm / 20, 1)};
  return {-FromUnits(table->yStrikeoutPosition), std::max(FromUnits(table->yStrikeoutSize), 1)};
}

// Glyphs -------------------------------------------------------------------------------------------------------------

bool Font::LoadGlyph(char32_t ch) {
  const FT_UInt nGlyph = FT_Get_Char_Index(m_face, ch);
  if (FT_Load_Glyph(m_face, nGlyph, FT_LOAD_TARGET_MONO | FT_LOAD_NO_BITMAP) != 0) return false;
  if (m_bEmbolden) FT_GlyphSlot_Embolden(m_face->glyph);
  if (m_bSlant) FT_GlyphSlot_Oblique(m_face->glyph);
  return true;
}

bool Font::Advance(char32_t ch, int *pAdvance) {
  if (!LoadGlyph(ch)) return false;
  *pAdvance = static_cast<int>((m_face->glyph->advance.x + 32) >> 6);
  return true;
}

bool Font::Draw(char32_t ch, Glyph *pGlyph) {
  if (!LoadGlyph(ch) || FT_Render_Glyph(m_face->glyph, FT_RENDER_MODE_MONO) != 0) return false;
  const FT_GlyphSlot slot = m_face->glyph;
  const FT_Bitmap &bitmap = slot->bitmap;
  *pGlyph = {slot->bitmap_left, slot->bitmap_top, static_cast<int>(bitmap.width), static_cast<int>(bitmap.rows),
             bitmap.pitch,      bitmap.buffer};
  return true;
}

}  // namespace qel::gdi

HFONT CreateFontIndirectA(const LOGFONTA *pLogFont) {
  constexpr LONG kLargest = qel::gdi::kLargestSize;
  if (pLogFont == nullptr || pLogFont->lfEscapement != 0 || pLogFont->lfHeight < -kLargest ||
      pLogFont->lfHeight > kLargest || pLogFont->lfWidth < 0 || pLogFont->lfWidth > kLargest)
    return nullptr;
  return static_cast<HFONT>(qel::gdi::Objects().Add(std::make_shared<qel::gdi::Font>(*pLogFont)));
}
