#include "imagefiles/load_bitmap.h"

#include <gtest/gtest.h>

#include "image_load_test_support.h"
#include "imagefiles/format_bridge.h"
#include "imagefiles/image_load.h"

namespace kelvane {
namespace {

using test::DataFile;

std::pair<int, int> Fit(int w, int h, int mw, int mh) {
  int32_t ow = -1, oh = -1;
  FitSize(w, h, mw, mh, ow, oh);
  return {ow, oh};
}

TEST(FitSize, ProportionalFitting) {
  // Fits: unchanged, also exactly at the limits.
  EXPECT_EQ(Fit(80, 60, 100, 100), std::make_pair(80, 60));
  EXPECT_EQ(Fit(100, 100, 100, 100), std::make_pair(100, 100));
  // 200 x 100 into 100 x 100: rx = 0.5 < ry = 1, so 100 x round(0.5 * 100).
  EXPECT_EQ(Fit(200, 100, 100, 100), std::make_pair(100, 50));
  // 100 x 200: rx = 1, ry = 0.5; not rx < ry, so round(0.5 * 100) x 100.
  EXPECT_EQ(Fit(100, 200, 100, 100), std::make_pair(50, 100));
  // Equal ratios go the ry way: 300 x 300 into 100 x 100.
  EXPECT_EQ(Fit(300, 300, 100, 100), std::make_pair(100, 100));
  // Ties go to even: 5 x 10 into 10 x 5, ry = 0.5, width 2.5 -> 2;
  // 7 x 10, width 3.5 -> 4.
  EXPECT_EQ(Fit(5, 10, 10, 5), std::make_pair(2, 5));
  EXPECT_EQ(Fit(7, 10, 10, 5), std::make_pair(4, 5));
  // ry is single precision: 10 / 100 as a single is 0.100000001490116, so
  // 5 * ry = 0.5000000075 rounds up to 1 (in double it would tie to 0).
  EXPECT_EQ(Fit(5, 100, 1000, 10), std::make_pair(1, 10));
  // rx is double: 10 / 100 * 5 = 0.5 exactly, a tie that goes to 0.
  EXPECT_EQ(Fit(100, 5, 10, 1000), std::make_pair(10, 0));
}

TEST(DocumentNames, FileNameFolderAndExtension) {
  EXPECT_EQ(GetFileNamePart("/home/ann/shot.png  "), "shot.png");
  EXPECT_EQ(GetFileNamePart("shot.png"), "shot.png");
  EXPECT_EQ(GetFileNamePart("/home/ann/"), "");
  EXPECT_EQ(GetFileNamePart("/x/a.png[3]"), "a.png[3]");
  EXPECT_EQ(GetFolderPart("/home/ann/shot.png"), "/home/ann/");
  EXPECT_EQ(GetFolderPart("shot.png"), "");
  EXPECT_EQ(GetExtensionName("/a.b/c.TIFF"), "TIFF");
  EXPECT_EQ(GetExtensionName("/a.b/noext"), "");
  EXPECT_EQ(GetExtensionName("archive.tar.gz"), "gz");
}

TEST(DocumentNames, DuplicatesCountAcrossTheWholeRun) {
  const int32_t dup = DuplicateCounter;
  const int32_t docs = DocumentCounter;
  const OpenDocumentTags open = {"/p/a.png", "/p/b.png"};
  EXPECT_FALSE(IsDocumentOpen(open, "/p/c.png"));
  EXPECT_TRUE(IsDocumentOpen(open, "/p/b.png"));
  EXPECT_EQ(MakeUniqueDocumentName(open, "/p/c.png"), "/p/c.png");
  EXPECT_EQ(DuplicateCounter, dup);
  EXPECT_EQ(DocumentCounter, docs + 1);
  EXPECT_EQ(MakeUniqueDocumentName(open, "/p/a.png"), "/p/a.png[" + std::to_string(dup + 1) + "]");
  // A different path duplicated later takes the next number: one counter.
  EXPECT_EQ(MakeUniqueDocumentName(open, "/p/b.png"), "/p/b.png[" + std::to_string(dup + 2) + "]");
  EXPECT_EQ(DuplicateCounter, dup + 2);
  EXPECT_EQ(DocumentCounter, docs + 3);
}

TEST(TempFiles, NamesFollowTheSystemTempFolder) {
  test::PrivateTempFolder temp;
  EXPECT_EQ(GetTempFolder(), temp.path().string());
  EXPECT_EQ(GetOptimizedTempName(), temp.path().string() + "/t65s8s98");
  EXPECT_EQ(DevILBridgeFile().string(), temp.path().string() + "/4546643");
  // A trailing separator is not repeated.
  ::setenv("TMPDIR", (temp.path().string() + "/").c_str(), 1);
  EXPECT_EQ(GetOptimizedTempName(), temp.path().string() + "/t65s8s98");
  {
    // Nested holders in one process share the lock instead of waiting on it.
    TempFolderLock outer;
    TempFolderLock inner;
  }
}

class LoadBitmapTest : public ::testing::Test {
 protected:
  test::PrivateTempFolder temp_;
  StartRecord settings_ = DefaultStartRecord("/opt/kelvane");
};

TEST_F(LoadBitmapTest, OpensADocumentFromTheDecodedPicture) {
  const std::string path = DataFile("png-rgba-8bit-32x32.png").string();
  hLoadedBitmap = LoadImageFile(path, "png");
  ASSERT_TRUE(hLoadedBitmap);
  const LoadBitmapResult r = loadBitmap(path, "png", {}, settings_);
  ASSERT_EQ(r.outcome, LoadBitmapResult::Outcome::Opened);
  EXPECT_EQ(r.Tag, path);
  EXPECT_EQ(r.Caption, "png-rgba-8bit-32x32.png");
  ASSERT_EQ(r.picture.Width(), 32);
  ASSERT_EQ(r.picture.Height(), 32);
  // Flattened to 24 bits: the file's alpha (0 at the top-left) is gone.
  int spare = 0;
  for (int y = -2; y < 34; ++y)
    for (int x = -2; x < 34; ++x) spare += r.picture.At(3, x, y);
  EXPECT_EQ(spare, 0);
  EXPECT_EQ(settings_.RecentFiles[0].Get(), path);
  EXPECT_EQ(settings_.OpenFolder.Get(), DataFile("").string());
  // The optimized copy is a 32 x 32 truecolour PNG (IHDR colour type 2).
  const ByteVector png = test::FileBytes(GetOptimizedTempName());
  ASSERT_GE(png.size(), 26u);
  EXPECT_EQ(test::Be32At(png, 16), 32u);
  EXPECT_EQ(test::Be32At(png, 20), 32u);
  EXPECT_EQ(png[25], 2);
}

TEST_F(LoadBitmapTest, TheDocumentTakesWhateverWasDecodedLast) {
  // The decode and the document are apart: for a table extension the
  // picture is hLoadedBitmap, whichever file filled it.
  hLoadedBitmap = LoadImageFile(DataFile("ras-24bit-standard-32x32.ras"), "ras");
  ASSERT_TRUE(hLoadedBitmap);
  const LoadBitmapResult r = loadBitmap("/elsewhere/other.png", "png", {}, settings_, false);
  ASSERT_EQ(r.outcome, LoadBitmapResult::Outcome::Opened);
  EXPECT_EQ(r.picture.Width(), 32);
  EXPECT_EQ(settings_.OpenFolder.Get(), "/opt/kelvane/Images/");  // not remembered

  // A "bmp" is read again by the platform loader, whatever the handle holds.
  const std::string bmp = DataFile("bmp-24bit-oddwidth-119x96.bmp").string();
  const LoadBitmapResult b = loadBitmap(bmp, "BMP", {}, settings_);
  ASSERT_EQ(b.outcome, LoadBitmapResult::Outcome::Opened);
  EXPECT_EQ(b.picture.Width(), 119);
  EXPECT_EQ(b.picture.Height(), 96);
}

TEST_F(LoadBitmapTest, RefusalsAndFailures) {
  const std::string path = DataFile("gif87a-320x200.gif").string();
  const LoadBitmapResult open = loadBitmap(path, "gif", {path}, settings_);
  EXPECT_EQ(open.outcome, LoadBitmapResult::Outcome::AlreadyOpen);
  EXPECT_EQ(open.message, "File Already Opened!");
  EXPECT_EQ(open.title, "Opened");

  EXPECT_EQ(loadBitmap("/p/project.KLF", "KLF", {}, settings_).outcome, LoadBitmapResult::Outcome::Layered);

  const StartRecord before = settings_;
  hLoadedBitmap.reset();  // the decode failed
  const LoadBitmapResult failed = loadBitmap("/p/broken.png", "png", {}, settings_);
  EXPECT_EQ(failed.outcome, LoadBitmapResult::Outcome::Failed);
  EXPECT_EQ(failed.message, "Unexpected error loading image");
  EXPECT_EQ(failed.title, "Kelvane");
  EXPECT_TRUE(failed.picture.IsNull());
  EXPECT_TRUE(settings_ == before);
  EXPECT_FALSE(std::filesystem::exists(GetOptimizedTempName()));
}

// The shared size is raised by one while the document's picture is built and
// set back after the drawing: a built document leaves its true size there,
// whichever road it came by; a failed decoder copy leaves it one above.
TEST_F(LoadBitmapTest, SharedSizeAfterTheBuild) {
  hLoadedBitmap = LoadImageFile(DataFile("png-rgba-8bit-32x32.png"), "png");
  ASSERT_TRUE(hLoadedBitmap);
  ASSERT_EQ(LoadedWidth, 32);
  ASSERT_EQ(loadBitmap("/p/a.png", "png", {}, settings_).outcome, LoadBitmapResult::Outcome::Opened);
  EXPECT_EQ(LoadedWidth, 32);
  EXPECT_EQ(LoadedHeight, 32);

  // The platform road takes the size of what it read, not the last decode.
  const LoadBitmapResult b = loadBitmap(DataFile("bmp-8bit-topdown.bmp").string(), "bmp", {}, settings_);
  ASSERT_EQ(b.outcome, LoadBitmapResult::Outcome::Opened);
  EXPECT_EQ(LoadedWidth, 127);
  EXPECT_EQ(LoadedHeight, 64);
  const LoadBitmapResult g = loadBitmap(DataFile("gif-interlaced-40x40.gif").string(), "GIF", {}, settings_);
  ASSERT_EQ(g.outcome, LoadBitmapResult::Outcome::Opened);
  EXPECT_EQ(g.picture.Width(), 40);
  EXPECT_EQ(LoadedWidth, 40);
  EXPECT_EQ(LoadedHeight, 40);

  // On the table road the document's size is the shared size: a picture
  // larger than it is cut to its top-left part.
  LoadedWidth = 20;
  LoadedHeight = 12;
  const LoadBitmapResult cut = loadBitmap("/p/b.png", "png", {}, settings_);
  ASSERT_EQ(cut.outcome, LoadBitmapResult::Outcome::Opened);
  ASSERT_EQ(cut.picture.Width(), 20);
  ASSERT_EQ(cut.picture.Height(), 12);
  int differences = 0;
  for (int y = 0; y < 12; ++y)
    for (int x = 0; x < 20; ++x)
      for (int c = 0; c < 3; ++c) differences += cut.picture.At(c, x, y) != hLoadedBitmap->RowFromTop(y)[4 * x + c];
  EXPECT_EQ(differences, 0);
  EXPECT_EQ(LoadedWidth, 20);
  EXPECT_EQ(LoadedHeight, 12);

  // No decoded picture: the copy fails, says so, and the size stays raised.
  ClearLastFormatError();
  hLoadedBitmap = nullptr;
  LoadedWidth = 10;
  LoadedHeight = 20;
  EXPECT_EQ(loadBitmap("/p/c.png", "png", {}, settings_).outcome, LoadBitmapResult::Outcome::Failed);
  EXPECT_EQ(LoadedWidth, 11);
  EXPECT_EQ(LoadedHeight, 21);
  EXPECT_EQ(LastFormatError(), "[FreeImage_DIB_From_BMP] No bitmap specified to convert");
  ClearLastFormatError();
}

// Extensions in no row of the decoder table decode nothing, so their
// documents never open, though the dialog offers them; a "bmp" opens on both
// roads.
TEST_F(LoadBitmapTest, UnlistedExtensionsNeverOpen) {
  for (const char* name : {"jpe-baseline-420-480x360.jpe", "ico-8bit-48x48.ico", "rle-bmp-rle8-128x128.rle",
                           "sun-32bit-16x16.sun"}) {
    SCOPED_TRACE(name);
    const std::string path = DataFile(name).string();
    const std::string ext = test::ExtensionOfName(name);
    hLoadedBitmap = LoadImageFile(path, ext);
    EXPECT_FALSE(hLoadedBitmap);
    const LoadBitmapResult r = loadBitmap(path, ext, {}, settings_);
    EXPECT_EQ(r.outcome, LoadBitmapResult::Outcome::Failed);
    EXPECT_EQ(r.message, "Unexpected error loading image");
    EXPECT_EQ(r.title, "Kelvane");
  }
  EXPECT_EQ(settings_.RecentFiles[0].Get(), "");  // a failed open is not recent

  // The second document of one path: refused, whatever the case of the
  // extension; the tag list is compared as it stands.
  const std::string bmp = DataFile("bmp-1bit-palette-127x64.bmp").string();
  hLoadedBitmap = LoadImageFile(bmp, "bmp");
  ASSERT_TRUE(hLoadedBitmap);
  const LoadBitmapResult first = loadBitmap(bmp, "BMP", {}, settings_);
  ASSERT_EQ(first.outcome, LoadBitmapResult::Outcome::Opened);
  EXPECT_EQ(first.Tag, bmp);
  EXPECT_EQ(first.Caption, "bmp-1bit-palette-127x64.bmp");
  EXPECT_EQ(loadBitmap(bmp, "bmp", {first.Tag}, settings_).outcome, LoadBitmapResult::Outcome::AlreadyOpen);
  EXPECT_EQ(settings_.RecentFiles[0].Get(), bmp);
  EXPECT_EQ(settings_.RecentFiles[1].Get(), "");
}

}  // namespace
}  // namespace kelvane
