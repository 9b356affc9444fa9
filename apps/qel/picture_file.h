// Pictures from and to files, every failure told as a Failure that names the file and the reason.
#pragma once

#include <string>

#include "apps/qel/keeping.h"
#include "qel/image/image.h"

namespace app {

/// Throws a Failure for a name of anything but a file.
void RequireRegularFile(const std::string &path);

/// Reads a picture into an empty image that keeps it as asked.
void ReadPicture(const std::string &path, PQel &image, const Keeping &keeping);

/// Writes a picture. The file appears whole or not at all, and an old one stays as it was until then.
void WritePicture(PQel &image, const std::string &path);

}  // namespace app
