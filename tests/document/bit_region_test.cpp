// The document selection: no selection versus an empty one, the selection as
// first operand, invert and crop, the zoomed copy, *.ksf bytes, the outline.
#include "document/bit_region.h"

#include <gtest/gtest.h>

#include <fstream>
#include <vector>

#include "base/byte_io.h"
#include "test_support.h"

namespace kelvane {
namespace {

using Rects = std::vector<Rect>;
using Ints = std::vector<int32_t>;

ByteVector ReadBytes(const std::filesystem::path& p) {
  ByteVector b;
  ReadWholeFile(p, b);
  return b;
}

void WriteBytes(const std::filesystem::path& p, const ByteVector& bytes) {
  std::ofstream(p, std::ios::binary | std::ios::trunc)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

TEST(BitRegionSelection, NoSelectionVersusEmptySelection) {
  cBitRegion br;
  br.Init(0, 0, 100, 80);
  EXPECT_EQ(br.Region(), nullptr);
  EXPECT_TRUE(br.IsEmptyRegion());
  // Diff on no selection does nothing, crop or not.
  br.CreateRect(10, 10, 20, 20, CombineMode::Diff, false);
  br.CreateRect(10, 10, 20, 20, CombineMode::Diff, true);
  EXPECT_EQ(br.Region(), nullptr);
  // With no selection any other mode makes the shape the selection.
  br.CreateRect(10, 10, 20, 20, CombineMode::And, false);
  EXPECT_EQ(br.Region()->Rects(), (Rects{{10, 10, 20, 20}}));
  // Subtracting all of it leaves an empty, but present, selection.
  br.CreateRect(0, 0, 50, 50, CombineMode::Diff, false);
  ASSERT_NE(br.Region(), nullptr);
  EXPECT_TRUE(br.IsEmptyRegion());
  EXPECT_EQ(br.GetData(), (Ints{32, 1, 0, 0, 0, 0, 0, 0}));
  int32_t l = 9, t = 9, r = 9, b = 9;
  EXPECT_FALSE(br.BoundRect(l, t, r, b));
  EXPECT_EQ((Ints{l, t, r, b}), (Ints{0, 0, 0, 0}));
  // Init forgets the selection and its data.
  br.CreateRect(1, 1, 5, 5, CombineMode::Or, false);
  br.Init(0, 0, 30, 30);
  EXPECT_EQ(br.Region(), nullptr);
  EXPECT_EQ(br.RegionScaled(), nullptr);
  EXPECT_EQ(br.GetDataCount(), 0);
  EXPECT_TRUE(br.RegionDataScaled().empty());
  br.Clear();
  EXPECT_EQ(br.RegionMain(), nullptr);
}

TEST(BitRegionSelection, SelectionIsTheFirstOperandAndCropCutsToThePicture) {
  cBitRegion br;
  br.Init(0, 0, 50, 40);
  br.CreateRect(10, 10, 30, 30, CombineMode::Or, false);
  br.CreateRect(20, 20, 60, 35, CombineMode::Or, false);
  br.CreateRect(0, 0, 15, 40, CombineMode::Diff, false);  // cuts the shape out
  br.CreateRect(0, 0, 5, 5, CombineMode::Copy, false);    // leaves it as it was
  EXPECT_EQ(br.Region()->Rects(), (Rects{{15, 10, 30, 20}, {15, 20, 60, 30}, {20, 30, 60, 35}}));
  br.CreateRect(0, 0, 1, 1, CombineMode::Or, true);
  EXPECT_EQ(br.GetData(), (Ints{32, 1, 4, 64, 0, 0, 50, 35,  //
                                0, 0, 1, 1, 15, 10, 30, 20, 15, 20, 50, 30, 20, 30, 50, 35}));
  int32_t l, t, r, b;
  EXPECT_TRUE(br.BoundRect(l, t, r, b));
  EXPECT_EQ((Ints{l, t, r, b}), (Ints{0, 0, 50, 35}));
}

TEST(BitRegionSelection, EllipseAndPolygonShapes) {
  cBitRegion br;
  br.Init(0, 0, 40, 40);
  br.CreateEllipse(4, 4, 0, 0, CombineMode::Or, false);  // box given reversed
  EXPECT_EQ(br.Region()->Rects(), (Rects{{1, 0, 3, 1}, {0, 1, 4, 3}, {1, 3, 3, 4}}));
  br.Init(0, 0, 40, 40);
  br.CreatePolygon({0, 0}, CombineMode::Or, false);  // too short: ignored
  EXPECT_EQ(br.Region(), nullptr);
  br.CreatePolygon({0, 0, 5}, CombineMode::Or, false);  // one point: an empty shape
  ASSERT_NE(br.Region(), nullptr);
  EXPECT_TRUE(br.IsEmptyRegion());
  // A pentagram, winding fill, so the middle is selected; the trailing odd
  // integer is not a point; the tip at y = 1 covers no centre of row 1.
  br.CreatePolygon({16, 1, 25, 28, 2, 11, 30, 11, 7, 28, 99}, CombineMode::Or, false);
  EXPECT_TRUE(br.Region()->Contains(16, 16));
  EXPECT_FALSE(br.Region()->Contains(16, 27));
  EXPECT_EQ(br.Region()->Box().top, 2);
  const Rects star = br.Region()->Rects();
  br.CreatePolygon({50, 50, 60, 50, 60, 60, 50, 60}, CombineMode::Or, true);  // cropped away
  EXPECT_EQ(br.Region()->Rects(), star);
}

TEST(BitRegionSelection, InvertCropAndOffset) {
  cBitRegion br;
  br.Init(0, 0, 10, 8);
  br.Invert();  // no selection: everything
  EXPECT_EQ(br.Region()->Rects(), (Rects{{0, 0, 10, 8}}));
  br.Invert();  // all of it inverted: empty, still a selection
  ASSERT_NE(br.Region(), nullptr);
  EXPECT_TRUE(br.IsEmptyRegion());
  br.Invert();  // an empty box selects everything again
  EXPECT_EQ(br.Region()->Rects(), (Rects{{0, 0, 10, 8}}));

  // Invert twice restores, also for a selection reaching outside the picture.
  br.Init(0, 0, 10, 8);
  br.CreateRect(2, 2, 5, 5, CombineMode::Or, false);
  br.CreateRect(8, 6, 14, 12, CombineMode::Or, false);
  const Rects before = br.Region()->Rects();
  br.Invert();
  EXPECT_EQ(br.Region()->Rects(), (Rects{{0, 0, 10, 2}, {0, 2, 2, 5}, {5, 2, 10, 5}, {0, 5, 10, 6}, {0, 6, 8, 8},
                                         {10, 6, 14, 8}, {8, 8, 14, 12}}));
  br.Invert();
  EXPECT_EQ(br.Region()->Rects(), before);
  br.Crop();
  EXPECT_EQ(br.Region()->Rects(), (Rects{{2, 2, 5, 5}, {8, 6, 10, 8}}));
  br.Offset(-3, 10);
  EXPECT_EQ(br.GetData(), (Ints{32, 1, 2, 32, -1, 12, 7, 18, -1, 12, 2, 15, 5, 16, 7, 18}));

  cBitRegion fresh;  // before any Init there is no picture to crop to
  fresh.CreateRect(1, 1, 3, 3, CombineMode::Or, false);
  fresh.Crop();
  EXPECT_EQ(fresh.Region()->Rects(), (Rects{{1, 1, 3, 3}}));
}

TEST(BitRegionZoom, ScalingRoundsTiesToEvenAndFollowsEveryChange) {
  cBitRegion br;
  br.Init(0, 0, 40, 40);
  br.CreateRect(1, 3, 5, 7, CombineMode::Or, false);
  br.CreateRect(11, 3, 13, 7, CombineMode::Or, false);
  br.SetZoomFactor(0.5f);
  // 0.5 -> 0, 1.5 -> 2, 2.5 -> 2, 3.5 -> 4, 5.5 -> 6, 6.5 -> 6.
  EXPECT_EQ(br.RegionDataScaled(), (Ints{32, 1, 2, 32, 0, 2, 6, 4, 0, 2, 2, 4, 6, 2, 6, 4}));
  // The second rectangle has shrunk to nothing and drops out of the region.
  EXPECT_EQ(br.RegionScaled()->Rects(), (Rects{{0, 2, 2, 4}}));
  br.SetZoomFactor(3);
  br.Offset(-1, 0);
  EXPECT_EQ(br.RegionScaled()->Rects(), (Rects{{0, 9, 12, 21}, {30, 9, 36, 21}}));

  RectRegion source = RectRegion::FromRect(5, 5, 9, 9);
  br.SetRegion(source);
  source.Offset(50, 50);  // the selection holds its own copy
  EXPECT_EQ(br.GetData(), (Ints{32, 1, 1, 16, 5, 5, 9, 9, 5, 5, 9, 9}));
  EXPECT_EQ(br.RegionScaled()->Rects(), (Rects{{15, 15, 27, 27}}));

  // -1 behaves as 0.01f, a little under 0.01: 100 * it = 0.99999998, 200 * it = 1.99999996.
  br.SetRegion(RectRegion::FromRect(0, 0, 100, 200));
  br.SetZoomFactor(-1);
  EXPECT_EQ(br.ZoomFactor(), 0.01f);
  EXPECT_EQ(br.RegionDataScaled(), (Ints{32, 1, 1, 16, 0, 0, 1, 2, 0, 0, 1, 2}));
  EXPECT_EQ(br.GetData(), (Ints{32, 1, 1, 16, 0, 0, 100, 200, 0, 0, 100, 200}));  // untouched
}

TEST(BitRegionFile, KsfBytesOverALongerFileThenLoadIntoASmallerPicture) {
  test::TempDir dir;
  const auto path = dir / "sel.ksf";
  WriteBytes(path, ByteVector(100, 0xAB));
  cBitRegion br;
  br.Init(0, 0, 50, 50);
  br.CreateRect(-2, 2, 0, 4, CombineMode::Or, false);
  br.CreateRect(10, 10, 20, 15, CombineMode::Or, false);
  br.SetZoomFactor(4);  // the file holds picture coordinates only
  ASSERT_TRUE(br.SaveToFile(path));
  ByteVector expected = {
      32, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 32, 0, 0, 0,              // header
      0xFE, 0xFF, 0xFF, 0xFF, 2, 0, 0, 0, 20, 0, 0, 0, 15, 0, 0, 0,  // box
      0xFE, 0xFF, 0xFF, 0xFF, 2, 0, 0, 0, 0, 0, 0, 0, 4, 0, 0, 0,    // first
      10, 0, 0, 0, 10, 0, 0, 0, 20, 0, 0, 0, 15, 0, 0, 0};           // second
  expected.resize(100, 0xAB);  // the longer file's tail stays
  EXPECT_EQ(ReadBytes(path), expected);

  cBitRegion other;
  other.Init(0, 0, 15, 12);
  other.SetZoomFactor(2);
  ASSERT_TRUE(other.LoadFromFile(path));  // the tail is ignored; no crop on load
  EXPECT_EQ(other.GetData(), br.GetData());
  EXPECT_EQ(other.RegionScaled()->Rects(), (Rects{{-4, 4, 0, 8}, {20, 20, 40, 30}}));
  EXPECT_EQ(other.RegionMain()->Rects(), (Rects{{0, 0, 15, 12}}));
  other.Crop();  // the caller cuts it to the picture
  EXPECT_EQ(other.GetData(), (Ints{32, 1, 1, 16, 10, 10, 15, 12, 10, 10, 15, 12}));
}

TEST(BitRegionFile, BadFilesGiveEmptySelectionMissingFilesFail) {
  test::TempDir dir;
  cBitRegion br;
  br.Init(0, 0, 10, 10);
  br.CreateRect(1, 1, 2, 2, CombineMode::Or, false);
  EXPECT_FALSE(br.LoadFromFile(dir / "missing.ksf"));
  EXPECT_EQ(br.Region()->Rects(), (Rects{{1, 1, 2, 2}}));
  ByteVector junk = {'n', 'o', 't', ' ', 'a', ' ', 'r', 'e', 'g', 'i', 'o', 'n'};
  junk.resize(34, 0);
  ByteVector shortData(29, 0);  // seven whole integers and a stray byte
  shortData[0] = 32, shortData[4] = 1, shortData[28] = 7;
  for (const ByteVector& bytes : {junk, shortData}) {
    br.CreateRect(1, 1, 2, 2, CombineMode::Or, false);
    WriteBytes(dir / "bad.ksf", bytes);
    ASSERT_TRUE(br.LoadFromFile(dir / "bad.ksf"));
    ASSERT_NE(br.Region(), nullptr);
    EXPECT_TRUE(br.IsEmptyRegion());
  }
  // Saving no selection writes nothing over an existing file.
  WriteBytes(dir / "keep.ksf", {1, 2, 3});
  cBitRegion none;
  none.Init(0, 0, 10, 10);
  EXPECT_TRUE(none.SaveToFile(dir / "keep.ksf"));
  EXPECT_EQ(ReadBytes(dir / "keep.ksf"), (ByteVector{1, 2, 3}));
}

TEST(BitRegionOutline, BrushesAndTheInnerFrameOfTheScaledSelection) {
  const uint8_t rows[8] = {240, 120, 60, 30, 15, 135, 195, 225};
  for (int k = 0; k < 9; ++k)  // brush k, row r is row (r + k) mod 8 of brush 0; 8 wraps
    for (int r = 0; r < 8; ++r) EXPECT_EQ(cBitRegion::BrushPattern(k)[r], rows[(r + k) % 8]) << k << "," << r;
  cBitRegion br;
  for (int i = 0; i < 7; ++i) br.RotateBrush();
  EXPECT_EQ(br.BrushIndex(), 7);
  br.RotateBrush();
  EXPECT_EQ(br.BrushIndex(), 0);

  br.Init(0, 0, 20, 20);
  EXPECT_TRUE(br.OutlineRegion(0, 0).IsEmpty());
  br.CreateRect(1, 1, 3, 3, CombineMode::Or, false);
  br.SetZoomFactor(2);  // scaled: (2, 2, 6, 6)
  EXPECT_EQ(br.OutlineRegion(-1, 0).Rects(), (Rects{{1, 2, 5, 3}, {1, 3, 2, 5}, {4, 3, 5, 5}, {1, 5, 5, 6}}));
  br.SetZoomFactor(1);  // a one-pixel-wide selection is all outline
  br.CreateRect(10, 0, 11, 20, CombineMode::Or, false);
  EXPECT_EQ(br.OutlineRegion(0, 0), *br.RegionScaled());
}

}  // namespace
}  // namespace kelvane
