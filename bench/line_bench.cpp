// Rows and columns of images of every depth, in both layouts, beside memcpy of the same bytes and bare strided loops.
//
// Rows: one run moves every row of the image, from or to one line buffer. Columns: one run moves one column, the next
// run the next column. In linear layout the yardstick works on the image's own store; in block layout on a linear
// buffer of the same size. Below 8 bits a pixel the bare loops move the byte that holds the pixel.
#include <memory>
#include <string>
#include <vector>

#include "pair.h"
#include "support/probe.h"

namespace {

using bench::PlainCopy;
using bench::Repeat;
using bench::Touch;

struct Depth {
  int bits;
  int type;
};
constexpr Depth kDepths[] = {{1, 0}, {4, 2}, {8, 3}, {16, 7}, {24, 1}, {32, 8}, {48, 9}};

/// An image and what stands for it on the yardstick's side.
struct Bed {
  test::Probe image;
  std::vector<unsigned char> plain;  // in block layout: the rows, one after the other
  std::vector<unsigned char> line;
  unsigned char *rows = nullptr;
  long width = 0;
  long height = 0;
  long lineBytes = 0;
  std::size_t rowBytes = 0;  // without padding
  long x = 0;                // the column that is next
};

std::shared_ptr<Bed> MakeBed(Depth depth, long lWidth, long lHeight, bool isBlock) {
  auto bed = std::make_shared<Bed>();
  bed->image.CreateImage(depth.type, lWidth, lHeight, 0, nullptr, 2835, 2835, 1, isBlock, 0);
  bed->width = lWidth;
  bed->height = lHeight;
  bed->lineBytes = (lWidth * depth.bits + 31) / 32 * 4;
  bed->rowBytes = static_cast<std::size_t>((lWidth * depth.bits + 7) / 8);
  bed->line.assign(static_cast<std::size_t>(std::max(bed->lineBytes, lHeight * 6)) + 64, 0x5A);
  for (long y = 0; y < lHeight; ++y) bed->image.PutHorLine(y, bed->line.data());
  if (isBlock) bed->plain.assign(static_cast<std::size_t>(bed->lineBytes * lHeight), 0x5A);
  bed->rows = isBlock ? bed->plain.data() : bed->image.m_pMem->GetPointer() + bed->image.m_lLmmOffset;
  return bed;
}

bench::Works Rows(const std::shared_ptr<Bed> &bed, bool isWrite) {
  Bed *p = bed.get();
  const auto engine = [p, bed, isWrite] {
    for (long y = 0; y < p->height; ++y) {
      if (isWrite) {
        p->image.PutHorLine(y, p->line.data());
      } else {
        p->image.GetHorLine(y, p->line.data());
      }
      Touch(p->line.data());
    }
  };
  const auto yardstick = [p, bed, isWrite] {
    // Row 0 lies last in the store, so both sides walk it the same way.
    for (long y = p->height - 1; y >= 0; --y) {
      unsigned char *row = p->rows + y * p->lineBytes;
      PlainCopy(isWrite ? row : p->line.data(), isWrite ? p->line.data() : row, p->rowBytes);
      Touch(p->line.data());
    }
  };
  return {Repeat(engine), Repeat(yardstick)};
}

template <int nBytes>
struct Unit {
  unsigned char by[nBytes];
};

template <int nBytes>
__attribute__((noinline)) void StridedRead(unsigned char *pDst, const unsigned char *pSrc, long lStride, long lCount) {
  for (long l = 0; l < lCount; ++l, pDst += nBytes, pSrc += lStride) {
    *reinterpret_cast<Unit<nBytes> *>(pDst) = *reinterpret_cast<const Unit<nBytes> *>(pSrc);
  }
}

template <int nBytes>
__attribute__((noinline)) void StridedWrite(unsigned char *pDst, const unsigned char *pSrc, long lStride, long lCount) {
  for (long l = 0; l < lCount; ++l, pDst += lStride, pSrc += nBytes) {
    *reinterpret_cast<Unit<nBytes> *>(pDst) = *reinterpret_cast<const Unit<nBytes> *>(pSrc);
  }
}

using Strided = void (*)(unsigned char *, const unsigned char *, long, long);

Strided StridedFor(int nBits, bool isWrite) {
  switch (nBits) {
    case 16:
      return isWrite ? StridedWrite<2> : StridedRead<2>;
    case 24:
      return isWrite ? StridedWrite<3> : StridedRead<3>;
    case 32:
      return isWrite ? StridedWrite<4> : StridedRead<4>;
    case 48:
      return isWrite ? StridedWrite<6> : StridedRead<6>;
    default:
      return isWrite ? StridedWrite<1> : StridedRead<1>;
  }
}

bench::Works Columns(const std::shared_ptr<Bed> &bed, int nBits, bool isWrite) {
  Bed *p = bed.get();
  const auto next = [p] {
    const long x = p->x;
    p->x = x + 1 == p->width ? 0 : x + 1;
    return x;
  };
  const auto engine = [p, bed, next, isWrite] {
    const long x = next();
    if (isWrite) {
      p->image.PutVerLine(x, 0, p->height - 1, p->line.data());
    } else {
      p->image.GetVerLine(x, 0, p->height - 1, p->line.data());
    }
    Touch(p->line.data());
  };
  const auto yardstick = [p, bed, next, nBits, isWrite, strided = StridedFor(nBits, isWrite)] {
    unsigned char *top = p->rows + (p->height - 1) * p->lineBytes + next() * nBits / 8;
    strided(isWrite ? top : p->line.data(), isWrite ? p->line.data() : top, -p->lineBytes, p->height);
    Touch(p->line.data());
  };
  return {Repeat(engine), Repeat(yardstick)};
}

/// The highest good ratio; 0 where none is set.
double LimitFor(int nBits, bool isLarge, bool isBlock, bool isWrite, bool isColumn) {
  if (nBits != 24 || !isLarge || isWrite) return 0;
  if (isColumn) return isBlock ? 0 : 1.3;
  return isBlock ? 1 / 0.70 : 1 / 0.85;
}

void AddLines(bool isLarge, bool isBlock) {
  const long lWidth = isLarge ? 4096 : 16;
  const long lHeight = isLarge ? 3072 : 16;
  for (const bool isColumn : {false, true}) {
    for (const bool isWrite : {false, true}) {
      for (const Depth depth : kDepths) {
        const std::string name = std::string("lines/") + (isColumn ? "column " : "rows ") +
                                 (isWrite ? "write " : "read ") + (isLarge ? "4096x3072 " : "16x16 ") +
                                 (isBlock ? "block " : "linear ") + std::to_string(depth.bits) + "-bit";
        const auto bytes = static_cast<std::size_t>((isColumn ? 1 : lWidth) * lHeight * depth.bits / 8);
        bench::AddPair({name, LimitFor(depth.bits, isLarge, isBlock, isWrite, isColumn), bytes, [=] {
                          const auto bed = MakeBed(depth, lWidth, lHeight, isBlock);
                          return isColumn ? Columns(bed, depth.bits, isWrite) : Rows(bed, isWrite);
                        }});
      }
    }
  }
}

/// The smallest span that tools read: 16 pixels of one byte.
bench::Works ShortSpan() {
  const auto bed = MakeBed({8, 3}, 16, 16, false);
  Bed *p = bed.get();
  return {Repeat([p, bed] {
            p->image.GetHorLine(0, 15, 5, p->line.data());
            Touch(p->line.data());
          }),
          Repeat([p, bed] {
            PlainCopy(p->line.data(), p->rows + 10 * p->lineBytes, 16);
            Touch(p->line.data());
          })};
}

const bench::PairsAtStart g_pairs([] {
  bench::AddPair({"lines/span of 16 bytes : memcpy", 6, 16, ShortSpan});
  for (const bool isLarge : {true, false}) {
    for (const bool isBlock : {false, true}) AddLines(isLarge, isBlock);
  }
});

}  // namespace
