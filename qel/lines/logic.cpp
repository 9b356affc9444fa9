// Bitwise operations. Plain loops: the compiler turns them into the widest vectors there are.

#include "qel/lines/logic.h"

#include <cstdint>
#include <cstring>

namespace qel::lines {

namespace {

template <class Operation>
void Combine(unsigned char *dst, const unsigned char *src, long bytes, Operation operation) {
  for (long i = 0; i < bytes; ++i) dst[i] = static_cast<unsigned char>(operation(dst[i], src[i]));
}

}  // namespace

void InvertBytes(unsigned char *line, long bytes) {
  for (long i = 0; i < bytes; ++i) line[i] = static_cast<unsigned char>(~line[i]);
}

void InvertColorOf32(unsigned char *line, long bytes) {
  for (long i = 0; i + 4 <= bytes; i += 4) {
    std::uint32_t pixel;
    std::memcpy(&pixel, line + i, sizeof(pixel));
    pixel ^= 0x00FFFFFF;
    std::memcpy(line + i, &pixel, sizeof(pixel));
  }
}

void AndBytes(unsigned char *dst, const unsigned char *src, long bytes) {
  Combine(dst, src, bytes, [](int a, int b) { return a & b; });
}

void OrBytes(unsigned char *dst, const unsigned char *src, long bytes) {
  Combine(dst, src, bytes, [](int a, int b) { return a | b; });
}

void XorBytes(unsigned char *dst, const unsigned char *src, long bytes) {
  Combine(dst, src, bytes, [](int a, int b) { return a ^ b; });
}

}  // namespace qel::lines
