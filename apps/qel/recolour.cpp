// Pictures in another image type. Palettes are the work of the engine's conversion agent; all else goes row by row
// through gray levels or 24-bit colour.
#include "apps/qel/recolour.h"

#include <algorithm>
#include <cstdio>

#include "apps/qel/failure.h"
#include "qel/convert/itc.h"
#include "qel/lines/convert.h"

namespace app {
namespace {

using Line = std::vector<unsigned char>;

bool IsGray(int type) {
  return type == 0 || type == 4 || type == 5;
}
bool TakesColour(int type) {
  return type == 1 || type >= 5;
}

// Row by row ---------------------------------------------------------------------------------------------------------

/// A row as gray levels.
int GetLevels(PQel &picture, long y, Line &levels, Line &colours) {
  const long last = picture.GetImageWidth() - 1;
  if (IsGray(picture.GetImageType())) return picture.GetGrayHorLine(0, last, y, levels.data(), nullptr);
  if (!picture.Get24bitHorLine(0, last, y, colours.data(), nullptr)) return 0;
  QelAsmConvert24to8G(levels.data(), colours.data(), static_cast<unsigned long>(last + 1));
  return 1;
}

void CopyRows(PQel &from, PQel &to, const Course &course) {
  const long width = from.GetImageWidth();
  Line colours(static_cast<std::size_t>(3 * width)), levels(static_cast<std::size_t>(width));
  // gray to gray keeps levels that a way through colours would keep too, and serves the types that take no colours
  const bool byLevels = !TakesColour(to.GetImageType()) || (to.GetImageType() == 5 && IsGray(from.GetImageType()));
  for (long y = 0; y < from.GetImageHeight(); ++y) {
    if (byLevels) {
      Require(GetLevels(from, y, levels, colours) && to.PutGrayHorLine(0, width - 1, y, levels.data()), course);
    } else {
      Require(from.Get24bitHorLine(0, width - 1, y, colours.data(), nullptr), course);
      Require(to.Put24bitHorLine(0, width - 1, y, colours.data()), course);
    }
  }
}

Picture CopyAs(PQel &picture, int type, const Course &course) {
  Picture made = MakeOfType(picture, type, {}, course);
  CopyRows(picture, *made, course);
  return made;
}

/// Black below a gray level, white from it on.
Picture Cut(PQel &picture, int threshold, const Course &course) {
  const Picture levels = CopyAs(picture, 5, course);
  Picture made = MakeOfType(picture, 0, {}, course);
  Require(made->ConvertImage(levels.get(), 0, threshold, 0), course);
  return made;
}

// Through the agent --------------------------------------------------------------------------------------------------

constexpr const char *kMethodNames[] = {"the colour map", "the custom palette", "error diffusion", "ordered dither"};

/// An agent that tells what became of the method.
class Agent : public PItc {
 public:
  unsigned short Taken() const { return m_cvtMethod.wMethod; }
};

/// True for colours that are all among others; false when there are none.
bool AreAmong(const Colours &wanted, const Colours &held) {
  return !wanted.empty() && std::all_of(wanted.begin(), wanted.end(), [&](DWORD colour) {
    return std::find(held.begin(), held.end(), colour) != held.end();
  });
}

/// True when the agent carries the picture's own pixels over by a method; the others start from true colour, where the
/// agent leaves the choice of the method alone.
bool ServesDirectly(int from, int to, Method method) {
  if (from == 1) return true;
  return from <= 5 && method == kMap && !(from == to && IsGray(to));
}

bool HasGraysAlone(const Colours &colours) {
  return !colours.empty() && std::all_of(colours.begin(), colours.end(), [](DWORD colour) {
    return (colour & 0xFFFF) == colour >> 8;  // red and green equal green and blue
  });
}

/// The picture in a form that the agent takes for a method; null when it is in one.
Picture Prepare(PQel &picture, int type, const Reduction &reduction, Method method, const Course &course) {
  // the nearest gray of a colour is that of its brightness, not the one that is nearest as a colour
  if (!IsGray(picture.GetImageType()) && HasGraysAlone(reduction.palette))
    return CopyAs(*CopyAs(picture, 5, course), 1, course);
  return ServesDirectly(picture.GetImageType(), type, method) ? nullptr : CopyAs(picture, 1, course);
}

Picture Reduce(PQel &picture, int type, const Reduction &reduction, const Course &course) {
  constexpr long kWidestDiffusion = 65534;
  Picture made = MakeOfType(picture, type, reduction.palette, course);
  const Method method = reduction.method.value_or(AreAmong(ColoursOf(picture), ColoursOf(*made)) ? kMap : kDiffuse);
  const Picture prepared = Prepare(picture, made->GetImageType(), reduction, method, course);
  PQel &source = prepared ? *prepared : picture;
  if (method == kCustom) made = MakeOfType(picture, type, MakeColours(source, course), course);

  Agent agent;
  const tagCVTMETHOD wanted = {method, reduction.dither, reduction.size};
  if (!agent.BuildAgent(made.get(), &source, wanted) || !agent.ConvertImg(nullptr, nullptr)) {
    if (source.GetImageWidth() > kWidestDiffusion) throw Failure(course.path, "is too wide for this method");
    RunOutOfMemory(course);
  }
  if (reduction.method && agent.Taken() != method && agent.Taken() <= kDither)
    std::fprintf(stderr, "qel: %s: %s does not suit this type and palette, %s is taken\n", course.path.c_str(),
                 kMethodNames[method], kMethodNames[agent.Taken()]);
  return made;
}

}  // namespace

Colours MakeColours(PQel &picture, const Course &course) {
  CPalette palette;
  Require(palette.Attach(PItc::CreateCustomPalette(&picture)), course);
  return ColoursOf(palette);
}

bool HasPalette(int type) {
  return type == 0 || type == 2 || type == 3;
}

Picture ChangeType(PQel &picture, int type, const Reduction &reduction, const Course &course) {
  if (type == 0 && reduction.threshold) return Cut(picture, *reduction.threshold, course);
  if (!HasPalette(type)) return CopyAs(picture, type, course);
  return Reduce(picture, type, reduction, course);
}

Picture ToSmooth(Picture picture, const Course &course) {
  const int type = picture->GetImageType();
  const bool blackAndWhite = type == 0 && AreAmong(ColoursOf(*picture), {0x000000, 0xFFFFFF});
  if (type == 4 || blackAndWhite) return CopyAs(*picture, 5, course);
  return type <= 3 && type != 1 ? CopyAs(*picture, 1, course) : std::move(picture);
}

}  // namespace app
