// The window: what the user does changes numbers (view_state.h), which the engine paints (canvas.h) once all that came
// in has been taken; the painted surface goes to the screen as a texture.
#pragma once

#include <SDL.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/qelview/canvas.h"
#include "apps/qelview/keys.h"
#include "apps/qelview/view_state.h"

namespace view {

class Viewer {
 public:
  /// `size`: of the window; as large as the first picture without one, as far as the screen allows.
  Viewer(std::vector<std::string> paths, std::optional<Extent> size);
  Viewer(const Viewer &) = delete;
  Viewer &operator=(const Viewer &) = delete;

  /// Shows pictures until the user leaves. Files that cannot be read are passed over with a line on standard error.
  /// 0, or 1 when there were any. Throws a Failure when there is no display.
  int Run();

 private:
  /// What the surface shows: painting compares this with what it should show.
  struct Shown {
    long picture = 0;
    Placement placement;
    Look look;
  };

  bool ReadPicture(int direction);
  void Open();
  Extent SizeToOpen() const;
  void TakeSize();
  void Take(const SDL_Event &event);
  void TakeMotion(const SDL_MouseMotionEvent &motion);
  void Do(Action action);
  void GoTo(int direction);
  void ToggleHelp();
  void Refresh();
  void Paint();
  void Present();
  std::string Title() const;

  FileList m_files;
  const std::optional<Extent> m_size;
  std::unique_ptr<PQel> m_picture;
  std::string m_path;  // of the picture
  long m_number = 0;   // counts the pictures read
  Placement m_placement;
  Look m_look;
  std::unique_ptr<PQel> m_help;  // while it is shown
  std::string m_note;            // for the title until the next key
  Spot m_pointer;
  int m_status = 0;
  bool m_leaving = false, m_stale = true;  // stale: the screen has not what the surface has

  Canvas m_canvas;
  std::optional<Shown> m_shown;  // none: nothing yet
  Extent m_window;               // in pixels of the screen

  // The window is left to the system, which closes it with the program: SDL wakes itself by messages to the window, by
  // a connection of their own, and one that comes when the window has gone would end the program as an X error does.
  SDL_Window *m_sdlWindow = nullptr;

  struct Release {
    void operator()(SDL_Renderer *p) const { SDL_DestroyRenderer(p); }
    void operator()(SDL_Texture *p) const { SDL_DestroyTexture(p); }
  };
  std::unique_ptr<SDL_Renderer, Release> m_renderer;
  std::unique_ptr<SDL_Texture, Release> m_texture;
};

}  // namespace view
