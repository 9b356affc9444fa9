// Profiles: settings files of sections and keys, kept for the user.
//
// Different here: a bare file name lives in $XDG_CONFIG_HOME/qel, else in ~/.config/qel; a name with a folder is taken
// as it is. A write replaces the file in one step, so that no reader ever sees half of it.
#pragma once

#include "qel/export.h"
#include "qel/platform/types.h"

/// The whole number, with its sign, that a key holds, up to the first character that is no digit, modulo 2^32; nDefault
/// when the file, the section or the key is missing or the value is empty. Names of sections and keys are compared
/// without case; blanks around names and values and quotes around a value do not count.
QEL_API UINT GetPrivateProfileIntA(const char *pszSection, const char *pszKey, int nDefault, const char *pszFileName);

/// Sets a key; null as value removes it, null as key removes the whole section. The file, and the user's folder of
/// settings, are made when they are missing; all other lines stay as they are. 0 when the file cannot be written, for a
/// null section or file name and for names and values that would not read back (line ends; ']' in a section, '=' in a
/// key).
QEL_API BOOL WritePrivateProfileStringA(const char *pszSection, const char *pszKey, const char *pszString,
                                        const char *pszFileName);
