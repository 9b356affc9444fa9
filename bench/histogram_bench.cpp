// The colour searches beside their plain loops: counting pixels into the cells of a histogram (smooth, as pictures are,
// and of one colour, where every pixel adds to the same cell) and finding the nearest palette entries.
#include <algorithm>
#include <memory>
#include <random>
#include <vector>

#include "pair.h"
#include "qel/lines/histogram.h"
#include "qel/lines/nearest_color.h"

namespace {

using bench::Repeat;
using bench::Touch;
using Line = std::vector<unsigned char>;

constexpr long kPixels = 20480;  // a few rows

/// Pixels whose channels walk about by up to `step` a pixel.
std::shared_ptr<Line> Walk(int step) {
  auto line = std::make_shared<Line>(3 * kPixels);
  std::mt19937 random(1);
  int value[3] = {90, 120, 150};
  for (std::size_t i = 0; i < line->size(); ++i) {
    int &v = value[i % 3];
    v = std::clamp(v + static_cast<int>(random() % (2 * step + 1)) - step, 0, 255);
    (*line)[i] = static_cast<unsigned char>(v);
  }
  return line;
}

bench::Works Count(int step) {
  const auto line = Walk(step);
  const auto cells = std::make_shared<std::vector<qel::lines::ColorCell>>(qel::lines::kColorCells);
  const auto count = [=](auto function) {
    return Repeat([=] {
      std::fill(cells->begin(), cells->end(), qel::lines::ColorCell{});
      function(cells->data(), line->data(), kPixels);
      Touch(cells->data());
    });
  };
  return {count(qel::lines::CountColors), count(qel::lines::plain::CountColors)};
}

/// A map of 4096 colours to a palette of random ones.
bench::Works Nearest(long entries) {
  const auto colors = Walk(200), map = std::make_shared<Line>(4096);
  const auto palette = std::make_shared<Line>(3 * entries);
  std::mt19937 random(2);
  for (auto &b : *palette) b = static_cast<unsigned char>(random());
  const auto find = [=](auto function) {
    return Repeat([=] {
      function(map->data(), colors->data(), 4096, palette->data(), entries);
      Touch(map->data());
    });
  };
  return {find(qel::lines::FindNearestColors), find(qel::lines::plain::FindNearestColors)};
}

const bench::PairsAtStart g_pairs([] {
  bench::AddPair({"colours/count, flat : plain", 0.8, 0, [] { return Count(0); }});
  bench::AddPair({"colours/count, smooth : plain", 0.7, 0, [] { return Count(6); }});
  bench::AddPair({"colours/count, noise : plain", 0.7, 0, [] { return Count(200); }});
  bench::AddPair({"colours/nearest of 16 : plain", 0.8, 0, [] { return Nearest(16); }});
  bench::AddPair({"colours/nearest of 256 : plain", 0.3, 0, [] { return Nearest(256); }});
});

}  // namespace
