// Strided copies against one that moves single bytes, in both directions, for every small unit and for longer ones.
#include "qel/lines/strided.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

TEST(Strided, GathersAndScattersEveryUnitAndStride) {
  std::mt19937 random(11);
  for (unsigned long unit : {1, 2, 3, 4, 5, 6, 7, 8, 12, 100}) {
    for (unsigned long count : {0, 1, 2, 3, 17, 64}) {
      for (long stride : {0L, static_cast<long>(unit), -static_cast<long>(unit), 1L, -1L, 101L, -103L, 128L}) {
        const long reach = count > 0 ? static_cast<long>(count - 1) * stride : 0;
        const long first = reach < 0 ? -reach : 0;
        Bytes field(static_cast<std::size_t>(std::abs(reach)) + unit), packed(unit * count);
        for (auto &b : field) b = static_cast<unsigned char>(random());

        Bytes expected(packed.size());
        for (unsigned long i = 0; i < expected.size(); ++i)
          expected[i] = field[static_cast<std::size_t>(first + static_cast<long>(i / unit) * stride) + i % unit];
        qel::lines::GatherStrided(packed.data(), field.data() + first, count, unit, stride);
        ASSERT_EQ(packed, expected) << unit << ' ' << count << ' ' << stride;

        for (auto &b : packed) b = static_cast<unsigned char>(random());
        Bytes scattered = field;
        for (unsigned long i = 0; i < packed.size(); ++i)
          scattered[static_cast<std::size_t>(first + static_cast<long>(i / unit) * stride) + i % unit] = packed[i];
        qel::lines::ScatterStrided(field.data() + first, packed.data(), count, unit, stride);
        ASSERT_EQ(field, scattered) << unit << ' ' << count << ' ' << stride;
      }
    }
  }
}

}  // namespace
