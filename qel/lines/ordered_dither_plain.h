// The plain loops behind the vector dithers: their tails, and the truth that tests hold them against.
#pragma once

namespace qel::lines::plain {

void DitherTo2(unsigned char *dst, const unsigned char *src, long n, const unsigned char *thresholds);
void DitherTo16(unsigned char *dst, const unsigned char *src, long n, const unsigned char *thresholds);
void DitherTo216(unsigned char *dst, const unsigned char *src, long n, const unsigned char *thresholds);

}  // namespace qel::lines::plain
