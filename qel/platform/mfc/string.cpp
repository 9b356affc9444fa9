// CString over std::string: indices and counts are cut at the ends of the string, so that no argument is out of range.

#include "qel/platform/mfc/string.h"

#include <strings.h>

#include <algorithm>
#include <cstring>

namespace {

const char *TextOf(const char *psz) {
  return psz != nullptr ? psz : "";
}

size_t CutTo(int nValue, size_t nMost) {
  return nValue < 0 ? 0 : std::min(static_cast<size_t>(nValue), nMost);
}

int IndexOf(size_t nPosition) {
  return nPosition == std::string::npos ? -1 : static_cast<int>(nPosition);
}

}  // namespace

CString::CString(const char *psz) : m_str(TextOf(psz)) {}

CString::CString(const char *psz, int nLength) {
  if (psz != nullptr && nLength > 0) m_str.assign(psz, static_cast<size_t>(nLength));
}

CString &CString::operator=(const char *psz) {
  m_str = TextOf(psz);
  return *this;
}

int CString::GetLength() const {
  return static_cast<int>(m_str.size());
}
bool CString::IsEmpty() const {
  return m_str.empty();
}
void CString::Empty() {
  m_str.clear();
}

char CString::GetAt(int nIndex) const {
  return nIndex >= 0 && nIndex < GetLength() ? m_str[nIndex] : '\0';
}

CString CString::Left(int nCount) const {
  return Mid(0, nCount);
}

CString CString::Right(int nCount) const {
  CString result;
  result.m_str = m_str.substr(m_str.size() - CutTo(nCount, m_str.size()));
  return result;
}

CString CString::Mid(int nFirst) const {
  return Mid(nFirst, GetLength());
}

CString CString::Mid(int nFirst, int nCount) const {
  const size_t nStart = CutTo(nFirst, m_str.size());
  CString result;
  result.m_str = m_str.substr(nStart, CutTo(nCount, m_str.size() - nStart));
  return result;
}

int CString::Find(char ch, int nStart) const {
  return IndexOf(m_str.find(ch, CutTo(nStart, m_str.size())));
}

int CString::Find(const char *psz, int nStart) const {
  if (psz == nullptr) return -1;
  return IndexOf(m_str.find(psz, CutTo(nStart, m_str.size())));
}

int CString::ReverseFind(char ch) const {
  return IndexOf(m_str.rfind(ch));
}

CString &CString::operator+=(const CString &str) {
  m_str += str.m_str;
  return *this;
}

CString &CString::operator+=(const char *psz) {
  m_str += TextOf(psz);
  return *this;
}

CString &CString::operator+=(char ch) {
  m_str += ch;
  return *this;
}

int CString::Compare(const char *psz) const {
  return std::strcmp(m_str.c_str(), TextOf(psz));
}
int CString::CompareNoCase(const char *psz) const {
  return strcasecmp(m_str.c_str(), TextOf(psz));
}

void CString::MakeLower() {
  // ASCII only: bytes of UTF-8 sequences stay as they are in every locale.
  for (char &ch : m_str)
    if (ch >= 'A' && ch <= 'Z') ch = static_cast<char>(ch - 'A' + 'a');
}

CString operator+(const CString &a, const CString &b) {
  return CString(a) += b;
}
CString operator+(const CString &a, const char *b) {
  return CString(a) += b;
}
CString operator+(const char *a, const CString &b) {
  return CString(a) += b;
}

bool operator==(const CString &a, const CString &b) {
  return a.GetLength() == b.GetLength() && std::memcmp(a, b, static_cast<size_t>(a.GetLength())) == 0;
}
bool operator==(const CString &a, const char *b) {
  return a.Compare(b) == 0;
}
bool operator!=(const CString &a, const CString &b) {
  return !(a == b);
}
bool operator!=(const CString &a, const char *b) {
  return !(a == b);
}
