// The screen's measures, palettes, gamma maps and work memory. Everything that drawing needs lies in four blocks of
// movable global memory that stay locked; a block that cannot be had leaves its pointers null.

#include "qel/display/scrbase.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "qel/convert/palette_map.h"
#include "qel/image/image.h"
#include "qel/lines/convert.h"
#include "qel/lines/display_diffuse.h"
#include "qel/platform/gdi/device_context.h"
#include "qel/platform/gdi/window.h"
#include "qel/platform/kernel/locked_block.h"

IMPLEMENT_DYNCREATE(PScrbase, CObject)

namespace {

using qel::kernel::AllocLocked, qel::kernel::FreeLocked;

constexpr long kBlock = 65536, kSecondMap = 32384, kGammaMap = 2 * kSecondMap;
constexpr long kIndices = 4096, kErrors = kIndices + 512, kEntryBytes = 256 * sizeof(PALETTEENTRY);
constexpr long kErrorBytes = 3 * sizeof(int);  // of a pixel
constexpr int kIdentity = 256;
constexpr WORD kPaletteVersion = 0x300;

void BuildGammaTable(unsigned char *pTable, int nGamma) {
  const double exponent = static_cast<double>(kIdentity) / (nGamma > 0 ? nGamma : kIdentity);
  for (int i = 0; i < 256; ++i) pTable[i] = static_cast<unsigned char>(255 * std::pow(i / 255.0, exponent));
}

}  // namespace

// Life ---------------------------------------------------------------------------------------------------------------

PScrbase::PScrbase() = default;

PScrbase::~PScrbase() {
  xFreeBlocks();
}

void PScrbase::xFreeBlocks() {
  FreeLocked(&m_hBIMem);
  FreeLocked(&m_hWorkMem);
  FreeLocked(&m_hLineMem);
  FreeLocked(&m_hMapMem);
}

int PScrbase::xAllocMapBlock(long lWidth) {
  const long lErrorBytes = kErrorBytes * lWidth;
  HGLOBAL hBlock = nullptr;
  unsigned char *const pBlock =
      AllocLocked(GMEM_MOVEABLE, std::max(kBlock, kErrors + 2 * lErrorBytes + 2 * kEntryBytes), &hBlock);
  if (pBlock == nullptr) return 0;
  auto *const pImage = reinterpret_cast<PALETTEENTRY *>(pBlock + kErrors + 2 * lErrorBytes);
  auto *const pStd = pImage + 256;
  if (m_hMapMem != nullptr) {
    std::memcpy(pBlock, m_pbyPalMap, kErrors);
    std::memcpy(pImage, m_pPalEntryImg, 2 * kEntryBytes);
    FreeLocked(&m_hMapMem);
  }
  m_hMapMem = hBlock;
  m_lErrorWidth = lWidth;
  m_pbyPalMap = pBlock;
  m_pwPalIndex = reinterpret_cast<unsigned short *>(pBlock + kIndices);
  m_plErr1 = reinterpret_cast<int *>(pBlock + kErrors);
  m_plErr2 = reinterpret_cast<int *>(pBlock + kErrors + lErrorBytes);
  m_pPalEntryImg = pImage;
  m_pPalEntryStd = pStd;
  return 1;
}

void PScrbase::DoInitial() {
  const CClientDC screen(nullptr);
  xFreeBlocks();
  m_pbi = reinterpret_cast<BITMAPINFO *>(AllocLocked(GHND, kBlock, &m_hBIMem));
  if (m_pbi != nullptr) {
    m_pbi->bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    m_pbi->bmiHeader.biPlanes = 1;
    m_pbi->bmiHeader.biXPelsPerMeter = screen.GetDeviceCaps(LOGPIXELSX) * 5000 / 127;
    m_pbi->bmiHeader.biYPelsPerMeter = screen.GetDeviceCaps(LOGPIXELSY) * 5000 / 127;
  }
  m_pbyRGBMap = AllocLocked(GHND, kBlock, &m_hWorkMem);
  m_pbyRGBMap2 = m_pbyRGBMap == nullptr ? nullptr : m_pbyRGBMap + kSecondMap;
  m_pbyGammaMap = m_pbyRGBMap == nullptr ? nullptr : m_pbyRGBMap + kGammaMap;
  m_pbyWorkBuf = AllocLocked(GMEM_MOVEABLE, kBlock, &m_hLineMem);
  m_nScreenWidth = GetSystemMetrics(SM_CXSCREEN);
  if (!xAllocMapBlock(m_nScreenWidth)) {
    m_pbyPalMap = nullptr, m_pwPalIndex = nullptr, m_plErr1 = m_plErr2 = nullptr;
    m_pPalEntryImg = m_pPalEntryStd = nullptr, m_lErrorWidth = 0;
  }

  m_bGamma = m_bCommonPal = 0;
  const int nBits = screen.GetDeviceCaps(BITSPIXEL) * screen.GetDeviceCaps(PLANES);
  m_nScreenBits = nBits > 8 ? 24 : nBits;
  m_nDPIX = screen.GetDeviceCaps(LOGPIXELSX);
  m_nDPIY = screen.GetDeviceCaps(LOGPIXELSY);
  CreateStdPalette();
  CreatePaletteMap();
}

// Palettes -----------------------------------------------------------------------------------------------------------

int PScrbase::GetColorNum(int nBits, int nMax) {
  return nBits > 8 ? nMax : 1 << std::max(nBits, 0);
}

void PScrbase::CreateStdPalette() {
  if (m_pwPalIndex == nullptr) return;
  for (unsigned short i = 0; i < 256; ++i) m_pwPalIndex[i] = i;
  m_palStd.DeleteObject();
  m_palStd.Attach(PQel::CreateLogicalPalette(m_nScreenBits == 1 ? 0 : m_nScreenBits == 4 ? 2 : 3));
  m_pCurrPal = &m_palStd;
  m_palStd.GetPaletteEntries(0, static_cast<UINT>(GetColorNum(m_nScreenBits, 256)), m_pPalEntryStd);
}

void PScrbase::CreatePaletteMap() {
  if (m_pbyPalMap != nullptr)
    qel::convert::ReadPaletteMap(m_pbyPalMap, m_nScreenBits == 1 ? 0 : m_nScreenBits == 4 ? 2 : 3);
}

void PScrbase::SetCurrPalette(CPalette *pPal, int bDelete) {
  const bool bOwn = m_pCurrPal == nullptr || m_pCurrPal->GetSafeHandle() == m_palStd.GetSafeHandle() ||
                    m_pCurrPal->GetSafeHandle() == m_palGamma.GetSafeHandle();
  if (bDelete && !bOwn && m_pCurrPal != pPal) delete m_pCurrPal;
  if (pPal != nullptr && pPal->GetSafeHandle() != nullptr && !m_bCommonPal)
    m_pCurrPal = pPal;
  else
    m_pCurrPal = m_bGamma ? &m_palGamma : &m_palStd;
}

void PScrbase::UseCommonPal(int bUse) {
  m_bCommonPal = bUse;
}

// Gamma --------------------------------------------------------------------------------------------------------------

void PScrbase::SetNewGamma(int nRed, int nGreen, int nBlue) {
  if (nRed == 0 && nGreen == 0 && nBlue == 0) {
    if (!m_bGamma) return;
    m_bGamma = 0;
  } else {
    if (m_bGamma && m_nGammaRed == nRed && m_nGammaGreen == nGreen && m_nGammaBlue == nBlue) return;
    m_nGammaRed = nRed;
    m_nGammaGreen = nGreen;
    m_nGammaBlue = nBlue;
    m_bGamma = 1;
  }
  if (m_bGamma || m_nScreenBits >= 24) CreateGammaMap(m_nGammaRed, m_nGammaGreen, m_nGammaBlue);
}

void PScrbase::CreateGammaMap(int nRed, int nGreen, int nBlue) {
  if (m_pbyGammaMap == nullptr) return;
  BuildGammaTable(m_pbyGammaMap, nRed);
  BuildGammaTable(m_pbyGammaMap + 256, nGreen);
  BuildGammaTable(m_pbyGammaMap + 512, nBlue);
  CreateGammaPalette(GetColorNum(m_nScreenBits, 256), m_palGamma, m_palStd);
}

void PScrbase::CreateGammaPalette(int nColors, CPalette &palDst, CPalette &palSrc) {
  nColors = std::min(nColors, 256);
  if (m_pbyWorkBuf == nullptr || m_pbyGammaMap == nullptr || nColors < 1) return;
  auto *const pLogPalette = reinterpret_cast<LOGPALETTE *>(m_pbyWorkBuf);
  PALETTEENTRY *const pEntries = pLogPalette->palPalEntry;
  pLogPalette->palVersion = kPaletteVersion;
  pLogPalette->palNumEntries = static_cast<WORD>(nColors);
  const UINT nRead = palSrc.GetPaletteEntries(0, static_cast<UINT>(nColors), pEntries);
  std::fill(pEntries + nRead, pEntries + nColors, PALETTEENTRY{});
  for (PALETTEENTRY *p = pEntries; p < pEntries + nColors; ++p) {
    p->peRed = m_pbyGammaMap[p->peRed];
    p->peGreen = m_pbyGammaMap[256 + p->peGreen];
    p->peBlue = m_pbyGammaMap[512 + p->peBlue];
  }
  palDst.DeleteObject();
  palDst.CreatePalette(pLogPalette);
}

void PScrbase::GammaMapping(unsigned char *pLine, unsigned char *pMap, int nBytes) {
  if (m_bGamma && pLine != nullptr && pMap != nullptr) qel::lines::Map24(pLine, nBytes / 3, pMap);
}

void PScrbase::xAddMapToRGBMap(unsigned char *pRGBMap, unsigned char *pMap) {
  qel::lines::MapBytes(pRGBMap, 768, pMap);
}

void PScrbase::xAddToMapping(unsigned char *pRGBMap, unsigned char *pRed, unsigned char *pGreen, unsigned char *pBlue) {
  qel::lines::MapBytes(pRGBMap, 256, pRed);
  qel::lines::MapBytes(pRGBMap + 256, 256, pGreen);
  qel::lines::MapBytes(pRGBMap + 512, 256, pBlue);
}

// Diffusion ----------------------------------------------------------------------------------------------------------

void PScrbase::Diffuse1Line(unsigned char *pDst, unsigned char *pSrc, int *pErrCur, int *pErrNext, unsigned char *pMap,
                            unsigned char *pSrcPal, unsigned char *pDstPal, int nSrcBits, int nDstBits, int nWidth) {
  if (pDst == nullptr || pSrc == nullptr || pErrCur == nullptr || pErrNext == nullptr || pMap == nullptr ||
      pDstPal == nullptr || (pSrcPal == nullptr && nSrcBits != 24))
    return;
  qel::lines::DiffuseDisplayLine(pDst, nDstBits, pSrc, nSrcBits, pErrCur, pErrNext, {pMap, pSrcPal, pDstPal}, nWidth);
}
