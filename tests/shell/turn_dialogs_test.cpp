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
    for (int x = 0; x < w; ++x)
      for (int c = 0; c < 3; ++c) bits.At(c, x, y) = static_cast<uint8_t>(50 * c + 10 * y + x);
  return bits;
}

// `turns` quarter turns counter-clockwise, new(y, MaxX - x) = old(x, y), then the flips.
Bits Reference(Bits in, int turns, bool horizontal, bool vertical) {
  for (int t = 0; t < turns; ++t) {
    Bits out(in.Height(), in.Width());
    for (int y = 0; y < in.Height(); ++y)
      for (int x = 0; x < in.Width(); ++x)
        for (int c = 0; c < 4; ++c) out.At(c, y, in.MaxX() - x) = in.At(c, x, y);
    in = out;
  }
  Bits out(in.Width(), in.Height());
  for (int y = 0; y < in.Height(); ++y)
    for (int x = 0; x < in.Width(); ++x)
      for (int c = 0; c < 4; ++c)
        out.At(c, x, y) = in.At(c, horizontal ? in.MaxX() - x : x, vertical ? in.MaxY() - y : y);
  return out;
}

TEST(OrientationDialog, TurnsThenFlipsAndSwapsTheSides) {
  const Bits picture = Numbered(3, 2);
  for (int index = -1; index < 3; ++index)
    for (int flips = 0; flips < 4; ++flips) {
      fOrientation dialog;
      dialog.cbOrientation = index;
      dialog.chkFlip = {(flips & 1) != 0, (flips & 2) != 0};
      const Bits expected = Reference(picture, index + 1, dialog.chkFlip[1], dialog.chkFlip[0]);
      cBitFilter engine;
      EXPECT_EQ(dialog.Orient(engine, picture), expected) << index << " " << flips;

      Bits bits = picture;
      cBitRegion region;
      const DialogResult r = dialog.OK(engine, bits, region);
      EXPECT_TRUE(r.closed && r.takeUndo);
      EXPECT_EQ(bits, expected) << index << " " << flips;
      EXPECT_EQ(r.statusSize, index == 0 || index == 2 ? "2 x 3" : "3 x 2");  // item 0 "90" is one quarter
      int32_t l, t, rr, b;
      EXPECT_FALSE(region.BoundRect(l, t, rr, b));
      ASSERT_NE(region.RegionMain(), nullptr);
      EXPECT_TRUE(region.RegionMain()->Contains(bits.MaxX(), bits.MaxY()));
      EXPECT_FALSE(region.RegionMain()->Contains(bits.Width(), 0));
    }
}

TEST(RotateDialog, FortyFiveButtonsKeepTheSignedRemainderBy180) {
  const struct { const char* start; int32_t button, result; } cases[] = {
      {"0", 1, -45},    {"135", 0, 0}, {"-135", 1, 0},  {"170", 0, 35},
      {"-170", 1, -35}, {"10", 1, -35}, {"300", 0, 165}, {"-180", 0, -135}};
  for (const auto& c : cases) {
    fRotate dialog;
    dialog.TypeDegrees(c.start);
    dialog.Press45(c.button);
    EXPECT_EQ(dialog.Degrees(), c.result) << c.start << " button " << c.button;
    EXPECT_EQ(dialog.sbDegrees, c.result) << c.start << " button " << c.button;
    EXPECT_EQ(dialog.txtDegrees, std::to_string(c.result));
  }
}

TEST(RotateDialog, BoxAndScrollBarFollowEachOther) {
  fRotate dialog;
  dialog.ScrollDegrees(400);
  EXPECT_EQ(dialog.txtDegrees + " " + std::to_string(dialog.sbDegrees), "180 180");
  dialog.TypeDegrees("60");
  EXPECT_EQ(dialog.sbDegrees, 60);
  dialog.TypeDegrees("250");  // past the bar: the box keeps it, the bar stays
  EXPECT_EQ(dialog.sbDegrees, 60);
  dialog.chkAntialiasing = false;
  const RotateRequest request = dialog.OK();
  EXPECT_EQ(request.degrees, 250);
  EXPECT_FALSE(request.antialias);
}

}  // namespace
}  // namespace kelvane
