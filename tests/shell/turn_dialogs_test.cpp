// fOrientation's quarter turns and flips against a reference loop, and
// fRotate's boxes and its 45-degree buttons.
#include <gtest/gtest.h>

#include <cstdint>

#include "document/bit_region.h"
#include "document/bits.h"
#include "filters/bit_filter.h"
#include "shell/turn_dialogs.h"

namespace kelvane {
namespace {

// A W x H picture whose every pixel is told apart by its bytes.
Bits Numbered(int w, int h) {
  Bits bits(w, h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      bits.At(0, x, y) = static_cast<uint8_t>(x);
      bits.At(1, x, y) = static_cast<uint8_t>(y);
      bits.At(2, x, y) = static_cast<uint8_t>(10 * y + x);
    }
  return bits;
}

// One quarter turn counter-clockwise: new(y, MaxX - x) = old(x, y).
Bits ReferenceTurn(const Bits& in) {
  Bits out(in.Height(), in.Width());
  for (int y = 0; y < in.Height(); ++y)
    for (int x = 0; x < in.Width(); ++x)
      for (int c = 0; c < 3; ++c) out.At(c, y, in.MaxX() - x) = in.At(c, x, y);
  return out;
}

Bits ReferenceFlip(const Bits& in, bool horizontal, bool vertical) {
  Bits out(in.Width(), in.Height());
  for (int y = 0; y < in.Height(); ++y)
    for (int x = 0; x < in.Width(); ++x)
      for (int c = 0; c < 4; ++c)
        out.At(c, x, y) = in.At(c, horizontal ? in.MaxX() - x : x, vertical ? in.MaxY() - y : y);
  return out;
}

TEST(OrientationDialog, TurnsThenFlipsAndSwapsTheSides) {
  const Bits picture = Numbered(3, 2);
  for (int index = -1; index < 3; ++index) {
    for (int flips = 0; flips < 4; ++flips) {
      fOrientation dialog;
      dialog.cbOrientation = index;
      dialog.chkFlip = {(flips & 1) != 0, (flips & 2) != 0};
      Bits expected = picture;
      for (int t = 0; t <= index; ++t) expected = ReferenceTurn(expected);
      expected = ReferenceFlip(expected, dialog.chkFlip[1], dialog.chkFlip[0]);

      cBitFilter engine;
      EXPECT_EQ(dialog.Orient(engine, picture), expected) << index << " " << flips;

      Bits bits = picture;
      cBitRegion region;
      const DialogResult r = dialog.OK(engine, bits, region);
      EXPECT_TRUE(r.closed);
      EXPECT_TRUE(r.takeUndo);
      EXPECT_EQ(bits, expected) << index << " " << flips;
      const bool swapped = index == 0 || index == 2;
      EXPECT_EQ(r.statusSize, swapped ? "2 x 3" : "3 x 2");
      int32_t l, t, rr, b;
      EXPECT_FALSE(region.BoundRect(l, t, rr, b));
      ASSERT_NE(region.RegionMain(), nullptr);
      EXPECT_TRUE(region.RegionMain()->Contains(bits.MaxX(), bits.MaxY()));
      EXPECT_FALSE(region.RegionMain()->Contains(bits.Width(), 0));
    }
  }
}

TEST(OrientationDialog, FirstItemIsAQuarterTurn) {
  fOrientation dialog;
  EXPECT_EQ(fOrientation::kOrientationItems[0], "90");
  EXPECT_EQ(dialog.QuarterTurns(), 0);
  dialog.cbOrientation = 0;
  EXPECT_EQ(dialog.QuarterTurns(), 1);
  dialog.cbOrientation = 2;
  EXPECT_EQ(dialog.QuarterTurns(), 3);
}

TEST(RotateDialog, FortyFiveButtonsKeepTheSignedRemainderBy180) {
  const struct {
    const char* start;
    int32_t button;
    int32_t result;
  } cases[] = {
      {"0", 0, 45},    {"0", 1, -45},     {"90", 0, 135},   {"135", 0, 0},   {"-135", 1, 0},
      {"170", 0, 35},  {"-170", 1, -35},  {"-10", 0, 35},   {"10", 1, -35},  {"-180", 0, -135},
      {"180", 1, 135}, {"300", 0, 165},   {"-300", 1, -165}, {"45", 1, 0},
  };
  for (const auto& c : cases) {
    fRotate dialog;
    dialog.TypeDegrees(c.start);
    dialog.Press45(c.button);
    EXPECT_EQ(dialog.Degrees(), c.result) << c.start << " button " << c.button;
    EXPECT_EQ(dialog.sbDegrees, c.result) << c.start << " button " << c.button;
    EXPECT_EQ(dialog.txtDegrees, std::to_string(c.result));
  }
  // Never 180 by the buttons: three presses up from 45.
  fRotate dialog;
  dialog.TypeDegrees("45");
  for (int32_t expected : {90, 135, 0, 45}) {
    dialog.Press45(0);
    EXPECT_EQ(dialog.Degrees(), expected);
  }
}

TEST(RotateDialog, BoxAndScrollBarFollowEachOther) {
  fRotate dialog;
  EXPECT_EQ(fRotate::kMin, -180);
  EXPECT_EQ(fRotate::kMax, 180);
  EXPECT_EQ(fRotate::kSmallChange, 5);
  dialog.ScrollDegrees(-25);
  EXPECT_EQ(dialog.txtDegrees, "-25");
  dialog.ScrollDegrees(400);
  EXPECT_EQ(dialog.sbDegrees, 180);
  EXPECT_EQ(dialog.txtDegrees, "180");
  dialog.TypeDegrees("60");
  EXPECT_EQ(dialog.sbDegrees, 60);
  dialog.TypeDegrees("250");  // past the bar: the box keeps it, the bar stays
  EXPECT_EQ(dialog.sbDegrees, 60);
  EXPECT_EQ(dialog.Degrees(), 250);
  dialog.chkAntialiasing = false;
  const RotateRequest request = dialog.OK();
  EXPECT_EQ(request.degrees, 250);
  EXPECT_FALSE(request.antialias);
}

TEST(RotateDialog, PreviewOfNoTurnIsThePicture) {
  const Bits picture = Numbered(4, 3);
  cBitFilter engine;
  fRotate dialog;
  dialog.chkAntialiasing = false;
  EXPECT_EQ(dialog.Preview(engine, picture), picture);
  EXPECT_EQ(engine.BitsRegionHandle(), nullptr);
}

}  // namespace
}  // namespace kelvane
