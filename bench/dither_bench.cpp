// Ordered dither of a 24-bit picture of 4096 x 3072 pixels, row by row, beside the plain loops for the same work; and
// the levels that conversion compares, beside theirs.
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "pair.h"
#include "qel/lines/convert.h"
#include "qel/lines/convert_plain.h"
#include "qel/lines/ordered_dither.h"
#include "qel/lines/ordered_dither_plain.h"

namespace {

using Line = std::vector<unsigned char>;
using Dither = void (*)(unsigned char *dst, const unsigned char *src, long n, const unsigned char *thresholds);

constexpr long kWidth = 4096, kHeight = 3072;

template <void (*kConvert)(unsigned char *, const unsigned char *, long)>
void WithoutThresholds(unsigned char *dst, const unsigned char *src, long n, const unsigned char *) {
  kConvert(dst, src, n);
}

bench::Work Rows(Dither dither, const std::shared_ptr<Line> &picture) {
  const auto dst = std::make_shared<Line>(static_cast<std::size_t>(kWidth * kHeight));
  return bench::Repeat([=] {
    constexpr unsigned char kThresholds[8] = {0, 32, 8, 40, 2, 34, 10, 42};
    for (long y = 0; y < kHeight; ++y)
      dither(dst->data() + y * kWidth, picture->data() + y * kWidth * 3, kWidth, kThresholds);
    bench::Touch(dst->data());
  });
}

const bench::PairsAtStart g_pairs([] {
  namespace lines = qel::lines;
  struct Kind {
    const char *name;
    double limit;
    Dither fast;
    Dither plain;
  };
  constexpr Kind kKinds[] = {
      {"to 2 colours", 0.3, lines::DitherTo2, lines::plain::DitherTo2},
      {"to 16 colours", 0.3, lines::DitherTo16, lines::plain::DitherTo16},
      {"to 216 colours", 0.12, lines::DitherTo216, lines::plain::DitherTo216},
      {"levels", 0, WithoutThresholds<lines::Rgb24ToLuma>, WithoutThresholds<lines::plain::Rgb24ToLuma>}};
  for (const Kind &kind : kKinds)
    bench::AddPair({std::string("dither/") + kind.name + " : plain loop", kind.limit,
                    static_cast<std::size_t>(kWidth * kHeight * 3), [kind] {
                      const auto picture = std::make_shared<Line>(static_cast<std::size_t>(kWidth * kHeight * 3));
                      std::mt19937 random(1);
                      for (auto &b : *picture) b = static_cast<unsigned char>(random());
                      return bench::Works{Rows(kind.fast, picture), Rows(kind.plain, picture)};
                    }});
});

}  // namespace
