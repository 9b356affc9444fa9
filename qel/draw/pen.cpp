// Pens: selection, settings and the lines that a stamp is made of.

#include "qel/draw/pen.h"

#include <algorithm>

#include "qel/draw/color_line.h"
#include "qel/draw/draw.h"

IMPLEMENT_DYNAMIC(PPen, PLineBaseObject)

namespace {

constexpr int kLargestSize = 2048;

}  // namespace

PQel PPen::m_oShapeLibrary;
long PPen::m_nShapeTileSize = 0;

// Life and selection -------------------------------------------------------------------------------------------------

PPen::PPen()
    : m_poColorImage(nullptr),
      m_poShapeImage(nullptr),
      m_nShape(0),
      m_llColor(0),
      m_nFeather(0),
      m_nOwnShape(0),
      m_lLineBytes(0) {
  SetShape(0, 1);
}

PPen::~PPen() {
  xLeaveContexts();
}

int PPen::OnSelect(PQelDraw *pDraw) {
  if (pDraw == nullptr || m_poShapeImage == nullptr || m_poShapeImage->GetBitCount() != kWeightBits) return 0;
  const int nBits = pDraw->GetBitCount();
  if (nBits != m_nBitCount &&
      (m_nSelectCount > 0 || (m_poColorImage != nullptr && m_poColorImage->GetBitCount() != nBits)))
    return 0;
  if (!xPrepareWork(nBits) || !PLineBaseObject::OnSelect(pDraw)) return 0;
  xFillColors();
  return 1;
}

int PPen::xPrepareWork(int nBits) {
  const long lLineBytes = (std::max(m_nSize, 0) + 1L) * nBits / 8 + 8;
  const auto bytes = [this](long lLine) { return static_cast<unsigned long>(2 * lLine + m_nSize + 8); };
  if (lLineBytes <= m_lLineBytes && bytes(m_lLineBytes) <= m_memWork.GetSize()) return 1;  // lines keep their places
  m_memWork.FreeMemory();
  m_lLineBytes = 0;
  if (!m_memWork.AllocMemory(GHND, bytes(lLineBytes))) return 0;
  m_lLineBytes = lLineBytes;
  if (m_nBitCount != 0) xFillColors();
  return 1;
}

void PPen::xFillColors() {
  if (m_poColorImage == nullptr && m_lLineBytes != 0 && m_nBitCount != 0)
    GetColorLine(0, m_nSize, 0, m_memWork.GetPointer());
}

// Settings -----------------------------------------------------------------------------------------------------------

int PPen::SetShape(int nShape, int nSize) {
  if (nShape < 0 || nShape >= kCallersShape || nSize < 1 || nSize > kLargestSize) return 0;
  PQel footprint;
  if (!footprint.CreateImage(k256Grays, nSize, nSize, 0, nullptr, 0, 0, 1, 0, 0)) return 0;
  PQel *const pImageBefore = m_poShapeImage;
  const int nShapeBefore = m_nShape;
  m_poShapeImage = &footprint;
  m_nShape = nShape;
  if (!xBuildFeather()) {
    m_poShapeImage = pImageBefore;
    m_nShape = nShapeBefore;
    return 0;
  }
  m_oOwnShape.DeleteImage(1);
  m_oOwnShape.CopyObject(&footprint);
  m_nOwnShape = nShape;
  xTakeShape(&m_oOwnShape, nShape);
  return 1;
}

int PPen::SetShapeImage(PQel *pShape) {
  if (pShape == nullptr) {
    xTakeShape(&m_oOwnShape, m_nOwnShape);
    return 1;
  }
  const long lSize = pShape->GetImageWidth();
  if (pShape->GetImageType() != k256Grays || lSize != pShape->GetImageHeight() || lSize > kLargestSize) return 0;
  xTakeShape(pShape, kCallersShape);
  return 1;
}

void PPen::xTakeShape(PQel *pShape, int nShape) {
  m_poShapeImage = pShape;
  m_nShape = nShape;
  m_nSize = static_cast<int>(pShape->GetImageWidth());
  if (m_nBitCount != 0) xPrepareWork(m_nBitCount);  // without memory the next stamp says so
  xFillColors();
}

int PPen::SetColorImage(PQel *pColors) {
  if (pColors != nullptr) {
    if (pColors->GetImageWidth() < m_nSize || pColors->GetImageHeight() < m_nSize) return 0;
    if (m_nSelectCount > 0 && pColors->GetBitCount() != m_nBitCount) return 0;
  }
  m_poColorImage = pColors;
  xFillColors();
  return 1;
}

int PPen::ChangeColor(long long llColor) {
  if (m_nShape >= kCallersShape) return 0;
  m_llColor = llColor;
  if (m_poColorImage != nullptr)
    m_poColorImage->Clear(llColor);
  else
    xFillColors();
  return 1;
}

int PPen::SetFeather(int nFeather) {
  if (m_poShapeImage == nullptr || m_poShapeImage->IsEmpty() || m_nShape >= kCallersShape) return nFeather;
  const int nBefore = m_nFeather;
  m_nFeather = std::clamp(nFeather, 0, 255);
  if (m_nFeather != nBefore && !xBuildFeather()) m_nFeather = nBefore;
  return nBefore;
}

int PPen::LoadShapeLibrary(PQel *pTiles, long lTileSize) {
  if (pTiles == nullptr) {
    m_oShapeLibrary.DeleteImage(1);
    m_nShapeTileSize = 0;
    return 1;
  }
  if (pTiles == &m_oShapeLibrary || pTiles->GetImageType() != k256Grays || lTileSize < 1 ||
      lTileSize > pTiles->GetImageWidth() || lTileSize > pTiles->GetImageHeight())
    return 0;
  PQel tiles;
  if (!tiles.GenerateImage(pTiles, 1, 0, 0)) return 0;
  m_oShapeLibrary.DeleteImage(1);
  m_oShapeLibrary.CopyObject(&tiles);
  m_nShapeTileSize = lTileSize;
  return 1;
}

// Lines --------------------------------------------------------------------------------------------------------------

int PPen::GetColorLine(long x1, long x2, long y, BYTE *pLine) {
  if (pLine == nullptr || x2 < x1) return 0;
  if (m_poColorImage != nullptr)  // it may have become another image since the selection
    return (m_nBitCount == 0 || m_poColorImage->GetBitCount() == m_nBitCount) &&
           m_poColorImage->GetHorLine(x1, x2, y, pLine);
  if (m_nBitCount == 0) return 0;
  qel::draw::FillColorLine(pLine, m_nBitCount, x2 - x1 + 1, qel::draw::ToolColor(m_nBitCount, m_llColor));
  return 1;
}

int PPen::GetShapeLine(long x1, long x2, long y, BYTE *pLine) {
  return m_poShapeImage != nullptr && m_poShapeImage->GetBitCount() == kWeightBits &&
         m_poShapeImage->GetHorLine(x1, x2, y, pLine);
}
