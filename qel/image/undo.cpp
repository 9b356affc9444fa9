// Undo: one level, kept by the store's mirror, which saves each page before the first write to it.
#include "qel/image/image.h"

int PQel::EnableUndo(int bUndo) {
  if (m_pMem == nullptr) return 0;
  if (bUndo == 0) {
    m_pMem->ClearMirrorMem();
    m_bUndo = 0;
    return 1;
  }
  m_bUndo = m_pMem->CreateMirrorMem();
  return m_bUndo == bUndo;
}

int PQel::ClearUndo() {
  return m_pMem != nullptr ? m_pMem->ClearMirrorMem() : 0;
}

int PQel::DoUndo() {
  return m_pMem != nullptr ? m_pMem->SwapMirrorMem() : 0;
}

int PQel::DoRedo() {
  return DoUndo();
}
