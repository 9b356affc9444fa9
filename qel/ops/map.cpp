// Lookup maps and factors: every pixel of an image, or every byte of a span, through a table or a product. Where nobody
// sees the rows pass they are mapped in the store.

#include <algorithm>

#include "qel/image/image.h"
#include "qel/lines/convert.h"
#include "qel/lines/mix.h"
#include "qel/mem/store_access.h"

namespace lines = qel::lines;

// Maps ---------------------------------------------------------------------------------------------------------------

int PQel::DoMap(unsigned char *pMap) {
  if (IsEmpty() || pMap == nullptr) return 0;
  const bool bGray = GetBitCount() <= 8;
  const long lWidth = GetImageWidth(), lRowBytes = bGray ? lWidth : 3 * lWidth;
  PMem row;  // of the image's own row or of converted pixels, whichever needs more
  if (!row.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(std::max(m_lLineBytes, lRowBytes)))) return 0;
  unsigned char *const pRow = row.GetPointer(), *const pCommon = pMap + 768;
  if (!bGray) lines::MapBytes(pMap, 768, pCommon);

  const bool bInStore = (m_nImageType == 1 || m_nImageType == 5) && m_pMem->GetMirrorMem() == nullptr;
  qel::mem::StoreGroup stores = {{m_pMem}};
  for (long y = m_lHeight - 1; y >= 0; --y) {
    if (unsigned char *const pStored = bInStore ? xGetStoredSpan(0, lWidth, y) : nullptr) {
      InvalidateLine(0, lWidth - 1, y);
      qel::mem::AccessStores(
          stores, [=] { bGray ? lines::MapBytes(pStored, lWidth, pCommon) : lines::Map24(pStored, lWidth, pMap); });
    } else if (bGray) {
      if (GetGrayHorLine(0, lWidth - 1, y, pRow, pCommon)) PutGrayHorLine(0, lWidth - 1, y, pRow);
    } else {
      if (Get24bitHorLine(0, lWidth - 1, y, pRow, pMap)) Put24bitHorLine(0, lWidth - 1, y, pRow);
    }
  }
  return 1;
}

// Factors ------------------------------------------------------------------------------------------------------------

int PQel::MulHorLine(long x0, long x1, long y, int nFactor) {
  if (m_nImageType != 1 && m_nImageType != 5) return 0;
  x0 = std::max(x0, 0L);
  x1 = std::min(x1, GetImageWidth() - 1);
  if (y < 0 || y >= m_lHeight || x0 > x1) return 1;
  const long lBytes = (x1 - x0 + 1) * (GetBitCount() / 8);
  PMem span;
  if (!span.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(lBytes))) return 0;
  if (!GetHorLine(x0, x1, y, span.GetPointer())) return 0;
  lines::ScaleBytes(span.GetPointer(), lBytes, static_cast<unsigned char>(nFactor));
  return PutHorLine(x0, x1, y, span.GetPointer());
}

int PQel::MulVerLine(long x, long y0, long y1, int nFactor) {
  if (m_nImageType != 1 && m_nImageType != 5) return 0;
  y0 = std::max(y0, 0L);
  y1 = std::min(y1, m_lHeight - 1);
  if (x < 0 || x >= GetImageWidth() || y0 > y1) return 1;
  const long lBytes = (y1 - y0 + 1) * (GetBitCount() / 8);
  PMem span;
  if (!span.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(lBytes))) return 0;
  if (!GetVerLine(x, y0, y1, span.GetPointer())) return 0;
  lines::ScaleBytes(span.GetPointer(), lBytes, static_cast<unsigned char>(nFactor));
  return PutVerLine(x, y0, y1, span.GetPointer());
}
