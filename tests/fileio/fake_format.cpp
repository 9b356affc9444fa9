// A format library that lives up to its calls: "FAKE", type, width and height (16 bits each), then the rows as stored,
// top row first. It takes palettes and the store's lock from the engine that loads it.
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <functional>

#include "fileio/fake_format.h"
#include "qel/platform/gdi/palette.h"
#include "qel/platform/kernel/global_memory.h"

namespace {

constexpr char kMagic[] = {'F', 'A', 'K', 'E'};
CodecWaitingCallback g_pfnWaiting;

void Transfer(const char *pszCall, tagLmmInfo *pInfo, WORD wOffset,
              const std::function<ssize_t(BYTE *, size_t)> &move) {
  g_fake.calls += std::string(pszCall) + (g_pfnWaiting && g_pfnWaiting(1, 2, 3) == 0 ? "(waiting) " : "() ");
  g_fake.wMemKind = pInfo->wMemKind;
  const bool bHandle = pInfo->wMemKind == 1;
  auto *const pStore = static_cast<BYTE *>(bHandle ? GlobalLock(pInfo->pvMem) : pInfo->pvMem);
  const BITMAPINFOHEADER bih = *reinterpret_cast<BITMAPINFOHEADER *>(pStore);
  g_fake.store = bih;
  const long lRows = std::abs(bih.biHeight), lBytes = (long{bih.biWidth} * bih.biBitCount + 31) / 32 * 4;
  for (long y = 0; y < lRows; ++y) {
    if (y == 1 && g_fake.pszError) break;
    BYTE *const pRow = pStore + wOffset + (bih.biHeight < 0 ? y : lRows - 1 - y) * lBytes;
    if (pRow + lBytes > pStore + pInfo->dwSize || move(pRow, static_cast<size_t>(lBytes)) != lBytes)
      g_fake.calls += '!';
  }
  if (bHandle) GlobalUnlock(pInfo->pvMem);
}

}  // namespace

extern "C" {

QEL_API int zulReadHeader(HFILE hFile, CodecImageHeader *pHeader, int nOne) {
  g_fake.calls += "header(" + std::to_string(nOne) + (pHeader->hPalette ? ",palette) " : ") ");
  char magic[4] = {};
  const bool bRead = read(hFile, magic, 4) == 4 && read(hFile, pHeader, 6) == 6;
  const struct {
    WORD palVersion = 0x300, palNumEntries = 2;
    PALETTEENTRY palPalEntry[2] = {{10, 20, 30, 0}, {40, 50, 60, 0}};
  } palette;
  if (g_fake.bPalette) pHeader->hPalette = CreatePalette(reinterpret_cast<const LOGPALETTE *>(&palette));
  g_fake.header = *pHeader;
  return bRead && std::memcmp(magic, kMagic, 4) == 0 && g_fake.nHeaderResult;
}

QEL_API int zulSaveHeader(HFILE hFile, CodecImageHeader *pHeader, int bPalette, int nZero) {
  const UINT nColors = GetPaletteEntries(pHeader->hPalette, 0, 0, nullptr);
  g_fake.calls +=
      "header(" + std::to_string(bPalette) + "," + std::to_string(nZero) + "," + std::to_string(nColors) + ") ";
  g_fake.header = *pHeader;
  return write(hFile, kMagic, 4) == 4 && write(hFile, pHeader, 6) == 6 && g_fake.nHeaderResult;
}

QEL_API int zulReadDIBImg(HFILE hFile, tagLmmInfo *pInfo, WORD wOffset) {
  Transfer("read", pInfo, wOffset, [&](BYTE *p, size_t n) { return read(hFile, p, n); });
  return 0;
}

QEL_API int zulSaveDIBImg(HFILE hFile, tagLmmInfo *pInfo, WORD wOffset) {
  Transfer("write", pInfo, wOffset, [&](BYTE *p, size_t n) { return write(hFile, p, n); });
  return 0;
}

QEL_API const char *zulTransferError() {
  return g_fake.pszError;
}

#ifndef FAKE_WITHOUT_WAITING
QEL_API void zulSetWaitingCallback(CodecWaitingCallback pfn) {
  g_pfnWaiting = pfn;
  g_fake.calls += pfn ? "on " : "off ";
}
#endif
}
