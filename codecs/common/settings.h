// What a user has set for the formats.
#pragma once

namespace qel::codecs {

/// The quality that the settings file holds for a format, 1 to 100 (numbers beyond are taken as the nearest of these);
/// `fallback` when it holds none.
int QualitySetting(const char *section, int fallback);

}  // namespace qel::codecs
