// Palettes: the standard tables, and the ways between a colour table and a logical palette.
//
// The standard tables are computed by the compiler and copied. A logical palette keeps red, green, blue and a flags
// byte, a colour table blue, green, red and a reserved one; the flags travel in the reserved byte.
#include "qel/platform/gdi/palette.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "qel/image/image.h"

// Shared tables ------------------------------------------------------------------------------------------------------

namespace {

constexpr std::array<PALETTEENTRY, 16> kStdEntries{{{0, 0, 0, 0},
                                                    {0, 0, 128, 0},
                                                    {0, 128, 0, 0},
                                                    {0, 128, 128, 0},
                                                    {128, 0, 0, 0},
                                                    {128, 0, 128, 0},
                                                    {128, 128, 0, 0},
                                                    {192, 192, 192, 0},
                                                    {128, 128, 128, 0},
                                                    {0, 0, 255, 0},
                                                    {0, 255, 0, 0},
                                                    {0, 255, 255, 0},
                                                    {255, 0, 0, 0},
                                                    {255, 0, 255, 0},
                                                    {255, 255, 0, 0},
                                                    {255, 255, 255, 0}}};

}  // namespace

const PALETTEENTRY PQel::m_palEntryStd[16] = {kStdEntries[0],  kStdEntries[1],  kStdEntries[2],  kStdEntries[3],
                                              kStdEntries[4],  kStdEntries[5],  kStdEntries[6],  kStdEntries[7],
                                              kStdEntries[8],  kStdEntries[9],  kStdEntries[10], kStdEntries[11],
                                              kStdEntries[12], kStdEntries[13], kStdEntries[14], kStdEntries[15]};

const unsigned char PQel::m_byMonoORBit[8] = {0x80, 0x40, 0x20, 0x10, 0x08, 0x04, 0x02, 0x01};
const unsigned char PQel::m_byMask[8] = {0xFF, 0x80, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC, 0xFE};

// Standard palettes --------------------------------------------------------------------------------------------------

namespace {

constexpr RGBQUAD Gray(int nLevel) {
  const BYTE by = static_cast<BYTE>(nLevel);
  return {by, by, by, 0};
}

constexpr RGBQUAD ToQuad(const PALETTEENTRY &e) {
  return {e.peBlue, e.peGreen, e.peRed, e.peFlags};
}
constexpr PALETTEENTRY ToEntry(const RGBQUAD &q) {
  return {q.rgbRed, q.rgbGreen, q.rgbBlue, 0};
}

template <size_t N>
constexpr std::array<RGBQUAD, N> MakeGrayRamp() {
  std::array<RGBQUAD, N> table{};
  for (size_t i = 0; i < N; ++i) table[i] = Gray(static_cast<int>(i * 255 / (N - 1)));
  return table;
}

constexpr std::array<RGBQUAD, 16> MakeStd16() {
  std::array<RGBQUAD, 16> table{};
  for (size_t i = 0; i < 16; ++i) table[i] = ToQuad(kStdEntries[i]);
  return table;
}

/// The 16 standard colours, a cube of six levels, grays in steps of 11, white.
constexpr std::array<RGBQUAD, 256> MakeStd256() {
  constexpr std::array<BYTE, 6> kLevels{0, 50, 101, 152, 203, 254};
  std::array<RGBQUAD, 256> table{};
  for (size_t i = 0; i < 16; ++i) table[i] = ToQuad(kStdEntries[i]);
  for (size_t i = 0; i < 216; ++i) table[16 + i] = {kLevels[i % 6], kLevels[i / 6 % 6], kLevels[i / 36], 0};
  for (int k = 0; k <= 22; ++k) table[static_cast<size_t>(232 + k)] = Gray(11 * k);
  table[255] = Gray(255);
  return table;
}

constexpr auto kMono = MakeGrayRamp<2>();
constexpr auto kGray16 = MakeGrayRamp<16>();
constexpr auto kGray256 = MakeGrayRamp<256>();
constexpr auto kStd16 = MakeStd16();
constexpr auto kStd256 = MakeStd256();

const RGBQUAD *StdTable(int nType) {
  switch (nType) {
    case 0:
      return kMono.data();
    case 2:
      return kStd16.data();
    case 4:
      return kGray16.data();
    case 5:
      return kGray256.data();
    default:
      return kStd256.data();
  }
}

bool EqualsStdTable(const RGBQUAD *pTable, int nType) {
  return std::memcmp(pTable, StdTable(nType), sizeof(RGBQUAD) * static_cast<size_t>(PQel::GetMaxClrUsed(nType))) == 0;
}

}  // namespace

int PQel::BuildStdPalette(int nType, RGBQUAD *pRGBQuad) {
  if (pRGBQuad == nullptr) return 0;
  const int nColors = GetMaxClrUsed(nType);
  if (nColors > 0) std::memcpy(pRGBQuad, StdTable(nType), sizeof(RGBQUAD) * static_cast<size_t>(nColors));
  return 1;
}

int PQel::IsStdPalette(HPALETTE hPal) {
  std::array<RGBQUAD, 256> table;
  const int nColors = GetColorNum(hPal);
  if (nColors != 2 && nColors != 16 && nColors != 256) return 0;
  if (!GetPaletteRGBQuad(hPal, table.data())) return 0;
  if (nColors == 2) return EqualsStdTable(table.data(), 0);
  if (nColors == 16) return EqualsStdTable(table.data(), 4) || EqualsStdTable(table.data(), 2);
  return EqualsStdTable(table.data(), 3) || EqualsStdTable(table.data(), 5);
}

// Reading logical palettes -------------------------------------------------------------------------------------------

namespace {

using EntryBuffer = std::array<PALETTEENTRY, 256>;

/// Reads up to 256 entries. Their count, or -1 when the handle is no palette or delivers fewer than it holds.
int ReadEntries(HPALETTE hPal, EntryBuffer *pEntries) {
  WORD wCount = 0;
  if (hPal == nullptr || GetObjectA(hPal, sizeof wCount, &wCount) == 0) return -1;
  const UINT nCount = std::min<UINT>(wCount, 256);
  if (nCount > 0 && GetPaletteEntries(hPal, 0, nCount, pEntries->data()) != nCount) return -1;
  return static_cast<int>(nCount);
}

}  // namespace

int PQel::GetColorNum(HPALETTE hPal) {
  WORD wCount = 0;
  if (hPal == nullptr || GetObjectA(hPal, sizeof wCount, &wCount) == 0) return 0;
  return wCount;
}

int PQel::GetPaletteRGB(HPALETTE hPal, unsigned char *pRGB) {
  EntryBuffer entries;
  const int nCount = pRGB == nullptr ? -1 : ReadEntries(hPal, &entries);
  for (int i = 0; i < nCount; ++i) std::memcpy(pRGB + 3 * i, &entries[static_cast<size_t>(i)], 3);
  return nCount >= 0;
}

int PQel::GetPaletteRGBQuad(HPALETTE hPal, RGBQUAD *pRGBQuad) {
  EntryBuffer entries;
  const int nCount = pRGBQuad == nullptr ? -1 : ReadEntries(hPal, &entries);
  for (int i = 0; i < nCount; ++i) pRGBQuad[i] = ToQuad(entries[static_cast<size_t>(i)]);
  return nCount >= 0;
}

// Making logical palettes --------------------------------------------------------------------------------------------

int PQel::CreatePalette(CPalette &pal, int nColors, unsigned char *pMap, RGBQUAD *pRGBQuad) {
  if (nColors < 1 || nColors > 256 || pRGBQuad == nullptr) return 0;
  struct {
    WORD palVersion = 0x300;
    WORD palNumEntries = 0;
    PALETTEENTRY palPalEntry[256];
  } logical;
  static_assert(sizeof logical == 4 + sizeof logical.palPalEntry);
  logical.palNumEntries = static_cast<WORD>(nColors);
  for (int i = 0; i < nColors; ++i) {
    PALETTEENTRY entry = ToEntry(pRGBQuad[i]);
    if (pMap != nullptr) entry = {pMap[entry.peRed], pMap[256 + entry.peGreen], pMap[512 + entry.peBlue], 0};
    logical.palPalEntry[i] = entry;
  }
  const HPALETTE hPal = ::CreatePalette(reinterpret_cast<const LOGPALETTE *>(&logical));
  if (hPal == nullptr) return 0;
  if (pal.GetSafeHandle() != nullptr) pal.DeleteObject();
  return pal.Attach(hPal);
}

HPALETTE PQel::CreateLogicalPalette(int nType) {
  std::array<RGBQUAD, 256> table;
  if (!BuildStdPalette(nType, table.data())) return nullptr;
  return CreateLogPal(GetMaxClrUsed(nType), table.data());
}

HPALETTE PQel::CreateLogPal(int nColors, RGBQUAD *pRGBQuad) {
  CPalette pal;
  if (!CreatePalette(pal, nColors, nullptr, pRGBQuad)) return nullptr;
  return static_cast<HPALETTE>(pal.Detach());
}

// The image's table --------------------------------------------------------------------------------------------------

int PQel::xGetTableSize() const {
  if (m_pBIH->biClrUsed == 0 && m_pBIH->biBitCount < 9) return GetMaxClrUsed(m_nImageType);
  return static_cast<int>(m_pBIH->biClrUsed);
}

HPALETTE PQel::GetPalette(unsigned char *pMap) {
  if (IsEmpty()) return nullptr;
  CPalette pal;
  if (!CreatePalette(pal, xGetTableSize(), pMap, m_pRGBQuad)) return nullptr;
  return static_cast<HPALETTE>(pal.Detach());
}

int PQel::SetPalette(HPALETTE hPal, int bDelete) {
  if (hPal == nullptr || IsEmpty()) return 0;
  EntryBuffer entries;
  const int nCount = std::min(ReadEntries(hPal, &entries), xGetTableSize());
  for (int i = 0; i < nCount; ++i) m_pRGBQuad[i] = ToQuad(entries[static_cast<size_t>(i)]);
  if (nCount > 0) {
    UpdateBI();
    UpdateImageType();
  }
  if (bDelete) DeleteObject(hPal);
  return nCount > 0;
}

int PQel::InversePalette() {
  if (IsEmpty()) return 0;
  const int nColors = GetMaxClrUsed(m_nImageType);
  for (RGBQUAD *p = m_pRGBQuad; p < m_pRGBQuad + nColors; ++p) {
    p->rgbBlue = static_cast<BYTE>(~p->rgbBlue);
    p->rgbGreen = static_cast<BYTE>(~p->rgbGreen);
    p->rgbRed = static_cast<BYTE>(~p->rgbRed);
  }
  UpdateImageType();
  UpdateBI();
  return 1;
}
