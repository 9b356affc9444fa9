// Quarter turns and mirrors of a picture of 4096 x 3072 pixels, beside memcpy of it.
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "pair.h"
#include "qel/image/image.h"

namespace {

constexpr long kWidth = 4096, kHeight = 3072;

std::shared_ptr<PQel> NewImage(int type, long width, long height) {
  auto image = std::make_shared<PQel>();
  image->CreateImage(type, width, height, 0, nullptr, 3780, 3780, 1, 0, 0);
  image->Clear(0);
  return image;
}

bench::Works Transform(int type, bool turns, int (PQel::*operation)(PQel *)) {
  const auto source = NewImage(type, kWidth, kHeight);
  std::mt19937 random(1);
  std::vector<unsigned char> row(static_cast<std::size_t>(source->GetLineBytes()));
  for (long y = 0; y < kHeight; ++y) {
    for (auto &b : row) b = static_cast<unsigned char>(random());
    source->PutHorLine(y, row.data());
  }
  const auto dest = NewImage(type, turns ? kHeight : kWidth, turns ? kWidth : kHeight);
  const auto bytes = static_cast<std::size_t>(source->GetLineBytes() * kHeight);
  const auto from = std::make_shared<std::vector<char>>(bytes), to = std::make_shared<std::vector<char>>(bytes);
  return {bench::Repeat([=] { (dest.get()->*operation)(source.get()); }),
          bench::Repeat([=] { bench::PlainCopy(to->data(), from->data(), bytes); })};
}

const bench::PairsAtStart g_pairs([] {
  struct Kind {
    const char *name;
    bool turns;
    int (PQel::*operation)(PQel *);
  };
  constexpr Kind kKinds[] = {{"left", true, &PQel::RotateImageLeft},
                             {"right", true, &PQel::RotateImageRight},
                             {"mirrored", false, &PQel::MirrorHorizontal},
                             {"half", false, &PQel::MirrorDiagonal}};
  for (const Kind &kind : kKinds)
    for (const int type : {0, 2, 3, 1})
      bench::AddPair(
          {std::string("turn/") + kind.name + ", " + std::to_string(PQel::GetBitCount(type)) + "-bit : memcpy", 0,
           static_cast<std::size_t>(kWidth * kHeight * PQel::GetBitCount(type) / 8),
           [=] { return Transform(type, kind.turns, kind.operation); }});
});

}  // namespace
