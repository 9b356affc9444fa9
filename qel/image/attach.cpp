// Attachment: packed DIBs of the caller, or of another process, become an image without a copy, and images leave as
// packed DIBs.
//
// A header that comes from outside is copied once and only the copy is trusted: it is measured against the memory it
// claims to describe before the image at hand is touched.
#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "qel/image/dib_layout.h"
#include "qel/image/image.h"
#include "qel/mem/mem_map_file.h"
#include "qel/mem/virtual_mem.h"
#include "qel/platform/kernel/global_memory.h"
#include "qel/platform/kernel/reserved_memory.h"

using namespace qel::image;

namespace {

constexpr size_t kMaxShareName = 15;

/// True when a reservation or a mapped view starts at `p`. A view stays mapped when the image that took it over goes.
bool StartsReservation(const void *p) {
  MEMORY_BASIC_INFORMATION info;
  return VirtualQuery(p, &info, sizeof info) == sizeof info && info.AllocationBase == p;
}

/// Checks the header of a packed DIB against the memory that holds it, repairs what may be left open in it (resolution,
/// image size, colour count), and measures the image. False for what is no plain header or claims more than there is.
bool CheckPackedInfo(PackedInfo *pInfo, unsigned long dwStoreSize, ImageMeasures *pMeasures) {
  BITMAPINFOHEADER &bih = pInfo->bih;
  if (dwStoreSize < static_cast<unsigned long>(kHeaderBytes) || !IsPlainHeader(bih)) return false;
  if (PQel::GetImageType(reinterpret_cast<BITMAPINFO *>(pInfo)) == 10) return false;
  if (bih.biClrUsed == 0 && bih.biBitCount < 9) bih.biClrUsed = 1U << bih.biBitCount;
  if (!MeasureImage({bih.biBitCount, bih.biWidth, bih.biHeight, bih.biCompression, bih.biClrUsed, 0, bih.biSize},
                    pMeasures))
    return false;
  if (static_cast<unsigned long>(pMeasures->lStoreBytes) > dwStoreSize) return false;
  bih.biSizeImage = static_cast<DWORD>(pMeasures->lLinearBytes);
  RepairResolution(&bih.biXPelsPerMeter, &bih.biYPelsPerMeter);
  return true;
}

/// A store that takes over the memory at `p`; null when it is refused.
template <class Store, class Memory>
std::unique_ptr<PMem> TakeOver(Memory p) {
  std::unique_ptr<Store> store(new (std::nothrow) Store);
  if (!store || !store->Attach(p)) return nullptr;
  return store;
}

}  // namespace

int PQel::xPrepareAttach(const PackedInfo &info, const ImageMeasures &measures) {
  DeleteImage(1);
  if (!xAllocHeader(measures)) return 0;
  std::memcpy(m_memBI.GetPointer(), &info, sizeof info);
  xSetHeaderPointers();
  m_nImageType = GetImageType(GetBI());
  return 1;
}

void PQel::xFinishAttach(PMem *pStore, int nMemType, int bUndo) {
  m_pMem = pStore;
  m_nMemType = nMemType;
  UpdateImageType();
  UpdateBI();
  EnableUndo(bUndo);
  InitialUpdate();
}

int PQel::Attach(BITMAPINFO *pbi) {
  auto *const pMemory = reinterpret_cast<unsigned char *>(pbi);
  const unsigned long dwSize = PMem::GetSize(pMemory);
  if (dwSize == 0 || xOwns(pbi)) return 0;
  const HGLOBAL hMem = GlobalHandle(pbi);
  if (hMem == nullptr && !StartsReservation(pbi)) return 0;
  PackedInfo info{};
  std::memcpy(&info, pMemory, std::min<size_t>(dwSize, sizeof info));
  ImageMeasures measures;
  if (!CheckPackedInfo(&info, dwSize, &measures)) return 0;

  const int bUndo = m_bUndo;
  if (!xPrepareAttach(info, measures)) return 0;
  std::unique_ptr<PMem> store =
      hMem != nullptr ? TakeOver<PMem, void *>(hMem) : TakeOver<PVirtualMem, unsigned char *>(pMemory);
  if (!store) {
    DeleteImage(1);
    return 0;
  }
  xFinishAttach(store.release(), hMem != nullptr ? 1 : 4, bUndo);
  return 1;
}

int PQel::Attach(void *hDIB) {
  void *const pDIB = GlobalLock(hDIB);
  if (pDIB == nullptr) return 0;
  const int nResult = Attach(static_cast<BITMAPINFO *>(pDIB));
  GlobalUnlock(hDIB);
  return nResult;
}

int PQel::Attach(char *pszShareName) {
  if (pszShareName == nullptr || *pszShareName == '\0') return 0;
  if (strnlen(pszShareName, kMaxShareName + 1) > kMaxShareName) return 0;
  const int bUndo = m_bUndo;
  DeleteImage(1);
  std::unique_ptr<PMemMapFile> store(new (std::nothrow) PMemMapFile);
  if (!store || !store->SetShareName(pszShareName)) return 0;
  if (store->AllocMemory(MEM_RESERVE, 1) == nullptr) return 0;
  const unsigned long dwSize = store->GetSize();
  if (dwSize == 1) return 0;  // made just now: there was none of that name

  // Another process may be writing: only this copy of the header counts.
  PackedInfo info{};
  if (!store->GetBlock(0, std::min<unsigned long>(dwSize, sizeof info), reinterpret_cast<unsigned char *>(&info)))
    return 0;
  ImageMeasures measures;
  if (!CheckPackedInfo(&info, dwSize, &measures) || !xPrepareAttach(info, measures)) return 0;
  xFinishAttach(store.release(), 8, bUndo);
  return 1;
}

void *PQel::Detach() {
  if (IsEmpty()) return nullptr;
  if (m_bBlock && !EnableBlock(0, 256)) return nullptr;
  if (!UpdateBI()) return nullptr;
  void *const hDIB = m_pMem->Detach();
  if (hDIB == nullptr) return nullptr;
  DeleteImage(1);
  return hDIB;
}
