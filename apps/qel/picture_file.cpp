// Reading and writing pictures by name. The library answers a picture that it cannot read with 0; the headers are
// looked at once more then, to tell why.
#include "apps/qel/picture_file.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "apps/qel/failure.h"
#include "apps/qel/output_file.h"

namespace app {
namespace {

constexpr const char *kOutOfMemory = "out of memory";
constexpr const char *kCutShort = "is cut short within its headers";

/// A little-endian field of a header.
template <class Field>
Field FieldAt(const unsigned char *header, int offset) {
  Field field;
  std::memcpy(&field, header + offset, sizeof(field));
  return field;
}

/// Why the library does not read a file.
std::string WhyNotRead(CFile &file) {
  unsigned char header[54] = {};
  file.Seek(0, CFile::begin);
  const UINT held = file.Read(header, sizeof(header));
  if (held < 2 || header[0] != 'B' || header[1] != 'M') return "is not a BMP file";
  if (held < 18) return kCutShort;
  const auto headerBytes = FieldAt<DWORD>(header, 14);
  if (headerBytes < 40) return "has a header of " + std::to_string(headerBytes) + " bytes, 40 at least are read";
  if (held < sizeof(header)) return kCutShort;

  const auto width = FieldAt<LONG>(header, 18), height = FieldAt<LONG>(header, 22);
  const auto bits = FieldAt<WORD>(header, 28);
  const auto compression = FieldAt<DWORD>(header, 30), clrUsed = FieldAt<DWORD>(header, 46);
  if (FieldAt<DWORD>(header, 2) == 0) return "has a file-size field of 0";
  if (compression != BI_RGB && compression != BI_BITFIELDS) return "holds compressed rows, which are not read";
  if (PQel::GetImageType(bits) == 10) return "has " + std::to_string(bits) + " bits a pixel, which is not read";
  if (width < 1 || height == 0)
    return "has no size: " + std::to_string(width) + " x " + std::to_string(height) + " pixels";
  if (clrUsed > 256) return "has a colour table of " + std::to_string(clrUsed) + " entries, 256 at most are read";
  const std::uint64_t colours = clrUsed == 0 && bits <= 8 ? std::uint64_t{1} << bits : clrUsed;
  const std::uint64_t masks = compression == BI_BITFIELDS ? 12 : 0;
  return file.GetLength() < 14 + headerBytes + masks + 4 * colours ? kCutShort : kOutOfMemory;
}

}  // namespace

/// Folders and devices open like files on some systems, so they are told apart beforehand.
void RequireRegularFile(const std::string &path) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) throw Failure(path, std::strerror(errno));
  if (S_ISDIR(status.st_mode)) throw Failure(path, "is a folder");
  if (!S_ISREG(status.st_mode)) throw Failure(path, "is not a regular file");
}

void ReadPicture(const std::string &path, PQel &image, const Keeping &keeping) {
  RequireRegularFile(path);
  WithFile(path, [&] {
    CFile file;
    CFileException problem;
    if (!file.Open(path.c_str(), CFile::modeRead | CFile::shareDenyWrite, &problem))
      throw Failure(path, ReasonOf(problem));
    if (!image.ReadDIBFile(file, keeping.store, keeping.block, 0)) throw Failure(path, WhyNotRead(file));
    file.Close();
  });
}

void WritePicture(PQel &image, const std::string &path) {
  WithFile(path, [&] {
    OutputFile output(path);
    if (!image.WriteDIBFile(output.File())) throw Failure(path, kOutOfMemory);
    output.Commit();
  });
}

}  // namespace app
