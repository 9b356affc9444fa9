// Lookup maps and factors: every pixel of an image, or every byte of a span, through a table or a product. Where nobody
// sees the rows pass they are mapped in the store.

#include <algorithm>

#include "qel/image/image.h"
#include "qel/lines/convert.h"
#include "qel/lines/mix.h"
#include "qel/mem/store_access.h"

namespace lines = qel::lines;

namespace {

/// Multiplies what an image of lEnd pixels a line has of the pixels lFirst to lLast; `read` and `write` move a span.
template <class Read, class Write>
int ScaleSpan(long lFirst, long lLast, long lEnd, long lPixelBytes, int nFactor, Read read, Write write) {
  lFirst = std::max(lFirst, 0L);
  lLast = std::min(lLast, lEnd - 1);
  if (lFirst > lLast) return 1;
  const long lBytes = (lLast - lFirst + 1) * lPixelBytes;
  PMem span;
  if (!span.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(lBytes)) || !read(lFirst, lLast, span.GetPointer()))
    return 0;
  lines::ScaleBytes(span.GetPointer(), lBytes, static_cast<unsigned char>(nFactor));
  return write(lFirst, lLast, span.GetPointer());
}

}  // namespace

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
  if (y < 0 || y >= m_lHeight) return 1;
  return ScaleSpan(
      x0, x1, GetImageWidth(), GetBitCount() / 8, nFactor,
      [&](long a, long b, unsigned char *p) { return GetHorLine(a, b, y, p); },
      [&](long a, long b, unsigned char *p) { return PutHorLine(a, b, y, p); });
}

int PQel::MulVerLine(long x, long y0, long y1, int nFactor) {
  if (m_nImageType != 1 && m_nImageType != 5) return 0;
  if (x < 0 || x >= GetImageWidth()) return 1;
  return ScaleSpan(
      y0, y1, m_lHeight, GetBitCount() / 8, nFactor,
      [&](long a, long b, unsigned char *p) { return GetVerLine(x, a, b, p); },
      [&](long a, long b, unsigned char *p) { return PutVerLine(x, a, b, p); });
}
