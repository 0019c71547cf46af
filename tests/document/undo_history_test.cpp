// Undo on disk: snapshot names and bytes, the slot arithmetic of undo, redo,
// history jumps and the 201-file limit, restores across a size change and
// under a selection, cleanup at close, and damaged snapshot files.
#include "document/undo_history.h"

#include <gtest/gtest.h>

#include <climits>
#include <fstream>
#include <random>

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
  for (int32_t v : {40, w + 4, -(h + 4)}) PutI32(out, v);
  PutI16(out, 1);
  PutI16(out, 32);
  out.resize(40, 0);
  for (int y = -2; y < h + 2; ++y)
    for (int x = -2; x < w + 2; ++x)
      for (int c = 0; c < 4; ++c) PutU8(out, PatternByte(seed, c, x, y));
  return out;
}

long CountFiles(const fs::path& folder) { return std::distance(fs::directory_iterator(folder), {}); }

// One document with its picture and selection, saving into a fresh folder.
struct Doc {
  test::TempDir dir;
  UndoGlobals globals;
  UndoHistory doc{globals, dir.path()};
  Bits bits;
  cBitRegion region;

  fs::path Temp() const { return dir.path() / "Temp"; }
  fs::path File(int slot) const { return Temp() / UndoFileName(doc.ImageID(), slot); }
  UndoSaveResult Save(const Bits& b, const std::string& name = "step") {
    globals.LastCommandCaption = name;
    bits = b;
    region.Init(0, 0, b.Width(), b.Height());
    return doc.SaveUndoBits(b);
  }
  void Select(int l, int t, int r, int b) { region.CreateRect(l, t, r, b, CombineMode::Or, false); }
  bool Undo() { return doc.UndoBits(bits, region); }
  bool Redo() { return doc.RedoBits(bits, region); }
  std::pair<int, int> Pos() const { return {doc.UndoPos(), doc.UndoTop()}; }
};

TEST(UndoSnapshotFile, NamesBytesAndOverwriteInPlace) {
  const struct { int32_t id, slot; const char* name; } cases[] = {
      {3, 7, "b000307.dat"}, {3, 200, "b0003200.dat"}, {12, 34, "b001234.dat"}, {12345, 0, "b1234500.dat"},
      {1, -1, "b0001-01.dat"}};
  for (const auto& c : cases) EXPECT_EQ(UndoFileName(c.id, c.slot), c.name) << c.id << "/" << c.slot;
  EXPECT_EQ(UndoPixelText(640, 480), "640x480");

  Doc f;
  UndoHistory second(f.globals, f.dir.path());
  EXPECT_EQ(f.doc.ImageID(), 1);
  EXPECT_EQ(second.ImageID(), 2);
  EXPECT_EQ(second.SlotFile(5), f.Temp() / "b000205.dat");
  EXPECT_EQ(f.Pos(), std::pair(0, 0));
  EXPECT_EQ(f.doc.HistoryNames().size(), 201u);
  EXPECT_EQ(f.doc.HistoryNames()[0], "Original");

  ASSERT_FALSE(fs::exists(f.Temp()));
  const UndoSaveResult r = f.Save(Picture(1, 2, 5), "Open");
  EXPECT_TRUE(r.Written);
  EXPECT_EQ(r.Slot, 0);
  EXPECT_EQ(f.Pos(), std::pair(1, 1));
  EXPECT_EQ(f.doc.HistoryNames()[0], "Open");  // over "Original"
  const ByteVector bytes = ReadBytes(f.dir.path() / "Temp" / "b000100.dat");
  const ByteVector header = {0x28, 0, 0, 0, 5, 0, 0, 0, 0xFA, 0xFF, 0xFF, 0xFF, 1, 0, 32, 0, 0, 0, 0, 0,
                             0,    0, 0, 0, 0, 0, 0, 0, 0,    0,    0,    0,    0, 0, 0,  0, 0, 0, 0, 0};
  EXPECT_EQ(ByteVector(bytes.begin(), bytes.begin() + 40), header);
  EXPECT_EQ(bytes, ExpectedSnapshot(1, 2, 5));

  // A small snapshot written over a larger one keeps the old tail; the reader
  // takes the size from the header and ignores it.
  f.Save(Picture(3, 3, 2));
  ASSERT_TRUE(f.Undo());
  f.Save(Picture(1, 1, 3));
  const ByteVector small = ExpectedSnapshot(1, 1, 3);
  ByteVector want = ExpectedSnapshot(3, 3, 2);
  std::copy(small.begin(), small.end(), want.begin());
  EXPECT_EQ(ReadBytes(f.File(1)), want);
  ASSERT_TRUE(f.Undo());
  ASSERT_TRUE(f.Redo());
  EXPECT_EQ(f.bits, Picture(1, 1, 3));
}

TEST(UndoSteps, UndoAndRedoAcrossACropDropTheSelection) {
  Doc f;
  f.Save(Picture(4, 3, 1));
  f.Save(Picture(2, 2, 2));  // the crop
  f.Select(0, 0, 1, 1);
  ASSERT_TRUE(f.Undo());
  EXPECT_EQ(f.bits, Picture(4, 3, 1));  // the whole buffer, frame included
  EXPECT_EQ(f.region.Region(), nullptr);
  ASSERT_NE(f.region.RegionMain(), nullptr);
  EXPECT_EQ(f.region.RegionMain()->Box(), (Rect{0, 0, 4, 3}));
  EXPECT_EQ(f.Pos(), std::pair(1, 2));
  // At the first snapshot undo asks for slot -1, which does not exist.
  EXPECT_FALSE(f.Undo());
  EXPECT_EQ(f.doc.UndoPos(), 1);

  f.Select(1, 1, 2, 2);
  ASSERT_TRUE(f.Redo());
  EXPECT_EQ(f.bits, Picture(2, 2, 2));
  EXPECT_EQ(f.region.Region(), nullptr);
  EXPECT_EQ(f.region.RegionMain()->Box(), (Rect{0, 0, 2, 2}));
  EXPECT_EQ(f.Pos(), std::pair(2, 2));
  EXPECT_FALSE(f.Redo());  // no file past the last snapshot
  // A file above the top, left behind by an earlier run: redo takes it and
  // raises UndoTop with UndoPos.
  WriteBytes(f.File(2), ExpectedSnapshot(1, 1, 2));
  ASSERT_TRUE(f.Redo());
  EXPECT_EQ(f.bits, Picture(1, 1, 2));
  EXPECT_EQ(f.Pos(), std::pair(3, 3));
}

bool InRects(const std::vector<Rect>& rects, int x, int y) {
  for (const Rect& r : rects)
    if (x >= r.left && x < r.right && y >= r.top && y < r.bottom) return true;
  return false;
}

TEST(UndoSteps, UndoUnderASelectionRestoresInsideItOnly) {
  // An empty list means no selection; `emptyRegion` sets a selection with no
  // rectangles. Both give back the whole buffer, frame included.
  const struct { std::vector<Rect> rects; bool emptyRegion; } cases[] = {
      {{{1, 1, 3, 2}, {0, 3, 1, 5}}, false}, {{{0, 0, 5, 5}}, false},
      {{{4, 0, 5, 1}, {0, 4, 1, 5}, {2, 2, 3, 3}}, false}, {{}, false}, {{}, true}};
  for (size_t s = 0; s < std::size(cases); ++s) {
    Doc f;
    const Bits before = Picture(5, 5, 1), after = Picture(5, 5, 9);
    f.Save(before);
    f.Save(after);
    for (const Rect& r : cases[s].rects) f.Select(r.left, r.top, r.right, r.bottom);
    if (cases[s].emptyRegion) f.region.SetRegion(RectRegion());
    const std::vector<int32_t> data = f.region.GetData();
    ASSERT_TRUE(f.Undo());
    EXPECT_EQ(f.doc.UndoPos(), 1);
    EXPECT_EQ(f.region.GetData(), data);  // the selection stays
    for (int y = -2; y < 7; ++y)
      for (int x = -2; x < 7; ++x)
        for (int c = 0; c < 4; ++c) {
          const bool restored = cases[s].rects.empty() || InRects(cases[s].rects, x, y);
          ASSERT_EQ(f.bits.At(c, x, y), (restored ? before : after).At(c, x, y)) << s << " " << x << "," << y;
        }
  }
}

TEST(UndoHistoryLimit, TheTwoHundredAndFirstSaveShiftsTheFiles) {
  Doc f;
  // Save k holds Picture(1, 1, k): seeds below 256 give distinct bytes.
  auto step = [](int k) { return Picture(1, 1, k); };
  auto stepIn = [&](int slot, int k) { return ReadBytes(f.File(slot)) == ExpectedSnapshot(1, 1, k); };
  for (int k = 0; k < 200; ++k) EXPECT_FALSE(f.Save(step(k), "step " + std::to_string(k)).Shifted);
  EXPECT_EQ(f.Pos(), std::pair(200, 200));

  const UndoSaveResult r = f.Save(step(200), "step 200");
  EXPECT_TRUE(r.Shifted);
  EXPECT_EQ(r.Slot, 200);
  EXPECT_EQ(f.Pos(), std::pair(200, 200));
  EXPECT_EQ(CountFiles(f.Temp()), 200);
  EXPECT_FALSE(fs::exists(f.Temp() / "b0001200.dat"));
  EXPECT_TRUE(stepIn(0, 1));  // the old slot 1
  EXPECT_TRUE(stepIn(99, 100));
  EXPECT_TRUE(stepIn(199, 200));
  EXPECT_EQ(f.doc.HistoryNames()[0], "step 0");  // names are not shifted
  EXPECT_EQ(f.doc.HistoryNames()[200], "step 200");

  EXPECT_TRUE(f.Save(step(201), "step 201").Shifted);
  EXPECT_TRUE(stepIn(0, 2));
  EXPECT_TRUE(stepIn(199, 201));
  // Undo after the shift loads slot 198, the step before the last.
  ASSERT_TRUE(f.Undo());
  EXPECT_EQ(f.bits, step(200));
  EXPECT_EQ(f.doc.UndoPos(), 199);
  ASSERT_TRUE(f.Redo());
  EXPECT_EQ(f.bits, step(201));
  EXPECT_EQ(f.doc.UndoPos(), 200);
}

TEST(UndoHistoryJump, JumpThenANewStepDeletesTheLaterSnapshots) {
  Doc f;
  for (int k = 0; k < 5; ++k) f.Save(Picture(2, 2, k), "s" + std::to_string(k));
  for (int row : {4, 5, -1}) EXPECT_FALSE(f.doc.JumpToHistoryRow(row, f.bits, f.region)) << row;
  EXPECT_EQ(f.doc.UndoPos(), 5);
  EXPECT_EQ(f.bits, Picture(2, 2, 4));

  ASSERT_TRUE(f.doc.JumpToHistoryRow(1, f.bits, f.region));
  EXPECT_EQ(f.bits, Picture(2, 2, 1));
  EXPECT_EQ(f.Pos(), std::pair(2, 5));
  // Later snapshots stay: redo and forward jumps still work.
  ASSERT_TRUE(f.Redo());
  EXPECT_EQ(f.bits, Picture(2, 2, 2));
  ASSERT_TRUE(f.doc.JumpToHistoryRow(4, f.bits, f.region));
  EXPECT_EQ(f.bits, Picture(2, 2, 4));
  EXPECT_EQ(f.Pos(), std::pair(5, 5));
  ASSERT_TRUE(f.doc.JumpToHistoryRow(1, f.bits, f.region));

  // A new step writes slot 2 and deletes slots 3 and 4 with their names.
  const UndoSaveResult r = f.Save(Picture(2, 2, 9), "new");
  EXPECT_EQ(r.Slot, 2);
  EXPECT_EQ(r.DroppedRows, (std::vector<int32_t>{2, 3, 4}));
  EXPECT_EQ(f.Pos(), std::pair(3, 3));
  for (int k = 0; k < 6; ++k) EXPECT_EQ(fs::exists(f.File(k)), k < 3) << k;
  const std::vector<std::string> names(f.doc.HistoryNames().begin(), f.doc.HistoryNames().begin() + 5);
  EXPECT_EQ(names, (std::vector<std::string>{"s0", "s1", "new", "", ""}));
  EXPECT_EQ(ReadBytes(f.File(2)), ExpectedSnapshot(2, 2, 9));
  EXPECT_FALSE(f.Redo());
}

TEST(UndoCleanup, ClosingDeletesOnlyThatDocumentsFiles) {
  Doc f;
  UndoHistory two(f.globals, f.dir.path());
  for (int k = 0; k < 3; ++k) f.Save(Picture(1, 1, k)), two.SaveUndoBits(Picture(1, 1, k));
  // "b0001.dat" matches the wildcard; "b0001x.txt" is no .dat; "keep.dat" is no snapshot.
  for (const char* name : {"b0001.dat", "b0001x.txt", "keep.dat"}) WriteBytes(f.Temp() / name, {1});
  EXPECT_EQ(f.doc.SnapshotBytes(), 3u * 140u + 1u);  // three 1 x 1 snapshots and b0001.dat
  f.doc.DeleteUndoFiles();
  EXPECT_EQ(f.doc.SnapshotBytes(), 0u);
  EXPECT_EQ(two.SnapshotBytes(), 3u * 140u);
  EXPECT_EQ(CountFiles(f.Temp()), 5);  // the other document's three, the .txt and keep.dat
  two.DeleteUndoFiles();
  EXPECT_TRUE(fs::exists(f.Temp() / "b0001x.txt") && fs::exists(f.Temp() / "keep.dat"));
  f.doc.DeleteUndoFiles();  // twice is harmless
}

TEST(UndoSaveFailure, AnUnwritableFolderLeavesNoFileAndTheStepsGoOn) {
  Doc f;
  WriteBytes(f.Temp(), {0});  // a file where the folder should be
  EXPECT_FALSE(f.Save(Picture(1, 1, 1)).Written);
  EXPECT_EQ(f.doc.UndoPos(), 1);
  EXPECT_FALSE(f.Redo());
  EXPECT_FALSE(f.Undo());
  EXPECT_EQ(f.bits, Picture(1, 1, 1));
}

// A damaged snapshot leaves the picture, the selection and the position alone.
TEST(UndoDamagedSnapshot, RejectedWithoutAnyChange) {
  const ByteVector good = ExpectedSnapshot(2, 2, 3);  // 40 + 144 bytes
  auto with = [&](size_t at, int32_t v, int size) {
    ByteVector b = good;
    for (int i = 0; i < size; ++i) b[at + i] = static_cast<uint8_t>(static_cast<uint32_t>(v) >> (8 * i));
    return b;
  };
  const struct { const char* what; ByteVector bytes; } cases[] = {
      {"empty", {}}, {"39 bytes", ByteVector(good.begin(), good.begin() + 39)},
      {"one pixel byte short", ByteVector(good.begin(), good.end() - 1)}, {"biSize 0", with(0, 0, 4)},
      {"24 bits", with(14, 24, 2)}, {"no planes", with(12, 0, 2)}, {"width 0", with(4, 4, 4)},
      {"height 0", with(8, -4, 4)}, {"bottom-up height", with(8, 6, 4)}, {"huge width", with(4, INT32_MAX, 4)},
      {"huge height", with(8, INT32_MIN, 4)}, {"larger than the file", with(4, 7, 4)},
      {"garbage", ByteVector(500, 0xA5)}};
  for (const auto& c : cases) {
    Doc f;
    f.Save(Picture(2, 2, 1));
    f.Save(Picture(3, 1, 7));
    f.Select(0, 0, 1, 1);
    WriteBytes(f.File(0), c.bytes);
    EXPECT_FALSE(f.Undo()) << c.what;
    EXPECT_EQ(f.doc.UndoPos(), 2) << c.what;
    EXPECT_EQ(f.bits, Picture(3, 1, 7)) << c.what;
    ASSERT_NE(f.region.Region(), nullptr) << c.what;
    EXPECT_EQ(f.region.RegionMain()->Box(), (Rect{0, 0, 3, 1})) << c.what;
  }
  // A folder in the file's place.
  Doc f;
  f.Save(Picture(1, 1, 1));
  fs::create_directories(f.dir.path() / "b000100.dat");
  EXPECT_FALSE(LoadUndoBits(f.dir.path() / "b000100.dat", f.bits, f.region));
  EXPECT_EQ(f.bits, Picture(1, 1, 1));
}

// Random damage: never a crash, and a file that is taken in is taken in
// exactly as its header describes it.
TEST(UndoDamagedSnapshot, FuzzedFilesNeverCrash) {
  test::TempDir dir;
  const fs::path file = dir / "b000100.dat";
  std::mt19937 rng(12345);
  const ByteVector good = ExpectedSnapshot(3, 2, 4);
  int accepted = 0;
  for (int round = 0; round < 600; ++round) {
    // Odd rounds damage the header, even rounds anywhere; a quarter are cut short.
    ByteVector bytes = good;
    for (int i = 1 + static_cast<int>(rng() % 4); i > 0; --i)
      bytes[rng() % (round % 2 ? 16 : bytes.size())] = static_cast<uint8_t>(rng());
    if (rng() % 4 == 0) bytes.resize(rng() % (bytes.size() + 1));
    WriteBytes(file, bytes);
    Bits bits = Picture(3, 2, 0);
    cBitRegion region;
    if (!LoadUndoBits(file, bits, region)) {
      ASSERT_EQ(bits, Picture(3, 2, 0)) << round;
      continue;
    }
    ++accepted;
    ByteReader r(bytes.data() + 4, 8);
    const int32_t w = r.I32() - 4, h = -r.I32() - 4;
    ASSERT_EQ(bits.Width(), w) << round;
    ASSERT_EQ(bits.Height(), h) << round;
    ASSERT_GE(bytes.size(), 40 + bits.ByteSize()) << round;
    ASSERT_TRUE(w != 3 || h != 2 || std::equal(bits.Data(), bits.Data() + bits.ByteSize(), bytes.begin() + 40))
        << round;
  }
  EXPECT_GT(accepted, 100);  // pixel-byte damage still loads
}

}  // namespace
}  // namespace kelvane
