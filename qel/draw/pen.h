// PPen: the tool of strokes. Its footprint is a gray image of weights (0 inside the pen, 255 outside), rendered from a
// shape with a soft rim (feather), taken from a library of shapes, or the caller's own.
#pragma once

#include "qel/draw/gdi_object.h"
#include "qel/image/image.h"

class QEL_API PPen : public PLineBaseObject {
  DECLARE_DYNAMIC(PPen)

 public:
  /// A round pen of one pixel with dabs a quarter of its size apart, drawing in colour 0.
  PPen();
  ~PPen() override;

  /// 0 for null, a pen without a footprint, a context of another depth than where the pen is selected or than its
  /// colour image, and when memory is short.
  int OnSelect(PQelDraw *pDraw);

  // Settings ---------------------------------------------------------------------------------------------------------

  /// Renders a footprint of nSize x nSize pixels into the pen's own image. nShape: 0 round, 1 square, 2 to 5 a thin
  /// ellipse at 135, 45, 0 and 90 degrees, from 10 on a tile of the shape library. 0, and the pen as it was, for
  /// other shapes, tiles that the library does not hold, sizes below 1 or above 2048, and when memory is short.
  int SetShape(int nShape, int nSize);

  /// Takes a square image of 8-bit grays, the caller's, as the footprint; the pen neither renders nor frees it, and
  /// refuses to feather it or to change the colour. Null: the pen's own footprint. 0 for any other image.
  int SetShapeImage(PQel *pShape);

  /// Reads the pen's colours pixel by pixel from an image of the caller's as large as the footprint, in the format of
  /// the contexts to come; null: from the constant colour. 0 for an image that is smaller or, while the pen is
  /// selected, of another depth.
  int SetColorImage(PQel *pColors);

  /// The pen's colour: red in the low byte for contexts of 24 and 32 bits, a pixel value of the image for all others.
  /// A colour image is filled with it. 0 for a footprint that the caller maintains.
  int ChangeColor(long long llColor);

  /// Softness of the rim: 0 a hard (anti-aliased) edge to 255. Returns the value before; the argument itself, with
  /// nothing done, without a footprint or for one that the caller maintains.
  int SetFeather(int nFeather);

  /// Copies an image of square tiles side by side, of 256 grays, into the library of shapes of this process; null
  /// empties it. 0, and the library as it was, for an image without a whole tile or of another type.
  static int LoadShapeLibrary(PQel *pTiles, long lTileSize);

  long long GetColor() const { return m_llColor; }
  int GetFeather() const { return m_nFeather; }
  int GetShape() const { return m_nShape; }

  // Lines for the context --------------------------------------------------------------------------------------------

  /// Columns x1 to x2 of row y of the pen's colours, in the context's format, and of its footprint.
  int GetColorLine(long x1, long x2, long y, BYTE *pLine);
  int GetShapeLine(long x1, long x2, long y, BYTE *pLine);

 protected:
  friend class PQelDraw;

  /// Renders the footprint anew from the shape and the feather.
  int xBuildFeather();

  /// Draws the shape, `lSize` eighths of a pixel large, into the middle of an image of weights.
  int xDrawShape(PQel *pImage, long lSize);

  /// Averages the shape over its sizes into the footprint; the sizes are rendered in an image with an undo copy.
  int xAverageShapes(PQel &rendering);

  /// Makes room for the lines of a stamp, and fills the line of colours where the pen has one colour.
  int xPrepareWork(int nBits);
  void xFillColors();

  void xTakeShape(PQel *pShape, int nShape);

  PMem m_memWork;        // the lines of a stamp: colours, image, weights
  PQel *m_poColorImage;  // colours pixel by pixel; null: m_llColor everywhere
  PQel *m_poShapeImage;  // footprint; null: none, and the pen cannot be selected
  int m_nShape;          // from 100 on: the caller maintains footprint and colours
  long long m_llColor;
  int m_nFeather;  // 0 to 255

  static PQel m_oShapeLibrary;   // tiles side by side; empty: no library
  static long m_nShapeTileSize;  // edge of a tile in pixels

 private:
  static constexpr int kLibraryShape = 10, kCallersShape = 100;  // the first shape code of each
  static constexpr int k256Grays = 5, kWeightBits = 8;           // what footprints are

  PQel m_oOwnShape;   // what SetShape renders into
  int m_nOwnShape;    // and its shape
  long m_lLineBytes;  // room for a line of colours and of the image, each, in the work buffer
};
