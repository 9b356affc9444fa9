// Pictures that go through format libraries: images of every type with random content, and the library's own view of a
// file.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "codecs/common/format.h"
#include "qel/fileio/codec_header.h"
#include "qel/platform/gdi/palette.h"
#include "qel/platform/kernel/file.h"
#include "qel/platform/kernel/module.h"
#include "support/dib.h"
#include "support/files.h"
#include "support/pixels.h"

namespace test {

/// A folder for the files of a test, in which the settings lie too.
class PictureTest : public testing::Test {
 protected:
  PictureTest() { setenv("XDG_CONFIG_HOME", (scratch / "").c_str(), 1); }
  ~PictureTest() override { unsetenv("XDG_CONFIG_HOME"); }

  Scratch scratch;
  std::mt19937 random{20240607};
};

/// The format of a library, which stays loaded.
inline const qel::codecs::Format &FormatOf(const char *library) {
  const HINSTANCE module = LoadLibraryA(library);
  return *reinterpret_cast<const qel::codecs::Format *(*)()>(GetProcAddress(module, "zulFormat"))();
}

/// What a library tells of a file.
inline qel::codecs::PictureInfo InfoOf(const char *library, const std::string &path) {
  const int file = open(path.c_str(), O_RDONLY);
  qel::codecs::PictureInfo info;
  EXPECT_TRUE(FormatOf(library).open(file)->ReadInfo(info));
  close(file);
  return info;
}

/// Fills the rows with random pixels and, of types 0, 2 and 3, the palette with random colours; the pixels.
inline NaiveImage Randomise(PQel &image, std::mt19937 &random) {
  NaiveImage pixels(image.GetImageWidth(), image.GetImageHeight(), image.GetBitCount());
  pixels.Randomise(random);
  pixels.Store(image);
  const int type = image.GetImageType();
  if (type == 0 || type == 2 || type == 3) {
    RGBQUAD colors[256];
    for (RGBQUAD &color : colors) color = {BYTE(random()), BYTE(random()), BYTE(random()), 0};
    image.SetPalette(PQel::CreateLogPal(1 << pixels.bits, colors), 1);
  }
  return pixels;
}

/// The palette of an image as red, green, blue triples.
inline std::vector<unsigned char> Colors(PQel &image) {
  std::vector<unsigned char> rgb(768);
  const HPALETTE palette = image.GetPalette(nullptr);
  rgb.resize(3 * static_cast<std::size_t>(PQel::GetColorNum(palette)));
  if (palette != nullptr) PQel::GetPaletteRGB(palette, rgb.data());
  DeleteObject(palette);
  return rgb;
}

/// The pixels as 24-bit ones; channels of 16 bits by their high bytes.
inline NaiveImage To24(PQel &image) {
  NaiveImage pixels(image.GetImageWidth(), image.GetImageHeight(), 24);
  std::vector<unsigned char> line(static_cast<std::size_t>(pixels.width) * 3 + 4);
  NaiveImage deep = image.GetBitCount() == 48 ? Pixels(image) : NaiveImage(0, 0, 48);
  for (long y = 0; y < pixels.height; ++y) {
    image.Get24bitHorLine(0, pixels.width - 1, y, line.data(), nullptr);
    for (long x = 0; x < pixels.width; ++x) {
      const std::uint64_t p = deep.width ? deep.At(x, y) : 0;
      pixels.At(x, y) =
          deep.width ? (p >> 8 & 0xFF) | (p >> 16 & 0xFF00) | (p >> 24 & 0xFF0000) : GetPacked(line.data(), 24, x);
    }
  }
  return pixels;
}

/// An image's store in plain memory, full of noise before a library reads into it.
struct NoisyStore {
  std::vector<unsigned char> bytes;
  long stride = 0;
  NaiveImage pixels{0, 0, 0};
  int wasRead = 0;    // what zulReadDIBImg said
  std::string error;  // what zulTransferError said
  bool isPaddingClear = true;

  /// Reads a file through a library's entry points into rows of either order, `shortBy` bytes fewer than they need.
  NoisyStore(const char *library, const std::string &path, bool topDown, std::size_t shortBy = 0) {
    const HINSTANCE module = LoadLibraryA(library);
    const HFILE file = OpenFile(path.c_str(), nullptr, OF_READ);
    CodecImageHeader header = {};
    if (reinterpret_cast<CodecReadHeader>(GetProcAddress(module, "zulReadHeader"))(file, &header, 1)) {
      if (header.hPalette) DeleteObject(header.hPalette);
      xRead(module, file, header, topDown, shortBy);
    }
    _lclose(file);
    FreeLibrary(module);
  }

 private:
  void xRead(HINSTANCE module, HFILE file, const CodecImageHeader &header, bool topDown, std::size_t shortBy) {
    constexpr std::size_t kOffset = 40;
    pixels = NaiveImage(header.nWidth, header.nHeight, header.nBitCount);
    stride = static_cast<long>(NaiveRowBytes(pixels.bits, pixels.width));
    bytes.assign(kOffset + static_cast<std::size_t>(stride * pixels.height) - shortBy, 0xA5);
    BITMAPINFOHEADER bih = {};
    bih.biSize = 40;
    bih.biWidth = header.nWidth;
    bih.biHeight = topDown ? -header.nHeight : header.nHeight;
    bih.biPlanes = 1;
    bih.biBitCount = static_cast<WORD>(header.nBitCount);
    std::memcpy(bytes.data(), &bih, sizeof bih);
    tagLmmInfo info = {bytes.size(), 2, bytes.data()};
    wasRead = reinterpret_cast<CodecTransfer>(GetProcAddress(module, "zulReadDIBImg"))(file, &info, kOffset);
    const char *reason = reinterpret_cast<CodecTransferError>(GetProcAddress(module, "zulTransferError"))();
    if (reason) error = reason;
    for (long y = 0; shortBy == 0 && y < pixels.height; ++y) {
      const unsigned char *row = bytes.data() + kOffset + stride * (topDown ? y : pixels.height - 1 - y);
      for (long x = 0; x < pixels.width; ++x) pixels.At(x, y) = GetPacked(row, pixels.bits, x);
      for (long bit = pixels.bits * pixels.width; bit < stride * 8; ++bit)
        isPaddingClear = isPaddingClear && GetPacked(row, 1, bit) == 0;
    }
  }
};

}  // namespace test
