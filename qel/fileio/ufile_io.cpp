// Opening pictures through the reader library: it describes the file, an image is made after that, and the library
// decodes into the image's store.
#include "qel/fileio/ufile_io.h"

#include <memory>

#include "qel/fileio/reader_library.h"
#include "qel/platform/kernel/file.h"
#include "qel/platform/kernel/module.h"
#include "qel/platform/kernel/resource.h"
#include "qel/platform/message_box.h"
#include "qel/platform/mfc/palette.h"
#include "qel/platform/mfc/thread.h"

namespace qel::fileio {
namespace {

constexpr int kAllStores = 15;
constexpr UINT kNoMemoryMessage = 131, kApplicationTitle = 0xE000;

/// An image on its way to the caller.
struct Opened {
  std::unique_ptr<PQel> image;  // null: none could be made
  CPalette palette;
  bool known = false;  // the reader library can read the file

  /// The image with its palette.
  PQel *Finish() {
    if (palette.GetSafeHandle()) image->SetPalette(static_cast<HPALETTE>(palette.Detach()), 1);
    return image.release();
  }
};

/// Makes an image after a file's header.
void OpenHeader(const CString &strPath, Opened &opened) {
  if (strPath.Find('.') < 0 || OpenFile(strPath, nullptr, OF_EXIST) == HFILE_ERROR) return;
  BITMAPINFOHEADER header = {};
  if (!AllReadHeader(strPath, &header)) return;
  opened.known = true;
  opened.palette.Attach(AllReadPalette(strPath));
  opened.image = std::make_unique<PQel>();
  if (!opened.image->CreateImage(PQel::GetImageType(header.biBitCount), header.biWidth, header.biHeight,
                                 static_cast<int>(header.biClrUsed), nullptr,
                                 static_cast<unsigned long>(header.biXPelsPerMeter),
                                 static_cast<unsigned long>(header.biYPelsPerMeter), kAllStores, 0, 1))
    opened.image.reset();
}

bool ReadPixels(const CString &strPath, PQel &image, AllProgress pfnProgress) {
  tagLmmInfo info = {};
  return image.CommitStore() && image.UpdateBI() && image.GetLmmInfo(&info) &&
         AllReadDIBImg(strPath, &info, image.GetLmmOffset(), pfnProgress);
}

void TellNoMemory() {
  const HINSTANCE hEngine = kernel::ModuleAt(reinterpret_cast<const void *>(&TellNoMemory));
  char szText[64], szTitle[256];
  LoadStringA(hEngine, kNoMemoryMessage, szText, sizeof szText);
  LoadStringA(nullptr, kApplicationTitle, szTitle, sizeof szTitle);
  CWinThread *const pThread = AfxGetThread();
  const CWnd *const pMainWnd = pThread ? pThread->GetMainWnd() : nullptr;
  MessageBoxA(pMainWnd ? pMainWnd->GetSafeHwnd() : nullptr, szText, szTitle, MB_OK | MB_ICONEXCLAMATION);
}

}  // namespace
}  // namespace qel::fileio

using namespace qel::fileio;

UFileIO::UFileIO() = default;
UFileIO::~UFileIO() = default;

int UFileIO::UFileIOInit() {
  return 1;
}

int UFileIO::UFileIOTerm() {
  return 1;
}

PQel *UFileIO::UFileOpen(CString strPath) {
  Opened opened;
  OpenHeader(strPath, opened);
  const auto pfnProgress = [](LONG, LONG, LONG) { return 0; };
  if (!opened.image || !ReadPixels(strPath, *opened.image, pfnProgress)) return nullptr;
  return opened.Finish();
}

PQel *UFileIO::UFileOpen(CString strPath, int *pnResult) {
  int nIgnored;
  int &nResult = pnResult ? *pnResult : nIgnored;
  nResult = -1;
  Opened opened;
  OpenHeader(strPath, opened);
  if (opened.known && !opened.image) TellNoMemory();
  if (!opened.image || !ReadPixels(strPath, *opened.image, nullptr)) return nullptr;
  nResult = 1;
  return opened.Finish();
}

PQel *UFileIO::UFileOpenHeader(CString strPath) {
  // The palette is attached, so that the image shows the file's colours when its pixels come from elsewhere.
  Opened opened;
  OpenHeader(strPath, opened);
  return opened.image ? opened.Finish() : nullptr;
}
