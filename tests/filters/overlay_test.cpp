// The overlay command: its options, and the TileMask call they become.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "base/numeric.h"
#include "document/rect_region.h"
#include "filters/filter_catalogue.h"
#include "filters/filter_test_support.h"
#include "filters/overlay.h"

namespace kelvane {
namespace {

using test::MakePicture;
using test::SameBits;

int ReferenceRound(double v) {
  const double f = std::floor(v);
  const double frac = v - f;
  if (frac > 0.5) return static_cast<int>(f) + 1;
  if (frac < 0.5) return static_cast<int>(f);
  return static_cast<int>(f) % 2 == 0 ? static_cast<int>(f) : static_cast<int>(f) + 1;
}

// TileMask written out slowly from its description: tiles laid from (left,
// top) rightwards and downwards, a step of the tile's size when tiled and
// one tile otherwise; a tile pixel of the mask colour is skipped; the target
// point must be in the region; each channel round(in * o + tile * (1 - o)).
Bits ReferenceTileMask(const Bits& in, const RectRegion& region, const Bits& tile, int left, int top, bool tiled,
                       int opacity, int colour) {
  Bits out = in;
  const int stepX = tiled ? tile.Width() : in.MaxX() - left + 1;
  const int stepY = tiled ? tile.Height() : in.MaxY() - top + 1;
  const double o = opacity / 100.0;
  for (int ty = top; ty <= in.MaxY(); ty += stepY)
    for (int tx = left; tx <= in.MaxX(); tx += stepX)
      for (int j = 0; j < tile.Height(); ++j)
        for (int i = 0; i < tile.Width(); ++i) {
          const int x = tx + i, y = ty + j;
          if (!region.Contains(x, y)) continue;
          if (colour != -1 && tile.At(2, i, j) == RedOf(colour) && tile.At(1, i, j) == GreenOf(colour) &&
              tile.At(0, i, j) == BlueOf(colour))
            continue;
          for (int c = 0; c < 3; ++c)
            out.At(c, x, y) = static_cast<uint8_t>(ReferenceRound(in.At(c, x, y) * o + tile.At(c, i, j) * (1 - o)));
        }
  return out;
}

TEST(Overlay, OptionsAndTheirTexts) {
  OverlayOptions o;
  EXPECT_EQ(o.sbTransparency, 50);
  EXPECT_EQ(TransparencyText(o.sbTransparency), "50%");
  EXPECT_EQ(TransparencyText(0), "0%");
  EXPECT_EQ(OffsetText(17), "17");
  EXPECT_EQ(o.MaskColour(), -1);
  o.lblMaskColor = 0x0000FF;
  EXPECT_EQ(o.MaskColour(), -1);  // the colour counts only when the box is ticked
  o.chkMaskColor = true;
  EXPECT_EQ(o.MaskColour(), 0x0000FF);
  o.lblMaskColor = 0;
  EXPECT_EQ(o.MaskColour(), 0);  // black is a colour, not "none"
}

TEST(Overlay, WindowTexts) {
  EXPECT_EQ(kOverlayTitle, "Overlay image");
  EXPECT_EQ(kOverlayActionName, "Overlay Image");
  EXPECT_EQ(kOverlayListCaption, "Select image to overlay:");
  EXPECT_EQ(kCreateNewCaption, "Create &new image");
  EXPECT_EQ(kTiledCaption, "&Tiled");
  EXPECT_EQ(kOptionsFrameCaption, "Options");
  EXPECT_EQ(kXOffsetCaption, "Left offset");
  EXPECT_EQ(kYOffsetCaption, "Top offset");
  EXPECT_EQ(kTransparencyCaption, "Transparency");
  EXPECT_EQ(kMaskColorCaption, "&Mask color");
  EXPECT_EQ(kOverlayOkCaption, "OK");
  EXPECT_EQ(kOverlayCancelCaption, "Cancel");
}

TEST(Overlay, SlidersAreHeldToThePicture) {
  const OverlayLimits limits = OverlayLimitsFor(Bits(40, 30));
  EXPECT_EQ(limits.maxXOffset, 39);
  EXPECT_EQ(limits.maxYOffset, 29);
  OverlayOptions o;
  o.sbXOffset = 50;
  o.sbYOffset = -4;
  o.sbTransparency = 140;
  OverlayOptions held = HoldToLimits(o, limits);
  EXPECT_EQ(held.sbXOffset, 39);
  EXPECT_EQ(held.sbYOffset, 0);
  EXPECT_EQ(held.sbTransparency, 100);
  o.sbTransparency = -1;
  EXPECT_EQ(HoldToLimits(o, limits).sbTransparency, 0);
  EXPECT_EQ(OverlayLimitsFor(Bits(0, 0)).maxXOffset, 0);
}

class OverlayRun : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!FindFilterMethod("TileMask")) GTEST_SKIP() << "TileMask is not in the catalogue yet";
    std::mt19937 rng(3);
    active_ = MakePicture(13, 9, [&](int, int, int) { return static_cast<int>(rng() & 255); });
    // The overlay holds pure red (blue 0, green 0, red 255) on its diagonal.
    overlay_ = MakePicture(5, 4, [&](int x, int y, int c) {
      if (x == y) return c == 2 ? 255 : 0;
      return static_cast<int>(rng() & 255);
    });
  }
  Bits active_, overlay_;
};

TEST_F(OverlayRun, OnceAtTheOffsetsHalfTransparent) {
  const RectRegion whole = RectRegion::FromRect(0, 0, 13, 9);
  OverlayOptions o;
  o.sbXOffset = 3;
  o.sbYOffset = 2;
  cBitFilter engine;
  std::optional<Bits> out = RunOverlay(engine, active_, &whole, overlay_, o);
  ASSERT_TRUE(out.has_value());
  EXPECT_TRUE(SameBits(ReferenceTileMask(active_, whole, overlay_, 3, 2, false, 50, -1), *out));
  // Outside the laid tile nothing changes.
  EXPECT_EQ(out->At(0, 2, 2), active_.At(0, 2, 2));
  EXPECT_EQ(out->At(1, 8, 6), active_.At(1, 8, 6));
}

TEST_F(OverlayRun, TiledWithAMaskColourInsideTheSelection) {
  const RectRegion ellipse = RectRegion::FromEllipse(1, 1, 12, 9);
  OverlayOptions o;
  o.chkTiled = true;
  o.sbTransparency = 25;
  o.chkMaskColor = true;
  o.lblMaskColor = RGB(255, 0, 0);
  cBitFilter engine;
  std::optional<Bits> out = RunOverlay(engine, active_, &ellipse, overlay_, o);
  ASSERT_TRUE(out.has_value());
  EXPECT_TRUE(SameBits(ReferenceTileMask(active_, ellipse, overlay_, 0, 0, true, 25, RGB(255, 0, 0)), *out));
  // (6, 5) lies on tile pixel (6 - 5, 5 - 4) = (1, 1), pure red: masked, kept.
  ASSERT_TRUE(ellipse.Contains(6, 5));
  for (int c = 0; c < 3; ++c) EXPECT_EQ(out->At(c, 6, 5), active_.At(c, 6, 5));
}

TEST_F(OverlayRun, ANewImageTakesTheWholePicture) {
  const RectRegion small = RectRegion::FromRect(4, 3, 6, 5);
  OverlayOptions o;
  o.chkCreateNew = true;
  o.chkTiled = true;
  o.sbTransparency = 0;  // the overlay alone
  cBitFilter engine;
  std::optional<Bits> out = RunOverlay(engine, active_, &small, overlay_, o);
  ASSERT_TRUE(out.has_value());
  const RectRegion whole = RectRegion::FromRect(0, 0, 13, 9);
  EXPECT_TRUE(SameBits(ReferenceTileMask(active_, whole, overlay_, 0, 0, true, 0, -1), *out));
  for (int c = 0; c < 3; ++c) EXPECT_EQ(out->At(c, 12, 8), overlay_.At(c, 2, 0));  // (12 - 10, 8 - 8)

  o.chkCreateNew = false;
  out = RunOverlay(engine, active_, &small, overlay_, o);
  ASSERT_TRUE(out.has_value());
  EXPECT_TRUE(SameBits(ReferenceTileMask(active_, small, overlay_, 0, 0, true, 0, -1), *out));
}

TEST_F(OverlayRun, FullTransparencyLeavesThePicture) {
  const RectRegion whole = RectRegion::FromRect(0, 0, 13, 9);
  OverlayOptions o;
  o.chkTiled = true;
  o.sbTransparency = 100;
  cBitFilter engine;
  std::optional<Bits> out = RunOverlay(engine, active_, &whole, overlay_, o);
  ASSERT_TRUE(out.has_value());
  EXPECT_TRUE(SameBits(active_, *out));
}

}  // namespace
}  // namespace kelvane
