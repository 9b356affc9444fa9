// Screens of every depth, their windows, and what stands on them.
#pragma once

#include <memory>
#include <vector>

#include "qel/qel.h"

namespace test {

/// A screen mode of a depth while the object lives.
struct Screen {
  explicit Screen(int nBits, int nWidth = 320) { SetScreenMode({nBits, 1, nWidth, 240, 96, 120}); }
  ~Screen() { SetScreenMode({32, 1, 1920, 1080, 96, 96}); }
};

struct Window {
  HWND hWnd;
  HDC hdc;
  int nWidth, nHeight;

  Window(int w, int h) : hWnd(CreateSurfaceWindow(w, h)), hdc(GetDC(hWnd)), nWidth(w), nHeight(h) {}
  ~Window() {
    ReleaseDC(hWnd, hdc);
    DestroyWindow(hWnd);
  }

  /// What every pixel shows, row by row.
  std::vector<COLORREF> Colors() const {
    std::vector<COLORREF> colors;
    for (int y = 0; y < nHeight; ++y)
      for (int x = 0; x < nWidth; ++x) colors.push_back(GetPixel(hdc, x, y));
    return colors;
  }
};

struct OpenScreen : PScrbase {
  using PScrbase::m_bGamma, PScrbase::m_nScreenWidth, PScrbase::m_pPalEntryStd, PScrbase::m_palGamma;
  using PScrbase::m_pbi, PScrbase::m_pbyGammaMap, PScrbase::m_pbyPalMap, PScrbase::m_pbyRGBMap;
  using PScrbase::m_pbyRGBMap2, PScrbase::m_plErr1, PScrbase::m_plErr2, PScrbase::m_pwPalIndex;
};

}  // namespace test
