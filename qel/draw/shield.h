// PShield: the tool that protects pixels by what they show: up to ten rules on colour, hue or lightness, kept as a mask
// of bits (1: protected) of the context's size.
//
// The mask follows the picture when the context is told to update.
#pragma once

#include "qel/draw/gdi_object.h"
#include "qel/image/image.h"

/// A rule of a shield.
struct ShieldRule {
  WORD m_wKind;       // 0 unused, 1 a colour, 2 a colour box, 3 a hue, 4 a lightness
  DWORD m_dwValue;    // colour (red in the low byte), hue in degrees (360: the grays), lightness
  WORD m_wTolerance;  // of each channel, in degrees, of the lightness
};

class QEL_API PShield : public PGDIObject {
  DECLARE_DYNAMIC(PShield)

 public:
  static constexpr int kRules = 10;

  PShield();
  ~PShield() override;

  /// The first context makes the mask; 0 when it cannot be made, for null and for a context of another depth.
  int OnSelect(PQelDraw *pDraw);
  int OnUnSelect(PQelDraw *pDraw);

  /// Sets rule nIndex (0 to 9); kind 0 empties it. The mask follows at once. 0, and the rules as they were, for another
  /// index or kind and for a hue above 360.
  int SetRule(int nIndex, WORD wKind, DWORD dwValue, WORD wTolerance);
  int ClearRules();

  /// Brings the mask up to date: over the context's changed rectangle, or wholly (bWhole not 0, the context's size or
  /// repeat setting has changed). 0 when memory is short.
  int Update(int bWhole);

  /// Sets the weights of protected pixels to 255 (the tool's colour stays away); 0 without a mask.
  int FilterLine(long x1, long x2, long y, BYTE *pMask);

  /// A line of weights: 255 where protected, else 0; 0 without a mask.
  int ReadMaskLine(long x1, long x2, long y, BYTE *pMask);

  /// Gives the mask the repeat setting of an image.
  void SetSameRepeat(PQel *pImage);

 protected:
  void xDeleteMask();
  int xCreateMask();
  int xTakeRules();

  /// Sets the bits of protected pixels; the 24-bit line is converted on the way.
  void xMark(unsigned char *pBits, unsigned char *pLine, long n) const;

  int m_bUseHsl;  // 0: rules of hue and lightness are passed over
  ShieldRule m_aRule[kRules];
  PQel *m_poMask;  // while selected
};
