#include "imagefiles/load_bitmap.h"

#include <gtest/gtest.h>

#include "image_load_test_support.h"
#include "imagefiles/format_bridge.h"
#include "imagefiles/image_load.h"

namespace kelvane {
namespace {

using test::DataFile;

std::pair<int, int> LoadedSize() { return {LoadedWidth, LoadedHeight}; }
using Outcome = LoadBitmapResult::Outcome;

TEST(FitSize, ProportionalFitting) {
  const struct {
    int w, h, mw, mh, ow, oh;
  } cases[] = {
      {80, 60, 100, 100, 80, 60},     // fits: unchanged
      {100, 100, 100, 100, 100, 100},  // also exactly at the limits
      {200, 100, 100, 100, 100, 50},  // rx = 0.5 < ry = 1
      {100, 200, 100, 100, 50, 100},  // rx = 1, ry = 0.5: the ry way
      {300, 300, 100, 100, 100, 100},  // equal ratios go the ry way
      {5, 10, 10, 5, 2, 5},           // ry = 0.5: 2.5 ties to 2
      {7, 10, 10, 5, 4, 5},           // 3.5 ties to 4
      {5, 100, 1000, 10, 1, 10},      // single ry = 0.100000001490116: 0.5000000075 -> 1
      {100, 5, 10, 1000, 10, 0},      // double rx: 0.1 * 5 = 0.5 exactly, ties to 0
  };
  for (const auto& c : cases) {
    int32_t ow = -1, oh = -1;
    FitSize(c.w, c.h, c.mw, c.mh, ow, oh);
    EXPECT_EQ(std::pair(ow, oh), std::pair(c.ow, c.oh)) << c.w << "x" << c.h << " in " << c.mw << "x" << c.mh;
  }
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
  const int32_t dup = DuplicateCounter, docs = DocumentCounter;
  const OpenDocumentTags open = {"/p/a.png", "/p/b.png"};
  EXPECT_FALSE(IsDocumentOpen(open, "/p/c.png"));
  EXPECT_TRUE(IsDocumentOpen(open, "/p/b.png"));
  EXPECT_EQ(MakeUniqueDocumentName(open, "/p/c.png"), "/p/c.png");
  EXPECT_EQ(std::pair(DuplicateCounter, DocumentCounter), std::pair(dup, docs + 1));
  EXPECT_EQ(MakeUniqueDocumentName(open, "/p/a.png"), "/p/a.png[" + std::to_string(dup + 1) + "]");
  // A different path duplicated later takes the next number: one counter.
  EXPECT_EQ(MakeUniqueDocumentName(open, "/p/b.png"), "/p/b.png[" + std::to_string(dup + 2) + "]");
  EXPECT_EQ(std::pair(DuplicateCounter, DocumentCounter), std::pair(dup + 2, docs + 3));
}

TEST(TempFiles, NamesFollowTheSystemTempFolder) {
  test::PrivateTempFolder temp;
  EXPECT_EQ(GetTempFolder(), temp.path().string());
  EXPECT_EQ(GetOptimizedTempName(), temp.path().string() + "/t65s8s98");
  ::setenv("TMPDIR", (temp.path().string() + "/").c_str(), 1);  // a trailing separator is not repeated
  EXPECT_EQ(GetOptimizedTempName(), temp.path().string() + "/t65s8s98");
  {
    // Nested holders in one process share the lock instead of waiting on it.
    TempFolderLock outer;
    TempFolderLock inner;
  }
}

class LoadBitmapTest : public ::testing::Test {
 protected:
  LoadBitmapResult Load(const std::string& path, std::string_view ext, const OpenDocumentTags& open = {}) {
    return loadBitmap(path, ext, open, settings_);
  }
  test::PrivateTempFolder temp_;
  StartRecord settings_ = DefaultStartRecord("/opt/kelvane");
};

TEST_F(LoadBitmapTest, OpensADocumentFromTheDecodedPicture) {
  const std::string path = DataFile("png-rgba-8bit-32x32.png").string();
  hLoadedBitmap = LoadImageFile(path, "png");
  ASSERT_TRUE(hLoadedBitmap);
  const LoadBitmapResult r = Load(path, "png");
  ASSERT_EQ(r.outcome, Outcome::Opened);
  EXPECT_EQ(r.Tag, path);
  EXPECT_EQ(r.Caption, "png-rgba-8bit-32x32.png");
  ASSERT_EQ(std::pair(r.picture.Width(), r.picture.Height()), std::pair(32, 32));
  // Flattened to 24 bits: the file's alpha (0 at the top-left) is gone, frame included.
  int spare = 0;
  for (int y = -2; y < 34; ++y)
    for (int x = -2; x < 34; ++x) spare += r.picture.At(3, x, y);
  EXPECT_EQ(spare, 0);
  EXPECT_EQ(settings_.RecentFiles[0].Get(), path);
  EXPECT_EQ(settings_.OpenFolder.Get(), DataFile("").string());
  // The optimized copy is a 32 x 32 truecolour PNG (IHDR colour type 2).
  const ByteVector png = test::FileBytes(GetOptimizedTempName());
  ASSERT_GE(png.size(), 26u);
  EXPECT_EQ(std::tuple(test::Be32At(png, 16), test::Be32At(png, 20), png[25]), std::tuple(32u, 32u, uint8_t{2}));
  // The second document of one path is refused; the tag list is compared as it stands.
  EXPECT_EQ(Load(path, "PNG", {r.Tag}).outcome, Outcome::AlreadyOpen);
  EXPECT_EQ(settings_.RecentFiles[1].Get(), "");
}

// The shared size is raised by one while the document's picture is built and
// set back after the drawing: a built document leaves its true size there,
// whichever road it came by; a failed decoder copy leaves it one above.
TEST_F(LoadBitmapTest, TheDocumentTakesTheLastDecodeAndTheSharedSize) {
  // Decode and document are apart: for a table extension the picture is
  // hLoadedBitmap, whichever file filled it.
  hLoadedBitmap = LoadImageFile(DataFile("ras-24bit-standard-32x32.ras"), "ras");
  ASSERT_TRUE(hLoadedBitmap);
  const LoadBitmapResult r = loadBitmap("/elsewhere/other.png", "png", {}, settings_, false);
  ASSERT_EQ(r.outcome, Outcome::Opened);
  EXPECT_EQ(std::pair(r.picture.Width(), r.picture.Height()), std::pair(32, 32));
  EXPECT_EQ(LoadedSize(), std::pair(32, 32));
  EXPECT_EQ(settings_.OpenFolder.Get(), "/opt/kelvane/Images/");  // not remembered

  // A "bmp" is read again by the platform loader, whatever the handle holds,
  // and the shared size becomes that of what it read.
  const LoadBitmapResult b = Load(DataFile("bmp-8bit-topdown.bmp").string(), "BMP");
  ASSERT_EQ(b.outcome, Outcome::Opened);
  EXPECT_EQ(std::pair(b.picture.Width(), b.picture.Height()), std::pair(127, 64));
  EXPECT_EQ(LoadedSize(), std::pair(127, 64));

  // On the table road the document's size is the shared size: a picture
  // larger than it is cut to its top-left part.
  LoadedWidth = 20, LoadedHeight = 12;
  const LoadBitmapResult cut = Load("/p/b.png", "png");
  ASSERT_EQ(cut.outcome, Outcome::Opened);
  ASSERT_EQ(std::pair(cut.picture.Width(), cut.picture.Height()), std::pair(20, 12));
  int differences = 0;
  for (int y = 0; y < 12; ++y)
    for (int x = 0; x < 20; ++x)
      for (int c = 0; c < 3; ++c) differences += cut.picture.At(c, x, y) != hLoadedBitmap->RowFromTop(y)[4 * x + c];
  EXPECT_EQ(differences, 0);
  EXPECT_EQ(LoadedSize(), std::pair(20, 12));

  // No decoded picture: the copy fails, says so, and the size stays raised.
  ClearLastFormatError();
  hLoadedBitmap = nullptr;
  LoadedWidth = 10, LoadedHeight = 20;
  EXPECT_EQ(Load("/p/c.png", "png").outcome, Outcome::Failed);
  EXPECT_EQ(LoadedSize(), std::pair(11, 21));
  EXPECT_EQ(LastFormatError(), "[FreeImage_DIB_From_BMP] No bitmap specified to convert");
  ClearLastFormatError();
}

TEST_F(LoadBitmapTest, RefusalsAndFailures) {
  const std::string path = DataFile("gif87a-320x200.gif").string();
  const LoadBitmapResult open = Load(path, "gif", {path});
  EXPECT_EQ(open.outcome, Outcome::AlreadyOpen);
  EXPECT_EQ(open.message, "File Already Opened!");
  EXPECT_EQ(open.title, "Opened");

  EXPECT_EQ(Load("/p/project.KLF", "KLF").outcome, Outcome::Layered);

  // An extension in no row of the decoder table decodes nothing, so its
  // document never opens though the dialog offers it; a failed open changes
  // no setting and writes no optimized copy.
  const StartRecord before = settings_;
  const std::string jpe = DataFile("jpe-baseline-420-480x360.jpe").string();
  hLoadedBitmap = LoadImageFile(jpe, "jpe");
  EXPECT_FALSE(hLoadedBitmap);
  const LoadBitmapResult failed = Load(jpe, "jpe");
  EXPECT_EQ(failed.outcome, Outcome::Failed);
  EXPECT_EQ(failed.message, "Unexpected error loading image");
  EXPECT_EQ(failed.title, "Kelvane");
  EXPECT_TRUE(failed.picture.IsNull());
  EXPECT_TRUE(settings_ == before);
  EXPECT_FALSE(std::filesystem::exists(GetOptimizedTempName()));
}

}  // namespace
}  // namespace kelvane
