// Images copied through masks, and masked layers composited, row by row. Rows of an image that nobody sees pass are
// worked on where they are stored; the others go through line buffers. Both come out the same.

#include <algorithm>

#include "qel/image/image.h"
#include "qel/lines/mix.h"
#include "qel/mem/store_access.h"
#include "qel/ops/copy_area.h"
#include "qel/ops/mixes.h"

namespace {

constexpr unsigned char kKeep = 255;

/// The levels of columns x0 to x1 of a mask's row; with `bPlane` of the plane that a repeating mask tiles. Beyond the
/// mask's edge there is nothing to take.
void ReadLevels(PQel &mask, long x0, long x1, long y, bool bPlane, unsigned char *pLevels) {
  std::fill_n(pLevels, x1 - x0 + 1, kKeep);
  if (!bPlane && (y < 0 || y >= mask.GetImageHeight())) return;
  const long lFirst = bPlane ? x0 : std::max(x0, 0L), lLast = bPlane ? x1 : std::min(x1, mask.GetImageWidth() - 1);
  if (lFirst <= lLast) mask.GetGrayHorLine(lFirst, lLast, y, pLevels + (lFirst - x0), nullptr);
}

/// Bytes of a work line, with the next one starting on a cache line of its own.
unsigned long LineRoom(long lBytes) {
  return static_cast<unsigned long>((lBytes + 63) / 64 * 64);
}

}  // namespace

// Through a mask -----------------------------------------------------------------------------------------------------

int PQel::CombineImage(PQel *pSrc, PQel *pMask, POINT *pPoint, RECT *pRect) {
  if (pSrc == nullptr || IsEmpty() || pSrc->GetBitCount() != GetBitCount()) return 0;
  if (pMask == nullptr) return CopyRect(pSrc, pPoint, pRect);
  if (pMask->GetBitCount() > 8) return 0;
  const qel::ops::CopyArea area = qel::ops::FindCopyArea(*this, *pSrc, pPoint, pRect);
  const qel::ops::WideRect &s = area.s;
  if (s.IsEmpty()) return 1;

  const long lWidth = s.Width(), lSpanBytes = lWidth * GetBitCount() / 8;
  const unsigned long dwSpanRoom = LineRoom(lSpanBytes + 8);
  PMem buffer;
  if (!buffer.AllocMemory(GHND, dwSpanRoom + static_cast<unsigned long>(lWidth))) return 0;
  unsigned char *const pSpan = buffer.GetPointer(), *const pLevels = pSpan + dwSpanRoom;

  const qel::ops::Mix mix = qel::ops::kMixes[m_nImageType];
  const bool bInStore = GetBitCount() >= 8 && m_pMem->GetMirrorMem() == nullptr;
  const bool bMaskInStore = pMask != this && pMask->GetBitCount() == 8 && s.IsInside(*pMask);
  qel::mem::StoreGroup stores = {{m_pMem, pSrc->m_pMem, pMask->m_pMem}};
  for (long l = s.Height() - 1; l >= 0; --l) {
    const long lRow = s.top + l;
    unsigned char *const pTo = bInStore ? xGetStoredSpan(area.x, lWidth, area.y + l) : nullptr;
    unsigned char *pFrom = pTo && pSrc != this ? pSrc->xGetStoredSpan(s.left, lWidth, lRow) : nullptr;
    if (pFrom == nullptr) pSrc->GetHorLine(s.left, s.right - 1, lRow, pFrom = pSpan);
    unsigned char *pMaskRow = nullptr;
    if (pTo && bMaskInStore) pMaskRow = pMask->xGetStoredSpan(s.left, lWidth, lRow);
    if (pMaskRow == nullptr) ReadLevels(*pMask, s.left, s.right - 1, lRow, pMask->m_bRepeat, pMaskRow = pLevels);
    if (pTo == nullptr) {
      MixHorLineWithGrayMask(area.x, area.x + lWidth - 1, area.y + l, pFrom, pMaskRow);
    } else {
      InvalidateLine(area.x, area.x + lWidth - 1, area.y + l);
      qel::mem::AccessStores(stores, [=] { mix(pTo, pFrom, pMaskRow, lWidth); });
    }
  }
  return 1;
}

// Layers -------------------------------------------------------------------------------------------------------------

int PQel::CombineLayer(PQel *pMask, PQel *pLayer, PQel *pLayerMask) {
  if (IsEmpty() || pMask == nullptr || pMask == this || pMask->GetBitCount() != 8) return 0;
  if (pLayerMask != nullptr && (pLayerMask == this || pLayerMask->GetBitCount() > 8)) return 0;
  if (GetBitCount() <= 8 && !ConvertTo24bit()) return 0;

  const long lWidth = GetImageWidth();
  const unsigned long dwColors = LineRoom(3 * lWidth), dwLevels = LineRoom(lWidth);
  PMem buffer;  // cleared: a layer is black where it has no pixels
  if (!buffer.AllocMemory(GHND, 2 * (dwColors + dwLevels))) return 0;
  unsigned char *const pLayerLine = buffer.GetPointer(), *const pUpperLine = pLayerLine + dwColors;
  unsigned char *const pLevelLine = pUpperLine + dwColors, *const pBelowLine = pLevelLine + dwLevels;
  std::fill_n(pBelowLine, lWidth, kKeep);

  const bool bInStore = m_nImageType == 1 && m_pMem->GetMirrorMem() == nullptr;
  const bool bMaskInStore = pMask->m_pMem->GetMirrorMem() == nullptr;
  const bool bLayerInStore = pLayer != nullptr && pLayer->m_nImageType == 1;
  const bool bBelowInStore = pLayerMask != nullptr && pLayerMask->GetBitCount() == 8;
  const long lLayerWidth = pLayer == nullptr   ? 0
                           : pLayer->m_bRepeat ? lWidth
                                               : std::min(lWidth, pLayer->GetImageWidth());
  const long lMaskWidth = std::min(lWidth, pMask->GetImageWidth());
  qel::mem::StoreGroup stores = {
      {m_pMem, pMask->m_pMem, pLayer ? pLayer->m_pMem : nullptr, pLayerMask ? pLayerMask->m_pMem : nullptr}};

  for (long y = m_lHeight - 1; y >= 0; --y) {
    unsigned char *const pUpperStored = bInStore ? xGetStoredSpan(0, lWidth, y) : nullptr;
    unsigned char *const pUpper = pUpperStored ? pUpperStored : pUpperLine;
    if (!pUpperStored) Get24bitHorLine(0, lWidth - 1, y, pUpper, nullptr);

    unsigned char *const pLevelsStored = bMaskInStore ? pMask->xGetStoredSpan(0, lWidth, y) : nullptr;
    unsigned char *const pLevels = pLevelsStored ? pLevelsStored : pLevelLine;
    if (!pLevelsStored) ReadLevels(*pMask, 0, lWidth - 1, y, false, pLevels);

    unsigned char *pBelow = bLayerInStore ? pLayer->xGetStoredSpan(0, lWidth, y) : nullptr;
    if (pBelow == nullptr) {
      pBelow = pLayerLine;  // rows that the layer has come last: what is not read is black still
      if (lLayerWidth > 0 && (pLayer->m_bRepeat || y < pLayer->m_lHeight))
        pLayer->Get24bitHorLine(0, lLayerWidth - 1, y, pBelow, nullptr);
    }
    unsigned char *pBelowLevels = bBelowInStore ? pLayerMask->xGetStoredSpan(0, lWidth, y) : nullptr;
    if (pBelowLevels == nullptr) {
      pBelowLevels = pBelowLine;
      if (pLayerMask != nullptr) ReadLevels(*pLayerMask, 0, lWidth - 1, y, false, pBelowLevels);
    }

    qel::mem::AccessStores(stores,
                           [=] { qel::lines::CompositeLayers24(pUpper, pLevels, pBelow, pBelowLevels, lWidth); });
    if (pUpperStored)
      InvalidateLine(0, lWidth - 1, y);
    else
      Put24bitHorLine(0, lWidth - 1, y, pUpper);
    if (pLevelsStored)
      pMask->InvalidateLine(0, lWidth - 1, y);
    else if (y < pMask->m_lHeight)
      pMask->PutHorLine(0, lMaskWidth - 1, y, pLevels);
  }
  return 1;
}
