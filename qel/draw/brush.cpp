// Brushes: plain colours, hatches drawn from tiles of 8 x 8 pixels, and patterns.

#include "qel/draw/brush.h"

#include "qel/draw/color_line.h"
#include "qel/draw/coordinates.h"
#include "qel/draw/draw.h"

IMPLEMENT_DYNAMIC(PBrush, PGDIObject)

namespace {

constexpr int kHatches = 6, kNoHatch = 101, kPatternSize = 128, kTileSize = 8;

/// A byte a row, most significant bit first; set bits take the foreground colour.
constexpr unsigned char kTiles[kHatches][kTileSize] = {
    {0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xFF},  // horizontal
    {0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01},  // vertical
    {0x80, 0x40, 0x20, 0x10, 0x08, 0x04, 0x02, 0x01},  // from the top left to the bottom right
    {0x01, 0x02, 0x04, 0x08, 0x10, 0x20, 0x40, 0x80},  // from the top right to the bottom left
    {0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0xFF},  // cross
    {0x81, 0x42, 0x24, 0x18, 0x18, 0x24, 0x42, 0x81},  // diagonal cross
};

}  // namespace

PBrush::PBrush() : m_poPattern(nullptr), m_ptOrigin{0, 0}, m_llForeColor(0), m_llBackColor(0), m_nShape(kHatches) {}

PBrush::~PBrush() {
  xLeaveContexts();
}

// Selection ----------------------------------------------------------------------------------------------------------

int PBrush::OnSelect(PQelDraw *pDraw) {
  if (!PGDIObject::OnSelect(pDraw)) return 0;
  if (xPreparePattern()) return 1;
  OnUnSelect(pDraw);
  return 0;
}

int PBrush::xPreparePattern() {
  if (m_poPattern == nullptr && m_nShape < kHatches) {
    if (!m_oHatch.CreateImage(m_poOwner->GetImageType(), kPatternSize, kPatternSize, 0, nullptr, 0, 0, 1, 0, 0)) {
      m_oHatch.DeleteImage(1);
      return 0;
    }
    m_oHatch.Clear(0);  // single pixels leave the fourth byte
    m_poPattern = &m_oHatch;
  }
  if (m_poPattern == nullptr) return 1;
  if (m_poPattern->GetBitCount() != m_nBitCount || (m_nShape < kHatches && !xBuildHatch())) return 0;
  m_poPattern->SetRepeat(0, 0);
  return 1;
}

int PBrush::xBuildHatch() {
  if (m_nShape == kNoHatch) return 0;
  if (m_nShape >= kHatches) return 1;
  if (m_poPattern == nullptr || m_nShape < 0) return 0;
  PQel &pattern = *m_poPattern;
  if (pattern.GetImageWidth() < kPatternSize || pattern.GetImageHeight() < kPatternSize) return 0;
  const int nBits = pattern.GetBitCount();
  const bool bReference = nBits == 24 || nBits == 32;
  const auto color = [=](long long ll) { return bReference ? qel::draw::ToolColor(nBits, ll) & 0xFFFFFFFF : ll; };
  const long long llFore = color(m_llForeColor), llBack = color(m_llBackColor);

  const int bRepeat = pattern.IsEnableRepeat();
  pattern.EnableRepeat(0);
  for (int y = 0; y < kTileSize; ++y)
    for (int x = 0; x < kTileSize; ++x)
      pattern.SetPixel(x, y, kTiles[m_nShape][y] >> (kTileSize - 1 - x) & 1 ? llFore : llBack);
  for (LONG n = kTileSize; n < kPatternSize; n *= 2) {
    RECT rc = {0, 0, n, kTileSize};
    POINT pt = {n, 0};
    pattern.CopyRect(&pattern, &pt, &rc);
  }
  for (LONG n = kTileSize; n < kPatternSize; n *= 2) {
    RECT rc = {0, 0, kPatternSize, n};
    POINT pt = {0, n};
    pattern.CopyRect(&pattern, &pt, &rc);
  }
  if (bRepeat) pattern.SetRepeat(0, 0);
  return 1;
}

// Settings -----------------------------------------------------------------------------------------------------------

int PBrush::SetStyle(int nStyle) {
  if (nStyle < 0) return 0;
  const int nBefore = m_nShape;
  m_nShape = nStyle;
  if (nStyle >= kHatches) {
    if (m_poPattern == &m_oHatch) m_poPattern = nullptr;
    return 1;
  }
  if (m_nSelectCount == 0) return 1;
  if ((m_poOwner != nullptr || m_poPattern != nullptr) && xPreparePattern()) return 1;
  m_nShape = nBefore;
  return 0;
}

int PBrush::SetColors(long long llForeColor, long long llBackColor) {
  m_llForeColor = llForeColor;
  m_llBackColor = llBackColor;
  return m_poPattern == nullptr || m_nShape >= kHatches || xBuildHatch();
}

int PBrush::SetOrigin(long x, long y) {
  m_ptOrigin = {qel::draw::Saturated(x), qel::draw::Saturated(y)};
  return 1;
}

int PBrush::SetPattern(PQel *pPattern) {
  if (pPattern != nullptr) {
    if (pPattern->IsEmpty() || (m_nSelectCount > 0 && pPattern->GetBitCount() != m_nBitCount)) return 0;
    pPattern->SetRepeat(0, 0);
  }
  m_poPattern = pPattern;
  m_nShape = kHatches;
  return 1;
}

// Lines --------------------------------------------------------------------------------------------------------------

int PBrush::GetColorLine(long x1, long x2, long y, BYTE *pLine) {
  if (pLine == nullptr || x2 < x1) return 0;
  if (m_poPattern != nullptr)
    return (m_nBitCount == 0 || m_poPattern->GetBitCount() == m_nBitCount) &&
           m_poPattern->GetHorLine(x1 + m_ptOrigin.x, x2 + m_ptOrigin.x, y + m_ptOrigin.y, pLine);
  if (m_nBitCount == 0) return 0;
  qel::draw::FillColorLine(pLine, m_nBitCount, x2 - x1 + 1, qel::draw::ToolColor(m_nBitCount, m_llForeColor));
  return 1;
}
