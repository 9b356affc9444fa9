// PBrush: the tool of fills, a plain colour, one of six hatches or a pattern image that tiles the plane.
#pragma once

#include "qel/draw/gdi_object.h"
#include "qel/image/image.h"

class QEL_API PBrush : public PGDIObject {
  DECLARE_DYNAMIC(PBrush)

 public:
  /// A plain brush of colour 0.
  PBrush();
  ~PBrush() override;

  /// 0 for null, a context of another depth than where the brush is selected or than its pattern, and when memory is
  /// short. A pattern repeats from here on.
  int OnSelect(PQelDraw *pDraw);

  // Settings: they hold at once, also while the brush is selected ----------------------------------------------------

  /// 0 to 5 a hatch: horizontal, vertical, diagonal down, diagonal up, cross, diagonal cross; from 6 on the pattern
  /// image, or the foreground colour without one. 0, and the brush as it was, for a negative style or when the hatch
  /// cannot be built.
  int SetStyle(int nStyle);

  /// Colours of the hatch; the foreground is also the plain colour. Red in the low byte for contexts of 24 and 32 bits,
  /// a pixel value of the image for all others.
  int SetColors(long long llForeColor, long long llBackColor);

  /// Added to the coordinates of every read of the pattern.
  int SetOrigin(long x, long y);

  /// Takes an image of the caller's as the pattern, and style 6; null: none. 0 for an empty image or, while the brush
  /// is selected, one of another depth.
  int SetPattern(PQel *pPattern);

  int GetStyle() const { return m_nShape; }
  long long GetForeColor() const { return m_llForeColor; }
  long long GetBackColor() const { return m_llBackColor; }

  /// Columns x1 to x2 of row y of the plane in the brush's colours, in the context's format.
  int GetColorLine(long x1, long x2, long y, BYTE *pLine);

 protected:
  friend class PQelDraw;

  /// Draws the hatch into the pattern. 0 without one, for style 101, and for a pattern below 128 x 128 pixels.
  int xBuildHatch();

  /// Makes the pattern that the style needs, in the format of the context where the brush is selected; 0 when it has
  /// another depth or cannot be made.
  int xPreparePattern();

  PQel *m_poPattern;  // the brush's own hatch or the caller's image; null: plain
  POINT m_ptOrigin;
  long long m_llForeColor;
  long long m_llBackColor;
  int m_nShape;  // style

 private:
  PQel m_oHatch;  // where the brush draws its own hatches
};
