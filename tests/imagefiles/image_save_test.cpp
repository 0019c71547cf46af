#include "imagefiles/image_save.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <set>

#include "image_load_test_support.h"
#include "imagefiles/file_dialog_filters.h"
#include "imagefiles/image_load.h"
#include "imagefiles/load_bitmap.h"

namespace kelvane {
namespace {

using test::FileBytes;

Bits RandomPicture(int w, int h, uint32_t seed) {
  Bits b(w, h);
  std::mt19937 rng(seed);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      for (int c = 0; c < 4; ++c) b.At(c, x, y) = static_cast<uint8_t>(rng());
  return b;
}

// A picture with exactly `colours` different colours (at most 256).
Bits FewColourPicture(int w, int h, int colours) {
  Bits b(w, h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const int k = (x + 3 * y) % colours;
      b.At(0, x, y) = static_cast<uint8_t>(k * 7);
      b.At(1, x, y) = static_cast<uint8_t>(255 - k);
      b.At(2, x, y) = static_cast<uint8_t>(k * 13);
    }
  return b;
}

int CountMismatches(const Bits& a, const Bits& b) {
  if (!a.SameShape(b)) return -1;
  int n = 0;
  for (int y = 0; y < a.Height(); ++y)
    for (int x = 0; x < a.Width(); ++x)
      for (int c = 0; c < 3; ++c) n += a.At(c, x, y) != b.At(c, x, y);
  return n;
}

// A FreeImage reader picked by the test, as a second decoder beside the
// program's own road.
Bits ReadWithFreeImage(const std::filesystem::path& path, FREE_IMAGE_FORMAT fif) {
  FIBITMAP* raw = FreeImage_Load(fif, path.string().c_str(), 0);
  if (!raw) return Bits();
  FIBITMAP* dib = FreeImage_ConvertTo24Bits(raw);
  FreeImage_Unload(raw);
  const int w = static_cast<int>(FreeImage_GetWidth(dib));
  const int h = static_cast<int>(FreeImage_GetHeight(dib));
  Bits out(w, h);
  for (int y = 0; y < h; ++y) {
    const uint8_t* s = FreeImage_GetScanLine(dib, h - 1 - y);
    for (int x = 0; x < w; ++x)
      for (int c = 0; c < 3; ++c) out.At(c, x, y) = s[3 * x + c];
  }
  FreeImage_Unload(dib);
  return out;
}

TEST(SaveImageTable, RowsInTheirOrder) {
  const auto& table = SaveFormatTable();
  ASSERT_EQ(table.size(), 13u);
  const std::vector<std::pair<const char*, SaveWriter>> order = {
      {"gif", SaveWriter::ColourReduction}, {"png", SaveWriter::SavePNG},    {"jpg", SaveWriter::SaveJPEG},
      {"bmp", SaveWriter::SaveBMP},         {"tif", SaveWriter::SaveTIFF},   {"pbm", SaveWriter::SavePNM},
      {"pgm", SaveWriter::SavePNM},         {"ppm", SaveWriter::SavePNM},    {"tga", SaveWriter::SaveTARGA},
      {"psd", SaveWriter::DevIL},           {"sgi", SaveWriter::DevIL},      {"raw", SaveWriter::DevIL},
      {"pcx", SaveWriter::DevIL}};
  for (size_t i = 0; i < order.size(); ++i) {
    EXPECT_EQ(table[i].extensions.front(), order[i].first);
    EXPECT_EQ(table[i].writer, order[i].second);
  }
  EXPECT_EQ(SaveFormatFor("JPEG")->flags, 0x80);  // superb quality
  EXPECT_EQ(SaveFormatFor("targa")->writer, SaveWriter::SaveTARGA);
  EXPECT_EQ(SaveFormatFor("psd")->flags, 0x439);
  EXPECT_EQ(SaveFormatFor("rgba")->flags, 0x42C);
  EXPECT_EQ(SaveFormatFor("raw")->flags, 0x430);
  EXPECT_EQ(SaveFormatFor("pcx")->flags, 0x428);
  EXPECT_EQ(SaveFormatFor("pbm")->depth, SaveDepthRule::To8BitsUnless1);
  EXPECT_EQ(SaveFormatFor("pgm")->depth, SaveDepthRule::To8BitsUnless8);
  EXPECT_EQ(SaveFormatFor("ppm")->depth, SaveDepthRule::To24BitsUnless24);
  for (const char* ext : {"jpe", "jif", "dib", "rle", "ico", "klf", ""}) EXPECT_EQ(SaveFormatFor(ext), nullptr) << ext;
}

TEST(SaveImageFile, LosslessRowsCarryThePictureExactly) {
  test::TempDir dir;
  const Bits picture = RandomPicture(13, 7, 42);  // odd width: padded rows
  cDIBSection iSrc;
  ASSERT_TRUE(iSrc.CreateFromBits(picture));
  // The BMP, read straight from its bytes: 24 bits, rows bottom-up.
  ASSERT_TRUE(SaveImageFile(iSrc, dir / "a.bmp", "BMP"));
  const ByteVector bmp = FileBytes(dir / "a.bmp");
  ASSERT_EQ(test::Le16At(bmp, 28), 24);
  const uint32_t off = test::Le32At(bmp, 10);
  int mismatches = 0;
  for (int y = 0; y < 7; ++y)
    for (int x = 0; x < 13; ++x)
      for (int c = 0; c < 3; ++c) mismatches += bmp[off + (6 - y) * 40 + 3 * x + c] != picture.At(c, x, y);
  EXPECT_EQ(mismatches, 0);

  // The PPM: "P6", size, 255, then red, green, blue per pixel from the top.
  ASSERT_TRUE(SaveImageFile(iSrc, dir / "a.ppm", "ppm"));
  const ByteVector ppm = FileBytes(dir / "a.ppm");
  const std::string head(ppm.begin(), ppm.begin() + 12);
  ASSERT_EQ(head, "P6\n13 7\n255\n");
  mismatches = 0;
  for (int y = 0; y < 7; ++y)
    for (int x = 0; x < 13; ++x)
      for (int c = 0; c < 3; ++c) mismatches += ppm[12 + 3 * (13 * y + x) + c] != picture.At(2 - c, x, y);
  EXPECT_EQ(mismatches, 0);

  // PNG, TIFF and every TARGA name, read back by FreeImage's own readers.
  const std::pair<const char*, FREE_IMAGE_FORMAT> others[] = {
      {"b.png", FIF_PNG},  {"c.tif", FIF_TIFF}, {"d.tiff", FIF_TIFF}, {"e.tga", FIF_TARGA},
      {"f.vda", FIF_TARGA}, {"g.vst", FIF_TARGA}, {"h.icb", FIF_TARGA}, {"i.targa", FIF_TARGA}};
  for (const auto& [name, fif] : others) {
    SCOPED_TRACE(name);
    ASSERT_TRUE(SaveImageFile(iSrc, dir / name, test::ExtensionOfName(name)));
    EXPECT_EQ(CountMismatches(ReadWithFreeImage(dir / name, fif), picture), 0);
  }
  // The TARGA header: uncompressed true colour (type 2), 24 bits.
  const ByteVector tga = FileBytes(dir / "e.tga");
  EXPECT_EQ(tga[2], 2);
  EXPECT_EQ(test::Le16At(tga, 12), 13);
  EXPECT_EQ(tga[16], 24);
}

TEST(SaveImageFile, ThirtyTwoBitPicturesAreWrittenAsTwentyFour) {
  test::TempDir dir;
  cAlphaDibSection picture;
  ASSERT_TRUE(picture.Create(5, 4));
  std::memset(picture.DIBSectionBitsPtr(), 0x5A, static_cast<size_t>(picture.BytesPerScanLine()) * 4);
  ASSERT_TRUE(SaveImageFile(picture, dir / "a.png", "png"));
  // IHDR: width, height, bit depth 8, colour type 2 (truecolour, no alpha).
  const ByteVector png = FileBytes(dir / "a.png");
  EXPECT_EQ(test::Be32At(png, 16), 5u);
  EXPECT_EQ(test::Be32At(png, 20), 4u);
  EXPECT_EQ(png[24], 8);
  EXPECT_EQ(png[25], 2);
}

// FreeImage's 8-bit conversion of a colour picture: grey = Rec. 709 luma
// 0.2126 R + 0.7152 G + 0.0722 B, + 0.5, truncated.
uint8_t Rec709Grey(const Bits& b, int x, int y) {
  return static_cast<uint8_t>(0.2126 * b.At(2, x, y) + 0.7152 * b.At(1, x, y) + 0.0722 * b.At(0, x, y) + 0.5);
}

TEST(SaveImageFile, PnmNamesTakeTheDepthOfTheirRow) {
  test::TempDir dir;
  const Bits picture = RandomPicture(6, 5, 9);
  cDIBSection iSrc;
  ASSERT_TRUE(iSrc.CreateFromBits(picture));
  for (const char* name : {"grey.pgm", "bits.pbm"}) {
    SCOPED_TRACE(name);
    ASSERT_TRUE(SaveImageFile(iSrc, dir / name, test::ExtensionOfName(name)));
    const ByteVector bytes = FileBytes(dir / name);
    // Both are 8-bit grey maps: the bitmap name holds a "P5" file.
    const std::string head(bytes.begin(), bytes.begin() + 11);
    ASSERT_EQ(head, "P5\n6 5\n255\n");
    int mismatches = 0;
    for (int y = 0; y < 5; ++y)
      for (int x = 0; x < 6; ++x) mismatches += std::abs(bytes[11 + 6 * y + x] - Rec709Grey(picture, x, y)) > 1;
    EXPECT_EQ(mismatches, 0);
  }
}

// A FreeImage image of the given depth, every byte of its lines set to v.
FIBITMAP* Filled(unsigned bpp, uint8_t v) {
  FIBITMAP* dib = FreeImage_Allocate(4, 3, static_cast<int>(bpp));
  for (int y = 0; y < 3; ++y) std::memset(FreeImage_GetScanLine(dib, y), v, FreeImage_GetLine(dib));
  return dib;
}

TEST(SaveImageFile, DepthRulesOfThePnmRows) {
  struct Case {
    SaveDepthRule rule;
    unsigned from;
    unsigned to;  // 0: kept as it is
  };
  // "pbm": anything but 1 bit to 8; "pgm": anything but 8 to 8; "ppm":
  // anything but 24 to 24; the other rows keep every depth.
  const Case cases[] = {
      {SaveDepthRule::To8BitsUnless1, 1, 0},    {SaveDepthRule::To8BitsUnless1, 8, 8},
      {SaveDepthRule::To8BitsUnless1, 24, 8},   {SaveDepthRule::To8BitsUnless1, 32, 8},
      {SaveDepthRule::To8BitsUnless8, 8, 0},    {SaveDepthRule::To8BitsUnless8, 1, 8},
      {SaveDepthRule::To8BitsUnless8, 24, 8},   {SaveDepthRule::To24BitsUnless24, 24, 0},
      {SaveDepthRule::To24BitsUnless24, 8, 24}, {SaveDepthRule::To24BitsUnless24, 32, 24},
      {SaveDepthRule::To24BitsUnless24, 1, 24}, {SaveDepthRule::None, 8, 0},
      {SaveDepthRule::None, 24, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << static_cast<int>(c.rule) << " from " << c.from);
    FIBITMAP* dib = Filled(c.from, 0);
    FIBITMAP* converted = ApplySaveDepthRule(dib, c.rule);
    if (c.to == 0) {
      EXPECT_EQ(converted, nullptr);
    } else {
      ASSERT_NE(converted, nullptr);
      EXPECT_NE(converted, dib);
      EXPECT_EQ(FreeImage_GetBPP(converted), c.to);
      FreeImage_Unload(converted);
    }
    FreeImage_Unload(dib);
  }
  EXPECT_EQ(ApplySaveDepthRule(nullptr, SaveDepthRule::To8BitsUnless1), nullptr);

  // A kept 1-bit image goes to the PNM writer as a bitmap: "P4", rows of
  // whole bytes, 4 pixels in the high bits of one byte.
  test::TempDir dir;
  FIBITMAP* bits1 = Filled(1, 0);
  ASSERT_EQ(ApplySaveDepthRule(bits1, SaveDepthRule::To8BitsUnless1), nullptr);
  ASSERT_TRUE(FreeImage_Save(FIF_PPM, bits1, (dir / "one.pbm").c_str(), 0));
  FreeImage_Unload(bits1);
  const ByteVector pbm = FileBytes(dir / "one.pbm");
  ASSERT_GE(pbm.size(), 7u);
  EXPECT_EQ(std::string(pbm.begin(), pbm.begin() + 7), "P4\n4 3\n");
  EXPECT_EQ(pbm.size(), 7u + 3);
}

TEST(SaveImageFile, AnEmptyPictureStopsEveryRowTheDevILRowsIncluded) {
  test::PrivateTempFolder temp;
  test::TempDir dir;
  // The optimized copy is there, so only the failed decoder image stops the
  // DevIL rows.
  ASSERT_TRUE(WriteOptimizedCopy(RandomPicture(5, 5, 8)));
  cDIBSection empty;
  for (const char* name : {"a.psd", "a.sgi", "a.raw", "a.pcx", "a.gif", "a.png", "a.pbm", "a.tga"}) {
    EXPECT_FALSE(SaveImageFile(empty, dir / name, test::ExtensionOfName(name))) << name;
    EXPECT_FALSE(std::filesystem::exists(dir / name)) << name;
  }
  // With a picture the same DevIL row writes.
  cDIBSection iSrc;
  ASSERT_TRUE(iSrc.CreateFromBits(RandomPicture(5, 5, 9)));
  EXPECT_TRUE(SaveImageFile(iSrc, dir / "a.psd", "psd"));
  EXPECT_TRUE(std::filesystem::exists(dir / "a.psd"));
}

TEST(SaveImageFile, JpegIsAlwaysSuperbQuality) {
  test::TempDir dir;
  const Bits picture = RandomPicture(16, 16, 3);
  cDIBSection iSrc;
  ASSERT_TRUE(iSrc.CreateFromBits(picture));
  for (const char* name : {"a.jpg", "b.JPEG"}) {
    ASSERT_TRUE(SaveImageFile(iSrc, dir / name, test::ExtensionOfName(name)));
    const ByteVector jpg = FileBytes(dir / name);
    // Quality 100: every entry of every quantization table (DQT, FF DB) is 1.
    int tables = 0;
    for (size_t i = 2; i + 4 < jpg.size(); ++i) {
      if (jpg[i] != 0xFF || jpg[i + 1] != 0xDB) continue;
      const size_t length = test::Be16At(jpg, i + 2);
      for (size_t at = i + 4; at + 65 <= i + 2 + length; at += 65) {
        ASSERT_EQ(jpg[at] >> 4, 0) << "8-bit table";
        for (int k = 1; k <= 64; ++k) EXPECT_EQ(jpg[at + k], 1) << name;
        ++tables;
      }
    }
    EXPECT_GE(tables, 2) << name;
  }
}

TEST(SaveImageFile, GifKeepsUpTo256ColoursExactly) {
  test::TempDir dir;
  const Bits few = FewColourPicture(40, 30, 256);
  cDIBSection iSrc;
  ASSERT_TRUE(iSrc.CreateFromBits(few));
  ASSERT_TRUE(SaveImageFile(iSrc, dir / "few.gif", "gif"));
  const ByteVector gif = FileBytes(dir / "few.gif");
  ASSERT_GE(gif.size(), 13u);
  EXPECT_EQ(std::string(gif.begin(), gif.begin() + 3), "GIF");
  EXPECT_EQ(test::Le16At(gif, 6), 40);
  EXPECT_EQ(test::Le16At(gif, 8), 30);
  EXPECT_EQ(CountMismatches(ReadWithFreeImage(dir / "few.gif", FIF_GIF), few), 0);

  // More colours than a palette holds: still written, at most 256 colours.
  const Bits many = RandomPicture(32, 32, 5);
  ASSERT_TRUE(iSrc.CreateFromBits(many));
  ASSERT_TRUE(SaveImageFile(iSrc, dir / "many.gif", "gif"));
  const Bits back = ReadWithFreeImage(dir / "many.gif", FIF_GIF);
  ASSERT_TRUE(back.SameShape(many));
  std::set<uint32_t> colours;
  for (int y = 0; y < 32; ++y)
    for (int x = 0; x < 32; ++x) colours.insert(back.At(0, x, y) | back.At(1, x, y) << 8 | back.At(2, x, y) << 16);
  EXPECT_LE(colours.size(), 256u);
}

TEST(SaveImageFile, GifOfManyColoursGetsAnOptimalPalette) {
  // A smooth picture of 64 * 64 = 4096 colours: an optimal palette of 256
  // keeps every pixel close; a fixed or truncated one would not.
  test::TempDir dir;
  Bits picture(64, 64);
  for (int y = 0; y < 64; ++y)
    for (int x = 0; x < 64; ++x) {
      picture.At(0, x, y) = static_cast<uint8_t>(100 + x);
      picture.At(1, x, y) = static_cast<uint8_t>(4 * y);
      picture.At(2, x, y) = static_cast<uint8_t>(2 * x + y);
    }
  cDIBSection iSrc;
  ASSERT_TRUE(iSrc.CreateFromBits(picture));
  ASSERT_TRUE(SaveImageFile(iSrc, dir / "smooth.gif", "GIF"));
  const ByteVector gif = FileBytes(dir / "smooth.gif");
  ASSERT_GE(gif.size(), 13u);
  EXPECT_EQ(std::string(gif.begin(), gif.begin() + 6), "GIF89a");
  const Bits back = ReadWithFreeImage(dir / "smooth.gif", FIF_GIF);
  ASSERT_TRUE(back.SameShape(picture));
  long total = 0;
  int worst = 0;
  std::set<uint32_t> colours;
  for (int y = 0; y < 64; ++y)
    for (int x = 0; x < 64; ++x) {
      for (int c = 0; c < 3; ++c) {
        const int d = std::abs(back.At(c, x, y) - picture.At(c, x, y));
        total += d;
        worst = std::max(worst, d);
      }
      colours.insert(back.At(0, x, y) | back.At(1, x, y) << 8 | back.At(2, x, y) << 16);
    }
  EXPECT_LE(colours.size(), 256u);
  EXPECT_GT(colours.size(), 128u) << "the palette is used";
  EXPECT_LT(static_cast<double>(total) / (64 * 64 * 3), 4.0);
  EXPECT_LE(worst, 24);
}

TEST(SaveImageFile, UnknownExtensionsWriteNothing) {
  test::TempDir dir;
  cDIBSection iSrc;
  ASSERT_TRUE(iSrc.CreateFromBits(RandomPicture(3, 3, 1)));
  for (const char* ext : {"jpe", "xyz", "ico", ""}) {
    EXPECT_FALSE(SaveImageFile(iSrc, dir / (std::string("a.") + ext), ext)) << ext;
    EXPECT_FALSE(std::filesystem::exists(dir / (std::string("a.") + ext))) << ext;
  }
  // An empty picture makes no decoder image: nothing is written.
  cDIBSection empty;
  EXPECT_FALSE(SaveImageFile(empty, dir / "b.png", "png"));
  EXPECT_FALSE(std::filesystem::exists(dir / "b.png"));
}

// Runs a save in a child whose files may not grow past 600 bytes, so that
// the writer fails half-way; the exit code tells what SaveImageFile said.
int SaveWithTinyFileLimit(const Bits& picture, const std::filesystem::path& path, const std::string& ext) {
  const pid_t pid = ::fork();
  if (pid == 0) {
    ::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{600, 600};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    cDIBSection iSrc;
    iSrc.CreateFromBits(picture);
    ::_exit(SaveImageFile(iSrc, path, ext) ? 1 : 0);
  }
  int status = 0;
  ::waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(SaveImageFile, AFailingWriterLosesItsPartialFile) {
  test::TempDir dir;
  const Bits picture = RandomPicture(64, 64, 11);
  // The BMP and JPEG writers notice a failed write and report it.
  for (const char* name : {"a.bmp", "b.jpg"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(SaveWithTinyFileLimit(picture, dir / name, test::ExtensionOfName(name)), 0);
    EXPECT_FALSE(std::filesystem::exists(dir / name));
  }
  // Without the limit the same saves work, so the limit was the cause.
  cDIBSection iSrc;
  ASSERT_TRUE(iSrc.CreateFromBits(picture));
  EXPECT_TRUE(SaveImageFile(iSrc, dir / "a.bmp", "bmp"));
  EXPECT_GT(std::filesystem::file_size(dir / "a.bmp"), 600u);
}

TEST(SaveThroughDevIL, WritesTheOptimizedCopyNotThePicture) {
  test::PrivateTempFolder temp;
  test::TempDir dir;
  const Bits optimized = RandomPicture(9, 6, 21);
  const Bits current = RandomPicture(9, 6, 22);
  ASSERT_TRUE(WriteOptimizedCopy(optimized));
  EXPECT_EQ(GetOptimizedTempName(), (temp.path() / "t65s8s98").string());
  // The optimized copy: a 24-bit PNG of the picture, read back separately.
  EXPECT_EQ(CountMismatches(ReadWithFreeImage(GetOptimizedTempName(), FIF_PNG), optimized), 0);

  cDIBSection iSrc;
  ASSERT_TRUE(iSrc.CreateFromBits(current));
  ASSERT_TRUE(SaveImageFile(iSrc, dir / "a.psd", "psd"));
  ASSERT_TRUE(SaveImageFile(iSrc, dir / "a.pcx", "PCX"));
  for (const char* name : {"a.sgi", "a.bw", "a.rgb", "a.rgba", "a.raw"})
    ASSERT_TRUE(SaveImageFile(iSrc, dir / name, test::ExtensionOfName(name))) << name;

  // PSD: "8BPS", version 1, 3 channels, height, width, 8 bits, RGB mode (3).
  const ByteVector psd = FileBytes(dir / "a.psd");
  ASSERT_GE(psd.size(), 26u);
  EXPECT_EQ(std::string(psd.begin(), psd.begin() + 4), "8BPS");
  EXPECT_EQ(test::Be16At(psd, 4), 1);
  EXPECT_EQ(test::Be16At(psd, 12), 3);
  EXPECT_EQ(test::Be32At(psd, 14), 6u);
  EXPECT_EQ(test::Be32At(psd, 18), 9u);
  EXPECT_EQ(test::Be16At(psd, 22), 8);
  EXPECT_EQ(test::Be16At(psd, 24), 3);
  EXPECT_EQ(CountMismatches(ReadWithFreeImage(dir / "a.psd", FIF_PSD), optimized), 0);

  // PCX: manufacturer 10, version 5, run-length coded, 8 bits, 3 planes.
  const ByteVector pcx = FileBytes(dir / "a.pcx");
  ASSERT_GE(pcx.size(), 128u);
  EXPECT_EQ(pcx[0], 10);
  EXPECT_EQ(pcx[2], 1);
  EXPECT_EQ(pcx[3], 8);
  EXPECT_EQ(test::Le16At(pcx, 8), 8);  // xmax = width - 1
  EXPECT_EQ(test::Le16At(pcx, 10), 5);
  EXPECT_EQ(pcx[65], 3);
  EXPECT_EQ(CountMismatches(ReadWithFreeImage(dir / "a.pcx", FIF_PCX), optimized), 0);

  // SGI under each of its names: magic 474, then the sizes.
  for (const char* name : {"a.sgi", "a.bw", "a.rgb", "a.rgba"}) {
    SCOPED_TRACE(name);
    const ByteVector sgi = FileBytes(dir / name);
    ASSERT_GE(sgi.size(), 512u);
    EXPECT_EQ(test::Be16At(sgi, 0), 474);
    EXPECT_EQ(test::Be16At(sgi, 6), 9);
    EXPECT_EQ(test::Be16At(sgi, 8), 6);
    EXPECT_EQ(test::Be16At(sgi, 10), 3);
    EXPECT_EQ(CountMismatches(ReadWithFreeImage(dir / name, FIF_SGI), optimized), 0);
  }

  // DevIL's raw data: width, height, depth (32 bits each), bytes per pixel,
  // bytes per channel, then the pixels red, green, blue from the top.
  const ByteVector raw = FileBytes(dir / "a.raw");
  ASSERT_EQ(raw.size(), 14u + 9 * 6 * 3);
  EXPECT_EQ(test::Le32At(raw, 0), 9u);
  EXPECT_EQ(test::Le32At(raw, 4), 6u);
  EXPECT_EQ(raw[12], 3);
  int mismatches = 0;
  for (int y = 0; y < 6; ++y)
    for (int x = 0; x < 9; ++x)
      for (int c = 0; c < 3; ++c) mismatches += raw[14 + 3 * (9 * y + x) + c] != optimized.At(2 - c, x, y);
  EXPECT_EQ(mismatches, 0);
}

TEST(SaveThroughDevIL, NothingIsWrittenWithoutTheOptimizedCopy) {
  test::PrivateTempFolder temp;
  test::TempDir dir;
  ASSERT_FALSE(std::filesystem::exists(GetOptimizedTempName()));
  EXPECT_FALSE(SaveThroughDevIL(dir / "a.psd", 0x439));
  EXPECT_FALSE(std::filesystem::exists(dir / "a.psd"));
}

TEST(SaveCommands, SaveWritesInPlaceOnlyForItsSevenExtensions) {
  for (const char* ext : {"bmp", "gif", "jpg", "tga", "tif", "png", "pcx", "PNG"})
    EXPECT_TRUE(IsSaveInPlaceExtension(ext)) << ext;
  // Known to the writer table, but not to "SAVE".
  for (const char* ext : {"jpeg", "tiff", "psd", "ppm", "sgi", "raw", ""})
    EXPECT_FALSE(IsSaveInPlaceExtension(ext)) << ext;

  test::TempDir dir;
  const Bits picture = RandomPicture(4, 4, 2);
  SaveTarget document{&picture, (dir / "Shot.BMP").string(), "Shot.BMP", true, {}};
  EXPECT_EQ(SaveCommand(document), SaveOutcome::Saved);
  EXPECT_TRUE(std::filesystem::exists(dir / "Shot.BMP"));
  EXPECT_FALSE(document.Modified);
  EXPECT_EQ(document.Tag, (dir / "Shot.bmp").string());  // the extension is lower-cased
  EXPECT_EQ(document.Caption, "Shot.bmp");
  EXPECT_EQ(document.StatusName, "Shot.bmp");

  for (const std::string& name : {std::string("a.psd"), std::string("a.jpeg"), std::string("Untitled")}) {
    SaveTarget other{&picture, (dir / name).string(), name, true, {}};
    EXPECT_EQ(SaveCommand(other), SaveOutcome::NeedsSaveAs) << name;
    EXPECT_TRUE(other.Modified);
    EXPECT_FALSE(std::filesystem::exists(dir / name));
  }
}

TEST(SaveCommands, SaveAsNamesTheDocumentAndRemembersTheFolder) {
  test::PrivateTempFolder temp;
  test::TempDir dir;
  const Bits picture = FewColourPicture(8, 8, 5);
  StartRecord settings{};
  const std::string chosen = (dir / "b.psd").string();
  ASSERT_TRUE(WriteOptimizedCopy(picture));
  SaveTarget document{&picture, "Untitled", "Untitled", true, {}};
  const int32_t before = DuplicateCounter;
  // Another document already has the chosen path as its Tag.
  EXPECT_EQ(SaveAsCommand(document, chosen, {chosen}, settings), SaveOutcome::Saved);
  EXPECT_EQ(document.Tag, chosen + "[" + std::to_string(before + 1) + "]");
  EXPECT_EQ(document.Caption, "b.psd[" + std::to_string(before + 1) + "]");
  EXPECT_FALSE(document.Modified);
  EXPECT_EQ(settings.SaveFolder.Get(), dir.path().string() + "/");
  EXPECT_EQ(document.StatusName, "") << "SAVEAS leaves the status panel alone";
  // "SAVEAS" to a .psd writes through DevIL.
  const ByteVector psd = FileBytes(chosen);
  ASSERT_GE(psd.size(), 4u);
  EXPECT_EQ(std::string(psd.begin(), psd.begin() + 4), "8BPS");
}

TEST(SaveCommands, SaveAsDialogAndFolderAfterwards) {
  test::TempDir dir;
  const Bits picture = RandomPicture(3, 3, 4);
  SaveTarget document{&picture, "/pictures/New.bmp", "New.bmp", true, {}};
  const SaveDialogSettings dialog = SaveAsDialogSettings(document);
  EXPECT_EQ(dialog.Title, "Save as");
  EXPECT_EQ(dialog.Filter, kSaveAsFilter);
  EXPECT_EQ(dialog.FileName, "New.bmp");
  EXPECT_EQ(dialog.InitialFolder, "");
  EXPECT_TRUE(dialog.CancelError);

  // The chosen name decides the format by its own extension; the folder of
  // the name goes to the dialog and to the settings.
  StartRecord settings{};
  std::string folder = "unchanged";
  const std::string chosen = (dir / "Copy.PNG").string();
  EXPECT_EQ(SaveAsCommand(document, chosen, {}, settings, &folder), SaveOutcome::Saved);
  EXPECT_EQ(folder, dir.path().string() + "/");
  EXPECT_EQ(settings.SaveFolder.Get(), folder);
  EXPECT_EQ(document.Tag, chosen);
  EXPECT_EQ(document.Caption, "Copy.PNG");
  const ByteVector png = FileBytes(chosen);
  ASSERT_GE(png.size(), 8u);
  EXPECT_EQ(png[1], 'P');
  EXPECT_EQ(png[2], 'N');
  EXPECT_EQ(png[3], 'G');

  // A document without a picture writes nothing, yet takes the new name.
  SaveTarget blank{nullptr, "Untitled", "Untitled", true, {}};
  const std::string other = (dir / "none.bmp").string();
  EXPECT_EQ(SaveAsCommand(blank, other, {}, settings), SaveOutcome::Saved);
  EXPECT_FALSE(std::filesystem::exists(other));
  EXPECT_EQ(blank.Tag, other);
  EXPECT_FALSE(blank.Modified);
}

TEST(SaveCommands, SaveOfAGifDocumentGoesThroughTheColourReduction) {
  test::TempDir dir;
  const Bits picture = FewColourPicture(12, 9, 40);
  SaveTarget document{&picture, (dir / "a.gif").string(), "a.gif", true, {}};
  ASSERT_EQ(SaveCommand(document), SaveOutcome::Saved);
  const ByteVector gif = FileBytes(dir / "a.gif");
  ASSERT_GE(gif.size(), 13u);
  EXPECT_EQ(std::string(gif.begin(), gif.begin() + 3), "GIF");
  EXPECT_EQ(CountMismatches(ReadWithFreeImage(dir / "a.gif", FIF_GIF), picture), 0);
  // "jpeg" and "tiff" are known to the writer table, not to "SAVE".
  SaveTarget jpeg{&picture, (dir / "b.jpeg").string(), "b.jpeg", true, {}};
  EXPECT_EQ(SaveCommand(jpeg), SaveOutcome::NeedsSaveAs);
  EXPECT_FALSE(std::filesystem::exists(dir / "b.jpeg"));
}

}  // namespace
}  // namespace kelvane
