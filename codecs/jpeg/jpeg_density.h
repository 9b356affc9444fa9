// Resolutions as JPEG files tell them: whole dots per inch or per centimetre.
#pragma once

namespace qel::codecs {

constexpr int kDotsPerInch = 1, kDotsPerCentimetre = 2;

/// Dots per metre; 0 for a unit that tells only a ratio.
constexpr long DensityToDpm(int unit, long density) {
  if (unit == kDotsPerInch) return (density * 10000 + 127) / 254;
  return unit == kDotsPerCentimetre ? density * 100 : 0;
}

/// The nearest density in a unit; 0 when there is none that fits 16 bits.
constexpr long DpmToDensity(int unit, long dpm) {
  const long density = unit == kDotsPerInch ? (dpm * 254 + 5000) / 10000 : (dpm + 50) / 100;
  return dpm > 0 && density <= 65535 ? density : 0;
}

}  // namespace qel::codecs
