// qel info: what it tells of good files, what it says of bad ones, and wrong usage.
#include <sys/stat.h>

#include "app/picture.h"

namespace {

using test::DibFile;
using test::Qel;

TEST(Info, TellsSizeTypePaletteResolutionStoreAndLayout) {
  const test::Scratch scratch;
  RGBQUAD colours[5] = {{1, 2, 3, 0}, {4, 5, 6, 0}, {7, 8, 9, 0}, {10, 11, 12, 0}, {13, 14, 15, 0}};
  PQel image;
  ASSERT_TRUE(image.CreateImage(3, 10, -7, 5, colours, 1000, 2000, 1, 0, 0));
  ASSERT_TRUE(image.SaveDIB((scratch / "a.bmp").c_str(), 0));

  const auto plain = Qel({"info", scratch / "a.bmp"});
  EXPECT_EQ(plain.status, 0) << plain.err;
  EXPECT_EQ(plain.out, scratch / "a.bmp" +
                           "\n"
                           "  format      BMP\n"
                           "  size        10 x 7 pixels, top-down\n"
                           "  type        3 (256-colour palette), 8 bits a pixel\n"
                           "  palette     5 colours, custom\n"
                           "  resolution  1000 x 2000 dots per metre\n"
                           "  store       global memory, 144 bytes\n"
                           "  layout      linear, 12 bytes a row\n");

  // Blocks are stored whole: 256 x 256 bytes behind 60 of header and table.
  const auto kept = Qel({"info", "--store", "reserved", "--layout", "block", scratch / "a.bmp"});
  EXPECT_NE(kept.out.find("  store       reserved memory, 65596 bytes\n  layout      block, 12 bytes a row\n"),
            std::string::npos)
      << kept.out << kept.err;
  EXPECT_NE(Qel({"info", "--store", "mapping", scratch / "a.bmp"}).out.find("named mapping"), std::string::npos);
}

TEST(Info, TellsPalettesApart) {
  const test::Scratch scratch;
  const char *const palettes[10] = {"2 colours, standard",
                                    "none",
                                    "16 colours, standard",
                                    "256 colours, standard",
                                    "16 colours, gray ramp",
                                    "256 colours, gray ramp",
                                    "none",
                                    "none",
                                    "none",
                                    "none"};
  std::vector<std::string> command{"info"};
  for (int type = 0; type < 10; ++type) {
    command.push_back(scratch / std::to_string(type));
    test::SaveRandom(command.back(), type, 3, 3);
  }
  const auto outcome = Qel(command);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  std::size_t at = 0;
  for (int type = 0; type < 10; ++type) {
    at = outcome.out.find("  type        " + std::to_string(type) + " (", at);
    ASSERT_NE(at, std::string::npos) << type << '\n' << outcome.out;
    at = outcome.out.find("palette     ", outcome.out.find('\n', at)) + 12;
    EXPECT_EQ(outcome.out.substr(at, outcome.out.find('\n', at) - at), palettes[type]) << type;
  }
}

TEST(Info, SaysInOneLineWhyAFileIsNotRead) {
  const auto With = [](auto change) {
    DibFile header;
    header.bits = 24;
    change(header);
    return Pack(header).substr(0, 54) + std::string(8, '\0');
  };
  struct Case {
    const char *reason;
    std::string bytes;
    const char *withLibrary = "";  // what the library of the format says instead; null: it reads the file
  };
  const bool hasLibraries = Qel({"formats"}).out.find("PNG") != std::string::npos;
  const Case cases[] = {
      {"is no picture of a known format", ""},
      {"is no picture of a known format",
       "GIB89a and more, enough bytes for every header that there is in such a file"},
      {"is cut short within its headers", Pack(DibFile()).substr(0, 17)},
      {"is cut short within its headers", Pack(DibFile()).substr(0, 53)},
      {"is cut short within its headers", With([](DibFile &h) { h.bits = 4; })},
      {"is cut short within its headers", With([](DibFile &h) { h.compression = 3, h.bits = 16; })},
      {"is cut short within its headers", With([](DibFile &h) { h.headerSize = 124; })},
      {"has a header of 12 bytes, 40 at least are read", With([](DibFile &h) { h.headerSize = 12; }),
       "has 0 bits a pixel, which is not read"},
      {"holds compressed rows, which are not read", With([](DibFile &h) { h.compression = 1, h.bits = 8; }),
       "is cut short within its headers"},
      {"holds compressed rows, which are not read", With([](DibFile &h) { h.compression = 5; })},
      {"has 2 bits a pixel, which is not read", With([](DibFile &h) { h.bits = 2, h.clrUsed = 1; })},
      {"has no size: 0 x 1 pixels", With([](DibFile &h) { h.width = 0; })},
      {"has no size: 1 x 0 pixels", With([](DibFile &h) { h.height = 0; })},
      {"has a colour table of 257 entries, 256 at most are read", With([](DibFile &h) { h.clrUsed = 257; }), nullptr},
      {"has a file-size field of 0", "BM" + std::string(4, '\0') + Pack(DibFile()).substr(6),
       "is cut short within its headers"},
      {"out of memory", With([](DibFile &h) { h.width = h.height = 0x7FFFFFFF, h.bits = 48; }),
       "has 48 bits a pixel, which is not read"},
  };
  const test::Scratch scratch;
  const std::string path = scratch / "a.bmp";
  for (const Case &c : cases) {
    test::WriteFile(path, c.bytes);
    const auto outcome = Qel({"info", path});
    if (hasLibraries && c.withLibrary == nullptr) {
      EXPECT_EQ(outcome.status, 0) << outcome.err;
      continue;
    }
    const char *const reason = hasLibraries && *c.withLibrary ? c.withLibrary : c.reason;
    EXPECT_EQ(outcome.status, 1) << reason;
    EXPECT_EQ(outcome.err, "qel: " + path + ": " + reason + "\n");
    EXPECT_EQ(outcome.out, "");
  }
}

TEST(Info, SaysWhatIsWrongWithAName) {
  const test::Scratch scratch;
  mkfifo((scratch / "fifo").c_str(), 0600);
  const auto Says = [](const std::string &path, const std::string &message) {
    const auto outcome = Qel({"info", path});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "qel: " + message + "\n");
  };
  Says("", "'': No such file or directory");
  Says(scratch / "none.bmp", scratch / "none.bmp: No such file or directory");
  Says(scratch / "none/a.bmp", scratch / "none/a.bmp: No such file or directory");
  Says(scratch / "", scratch / ": is a folder");
  Says(scratch / "fifo", scratch / "fifo: is not a regular file");

  // One bad file hides no other.
  test::SaveRandom(scratch / "good.bmp", 1, 2, 2);
  const auto both = Qel({"info", scratch / "none.bmp", scratch / "good.bmp"});
  EXPECT_EQ(both.status, 1);
  EXPECT_NE(both.out.find("2 x 2 pixels"), std::string::npos);
}

TEST(Usage, WrongUsageIsStatus2WithOneLine) {
  const std::vector<std::string> wrong[] = {
      {},
      {"paint"},
      {"info"},
      {"convert", "a.bmp"},
      {"convert", "a.bmp", "b.bmp", "c.bmp"},
      {"convert", "a.bmp", "b.bmp", "--store", "tape"},
      {"convert", "a.bmp", "b.bmp", "--layout", "round"},
      {"info", "a.bmp", "--loud"},
  };
  for (const auto &arguments : wrong) {
    const auto outcome = Qel(arguments);
    EXPECT_EQ(outcome.status, 2) << outcome.err;
    EXPECT_EQ(outcome.err.rfind("qel: ", 0), 0u) << outcome.err;
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
  }
  EXPECT_NE(Qel(wrong[5]).err.find("{memory,reserved,mapping}"), std::string::npos);
  const auto help = Qel({"--help"});
  EXPECT_EQ(help.status, 0);
  for (const char *verb :
       {"info", "convert", "palette", "gallery", "resize", "turn", "rotate", "blur", "compare", "card", "scene"})
    EXPECT_NE(help.out.find(verb), std::string::npos);
}

}  // namespace
