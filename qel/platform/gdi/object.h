// GDI objects of any kind: stock objects, description and deletion.
#pragma once

#include "qel/export.h"
#include "qel/platform/types.h"

constexpr int BLACK_BRUSH = 4;
constexpr int SYSTEM_FONT = 13;
constexpr int DEFAULT_PALETTE = 15;

/// An object that is always there: WHITE_BRUSH, BLACK_BRUSH, SYSTEM_FONT (the default face) or DEFAULT_PALETTE (the 20
/// static colours); null for others. Deleting one does nothing and succeeds.
QEL_API HGDIOBJ GetStockObject(int nIndex);

/// Deletes a palette, bitmap, font or brush; 0 for a handle that is not one and for an object that a device context
/// still has selected.
QEL_API BOOL DeleteObject(HGDIOBJ hObject);

/// Describes an object: a palette by the count of its entries (a WORD), a bitmap by its BITMAP (without bits: they
/// belong to the device), a font by its LOGFONT, a brush by its colour. Returns the bytes written, the bytes needed
/// when `pBuf` is null, 0 for a handle that is not one or a buffer that is too short.
QEL_API int GetObjectA(HGDIOBJ hObject, int nBytes, void *pBuf);
