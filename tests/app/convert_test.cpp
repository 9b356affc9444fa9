// qel convert: files come back byte for byte through every store and layout; top-down files hold the same rows in
// reverse.
#include <cstdlib>

#include "app/picture.h"

namespace {

using test::Bytes;
using test::Qel;

const std::vector<std::vector<std::string>> kKeepings = {
    {"--store", "memory", "--layout", "linear"},
    {"--store", "memory", "--layout", "block"},
    {"--store", "reserved"},
    {"--store", "reserved", "--layout", "block"},
    {"--store", "mapping"},
    {"--store", "mapping", "--layout", "block"},
};

test::Outcome Convert(const std::string &from, const std::string &to, const std::vector<std::string> &options) {
  std::vector<std::string> command{"convert", from, to};
  command.insert(command.end(), options.begin(), options.end());
  return Qel(command);
}

/// The bytes of a bottom-up file with its rows in reverse and its height negative.
Bytes TopDown(const Bytes &file, std::size_t height) {
  const auto offset = static_cast<unsigned char>(file[10]) + 256u * static_cast<unsigned char>(file[11]);
  const std::size_t rowBytes = (file.size() - offset) / height;
  Bytes result = file.substr(0, offset);
  const auto negative = static_cast<std::uint32_t>(-static_cast<int>(height));
  for (int i = 0; i < 4; ++i) result[22 + static_cast<std::size_t>(i)] = static_cast<char>(negative >> 8 * i);
  for (std::size_t y = height; y-- > 0;) result += file.substr(offset + y * rowBytes, rowBytes);
  return result;
}

TEST(Convert, KeepsEveryByteInEveryStoreAndLayout) {
  const test::Scratch scratch;
  const std::string from = scratch / "from.bmp", to = scratch / "to.bmp", back = scratch / "back.bmp";
  for (int type = 0; type < 10; ++type) {
    constexpr long kHeight = 261;  // blocks are 256 pixels wide and high
    test::SaveRandom(from, type, 275, kHeight, static_cast<unsigned>(type));
    const Bytes bytes = test::ReadFile(from);
    ASSERT_GT(bytes.size(), 54u);
    for (auto options : kKeepings) {
      const auto outcome = Convert(from, to, options);
      ASSERT_EQ(outcome.status, 0) << outcome.err;
      EXPECT_EQ(outcome.out + outcome.err, "");
      EXPECT_TRUE(test::ReadFile(to) == bytes) << "type " << type << ' ' << options[1];

      options.push_back("--top-down");
      ASSERT_EQ(Convert(from, to, options).status, 0);
      EXPECT_TRUE(test::ReadFile(to) == TopDown(bytes, kHeight)) << "type " << type << ' ' << options[1] << " top-down";
      ASSERT_EQ(Convert(to, back, options).status, 0);  // is top-down already
      EXPECT_TRUE(test::ReadFile(back) == test::ReadFile(to)) << "type " << type << ' ' << options[1];
    }
  }
}

TEST(Convert, ReadsWhatOtherProgramsWrote) {
  const char *data = std::getenv("QEL_TEST_DATA");
  if (!data) GTEST_SKIP() << "QEL_TEST_DATA names no folder of pictures";
  const test::Scratch scratch;
  const std::string to = scratch / "to.bmp";
  int read = 0;
  for (const auto &entry : std::filesystem::recursive_directory_iterator(data)) {
    if (entry.path().extension() != ".bmp") continue;
    const std::string from = entry.path().string();
    const std::string name = entry.path().filename().string();
    const auto outcome = Convert(from, to, {"--store", "reserved", "--layout", "block"});
    if (name.find("rle") != std::string::npos || name == "pal8os2.bmp") {
      EXPECT_EQ(outcome.status, 1) << name;
      EXPECT_FALSE(std::filesystem::exists(to)) << name;
      continue;
    }
    ++read;
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const auto comparison = Qel({"compare", from, to});
    EXPECT_EQ(comparison.status, 0) << comparison.err;
    std::filesystem::remove(to);
  }
  EXPECT_GT(read, 0);
}

}  // namespace
