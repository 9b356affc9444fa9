// Mask files and the packing of their rows: packed bytes against a packer and an unpacker written step by step, files
// of every type and layout there and back, and files that are cut, twisted or hostile.
#include <sys/mman.h>

#include <memory>

#include "fileio/dib_bytes.h"
#include "qel/lines/byte_stream.h"
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

/// Bytes that end where their memory ends, so that a step too far is a fault.
class Fenced {
 public:
  explicit Fenced(std::size_t count) : m_size((count + 4095) / 4096 * 4096 + 4096) {
    m_base = static_cast<unsigned char *>(mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANON, -1, 0));
    mprotect(m_base + m_size - 4096, 4096, PROT_NONE);
    bytes = m_base + m_size - 4096 - count;
  }
  explicit Fenced(const Bytes &content) : Fenced(content.size()) { std::copy(content.begin(), content.end(), bytes); }
  ~Fenced() { munmap(m_base, m_size); }
  Fenced(const Fenced &) = delete;
  Fenced &operator=(const Fenced &) = delete;

  unsigned char *bytes;

 private:
  std::size_t m_size;
  unsigned char *m_base;
};

/// Packs and unpacks through the image's operations and compares with the naive ones.
void CheckBytes(const Bytes &content) {
  PQel image;
  const Fenced src(content), packed(content.size() + content.size() / 127 + 1), back(content.size());
  const Bytes expected = NaivePack(content);
  const long n = static_cast<long>(content.size());
  const long count = image.CompressByteStream(packed.bytes, src.bytes, n);
  ASSERT_TRUE(Bytes(packed.bytes, packed.bytes + count) == expected) << n << " bytes";
  ASSERT_EQ(qel::lines::UnpackedBytes(packed.bytes, count), n);
  const Fenced commands(expected);
  image.DecompressByteStream(back.bytes, commands.bytes, n);
  ASSERT_TRUE(Bytes(back.bytes, back.bytes + n) == content) << n << " bytes";
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
  PQel image;
  for (const auto &c : cases) {
    Bytes content = c.content, packed(content.size() + content.size() / 127 + 1);
    packed.resize(static_cast<std::size_t>(
        image.CompressByteStream(packed.data(), content.data(), static_cast<long>(content.size()))));
    EXPECT_EQ(packed, c.packed);
    CheckBytes(c.content);
  }
  unsigned char byte = 1;
  EXPECT_EQ(image.CompressByteStream(&byte, &byte, 0), 0);
  EXPECT_EQ(image.CompressByteStream(&byte, &byte, -1), 0);
  EXPECT_EQ(image.CompressByteStream(nullptr, &byte, 1), 0);
  EXPECT_EQ(image.CompressByteStream(&byte, nullptr, 1), 0);
  image.DecompressByteStream(&byte, nullptr, 1);
  image.DecompressByteStream(nullptr, &byte, 1);
  image.DecompressByteStream(&byte, &byte, -1);
  EXPECT_EQ(byte, 1);
}

TEST(ByteStream, RunsAndBlocksOfEveryLengthInAnyOrder) {
  std::mt19937 random(1);
  ForEachTarget([&] {
    for (std::size_t n = 1; n <= 300; ++n) CheckBytes(RandomBytes(n, random));
    for (std::size_t n : {65534u, 65535u, 65536u, 65537u, 65540u, 131070u, 131071u}) CheckBytes(Bytes(n, 3));
    for (int round = 0; round < 1000 && !testing::Test::HasFatalFailure(); ++round) {
      const std::size_t lengths[] = {1, 2, 3, 4, 15, 16, 31, 32, 63, 64, 65, 126, 127, 128, 129, 254, random() % 700};
      Bytes content;
      for (unsigned part = random() % 12 + 1; part > 0; --part) {
        const std::size_t length = lengths[random() % std::size(lengths)];
        const unsigned colours = random() % 4 == 0 ? 2 : 256;
        const auto value = static_cast<unsigned char>(random());
        const bool run = random() % 2 != 0;
        for (std::size_t i = 0; i < length; ++i)
          content.push_back(run ? value : static_cast<unsigned char>(random() % colours));
      }
      CheckBytes(content);
    }
  });
}

TEST(ByteStream, UnpackingStopsAtItsLengthWhateverTheCommandsSay) {
  std::mt19937 random(2);
  PQel image;
  ForEachTarget([&] {
    for (int round = 0; round < 1000; ++round) {
      Bytes packed;
      for (unsigned command = random() % 8 + 1; command > 0; --command) {
        packed.push_back(static_cast<unsigned char>(random() % 3 ? random() : random() % 2 * 0x80));
        const unsigned control = packed.back();
        const Bytes operand = RandomBytes(control == 0x80 ? 3 : control > 0x80 ? 1 : control, random);
        packed.insert(packed.end(), operand.begin(), operand.end());
        if (control == 0x80) packed[packed.size() - 2] = static_cast<unsigned char>(random() % 4);
      }
      const Bytes expected = NaiveUnpack(packed);
      ASSERT_EQ(qel::lines::UnpackedBytes(packed.data(), static_cast<long>(packed.size())),
                static_cast<long>(expected.size()));
      const std::size_t n = expected.empty() ? 0 : random() % 2 ? expected.size() : random() % expected.size();
      const Fenced commands(packed), made(n);
      image.DecompressByteStream(made.bytes, commands.bytes, static_cast<long>(n));
      ASSERT_TRUE(std::equal(made.bytes, made.bytes + n, expected.begin()));
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
      NaiveImage read(width, height, pixels.bits);
      read.Load(back);
      ASSERT_TRUE(read == pixels);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(AllTypes, MaskRoundTrip, testing::Range(0, 10));

/// An image to lose: reading must leave it alone or replace it.
void MakeOld(PQel &image) {
  ASSERT_EQ(image.CreateImage(5, 3, 2, 0, nullptr, 10, 10, 1, 0, 0), 1);
  image.Clear(0x070707);
}

void ExpectOld(PQel &image) {
  ASSERT_FALSE(image.IsEmpty());
  EXPECT_EQ(RowOf(image, 1), Bytes({7, 7, 7}));
}

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
        ASSERT_EQ(image.IsEmpty(), cut < whole.size());
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
  for (std::size_t more : {4u, 5000u}) {
    Bytes file = SoundFile(8, 40, 9, random);
    PQel plain, image;
    ASSERT_EQ(ReadMask(plain, folder / "a.msk", file), 1);
    file.insert(file.begin() + 1078, more, 0x5A);
    SetField(file, 10, 4, static_cast<std::uint32_t>(1078 + more));
    ASSERT_EQ(ReadMask(image, folder / "a.msk", file), 1);
    EXPECT_TRUE(ToRgb(image) == ToRgb(plain));
  }
}

TEST(BrokenMask, AnyBytesChanged) {
  std::mt19937 random(6);
  Scratch folder;
  int read = 0, refused = 0;
  for (int round = 0; round < 1000; ++round) {
    const int bits[] = {1, 4, 8, 16, 24, 32, 48};
    Bytes file = SoundFile(bits[random() % 7], random() % 200 + 1, random() % 9 + 1, random);
    const std::size_t rowsAt = Field(file, 10, 4);
    const bool inRows = random() % 3 != 0;
    for (unsigned k = random() % 3; k < 3; ++k) {
      const std::size_t at =
          inRows ? rowsAt + random() % (file.size() - rowsAt) : random() % std::min<std::size_t>(file.size(), 60);
      file[at] = static_cast<unsigned char>(random() % 2 ? random() : file[at] ^ 1u << random() % 8);
    }
    PQel image;
    MakeOld(image);
    if (ReadMask(image, folder / "a.msk", file)) {
      ++read;
      ASSERT_EQ(image.GetImageWidth(), static_cast<std::int32_t>(Field(file, 18, 4)));
      ASSERT_EQ(image.SaveMask((folder / "b.msk").c_str(), 0), 1);
      PQel back;
      ASSERT_EQ(back.LoadMask((folder / "b.msk").c_str(), 0), 1);
      NaiveImage a(image.GetImageWidth(), image.GetImageHeight(), image.GetBitCount()), b = a;
      a.Load(image);
      b.Load(back);
      ASSERT_TRUE(a == b);
    } else {
      ++refused;
      if (!image.IsEmpty()) ExpectOld(image);
    }
  }
  EXPECT_GT(read, 300);
  EXPECT_GT(refused, 300);
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
  EXPECT_EQ(back.LoadMask("", 0), 0);
  EXPECT_EQ(back.LoadMask(nullptr, 0), 0);
  ExpectOld(back);
  EXPECT_EQ(image.SaveMask("", 1), 0);
  EXPECT_EQ(image.SaveMask(nullptr, 1), 0);

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
