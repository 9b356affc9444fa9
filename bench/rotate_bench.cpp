// Free rotation: whole pictures beside memory (the source read, the result made and filled), and the search for samples
// and their averages beside their plain loops.
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "pair.h"
#include "qel/image/image.h"
#include "qel/lines/sample_plain.h"

namespace {

using bench::Repeat;
using bench::Touch;
using Line = std::vector<unsigned char>;

// Pictures -----------------------------------------------------------------------------------------------------------

bench::Works Picture(int angle, int samples) {
  const auto source = std::make_shared<PQel>(), target = std::make_shared<PQel>();
  source->CreateImage(1, 4096, 3072, 0, nullptr, 0, 0, 1, 0, 0);
  source->Clear(0x123456);
  target->Rotate24bitImage(source.get(), angle, 1, 0);
  const long height = target->GetImageHeight();
  const auto from = std::make_shared<Line>(source->GetImageSize()),
             row = std::make_shared<Line>(target->GetLineBytes());
  const auto copy = std::make_shared<PQel>();
  return {Repeat([=] { target->Rotate24bitImage(source.get(), angle, samples, 0); }), Repeat([=] {
            unsigned long sum = 0;
            for (std::size_t i = 0; i + 8 <= from->size(); i += 8)
              sum += reinterpret_cast<const unsigned long &>((*from)[i]);
            Touch(&sum);
            copy->CreateImage(target->GetBI(), 0, 0, 10, 1, 0, 0);
            for (long y = 0; y < height; ++y) copy->PutHorLine(y, row->data());
          })};
}

// Lines --------------------------------------------------------------------------------------------------------------

constexpr long kPoints = 256;

/// A source in the nearer caches, its walks and their places.
struct Scene {
  static constexpr long kSide = 320;
  Line picture = Line(3 * kSide * kSide + 4), out = Line(3 * kPoints + 4);
  qel::lines::SampleGrid grid = {-160, 159, -160, 159, 3 * kSide, 3, false};
  qel::lines::SamplePixels pixels = {picture.data() + 4 + 480 * kSide + 480, 3, 0};
  std::vector<std::int32_t> places = std::vector<std::int32_t>(kPoints * qel::lines::kWalks);

  qel::lines::SampleWalks Walks() const {
    qel::lines::SampleWalks walks;
    for (int k = 0; k < qel::lines::kWalks; ++k) walks.x[k] = -100 + k, walks.y[k] = -50 + 3 * k;
    walks.stepX = 0.478, walks.stepY = 0.146;
    return walks;
  }
};

template <class Engine, class Plain>
void AddLines(const std::string &name, Engine engine, Plain plain) {
  bench::AddPair({"rotate/" + name + " : plain loop", 0, kPoints * qel::lines::kWalks, [=] {
                    const auto scene = std::make_shared<Scene>();
                    auto walks = scene->Walks();
                    qel::lines::FindSamples(scene->places.data(), walks, scene->grid, kPoints);
                    const auto once = [scene](auto function) {
                      return Repeat([scene, function] {
                        function(*scene);
                        Touch(scene->places.data());
                        Touch(scene->out.data());
                      });
                    };
                    return bench::Works{once(engine), once(plain)};
                  }});
}

const bench::PairsAtStart g_pairs([] {
  namespace lines = qel::lines;
  for (const int angle : {17, 90})
    for (const int samples : {1, 2, 4})
      bench::AddPair(
          {"rotate/24-bit by " + std::to_string(angle) + ", " + std::to_string(samples * samples) + " samples : memory",
           0, 0, [=] { return Picture(angle, samples); }});
  AddLines(
      "FindSamples",
      [](Scene &s) {
        auto walks = s.Walks();
        lines::FindSamples(s.places.data(), walks, s.grid, kPoints);
      },
      [](Scene &s) {
        auto walks = s.Walks();
        lines::plain::FindSamples(s.places.data(), walks, s.grid, kPoints);
      });
  for (const long points : {2L, 3L})
    AddLines(
        "AverageSamples of " + std::to_string(points * points),
        [=](Scene &s) {
          lines::AverageSamples(s.out.data(), s.pixels, s.places.data(), kPoints / points, points, true);
        },
        [=](Scene &s) {
          lines::plain::AverageSamples(s.out.data(), s.pixels, s.places.data(), kPoints / points, points, true);
        });
});

}  // namespace
