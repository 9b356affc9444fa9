// Mirrors: left to right, top to bottom, through the centre. Rows move through the line operations, so that every
// format and layout is mirrored alike; in place, two rows at a time change places.

#include "qel/image/image.h"

namespace {

/// Two buffers of one row.
struct RowPair {
  PMem first, second;
  bool Alloc(long lBytes) {
    return first.AllocMemory(GHND, static_cast<unsigned long>(lBytes)) != nullptr &&
           second.AllocMemory(GHND, static_cast<unsigned long>(lBytes)) != nullptr;
  }
};

/// Whether one image can be the mirror image of another.
bool AreAlike(const PQel &a, const PQel &b) {
  return a.GetBitCount() == b.GetBitCount() && a.GetImageWidth() == b.GetImageWidth() &&
         a.GetImageHeight() == b.GetImageHeight();
}

}  // namespace

int PQel::MirrorHorizontal(PQel *pSource) {
  if (pSource == nullptr) pSource = this;
  RowPair rows;
  if (IsEmpty() || !AreAlike(*this, *pSource) || !rows.Alloc(m_lLineBytes)) return 0;
  unsigned char *const pRow = rows.first.GetPointer(), *const pWork = rows.second.GetPointer();
  const long lLast = GetImageWidth() - 1;
  for (long y = m_lHeight - 1; y >= 0; --y) {
    pSource->GetRevHorLine(0, lLast, y, pRow, pWork);
    PutHorLine(y, pRow);
  }
  return 1;
}

int PQel::MirrorVertical(PQel *pSource) {
  if (pSource == nullptr) pSource = this;
  RowPair rows;
  if (IsEmpty() || !AreAlike(*this, *pSource) || !rows.Alloc(m_lLineBytes)) return 0;
  unsigned char *const pRow = rows.first.GetPointer(), *const pOther = rows.second.GetPointer();
  const long lLast = GetImageWidth() - 1;
  if (pSource != this) {
    for (long y = m_lHeight - 1; y >= 0; --y) {
      pSource->GetHorLine(0, lLast, m_lHeight - y - 1, pRow);
      PutHorLine(y, pRow);
    }
    return 1;
  }
  for (long y = m_lHeight - 1; y >= (m_lHeight + 1) / 2; --y) {
    GetHorLine(y, pRow);
    GetHorLine(m_lHeight - y - 1, pOther);
    PutHorLine(y, pOther);
    PutHorLine(m_lHeight - y - 1, pRow);
  }
  return 1;
}

int PQel::MirrorDiagonal(PQel *pSource) {
  if (pSource == nullptr) pSource = this;
  RowPair rows;
  PMem work;
  if (IsEmpty() || !AreAlike(*this, *pSource) || !rows.Alloc(m_lLineBytes) ||
      !work.AllocMemory(GMEM_MOVEABLE, static_cast<unsigned long>(m_lLineBytes)))
    return 0;
  unsigned char *const pRow = rows.first.GetPointer(), *const pOther = rows.second.GetPointer();
  const long lLast = GetImageWidth() - 1;
  if (pSource != this) {
    for (long y = m_lHeight - 1; y >= 0; --y) {
      pSource->GetRevHorLine(0, lLast, m_lHeight - y - 1, pRow, work.GetPointer());
      PutHorLine(y, pRow);
    }
    return 1;
  }
  for (long y = m_lHeight - 1; y >= m_lHeight / 2; --y) {  // the middle row of an odd height is its own partner
    GetRevHorLine(0, lLast, y, pRow, work.GetPointer());
    GetRevHorLine(0, lLast, m_lHeight - y - 1, pOther, work.GetPointer());
    PutHorLine(y, pOther);
    PutHorLine(m_lHeight - y - 1, pRow);
  }
  return 1;
}
