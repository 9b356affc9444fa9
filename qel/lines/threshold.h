// Gray lines against a threshold: a pixel is inside a shape when its level is at or below it.
#pragma once

namespace qel::lines {

/// Index of the first (last) of n levels at or below the threshold; n (-1) when there is none.
long FirstInside(const unsigned char *line, long n, unsigned char threshold);
long LastInside(const unsigned char *line, long n, unsigned char threshold);

/// flags[i] = 1 where pixel i + 1 of the middle line is inside and one of its eight neighbours is not, else 0. The
/// three lines have n + 2 pixels.
void MarkBorder(unsigned char *flags, const unsigned char *above, const unsigned char *middle,
                const unsigned char *below, long n, unsigned char threshold);

/// Levels below the threshold become `low`, others `high`, in place.
void SplitLevels(unsigned char *line, long n, unsigned char threshold, unsigned char low, unsigned char high);

}  // namespace qel::lines
