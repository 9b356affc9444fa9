// Surfaces of device contexts: lines of DIBs brought to a window band by band, blits and text, beside memcpy of the
// surface.
#include <memory>
#include <string>
#include <vector>

#include "pair.h"
#include "qel/lines/pixels.h"
#include "qel/platform/gdi/bitmap.h"
#include "qel/platform/gdi/blit.h"
#include "qel/platform/gdi/dib_transfer.h"
#include "qel/platform/screen.h"

namespace {

using bench::Repeat;
using bench::Touch;

constexpr int kWidth = 1920, kHeight = 1080;
constexpr std::size_t kSurfaceBytes = std::size_t{4} * kWidth * kHeight;

/// A window with a bitmap of some rows beside it, and the same bytes for the yardstick.
struct Bed {
  explicit Bed(int bandRows) : rows(bandRows) {
    window = CreateSurfaceWindow(kWidth, kHeight);
    dc = GetDC(window);
    memory = CreateCompatibleDC(dc);
    bitmap = CreateCompatibleBitmap(dc, kWidth, rows);
    first = SelectObject(memory, bitmap);
  }
  ~Bed() {
    SelectObject(memory, first);
    DeleteObject(bitmap);
    DeleteDC(memory);
    DestroyWindow(window);
  }

  int rows;
  HWND window;
  HDC dc, memory;
  HBITMAP bitmap;
  HGDIOBJ first;
  std::vector<unsigned char> plain = std::vector<unsigned char>(2 * kSurfaceBytes, 0x5A);
};

auto CopySurface(const std::shared_ptr<Bed> &bed) {
  return Repeat([bed] {
    bench::PlainCopy(bed->plain.data(), bed->plain.data() + kSurfaceBytes, kSurfaceBytes);
    Touch(bed->plain.data());
  });
}

/// Bands of 64 KiB of lines, as images are shown.
bench::Works Bands(int bits) {
  struct Info {
    BITMAPINFOHEADER header;
    RGBQUAD table[256];
  };
  const std::size_t stride = static_cast<std::size_t>(kWidth * bits / 8);
  const auto bed = std::make_shared<Bed>(static_cast<int>(61399 / stride));
  const auto info = std::make_shared<Info>();
  info->header = {40, kWidth, bed->rows, 1, static_cast<WORD>(bits), BI_RGB, 0, 0, 0, 0, 0};
  const auto lines = std::make_shared<std::vector<unsigned char>>(stride * static_cast<std::size_t>(bed->rows), 0x37);
  const auto engine = [bed, info, lines] {
    for (int y = 0; y < kHeight; y += bed->rows) {
      SetDIBits(bed->dc, bed->bitmap, 0, static_cast<UINT>(bed->rows), lines->data(),
                reinterpret_cast<BITMAPINFO *>(info.get()), DIB_RGB_COLORS);
      BitBlt(bed->dc, 0, y, kWidth, bed->rows, bed->memory, 0, 0, SRCCOPY);
    }
  };
  return {Repeat(engine), CopySurface(bed)};
}

bench::Works WholeBlit() {
  const auto bed = std::make_shared<Bed>(kHeight);
  return {Repeat([bed] { BitBlt(bed->dc, 0, 0, kWidth, kHeight, bed->memory, 0, 0, SRCCOPY); }), CopySurface(bed)};
}

/// Lines of indices through a table, beside a bare loop of bytes.
bench::Works Indices(int bits) {
  const auto src = std::make_shared<std::vector<unsigned char>>(4096, 0x9C);
  const auto dst = std::make_shared<std::vector<qel::lines::Pixel>>(4096);
  const auto table = std::make_shared<std::vector<qel::lines::Pixel>>(256, 0x123456);
  const auto engine = [=] {
    qel::lines::IndicesToPixels(dst->data(), src->data(), bits, 0, 4096, table->data());
    Touch(dst->data());
  };
  const auto yardstick = [=] {
    for (std::size_t i = 0; i < 4096; ++i) (*dst)[i] = (*table)[(*src)[i]];
    Touch(dst->data());
  };
  return {Repeat(engine), Repeat(yardstick)};
}

const bench::PairsAtStart pairs([] {
  for (const auto &[bits, limit] : {std::pair{8, 0.0}, {16, 0.0}, {24, 2.2}, {32, 2.0}})
    bench::AddPair({"surface/bands/" + std::to_string(bits) + "-bit", limit, kSurfaceBytes,
                    [bits = bits] { return Bands(bits); }});
  bench::AddPair({"surface/blit", 1.3, kSurfaceBytes, WholeBlit});
  for (const int bits : {1, 4, 8})
    bench::AddPair({"surface/indices/" + std::to_string(bits) + "-bit", 0, 4096, [bits] { return Indices(bits); }});
});

}  // namespace
