// Readers and writers of single pixels in the agent's lines, by bits a pixel. Whole lines go through line functions;
// these serve where pixels depend on one another.
#include "qel/convert/itc.h"
#include "qel/lines/bits.h"

const unsigned char PItc::m_pbyMask[8] = {0x7F, 0xBF, 0xDF, 0xEF, 0xF7, 0xFB, 0xFD, 0xFE};

void PItc::xSetPixFuncPtr() {
  if (m_nSrcBits == 1) m_pfnGetPix = &PItc::xGetPixMono;
  if (m_nSrcBits == 4) m_pfnGetPix = &PItc::xGetPixNibble;
  if (m_nSrcBits == 8) m_pfnGetPix = &PItc::xGetPixByte;
  if (m_nSrcBits == 24) m_pfnGetPix = &PItc::xGetPix4096;
  if (m_nDstBits == 1) m_pfnPutPix = &PItc::xPutPixMono;
  if (m_nDstBits == 4) m_pfnPutPix = &PItc::xPutPixNibble;
  if (m_nDstBits == 8) m_pfnPutPix = &PItc::xPutPixByte;
}

// Readers ------------------------------------------------------------------------------------------------------------

unsigned short PItc::xGetPixMono(long x) {
  return m_pbySrcLine[x / 8] >> (7 - x % 8) & 1;
}

unsigned short PItc::xGetPixNibble(long x) {
  return x % 2 ? m_pbySrcLine[x / 2] & 0x0F : m_pbySrcLine[x / 2] >> 4;
}

unsigned short PItc::xGetPixByte(long x) {
  return m_pbySrcLine[x];
}

unsigned short PItc::xGetPix4096(long x) {
  const unsigned char *p = m_pbySrcLine + 3 * x;
  return static_cast<unsigned short>((p[2] & 0xF0) << 4 | (p[1] & 0xF0) | p[0] >> 4);
}

// Writers ------------------------------------------------------------------------------------------------------------

void PItc::xPutPixMono(long x, unsigned char v) {
  const int nKept = m_pbyDstLine[x / 8] & m_pbyMask[x % 8];
  m_pbyDstLine[x / 8] = static_cast<unsigned char>(v != 0 ? nKept | PQel::m_byMonoORBit[x % 8] : nKept);
}

void PItc::xPutPixNibble(long x, unsigned char v) {
  unsigned char &by = m_pbyDstLine[x / 2];
  by = x % 2 ? qel::lines::MergeBits(v, by, 0x0F) : qel::lines::MergeBits(static_cast<unsigned>(v) << 4, by, 0xF0);
}

void PItc::xPutPixByte(long x, unsigned char v) {
  m_pbyDstLine[x] = v;
}
