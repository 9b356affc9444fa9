// Error diffusion of a 24-bit picture of 4096 x 3072 pixels, row by row, beside the plain loop over pixels.
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "pair.h"
#include "pictures.h"
#include "qel/lines/convert.h"
#include "qel/lines/diffuse.h"

namespace {

namespace lines = qel::lines;
using Bytes = std::vector<unsigned char>;

constexpr long kWidth = 4096, kHeight = 3072;

/// Slow waves with a little noise, like a photo; the palette, a map to its nearest colours, and the error rows.
struct Setting {
  Bytes picture = bench::Waves(kWidth, kHeight), palette, map = Bytes(4096);
  Bytes indices = Bytes(static_cast<std::size_t>(kWidth));
  std::vector<std::int32_t> current = std::vector<std::int32_t>(static_cast<std::size_t>(3 * kWidth)), next = current;

  /// Levels of red, green and blue in equal steps; 0: black and white.
  explicit Setting(const std::vector<int> &levels) {
    for (int k = 0; k < levels[0] * levels[1] * levels[2]; ++k) {
      const int place[3] = {k / (levels[1] * levels[2]), k / levels[2] % levels[1], k % levels[2]};
      for (int c = 0; c < 3; ++c)
        palette.push_back(
            static_cast<unsigned char>(255 * place[c] / std::max(levels[static_cast<std::size_t>(c)] - 1, 1)));
    }
    if (palette.size() == 6) palette = {0, 0, 0, 255, 255, 255};
    for (int key = 0; key < 4096; ++key) {
      int best = 1 << 30;
      for (std::size_t j = 0; j < palette.size() / 3; ++j) {
        int square = 0;
        for (std::size_t c = 0; c < 3; ++c) {
          const int d = 17 * (key >> (8 - 4 * c) & 15) - palette[3 * j + c];
          square += d * d;
        }
        if (square < best) best = square, map[static_cast<std::size_t>(key)] = static_cast<unsigned char>(j);
      }
    }
  }

  lines::DiffusePalette Palette() {
    return {palette.data(), static_cast<int>(palette.size() / 3), map.data(), nullptr};
  }
};

template <class Table, class Span>
void Rows(Setting &s, Span span) {
  for (long y = 0; y < kHeight; ++y) {
    lines::DiffuseRow row = {s.current.data(), s.next.data(), kWidth, y % 2 != 0};
    Table table;
    PrepareDiffusion(table, s.Palette());
    for (long k = 0; k < kWidth; k += lines::kDiffuseSpan) {
      const long from = row.toLeft ? kWidth - lines::kDiffuseSpan - k : k;
      span(s.indices.data() + from, s.picture.data() + 3 * (y * kWidth + from), from, from + lines::kDiffuseSpan, row,
           table);
    }
    s.current.swap(s.next);
  }
  bench::Touch(s.indices.data());
}

void Engine(Setting &s) {
  if (s.palette.size() > 6) return Rows<lines::DiffuseColorTable>(s, lines::DiffuseColors);
  Rows<lines::DiffuseLevelTable>(s, [](unsigned char *indices, const unsigned char *colors, long from, long to,
                                       lines::DiffuseRow &row, lines::DiffuseLevelTable &table) {
    unsigned char levels[lines::kDiffuseSpan];
    lines::Rgb24ToLuma(levels, colors, to - from);
    lines::DiffuseLevels(indices, levels, from, to, row, table);
  });
}

/// Pixel by pixel; C channels (one: the levels).
template <int C>
void Plain(Setting &s) {
  std::vector<int> current(C * (kWidth + 2)), next(current);
  for (long y = 0; y < kHeight; ++y) {
    const long step = y % 2 != 0 ? -C : C;
    for (long k = 0; k < kWidth; ++k) {
      const long x = y % 2 != 0 ? kWidth - 1 - k : k;
      const unsigned char *const p = s.picture.data() + 3 * (y * kWidth + x);
      int *const e = current.data() + C * (x + 1), *const below = next.data() + C * (x + 1), v[3] = {p[2], p[1], p[0]};
      if (C == 1) v[0] = (30 * p[2] + 59 * p[1] + 11 * p[0]) / 100;
      for (int c = 0; c < C; ++c) v[c] = std::clamp(v[c] + std::clamp(e[c], -128, 128), 0, 255);
      const int key = C == 1 ? (v[0] >> 4) * 0x111 : (v[0] >> 4) << 8 | (v[1] >> 4) << 4 | v[2] >> 4;
      const int index = s.map[static_cast<std::size_t>(key)];
      s.indices[static_cast<std::size_t>(x)] = static_cast<unsigned char>(index);
      for (int c = 0; c < C; ++c) {
        const int error = v[c] - s.palette[static_cast<std::size_t>(3 * index + c)];
        e[c + step] += error * 7 >> 4;
        below[c - step] += error * 3 >> 4;
        below[c] += error * 5 >> 4;
        below[c + step] += error >> 4;
      }
    }
    current.swap(next);
    std::fill(next.begin(), next.end(), 0);
  }
  bench::Touch(s.indices.data());
}

const bench::PairsAtStart g_pairs([] {
  struct Kind {
    const char *name;
    double limit;
    std::vector<int> levels;
    void (*plain)(Setting &);
  };
  const Kind kinds[] = {{"to 216 colours", 0.7, {6, 6, 6}, Plain<3>},
                        {"to 16 colours", 0.75, {2, 4, 2}, Plain<3>},
                        {"to black and white", 0.6, {2, 1, 1}, Plain<1>}};
  for (const Kind &kind : kinds)
    bench::AddPair({std::string("diffuse/") + kind.name + " : plain loop", kind.limit,
                    static_cast<std::size_t>(3 * kWidth * kHeight), [kind] {
                      const auto setting = std::make_shared<Setting>(kind.levels);
                      return bench::Works{bench::Repeat([setting] { Engine(*setting); }),
                                          bench::Repeat([setting, kind] { kind.plain(*setting); })};
                    }});
});

}  // namespace
