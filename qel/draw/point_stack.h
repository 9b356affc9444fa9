// PPointStack: a stack of points in one block that grows in steps of 16 KiB.
#pragma once

#include "qel/export.h"
#include "qel/platform/mfc/object.h"
#include "qel/platform/types.h"

class QEL_API PPointStack : public CObject {
  DECLARE_DYNAMIC(PPointStack)

 public:
  PPointStack();
  ~PPointStack() override;
  PPointStack(const PPointStack &) = delete;
  PPointStack &operator=(const PPointStack &) = delete;

  /// 0 when memory is short.
  int Push(long x, long y);

  /// 0 when the stack is empty.
  int Pop(POINT *pPoint);

 protected:
  /// Makes room for n more points.
  int xReserve(int n);

  int m_nCount;
  HGLOBAL m_hMem;
  int m_nCapacity;  // bytes
  POINT *m_pPoints;
};
