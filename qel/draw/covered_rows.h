// A shape's sub-pixel rows, gathered pixel row by pixel row, so that pixels which several of them cover in full are
// read, changed and written once. The pixels come out as if every run had been drawn by itself, in the order in which
// they came.
#pragma once

#include "qel/image/image.h"
#include "qel/lines/coverage.h"

class PQel::CoveredRows {
 public:
  /// For a shape within the sub-pixel rows lTop to lBottom.
  CoveredRows(PQel &image, long long llColor, long lTop, long lBottom);

  /// False when memory is short; then runs must be drawn one by one.
  bool IsReady() const { return m_pRows != nullptr; }

  /// Draws what was gathered, in the order of the store: memory is written fastest upwards.
  ~CoveredRows();
  CoveredRows(const CoveredRows &) = delete;
  CoveredRows &operator=(const CoveredRows &) = delete;

  /// False where runs must be drawn one by one: nobody may watch the lines pass, and a line must come back as it was
  /// written.
  static bool Suits(const PQel &image);

  /// Takes the sub-pixels x1 to x2 of sub-pixel row y; what lies outside the image or the shape's rows is left out.
  void Add(long x1, long x2, long y);

 private:
  static constexpr int kMostRuns = 10;

  struct Row {
    long first, last;  // pixels under its runs, without a gap between them
    int runs;
    qel::lines::SubPixelRun run[kMostRuns];
  };
  void Draw(long y);

  PQel &m_image;
  const long long m_llColor;
  const int m_nChannels;
  const bool m_bMirror;   // a snapshot is kept, or was: its pages are saved before they change
  const bool m_bInPlace;  // the pixels can be changed where they lie
  const long m_lTop;      // the shape's pixel rows
  const long m_lBottom;
  PMem m_lines;  // where they cannot be changed in place: the current line and the base line
  PMem m_memRows;
  Row *m_pRows;  // of the shape's pixel rows
};
