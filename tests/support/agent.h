// PItc with its protected members laid open, so that tests can look at fields and call the inner forms.
#pragma once

#include "qel/convert/itc.h"

namespace test {

class Agent : public PItc {
 public:
  using PItc::m_bAgent, PItc::m_cvtMethod, PItc::m_hDstPal, PItc::m_hErrBuf1, PItc::m_hErrBuf2, PItc::m_hMapBuf;
  using PItc::m_hSrcPal, PItc::m_nDstColors, PItc::m_nSrcColors, PItc::m_pbyDstLine, PItc::m_pbyMap;
  using PItc::m_pbySrcLine, PItc::m_pfnDither, PItc::m_pfnGetPix, PItc::m_pfnPutPix, PItc::m_plErrCur;
};

}  // namespace test
