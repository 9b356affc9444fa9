// One table tells people what the keys do, another what characters do. Characters are taken as they are typed, not as
// places on a keyboard, so that a plus is a plus on every layout.

#include "apps/qelview/keys.h"

#include <algorithm>
#include <cstring>

#include "apps/qel/lettering.h"

namespace view {

namespace {

struct Key {
  const char *name, *meaning;
};
constexpr Key kKeys[] = {
    {"n, Page Down, Space", "next picture"},
    {"p, Page Up, Backspace", "picture before"},
    {"wheel, i, o", "zoom in and out, by whole steps"},
    {"z", "one to one"},
    {"f", "the whole picture"},
    {"drag, arrow keys", "scroll"},
    {"+, -", "gamma: brighter, darker"},
    {"1, 4, 8, 0", "as on a screen of 1, 4, 8 bits, true colour"},
    {"c", "the common palette on a screen of 8 bits"},
    {"r", "repeat: an endless plane of the picture"},
    {"F1, h", "this help"},
    {"q, Escape", "leave"},
};

struct Character {
  char typed;
  Action action;
};
constexpr Character kCharacters[] = {
    {'n', Action::kNext},          {' ', Action::kNext},       {'p', Action::kPrevious},   {'i', Action::kZoomIn},
    {'o', Action::kZoomOut},       {'z', Action::kPlainSize},  {'f', Action::kFit},        {'+', Action::kBrighter},
    {'=', Action::kBrighter},      {'-', Action::kDarker},     {'_', Action::kDarker},     {'4', Action::k16Colours},
    {'1', Action::kBlackAndWhite}, {'8', Action::k256Colours}, {'0', Action::kTrueColour}, {'r', Action::kRepeat},
    {'c', Action::kCommonPalette}, {'h', Action::kHelp},       {'q', Action::kLeave},
};

constexpr int kLine = 18, kMargin = 12, kGap = 18;
constexpr DWORD kNameColour = 0xFFD060, kMeaningColour = 0xFFFFFF;
constexpr unsigned long kGround = 0x303030;

app::Lettering LetteringIn(DWORD colour) {
  app::Lettering lettering;
  lettering.height = kLine - 2;
  lettering.colour = colour;
  lettering.align = app::Align::kLeft;
  return lettering;
}

}  // namespace

Action ActionOf(const char *text) {
  if (text[0] == 0 || text[1] != 0) return Action::kNone;
  for (const Character &character : kCharacters)
    if (character.typed == text[0]) return character.action;
  return Action::kNone;
}

std::string HelpText() {
  std::size_t widest = 0;
  for (const Key &key : kKeys) widest = std::max(widest, std::strlen(key.name));
  std::string text = "Keys:\n";
  for (const Key &key : kKeys)
    text.append("  ").append(key.name).append(widest + 2 - std::strlen(key.name), ' ').append(key.meaning).append("\n");
  return text;
}

std::unique_ptr<PQel> HelpPicture() {
  const app::Course course{"help", {}};
  const app::Lettering name = LetteringIn(kNameColour), meaning = LetteringIn(kMeaningColour);
  LONG nameWidth = 0, meaningWidth = 0;
  for (const Key &key : kKeys) {
    nameWidth = std::max(nameWidth, static_cast<LONG>(app::WidthOf(key.name, name, course)));
    meaningWidth = std::max(meaningWidth, static_cast<LONG>(app::WidthOf(key.meaning, meaning, course)));
  }
  auto picture = std::make_unique<PQel>();
  const LONG width = nameWidth + kGap + meaningWidth + 2 * kMargin;
  const auto height = static_cast<LONG>(kLine * std::size(kKeys) + 2 * kMargin);
  app::Require(picture->CreateImage(1, width, height, 0, nullptr, 3780, 3780, 1, 0, 0) && picture->Clear(kGround),
               course);
  LONG top = kMargin;
  for (const Key &key : kKeys) {
    const LONG middle = kMargin + nameWidth + kGap;
    app::Write(*picture, key.name, {kMargin, top, kMargin + nameWidth, top + kLine}, name, course);
    app::Write(*picture, key.meaning, {middle, top, middle + meaningWidth, top + kLine}, meaning, course);
    top += kLine;
  }
  return picture;
}

}  // namespace view
