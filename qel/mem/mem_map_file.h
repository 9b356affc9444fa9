// PMemMapFile: a block in a named mapping, which other blocks and other processes open by its name.
//
// DeCommitMemory does nothing here: pages of a mapping cannot be given back without taking them from its other openers.
#pragma once

#include "qel/mem/virtual_mem.h"

class QEL_API PMemMapFile : public PVirtualMem {
  DECLARE_DYNAMIC(PMemMapFile)

 public:
  PMemMapFile();
  ~PMemMapFile() override;

  /// Names the mapping that the next AllocMemory creates or opens: at most 15 characters, null for a generated name. 0,
  /// and the name kept, for a longer one.
  int SetShareName(const char *pszName);
  const char *GetShareName() const { return m_szShareName; }

  /// Creates the mapping, its pages committed at once for flags 0x1000 and 0x3000, or opens the one of that name, whose
  /// own size (whole pages) counts then. Null on failure.
  unsigned char *AllocMemory(unsigned int nFlags, unsigned long dwSize) override;

  /// Closes the mapping and forgets its name.
  void FreeMemory() override;

  /// A mapping never grows: brings the block's size up to the whole mapping. 0, and nothing changed, on failure.
  int Resize(unsigned long dwNewSize) override;

  /// 0: a view cannot be taken over.
  int Attach(unsigned char *p) override;
  using PVirtualMem::Attach;

 protected:
  /// Names the mapping "RV_" and eight upper-case hexadecimal digits of this object's address.
  void xGenerateShareName();

  char m_szShareName[16];  // empty: not named yet
  void *m_hMapping;
};
