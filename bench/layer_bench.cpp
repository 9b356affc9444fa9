// Masks, layers and maps on pictures of 4096 x 3072 pixels, beside the plain loops over the same bytes. Masks are made
// of runs that keep, take and mix.
#include <memory>
#include <vector>

#include "pair.h"
#include "qel/lines/byte_map_plain.h"
#include "qel/lines/mix_plain.h"
#include "support/probe.h"

namespace {

namespace plain = qel::lines::plain;
using bench::Repeat;
using bench::Touch;
using test::Probe;
using Bytes = std::vector<unsigned char>;

constexpr long kWidth = 4096, kHeight = 3072, kPixels = kWidth * kHeight;

std::shared_ptr<Bytes> Noise(long n, unsigned seed) {
  auto bytes = std::make_shared<Bytes>(static_cast<std::size_t>(n));
  for (auto &b : *bytes) b = static_cast<unsigned char>((seed = seed * 1664525 + 1013904223) >> 24);
  return bytes;
}

std::shared_ptr<Bytes> Mask(unsigned seed) {
  const auto mask = Noise(kPixels, seed);
  for (std::size_t i = 0; i < mask->size(); ++i) {
    const std::size_t part = (i + 7 * seed) / 200 % 8;
    if (part != 0) (*mask)[i] = part < 4 ? 0 : 255;
  }
  return mask;
}

std::shared_ptr<Probe> Image(int nType, const Bytes &pixels) {
  auto image = std::make_shared<Probe>();
  image->CreateImage(nType, kWidth, kHeight, 0, nullptr, 2835, 2835, 1, 0, 0);
  const std::size_t row = static_cast<std::size_t>(image->GetLineBytes());
  for (long y = 0; y < kHeight; ++y) {
    Bytes line(pixels.begin() + static_cast<long>(row) * y, pixels.begin() + static_cast<long>(row) * (y + 1));
    image->PutHorLine(y, line.data());
  }
  return image;
}

bench::Works Masked() {
  const auto old = Noise(3 * kPixels, 1), fresh = Noise(3 * kPixels, 2), mask = Mask(3);
  const auto image = Image(1, *old), source = Image(1, *fresh), levels = Image(5, *mask);
  return {Repeat([=] { image->CombineImage(source.get(), levels.get(), nullptr, nullptr); }), Repeat([=] {
            plain::Mix24(old->data(), fresh->data(), mask->data(), kPixels);
            Touch(old->data());
          })};
}

/// Both begin with the transparency of the upper image anew, which is opaque sooner or later.
bench::Works Layered() {
  const auto old = Noise(3 * kPixels, 1), fresh = Noise(3 * kPixels, 2), mask = Mask(3), below = Mask(4);
  const auto image = Image(1, *old), layer = Image(1, *fresh), layerMask = Image(5, *below);
  const auto start = Image(5, *mask), levels = Image(5, *mask);
  const auto current = std::make_shared<Bytes>(*mask);
  const auto engine = [=] {
    levels->CopyRect(start.get(), nullptr, nullptr);
    image->CombineLayer(levels.get(), layer.get(), layerMask.get());
  };
  return {Repeat(engine), Repeat([=] {
            bench::PlainCopy(current->data(), mask->data(), current->size());
            plain::CompositeLayers24(old->data(), current->data(), fresh->data(), below->data(), kPixels);
            Touch(old->data());
          })};
}

/// A permutation of the bytes, so that what is mapped again and again stays noise.
bench::Works Mapped(int nType) {
  const long lBytes = nType == 1 ? 3 : 1;
  const auto pixels = Noise(lBytes * kPixels, 1);
  const auto image = Image(nType, *pixels);
  const auto map = std::make_shared<Bytes>(1024);
  for (std::size_t i = 0; i < 1024; ++i)
    (*map)[i] = static_cast<unsigned char>(i < 768 ? 167 * i + 13 : lBytes == 3 ? i : 167 * i + 13);
  return {Repeat([=] { image->DoMap(map->data()); }), Repeat([=] {
            if (lBytes == 3)
              plain::Map24(pixels->data(), kPixels, map->data());
            else
              plain::MapBytes(pixels->data(), kPixels, map->data() + 768);
            Touch(pixels->data());
          })};
}

const bench::PairsAtStart g_pairs([] {
  constexpr auto kBytes = static_cast<std::size_t>(kPixels);
  bench::AddPair({"layers/mix 24-bit through a mask : plain loop", 0.4, 7 * kBytes, Masked});
  bench::AddPair({"layers/composite two 24-bit layers : plain loop", 0.4, 8 * kBytes, Layered});
  bench::AddPair({"layers/map 24-bit : plain loop", 1, 6 * kBytes, [] { return Mapped(1); }});
  bench::AddPair({"layers/map 8-bit gray : plain loop", 1, 2 * kBytes, [] { return Mapped(5); }});
});

}  // namespace
