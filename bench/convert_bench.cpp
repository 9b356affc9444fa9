// Line conversions over a picture of 4096 x 3072 pixels, row by row, beside memory: the yardstick copies the smaller of
// the two pictures and fills or reads the rest, the least that any conversion must move.
#include <algorithm>
#include <memory>
#include <numeric>
#include <random>
#include <vector>

#include "pair.h"
#include "qel/lines/convert.h"
#include "qel/lines/file_pixels.h"

namespace {

using bench::PlainCopy;
using bench::Repeat;
using bench::Touch;
using Line = std::vector<unsigned char>;
using Conversion = void (*)(unsigned char *dst, const unsigned char *src, long n);

constexpr long kWidth = 4096, kHeight = 3072;

std::shared_ptr<Line> Picture(int nBits) {
  auto picture = std::make_shared<Line>(static_cast<std::size_t>(kWidth * kHeight * nBits / 8));
  std::mt19937 random(1);
  for (auto &b : *picture) b = static_cast<unsigned char>(random());
  return picture;
}

bench::Works Pixels(Conversion convert, int nSrcBits, int nDstBits) {
  const auto src = Picture(nSrcBits), dst = Picture(nDstBits);
  const long lSrcRow = kWidth * nSrcBits / 8, lDstRow = kWidth * nDstBits / 8;
  const auto engine = [=] {
    for (long y = 0; y < kHeight; ++y) convert(dst->data() + y * lDstRow, src->data() + y * lSrcRow, kWidth);
    Touch(dst->data());
  };
  const auto memory = [=] {
    const auto common = std::min(src->size(), dst->size());
    PlainCopy(dst->data(), src->data(), common);
    if (dst->size() > common) std::fill(dst->begin() + static_cast<long>(common), dst->end(), 7);
    unsigned long sum = 0;
    for (std::size_t i = common; i + 8 <= src->size(); i += 8)
      sum += reinterpret_cast<const unsigned long &>((*src)[i]);
    Touch(&sum);
    Touch(dst->data());
  };
  return {Repeat(engine), Repeat(memory)};
}

RGBQUAD g_table[256];

void Gray(unsigned char *dst, const unsigned char *src, long n) {
  QelAsmConvert24to8G(dst, const_cast<unsigned char *>(src), static_cast<unsigned long>(n));
}
void Threshold(unsigned char *dst, const unsigned char *src, long n) {
  QelAsmConvert8to1(dst, const_cast<unsigned char *>(src), static_cast<unsigned long>(n), 0, 128);
}
void White(unsigned char *dst, const unsigned char *src, long n) {
  qel::lines::BitsToGray(dst, src, n, false);
}
void Mono(unsigned char *dst, const unsigned char *src, long n) {
  qel::lines::BitsTo24(dst, src, n, g_table);
}
void Sixteen(unsigned char *dst, const unsigned char *src, long n) {
  qel::lines::NibblesTo24(dst, src, n, g_table);
}
void Palette(unsigned char *dst, const unsigned char *src, long n) {
  qel::lines::BytesTo24(dst, src, n, g_table);
}
void Mirror(unsigned char *dst, const unsigned char *src, long n) {
  qel::lines::ReversePixels(dst, src, n, 24);
}
void Mirror8(unsigned char *dst, const unsigned char *src, long n) {
  qel::lines::ReversePixels(dst, src, n, 8);
}
void Mirror1(unsigned char *dst, const unsigned char *src, long n) {
  qel::lines::ReversePixels(dst, src, n, 1);
}
void Inks(unsigned char *dst, const unsigned char *src, long n) {
  qel::lines::CmykTo24(dst, src, n, false);
}

const bench::PairsAtStart g_pairs([] {
  namespace lines = qel::lines;
  struct Kind {
    const char *name;
    Conversion convert;
    int srcBits;
    int dstBits;
  };
  constexpr Kind kKinds[] = {{"24 to gray", Gray, 24, 8},
                             {"24 to 32", lines::Rgb24To32, 24, 32},
                             {"24 to 565", lines::Rgb24To565, 24, 16},
                             {"24 to 555", lines::Rgb24To555, 24, 16},
                             {"24 to 48", lines::Rgb24To48, 24, 48},
                             {"palette to 24", Palette, 8, 24},
                             {"mirror 24", Mirror, 24, 24},
                             {"mirror 8", Mirror8, 8, 8},
                             {"mirror 1", Mirror1, 1, 1},
                             {"32 to 24", lines::Rgb32To24, 32, 24},
                             {"565 to 24", lines::Rgb565To24, 16, 24},
                             {"48 to 24", lines::Rgb48To24, 48, 24},
                             {"gray to 24", lines::GrayTo24, 8, 24},
                             {"16 colours to 24", Sixteen, 4, 24},
                             {"mono to 24", Mono, 1, 24},
                             {"mono to gray", White, 1, 8},
                             {"gray to mono", Threshold, 8, 1},
                             {"16 levels to gray", lines::NibblesToGray, 4, 8},
                             {"gray to 16 levels", lines::GrayToNibbles, 8, 4},
                             {"red and blue of 24", lines::SwapRedAndBlue24, 24, 24},
                             {"red and blue of 32", lines::SwapRedAndBlue32, 32, 32},
                             {"48 to 24 by high bytes", lines::HighBytesOf48, 48, 24},
                             {"inks to 24", Inks, 32, 24}};
  for (const Kind &kind : kKinds)
    bench::AddPair({std::string("convert/") + kind.name + " : memory", 0,
                    static_cast<std::size_t>(kWidth * kHeight * (kind.srcBits + kind.dstBits) / 8),
                    [kind] { return Pixels(kind.convert, kind.srcBits, kind.dstBits); }});
});

}  // namespace
