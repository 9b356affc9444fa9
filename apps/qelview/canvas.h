// The engine's side of the window: an off-screen surface on which PScrbase shows pictures as a screen of any depth
// would, and a frame of 32 bits in which the real screen gets it.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "apps/qelview/view_state.h"
#include "qel/qel.h"

namespace view {

class Canvas {
 public:
  Canvas() = default;
  ~Canvas();
  Canvas(const Canvas &) = delete;
  Canvas &operator=(const Canvas &) = delete;

  /// A surface of another size, black. Throws std::bad_alloc, and there is none then.
  void Resize(const Extent &size);

  /// Of the surface; empty without one.
  const Extent &Size() const { return m_size; }

  /// How the screen shows what is painted from now on.
  void SetLook(const Look &look);

  /// Paints a part of the surface: the picture, and gray beside it.
  void Paint(PQel &picture, const Placement &placement, const RECT &part);

  /// Moves what is painted. What comes in from beyond the edges is left to be painted.
  void Move(long dx, long dy);

  /// The surface as rows of 0x00RRGGBB, from the top, with a picture over its middle when there is one.
  const std::vector<std::uint32_t> &Read(PQel *over);

 private:
  void Release();

  Extent m_size;
  Look m_look;
  std::unique_ptr<PScrbase> m_screen;
  HWND m_window = nullptr;
  HBITMAP m_frame = nullptr;
  HDC m_frameContext = nullptr;
  std::vector<std::uint32_t> m_pixels;
};

/// True when the maps to the standard palettes are computed anew at each use because palette.map is missing.
bool IsPaletteMapMissing();

}  // namespace view
