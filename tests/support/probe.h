// PQel with its protected members laid open, so that tests can look at fields and call the inner forms.
#pragma once

#include "qel/image/image.h"

namespace test {

class Probe : public PQel {
 public:
  using PQel::m_bAntiAlias, PQel::m_bBlock, PQel::m_bRepeat, PQel::m_bUndo, PQel::m_lBlockBytes, PQel::m_lBlockSize;
  using PQel::m_lHeight, PQel::m_lLineBytes, PQel::m_lLmmOffset, PQel::m_lXBlocks, PQel::m_lXRepeat, PQel::m_lYBlocks;
  using PQel::m_lYRepeat, PQel::m_memBI, PQel::m_memBlockTable, PQel::m_nImageType, PQel::m_nMemType, PQel::m_pBIH;
  using PQel::m_pMem, PQel::m_pRGBQuad, PQel::m_pbyLineBuf, PQel::m_pfnHook, PQel::m_plBlockTable, PQel::m_rcInvalid;
  using PQel::xGetHorLine, PQel::xGetOffset, PQel::xGetVerLine, PQel::xPutHorLine, PQel::xPutVerLine;
  using PQel::xGetUndo24bitHorLine, PQel::xGetUndo24bitVerLine, PQel::xGetUndoGrayHorLine, PQel::xGetUndoGrayVerLine;
  using PQel::xGetUndoHorLine, PQel::xGetUndoVerLine;
};

}  // namespace test
