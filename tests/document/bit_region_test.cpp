#include "document/bit_region.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <vector>

#include "test_support.h"

namespace kelvane {
namespace {

using Rects = std::vector<Rect>;
using Ints = std::vector<int32_t>;

std::vector<uint8_t> ReadBytes(const std::filesystem::path& p) {
  std::ifstream in(p, std::ios::binary);
  return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
}

void WriteBytes(const std::filesystem::path& p, const std::vector<uint8_t>& bytes) {
  std::ofstream out(p, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

TEST(BitRegionSelection, NoSelectionVersusEmptySelection) {
  cBitRegion br;
  br.Init(0, 0, 100, 80);
  ASSERT_NE(br.RegionMain(), nullptr);
  EXPECT_EQ(br.RegionMain()->Rects(), (Rects{{0, 0, 100, 80}}));
  EXPECT_EQ(br.Region(), nullptr);
  EXPECT_EQ(br.RegionScaled(), nullptr);
  EXPECT_TRUE(br.IsEmptyRegion());
  EXPECT_EQ(br.GetDataCount(), 0);

  // Diff on no selection does nothing, crop or not.
  br.CreateRect(10, 10, 20, 20, CombineMode::Diff, false);
  EXPECT_EQ(br.Region(), nullptr);
  br.CreateRect(10, 10, 20, 20, CombineMode::Diff, true);
  EXPECT_EQ(br.Region(), nullptr);
  EXPECT_TRUE(br.IsEmptyRegion());

  // With no selection any other mode makes the shape the selection.
  br.CreateRect(10, 10, 20, 20, CombineMode::And, false);
  ASSERT_NE(br.Region(), nullptr);
  EXPECT_EQ(br.Region()->Rects(), (Rects{{10, 10, 20, 20}}));

  // Subtracting all of it leaves an empty, but present, selection.
  br.CreateRect(0, 0, 50, 50, CombineMode::Diff, false);
  ASSERT_NE(br.Region(), nullptr);
  EXPECT_TRUE(br.Region()->IsEmpty());
  EXPECT_TRUE(br.IsEmptyRegion());
  EXPECT_EQ(br.GetData(), (Ints{32, 1, 0, 0, 0, 0, 0, 0}));
  int32_t l = 9, t = 9, r = 9, b = 9;
  EXPECT_FALSE(br.BoundRect(l, t, r, b));
  EXPECT_EQ((Ints{l, t, r, b}), (Ints{0, 0, 0, 0}));

  // Init forgets the selection and its data.
  br.CreateRect(1, 1, 5, 5, CombineMode::Or, false);
  EXPECT_FALSE(br.IsEmptyRegion());
  br.Init(0, 0, 30, 30);
  EXPECT_EQ(br.Region(), nullptr);
  EXPECT_EQ(br.RegionScaled(), nullptr);
  EXPECT_EQ(br.GetDataCount(), 0);
  EXPECT_TRUE(br.RegionDataScaled().empty());
  EXPECT_EQ(br.RegionMain()->Rects(), (Rects{{0, 0, 30, 30}}));

  br.Clear();
  EXPECT_EQ(br.RegionMain(), nullptr);
}

TEST(BitRegionSelection, ShapesCombineIntoTheSelection) {
  cBitRegion br;
  br.Init(0, 0, 50, 40);
  br.CreateRect(10, 10, 30, 30, CombineMode::Or, false);
  br.CreateRect(20, 20, 60, 35, CombineMode::Or, false);
  EXPECT_EQ(br.Region()->Rects(), (Rects{{10, 10, 30, 20}, {10, 20, 60, 30}, {20, 30, 60, 35}}));
  // The selection is the first operand: Diff cuts the shape out of it and
  // Copy leaves it as it was.
  br.CreateRect(0, 0, 15, 40, CombineMode::Diff, false);
  EXPECT_EQ(br.Region()->Rects(), (Rects{{15, 10, 30, 20}, {15, 20, 60, 30}, {20, 30, 60, 35}}));
  br.CreateRect(0, 0, 5, 5, CombineMode::Copy, false);
  EXPECT_EQ(br.Region()->Rects(), (Rects{{15, 10, 30, 20}, {15, 20, 60, 30}, {20, 30, 60, 35}}));
  // Crop cuts what lies beyond the picture.
  br.CreateRect(0, 0, 1, 1, CombineMode::Or, true);
  EXPECT_EQ(br.Region()->Rects(),
            (Rects{{0, 0, 1, 1}, {15, 10, 30, 20}, {15, 20, 50, 30}, {20, 30, 50, 35}}));
  EXPECT_EQ(br.GetData(), (Ints{32, 1, 4, 64, 0, 0, 50, 35,  //
                                0, 0, 1, 1, 15, 10, 30, 20, 15, 20, 50, 30, 20, 30, 50, 35}));
  int32_t l, t, r, b;
  EXPECT_TRUE(br.BoundRect(l, t, r, b));
  EXPECT_EQ((Ints{l, t, r, b}), (Ints{0, 0, 50, 35}));
  EXPECT_EQ(br.GetDataCount(), 24);
}

TEST(BitRegionSelection, EllipseAndPolygonShapes) {
  cBitRegion br;
  br.Init(0, 0, 20, 20);
  br.CreateEllipse(4, 4, 0, 0, CombineMode::Or, false);  // box given reversed
  EXPECT_EQ(br.Region()->Rects(), (Rects{{1, 0, 3, 1}, {0, 1, 4, 3}, {1, 3, 3, 4}}));

  cBitRegion poly;
  poly.Init(0, 0, 40, 40);
  poly.CreatePolygon({0, 0, 5}, CombineMode::Or, false);  // one point: an empty shape
  ASSERT_NE(poly.Region(), nullptr);
  EXPECT_TRUE(poly.IsEmptyRegion());
  poly.Init(0, 0, 40, 40);
  poly.CreatePolygon({0, 0}, CombineMode::Or, false);  // too short: ignored
  EXPECT_EQ(poly.Region(), nullptr);
  // A pentagram: the fill rule is winding, so the middle is selected. The
  // trailing odd integer is not a point.
  poly.CreatePolygon({16, 1, 25, 28, 2, 11, 30, 11, 7, 28, 99}, CombineMode::Or, false);
  EXPECT_TRUE(poly.Region()->Contains(16, 16));
  EXPECT_FALSE(poly.Region()->Contains(16, 27));
  EXPECT_EQ(poly.Region()->Box().top, 2);  // the tip at y = 1 covers no centre of row 1
  // A square polygon outside the picture, cropped away to nothing.
  poly.CreatePolygon({50, 50, 60, 50, 60, 60, 50, 60}, CombineMode::Or, true);
  EXPECT_LE(poly.Region()->Box().right, 40);
}

TEST(BitRegionSelection, InvertAndCrop) {
  cBitRegion br;
  br.Init(0, 0, 10, 8);
  br.Invert();  // no selection: everything
  ASSERT_NE(br.Region(), nullptr);
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
  EXPECT_EQ(br.Region()->Rects(),
            (Rects{{0, 0, 10, 2}, {0, 2, 2, 5}, {5, 2, 10, 5}, {0, 5, 10, 6}, {0, 6, 8, 8}, {10, 6, 14, 8},
                   {8, 8, 14, 12}}));
  br.Invert();
  EXPECT_EQ(br.Region()->Rects(), before);
  EXPECT_EQ(br.GetData(), br.Region()->Data());

  br.Crop();
  EXPECT_EQ(br.Region()->Rects(), (Rects{{2, 2, 5, 5}, {8, 6, 10, 8}}));

  // Before any Init there is no picture rectangle to work against.
  cBitRegion fresh;
  fresh.CreateRect(1, 1, 3, 3, CombineMode::Or, false);
  fresh.Crop();
  EXPECT_EQ(fresh.Region()->Rects(), (Rects{{1, 1, 3, 3}}));
}

TEST(BitRegionSelection, OffsetAndSetRegionRebuildData) {
  cBitRegion br;
  br.Init(0, 0, 100, 100);
  br.SetZoomFactor(2);
  br.CreateRect(1, 2, 3, 4, CombineMode::Or, false);
  br.Offset(-3, 10);
  EXPECT_EQ(br.GetData(), (Ints{32, 1, 1, 16, -2, 12, 0, 14, -2, 12, 0, 14}));
  EXPECT_EQ(br.RegionScaled()->Rects(), (Rects{{-4, 24, 0, 28}}));

  RectRegion source = RectRegion::FromRect(5, 5, 9, 9);
  br.SetRegion(source);
  source.Offset(50, 50);  // the selection holds its own copy
  EXPECT_EQ(br.Region()->Rects(), (Rects{{5, 5, 9, 9}}));
  EXPECT_EQ(br.GetData(), (Ints{32, 1, 1, 16, 5, 5, 9, 9, 5, 5, 9, 9}));
  EXPECT_EQ(br.RegionScaled()->Rects(), (Rects{{10, 10, 18, 18}}));
  br.SetRegion(RectRegion());
  ASSERT_NE(br.Region(), nullptr);
  EXPECT_TRUE(br.IsEmptyRegion());
}

TEST(BitRegionZoom, NegativeZoomBehavesAsOneHundredth) {
  cBitRegion br;
  br.Init(0, 0, 400, 400);
  br.CreateRect(0, 0, 100, 200, CombineMode::Or, false);
  br.SetZoomFactor(-1);
  EXPECT_EQ(br.ZoomFactor(), 0.01f);
  // 0.01f is a little under 0.01: 100 * it = 0.99999998 and 200 * it = 1.99999996.
  EXPECT_EQ(br.RegionDataScaled(), (Ints{32, 1, 1, 16, 0, 0, 1, 2, 0, 0, 1, 2}));
  EXPECT_EQ(br.RegionScaled()->Rects(), (Rects{{0, 0, 1, 2}}));
  // The picture-coordinate data are untouched.
  EXPECT_EQ(br.GetData(), (Ints{32, 1, 1, 16, 0, 0, 100, 200, 0, 0, 100, 200}));
}

TEST(BitRegionZoom, ScalingRoundsTiesToEven) {
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
  EXPECT_EQ(br.RegionScaled()->Rects(), (Rects{{3, 9, 15, 21}, {33, 9, 39, 21}}));
  EXPECT_EQ(br.ZoomFactor(), 3.0f);
}

TEST(BitRegionFile, KsfRoundTripKeepsRectanglesAtAnyZoom) {
  test::TempDir dir;
  const auto path = dir / "sel.ksf";
  cBitRegion br;
  br.Init(0, 0, 50, 50);
  br.CreateRect(-2, 2, 0, 4, CombineMode::Or, false);
  br.CreateRect(10, 10, 20, 15, CombineMode::Or, false);
  br.SetZoomFactor(4);
  ASSERT_TRUE(br.SaveToFile(path));
  const std::vector<uint8_t> expected = {
      32, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 32, 0, 0, 0,                          // header
      0xFE, 0xFF, 0xFF, 0xFF, 2, 0, 0, 0, 20, 0, 0, 0, 15, 0, 0, 0,              // box
      0xFE, 0xFF, 0xFF, 0xFF, 2, 0, 0, 0, 0, 0, 0, 0, 4, 0, 0, 0,                // first
      10, 0, 0, 0, 10, 0, 0, 0, 20, 0, 0, 0, 15, 0, 0, 0};                        // second
  EXPECT_EQ(ReadBytes(path), expected);

  cBitRegion other;
  other.Init(0, 0, 50, 50);
  other.SetZoomFactor(2);
  ASSERT_TRUE(other.LoadFromFile(path));
  EXPECT_EQ(other.Region()->Rects(), br.Region()->Rects());
  EXPECT_EQ(other.GetData(), br.GetData());
  EXPECT_EQ(other.RegionScaled()->Rects(), (Rects{{-4, 4, 0, 8}, {20, 20, 40, 30}}));
  EXPECT_EQ(other.RegionMain()->Rects(), (Rects{{0, 0, 50, 50}}));
}

TEST(BitRegionFile, SavingOverALongerFileKeepsItsTail) {
  test::TempDir dir;
  const auto path = dir / "old.ksf";
  WriteBytes(path, std::vector<uint8_t>(200, 0xAB));
  cBitRegion br;
  br.Init(0, 0, 30, 30);
  br.CreateRect(3, 4, 7, 9, CombineMode::Or, false);
  ASSERT_TRUE(br.SaveToFile(path));
  const std::vector<uint8_t> bytes = ReadBytes(path);
  ASSERT_EQ(bytes.size(), 200u);
  for (size_t i = 48; i < bytes.size(); ++i) ASSERT_EQ(bytes[i], 0xAB) << i;
  EXPECT_EQ(bytes[8], 1);    // nCount
  EXPECT_EQ(bytes[32], 3);   // first rectangle's left
  EXPECT_EQ(bytes[44], 9);   // and its bottom

  cBitRegion other;
  other.Init(0, 0, 30, 30);
  ASSERT_TRUE(other.LoadFromFile(path));
  EXPECT_EQ(other.Region()->Rects(), (Rects{{3, 4, 7, 9}}));
}

TEST(BitRegionFile, SelectionFromLargerPictureIsCroppedOnLoad) {
  test::TempDir dir;
  const auto path = dir / "big.ksf";
  cBitRegion big;
  big.Init(0, 0, 100, 100);
  big.CreateRect(50, 40, 100, 100, CombineMode::Or, false);
  ASSERT_TRUE(big.SaveToFile(path));

  cBitRegion small;
  small.Init(0, 0, 60, 60);
  ASSERT_TRUE(small.LoadFromFile(path));
  // The load itself keeps the picture rectangle and the whole selection ...
  EXPECT_EQ(small.Region()->Rects(), (Rects{{50, 40, 100, 100}}));
  EXPECT_EQ(small.RegionMain()->Rects(), (Rects{{0, 0, 60, 60}}));
  // ... and the caller's Crop cuts it to the picture.
  small.Crop();
  EXPECT_EQ(small.Region()->Rects(), (Rects{{50, 40, 60, 60}}));
  EXPECT_EQ(small.GetData(), (Ints{32, 1, 1, 16, 50, 40, 60, 60, 50, 40, 60, 60}));
}

TEST(BitRegionFile, BadFilesGiveEmptySelectionMissingFilesFail) {
  test::TempDir dir;
  cBitRegion br;
  br.Init(0, 0, 10, 10);
  br.CreateRect(1, 1, 2, 2, CombineMode::Or, false);
  EXPECT_FALSE(br.LoadFromFile(dir / "missing.ksf"));
  EXPECT_EQ(br.Region()->Rects(), (Rects{{1, 1, 2, 2}}));

  const auto junk = dir / "junk.ksf";
  WriteBytes(junk, {'n', 'o', 't', ' ', 'a', ' ', 'r', 'e', 'g', 'i', 'o', 'n', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                    0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
  ASSERT_TRUE(br.LoadFromFile(junk));
  ASSERT_NE(br.Region(), nullptr);
  EXPECT_TRUE(br.IsEmptyRegion());

  // Seven whole integers and a stray byte: too short to be region data.
  const auto shortFile = dir / "short.ksf";
  WriteBytes(shortFile, {32, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7});
  ASSERT_TRUE(br.LoadFromFile(shortFile));
  EXPECT_TRUE(br.IsEmptyRegion());

  // Saving no selection writes nothing over an existing file.
  const auto keep = dir / "keep.ksf";
  WriteBytes(keep, {1, 2, 3});
  cBitRegion none;
  none.Init(0, 0, 10, 10);
  EXPECT_TRUE(none.SaveToFile(keep));
  EXPECT_EQ(ReadBytes(keep), (std::vector<uint8_t>{1, 2, 3}));
}

TEST(BitRegionOutline, BrushPatternsAreMovingDiagonalStripes) {
  EXPECT_EQ(cBitRegion::BrushPattern(0), (std::array<uint8_t, 8>{240, 120, 60, 30, 15, 135, 195, 225}));
  EXPECT_EQ(cBitRegion::BrushPattern(3), (std::array<uint8_t, 8>{30, 15, 135, 195, 225, 240, 120, 60}));
  EXPECT_EQ(cBitRegion::BrushPattern(8), cBitRegion::BrushPattern(0));
  for (int k = 0; k < 8; ++k) {
    const auto p = cBitRegion::BrushPattern(k);
    for (int r = 0; r < 8; ++r) {
      // Four set bits in a (cyclic) run, one place further right each row.
      const uint8_t rotated = static_cast<uint8_t>((p[r] >> 1) | (p[r] << 7));
      EXPECT_EQ(p[(r + 1) % 8], rotated) << "brush " << k << " row " << r;
      EXPECT_EQ(__builtin_popcount(p[r]), 4);
    }
  }
  cBitRegion br;
  EXPECT_EQ(br.BrushIndex(), 0);
  for (int i = 0; i < 7; ++i) br.RotateBrush();
  EXPECT_EQ(br.BrushIndex(), 7);
  br.RotateBrush();
  EXPECT_EQ(br.BrushIndex(), 0);
}

TEST(BitRegionOutline, OutlineIsTheInnerFrameOfTheScaledSelection) {
  cBitRegion br;
  br.Init(0, 0, 20, 20);
  EXPECT_TRUE(br.OutlineRegion(0, 0).IsEmpty());
  br.CreateRect(1, 1, 3, 3, CombineMode::Or, false);
  br.SetZoomFactor(2);  // scaled: (2, 2, 6, 6)
  EXPECT_EQ(br.OutlineRegion(-1, 0).Rects(), (Rects{{1, 2, 5, 3}, {1, 3, 2, 5}, {4, 3, 5, 5}, {1, 5, 5, 6}}));
  // A one-pixel-wide selection is all outline.
  br.SetZoomFactor(1);
  br.CreateRect(10, 0, 11, 20, CombineMode::Or, false);
  EXPECT_EQ(br.OutlineRegion(0, 0), *br.RegionScaled());
}

}  // namespace
}  // namespace kelvane
