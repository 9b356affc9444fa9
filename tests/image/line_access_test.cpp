// Rows and columns against a model that keeps the store as bytes and finds every pixel from the layout's definition:
// all depths, layouts, block sizes, storage orders and stores, random spans, buffers that end with the span.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <ostream>
#include <random>
#include <utility>
#include <vector>

#include "qel/platform/kernel/reserved_memory.h"
#include "support/pixels.h"
#include "support/probe.h"

namespace {

using Bytes = std::vector<unsigned char>;
using Pairs = std::vector<std::pair<long, long>>;

// Model --------------------------------------------------------------------------------------------------------------

struct Shape {
  int type;
  int memFlags;
  long blockSize;  // 0: linear layout
  bool topDown;
};

std::ostream &operator<<(std::ostream &out, const Shape &s) {
  return out << "type " << s.type << ", store " << s.memFlags << ", block " << s.blockSize
             << (s.topDown ? ", top-down" : ", bottom-up");
}

std::vector<Shape> AllShapes() {
  std::vector<Shape> all;
  for (int type : {0, 1, 2, 3, 6, 8, 9})
    for (long blockSize : {0, 8, 24, 256})
      for (bool topDown : {false, true})
        for (int memFlags : {0x001, 0x004, 0x104, 0x008}) all.push_back({type, memFlags, blockSize, topDown});
  return all;
}

/// An image, and its store as plain bytes beside it.
struct Modelled {
  test::Probe image;
  Bytes store;
  Shape shape;
  long width, height;
  int bits;
  CRect changed;

  Modelled(const Shape &s, long w, long h) : shape(s), width(w), height(h), bits(PQel::GetBitCount(s.type)) {
    if (s.blockSize != 0) image.m_lBlockSize = s.blockSize;
    EXPECT_EQ(test::Create(image, s.type, w, h, {s.memFlags, s.blockSize != 0, s.topDown}), 1) << s;
    std::mt19937 random(5);
    store.resize(image.GetImageSize());
    for (auto &by : store) by = static_cast<unsigned char>(random());
    EXPECT_EQ(image.m_pMem->PutBlock(0, store.size(), store.data()), 1);
    changed = image.m_rcInvalid;
  }

  /// Bit of a pixel in the store.
  long BitOf(long x, long y) const {
    const long start = image.GetLmmOffset() * 8;
    if (shape.blockSize == 0) {
      const long rowBits = (bits * width + 31) / 32 * 32;
      return start + (shape.topDown ? y : height - 1 - y) * rowBits + x * bits;
    }
    const long bs = shape.blockSize, across = (width + bs - 1) / bs;
    return start + ((y / bs * across + x / bs) * bs * bs + y % bs * bs + x % bs) * bits;
  }

  std::uint64_t Pixel(long x, long y) const {
    const long bit = BitOf(x, y);
    return test::GetPacked(store.data() + bit / 8, bits, bit % 8 / bits);
  }

  void SetPixel(long x, long y, std::uint64_t value) {
    const long bit = BitOf(x, y);
    test::SetPacked(store.data() + bit / 8, bits, bit % 8 / bits, value);
  }

  void Change(long left, long top, long right, long bottom) {
    changed.left = std::min(changed.left, static_cast<LONG>(left));
    changed.top = std::min(changed.top, static_cast<LONG>(top));
    changed.right = std::max(changed.right, static_cast<LONG>(right));
    changed.bottom = std::max(changed.bottom, static_cast<LONG>(bottom));
  }

  Bytes ImageStore() {
    Bytes bytes(store.size());
    EXPECT_EQ(image.m_pMem->GetBlock(0, bytes.size(), bytes.data()), 1);
    return bytes;
  }
};

/// A straight run of pixels.
struct Line {
  bool column;
  long fixed, first, last;
  long Count() const { return last - first + 1; }
  long X(long i) const { return column ? fixed : first + i; }
  long Y(long i) const { return column ? first + i : fixed; }
};

int Get(PQel &image, const Line &l, unsigned char *buf) {
  return l.column ? image.GetVerLine(l.fixed, l.first, l.last, buf) : image.GetHorLine(l.first, l.last, l.fixed, buf);
}

int Put(PQel &image, const Line &l, unsigned char *buf) {
  return l.column ? image.PutVerLine(l.fixed, l.first, l.last, buf) : image.PutHorLine(l.first, l.last, l.fixed, buf);
}

Line RandomLine(std::mt19937 &random, long width, long height) {
  const auto below = [&](long n) { return static_cast<long>(random() % static_cast<unsigned long>(n)); };
  Line l;
  l.column = random() % 2 != 0;
  const long along = l.column ? height : width;
  l.fixed = below(l.column ? width : height);
  l.first = random() % 4 ? below(along) : 0;
  l.last = random() % 4 ? l.first + below(along - l.first) : along - 1;
  return l;
}

/// Random bytes on a heap block of exactly the length of a line.
struct Buffer {
  long size;
  std::unique_ptr<unsigned char[]> bytes;

  Buffer(std::mt19937 &random, int bits, long pixels)
      : size(test::PackedBytes(bits, pixels)), bytes(new unsigned char[static_cast<std::size_t>(size)]) {
    for (long i = 0; i < size; ++i) bytes[static_cast<std::size_t>(i)] = static_cast<unsigned char>(random());
  }
  Bytes Copy() const { return Bytes(bytes.get(), bytes.get() + size); }
};

void CheckRead(Modelled &m, const Line &l, std::mt19937 &random) {
  Buffer buffer(random, m.bits, l.Count());
  Bytes want = buffer.Copy();
  if (l.column && m.bits == 1 && l.Count() % 8 != 0) want.back() = 0;  // columns of single bits clear what is behind
  for (long i = 0; i < l.Count(); ++i) test::SetPacked(want.data(), m.bits, i, m.Pixel(l.X(i), l.Y(i)));
  ASSERT_EQ(Get(m.image, l, buffer.bytes.get()), 1);
  ASSERT_EQ(buffer.Copy(), want) << m.shape << (l.column ? " column " : " row ") << l.fixed << ": " << l.first << ".."
                                 << l.last;
}

void CheckWrite(Modelled &m, const Line &l, std::mt19937 &random) {
  Buffer buffer(random, m.bits, l.Count());
  for (long i = 0; i < l.Count(); ++i) m.SetPixel(l.X(i), l.Y(i), test::GetPacked(buffer.bytes.get(), m.bits, i));
  m.Change(l.X(0), l.Y(0), l.X(l.Count() - 1) + 1, l.Y(l.Count() - 1) + 1);
  const Bytes before = buffer.Copy();
  ASSERT_EQ(Put(m.image, l, buffer.bytes.get()), 1);
  ASSERT_TRUE(m.ImageStore() == m.store) << m.shape << (l.column ? " column " : " row ") << l.fixed << ": " << l.first
                                         << ".." << l.last;
  ASSERT_EQ(buffer.Copy(), before) << "a write changed the caller's line";
  ASSERT_TRUE(m.changed == m.image.m_rcInvalid) << m.shape;
}

// Every layout and store ---------------------------------------------------------------------------------------------

class LineAccess : public testing::TestWithParam<int> {};

TEST_P(LineAccess, RandomSpans) {
  const int type = GetParam();
  std::mt19937 random(static_cast<unsigned>(type));
  for (const Shape &shape : AllShapes()) {
    if (shape.type != type) continue;
    for (const auto &[width, height] : Pairs{{83L, 61L}, {1L, 1L}, {300L, 5L}}) {
      Modelled m(shape, width, height);
      const int rounds = shape.blockSize == 256 ? 12 : 40;
      for (int i = 0; i < rounds; ++i) {
        ASSERT_NO_FATAL_FAILURE(CheckRead(m, RandomLine(random, width, height), random));
        ASSERT_NO_FATAL_FAILURE(CheckWrite(m, RandomLine(random, width, height), random));
      }
    }
  }
}

/// Lines longer than the portions that unaligned and column access work in.
TEST_P(LineAccess, LongLines) {
  const int type = GetParam();
  const long along = type == 0 ? 20011 : 5003;
  std::mt19937 random(static_cast<unsigned>(type));
  for (const bool tall : {false, true}) {
    for (const long blockSize : {0L, 8L, 24L}) {
      const long width = tall ? 11 : along, height = tall ? along : 3;
      Modelled m({type, 0x001, blockSize, false}, width, height);
      for (int i = 0; i < 12; ++i) {
        Line l = RandomLine(random, width, height);
        l.column = tall, l.fixed %= 3, l.first = i, l.last = along - 1 - i % 5;
        ASSERT_NO_FATAL_FAILURE(CheckRead(m, l, random));
        ASSERT_NO_FATAL_FAILURE(CheckWrite(m, l, random));
      }
    }
  }
}

TEST_P(LineAccess, WholeRows) {
  std::mt19937 random(3);
  for (const Shape &shape : AllShapes()) {
    if (shape.type != GetParam()) continue;
    Modelled m(shape, 37, 29);
    const long rowBytes = m.image.GetLineBytes();
    const long moved = shape.blockSize == 0 ? rowBytes : test::PackedBytes(m.bits, 37);
    const auto line = std::make_unique<unsigned char[]>(static_cast<std::size_t>(moved));
    for (const long y : {0L, 13L, 28L}) {
      for (long i = 0; i < moved; ++i) line[static_cast<std::size_t>(i)] = static_cast<unsigned char>(random());
      const Bytes written(line.get(), line.get() + moved);
      ASSERT_EQ(m.image.PutHorLine(y, line.get()), 1);
      if (shape.blockSize == 0)
        std::copy(written.begin(), written.end(), m.store.begin() + m.BitOf(0, y) / 8);
      else
        for (long x = 0; x < 37; ++x) m.SetPixel(x, y, test::GetPacked(written.data(), m.bits, x));
      ASSERT_TRUE(m.ImageStore() == m.store) << shape;
      ASSERT_EQ(m.image.GetHorLine(y, line.get()), 1);
      ASSERT_EQ(Bytes(line.get(), line.get() + moved), written) << shape << ": padding must come back in linear layout";
    }
  }
}

/// The image's own scratch line is a buffer like any other, at any alignment.
TEST_P(LineAccess, ScratchLineAsBuffer) {
  std::mt19937 random(8);
  for (const Shape &shape : AllShapes()) {
    if (shape.type != GetParam() || shape.memFlags != 1) continue;
    Modelled m(shape, 83, 61);
    for (int i = 0; i < 30; ++i) {
      const Line l = RandomLine(random, 83, 61);
      ASSERT_EQ(Get(m.image, l, m.image.m_pbyLineBuf), 1);
      for (long k = 0; k < l.Count(); ++k)
        ASSERT_EQ(test::GetPacked(m.image.m_pbyLineBuf, m.bits, k), m.Pixel(l.X(k), l.Y(k))) << shape;
      for (long k = 0; k < 512; ++k) m.image.m_pbyLineBuf[k] = static_cast<unsigned char>(random());
      for (long k = 0; k < l.Count(); ++k) m.SetPixel(l.X(k), l.Y(k), test::GetPacked(m.image.m_pbyLineBuf, m.bits, k));
      ASSERT_EQ(Put(m.image, l, m.image.m_pbyLineBuf), 1);
      ASSERT_TRUE(m.ImageStore() == m.store) << shape;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Types, LineAccess, testing::Values(0, 1, 2, 3, 6, 8, 9));

// What moves nothing -------------------------------------------------------------------------------------------------

struct HookCall {
  int event;
  long x0, y0, x1, y1;
  unsigned char *buf;
  bool operator==(const HookCall &) const = default;
};
std::vector<HookCall> g_calls;

void LogHook(PQel *, int event, long x0, long y0, long x1, long y1, unsigned char *buf) {
  g_calls.push_back({event, x0, y0, x1, y1, buf});
}

TEST(LineAccessLimits, EmptyImagesAndNullBuffers) {
  unsigned char line[64] = {};
  test::Probe empty;
  EXPECT_EQ(empty.GetHorLine(0, line) | empty.GetHorLine(0, 0, 0, line) | empty.GetVerLine(0, 0, 0, line), 0);
  EXPECT_EQ(empty.PutHorLine(0, line) | empty.PutHorLine(0, 0, 0, line) | empty.PutVerLine(0, 0, 0, line), 0);
  EXPECT_EQ(empty.GetHorLineSize(0, 9), 0);
  for (const long blockSize : {0L, 8L}) {
    for (const int type : {0, 2, 3, 1}) {
      Modelled m({type, 1, blockSize, false}, 10, 10);
      g_calls.clear();
      m.image.SetHookProc(LogHook);
      EXPECT_EQ(m.image.GetHorLine(0, nullptr) | m.image.GetHorLine(0, 1, 0, nullptr), 0);
      EXPECT_EQ(m.image.GetVerLine(0, 0, 1, nullptr) | m.image.PutVerLine(0, 0, 1, nullptr), 0);
      EXPECT_EQ(m.image.PutHorLine(0, nullptr) | m.image.PutHorLine(0, 1, 0, nullptr), 0);
      EXPECT_TRUE(g_calls.empty());
      EXPECT_TRUE(m.changed == m.image.m_rcInvalid);
      m.image.SetHookProc(nullptr);
    }
  }
}

TEST(LineAccessLimits, SpansOutsideAreRefusedAndRowsOutsideMoveNothing) {
  constexpr long kFar = 1L << 62;
  std::mt19937 random(1);
  for (const Shape &shape : AllShapes()) {
    Modelled m(shape, 20, 10);
    const Buffer buffer(random, 48, 20);
    const Bytes before = buffer.Copy();
    unsigned char *const buf = buffer.bytes.get();
    g_calls.clear();
    m.image.SetHookProc(LogHook);
    for (const auto &[first, last] : Pairs{{-1L, 3L}, {0L, 20L}, {-kFar, kFar}, {20L, 20L}, {kFar, kFar + 1}}) {
      EXPECT_EQ(m.image.GetHorLine(first, last, 4, buf) | m.image.PutHorLine(first, last, 4, buf), 0) << first;
      EXPECT_EQ(m.image.GetVerLine(4, first, last, buf) | m.image.PutVerLine(4, first, last, buf), 0) << first;
      EXPECT_EQ(m.image.GetVerLine(last + 20, 0, 1, buf) | m.image.PutVerLine(last + 20, 0, 1, buf), 0) << last;
    }
    EXPECT_EQ(m.image.GetVerLine(-1, 0, 1, buf) | m.image.PutVerLine(-1, 0, 1, buf), 0);
    EXPECT_EQ(m.image.GetVerLine(4, 0, 10, buf) | m.image.PutVerLine(4, 9, 10, buf), 0);
    EXPECT_TRUE(g_calls.empty());
    m.image.SetHookProc(nullptr);

    for (const long y : {-1L, 10L, kFar, -kFar}) {
      EXPECT_EQ(m.image.GetHorLine(0, 19, y, buf) & m.image.PutHorLine(0, 19, y, buf), 1) << y;
      EXPECT_EQ(m.image.GetHorLine(y, buf) & m.image.PutHorLine(y, buf), 1) << y;
    }
    for (const auto &[first, last] : Pairs{{5L, 4L}, {9L, 0L}, {0L, -1L}, {10L, 9L}}) {
      EXPECT_EQ(m.image.GetHorLine(first, last, 3, buf) & m.image.PutHorLine(first, last, 3, buf), 1) << first;
      EXPECT_EQ(m.image.GetVerLine(3, first, last, buf) & m.image.PutVerLine(3, first, last, buf), 1) << first;
    }
    EXPECT_EQ(buffer.Copy(), before);
    EXPECT_TRUE(m.ImageStore() == m.store) << shape;
    EXPECT_TRUE(m.image.m_rcInvalid == m.changed) << shape;
  }
}

// Hook ---------------------------------------------------------------------------------------------------------------

CRect g_changedAtCall;
std::vector<unsigned char> g_storeAtCall;

void LookHook(PQel *image, int event, long x0, long y0, long x1, long y1, unsigned char *buf) {
  LogHook(image, event, x0, y0, x1, y1, buf);
  image->GetInvalidateRect(&g_changedAtCall);
  PMem &store = *static_cast<test::Probe *>(image)->m_pMem;
  g_storeAtCall.resize(store.GetSize());
  store.GetBlock(0, store.GetSize(), g_storeAtCall.data());
}

TEST(LineAccessHook, ReadsAreToldAfterwardsAndWritesBeforehand) {
  const CRect neutral(2147483647, 2147483647, -2147483647 - 1, -2147483647 - 1);
  for (const int type : {0, 2, 3, 1}) {
    for (const long blockSize : {0L, 8L}) {
      Modelled m({type, 1, blockSize, false}, 20, 20);
      PQel &image = m.image;
      image.SetHookProc(LookHook);
      unsigned char line[128] = {};
      g_calls.clear();
      EXPECT_EQ(image.GetHorLine(3, 12, 7, line), 1);
      EXPECT_EQ(image.GetHorLine(7, line), 1);
      EXPECT_EQ(image.GetVerLine(5, 2, 9, line), 1);
      EXPECT_EQ(image.GetHorLine(3, 12, 20, line), 1);
      std::vector<HookCall> want = {
          {3, 3, 7, 12, 7, line}, {3, 0, 7, 19, 7, line}, {3, 5, 2, 5, 9, line}, {3, 3, 20, 12, 20, line}};
      EXPECT_EQ(g_calls, want);
      EXPECT_TRUE(image.GetImageSize() == g_storeAtCall.size() && g_changedAtCall == neutral);

      g_calls.clear();
      EXPECT_EQ(image.PutVerLine(5, 2, 9, line), 1);
      EXPECT_TRUE(g_changedAtCall == neutral && g_storeAtCall == m.store) << "a span's write is told before all else";
      EXPECT_TRUE(m.image.m_rcInvalid == CRect(5, 2, 6, 10));
      image.Validate();
      m.store = m.ImageStore();
      EXPECT_EQ(image.PutHorLine(3, 12, 7, line), 1);
      EXPECT_TRUE(g_changedAtCall == neutral && g_storeAtCall == m.store);
      EXPECT_TRUE(m.image.m_rcInvalid == CRect(3, 7, 13, 8));
      image.Validate();
      m.store = m.ImageStore();
      EXPECT_EQ(image.PutHorLine(7, line), 1);
      EXPECT_TRUE(g_storeAtCall == m.store);
      const CRect row(0, 7, 20, 8);
      EXPECT_TRUE(g_changedAtCall == (blockSize == 0 ? row : neutral))
          << "a whole linear row grows the rectangle first";
      EXPECT_TRUE(m.image.m_rcInvalid == row);
      EXPECT_EQ(image.PutHorLine(3, 12, -1, line), 1);
      want = {{4, 5, 2, 5, 9, line}, {4, 3, 7, 12, 7, line}, {4, 0, 7, 19, 7, line}, {4, 3, -1, 12, -1, line}};
      EXPECT_EQ(g_calls, want);
      EXPECT_TRUE(m.image.m_rcInvalid == row);
      image.SetHookProc(nullptr);
    }
  }
}

void DeletingHook(PQel *image, int event, long, long, long, long, unsigned char *) {
  if (event == 4) image->DeleteImage(1);
}

TEST(LineAccessHook, MayDeleteTheImageItIsToldAbout) {
  unsigned char line[128] = {};
  for (const int form : {0, 1, 2}) {
    Modelled m({1, 1, 0, false}, 20, 20);
    m.image.SetHookProc(DeletingHook);
    const int result = form == 0   ? m.image.PutHorLine(3, line)
                       : form == 1 ? m.image.PutHorLine(0, 5, 3, line)
                                   : m.image.PutVerLine(3, 0, 5, line);
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(m.image.IsEmpty());
  }
}

// Undo ---------------------------------------------------------------------------------------------------------------

/// Writing a sub-byte column saves the pages that hold its pixels and no others, and undo brings them back.
TEST(LineAccessUndo, ColumnsSaveTheirOwnPages) {
  for (const auto &[type, width] : std::vector<std::pair<int, long>>{{0, 120000L}, {0, 900L}, {2, 30000L}}) {
    Modelled m({type, 1, 0, false}, width, 12);
    ASSERT_EQ(m.image.EnableUndo(1), 1);
    unsigned char line[16] = {0x5A, 0xA5, 0x3C, 0xC3, 0x5A, 0xA5, 0x3C, 0xC3};
    const long x = width / 2 + 1;
    ASSERT_EQ(m.image.PutVerLine(x, 2, 9, line), 1);
    const auto page = static_cast<long>(PMem::GetPageSize());
    const auto *const mirror = reinterpret_cast<PMem *>(m.image.m_pMem->GetMirrorMem());
    for (long p = 0; p * page < static_cast<long>(m.store.size()); ++p) {
      bool holds = false;
      for (long y = 2; y <= 9; ++y) holds |= m.BitOf(x, y) / 8 / page == p;
      EXPECT_EQ(qel::kernel::ArePagesCommitted(mirror->GetPointer(), static_cast<std::size_t>(p * page), 1), holds)
          << "width " << width << ", page " << p;
    }
    EXPECT_TRUE(m.ImageStore() != m.store);
    EXPECT_EQ(m.image.DoUndo(), 1);
    EXPECT_TRUE(m.ImageStore() == m.store);
  }
}

}  // namespace
