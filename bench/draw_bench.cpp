// Shapes beside a fill of as many bytes, and the line functions of drawing and masks beside plain loops.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "pair.h"
#include "qel/image/image.h"
#include "qel/lines/coverage.h"
#include "qel/lines/flood.h"
#include "qel/lines/key_mask.h"
#include "qel/lines/run_fill.h"
#include "qel/lines/threshold.h"

namespace {

using Line = std::vector<unsigned char>;

constexpr long kWidth = 4096, kHeight = 3072;
constexpr long kEllipseBytes = static_cast<long>(3.14159265 / 4 * kWidth * kHeight) * 3;

std::shared_ptr<Line> RandomLine(long bytes, unsigned seed) {
  const auto line = std::make_shared<Line>(static_cast<std::size_t>(bytes));
  std::mt19937 random(seed);
  for (auto &b : *line) b = static_cast<unsigned char>(random());
  return line;
}

bench::Works Ellipse(bool smooth) {
  const auto image = std::make_shared<PQel>();
  image->CreateImage(1, kWidth, kHeight, 0, nullptr, 3780, 3780, 1, 0, 0);
  image->Clear(0);
  image->EnableAntiAlias(smooth);
  const auto bytes = std::make_shared<Line>(static_cast<std::size_t>(kEllipseBytes));
  return {
      bench::Repeat([=] {
        RECT all = {0, 0, static_cast<LONG>((smooth ? 8 : 1) * kWidth), static_cast<LONG>((smooth ? 8 : 1) * kHeight)};
        image->FillCircle(&all, 0x1E3CC8);
      }),
      bench::Repeat([=] {
        std::memset(bytes->data(), 200, bytes->size());
        bench::Touch(bytes->data());
      })};
}

/// Eight full sub-pixel rows, by the rule.
void CoverPlainly(unsigned char *line, long n, int color) {
  for (long i = 0; i < n; ++i)
    for (int r = 0; r < 8; ++r) line[i] = static_cast<unsigned char>(line[i] + (((color - line[i]) * 32 + 127) >> 8));
  bench::Touch(line);
}

void MarkPlainly(unsigned char *flags, const unsigned char *const *rows, long n, unsigned char threshold) {
  for (long i = 0; i < n; ++i) {
    bool touches = false;
    for (int r = 0; r < 3 && !touches; ++r)
      for (long k = 0; k < 3 && !touches; ++k) touches = rows[r][i + k] > threshold;
    flags[i] = rows[1][i + 1] <= threshold && touches;
  }
  bench::Touch(flags);
}

/// Two colours in turn, since a line that has taken one is hardly changed by it again.
bench::Works CoverLine() {
  const auto ours = RandomLine(3 * kWidth, 1), theirs = RandomLine(3 * kWidth, 1);
  const std::vector<qel::lines::SubPixelRun> runs(8, {0, 8 * kWidth - 1});
  return {bench::Repeat([=] {
            for (const long long color : {0x1E1E1ELL, 0xDCDCDCLL})
              qel::lines::CoverRuns(ours->data(), ours->data(), color, runs.data(), 8, kWidth, 3);
          }),
          bench::Repeat([=] {
            for (const int color : {0x1E, 0xDC}) CoverPlainly(theirs->data(), 3 * kWidth, color);
          })};
}

bench::Works BorderLine() {
  const auto rows = RandomLine(3 * (kWidth + 2), 2), flags = RandomLine(kWidth, 3);
  const unsigned char *const r = rows->data();
  return {bench::Repeat([=] {
            (void)rows;
            qel::lines::MarkBorder(flags->data(), r, r + kWidth + 2, r + 2 * (kWidth + 2), kWidth, 128);
          }),
          bench::Repeat([=] {
            const unsigned char *const lines[] = {r, r + kWidth + 2, r + 2 * (kWidth + 2)};
            MarkPlainly(flags->data(), lines, kWidth, 128);
          })};
}

/// A line in a box of colours but for a pixel here and there, whose runs are found.
bench::Works BoxRuns() {
  const auto line = RandomLine(3 * kWidth, 4), bits = std::make_shared<Line>(kWidth / 8);
  for (long x = 0; x < kWidth; x += 1 + (*line)[static_cast<std::size_t>(x)])
    (*line)[static_cast<std::size_t>(3 * x)] = 255;
  const qel::lines::ColorBox box = {{0, 0, 0}, {254, 255, 255}};
  const auto count = std::make_shared<long>(0);
  return {bench::Repeat([=] {
            qel::lines::ForEachRun(line->data(), bits->data(), 0, kWidth, qel::lines::BoxTest(box),
                                   [&](long first, long last) { *count += last - first; });
          }),
          bench::Repeat([=] {
            const unsigned char *p = line->data();
            bool within = false;
            for (long x = 0; x < kWidth; ++x, p += 3) {
              bool inside = (bits->data()[x / 8] & 0x80 >> x % 8) == 0;
              for (int c = 0; c < 3; ++c) inside &= p[c] >= box.low[c] && p[c] <= box.high[c];
              *count += inside && within;
              within = inside;
            }
          })};
}

/// Runs of 40 pixels, as polygons have them.
bench::Works ShortRuns() {
  const auto ours = RandomLine(3 * kWidth, 5), theirs = RandomLine(3 * kWidth, 5);
  return {bench::Repeat([=] {
            for (long x = 0; x + 40 <= kWidth; x += 40) FillRunTrio(ours->data() + 3 * x, 0x1E3CC8, 40);
            bench::Touch(ours->data());
          }),
          bench::Repeat([=] {
            for (long x = 0; x + 40 <= kWidth; x += 40)
              for (long i = x; i < x + 40; ++i) std::memcpy(theirs->data() + 3 * i, "\xC8\x3C\x1E", 3);
            bench::Touch(theirs->data());
          })};
}

const bench::PairsAtStart g_pairs([] {
  bench::AddPair({"draw/ellipse, 24-bit : memset", 0, kEllipseBytes, [] { return Ellipse(false); }});
  bench::AddPair({"draw/smooth ellipse, 24-bit : memset", 0, kEllipseBytes, [] { return Ellipse(true); }});
  bench::AddPair({"draw/eight covering rows : plain loop", 0.2, 6 * kWidth, CoverLine});
  bench::AddPair({"draw/runs in a colour box : plain loop", 0.4, 3 * kWidth, BoxRuns});
  bench::AddPair({"draw/short runs of 24 bits : plain loop", 0.3, 3 * kWidth, ShortRuns});
  bench::AddPair({"draw/border flags : plain loop", 0.5, kWidth, BorderLine});
});

}  // namespace
