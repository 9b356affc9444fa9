// PScrbase: the screen of an application. It knows what the screen can show, owns its standard palette, a
// gamma-corrected copy of it and the map from colours to it, and shows images in windows.
//
//   display/scrbase.cpp           the screen's measures, palettes and gamma maps
//   display/scrbase_show.cpp      images in windows
//
// An application makes one, calls DoInitial once, and uses it on the thread that paints.
#pragma once

#include "qel/export.h"
#include "qel/platform/mfc/dc.h"
#include "qel/platform/mfc/object.h"
#include "qel/platform/mfc/palette.h"
#include "qel/platform/mfc/rect.h"
#include "qel/platform/types.h"

class PMem;
class PQel;

class QEL_API PScrbase : public CObject {
  DECLARE_DYNCREATE(PScrbase)

 public:
  PScrbase();
  ~PScrbase() override;

  /// Measures the screen and builds palettes, maps and work memory. Where memory is short nothing is shown later on.
  virtual void DoInitial();

  /// Gamma correction in 256ths: 256 changes nothing, more brightens the middle tones, 0 (and below) counts as 256;
  /// three zeros turn it off.
  virtual void SetNewGamma(int nRed, int nGreen, int nBlue);

  /// Whether images of 8 bits share the standard palette on screens of 8 bits, instead of bringing their own.
  virtual void UseCommonPal(int bUse);

  int GetScreenBits() { return m_nScreenBits; }
  int GetDefaultDPIX() { return m_nDPIX; }
  int GetDefaultDPIY() { return m_nDPIY; }
  CPalette *GetStdPalette() { return &m_palStd; }
  CPalette *GetCurrPalette() { return m_pCurrPal; }

  /// Makes a palette of the caller's the current one; null, an empty one, or while the common palette is used: the
  /// screen's. `bDelete`: the one before it, when it is not the screen's, is deleted together with its CPalette object.
  void SetCurrPalette(CPalette *pPal, int bDelete);

  /// Build the screen's standard palette, the map from colours to it (from palette.map; computed when that is missing),
  /// and the gamma maps with the gamma palette.
  void CreateStdPalette();
  void CreatePaletteMap();
  void CreateGammaMap(int nRed, int nGreen, int nBlue);

  /// Makes palDst of the first nColors entries of palSrc, through the gamma maps.
  void CreateGammaPalette(int nColors, CPalette &palDst, CPalette &palSrc);

  /// Takes nBytes / 3 pixels of 24 bits through a gamma map (red, green and blue tables of 256) while gamma is on.
  void GammaMapping(unsigned char *pLine, unsigned char *pMap, int nBytes);

  /// Colours of a depth: nMax above 8 bits, else 2 to the power of the bits.
  int GetColorNum(int nBits, int nMax);

  // Display ----------------------------------------------------------------------------------------------------------
  //
  // Images deeper than the screen, 16 grays on screens of 16 colours, and with the common palette 256 colours on
  // screens of 256 are diffused to the standard palette; others bring their own palette. Without a window, an image or
  // memory nothing is shown.

  /// Shows an image in a part of a window, pixel ptScroll at the part's top left corner. nZoom above 1: every pixel as
  /// nZoom x nZoom pixels; below -1: every |nZoom|-th pixel; else 1:1. A repeating image fills the part.
  void ShowImage(PQel *pImage, CPoint &ptScroll, HWND hWnd, CRect &rcUpdate, int nZoom, CDC &dc);
  void ShowImage(PQel *pImage, CPoint &ptScroll, HWND hWnd, CRect &rcUpdate, int nZoom, HDC hdc);

  /// Shows a 24-bit image 1:1 through a map of 1024 bytes: red, green and blue tables of 256, and one through which all
  /// three go. Images of other types are not shown. Null: any image, as above.
  void ShowImage(PQel *pImage, CPoint &ptScroll, HWND hWnd, CRect &rcUpdate, unsigned char *pMap, HDC hdc);

  /// Shows a packed DIB in a global-memory handle 1:1.
  void ShowImage(CDC &dc, HBITMAP hDIB, HWND hWnd, RECT *pRect);

  /// Fills a part of a window with a colour (red in the low byte), diffused on palette screens.
  void ShowColorBlock(CDC &dc, HWND hWnd, RECT *pRect, unsigned long dwColor);

  /// Diffuses a line of 24, 8 or 4 bits to 8, 4 or 1 bits, from left to right. The error rows have three entries a
  /// pixel; what the line hands down is written to pErrNext, which need not be cleared. Palettes have four bytes an
  /// entry: red, green, blue, flags. (After Floyd and Steinberg 1976, with shares truncated toward zero.)
  void Diffuse1Line(unsigned char *pDst, unsigned char *pSrc, int *pErrCur, int *pErrNext, unsigned char *pMap,
                    unsigned char *pSrcPal, unsigned char *pDstPal, int nSrcBits, int nDstBits, int nWidth);

 protected:
  HGLOBAL m_hBIMem = nullptr;              // block 1: m_pbi
  HGLOBAL m_hWorkMem = nullptr;            // block 2: the maps
  HGLOBAL m_hLineMem = nullptr;            // block 3: m_pbyWorkBuf
  HGLOBAL m_hMapMem = nullptr;             // block 4: everything from m_pbyPalMap to m_pPalEntryStd
  BITMAPINFO *m_pbi = nullptr;             // header and colour table of what is drawn
  unsigned char *m_pbyRGBMap = nullptr;    // 768 bytes of colour map and 256 of a common one: a work area
  unsigned char *m_pbyRGBMap2 = nullptr;   // a second one, which nothing uses
  unsigned char *m_pbyGammaMap = nullptr;  // red, green and blue tables of 256
  unsigned char *m_pbyWorkBuf = nullptr;   // the line being prepared; the logical palette being built
  unsigned char *m_pbyPalMap = nullptr;    // 4096 indices of the standard palette by colour key
  unsigned short *m_pwPalIndex = nullptr;  // 0, 1, ... 255
  int *m_plErr1 = nullptr;                 // error rows, a screen wide
  int *m_plErr2 = nullptr;
  PALETTEENTRY *m_pPalEntryImg = nullptr;  // the palette of the image being diffused
  PALETTEENTRY *m_pPalEntryStd = nullptr;  // the screen's standard palette
  CPalette m_palStd;
  CPalette m_palGamma;
  CPalette *m_pCurrPal = nullptr;  // one of these two or the caller's
  int m_bGamma = 0;
  int m_bCommonPal = 0;
  int m_nGammaRed = 256;
  int m_nGammaGreen = 256;
  int m_nGammaBlue = 256;
  int m_nScreenBits = 0;  // 1, 4, 8 or 24, which stands for all depths above 8
  int m_nDPIX = 0;
  int m_nDPIY = 0;
  int m_nScreenWidth = 0;

 private:
  class Lines;  // on their way to the screen

  void xFreeBlocks();

  /// 1 when all four blocks are there.
  int xIsReady() const;

  /// Room for lBytes of a line: block 3, or memory of `own` when that is too small; null when memory is short.
  unsigned char *xGetWorkLine(long lBytes, PMem &own);

  /// Makes block 4 for error rows of lWidth pixels, with what it holds; 0 when memory is short, and it stays as it was.
  int xAllocMapBlock(long lWidth);
  long m_lErrorWidth = 0;  // pixels that the error rows have room for

  /// Takes each of the 768 bytes of a colour map through one map of 256, and through one a channel.
  void xAddMapToRGBMap(unsigned char *pRGBMap, unsigned char *pMap);
  void xAddToMapping(unsigned char *pRGBMap, unsigned char *pRed, unsigned char *pGreen, unsigned char *pBlue);
};
