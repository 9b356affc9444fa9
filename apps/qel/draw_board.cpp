// The commands of drawing scripts, each a few calls of the context and its tools.
#include "apps/qel/draw_board.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "apps/qel/colours.h"
#include "apps/qel/recolour.h"
#include "qel/draw/point_array.h"

namespace app {

// Commands -----------------------------------------------------------------------------------------------------------

const Board::Entry Board::kCommands[] = {
    {"pen", &Board::Pen, false},          {"shapes", &Board::Shapes, false},    {"color", &Board::Colour, false},
    {"feather", &Board::Feather, false},  {"style", &Board::Style, false},      {"brush", &Board::Brush, false},
    {"texture", &Board::Texture, false},  {"shield", &Board::Shield, false},    {"mask", &Board::Mask, false},
    {"font", &Board::Font, false},        {"move", &Board::Move, false},        {"line", &Board::Line, true},
    {"polyline", &Board::Polyline, true}, {"dot", &Board::Dot, true},           {"stroke", &Board::Stroke, true},
    {"frame", &Board::Frame, true},       {"ring", &Board::Ring, true},         {"rect", &Board::Rect, true},
    {"ellipse", &Board::Ellipse, true},   {"triangle", &Board::Triangle, true}, {"polygon", &Board::Polygon, true},
    {"fill", &Board::Fill, true},         {"copy", &Board::Copy, true},         {"text", &Board::Text, true},
    {"clear", &Board::Clear, true},       {"repeat", &Board::Repeat, false},    {"antialias", &Board::AntiAlias, false},
    {"undo", &Board::Undo, false},        {"redo", &Board::Redo, false},        {"mark", &Board::Mark, false},
};

const Board::Entry *Board::Find(const std::string &command) {
  const auto found = std::find_if(std::begin(kCommands), std::end(kCommands),
                                  [&](const Entry &entry) { return command == entry.name; });
  return found == std::end(kCommands) ? nullptr : found;
}

bool Board::Knows(const std::string &command) {
  return Find(command) != nullptr;
}

void Board::Run(const std::string &command, Words words) {
  const Entry *const entry = Find(command);
  if (entry == nullptr) throw ScriptError("'" + Shown(command) + "' is no command");
  if (entry->draws && m_undone) {  // what was undone is given up
    m_canvas.ClearUndo();
    m_undone = false;
  }
  (this->*entry->command)(words);
  if (entry->draws) m_canvas.Update();
}

namespace {

constexpr int kMonochrome = 0, kTrueColour = 1, k256Grays = 5, kGlobalMemory = 1;

void Demand(bool held, const char *reason = "out of memory") {
  if (!held) throw ScriptError(reason);
}

double Distance(const POINT &a, const POINT &b) {
  return std::hypot(static_cast<double>(a.x) - b.x, static_cast<double>(a.y) - b.y);
}

RECT BoundsOf(const std::vector<POINT> &points) {
  RECT bounds = {points[0].x, points[0].y, points[0].x, points[0].y};
  for (const POINT &p : points)
    bounds = {std::min(bounds.left, p.x), std::min(bounds.top, p.y), std::max(bounds.right, p.x),
              std::max(bounds.bottom, p.y)};
  return {bounds.left, bounds.top, bounds.right + 1, bounds.bottom + 1};
}

/// `off`, as the whole line.
bool TakeOff(Words &words) {
  if (!words.TakeIf("off")) return false;
  words.End();
  return true;
}

bool TakeSwitch(Words &words) {
  const bool on = words.TakeIf("on");
  if (!on && !words.TakeIf("off")) throw ScriptError("'on' or 'off' is expected");
  words.End();
  return on;
}

}  // namespace

// Pictures -----------------------------------------------------------------------------------------------------------

Course Board::Named(const std::string &file) const {
  return {file.empty() || file[0] == '/' ? file : m_folder + file, {}};
}

RECT Board::WholeCanvas() {
  return {0, 0, static_cast<LONG>(m_canvas.GetImageWidth()), static_cast<LONG>(m_canvas.GetImageHeight())};
}

Picture Board::Fit(Picture picture, const Course &course) {
  const int type = m_canvas.GetImageType();
  if (picture->GetImageType() == type && !HasPalette(type)) return picture;
  Reduction reduction;
  if (HasPalette(type)) reduction.palette = ColoursOf(m_canvas);
  return ChangeType(*picture, type, reduction, course);
}

Picture Board::LoadColours(const std::string &file, int size) {
  const Course course = Named(file);
  Picture picture = Read(course);
  if (size != 0) picture = Resize(*ToSmooth(std::move(picture), course), size, size, course);
  return Fit(std::move(picture), course);
}

Picture Board::LoadWeights(const std::string &file) const {
  const Course course = Named(file);
  Picture picture = Read(course);
  const int type = picture->GetImageType();
  return type == kMonochrome || type == k256Grays ? std::move(picture) : ChangeType(*picture, k256Grays, {}, course);
}

/// A family or face and the height of a line; everything else as it was at first.
void Board::Font(Words &words) {
  Lettering lettering;
  lettering.font = words.TakeWord("a font");
  Demand(lettering.font.size() <= kLongestFontName, "the font's name is longer than 31 bytes");
  lettering.height = words.TakeNumber("the height", 1, kLargestLine / kLargestScale);
  while (!words.AtEnd()) {
    if (words.TakeIf("color")) {
      lettering.colour = SwapRedAndBlue(words.TakeColour());
    } else if (words.TakeIf("scale")) {
      lettering.scale = words.TakeNumber("the scale", 1, kLargestScale);
    } else if (words.TakeIf("bold")) {
      lettering.bold = true;
    } else if (words.TakeIf("italic")) {
      lettering.italic = true;
    } else if (words.TakeIf("left")) {
      lettering.align = Align::kLeft;
    } else if (words.TakeIf("right")) {
      lettering.align = Align::kRight;
    } else {
      throw ScriptError("'" + Shown(words.TakeWord("an option")) + "' is no option of a font");
    }
  }
  m_lettering = std::move(lettering);
}

// Limits -------------------------------------------------------------------------------------------------------------

PPen &Board::NeedPen() const {
  Demand(m_pen != nullptr, "there is no pen; 'pen round 1' takes one");
  return m_pen->pen;
}

void Board::NeedBrush() const {
  Demand(m_brush != nullptr, "there is no brush; 'brush solid #000000' takes one");
}

void Board::Afford(double pixels) const {
  Demand(pixels <= 2e9, "this takes more than 2000000000 pixels");
}

/// Dabs outside the canvas cost little, but something.
void Board::AffordDabs(double dabs) const {
  constexpr double kDabCost = 16;
  const double size = NeedPen().GetSize();
  const double canvas = static_cast<double>(m_canvas.GetImageWidth()) * static_cast<double>(m_canvas.GetImageHeight());
  Afford(dabs * (kDabCost + (m_canvas.IsEnableRepeat() ? size * size : std::min(size * size, canvas))));
}

void Board::AffordWay(double length) const {
  AffordDabs(length / (NeedPen().GetSize() * NeedPen().GetSpacing()) + 1);
}

void Board::AffordOutline(const RECT &area) const {
  AffordWay(2.0 * (area.right - area.left) + 2.0 * (area.bottom - area.top));
}

/// Fills are cut to the canvas unless it repeats.
void Board::AffordArea(const RECT &area) const {
  if (m_canvas.IsEnableRepeat())
    Afford((static_cast<double>(area.right) - area.left) * (static_cast<double>(area.bottom) - area.top));
}

// Tools --------------------------------------------------------------------------------------------------------------

namespace {

constexpr int kFirstTile = 10, kTiles = 90;

int ShapeOf(const std::string &word) {
  constexpr std::array<const char *, 6> kShapes{"round", "square", "slash", "backslash", "flat", "upright"};
  for (std::size_t i = 0; i < kShapes.size(); ++i)
    if (word == kShapes[i]) return static_cast<int>(i);
  if (word.rfind("tile:", 0) == 0) return kFirstTile + NumberOf(word.substr(5), "the tile", 0, kTiles - 1);
  throw ScriptError("'" + Shown(word) + "' is no shape: round, square, slash, backslash, flat, upright or tile:N");
}

constexpr const char *kFixedPen = "this pen has a footprint of its own, which keeps its feather and colour";

}  // namespace

void Board::Pen(Words &words) {
  if (TakeOff(words)) {
    m_canvas.SelectPen(nullptr);
    m_pen.reset();
    return;
  }
  auto tool = std::make_unique<PenTool>();
  PPen &pen = tool->pen;
  const int shape = ShapeOf(words.TakeWord("a shape"));
  const LONG size = words.TakeNumber("the size", 1, 2048);
  if (!pen.SetShape(shape, size))
    throw ScriptError(shape < kFirstTile ? "out of memory" : "the library of shapes has no such tile");
  std::string image, footprint;
  while (!words.AtEnd()) {
    const std::string option = words.TakeWord("an option");
    if (option == "feather")
      pen.SetFeather(words.TakeNumber("the feather", 0, 255));
    else if (option == "color")
      pen.ChangeColor(ColourOn(words.TakeColour()));
    else if (option == "spacing")
      pen.SetSpacing(words.TakeFraction("the spacing", 0.01, 100));
    else if (option == "style")
      pen.SetLineStyle(words.TakeNumber("the style", 0, 4));
    else if (option == "image")
      image = words.TakeWord("a picture");
    else if (option == "footprint")
      footprint = words.TakeWord("a picture");
    else
      throw ScriptError("'" + Shown(option) +
                        "' is no option of pens: feather, color, spacing, style, image or footprint");
  }
  if (!image.empty()) {
    tool->colours = LoadColours(image, size);
    Demand(pen.SetColorImage(tool->colours.get()));
  }
  if (!footprint.empty()) {
    const Course course = Named(footprint);
    const Picture grays = ChangeType(*Read(course), k256Grays, {}, course);
    tool->footprint = Resize(*grays, size, size, course);
    Demand(pen.SetShapeImage(tool->footprint.get()));
  }
  m_canvas.SelectPen(&pen);
  Demand(m_canvas.IsSelect(&pen));
  m_pen = std::move(tool);
  m_at = {0, 0};
}

void Board::Shapes(Words &words) {
  const std::string file = words.TakeWord("a picture");
  const LONG size = words.TakeNumber("the size of a tile", 1, kLargestNumber);
  words.End();
  const Course course = Named(file);
  const Picture tiles = ChangeType(*Read(course), k256Grays, {}, course);
  Demand(size <= tiles->GetImageWidth() && size <= tiles->GetImageHeight(), "the picture is smaller than a tile");
  Demand(PPen::LoadShapeLibrary(tiles.get(), size));
}

void Board::Colour(Words &words) {
  const DWORD colour = words.TakeColour();
  words.End();
  NeedPen();
  Demand(m_pen->footprint == nullptr, kFixedPen);
  m_canvas.ChangePenColor(ColourOn(colour));
}

void Board::Feather(Words &words) {
  const LONG feather = words.TakeNumber("the feather", 0, 255);
  words.End();
  NeedPen();
  Demand(m_pen->footprint == nullptr, kFixedPen);
  m_canvas.SetFeather(feather, 0);
}

void Board::Style(Words &words) {
  const LONG style = words.TakeNumber("the style", 0, 4);
  words.End();
  NeedPen();
  m_canvas.SetLineStyle(style);
}

void Board::Brush(Words &words) {
  if (TakeOff(words)) {
    m_canvas.SelectBrush(nullptr);
    m_brush.reset();
    return;
  }
  auto tool = std::make_unique<BrushTool>();
  PBrush &brush = tool->brush;
  const std::string kind = words.TakeWord("'solid', 'hatch' or 'pattern'");
  if (kind == "solid") {
    brush.SetColors(ColourOn(words.TakeColour()), 0);
  } else if (kind == "hatch") {
    brush.SetStyle(words.TakeNumber("the hatch", 0, 5));
    const long long fore = ColourOn(words.TakeColour());
    brush.SetColors(fore, ColourOn(words.TakeColour()));
  } else if (kind == "pattern") {
    tool->pattern = LoadColours(words.TakeWord("a picture"));
    Demand(brush.SetPattern(tool->pattern.get()));
  } else {
    throw ScriptError("'" + Shown(kind) + "' is no brush: solid, hatch or pattern");
  }
  if (kind != "solid" && words.TakeIf("origin")) {
    const POINT origin = words.TakePoint();
    brush.SetOrigin(origin.x, origin.y);
  }
  words.End();
  m_canvas.SelectBrush(&brush);
  Demand(m_canvas.IsSelect(&brush));
  m_brush = std::move(tool);
}

void Board::Texture(Words &words) {
  m_canvas.SelectTexture(nullptr);
  m_texture.reset();
  if (TakeOff(words)) return;
  auto tool = std::make_unique<TextureTool>();
  tool->weights = LoadWeights(words.TakeWord("a picture or 'off'"));
  words.End();
  Demand(tool->texture.SetTexture(tool->weights.get()));
  m_canvas.SelectTexture(&tool->texture);
  Demand(m_canvas.IsSelect(&tool->texture));
  m_texture = std::move(tool);
}

void Board::Shield(Words &words) {
  m_canvas.SelectShield(nullptr);
  m_shield.reset();
  if (TakeOff(words)) return;
  auto shield = std::make_unique<PShield>();
  int rules = 0;
  do {
    const std::string kind = words.TakeWord("a rule or 'off'");
    Demand(rules < PShield::kRules, "a shield has ten rules at most");
    const auto tolerance = [&](LONG most) { return static_cast<WORD>(words.TakeNumber("the tolerance", 0, most)); };
    if (kind == "color") {
      shield->SetRule(rules++, 1, words.TakeColour(), 0);
    } else if (kind == "box") {
      const DWORD colour = words.TakeColour();
      shield->SetRule(rules++, 2, colour, tolerance(255));
    } else if (kind == "hue") {
      const auto hue = static_cast<DWORD>(words.TakeNumber("the hue", 0, 360));
      shield->SetRule(rules++, 3, hue, tolerance(180));
    } else if (kind == "lightness") {
      const auto lightness = static_cast<DWORD>(words.TakeNumber("the lightness", 0, 255));
      shield->SetRule(rules++, 4, lightness, tolerance(255));
    } else {
      throw ScriptError("'" + Shown(kind) + "' is no rule of shields: color, box, hue or lightness");
    }
  } while (!words.AtEnd());
  m_canvas.SelectShield(shield.get());
  Demand(m_canvas.IsSelect(shield.get()));
  m_shield = std::move(shield);
}

void Board::Mask(Words &words) {
  m_canvas.SelectMask(nullptr);
  m_mask.reset();
  if (TakeOff(words)) return;
  Picture mask = LoadWeights(words.TakeWord("a picture or 'off'"));
  words.End();
  if (mask->GetImageWidth() != m_canvas.GetImageWidth() || mask->GetImageHeight() != m_canvas.GetImageHeight())
    throw ScriptError("the mask has " + std::to_string(mask->GetImageWidth()) + " x " +
                      std::to_string(mask->GetImageHeight()) + " pixels, not those of the picture");
  m_mask = std::move(mask);
  m_canvas.SelectMask(m_mask.get());
}

// Strokes ------------------------------------------------------------------------------------------------------------

void Board::Move(Words &words) {
  POINT point = words.TakePoint();
  words.End();
  NeedPen();
  m_canvas.MoveTo(&point);
  m_at = point;
}

void Board::Line(Words &words) {
  for (POINT point : words.TakePoints(1)) {
    AffordWay(Distance(m_at, point));
    Demand(m_canvas.LineTo(&point));
    m_at = point;
  }
}

void Board::Polyline(Words &words) {
  std::vector<POINT> points = words.TakePoints(2);
  double way = 0;
  for (std::size_t i = 1; i < points.size(); ++i) way += Distance(points[i - 1], points[i]);
  AffordWay(way);
  Demand(m_canvas.DrawPolyLine(points.data(), static_cast<int>(points.size())));
  m_at = points.back();
}

void Board::Dot(Words &words) {
  const POINT point = words.TakePoint();
  words.End();
  AffordDabs(1);
  Demand(m_canvas.DrawPixel(point.x, point.y));
}

void Board::Stroke(Words &words) {
  const std::vector<POINT> points = words.TakePoints(1);
  AffordDabs(static_cast<double>(points.size()));
  PPointArray array;
  for (const POINT &point : points) Demand(array.Add(point.x, point.y));
  Demand(m_canvas.DoStroke(&array, &NeedPen()));
}

void Board::Frame(Words &words) {
  RECT area = words.TakeRect();
  words.End();
  AffordOutline(area);
  m_canvas.FrameRect(&area);
  m_at = {area.left, area.top};
}

void Board::Ring(Words &words) {
  std::optional<RECT> area = words.TakeArea();
  words.End();
  const RECT rect = area.value_or(WholeCanvas());
  AffordOutline(rect);
  Demand(m_canvas.FrameEllipse(area ? &*area : nullptr));
  m_at = {rect.right, rect.bottom};
}

// Fills --------------------------------------------------------------------------------------------------------------

/// An area beside the canvas is nothing to fill, which is no failure.
void Board::Rect(Words &words) {
  std::optional<RECT> area = words.TakeArea();
  words.End();
  NeedBrush();
  if (area) AffordArea(*area);
  m_canvas.FillRect(area ? &*area : nullptr);
}

void Board::Ellipse(Words &words) {
  std::optional<RECT> area = words.TakeArea();
  words.End();
  NeedBrush();
  if (area) AffordArea(*area);
  Demand(m_canvas.FillEllipse(area ? &*area : nullptr));
}

void Board::Triangle(Words &words) {
  const std::vector<POINT> points = words.TakePoints(3);
  Demand(points.size() == 3, "a triangle has three corners");
  NeedBrush();
  AffordArea(BoundsOf(points));
  Demand(m_canvas.FillTriangle(CPoint(points[0]), CPoint(points[1]), CPoint(points[2])));
}

void Board::Polygon(Words &words) {
  std::vector<POINT> points = words.TakePoints(3);
  NeedBrush();
  AffordArea(BoundsOf(points));
  if (m_pen != nullptr) AffordDabs(static_cast<double>(points.size()));
  const int corners = static_cast<int>(points.size());
  points.push_back(points.front());
  m_canvas.FillPolygon(points.data(), corners);
}

void Board::Fill(Words &words) {
  const POINT seed = words.TakePoint();
  LONG tolerance = 0;
  Picture reference;
  while (!words.AtEnd()) {
    const std::string option = words.TakeWord("an option");
    if (option == "tolerance")
      tolerance = words.TakeNumber("the tolerance", 0, 255);
    else if (option == "reference")
      reference = Read(Named(words.TakeWord("a picture")));
    else
      throw ScriptError("'" + Shown(option) + "' is no option of fill: tolerance or reference");
  }
  NeedBrush();
  if (reference && (reference->GetImageWidth() != m_canvas.GetImageWidth() ||
                    reference->GetImageHeight() != m_canvas.GetImageHeight()))
    throw ScriptError("the reference is not as large as the picture");
  Demand(m_canvas.FloodFill(CPoint(seed), static_cast<short>(tolerance), reference.get()));
}

void Board::Copy(Words &words) {
  const std::string file = words.TakeWord("a picture");
  const POINT to = words.TakePoint();
  std::optional<RECT> part;
  if (words.TakeIf("from")) part = words.TakeRect();
  words.End();
  const Picture picture = LoadColours(file);
  PQelDraw source;
  Demand(source.GenerateImage(picture.get(), kGlobalMemory, 0, 0));
  const long width = part ? part->right - part->left : source.GetImageWidth();
  const long height = part ? part->bottom - part->top : source.GetImageHeight();
  Demand(m_canvas.BitBlt(to.x, to.y, width, height, &source, part ? part->left : 0, part ? part->top : 0));
}

/// Written into a copy of the canvas's part, which goes back as a picture does, through shield, texture and mask.
void Board::Text(Words &words) {
  const RECT all = WholeCanvas();
  RECT area = words.TakeArea().value_or(all);
  const std::string text = words.TakeWord("a text");
  words.End();
  Demand(!text.empty(), "the text is empty");
  Demand(area.left >= 0 && area.top >= 0 && area.right <= all.right && area.bottom <= all.bottom,
         "the text's area does not lie in the canvas");
  const int width = area.right - area.left, height = area.bottom - area.top;
  PQelDraw part;
  Demand(part.CreateImage(m_canvas.GetBI(), width, height, 10, kGlobalMemory, 0, 0) &&
         part.CopyRect(&m_canvas, nullptr, &area));
  Write(part, text, {0, 0, width, height}, m_lettering, {text, {}});
  Demand(m_canvas.BitBlt(area.left, area.top, width, height, &part, 0, 0));
}

void Board::Clear(Words &words) {
  const DWORD colour = words.TakeColour();
  words.End();
  Demand(m_canvas.Clear(ColourOn(colour)));
}

// Canvas -------------------------------------------------------------------------------------------------------------

void Board::Repeat(Words &words) {
  if (words.TakeIf("on")) {
    words.End();
    m_canvas.EnableRepeat(1);
  } else if (TakeOff(words)) {
    m_canvas.EnableRepeat(0);
  } else {
    const POINT periods = words.TakePoint();
    words.End();
    Demand(periods.x >= 0 && periods.y >= 0, "a period is below 0");
    m_canvas.SetRepeat(periods.x, periods.y);
  }
  FollowAll();
}

void Board::AntiAlias(Words &words) {
  const bool on = TakeSwitch(words);
  Demand(m_canvas.EnableAntiAlias(on), "pictures of 2, 16 and 256 colours and of 16 grays have no smooth edges");
}

/// The shield looks at the whole canvas anew.
void Board::FollowAll() {
  if (m_shield != nullptr) Demand(m_shield->Update(1));
  m_canvas.Validate();
}

void Board::Undo(Words &words) {
  words.End();
  Demand(!m_undone, "this is undone already");
  Demand(m_canvas.DoUndo());
  m_undone = true;
  FollowAll();
}

void Board::Redo(Words &words) {
  words.End();
  Demand(m_undone, "nothing was undone");
  Demand(m_canvas.DoRedo());
  m_undone = false;
  FollowAll();
}

void Board::Mark(Words &words) {
  words.End();
  Demand(m_canvas.ClearUndo());
  m_undone = false;
}

}  // namespace app
