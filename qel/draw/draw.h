// PQelDraw: an image that is painted on with selected tools.
//
// Every painting path makes, for a span of a row, the image's pixels, the tool's colours and a line of weights (0: the
// tool's colour, 255: the pixel as it is), and mixes them. What shapes the weights, in this order: the pen's footprint,
// the shield, the texture, the mask image. Contexts are used on one thread: their list and the two colours are shared.
//
//   draw/draw.cpp           the context, its list, selection
//   draw/draw_stamp.cpp     pens: stamps, lines, frames, strokes along points
//   draw/draw_rows.cpp      brush rows, rectangles, block transfers
//   draw/draw_shapes.cpp    ellipses and triangles
//   draw/draw_polygon.cpp   polygons
//   draw/draw_flood.cpp     the seed fill
#pragma once

#include "qel/draw/gdi_object.h"
#include "qel/image/image.h"
#include "qel/platform/mfc/rect.h"

class PBrush;
class PPen;
class PPointArray;
class PPointStack;
class PShield;
class PTexture;

class QEL_API PQelDraw : public PQel {
  DECLARE_DYNAMIC(PQelDraw)

 public:
  PQelDraw();
  ~PQelDraw() override;

 protected:
  /// Stamps the pen at a point; in anti-alias mode the point is in eighths of a pixel. 0 without a pen or a point.
  virtual int xDrawPixel(POINT *pPoint);

 public:
  // Selection --------------------------------------------------------------------------------------------------------
  //
  // Each returns what was selected before. A tool that refuses leaves its place empty: IsSelect tells.

  virtual PTexture *SelectTexture(PTexture *pTexture);
  virtual PPen *SelectPen(PPen *pPen);
  virtual PBrush *SelectBrush(PBrush *pBrush);

  /// A mask of weights (8-bit grays) or bits as large as this image, or one that repeats; it stays the caller's. Null,
  /// and the mask as it was, for any other size.
  virtual PQel *SelectMask(PQel *pMask);
  virtual PShield *SelectShield(PShield *pShield);

  /// 1 for null and for a tool that is selected here.
  int IsSelect(PGDIObject *pObject);

  /// Deselects a tool and returns it; null when it is not selected here.
  PGDIObject *UnSelect(PGDIObject *pObject);

  // Fills with the brush ---------------------------------------------------------------------------------------------

  /// Columns x1 to x2 of row y. 0 without a brush, for a span outside the image, and when memory is short.
  virtual int FillBrushHorLine(long x1, long x2, long y);

  /// A rectangle (null: the whole image). 0 without a brush, for an empty area, and when memory is short.
  virtual int FillRect(RECT *pRect);
  using PQel::FillRect;

  /// Copies a block of another context of the same type, through that one's mask and this one's shield, texture and
  /// mask. The two masks read the other way round: the source shows where its own mask is 255 (or has a bit), while 255
  /// in this one's keeps the pixel. 0 for null, another type, and when memory is short; 1 when nothing of the block can
  /// be seen.
  virtual int BitBlt(long x, long y, long lWidth, long lHeight, PQelDraw *pSource, long sx, long sy);

  /// To be called after a batch of drawing: the shield follows the changed rectangle, which is emptied then.
  virtual void Update();

  /// The ellipse in a rectangle (null: the whole image), row by row. 0 without a brush.
  int FillEllipse(RECT *pRect);
  using PQel::FillEllipse;

  int FillTriangle(CPoint pt1, CPoint pt2, CPoint pt3);

  /// A polygon by the even-odd rule, and the pen's stamp at each corner. The array holds one point more than the count,
  /// which closes the outline. Null, or a count below 1: nothing.
  void FillPolygon(POINT *pPoints, int nCount);

  /// Fills the 4-connected region around a seed whose colours lie within a tolerance of the seed's, in a reference
  /// image of this image's size (null: this image). Bits of the mask stop it. 1 with nothing drawn for a seed outside
  /// and a negative tolerance; 0 for a reference of another size and when memory is short.
  int FloodFill(CPoint ptSeed, short nTolerance, PQel *pReference);

  // Strokes with the pen: 0 without one ------------------------------------------------------------------------------

  int SetFeather(int nFeather, int nIgnored);
  int ChangePenColor(long long llColor);
  /// Always 1.
  int SetLineStyle(int nStyle);
  int DrawLine(long x1, long y1, long x2, long y2);
  int DrawPolyLine(POINT *pPoints, int nCount);
  int MoveTo(POINT *pPoint);
  int LineTo(POINT *pPoint);
  int DrawPixel(long x, long y);
  int DrawPixel(POINT *pPoint);

  /// Strokes the inside of a rectangle's edge.
  void FrameRect(RECT *pRect);

  /// Strokes the ellipse in a rectangle (null: the whole image).
  int FrameEllipse(RECT *pRect);

  /// Stamps a pen at every point; the pen selected before is selected again then. 0 when either is null.
  int DoStroke(PPointArray *pPoints, PPen *pPen);

  // Colours ----------------------------------------------------------------------------------------------------------

  /// The application's current colours; the engine does not read them.
  static long long GetFgColor() { return m_llFgColor; }
  static long long GetBkColor() { return m_llBkColor; }
  static void SetFgColor(long long llColor) { m_llFgColor = llColor; }
  static void SetBkColor(long long llColor) { m_llBkColor = llColor; }

  /// The value that a tool wants for a colour (red in the low byte) on this image: the nearest index, a pixel of 16 or
  /// 48 bits, the colour itself at 24 and 32 bits.
  long long GetColorRef(long long llColor);

  // More -------------------------------------------------------------------------------------------------------------

  /// As those of PQel, for the mask and the shield too.
  void EnableRepeat(int b);
  void SetRepeat(long lX, long lY);

  /// Does nothing and returns 0.
  static int DrawBlandEdge(int nIgnored, BYTE byIgnored);

  /// A span of this image where its own mask is 255 or has a bit, of the line at `pDst` where it is 0, and both blended
  /// between. 0 when memory is short.
  int GetUnMaskHorLine(long x1, long x2, long y, BYTE *pDst, BYTE *pResult);

  static PQelDraw *m_poQelDrawFirst;  // all contexts, in the order of their construction
  static PQelDraw *m_poQelDrawLast;
  static long long m_llFgColor;
  static long long m_llBkColor;

 protected:
  friend class PGDIObject;

  /// Deselects a tool in every context.
  static void xUnSelectEverywhere(PGDIObject *pObject);

  /// Extent of a triangle on a row; 0: it has none there.
  int xGetIntersection(CPoint pt1, CPoint pt2, CPoint pt3, long y, long &xMin, long &xMax);
  using PQel::xGetIntersection;

  /// The run of 0 bits around column x of a row of `lWidth`; 0: none.
  int xFindMaskBound(long *pLeft, long *pRight, long x, long lWidth, BYTE *pBits);

  /// Narrows a run to the pixels around x within a box of colours; the 24-bit line starts at column *pLeft. 0: none.
  int xFindImageBound(long *pLeft, long *pRight, long x, BYTE *pLine, BYTE byRedLow, BYTE byRedHigh, BYTE byGreenLow,
                      BYTE byGreenHigh, BYTE byBlueLow, BYTE byBlueHigh);

  /// Pushes the start of every run of open pixels in the box; line and bits start at column x1.
  void xFindNewPoint(long x1, long x2, long y, BYTE *pLine, BYTE *pBits, BYTE byRedLow, BYTE byRedHigh, BYTE byGreenLow,
                     BYTE byGreenHigh, BYTE byBlueLow, BYTE byBlueHigh, PPointStack &stack);

  /// Column where an edge crosses a row; -1 when it does not.
  long xGetXPos(CPoint ptUpper, CPoint ptLower, long y);

  struct Stamp;      // a footprint on the image
  struct WorkLines;  // image, colours and weights of a row

  /// Mix all rows of a stamp in the store (false: it cannot be), and row r through lines.
  bool xStampInStore(const Stamp &s);
  void xStampRow(const Stamp &s, long r);

  /// True when nothing raises weights: no shield, texture or mask.
  bool xIsUnweighted() const;

  /// Raise weights by texture and mask; make those of a row for brush and blocks.
  void xRaiseWeights(long x1, long x2, long y, BYTE *pWeights);
  void xMakeWeights(long x1, long x2, long y, BYTE *pWeights);

  /// True when brush rows are one colour that is written as it is; write or mix such a row, within the image.
  bool xPaintsPlainly() const;
  int xFillPlainly(long x1, long x2, long y);
  int xPaintBrushRow(long x1, long x2, long y, WorkLines &lines);

  /// Fill the runs of a row, pairs of columns in ascending order, at once where the store lies open.
  bool xFillsRunsInStore() const;
  bool xFillRunsInStore(const long *pRuns, long lPairs, long y);

  /// Cuts a range of rows to the image's, unless it repeats.
  void xKeepRows(long *pTop, long *pBottom) const;

  /// Makes the seed fill's image of visited pixels; 0 when memory is short or the mask is none.
  int xMakeVisited(PQel &visited);

  /// Gives mask and shield the repeat setting of this image.
  void xShareRepeat();

  PQel *m_poCurMask;
  PTexture *m_poCurTexture;
  PShield *m_poCurShield;
  PPen *m_poCurPen;
  PBrush *m_poCurBrush;
  PQelDraw *m_poNext;
  PQelDraw *m_poPrev;
};
