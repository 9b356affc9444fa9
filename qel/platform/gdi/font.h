// Fonts: a description whose face fontconfig finds and FreeType draws.
//
// What is different here: text runs horizontally; heights and widths are pixels.
#pragma once

#include "qel/export.h"
#include "qel/platform/gdi/object.h"
#include "qel/platform/types.h"

/// A font by its description. A positive height is that of a whole line, a negative one that of the em square, 0 a line
/// of 16 pixels; a width is that of an average character, 0 leaves the face's own proportion. Weight, italics,
/// underline and strike-out are obeyed; a face that does not exist is replaced, and standard error says so once for
/// each name. The face is looked for when the font is first used. Null: no description, a slanted base line
/// (lfEscapement), a height or width beyond 16383.
QEL_API HFONT CreateFontIndirectA(const LOGFONTA *pLogFont);
