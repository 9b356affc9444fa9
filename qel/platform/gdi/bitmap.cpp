// Device-dependent bitmaps: made for a context's device or from rows of pixels.

#include "qel/platform/gdi/bitmap.h"

#include <cstring>

#include "qel/platform/gdi/context.h"

namespace qel::gdi {

int Bitmap::Describe(int nBytes, void *pBuf) const {
  BITMAP description = {};
  description.bmWidth = surface->Width();
  description.bmHeight = surface->Height();
  description.bmWidthBytes =
      static_cast<LONG>((static_cast<std::int64_t>(surface->Width()) * wBitsPixel + 15) / 16 * 2);
  description.bmPlanes = wPlanes;
  description.bmBitsPixel = wBitsPixel;
  return CopyDescription(&description, sizeof description, nBytes, pBuf);
}

std::shared_ptr<Bitmap> MakeBitmap(int nWidth, int nHeight, bool bMonochrome, WORD wPlanes, WORD wBitsPixel) {
  if (nWidth < 1 || nHeight < 1) return nullptr;
  auto bitmap = std::make_shared<Bitmap>();
  bitmap->surface = Surface::Make(nWidth, nHeight, bMonochrome);
  if (bitmap->surface == nullptr) return nullptr;
  bitmap->wPlanes = wPlanes;
  bitmap->wBitsPixel = wBitsPixel;
  return bitmap;
}

HGDIOBJ StartingBitmap() {
  static const HGDIOBJ hBitmap = AddStockObject(MakeBitmap(1, 1, true, 1, 1));
  return hBitmap;
}

namespace {

HBITMAP Register(std::shared_ptr<Bitmap> bitmap) {
  return bitmap != nullptr ? static_cast<HBITMAP>(Objects().Add(std::move(bitmap))) : nullptr;
}

// Rows as CreateBitmap takes them: padded to 16 bits, top row first.
void StoreRows(Surface &surface, int nBits, const BYTE *pRows) {
  const size_t nStride = (static_cast<size_t>(surface.Width()) * static_cast<size_t>(nBits) + 15) / 16 * 2;
  Pixel table[256] = {};
  if (nBits <= 8) {
    const Entries &defaults = DefaultColours(nBits);
    for (size_t i = 0; i < defaults.size(); ++i) table[i] = ToPixel(defaults[i]);
  }
  const ChannelFields fields = {MakeField(0xF800), MakeField(0x07E0), MakeField(0x001F)};
  for (int y = 0; y < surface.Height(); ++y, pRows += nStride) {
    if (surface.IsPacked()) {
      std::memcpy(surface.Row(y), pRows, (static_cast<size_t>(surface.Width()) + 7) / 8);
    } else if (nBits <= 8) {
      lines::IndicesToPixels(surface.Pixels(y), pRows, nBits, 0, surface.Width(), table);
    } else if (nBits == 16) {
      lines::WordsToPixels(surface.Pixels(y), pRows, 2, surface.Width(), fields);
    } else if (nBits == 24) {
      Rgb24ToPixels(surface.Pixels(y), pRows, surface.Width());
    } else {
      lines::Rgb32ToPixels(surface.Pixels(y), pRows, surface.Width());
    }
  }
}

}  // namespace

}  // namespace qel::gdi

HBITMAP CreateCompatibleBitmap(HDC hDC, int nWidth, int nHeight) {
  using namespace qel::gdi;
  const auto dc = Contexts().Find(hDC);
  if (dc == nullptr) return nullptr;
  if (dc->m_bitmap)
    return Register(MakeBitmap(nWidth, nHeight, dc->m_bitmap->surface->IsPacked(), dc->m_bitmap->wPlanes,
                               dc->m_bitmap->wBitsPixel));
  return Register(MakeBitmap(nWidth, nHeight, false, static_cast<WORD>(dc->m_mode.nPlanes),
                             static_cast<WORD>(dc->m_mode.nBitsPixel)));
}

HBITMAP CreateBitmap(int nWidth, int nHeight, UINT nPlanes, UINT nBitsPixel, const void *pBits) {
  using namespace qel::gdi;
  if (nPlanes < 1 || nPlanes > 32 || nBitsPixel > 32 || (nPlanes > 1 && pBits != nullptr)) return nullptr;
  const int nBits = static_cast<int>(nPlanes * nBitsPixel);
  switch (nBits) {
    case 1:
    case 4:
    case 8:
    case 16:
    case 24:
    case 32:
      break;
    default:
      return nullptr;
  }
  auto bitmap = MakeBitmap(nWidth, nHeight, nBits == 1, static_cast<WORD>(nPlanes), static_cast<WORD>(nBitsPixel));
  if (bitmap != nullptr && pBits != nullptr) StoreRows(*bitmap->surface, nBits, static_cast<const BYTE *>(pBits));
  return Register(std::move(bitmap));
}
