// Fills and inversions of the whole image.

#include <algorithm>

#include "qel/image/image.h"
#include "qel/lines/logic.h"
#include "qel/lines/run_fill.h"

// Clear --------------------------------------------------------------------------------------------------------------

int PQel::Clear(long long llColor) {
  if (IsEmpty() || m_pMem == nullptr) return 0;
  const unsigned long dwOffset = static_cast<unsigned long>(m_lLmmOffset), dwSize = m_pMem->GetSize();
  if (dwSize <= dwOffset) return 0;
  const unsigned long dwBytes = dwSize - dwOffset;
  const unsigned long c0 = llColor & 0xFF, c1 = llColor >> 8 & 0xFF, c2 = llColor >> 16 & 0xFF;
  if (m_pMem->CommitMemory(dwOffset, dwBytes) == nullptr) return 0;
  InvalidateRect(nullptr);
  switch (m_pBIH->biBitCount) {
    case 1:
      return m_pMem->SetBlockBYTE(dwOffset, dwBytes, llColor != 0 ? 0xFF : 0);
    case 4:
      return m_pMem->SetBlockBYTE(dwOffset, dwBytes, static_cast<unsigned char>(c0 << 4 | c0));
    case 8:
      return m_pMem->SetBlockBYTE(dwOffset, dwBytes, static_cast<unsigned char>(c0));
    case 16:
      return m_pMem->SetBlockWORD(dwOffset, dwBytes / 2, static_cast<unsigned short>(llColor));
    case 24:
    case 48:
      if (llColor == 0) return m_pMem->SetBlockBYTE(dwOffset, dwBytes, 0);
      return xFillRows(llColor, c2 | c1 << 8 | c0 << 16);
    case 32:
      return m_pMem->SetBlockDWORD(dwOffset, dwBytes / 4, c2 | c1 << 8 | c0 << 16);
    default:
      return 0;
  }
}

/// Writes one filled row to every row, in storage order: pixels of dwTrio at 24 bits, of llColor at 48. When nobody
/// sees the rows pass, several go at once: long copies spare the memory the reading of what they overwrite.
int PQel::xFillRows(long long llColor, unsigned long dwTrio) {
  constexpr long kCopyBytes = 65536;
  const bool bSeveral = !m_bBlock && m_pfnHook == nullptr;
  const long lRows = bSeveral ? std::clamp(kCopyBytes / m_lLineBytes, 1L, m_lHeight) : 1;
  PMem rows;
  if (!rows.AllocMemory(GHND, static_cast<unsigned long>(lRows * m_lLineBytes))) return 0;
  unsigned char *const pRow = rows.GetPointer();
  const unsigned long dwWidth = static_cast<unsigned long>(GetImageWidth());
  if (m_pBIH->biBitCount == 24)
    FillRunTrio(pRow, dwTrio, dwWidth);
  else
    FillRunDlong(pRow, llColor, dwWidth);
  for (long i = 1; i < lRows; ++i) std::copy_n(pRow, m_lLineBytes, pRow + i * m_lLineBytes);
  for (long i = 0; i < m_lHeight; i += lRows) {
    if (bSeveral)
      m_pMem->PutBlock(static_cast<unsigned long>(m_lLmmOffset + i * m_lLineBytes),
                       static_cast<unsigned long>(std::min(lRows, m_lHeight - i) * m_lLineBytes), pRow);
    else
      PutHorLine(m_pBIH->biHeight < 0 ? i : m_lHeight - 1 - i, pRow);
  }
  return 1;
}

// Invert -------------------------------------------------------------------------------------------------------------

int PQel::Invert(int bPixels) {
  if (IsEmpty()) return 0;
  if (!bPixels && m_pBIH->biBitCount <= 8 && InversePalette()) return 1;
  const auto invert = m_pBIH->biBitCount == 32 ? qel::lines::InvertColorOf32 : qel::lines::InvertBytes;
  if (!m_bBlock && m_pfnHook == nullptr) {
    // Nobody sees the rows pass: inverting them in the store takes a third of the time.
    CRect rcAll(0, 0, static_cast<int>(GetImageWidth()), static_cast<int>(m_lHeight));
    InvalidateRect(&rcAll);
    m_pMem->ChangeBlock(static_cast<unsigned long>(m_lLmmOffset), static_cast<unsigned long>(m_lHeight * m_lLineBytes),
                        invert);
    return 1;
  }
  PMem row;
  if (!row.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(m_lLineBytes))) return 0;
  unsigned char *const pRow = row.GetPointer();
  for (long y = 0; y < m_lHeight; ++y) {
    GetHorLine(y, pRow);
    invert(pRow, m_lLineBytes);
    PutHorLine(y, pRow);
  }
  return 1;
}
