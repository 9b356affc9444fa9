// Run-length packing: the input as commands, against the plain meaning of each command, and as bytes to pack and
// unpack. Every buffer has exactly the bytes that may be touched.
#include <algorithm>
#include <memory>
#include <vector>

#include "fuzz/input_file.h"

namespace {

using Bytes = std::vector<unsigned char>;

/// What whole commands make, up to `most` bytes; `src` is cut behind the last one that is needed.
Bytes Unpack(Bytes &src, std::size_t most) {
  Bytes made;
  std::size_t at = 0;
  while (made.size() < most && at < src.size()) {
    const unsigned control = src[at];
    const std::size_t head = control == 128 ? 3 : 1, body = control < 128 ? control : 1;
    if (head + body > src.size() - at) break;
    const auto from = src.begin() + static_cast<std::ptrdiff_t>(at + head);
    const std::size_t count = control == 128 ? src[at + 1] + 256u * src[at + 2] : control - 128;
    if (control < 128)
      made.insert(made.end(), from, from + static_cast<std::ptrdiff_t>(body));
    else
      made.insert(made.end(), count, *from);
    at += head + body;
  }
  src.resize(at);
  made.resize(std::min(made.size(), most));
  return made;
}

/// A buffer without a byte to spare; 0xA5 throughout.
std::unique_ptr<unsigned char[]> MakeRoom(std::size_t size) {
  std::unique_ptr<unsigned char[]> room(new unsigned char[size]);
  std::fill_n(room.get(), size, 0xA5);
  return room;
}

void CheckUnpacking(Bytes src, std::size_t most) {
  const Bytes expected = Unpack(src, most);
  const auto commands = MakeRoom(src.size());
  std::copy(src.begin(), src.end(), commands.get());
  const auto made = MakeRoom(expected.size());
  PQel().DecompressByteStream(made.get(), commands.get(), static_cast<long>(expected.size()));
  if (!std::equal(expected.begin(), expected.end(), made.get())) fuzz::Find("commands are not carried out");
}

void CheckPacking(const Bytes &src) {
  const auto bytes = MakeRoom(src.size()), packed = MakeRoom(src.size() + src.size() / 127 + 1);
  std::copy(src.begin(), src.end(), bytes.get());
  const long length = PQel().CompressByteStream(packed.get(), bytes.get(), static_cast<long>(src.size()));
  CheckUnpacking(Bytes(packed.get(), packed.get() + length), src.size());
  Bytes commands(packed.get(), packed.get() + length);
  if (Unpack(commands, src.size()) != src) fuzz::Find("packing loses bytes");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size) {
  if (size < 2) return 0;
  const Bytes src(data + 2, data + size);
  CheckUnpacking(src, data[0] + 256u * data[1]);
  if (!src.empty()) CheckPacking(src);
  return 0;
}
