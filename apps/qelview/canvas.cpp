// A surface keeps colours, whatever screen they were painted for, so one window serves screens of all depths: only the
// mode that is in force while a context and the PScrbase are made tells which screen it is.

#include "apps/qelview/canvas.h"

#include <algorithm>
#include <new>

namespace view {

namespace {

constexpr COLORREF kBeside = RGB(0x40, 0x40, 0x40);  // the window beside a picture
constexpr int kFrameBits = 32;

void SetScreen(int bits) {
  SetScreenMode({bits, 1, 1920, 1080, 96, 96});
}

/// For messages that nobody is to see.
int Ignore(HWND, const char *, const char *, UINT) {
  return IDOK;
}

}  // namespace

// Surface ------------------------------------------------------------------------------------------------------------

Canvas::~Canvas() {
  Release();
}

void Canvas::Release() {
  DeleteDC(m_frameContext);
  DeleteObject(m_frame);
  DestroyWindow(m_window);
  m_frameContext = nullptr, m_frame = nullptr, m_window = nullptr;
  m_size = {};
}

void Canvas::Resize(const Extent &size) {
  Release();
  const int width = static_cast<int>(size.width), height = static_cast<int>(size.height);
  m_window = CreateSurfaceWindow(width, height);
  SetScreen(kFrameBits);
  {
    CClientDC desktop(nullptr);
    m_frameContext = CreateCompatibleDC(desktop);
    m_frame = CreateCompatibleBitmap(desktop, width, height);
  }
  SetScreen(m_look.bits);
  if (m_window == nullptr || m_frame == nullptr || SelectObject(m_frameContext, m_frame) == nullptr) {
    Release();
    throw std::bad_alloc();
  }
  m_pixels.assign(static_cast<std::size_t>(size.width * size.height), 0);
  m_size = size;
}

void Canvas::SetLook(const Look &look) {
  if (m_screen == nullptr || look.bits != m_look.bits) {
    SetScreen(look.bits);
    m_screen = std::make_unique<PScrbase>();
    m_screen->DoInitial();
  }
  m_look = look;
  const int gamma = look.gamma == Look::kPlainGamma ? 0 : look.gamma;
  m_screen->SetNewGamma(gamma, gamma, gamma);
  m_screen->UseCommonPal(look.common);
}

// Painting -----------------------------------------------------------------------------------------------------------

void Canvas::Paint(PQel &picture, const Placement &placement, const RECT &part) {
  CClientDC dc(m_window);
  if (!placement.Covers(part)) {
    const HBRUSH brush = CreateSolidBrush(kBeside);
    FillRect(dc, &part, brush);
    DeleteObject(brush);
  }
  const Patch patch = placement.PatchOf(part);
  CPoint pixel(patch.pixel);
  CRect update(patch.rect);
  m_screen->ShowImage(&picture, pixel, m_window, update, placement.Zoom(), dc);
}

void Canvas::Move(long dx, long dy) {
  const CClientDC dc(m_window);
  const int x = static_cast<int>(dx), y = static_cast<int>(dy);
  BitBlt(dc, x, y, static_cast<int>(m_size.width), static_cast<int>(m_size.height), dc, 0, 0, SRCCOPY);
}

const std::vector<std::uint32_t> &Canvas::Read(PQel *over) {
  const int width = static_cast<int>(m_size.width), height = static_cast<int>(m_size.height);
  {
    const CClientDC dc(m_window);
    BitBlt(m_frameContext, 0, 0, width, height, dc, 0, 0, SRCCOPY);
  }
  if (over != nullptr) {
    const int overWidth = static_cast<int>(over->GetImageWidth()),
              overHeight = static_cast<int>(over->GetImageHeight());
    const int x = std::max(width - overWidth, 0) / 2, y = std::max(height - overHeight, 0) / 2;
    RECT rect = {x, y, x + overWidth, y + overHeight};
    over->ShowImage(m_frameContext, &rect, FALSE, nullptr);
  }
  BITMAPINFO form = {};
  form.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
  form.bmiHeader.biWidth = width;
  form.bmiHeader.biHeight = -height;
  form.bmiHeader.biPlanes = 1;
  form.bmiHeader.biBitCount = kFrameBits;
  form.bmiHeader.biCompression = BI_RGB;
  GetDIBits(m_frameContext, m_frame, 0, static_cast<UINT>(height), m_pixels.data(), &form, DIB_RGB_COLORS);
  return m_pixels;
}

// Palette maps -------------------------------------------------------------------------------------------------------

bool IsPaletteMapMissing() {
  const MessageBoxHandler before = SetMessageBoxHandler(Ignore);
  unsigned char map[4096];
  const bool missing = !PItc::ReadStdPaletteMap(map, 3);
  SetMessageBoxHandler(before);
  return missing;
}

}  // namespace view
