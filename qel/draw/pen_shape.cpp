// Footprints: a shape drawn with smooth edges at its full size and, for a soft rim, at ever smaller sizes around the
// same centre; the footprint is the average of these.

#include <algorithm>
#include <cstdint>

#include "qel/draw/pen.h"
#include "qel/lines/footprint.h"

namespace {

constexpr long kSubPixels = 8, kSizeStep = 32, kThickness = 15;
constexpr long kAngles[] = {135, 45, 0, 90};  // of the thin ellipses, shapes 2 to 5
constexpr unsigned char kOutside = 255;

}  // namespace

int PPen::xDrawShape(PQel *pImage, long lSize) {
  if (pImage == nullptr || m_nShape >= kCallersShape) return 0;
  pImage->Clear(kOutside);
  pImage->Validate();
  if (m_nShape >= kLibraryShape) {
    const long lTile = m_nShapeTileSize, lLeft = (m_nShape - kLibraryShape) * lTile;
    if (m_oShapeLibrary.IsEmpty() || lTile < 1 || lLeft + lTile > m_oShapeLibrary.GetImageWidth()) return 0;
    PQel tile;
    if (!tile.CreateImage(k256Grays, lTile, lTile, 0, nullptr, 0, 0, 1, 0, 0)) return 0;
    RECT rc = {static_cast<LONG>(lLeft), 0, static_cast<LONG>(lLeft + lTile), static_cast<LONG>(lTile)};
    return tile.CopyRect(&m_oShapeLibrary, nullptr, &rc) && pImage->RescaleImage(&tile);
  }
  const long lX = pImage->GetImageWidth() * kSubPixels / 2, lY = pImage->GetImageHeight() * kSubPixels / 2;
  const long lLeft = lX - (lSize + 1) / 2, lTop = lY - (lSize + 1) / 2;
  RECT rc = {static_cast<LONG>(lLeft), static_cast<LONG>(lTop), static_cast<LONG>(lLeft + lSize),
             static_cast<LONG>(lTop + lSize)};
  const CPoint ptCenter(static_cast<int>(lX), static_cast<int>(lY));
  switch (m_nShape) {
    case 0:
      pImage->FillCircle(&rc, 0);
      return 1;
    case 1:
      pImage->FillRect(&rc, 0);
      return 1;
    case 2:
    case 3:
    case 4:
    case 5:
      pImage->FillEllipse(ptCenter, lSize, kThickness, kAngles[m_nShape - 2], 0);
      return 1;
    default:
      return 0;
  }
}

int PPen::xBuildFeather() {
  if (m_poShapeImage == nullptr || m_poShapeImage->IsEmpty()) return 0;
  if (m_nShape >= kCallersShape) return 1;
  const long lWidth = m_poShapeImage->GetImageWidth(), lHeight = m_poShapeImage->GetImageHeight();
  PQel rendering;  // so that a failure leaves the footprint as it was
  if (m_poShapeImage->GetBitCount() != kWeightBits ||
      !rendering.CreateImage(k256Grays, lWidth, lHeight, 0, nullptr, 0, 0, 1, 0, 0))
    return 0;
  rendering.Clear(kOutside);  // what smooth edges are blended with is the copy for undo
  if (!rendering.EnableUndo(1)) return 0;
  rendering.EnableAntiAlias(1);
  return xAverageShapes(rendering);
}

int PPen::xAverageShapes(PQel &rendering) {
  const long lWidth = rendering.GetImageWidth(), lHeight = rendering.GetImageHeight();
  const long lStart = kSubPixels * lWidth;
  const long lSoftest = std::max((255L - m_nFeather) * kSubPixels * lWidth / 255, 1L);
  const long lLeast = m_nShape >= kLibraryShape ? lStart : lSoftest;  // a tile has one size: so do its averages
  PMem sums, line;
  auto *const pdwSums = reinterpret_cast<std::uint32_t *>(
      sums.AllocMemory(GHND, static_cast<unsigned long>(lWidth * lHeight) * sizeof(std::uint32_t)));
  unsigned char *const pLine = line.AllocMemory(GHND, static_cast<unsigned long>(rendering.GetLineBytes()));
  if (pdwSums == nullptr || pLine == nullptr) return 0;

  long lPasses = 0;
  for (long s = lStart; s >= lLeast; s -= kSizeStep, ++lPasses) {
    if (!xDrawShape(&rendering, s)) return 0;
    CRect rc;
    rendering.GetInvalidateRect(&rc);
    const long lLeft = std::max(rc.left, LONG{0}), lRight = std::min(static_cast<long>(rc.right), lWidth);
    const long lTop = std::max(rc.top, LONG{0}), lBottom = std::min(static_cast<long>(rc.bottom), lHeight);
    for (long y = lTop; y < lBottom && lLeft < lRight; ++y) {
      if (!rendering.GetHorLine(lLeft, lRight - 1, y, pLine)) return 0;
      qel::lines::AddInverted(pdwSums + y * lWidth + lLeft, pLine, lRight - lLeft);
    }
  }
  if (lPasses == 0) return 0;
  for (long y = 0; y < lHeight; ++y) {
    qel::lines::InvertedAverages(pLine, pdwSums + y * lWidth, lWidth, static_cast<std::uint32_t>(lPasses));
    m_poShapeImage->PutHorLine(y, pLine);
  }
  return 1;
}
