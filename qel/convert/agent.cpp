// Building and releasing a conversion agent: the check of the method against the pair of images.
//
// The check is a table of rules by source and destination type. What it keeps although nothing can be prepared for it
// is settled behind the table: a custom palette serves true colour to 256 colours only, raw copies only palettes.
#include <array>
#include <cstring>

#include "qel/convert/itc.h"
#include "qel/platform/gdi/palette.h"
#include "qel/platform/kernel/locked_block.h"

namespace {

constexpr int kTrueColor = 1, k256Colors = 3, kLastType = 5;

// Method check -------------------------------------------------------------------------------------------------------

enum Rule : unsigned char {
  kReject,
  kSet0,
  kSet6,
  kKeep4,   // 4 stays, anything else becomes 0
  kKeep5,   // 5 stays, anything else becomes 0
  kKeep04,  // 0 and 4 stay, anything else becomes 2
  kFew,     // the best is error diffusion, ordered dither wants the standard palette
  kMany,    // the same, with the custom palette in place of the methods that do not suit
};

constexpr Rule kRules[6][6] = {
    // to mono, true colour, 16 colours, 256 colours, 16 grays, 256 grays
    {kReject, kSet6, kSet0, kSet0, kKeep5, kKeep5},   // mono
    {kFew, kReject, kFew, kMany, kSet0, kSet0},       // true colour
    {kFew, kSet6, kKeep4, kSet0, kSet0, kSet0},       // 16 colours
    {kFew, kSet6, kFew, kKeep04, kKeep4, kKeep4},     // 256 colours
    {kFew, kSet6, kKeep4, kSet0, kReject, kSet0},     // 16 grays
    {kFew, kSet6, kKeep04, kKeep04, kSet0, kReject},  // 256 grays
};

unsigned short Correct(Rule rule, unsigned short wMethod, bool bStdPal) {
  switch (rule) {
    case kReject:
    case kSet0:
      return 0;
    case kSet6:
      return 6;
    case kKeep4:
      return wMethod == 4 ? 4 : 0;
    case kKeep5:
      return wMethod == 5 ? 5 : 0;
    case kKeep04:
      return wMethod == 0 || wMethod == 4 ? wMethod : 2;
    case kFew:
      if (wMethod >= 5 && wMethod <= 7) return 2;
      return wMethod == 3 && !bStdPal ? 2 : wMethod;
    case kMany:
      if (wMethod == 7) return 2;
      if (wMethod == 5 || wMethod == 6) return 1;
      return wMethod == 3 && !bStdPal ? 1 : wMethod;
  }
  return wMethod;
}

// Palettes -----------------------------------------------------------------------------------------------------------

/// The image's colour table as a palette of no more entries than a pixel can name, so that every index of a map fits a
/// pixel. False when memory is short; deep images have none.
bool TakePalette(PQel *pImage, HPALETTE *phPal) {
  *phPal = pImage->GetPalette(nullptr);
  const int nBits = pImage->GetBitCount();
  if (nBits > 8) return true;
  const int nMost = 1 << nBits;
  if (PQel::GetColorNum(*phPal) > nMost) {
    std::array<RGBQUAD, 256> table;
    PQel::GetPaletteRGBQuad(*phPal, table.data());
    DeleteObject(*phPal);
    *phPal = PQel::CreateLogPal(nMost, table.data());
  }
  return *phPal != nullptr;
}

void ReleasePalette(HPALETTE *phPal) {
  if (*phPal != nullptr) DeleteObject(*phPal);
  *phPal = nullptr;
}

}  // namespace

// Life ---------------------------------------------------------------------------------------------------------------

PItc::PItc()
    : m_hSrcPal(nullptr),
      m_hDstPal(nullptr),
      m_hMapBuf(nullptr),
      m_hErrBuf1(nullptr),
      m_hErrBuf2(nullptr),
      m_pfnDither(nullptr) {
  FreeAgent(1);
}

PItc::~PItc() {
  FreeAgent(0);
}

void PItc::FreeAgent(int bNoFree) {
  if (!bNoFree)
    for (HGLOBAL *phBlock : {&m_hMapBuf, &m_hErrBuf1, &m_hErrBuf2}) qel::kernel::FreeLocked(phBlock);
  ReleasePalette(&m_hSrcPal);
  ReleasePalette(&m_hDstPal);
  m_bAgent = 0;
  m_poDst = m_poSrc = nullptr;
  m_nSrcBits = m_nDstBits = 1;
  m_nSrcType = m_nDstType = 0;
  m_lSrcWidth = m_lDstWidth = m_lSrcHeight = m_lDstHeight = 0;
  m_nSrcColors = m_nDstColors = 2;
  m_bSrcStdPal = m_bDstStdPal = 1;
  m_hMapBuf = m_hErrBuf1 = m_hErrBuf2 = nullptr;
  m_plErrCur = m_plErrNext = nullptr;
  m_pbyMap = m_pbyMapDone = nullptr;
  m_pbySrcLine = m_pbyDstLine = nullptr;
  m_pbySrcRGB = m_pbyDstRGB = nullptr;
  m_cvtMethod = {0, 0, 0};
  m_pfnGetPix = &PItc::xGetPixMono;
  m_pfnPutPix = &PItc::xPutPixMono;
}

int PItc::BuildAgent(PQel *pDst, PQel *pSrc, tagCVTMETHOD cvtMethod) {
  if (m_bAgent) FreeAgent(0);
  if (pDst == nullptr || pSrc == nullptr || pDst->IsEmpty() || pSrc->IsEmpty()) return 0;
  m_cvtMethod = cvtMethod;
  if (!xTakeImages(pDst, pSrc) || !xDblCheckCvtMethod() || !xPrepareMapBuf()) {
    FreeAgent(0);  // nothing of a failed attempt stays
    return 0;
  }
  if (m_cvtMethod.wMethod == 2) xClearErrors();
  if (m_cvtMethod.wMethod == 3) {
    m_pfnDither = nullptr;  // the routine of an agent before this one would not fit
    xSetDitherFunc();
  }
  xSetPixFuncPtr();
  m_bAgent = 1;
  return 1;
}

int PItc::xTakeImages(PQel *pDst, PQel *pSrc) {
  m_poDst = pDst;
  m_poSrc = pSrc;
  m_nSrcBits = pSrc->GetBitCount();
  m_nDstBits = pDst->GetBitCount();
  m_nSrcType = pSrc->GetImageType();
  m_nDstType = pDst->GetImageType();
  m_lSrcWidth = pSrc->GetImageWidth();
  m_lDstWidth = pDst->GetImageWidth();
  m_lSrcHeight = pSrc->GetImageHeight();
  m_lDstHeight = pDst->GetImageHeight();
  if (!TakePalette(pSrc, &m_hSrcPal) || !TakePalette(pDst, &m_hDstPal)) return 0;
  m_nSrcColors = PQel::GetColorNum(m_hSrcPal);
  m_nDstColors = PQel::GetColorNum(m_hDstPal);
  m_bSrcStdPal = PQel::IsStdPalette(m_hSrcPal);
  m_bDstStdPal = PQel::IsStdPalette(m_hDstPal);
  return 1;
}

int PItc::xDblCheckCvtMethod() {
  if (m_nSrcType < 0 || m_nSrcType > kLastType || m_nDstType < 0 || m_nDstType > kLastType) return 0;
  const Rule rule = kRules[m_nSrcType][m_nDstType];
  if (rule == kReject) return 0;
  unsigned short &wMethod = m_cvtMethod.wMethod;
  wMethod = Correct(rule, wMethod, m_bDstStdPal != 0);

  const bool bTrueColor = m_nSrcType == kTrueColor;
  if (wMethod == 1) {
    const bool bRoom = m_bDstStdPal || m_nDstColors == 256;  // a custom palette has 256 entries
    if (!bTrueColor || m_nDstType != k256Colors || !bRoom) wMethod = 0;
  }
  if (wMethod == 4 && bTrueColor) return 0;
  if (wMethod == 3)
    return m_cvtMethod.wDitherType <= 5 && (m_cvtMethod.wDitherSize == 4 || m_cvtMethod.wDitherSize == 8);
  return 1;
}
