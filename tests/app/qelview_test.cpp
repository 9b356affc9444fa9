// The window on a screen of its own (Xvfb), driven by a real keyboard and mouse (xdotool). A photograph of the screen
// is compared pixel by pixel with what the engine shows on a surface of its own.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <random>
#include <thread>

#include "app/support.h"
#include "display/screens.h"

using namespace test;

namespace {

constexpr auto kPatience = std::chrono::seconds(20);  // with a busy machine
constexpr int kScreenWidth = 640, kScreenHeight = 480;

bool Wait(const std::function<bool()> &isThere) {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (!isThere()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return true;
}

// Expected -----------------------------------------------------------------------------------------------------------

/// What the window should show.
struct View {
  int width, height;
  int zoom;
  int x, y;  // of the picture's corner
  int bits = 32, gamma = 0, common = 0;
};

/// The same by the engine.
std::vector<COLORREF> Shown(PQel &picture, const View &view) {
  const Screen screen(view.bits, 1920);
  const Window window(view.width, view.height);
  const RECT all = {0, 0, view.width, view.height};
  const HBRUSH beside = CreateSolidBrush(RGB(0x40, 0x40, 0x40));
  FillRect(window.hdc, &all, beside);
  DeleteObject(beside);
  PScrbase display;
  display.DoInitial();
  display.SetNewGamma(view.gamma, view.gamma, view.gamma);
  display.UseCommonPal(view.common);
  const int times = std::max(view.zoom, 1), step = std::max(-view.zoom, 1);
  const int left = std::max(-view.x, 0) / times, top = std::max(-view.y, 0) / times;  // shown pixels that are outside
  CPoint pixel(left * step, top * step);
  CRect update(view.x + left * times, view.y + top * times, view.width, view.height);
  CClientDC dc(window.hWnd);
  display.ShowImage(&picture, pixel, window.hWnd, update, view.zoom, dc);
  return window.Colors();
}

/// Soft colours with some grain: every pixel tells its place.
void Paint(PQel &picture, const std::string &path, long width, long height) {
  std::mt19937 random(static_cast<unsigned>(width));
  ASSERT_TRUE(picture.CreateImage(1, width, height, 0, nullptr, 3780, 3780, 1, 0, 0));
  for (long y = 0; y < height; ++y)
    for (long x = 0; x < width; ++x)
      picture.SetPixel(
          x, y, static_cast<long long>(x / 4 + random() % 32) << 16 | (y / 3 + random() % 32) << 8 | (x + y) / 6);
  ASSERT_TRUE(picture.SaveDIB(path.c_str(), 0));
}

// Screen -------------------------------------------------------------------------------------------------------------

class QelView : public testing::Test {
 protected:
  void SetUp() override {
    for (const char *program : {"Xvfb", "xdotool", "import"})
      if (test::Run({"/usr/bin/env", "which", program}).status != 0) GTEST_SKIP() << program << " is not installed";
    m_server = Start(m_streams, {"/usr/bin/env", "Xvfb", "-displayfd", "1", "-screen", "0",
                                 std::to_string(kScreenWidth) + "x" + std::to_string(kScreenHeight) + "x24",
                                 "-nolisten", "tcp", "-noreset"});
    if (!Wait([&] { return ReadFile(m_streams / "out").ends_with('\n'); }))
      GTEST_SKIP() << "Xvfb does not start: " << ReadFile(m_streams / "err");
    m_display = ":" + ReadFile(m_streams / "out");
    m_display.pop_back();
  }

  void TearDown() override {
    for (const pid_t child : {m_viewer, m_server})
      if (child > 0) kill(child, SIGTERM), test::Wait(child);
  }

  std::function<void()> OnScreen() const {
    return [display = m_display] {
      setenv("DISPLAY", display.c_str(), 1);
      setenv("SDL_RENDER_DRIVER", "software", 1);  // no graphics driver, whose leaks have no name once it is unloaded
      setenv("SDL_FRAMEBUFFER_ACCELERATION", "0", 1);
      setenv("LSAN_OPTIONS", "suppressions=" QEL_LEAKS_OF_SDL ":print_suppressions=0", 1);
      unsetenv("XDG_RUNTIME_DIR");
    };
  }

  Outcome OnTheScreen(std::vector<std::string> arguments) { return test::Run(std::move(arguments), OnScreen()); }

  /// Starts the viewer through the command line, in the screen's corner.
  void Show(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {QEL_PROGRAM, "show"});
    m_viewer = Start(m_told, std::move(arguments), OnScreen());
    ASSERT_TRUE(Wait([&] {
      m_window = OnTheScreen({"/usr/bin/env", "xdotool", "search", "--onlyvisible", "--name", "qelview"}).out;
      return m_window.ends_with('\n');
    })) << ReadFile(m_told / "err");
    m_window.pop_back();
    Do({"windowmove", m_window, "0", "0"});
  }

  void Do(std::vector<std::string> words) {
    words.insert(words.begin(), {"/usr/bin/env", "xdotool"});
    const Outcome done = OnTheScreen(std::move(words));
    EXPECT_EQ(done.status, 0) << done.err;
  }

  std::string Title() { return OnTheScreen({"/usr/bin/env", "xdotool", "getwindowname", m_window}).out; }

  /// The window as it is seen; nothing while it has another size.
  std::vector<COLORREF> Photograph(int width, int height) {
    const std::string path = m_told / "screen.bmp";
    EXPECT_EQ(OnTheScreen({"/usr/bin/env", "import", "-silent", "-window", m_window, "bmp3:" + path}).status, 0);
    PQel screen;
    std::vector<COLORREF> colors;
    std::vector<unsigned char> row(3 * kScreenWidth + 4);
    EXPECT_TRUE(screen.OpenDIBImage(path.c_str()));
    if (screen.GetImageWidth() != width || screen.GetImageHeight() != height) return {};
    for (int y = 0; y < height; ++y) {
      EXPECT_TRUE(screen.Get24bitHorLine(0, width - 1, y, row.data(), nullptr));
      for (int x = 0; x < width; ++x) colors.push_back(RGB(row[3 * x + 2], row[3 * x + 1], row[3 * x]));
    }
    return colors;
  }

  bool IsShown(PQel &picture, const View &view) {
    const std::vector<COLORREF> expected = Shown(picture, view);
    return Wait([&] { return Photograph(view.width, view.height) == expected; });
  }

  const Scratch m_streams, m_told, m_files;
  std::string m_display, m_window;
  pid_t m_server = 0, m_viewer = 0;
};

}  // namespace

TEST_F(QelView, ShowsWhatTheEngineShows) {
  const std::string large = m_files / "large.bmp", small = m_files / "small.bmp", none = m_files / "none.bmp";
  PQel picture, colourful, other;
  Paint(picture, large, 700, 500);
  Paint(colourful, m_files / "colourful.bmp", 100, 80);
  ASSERT_EQ(Qel({"convert", m_files / "colourful.bmp", small, "--method", "custom"}).status, 0);
  ASSERT_TRUE(other.OpenDIBImage(small.c_str()));  // 256 colours of its own
  ASSERT_NO_FATAL_FAILURE(Show({"--size", "300x200", none, large, small}));
  ASSERT_TRUE(IsShown(picture, {300, 200, -3, 33, 16})) << "the whole picture";

  Do({"key", "z"});
  ASSERT_TRUE(IsShown(picture, {300, 200, 1, -201, -152})) << "one to one";
  Do({"mousemove", "150", "100", "mousedown", "1", "mousemove", "90", "63", "mouseup", "1"});
  ASSERT_TRUE(IsShown(picture, {300, 200, 1, -261, -189})) << "dragged";
  Do({"key", "Left", "key", "Down"});
  ASSERT_TRUE(IsShown(picture, {300, 200, 1, -197, -253})) << "scrolled";
  Do({"mousemove", "100", "50", "click", "4"});
  View view = {300, 200, 2, -494, -556};
  ASSERT_TRUE(IsShown(picture, view)) << "enlarged";

  for (const int bits : {8, 4, 1}) {
    Do({"key", std::to_string(bits)});
    view.bits = bits;
    ASSERT_TRUE(IsShown(picture, view)) << "on a screen of few colours";
  }
  const std::vector<COLORREF> before = Shown(picture, view);
  const auto stayed = before.begin() + 300 * 64;
  Do({"key", "Down"});
  ASSERT_TRUE(Wait([&] {
    const std::vector<COLORREF> after = Photograph(300, 200);
    return !after.empty() && std::equal(stayed, before.end(), after.begin());
  })) << "moved, not painted anew: diffused from the new edge the dots would lie elsewhere";
  view.y -= 64;
  ASSERT_NE(Shown(picture, view), Photograph(300, 200));
  Do({"key", "0", "key", "plus", "key", "plus"});
  view.bits = 32, view.gamma = 320;
  ASSERT_TRUE(IsShown(picture, view)) << "brighter";
  Do({"key", "minus", "key", "minus", "click", "5", "key", "f"});
  const View whole = {300, 200, -3, 33, 16};
  ASSERT_TRUE(IsShown(picture, whole)) << "the whole picture again";

  Do({"key", "F1"});
  const std::vector<COLORREF> plain = Shown(picture, whole);
  EXPECT_TRUE(Wait([&] { return Photograph(300, 200) != plain; }));
  Do({"key", "F1"});
  ASSERT_TRUE(IsShown(picture, whole)) << "without help";

  Do({"key", "n"});
  ASSERT_TRUE(IsShown(other, {300, 200, 1, 100, 60})) << "the next picture";
  EXPECT_TRUE(Wait([&] { return Title().starts_with("small.bmp (2 of 2) - 100 x 80, 1:1"); })) << Title();
  Do({"key", "8"});
  ASSERT_TRUE(IsShown(other, {300, 200, 1, 100, 60, 8})) << "in its own colours";
  Do({"key", "c"});
  ASSERT_TRUE(IsShown(other, {300, 200, 1, 100, 60, 8, 0, 1})) << "with the common palette";
  Do({"key", "c", "key", "0", "key", "r", "mousemove", "20", "20", "mousedown", "1", "mousemove", "47", "61", "mouseup",
      "1"});
  other.EnableRepeat(1);
  ASSERT_TRUE(IsShown(other, {300, 200, 1, 27 - 100, 21 - 80}))
      << "as an endless plane";  // its corner lies at 127, 101

  Do({"windowsize", m_window, "1", "1"});
  Do({"windowsize", m_window, "420", "310"});
  Do({"key", "r", "key", "p", "key", "f"});
  ASSERT_TRUE(IsShown(picture, {420, 310, -2, 35, 30})) << "in a larger window";

  Do({"key", "q"});
  EXPECT_EQ(test::Wait(std::exchange(m_viewer, 0)), 1);  // one of the files is not there
  EXPECT_EQ(ReadFile(m_told / "err"), "qelview: " + none + ": No such file or directory\n");
}

TEST_F(QelView, TellsWhyItShowsNothing) {
  const std::string text = m_files / "text.png";
  WriteFile(text, "no picture");
  const Outcome unread = OnTheScreen({QEL_PROGRAM, "show", text});
  EXPECT_EQ(unread.status, 1);
  EXPECT_EQ(unread.err, "qelview: " + text + ": is no picture of a known format\n");

  m_display = ":54321";
  const Outcome unseen = OnTheScreen({QEL_PROGRAM, "show", text});
  EXPECT_EQ(unseen.status, 1);
  EXPECT_TRUE(unseen.err.starts_with("qelview: display: cannot be opened: ")) << unseen.err;

  const std::string alone = m_files / "qel";
  std::filesystem::copy_file(QEL_PROGRAM, alone);
  const Outcome missing = test::Run({alone, "show", text}, [] { setenv("PATH", "/", 1); });
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err, "qel: qelview: is not installed: neither beside this program nor in PATH\n");
}
