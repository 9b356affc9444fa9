// Drawing tools: the lines of shields and footprints beside loops of single pixels, and a soft stroke beside the bare
// mix of its footprint's pixels.
#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "pair.h"
#include "qel/lines/footprint.h"
#include "qel/lines/hsl.h"
#include "qel/lines/mix.h"
#include "qel/qel.h"

namespace {

using Line = std::vector<unsigned char>;

constexpr long kWidth = 4096, kSize = 64;

std::shared_ptr<Line> RandomLine(long bytes) {
  const auto line = std::make_shared<Line>(static_cast<std::size_t>(bytes));
  std::mt19937 random(1);
  for (auto &b : *line) b = static_cast<unsigned char>(random());
  return line;
}

// Shields ------------------------------------------------------------------------------------------------------------

/// Hue in degrees (-1: none) and lightness, in floating point as textbooks have them.
struct TextbookHsl {
  float hue, lightness;

  explicit TextbookHsl(const unsigned char *p) {
    const float b = p[0], g = p[1], r = p[2], mx = std::max({b, g, r}), mn = std::min({b, g, r}), d = mx - mn;
    lightness = (mx + mn) / 2;
    hue = d == 0 ? -1 : 60 * (mx == r ? std::fmod((g - b) / d + 6, 6.0F) : mx == g ? 2 + (b - r) / d : 4 + (r - g) / d);
  }
};

void MarkPlainly(unsigned char *bits, const unsigned char *line, long n) {
  for (long i = 0; i < n; ++i, line += 3) {
    const TextbookHsl hsl(line);
    const float apart = std::fabs(hsl.hue - 40);
    const bool isHue = hsl.hue >= 0 && std::min(apart, 360 - apart) <= 30;
    if (isHue || std::fabs(hsl.lightness - 100) <= 20) bits[i / 8] |= static_cast<unsigned char>(0x80 >> i % 8);
  }
}

bench::Works HueAndLightness() {
  const auto source = RandomLine(3 * kWidth), line = RandomLine(3 * kWidth), bits = RandomLine(kWidth / 8);
  return {bench::Repeat([=] {
            std::copy(source->begin(), source->end(), line->begin());
            std::fill(bits->begin(), bits->end(), static_cast<unsigned char>(0));
            ConvertLineToHsl(line->data(), kWidth);
            qel::lines::MarkLightness(bits->data(), line->data(), kWidth, 80, 120);
            qel::lines::MarkHue(bits->data(), line->data(), kWidth, 40, 30);
            bench::Touch(bits->data());
          }),
          bench::Repeat([=] {
            std::fill(bits->begin(), bits->end(), static_cast<unsigned char>(0));
            MarkPlainly(bits->data(), source->data(), kWidth);
            bench::Touch(bits->data());
          })};
}

bench::Works ColorBoxes() {
  const auto line = RandomLine(3 * kWidth), bits = RandomLine(kWidth / 8);
  const qel::lines::ColorBox box = {{40, 50, 60}, {140, 150, 160}};
  return {bench::Repeat([=] {
            qel::lines::MarkBox(bits->data(), line->data(), kWidth, box);
            bench::Touch(bits->data());
          }),
          bench::Repeat([=] {
            const unsigned char *p = line->data();
            for (long i = 0; i < kWidth; ++i, p += 3)
              if (p[0] >= 40 && p[0] <= 140 && p[1] >= 50 && p[1] <= 150 && p[2] >= 60 && p[2] <= 160)
                (*bits)[static_cast<std::size_t>(i / 8)] |= static_cast<unsigned char>(0x80 >> i % 8);
            bench::Touch(bits->data());
          })};
}

// Pens ---------------------------------------------------------------------------------------------------------------

bench::Works FootprintSums() {
  const auto line = RandomLine(kWidth);
  const auto sums = std::make_shared<std::vector<std::uint32_t>>(kWidth);
  return {bench::Repeat([=] {
            qel::lines::AddInverted(sums->data(), line->data(), kWidth);
            bench::Touch(sums->data());
          }),
          bench::Repeat([=] {
            for (std::size_t i = 0; i < kWidth; ++i) {
              (*sums)[i] += 255U - (*line)[i];
              bench::Touch(nullptr);
            }
          })};
}

/// The yardstick mixes the same rows of the same footprint at the same places of a plain picture.
bench::Works SoftStroke() {
  constexpr long kEdge = 1024, kRow = 3 * kEdge, kFrom = 100, kTo = 900, kStep = kSize / 4;
  const auto draw = std::make_shared<PQelDraw>();
  const auto pen = std::make_shared<PPen>();
  draw->CreateImage(1, kEdge, kEdge, 0, nullptr, 0, 0, 1, 0, 0);
  pen->SetShape(0, kSize);
  pen->SetFeather(128);
  pen->ChangeColor(0x3070C0);
  pen->SetSpacing(0.25);
  draw->SelectPen(pen.get());
  const auto picture = RandomLine(kRow * kEdge), weights = RandomLine(kSize * kSize), colors = RandomLine(3 * kSize);
  for (long y = 0; y < kSize; ++y) pen->GetShapeLine(0, kSize - 1, y, weights->data() + kSize * y);
  return {bench::Repeat([=] {
            (void)pen;
            draw->DrawLine(kFrom, kFrom, kTo, kFrom);
          }),
          bench::Repeat([=] {
            for (long x = kFrom; x <= kTo; x += kStep)
              for (long y = 0; y < kSize; ++y)
                qel::lines::Mix24(picture->data() + kRow * (kFrom + y) + 3 * x, colors->data(),
                                  weights->data() + kSize * y, kSize);
            bench::Touch(picture->data());
          })};
}

const bench::PairsAtStart g_pairs([] {
  bench::AddPair({"tools/rules of hue and lightness : textbook floats", 0, 3 * kWidth, HueAndLightness});
  bench::AddPair({"tools/rule of a colour box : plain loop", 0.5, 3 * kWidth, ColorBoxes});
  bench::AddPair({"tools/sums of a footprint : single pixels", 0.5, kWidth, FootprintSums});
  bench::AddPair({"tools/soft stroke of 64 pixels : bare mixes", 2, 0, SoftStroke});
});

}  // namespace
