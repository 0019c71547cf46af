#include "imagefiles/image_save.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <set>

#include "image_load_test_support.h"
#include "imagefiles/file_dialog_filters.h"
#include "save_test_support.h"

namespace kelvane {
namespace {

using test::FileBytes;
using test::RandomPicture;

// DevIL's raw data: width, height, depth (32 bits each), bytes per pixel,
// bytes per channel, then red, green, blue per pixel from the top.
Bits ReadDevILRaw(const ByteVector& raw) {
  const int w = static_cast<int>(test::Le32At(raw, 0)), h = static_cast<int>(test::Le32At(raw, 4));
  if (raw[12] != 3 || raw.size() != 14u + 3u * w * h) return Bits();
  Bits out(w, h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      for (int c = 0; c < 3; ++c) out.At(c, x, y) = raw[14 + 3 * (w * y + x) + 2 - c];
  return out;
}

// Every row of the writer table once, each file read back by a reader of
// its own. The DevIL rows write the optimized copy, not the picture.
TEST(SaveImageFile, EveryRowWritesItsFormatAndReadsBack) {
  test::PrivateTempFolder temp;
  test::TempDir dir;
  const Bits picture = RandomPicture(13, 7, 42);  // odd width; 91 pixels fit a GIF palette exactly
  const Bits optimized = RandomPicture(13, 7, 43);
  ASSERT_TRUE(WriteOptimizedCopy(optimized));
  EXPECT_EQ(GetOptimizedTempName(), (temp.path() / "t65s8s98").string());
  cDIBSection iSrc;
  ASSERT_TRUE(iSrc.CreateFromBits(picture));
  enum Check { Exact, Optimized, Grey, SuperbJpeg };
  const struct {
    const char* name;
    FREE_IMAGE_FORMAT fif;  // FIF_UNKNOWN: DevIL's raw data, read by hand
    Check check;
  } rows[] = {
      {"a.gif", FIF_GIF, Exact},        {"a.png", FIF_PNG, Exact},       {"a.jpg", FIF_JPEG, SuperbJpeg},
      {"b.JPEG", FIF_JPEG, SuperbJpeg}, {"a.BMP", FIF_BMP, Exact},       {"a.tif", FIF_TIFF, Exact},
      {"b.tiff", FIF_TIFF, Exact},      {"a.pbm", FIF_PGMRAW, Grey},     {"a.pgm", FIF_PGMRAW, Grey},
      {"a.ppm", FIF_PPMRAW, Exact},     {"a.tga", FIF_TARGA, Exact},     {"a.vda", FIF_TARGA, Exact},
      {"a.vst", FIF_TARGA, Exact},      {"a.icb", FIF_TARGA, Exact},     {"a.targa", FIF_TARGA, Exact},
      {"a.psd", FIF_PSD, Optimized},    {"a.sgi", FIF_SGI, Optimized},   {"a.bw", FIF_SGI, Optimized},
      {"a.rgb", FIF_SGI, Optimized},    {"a.rgba", FIF_SGI, Optimized},  {"a.raw", FIF_UNKNOWN, Optimized},
      {"a.PCX", FIF_PCX, Optimized},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    ASSERT_TRUE(SaveImageFile(iSrc, dir / row.name, test::ExtensionOfName(row.name)));
    const ByteVector bytes = FileBytes(dir / row.name);
    const Bits back = row.fif == FIF_UNKNOWN ? ReadDevILRaw(bytes) : test::ReadWithFreeImage(dir / row.name, row.fif);
    ASSERT_TRUE(back.SameShape(picture));
    if (row.check == Exact || row.check == Optimized) {
      EXPECT_EQ(test::CountMismatches(back, row.check == Exact ? picture : optimized), 0);
    } else if (row.check == Grey) {
      // FreeImage's 8-bit conversion: Rec. 709 luma + 0.5, truncated.
      int off = 0;
      for (int y = 0; y < 7; ++y)
        for (int x = 0; x < 13; ++x) {
          const int grey = static_cast<int>(0.2126 * picture.At(2, x, y) + 0.7152 * picture.At(1, x, y) +
                                            0.0722 * picture.At(0, x, y) + 0.5);
          for (int c = 0; c < 3; ++c) off += std::abs(back.At(c, x, y) - grey) > 1;
        }
      EXPECT_EQ(off, 0);
    } else {
      // Quality 100: every entry of every quantization table (FF DB) is 1.
      int tables = 0;
      for (size_t i = 2; i + 4 < bytes.size(); ++i) {
        if (bytes[i] != 0xFF || bytes[i + 1] != 0xDB) continue;
        const size_t end = i + 2 + test::Be16At(bytes, i + 2);
        for (size_t at = i + 4; at + 65 <= end; at += 65, ++tables)
          for (int k = 1; k <= 64; ++k) EXPECT_EQ(bytes[at + k], 1);
      }
      EXPECT_GE(tables, 2);
    }
  }
  // The flavours: a 24-bit BMP; "P6" for "ppm" and an 8-bit "P5" under the
  // bitmap name "pbm"; an uncompressed true-colour (type 2) 24-bit TARGA.
  EXPECT_EQ(test::Le16At(FileBytes(dir / "a.BMP"), 28), 24);
  const ByteVector ppm = FileBytes(dir / "a.ppm"), pbm = FileBytes(dir / "a.pbm"), tga = FileBytes(dir / "a.tga");
  EXPECT_EQ(std::string(ppm.begin(), ppm.begin() + 12), "P6\n13 7\n255\n");
  EXPECT_EQ(std::string(pbm.begin(), pbm.begin() + 12), "P5\n13 7\n255\n");
  EXPECT_EQ(pbm.size(), 12u + 13 * 7);
  EXPECT_EQ(tga[2], 2);
  EXPECT_EQ(tga[16], 24);

  // A 32-bit picture is written as 24 bits: PNG colour type 2, no alpha.
  cAlphaDibSection alpha;
  ASSERT_TRUE(alpha.Create(5, 4));
  std::memset(alpha.DIBSectionBitsPtr(), 0x5A, static_cast<size_t>(alpha.BytesPerScanLine()) * 4);
  ASSERT_TRUE(SaveImageFile(alpha, dir / "alpha.png", "png"));
  const ByteVector png = FileBytes(dir / "alpha.png");  // IHDR: width, height, bit depth, colour type
  EXPECT_EQ(std::vector<uint32_t>({test::Be32At(png, 16), test::Be32At(png, 20), png[24], png[25]}),
            std::vector<uint32_t>({5, 4, 8, 2}));
}

TEST(SaveImageFile, DepthRulesOfThePnmRows) {
  // {rule, depth in, depth out (0: kept as it is)}
  const struct {
    SaveDepthRule rule;
    unsigned from, to;
  } cases[] = {
      {SaveDepthRule::To8BitsUnless1, 1, 0},    {SaveDepthRule::To8BitsUnless1, 24, 8},
      {SaveDepthRule::To8BitsUnless1, 32, 8},   {SaveDepthRule::To8BitsUnless8, 8, 0},
      {SaveDepthRule::To8BitsUnless8, 1, 8},    {SaveDepthRule::To24BitsUnless24, 24, 0},
      {SaveDepthRule::To24BitsUnless24, 8, 24}, {SaveDepthRule::None, 8, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << static_cast<int>(c.rule) << " from " << c.from);
    FIBITMAP* dib = FreeImage_Allocate(4, 3, static_cast<int>(c.from));
    FIBITMAP* converted = ApplySaveDepthRule(dib, c.rule);
    EXPECT_EQ(converted ? FreeImage_GetBPP(converted) : 0u, c.to);
    EXPECT_NE(converted, dib);
    if (converted) FreeImage_Unload(converted);
    FreeImage_Unload(dib);
  }
  EXPECT_EQ(ApplySaveDepthRule(nullptr, SaveDepthRule::To8BitsUnless1), nullptr);
}

TEST(SaveImageFile, UnknownExtensionsEmptyPicturesAndNoOptimizedCopyWriteNothing) {
  test::PrivateTempFolder temp;
  test::TempDir dir;
  EXPECT_FALSE(SaveThroughDevIL(dir / "a.psd", 0x439)) << "no optimized copy yet";
  EXPECT_FALSE(std::filesystem::exists(dir / "a.psd"));
  cDIBSection iSrc, empty;
  ASSERT_TRUE(iSrc.CreateFromBits(RandomPicture(3, 3, 1)));
  for (const char* ext : {"jpe", "jif", "dib", "ico", "klf", ""}) {
    EXPECT_FALSE(SaveImageFile(iSrc, dir / (std::string("a.") + ext), ext)) << ext;
    EXPECT_FALSE(std::filesystem::exists(dir / (std::string("a.") + ext))) << ext;
  }
  // An empty picture makes no decoder image, which stops every row, the
  // DevIL ones too although their optimized copy is there.
  ASSERT_TRUE(WriteOptimizedCopy(RandomPicture(5, 5, 8)));
  for (const char* name : {"a.psd", "a.pcx", "a.gif", "a.png", "a.pbm"}) {
    EXPECT_FALSE(SaveImageFile(empty, dir / name, test::ExtensionOfName(name))) << name;
    EXPECT_FALSE(std::filesystem::exists(dir / name)) << name;
  }
}

TEST(SaveImageFile, GifOfManyColoursGetsAnOptimalPalette) {
  // 4096 smooth colours: an optimal palette of 256 keeps every pixel close; a
  // fixed or truncated one would not.
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
  const Bits back = test::ReadWithFreeImage(dir / "smooth.gif", FIF_GIF);
  ASSERT_TRUE(back.SameShape(picture));
  long total = 0;
  int worst = 0;
  std::set<uint32_t> colours;
  for (int y = 0; y < 64; ++y)
    for (int x = 0; x < 64; ++x) {
      for (int c = 0; c < 3; ++c) total += std::abs(back.At(c, x, y) - picture.At(c, x, y));
      for (int c = 0; c < 3; ++c) worst = std::max(worst, std::abs(back.At(c, x, y) - picture.At(c, x, y)));
      colours.insert(back.At(0, x, y) | back.At(1, x, y) << 8 | back.At(2, x, y) << 16);
    }
  EXPECT_LE(colours.size(), 256u);
  EXPECT_GT(colours.size(), 128u) << "the palette is used";
  EXPECT_LT(static_cast<double>(total) / (64 * 64 * 3), 4.0);
  EXPECT_LE(worst, 24);
}

// Saves in a child whose files may not grow past 600 bytes, so that the
// writer fails half-way; the exit code is what SaveImageFile said.
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
  for (const char* name : {"a.bmp", "b.jpg"}) {
    EXPECT_EQ(SaveWithTinyFileLimit(picture, dir / name, test::ExtensionOfName(name)), 0) << name;
    EXPECT_FALSE(std::filesystem::exists(dir / name)) << name;
  }
  // Without the limit the same save works, so the limit was the cause.
  cDIBSection iSrc;
  ASSERT_TRUE(iSrc.CreateFromBits(picture));
  EXPECT_TRUE(SaveImageFile(iSrc, dir / "a.bmp", "bmp"));
  EXPECT_GT(std::filesystem::file_size(dir / "a.bmp"), 600u);
}

TEST(SaveCommands, SaveWritesInPlaceOnlyForItsSevenExtensions) {
  for (const char* ext : {"bmp", "gif", "jpg", "tga", "tif", "png", "pcx", "PNG"})
    EXPECT_TRUE(IsSaveInPlaceExtension(ext)) << ext;
  for (const char* ext : {"jpeg", "tiff", "psd", "ppm", "sgi", "raw", ""}) EXPECT_FALSE(IsSaveInPlaceExtension(ext)) << ext;

  // A GIF document goes through the colour reduction; the extension of the
  // Tag is lower-cased afterwards.
  test::TempDir dir;
  const Bits picture = RandomPicture(12, 9, 5);  // 108 pixels: a GIF palette holds them all
  SaveTarget document{&picture, (dir / "Shot.GIF").string(), "Shot.GIF", true, {}};
  EXPECT_EQ(SaveCommand(document), SaveOutcome::Saved);
  EXPECT_EQ(test::CountMismatches(test::ReadWithFreeImage(dir / "Shot.GIF", FIF_GIF), picture), 0);
  EXPECT_FALSE(document.Modified);
  EXPECT_EQ(document.Tag, (dir / "Shot.gif").string());
  EXPECT_EQ(document.Caption, "Shot.gif");
  EXPECT_EQ(document.StatusName, "Shot.gif");

  for (const std::string name : {"a.psd", "a.jpeg", "Untitled"}) {
    SaveTarget other{&picture, (dir / name).string(), name, true, {}};
    EXPECT_EQ(SaveCommand(other), SaveOutcome::NeedsSaveAs) << name;
    EXPECT_TRUE(other.Modified);
    EXPECT_FALSE(std::filesystem::exists(dir / name));
  }
}

TEST(SaveCommands, SaveAsNamesTheDocumentAndRemembersTheFolder) {
  test::PrivateTempFolder temp;
  test::TempDir dir;
  const Bits picture = RandomPicture(8, 8, 6);
  SaveTarget document{&picture, "/pictures/New.bmp", "New.bmp", true, {}};
  const SaveDialogSettings dialog = SaveAsDialogSettings(document);
  EXPECT_EQ(dialog.Title, "Save as");
  EXPECT_EQ(dialog.Filter, kSaveAsFilter);
  EXPECT_EQ(dialog.FileName, "New.bmp");
  EXPECT_EQ(dialog.InitialFolder, "");
  EXPECT_TRUE(dialog.CancelError);

  // "SAVEAS" to a .psd writes through DevIL; another document already has
  // the chosen path, so the Tag gets a counter.
  ASSERT_TRUE(WriteOptimizedCopy(picture));
  StartRecord settings{};
  std::string folder = "unchanged";
  const std::string chosen = (dir / "b.psd").string();
  const int32_t before = DuplicateCounter;
  EXPECT_EQ(SaveAsCommand(document, chosen, {chosen}, settings, &folder), SaveOutcome::Saved);
  EXPECT_EQ(document.Tag, chosen + "[" + std::to_string(before + 1) + "]");
  EXPECT_EQ(document.Caption, "b.psd[" + std::to_string(before + 1) + "]");
  EXPECT_FALSE(document.Modified);
  EXPECT_EQ(folder, dir.path().string() + "/");
  EXPECT_EQ(settings.SaveFolder.Get(), folder);
  EXPECT_EQ(document.StatusName, "") << "SAVEAS leaves the status panel alone";
  EXPECT_EQ(test::CountMismatches(test::ReadWithFreeImage(chosen, FIF_PSD), picture), 0);

  // A document without a picture writes nothing, yet takes the new name.
  SaveTarget blank{nullptr, "Untitled", "Untitled", true, {}};
  const std::string other = (dir / "none.bmp").string();
  EXPECT_EQ(SaveAsCommand(blank, other, {}, settings), SaveOutcome::Saved);
  EXPECT_FALSE(std::filesystem::exists(other));
  EXPECT_EQ(blank.Tag, other);
  EXPECT_FALSE(blank.Modified);
}

}  // namespace
}  // namespace kelvane
