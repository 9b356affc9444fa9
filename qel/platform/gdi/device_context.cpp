// Device contexts: what each has selected, and the colours that it shows.

#include "qel/platform/gdi/device_context.h"

#include <algorithm>

#include "qel/platform/gdi/context.h"

namespace qel::gdi {

ContextTable &Contexts() {
  static ContextTable &table = *new ContextTable(HandleKind::kDeviceContext);
  return table;
}

int DepthOf(const ScreenMode &mode) {
  return static_cast<int>(std::min<std::int64_t>(static_cast<std::int64_t>(mode.nBitsPixel) * mode.nPlanes, 32));
}

DeviceContext::DeviceContext(const ScreenMode &mode, HWND hWnd, std::shared_ptr<Surface> surface)
    : m_mode(mode),
      m_hWnd(hWnd),
      m_bMemory(false),
      m_palette(GetStockObject(DEFAULT_PALETTE)),
      m_font(GetStockObject(SYSTEM_FONT)),
      m_surface(std::move(surface)) {}

DeviceContext::DeviceContext(const ScreenMode &mode)
    : m_mode(mode),
      m_bMemory(true),
      m_bitmap(StartingBitmap()),
      m_palette(GetStockObject(DEFAULT_PALETTE)),
      m_font(GetStockObject(SYSTEM_FONT)) {}

Shown DeviceContext::ColoursOf(int nDepth) {
  if (nDepth >= 1 && nDepth <= 8 && nDepth != m_nScreenColoursDepth) {
    m_screenColours = ScreenColours(m_realised, nDepth);
    m_nScreenColoursDepth = nDepth;
  }
  return Shown(nDepth, &m_screenColours);
}

bool DeviceContext::SharesColours(const DeviceContext &source) const {
  const int nDepth = m_bitmap ? m_bitmap->Depth() : DepthOf(m_mode);
  return nDepth > 16 || nDepth == (source.m_bitmap ? source.m_bitmap->Depth() : DepthOf(source.m_mode));
}

bool DeviceContext::Realise() {
  if (m_hRealised == m_palette.Handle()) return false;
  m_hRealised = m_palette.Handle();
  m_realised = m_palette->m_bStock ? Entries() : m_palette->entries;
  m_nScreenColoursDepth = 0;
  return true;
}

void EndContextsOf(HWND hWnd) {
  for (const auto &[hDC, dc] : Contexts().All())
    if (!dc->m_bMemory && dc->m_hWnd == hWnd) Contexts().Remove(hDC);
}

}  // namespace qel::gdi

using qel::gdi::Contexts;
using qel::gdi::DeviceContext;

// Contexts -----------------------------------------------------------------------------------------------------------

HDC GetDC(HWND hWnd) {
  if (qel::gdi::IsDesktop(hWnd))
    return Contexts().Add(std::make_shared<DeviceContext>(qel::CurrentScreenMode(), nullptr, nullptr));
  auto surface = qel::gdi::SurfaceOf(hWnd);
  if (surface == nullptr) return nullptr;
  return Contexts().Add(std::make_shared<DeviceContext>(qel::CurrentScreenMode(), hWnd, std::move(surface)));
}

int ReleaseDC(HWND hWnd, HDC hDC) {
  const auto dc = Contexts().Find(hDC);
  if (dc == nullptr || dc->m_bMemory || dc->m_hWnd != (qel::gdi::IsDesktop(hWnd) ? nullptr : hWnd)) return 0;
  return Contexts().Remove(hDC) != nullptr;
}

HDC CreateCompatibleDC(HDC hDC) {
  if (hDC == nullptr) return Contexts().Add(std::make_shared<DeviceContext>(qel::CurrentScreenMode()));
  const auto dc = Contexts().Find(hDC);
  return dc != nullptr ? Contexts().Add(std::make_shared<DeviceContext>(dc->m_mode)) : nullptr;
}

BOOL DeleteDC(HDC hDC) {
  const auto dc = Contexts().Find(hDC);
  return dc != nullptr && dc->m_bMemory && Contexts().Remove(hDC) != nullptr;
}

int GetDeviceCaps(HDC hDC, int nIndex) {
  const auto dc = Contexts().Find(hDC);
  if (dc == nullptr) return 0;
  switch (nIndex) {
    case HORZRES:
      return dc->m_mode.nWidth;
    case VERTRES:
      return dc->m_mode.nHeight;
    case BITSPIXEL:
      return dc->m_mode.nBitsPixel;
    case PLANES:
      return dc->m_mode.nPlanes;
    case LOGPIXELSX:
      return dc->m_mode.nDpiX;
    case LOGPIXELSY:
      return dc->m_mode.nDpiY;
    default:
      return 0;
  }
}

// Selection ----------------------------------------------------------------------------------------------------------

HGDIOBJ SelectObject(HDC hDC, HGDIOBJ hObject) {
  const auto dc = Contexts().Find(hDC);
  if (dc == nullptr) return nullptr;
  if (const auto bitmap = qel::gdi::FindObject<qel::gdi::Bitmap>(hObject)) {
    if (!dc->m_bMemory) return nullptr;
    if (hObject == dc->m_bitmap.Handle()) return hObject;
    if (bitmap->m_nSelections != 0 && !bitmap->m_bStock) return nullptr;
    if (!bitmap->surface->IsPacked() &&
        (bitmap->wPlanes != dc->m_mode.nPlanes || bitmap->wBitsPixel != dc->m_mode.nBitsPixel))
      return nullptr;
    return dc->m_bitmap.Replace(hObject);
  }
  return dc->m_font.Replace(hObject);
}

HPALETTE SelectPalette(HDC hDC, HPALETTE hPal, BOOL) {
  const auto dc = Contexts().Find(hDC);
  return dc != nullptr ? static_cast<HPALETTE>(dc->m_palette.Replace(hPal)) : nullptr;
}

UINT RealizePalette(HDC hDC) {
  const auto dc = Contexts().Find(hDC);
  if (dc == nullptr) return GDI_ERROR;
  const bool bChanged = dc->Realise();
  return bChanged && qel::gdi::DepthOf(dc->m_mode) <= 8 ? static_cast<UINT>(dc->m_palette->entries.size()) : 0;
}
