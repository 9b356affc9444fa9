// Packed DIBs built by hand, byte by byte, to hold the engine's against.
#pragma once

#include <cstring>
#include <random>
#include <vector>

#include "qel/platform/kernel/global_memory.h"
#include "qel/platform/types.h"
#include "support/pixels.h"

namespace test {

/// What a packed DIB is built after.
struct DibShape {
  int bits;
  long width;
  long height;  // negative: top row first
  std::vector<DWORD> masks = {};
  DWORD clrUsed = 0;
};

/// Bytes of a row, counted up to the next multiple of 4.
inline std::size_t NaiveRowBytes(int bits, long width) {
  std::size_t bytes = static_cast<std::size_t>(PackedBytes(bits, width));
  while (bytes % 4 != 0) ++bytes;
  return bytes;
}

/// Header, masks, random colour table and random rows. Row padding is random too.
inline std::vector<unsigned char> BuildDib(const DibShape &shape, std::mt19937 &random) {
  BITMAPINFOHEADER bih{};
  bih.biSize = 40;
  bih.biWidth = static_cast<LONG>(shape.width);
  bih.biHeight = static_cast<LONG>(shape.height);
  bih.biPlanes = 1;
  bih.biBitCount = static_cast<WORD>(shape.bits);
  bih.biCompression = shape.masks.empty() ? 0 : 3;
  bih.biXPelsPerMeter = 1000;
  bih.biYPelsPerMeter = 2000;
  bih.biClrUsed = shape.clrUsed;
  const std::size_t colors = shape.clrUsed != 0 ? shape.clrUsed : shape.bits < 9 ? std::size_t{1} << shape.bits : 0;
  const std::size_t rows = static_cast<std::size_t>(shape.height < 0 ? -shape.height : shape.height);
  const std::size_t front = 40 + 4 * shape.masks.size();
  std::vector<unsigned char> dib(front + 4 * colors + rows * NaiveRowBytes(shape.bits, shape.width));
  for (auto &byte : dib) byte = static_cast<unsigned char>(random());
  std::memcpy(dib.data(), &bih, 40);
  if (!shape.masks.empty()) std::memcpy(dib.data() + 40, shape.masks.data(), 4 * shape.masks.size());
  return dib;
}

/// The same DIB behind a longer header: masks stand where they stood, the rest of the header is 0x5A.
inline std::vector<unsigned char> WithHeaderBytes(std::vector<unsigned char> dib, DWORD bytes) {
  const bool masks = reinterpret_cast<const BITMAPINFOHEADER *>(dib.data())->biCompression == 3;
  dib.insert(dib.begin() + (masks ? 52 : 40), bytes - 40, 0x5A);
  std::memcpy(dib.data(), &bytes, 4);
  return dib;
}

/// The pixels of a packed DIB in `bytes`, whatever wrote it.
inline NaiveImage ReadDib(const unsigned char *bytes) {
  BITMAPINFOHEADER bih;
  std::memcpy(&bih, bytes, sizeof bih);
  const std::size_t colors = bih.biClrUsed != 0   ? bih.biClrUsed
                             : bih.biBitCount < 9 ? std::size_t{1} << bih.biBitCount
                                                  : 0;
  const unsigned char *const rows = bytes + bih.biSize + (bih.biCompression == 3 ? 12 : 0) + 4 * colors;
  NaiveImage image(bih.biWidth, bih.biHeight < 0 ? -bih.biHeight : bih.biHeight, bih.biBitCount);
  for (long y = 0; y < image.height; ++y) {
    const long stored = bih.biHeight < 0 ? y : image.height - 1 - y;
    const unsigned char *const row =
        rows + static_cast<std::size_t>(stored) * NaiveRowBytes(bih.biBitCount, bih.biWidth);
    for (long x = 0; x < image.width; ++x) image.At(x, y) = GetPacked(row, image.bits, x);
  }
  return image;
}

/// Bytes in a movable global block, unlocked.
inline HGLOBAL ToGlobal(const std::vector<unsigned char> &bytes) {
  const HGLOBAL handle = GlobalAlloc(GMEM_MOVEABLE, bytes.size());
  std::memcpy(GlobalLock(handle), bytes.data(), bytes.size());
  GlobalUnlock(handle);
  return handle;
}

/// A copy of a global block's bytes.
inline std::vector<unsigned char> FromGlobal(HGLOBAL handle) {
  const auto *bytes = static_cast<const unsigned char *>(GlobalLock(handle));
  std::vector<unsigned char> copy(bytes, bytes + GlobalSize(handle));
  GlobalUnlock(handle);
  return copy;
}

/// All pixels of an image of any kind.
inline NaiveImage Pixels(PQel &image) {
  NaiveImage pixels(image.GetImageWidth(), image.GetImageHeight(), image.GetBitCount());
  pixels.Load(image);
  return pixels;
}

}  // namespace test
