// PMirrorMem: a snapshot of another block, taken page by page as the source is about to change.
//
// A mirror reserves as much address space as its source and commits nothing. A page is filled with the source's content
// at the moment it is first touched; the source touches the mirror's pages for every range that it is about to
// overwrite. So the committed pages hold what those pages held before the first write since the snapshot, and the rest
// costs nothing.
#pragma once

#include "qel/mem/virtual_mem.h"

class QEL_API PMirrorMem : public PVirtualMem {
  DECLARE_DYNAMIC(PMirrorMem)

 public:
  PMirrorMem();
  ~PMirrorMem() override;

  /// Reserves `dwSize` bytes, whatever the flags: pages come by being filled, never all at once.
  unsigned char *AllocMemory(unsigned int nFlags, unsigned long dwSize) override;

  /// Starts a snapshot of `pSrc`: reserves its size, or empties the mirror when it is the source already.
  int SetSourceMem(PMem *pSrc);

  /// Commit pages and fill them from the source; pages that are committed keep what they hold.
  unsigned char *CommitMemory(unsigned long dwOffset, unsigned long dwCount) override;
  int CommitMemory(unsigned char *pAddress) override;

  /// Saves every page of a byte range that is not saved yet. 0 when one could not be.
  int CopySource(unsigned long dwOffset, unsigned long dwCount);

  /// The same for all pages from the lowest to the highest unit of a strided range.
  int CopySourceSkipBlock(unsigned long dwOffset, unsigned long dwCount, unsigned long dwUnit, long lStride);

 protected:
  /// Commits the page at a page-aligned offset and fills it; it stays uncommitted when the source cannot be read.
  int xSavePage(unsigned long dwOffset);

  /// Saves the pages that overlap [dwFirst, dwEnd), which lies inside the reservation. 0 when one could not be.
  int xSaveRange(unsigned long dwFirst, unsigned long dwEnd);

  PMem *m_pSourceMem;  // not owned
};
