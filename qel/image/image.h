// PQel: the image, a device-independent bitmap of 1 to 48 bits a pixel in any memory store and layout.
//
// One class, declared here once; the members are defined by subject:
//   image/        object and creation, attachment, palettes, layout and line access, converted lines, undo, repeat
//   access,
//                 pixels and zoomed lines
//   fileio/       DIB files, mask files, format libraries
//   convert/      whole images of one format into another
//   geometry/     turns, mirrors, rescaling, free rotation
//   ops/          whole-image operations, layers, blur, masks and borders, text
//   draw/         raster primitives
//   display/      images in device contexts, device-dependent bitmaps
//
// Conventions of every operation: row 0 is the top row and column 0 the left one; spans include both ends, rectangles
// exclude right and bottom; line buffers follow the DIB rule (1-bit pixels most significant bit first, 4-bit pixels
// high nibble first, 24-bit pixels blue, green, red); results are 1 for success and 0 for failure, null for pointers.
// An image is used by one thread at a time.
#pragma once

#include "qel/export.h"
#include "qel/mem/mem.h"
#include "qel/platform/mfc/file.h"
#include "qel/platform/mfc/object.h"
#include "qel/platform/mfc/palette.h"
#include "qel/platform/mfc/rect.h"
#include "qel/platform/types.h"

class CFont;
class PPointArray;
class PQel;

namespace qel::image {
struct ImageMeasures;
struct PackedInfo;
}  // namespace qel::image

/// Told of an image's creation (1), deletion (2), reads (3, afterwards) and writes (4, beforehand): the image, the
/// event, first x, first y, last x, last y, and the caller's buffer.
using ImageHookProc = void (*)(PQel *pImage, int nEvent, long lX0, long lY0, long lX1, long lY1, unsigned char *pBuf);

/// Where an image's store lies.
struct tagLmmInfo {
  unsigned long dwSize;     // bytes
  unsigned short wMemKind;  // 1: pvMem is a global-memory handle; 2: pvMem is the store's address
  void *pvMem;
};

class QEL_API PQel : public CObject {
  DECLARE_DYNAMIC(PQel)

 public:
  PQel();
  ~PQel() override;

  // Object and creation (image/object.cpp, image/create.cpp) ---------------------------------------------------------

  /// Ends every creation and attachment: empties the changed rectangle and calls the hook with event 1.
  virtual void InitialUpdate();

  /// Empties the image; `bFree` 0 forgets the pixel store instead of freeing it. The hook procedure stays.
  void DeleteImage(int bFree);

  /// Moves the image of `pSrc` into this empty one; `pSrc` is empty then. The hook procedures stay where they are.
  void CopyObject(PQel *pSrc);

  /// Creates an image of a type (0 to 9), `lWidth` columns and |lHeight| rows (negative: top row stored first).
  /// nClrUsed, pPal: size of the colour table and its entries (0: the type's own size; null: the standard palette).
  /// dwDpmX, dwDpmY: dots per metre (0: the other's value, both 0: the desktop's). nMemFlags: stores to try in the
  /// order 1 global memory, 4 reserved memory, 8 named mapping; 0x100 commits all pages at once. bBlock: square-block
  /// layout. bUndo: with an undo copy. Pixels are not initialised. 0 for a bad size or type (the image is kept), or
  /// when no store can be had (the image is empty).
  int CreateImage(int nType, long lWidth, long lHeight, int nClrUsed, RGBQUAD *pPal, unsigned long dwDpmX,
                  unsigned long dwDpmY, int nMemFlags, int bBlock, int bUndo);

  /// Creates an image after a header; width and height 0 take the header's. nType 10: type, count and colour table from
  /// the header too; another type: its standard palette.
  int CreateImage(BITMAPINFO *pbi, long lWidth, long lHeight, int nType, int nMemFlags, int bBlock, int bUndo);

  /// Creates an image from a packed DIB and copies its pixels.
  int GenerateImage(BITMAPINFO *pbi, int nMemFlags, int bBlock, int bUndo);

  /// Creates a copy of another image in the given store and layout, read row by row: from a repeating image in block
  /// layout that is the plane from the origin on, whose rows its periods may have shifted.
  int GenerateImage(PQel *pSrc, int nMemFlags, int bBlock, int bUndo);

  /// Creates an image from a bitmap resource of a module (null: the executable). (fileio/dib_resource.cpp)
  int GenerateImage(const char *pszName, HINSTANCE hModule);

  // Attachment (image/attach.cpp) ------------------------------------------------------------------------------------

  /// Takes over a packed DIB that starts a locked global block or a reservation; the memory is the image's then. A
  /// mapped view is written in place and stays its mapping's, which has to outlive the image.
  int Attach(BITMAPINFO *pbi);

  /// Takes over a packed DIB in a global-memory handle. A failure leaves the handle the caller's.
  int Attach(void *hDIB);

  /// Opens the packed DIB that another image, in any process, keeps in the named mapping. Its rows must lie in linear
  /// layout: the header cannot tell a mapping in block layout from it. The image at hand is gone when there is no such
  /// DIB; only a name that is empty or longer than 15 characters is refused before.
  int Attach(char *pszShareName);

  /// Hands the image out as a packed DIB in a global-memory handle that the caller owns, and is empty then. Null for an
  /// empty image and when memory is short.
  void *Detach();

  /// Copies header, masks and colour table to the start of the store.
  int UpdateBI();

  /// Brings the store's header up to date and returns the store's global handle; null for the other stores.
  void *GetDIB();

  /// Tells where the store lies; 0 for an empty image and in block layout.
  int GetLmmInfo(tagLmmInfo *pInfo);

  // Accessors (all safe on an empty image: 0 or null) ----------------------------------------------------------------

  BITMAPINFO *GetBI() const { return reinterpret_cast<BITMAPINFO *>(m_pBIH); }
  BITMAPINFOHEADER *GetBIH() const { return m_pBIH; }
  int GetImageType() const { return m_nImageType; }
  int GetMemType() const { return m_nMemType; }
  long GetImageWidth() const { return m_pBIH ? m_pBIH->biWidth : 0; }
  long GetImageHeight() const { return m_lHeight; }
  long GetLineBytes() const { return m_lLineBytes; }
  int GetBitCount() const { return m_pBIH ? m_pBIH->biBitCount : 0; }
  long GetDpmX() const { return m_pBIH ? m_pBIH->biXPelsPerMeter : 0; }
  long GetDpmY() const { return m_pBIH ? m_pBIH->biYPelsPerMeter : 0; }
  unsigned long GetImageSize() const { return m_pMem ? m_pMem->GetSize() : 0; }
  long GetLmmOffset() const { return m_lLmmOffset; }
  int IsEmpty() const { return m_pBIH == nullptr; }
  int IsEnableRepeat() const { return m_bRepeat; }
  long GetXRepeat() const { return m_lXRepeat; }
  long GetYRepeat() const { return m_lYRepeat; }
  int IsEnableAntiAlias() const { return m_bAntiAlias; }
  ImageHookProc GetHookProc() const { return m_pfnHook; }

  /// 1 when every coordinate shows a pixel: repeat mode with periods of 1 and more.
  int IsTiled() const { return m_bRepeat && m_lXRepeat >= 1 && m_lYRepeat >= 1; }

  // State flags ------------------------------------------------------------------------------------------------------

  /// Repeat mode: the image as an endless plane tiled with copies of itself. `b` 1 with periods of 0: the image's size.
  void EnableRepeat(int b);

  /// Turns repeat mode on: every lY rows the tiles shift by lX columns, every lX columns by lY rows; 0: the image's
  /// size.
  void SetRepeat(long lX, long lY);

  /// Takes over the repeat setting of another image.
  void SetSameRepeat(PQel *pSource);

  /// Allows anti-aliased drawing; 0 for an image that cannot have it (empty, below 8 bits, 256 colours).
  int EnableAntiAlias(int b);

  /// Installs a hook procedure and returns the one before it.
  ImageHookProc SetHookProc(ImageHookProc pfn);

  // Type codes (image/type.cpp) --------------------------------------------------------------------------------------

  /// Bits per pixel of a type; 0 for a code outside 0 to 9.
  static int GetBitCount(int nType);

  /// Type of a bit count; 10 for none. Gray types are told from the colour table, by UpdateImageType.
  static int GetImageType(int nBitCount);
  static int GetImageType(BITMAPINFO *pbi);

  /// Colour-table entries that a type has room for; 0 for a code outside 0 to 9.
  static int GetMaxClrUsed(int nType);

  /// Bytes of header, masks and colour table of a packed DIB; 0 for null.
  static unsigned long GetBISize(BITMAPINFO *pbi);

  // Palettes (image/palette.cpp) -------------------------------------------------------------------------------------

  /// Writes the standard palette of a type (GetMaxClrUsed entries); 0 for a null table.
  static int BuildStdPalette(int nType, RGBQUAD *pRGBQuad);

  /// 1 when the palette is a standard one of 2, 16 or 256 entries.
  static int IsStdPalette(HPALETTE hPal);

  /// Entries of a palette; 0 for null.
  static int GetColorNum(HPALETTE hPal);

  /// Up to 256 entries as red, green, blue triples, or as RGBQUADs with the flags byte in the reserved one.
  static int GetPaletteRGB(HPALETTE hPal, unsigned char *pRGB);
  static int GetPaletteRGBQuad(HPALETTE hPal, RGBQUAD *pRGBQuad);

  /// Builds a palette of 1 to 256 colours into `pal`, through a 768-byte colour map when one is given.
  static int CreatePalette(CPalette &pal, int nColors, unsigned char *pMap, RGBQUAD *pRGBQuad);

  /// New palettes that the caller owns: a type's standard one, or one of a given table. Null on failure.
  static HPALETTE CreateLogicalPalette(int nType);
  static HPALETTE CreateLogPal(int nColors, RGBQUAD *pRGBQuad);

  /// Derives the type anew from bit count and colour table: gray ramps make types 4 and 5.
  void UpdateImageType();

  /// The image's colour table as a palette that the caller owns, through a colour map when one is given.
  HPALETTE GetPalette(unsigned char *pMap);

  /// Copies a palette into the colour table, as many entries as both have; `bDelete` deletes the palette then.
  int SetPalette(HPALETTE hPal, int bDelete);

  /// Inverts every colour of the table.
  int InversePalette();

  // Line access (image/line_access.cpp) ------------------------------------------------------------------------------

  /// A row or a span of it, in the image's own format. Rows outside the image: 1, nothing moved.
  int GetHorLine(long y, unsigned char *pBuf);
  int GetHorLine(long x0, long x1, long y, unsigned char *pBuf);
  int PutHorLine(long y, unsigned char *pBuf);
  int PutHorLine(long x0, long x1, long y, unsigned char *pBuf);

  /// A span of a column, packed as a line.
  int GetVerLine(long x, long y0, long y1, unsigned char *pBuf);
  int PutVerLine(long x, long y0, long y1, unsigned char *pBuf);

  /// Bytes that a buffer needs for pixels x0 to x1, a multiple of 4; 0 for an empty image or span.
  long GetHorLineSize(long x0, long x1);

  // For operations that work in the store. Both are null when somebody sees the rows pass or the layout is another.

  /// The bytes of lCount pixels from (x, y) on where they are stored, committed; x starts a byte. Null also when not
  /// all of them lie in the image.
  unsigned char *xGetStoredSpan(long x, long lCount, long y);

  /// The first byte of the top row, and in *plStep the way from there to the next row down (negative where the bottom
  /// row comes first). Null also for the stores whose rows are committed one by one.
  unsigned char *xGetStoredRows(long *plStep);

  /// Commits the whole store, for those who work on it by its address (GetLmmInfo); 0 when memory is short.
  int CommitStore();

  /// Changes between linear and square-block layout with blocks of `lBlockSize` pixels (rounded up to a multiple of 8;
  /// 0: as set). The pixels are rebuilt; a failure keeps the image as it was. An empty image gives 0, but the next one
  /// that is created here takes the size.
  int EnableBlock(int bEnable, long lBlockSize);

  /// The rectangle of changed pixels: grow it (null: the whole image), empty it, read it.
  void InvalidateRect(CRect *pRect);
  void InvalidateLine(long x0, long x1, long y);
  void InvalidateVerLine(long x, long y0, long y1);
  void Validate();
  void GetInvalidateRect(CRect *pRect);

  // Converted lines (image/converted_lines.cpp) ----------------------------------------------------------------------

  /// A span as gray levels, one byte a pixel (images of 1, 4 and 8 bits), through a 256-byte map when one is given.
  int GetGrayHorLine(long x0, long x1, long y, unsigned char *pDst, unsigned char *pMap);
  int GetGrayVerLine(long x, long y0, long y1, unsigned char *pDst, unsigned char *pMap);

  /// Writes gray levels into images of types 0, 4 and 5.
  int PutGrayHorLine(long x0, long x1, long y, unsigned char *pSrc);
  int PutGrayVerLine(long x, long y0, long y1, unsigned char *pSrc);

  /// A span as 24-bit pixels (all types), through a 768-byte colour map when one is given.
  int Get24bitHorLine(long x0, long x1, long y, unsigned char *pDst, unsigned char *pMap);
  int Get24bitVerLine(long x, long y0, long y1, unsigned char *pDst, unsigned char *pMap);

  /// Writes 24-bit pixels into images of types 1 and 5 to 9.
  int Put24bitHorLine(long x0, long x1, long y, unsigned char *pSrc);
  int Put24bitVerLine(long x, long y0, long y1, unsigned char *pSrc);

  /// A span from right to left in the image's own format; `pTmp` is a work line of that size, or null.
  int GetRevHorLine(long x0, long x1, long y, unsigned char *pDst, unsigned char *pTmp);

  // Undo (image/undo.cpp) --------------------------------------------------------------------------------------------

  /// 1 starts a snapshot of the pixels; 0 empties it.
  int EnableUndo(int bUndo);

  /// Starts a new snapshot; 0 without one.
  int ClearUndo();

  /// Exchange the pixels with those of the snapshot, page by page.
  int DoUndo();
  int DoRedo();

  // Repeat access (image/repeat.cpp) ---------------------------------------------------------------------------------

  /// Spans of the tiled plane, at any coordinate.
  int GetWarpedHorLine(long x1, long x2, long y, unsigned char *pBuf);
  int PutWarpedHorLine(long x1, long x2, long y, unsigned char *pBuf);
  int GetWarpedVerLine(long x, long y1, long y2, unsigned char *pBuf);
  int PutWarpedVerLine(long x, long y1, long y2, unsigned char *pBuf);

  // Pixels and zoomed lines (image/pixel.cpp, image/zoom.cpp) --------------------------------------------------------

  /// A pixel in the image's own format; 48-bit pixels go through the low six bytes of `*pColor`.
  unsigned long GetPixel(long x, long y, long long *pColor);
  int SetPixel(long x, long y, long long color);

  /// A pixel as a colour reference (red in the low byte); palette images take an index in SetPixelRGB.
  unsigned long GetPixelRGB(long x, long y, long long *pColor);
  int SetPixelRGB(long x, long y, long long color);

  /// A pixel as 0x00RRGGBB.
  unsigned long GetPixelBGR(long x, long y);

  /// Writes each of `lCount` pixels `nZoom` times (2 and up). nBits 0: the image's own bit count.
  void ZoomInLine(unsigned char *pDst, unsigned char *pSrc, long lCount, int nZoom, int nBits);

  /// Writes `lCount` pixels, every |nZoom|-th of the source (nZoom -2 and below).
  void ZoomOutLine(unsigned char *pDst, unsigned char *pSrc, long lCount, int nZoom, int nBits);

  /// A span reduced by |nZoom|: in the image's own format, as 24-bit or as gray pixels.
  int GetZoomOutHorLine(long x1, long x2, long y, unsigned char *pDst, int nZoom);
  int GetZoomOut24BitHorLine(long x1, long x2, long y, unsigned char *pDst, int nZoom, unsigned char *pTable);
  int GetZoomOutGrayHorLine(long x1, long x2, long y, unsigned char *pDst, int nZoom, unsigned char *pTable);

  // DIB files (fileio/dib_read.cpp, fileio/dib_write.cpp) ------------------------------------------------------------

  /// Reads one DIB from the file's position: nMemFlags and bBlock as in CreateImage, bUndo for the undo copy. Rows that
  /// the file does not hold read as 0. 0, and the image kept, for headers that are not sound or cut short.
  int ReadDIBFile(CFile &file, int nMemFlags, int bBlock, int bUndo);

  /// Writes the image as one DIB at the file's position.
  int WriteDIBFile(CFile &file);

  /// Opens a DIB file by name; a name without an extension is tried with ".bmp" too.
  int OpenDIBImage(const char *pszName);
  int OpenDIBImage(char *pszName);

  /// Creates the file, with ".bmp" appended when asked for, and writes the image.
  int SaveDIB(const char *pszName, int bAppendExtension);

  // Mask files (fileio/mask_*.cpp) -----------------------------------------------------------------------------------

  /// Open a mask file, tried with ".msk" too when the name has no extension (nIgnored has no effect), and read one at
  /// the file's position. 0, and the image kept, when the file is none or its rows cannot be sound; 0, and the image
  /// empty, for rows that do not fit.
  int LoadMask(const char *pszName, int nIgnored);
  int ReadMaskFile(CFile &file);

  /// Create a mask file, with ".msk" appended when asked for, and write one at the file's position; 0 for an empty
  /// image.
  int SaveMask(const char *pszName, int bAppendExtension);
  int WriteMaskFile(CFile &file);

  /// Run-length compression of any bytes. `pDst` has room for lLength + lLength / 127 + 1 bytes; returns the bytes
  /// written, 0 for none. Decompression stops when `lLength` bytes have been made, whatever the commands say.
  long CompressByteStream(unsigned char *pDst, unsigned char *pSrc, long lLength);
  void DecompressByteStream(unsigned char *pDst, unsigned char *pSrc, long lLength);

  // Format libraries (fileio/codec.cpp) ------------------------------------------------------------------------------

  /// Reads a file through a format library. 0, and the image kept, when the library or one of its entry points is
  /// missing; 0, and the image deleted, when the file does not open, is of another format or of a size that cannot be
  /// had. A picture that came in partly gives 1; GetCodecTransferError (codec_header.h) tells.
  int OpenImage(const char *pszName, const char *pszLibrary);

  /// Writes a file through a format library, an image in block layout from a linear copy. 0 when the library or an
  /// entry point is missing, for an empty image and above 32767 pixels a side; 0, and the file deleted, when it cannot
  /// be created or the library cannot hold the image. A picture that went out partly gives 1, as above.
  int SaveImage(const char *pszName, const char *pszLibrary);

  /// Opens an image file of any kind: DIB, the format library of its extension, mask, JPEG. The image is deleted first.
  int OpenImage(const char *pszName);
  int OpenImage(char *pszName);

  /// JPEG files. A name without an extension is tried with ".jpg" too; SaveJPG appends it when asked for.
  int LoadJPG(const char *pszName, int nIgnored);
  int SaveJPG(const char *pszName, int bAppendExtension);

  /// Keeps a quality for all programs of the user; returns the one before it, itself when there was none.
  int SetJPGQuality(int nQuality);

  // Whole-image operations (ops/) ------------------------------------------------------------------------------------

  /// Copies pixels and palette of an image of the same format and size.
  int CopyImage(PQel *pSrc);

  /// Fills the image with one pixel value (24- and 32-bit colours with red in the low byte).
  int Clear(long long llColor);

  /// Inverts the palette (bPixels 0, 8 bits and fewer) or every pixel.
  int Invert(int bPixels);

  /// Copies a rectangle of `pSrc` (null: all of it) to a point of this image (null: the origin); `pSrc` may be this
  /// image.
  int CopyRect(PQel *pSrc, POINT *pPoint, RECT *pRect);

  /// 1 when widths and heights are equal, or either image repeats.
  int IsSameSize(PQel *pOther);

  /// Combines an image of the same size and depth into this one byte by byte: 0 AND, 1 OR, 2 XOR.
  int Composite(PQel *pSrc, unsigned int nOp);

  // Layers (ops/layer*.cpp) ------------------------------------------------------------------------------------------
  //
  // A mask level of 255 keeps what is there, 0 takes the new pixel; in between channels are mixed, and images of
  // indices take the new one up to 128.

  /// Mixes new pixels in the image's own format into a span through one mask level a pixel. The six-argument form is
  /// given the span as it is, in `pOld`, which holds the result afterwards.
  int MixHorLineWithGrayMask(long x0, long x1, long y, unsigned char *pLine, unsigned char *pMask);
  int MixHorLineWithGrayMask(long x0, long x1, long y, unsigned char *pLine, unsigned char *pOld, unsigned char *pMask);

  /// Combines a span of this mask image (1 or 8 bits) into a line of mask levels.
  int CombineMaskLine(long x0, long x1, long y, unsigned char *pMask);

  /// Sets to 0 every byte of a line whose bit is set in this 1-bit image.
  int FilterHorLine(long x0, long x1, long y, unsigned char *pLine);

  /// Replaces one channel of a span: 0 blue, 1 green, 2 red. 0 for images of 8 bits or fewer.
  int PutRGBPlanarLine(long x0, long x1, long y, unsigned char *pPlane, long nChannel);

  /// Copies a rectangle of `pSrc` (null: all of it) to a point (null: the origin) through a mask that lies on the
  /// source (null: none). 0 for a null source, different bit counts, and when memory is short.
  int CombineImage(PQel *pSrc, PQel *pMask, POINT *pPoint, RECT *pRect);

  /// Lays this image, whose transparency is `pMask` (0 opaque, 255 transparent), over a layer with its own; image and
  /// mask become the composite. An image of 8 bits or fewer becomes a 24-bit one.
  int CombineLayer(PQel *pMask, PQel *pLayer, PQel *pLayerMask);

  /// Maps every pixel through red, green, blue and common tables of 256; images of 8 bits or fewer through the common
  /// one as gray levels. For deeper images the caller's channel tables are passed through the common one in place.
  int DoMap(unsigned char *pMap);

  /// Multiply every byte of a span by nFactor / 255; 0 for types other than 24 bits and 256 grays.
  int MulHorLine(long x0, long x1, long y, int nFactor);
  int MulVerLine(long x, long y0, long y1, int nFactor);

  // Masks and borders (ops/mask_*.cpp, ops/border.cpp) ---------------------------------------------------------------

  /// Collects the pixels at or below the threshold that touch one above it, bottom row first. `pArea` null: the whole
  /// image; the zoom is 1 or more and changes nothing else.
  int FindBorder(PPointArray *pPoints, BYTE byThreshold, RECT *pArea, int nZoom);

  /// The rectangle of the pixels at or below the threshold with one more row above and below, as far as there is one; 0
  /// when it is not at least two columns wide and two rows high.
  int FindBoundaryRect(RECT *pRect, BYTE byThreshold);

  /// Images of 1 bit, 16 and 256 grays: pixels below the threshold become white, the others black; the other way round
  /// when the first colour of the table has no red. Other types stay as they are.
  int ClearTransparent(BYTE byThreshold);

  /// Makes a mask with 255 where the image shows the key colour (red in bits 16 to 23), blacks those pixels out, and
  /// with a blur above 0 adds a soft shadow to a larger image and mask.
  int GenerateImageMask(PQel *pMask, int nBlur, DWORD dwKey);

  /// Gives an image and its mask a soft black shadow below and to the right; both grow.
  int GenerateImageMask(PQel *pMask, int nBlur);

  // Blur (ops/blur.cpp) ----------------------------------------------------------------------------------------------

  /// Width of the kernel of a Gaussian blur: an odd number, 1 for a sigma below 0.1; 0 for infinity and NaN.
  int GetGaussianFilterWidth(double sigma);

  /// Blurs an area of `pSrc` (null: this image) into this image, with a standard deviation of `sigma` pixels. 8 bits
  /// and fewer are blurred as gray levels, from no deeper source, deeper images as 24-bit pixels. 0 for a sigma not
  /// above 0 or infinite, an area (null: the whole image) that is empty or not inside both images, and without memory.
  int GaussianBlur(PQel *pSrc, double sigma, RECT *pArea);

  /// Moves a gray line by (256 - |nShift|) / 256 of a pixel toward higher indices, in place. 0 or above 256: none.
  static void SlantGrayLine(int nShift, BYTE *pLine, int nCount);

  // Text (ops/text.cpp) ----------------------------------------------------------------------------------------------

  /// Draws a line of text in a solid colour, centred in a rectangle (null: the whole image) and cut there. The font is
  /// drawn nScale times as large and reduced: 1 gives hard edges, more smooths them. dwColor is as for Clear. 0, and
  /// nothing changed: an empty image, text or rectangle, no font, a scale below 1, and when memory is short.
  int DrawTextA(const char *pszText, RECT *pRect, CFont *pFont, DWORD dwColor, int nScale);

  // Raster primitives (draw/runs.cpp, draw/rectangle.cpp, draw/ellipse.cpp, draw/quadrilateral.cpp) ------------------
  //
  // A colour is a pixel value of the image's own format. In anti-alias mode coordinates are eighths of a pixel, a
  // colour is a gray level or 24-bit value, and each call adds the coverage of one sub-pixel row, over the undo copy's
  // pixels. What lies outside the image is cut off (in repeat mode it wraps) and gives 1.

  /// Runs of a row and of a column, both ends included.
  int DrawHorLine(long x1, long x2, long y, long long llColor);
  int DrawVerLine(long x, long y1, long y2, long long llColor);

  /// A rectangle (null: the whole image, by Clear, with the colour as it takes it).
  int FillRect(RECT *pRect, long long llColor);

  /// The ellipse inscribed in a rectangle (null: the whole image).
  int FillCircle(RECT *pRect, long long llColor);

  /// An ellipse of a length, as thick as a percentage of it, at 0, 45, 90 or 135 degrees; other angles draw nothing. 0
  /// for a length below 1.
  int FillEllipse(CPoint ptCenter, long lLength, long lThickness, long lAngle, long long llColor);

  /// A quadrilateral, row by row from its outermost crossings.
  int Fill4PixelRegion(CPoint pt1, CPoint pt2, CPoint pt3, CPoint pt4, long long llColor);

  /// Their inner forms. A run is one sub-pixel row or column in anti-alias mode; a rectangle is not cut (null gives 0);
  /// the two mirrored spans of a step of FillCircle; the extent of a quadrilateral on a row (0: it has none there); a
  /// band of a width around a line.
  int xDrawHorLine(long x1, long x2, long y, long long llColor);
  int xDrawVerLine(long x, long y1, long y2, long long llColor);
  int xFillRect(RECT *pRect, long long llColor);
  int xSet4Pixel(RECT *pRect, long lX, long lY, long long llColor);
  int xGetIntersection(CPoint pt1, CPoint pt2, CPoint pt3, CPoint pt4, long y, long &xMin, long &xMax);
  int xDrawWideLine(long lWidth, long x1, long y1, long x2, long y2, long long llColor);

  // Conversion of whole images (convert/convert_image.cpp) -----------------------------------------------------------

  /// Fills this image from one of the same size and another type. nThreshold: from which gray level on 256 grays become
  /// white in a monochrome image; the other numbers are not used. 0, and nothing written, for null, empty images,
  /// different sizes, and a pair of types that it does not know.
  int ConvertImage(PQel *pSrc, int nParam1, int nThreshold, int nParam3);

  /// Change this image's own type, keeping its size; it is kept in global memory in linear layout then. 0, and the
  /// image as it was, when it is empty, its type cannot be converted, or memory is short.
  int ConvertTo24bit();
  int ConvertTo256Gray();

  // Turns and mirrors (geometry/) ------------------------------------------------------------------------------------

  /// Makes this image from another by an operation: 0 copy and invert (lWidth as in Invert), 1 to 3 mirror left to
  /// right, top to bottom, through the centre, 4 and 5 quarter turn to the left and right, 6 to 8 rescale to lWidth x
  /// lHeight (0: the source's) in the source's type, 24 bits, 256 grays. Codes 0 to 3 work in place without a source;
  /// the others want a source and an empty image here. nMemFlags, bBlock, bUndo: as in CreateImage. (transform.cpp)
  int GenerateImage(PQel *pSource, unsigned int nOperation, long lWidth, long lHeight, int nMemFlags, int bBlock,
                    int bUndo);

  /// Write a source, turned by a quarter counter-clockwise or clockwise, into this image, which has the source's format
  /// and its size with width and height exchanged; 0 when it has not. (turn.cpp)
  int RotateImageLeft(PQel *pSource);
  int RotateImageRight(PQel *pSource);

  /// Write a source of this image's format and size, or this image itself (null), mirrored left to right, top to bottom
  /// or through the centre. (mirror.cpp)
  int MirrorHorizontal(PQel *pSource);
  int MirrorVertical(PQel *pSource);
  int MirrorDiagonal(PQel *pSource);

  // Rescaling (geometry/rescale*.cpp) --------------------------------------------------------------------------------

  /// Resamples a source to this image's size: palettes by nearest neighbour, all else by linear interpolation (larger)
  /// and exact area averages (smaller), each direction on its own. A 24-bit image takes every source, 256 grays also
  /// monochrome, other types their own kind; 0 for other pairs.
  int RescaleImage(PQel *pSource);

  /// Row lRow of this image resampled to lDestWidth pixels by a zoom table of the columns. nBitCount: the bits of the
  /// image that it is for; 24 asks for 24-bit pixels. 0 for a row outside the image and when memory is short.
  int GetRescaleLine(long lDestWidth, long lRow, unsigned char *pbyLine, int *pnMap, int *plWeight1, int *plWeight2,
                     int nBitCount);

  /// Becomes the 24-bit image of a source resampled to nWidth x nHeight. Pixels where `pMask` (null: none; of the
  /// source's size) is 255 are left out, so that their colours do not bleed into the others; in a 24-bit source they
  /// are black then, any other source stays as it was.
  int Rescale24bit(PQel *pSource, PQel *pMask, int nWidth, int nHeight);

  // Free rotation (geometry/rotate.cpp) ------------------------------------------------------------------------------

  /// Becomes the 24-bit (256-gray) image of a source turned counter-clockwise by nAngle degrees, large enough to hold
  /// it; whole turns give a copy in the source's format. Each pixel is the average of nSample x nSample points (1 to
  /// 256). Uncovered points take `dwBackground` (red in the low byte; for gray the level), or the nearest edge pixel.
  /// 0 for null or this image as source, and when the image cannot be created (this image is empty then).
  int Rotate24bitImage(PQel *pSource, int nAngle, int nSample, unsigned long dwBackground);
  int Rotate24bitImage(PQel *pSource, int nAngle, int nSample);
  int RotateGrayImage(PQel *pSource, int nAngle, int nSample, unsigned long dwBackground);

  // Display (display/show_image.cpp, display/device_bitmap.cpp) ------------------------------------------------------
  //
  // pMap: null, or red, green and blue tables of 256 that colours go through. bForceBkgd: SelectPalette's flag.

  /// Shows the image at the top left corner of a rectangle (null: the image's own), which cuts it; palette and bitmaps
  /// are those of hdcRef.
  void ShowImage(HDC hdc, RECT *pRect, int bForceBkgd, unsigned char *pMap);
  void ShowImage(HDC hdcDst, HDC hdcRef, RECT *pRect, int bForceBkgd, unsigned char *pMap);

  /// Shows the part of the image from pScroll (null: the origin) on in a rectangle of a window (null: all of it); a
  /// repeating image fills it. hdcDst null: hdc.
  void ShowImage(HWND hWnd, HDC hdc, RECT *pRect, POINT *pScroll, int bForceBkgd, unsigned char *pMap, HDC hdcDst);

  /// A device-dependent bitmap of the image, the caller's; null for a screen of fewer bits and in block layout.
  HBITMAP GetDDB();

  /// Makes the image of a device-dependent bitmap, with the colours of a palette (null: the type's standard ones).
  /// bDelete: bitmap and palette are deleted, also on failure. 0 for null and a bitmap that no type has the bits of.
  int CreateImage(HBITMAP hBitmap, HPALETTE hPal, int bDelete, int bForceBkgd);

  /// Turns pixels into the image's own coordinates: eighths of a pixel in anti-alias mode, else the same.
  void LPtoIP(POINT *pPoint);
  void LPtoIP(RECT *pRect);

  // Shared tables ----------------------------------------------------------------------------------------------------

  static const PALETTEENTRY m_palEntryStd[16];  // the 16 standard colours
  static const unsigned char m_byMonoORBit[8];  // the bit of pixel j within a byte of a 1-bit row
  static const unsigned char m_byMask[8];       // the n leftmost pixels of a 1-bit byte; entry 0: all eight

 protected:
  // Creation ---------------------------------------------------------------------------------------------------------

  /// Takes the measures over and allocates the header block. Without memory for it the image is empty again.
  int xAllocHeader(const qel::image::ImageMeasures &measures);

  /// Sets the pointers into the header block after its header.
  void xSetHeaderPointers();

  /// Takes the first of the stores asked for that can be had.
  int xAllocStore(int nMemFlags, unsigned long dwSize);

  /// Lays the pixels out and makes the store for them, opened by the header block.
  int xCreateStore(const qel::image::ImageMeasures &measures, int nMemFlags);

  /// True when an address lies in this image's header block or store.
  int xOwns(const void *p) const;

  /// Attachment: makes the header block after a checked header, then takes the store.
  int xPrepareAttach(const qel::image::PackedInfo &info, const qel::image::ImageMeasures &measures);
  void xFinishAttach(PMem *pStore, int nMemType, int bUndo);

  /// Entries of the colour table in use.
  int xGetTableSize() const;

  // Layout and line access -------------------------------------------------------------------------------------------

  using LineOperation = int (PQel::*)(long, long, long, unsigned char *);

  /// The arguments of a line operation: a span of a row (x0, x1, y) or of a column (x, y0, y1).
  struct LineSpan {
    long a;
    long b;
    long c;
    bool vertical;
    long First() const { return vertical ? b : a; }
    long Last() const { return vertical ? c : b; }
  };

  /// Offset of the byte of a pixel in the store, in the layout at hand and in block layout.
  unsigned long xGetOffset(long x, long y) const;
  unsigned long xGetBlockOffset(long x, long y) const;

  /// Offset of byte lByte of row y in linear layout.
  unsigned long xGetRowOffset(long lByte, long y) const {
    const long lRow = m_pBIH->biHeight < 0 ? y : m_lHeight - 1 - y;
    return static_cast<unsigned long>(m_lLmmOffset + lRow * m_lLineBytes + lByte);
  }

  /// Offset of a block, from the table when there is one.
  long xGetBlockStart(long lIndex) const {
    return m_plBlockTable != nullptr ? m_plBlockTable[lIndex] : m_lLmmOffset + lIndex * m_lBlockBytes;
  }

  /// Builds the table of block offsets; without it offsets are computed.
  int xBuildBlockTable();

  /// What becomes of a span: 0 it is refused, 1 there is nothing to move, 2 it lies in the image and is moved.
  int xCheckRow(long x0, long x1, long y, const unsigned char *pBuf) const;
  int xCheckColumn(long x, long y0, long y1, const unsigned char *pBuf) const;

  /// Pixels that a line operation on a span moves, repeat mode included: 0 when there is nothing to move, -1 when the
  /// span is refused.
  long xPixelsToMove(const LineSpan &span) const;

  // Movers of bytes lByte to lByte + lCount - 1 of a stored row, and of lCount units of lUnit bytes down a column.
  using BlockMove = int (PMem::*)(unsigned long, unsigned long, unsigned char *);
  using StridedMove = int (PMem::*)(unsigned long, unsigned long, unsigned long, long, unsigned char *);
  int xMoveLinearRow(BlockMove pfn, long lByte, long lCount, long y, unsigned char *pBuf);
  int xMoveBlockRow(BlockMove pfn, long lByte, long lCount, long y, unsigned char *pBuf);
  int xMoveLinearColumn(StridedMove pfn, long x, long y, long lCount, long lUnit, unsigned char *pBuf);
  int xMoveBlockColumn(StridedMove pfn, long x, long y, long lCount, long lUnit, unsigned char *pBuf);

  // Spans of pixels of 1 and 4 bits through one of those movers.
  using RowMove = int (PQel::*)(BlockMove, long, long, long, unsigned char *);
  using ColumnMove = int (PQel::*)(StridedMove, long, long, long, long, unsigned char *);
  int xReadRowBits(RowMove pfnMove, long lBits, long x0, long x1, long y, unsigned char *pBuf);
  int xWriteRowBits(RowMove pfnMove, long lBits, long x0, long x1, long y, unsigned char *pBuf);
  int xReadColumnBits(ColumnMove pfnMove, long lBits, long x, long y0, long y1, unsigned char *pBuf);
  int xWriteColumnBits(ColumnMove pfnMove, long lBits, long x, long y0, long y1, unsigned char *pBuf);

  int xGetHorLine(long x0, long x1, long y, unsigned char *pBuf);
  int xPutHorLine(long x0, long x1, long y, unsigned char *pBuf);
  int xGetVerLine(long x, long y0, long y1, unsigned char *pBuf);
  int xPutVerLine(long x, long y0, long y1, unsigned char *pBuf);

  // Forms for 1 and 4 bits a pixel, for spans inside the image.
  int xxGetHorLine1(long x0, long x1, long y, unsigned char *pBuf);
  int xxGetHorLine4(long x0, long x1, long y, unsigned char *pBuf);
  int xxPutHorLine1(long x0, long x1, long y, unsigned char *pBuf);
  int xxPutHorLine4(long x0, long x1, long y, unsigned char *pBuf);
  int xxGetVerLine1(long x, long y0, long y1, unsigned char *pBuf);
  int xxGetVerLine4(long x, long y0, long y1, unsigned char *pBuf);
  int xxPutVerLine1(long x, long y0, long y1, unsigned char *pBuf);
  int xxPutVerLine4(long x, long y0, long y1, unsigned char *pBuf);
  int xGetBlockHorLine1(long x0, long x1, long y, unsigned char *pBuf);
  int xGetBlockHorLine4(long x0, long x1, long y, unsigned char *pBuf);
  int xPutBlockHorLine1(long x0, long x1, long y, unsigned char *pBuf);
  int xPutBlockHorLine4(long x0, long x1, long y, unsigned char *pBuf);
  int xGetBlockVerLine1(long x, long y0, long y1, unsigned char *pBuf);
  int xGetBlockVerLine4(long x, long y0, long y1, unsigned char *pBuf);
  int xPutBlockVerLine1(long x, long y0, long y1, unsigned char *pBuf);
  int xPutBlockVerLine4(long x, long y0, long y1, unsigned char *pBuf);

  // Converted lines --------------------------------------------------------------------------------------------------

  bool xIsWhiteFirst() const;
  int xReadGray(LineOperation pfnRead, const LineSpan &span, unsigned char *pDst, unsigned char *pMap,
                bool bWhiteFirst);
  int xWriteGray(LineOperation pfnWrite, const LineSpan &span, unsigned char *pSrc);
  void xConvertTo24(unsigned char *pDst, const unsigned char *pSrc, long n) const;
  int xRead24(LineOperation pfnRead, const LineSpan &span, unsigned char *pDst, unsigned char *pMap);
  int xWrite24(LineOperation pfnWrite, const LineSpan &span, unsigned char *pSrc);

  // Undo -------------------------------------------------------------------------------------------------------------

  int xReadUndo(LineOperation pfnRead, const LineSpan &span, unsigned char *pBuf);

  /// Spans of the image as it was at the snapshot; the current image when there is none.
  int xGetUndoHorLine(long x0, long x1, long y, unsigned char *pBuf);
  int xGetUndoVerLine(long x, long y0, long y1, unsigned char *pBuf);
  int xGetUndoGrayHorLine(long x0, long x1, long y, unsigned char *pBuf);
  int xGetUndoGrayVerLine(long x, long y0, long y1, unsigned char *pBuf);
  int xGetUndo24bitHorLine(long x0, long x1, long y, unsigned char *pBuf);
  int xGetUndo24bitVerLine(long x, long y0, long y1, unsigned char *pBuf);

  // Repeat access ----------------------------------------------------------------------------------------------------

  struct WarpedLine;  // a plane line being walked
  struct WarpedRun;   // a piece of it inside the image
  bool xCanWarp() const;
  int xPlain(LineOperation pfn, const LineSpan &span, unsigned char *pBuf);
  int xWarp(LineOperation pfnPlain, const LineSpan &span, unsigned char *pBuf, bool bWrite);

  /// The image's pixel that a plane pixel shows.
  void xMapRepeat(long x, long y, long *pX, long *pY) const;
  WarpedRun xNextRun(const WarpedLine &line) const;
  int xReadRun(bool bVertical, const WarpedRun &run, unsigned char *pBuf);
  int xWriteRun(bool bVertical, const WarpedRun &run, unsigned char *pBuf);
  int xMoveWarped(WarpedLine line, unsigned char *pBuf, bool bWrite);
  int xReadWarpedBits(WarpedLine line, long lBits, unsigned char *pBuf);
  int xWriteWarpedBits(WarpedLine line, long lBits, unsigned char *pBuf);
  int xGetWarpedHorLine1(long x1, long x2, long y, unsigned char *pBuf);
  int xGetWarpedHorLine4(long x1, long x2, long y, unsigned char *pBuf);
  int xPutWarpedHorLine1(long x1, long x2, long y, unsigned char *pBuf);
  int xPutWarpedHorLine4(long x1, long x2, long y, unsigned char *pBuf);
  int xGetWarpedVerLine1(long x, long y1, long y2, unsigned char *pBuf);
  int xGetWarpedVerLine4(long x, long y1, long y2, unsigned char *pBuf);
  int xPutWarpedVerLine1(long x, long y1, long y2, unsigned char *pBuf);
  int xPutWarpedVerLine4(long x, long y1, long y2, unsigned char *pBuf);

  // Pixels and zoomed lines ------------------------------------------------------------------------------------------

  using ConvertedRead = int (PQel::*)(long x0, long x1, long y, unsigned char *pDst, unsigned char *pMap);

  bool xFindPixel(long *pX, long *pY) const;
  int xSetPartOfByte(unsigned long dwOffset, unsigned char byMask, unsigned char byValue);
  int xGetZoomOutLine(ConvertedRead pfnRead, long lPixelBytes, long x1, long x2, long y, unsigned char *pDst, int nZoom,
                      unsigned char *pTable);

  // Whole-image operations -------------------------------------------------------------------------------------------

  int xFillRows(long long llColor, unsigned long dwTrio);

  // Raster primitives ------------------------------------------------------------------------------------------------

  /// Gathers the sub-pixel rows of a shape. (draw/covered_rows.h)
  class CoveredRows;

  /// Fill a span that has been clipped, and add the coverage of one sub-pixel row or column to the pixels under it.
  int xFillSpan(const LineSpan &span, long long llColor);
  int xCoverSpan(const LineSpan &span, long long llColor);
  int xReadForCover(const LineSpan &pixels, unsigned char *pLine, unsigned char *pBase);
  int xDrawRun(LineSpan span, long long llColor);
  int xFillEllipseUpwards(const RECT &rc, long long llColor);

  // Turns and rescaling ----------------------------------------------------------------------------------------------

  bool xTurnsByColumns(const PQel *pSource) const;
  int xRotateImage(PQel *pSource, bool bLeft);
  int xRotateBlock(PQel *pSource, POINT *pDest, RECT *pRect, bool bLeft);
  int xMirrorOrInvert(PQel *pSource, unsigned int nOperation, long lWidth);

  /// Turn the tile `pRect` of the source to `pDest`.
  int xRotateBlockLeft(PQel *pSource, POINT *pDest, RECT *pRect);
  int xRotateBlockRight(PQel *pSource, POINT *pDest, RECT *pRect);

  int xRescaleImageInterpolation(PQel *pSource);
  int xRescaleImageOther(PQel *pSource);

  /// Zoom tables of one direction: for each step whether the walk moves on, and the weights.
  void xBuildZoomTable(long lSource, long lDest, int *pnMap, int *plWeight1, int *plWeight2);
  void xBuildZoomInTable(long lSource, long lDest, int *pnMap, int *plWeight1, int *plWeight2);
  void xBuildZoomOutTable(long lSource, long lDest, int *pnMap, int *plWeight);

  // Blur -------------------------------------------------------------------------------------------------------------

  /// Writes the kernel of a Gaussian (room for 256 weights) and returns its width.
  static int xGetGaussianFilterMatrix(int *pWeights, double sigma);

  /// Filter a line of gray or 24-bit pixels by a table of the kernel's products; the edge pixels go on beyond the line.
  static void xDoGrayGaussianFilter(BYTE *pOut, BYTE *pIn, long lCount, int *pTable, int nDivisor, long n);
  static void xDo24bitGaussianFilter(BYTE *pOut, BYTE *pIn, long lCount, int *pTable, int nDivisor, long n);

  // Display ----------------------------------------------------------------------------------------------------------

  /// Fills this linear image with the part of a source from (x, y) on, as it is stored there or, when this image alone
  /// has 24 bits, as such pixels through a map (null: none).
  int xCopyPart(PQel &source, long x, long y, unsigned char *pMap);

  /// The first stored row in linear layout, all committed; null for an empty image and in block layout.
  unsigned char *xGetPixels();

  // Fields -----------------------------------------------------------------------------------------------------------

  PMem *m_pMem;       // pixel store, owned; null when empty
  int m_nMemType;     // 1 global memory (also when empty), 4 reserved memory, 8 named mapping
  int m_nImageType;   // type code; 10 when empty
  long m_lLmmOffset;  // offset of the first pixel in the store
  long m_lHeight;     // rows, always positive
  long m_lBlockSize;  // edge of a storage block in pixels
  long m_lLineBytes;  // bytes of a stored row
  int m_bBlock;       // square-block layout
  int m_bRepeat;      // repeat mode
  int m_bAntiAlias;   // anti-aliased drawing
  int m_bUndo;        // undo copy
  long m_lXRepeat;    // repeat periods
  long m_lYRepeat;
  PMem m_memBI;                 // header block: header, masks, 256 colour entries, scratch line
  unsigned char *m_pbyLineBuf;  // scratch line in the header block: at least 1024 bytes and one row
  RGBQUAD *m_pRGBQuad;          // colour table in the header block
  BITMAPINFOHEADER *m_pBIH;     // start of the header block; null when empty
  PMem m_memBlockTable;         // holds the block table
  long m_lXBlocks;              // blocks across and down, in block layout
  long m_lYBlocks;
  long m_lBlockBytes;    // bytes of a block
  long *m_plBlockTable;  // store offset of each block; null when not built
  CRect m_rcInvalid;     // rectangle of changed pixels
  ImageHookProc m_pfnHook;
};

/// A second image class without fields of its own, for callers that tell images apart by class.
class QEL_API PQelAccessory : public PQel {
  DECLARE_DYNAMIC(PQelAccessory)
};
