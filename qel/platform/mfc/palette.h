// CGdiObject and CPalette: owners of GDI handles.
#pragma once

#include "qel/export.h"
#include "qel/platform/gdi/palette.h"
#include "qel/platform/mfc/object.h"

/// Owns one GDI object and deletes it with itself.
class QEL_API CGdiObject : public CObject {
  DECLARE_DYNAMIC(CGdiObject)
 public:
  CGdiObject() = default;
  ~CGdiObject() override;

  HGDIOBJ m_hObject = nullptr;

  /// The handle, null for a null `this` too in the idiom; here simply the handle.
  HGDIOBJ GetSafeHandle() const { return m_hObject; }

  /// Takes a handle over; 0 when it is null or an object is already held.
  BOOL Attach(HGDIOBJ hObject);

  /// Hands the object out without deleting it.
  HGDIOBJ Detach();

  /// Deletes the object; 0 when there is none.
  BOOL DeleteObject();
};

class QEL_API CPalette : public CGdiObject {
  DECLARE_DYNAMIC(CPalette)
 public:
  operator HPALETTE() const { return static_cast<HPALETTE>(m_hObject); }

  /// Makes a logical palette; 0 when it cannot be made. An object already held is deleted first.
  BOOL CreatePalette(const LOGPALETTE *pLogPalette);

  UINT GetPaletteEntries(UINT nStart, UINT nCount, PALETTEENTRY *pEntries) const;
  UINT GetNearestPaletteIndex(COLORREF rgb) const;
};
