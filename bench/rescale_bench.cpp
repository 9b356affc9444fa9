// Rescaling: whole pictures beside memory (the yardstick reads the source and fills the result), and the line functions
// beside their plain loops.
#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "pair.h"
#include "qel/image/image.h"
#include "qel/lines/rescale.h"
#include "qel/lines/rescale_plain.h"

namespace {

using bench::Repeat;
using bench::Touch;
using Line = std::vector<unsigned char>;

std::shared_ptr<Line> Noise(long n) {
  auto line = std::make_shared<Line>(static_cast<std::size_t>(n));
  std::mt19937 random(1);
  for (auto &b : *line) b = static_cast<unsigned char>(random());
  return line;
}

// Whole pictures -----------------------------------------------------------------------------------------------------

struct Shape {
  const char *name;
  int type;
  long width, height, newWidth, newHeight;
  long Bytes(long w, long h) const { return (w * PQel::GetBitCount(type) + 31) / 32 * 4 * h; }
};

bench::Works Picture(const Shape &shape) {
  const auto source = std::make_shared<PQel>(), target = std::make_shared<PQel>();
  source->CreateImage(shape.type, shape.width, shape.height, 0, nullptr, 0, 0, 1, 0, 0);
  target->CreateImage(shape.type, shape.newWidth, shape.newHeight, 0, nullptr, 0, 0, 1, 0, 0);
  for (long y = 0; y < shape.height; ++y) source->PutHorLine(y, Noise(shape.Bytes(shape.width, 1) + y)->data() + y);
  const auto from = Noise(shape.Bytes(shape.width, shape.height));
  const auto to = std::make_shared<Line>(static_cast<std::size_t>(shape.Bytes(shape.newWidth, shape.newHeight)));
  return {Repeat([=] { target->RescaleImage(source.get()); }), Repeat([=] {
            unsigned long sum = 0;
            for (std::size_t i = 0; i + 8 <= from->size(); i += 8)
              sum += reinterpret_cast<const unsigned long &>((*from)[i]);
            Touch(&sum);
            std::fill(to->begin(), to->end(), static_cast<unsigned char>(sum));
            Touch(to->data());
          })};
}

// Lines --------------------------------------------------------------------------------------------------------------

constexpr long kCount = 4096;

template <class Engine, class Plain>
bench::Works Lines(Engine engine, Plain plain) {
  struct Buffers {
    std::shared_ptr<Line> a = Noise(4 * kCount), b = Noise(4 * kCount);
    std::shared_ptr<std::vector<std::uint32_t>> sums = std::make_shared<std::vector<std::uint32_t>>(kCount, 100000);
  };
  const Buffers buffers;
  const auto Once = [buffers](auto function) {
    return Repeat([buffers, function] {
      function(buffers.a->data(), buffers.b->data(), buffers.sums->data());
      Touch(buffers.a->data());
      Touch(buffers.sums->data());
    });
  };
  return {Once(engine), Once(plain)};
}

/// Runs of `pairs` pairs, a pixel apart for each pair, over lines of kCount values in all.
template <auto Engine, auto Plain, long kChannels>
bench::Works Runs(long pairs) {
  namespace lines = qel::lines;
  const long count = kCount / kChannels / (2 * pairs) / lines::kGroup * lines::kGroup;
  struct Tables {
    std::vector<std::uint32_t> starts, weights, picks;
  };
  const auto tables = std::make_shared<Tables>();
  for (long i = 0; i < count; ++i) tables->starts.push_back(static_cast<std::uint32_t>(2 * pairs * kChannels * i));
  tables->weights.resize(static_cast<std::size_t>(count * pairs), 500 << 16 | 500);
  tables->picks.resize(static_cast<std::size_t>(count));
  lines::SetPicks(tables->picks.data(), tables->starts.data(), count);
  const auto divisor = static_cast<std::uint32_t>(1000 * pairs);
  const auto Run = [=](auto function) {
    return [=](unsigned char *dst, const unsigned char *src, std::uint32_t *) {
      function(dst, src,
               {count, pairs, tables->starts.data(), tables->weights.data(), tables->picks.data(), divisor, 0});
    };
  };
  return Lines(Run(Engine), Run(Plain));
}

const bench::PairsAtStart g_pairs([] {
  namespace lines = qel::lines;
  using Bytes = unsigned char;
  constexpr Shape kShapes[] = {
      {"24-bit to 37 %", 1, 4096, 3072, 1516, 1137},    {"8-bit to 37 %", 5, 4096, 3072, 1516, 1137},
      {"24-bit to 50 %", 1, 4096, 3072, 2048, 1536},    {"8-bit to 50 %", 5, 4096, 3072, 2048, 1536},
      {"24-bit to 6 %", 1, 4096, 3072, 256, 192},       {"8-bit to 6 %", 5, 4096, 3072, 256, 192},
      {"24-bit x 2.5", 1, 1600, 1200, 4000, 3000},      {"8-bit x 2.5", 5, 1600, 1200, 4000, 3000},
      {"256 colours x 2.5", 3, 1600, 1200, 4000, 3000}, {"24-bit 16 x 16 to 24 x 24", 1, 16, 16, 24, 24}};
  for (const Shape &shape : kShapes)
    bench::AddPair({std::string("rescale/") + shape.name + " : memory", 0,
                    static_cast<std::size_t>(shape.Bytes(shape.width, shape.height) +
                                             shape.Bytes(shape.newWidth, shape.newHeight)),
                    [shape] { return Picture(shape); }});

  const auto Add = [](const std::string &name, std::function<bench::Works()> prepare) {
    bench::AddPair({"rescale/" + name + " : plain loop", 0, kCount, std::move(prepare)});
  };
  Add("AccumulateLine", [] {
    return Lines([](Bytes *a, Bytes *, std::uint32_t *sums) { AccumulateLine(sums, a, kCount, 1137); },
                 [](Bytes *a, Bytes *, std::uint32_t *sums) { lines::plain::Accumulate(sums, a, kCount, 1137); });
  });
  Add("DivideLine", [] {
    return Lines([](Bytes *a, Bytes *, std::uint32_t *sums) { DivideLine(a, sums, kCount, 3072); },
                 [](Bytes *a, Bytes *, std::uint32_t *sums) { lines::plain::Divide(a, sums, kCount, 3072); });
  });
  Add("BlendLines", [] {
    return Lines([](Bytes *a, Bytes *b, std::uint32_t *) { BlendLines(a, a, b, 7680, 5000, 2680, kCount); },
                 [](Bytes *a, Bytes *b, std::uint32_t *) { lines::plain::Blend(a, a, b, 7680, 5000, 2680, kCount); });
  });
  for (const long pairs : {1L, 2L, 8L}) {
    const std::string of = " of " + std::to_string(2 * pairs);
    Add("24-bit runs" + of, [pairs] { return Runs<&lines::SumRuns24, &lines::plain::SumRuns24, 3>(pairs); });
    if (pairs < 8)
      Add("8-bit runs" + of, [pairs] { return Runs<&lines::SumRuns8, &lines::plain::SumRuns8, 1>(pairs); });
  }
});

}  // namespace
