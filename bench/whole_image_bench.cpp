// Whole-image fills and inversions beside the memory they must move, and what an undo copy adds to a write.
#include <sys/mman.h>

#include <cstring>
#include <memory>
#include <vector>

#include "pair.h"
#include "support/probe.h"

namespace {

using bench::PlainCopy;
using bench::Repeat;
using bench::Touch;
using test::Probe;

constexpr long kWidth = 4096, kHeight = 3072, kPage = 4096;

std::shared_ptr<Probe> Image(int nType, int nMemFlags) {
  auto image = std::make_shared<Probe>();
  image->CreateImage(nType, kWidth, kHeight, 0, nullptr, 2835, 2835, nMemFlags, 0, 0);
  image->Clear(0x405060);
  return image;
}

// Fills --------------------------------------------------------------------------------------------------------------

bench::Works Fill(int nType) {
  const auto image = Image(nType, 1);
  const auto plain = std::make_shared<std::vector<unsigned char>>(image->GetImageSize());
  return {Repeat([image] { image->Clear(0x112233); }), Repeat([plain] {
            std::memset(plain->data(), 0x11, plain->size());
            Touch(plain->data());
          })};
}

/// Every byte read and written once, in place, as the engine does when no hook looks on.
bench::Works Inversion(int nType) {
  const auto image = Image(nType, 1);
  const auto plain = std::make_shared<std::vector<unsigned char>>(image->GetImageSize());
  const auto invert = [plain] {
    unsigned long *const p = reinterpret_cast<unsigned long *>(plain->data());
    for (std::size_t i = 0; i < plain->size() / 8; ++i) p[i] = ~p[i];
    Touch(plain->data());
  };
  return {Repeat([image] { image->Invert(1); }), Repeat(invert)};
}

// Undo ---------------------------------------------------------------------------------------------------------------

/// One byte into every page of a store with a fresh snapshot, beside a copy of each page into untouched memory.
bench::Works FirstWrite() {
  const auto image = Image(5, 1);
  image->EnableUndo(1);
  constexpr long lBytes = kWidth * kHeight / kPage * kPage;
  const auto source = std::make_shared<std::vector<unsigned char>>(static_cast<std::size_t>(lBytes), 3);
  const auto engine = [image] {
    image->ClearUndo();
    unsigned char pixel = 9;
    for (long y = 0; y < kHeight; ++y) image->PutHorLine(7, 7, y, &pixel);  // a row is a page long
  };
  const auto yardstick = [source] {
    void *const p = mmap(nullptr, static_cast<std::size_t>(lBytes), PROT_READ | PROT_WRITE,
                         MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    madvise(p, static_cast<std::size_t>(lBytes), MADV_NOHUGEPAGE);
    for (long l = 0; l < lBytes; l += kPage) PlainCopy(static_cast<unsigned char *>(p) + l, source->data() + l, kPage);
    munmap(p, static_cast<std::size_t>(lBytes));
  };
  return {Repeat(engine), Repeat(yardstick)};
}

/// Spans into pages that are saved already, beside the same writes without an undo copy.
bench::Works LaterWrite(long lPixels) {
  const auto with = Image(5, 1), without = Image(5, 1);
  with->EnableUndo(1);
  const auto line = std::make_shared<std::vector<unsigned char>>(kWidth, 3);
  const auto write = [line, lPixels](Probe &image) {
    for (long y = 0; y < kHeight; ++y) image.PutHorLine(100, 99 + lPixels, y, line->data());
  };
  write(*with);
  return {Repeat([=] { write(*with); }), Repeat([=] { write(*without); })};
}

const bench::PairsAtStart g_pairs([] {
  constexpr std::pair<int, int> kTypes[] = {{0, 1}, {2, 4}, {3, 8}, {7, 16}, {1, 24}, {8, 32}, {9, 48}};
  for (const auto &[type, bits] : kTypes) {
    const auto bytes = static_cast<std::size_t>(kWidth * kHeight * bits / 8);
    bench::AddPair(
        {"image/clear " + std::to_string(bits) + "-bit : memset", 1 / 0.8, bytes, [t = type] { return Fill(t); }});
    bench::AddPair({"image/invert " + std::to_string(bits) + "-bit : plain loop", 1 / 0.8, 2 * bytes,
                    [t = type] { return Inversion(t); }});
  }
  bench::AddPair({"undo/first write to a page : copy to untouched memory", 2, 0, FirstWrite});
  for (const long n : {16L, 256L, 3000L})
    bench::AddPair(
        {"undo/later write of " + std::to_string(n) + " : without undo", 1.3, 0, [n] { return LaterWrite(n); }});
});

}  // namespace
