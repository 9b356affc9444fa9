// PMem's guarded operations, shared by all stores.
//
// Each checks its range, tells the mirror what it is about to overwrite, has the store commit what it touches, and then
// moves the bytes with one line function inside one guard. A fault there (a caller's buffer that is gone, a page that
// cannot be had) ends the operation with 0; the bytes written before it stay.
#include <algorithm>
#include <climits>
#include <cstring>

#include "qel/lines/run_fill.h"
#include "qel/lines/strided.h"
#include "qel/mem/mem.h"
#include "qel/mem/mirror_mem.h"
#include "qel/platform/kernel/reserved_memory.h"

namespace {

/// Has the store commit a range inside the block. A global block is always there, so that it is spared the call.
inline bool Touch(PMem &mem, unsigned long dwOffset, unsigned long dwCount) {
  return mem.GetHandle() != nullptr || mem.CommitMemory(dwOffset, dwCount) != nullptr;
}

/// Tells the mirror about a coming write. Whether it could save the pages decides nothing. Most writes meet pages that
/// are saved already; they get by with a look at the mirror's page states instead of a call.
inline void Notice(PMem &mem, unsigned long dwOffset, unsigned long dwCount) {
  PMirrorMem *const mirror = mem.GetMirrorMem();
  if (mirror == nullptr || dwCount == 0) return;
  const bool inside = dwOffset < mirror->GetSize() && dwCount <= mirror->GetSize() - dwOffset;
  if (inside && qel::kernel::ArePagesCommitted(mirror->GetPointer(), dwOffset, dwCount)) return;
  mirror->CopySource(dwOffset, dwCount);
}

/// Fills with units of `dwUnit` bytes; `fill` writes a number of them to an address.
template <class Fill>
int FillUnits(PMem &mem, qel::kernel::FaultFilter filter, unsigned long dwOffset, unsigned long dwCount,
              unsigned long dwUnit, Fill fill) {
  if (dwOffset >= mem.GetSize()) return 0;
  const unsigned long count = std::min(dwCount, (mem.GetSize() - dwOffset) / dwUnit);
  Notice(mem, dwOffset, count * dwUnit);
  if (!Touch(mem, dwOffset, count * dwUnit)) return 0;
  unsigned char *const dst = mem.GetPointer() + dwOffset;
  return qel::kernel::Guarded(filter, &mem, [=] { fill(dst, count); });
}

// Strided ranges -----------------------------------------------------------------------------------------------------

/// The bytes from the lowest to the highest unit of a strided range.
struct Span {
  unsigned long offset;
  unsigned long count;
};

/// Finds the span of at least one unit; false when a unit leaves the block.
bool FindSpan(unsigned long dwSize, unsigned long dwOffset, unsigned long dwCount, unsigned long dwUnit, long lStride,
              Span *pSpan) {
  if (dwOffset > dwSize || dwUnit > dwSize || dwCount > (lStride != 0 ? dwSize : LONG_MAX)) return false;
  const __int128 reach = static_cast<__int128>(dwCount - 1) * lStride;
  const __int128 low = dwOffset + std::min<__int128>(reach, 0);
  const __int128 high = dwOffset + std::max<__int128>(reach, 0) + dwUnit;
  if (low < 0 || high > dwSize) return false;
  *pSpan = {static_cast<unsigned long>(low), static_cast<unsigned long>(high - low)};
  return true;
}

/// Has the store commit the pages that the units touch, and none between them.
bool TouchUnits(PMem &mem, const Span &span, unsigned long dwOffset, unsigned long dwCount, unsigned long dwUnit,
                long lStride) {
  if (mem.GetHandle() != nullptr) return true;
  if (mem.IsKindOf(RUNTIME_CLASS(PVirtualMem)) &&
      qel::kernel::ArePagesCommitted(mem.GetPointer(), span.offset, span.count)) {
    return true;  // the usual case of a column in a filled image: one look instead of one a unit
  }
  for (unsigned long i = 0; i < dwCount; ++i) {
    if (mem.CommitMemory(dwOffset + i * static_cast<unsigned long>(lStride), dwUnit) == nullptr) return false;
  }
  return true;
}

}  // namespace

// Faults -------------------------------------------------------------------------------------------------------------

int PMem::xFilterFault(void *pMem, _EXCEPTION_POINTERS *pFault) {
  return static_cast<PMem *>(pMem)->ExpFilter(pFault);
}

int PMem::ExpFilter(_EXCEPTION_POINTERS *pFault) {
  if (pFault == nullptr || pFault->ExceptionRecord == nullptr) return EXCEPTION_EXECUTE_HANDLER;
  const EXCEPTION_RECORD &record = *pFault->ExceptionRecord;
  if (record.ExceptionCode != EXCEPTION_ACCESS_VIOLATION) return EXCEPTION_EXECUTE_HANDLER;
  const std::uintptr_t base = reinterpret_cast<std::uintptr_t>(m_pbyMem);
  const std::uintptr_t address = record.ExceptionInformation[1];
  if (address < base || address - base >= m_dwSize) return EXCEPTION_EXECUTE_HANDLER;
  return CommitMemory(m_pbyMem + (address - base)) ? EXCEPTION_CONTINUE_EXECUTION : EXCEPTION_EXECUTE_HANDLER;
}

// Bytes and blocks ---------------------------------------------------------------------------------------------------

unsigned char PMem::PeekByte(unsigned long dwOffset) {
  if (dwOffset >= m_dwSize || !Touch(*this, dwOffset, 1)) return 0;
  const unsigned char *const src = m_pbyMem + dwOffset;
  unsigned char by = 0;
  unsigned char *const dst = &by;
  if (!qel::kernel::Guarded(xFilterFault, this, [=] { *dst = *src; })) return 0;
  return by;
}

int PMem::PokeByte(unsigned long dwOffset, unsigned char by) {
  if (dwOffset >= m_dwSize) return 0;
  Notice(*this, dwOffset, 1);
  if (!Touch(*this, dwOffset, 1)) return 0;
  unsigned char *const dst = m_pbyMem + dwOffset;
  return qel::kernel::Guarded(xFilterFault, this, [=] { *dst = by; });
}

int PMem::GetBlock(unsigned long dwOffset, unsigned long dwCount, unsigned char *pDst) {
  if (dwCount == 0) return 1;
  if (pDst == nullptr || dwOffset > m_dwSize || dwCount > m_dwSize - dwOffset) return 0;
  if (!Touch(*this, dwOffset, dwCount)) return 0;
  const unsigned char *const src = m_pbyMem + dwOffset;
  return qel::kernel::Guarded(xFilterFault, this, [=] { std::memmove(pDst, src, dwCount); });
}

int PMem::PutBlock(unsigned long dwOffset, unsigned long dwCount, unsigned char *pSrc) {
  if (dwOffset >= m_dwSize) return 0;
  const unsigned long count = std::min(dwCount, m_dwSize - dwOffset);
  if (count == 0) return 1;
  if (pSrc == nullptr) return 0;
  Notice(*this, dwOffset, count);
  if (!Touch(*this, dwOffset, count)) return 0;
  unsigned char *const dst = m_pbyMem + dwOffset;
  return qel::kernel::Guarded(xFilterFault, this, [=] { std::memmove(dst, pSrc, count); });
}

int PMem::CopyBlock(PMem *pSrc, unsigned long dwDstOffset, unsigned long dwSrcOffset, unsigned long dwCount) {
  if (pSrc == nullptr) return 0;
  unsigned char *const src = pSrc->CommitMemory(dwSrcOffset, dwCount);
  return src != nullptr ? PutBlock(dwDstOffset, dwCount, src) : 0;
}

// Strided copies -----------------------------------------------------------------------------------------------------

int PMem::GetSkipBlock(unsigned long dwOffset, unsigned long dwCount, unsigned long dwUnit, long lStride,
                       unsigned char *pDst) {
  if (dwCount == 0 || dwUnit == 0) return 1;
  if (dwUnit == 2 || dwUnit == 4) lStride -= lStride % static_cast<long>(dwUnit);
  Span span;
  if (pDst == nullptr || !FindSpan(m_dwSize, dwOffset, dwCount, dwUnit, lStride, &span)) return 0;
  if (!TouchUnits(*this, span, dwOffset, dwCount, dwUnit, lStride)) return 0;
  const unsigned char *const src = m_pbyMem + dwOffset;
  return qel::kernel::Guarded(xFilterFault, this,
                              [=] { qel::lines::GatherStrided(pDst, src, dwCount, dwUnit, lStride); });
}

int PMem::PutSkipBlock(unsigned long dwOffset, unsigned long dwCount, unsigned long dwUnit, long lStride,
                       unsigned char *pSrc) {
  if (dwCount == 0 || dwUnit == 0) return 1;
  Span span;
  if (pSrc == nullptr || !FindSpan(m_dwSize, dwOffset, dwCount, dwUnit, lStride, &span)) return 0;
  if (m_pMirrorMem != nullptr) m_pMirrorMem->CopySourceSkipBlock(dwOffset, dwCount, dwUnit, lStride);
  if (!TouchUnits(*this, span, dwOffset, dwCount, dwUnit, lStride)) return 0;
  unsigned char *const dst = m_pbyMem + dwOffset;
  return qel::kernel::Guarded(xFilterFault, this,
                              [=] { qel::lines::ScatterStrided(dst, pSrc, dwCount, dwUnit, lStride); });
}

// Fills --------------------------------------------------------------------------------------------------------------

int PMem::SetBlock(unsigned long dwOffset, unsigned long dwCount, unsigned char by) {
  return FillUnits(*this, xFilterFault, dwOffset, dwCount, 1,
                   [by](unsigned char *dst, unsigned long count) { std::memset(dst, by, count); });
}

int PMem::SetBlockBYTE(unsigned long dwOffset, unsigned long dwCount, unsigned char by) {
  return SetBlock(dwOffset, dwCount, by);
}

int PMem::SetBlockWORD(unsigned long dwOffset, unsigned long dwCount, unsigned short w) {
  return FillUnits(*this, xFilterFault, dwOffset, dwCount, 2,
                   [w](unsigned char *dst, unsigned long count) { FillRunWord(dst, w, count); });
}

int PMem::SetBlockTRIO(unsigned long dwOffset, unsigned long dwCount, unsigned long dw) {
  return FillUnits(*this, xFilterFault, dwOffset, dwCount, 3,
                   [dw](unsigned char *dst, unsigned long count) { FillRunTrio(dst, dw, count); });
}

int PMem::SetBlockDWORD(unsigned long dwOffset, unsigned long dwCount, unsigned long dw) {
  return FillUnits(*this, xFilterFault, dwOffset, dwCount, 4,
                   [dw](unsigned char *dst, unsigned long count) { FillRunDword(dst, dw, count); });
}

int PMem::SetBlockDLONG(unsigned long dwOffset, unsigned long dwCount, long long ll) {
  return FillUnits(*this, xFilterFault, dwOffset, dwCount, 6,
                   [ll](unsigned char *dst, unsigned long count) { FillRunDlong(dst, ll, count); });
}

int PMem::ChangeBlock(unsigned long dwOffset, unsigned long dwCount,
                      void (*pfnChange)(unsigned char *line, long bytes)) {
  return FillUnits(*this, xFilterFault, dwOffset, dwCount, 1,
                   [pfnChange](unsigned char *dst, unsigned long count) { pfnChange(dst, static_cast<long>(count)); });
}
