// qel compare: sees every difference of size, type, colours and pixels, and nothing else.
#include "app/picture.h"

namespace {

using test::Qel;

TEST(Compare, TellsEqualPicturesFromOthers) {
  const test::Scratch scratch;
  const std::string a = scratch / "a.bmp", b = scratch / "b.bmp";
  const auto Says = [&](int status, const std::string &message) {
    const auto outcome = Qel({"compare", a, b});
    EXPECT_EQ(outcome.status, status);
    EXPECT_EQ(status == 0 ? outcome.out : outcome.err, message);
  };
  test::SaveRandom(a, 0, 13, 9);
  const std::string bytes = test::ReadFile(a);
  ASSERT_EQ(bytes.size(), 54u + 8 + 9 * 4);

  // Row padding and the file-size field are no part of the picture: 13 pixels leave 19 bits of each row.
  std::string other = bytes;
  for (std::size_t row = 62; row < other.size(); row += 4) {
    other[row + 1] = static_cast<char>(other[row + 1] ^ 0x07);
    other[row + 3] = static_cast<char>(~other[row + 3]);
  }
  other[2] = 1;
  test::WriteFile(b, other);
  Says(0, b + ": the same 13 x 9 pixels of 1 bits as " + a + "\n");

  other = bytes;
  other[62 + 4 * 8 - 4 * 2 + 1] ^= 0x08;  // the last pixel of the third row from the top
  test::WriteFile(b, other);
  Says(1, "qel: " + b + ": row 2 differs from that of " + a + "\n");

  other = bytes;
  other[54] ^= 1;
  test::WriteFile(b, other);
  Says(1, "qel: " + b + ": has other palette colours than " + a + "\n");

  test::SaveRandom(b, 0, 13, 10);
  Says(1, "qel: " + b + ": has another size than " + a + "\n");
  test::SaveRandom(b, 5, 13, 9);
  Says(1, "qel: " + b + ": has another type than " + a + "\n");
  std::filesystem::remove(b);
  Says(1, "qel: " + b + ": No such file or directory\n");
}

}  // namespace
