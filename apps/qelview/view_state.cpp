// Places are kept in pixels of the window, so that enlarged pictures scroll by single pixels of the screen too. A zoom
// maps the pixel below the pointer by floors alone, which keeps it there exactly when going in.

#include "apps/qelview/view_state.h"

#include <algorithm>

namespace view {

namespace {

constexpr long kFarthest = 1L << 24;  // that an endless picture goes, so that coordinates of any zoom fit 32 bits

long FloorDivide(long n, long by) {
  return n >= 0 ? n / by : -((-n + by - 1) / by);
}

/// One side's corner within its bounds.
long Bound(long corner, long shown, long window, bool endless) {
  if (endless) return std::clamp(corner, -kFarthest, kFarthest);
  if (shown <= window) return (window - shown) / 2;
  return std::clamp(corner, window - shown, 0L);
}

}  // namespace

// Place --------------------------------------------------------------------------------------------------------------

Extent Placement::Shown() const {
  return {(m_picture.width + Step() - 1) / Step() * Times(), (m_picture.height + Step() - 1) / Step() * Times()};
}

void Placement::SetPicture(const Extent &picture) {
  m_picture = picture;
  m_corner = {};
  Fit();
}

void Placement::SetWindow(const Extent &window) {
  m_window = window;
  m_fitted ? Fit() : Settle();
}

void Placement::Fit() {
  long by = 1;
  if (!m_window.IsEmpty())
    by = std::max((m_picture.width + m_window.width - 1) / m_window.width,
                  (m_picture.height + m_window.height - 1) / m_window.height);
  m_zoom = by > 1 ? -static_cast<int>(std::min<long>(by, kDeepest)) : 1;
  m_fitted = true;
  Settle();
}

void Placement::ZoomBy(int steps, const Spot &about) {
  const int from = m_zoom >= 1 ? m_zoom - 1 : m_zoom + 1;  // 0 is one to one
  const int to = std::clamp(from + std::clamp(steps, -2 * kDeepest, 2 * kDeepest), 1 - kDeepest, kDeepest - 1);
  ZoomTo(to >= 0 ? to + 1 : to - 1, about);
}

void Placement::ZoomTo(int zoom, const Spot &about) {
  const long timesBefore = Times(), stepBefore = Step();
  m_zoom = zoom;
  m_fitted = false;
  const auto Map = [&](long distance) { return FloorDivide(distance * stepBefore * Times(), timesBefore * Step()); };
  m_corner = {about.x - Map(about.x - m_corner.x), about.y - Map(about.y - m_corner.y)};
  Settle();
}

void Placement::MoveBy(long dx, long dy) {
  m_corner.x += dx, m_corner.y += dy;
  Settle();
}

void Placement::SetEndless(bool endless) {
  m_endless = endless;
  Settle();
}

void Placement::Settle() {
  const Extent shown = Shown();
  m_corner.x = Bound(m_corner.x, shown.width, m_window.width, m_endless);
  m_corner.y = Bound(m_corner.y, shown.height, m_window.height, m_endless);
}

bool Placement::Covers(const RECT &part) const {
  const Extent shown = Shown();
  return m_endless || (part.left >= m_corner.x && part.top >= m_corner.y && part.right <= m_corner.x + shown.width &&
                       part.bottom <= m_corner.y + shown.height);
}

Patch Placement::PatchOf(const RECT &part) const {
  const long column = FloorDivide(part.left - m_corner.x, Times()), row = FloorDivide(part.top - m_corner.y, Times());
  return {{static_cast<LONG>(column * Step()), static_cast<LONG>(row * Step())},
          {static_cast<LONG>(m_corner.x + column * Times()), static_cast<LONG>(m_corner.y + row * Times()), part.right,
           part.bottom}};
}

bool Placement::IsMoved(const Placement &from) const {
  Placement moved = from;
  moved.m_corner = m_corner;
  return moved == *this;
}

std::vector<RECT> Uncovered(const Extent &window, long dx, long dy) {
  const auto width = static_cast<LONG>(window.width), height = static_cast<LONG>(window.height);
  const auto x = static_cast<LONG>(std::clamp(dx, -window.width, window.width));
  const auto y = static_cast<LONG>(std::clamp(dy, -window.height, window.height));
  std::vector<RECT> parts;
  if (y != 0) parts.push_back({0, y > 0 ? 0 : height + y, width, y > 0 ? y : height});
  const LONG top = std::max(y, 0), bottom = height + std::min(y, 0);  // of the rows that stayed
  if (x != 0 && top < bottom) parts.push_back({x > 0 ? 0 : width + x, top, x > 0 ? x : width, bottom});
  return parts;
}

// Screen -------------------------------------------------------------------------------------------------------------

void Look::Brighten(int steps) {
  gamma = std::clamp(gamma + kGammaStep * steps, kLeastGamma, kMostGamma);
}

// Files --------------------------------------------------------------------------------------------------------------

void FileList::Go(int direction) {
  if (!m_paths.empty()) m_current = (m_current + (direction < 0 ? m_paths.size() - 1 : 1)) % m_paths.size();
}

void FileList::Drop(int direction) {
  m_paths.erase(m_paths.begin() + static_cast<std::ptrdiff_t>(m_current));
  if (m_paths.empty())
    m_current = 0;
  else
    m_current = (m_current + (direction < 0 ? m_paths.size() - 1 : 0)) % m_paths.size();
}

}  // namespace view
