// Gaussian blur: whole pictures beside memory (the source read, the result filled), and the quick filters of rows and
// columns beside their plain loops.
#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "pair.h"
#include "qel/image/image.h"
#include "qel/lines/gaussian_plain.h"

namespace {

using bench::Repeat;
using bench::Touch;
using Line = std::vector<unsigned char>;

Line Noise(long n) {
  Line line(static_cast<std::size_t>(n));
  std::mt19937 random(1);
  for (auto &b : line) b = static_cast<unsigned char>(random());
  return line;
}

// Pictures -----------------------------------------------------------------------------------------------------------

bench::Works Picture(int type, long width, long height, double sigma) {
  const auto source = std::make_shared<PQel>(), target = std::make_shared<PQel>();
  for (const auto &image : {source, target}) image->CreateImage(type, width, height, 0, nullptr, 0, 0, 1, 0, 0);
  Line row = Noise(source->GetLineBytes() + height);
  for (long y = 0; y < height; ++y) source->PutHorLine(y, row.data() + y);
  const auto from = std::make_shared<Line>(Noise(source->GetLineBytes() * height));
  const auto to = std::make_shared<Line>(*from);
  return {Repeat([=] { target->GaussianBlur(source.get(), sigma, nullptr); }), Repeat([=] {
            std::copy(from->begin(), from->end(), to->begin());
            Touch(to->data());
          })};
}

// Lines --------------------------------------------------------------------------------------------------------------

constexpr long kCount = 4096;

/// What both filters work on: a bell of n taps, an input line, zipped rows and results.
struct Bell {
  qel::lines::SmoothKernel kernel;
  Line in, out = Noise(qel::lines::kRowsAtOnce * kCount);
  std::vector<Line> pairs;
  std::vector<const unsigned char *> pairRows;
  unsigned char *rows[qel::lines::kRowsAtOnce];

  explicit Bell(int n) : in(Noise(kCount + 3 * n)), pairs(static_cast<std::size_t>(n / 2 + 2), Noise(2 * kCount)) {
    std::vector<int> weights;
    for (int k = 0; k < n; ++k) weights.push_back(std::min(k, n - 1 - k) + 1);
    qel::lines::MakeKernel(kernel, weights.data(), n);
    for (const Line &pair : pairs) pairRows.push_back(pair.data());
    for (int r = 0; r < qel::lines::kRowsAtOnce; ++r) rows[r] = out.data() + r * kCount;
  }
};

template <class Engine, class Plain>
void AddLines(const std::string &name, int n, long bytes, Engine engine, Plain plain) {
  bench::AddPair(
      {"blur/" + name + " of " + std::to_string(n) + " taps : plain loop", 0, static_cast<std::size_t>(bytes), [=] {
         const auto bell = std::make_shared<Bell>(n);
         const auto once = [bell](auto filter) {
           return Repeat([bell, filter] {
             filter(*bell);
             Touch(bell->out.data());
           });
         };
         return bench::Works{once(engine), once(plain)};
       }});
}

const bench::PairsAtStart g_pairs([] {
  namespace lines = qel::lines;
  for (const int type : {5, 1}) {
    for (const double sigma : {1.0, 2.0, 10.0}) {
      const long width = 4096, height = 3072;
      bench::AddPair({std::string("blur/") + (type == 1 ? "24-bit" : "8-bit") + ", sigma " +
                          std::to_string(std::lround(sigma)) + " : memory",
                      0, static_cast<std::size_t>(2 * width * height * (type == 1 ? 3 : 1)),
                      [=] { return Picture(type, width, height, sigma); }});
    }
  }
  bench::AddPair({"blur/16 x 16, 8-bit, sigma 1 : memory", 0, 512, [] { return Picture(5, 16, 16, 1); }});
  for (const int n : {7, 13, 47}) {
    AddLines(
        "SmoothRow", n, kCount, [](Bell &b) { lines::SmoothRow(b.out.data(), b.in.data(), kCount, 3, b.kernel); },
        [](Bell &b) { lines::plain::SmoothRow(b.out.data(), b.in.data(), kCount, 3, b.kernel); });
    AddLines(
        "SmoothColumns", n, lines::kRowsAtOnce * kCount,
        [](Bell &b) { lines::SmoothColumns(b.rows, b.pairRows.data(), kCount, b.kernel); },
        [](Bell &b) { lines::plain::SmoothColumns(b.rows, b.pairRows.data(), 0, kCount, b.kernel); });
  }
});

}  // namespace
