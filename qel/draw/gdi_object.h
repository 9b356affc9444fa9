// PGDIObject: what all drawing tools share, the context that they are selected into; and PLineBaseObject, a tool that
// walks along lines and stamps a dab at equal distances.
//
// A tool belongs to its caller, and a context only points at it. One tool may be selected into several contexts as long
// as their images have the same number of bits a pixel. A tool that is destroyed while selected leaves its contexts
// first. A context whose image gets another depth while tools are selected into it paints nothing with pens and nothing
// but plain colours with brushes until they are selected again.
//
// Images that a tool is given (footprint, colours, pattern, texture) stay the caller's and have to live as long as the
// tool points at them: nothing tells a tool that one of them is gone.
#pragma once

#include "qel/export.h"
#include "qel/platform/mfc/object.h"
#include "qel/platform/types.h"

class PQelDraw;

class QEL_API PGDIObject : public CObject {
  DECLARE_DYNAMIC(PGDIObject)

 public:
  PGDIObject();
  ~PGDIObject() override;
  PGDIObject(const PGDIObject &) = delete;
  PGDIObject &operator=(const PGDIObject &) = delete;

  /// Called by a context that selects this tool. 0, and the tool as it was, for null and for a context of another depth
  /// than that of the context where it is selected already.
  int OnSelect(PQelDraw *pDraw);

  /// Called by a context that deselects this tool; always 1.
  int OnUnSelect(PQelDraw *pDraw);

 protected:
  /// Deselects this tool everywhere; each class of tools calls it when an object ends.
  void xLeaveContexts();

  int m_nSelectCount;   // contexts where the tool is selected
  int m_nBitCount;      // bits a pixel of their images; 0: not selected
  PQelDraw *m_poOwner;  // the context it was selected into last; null: none
};

class QEL_API PLineBaseObject : public PGDIObject {
  DECLARE_DYNAMIC(PLineBaseObject)

 public:
  PLineBaseObject();

  int OnSelect(PQelDraw *pDraw);

  /// Starts a stroke at a point; the point before it goes to `pOld` (may be null).
  int MoveTo(long x, long y, POINT *pOld);

  /// Stamps dabs from the current point to another, which becomes the current one. A point gets a dab when the distance
  /// carried along says so; the first dab of a stroke falls on its start. 0 when the tool is selected nowhere or has no
  /// size or spacing.
  int LineTo(long x, long y, POINT *pOld);

  int DrawLine(long x1, long y1, long x2, long y2);

  /// Lines through all points; 0 when one of them failed (all others are drawn) or there is none.
  int DrawPolyLine(POINT *pPoints, int nCount);

  /// Dashes: 0 solid, 1 to 4 a pattern of 16 bits, each as long as the tool is large. Returns the style before.
  int SetLineStyle(int nStyle);

  /// Distance of dabs as a part of the tool's size (above 0, finite); 0, and the distance as it was, otherwise.
  int SetSpacing(double dSpacing);

  int GetSize() const { return m_nSize; }
  double GetSpacing() const { return m_dSpacing; }
  int GetLineStyle() const { return m_nLineStyle; }

 protected:
  int m_nSize;         // pixels; the footprint is as wide and as high
  POINT m_ptCurrent;   // current point of the stroke
  double m_dDistance;  // along the stroke to the next dab, carried from one segment to the next
  double m_dSpacing;   // between dabs, as a part of the size
  int m_nLineStyle;    // 0 to 4
  int m_nStylePhase;   // 0 to 4095: 256 to a bit of the pattern
};
