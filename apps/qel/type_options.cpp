// The options of the image type, and what they mean together.
#include "apps/qel/type_options.h"

#include <algorithm>

#include "apps/qel/failure.h"
#include "apps/qel/image_type.h"
#include "apps/qel/numbers.h"

namespace app {
namespace {

constexpr int kMono = 0, k256Colours = 3;

[[noreturn]] void Refuse(const std::string &option, const std::string &why) {
  throw CLI::ValidationError(option, why);
}

/// A parser for one word of a list, whose place in the list is the option's value.
template <std::size_t N>
auto PlaceIn(const std::array<const char *, N> &words) {
  return [&words](const std::string &option, const std::string &text) {
    const auto found = std::find(words.begin(), words.end(), text);
    if (found == words.end()) Refuse(option, "'" + text + "' is none of " + CLI::detail::join(words, ", "));
    return static_cast<unsigned short>(found - words.begin());
  };
}

/// The type that the other options ask for; none when they leave the picture's own.
std::optional<int> ImpliedType(const TypeChoice &choice) {
  if (choice.reduction.threshold) return kMono;
  if (choice.reduction.method == kCustom) return k256Colours;
  if (!choice.reduction.palette.empty()) return TypeForColours(choice.reduction.palette.size());
  return std::nullopt;
}

/// Refuses options that do not go together, files unseen.
void Check(const TypeChoice &choice) {
  const auto &method = choice.reduction.method;
  const bool palette = !choice.palette.empty();
  if (choice.reduction.threshold) {
    if (palette || method) Refuse("--threshold", "excludes --palette and --method");
    if (choice.type.value_or(kMono) != kMono) Refuse("--threshold", "makes pictures of the type mono");
  }
  if (method == kCustom) {
    if (palette) Refuse("--method", "custom makes a palette of its own and excludes --palette");
    if (choice.type.value_or(k256Colours) != k256Colours) Refuse("--method", "custom makes pictures of the type 256");
  } else if (method && !palette && !choice.type) {
    Refuse("--method", "wants a --type or a --palette to bring the picture to");
  }
  if ((method || palette) && choice.type && !HasPalette(*choice.type))
    Refuse(palette ? "--palette" : "--method", "is for the types mono, 16 and 256");
}

}  // namespace

void AddTypeOptions(CLI::App &verb, TypeChoice &choice) {
  const auto findType = [](const std::string &option, const std::string &text) {
    const auto type = FindType(text);
    if (!type) Refuse(option, "there is no image type '" + text + "'");
    return *type;
  };
  AddParsed(verb, "--type", choice.type,
            "image type of the result: mono, rgb, 16, 256, gray16, gray256, 555, 565, 32 or 48", findType)
      ->type_name("TYPE");
  const auto notEmpty = [](const std::string &option, const std::string &text) {
    if (text.empty()) Refuse(option, "wants a file or a name");
    return text;
  };
  AddParsed(
      verb, "--palette", choice.palette,
      "colours of the result: a picture (its colour table), a text file with a colour such as #ff8000 a line, or one "
      "of " +
          BuiltInNames() + "; without --type their number chooses mono, 16 or 256",
      notEmpty)
      ->type_name("FILE|NAME");
  const auto findMethod = [place = PlaceIn(kMethodWords)](const std::string &option, const std::string &text) {
    return Method(place(option, text));
  };
  AddParsed(
      verb, "--method", choice.reduction.method,
      "way to the types mono, 16 and 256: map (nearest colour), custom (256: nearest colour of a palette made for "
      "the picture), diffuse (error diffusion) or dither (ordered dither, on standard palettes); default: "
      "diffuse, or map when the palette holds every colour of the picture",
      findMethod)
      ->type_name("METHOD");
  AddParsed(verb, "--dither", choice.dither,
            "matrix of the ordered dither: bayer (default), mesh, spiral, fatting, hmesh or vmesh",
            PlaceIn(kDitherWords))
      ->type_name("MATRIX");
  AddParsed(verb, "--size", choice.size, "edge of that matrix: 4 or 8 (default)",
            [](const std::string &option, const std::string &text) {
              if (text != "4" && text != "8") Refuse(option, "'" + text + "' is neither 4 nor 8");
              return static_cast<unsigned short>(text[0] - '0');
            })
      ->type_name("N");
  AddParsed(verb, "--threshold", choice.reduction.threshold,
            "black and white by this gray level, which is white: 0 to 255",
            [](const std::string &option, const std::string &text) {
              const LONG level = ParseNumbers(option, text, ',', 1, 0)[0];
              if (level > 255) Refuse(option, "'" + text + "' is above 255");
              return static_cast<int>(level);
            })
      ->type_name("N");
}

void Complete(TypeChoice &choice) {
  Reduction &reduction = choice.reduction;
  if (choice.dither || choice.size) {
    if (reduction.method.value_or(kDither) != kDither) Refuse("--dither", "excludes another --method");
    reduction.method = kDither;
    reduction.dither = choice.dither.value_or(reduction.dither);
    reduction.size = choice.size.value_or(reduction.size);
  }
  Check(choice);
  if (!choice.palette.empty()) reduction.palette = LoadColours(choice.palette);
  if (!choice.type) choice.type = ImpliedType(choice);
  const std::size_t room = choice.type ? static_cast<std::size_t>(PQel::GetMaxClrUsed(*choice.type)) : 0;
  if (reduction.palette.size() > room)
    throw Failure(choice.palette, "holds " + std::to_string(reduction.palette.size()) + " colours, a picture of the " +
                                      "type " + NameOfType(*choice.type).option + " takes " + std::to_string(room));
}

void ApplyType(Picture &picture, const TypeChoice &choice, const Course &course) {
  const Reduction &reduction = choice.reduction;
  const bool changes = reduction.method || reduction.threshold || !reduction.palette.empty();
  if (choice.type && (changes || *choice.type != picture->GetImageType()))
    picture = ChangeType(*picture, *choice.type, reduction, course);
}

}  // namespace app
