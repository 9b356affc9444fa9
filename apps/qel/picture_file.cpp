// Reading pictures by content and writing them by extension. BMP and mask files are the library's own; all others go
// through its format libraries. The library answers a BMP file that it cannot read with 0; the headers are looked at
// once more then, to tell why.
#include "apps/qel/picture_file.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

#include "apps/qel/failure.h"
#include "apps/qel/formats.h"
#include "apps/qel/output_file.h"
#include "apps/qel/quality.h"
#include "qel/fileio/codec_header.h"
#include "qel/fileio/reader_library.h"
#include "qel/fileio/ufile_io.h"

namespace app {
namespace {

constexpr const char *kOutOfMemory = "out of memory";
constexpr long kLargestSide = 32767;  // that a format library is told of
constexpr const char *kCutShort = "is cut short within its headers";

/// A little-endian field of a header.
template <class Field>
Field FieldAt(const unsigned char *header, int offset) {
  Field field;
  std::memcpy(&field, header + offset, sizeof(field));
  return field;
}

/// The first two bytes of a file, which is at its start then.
std::string MagicOf(CFile &file) {
  char magic[2];
  file.Seek(0, CFile::begin);
  const UINT held = file.Read(magic, sizeof magic);
  file.Seek(0, CFile::begin);
  return {magic, held};
}

/// Why the library does not read a BMP file.
std::string WhyNotRead(CFile &file) {
  unsigned char header[54] = {};
  file.Seek(0, CFile::begin);
  const UINT held = file.Read(header, sizeof(header));
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

/// The picture can be used, but not all of it is there.
void Warn(const std::string &path, const std::string &reason) {
  Complain(Failure(path, "is incomplete: " + reason));
}

/// Rows that a BMP file does not hold were read as 0.
void WarnOfMissingRows(const std::string &path, CFile &file, const PQel &image) {
  unsigned char header[14];
  file.Seek(0, CFile::begin);
  if (file.Read(header, sizeof header) != sizeof header) return;
  const std::uint64_t start = FieldAt<DWORD>(header, 10), length = file.GetLength();
  const auto rowBytes = static_cast<std::uint64_t>(image.GetLineBytes());
  const auto rows = static_cast<std::uint64_t>(image.GetImageHeight());
  const std::uint64_t held = length > start ? (length - start) / rowBytes : 0;
  if (held < rows) Warn(path, "the file holds " + std::to_string(held) + " of " + std::to_string(rows) + " rows");
}

/// Moves a picture that was read into memory of the library's choice to where it is to be kept.
void Keep(const std::string &path, PQel &image, const Keeping &keeping) {
  if (image.GetMemType() == keeping.store && !keeping.block) return;
  PQel kept;
  if (!kept.GenerateImage(&image, keeping.store, keeping.block, 0)) throw Failure(path, kOutOfMemory);
  image.DeleteImage(1);
  image.CopyObject(&kept);
}

/// Reads a file through the format library that knows its content, and returns the format's name.
std::string ReadByContent(const std::string &path, CFile &file, PQel &image) {
  const char *const format = AllFindFormat(path.c_str());
  if (format == nullptr)
    throw Failure(path, MagicOf(file) == "BM" ? WhyNotRead(file) : "is no picture of a known format");
  // The reader takes paths with a dot alone.
  const std::string dotted = path[0] == '/' ? "/." + path : "./" + path;
  const std::unique_ptr<PQel> opened(UFileIO().UFileOpen(dotted.c_str()));
  const char *const problem = AllGetError();
  if (opened == nullptr) throw Failure(path, problem != nullptr ? problem : kOutOfMemory);
  if (problem != nullptr) Warn(path, problem);
  opened->EnableUndo(0);
  image.CopyObject(opened.get());
  return format;
}

}  // namespace

// Reading ------------------------------------------------------------------------------------------------------------

/// Folders and devices open like files on some systems, so they are told apart beforehand.
void RequireRegularFile(const std::string &path) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) throw Failure(path, std::strerror(errno));
  if (S_ISDIR(status.st_mode)) throw Failure(path, "is a folder");
  if (!S_ISREG(status.st_mode)) throw Failure(path, "is not a regular file");
}

std::string ReadPicture(const std::string &path, PQel &image, const Keeping &keeping) {
  RequireRegularFile(path);
  std::string format;
  WithFile(path, [&] {
    CFile file;
    CFileException problem;
    if (!file.Open(path.c_str(), CFile::modeRead | CFile::shareDenyWrite, &problem))
      throw Failure(path, ReasonOf(problem));
    if (image.ReadDIBFile(file, keeping.store, keeping.block, 0)) {
      WarnOfMissingRows(path, file, image);
      format = "BMP";
    } else if (const std::string magic = MagicOf(file); magic == "RV") {
      if (!image.ReadMaskFile(file)) throw Failure(path, "is a damaged mask file");
      Keep(path, image, keeping);
      format = "mask";
    } else {
      format = ReadByContent(path, file, image);
      Keep(path, image, keeping);
    }
    file.Close();
  });
  return format;
}

bool HoldsPicture(const std::string &path) {
  CFile file;
  if (!file.Open(path.c_str(), CFile::modeRead)) return false;
  const std::string magic = MagicOf(file);
  file.Close();
  return magic == "BM" || magic == "RV" || AllFindFormat(path.c_str()) != nullptr;
}

// Writing ------------------------------------------------------------------------------------------------------------

namespace {

/// Throws unless pictures are written to files of this extension.
void RequireWritable(const std::string &path, const std::string &extension) {
  std::string written;
  for (const Format &format : KnownFormats())
    for (const std::string &known : format.extensions) {
      if (known == extension && !format.writes) throw Failure(path, format.name + " files are read, not written");
      if (known == extension) return;
      if (format.writes) written.append(written.empty() ? "" : ", ").append(known);
    }
  throw Failure(path, "'" + extension + "' is the extension of no known format; written are " + written);
}

/// Writes to the passing file through the format library of an extension.
void WriteThroughLibrary(PQel &image, const std::string &path, const std::string &extension, OutputFile &output) {
  if (std::max(image.GetImageWidth(), image.GetImageHeight()) > kLargestSide)
    throw Failure(path, "only BMP files hold sides above " + std::to_string(kLargestSide) + " pixels");
  const QualityInSettings quality;
  const bool saved = image.SaveImage(output.CloseForOthers().c_str(), ("zul" + extension + "32.dll").c_str());
  const char *const problem = GetCodecTransferError();
  if (problem != nullptr || !saved) throw Failure(path, problem != nullptr ? problem : "cannot be written");
}

}  // namespace

void WritePicture(PQel &image, const std::string &path) {
  const std::string extension = ExtensionOf(path);
  const bool isBmp = extension.empty() || extension == "bmp" || extension == "dib";
  if (!isBmp) RequireWritable(path, extension);
  WithFile(path, [&] {
    OutputFile output(path);
    if (isBmp) {
      if (!image.WriteDIBFile(output.File())) throw Failure(path, kOutOfMemory);
    } else if (extension == "msk") {
      if (!image.WriteMaskFile(output.File())) throw Failure(path, "mask files hold no rows of more than 65535 bytes");
    } else {
      WriteThroughLibrary(image, path, extension, output);
    }
    output.Commit();
  });
}

}  // namespace app
