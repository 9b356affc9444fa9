// The reader library's functions in an engine that is built without format libraries: no file can be read.
#include "qel/fileio/reader_library.h"

int AllReadHeader(const char *, BITMAPINFOHEADER *) {
  return 0;
}

HPALETTE AllReadPalette(const char *) {
  return nullptr;
}

int AllReadDIBImg(const char *, tagLmmInfo *, long, AllProgress) {
  return 0;
}

const char *AllGetError() {
  return "this engine was built without format libraries";
}

const char *AllFindFormat(const char *) {
  return nullptr;
}

int AllGetFormat(int, AllFormat *) {
  return 0;
}
