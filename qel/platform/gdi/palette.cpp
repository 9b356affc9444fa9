// Logical palettes: the entries behind a checked handle, and the search for the nearest of them.

#include "qel/platform/gdi/palette.h"

#include <algorithm>
#include <cstring>

#include "qel/platform/gdi/colour_set.h"
#include "qel/platform/gdi/palette_object.h"

namespace {

using qel::gdi::Palette;

constexpr WORD kPaletteVersion = 0x300;

}  // namespace

std::shared_ptr<Palette> qel::gdi::MakeDefaultPalette() {
  auto palette = std::make_shared<Palette>();
  palette->entries = DefaultColours(8);
  return palette;
}

HPALETTE CreatePalette(const LOGPALETTE *pLogPalette) {
  if (pLogPalette == nullptr || pLogPalette->palVersion != kPaletteVersion || pLogPalette->palNumEntries == 0)
    return nullptr;
  auto palette = std::make_shared<Palette>();
  palette->entries.resize(pLogPalette->palNumEntries);
  // The entries go on behind the one that the record declares, so they are read as bytes from its start.
  std::memcpy(palette->entries.data(), reinterpret_cast<const BYTE *>(pLogPalette) + offsetof(LOGPALETTE, palPalEntry),
              palette->entries.size() * sizeof(PALETTEENTRY));
  return static_cast<HPALETTE>(qel::gdi::Objects().Add(std::move(palette)));
}

UINT GetPaletteEntries(HPALETTE hPal, UINT nStart, UINT nCount, PALETTEENTRY *pEntries) {
  const auto palette = qel::gdi::FindObject<Palette>(hPal);
  if (palette == nullptr) return 0;
  const UINT nHeld = static_cast<UINT>(palette->entries.size());
  if (pEntries == nullptr) return nHeld;
  if (nStart >= nHeld) return 0;
  const UINT nCopied = std::min(nCount, nHeld - nStart);
  std::copy_n(palette->entries.begin() + nStart, nCopied, pEntries);
  return nCopied;
}

UINT GetNearestPaletteIndex(HPALETTE hPal, COLORREF rgb) {
  const auto palette = qel::gdi::FindObject<Palette>(hPal);
  if (palette == nullptr) return static_cast<UINT>(-1);
  return qel::gdi::NearestEntry(palette->entries, rgb);
}
