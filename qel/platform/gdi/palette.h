// Logical palettes: owned handles to up to 65535 entries of red, green, blue and a flags byte.
#pragma once

#include "qel/export.h"
#include "qel/platform/gdi/object.h"
#include "qel/platform/types.h"

/// Makes a palette from a logical one (version 0x300, at least one entry); null when it is not sound.
QEL_API HPALETTE CreatePalette(const LOGPALETTE *pLogPalette);

/// Copies up to nCount entries from nStart on; returns how many. With `pEntries` null: how many the palette holds.
/// 0 for a handle that is not a palette.
QEL_API UINT GetPaletteEntries(HPALETTE hPal, UINT nStart, UINT nCount, PALETTEENTRY *pEntries);

/// Index of the entry nearest to a colour (least sum of squared differences, the first of equals); UINT(-1) for a
/// handle that is not a palette.
QEL_API UINT GetNearestPaletteIndex(HPALETTE hPal, COLORREF rgb);
