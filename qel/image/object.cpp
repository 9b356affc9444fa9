// The image object: construction and teardown, moving an image from one object to another, the header block and its
// copy at the start of the store, the anti-alias flag and the hook.
#include <algorithm>
#include <limits>

#include "qel/image/dib_layout.h"
#include "qel/image/image.h"

using namespace qel::image;

IMPLEMENT_DYNAMIC(PQel, CObject)
IMPLEMENT_DYNAMIC(PQelAccessory, PQel)

// Construction and teardown ------------------------------------------------------------------------------------------

PQel::PQel() : m_pMem(nullptr), m_pfnHook(nullptr) {
  DeleteImage(0);
}

PQel::~PQel() {
  DeleteImage(1);
}

void PQel::InitialUpdate() {
  constexpr LONG kMax = std::numeric_limits<LONG>::max(), kMin = std::numeric_limits<LONG>::min();
  m_rcInvalid.SetRect(kMax, kMax, kMin, kMin);
  if (m_pfnHook != nullptr) m_pfnHook(this, 1, 0, 0, 0, 0, nullptr);
}

void PQel::DeleteImage(int bFree) {
  if (m_pfnHook != nullptr) m_pfnHook(this, 2, 0, 0, 0, 0, nullptr);
  if (bFree) delete m_pMem;
  m_pMem = nullptr;
  m_nMemType = 1;
  m_nImageType = 10;
  m_lBlockSize = 256;
  m_lXBlocks = m_lYBlocks = m_lBlockBytes = 0;
  m_lHeight = m_lLmmOffset = m_lLineBytes = 0;
  m_pBIH = nullptr;
  m_pRGBQuad = nullptr;
  m_pbyLineBuf = nullptr;
  m_plBlockTable = nullptr;
  m_bBlock = m_bRepeat = m_bAntiAlias = m_bUndo = 0;
  m_lXRepeat = m_lYRepeat = 0;
  m_rcInvalid.SetRectEmpty();
  if (!m_memBI.IsEmpty()) m_memBI.FreeMemory();
  if (!m_memBlockTable.IsEmpty()) m_memBlockTable.FreeMemory();
}

void PQel::CopyObject(PQel *pSrc) {
  if (pSrc == nullptr || pSrc == this) return;
  if (!IsEmpty()) DeleteImage(1);  // what this image holds would be lost track of otherwise
  m_pMem = pSrc->m_pMem;
  m_nMemType = pSrc->m_nMemType;
  m_nImageType = pSrc->m_nImageType;
  m_lLmmOffset = pSrc->m_lLmmOffset;
  m_lHeight = pSrc->m_lHeight;
  m_lBlockSize = pSrc->m_lBlockSize;
  m_lLineBytes = pSrc->m_lLineBytes;
  m_bBlock = pSrc->m_bBlock;
  m_bRepeat = pSrc->m_bRepeat;
  m_bAntiAlias = pSrc->m_bAntiAlias;
  m_bUndo = pSrc->m_bUndo;
  m_lXRepeat = pSrc->m_lXRepeat;
  m_lYRepeat = pSrc->m_lYRepeat;
  m_lXBlocks = pSrc->m_lXBlocks;
  m_lYBlocks = pSrc->m_lYBlocks;
  m_lBlockBytes = pSrc->m_lBlockBytes;
  m_rcInvalid = pSrc->m_rcInvalid;
  // The pointers into both blocks are taken from the blocks again: only a locked handle has an address.
  const bool bTable = pSrc->m_plBlockTable != nullptr;
  m_memBI.Attach(pSrc->m_memBI.Detach());
  m_memBlockTable.Attach(pSrc->m_memBlockTable.Detach());
  if (m_memBI.GetPointer() != nullptr) xSetHeaderPointers();
  m_plBlockTable = bTable ? reinterpret_cast<long *>(m_memBlockTable.GetPointer()) : nullptr;
  pSrc->DeleteImage(0);
}

// Header block -------------------------------------------------------------------------------------------------------

int PQel::xAllocHeader(const ImageMeasures &measures) {
  m_lHeight = measures.lRows;
  m_lLineBytes = measures.lLineBytes;
  m_lLmmOffset = measures.lPixelOffset;
  const long lSize = std::max(m_lLineBytes, kMinScratchBytes) + kMaxInfoBytes;
  if (m_memBI.AllocMemory(GHND, static_cast<unsigned long>(lSize)) != nullptr) return 1;
  DeleteImage(1);
  return 0;
}

void PQel::xSetHeaderPointers() {
  unsigned char *const pHeader = m_memBI.GetPointer();
  m_pBIH = reinterpret_cast<BITMAPINFOHEADER *>(pHeader);
  const long lTable = ColorTableOffset(m_pBIH->biCompression);
  m_pRGBQuad = reinterpret_cast<RGBQUAD *>(pHeader + lTable);
  m_pbyLineBuf = pHeader + lTable + kMaxColors * 4;
}

int PQel::xOwns(const void *p) const {
  const auto lies_in = [p](const PMem &mem) {
    const auto address = reinterpret_cast<std::uintptr_t>(p), base = reinterpret_cast<std::uintptr_t>(mem.GetPointer());
    return base != 0 && address >= base && address - base < mem.GetSize();
  };
  return lies_in(m_memBI) || (m_pMem != nullptr && lies_in(*m_pMem));
}

int PQel::UpdateBI() {
  if (IsEmpty()) return 0;
  return m_pMem->PutBlock(0, static_cast<unsigned long>(m_lLmmOffset), m_memBI.GetPointer());
}

void *PQel::GetDIB() {
  if (IsEmpty() || !UpdateBI()) return nullptr;
  return m_pMem->GetHandle();
}

int PQel::GetLmmInfo(tagLmmInfo *pInfo) {
  if (pInfo == nullptr || IsEmpty() || m_bBlock) return 0;
  const bool bGlobal = m_nMemType == 1;
  pInfo->dwSize = m_pMem->GetSize();
  pInfo->wMemKind = bGlobal ? 1 : 2;
  pInfo->pvMem = bGlobal ? m_pMem->GetHandle() : m_pMem->GetPointer();
  return 1;
}

// Flags and hook -----------------------------------------------------------------------------------------------------

int PQel::EnableAntiAlias(int b) {
  m_bAntiAlias = 0;
  if (IsEmpty() || m_pBIH->biBitCount < 8 || m_nImageType == 3) return b == 0;
  m_bAntiAlias = b;
  return 1;
}

ImageHookProc PQel::SetHookProc(ImageHookProc pfn) {
  const ImageHookProc pfnOld = m_pfnHook;
  m_pfnHook = pfn;
  return pfnOld;
}
