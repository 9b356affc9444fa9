// Mask files and the packing of their rows: packed bytes against a packer and an unpacker written step by step, files
// of every type and layout there and back, and files that are cut, twisted or hostile.
#include "fileio/dib_bytes.h"
#include "qel/lines/byte_stream.h"
#include "support/dib.h"
#include "support/targets.h"

namespace {

using namespace test;

// Packing ------------------------------------------------------------------------------------------------------------

bool IsRunAt(const Bytes &src, std::size_t i) {
  return i + 2 < src.size() && src[i] == src[i + 1] && src[i] == src[i + 2];
}

/// Packs byte by byte.
Bytes NaivePack(const Bytes &src) {
  Bytes packed;
  for (std::size_t i = 0; i < src.size();) {
    if (IsRunAt(src, i)) {
      const unsigned char value = src[i];
      std::size_t count = 0;
      for (; i < src.size() && src[i] == value; ++i) ++count;
      for (; count > 65535; count -= 65535) packed.insert(packed.end(), {0x80, 0xFF, 0xFF, value});
      if (count > 127) {
        packed.push_back(0x80);
        Append(packed, count, 2);
      } else {
        packed.push_back(static_cast<unsigned char>(0x80 + count));
      }
      packed.push_back(value);
      continue;
    }
    std::size_t control = packed.size();
    packed.push_back(0);
    for (; i < src.size() && !IsRunAt(src, i); ++i) {
      if (packed[control] == 127) {
        control = packed.size();
        packed.push_back(0);
      }
      ++packed[control];
      packed.push_back(src[i]);
    }
  }
  return packed;
}

/// Carries out every command.
Bytes NaiveUnpack(const Bytes &packed) {
  Bytes made;
  for (std::size_t i = 0; i < packed.size();) {
    const unsigned control = packed[i++];
    if (control < 0x80) {
      for (unsigned k = 0; k < control; ++k) made.push_back(packed.at(i++));
      continue;
    }
    std::size_t count = control - 0x80;
    if (control == 0x80) {
      count = Field(packed, i, 2);
      i += 2;
    }
    made.insert(made.end(), count, packed.at(i++));
  }
  return made;
}

/// Packs and unpacks through the image's operations, in buffers of exactly the size that they are told to have.
void CheckBytes(const Bytes &content, const Bytes &expected) {
  PQel image;
  const long n = static_cast<long>(content.size());
  Bytes src(content), packed(content.size() + content.size() / 127 + 1), back(content.size()), commands(expected);
  const long count = image.CompressByteStream(packed.data(), src.data(), n);
  ASSERT_TRUE(Bytes(packed.begin(), packed.begin() + count) == expected) << n << " bytes";
  ASSERT_EQ(qel::lines::UnpackedBytes(packed.data(), count), n);
  image.DecompressByteStream(back.data(), commands.data(), n);
  ASSERT_TRUE(back == content) << n << " bytes";
}

TEST(ByteStream, Examples) {
  Bytes different(128);
  for (std::size_t i = 0; i < 128; ++i) different[i] = static_cast<unsigned char>(i);
  Bytes blocks = different;
  blocks.insert(blocks.begin() + 127, 1);
  blocks.insert(blocks.begin(), 127);
  const struct {
    Bytes content, packed;
  } cases[] = {
      {Bytes(16, 7), {0x90, 7}},
      {Bytes(127, 7), {0xFF, 7}},
      {Bytes(128, 7), {0x80, 128, 0, 7}},
      {Bytes(300, 7), {0x80, 0x2C, 0x01, 7}},
      {Bytes(65535, 7), {0x80, 0xFF, 0xFF, 7}},
      {Bytes(65536, 7), {0x80, 0xFF, 0xFF, 7, 0x81, 7}},
      {{5, 5, 6, 7}, {4, 5, 5, 6, 7}},
      {{5, 5, 5, 9}, {0x83, 5, 1, 9}},
      {{9}, {1, 9}},
      {different, blocks},
  };
  for (const auto &c : cases) CheckBytes(c.content, c.packed);
  PQel image;
  unsigned char byte = 1;
  EXPECT_EQ(image.CompressByteStream(&byte, &byte, 0), 0);
  EXPECT_EQ(image.CompressByteStream(&byte, &byte, -1), 0);
  image.DecompressByteStream(&byte, &byte, -1);
  EXPECT_EQ(byte, 1);
}

TEST(ByteStream, RunsAndBlocksOfEveryLengthInAnyOrder) {
  std::mt19937 random(1);
  const std::size_t lengths[] = {1, 2, 3, 4, 15, 16, 31, 32, 63, 64, 65, 126, 127, 128, 129, 254, 700, 65535, 65536};
  ForEachTarget([&] {
    for (int round = 0; round < 1500 && !testing::Test::HasFatalFailure(); ++round) {
      Bytes content;
      for (unsigned part = random() % 12 + 1; part > 0; --part) {
        const std::size_t length = lengths[random() % (std::size(lengths) - (round % 50 != 0 ? 2 : 0))];
        const bool isRun = random() % 2 != 0;
        Bytes bytes = isRun ? Bytes(length, static_cast<unsigned char>(random())) : RandomBytes(length, random);
        if (random() % 4 == 0)
          for (auto &b : bytes) b &= 1;
        content.insert(content.end(), bytes.begin(), bytes.end());
      }
      content.resize(content.size() - random() % std::min<std::size_t>(content.size(), 20));
      CheckBytes(Bytes(content), NaivePack(content));
    }
  });
}

TEST(ByteStream, UnpackingStopsAtItsLengthWhateverTheCommandsSay) {
  std::mt19937 random(2);
  PQel image;
  ForEachTarget([&] {
    for (int round = 0; round < 1000; ++round) {
      Bytes commands;
      for (unsigned command = random() % 8 + 1; command > 0; --command) {
        const unsigned control = random() % 3 ? random() % 256 : random() % 2 * 0x80;
        commands.push_back(static_cast<unsigned char>(control));
        if (control == 0x80) Append(commands, random() % 1000, 2);
        const Bytes operand = RandomBytes(control < 0x80 ? control : 1, random);
        commands.insert(commands.end(), operand.begin(), operand.end());
      }
      const Bytes expected = NaiveUnpack(commands), exact(commands);
      const long n = static_cast<long>(expected.size());
      ASSERT_EQ(qel::lines::UnpackedBytes(exact.data(), static_cast<long>(exact.size())), n);
      Bytes made(static_cast<std::size_t>(random() % 2 ? n : n / 2));
      image.DecompressByteStream(made.data(), const_cast<unsigned char *>(exact.data()),
                                 static_cast<long>(made.size()));
      ASSERT_TRUE(std::equal(made.begin(), made.end(), expected.begin()));
    }
  });
  for (const Bytes &cut : {Bytes{5, 1, 2}, Bytes{0x80, 1, 0}, Bytes{0x85}})
    EXPECT_EQ(qel::lines::UnpackedBytes(cut.data(), static_cast<long>(cut.size())), -1);
}

// Files --------------------------------------------------------------------------------------------------------------

/// Masks as they are, with runs and soft rims, and pure noise every third row.
void Paint(NaiveImage &pixels, std::mt19937 &random) {
  pixels.Randomise(random);
  for (long y = 0; y < pixels.height; ++y)
    for (long x = 1; x < pixels.width && y % 3; ++x)
      if (random() % (y % 3 == 1 ? 40 : 5)) pixels.At(x, y) = pixels.At(x - 1, y);
}

/// The rows of a mask file after its headers, from the naive packer.
Bytes NaiveRows(NaiveImage &pixels) {
  Bytes rows;
  for (long y = pixels.height - 1; y >= 0; --y) {
    Bytes row = pixels.Row(y);
    row.resize(static_cast<std::size_t>(PackedBytes(pixels.bits, pixels.width)));
    const Bytes packed = NaivePack(row);
    const Bytes &shorter = packed.size() < row.size() ? packed : row;
    Append(rows, shorter.size(), 2);
    rows.insert(rows.end(), shorter.begin(), shorter.end());
  }
  return rows;
}

int ReadMask(PQel &image, const std::string &path, const Bytes &bytes) {
  WriteFile(path, bytes);
  return image.LoadMask(path.c_str(), 0);
}

class MaskRoundTrip : public testing::TestWithParam<int> {};

TEST_P(MaskRoundTrip, EveryStoreLayoutAndRowOrder) {
  const int type = GetParam();
  std::mt19937 random(static_cast<unsigned>(type));
  Scratch folder;
  const std::pair<long, long> sizes[] = {{1, 1}, {37, 13}, {8, 5}, {301, 270}, {3000, 400}};
  for (const Keeping &keeping : AllKeepings()) {
    for (const auto &[width, height] : sizes) {
      if (width > 301 && keeping.memFlags != 1) continue;
      SCOPED_TRACE(testing::Message() << width << "x" << height << " flags " << keeping.memFlags << " block "
                                      << keeping.block << (keeping.topDown ? " top-down" : " bottom-up"));
      PQel image;
      ASSERT_EQ(Create(image, type, width, height, keeping), 1);
      NaiveImage pixels(width, height, image.GetBitCount());
      Paint(pixels, random);
      pixels.Store(image);

      const std::string path = folder / "image.msk";
      const auto *info = reinterpret_cast<const unsigned char *>(image.GetBIH());
      Bytes expected(7, 0xA5);  // other data before and behind
      expected.insert(expected.end(), {'R', 'V', 0, 0, 0, 0, 0, 0, 0, 0});
      Append(expected, 14 + static_cast<std::uint64_t>(image.GetLmmOffset()), 4);
      expected.insert(expected.end(), info, info + image.GetLmmOffset());
      const Bytes rows = NaiveRows(pixels);
      expected.insert(expected.end(), rows.begin(), rows.end());
      CFile file;
      ASSERT_TRUE(file.Open(path.c_str(), CFile::modeCreate | CFile::modeReadWrite));
      file.Write(expected.data(), 7);
      ASSERT_EQ(image.WriteMaskFile(file), 1);
      ASSERT_TRUE(ReadFile<Bytes>(path) == expected);

      file.Write(expected.data(), 5);
      file.Seek(7, CFile::begin);
      PQel back;
      ASSERT_EQ(back.ReadMaskFile(file), 1);
      EXPECT_EQ(file.GetPosition(), expected.size());
      EXPECT_EQ(back.GetImageType(), type);
      EXPECT_EQ(std::memcmp(back.GetBIH(), info, static_cast<std::size_t>(image.GetLmmOffset())), 0);
      ASSERT_TRUE(Pixels(back) == pixels);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(AllTypes, MaskRoundTrip, testing::Range(0, 10));

/// A sound file of random colours.
Bytes SoundFile(int bits, long width, long height, std::mt19937 &random) {
  DibFile dib = RandomDib(bits, width, height, random);
  dib.rows.clear();
  Bytes file = dib.Build();
  file[0] = 'R';
  file[1] = 'V';
  NaiveImage pixels(width, height, bits);
  Paint(pixels, random);
  const Bytes rows = NaiveRows(pixels);
  file.insert(file.end(), rows.begin(), rows.end());
  return file;
}

TEST(BrokenMask, CutAtEveryByte) {
  std::mt19937 random(3);
  Scratch folder;
  for (int bits : {1, 8, 16, 24}) {
    const Bytes whole = SoundFile(bits, 9, 4, random);
    for (std::size_t cut = 0; cut <= whole.size(); ++cut) {
      SCOPED_TRACE(testing::Message() << bits << " bits, " << cut << " of " << whole.size() << " bytes");
      PQel image;
      MakeOld(image);
      ASSERT_EQ(ReadMask(image, folder / "a.msk", Bytes(whole.begin(), whole.begin() + static_cast<long>(cut))),
                cut == whole.size());
      if (cut < Field(whole, 10, 4))
        ExpectOld(image);
      else
        EXPECT_EQ(image.IsEmpty(), cut < whole.size());
    }
  }
}

TEST(BrokenMask, HeadersAndRows) {
  std::mt19937 random(4);
  Scratch folder;
  enum After { kKept, kEmpty, kRead };
  const struct {
    std::size_t at;
    int count;
    std::uint32_t value;
    After after;
  } cases[] = {
      {0, 2, 0x4D42, kKept},       {2, 4, 0xFFFFFFFF, kRead},   {6, 4, 0xFFFFFFFF, kRead},   // magic, unused
      {10, 4, 0, kKept},           {10, 4, 13, kKept},          {10, 4, 53, kKept},          // rows offset
      {10, 4, 1077, kKept},        {10, 4, 0xFFFFFFFF, kKept},  {14, 4, 0, kKept},           //
      {14, 4, 12, kKept},          {14, 4, 108, kKept},         {46, 4, 257, kKept},         // header, colours
      {46, 4, 0xFFFFFFFF, kKept},  {18, 4, 65536, kKept},       {18, 4, 0x7FFFFFFF, kKept},  // width
      {18, 4, 0, kEmpty},          {18, 4, 0xFFFFFFFF, kEmpty}, {22, 4, 0, kEmpty},          // width, height
      {22, 4, 0x80000000, kEmpty}, {22, 4, 0x7FFFFFFF, kEmpty}, {22, 4, 0xFFFFFFFE, kRead},  // height
      {28, 2, 7, kEmpty},          {28, 2, 0, kEmpty},          {1078, 2, 0, kEmpty},        // bits, count
      {1078, 2, 3, kEmpty},        {1078, 2, 0xFFFF, kEmpty},   {1080, 1, 0x8F, kEmpty},     // commands
      {1080, 1, 0x91, kEmpty},     {1080, 1, 0x80, kEmpty},     {1080, 1, 0x10, kEmpty},     //
      {1080, 1, 0, kEmpty},        {1081, 1, 77, kRead},
  };
  Bytes sound = SoundFile(8, 16, 2, random);
  sound.resize(1078);
  for (int row = 0; row < 2; ++row) sound.insert(sound.end(), {2, 0, 0x90, 200});
  for (const auto &c : cases) {
    SCOPED_TRACE(testing::Message() << "field at " << c.at << " = " << c.value);
    Bytes file = sound;
    SetField(file, c.at, c.count, c.value);
    PQel image;
    MakeOld(image);
    EXPECT_EQ(ReadMask(image, folder / "a.msk", file), c.after == kRead);
    if (c.after == kKept)
      ExpectOld(image);
    else if (c.after == kEmpty)
      EXPECT_TRUE(image.IsEmpty());
    else
      EXPECT_EQ(RowOf(image, 0), Bytes(16, 200));
  }
}

TEST(BrokenMask, LongerBlockIsPassedOver) {
  std::mt19937 random(5);
  Scratch folder;
  Bytes file = SoundFile(8, 40, 9, random);
  PQel plain, image;
  ASSERT_EQ(ReadMask(plain, folder / "a.msk", file), 1);
  file.insert(file.begin() + 1078, 5000, 0x5A);
  SetField(file, 10, 4, 1078 + 5000);
  ASSERT_EQ(ReadMask(image, folder / "a.msk", file), 1);
  EXPECT_TRUE(ToRgb(image) == ToRgb(plain));
}

TEST(BrokenMask, AnyBytesChanged) {
  std::mt19937 random(6);
  Scratch folder;
  int results[2] = {};
  for (int round = 0; round < 2000; ++round) {
    const int bits[] = {1, 4, 8, 16, 24, 32, 48};
    Bytes file = SoundFile(bits[random() % 7], random() % 200 + 1, random() % 9 + 1, random);
    const std::size_t rowsAt = Field(file, 10, 4);
    for (unsigned k = random() % 3; k < 3; ++k) {
      unsigned char &byte = file[round % 3 ? rowsAt + random() % (file.size() - rowsAt) : random() % 54];
      byte = static_cast<unsigned char>(random() % 2 ? random() : byte ^ 1u << random() % 8);
    }
    PQel image, back;
    MakeOld(image);
    const int result = ReadMask(image, folder / "a.msk", file);
    ++results[result];
    if (result == 0) {
      if (!image.IsEmpty()) ExpectOld(image);
      continue;
    }
    ASSERT_EQ(image.GetImageWidth(), static_cast<std::int32_t>(Field(file, 18, 4)));
    ASSERT_EQ(image.SaveMask((folder / "b.msk").c_str(), 0), 1);
    ASSERT_EQ(back.LoadMask((folder / "b.msk").c_str(), 0), 1);
    ASSERT_TRUE(Pixels(back) == Pixels(image));
  }
  EXPECT_GT(results[0], 200);
  EXPECT_GT(results[1], 200);
}

// Names and limits ---------------------------------------------------------------------------------------------------

TEST(MaskFile, NamesAndWhatIsNotWritten) {
  Scratch folder;
  PQel image, back, wide, empty;
  MakeOld(image);
  EXPECT_EQ(image.SaveMask((folder / "m.msk").c_str(), 1), 1);
  EXPECT_EQ(image.SaveMask((folder / "plain").c_str(), 1), 1);
  EXPECT_EQ(folder.List(), (std::vector<std::string>{"m.msk.msk", "plain.msk"}));
  EXPECT_EQ(back.LoadMask((folder / "plain").c_str(), 5), 1);
  ExpectOld(back);
  for (const char *name : {"m.msk", "missing", "plain.dat"}) EXPECT_EQ(back.LoadMask((folder / name).c_str(), 0), 0);
  ExpectOld(back);
  EXPECT_EQ(empty.SaveMask((folder / "plain.msk").c_str(), 0), 0);
  ASSERT_EQ(wide.CreateImage(5, 65536, 1, 0, nullptr, 0, 0, 1, 0, 0), 1);
  EXPECT_EQ(wide.SaveMask((folder / "plain.msk").c_str(), 0), 0);
  EXPECT_EQ(back.LoadMask((folder / "plain.msk").c_str(), 0), 1);  // as it was
  ASSERT_EQ(wide.CreateImage(5, 65535, 2, 0, nullptr, 0, 0, 1, 0, 0), 1);
  EXPECT_EQ(wide.SaveMask((folder / "plain.msk").c_str(), 0), 1);
  EXPECT_EQ(back.LoadMask((folder / "plain.msk").c_str(), 0), 1);
  EXPECT_EQ(back.GetImageWidth(), 65535);
}

TEST(MaskFile, ExceptionsOfTheFilePassThrough) {
  class Breaking : public CFile {
   public:
    UINT Read(void *buffer, UINT count) override {
      if (GetPosition() > 100) throw new CFileException(CFileException::hardIO);
      return CFile::Read(buffer, count);
    }
  } file;
  Scratch folder;
  PQel image;
  MakeOld(image);
  ASSERT_EQ(image.SaveMask((folder / "a.msk").c_str(), 0), 1);
  ASSERT_TRUE(file.Open((folder / "a.msk").c_str(), CFile::modeRead));
  for (const bool write : {false, true}) {
    int cause = CFileException::none;
    try {
      write ? image.SaveMask("/dev/full", 0) : image.ReadMaskFile(file);
    } catch (CFileException *error) {
      cause = error->m_cause;
      error->Delete();
    }
    EXPECT_EQ(cause, write ? CFileException::diskFull : CFileException::hardIO);
  }
}

}  // namespace
