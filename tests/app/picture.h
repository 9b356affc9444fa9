// Small BMP files put together from numbers, for the tests of the command line.
#pragma once

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "app/support.h"
#include "fileio/dib_bytes.h"

namespace test {

/// The bytes of a file to be, headers and tables alone.
inline std::string Pack(const DibFile &file) {
  const Bytes bytes = file.Build();
  return {bytes.begin(), bytes.end()};
}

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
