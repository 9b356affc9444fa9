// Events are taken until there are none left, then the difference to what the surface shows is painted: nothing, the
// strips that a scroll uncovered, or all of it. So a fast pointer costs one painting, however many events it sends.

#include "apps/qelview/viewer.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "apps/qel/failure.h"
#include "apps/qel/picture_file.h"

namespace view {

namespace {

constexpr long kLeastWidth = 480, kLeastHeight = 360;  // of a window that nobody gave a size
constexpr int kArrowStep = 64;                         // pixels

[[noreturn]] void FailToDisplay() {
  const char *const name = std::getenv("DISPLAY");
  throw app::Failure("display", std::string("cannot be opened: ") + SDL_GetError() + " (DISPLAY is " +
                                    (name == nullptr ? "not set)" : "'" + std::string(name) + "')"));
}

/// What a key that types nothing does.
Action ActionOf(SDL_Keycode key) {
  switch (key) {
    case SDLK_PAGEDOWN:
      return Action::kNext;
    case SDLK_PAGEUP:
    case SDLK_BACKSPACE:
      return Action::kPrevious;
    case SDLK_LEFT:
      return Action::kLeft;
    case SDLK_RIGHT:
      return Action::kRight;
    case SDLK_UP:
      return Action::kUp;
    case SDLK_DOWN:
      return Action::kDown;
    case SDLK_F1:
      return Action::kHelp;
    case SDLK_ESCAPE:
      return Action::kLeave;
    default:
      return Action::kNone;
  }
}

std::string ZoomText(int zoom) {
  return zoom < 0 ? "1:" + std::to_string(-zoom) : std::to_string(zoom) + ":1";
}

std::string NameOf(const std::string &path) {
  return path.substr(path.rfind('/') + 1);
}

}  // namespace

// Opening ------------------------------------------------------------------------------------------------------------

Viewer::Viewer(std::vector<std::string> paths, std::optional<Extent> size)
    : m_files(std::move(paths)), m_size(std::move(size)) {}

/// Reads the current file, or the first behind it that can be read; false when there is none.
bool Viewer::ReadPicture(int direction) {
  for (; !m_files.IsEmpty(); m_files.Drop(direction)) {
    const std::string path = m_files.Current();
    if (m_picture != nullptr && path == m_path) return true;  // no other is left
    try {
      auto picture = std::make_unique<PQel>();
      app::ReadPicture(path, *picture, {});
      if (picture->IsEmpty()) throw app::Failure(path, "holds no pixels");
      m_picture = std::move(picture);
      m_path = path;
      ++m_number;
      m_picture->EnableRepeat(m_placement.IsEndless());
      m_placement.SetPicture({m_picture->GetImageWidth(), m_picture->GetImageHeight()});
      return true;
    } catch (const std::bad_alloc &) {
      app::Complain(app::Failure(path, "out of memory"));
    } catch (const std::exception &failure) {
      app::Complain(failure);
    }
    m_status = 1;
  }
  return false;
}

Extent Viewer::SizeToOpen() const {
  if (m_size) return *m_size;
  SDL_Rect room = {0, 0, 1024, 768};
  SDL_GetDisplayUsableBounds(0, &room);
  return {std::clamp(m_picture->GetImageWidth(), kLeastWidth, std::max<long>(room.w * 9L / 10, kLeastWidth)),
          std::clamp(m_picture->GetImageHeight(), kLeastHeight, std::max<long>(room.h * 9L / 10, kLeastHeight))};
}

void Viewer::Open() {
  // Left to itself, SDL takes a screen that nobody sees rather than none; without the folder of Wayland's sockets,
  // looking there only prints a message of its own.
  SDL_SetHintWithPriority(SDL_HINT_VIDEODRIVER, std::getenv("XDG_RUNTIME_DIR") != nullptr ? "x11,wayland" : "x11",
                          SDL_HINT_DEFAULT);
  if (SDL_Init(SDL_INIT_VIDEO) != 0) FailToDisplay();
  if (!ReadPicture(1)) return;
  const Extent size = SizeToOpen();
  m_sdlWindow =
      SDL_CreateWindow("qelview", SDL_WINDOWPOS_UNDEFINED, SDL_WINDOWPOS_UNDEFINED, static_cast<int>(size.width),
                       static_cast<int>(size.height), SDL_WINDOW_RESIZABLE | SDL_WINDOW_ALLOW_HIGHDPI);
  if (m_sdlWindow == nullptr) FailToDisplay();
  m_renderer.reset(SDL_CreateRenderer(m_sdlWindow, -1, 0));
  if (m_renderer == nullptr) FailToDisplay();
  SDL_StartTextInput();
  m_canvas.SetLook(m_look);
  TakeSize();
}

int Viewer::Run() {
  Open();
  if (m_sdlWindow == nullptr) return m_status;
  while (!m_leaving) {
    Refresh();
    SDL_Event event;
    if (!SDL_WaitEvent(&event)) throw app::Failure("display", SDL_GetError());
    do Take(event);
    while (!m_leaving && SDL_PollEvent(&event));
  }
  return m_status;
}

// Events -------------------------------------------------------------------------------------------------------------

/// The window's size in pixels, which may differ from that in the units of events.
void Viewer::TakeSize() {
  int width = 0, height = 0;
  SDL_GetRendererOutputSize(m_renderer.get(), &width, &height);
  m_window = {width, height};
  m_placement.SetWindow(m_window);
  m_stale = true;
}

void Viewer::Take(const SDL_Event &event) {
  switch (event.type) {
    case SDL_QUIT:
      m_leaving = true;
      break;
    case SDL_WINDOWEVENT:
      if (event.window.event == SDL_WINDOWEVENT_SIZE_CHANGED) TakeSize();
      m_stale = true;
      break;
    case SDL_RENDER_TARGETS_RESET:
    case SDL_RENDER_DEVICE_RESET:
      m_texture.reset();
      m_stale = true;
      break;
    case SDL_MOUSEMOTION:
      TakeMotion(event.motion);
      break;
    case SDL_MOUSEWHEEL:
      m_placement.ZoomBy(event.wheel.direction == SDL_MOUSEWHEEL_FLIPPED ? -event.wheel.y : event.wheel.y, m_pointer);
      break;
    case SDL_KEYDOWN:
      Do(ActionOf(event.key.keysym.sym));
      break;
    case SDL_TEXTINPUT:
      Do(ActionOf(event.text.text));
      break;
    default:
      break;
  }
}

void Viewer::TakeMotion(const SDL_MouseMotionEvent &motion) {
  int width = 0, height = 0;
  SDL_GetWindowSize(m_sdlWindow, &width, &height);
  const Spot pointer = {motion.x * m_window.width / std::max(width, 1),
                        motion.y * m_window.height / std::max(height, 1)};
  if (motion.state & SDL_BUTTON_LMASK) m_placement.MoveBy(pointer.x - m_pointer.x, pointer.y - m_pointer.y);
  m_pointer = pointer;
}

void Viewer::Do(Action action) {
  if (action == Action::kNone) return;
  m_note.clear();
  m_stale = true;  // the title tells what changed, if nothing else does
  const Spot middle = {m_window.width / 2, m_window.height / 2};
  switch (action) {
    case Action::kNone:
      break;
    case Action::kNext:
      return GoTo(1);
    case Action::kPrevious:
      return GoTo(-1);
    case Action::kZoomIn:
      return m_placement.ZoomBy(1, middle);
    case Action::kZoomOut:
      return m_placement.ZoomBy(-1, middle);
    case Action::kPlainSize:
      return m_placement.ZoomTo(1, middle);
    case Action::kFit:
      return m_placement.Fit();
    case Action::kLeft:
      return m_placement.MoveBy(kArrowStep, 0);
    case Action::kRight:
      return m_placement.MoveBy(-kArrowStep, 0);
    case Action::kUp:
      return m_placement.MoveBy(0, kArrowStep);
    case Action::kDown:
      return m_placement.MoveBy(0, -kArrowStep);
    case Action::kBrighter:
      return m_look.Brighten(1);
    case Action::kDarker:
      return m_look.Brighten(-1);
    case Action::kBlackAndWhite:
      m_look.bits = 1;
      break;
    case Action::k16Colours:
      m_look.bits = 4;
      break;
    case Action::k256Colours:
      m_look.bits = 8;
      break;
    case Action::kTrueColour:
      m_look.bits = 32;
      break;
    case Action::kCommonPalette:
      m_look.common = !m_look.common;
      if (m_look.common && IsPaletteMapMissing()) m_note = "computed, for palette.map is missing";
      break;
    case Action::kRepeat:
      m_placement.SetEndless(!m_placement.IsEndless());
      m_picture->EnableRepeat(m_placement.IsEndless());
      break;
    case Action::kHelp:
      return ToggleHelp();
    case Action::kLeave:
      m_leaving = true;
      break;
  }
}

void Viewer::GoTo(int direction) {
  m_files.Go(direction);
  if (!ReadPicture(direction)) m_leaving = true;
}

void Viewer::ToggleHelp() {
  if (m_help != nullptr) return m_help.reset();
  try {
    m_help = HelpPicture();
  } catch (const app::Failure &failure) {
    m_note = failure.what();
  }
}

// Painting -----------------------------------------------------------------------------------------------------------

void Viewer::Refresh() {
  if (m_leaving || m_window.IsEmpty()) return;
  Paint();
  if (m_stale) Present();
  m_stale = false;
}

void Viewer::Paint() {
  const RECT all = {0, 0, static_cast<LONG>(m_window.width), static_cast<LONG>(m_window.height)};
  const Shown wanted = {m_number, m_placement, m_look};
  const bool moved =
      m_shown && m_shown->picture == m_number && m_shown->look == m_look && m_placement.IsMoved(m_shown->placement);
  if (moved && m_shown->placement == m_placement) return;
  m_stale = true;
  if (!moved) {
    if (m_canvas.Size() != m_window) m_texture.reset(), m_canvas.Resize(m_window);
    m_canvas.SetLook(m_look);
    m_canvas.Paint(*m_picture, m_placement, all);
  } else {
    const Spot from = m_shown->placement.Corner(), to = m_placement.Corner();
    m_canvas.Move(to.x - from.x, to.y - from.y);
    for (const RECT &part : Uncovered(m_window, to.x - from.x, to.y - from.y))
      m_canvas.Paint(*m_picture, m_placement, part);
  }
  m_shown = wanted;
}

void Viewer::Present() {
  const int width = static_cast<int>(m_window.width), height = static_cast<int>(m_window.height);
  if (m_texture == nullptr)
    m_texture.reset(
        SDL_CreateTexture(m_renderer.get(), SDL_PIXELFORMAT_RGB888, SDL_TEXTUREACCESS_STREAMING, width, height));
  const std::vector<std::uint32_t> &pixels = m_canvas.Read(m_help.get());
  if (m_texture == nullptr || SDL_UpdateTexture(m_texture.get(), nullptr, pixels.data(), 4 * width) != 0 ||
      SDL_RenderCopy(m_renderer.get(), m_texture.get(), nullptr, nullptr) != 0)
    throw app::Failure("display", SDL_GetError());
  SDL_RenderPresent(m_renderer.get());
  SDL_SetWindowTitle(m_sdlWindow, Title().c_str());
}

std::string Viewer::Title() const {
  std::string title = NameOf(m_path);
  if (m_files.Count() > 1)
    title += " (" + std::to_string(m_files.Number()) + " of " + std::to_string(m_files.Count()) + ")";
  title += " - " + std::to_string(m_picture->GetImageWidth()) + " x " + std::to_string(m_picture->GetImageHeight());
  title += ", " + ZoomText(m_placement.Zoom());
  if (m_look.bits != Look().bits)
    title += ", screen of " + std::to_string(m_look.bits) + (m_look.bits == 1 ? " bit" : " bits");
  if (m_look.gamma != Look::kPlainGamma) {
    char gamma[32];
    std::snprintf(gamma, sizeof gamma, ", gamma %g", m_look.gamma / double{Look::kPlainGamma});
    title += gamma;
  }
  if (m_look.common) title += ", common palette";
  if (m_placement.IsEndless()) title += ", repeat";
  if (!m_note.empty()) title += " (" + m_note + ")";
  return title + " - qelview, F1: help";
}

}  // namespace view
