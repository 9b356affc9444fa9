// Shields: the rules, and the mask that is made of them row by row.

#include "qel/draw/shield.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "qel/draw/draw.h"
#include "qel/lines/hsl.h"

IMPLEMENT_DYNAMIC(PShield, PGDIObject)

namespace {

constexpr WORD kColor = 1, kBox = 2, kHue = 3, kLightness = 4;
constexpr int kGrays = 360, kMonochrome = 0;

unsigned char Bound(long n) {
  return static_cast<unsigned char>(std::clamp(n, 0L, 255L));
}

/// The colours that a rule of the first two kinds names.
qel::lines::ColorBox BoxOf(const ShieldRule &rule) {
  const long t = rule.m_wKind == kBox ? rule.m_wTolerance : 0;
  const long channels[3] = {GetBValue(rule.m_dwValue), GetGValue(rule.m_dwValue), GetRValue(rule.m_dwValue)};
  qel::lines::ColorBox box;
  for (int c = 0; c < 3; ++c) box.low[c] = Bound(channels[c] - t), box.high[c] = Bound(channels[c] + t);
  return box;
}

}  // namespace

// Life and selection -------------------------------------------------------------------------------------------------

PShield::PShield() : m_bUseHsl(0), m_aRule{}, m_poMask(nullptr) {}

PShield::~PShield() {
  xLeaveContexts();
  xDeleteMask();
}

void PShield::xDeleteMask() {
  delete m_poMask;
  m_poMask = nullptr;
}

int PShield::xCreateMask() {
  xDeleteMask();
  auto mask = std::make_unique<PQel>();
  if (!mask->CreateImage(kMonochrome, m_poOwner->GetImageWidth(), m_poOwner->GetImageHeight(), 0, nullptr, 0, 0, 1, 0,
                         0))
    return 0;
  m_poMask = mask.release();
  return 1;
}

int PShield::OnSelect(PQelDraw *pDraw) {
  if (!PGDIObject::OnSelect(pDraw)) return 0;
  if (m_nSelectCount > 1) return 1;
  if (xCreateMask() && Update(1)) return 1;
  OnUnSelect(pDraw);
  return 0;
}

int PShield::OnUnSelect(PQelDraw *pDraw) {
  PGDIObject::OnUnSelect(pDraw);
  if (m_nSelectCount == 0) xDeleteMask();
  return 1;
}

// Rules --------------------------------------------------------------------------------------------------------------

int PShield::SetRule(int nIndex, WORD wKind, DWORD dwValue, WORD wTolerance) {
  if (nIndex < 0 || nIndex >= kRules || wKind > kLightness) return 0;
  if (wKind == kHue && dwValue > kGrays) return 0;
  m_aRule[nIndex] = {wKind, dwValue, wTolerance};
  return xTakeRules();
}

int PShield::ClearRules() {
  std::fill(m_aRule, m_aRule + kRules, ShieldRule{});
  return xTakeRules();
}

int PShield::xTakeRules() {
  m_bUseHsl = std::any_of(m_aRule, m_aRule + kRules,
                          [](const ShieldRule &rule) { return rule.m_wKind == kHue || rule.m_wKind == kLightness; });
  return m_poOwner == nullptr || Update(1);
}

// Mask ---------------------------------------------------------------------------------------------------------------

int PShield::Update(int bWhole) {
  if (m_poOwner == nullptr || m_poOwner->IsEmpty()) {
    xDeleteMask();
    return 1;
  }
  PQelDraw &image = *m_poOwner;
  const long lWidth = image.GetImageWidth(), lHeight = image.GetImageHeight();
  if (m_poMask == nullptr || m_poMask->GetImageWidth() != lWidth || m_poMask->GetImageHeight() != lHeight) {
    if (!xCreateMask()) return 0;
    bWhole = 1;
  }
  const bool bOtherRepeat = !m_poMask->IsEnableRepeat() != !image.IsEnableRepeat() ||
                            (image.IsEnableRepeat() && (m_poMask->GetXRepeat() != image.GetXRepeat() ||
                                                        m_poMask->GetYRepeat() != image.GetYRepeat()));
  if (bOtherRepeat) {
    m_poMask->SetSameRepeat(&image);
    bWhole = 1;
  }
  CRect rc;
  image.GetInvalidateRect(&rc);
  const long lLeft = bWhole ? 0 : std::max(rc.left, LONG{0}), lTop = bWhole ? 0 : std::max(rc.top, LONG{0});
  const long lRight = bWhole ? lWidth : std::min(static_cast<long>(rc.right), lWidth);
  const long lBottom = bWhole ? lHeight : std::min(static_cast<long>(rc.bottom), lHeight);
  const long n = lRight - lLeft;
  if (n < 1 || lTop >= lBottom) return 1;

  PMem line, bits;
  const unsigned long dwBitBytes = static_cast<unsigned long>((n + 31) / 32 * 4);
  if (!line.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(3 * n + 4)) ||
      !bits.AllocMemory(GMEM_MOVEABLE, dwBitBytes))
    return 0;
  for (long y = lBottom - 1; y >= lTop; --y) {
    std::memset(bits.GetPointer(), 0, dwBitBytes);
    if (!image.Get24bitHorLine(lLeft, lRight - 1, y, line.GetPointer(), nullptr)) return 0;
    xMark(bits.GetPointer(), line.GetPointer(), n);
    m_poMask->PutHorLine(lLeft, lRight - 1, y, bits.GetPointer());
  }
  return 1;
}

void PShield::xMark(unsigned char *pBits, unsigned char *pLine, long n) const {
  namespace lines = qel::lines;
  for (const ShieldRule &rule : m_aRule)
    if (rule.m_wKind == kColor || rule.m_wKind == kBox) lines::MarkBox(pBits, pLine, n, BoxOf(rule));
  if (!m_bUseHsl) return;
  ConvertLineToHsl(pLine, n);
  for (const ShieldRule &rule : m_aRule) {
    const long v = rule.m_dwValue, t = rule.m_wTolerance;
    if (rule.m_wKind == kLightness)  // values beyond every lightness name none
      lines::MarkLightness(pBits, pLine, n, static_cast<int>(std::clamp(v - t, 0L, 256L)),
                           static_cast<int>(std::min(v + t, 255L)));
    if (rule.m_wKind == kHue && v == kGrays) lines::MarkGrays(pBits, pLine, n);
    if (rule.m_wKind == kHue && v < kGrays) lines::MarkHue(pBits, pLine, n, static_cast<int>(v), static_cast<int>(t));
  }
}

int PShield::FilterLine(long x1, long x2, long y, BYTE *pMask) {
  return m_poMask != nullptr && m_poMask->CombineMaskLine(x1, x2, y, pMask);
}

int PShield::ReadMaskLine(long x1, long x2, long y, BYTE *pMask) {
  return m_poMask != nullptr && m_poMask->GetGrayHorLine(x1, x2, y, pMask, nullptr);
}

void PShield::SetSameRepeat(PQel *pImage) {
  if (m_poMask != nullptr && pImage != nullptr) m_poMask->SetSameRepeat(pImage);
}
