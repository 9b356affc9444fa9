// Text against FreeType itself: every pixel of a line, its place, its extent; what stands in for missing faces and
// bytes.

#include "qel/platform/gdi/text.h"

#include <freetype/freetype.h>
#include <freetype/tttables.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "qel/platform/gdi/bitmap.h"
#include "qel/platform/gdi/blit.h"
#include "qel/platform/gdi/font_match.h"
#include "qel/platform/gdi/text_decode.h"
#include "qel/platform/mfc/dc.h"
#include "qel/platform/mfc/font.h"
#include "qel/platform/screen.h"

namespace {

LOGFONTA Description(int nHeight, const char *pszFace = "DejaVu Sans") {
  LOGFONTA description = {};
  description.lfHeight = nHeight;
  std::strncpy(description.lfFaceName, pszFace, sizeof description.lfFaceName);
  return description;
}

using Ink = std::set<std::pair<int, int>>;  // row, column

// What FreeType makes of a line whose pen starts at (0, 0).
struct Expected {
  Ink ink;
  int nWidth = 0;
  int nAscent = 0, nDescent = 0;
};

Expected Typeset(const std::u32string &text, const LOGFONTA &description) {
  FT_Library library;
  FT_Face face;
  EXPECT_EQ(FT_Init_FreeType(&library), 0);
  EXPECT_EQ(FT_New_Face(library, qel::gdi::MatchFont(description).path.c_str(), 0, &face), 0);
  FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(-description.lfHeight));
  const auto *table = static_cast<const TT_OS2 *>(FT_Get_Sfnt_Table(face, FT_SFNT_OS2));
  const auto scaled = [&](int units) { return std::lround(-1.0 * units * description.lfHeight / face->units_per_EM); };
  Expected expected;
  expected.nAscent = static_cast<int>(scaled(table->usWinAscent));
  expected.nDescent = static_cast<int>(scaled(table->usWinDescent));
  for (const char32_t ch : text) {
    EXPECT_EQ(FT_Load_Char(face, ch, FT_LOAD_TARGET_MONO | FT_LOAD_RENDER), 0);
    const FT_GlyphSlot slot = face->glyph;
    for (int y = 0; y < static_cast<int>(slot->bitmap.rows); ++y)
      for (int x = 0; x < static_cast<int>(slot->bitmap.width); ++x)
        if (slot->bitmap.buffer[y * slot->bitmap.pitch + x / 8] & 0x80 >> x % 8)
          expected.ink.insert({y - slot->bitmap_top, expected.nWidth + slot->bitmap_left + x});
    expected.nWidth += static_cast<int>(slot->advance.x >> 6);
  }
  FT_Done_Face(face);
  FT_Done_FreeType(library);
  return expected;
}

// A white sheet of a depth (0: a monochrome bitmap) to write on in black.
class Sheet {
 public:
  Sheet(int nDepth, int nWidth, int nHeight) : m_nWidth(nWidth), m_nHeight(nHeight) {
    SetScreenMode({nDepth == 0 ? 32 : nDepth, 1, 640, 480, 96, 96});
    dc.Attach(CreateCompatibleDC(nullptr));
    const HDC hScreen = GetDC(nullptr);
    m_hBitmap =
        nDepth == 0 ? CreateBitmap(nWidth, nHeight, 1, 1, nullptr) : CreateCompatibleBitmap(hScreen, nWidth, nHeight);
    ReleaseDC(nullptr, hScreen);
    m_hFirst = SelectObject(dc, m_hBitmap);
    const RECT rc = {0, 0, nWidth, nHeight};
    FillRect(dc, &rc, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
    SetScreenMode({32, 1, 1920, 1080, 96, 96});
  }
  ~Sheet() {
    SelectObject(dc, m_hFirst);
    DeleteObject(m_hBitmap);
  }

  int Write(const LOGFONTA &description, const std::string &text, RECT rc, UINT nFormat = 0x25) {
    CFont font;
    if (!font.CreateFontIndirect(&description)) return -1;
    const HGDIOBJ hOld = SelectObject(dc, font);
    const int nDrawn = dc.DrawText(text.c_str(), -1, &rc, nFormat);
    EXPECT_EQ(SelectObject(dc, hOld), font.m_hObject);
    return nDrawn;
  }

  Ink Read(COLORREF rgb = 0) const {
    Ink ink;
    for (int y = 0; y < m_nHeight; ++y)
      for (int x = 0; x < m_nWidth; ++x)
        if (GetPixel(dc, x, y) == rgb) ink.insert({y, x});
    return ink;
  }

  CDC dc;

 private:
  const int m_nWidth, m_nHeight;
  HBITMAP m_hBitmap;
  HGDIOBJ m_hFirst;
};

SIZE Extent(const LOGFONTA &description, const char *pText, int nCount) {
  CDC dc;
  dc.Attach(CreateCompatibleDC(nullptr));
  CFont font;
  EXPECT_TRUE(font.CreateFontIndirect(&description));
  const HGDIOBJ hOld = SelectObject(dc, font);
  SIZE size = {-1, -1};
  EXPECT_TRUE(GetTextExtentPointA(dc, pText, nCount, &size));
  SelectObject(dc, hOld);
  return size;
}

TEST(TextTest, LinesAreFreeTypesOwnPixelsCentredAndCut) {
  const std::u32string text = U"Hág\u20ACj \u041Fq";
  const std::string bytes = "H\xC3\xA1g\xE2\x82\xACj \xD0\x9Fq";
  for (const int nEm : {9, 16, 40, 133}) {
    const LOGFONTA description = Description(-nEm);
    const Expected expected = Typeset(text, description);
    const SIZE size = Extent(description, bytes.c_str(), static_cast<int>(bytes.size()));
    EXPECT_EQ(size.cx, expected.nWidth);
    EXPECT_EQ(size.cy, expected.nAscent + expected.nDescent);
    for (const int nDepth : {0, 1, 4, 8, 16, 32})
      for (const RECT &rc : {RECT{3, 2, 300, 180}, RECT{20, 10, 41, 33}}) {
        Sheet sheet(nDepth, 310, 190);
        ASSERT_EQ(sheet.Write(description, bytes, rc), size.cy);
        const int x0 = rc.left + (rc.right - rc.left - size.cx) / 2, y0 = rc.top + (rc.bottom - rc.top - size.cy) / 2;
        Ink wanted;
        for (const auto &[y, x] : expected.ink) {
          const int px = x + x0, py = y + y0 + expected.nAscent;
          if (px >= rc.left && px < rc.right && py >= rc.top && py < rc.bottom) wanted.insert({py, px});
        }
        ASSERT_EQ(sheet.Read(), wanted) << nEm << " pixels, depth " << nDepth << ", left " << rc.left;
      }
  }
}

TEST(TextTest, HeightsWidthsAndStylesAreObeyed) {
  for (const int nHeight : {1, 7, 16, 50, 333}) EXPECT_EQ(Extent(Description(nHeight), "A", 1).cy, nHeight);
  EXPECT_EQ(Extent(Description(0), "A", 0).cx * 100 + Extent(Description(0), "A", 1).cy, 16);
  LOGFONTA wide = Description(50);
  const int nNatural = Extent(wide, "nnnnnnnn", 8).cx;
  wide.lfWidth = 60;
  EXPECT_GT(Extent(wide, "nnnnnnnn", 8).cx, 8 * 50);
  EXPECT_LT(nNatural, 8 * 40);
  const auto ink = [](auto change) {
    LOGFONTA description = Description(-60, "DejaVu Sans Mono");
    change(description);
    Sheet sheet(0, 200, 100);
    EXPECT_GT(sheet.Write(description, "HIl", {0, 0, 200, 100}), 0);
    return sheet.Read();
  };
  const Ink plain = ink([](LOGFONTA &) {});
  EXPECT_GT(ink([](LOGFONTA &d) { d.lfWeight = 700; }).size(), plain.size() * 5 / 4);
  EXPECT_NE(ink([](LOGFONTA &d) { d.lfItalic = 1; }), plain);
  for (const bool bUnderline : {true, false}) {  // a full run of pixels below the base line, or through the middle
    const Ink ruled = ink([=](LOGFONTA &d) { (bUnderline ? d.lfUnderline : d.lfStrikeOut) = 1; });
    EXPECT_GT(ruled.size(), plain.size());
    int nFull = 0;
    for (int y = 0; y < 100; ++y) {
      const auto first = ruled.lower_bound({y, 0}), last = ruled.lower_bound({y + 1, 0});
      if (std::distance(first, last) == Extent(Description(-60, "DejaVu Sans Mono"), "HIl", 3).cx) {
        ++nFull;
        EXPECT_EQ(plain.lower_bound({y, 0}) == plain.end(), bUnderline);
      }
    }
    EXPECT_GT(nFull, 0);
  }
}

TEST(TextTest, AmpersandsUnderlineUnlessToldOtherwise) {
  const LOGFONTA description = Description(-30);
  const RECT rc = {0, 0, 200, 60};
  const auto ink = [&](const char *psz, UINT nFormat) {
    Sheet sheet(0, 200, 60);
    EXPECT_GT(sheet.Write(description, psz, rc, nFormat | DT_SINGLELINE), 0);
    return sheet.Read();
  };
  EXPECT_EQ(ink("a&&b", 0), ink("a&b", DT_NOPREFIX));
  EXPECT_GT(ink("&ab", 0).size(), ink("ab", 0).size());
  EXPECT_EQ(ink("a\tb\n", 0), ink("a b ", 0));
  EXPECT_NE(ink("ab", DT_RIGHT | DT_BOTTOM), ink("ab", 0));
  Sheet sheet(0, 20, 20);
  EXPECT_EQ(sheet.Write(description, "a", rc, 0), 0);                     // several lines
  EXPECT_EQ(sheet.Write(description, "a", rc, DT_SINGLELINE | 0x10), 0);  // word breaks
  EXPECT_TRUE(sheet.Read().empty());
  LOGFONTA slanted = description;
  slanted.lfEscapement = 900;
  EXPECT_EQ(CreateFontIndirectA(&slanted), nullptr);
  const LOGFONTA huge = Description(INT32_MIN);
  EXPECT_EQ(CreateFontIndirectA(&huge), nullptr);
  EXPECT_EQ(CreateFontIndirectA(nullptr), nullptr);
  SIZE size;
  EXPECT_FALSE(GetTextExtentPointA(sheet.dc, nullptr, 0, &size) || GetTextExtentPointA(sheet.dc, "", -1, &size) ||
               GetTextExtentPointA(nullptr, "", 0, &size));
}

TEST(TextTest, BackgroundsAreFilledWhenOpaque) {
  const RECT rc = {0, 0, 100, 50};
  for (const int nMode : {TRANSPARENT, OPAQUE}) {
    Sheet sheet(24, 100, 50);
    SetTextColor(sheet.dc, RGB(9, 8, 7));
    SetBkColor(sheet.dc, RGB(200, 1, 2));
    EXPECT_EQ(SetBkMode(sheet.dc, nMode), OPAQUE);
    const SIZE size = Extent(Description(20), "Ab", 2);
    ASSERT_EQ(sheet.Write(Description(20), "Ab", rc), 20);
    const size_t nInk = sheet.Read(RGB(9, 8, 7)).size();
    EXPECT_GT(nInk, 20u);
    EXPECT_EQ(sheet.Read(RGB(200, 1, 2)).size(), nMode == OPAQUE ? static_cast<size_t>(size.cx * 20) - nInk : 0);
  }
}

TEST(TextTest, MissingFacesAreReplacedAndSaidOnce) {
  testing::internal::CaptureStderr();
  const SIZE size = Extent(Description(30, "No Such Face 7"), "A", 1);
  Extent(Description(90, "No Such Face 7"), "A", 1);
  Extent(Description(30, "dejavu sans"), "A", 1);
  Extent(Description(30, "serif"), "A", 1);
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_EQ(said.rfind("font \"No Such Face 7\" is not installed: \"", 0), 0u) << said;
  EXPECT_EQ(said.find('\n'), said.size() - 1) << said;
  EXPECT_GT(size.cx, 0);
  LOGFONTA description = Description(20, "");
  std::memset(description.lfFaceName, 'q', sizeof description.lfFaceName);  // without an end
  testing::internal::CaptureStderr();
  Extent(description, "A", 1);
  EXPECT_NE(testing::internal::GetCapturedStderr().find("\"" + std::string(32, 'q') + "\""), std::string::npos);
}

TEST(TextTest, BytesThatAreNotUtf8AreWindows1252) {
  const std::vector<std::pair<std::string, std::u32string>> kCases = {
      {"a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", U"aä\u20AC\U0001F600"},
      {"\xE4g\x80\x9F", U"äg\u20AC\u0178"},
      {"\xC0\xAF", {0xC0, 0xAF}},                          // overlong
      {"\xED\xA0\x80", {0xED, 0xA0, 0x20AC}},              // a surrogate
      {"\xF4\x90\x80\x80", {0xF4, 0x90, 0x20AC, 0x20AC}},  // beyond the last character
      {"\xE2\x82", {0xE2, 0x201A}},                        // cut short
      {"\xE2\x82\xC3\xA4", {0xE2, 0x201A, 0xE4}},          // goes on with a sound one
      {"\xFF\xF8\x81", {0xFF, 0xF8, 0x81}},
      {"\xEF\xBF\xBF\xC2\x80", {0xFFFF, 0x80}}};
  for (const auto &[bytes, characters] : kCases) EXPECT_EQ(qel::gdi::DecodeText(bytes), characters) << bytes;
}

}  // namespace
