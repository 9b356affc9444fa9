// The agent's buffers: the map buffer, one block of movable global memory that holds the colour map and the palettes,
// and the two error rows of diffusion.
//
//   true colour, colour map, standard palette    map (4096)
//   true colour, colour map, another palette     map (4096), 4096-colour cube, target palette
//   error diffusion                              map (4096), done bits (512), source palette (of palettes), destination
//                                                palette
//   palette to true colour, ordered dither       source palette
//   palette, colour map                          map, source palette, destination palette
//
// The buffers are as large as the colour tables, not as the indices that a pixel could name. So that no index reads
// behind them, the driver limits the indices of a source whose table is short, and the maps from a file are limited to
// the destination's colours here.
#include <cstring>

#include "qel/convert/itc.h"
#include "qel/lines/colour_map.h"
#include "qel/platform/gdi/palette.h"
#include "qel/platform/kernel/locked_block.h"

namespace {

using qel::kernel::AllocLocked;

constexpr int kKeys = 4096;
constexpr int kCubeBytes = 3 * kKeys;
constexpr int kDoneBytes = kKeys / 8;

constexpr int kTrueColor = 1;

}  // namespace

// Map buffer ---------------------------------------------------------------------------------------------------------

long PItc::xGetMapBufSize() {
  const unsigned short wMethod = m_cvtMethod.wMethod;
  const long lSrcBytes = 3L * m_nSrcColors, lDstBytes = 3L * m_nDstColors;
  if (m_nSrcType == kTrueColor) {
    if (wMethod <= 1) return m_bDstStdPal ? kKeys : kKeys + kCubeBytes + lDstBytes;
    return wMethod == 2 ? kKeys + kDoneBytes + lDstBytes : 1;
  }
  if (m_nDstType == kTrueColor) {
    m_cvtMethod.wMethod = 6;
    return lSrcBytes;
  }
  if (wMethod == 2) return kKeys + kDoneBytes + lSrcBytes + lDstBytes;
  if (wMethod == 0) return m_nSrcColors + lSrcBytes + lDstBytes;
  return wMethod == 3 ? lSrcBytes : m_nSrcColors;
}

int PItc::xPrepareMapBuf() {
  m_pbyMap = AllocLocked(GMEM_MOVEABLE, xGetMapBufSize(), &m_hMapBuf);
  if (m_pbyMap == nullptr) return 0;
  const unsigned short wMethod = m_cvtMethod.wMethod;
  if (wMethod == 2) return xPrepareDiffusion();
  if (m_nSrcType == kTrueColor) return wMethod <= 1 ? xPrepareKeyMap() : 1;
  if (wMethod == 6) return PQel::GetPaletteRGB(m_hSrcPal, m_pbyMap);
  if (wMethod == 3) return PQel::GetPaletteRGB(m_hSrcPal, m_pbySrcRGB = m_pbyMap);
  if (wMethod != 0) return 1;
  m_pbySrcRGB = m_pbyMap + m_nSrcColors;
  m_pbyDstRGB = m_pbySrcRGB + 3 * m_nSrcColors;
  if (!PQel::GetPaletteRGB(m_hSrcPal, m_pbySrcRGB) || !PQel::GetPaletteRGB(m_hDstPal, m_pbyDstRGB)) return 0;
  return CreatePaletteMap(m_nDstColors, m_pbyDstRGB, m_nSrcColors, m_pbySrcRGB, m_pbyMap);
}

int PItc::xPrepareKeyMap() {
  if (m_bDstStdPal) {
    xReadKeyMap();
    return 1;
  }
  m_pbySrcRGB = m_pbyMap + kKeys;
  m_pbyDstRGB = m_pbySrcRGB + kCubeBytes;
  Set4096Pal(m_pbySrcRGB);
  if (m_cvtMethod.wMethod == 1) {
    const HPALETTE hCustom = CreateCustomPalette(m_poSrc);
    // the room behind the cube is the destination's
    const int bTaken = PQel::GetColorNum(hCustom) == m_nDstColors && PQel::GetPaletteRGB(hCustom, m_pbyDstRGB);
    if (hCustom != nullptr) DeleteObject(hCustom);
    if (!bTaken) return 0;
  } else if (!PQel::GetPaletteRGB(m_hDstPal, m_pbyDstRGB)) {
    return 0;
  }
  return CreatePaletteMap(m_nDstColors, m_pbyDstRGB, kKeys, m_pbySrcRGB, m_pbyMap);
}

void PItc::xReadKeyMap() {
  if (m_nDstColors == PQel::GetMaxClrUsed(m_nDstType)) {
    ReadStdPaletteMap(m_pbyMap, m_nDstType);  // without the file, the map is computed
    qel::lines::LimitIndices(m_pbyMap, 8, kKeys, m_nDstColors);
    return;
  }
  // The standard palette of fewer colours, as of 16 at 8 bits a pixel: the file's maps by type do not lead to it.
  unsigned char cube[kCubeBytes], palette[3 * 256];
  Set4096Pal(cube);
  PQel::GetPaletteRGB(m_hDstPal, palette);
  CreatePaletteMap(m_nDstColors, palette, kKeys, cube, m_pbyMap);
}

// Error diffusion ----------------------------------------------------------------------------------------------------

int PItc::xPrepareDiffusion() {
  const long lErrorBytes = xGetErrorRowBytes();
  m_plErrCur = reinterpret_cast<long *>(AllocLocked(GMEM_MOVEABLE, lErrorBytes, &m_hErrBuf1));
  m_plErrNext = reinterpret_cast<long *>(AllocLocked(GMEM_MOVEABLE, lErrorBytes, &m_hErrBuf2));
  if (m_plErrCur == nullptr || m_plErrNext == nullptr) return 0;
  m_pbyMapDone = m_pbyMap + kKeys;
  m_pbyDstRGB = m_pbyMapDone + kDoneBytes;
  if (m_nSrcType != kTrueColor) {
    m_pbySrcRGB = m_pbyDstRGB;
    m_pbyDstRGB += 3 * m_nSrcColors;
    if (!PQel::GetPaletteRGB(m_hSrcPal, m_pbySrcRGB)) return 0;
  }
  if (!PQel::GetPaletteRGB(m_hDstPal, m_pbyDstRGB)) return 0;
  if (m_bDstStdPal)
    xReadKeyMap();
  else
    std::memset(m_pbyMapDone, 0, kDoneBytes);
  return 1;
}

long PItc::xGetErrorRowBytes() const {
  constexpr long kEntryBytes = 3 * sizeof(LONG);
  return (m_lSrcWidth + 1) * kEntryBytes;  // a width fits 31 bits
}

void PItc::xClearErrors() {
  for (long *plRow : {m_plErrCur, m_plErrNext}) std::memset(plRow, 0, static_cast<size_t>(xGetErrorRowBytes()));
}
