// PMem: the byte block behind every image and every temporary buffer.
//
// The base class keeps its bytes in a movable global-memory block; the classes derived from it keep them in reserved
// memory, in a named mapping, or as a mirror of another block. The byte, block, strided and fill operations serve all
// of them: each commits what it touches ahead of the access, tells the mirror before it writes, and runs under the
// fault guard, so that an access which faults all the same ends with 0 and nothing worse.
//
// A block is used by one thread at a time. Operations return 1 for success and 0 for failure, pointers null on failure.
#pragma once

#include "qel/export.h"
#include "qel/platform/kernel/fault_guard.h"
#include "qel/platform/mfc/object.h"

class PMirrorMem;
class PVirtualMem;

class QEL_API PMem : public CObject {
  DECLARE_DYNAMIC(PMem)

 public:
  PMem();
  ~PMem() override;

  // Memory -----------------------------------------------------------------------------------------------------------

  /// Allocates `dwSize` bytes with global-allocation flags (2: movable, 0x42: movable and cleared). Memory that the
  /// block still holds is freed first. A block that wants a mirror gets a new one. Returns the address of byte 0, null
  /// when memory is short; the block is empty then.
  virtual unsigned char *AllocMemory(unsigned int nFlags, unsigned long dwSize);

  /// Frees the memory and the mirror; the block is empty then. The wish for a mirror (`m_bMirror`) is kept.
  virtual void FreeMemory();

  /// Gives the block `dwNewSize` bytes and keeps what fits; the mirror starts anew. A failure changes nothing.
  virtual int Resize(unsigned long dwNewSize);

  /// Gives the pages back that can be given back; nothing for this store.
  virtual void DeCommitMemory();

  /// Commits the pages of a range. Returns the address of `dwOffset`; null when the range leaves the block or cannot be
  /// committed.
  virtual unsigned char *CommitMemory(unsigned long dwOffset, unsigned long dwCount);

  /// Commits the page that holds an address: the fault filter's way out. 0 for this store, which has nothing to commit.
  virtual int CommitMemory(unsigned char *pAddress);

  /// Takes over the memory at an address: for this store, the global block that starts there, handle by handle as
  /// below. 0 for a null address; any other address that starts no block counts as the null handle.
  virtual int Attach(unsigned char *p);

  /// Takes over a global-memory handle and owns it from then on. 1, and nothing changes, for the handle that the block
  /// has already (null for an empty block); 0 for a handle that cannot be locked, or when the block holds other memory.
  virtual int Attach(void *hMem);

  /// Hands the memory out as a global handle that the caller owns, and is empty then; null for an empty block.
  virtual void *Detach();

  // State ------------------------------------------------------------------------------------------------------------

  int IsEmpty() const { return m_pbyMem == nullptr; }
  unsigned char *GetPointer() const { return m_pbyMem; }
  unsigned long GetSize() const { return m_dwSize; }
  void *GetHandle() const { return m_hMem; }
  PMirrorMem *GetMirrorMem() const { return m_pMirrorMem; }

  /// The system's page size in bytes; 4096 when the system tells none.
  static unsigned long GetPageSize();

  /// Size in bytes of the allocation that an address belongs to: the global block that starts there, or the whole
  /// reservation or view around it. 0 when it belongs to none.
  static unsigned long GetSize(unsigned char *p);

  // Guarded access ---------------------------------------------------------------------------------------------------

  /// The byte at an offset; 0 outside the block.
  unsigned char PeekByte(unsigned long dwOffset);

  /// Writes one byte.
  int PokeByte(unsigned long dwOffset, unsigned char by);

  /// Copies `dwCount` bytes out of the block. 0, and nothing copied, when the range leaves the block. Here and below a
  /// count of 0 succeeds and does nothing.
  int GetBlock(unsigned long dwOffset, unsigned long dwCount, unsigned char *pDst);

  /// Copies `dwCount` bytes into the block, cut at its end. 0 when the offset lies behind it.
  int PutBlock(unsigned long dwOffset, unsigned long dwCount, unsigned char *pSrc);

  /// Gathers `dwCount` units of `dwUnit` bytes, `lStride` bytes apart (negative strides walk backwards), into a packed
  /// line. The stride of 2- and 4-byte units counts in whole units. 0 when a unit leaves the block.
  int GetSkipBlock(unsigned long dwOffset, unsigned long dwCount, unsigned long dwUnit, long lStride,
                   unsigned char *pDst);

  /// Scatters a packed line to units `lStride` bytes apart. 0, and nothing written, when a unit leaves the block.
  int PutSkipBlock(unsigned long dwOffset, unsigned long dwCount, unsigned long dwUnit, long lStride,
                   unsigned char *pSrc);

  /// Fill with units of 1, 1, 2, 3, 4 and 6 bytes, low byte first; only whole units inside the block are written. 0
  /// when the offset lies behind the block.
  int SetBlock(unsigned long dwOffset, unsigned long dwCount, unsigned char by);
  int SetBlockBYTE(unsigned long dwOffset, unsigned long dwCount, unsigned char by);
  int SetBlockWORD(unsigned long dwOffset, unsigned long dwCount, unsigned short w);
  int SetBlockTRIO(unsigned long dwOffset, unsigned long dwCount, unsigned long dw);
  int SetBlockDWORD(unsigned long dwOffset, unsigned long dwCount, unsigned long dw);
  int SetBlockDLONG(unsigned long dwOffset, unsigned long dwCount, long long ll);

  /// Changes bytes where they lie: `pfnChange` gets their address and number. Cut at the block's end; 0 when the offset
  /// lies behind it.
  int ChangeBlock(unsigned long dwOffset, unsigned long dwCount, void (*pfnChange)(unsigned char *line, long bytes));

  /// Copies bytes from another block (committing them there first), as PutBlock does. 0 when the range leaves the
  /// source.
  int CopyBlock(PMem *pSrc, unsigned long dwDstOffset, unsigned long dwSrcOffset, unsigned long dwCount);

  /// Decides about a fault inside a guarded access: tries it again when the address lies in the block and its page can
  /// be committed, else ends the access.
  int ExpFilter(_EXCEPTION_POINTERS *pFault);

  // Mirror -----------------------------------------------------------------------------------------------------------

  /// Starts a snapshot of the block: a new mirror, or the one there is, emptied and made as large as the block. 0, and
  /// no mirror is wanted any more, when there is no memory for it.
  int CreateMirrorMem();

  /// Empties the mirror: a new snapshot starts. 0 without a mirror.
  int ClearMirrorMem();

  /// Copies the mirror's saved pages into another block, which is decommitted first. 0 without a mirror.
  int GetMirrorMem(PMem *pDst);

  /// Replaces the mirror's saved pages by the committed pages of `pSrc`. 0 without a mirror.
  int PutMirrorMem(PVirtualMem *pSrc);

  /// Copies the committed pages of a virtual block into this one at equal offsets. 0 when `pSrc` is empty or null.
  int CopyVirtualMemory(PVirtualMem *pSrc);

  /// Exchanges the mirror's saved pages with the block's: undo, and redo when done again. Pages that the block cannot
  /// commit are passed over. 0 without memory or mirror.
  int SwapMirrorMem();

  static unsigned long m_dwPageSize;

 protected:
  /// The filter of every guarded access: asks ExpFilter of the block that `pMem` points to.
  static int xFilterFault(void *pMem, _EXCEPTION_POINTERS *pFault);

  void *m_hMem;              // handle of the global block; null when empty and in the other stores
  unsigned char *m_pbyMem;   // byte 0; null when empty
  unsigned long m_dwSize;    // bytes
  int m_bMirror;             // a mirror is wanted: every new memory gets one
  PMirrorMem *m_pMirrorMem;  // owned
};
