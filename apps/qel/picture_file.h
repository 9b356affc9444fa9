// Pictures from and to files, every failure told as a Failure that names the file and the reason.
#pragma once

#include <string>

#include "apps/qel/keeping.h"
#include "qel/image/image.h"

namespace app {

/// Throws a Failure for a name of anything but a file.
void RequireRegularFile(const std::string &path);

/// Reads a picture of any known format into an empty image that keeps it as asked; returns the format's name. A picture
/// that is not all there is read with a warning on standard error.
std::string ReadPicture(const std::string &path, PQel &image, const Keeping &keeping);

/// True for a file whose content is of a known format.
bool HoldsPicture(const std::string &path);

/// Writes a picture in the format of the name's extension, BMP without one. The file appears whole or not at all, and
/// an old one stays as it was until then.
void WritePicture(PQel &image, const std::string &path);

}  // namespace app
