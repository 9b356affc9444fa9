// Mask files. A file that is read comes back from what is written of it.
#include "fuzz/input_file.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size) {
  static fuzz::InputFile file, copy;
  file.Fill(data, size);
  PQel image, again;
  if (!image.LoadMask(file.Name(), 0)) return 0;
  fuzz::ReadRows(image);
  if (!image.SaveMask(copy.Name(), 0) || !again.LoadMask(copy.Name(), 0) || !fuzz::AreSame(image, again))
    fuzz::Find("a picture changes by being written and read");
  return 0;
}
