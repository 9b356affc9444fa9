// PItc: a conversion agent, which carries pixels from one image into another of a different pixel format: true colour
// and palettes down to 2, 16 or 256 colours or gray levels by colour map, error diffusion or ordered dither, and
// palettes up to true colour.
//
//   agent.cpp           building and releasing, the method check
//   agent_buffers.cpp   the map buffer and the error rows
//   pixel_access.cpp    readers and writers of single pixels
//   palette_map.cpp     colour maps: palette.map, the 4096-colour cube, the nearest-colour search
//   dither_matrix.cpp   the matrices of the six dither families
//   ordered_dither.cpp  thresholds and dithered lines
//   diffusion.cpp       diffused lines
//   driver.cpp          rectangles and single lines through the agent
//   custom_palette.cpp  a palette made for one picture
//
// An agent belongs to one thread. All agents share one dither pattern, so that only one of them may dither at a time.
#pragma once

#include "qel/export.h"
#include "qel/image/image.h"
#include "qel/platform/mfc/object.h"
#include "qel/platform/types.h"

/// How to convert.
struct tagCVTMETHOD {
  unsigned short wMethod;      // 0 colour map, 1 custom palette, 2 error diffusion, 3 ordered dither, 4 raw copy,
                               // 5 nothing, 6 palette to true colour, 7 the best that suits the pair
  unsigned short wDitherType;  // 0 Bayer, 1 Mesh, 2 Spiral, 3 Fatting, 4 HMesh, 5 VMesh
  unsigned short wDitherSize;  // edge of the dither matrix: 4 or 8
};

class QEL_API PItc : public CObject {
 public:
  PItc();
  ~PItc() override;

  // Agent (convert/agent.cpp) ----------------------------------------------------------------------------------------

  /// Builds the agent for one pair of images and a method, which is corrected silently where it does not suit the pair
  /// (m_cvtMethod tells). The images are not owned and must outlive the agent; palettes and sizes are those of now. 0
  /// for a null or empty image, a pair that cannot be converted, a raw copy from true colour, a dither record without a
  /// matrix, and when memory is short; the agent is empty then. One that was there before is released in any case.
  int BuildAgent(PQel *pDst, PQel *pSrc, tagCVTMETHOD cvtMethod);

  /// Releases the agent. `bNoFree` is the constructor's: it forgets memory blocks without releasing them.
  void FreeAgent(int bNoFree);

  // Conversion (convert/driver.cpp) ----------------------------------------------------------------------------------

  /// Converts a rectangle of the source, right and bottom included (null: all of it), to a point of the destination
  /// (null: the origin). Error diffusion and ordered dither take whole rows of images of one width only. Of a rectangle
  /// that lies partly outside the destination only the part inside is written; an image that repeats has no outside.
  /// Pixels beyond the source's colour table count as its entry 0, except in raw copies. 1 for an empty rectangle,
  /// where nothing is done. 0 without an agent, when an image has changed its bits a pixel or its size since the agent
  /// was built, for a rectangle that leaves the source, when no dither routine suits the pair, when memory is short,
  /// and when a row cannot be read or written, where the rows done before stay.
  int ConvertImg(RECT *pRect, POINT *pPoint);

  /// Converts one whole source line, given and returned in the images' own formats; both lines hold as many pixels as
  /// the wider image. `nRow` sets the direction of error diffusion, whose errors go on from the line before, and the
  /// phase of the dither. Raw copies do nothing here. 0 without an agent or line, when no dither routine suits the
  /// pair, and when memory is short.
  int ConvertLineImg(int nRow, unsigned char *pSrcLine, unsigned char *pDstLine);

  // Colour maps (convert/palette_map.cpp) ----------------------------------------------------------------------------

  /// Reads the map from the 4096 keys of 4 bits a channel to the standard palette of an image type from palette.map,
  /// beside the executable or in the engine's own folder. Without the file, a message is shown, the map is computed and
  /// the result is 0.
  static int ReadStdPaletteMap(unsigned char *pMap, int nType);

  /// Writes the colours of the 4096 keys: 12288 bytes, red, green, blue.
  static void Set4096Pal(unsigned char *pRGB);

  /// Gives each of the source colours the index of the nearest destination colour (squared distance, the lower index of
  /// equals; equal palettes give the identity). Colours are red, green, blue triples. Always 1.
  int CreatePaletteMap(int nDstColors, unsigned char *pDstRGB, int nSrcColors, unsigned char *pSrcRGB,
                       unsigned char *pMap);

  // Custom palettes (convert/custom_palette.cpp) ---------------------------------------------------------------------

  /// A palette of 256 colours made for a picture of more than 8 bits a pixel: the 16 standard colours, then colours
  /// from a histogram of the picture. The caller owns it. Null for other images and when memory is short.
  static HPALETTE CreateCustomPalette(PQel *pImage);

 protected:
  // Agent ------------------------------------------------------------------------------------------------------------

  int xTakeImages(PQel *pDst, PQel *pSrc);
  int xDblCheckCvtMethod();
  void xSetPixFuncPtr();

  // Buffers ----------------------------------------------------------------------------------------------------------

  long xGetMapBufSize();
  int xPrepareMapBuf();
  int xPrepareKeyMap();     // from the 12-bit keys of true colour
  int xPrepareDiffusion();  // map, palettes and error rows
  void xReadKeyMap();
  long xGetErrorRowBytes() const;
  void xClearErrors();

  // Driver -----------------------------------------------------------------------------------------------------------

  struct Passage;  // a rectangle on its way from source to destination
  int xIsPairAsBuilt() const;
  int xMovesPixels() const;
  int xMovePixels(const Passage &p);
  int xMoveLines(const Passage &p);
  int xWriteRow(const Passage &p, long lRow, unsigned char *pLine);

  /// Converts a whole line by diffusion, in the direction of the parity of lDiffusionRow, or by dither for (x, y).
  void xConvertWholeLine(long lDiffusionRow, long x, long y);

  /// Converts n pixels of m_pbySrcLine, each on its own, into m_pbyDstLine; pColors: the source palette of method 6.
  void xConvertPixels(long n, const RGBQUAD *pColors);

  /// Indices beyond a source palette that is shorter than what its pixels can name.
  int xHasShortPalette() const;
  void xLimitSource(unsigned char *pLine, long n) const;

  // Pixel access -----------------------------------------------------------------------------------------------------

  unsigned short xGetPixMono(long x);
  unsigned short xGetPixNibble(long x);
  unsigned short xGetPixByte(long x);
  unsigned short xGetPix4096(long x);
  void xPutPixMono(long x, unsigned char v);
  void xPutPixNibble(long x, unsigned char v);
  void xPutPixByte(long x, unsigned char v);

  // Colour maps ------------------------------------------------------------------------------------------------------

  int xCreatePaletteMap();

  // Ordered dither ---------------------------------------------------------------------------------------------------

  /// Chooses the line routine and builds m_pbyPattern; 0 when no routine applies.
  int xSetDitherFunc();
  void xDitherTo2(long x0, long y0);
  void xDitherTo16(long x0, long y0);
  void xDitherTo256(long x0, long y0);

  // Error diffusion --------------------------------------------------------------------------------------------------

  /// Converts m_pbySrcLine into m_pbyDstLine from left to right, and from right to left.
  void xDiffuse1Line();
  void xDiffuse2Line();
  void xDiffuseLine(int bToLeft);

  // Custom palettes --------------------------------------------------------------------------------------------------

  static int xCanCombineColors(unsigned char *pColors, long *plCounts, int nCell, long lCount);
  static int xCheckNearPixel(unsigned char *pColors, long *plCounts, long nCell, short r, short g, short b, short nRed,
                             short nGreen, short nBlue, long lCount);
  static int xCheckRGB(short nRed1, short nGreen1, short nBlue1, short nRed2, short nGreen2, short nBlue2, long lCount);
  static int xRemoveStandardColor(unsigned char *pColors, long *plCounts, short r, short g, short b, short nRed,
                                  short nGreen, short nBlue);
  static int xCntMax(long *plCounts, int nCount);
  static short xGetMostUsedColor(int *pIndex, long *plCounts);

  // Fields -----------------------------------------------------------------------------------------------------------

  int m_bAgent;   // an agent is built
  PQel *m_poDst;  // the images, not owned
  PQel *m_poSrc;
  int m_nSrcBits, m_nDstBits;  // bits a pixel
  int m_nSrcType, m_nDstType;  // image types
  long m_lSrcWidth, m_lDstWidth;
  long m_lSrcHeight, m_lDstHeight;
  HPALETTE m_hSrcPal, m_hDstPal;  // palettes of the colour tables, owned
  int m_nSrcColors, m_nDstColors;
  int m_bSrcStdPal, m_bDstStdPal;
  HGLOBAL m_hMapBuf;   // the map buffer, locked while the agent lives
  HGLOBAL m_hErrBuf1;  // the two error rows of diffusion
  HGLOBAL m_hErrBuf2;
  long *m_plErrCur;             // errors of the line at hand and of the line below it: (width + 1) entries of three
  long *m_plErrNext;            // 32-bit values red, green, blue, whatever the pointer says
  unsigned char *m_pbyMap;      // the map buffer; a colour map stands at its start
  unsigned char *m_pbyMapDone;  // 4096 bits: which entries of the diffusion's map are computed
  unsigned char *m_pbySrcLine;  // the lines being converted
  unsigned char *m_pbyDstLine;
  unsigned char *m_pbySrcRGB;  // source palette or the 4096-colour cube, red, green, blue
  unsigned char *m_pbyDstRGB;  // destination palette or custom palette
  tagCVTMETHOD m_cvtMethod;
  unsigned short (PItc::*m_pfnGetPix)(long x);
  void (PItc::*m_pfnPutPix)(long x, unsigned char v);
  void (PItc::*m_pfnDither)(long x, long y);

  // Tables -----------------------------------------------------------------------------------------------------------

  static const unsigned char m_pbyMask[8];  // clears the bit of pixel j of a 1-bit byte
  static const long m_plMapPos[6];          // offsets of the maps in palette.map by image type

  // Dither matrices, row by row: 8 x 8 (0 to 63), 4 x 4 (1 to 16), 6 x 6 followed by four zero bytes, 2 x 2 likewise.
  static const unsigned char m_pbyBayerHi[64], m_pbyMeshHi[64], m_pbySpiralHi[64], m_pbyFattingHi[64], m_pbyHMeshHi[64],
      m_pbyVMeshHi[64];
  static const unsigned char m_pbyBayerLo[16], m_pbyMeshLo[16], m_pbySpiralLo[16], m_pbyFattingLo[16], m_pbyHMeshLo[16],
      m_pbyVMeshLo[16];
  static const unsigned char m_pbyBayerMd[40], m_pbyMeshMd[40], m_pbySpiralMd[40], m_pbyFattingMd[40], m_pbyHMeshMd[40],
      m_pbyVMeshMd[40];
  static const unsigned char m_pbyBayer2[8];
  static const unsigned char *const m_pMethodLo[6];  // the matrices by dither type
  static const unsigned char *const m_pMethodMd[6];
  static const unsigned char *const m_pMethodHi[6];

  static unsigned char m_pbyPattern[64];  // thresholds of the matrix chosen last, shared by all agents
};
