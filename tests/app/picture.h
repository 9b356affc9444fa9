// Small BMP files put together from numbers, for the tests of the command line.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>

#include "app/support.h"
#include "support/pixels.h"

namespace test {

/// The fields of a 54-byte header that decide whether a file is read.
struct BmpHeader {
  std::uint32_t fileSize = 54;
  std::uint32_t headerBytes = 40;
  std::int32_t width = 1, height = 1;
  std::uint16_t bits = 24;
  std::uint32_t compression = 0, clrUsed = 0;
  std::uint32_t rowsOffset = 54;

  Bytes Pack() const {
    Bytes bytes = "BM";
    const auto Put = [&bytes](std::uint64_t value, int count) {
      for (int i = 0; i < count; ++i) bytes += static_cast<char>(value >> 8 * i);
    };
    Put(fileSize, 4), Put(0, 4), Put(rowsOffset, 4), Put(headerBytes, 4);
    Put(static_cast<std::uint32_t>(width), 4), Put(static_cast<std::uint32_t>(height), 4);
    Put(1, 2), Put(bits, 2), Put(compression, 4), Put(0, 4), Put(3780, 4), Put(3780, 4), Put(clrUsed, 4), Put(0, 4);
    return bytes;
  }
};

/// Saves a picture of random pixels of a type.
inline void SaveRandom(const std::string &path, int type, long width, long height, unsigned seed = 1) {
  std::mt19937 random(seed);
  NaiveImage naive(width, height, PQel::GetBitCount(type));
  naive.Randomise(random);
  PQel image;
  ASSERT_TRUE(image.CreateImage(type, width, height, 0, nullptr, 3780, 3780, 1, 0, 0));
  naive.Store(image);
  ASSERT_TRUE(image.SaveDIB(path.c_str(), 0));
}

/// A picture read back as numbers.
inline NaiveImage Load(const std::string &path, int type) {
  PQel image;
  EXPECT_TRUE(image.OpenDIBImage(path.c_str())) << path;
  EXPECT_EQ(image.GetImageType(), type);
  NaiveImage naive(image.GetImageWidth(), image.GetImageHeight(), image.GetBitCount());
  naive.Load(image);
  return naive;
}

/// Runs `qel convert`.
inline Outcome Convert(const std::string &from, const std::string &to, const std::vector<std::string> &options) {
  std::vector<std::string> command{"convert", from, to};
  command.insert(command.end(), options.begin(), options.end());
  return Qel(command);
}

}  // namespace test
