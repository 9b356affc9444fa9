// Files through format libraries, and the opener of every kind of file.
//
// A library is loaded for one operation. It decodes into the image's store, or encodes from it, so no pixel passes
// through the line operations; the store is committed whole first, because a library knows nothing of guarded access.
// What must end with the operation (library, file, palette) is held by objects that end it on every way out.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <utility>

#include "qel/fileio/codec_header.h"
#include "qel/fileio/file_access.h"
#include "qel/image/image.h"
#include "qel/platform/kernel/file.h"
#include "qel/platform/kernel/module.h"
#include "qel/platform/kernel/profile.h"
#include "qel/platform/mfc/palette.h"

namespace qel::fileio {
namespace {

constexpr char kJpegLibrary[] = "zuljpg32.dll";
constexpr char kSettingsFile[] = "zulall.ini";
constexpr char kJpegSection[] = "JPEG";
constexpr char kQualityKey[] = "QFACTOR";
constexpr long kLargestSide = std::numeric_limits<short>::max();  // that a header record can tell
constexpr int kAllStores = 15;

// Transfer errors ----------------------------------------------------------------------------------------------------

thread_local std::string t_strTransferError;  // empty: none

// Owners -------------------------------------------------------------------------------------------------------------

class OpenedFile {
 public:
  OpenedFile(const char *pszName, UINT nStyle) : m_hFile(OpenFile(pszName, nullptr, nStyle)) {}
  ~OpenedFile() { Close(); }
  OpenedFile(const OpenedFile &) = delete;
  OpenedFile &operator=(const OpenedFile &) = delete;

  HFILE Get() const { return m_hFile; }
  bool IsOpen() const { return m_hFile != HFILE_ERROR; }
  /// False when the system reports that written data were lost.
  bool Close() {
    const HFILE hFile = std::exchange(m_hFile, HFILE_ERROR);
    return hFile == HFILE_ERROR || _lclose(hFile) == 0;
  }

 private:
  HFILE m_hFile;
};

/// A format library with the entry points for one direction.
class FormatLibrary {
 public:
  FormatLibrary(const char *pszName, const char *pszHeader, const char *pszTransfer)
      : m_hModule(LoadLibraryA(pszName)) {
    if (!m_hModule) return;
    m_pfnHeader = GetProcAddress(m_hModule, pszHeader);
    m_pfnTransfer = xFind<CodecTransfer>(pszTransfer);
    m_pfnSetWaitingCallback = xFind<CodecSetWaitingCallback>("zulSetWaitingCallback");
  }
  ~FormatLibrary() {
    if (m_hModule) FreeLibrary(m_hModule);
  }
  FormatLibrary(const FormatLibrary &) = delete;
  FormatLibrary &operator=(const FormatLibrary &) = delete;

  bool IsComplete() const { return m_pfnHeader && m_pfnTransfer && m_pfnSetWaitingCallback; }

  template <class Function>
  Function GetHeaderEntry() const {
    return reinterpret_cast<Function>(m_pfnHeader);
  }

  /// Moves the pixels of an image in linear layout. Whether they all came over shows only in the reason that is kept.
  void Transfer(HFILE hFile, PQel &image) const {
    tagLmmInfo info = {};
    image.UpdateBI();  // the library reads the order of the rows, the masks and the table from the store
    image.GetLmmInfo(&info);
    m_pfnSetWaitingCallback([](LONG, LONG, LONG) { return 0; });
    m_pfnTransfer(hFile, &info, static_cast<WORD>(image.GetLmmOffset()));
    m_pfnSetWaitingCallback(nullptr);
    KeepError();
  }

  /// Keeps the library's reason for a save that it refused or a transfer that it did not finish.
  void KeepError() const {
    const auto pfnError = xFind<CodecTransferError>("zulTransferError");
    const char *const pszError = pfnError ? pfnError() : nullptr;
    if (pszError) t_strTransferError = *pszError ? pszError : "the picture is incomplete";
  }

 private:
  template <class Function>
  Function xFind(const char *pszName) const {
    return reinterpret_cast<Function>(GetProcAddress(m_hModule, pszName));
  }

  HINSTANCE m_hModule;
  FARPROC m_pfnHeader = nullptr;
  CodecTransfer m_pfnTransfer = nullptr;
  CodecSetWaitingCallback m_pfnSetWaitingCallback = nullptr;
};

// Saving -------------------------------------------------------------------------------------------------------------

CodecImageHeader MakeHeader(const PQel &image, HPALETTE hPal) {
  return {.nImageType = static_cast<short>(image.GetImageType()),
          .nWidth = static_cast<short>(image.GetImageWidth()),
          .nHeight = static_cast<short>(image.GetImageHeight()),
          .nLineBytes = static_cast<short>(image.GetLineBytes()),
          .nBitCount = static_cast<short>(image.GetBitCount()),
          .nDpiX = DotsPerInch(image.GetDpmX()),
          .nDpiY = DotsPerInch(image.GetDpmY()),
          .nConstant14 = 3,
          .hPalette = hPal,
          .lConstant20 = -1,
          .lConstant24 = -1,
          .nConstant28 = 6,
          .lConstant32 = 1};
}

/// Removes what a failed save leaves behind. A device stays, and so does a file that the user has protected.
void RemovePartlyWritten(const char *pszName) {
  struct stat status;
  if (stat(pszName, &status) == 0 && S_ISREG(status.st_mode) && access(pszName, W_OK) == 0) DeleteFileA(pszName);
}

// Names --------------------------------------------------------------------------------------------------------------

/// The format library of a name's extension, beside the running executable; empty without an extension.
std::string LibraryOf(const char *pszName) {
  if (!HasExtension(pszName)) return {};
  return kernel::FolderOf(kernel::ModulePath(nullptr)) + "zul" + (std::strrchr(pszName, '.') + 1) + "32.dll";
}

}  // namespace
}  // namespace qel::fileio

using namespace qel::fileio;

const char *GetCodecTransferError() {
  return t_strTransferError.empty() ? nullptr : t_strTransferError.c_str();
}

// Through one library ------------------------------------------------------------------------------------------------

int PQel::OpenImage(const char *pszName, const char *pszLibrary) {
  t_strTransferError.clear();
  if (!pszName || !pszLibrary) return 0;
  const FormatLibrary library(pszLibrary, "zulReadHeader", "zulReadDIBImg");
  if (!library.IsComplete()) return 0;
  DeleteImage(1);
  const OpenedFile file(pszName, OF_READ);
  if (!file.IsOpen()) return 0;

  CodecImageHeader header = {};
  const int bKnown = library.GetHeaderEntry<CodecReadHeader>()(file.Get(), &header, 1);
  CPalette palette;
  palette.Attach(header.hPalette);
  if (!bKnown) return 0;
  if (!CreateImage(header.nImageType, header.nWidth, header.nHeight, 0, nullptr, 0, 0, kAllStores, 0, 0)) return 0;
  if (!CommitStore()) {
    DeleteImage(1);
    return 0;
  }
  library.Transfer(file.Get(), *this);
  if (palette.GetSafeHandle()) SetPalette(static_cast<HPALETTE>(palette.Detach()), 1);
  return 1;
}

int PQel::SaveImage(const char *pszName, const char *pszLibrary) {
  t_strTransferError.clear();
  if (!pszName || !pszLibrary || IsEmpty()) return 0;
  if (GetImageWidth() > kLargestSide || m_lHeight > kLargestSide) return 0;
  const FormatLibrary library(pszLibrary, "zulSaveHeader", "zulSaveDIBImg");
  if (!library.IsComplete()) return 0;
  PQel linear;
  if (m_bBlock) {
    const int bRepeat = std::exchange(m_bRepeat, 0);  // a repeating image reads as the plane, its rows may be shifted
    const int bCopied = linear.GenerateImage(this, kAllStores, 0, 0);
    m_bRepeat = bRepeat;
    if (!bCopied) return 0;
  }
  PQel &image = m_bBlock ? linear : *this;
  if (!image.CommitStore()) return 0;

  CPalette palette;
  palette.Attach(image.GetPalette(nullptr));
  OpenedFile file(pszName, OF_CREATE | OF_READWRITE);
  CodecImageHeader header = MakeHeader(image, palette);
  const auto pfnSaveHeader = library.GetHeaderEntry<CodecSaveHeader>();
  if (!file.IsOpen() || !pfnSaveHeader(file.Get(), &header, palette.GetSafeHandle() != nullptr, 0)) {
    if (file.IsOpen()) library.KeepError();
    file.Close();
    RemovePartlyWritten(pszName);
    return 0;
  }
  library.Transfer(file.Get(), image);
  if (!file.Close() && t_strTransferError.empty()) t_strTransferError = "the file could not be written whole";
  return 1;
}

// JPEG ---------------------------------------------------------------------------------------------------------------

int PQel::LoadJPG(const char *pszName, int) {
  if (!pszName || !*pszName) return 0;
  if (OpenImage(pszName, kJpegLibrary)) return 1;
  return !HasExtension(pszName) && OpenImage(CString(pszName) + ".jpg", kJpegLibrary);
}

int PQel::SaveJPG(const char *pszName, int bAppendExtension) {
  if (!pszName || !*pszName) return 0;
  CString strName(pszName);
  if (bAppendExtension) strName += ".jpg";
  return SaveImage(strName, kJpegLibrary);
}

int PQel::SetJPGQuality(int nQuality) {
  const UINT nPrevious = GetPrivateProfileIntA(kJpegSection, kQualityKey, nQuality, kSettingsFile);
  char szValue[16];
  std::snprintf(szValue, sizeof szValue, "%d", nQuality);
  WritePrivateProfileStringA(kJpegSection, kQualityKey, szValue, kSettingsFile);
  return static_cast<int>(nPrevious);
}

// Any kind of file ---------------------------------------------------------------------------------------------------

int PQel::OpenImage(const char *pszName) {
  t_strTransferError.clear();
  if (!pszName) return 0;
  DeleteImage(1);
  if (OpenDIBImage(pszName)) return 1;
  const std::string library = LibraryOf(pszName);
  if (!library.empty() && OpenImage(pszName, library.c_str())) return 1;
  return LoadMask(pszName, 0) || LoadJPG(pszName, 0);
}

int PQel::OpenImage(char *pszName) {
  return OpenImage(static_cast<const char *>(pszName));
}
