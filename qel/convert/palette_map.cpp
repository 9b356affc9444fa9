// Colour maps: palette.map, the 4096-colour cube and the search of the nearest colour.
//
// palette.map holds the maps from the 4096 keys of 4 bits a channel to the standard palettes. It lies beside the
// executable or in the engine's library folder; what it cannot give is computed.

#include "qel/convert/palette_map.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "qel/convert/itc.h"
#include "qel/lines/nearest_color.h"
#include "qel/platform/kernel/module.h"
#include "qel/platform/message_box.h"
#include "qel/platform/mfc/file.h"

namespace {

using qel::convert::kMapPositions;
using qel::convert::kMapSize;

constexpr int kTypes = 6;  // image types 0 to 5
constexpr int kCubeBytes = 3 * kMapSize;

bool OpenPaletteMap(CFile &file) {
  for (const std::string &folder :
       {qel::kernel::FolderOf(qel::kernel::ModulePath(nullptr)), qel::kernel::EngineLibraryFolder()})
    if (file.Open((folder + "palette.map").c_str(), CFile::modeRead | CFile::shareDenyWrite)) return true;
  return false;
}

}  // namespace

const long PItc::m_plMapPos[6] = {kMapPositions[0], kMapPositions[1], kMapPositions[2],
                                  kMapPositions[3], kMapPositions[4], kMapPositions[5]};

// The file -----------------------------------------------------------------------------------------------------------

int PItc::ReadStdPaletteMap(unsigned char *pMap, int nType) {
  if (pMap == nullptr || nType < 0 || nType >= kTypes) return 0;
  if (qel::convert::ReadPaletteMap(pMap, nType)) return 1;
  AfxMessageBox("Load palette.map file fail!", MB_OK);
  return 0;
}

namespace qel::convert {

void ComputeStdPaletteMap(unsigned char *pMap, int nType) {
  std::fill_n(pMap, kMapSize, static_cast<unsigned char>(0));
  if (nType == 1) return;
  RGBQUAD table[256];
  PQel::BuildStdPalette(nType, table);
  unsigned char palette[3 * 256];
  const int nColors = PQel::GetMaxClrUsed(nType);
  for (int i = 0; i < nColors; ++i) {
    palette[3 * i] = table[i].rgbRed;
    palette[3 * i + 1] = table[i].rgbGreen;
    palette[3 * i + 2] = table[i].rgbBlue;
  }
  unsigned char cube[kCubeBytes];
  PItc::Set4096Pal(cube);
  lines::FindNearestColors(pMap, cube, kMapSize, palette, nColors);
}

bool ReadPaletteMap(unsigned char *pMap, int nType) {
  CFile file;
  const bool bOpened = OpenPaletteMap(file);
  UINT nRead = 0;
  if (bOpened) {
    file.Seek(kMapPositions[nType], CFile::current);
    nRead = file.Read(pMap, kMapSize);
  }
  if (nRead < kMapSize) {
    // A file that is cut short is none that anybody is told of; what it lacks must not stay whatever the buffer held.
    unsigned char map[kMapSize];
    ComputeStdPaletteMap(map, nType);
    std::copy(map + nRead, map + kMapSize, pMap + nRead);
  }
  return bOpened;
}

}  // namespace qel::convert

// Maps ---------------------------------------------------------------------------------------------------------------

void PItc::Set4096Pal(unsigned char *pRGB) {
  if (pRGB == nullptr) return;
  for (int k = 0; k < kMapSize; ++k) {
    *pRGB++ = static_cast<unsigned char>(17 * (k >> 8));
    *pRGB++ = static_cast<unsigned char>(17 * (k >> 4 & 15));
    *pRGB++ = static_cast<unsigned char>(17 * (k & 15));
  }
}

int PItc::CreatePaletteMap(int nDstColors, unsigned char *pDstRGB, int nSrcColors, unsigned char *pSrcRGB,
                           unsigned char *pMap) {
  if (nDstColors < 0 || nSrcColors < 0 || pDstRGB == nullptr || pSrcRGB == nullptr || pMap == nullptr) return 0;
  if (nSrcColors == nDstColors && std::memcmp(pSrcRGB, pDstRGB, 3 * static_cast<std::size_t>(nSrcColors)) == 0) {
    // One palette on both sides: an index stays what it is, even of a colour that occurs twice.
    for (int i = 0; i < nSrcColors; ++i) pMap[i] = static_cast<unsigned char>(i);
    return 1;
  }
  qel::lines::FindNearestColors(pMap, pSrcRGB, nSrcColors, pDstRGB, nDstColors);
  return 1;
}

int PItc::xCreatePaletteMap() {
  if (m_nSrcColors > 256 || m_hSrcPal == nullptr || m_hDstPal == nullptr || m_pbyMap == nullptr) return 0;
  for (int i = 0; i < m_nSrcColors; ++i) {
    PALETTEENTRY entry{};
    GetPaletteEntries(m_hSrcPal, static_cast<UINT>(i), 1, &entry);
    const UINT nNearest = GetNearestPaletteIndex(m_hDstPal, RGB(entry.peRed, entry.peGreen, entry.peBlue));
    m_pbyMap[i] = static_cast<unsigned char>(nNearest);
  }
  return 1;
}
