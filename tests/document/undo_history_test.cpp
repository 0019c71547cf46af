// Undo on disk: snapshot names and bytes, the slot arithmetic of undo, redo,
// history jumps and the 201-file limit, restores across a size change and
// under a selection, cleanup at close, and damaged snapshot files.
#include "document/undo_history.h"

#include <gtest/gtest.h>

#include <climits>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "base/byte_io.h"
#include "test_support.h"

namespace kelvane {
namespace {

namespace fs = std::filesystem;

ByteVector ReadBytes(const fs::path& p) {
  ByteVector b;
  ReadWholeFile(p, b);
  return b;
}

void WriteBytes(const fs::path& p, const ByteVector& bytes) {
  std::ofstream(p, std::ios::binary | std::ios::trunc)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

// Every byte of the array, frame included, gets its own value from the seed.
uint8_t PatternByte(int seed, int c, int x, int y) { return static_cast<uint8_t>(seed * 31 + c * 7 + x * 13 + y * 29); }

Bits Picture(int w, int h, int seed) {
  Bits b(w, h);
  for (int y = -2; y < h + 2; ++y)
    for (int x = -2; x < w + 2; ++x)
      for (int c = 0; c < 4; ++c) b.At(c, x, y) = PatternByte(seed, c, x, y);
  return b;
}

// The snapshot of a picture as the file must hold it, built by hand.
ByteVector ExpectedSnapshot(int w, int h, int seed) {
  ByteVector out;
  PutI32(out, 40);
  PutI32(out, w + 4);
  PutI32(out, -(h + 4));
  PutI16(out, 1);
  PutI16(out, 32);
  for (int i = 0; i < 24; ++i) PutU8(out, 0);
  for (int y = -2; y < h + 2; ++y)
    for (int x = -2; x < w + 2; ++x)
      for (int c = 0; c < 4; ++c) PutU8(out, PatternByte(seed, c, x, y));
  return out;
}

struct Fixture {
  test::TempDir dir;
  UndoGlobals globals;
  fs::path Temp() const { return dir.path() / "Temp"; }
};

int CountFiles(const fs::path& folder) {
  int n = 0;
  std::error_code ec;
  for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) ++n;
  return n;
}

TEST(UndoFileNames, DigitsOfDocumentAndSlot) {
  const struct {
    int32_t id, slot;
    const char* name;
  } cases[] = {
      {3, 7, "b000307.dat"},    {3, 200, "b0003200.dat"}, {1, 0, "b000100.dat"},   {12, 34, "b001234.dat"},
      {12345, 0, "b1234500.dat"}, {1, -1, "b0001-01.dat"}, {1, -2, "b0001-02.dat"}, {0, 0, "b000000.dat"},
  };
  for (const auto& c : cases) EXPECT_EQ(UndoFileName(c.id, c.slot), c.name) << c.id << "/" << c.slot;
  EXPECT_EQ(UndoPixelText(640, 480), "640x480");
}

TEST(UndoFileNames, DocumentsAreNumberedFromTheCounter) {
  Fixture f;
  UndoHistory first(f.globals, f.dir.path());
  UndoHistory second(f.globals, f.dir.path());
  EXPECT_EQ(first.ImageID(), 1);
  EXPECT_EQ(second.ImageID(), 2);
  EXPECT_EQ(f.globals.ImageCount, 2);
  EXPECT_EQ(first.UndoPos(), 0);
  EXPECT_EQ(first.UndoTop(), 0);
  EXPECT_EQ(first.HistoryNames().size(), 201u);
  EXPECT_EQ(first.HistoryNames()[0], "Original");
  EXPECT_EQ(second.SlotFile(5), f.Temp() / "b000205.dat");
}

TEST(UndoSnapshotFile, BytesOfATinyPicture) {
  for (const auto& [w, h] : std::vector<std::pair<int, int>>{{1, 1}, {1, 2}, {3, 1}}) {
    Fixture f;
    ASSERT_FALSE(fs::exists(f.Temp()));
    UndoHistory doc(f.globals, f.dir.path());
    f.globals.LastCommandCaption = "Open";
    const UndoSaveResult r = doc.SaveUndoBits(Picture(w, h, 5));
    EXPECT_TRUE(r.Written);
    EXPECT_EQ(r.Slot, 0);
    EXPECT_FALSE(r.Shifted);
    EXPECT_TRUE(fs::is_directory(f.Temp()));
    const ByteVector bytes = ReadBytes(f.Temp() / "b000100.dat");
    EXPECT_EQ(bytes.size(), 40u + size_t(w + 4) * (h + 4) * 4);
    EXPECT_EQ(bytes, ExpectedSnapshot(w, h, 5)) << w << "x" << h;
    EXPECT_EQ(doc.UndoPos(), 1);
    EXPECT_EQ(doc.UndoTop(), 1);
    // Slot 0 takes the action name of the save, over "Original".
    EXPECT_EQ(doc.HistoryNames()[0], "Open");
  }
  // The header of a 1 x 2 picture, byte for byte.
  const ByteVector head = ExpectedSnapshot(1, 2, 0);
  const ByteVector want = {0x28, 0, 0, 0, 5, 0, 0, 0, 0xFA, 0xFF, 0xFF, 0xFF, 1, 0, 32, 0};
  EXPECT_TRUE(std::equal(want.begin(), want.end(), head.begin()));
}

TEST(UndoSnapshotFile, OverwriteKeepsTheTailOfALongerOldFile) {
  Fixture f;
  UndoHistory doc(f.globals, f.dir.path());
  Bits bits = Picture(1, 1, 1);
  cBitRegion region;
  region.Init(0, 0, 1, 1);
  doc.SaveUndoBits(bits);              // slot 0: 1 x 1
  doc.SaveUndoBits(Picture(3, 3, 2));  // slot 1: 3 x 3, 236 bytes
  bits = Picture(3, 3, 2);
  ASSERT_TRUE(doc.UndoBits(bits, region));
  EXPECT_EQ(bits, Picture(1, 1, 1));
  doc.SaveUndoBits(Picture(1, 1, 3));  // over slot 1 in place
  const ByteVector bytes = ReadBytes(f.Temp() / "b000101.dat");
  const ByteVector small = ExpectedSnapshot(1, 1, 3), large = ExpectedSnapshot(3, 3, 2);
  ASSERT_EQ(bytes.size(), large.size());
  EXPECT_TRUE(std::equal(small.begin(), small.end(), bytes.begin()));
  EXPECT_TRUE(std::equal(large.begin() + small.size(), large.end(), bytes.begin() + small.size()));
  // The reader takes the size from the header and ignores the tail.
  ASSERT_TRUE(doc.UndoBits(bits, region));
  ASSERT_TRUE(doc.RedoBits(bits, region));
  EXPECT_EQ(bits, Picture(1, 1, 3));
}

TEST(UndoSteps, UndoAndRedoAcrossACrop) {
  Fixture f;
  UndoHistory doc(f.globals, f.dir.path());
  Bits bits = Picture(4, 3, 1);
  cBitRegion region;
  region.Init(0, 0, 4, 3);
  doc.SaveUndoBits(bits);
  // Crop to 2 x 2, then a selection on the cropped picture.
  bits = Picture(2, 2, 2);
  region.Init(0, 0, 2, 2);
  doc.SaveUndoBits(bits);
  region.CreateRect(0, 0, 1, 1, CombineMode::Or, false);
  ASSERT_FALSE(region.IsEmptyRegion());

  ASSERT_TRUE(doc.UndoBits(bits, region));
  EXPECT_EQ(bits, Picture(4, 3, 1));  // the whole buffer, frame included
  EXPECT_EQ(region.Region(), nullptr);
  ASSERT_NE(region.RegionMain(), nullptr);
  EXPECT_EQ(region.RegionMain()->Box(), (Rect{0, 0, 4, 3}));
  EXPECT_EQ(doc.UndoPos(), 1);
  EXPECT_EQ(doc.UndoTop(), 2);

  // At the first snapshot undo asks for slot -1, which does not exist.
  EXPECT_FALSE(doc.UndoBits(bits, region));
  EXPECT_EQ(doc.UndoPos(), 1);
  EXPECT_EQ(bits, Picture(4, 3, 1));

  region.CreateRect(1, 1, 2, 2, CombineMode::Or, false);
  ASSERT_TRUE(doc.RedoBits(bits, region));
  EXPECT_EQ(bits, Picture(2, 2, 2));
  EXPECT_EQ(region.Region(), nullptr);
  EXPECT_EQ(region.RegionMain()->Box(), (Rect{0, 0, 2, 2}));
  EXPECT_EQ(doc.UndoPos(), 2);
  EXPECT_EQ(doc.UndoTop(), 2);
  // At the last snapshot redo finds no file.
  EXPECT_FALSE(doc.RedoBits(bits, region));
  EXPECT_EQ(doc.UndoPos(), 2);
}

TEST(UndoSteps, RedoOfAFileAboveTheTopRaisesTheTop) {
  Fixture f;
  UndoHistory doc(f.globals, f.dir.path());
  doc.SaveUndoBits(Picture(1, 1, 0));
  doc.SaveUndoBits(Picture(1, 1, 1));
  // A leftover snapshot in slot 2, as an earlier run could leave behind.
  WriteBytes(f.Temp() / "b000102.dat", ExpectedSnapshot(1, 1, 2));
  Bits bits = Picture(1, 1, 1);
  cBitRegion region;
  region.Init(0, 0, 1, 1);
  ASSERT_TRUE(doc.RedoBits(bits, region));
  EXPECT_EQ(bits, Picture(1, 1, 2));
  EXPECT_EQ(doc.UndoPos(), 3);
  EXPECT_EQ(doc.UndoTop(), 3);
}

TEST(UndoSteps, UndoFromANullPictureTakesTheSnapshotsSize) {
  Fixture f;
  UndoHistory doc(f.globals, f.dir.path());
  doc.SaveUndoBits(Picture(2, 3, 4));
  doc.SaveUndoBits(Picture(2, 3, 5));
  Bits bits;
  cBitRegion region;
  ASSERT_TRUE(doc.UndoBits(bits, region));
  EXPECT_EQ(bits, Picture(2, 3, 4));
  EXPECT_EQ(region.RegionMain()->Box(), (Rect{0, 0, 2, 3}));
}

// Selected pixels, by a plain rectangle test.
bool InRects(const std::vector<Rect>& rects, int x, int y) {
  for (const Rect& r : rects)
    if (x >= r.left && x < r.right && y >= r.top && y < r.bottom) return true;
  return false;
}

TEST(UndoSteps, UndoUnderASelectionRestoresInsideItOnly) {
  const std::vector<std::vector<Rect>> selections = {
      {{1, 1, 3, 2}},
      {{1, 1, 3, 2}, {0, 3, 1, 5}},
      {{0, 0, 5, 5}},
      {{4, 0, 5, 1}, {0, 4, 1, 5}, {2, 2, 3, 3}},
  };
  for (size_t s = 0; s < selections.size(); ++s) {
    Fixture f;
    UndoHistory doc(f.globals, f.dir.path());
    const Bits before = Picture(5, 5, 1), after = Picture(5, 5, 9);
    doc.SaveUndoBits(before);
    doc.SaveUndoBits(after);
    Bits bits = after;
    cBitRegion region;
    region.Init(0, 0, 5, 5);
    for (const Rect& r : selections[s]) region.CreateRect(r.left, r.top, r.right, r.bottom, CombineMode::Or, false);
    const std::vector<int32_t> data = region.GetData();

    ASSERT_TRUE(doc.UndoBits(bits, region));
    EXPECT_EQ(doc.UndoPos(), 1);
    EXPECT_EQ(region.GetData(), data);  // the selection stays
    for (int y = -2; y < 7; ++y)
      for (int x = -2; x < 7; ++x)
        for (int c = 0; c < 4; ++c) {
          const uint8_t want = InRects(selections[s], x, y) ? before.At(c, x, y) : after.At(c, x, y);
          ASSERT_EQ(bits.At(c, x, y), want) << "selection " << s << " c" << c << " (" << x << "," << y << ")";
        }
  }
}

TEST(UndoSteps, WithoutOrWithAnEmptySelectionTheWholeBufferReturns) {
  for (const bool emptySelection : {false, true}) {
    Fixture f;
    UndoHistory doc(f.globals, f.dir.path());
    doc.SaveUndoBits(Picture(3, 2, 1));
    doc.SaveUndoBits(Picture(3, 2, 2));
    Bits bits = Picture(3, 2, 2);
    cBitRegion region;
    region.Init(0, 0, 3, 2);
    if (emptySelection) region.SetRegion(RectRegion());
    ASSERT_TRUE(doc.UndoBits(bits, region));
    EXPECT_EQ(bits, Picture(3, 2, 1)) << emptySelection;
  }
}

TEST(UndoHistoryLimit, TheTwoHundredAndFirstSaveShiftsTheFiles) {
  Fixture f;
  UndoHistory doc(f.globals, f.dir.path());
  // Save k holds a 1 x 1 picture whose pixel (0, 0) carries k in two bytes.
  auto step = [](int k) {
    Bits b(1, 1);
    b.At(0, 0, 0) = static_cast<uint8_t>(k & 0xFF);
    b.At(1, 0, 0) = static_cast<uint8_t>(k >> 8);
    return b;
  };
  auto stepIn = [](const fs::path& file) {
    const ByteVector b = ReadBytes(file);
    return b.size() < 40 + 100 ? -1 : b[40 + 4 * (2 + 5 * 2)] | (b[40 + 4 * (2 + 5 * 2) + 1] << 8);
  };
  for (int k = 0; k < 200; ++k) {
    f.globals.LastCommandCaption = "step " + std::to_string(k);
    EXPECT_FALSE(doc.SaveUndoBits(step(k)).Shifted);
  }
  EXPECT_EQ(doc.UndoPos(), 200);
  EXPECT_EQ(doc.UndoTop(), 200);
  EXPECT_EQ(CountFiles(f.Temp()), 200);

  f.globals.LastCommandCaption = "step 200";
  const UndoSaveResult r = doc.SaveUndoBits(step(200));
  EXPECT_TRUE(r.Shifted);
  EXPECT_EQ(r.Slot, 200);
  EXPECT_EQ(doc.UndoPos(), 200);
  EXPECT_EQ(doc.UndoTop(), 200);
  EXPECT_EQ(CountFiles(f.Temp()), 200);
  EXPECT_FALSE(fs::exists(f.Temp() / "b0001200.dat"));
  EXPECT_EQ(stepIn(f.Temp() / "b000100.dat"), 1);  // the old slot 1
  EXPECT_EQ(stepIn(f.Temp() / "b000199.dat"), 100);
  EXPECT_EQ(stepIn(f.Temp() / "b0001199.dat"), 200);
  // The names are not shifted.
  EXPECT_EQ(doc.HistoryNames()[0], "step 0");
  EXPECT_EQ(doc.HistoryNames()[200], "step 200");

  f.globals.LastCommandCaption = "step 201";
  EXPECT_TRUE(doc.SaveUndoBits(step(201)).Shifted);
  EXPECT_EQ(stepIn(f.Temp() / "b000100.dat"), 2);
  EXPECT_EQ(stepIn(f.Temp() / "b0001199.dat"), 201);
  EXPECT_EQ(doc.HistoryNames()[200], "step 201");

  // Undo after the shift goes to slot 198, the step before the last.
  Bits bits = step(201);
  cBitRegion region;
  region.Init(0, 0, 1, 1);
  ASSERT_TRUE(doc.UndoBits(bits, region));
  EXPECT_EQ(bits, step(200));
  EXPECT_EQ(doc.UndoPos(), 199);
  ASSERT_TRUE(doc.RedoBits(bits, region));
  EXPECT_EQ(bits, step(201));
  EXPECT_EQ(doc.UndoPos(), 200);
}

TEST(UndoHistoryJump, JumpThenANewStepDeletesTheLaterSnapshots) {
  Fixture f;
  UndoHistory doc(f.globals, f.dir.path());
  for (int k = 0; k < 5; ++k) {
    f.globals.LastCommandCaption = "s" + std::to_string(k);
    doc.SaveUndoBits(Picture(2, 2, k));
  }
  Bits bits = Picture(2, 2, 4);
  cBitRegion region;
  region.Init(0, 0, 2, 2);

  EXPECT_FALSE(doc.JumpToHistoryRow(4, bits, region));  // the current step
  EXPECT_FALSE(doc.JumpToHistoryRow(5, bits, region));  // no such row
  EXPECT_FALSE(doc.JumpToHistoryRow(-1, bits, region));
  EXPECT_EQ(doc.UndoPos(), 5);
  EXPECT_EQ(bits, Picture(2, 2, 4));

  ASSERT_TRUE(doc.JumpToHistoryRow(1, bits, region));
  EXPECT_EQ(bits, Picture(2, 2, 1));
  EXPECT_EQ(doc.UndoPos(), 2);
  EXPECT_EQ(doc.UndoTop(), 5);
  // Later snapshots stay: redo and forward jumps still work.
  ASSERT_TRUE(doc.RedoBits(bits, region));
  EXPECT_EQ(bits, Picture(2, 2, 2));
  ASSERT_TRUE(doc.JumpToHistoryRow(4, bits, region));
  EXPECT_EQ(bits, Picture(2, 2, 4));
  EXPECT_EQ(doc.UndoPos(), 5);
  ASSERT_TRUE(doc.JumpToHistoryRow(1, bits, region));

  // A new step writes slot 2 and deletes slots 3 and 4 with their names.
  f.globals.LastCommandCaption = "new";
  const UndoSaveResult r = doc.SaveUndoBits(Picture(2, 2, 9));
  EXPECT_EQ(r.Slot, 2);
  EXPECT_EQ(r.DroppedRows, (std::vector<int32_t>{2, 3, 4}));
  EXPECT_EQ(doc.UndoPos(), 3);
  EXPECT_EQ(doc.UndoTop(), 3);
  for (int k = 0; k < 3; ++k) EXPECT_TRUE(fs::exists(f.Temp() / UndoFileName(1, k))) << k;
  for (int k = 3; k < 6; ++k) EXPECT_FALSE(fs::exists(f.Temp() / UndoFileName(1, k))) << k;
  EXPECT_EQ(doc.HistoryNames()[1], "s1");
  EXPECT_EQ(doc.HistoryNames()[2], "new");
  EXPECT_EQ(doc.HistoryNames()[3], "");
  EXPECT_EQ(doc.HistoryNames()[4], "");
  bits = Picture(2, 2, 9);
  EXPECT_FALSE(doc.RedoBits(bits, region));
  EXPECT_EQ(ExpectedSnapshot(2, 2, 9), ReadBytes(f.Temp() / "b000102.dat"));
}

TEST(UndoHistoryJump, ANewSaveAfterTwoUndosDropsTwoFiles) {
  Fixture f;
  UndoHistory doc(f.globals, f.dir.path());
  for (int k = 0; k < 4; ++k) doc.SaveUndoBits(Picture(1, 1, k));
  Bits bits = Picture(1, 1, 3);
  cBitRegion region;
  region.Init(0, 0, 1, 1);
  ASSERT_TRUE(doc.UndoBits(bits, region));
  ASSERT_TRUE(doc.UndoBits(bits, region));
  EXPECT_EQ(bits, Picture(1, 1, 1));
  EXPECT_EQ(doc.UndoPos(), 2);
  EXPECT_EQ(doc.UndoTop(), 4);
  const UndoSaveResult r = doc.SaveUndoBits(Picture(1, 1, 7));
  EXPECT_EQ(r.DroppedRows, (std::vector<int32_t>{2, 3}));
  EXPECT_EQ(CountFiles(f.Temp()), 3);
  EXPECT_FALSE(fs::exists(f.Temp() / "b000103.dat"));
}

TEST(UndoCleanup, ClosingDeletesOnlyThatDocumentsFiles) {
  Fixture f;
  UndoHistory one(f.globals, f.dir.path());
  UndoHistory two(f.globals, f.dir.path());
  for (int k = 0; k < 3; ++k) {
    one.SaveUndoBits(Picture(1, 1, k));
    two.SaveUndoBits(Picture(1, 1, k));
  }
  // Three 1 x 1 snapshots of 140 bytes each.
  EXPECT_EQ(one.SnapshotBytes(), 3u * 140u);
  WriteBytes(f.Temp() / "b0001.dat", {1});     // matches the wildcard
  WriteBytes(f.Temp() / "b0001x.txt", {1});    // not a .dat
  WriteBytes(f.Temp() / "keep.dat", {1});
  EXPECT_EQ(one.SnapshotBytes(), 3u * 140u + 1u);
  one.DeleteUndoFiles();
  EXPECT_EQ(one.SnapshotBytes(), 0u);
  EXPECT_EQ(two.SnapshotBytes(), 3u * 140u);
  EXPECT_FALSE(fs::exists(f.Temp() / "b000100.dat"));
  EXPECT_FALSE(fs::exists(f.Temp() / "b000102.dat"));
  EXPECT_FALSE(fs::exists(f.Temp() / "b0001.dat"));
  EXPECT_TRUE(fs::exists(f.Temp() / "b0001x.txt"));
  EXPECT_TRUE(fs::exists(f.Temp() / "keep.dat"));
  for (int k = 0; k < 3; ++k) EXPECT_TRUE(fs::exists(f.Temp() / UndoFileName(2, k)));
  two.DeleteUndoFiles();
  EXPECT_EQ(CountFiles(f.Temp()), 2);
  // Closing a document that never saved, or twice, is harmless.
  UndoHistory three(f.globals, f.dir.path());
  three.DeleteUndoFiles();
  one.DeleteUndoFiles();
}

TEST(UndoSaveFailure, AnUnwritableFolderLeavesNoFileAndTheStepsGoOn) {
  Fixture f;
  WriteBytes(f.Temp(), {0});  // a file where the folder should be
  UndoHistory doc(f.globals, f.dir.path());
  const UndoSaveResult r = doc.SaveUndoBits(Picture(1, 1, 1));
  EXPECT_FALSE(r.Written);
  EXPECT_EQ(doc.UndoPos(), 1);
  Bits bits = Picture(1, 1, 1);
  cBitRegion region;
  EXPECT_FALSE(doc.RedoBits(bits, region));
  EXPECT_FALSE(doc.UndoBits(bits, region));
  EXPECT_EQ(bits, Picture(1, 1, 1));
}

// A damaged snapshot leaves the picture, the selection and the position alone.
TEST(UndoDamagedSnapshot, RejectedWithoutAnyChange) {
  const ByteVector good = ExpectedSnapshot(2, 2, 3);  // 40 + 144 bytes
  auto withI32 = [&](size_t at, int32_t v) {
    ByteVector b = good;
    for (int i = 0; i < 4; ++i) b[at + i] = static_cast<uint8_t>(static_cast<uint32_t>(v) >> (8 * i));
    return b;
  };
  auto withI16 = [&](size_t at, int16_t v) {
    ByteVector b = good;
    b[at] = static_cast<uint8_t>(v & 0xFF);
    b[at + 1] = static_cast<uint8_t>((v >> 8) & 0xFF);
    return b;
  };
  const struct {
    const char* what;
    ByteVector bytes;
  } cases[] = {
      {"empty", {}},
      {"39 bytes", ByteVector(good.begin(), good.begin() + 39)},
      {"header only", ByteVector(good.begin(), good.begin() + 40)},
      {"one pixel byte short", ByteVector(good.begin(), good.end() - 1)},
      {"biSize 0", withI32(0, 0)},
      {"24 bits", withI16(14, 24)},
      {"no planes", withI16(12, 0)},
      {"width 0", withI32(4, 4)},
      {"height 0", withI32(8, -4)},
      {"bottom-up height", withI32(8, 6)},
      {"negative width", withI32(4, INT32_MIN)},
      {"huge width", withI32(4, INT32_MAX)},
      {"huge height", withI32(8, INT32_MIN)},
      {"larger than the file", withI32(4, 7)},
      {"garbage", ByteVector(500, 0xA5)},
  };
  for (const auto& c : cases) {
    Fixture f;
    UndoHistory doc(f.globals, f.dir.path());
    doc.SaveUndoBits(Picture(2, 2, 1));
    doc.SaveUndoBits(Picture(2, 2, 2));
    WriteBytes(f.Temp() / "b000100.dat", c.bytes);
    Bits bits = Picture(3, 1, 7);
    cBitRegion region;
    region.Init(0, 0, 3, 1);
    region.CreateRect(0, 0, 1, 1, CombineMode::Or, false);
    EXPECT_FALSE(LoadUndoBits(f.Temp() / "b000100.dat", bits, region)) << c.what;
    EXPECT_FALSE(doc.UndoBits(bits, region)) << c.what;
    EXPECT_EQ(doc.UndoPos(), 2) << c.what;
    EXPECT_EQ(bits, Picture(3, 1, 7)) << c.what;
    ASSERT_NE(region.Region(), nullptr) << c.what;
    EXPECT_EQ(region.RegionMain()->Box(), (Rect{0, 0, 3, 1})) << c.what;
  }
}

TEST(UndoDamagedSnapshot, MissingFileOrAFolderInItsPlace) {
  Fixture f;
  Bits bits = Picture(1, 1, 1);
  cBitRegion region;
  EXPECT_FALSE(LoadUndoBits(f.dir.path() / "nothing.dat", bits, region));
  fs::create_directories(f.dir.path() / "b000100.dat");
  EXPECT_FALSE(LoadUndoBits(f.dir.path() / "b000100.dat", bits, region));
  EXPECT_EQ(bits, Picture(1, 1, 1));
}

// Random changes to a good snapshot and random bytes: never a crash, and a
// file that is taken in is taken in exactly as its header describes it.
TEST(UndoDamagedSnapshot, FuzzedFilesNeverCrash) {
  test::TempDir dir;
  const fs::path file = dir / "b000100.dat";
  std::mt19937 rng(12345);
  const ByteVector good = ExpectedSnapshot(3, 2, 4);
  int accepted = 0;
  for (int round = 0; round < 3000; ++round) {
    ByteVector bytes;
    if (round % 3 == 0) {
      bytes.resize(rng() % 260);
      for (uint8_t& b : bytes) b = static_cast<uint8_t>(rng());
    } else {
      bytes = good;
      const int flips = 1 + static_cast<int>(rng() % 4);
      for (int i = 0; i < flips; ++i) bytes[rng() % (round % 3 == 1 ? 16 : bytes.size())] = static_cast<uint8_t>(rng());
      if (rng() % 4 == 0) bytes.resize(rng() % (bytes.size() + 1));
    }
    WriteBytes(file, bytes);
    Bits bits = Picture(3, 2, 0);
    cBitRegion region;
    if (!LoadUndoBits(file, bits, region)) {
      ASSERT_EQ(bits, Picture(3, 2, 0)) << round;
      continue;
    }
    ++accepted;
    ByteReader r(bytes);
    r.I32();
    const int32_t w = r.I32() - 4, h = -r.I32() - 4;
    ASSERT_EQ(bits.Width(), w) << round;
    ASSERT_EQ(bits.Height(), h) << round;
    ASSERT_GE(bytes.size(), 40 + bits.ByteSize()) << round;
    if (w == 3 && h == 2) {
      ASSERT_TRUE(std::equal(bytes.begin() + 40, bytes.begin() + 40 + bits.ByteSize(), bits.Data())) << round;
    }
  }
  EXPECT_GT(accepted, 100);  // pixel-byte damage still loads
}

}  // namespace
}  // namespace kelvane
