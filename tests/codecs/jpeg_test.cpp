// JPEG files written and read through the engine.
#include <gtest/gtest.h>
#include "qel/fileio/codec_header.h"
#include "support/dib.h"
#include "support/files.h"
#include "support/pixels.h"
TEST(Jpeg, Smoke) {
  test::Scratch scratch;
  PQel image;
  ASSERT_TRUE(image.CreateImage(1, 101, 67, 0, nullptr, 3937, 3937, 1, 0, 0));
  test::NaiveImage p(101, 67, 24);
  for (long y = 0; y < 67; ++y)
    for (long x = 0; x < 101; ++x) p.At(x, y) = static_cast<unsigned>(x * 2 | y * 3 << 8 | (x + y) << 16);
  p.Store(image);
  ASSERT_TRUE(image.SaveJPG((scratch / "a.jpg").c_str(), 0)) << GetCodecTransferError();
  PQel back;
  ASSERT_TRUE(back.OpenImage((scratch / "a.jpg").c_str()));
  EXPECT_EQ(GetCodecTransferError(), nullptr);
  auto q = test::Pixels(back);
  ASSERT_EQ(q.pixels.size(), p.pixels.size());
  long worst = 0;
  for (size_t i = 0; i < q.pixels.size(); ++i)
    for (int s : {0, 8, 16})
      worst = std::max(worst, std::labs(long(q.pixels[i] >> s & 255) - long(p.pixels[i] >> s & 255)));
  EXPECT_LT(worst, 24);
}
