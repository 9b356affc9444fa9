// An image's store as formats see it: where its rows lie, told by the header block at its start.
#pragma once

#include "codecs/common/format.h"
#include "qel/image/image.h"

namespace qel::codecs {

/// The store that a memory record describes, locked in memory for as long as this lives.
class Store {
 public:
  explicit Store(const tagLmmInfo &info);
  ~Store();
  Store(const Store &) = delete;
  Store &operator=(const Store &) = delete;

  /// Finds header block and rows, which begin at an offset; false when they are not sound or do not fit the store.
  bool Find(std::size_t offset);

  /// What Find found. The type of 16-bit pixels is told by the masks; no other type and no palette is told here.
  const BITMAPINFOHEADER &Header() const { return m_header; }
  const PixelRows &Rows() const { return m_rows; }
  bool Is555() const { return m_is555; }

 private:
  tagLmmInfo m_info;
  unsigned char *m_start;
  BITMAPINFOHEADER m_header = {};
  PixelRows m_rows = {};
  bool m_is555 = false;
};

/// Bytes that hold the pixels of a row, without its padding.
inline std::size_t RowBytes(const PixelRows &rows) {
  return (static_cast<std::size_t>(rows.width) * static_cast<std::size_t>(rows.bit_count) + 7) / 8;
}

/// The same rows with the bottom one first.
inline PixelRows UpsideDown(const PixelRows &rows) {
  return {rows.Row(rows.height - 1), -rows.stride, rows.width, rows.height, rows.bit_count, rows.is_own};
}

/// Sets whole rows from row y on to 0, padding included: those that a broken file did not bring.
void ClearRowsFrom(const PixelRows &rows, long y);

/// Sets the bits of every row that belong to no pixel to 0.
void ClearPadding(const PixelRows &rows);

}  // namespace qel::codecs
