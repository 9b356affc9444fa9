// qel gallery: every tile is what `qel convert` makes of the picture, in the place that the legend tells.
#include <sstream>

#include "app/picture.h"

namespace {

TEST(Gallery, ShowsWhatTheLegendTells) {
  const test::Scratch scratch;
  const std::string from = scratch / "from.bmp", sheet = scratch / "sheet.bmp", to = scratch / "to.bmp";
  ASSERT_EQ(test::Qel({"scene", from, "--size", "40x30"}).status, 0);
  const auto outcome = test::Qel({"gallery", from, sheet, "--store", "mapping"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  test::NaiveImage all = test::Load(sheet, 1);
  ASSERT_EQ(all.width, 6 * 48 + 8);

  std::istringstream legend(outcome.out);
  std::string line;
  long row = 0, known = 0;
  for (; std::getline(legend, line); ++row) {
    ASSERT_EQ(line.rfind("row " + std::to_string(row + 1) + ": ", 0), 0u) << line;
    std::istringstream labels(line.substr(line.find(": ") + 2));
    std::string label;
    for (long column = 0; std::getline(labels, label, '|'); ++column) {
      std::istringstream parts(label);
      std::string type, method, size;
      parts >> type >> method >> size;
      if (type != "mono" && type != "16" && type != "256") continue;
      std::vector<std::string> options{"--type", type};
      if (method == "map" || method == "custom" || method == "diffuse")
        options.insert(options.end(), {"--method", method});
      else if (method == "threshold")
        options.insert(options.end(), {"--threshold", size});
      else if (size == "4" || size == "8")
        options.insert(options.end(), {"--dither", method, "--size", size});
      else
        continue;  // "256 gray levels" and the like
      ++known;
      ASSERT_EQ(test::Convert(from, to, options).status, 0) << label;
      ASSERT_EQ(test::Convert(to, to, {"--type", "rgb"}).status, 0);
      ASSERT_EQ(
          test::Convert(sheet, scratch / "tile.bmp",
                        {"--crop", std::to_string(8 + 48 * column) + "," + std::to_string(8 + 54 * row) + ",40,30"})
              .status,
          0);
      EXPECT_TRUE(test::Load(scratch / "tile.bmp", 1) == test::Load(to, 1)) << label;
    }
  }
  EXPECT_EQ(known, 44);
  EXPECT_EQ(all.height, row * 54 + 8);

  // Below every tile stands a caption, and nothing else than the tile and it.
  for (long y = 0; y < all.height; ++y)
    for (long x = 0; x < all.width; ++x)
      if ((x + 40) % 48 >= 40 || (y + 46) % 54 >= 46) ASSERT_EQ(all.At(x, y), 0xFFFFFFu) << x << ", " << y;
  for (long top = 8 + 30; top < all.height; top += 54)
    for (long left = 8; left < all.width; left += 48) {
      long inked = 0;
      for (long i = 0; i < 40 * 16; ++i) inked += all.At(left + i % 40, top + i / 40) != 0xFFFFFF;
      EXPECT_GT(inked, 20) << left << ", " << top;
    }

  // A large picture is made smaller in proportion.
  ASSERT_EQ(test::Qel({"gallery", from, sheet, "--tile", "20x20"}).status, 0);
  EXPECT_EQ(test::Load(sheet, 1).width, 6 * 28 + 8);
  EXPECT_EQ(test::Load(sheet, 1).height, row * 39 + 8);
}

}  // namespace
