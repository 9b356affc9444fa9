// Message boxes: texts for the user, handed to the application.
#pragma once

#include "qel/export.h"
#include "qel/platform/types.h"

using MessageBoxHandler = int (*)(HWND hOwner, const char *pszText, const char *pszCaption, UINT nType);

/// Sets what shows messages and returns the previous handler. Null restores the default, which writes one line to
/// standard error and answers IDOK.
QEL_API MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler pfn);

/// Shows a message through the handler; its answer.
QEL_API int MessageBoxA(HWND hOwner, const char *pszText, const char *pszCaption, UINT nType);

/// Shows a message under the application's title.
QEL_API int AfxMessageBox(const char *pszText, UINT nType = MB_OK, UINT nIDHelp = 0);
