// Mixes of lines through mask levels, lines of masks, and composites of masked layers.
//
// A mask level m of 255 keeps the pixel that is there, 0 takes the fresh one, and in between a channel becomes
// (old x m + fresh x (255 - m)) / 255, truncated. Lines are packed by the DIB rule; `n` counts pixels. The line that
// comes first is changed in place; no function reads or writes a byte behind the last one of its pixels.
#pragma once

namespace qel::lines {

// Pixels through a mask ----------------------------------------------------------------------------------------------

/// Gray levels and 24-bit pixels: every byte is mixed.
void MixGray(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n);
void Mix24(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n);

/// 48 bits: every 16-bit channel is mixed.
void Mix48(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n);

/// 32 bits: the three colour bytes are mixed and the fourth becomes 0; pixels that are kept or taken keep all four.
void Mix32(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n);

/// High colour: every field is mixed; pixels that are kept or taken keep all sixteen bits.
void Mix555(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n);
void Mix565(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n);

/// Indices of 1, 4 and 8 bits cannot be mixed: the fresh one is taken where the level is at most 128. What follows the
/// last pixel in its byte stays.
void MixBits(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n);
void MixNibbles(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n);
void MixIndices(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n);

// Masks --------------------------------------------------------------------------------------------------------------

/// mask[i] = 255 - (255 - mask[i]) x (255 - level[i]) / 255: never below either of the two.
void CombineMasks(unsigned char *mask, const unsigned char *levels, long n);

/// mask[i] = 255 where the bit is set.
void CombineMaskBits(unsigned char *mask, const unsigned char *bits, long n);

/// line[i] = 0 where the bit is set.
void ClearUnderBits(unsigned char *line, const unsigned char *bits, long n);

// Bytes --------------------------------------------------------------------------------------------------------------

/// line[i] = line[i] x factor / 255.
void ScaleBytes(unsigned char *line, long n, unsigned char factor);

/// Replaces one channel (0 blue, 1 green, 2 red) of n 24-bit pixels.
void ReplaceChannel24(unsigned char *line, const unsigned char *plane, long n, long channel);

// Layers -------------------------------------------------------------------------------------------------------------

/// Lays n 24-bit pixels of transparency a (0 opaque, 255 transparent) over those of a layer of transparency b. Both
/// lines of the upper image are changed: a = 0 and b = 255 change nothing; else with d = 65025 - a x b each channel
/// becomes (layer x a x (255 - b) + upper x 255 x (255 - a)) / d and a becomes a x b / 255, all truncated. (That is the
/// layer's pixel for a = 255, and a mix through a for b = 0.)
void CompositeLayers24(unsigned char *upper, unsigned char *a, const unsigned char *layer, const unsigned char *b,
                       long n);

}  // namespace qel::lines
