// CFont: owner of a font.
#pragma once

#include "qel/export.h"
#include "qel/platform/gdi/font.h"
#include "qel/platform/mfc/palette.h"

class QEL_API CFont : public CGdiObject {
  DECLARE_DYNAMIC(CFont)
 public:
  operator HFONT() const { return static_cast<HFONT>(m_hObject); }

  /// Makes a font from its description; 0 when it cannot be made. A font already held is deleted first.
  BOOL CreateFontIndirect(const LOGFONTA *pLogFont);
};
