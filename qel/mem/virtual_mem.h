// PVirtualMem: a block in reserved memory, its pages committed all at once or as they are first touched.
#pragma once

#include "qel/mem/mem.h"

class QEL_API PVirtualMem : public PMem {
  DECLARE_DYNAMIC(PVirtualMem)

 public:
  PVirtualMem();
  ~PVirtualMem() override;

  /// Reserves `dwSize` bytes and commits them all when `nFlags` is 0x1000 or 0x3000; they read as zero. Null when the
  /// address space, or for a committed block the memory, is short.
  unsigned char *AllocMemory(unsigned int nFlags, unsigned long dwSize) override;

  /// Releases the reservation. The mirror object stays, empty.
  void FreeMemory() override;

  /// Moves the block into a reservation of `dwNewSize` bytes and keeps what fits; the mirror starts anew at the new
  /// size.
  int Resize(unsigned long dwNewSize) override;

  /// Gives every page back; the block reads as zero, the reservation stays.
  void DeCommitMemory() override;

  unsigned char *CommitMemory(unsigned long dwOffset, unsigned long dwCount) override;
  int CommitMemory(unsigned char *pAddress) override;

  /// Takes over the whole reservation that starts at `p`; 0 when the block holds memory or `p` starts none. A mapped
  /// view is taken on too, but stays its mapping's: freeing the block leaves it mapped.
  int Attach(unsigned char *p) override;

  /// Moves a global block's bytes into new memory of this store; the handle is gone then. A failure leaves it the
  /// caller's.
  int Attach(void *hMem) override;

  /// Copies the block into a new global block, frees this one and hands the handle out; null, and nothing changed, when
  /// memory is short.
  void *Detach() override;

 protected:
  /// Size of the block in whole pages.
  unsigned long xGetPagesSize() const;
};
