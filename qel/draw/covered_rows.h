// A shape's sub-pixel rows, gathered pixel row by pixel row, so that pixels which several of them cover in full are
// read, changed and written once. The pixels come out as if every run had been drawn by itself, in the order in which
// they came.
#pragma once

#include "qel/image/image.h"

class PQel::CoveredRows {
 public:
  CoveredRows(PQel &image, long long llColor);
  ~CoveredRows();
  CoveredRows(const CoveredRows &) = delete;
  CoveredRows &operator=(const CoveredRows &) = delete;

  /// False where runs must be drawn one by one: nobody may watch the lines pass, and a line must come back as it was
  /// written.
  static bool Suits(const PQel &image);

  /// Takes the sub-pixels x1 to x2 of sub-pixel row y.
  void Add(long x1, long x2, long y);

 private:
  static constexpr int kMostRuns = 16;

  struct Run {
    long x1, x2;
  };
  struct Row {
    long y = -1;  // pixel row
    int runs = 0;
    Run run[kMostRuns];
  };
  struct Line;

  Row &Find(long y);
  void DrawRuns(const Row &row, const Line &line, long lLast, long lFullFirst, long lFullEnd) const;
  void Draw(Row &row);
  void DrawPart(const Line &line, const Row &row, long lFirst, long lLast) const;

  PQel &m_image;
  const long long m_llColor;
  const int m_nChannels;
  const bool m_bInPlace;  // the pixels can be changed where they lie
  PMem m_lines;           // or else the current line and the base line
  Row m_rows[2];          // shapes grow from both ends
  int m_nOldest = 0;
};
