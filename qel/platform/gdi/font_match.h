// Which font file serves a description. Internal.
#pragma once

#include <string>

#include "qel/platform/types.h"

namespace qel::gdi {

struct FontFile {
  std::string path;  // empty: there is no font at all
  int nIndex = 0;
  bool bEmbolden = false, bSlant = false;  // wanted, but not in the face
};

/// The file for a description. Says once for each name on standard error that another face takes its place.
FontFile MatchFont(const LOGFONTA &logFont);

}  // namespace qel::gdi
