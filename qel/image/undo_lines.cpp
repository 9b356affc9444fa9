// Lines of the undo image: the picture as it was at the snapshot, read from the mirror in place of the store. The
// mirror holds the same bytes at the same offsets and fills a page from the store when it is first read, so the plain
// line operations serve.

#include "qel/image/image.h"
#include "qel/mem/mirror_mem.h"

namespace {

/// Puts another block in the store's place for the length of one read.
class StoreSwap {
 public:
  StoreSwap(PMem *&store, PMem *other) : m_store(store), m_kept(store) { store = other; }
  ~StoreSwap() { m_store = m_kept; }
  StoreSwap(const StoreSwap &) = delete;
  StoreSwap &operator=(const StoreSwap &) = delete;

 private:
  PMem *&m_store;
  PMem *m_kept;
};

}  // namespace

int PQel::xReadUndo(LineOperation pfnRead, const LineSpan &span, unsigned char *pBuf) {
  if (m_pMem == nullptr) return 0;
  PMirrorMem *const pMirror = m_pMem->GetMirrorMem();
  if (pMirror == nullptr) return (this->*pfnRead)(span.a, span.b, span.c, pBuf);
  const StoreSwap swap(m_pMem, pMirror);
  return (this->*pfnRead)(span.a, span.b, span.c, pBuf);
}

int PQel::xGetUndoHorLine(long x0, long x1, long y, unsigned char *pBuf) {
  return xReadUndo(&PQel::GetHorLine, {x0, x1, y, false}, pBuf);
}

int PQel::xGetUndoVerLine(long x, long y0, long y1, unsigned char *pBuf) {
  return xReadUndo(&PQel::GetVerLine, {x, y0, y1, true}, pBuf);
}

// A 1-bit undo image reads index 1 as white whatever its colour table says.
int PQel::xGetUndoGrayHorLine(long x0, long x1, long y, unsigned char *pBuf) {
  return xReadGray(&PQel::xGetUndoHorLine, {x0, x1, y, false}, pBuf, nullptr, false);
}

int PQel::xGetUndoGrayVerLine(long x, long y0, long y1, unsigned char *pBuf) {
  return xReadGray(&PQel::xGetUndoVerLine, {x, y0, y1, true}, pBuf, nullptr, false);
}

int PQel::xGetUndo24bitHorLine(long x0, long x1, long y, unsigned char *pBuf) {
  return xRead24(&PQel::xGetUndoHorLine, {x0, x1, y, false}, pBuf, nullptr);
}

int PQel::xGetUndo24bitVerLine(long x, long y0, long y1, unsigned char *pBuf) {
  return xRead24(&PQel::xGetUndoVerLine, {x, y0, y1, true}, pBuf, nullptr);
}
