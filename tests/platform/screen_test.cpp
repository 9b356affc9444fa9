// The screen's mode and the desktop's contexts; rectangles; scaling and formatting; message boxes.

#include "qel/platform/screen.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <string>
#include <vector>

#include "qel/platform/gdi/device_context.h"
#include "qel/platform/gdi/window.h"
#include "qel/platform/kernel/helpers.h"
#include "qel/platform/message_box.h"
#include "qel/platform/mfc/object.h"
#include "qel/platform/mfc/rect.h"

namespace {

std::vector<int> Caps(HDC hDC) {
  std::vector<int> caps;
  for (const int nIndex : {BITSPIXEL, PLANES, HORZRES, VERTRES, LOGPIXELSX, LOGPIXELSY})
    caps.push_back(GetDeviceCaps(hDC, nIndex));
  return caps;
}

TEST(ScreenTest, ContextsKeepTheModeTheyWereMadeIn) {
  const std::vector<int> standard = {32, 1, 1920, 1080, 96, 96};
  const HDC hBefore = GetDC(nullptr);
  EXPECT_EQ(Caps(hBefore), standard);
  SetScreenMode({8, 1, 640, 480, 72, 75});
  const HDC hAfter = GetDC(GetDesktopWindow());
  EXPECT_EQ(Caps(hAfter), (std::vector<int>{8, 1, 640, 480, 72, 75}));
  EXPECT_EQ(Caps(hBefore), standard);
  EXPECT_EQ(GetSystemMetrics(SM_CXSCREEN), 640);
  EXPECT_EQ(GetSystemMetrics(SM_CYSCREEN), 480);
  EXPECT_EQ(GetSystemMetrics(77), 0);
  for (int ScreenMode::*field : {&ScreenMode::nBitsPixel, &ScreenMode::nPlanes, &ScreenMode::nWidth,
                                 &ScreenMode::nHeight, &ScreenMode::nDpiX, &ScreenMode::nDpiY}) {
    ScreenMode bad = {32, 1, 1920, 1080, 96, 96};
    bad.*field = 0;
    SetScreenMode(bad);
    EXPECT_EQ(GetSystemMetrics(SM_CXSCREEN), 640);
  }
  SetScreenMode({32, 1, 1920, 1080, 96, 96});

  int nLocal = 0;
  const HWND hNoWindow = reinterpret_cast<HWND>(&nLocal);
  EXPECT_EQ(GetDC(hNoWindow), nullptr);
  EXPECT_FALSE(ReleaseDC(hNoWindow, hAfter));
  EXPECT_TRUE(ReleaseDC(GetDesktopWindow(), hAfter));
  EXPECT_FALSE(ReleaseDC(nullptr, hAfter));
  EXPECT_EQ(GetDeviceCaps(hAfter, BITSPIXEL), 0);
  EXPECT_EQ(GetDeviceCaps(reinterpret_cast<HDC>(&nLocal), BITSPIXEL), 0);
  EXPECT_EQ(GetDeviceCaps(hBefore, -1), 0);
  EXPECT_TRUE(ReleaseDC(nullptr, hBefore));
}

TEST(RectTest, WrapsInsteadOfOverflowing) {
  CRect rc(-1, -2, 3, 4);
  EXPECT_TRUE(InflateRect(rc, 2, -3));
  EXPECT_EQ(rc, CRect(-3, 1, 5, 1));
  EXPECT_TRUE(rc.IsRectEmpty());
  EXPECT_FALSE(InflateRect(nullptr, 1, 1));
  EXPECT_EQ(CRect(INT_MIN, INT_MIN, INT_MAX, 0).Width(), -1);
  EXPECT_EQ(CRect(INT_MIN, INT_MIN, INT_MAX, 0).Height(), INT_MIN);
  rc.SetRect(INT_MIN, 0, INT_MAX, 0);
  EXPECT_TRUE(InflateRect(rc, 1, INT_MIN));
  EXPECT_EQ(rc, CRect(INT_MAX, INT_MIN, INT_MIN, INT_MIN));
  EXPECT_TRUE(CPoint(1, 2) == (POINT{1, 2}) && CPoint(1, 2) != CPoint(2, 1));
}

TEST(HelpersTest, MulDivRoundsHalvesAwayFromZero) {
  std::mt19937 random(4);
  const int kSpecial[] = {INT_MIN, INT_MIN + 1, -3, -2, -1, 0, 1, 2, 3, 96, 2540, INT_MAX - 1, INT_MAX};
  const auto pick = [&] {
    return random() % 2 ? kSpecial[random() % std::size(kSpecial)] : static_cast<int>(random()) >> random() % 31;
  };
  for (int i = 0; i < 200000; ++i) {
    const int a = pick(), b = pick(), c = pick();
    const int result = MulDiv(a, b, c);
    // The quotient in halves, rounded towards zero, decides: a result is right when it is within half a unit.
    const __int128 product = static_cast<__int128>(a) * b;
    if (c == 0) {
      ASSERT_EQ(result, -1);
      continue;
    }
    __int128 quotient = product / c;
    const __int128 rest = product - quotient * c;
    if (2 * (rest < 0 ? -rest : rest) >= (c < 0 ? -static_cast<__int128>(c) : c))
      quotient += (product < 0) != (c < 0) ? -1 : 1;
    const bool overflows = quotient > INT_MAX || quotient < -static_cast<__int128>(INT_MAX);
    ASSERT_EQ(result, overflows ? -1 : static_cast<int>(quotient)) << a << " * " << b << " / " << c;
  }
}

TEST(HelpersTest, FormattingStopsAt1024Bytes) {
  std::vector<char> buffer(1100, '~');
  EXPECT_EQ(wsprintfA(buffer.data(), "RV_%08X", 0xBEEFu), 11);
  EXPECT_STREQ(buffer.data(), "RV_0000BEEF");
  EXPECT_EQ(wsprintfA(buffer.data(), "%s!", std::string(2000, 'x').c_str()), 1023);
  EXPECT_EQ(std::string(buffer.data()), std::string(1023, 'x'));
  EXPECT_EQ(buffer[1024], '~');
  EXPECT_EQ(wsprintfA(nullptr, "%d", 1), 0);
}

// Run-time classes ---------------------------------------------------------------------------------------------------

class Shape : public CObject {
  DECLARE_DYNAMIC(Shape)
};
class Circle : public Shape {
  DECLARE_DYNAMIC(Circle)
};
IMPLEMENT_DYNAMIC(Shape, CObject)
IMPLEMENT_DYNAMIC(Circle, Shape)

TEST(ObjectTest, ClassesKnowTheirBases) {
  const Circle circle;
  const CObject &object = circle;
  EXPECT_STREQ(object.GetRuntimeClass()->m_lpszClassName, "Circle");
  EXPECT_EQ(object.GetRuntimeClass()->m_nObjectSize, static_cast<int>(sizeof(Circle)));
  EXPECT_TRUE(object.IsKindOf(RUNTIME_CLASS(Shape)) && object.IsKindOf(RUNTIME_CLASS(CObject)));
  EXPECT_FALSE(Shape().IsKindOf(RUNTIME_CLASS(Circle)) || object.IsKindOf(nullptr));
  EXPECT_FALSE(RUNTIME_CLASS(CObject)->IsDerivedFrom(RUNTIME_CLASS(Shape)));
  EXPECT_EQ(RUNTIME_CLASS(Circle)->CreateObject(), nullptr);
}

// Message boxes ------------------------------------------------------------------------------------------------------

struct Shown {
  HWND hOwner;
  std::string text, caption;
  UINT nType;
} g_shown;

int RecordMessage(HWND hOwner, const char *pszText, const char *pszCaption, UINT nType) {
  g_shown = {hOwner, pszText, pszCaption, nType};
  return 7;
}

TEST(MessageBoxTest, GoesToTheHandlerOrToStandardError) {
  const MessageBoxHandler pfnStandard = SetMessageBoxHandler(&RecordMessage);
  EXPECT_EQ(MessageBoxA(GetDesktopWindow(), "text", "caption", MB_ICONEXCLAMATION), 7);
  EXPECT_TRUE(g_shown.hOwner == GetDesktopWindow() && g_shown.text == "text" && g_shown.caption == "caption" &&
              g_shown.nType == MB_ICONEXCLAMATION);
  EXPECT_EQ(MessageBoxA(nullptr, nullptr, nullptr, MB_OK), 7);
  EXPECT_EQ(g_shown.text, "");
  EXPECT_EQ(AfxMessageBox("for the user"), 7);
  EXPECT_EQ(g_shown.text, "for the user");
  EXPECT_EQ(g_shown.caption, "Test; \"title\" \xC3\xA4\\");  // the executable's own title
  EXPECT_EQ(SetMessageBoxHandler(nullptr), &RecordMessage);
  EXPECT_EQ(SetMessageBoxHandler(nullptr), pfnStandard);

  testing::internal::CaptureStderr();
  EXPECT_EQ(MessageBoxA(nullptr, "two\nlines", "caption", MB_OK), IDOK);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "caption: two lines\n");
}

}  // namespace
