// What the keys do, for the window and for people.
#pragma once

#include <memory>
#include <string>

#include "qel/qel.h"

namespace view {

enum class Action {
  kNone,
  kNext,
  kPrevious,
  kZoomIn,
  kZoomOut,
  kPlainSize,
  kFit,
  kLeft,
  kRight,
  kUp,
  kDown,
  kBrighter,
  kDarker,
  kBlackAndWhite,
  k16Colours,
  k256Colours,
  kTrueColour,
  kCommonPalette,
  kRepeat,
  kHelp,
  kLeave
};

/// What a typed character does.
Action ActionOf(const char *text);

/// The keys and what they do, a line each.
std::string HelpText();

/// The same as a picture. Throws a Failure when there is no font.
std::unique_ptr<PQel> HelpPicture();

}  // namespace view
