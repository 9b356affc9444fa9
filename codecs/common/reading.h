// The steps of reading a picture that are the same whoever asks, the entry points of a format library or the reader
// library: telling and checking what a file is, moving its pixels into a store.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "codecs/common/format.h"
#include "qel/image/image.h"

namespace qel::codecs {

constexpr std::size_t kHeadBytes = 64;  // that a format is told by
constexpr std::size_t kMaxColors = 256;

/// The colours of a palette, 256 at most, without its flags; none for null.
std::vector<RGBQUAD> PaletteColors(HPALETTE hPal);

/// A palette of these colours, the caller's; null for none and for more than 256.
HPALETTE PaletteOf(std::vector<RGBQUAD> colors);

/// The first bytes of a file, kHeadBytes at most; their count.
std::size_t ReadHead(int nFile, unsigned char *pbyHead);

/// A picture that is being read: its decoder (null: there is none), and what it said that the picture is.
struct Reading {
  std::unique_ptr<Decoder> decoder;
  PictureInfo info;
};

/// Begins to read a file of a format. Without a decoder, and with a reason in `error`, when it is broken before its
/// pixels begin, or larger than `largestSide` or its own length allows.
Reading BeginReading(const Format &format, int nFile, long largestSide, std::string &error);

enum class Transfer {
  kRefused,  // the store is not one for this picture, nothing was written
  kPartial,  // the decoder gave up on the way
  kWhole,
};

/// Moves the pixels of a picture into the store of an image made after its info; a reason in `error` unless they all
/// came over. Bits and bytes of rows that belong to no pixel are 0 then.
Transfer ReadInto(const Reading &reading, const tagLmmInfo &memory, std::size_t offset, const Progress &progress,
                  std::string &error);

}  // namespace qel::codecs
