// The size dialogs: the key filter and the reading of number boxes, the size
// test, the keep-proportions rule, the standard sizes of fNew and its
// backgrounds, fSize's quick factors and its resized pixels, fCanvas's
// placement and its enlarged and cut pixels.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "document/bit_region.h"
#include "document/bits.h"
#include "filters/bit_filter.h"
#include "shell/image_dialogs.h"
#include "shell/number_box.h"

namespace kelvane {
namespace {

struct Bgr {
  uint8_t b, g, r;
};

// A picture from rows of (blue, green, red); the fourth byte and the frame
// stay zero.
Bits Picture(const std::vector<std::vector<Bgr>>& rows) {
  Bits bits(static_cast<int>(rows[0].size()), static_cast<int>(rows.size()));
  for (size_t y = 0; y < rows.size(); ++y) {
    uint8_t* p = bits.Row(static_cast<int>(y));
    for (size_t x = 0; x < rows[y].size(); ++x) {
      p[4 * x] = rows[y][x].b;
      p[4 * x + 1] = rows[y][x].g;
      p[4 * x + 2] = rows[y][x].r;
    }
  }
  return bits;
}

// Every byte of the array, frame included, for a readable first difference.
void ExpectSameBytes(const Bits& actual, const Bits& expected) {
  ASSERT_EQ(actual.Width(), expected.Width());
  ASSERT_EQ(actual.Height(), expected.Height());
  for (int y = -2; y < expected.Height() + 2; ++y)
    for (int x = -2; x < expected.Width() + 2; ++x)
      for (int c = 0; c < 4; ++c)
        ASSERT_EQ(actual.At(c, x, y), expected.At(c, x, y)) << "channel " << c << " at (" << x << ", " << y << ")";
}

// --- number boxes ---------------------------------------------------------------------

TEST(NumberBox, KeyNumPassesDigitsAndBackspaceOnly) {
  for (int key = 0; key < 256; ++key) {
    const bool passes = (key >= 48 && key <= 57) || key == 8;
    EXPECT_EQ(KeyNum(static_cast<int16_t>(key)), passes ? key : 0) << key;
  }
}

TEST(NumberBox, TextReadsAsTheLeadingNumber) {
  const struct {
    const char* text;
    int32_t value;
  } cases[] = {{"", 0}, {"640", 640}, {"  12", 12}, {"12ab", 12}, {"abc", 0}, {"-30", -30},
               {"2.5", 2}, {"3.5", 4}, {"007", 7}, {"99999999999", 2147483647}};
  for (const auto& c : cases) EXPECT_EQ(NumberBoxInteger(c.text), c.value) << '"' << c.text << '"';
}

// --- the size test ------------------------------------------------------------------------

TEST(SizeDialogs, SizeTestRefusesASideBelowTwo) {
  const struct {
    int32_t w, h;
    bool ok;
  } cases[] = {{1, 100, false}, {100, 1, false}, {0, 0, false}, {-5, 10, false}, {2, 2, true}, {2, 1, false},
               {640, 480, true}};
  for (const auto& c : cases) {
    std::string message;
    EXPECT_EQ(SizeTest(c.w, c.h, message), c.ok) << c.w << " x " << c.h;
    EXPECT_EQ(message, c.ok ? "" : "Minimum size: 2 x 2");
  }
}

TEST(SizeDialogs, EachDialogStaysOpenOnATooSmallSizeAndChangesNothing) {
  const Bits picture = Picture({{{1, 2, 3}, {4, 5, 6}}, {{7, 8, 9}, {10, 11, 12}}});
  cBitFilter engine;

  fNew newDialog;
  newDialog.TypeWidth("1");
  newDialog.TypeHeight("100");
  const auto listBefore = newDialog.cbDefault;
  Bits blank;
  cBitRegion newRegion;
  DialogResult r = newDialog.OK(engine, blank, newRegion);
  EXPECT_FALSE(r.closed);
  EXPECT_EQ(r.message, "Minimum size: 2 x 2");
  EXPECT_TRUE(blank.IsNull());
  EXPECT_EQ(newDialog.cbDefault, listBefore);

  fSize sizeDialog(2, 2);
  sizeDialog.size.chkKeepProportions = false;
  sizeDialog.TypeWidth("1");
  sizeDialog.TypeHeight("100");
  Bits bits = picture;
  cBitRegion region;
  r = sizeDialog.OK(engine, bits, region);
  EXPECT_FALSE(r.closed);
  EXPECT_FALSE(r.takeUndo);
  EXPECT_EQ(r.message, "Minimum size: 2 x 2");
  EXPECT_EQ(bits, picture);
  EXPECT_EQ(region.RegionMain(), nullptr);

  fCanvas canvasDialog(2, 2);
  canvasDialog.TypeWidth("100");
  canvasDialog.TypeHeight("");  // an emptied box reads 0
  r = canvasDialog.OK(engine, bits, region);
  EXPECT_FALSE(r.closed);
  EXPECT_EQ(r.message, "Minimum size: 2 x 2");
  EXPECT_EQ(bits, picture);
}

// --- keep proportions --------------------------------------------------------------------

TEST(SizeDialogs, KeepProportionsWritesTheOtherBoxRoundedToEven) {
  const struct {
    int32_t ow, oh;
    bool width;  // the box typed in
    const char* typed;
    const char* other;
  } cases[] = {
      {4, 2, true, "5", "2"},    // 2.5 -> 2
      {4, 2, true, "7", "4"},    // 3.5 -> 4
      {4, 2, false, "3", "6"},   // 6 exactly
      {3, 2, true, "5", "3"},    // 3.33 -> 3
      {3, 2, false, "5", "8"},   // 7.5 -> 8
      {3, 2, false, "3", "4"},   // 4.5 -> 4
      {640, 480, true, "100", "75"},
      {640, 480, true, "", "0"},  // an empty box reads 0
      {10, 3, true, "5", "2"},   // 1.5 -> 2, the product taken before the division
  };
  for (const auto& c : cases) {
    SizeBoxes boxes;
    boxes.OriginalWidth = c.ow;
    boxes.OriginalHeight = c.oh;
    boxes.Write(c.ow, c.oh);
    boxes.chkKeepProportions = true;
    if (c.width) {
      boxes.TypeWidth(c.typed);
      EXPECT_EQ(boxes.txtW, c.typed);
      EXPECT_EQ(boxes.txtH, c.other) << c.ow << "x" << c.oh << " width " << c.typed;
    } else {
      boxes.TypeHeight(c.typed);
      EXPECT_EQ(boxes.txtH, c.typed);
      EXPECT_EQ(boxes.txtW, c.other) << c.ow << "x" << c.oh << " height " << c.typed;
    }
    EXPECT_FALSE(boxes.Changing);
  }
}

TEST(SizeDialogs, WithoutProportionsOrUnderTheGuardTheOtherBoxStays) {
  SizeBoxes boxes;
  boxes.OriginalWidth = 4;
  boxes.OriginalHeight = 2;
  boxes.Write(4, 2);
  boxes.TypeWidth("9");
  EXPECT_EQ(boxes.txtH, "2");

  boxes.chkKeepProportions = true;
  boxes.Changing = true;  // a write from the other box is under way
  boxes.TypeHeight("5");
  EXPECT_EQ(boxes.txtW, "9");
  boxes.Changing = false;

  // A program write of both boxes does not apply the rule.
  boxes.Write(11, 13);
  EXPECT_EQ(boxes.txtW, "11");
  EXPECT_EQ(boxes.txtH, "13");
}

// --- fNew ------------------------------------------------------------------------------------

TEST(NewDialog, OpensWhiteOnTheCurrentStandardSize) {
  fNew dialog;
  const std::vector<std::string> standard = {"Custom...", "240 x 320", "320 x 240", "480 x 640", "640 x 480",
                                             "600 x 800", "800 x 600", "768 x 1024", "1024 x 768"};
  EXPECT_EQ(dialog.cbDefault, standard);
  EXPECT_EQ(dialog.OP, fNew::White);
  EXPECT_EQ(dialog.CP, 0xFFFFFF);
  EXPECT_EQ(dialog.size.txtW + " x " + dialog.size.txtH, dialog.cbDefault[dialog.cbDefaultIndex]);
}

TEST(NewDialog, StandardSizesFillTheBoxesAndTypingGoesBackToCustom) {
  fNew dialog;
  dialog.ChooseStandardSize(7);
  EXPECT_EQ(dialog.size.txtW, "768");
  EXPECT_EQ(dialog.size.txtH, "1024");
  dialog.ChooseStandardSize(0);  // "Custom..." leaves the boxes alone
  EXPECT_EQ(dialog.size.txtW, "768");
  EXPECT_EQ(dialog.size.txtH, "1024");
  dialog.ChooseStandardSize(2);
  EXPECT_EQ(dialog.cbDefaultIndex, 2);
  dialog.TypeHeight("250");
  EXPECT_EQ(dialog.cbDefaultIndex, 0);
  EXPECT_EQ(dialog.size.txtW, "320");

  // Proportions of the standard size chosen: 320 x 240 kept.
  dialog.ChooseStandardSize(2);
  dialog.SetKeepProportions(true);
  dialog.TypeWidth("100");
  EXPECT_EQ(dialog.size.txtH, "75");
}

TEST(NewDialog, ANewSizeJoinsTheListForTheRunOnly) {
  cBitFilter engine;
  fNew dialog;
  dialog.TypeWidth("123");
  dialog.TypeHeight("45");
  Bits bits;
  cBitRegion region;
  DialogResult r = dialog.OK(engine, bits, region);
  EXPECT_TRUE(r.closed);
  EXPECT_EQ(r.message, "");
  ASSERT_EQ(dialog.cbDefault.size(), 10u);
  EXPECT_EQ(dialog.cbDefault.back(), "123 x 45");

  // The same size again, and a standard size: no new item.
  Bits again;
  cBitRegion againRegion;
  dialog.OK(engine, again, againRegion);
  dialog.ChooseStandardSize(4);
  Bits third;
  cBitRegion thirdRegion;
  dialog.OK(engine, third, thirdRegion);
  EXPECT_EQ(dialog.cbDefault.size(), 10u);
  EXPECT_EQ(third.Width(), 640);
  EXPECT_EQ(third.Height(), 480);

  // A fresh start of the program has the first list again.
  EXPECT_EQ(fNew().cbDefault.size(), 9u);
}

TEST(NewDialog, BackgroundsFillTheNewPicture) {
  const struct {
    int32_t option;
    int32_t colour;
    uint8_t b, g, r;
  } cases[] = {
      {fNew::White, 0x00332211, 255, 255, 255},
      {fNew::Transparent, 0x00332211, 0, 0, 0},
      {fNew::Custom, 0x00332211, 0x33, 0x22, 0x11},  // red is the low byte
      {fNew::Custom, 0x0000FF80, 0x00, 0xFF, 0x80},
  };
  for (const auto& c : cases) {
    fNew dialog;
    dialog.TypeWidth("3");
    dialog.TypeHeight("2");
    dialog.SetBackground(c.option);
    dialog.ColorPick(c.colour);
    cBitFilter engine;
    Bits bits;
    cBitRegion region;
    ASSERT_TRUE(dialog.OK(engine, bits, region).closed);
    Bits expected(3, 2);
    for (int y = 0; y < 2; ++y)
      for (int x = 0; x < 3; ++x) {
        expected.At(0, x, y) = c.b;
        expected.At(1, x, y) = c.g;
        expected.At(2, x, y) = c.r;
      }
    SCOPED_TRACE(c.option);
    ExpectSameBytes(bits, expected);
    ASSERT_NE(region.RegionMain(), nullptr);
    EXPECT_EQ(region.Region(), nullptr);
  }
}

// --- fSize -------------------------------------------------------------------------------------

TEST(SizeDialog, QuickFactorsMultiplyTheOriginalSizeRoundedToEven) {
  const struct {
    int32_t w, h, index, nw, nh;
  } cases[] = {
      {3, 3, 0, 4, 4},   // 4.5 -> 4
      {3, 3, 1, 6, 6},
      {3, 3, 2, 2, 2},   // "1.5 /" is times 0.75: 2.25 -> 2
      {3, 3, 3, 2, 2},   // 1.5 -> 2
      {5, 7, 0, 8, 10},  // 7.5 -> 8, 10.5 -> 10
      {5, 7, 1, 10, 14},
      {5, 7, 2, 4, 5},   // 3.75, 5.25
      {5, 7, 3, 2, 4},   // 2.5 -> 2, 3.5 -> 4
      {100, 50, 2, 75, 38},  // 37.5 -> 38
  };
  for (const auto& c : cases) {
    fSize dialog(c.w, c.h);
    dialog.TypeWidth("999");  // the factor works from the original, not the boxes
    dialog.ChoosePreset(c.index);
    EXPECT_EQ(dialog.size.Width(), c.nw) << c.w << "x" << c.h << " #" << c.index;
    EXPECT_EQ(dialog.size.Height(), c.nh) << c.w << "x" << c.h << " #" << c.index;
  }
}

TEST(SizeDialog, OkWithoutAntiAliasCopiesTheNearestPixels) {
  // 2 x 2 to 4 x 4: the factor is 2 / 4, so column x takes source Floor(x / 2).
  const Bits picture = Picture({{{10, 20, 30}, {40, 50, 60}}, {{70, 80, 90}, {100, 110, 120}}});
  fSize dialog(2, 2);
  dialog.chkInterpolate = false;
  dialog.ChoosePreset(1);
  cBitFilter engine;
  Bits bits = picture;
  cBitRegion region;
  const DialogResult r = dialog.OK(engine, bits, region);
  EXPECT_TRUE(r.closed);
  EXPECT_TRUE(r.takeUndo);
  EXPECT_EQ(r.statusSize, "4 x 4");
  const Bgr a{10, 20, 30}, b{40, 50, 60}, c{70, 80, 90}, d{100, 110, 120};
  ExpectSameBytes(bits, Picture({{a, a, b, b}, {a, a, b, b}, {c, c, d, d}, {c, c, d, d}}));
  int32_t l, t, rr, bb;
  ASSERT_NE(region.RegionMain(), nullptr);
  EXPECT_FALSE(region.BoundRect(l, t, rr, bb));  // no selection after Init
  EXPECT_EQ(engine.BitsRegionHandle(), region.RegionMain());
}

TEST(SizeDialog, OkWithAntiAliasResamplesRoundingEachStep) {
  // 2 x 2 to 3 x 3: steps of MaxX / 3 = 1/3. Blue is linear, so each step is
  // a whole number: rows 0, 30, 60 / 10, 40, 70 / 20, 50, 80.
  // Green 1, 3 over 2, 4 to 2 x 2: steps of 1/2; (1, 1) takes Round(1.5) = 2
  // and Round(3.5) = 4 down the columns, then Round(3) = 3 across (one
  // rounding of 2.5 would have given 2).
  {
    const Bits picture = Picture({{{0, 0, 0}, {90, 0, 0}}, {{30, 0, 0}, {120, 0, 0}}});
    fSize dialog(2, 2);
    dialog.size.chkKeepProportions = false;
    dialog.TypeWidth("3");
    dialog.TypeHeight("3");
    cBitFilter engine;
    Bits bits = picture;
    cBitRegion region;
    ASSERT_TRUE(dialog.OK(engine, bits, region).closed);
    ExpectSameBytes(bits, Picture({{{0, 0, 0}, {30, 0, 0}, {60, 0, 0}},
                                   {{10, 0, 0}, {40, 0, 0}, {70, 0, 0}},
                                   {{20, 0, 0}, {50, 0, 0}, {80, 0, 0}}}));
  }
  {
    const Bits picture = Picture({{{0, 1, 0}, {0, 3, 0}}, {{0, 2, 0}, {0, 4, 0}}});
    fSize dialog(2, 2);
    cBitFilter engine;
    Bits bits = picture;
    cBitRegion region;
    ASSERT_TRUE(dialog.OK(engine, bits, region).closed);
    ExpectSameBytes(bits, Picture({{{0, 1, 0}, {0, 2, 0}}, {{0, 2, 0}, {0, 3, 0}}}));
  }
}

// --- fCanvas -----------------------------------------------------------------------------------

TEST(CanvasDialog, SizeChangesCentreThePictureRoundedToEven) {
  const struct {
    int32_t preset;           // -1: type the width
    const char* width;
    int32_t nw, nh, ox, oy;
  } cases[] = {
      {0, "", 12, 10, 1, 1},    // "1 +"
      {1, "", 14, 12, 2, 2},    // "2 +"
      {2, "", 16, 14, 3, 3},    // "3 +"
      {3, "", 8, 6, -1, -1},    // "1 -"
      {4, "", 6, 4, -2, -2},    // "2 -"
      {5, "", 4, 2, -3, -3},    // "3 -"
      {-1, "13", 13, 8, 2, 0},  // 1.5 -> 2
      {-1, "11", 11, 8, 0, 0},  // 0.5 -> 0
      {-1, "7", 7, 8, -2, 0},   // -1.5 -> -2
      {-1, "5", 5, 8, -2, 0},   // -2.5 -> -2
  };
  for (const auto& c : cases) {
    fCanvas dialog(10, 8);
    EXPECT_EQ(dialog.OffsetX, 0);
    if (c.preset >= 0) dialog.ChoosePreset(c.preset);
    else dialog.TypeWidth(c.width);
    EXPECT_EQ(dialog.size.Width(), c.nw) << c.preset << c.width;
    EXPECT_EQ(dialog.size.Height(), c.nh) << c.preset << c.width;
    EXPECT_EQ(dialog.OffsetX, c.ox) << c.preset << c.width;
    EXPECT_EQ(dialog.OffsetY, c.oy) << c.preset << c.width;
  }
}

TEST(CanvasDialog, ProportionsFollowThePictureAndThePictureStaysCentred) {
  fCanvas dialog(10, 8);
  dialog.size.chkKeepProportions = true;
  dialog.TypeWidth("15");  // height Round(12) = 12
  EXPECT_EQ(dialog.size.txtH, "12");
  EXPECT_EQ(dialog.OffsetX, 2);  // 2.5 -> 2
  EXPECT_EQ(dialog.OffsetY, 2);
  dialog.TypeHeight("3");  // width Round(3.75) = 4
  EXPECT_EQ(dialog.size.txtW, "4");
  EXPECT_EQ(dialog.OffsetX, -3);
  EXPECT_EQ(dialog.OffsetY, -2);  // -2.5 -> -2
}

TEST(CanvasDialog, TheViewScalesTheCanvasAndADragSetsTheOffset) {
  fCanvas dialog(10, 10);
  dialog.TypeWidth("20");  // centred at (5, 0)
  const CanvasView view = dialog.View(100, 100);
  EXPECT_DOUBLE_EQ(view.scale, 5.0);
  EXPECT_EQ(view.iCnv, (Rect{0, 25, 100, 75}));
  EXPECT_EQ(view.iImg, (Rect{25, 25, 75, 75}));
  dialog.DragImage(10, 25, 100, 100);
  EXPECT_EQ(dialog.OffsetX, 2);
  EXPECT_EQ(dialog.OffsetY, 0);
  dialog.DragImage(-12, 38, 100, 100);  // off the canvas: -2.4 and 2.6
  EXPECT_EQ(dialog.OffsetX, -2);
  EXPECT_EQ(dialog.OffsetY, 3);
}

TEST(CanvasDialog, OkEnlargesWithThePictureAtItsOffsetOnAZeroCanvas) {
  const Bgr a{10, 20, 30}, b{40, 50, 60}, c{70, 80, 90}, d{100, 110, 120}, o{0, 0, 0};
  const Bits picture = Picture({{a, b}, {c, d}});
  fCanvas dialog(2, 2);
  dialog.ChoosePreset(0);  // 4 x 4, picture at (1, 1)
  cBitFilter engine;
  Bits bits = picture;
  cBitRegion region;
  const DialogResult r = dialog.OK(engine, bits, region);
  EXPECT_TRUE(r.closed);
  EXPECT_TRUE(r.takeUndo);
  EXPECT_EQ(r.statusSize, "4 x 4");
  ExpectSameBytes(bits, Picture({{o, o, o, o}, {o, a, b, o}, {o, c, d, o}, {o, o, o, o}}));
  ASSERT_NE(region.RegionMain(), nullptr);
  EXPECT_TRUE(region.RegionMain()->Contains(3, 3));
  EXPECT_FALSE(region.RegionMain()->Contains(4, 3));

  // Dragged to the top-right corner of a 5 x 3 canvas.
  fCanvas moved(2, 2);
  moved.size.Write(5, 3);
  moved.OffsetX = 3;
  moved.OffsetY = 0;
  bits = picture;
  ASSERT_TRUE(moved.OK(engine, bits, region).closed);
  ExpectSameBytes(bits, Picture({{o, o, o, a, b}, {o, o, o, c, d}, {o, o, o, o, o}}));
}

TEST(CanvasDialog, OkLosesWhatFallsOutsideTheCanvas) {
  std::vector<std::vector<Bgr>> rows(4, std::vector<Bgr>(4));
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 4; ++x) rows[y][x] = Bgr{static_cast<uint8_t>(10 * y + x), static_cast<uint8_t>(x), 7};
  const Bits picture = Picture(rows);
  fCanvas dialog(4, 4);
  dialog.ChoosePreset(3);  // "1 -": 2 x 2, the picture at (-1, -1)
  cBitFilter engine;
  Bits bits = picture;
  cBitRegion region;
  ASSERT_TRUE(dialog.OK(engine, bits, region).closed);
  ExpectSameBytes(bits, Picture({{rows[1][1], rows[1][2]}, {rows[2][1], rows[2][2]}}));

  // Dragged wholly past the right edge: nothing of it is left.
  fCanvas gone(4, 4);
  gone.OffsetX = 6;
  bits = picture;
  ASSERT_TRUE(gone.OK(engine, bits, region).closed);
  ExpectSameBytes(bits, Bits(4, 4));
}

}  // namespace
}  // namespace kelvane
