// Lines through a colour map over a picture of 4096 x 3072 pixels, row by row, beside the loop that anybody would
// write: a key or index and a look-up a pixel. The limit of the pair from true colour is the engine's promise.
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "pair.h"
#include "qel/lines/colour_map.h"

namespace {

using bench::Repeat;
using bench::Touch;
using Line = std::vector<unsigned char>;

constexpr long kWidth = 4096, kHeight = 3072;

std::shared_ptr<Line> Noise(long bytes) {
  auto line = std::make_shared<Line>(static_cast<std::size_t>(bytes));
  std::mt19937 random(1);
  for (auto &b : *line) b = static_cast<unsigned char>(random());
  return line;
}

/// Pixel i of a line of 4, 8 or 24 bits as an index or key.
template <int Bits>
unsigned Index(const unsigned char *src, long i) {
  if constexpr (Bits == 24) return (src[3 * i + 2] >> 4) << 8 | (src[3 * i + 1] >> 4) << 4 | src[3 * i] >> 4;
  if constexpr (Bits == 8) return src[i];
  return i % 2 ? src[i / 2] & 15u : src[i / 2] >> 4;
}

template <int SrcBits, int DstBits>
bench::Works Pixels() {
  const auto src = Noise(kWidth * kHeight * SrcBits / 8), dst = Noise(kWidth * kHeight * DstBits / 8);
  const auto map = Noise(4096);
  const auto rows = [=](auto convert) {
    for (long y = 0; y < kHeight; ++y)
      convert(dst->data() + y * kWidth * DstBits / 8, src->data() + y * kWidth * SrcBits / 8);
    Touch(dst->data());
  };
  const auto engine = [=] {
    rows([&](unsigned char *d, const unsigned char *s) {
      qel::lines::MapPixels(d, DstBits, s, SrcBits, kWidth, map->data());
    });
  };
  const auto plain = [=] {
    rows([m = map->data()](unsigned char *d, const unsigned char *s) {
      if (DstBits == 1) std::memset(d, 0, kWidth / 8);
      for (long i = 0; i < kWidth; ++i) {
        const unsigned v = m[Index<SrcBits>(s, i)];
        if (DstBits == 8) d[i] = static_cast<unsigned char>(v);
        if (DstBits == 4) d[i / 2] = static_cast<unsigned char>(i % 2 ? d[i / 2] | (v & 15) : v << 4);
        if (DstBits == 1) d[i / 8] = static_cast<unsigned char>(d[i / 8] | (v != 0) << (7 - i % 8));
      }
    });
  };
  return {Repeat(engine), Repeat(plain)};
}

template <int SrcBits, int DstBits>
void Add(double limit) {
  bench::AddPair({"colour_map/" + std::to_string(SrcBits) + " to " + std::to_string(DstBits) + " : plain loop", limit,
                  static_cast<std::size_t>(kWidth * kHeight * (SrcBits + DstBits) / 8), Pixels<SrcBits, DstBits>});
}

const bench::PairsAtStart g_pairs([] {
  Add<24, 8>(0.7);
  Add<24, 4>(0);
  Add<24, 1>(0);
  Add<8, 8>(0);
  Add<8, 4>(0);
  Add<4, 8>(0);
});

}  // namespace
