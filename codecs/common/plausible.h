// How many bytes of pixels a file may stand for. A file of a few bytes that claims gigabytes is refused by these bounds
// before any memory is taken for its picture.
//
// A bound tells the bytes of pixels, packed as the format has them, that one byte of a file makes at the most:
// - Plain rows: itself.
// - Bytes packed into counts and runs: a count and a byte make a run of 128.
// - Deflate: its longest string, 258 bytes, takes two bits, one for its length and one for its distance.
// - LZW: a code of 12 bits stands for a string of the 4096 that there are, none of which is longer than their number.
// - JPEG with Huffman codes: the 64 samples of a block take a bit at least, that of the level they all have; in a
//   progressive file the scans that refine it may pass over blocks by the thousand, or be missing.
//
// No bytes are asked of what has no such bound: JPEG with arithmetic codes; fax pages, where a white row of any width
// is one bit; Zstandard, LZMA and WebP, which have no longest string; packed rows of BMP files, which may pass over
// rows. Their pixels come into memory that the system backs only when it is touched, and ClearRowsFrom leaves that of
// missing rows untouched, so they cost what their files bring.
#pragma once

#include <cstddef>
#include <cstdint>

#include "codecs/common/format.h"

namespace qel::codecs {

constexpr int kMostOfPlainRows = 1;
constexpr int kMostOfByteRuns = 128 / 2;
constexpr int kMostOfDeflate = 258 * 8 / 2;
constexpr int kMostOfLzw = 4096 * 8 / 12;
constexpr int kMostOfHuffmanBlocks = 64 * 8;

/// Bytes that hold a picture of so many bits a pixel, by one of the bounds.
std::uint64_t LeastBytes(long width, long height, int bits, int mostOfByte);

/// False for a file that is shorter than a 16th of the bytes its picture cannot do without. Other files that were cut
/// short come in as far as they go, and so do pictures of less than 64 MiB, whatever their files hold.
bool IsPlausible(const PictureInfo &info, std::size_t fileBytes);

}  // namespace qel::codecs
