// What stands behind a font handle: a face of FreeType's at a size. Internal.
#pragma once

#include <mutex>

#include "qel/platform/gdi/object_table.h"

struct FT_FaceRec_;

namespace qel::gdi {

/// A glyph in 1 bit: where its top left pixel lies from the pen on the base line, and its rows. The bits hold until the
/// next glyph.
struct Glyph {
  int nLeft = 0, nTop = 0;  // to the right, upwards
  int nWidth = 0, nRows = 0;
  long lPitch = 0;  // from a row to the one below
  const BYTE *pBits = nullptr;
};

/// A line from `nTop` below the base line (negative: above) on.
struct Rule {
  int nTop = 0, nHeight = 0;
};

class Font final : public Object {
 public:
  explicit Font(const LOGFONTA &logFont) : m_logFont(logFont) {}
  ~Font() override;

  int Describe(int nBytes, void *pBuf) const override {
    return CopyDescription(&m_logFont, sizeof m_logFont, nBytes, pBuf);
  }

  /// Finds and opens the face on first use; false when there is none.
  bool Load();

  // After Load:
  int Ascent() const { return m_nAscent; }
  int Height() const { return m_nAscent + m_nDescent; }
  Rule Underline() const;
  Rule StrikeOut() const;
  const LOGFONTA &Description() const { return m_logFont; }

  /// The pen's way for a character; false when the face cannot give it.
  bool Advance(char32_t ch, int *pAdvance);

  /// Draws a character's glyph; false when it cannot be drawn.
  bool Draw(char32_t ch, Glyph *pGlyph);

  std::mutex m_mutex;  // a face serves one caller at a time

 private:
  bool Open();
  bool SetSize();
  bool LoadGlyph(char32_t ch);
  int FromUnits(int nUnits) const;

  const LOGFONTA m_logFont;
  FT_FaceRec_ *m_face = nullptr;
  bool m_bFailed = false;
  bool m_bEmbolden = false, m_bSlant = false;  // what the face itself lacks
  int m_nEm = 0, m_nAscent = 0, m_nDescent = 0;
};

}  // namespace qel::gdi
