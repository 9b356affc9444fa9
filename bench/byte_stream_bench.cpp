// Packing and unpacking of mask rows beside byte-by-byte loops that do the same: rows of flat runs with soft rims, as
// masks have them, and rows of commands as short as they come.
#include <memory>
#include <random>
#include <vector>

#include "pair.h"
#include "qel/lines/byte_stream.h"

namespace {

using bench::Repeat;
using bench::Touch;
using Line = std::vector<unsigned char>;

constexpr long kBytes = 1 << 18;  // more than a branch predictor learns by heart

/// Runs of up to `run` bytes between rims of up to `rim` different ones.
Line Mask(unsigned run, unsigned rim) {
  Line line;
  std::mt19937 random(1);
  while (line.size() < kBytes) {
    line.insert(line.end(), 3 + random() % run, static_cast<unsigned char>(random() % 2 * 255));
    for (unsigned k = random() % rim; k > 0; --k) line.push_back(static_cast<unsigned char>(random()));
  }
  line.resize(kBytes);
  return line;
}

/// Packs the same commands byte by byte, short runs only.
void PlainPack(unsigned char *dst, const unsigned char *src, long n) {
  const auto isRun = [=](long i) { return i + 2 < n && src[i] == src[i + 1] && src[i] == src[i + 2]; };
  for (long i = 0; i < n;) {
    unsigned char *const control = dst++;
    const long first = i;
    if (isRun(i)) {
      while (i < n && src[i] == src[first] && i - first < 127) ++i;
      *control = static_cast<unsigned char>(128 + i - first);
      *dst++ = src[first];
    } else {
      while (i < n && !isRun(i) && i - first < 127) *dst++ = src[i++];
      *control = static_cast<unsigned char>(i - first);
    }
  }
}

void PlainUnpack(unsigned char *dst, const unsigned char *src, long n) {
  for (long made = 0; made < n;) {
    const int control = *src++;
    long count = control & 127;
    if (control == 128) {
      count = src[0] | src[1] << 8;
      src += 2;
    }
    for (long k = 0; k < count; ++k) dst[made++] = control < 128 ? *src++ : *src;
    src += control >= 128;
  }
}

struct Buffers {
  Line content, packed = Line(qel::lines::PackedRoom(kBytes)), made = Line(kBytes);
};

bench::Works Pack(unsigned run, unsigned rim) {
  const auto b = std::make_shared<Buffers>(Buffers{Mask(run, rim)});
  const auto pack = [=](auto function) {
    return Repeat([=] {
      function(b->packed.data(), b->content.data(), kBytes);
      Touch(b->packed.data());
    });
  };
  return {pack(qel::lines::PackBytes), pack(PlainPack)};
}

bench::Works Unpack(unsigned run, unsigned rim) {
  const auto b = std::make_shared<Buffers>(Buffers{Mask(run, rim)});
  qel::lines::PackBytes(b->packed.data(), b->content.data(), kBytes);
  const auto unpack = [=](auto function) {
    return Repeat([=] {
      function(b->made.data(), b->packed.data(), kBytes);
      Touch(b->made.data());
    });
  };
  return {unpack(qel::lines::UnpackBytes), unpack(PlainUnpack)};
}

const bench::PairsAtStart g_pairs([] {
  bench::AddPair({"pack/mask : plain", 0.2, kBytes, [] { return Pack(800, 40); }});
  bench::AddPair({"pack/short : plain", 0.6, kBytes, [] { return Pack(8, 8); }});
  bench::AddPair({"unpack/mask : plain", 0.6, kBytes, [] { return Unpack(800, 40); }});
  bench::AddPair({"unpack/short : plain", 0.6, kBytes, [] { return Unpack(8, 8); }});
});

}  // namespace
