// qel card: ten pictures of the same card, each of its own type.
#include <cmath>

#include "app/picture.h"

namespace {

constexpr const char *kNames[10] = {"mono",    "rgb24",  "palette16", "palette256", "gray16",
                                    "gray256", "rgb555", "rgb565",    "rgb32",      "rgb48"};

/// Levels that an average may be off: half a step of what the type can show; more where the colours are uneven.
constexpr double kTolerance[10] = {10, 1, 24, 10, 4, 1, 5, 5, 1, 1};

TEST(Card, ShowsTheSameRampsInEveryType) {
  const test::Scratch scratch;
  const auto outcome = test::Qel({"card", scratch / "new/cards"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  ASSERT_EQ(scratch.List("new/cards").size(), 10u);

  std::string listed;
  for (int type = 0; type < 10; ++type) {
    const std::string path = scratch / "new/cards/card-" + kNames[type] + ".bmp";
    listed += path + '\n';
    PQel card;
    ASSERT_TRUE(card.OpenDIBImage(path.c_str())) << path;
    ASSERT_EQ(card.GetImageType(), type);
    ASSERT_EQ(card.GetImageWidth(), 363);
    ASSERT_EQ(card.GetImageHeight(), 240);

    // The gray ramp lies in rows 180 to 199. Dithering is right on the average, so averages are compared.
    constexpr long kSpan = 24;
    unsigned char line[3 * kSpan];
    for (long x0 = 0; x0 + kSpan <= 363; x0 += kSpan) {
      double sum = 0, expected = 0;
      for (long y = 180; y < 200; ++y) {
        ASSERT_TRUE(card.Get24bitHorLine(x0, x0 + kSpan - 1, y, line, nullptr));
        for (long i = 0; i < 3 * kSpan; ++i) sum += line[i];
      }
      for (long i = 0; i < kSpan; ++i) expected += 255.0 * static_cast<double>(x0 + i) / 362;
      EXPECT_NEAR(sum / (20 * 3 * kSpan), expected / kSpan, kTolerance[type]) << path << " at " << x0;
    }
  }
  EXPECT_EQ(outcome.out, listed);
}

TEST(Card, TrueColourHoldsExactHuesAndStandardColours) {
  const test::Scratch scratch;
  ASSERT_EQ(test::Qel({"card", scratch / ""}).status, 0);
  PQel card;
  ASSERT_TRUE(card.OpenDIBImage((scratch / "card-rgb24.bmp").c_str()));
  EXPECT_EQ(card.GetPixelBGR(0, 0), 0xFFFFFFu);      // the sweep begins white
  EXPECT_EQ(card.GetPixelBGR(200, 119), 0x000000u);  // and ends black
  EXPECT_EQ(card.GetPixelBGR(362, 130), 0xFF0000u);  // ends of the ramps: red, green, blue, gray
  EXPECT_EQ(card.GetPixelBGR(362, 150), 0x00FF00u);
  EXPECT_EQ(card.GetPixelBGR(362, 170), 0x0000FFu);
  EXPECT_EQ(card.GetPixelBGR(362, 190), 0xFFFFFFu);
  for (long i = 0; i < 16; ++i) {
    const PALETTEENTRY &entry = PQel::m_palEntryStd[i];
    EXPECT_EQ(card.GetPixelBGR((i * 363 + 181) / 16, 239),
              static_cast<unsigned>(entry.peRed << 16 | entry.peGreen << 8 | entry.peBlue));
  }
}

}  // namespace
