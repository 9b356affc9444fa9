// Images from and to device-dependent bitmaps.

#include "qel/display/selected_palette.h"
#include "qel/image/image.h"
#include "qel/platform/gdi/bitmap.h"
#include "qel/platform/gdi/dib_transfer.h"
#include "qel/platform/gdi/object.h"
#include "qel/platform/gdi/window.h"
#include "qel/platform/mfc/dc.h"
#include "qel/platform/mfc/palette.h"

namespace {

/// What is deleted with the call when the caller wishes so.
struct HandedOver {
  HBITMAP hBitmap;
  HPALETTE hPal;
  bool isOurs;
  ~HandedOver() {
    if (!isOurs) return;
    DeleteObject(hBitmap);
    if (hPal != nullptr) DeleteObject(hPal);
  }
};

}  // namespace

HBITMAP PQel::GetDDB() {
  unsigned char *const pPixels = xGetPixels();
  if (pPixels == nullptr) return nullptr;
  const CClientDC desktop(GetDesktopWindow());
  if (GetBitCount() > desktop.GetDeviceCaps(PLANES) * desktop.GetDeviceCaps(BITSPIXEL)) return nullptr;
  CPalette palette;
  palette.Attach(GetPalette(nullptr));
  const qel::display::SelectedPalette selected(desktop, palette, FALSE);
  return CreateDIBitmap(desktop, m_pBIH, CBM_INIT, pPixels, GetBI(), DIB_RGB_COLORS);
}

int PQel::CreateImage(HBITMAP hBitmap, HPALETTE hPal, int bDelete, int bForceBkgd) {
  BITMAP record;
  if (hBitmap == nullptr) return 0;
  const HandedOver objects = {hBitmap, hPal, bDelete != 0};
  if (GetObjectA(hBitmap, sizeof record, &record) != sizeof record) return 0;
  const int nType = GetImageType(record.bmPlanes * record.bmBitsPixel);

  RGBQUAD table[256];
  int nColors = 0;
  if (hPal != nullptr) {
    nColors = GetColorNum(hPal);
    GetPaletteRGBQuad(hPal, table);
  }
  const CClientDC desktop(GetDesktopWindow());
  const auto dotsPerMetre = [&](int nCapability) {
    return static_cast<unsigned long>(desktop.GetDeviceCaps(nCapability)) * 5000 / 127;
  };
  if (!CreateImage(nType, record.bmWidth, record.bmHeight, nColors, nColors > 0 ? table : nullptr,
                   dotsPerMetre(LOGPIXELSX), dotsPerMetre(LOGPIXELSY), 1, 0, 0))
    return 0;
  unsigned char *const pPixels = xGetPixels();
  CPalette palette;
  palette.Attach(GetPalette(nullptr));
  const qel::display::SelectedPalette selected(desktop, palette, bForceBkgd);
  GetDIBits(desktop, hBitmap, 0, static_cast<UINT>(m_lHeight), pPixels, GetBI(), DIB_RGB_COLORS);
  return 1;
}
