// What stands behind a brush handle. Internal.
#pragma once

#include "qel/platform/gdi/object_table.h"

namespace qel::gdi {

/// A brush of one colour.
struct Brush final : Object {
  explicit Brush(COLORREF color) : rgb(color) {}

  COLORREF rgb;

  int Describe(int nBytes, void *pBuf) const override { return CopyDescription(&rgb, sizeof rgb, nBytes, pBuf); }
};

}  // namespace qel::gdi
