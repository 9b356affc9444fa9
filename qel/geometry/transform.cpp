// The entry point of whole-image transforms by code: makes the destination in the right size and type, then calls the
// operation.

#include "qel/image/image.h"

namespace {

enum Operation : unsigned int {
  kInvert,
  kMirrorHorizontal,
  kMirrorVertical,
  kMirrorDiagonal,
  kTurnLeft,
  kTurnRight,
  kRescale,
  kRescaleTo24,
  kRescaleToGray,
};

constexpr int kOwnType = 10;

/// The type of the destination.
int TypeOf(unsigned int nOperation) {
  return nOperation == kRescaleTo24 ? 1 : nOperation == kRescaleToGray ? 5 : kOwnType;
}

}  // namespace

/// Codes 0 to 3, which work in place without a source.
int PQel::xMirrorOrInvert(PQel *pSource, unsigned int nOperation, long lWidth) {
  switch (nOperation) {
    case kInvert:
      if (pSource != nullptr && !CopyRect(pSource, nullptr, nullptr)) return 0;
      return Invert(static_cast<int>(lWidth));
    case kMirrorHorizontal:
      return MirrorHorizontal(pSource);
    case kMirrorVertical:
      return MirrorVertical(pSource);
    default:
      return MirrorDiagonal(pSource);
  }
}

int PQel::GenerateImage(PQel *pSource, unsigned int nOperation, long lWidth, long lHeight, int nMemFlags, int bBlock,
                        int bUndo) {
  if (nOperation > kRescaleToGray || (pSource != nullptr && pSource->IsEmpty())) return 0;
  if (nOperation <= kMirrorDiagonal) {
    const bool bCreate = pSource != nullptr && IsEmpty();
    if (bCreate && !CreateImage(pSource->GetBI(), 0, 0, kOwnType, nMemFlags, bBlock, 0)) return 0;
    if (IsEmpty()) return 0;
    const int nResult = xMirrorOrInvert(pSource, nOperation, lWidth);
    if (nResult && bCreate) EnableUndo(bUndo);
    return nResult;
  }

  if (pSource == nullptr || !IsEmpty()) return 0;
  const bool bTurn = nOperation == kTurnLeft || nOperation == kTurnRight;
  if (bTurn) lWidth = pSource->m_lHeight, lHeight = pSource->GetImageWidth();
  if (!CreateImage(pSource->GetBI(), lWidth, lHeight, TypeOf(nOperation), nMemFlags, bBlock, 0)) return 0;
  const int nResult = nOperation == kTurnLeft    ? RotateImageLeft(pSource)
                      : nOperation == kTurnRight ? RotateImageRight(pSource)
                                                 : RescaleImage(pSource);
  if (nResult) EnableUndo(bUndo);
  return nResult;
}
