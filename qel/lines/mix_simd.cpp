// The mixes that the memory would allow to run faster than a compiler makes them.

#include "qel/lines/mix.h"
#include "qel/lines/mix_plain.h"

namespace qel::lines {

void MixGray(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n) {
  plain::MixGray(line, fresh, mask, n);
}
void Mix24(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n) {
  plain::Mix24(line, fresh, mask, n);
}
void CompositeLayers24(unsigned char *upper, unsigned char *a, const unsigned char *layer, const unsigned char *b,
                       long n) {
  plain::CompositeLayers24(upper, a, layer, b, n);
}

}  // namespace qel::lines
