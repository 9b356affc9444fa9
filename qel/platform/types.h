// Plain types, records and constants of the Windows imaging idiom, in the widths their binary forms have.
//
// LONG and DWORD are 32 bits wide here (they describe file fields, rectangles and palettes), while `long` and
// `unsigned long` in the engine's own operations are 64 bits wide. Handles are pointer-sized. Constants are constexpr
// and helpers are functions, so that including this header defines no macro.
#pragma once

#include <cstddef>
#include <cstdint>

// Scalars ------------------------------------------------------------------------------------------------------------

using BYTE = unsigned char;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using LONGLONG = std::int64_t;
using UINT = unsigned int;
using BOOL = int;
using SIZE_T = std::size_t;
using COLORREF = std::uint32_t;
using LPCSTR = const char *;
using LPSTR = char *;

constexpr BOOL TRUE = 1;
constexpr BOOL FALSE = 0;
constexpr int MAX_PATH = 260;

// Handles ------------------------------------------------------------------------------------------------------------

using HANDLE = void *;
using HGLOBAL = void *;
using HGDIOBJ = void *;
struct HPALETTE__;
struct HBITMAP__;
struct HFONT__;
struct HBRUSH__;
struct HDC__;
struct HWND__;
struct HINSTANCE__;
struct HRSRC__;
using HPALETTE = HPALETTE__ *;
using HBITMAP = HBITMAP__ *;
using HFONT = HFONT__ *;
using HBRUSH = HBRUSH__ *;
using HDC = HDC__ *;
using HWND = HWND__ *;
using HINSTANCE = HINSTANCE__ *;
using HMODULE = HINSTANCE;
using HRSRC = HRSRC__ *;
using HFILE = int;

inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-1));
constexpr HFILE HFILE_ERROR = -1;

// Geometry -----------------------------------------------------------------------------------------------------------

struct POINT {
  LONG x;
  LONG y;
};

struct SIZE {
  LONG cx;
  LONG cy;
};

/// A rectangle; right and bottom are exclusive.
struct RECT {
  LONG left;
  LONG top;
  LONG right;
  LONG bottom;
};

// Colours and palettes -----------------------------------------------------------------------------------------------

struct RGBQUAD {
  BYTE rgbBlue;
  BYTE rgbGreen;
  BYTE rgbRed;
  BYTE rgbReserved;
};

struct PALETTEENTRY {
  BYTE peRed;
  BYTE peGreen;
  BYTE peBlue;
  BYTE peFlags;
};

/// A logical palette: a version (0x300), a count, and that many entries from palPalEntry on.
struct LOGPALETTE {
  WORD palVersion;
  WORD palNumEntries;
  PALETTEENTRY palPalEntry[1];
};

/// A colour reference from its channels: red in the low byte.
constexpr COLORREF RGB(unsigned nRed, unsigned nGreen, unsigned nBlue) {
  return (nRed & 0xFF) | (nGreen & 0xFF) << 8 | (nBlue & 0xFF) << 16;
}
constexpr BYTE GetRValue(COLORREF rgb) {
  return static_cast<BYTE>(rgb);
}
constexpr BYTE GetGValue(COLORREF rgb) {
  return static_cast<BYTE>(rgb >> 8);
}
constexpr BYTE GetBValue(COLORREF rgb) {
  return static_cast<BYTE>(rgb >> 16);
}

// Device-independent bitmaps -----------------------------------------------------------------------------------------

struct BITMAPINFOHEADER {
  DWORD biSize;
  LONG biWidth;
  LONG biHeight;
  WORD biPlanes;
  WORD biBitCount;
  DWORD biCompression;
  DWORD biSizeImage;
  LONG biXPelsPerMeter;
  LONG biYPelsPerMeter;
  DWORD biClrUsed;
  DWORD biClrImportant;
};

struct BITMAPINFO {
  BITMAPINFOHEADER bmiHeader;
  RGBQUAD bmiColors[1];
};

/// A device-dependent bitmap as GetObjectA describes it.
struct BITMAP {
  LONG bmType;
  LONG bmWidth;
  LONG bmHeight;
  LONG bmWidthBytes;
  WORD bmPlanes;
  WORD bmBitsPixel;
  void *bmBits;
};

constexpr DWORD BI_RGB = 0;
constexpr DWORD BI_RLE8 = 1;
constexpr DWORD BI_RLE4 = 2;
constexpr DWORD BI_BITFIELDS = 3;
constexpr UINT DIB_RGB_COLORS = 0;
constexpr UINT DIB_PAL_COLORS = 1;
constexpr DWORD CBM_INIT = 4;
constexpr DWORD SRCCOPY = 0x00CC0020;

// Fonts --------------------------------------------------------------------------------------------------------------

struct LOGFONTA {
  LONG lfHeight;
  LONG lfWidth;
  LONG lfEscapement;
  LONG lfOrientation;
  LONG lfWeight;
  BYTE lfItalic;
  BYTE lfUnderline;
  BYTE lfStrikeOut;
  BYTE lfCharSet;
  BYTE lfOutPrecision;
  BYTE lfClipPrecision;
  BYTE lfQuality;
  BYTE lfPitchAndFamily;
  char lfFaceName[32];
};
using LOGFONT = LOGFONTA;

// Memory -------------------------------------------------------------------------------------------------------------

constexpr UINT GMEM_FIXED = 0;
constexpr UINT GMEM_MOVEABLE = 2;
constexpr UINT GMEM_ZEROINIT = 0x40;
constexpr UINT GHND = GMEM_MOVEABLE | GMEM_ZEROINIT;

constexpr DWORD MEM_COMMIT = 0x1000;
constexpr DWORD MEM_RESERVE = 0x2000;
constexpr DWORD MEM_DECOMMIT = 0x4000;
constexpr DWORD MEM_RELEASE = 0x8000;
constexpr DWORD MEM_FREE = 0x10000;
constexpr DWORD MEM_PRIVATE = 0x20000;
constexpr DWORD MEM_MAPPED = 0x40000;
constexpr DWORD PAGE_NOACCESS = 1;
constexpr DWORD PAGE_READWRITE = 4;
constexpr DWORD SEC_RESERVE = 0x4000000;
constexpr DWORD SEC_COMMIT = 0x8000000;
constexpr DWORD FILE_MAP_WRITE = 2;
constexpr DWORD FILE_MAP_READ = 4;
constexpr DWORD FILE_MAP_ALL_ACCESS = 0xF001F;

struct SYSTEM_INFO {
  DWORD dwPageSize;
  DWORD dwAllocationGranularity;
  DWORD dwNumberOfProcessors;
  void *lpMinimumApplicationAddress;
  void *lpMaximumApplicationAddress;
};

/// A run of pages of one reservation that share one state, as VirtualQuery reports it.
struct MEMORY_BASIC_INFORMATION {
  void *BaseAddress;
  void *AllocationBase;
  DWORD AllocationProtect;
  SIZE_T RegionSize;
  DWORD State;
  DWORD Protect;
  DWORD Type;
};

// Errors -------------------------------------------------------------------------------------------------------------

constexpr DWORD ERROR_SUCCESS = 0;
constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
constexpr DWORD ERROR_TOO_MANY_OPEN_FILES = 4;
constexpr DWORD ERROR_ACCESS_DENIED = 5;
constexpr DWORD ERROR_INVALID_HANDLE = 6;
constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
constexpr DWORD ERROR_SHARING_VIOLATION = 32;
constexpr DWORD ERROR_INVALID_PARAMETER = 87;
constexpr DWORD ERROR_DISK_FULL = 112;
constexpr DWORD ERROR_MOD_NOT_FOUND = 126;
constexpr DWORD ERROR_PROC_NOT_FOUND = 127;
constexpr DWORD ERROR_ALREADY_EXISTS = 183;
constexpr DWORD ERROR_INVALID_ADDRESS = 487;
constexpr DWORD ERROR_COMMITMENT_LIMIT = 1455;
constexpr DWORD ERROR_RESOURCE_NAME_NOT_FOUND = 1814;

// Devices and messages -----------------------------------------------------------------------------------------------

constexpr int HORZRES = 8;
constexpr int VERTRES = 10;
constexpr int BITSPIXEL = 12;
constexpr int PLANES = 14;
constexpr int LOGPIXELSX = 88;
constexpr int LOGPIXELSY = 90;
constexpr int SM_CXSCREEN = 0;
constexpr int SM_CYSCREEN = 1;
constexpr int WHITE_BRUSH = 0;
constexpr UINT DT_CENTER = 1;
constexpr UINT DT_VCENTER = 4;
constexpr UINT DT_SINGLELINE = 0x20;

constexpr UINT MB_OK = 0;
constexpr UINT MB_ICONEXCLAMATION = 0x30;
constexpr int IDOK = 1;

constexpr UINT OF_READ = 0;
constexpr UINT OF_WRITE = 1;
constexpr UINT OF_READWRITE = 2;
constexpr UINT OF_CREATE = 0x1000;
constexpr UINT OF_EXIST = 0x4000;
