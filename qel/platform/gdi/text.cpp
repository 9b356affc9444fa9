// Text on device contexts: a line of characters is measured first, then set glyph by glyph, then ruled.

#include "qel/platform/gdi/text.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

#include "qel/platform/gdi/context.h"
#include "qel/platform/gdi/text_decode.h"

namespace qel::gdi {

namespace {

constexpr UINT kFormats = DT_CENTER | DT_RIGHT | DT_VCENTER | DT_BOTTOM | DT_SINGLELINE | DT_NOPREFIX;

struct Character {
  char32_t ch;
  bool bUnderlined;
  int nAdvance;
};

struct Line {
  std::vector<Character> characters;
  int nWidth = 0;
};

// Text to characters -------------------------------------------------------------------------------------------------

std::vector<Character> Characters(std::string_view text, bool bPrefix) {
  std::vector<Character> characters;
  bool bUnderlined = false;
  for (const char32_t ch : DecodeText(text)) {
    if (bPrefix && ch == U'&' && !bUnderlined) {
      bUnderlined = true;
      continue;
    }
    characters.push_back({ch < 0x20 || ch == 0x7F ? U' ' : ch, bUnderlined && ch != U'&', 0});
    bUnderlined = false;
  }
  return characters;
}

bool Measure(Font &font, std::vector<Character> characters, Line *pLine) {
  std::int64_t nWidth = 0;
  for (Character &character : characters) {
    if (!font.Advance(character.ch, &character.nAdvance)) return false;
    nWidth += character.nAdvance;
  }
  if (nWidth > std::numeric_limits<int>::max()) return false;
  *pLine = {std::move(characters), static_cast<int>(nWidth)};
  return true;
}

// Drawing ------------------------------------------------------------------------------------------------------------

// Coordinates of text may leave 32 bits before they are cut.
struct Box {
  std::int64_t left, top, right, bottom;
};

class Painter {
 public:
  Painter(Surface &surface, const RECT &rcClip, Pixel pixel) : m_surface(surface), m_pixel(pixel) {
    m_clip = {std::max(rcClip.left, 0), std::max(rcClip.top, 0), std::min(rcClip.right, surface.Width()),
              std::min(rcClip.bottom, surface.Height())};
  }

  void Fill(const Box &box, Pixel pixel) {
    const RECT rc = Cut(box);
    if (rc.left < rc.right) m_surface.Fill(rc, pixel);
  }
  void Fill(const Box &box) { Fill(box, m_pixel); }

  void Set(const Glyph &glyph, std::int64_t nLeft, std::int64_t nTop) {
    const RECT rc = Cut({nLeft, nTop, nLeft + glyph.nWidth, nTop + glyph.nRows});
    if (rc.left >= rc.right) return;
    for (int y = rc.top; y < rc.bottom; ++y)
      m_surface.PaintBits(rc.left, y, rc.right - rc.left, glyph.pBits + (y - nTop) * glyph.lPitch,
                          static_cast<long>(rc.left - nLeft), m_pixel);
  }

 private:
  RECT Cut(const Box &box) const {
    const auto cut = [](std::int64_t n, LONG nLow, LONG nHigh) {
      return static_cast<LONG>(std::clamp<std::int64_t>(n, nLow, std::max(nLow, nHigh)));
    };
    return {cut(box.left, m_clip.left, m_clip.right), cut(box.top, m_clip.top, m_clip.bottom),
            cut(box.right, m_clip.left, m_clip.right), cut(box.bottom, m_clip.top, m_clip.bottom)};
  }

  Surface &m_surface;
  const Pixel m_pixel;
  RECT m_clip;
};

// Where the line starts: the rest of the room before it, halved towards zero, or all of it.
std::int64_t Start(LONG nLow, LONG nHigh, int nExtent, bool bCentre, bool bEnd) {
  const std::int64_t nRest = std::int64_t{nHigh} - nLow - nExtent;
  return nLow + (bCentre ? nRest / 2 : bEnd ? nRest : 0);
}

bool DrawLine(Painter &painter, Font &font, const Line &line, std::int64_t x, std::int64_t nBase) {
  const auto rule = [&](const Rule &r, int nWidth) {
    painter.Fill({x, nBase + r.nTop, x + nWidth, nBase + r.nTop + r.nHeight});
  };
  const LOGFONTA &description = font.Description();
  for (const Character &character : line.characters) {
    Glyph glyph;
    if (!font.Draw(character.ch, &glyph)) return false;
    painter.Set(glyph, x + glyph.nLeft, nBase - glyph.nTop);
    if (description.lfUnderline || character.bUnderlined) rule(font.Underline(), character.nAdvance);
    if (description.lfStrikeOut) rule(font.StrikeOut(), character.nAdvance);
    x += character.nAdvance;
  }
  return true;
}

}  // namespace

}  // namespace qel::gdi

using namespace qel::gdi;

// Colours ------------------------------------------------------------------------------------------------------------

COLORREF SetTextColor(HDC hDC, COLORREF rgb) {
  const auto dc = Contexts().Find(hDC);
  return dc != nullptr ? SwapRedBlue(std::exchange(dc->m_textColour, SwapRedBlue(rgb))) : GDI_ERROR;
}

COLORREF SetBkColor(HDC hDC, COLORREF rgb) {
  const auto dc = Contexts().Find(hDC);
  return dc != nullptr ? SwapRedBlue(std::exchange(dc->m_bkColour, SwapRedBlue(rgb))) : GDI_ERROR;
}

int SetBkMode(HDC hDC, int nMode) {
  const auto dc = Contexts().Find(hDC);
  if (dc == nullptr || (nMode != TRANSPARENT && nMode != OPAQUE)) return 0;
  return std::exchange(dc->m_nBkMode, nMode);
}

// Lines --------------------------------------------------------------------------------------------------------------

BOOL GetTextExtentPointA(HDC hDC, const char *pText, int nCount, SIZE *pSize) {
  const auto dc = Contexts().Find(hDC);
  if (dc == nullptr || pText == nullptr || nCount < 0 || pSize == nullptr) return FALSE;
  Font &font = *dc->m_font;
  std::lock_guard lock(font.m_mutex);
  Line line;
  if (!font.Load() || !Measure(font, Characters({pText, static_cast<size_t>(nCount)}, false), &line)) return FALSE;
  *pSize = {line.nWidth, font.Height()};
  return TRUE;
}

int DrawTextA(HDC hDC, const char *pText, int nCount, RECT *pRect, UINT nFormat) {
  const auto dc = Contexts().Find(hDC);
  if (dc == nullptr || dc->Target() == nullptr || pText == nullptr || nCount < -1 || pRect == nullptr ||
      (nFormat & ~kFormats) != 0 || (nFormat & DT_SINGLELINE) == 0)
    return 0;
  Font &font = *dc->m_font;
  std::lock_guard lock(font.m_mutex);
  const std::string_view text(pText, nCount < 0 ? std::strlen(pText) : static_cast<size_t>(nCount));
  Line line;
  if (!font.Load() || !Measure(font, Characters(text, (nFormat & DT_NOPREFIX) == 0), &line)) return 0;
  const int nHeight = font.Height();
  const std::int64_t x = Start(pRect->left, pRect->right, line.nWidth, nFormat & DT_CENTER, nFormat & DT_RIGHT);
  const std::int64_t y = Start(pRect->top, pRect->bottom, nHeight, nFormat & DT_VCENTER, nFormat & DT_BOTTOM);
  const Shown shown = dc->TargetColours();
  Painter painter(*dc->Target(), *pRect, shown.Colour(dc->m_textColour));
  if (dc->m_nBkMode == OPAQUE) painter.Fill({x, y, x + line.nWidth, y + nHeight}, shown.Colour(dc->m_bkColour));
  return DrawLine(painter, font, line, x, y + font.Ascent()) ? nHeight : 0;
}
