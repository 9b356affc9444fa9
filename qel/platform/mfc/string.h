// CString: a byte string with value semantics.
#pragma once

#include <string>

#include "qel/export.h"
#include "qel/platform/types.h"

class QEL_API CString {
 public:
  CString() = default;
  CString(const char *psz);  // null counts as empty
  CString(const char *psz, int nLength);
  CString &operator=(const char *psz);

  int GetLength() const;
  bool IsEmpty() const;
  void Empty();

  /// The byte at an index; 0 outside the string.
  char GetAt(int nIndex) const;
  char operator[](int nIndex) const { return GetAt(nIndex); }
  operator const char *() const { return m_str.c_str(); }

  /// The first / last nCount bytes, or those from nFirst on; counts are cut at the ends of the string.
  CString Left(int nCount) const;
  CString Right(int nCount) const;
  CString Mid(int nFirst) const;
  CString Mid(int nFirst, int nCount) const;

  /// Index of the first match at or behind nStart, or of the last one; -1 when there is none.
  int Find(char ch, int nStart = 0) const;
  int Find(const char *psz, int nStart = 0) const;
  int ReverseFind(char ch) const;

  CString &operator+=(const CString &str);
  CString &operator+=(const char *psz);
  CString &operator+=(char ch);

  int Compare(const char *psz) const;
  int CompareNoCase(const char *psz) const;
  void MakeLower();

 private:
  std::string m_str;
};

QEL_API CString operator+(const CString &a, const CString &b);
QEL_API CString operator+(const CString &a, const char *b);
QEL_API CString operator+(const char *a, const CString &b);
QEL_API bool operator==(const CString &a, const CString &b);
QEL_API bool operator==(const CString &a, const char *b);
QEL_API bool operator!=(const CString &a, const CString &b);
QEL_API bool operator!=(const CString &a, const char *b);
