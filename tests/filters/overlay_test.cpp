// The overlay command: its options, and the TileMask call they become.
#include <gtest/gtest.h>

#include "base/numeric.h"
#include "filters/dialog_test_support.h"
#include "filters/overlay.h"

namespace kelvane {
namespace {

using test::SameBits;

TEST(Overlay, OptionsTextsAndLimits) {
  EXPECT_EQ(kOverlayTitle, "Overlay image");
  EXPECT_EQ(kOverlayActionName, "Overlay Image");
  EXPECT_EQ(kCreateNewCaption, "Create &new image");
  OverlayOptions o;
  EXPECT_EQ(TransparencyText(o.sbTransparency), "50%");
  EXPECT_EQ(OffsetText(17), "17");
  EXPECT_EQ(o.MaskColour(), -1);
  o.lblMaskColor = 0x0000FF;
  EXPECT_EQ(o.MaskColour(), -1);  // the colour counts only when the box is ticked
  o.chkMaskColor = true;
  EXPECT_EQ(o.MaskColour(), 0x0000FF);
  o.lblMaskColor = 0;
  EXPECT_EQ(o.MaskColour(), 0);  // black is a colour, not "none"

  const OverlayLimits limits = OverlayLimitsFor(Bits(40, 30));
  EXPECT_EQ(std::tuple(limits.maxXOffset, limits.maxYOffset), std::tuple(39, 29));
  o.sbXOffset = 50, o.sbYOffset = -4, o.sbTransparency = 140;
  const OverlayOptions held = HoldToLimits(o, limits);
  EXPECT_EQ(std::tuple(held.sbXOffset, held.sbYOffset, held.sbTransparency), std::tuple(39, 0, 100));
  o.sbTransparency = -1;
  EXPECT_EQ(HoldToLimits(o, limits).sbTransparency, 0);
  EXPECT_EQ(OverlayLimitsFor(Bits(0, 0)).maxXOffset, 0);
}

TEST(Overlay, RunsTileMaskWithTheOptions) {
  const Bits active = test::RandomPicture(13, 9, 3);
  // The overlay holds pure red (blue 0, green 0, red 255) on its diagonal.
  const Bits noise = test::RandomPicture(5, 4, 4);
  const Bits overlay = test::MakePicture(5, 4, [&](int x, int y, int c) {
    return x == y ? (c == 2 ? 255 : 0) : noise.At(c, x, y);
  });
  const RectRegion whole = RectRegion::FromRect(0, 0, 13, 9), ellipse = RectRegion::FromEllipse(1, 1, 12, 9),
                   small = RectRegion::FromRect(4, 3, 6, 5);
  const int32_t red = RGB(255, 0, 0);
  struct Case {
    const RectRegion* region;
    bool createNew, tiled;
    int x, y, transparency, mask;
    const RectRegion* expectedRegion;
  };
  const Case cases[] = {
      {&whole, false, false, 3, 2, 50, -1, &whole},      // once at the offsets, half transparent
      {&ellipse, false, true, 0, 0, 25, red, &ellipse},  // tiled, a mask colour, inside the selection
      {&small, true, true, 0, 0, 0, -1, &whole},         // a new image takes the whole picture
      {&small, false, true, 0, 0, 0, -1, &small},
      {&whole, false, true, 0, 0, 100, -1, &whole},      // full transparency leaves the picture
  };
  for (const Case& c : cases) {
    OverlayOptions o;
    o.chkCreateNew = c.createNew, o.chkTiled = c.tiled, o.sbXOffset = c.x, o.sbYOffset = c.y;
    o.sbTransparency = c.transparency, o.chkMaskColor = c.mask != -1, o.lblMaskColor = c.mask;
    cBitFilter engine;
    const std::optional<Bits> out = RunOverlay(engine, active, c.region, overlay, o);
    ASSERT_TRUE(out.has_value());
    // TileMask has its own reference test; here it is the call the options must become.
    cBitFilter direct;
    test::Load(direct, active, c.expectedRegion);
    EXPECT_TRUE(SameBits(direct.TileMask(overlay, c.x, c.y, c.tiled, c.transparency, Colour{c.mask}), *out))
        << "transparency " << c.transparency << " tiled " << c.tiled << " new " << c.createNew;
    if (c.transparency == 100) {
      EXPECT_TRUE(SameBits(active, *out));
    }
    if (c.mask != -1) {
      // (6, 5) lies on tile pixel (6 - 5, 5 - 4) = (1, 1), pure red: masked, kept.
      ASSERT_TRUE(ellipse.Contains(6, 5));
      for (int ch = 0; ch < 3; ++ch) EXPECT_EQ(out->At(ch, 6, 5), active.At(ch, 6, 5));
    }
    if (c.createNew) {
      for (int ch = 0; ch < 3; ++ch) EXPECT_EQ(out->At(ch, 12, 8), overlay.At(ch, 2, 0));  // (12 - 10, 8 - 8)
    }
  }
}

}  // namespace
}  // namespace kelvane
