// What stands behind a palette handle. Internal.
#pragma once

#include <vector>

#include "qel/platform/gdi/object_table.h"

namespace qel::gdi {

/// A logical palette; its entries never change.
struct Palette final : Object {
  std::vector<PALETTEENTRY> entries;

  int Describe(int nBytes, void *pBuf) const override {
    const WORD wEntries = static_cast<WORD>(entries.size());
    return CopyDescription(&wEntries, sizeof(wEntries), nBytes, pBuf);
  }
};

/// The palette that a device context starts with: the 20 static colours.
std::shared_ptr<Palette> MakeDefaultPalette();

}  // namespace qel::gdi
