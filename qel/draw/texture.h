// PTexture: the tool that modulates coverage: an image of weights (8-bit grays) or bits that tiles the canvas.
#pragma once

#include "qel/draw/gdi_object.h"
#include "qel/image/image.h"

class QEL_API PTexture : public PGDIObject {
  DECLARE_DYNAMIC(PTexture)

 public:
  PTexture();
  ~PTexture() override;

  /// Puts the texture into repeat mode; 0 for null and a context of another depth than where the tool is selected.
  int OnSelect(PQelDraw *pDraw);

  /// Takes an image of 1 or 8 bits, the caller's; null: none, and nothing is modulated. 0 for other images.
  int SetTexture(PQel *pTexture);

  /// Combines columns x1 to x2 of row y of the texture into a line of weights; 0 without a texture.
  int GetMaskLine(long x1, long x2, long y, BYTE *pMask);

 protected:
  PQel *m_poTexture;
};
