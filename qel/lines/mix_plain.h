// The plain loops behind the vector forms of mixes: their tails, and the truth that tests hold them against.
#pragma once

namespace qel::lines::plain {

void MixGray(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n);
void Mix24(unsigned char *line, const unsigned char *fresh, const unsigned char *mask, long n);
void CompositeLayers24(unsigned char *upper, unsigned char *a, const unsigned char *layer, const unsigned char *b,
                       long n);

}  // namespace qel::lines::plain
