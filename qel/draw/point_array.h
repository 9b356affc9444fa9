// PPointArray: an unbounded sequence of points, kept in chunks so that appending never moves a point.
#pragma once

#include "qel/export.h"
#include "qel/platform/mfc/object.h"
#include "qel/platform/types.h"

namespace qel::draw {

/// Points of a PPointArray, in a global-memory block of their own.
struct PointChunk {
  static constexpr int kPoints = 2000;
  HGLOBAL hMem;  // this block
  PointChunk *pNext;
  int nCount;
  POINT points[kPoints];
};

}  // namespace qel::draw

class QEL_API PPointArray : public CObject {
  DECLARE_DYNAMIC(PPointArray)

 public:
  PPointArray();
  ~PPointArray() override;
  PPointArray(const PPointArray &) = delete;
  PPointArray &operator=(const PPointArray &) = delete;

  /// Appends a point; 0 when memory is short.
  int Add(long x, long y);

  /// Empties the array; one chunk of memory stays.
  void RemoveAll();

  /// Makes the point of an index the next one to read.
  void SetReadPos(UINT nIndex);

  /// Reads the next point; 0 at the end.
  int GetNext(POINT *pPoint);

  /// Sorts all points by x, equal ones by y; 0 when memory is short (the order stays).
  int Sort();

  int GetCount() const { return m_nCount; }

 protected:
  /// All points in one block, for sorting; null when memory is short.
  qel::draw::PointChunk *xCopyToBlock();

  qel::draw::PointChunk *m_pHead;
  int m_nCount;  // of all chunks
  qel::draw::PointChunk *m_pTail;
  qel::draw::PointChunk *m_pRead;  // the reader's chunk and its next point there
  int m_nReadIndex;
};
