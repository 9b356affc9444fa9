// DIB files as bytes: a builder that takes any header, a naive parser, pixels as RGB.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "qel/image/image.h"
#include "support/files.h"
#include "support/pixels.h"

namespace test {

using Bytes = std::vector<unsigned char>;

// Building -----------------------------------------------------------------------------------------------------------

inline void Append(Bytes &bytes, std::uint64_t value, int count) {
  for (int i = 0; i < count; ++i) bytes.push_back(static_cast<unsigned char>(value >> 8 * i));
}

inline std::uint32_t Field(const Bytes &bytes, std::size_t at, int count) {
  std::uint32_t value = 0;
  for (int i = 0; i < count; ++i) value |= static_cast<std::uint32_t>(bytes.at(at + i)) << 8 * i;
  return value;
}

inline void SetField(Bytes &bytes, std::size_t at, int count, std::uint32_t value) {
  for (int i = 0; i < count; ++i) bytes.at(at + i) = static_cast<unsigned char>(value >> 8 * i);
}

/// A file to be: every field as given, whether sound or not.
struct DibFile {
  std::int32_t width = 1, height = 1;
  int bits = 8;
  std::uint32_t compression = 0;
  std::uint32_t clrUsed = 0;
  std::uint32_t headerSize = 40;
  int dpmX = 2835, dpmY = 2836;
  Bytes masks;            // 12 bytes with compression 3
  Bytes colours;          // 4 bytes an entry
  Bytes rows;             // in file order, padded
  std::uint32_t gap = 0;  // bytes between colour table and rows

  Bytes Build() const {
    Bytes file{'B', 'M'};
    const std::uint64_t rowsAt = 14 + headerSize + masks.size() + colours.size() + gap;
    Append(file, rowsAt + rows.size(), 4);
    Append(file, 0xDEADBEEF, 4);  // reserved: ignored
    Append(file, rowsAt, 4);
    Append(file, headerSize, 4);
    Append(file, static_cast<std::uint32_t>(width), 4);
    Append(file, static_cast<std::uint32_t>(height), 4);
    Append(file, 77, 2);  // planes: ignored
    Append(file, static_cast<std::uint64_t>(bits), 2);
    Append(file, compression, 4);
    Append(file, 12345, 4);  // image size: ignored
    Append(file, static_cast<std::uint64_t>(dpmX), 4);
    Append(file, static_cast<std::uint64_t>(dpmY), 4);
    Append(file, clrUsed, 4);
    Append(file, 99, 4);  // important colours: ignored
    for (std::uint32_t i = 40; i < headerSize; ++i) file.push_back(0xEE);
    file.insert(file.end(), masks.begin(), masks.end());
    file.insert(file.end(), colours.begin(), colours.end());
    file.insert(file.end(), gap, 0xDD);
    file.insert(file.end(), rows.begin(), rows.end());
    return file;
  }
};

inline Bytes RandomBytes(std::size_t count, std::mt19937 &random) {
  Bytes bytes(count);
  for (auto &b : bytes) b = static_cast<unsigned char>(random());
  return bytes;
}

inline long RowBytes(int bits, long width) {
  return (bits * width + 31) / 32 * 4;
}

/// A sound file with random colours and rows; 16- and 32-bit files get the usual masks.
inline DibFile RandomDib(int bits, long width, long height, std::mt19937 &random) {
  DibFile dib;
  dib.width = static_cast<std::int32_t>(width);
  dib.height = static_cast<std::int32_t>(height);
  dib.bits = bits;
  if (bits == 16 || bits == 32) {
    dib.compression = 3;
    for (std::uint32_t mask :
         {bits == 16 ? 0xF800u : 0xFF0000u, bits == 16 ? 0x7E0u : 0xFF00u, bits == 16 ? 0x1Fu : 0xFFu})
      Append(dib.masks, mask, 4);
  }
  if (bits <= 8) dib.colours = RandomBytes(4u << bits, random);
  dib.rows = RandomBytes(static_cast<std::size_t>(RowBytes(bits, width) * std::abs(height)), random);
  return dib;
}

// Reading through the engine -----------------------------------------------------------------------------------------

inline int ReadDib(PQel &image, const std::string &path, int memFlags = 15, int block = 0, long long at = 0) {
  CFile file;
  if (!file.Open(path.c_str(), CFile::modeRead)) return -1;
  file.Seek(at, CFile::begin);
  return image.ReadDIBFile(file, memFlags, block, 0);
}

inline int ReadDib(PQel &image, const std::string &path, const Bytes &bytes, int memFlags = 15, int block = 0) {
  WriteFile(path, bytes);
  return ReadDib(image, path, memFlags, block);
}

/// Row y of an image in its own format, without padding.
inline Bytes RowOf(PQel &image, long y) {
  Bytes row(static_cast<std::size_t>(image.GetHorLineSize(0, image.GetImageWidth() - 1)));
  EXPECT_TRUE(image.GetHorLine(0, image.GetImageWidth() - 1, y, row.data()));
  row.resize(static_cast<std::size_t>(PackedBytes(image.GetBitCount(), image.GetImageWidth())));
  return row;
}

/// An image to lose: reading must leave it alone or replace it.
inline void MakeOld(PQel &image) {
  ASSERT_EQ(image.CreateImage(5, 3, 2, 0, nullptr, 10, 10, 1, 0, 0), 1);
  for (long y = 0; y < 2; ++y) {
    unsigned char row[4] = {static_cast<unsigned char>(7 + y), 8, 9, 10};
    image.PutHorLine(y, row);
  }
}

inline void ExpectOld(PQel &image) {
  ASSERT_FALSE(image.IsEmpty());
  ASSERT_EQ(image.GetImageWidth(), 3);
  EXPECT_EQ(RowOf(image, 0), Bytes({7, 8, 9}));
  EXPECT_EQ(RowOf(image, 1), Bytes({8, 8, 9}));
}

inline unsigned char Scale(std::uint64_t value, int levels) {
  return static_cast<unsigned char>((value * 255 + static_cast<std::uint64_t>(levels) / 2) /
                                    static_cast<std::uint64_t>(levels));
}

/// All pixels as red, green, blue bytes, by the plainest way: number of the pixel, then table or bit fields.
inline Bytes ToRgb(PQel &image) {
  Bytes rgb;
  NaiveImage pixels(image.GetImageWidth(), image.GetImageHeight(), image.GetBitCount());
  pixels.Load(image);
  const int type = image.GetImageType();
  const auto *colours = reinterpret_cast<const unsigned char *>(image.GetBIH()) + 40;
  for (std::uint64_t v : pixels.pixels) {
    if (pixels.bits <= 8) {
      const unsigned char *entry = colours + 4 * v;
      rgb.insert(rgb.end(), {entry[2], entry[1], entry[0]});
    } else if (type == 6) {
      rgb.insert(rgb.end(), {Scale(v >> 10 & 31, 31), Scale(v >> 5 & 31, 31), Scale(v & 31, 31)});
    } else if (type == 7) {
      rgb.insert(rgb.end(), {Scale(v >> 11 & 31, 31), Scale(v >> 5 & 63, 63), Scale(v & 31, 31)});
    } else {
      rgb.insert(rgb.end(), {static_cast<unsigned char>(v >> 16), static_cast<unsigned char>(v >> 8),
                             static_cast<unsigned char>(v)});
    }
  }
  return rgb;
}

/// The largest difference of two equally long byte rows; 256 for unequal lengths.
inline int LargestDifference(const Bytes &a, const Bytes &b) {
  if (a.size() != b.size()) return 256;
  int largest = 0;
  for (std::size_t i = 0; i < a.size(); ++i) largest = std::max(largest, std::abs(a[i] - b[i]));
  return largest;
}

}  // namespace test
