// What is shown and where, as numbers: the files, the zoom and place of a picture in a window, and what of the window
// has to be painted anew. Neither window nor engine is needed here.
#pragma once

#include <string>
#include <vector>

#include "qel/platform/types.h"

namespace view {

struct Extent {
  long width = 0, height = 0;

  bool IsEmpty() const { return width < 1 || height < 1; }
  bool operator==(const Extent &) const = default;
};

struct Spot {
  long x = 0, y = 0;

  bool operator==(const Spot &) const = default;
};

// Place --------------------------------------------------------------------------------------------------------------

/// How a part of the window is painted: this pixel of the picture at the top left corner of this rectangle, which
/// begins with a whole pixel and so reaches up to a pixel further than the part.
struct Patch {
  POINT pixel;
  RECT rect;
};

/// Zoom and place of a picture in a window. A zoom of 2 or more shows every pixel so many times in both directions, one
/// of -2 or less every so-manieth pixel; 1 is one to one. There is no -1 and no 0.
class Placement {
 public:
  static constexpr int kDeepest = 32;  // zooms go from -32 to 32

  int Zoom() const { return m_zoom; }
  bool IsEndless() const { return m_endless; }

  /// The top left corner of the picture in pixels of the window.
  Spot Corner() const { return m_corner; }

  /// The size of the picture in pixels of the window.
  Extent Shown() const;

  /// Another picture or window. A new picture is fitted; one that is fitted stays so in another window.
  void SetPicture(const Extent &picture);
  void SetWindow(const Extent &window);

  /// The least reduction at which all of the picture is seen; nothing is enlarged.
  void Fit();

  /// Zooms so many steps in (out when below 0), and to a zoom; the pixel at `about` stays there as far as the picture's
  /// edges allow.
  void ZoomBy(int steps, const Spot &about);
  void ZoomTo(int zoom, const Spot &about);

  /// Moves the picture, not beyond its edges. One smaller than the window stays in its middle.
  void MoveBy(long dx, long dy);

  /// An endless picture, tiled with itself, has no edges.
  void SetEndless(bool endless);

  /// True when the picture covers a part of the window.
  bool Covers(const RECT &part) const;

  Patch PatchOf(const RECT &part) const;

  bool operator==(const Placement &) const = default;

  /// The same but for the corner.
  bool IsMoved(const Placement &from) const;

 private:
  long Times() const { return m_zoom > 1 ? m_zoom : 1; }
  long Step() const { return m_zoom < -1 ? -m_zoom : 1; }
  void Settle();

  Extent m_picture, m_window;
  Spot m_corner;
  int m_zoom = 1;
  bool m_fitted = true, m_endless = false;
};

/// What a window has to paint after its content moved: at most two rectangles that do not overlap.
std::vector<RECT> Uncovered(const Extent &window, long dx, long dy);

// Screen -------------------------------------------------------------------------------------------------------------

/// How the screen shows pictures.
struct Look {
  static constexpr int kPlainGamma = 256, kGammaStep = 32, kLeastGamma = 32, kMostGamma = 1024;

  int bits = 32;            // of a pixel: 1, 4, 8 or 32
  int gamma = kPlainGamma;  // in 256ths
  bool common = false;      // pictures of 256 colours share the standard palette on screens of 8 bits

  /// Brightens by so many steps, within the bounds.
  void Brighten(int steps);

  bool operator==(const Look &) const = default;
};

// Files --------------------------------------------------------------------------------------------------------------

/// The files to show, one of which is current. Behind the last comes the first.
class FileList {
 public:
  explicit FileList(std::vector<std::string> paths) : m_paths(std::move(paths)) {}

  bool IsEmpty() const { return m_paths.empty(); }
  std::size_t Count() const { return m_paths.size(); }
  std::size_t Number() const { return m_current + 1; }
  const std::string &Current() const { return m_paths[m_current]; }

  /// Goes one file on, or back when `direction` is below 0.
  void Go(int direction);

  /// Takes the current file out and goes to the one behind it, or before it when `direction` is below 0.
  void Drop(int direction);

 private:
  std::vector<std::string> m_paths;
  std::size_t m_current = 0;
};

}  // namespace view
