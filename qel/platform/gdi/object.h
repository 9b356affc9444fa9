// GDI objects of any kind: description and deletion.
#pragma once

#include "qel/export.h"
#include "qel/platform/types.h"

/// Deletes a palette, bitmap, font or brush; 0 for a handle that is not one.
QEL_API BOOL DeleteObject(HGDIOBJ hObject);

/// Describes an object: for a palette the count of its entries as a WORD (nBytes at least 2). Returns the bytes
/// written, the bytes needed when `pBuf` is null, 0 for a handle that is not one or a buffer that is too short.
QEL_API int GetObjectA(HGDIOBJ hObject, int nBytes, void *pBuf);
