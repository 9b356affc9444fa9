// A canvas with its tools, and the commands that a script gives it.
#pragma once

#include <memory>
#include <string>

#include "apps/qel/draw_script.h"
#include "apps/qel/lettering.h"
#include "apps/qel/steps.h"
#include "qel/draw/brush.h"
#include "qel/draw/draw.h"
#include "qel/draw/pen.h"
#include "qel/draw/shield.h"
#include "qel/draw/texture.h"

namespace app {

class Board {
 public:
  /// Pictures that a script names lie in `folder`, unless their names begin with '/'.
  explicit Board(std::string folder) : m_folder(std::move(folder)) {}

  PQelDraw &Canvas() { return m_canvas; }

  static bool Knows(const std::string &command);

  /// Runs a command. Throws a ScriptError, or the Failure of a picture.
  void Run(const std::string &command, Words words);

 private:
  // A tool with the pictures that it reads from.
  struct PenTool {
    Picture colours, footprint;
    PPen pen;
  };
  struct BrushTool {
    Picture pattern;
    PBrush brush;
  };
  struct TextureTool {
    Picture weights;
    PTexture texture;
  };

  using Command = void (Board::*)(Words &words);
  struct Entry {
    const char *name;
    Command command;
    bool draws;
  };
  static const Entry *Find(const std::string &command);
  static const Entry kCommands[];

  // Tools
  void Pen(Words &words);
  void Shapes(Words &words);
  void Colour(Words &words);
  void Feather(Words &words);
  void Style(Words &words);
  void Brush(Words &words);
  void Texture(Words &words);
  void Shield(Words &words);
  void Mask(Words &words);
  void Font(Words &words);

  // Strokes
  void Move(Words &words);
  void Line(Words &words);
  void Polyline(Words &words);
  void Dot(Words &words);
  void Stroke(Words &words);
  void Frame(Words &words);
  void Ring(Words &words);

  // Fills
  void Rect(Words &words);
  void Ellipse(Words &words);
  void Triangle(Words &words);
  void Polygon(Words &words);
  void Fill(Words &words);
  void Copy(Words &words);
  void Text(Words &words);
  void Clear(Words &words);

  // Canvas
  void Repeat(Words &words);
  void AntiAlias(Words &words);
  void Undo(Words &words);
  void Redo(Words &words);
  void Mark(Words &words);

  /// The colour as the tools take it on this canvas.
  long long ColourOn(DWORD colour) { return m_canvas.GetColorRef(colour); }

  RECT WholeCanvas();
  Course Named(const std::string &file) const;

  /// A picture as pixels of the canvas, of a size when one is given; as weights: bits, or 256 grays.
  Picture LoadColours(const std::string &file, int size = 0);
  Picture LoadWeights(const std::string &file) const;
  Picture Fit(Picture picture, const Course &course);

  PPen &NeedPen() const;
  void NeedBrush() const;

  /// Refuses what would take far too long: so many pixels.
  void Afford(double pixels) const;
  void AffordDabs(double dabs) const;
  void AffordWay(double length) const;
  void AffordOutline(const RECT &area) const;
  void AffordArea(const RECT &area) const;

  void FollowAll();

  std::string m_folder;
  std::unique_ptr<PenTool> m_pen;
  std::unique_ptr<BrushTool> m_brush;
  std::unique_ptr<TextureTool> m_texture;
  std::unique_ptr<PShield> m_shield;
  Picture m_mask;
  Lettering m_lettering;
  POINT m_at{0, 0};       // where the next line begins
  bool m_undone = false;  // the snapshot holds what was undone
  PQelDraw m_canvas;      // goes first, while its tools stand
};

}  // namespace app
