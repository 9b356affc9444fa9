// Bytes of text as characters: UTF-8 where it is sound, Windows-1252 byte by byte where it is not.

#include "qel/platform/gdi/text_decode.h"

namespace qel::gdi {

namespace {

// Bytes 0x80 to 0x9F of Windows-1252; the five that it leaves out stand for themselves.
constexpr char32_t kUpperControls[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                         0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                         0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                         0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char32_t FromWindows1252(unsigned char by) {
  return by >= 0x80 && by < 0xA0 ? kUpperControls[by - 0x80] : by;
}

struct Sequence {
  size_t nBytes;  // 0: not sound
  char32_t ch;
};

// The sequence at the start of `text`; overlong forms, surrogates and values above U+10FFFF are not sound.
Sequence FirstSequence(std::string_view text) {
  const unsigned char byLead = static_cast<unsigned char>(text[0]);
  if (byLead < 0x80) return {1, byLead};
  const size_t nBytes = byLead >= 0xF0 && byLead < 0xF8 ? 4 : byLead >= 0xE0 ? 3 : byLead >= 0xC0 ? 2 : 0;
  if (nBytes == 0 || byLead >= 0xF8 || text.size() < nBytes) return {0, 0};
  char32_t ch = byLead & (0xFFu >> (nBytes + 1));
  for (size_t i = 1; i < nBytes; ++i) {
    const unsigned char by = static_cast<unsigned char>(text[i]);
    if ((by & 0xC0) != 0x80) return {0, 0};
    ch = ch << 6 | (by & 0x3F);
  }
  constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  if (ch < kSmallest[nBytes] || ch > 0x10FFFF || (ch >= 0xD800 && ch < 0xE000)) return {0, 0};
  return {nBytes, ch};
}

}  // namespace

std::u32string DecodeText(std::string_view text) {
  std::u32string decoded;
  while (!text.empty()) {
    const Sequence sequence = FirstSequence(text);
    decoded += sequence.nBytes != 0 ? sequence.ch : FromWindows1252(static_cast<unsigned char>(text[0]));
    text.remove_prefix(sequence.nBytes != 0 ? sequence.nBytes : 1);
  }
  return decoded;
}

}  // namespace qel::gdi
