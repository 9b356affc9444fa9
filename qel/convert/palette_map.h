// The maps of palette.map, for the engine and for the tool that makes the file.
#pragma once

namespace qel::convert {

constexpr long kMapSize = 4096;  // a map has an entry for every key of 4 bits a channel

/// Where palette.map holds the map of each image type; nothing stands before 0x4000.
constexpr long kMapPositions[6] = {0x6000, 0x0000, 0x5000, 0x4000, 0x8000, 0x7000};

/// Computes what palette.map holds for an image type (0 to 5): the index of the nearest colour of its standard palette
/// for every key; zeros for true colour, which no map leads to.
void ComputeStdPaletteMap(unsigned char *pMap, int nType);

/// Reads that map from palette.map, beside the executable or in the engine's library folder; what the file does not
/// hold is computed. False when there is no file.
bool ReadPaletteMap(unsigned char *pMap, int nType);

}  // namespace qel::convert
