// Display: its diffusion of a 24-bit picture 1920 pixels wide, row by row, beside the plain loop over pixels; a picture
// of 12 megapixels shown in a window of 1920 x 1080 beside a copy of the window's pixels, and beside the diffusion
// alone.
#include <algorithm>
#include <memory>
#include <vector>

#include "pair.h"
#include "pictures.h"
#include "qel/lines/display_diffuse.h"
#include "qel/qel.h"

namespace {

using Bytes = std::vector<unsigned char>;

constexpr long kWidth = 1920, kHeight = 256;

/// Slow waves with a little noise; the six levels of the standard palette, and a map to its nearest colours.
struct Setting {
  Bytes picture = bench::Waves(kWidth, kHeight), screen, map = Bytes(4096);
  Bytes indices = Bytes(static_cast<std::size_t>(kWidth));
  std::vector<std::int32_t> current = std::vector<std::int32_t>(static_cast<std::size_t>(3 * kWidth + 3)),
                            next = current;

  Setting() {
    for (int k = 0; k < 216; ++k)
      for (const int level : {k / 36, k / 6 % 6, k % 6, 0}) screen.push_back(static_cast<unsigned char>(51 * level));
    for (int key = 0; key < 4096; ++key) {
      const auto level = [](int nibble) { return (17 * nibble + 25) / 51; };
      map[static_cast<std::size_t>(key)] =
          static_cast<unsigned char>(36 * level(key >> 8) + 6 * level(key >> 4 & 15) + level(key & 15));
    }
  }
};

int KeyPart(int v) {
  return v < 0 ? 0 : v > 255 ? 15 : v >> 4;
}

void PlainLine(unsigned char *dst, const unsigned char *src, std::int32_t *current, std::int32_t *next,
               const Setting &s) {
  std::fill_n(next, 3, 0);
  for (long x = 0; x < kWidth; ++x, src += 3, current += 3, next += 3) {
    int value[3];
    for (int c = 0; c < 3; ++c) value[c] = src[2 - c] + std::clamp(current[c], -128, 128);
    const int index =
        s.map[static_cast<std::size_t>(KeyPart(value[0]) << 8 | KeyPart(value[1]) << 4 | KeyPart(value[2]))];
    dst[x] = static_cast<unsigned char>(index);
    for (int c = 0; c < 3; ++c) {
      const int e = value[c] - s.screen[static_cast<std::size_t>(4 * index + c)];
      if (x == 0) {
        current[3 + c] += (e + 2) / 4, next[c] += e - 2 * ((e + 2) / 4), next[3 + c] = (e + 2) / 4;
      } else if (x < kWidth - 1) {
        current[3 + c] += 7 * e / 16, next[c - 3] += 3 * e / 16, next[c] += 5 * e / 16, next[3 + c] = e / 16;
      } else {
        next[c - 3] += e / 2, next[c] += (e + 1) / 2;
      }
    }
  }
}

template <class Line>
void Rows(Setting &s, Line line) {
  for (long y = 0; y < kHeight; ++y) {
    line(s.picture.data() + 3 * kWidth * y);
    s.current.swap(s.next);
    bench::Touch(s.indices.data());
  }
}

// Windows ------------------------------------------------------------------------------------------------------------

struct Desk {
  PQel image;
  PScrbase screen;
  HWND hWnd;
  HDC hdc;

  explicit Desk(int nBits) {
    SetScreenMode({nBits, 1, 1920, 1080, 96, 96});
    image.CreateImage(1, 4096, 3072, 0, nullptr, 0, 0, 1, 0, 0);
    const Setting setting;
    for (long y = 0; y < 3072; ++y)
      for (long x = 0; x < 4096; x += 1024)
        image.PutHorLine(x, x + 1023, y,
                         const_cast<unsigned char *>(setting.picture.data()) + 3 * kWidth * (y % kHeight));
    screen.DoInitial();
    hWnd = CreateSurfaceWindow(1920, 1080);
    hdc = GetDC(hWnd);
    SetScreenMode({32, 1, 1920, 1080, 96, 96});
  }
  ~Desk() {
    ReleaseDC(hWnd, hdc);
    DestroyWindow(hWnd);
  }

  void Show() {
    CPoint scroll(300, 200);
    CRect update(0, 0, 1920, 1080);
    screen.ShowImage(&image, scroll, hWnd, update, 1, hdc);
  }
};

void AddWindows() {
  bench::AddPair(
      {"ShowImage/24 bits on 32 : memcpy of the window", 4.0, 4 * 1920 * 1080, [] {
         const auto desk = std::make_shared<Desk>(32);
         const auto from = std::make_shared<Bytes>(4 * 1920 * 1080), to = std::make_shared<Bytes>(from->size());
         return bench::Works{bench::Repeat([desk] { desk->Show(); }),
                             bench::Repeat([from, to] { bench::PlainCopy(to->data(), from->data(), from->size()); })};
       }});
  bench::AddPair({"ShowImage/24 bits on 8 : Diffuse1Line", 1.3, 4 * 1920 * 1080, [] {
                    const auto desk = std::make_shared<Desk>(8);
                    const auto s = std::make_shared<Setting>();
                    return bench::Works{bench::Repeat([desk] { desk->Show(); }), bench::Repeat([desk, s] {
                                          for (long y = 0; y < 1080; ++y) {
                                            desk->screen.Diffuse1Line(
                                                s->indices.data(), s->picture.data() + 3 * kWidth * (y % kHeight),
                                                s->current.data(), s->next.data(), s->map.data(), nullptr,
                                                s->screen.data(), 24, 8, static_cast<int>(kWidth));
                                            s->current.swap(s->next);
                                          }
                                        })};
                  }});
}

const bench::PairsAtStart kPairs([] {
  AddWindows();
  bench::AddPair({"Diffuse1Line", 0.75, static_cast<std::size_t>(3 * kWidth * kHeight), [] {
                    const auto s = std::make_shared<Setting>();
                    return bench::Works{
                        bench::Repeat([s] {
                          const qel::lines::DisplayPalettes palettes = {s->map.data(), nullptr, s->screen.data()};
                          Rows(*s, [&](const unsigned char *src) {
                            qel::lines::DiffuseDisplayLine(s->indices.data(), 8, src, 24, s->current.data(),
                                                           s->next.data(), palettes, kWidth);
                          });
                        }),
                        bench::Repeat([s] {
                          Rows(*s, [&](const unsigned char *src) {
                            PlainLine(s->indices.data(), src, s->current.data(), s->next.data(), *s);
                          });
                        })};
                  }});
});

}  // namespace
