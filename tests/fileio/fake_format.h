// A format library for tests tells here what it was asked, and takes from here how it is to answer. The program that
// loads it defines the record and exports it.
#pragma once

#include <string>

#include "qel/fileio/codec_header.h"

struct FakeRecord {
  // How to answer.
  int nHeaderResult = 1;
  bool bPalette = false;           // reading: two colours, 0x0A141E and 0x28323C
  const char *pszError = nullptr;  // a transfer stops after the first row with this reason

  // What it was asked.
  std::string calls;  // entry points in order, with their plain arguments
  CodecImageHeader header = {};
  BITMAPINFOHEADER store = {};  // what the store began with when the transfer did
  WORD wMemKind = 0;
};

extern QEL_API FakeRecord g_fake;
