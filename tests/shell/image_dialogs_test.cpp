// The size dialogs: number boxes, the size test, the keep-proportions rule,
// fNew's standard sizes and backgrounds, fSize's quick factors and resized
// pixels, fCanvas's placement and its enlarged and cut pixels.
#include <gtest/gtest.h>

#include <array>
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

using Bgr = std::array<uint8_t, 3>;  // blue, green, red

// A picture from rows of pixels; the fourth byte and the frame stay zero.
Bits Picture(const std::vector<std::vector<Bgr>>& rows) {
  Bits bits(static_cast<int>(rows[0].size()), static_cast<int>(rows.size()));
  for (int y = 0; y < bits.Height(); ++y)
    for (int x = 0; x < bits.Width(); ++x)
      for (int c = 0; c < 3; ++c) bits.At(c, x, y) = rows[y][x][c];
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

// A document's picture, region and engine, as a dialog's OK receives them.
struct Doc {
  cBitFilter engine;
  Bits bits;
  cBitRegion region;
  template <class Dialog>
  DialogResult Ok(Dialog& dialog) { return dialog.OK(engine, bits, region); }
};

const Bgr A{10, 20, 30}, B{40, 50, 60}, C{70, 80, 90}, D{100, 110, 120}, O{0, 0, 0};

TEST(NumberBox, KeyFilterAndReading) {
  for (int key = 0; key < 256; ++key)
    EXPECT_EQ(KeyNum(static_cast<int16_t>(key)), (key >= 48 && key <= 57) || key == 8 ? key : 0) << key;
  const struct { const char* text; int32_t value; } cases[] = {
      {"", 0}, {"  12", 12}, {"12ab", 12}, {"abc", 0}, {"-30", -30}, {"2.5", 2}, {"3.5", 4}, {"99999999999", 2147483647}};
  for (const auto& c : cases) EXPECT_EQ(NumberBoxInteger(c.text), c.value) << '"' << c.text << '"';
}

TEST(SizeDialogs, EachDialogRefusesASideBelowTwoAndStaysOpen) {
  const Bits picture = Picture({{A, B}, {C, D}});
  const struct { const char *w, *h; bool ok; } cases[] = {
      {"1", "100", false}, {"100", "1", false}, {"", "", false}, {"-5", "10", false},
      {"2", "1", false},   {"2", "2", true},    {"64", "48", true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.w) + " x " + c.h);
    const std::string refusal = c.ok ? "" : "Minimum size: 2 x 2";
    fNew created;
    fSize resized(2, 2);
    resized.size.chkKeepProportions = false;
    fCanvas canvas(2, 2);
    auto check = [&](auto& dialog, const char* name) {
      dialog.TypeWidth(c.w);
      dialog.TypeHeight(c.h);
      Doc doc{{}, picture, {}};
      const DialogResult r = doc.Ok(dialog);
      EXPECT_EQ(r.closed, c.ok) << name;
      EXPECT_EQ(r.message, refusal) << name;
      EXPECT_TRUE(c.ok || (!r.takeUndo && doc.bits == picture && !doc.region.RegionMain())) << name;
    };
    check(created, "fNew");
    check(resized, "fSize");
    check(canvas, "fCanvas");
    EXPECT_EQ(created.cbDefault.size(), c.ok ? 10u : 9u);  // a refused size does not join the list
  }
}

TEST(SizeDialogs, KeepProportionsRoundsTheOtherBoxToEvenUnderAGuard) {
  const struct { int32_t ow, oh; bool width; const char *typed, *other; } cases[] = {  // width: the box typed in
      {4, 2, true, "5", "2"},  {4, 2, true, "7", "4"},     {4, 2, false, "3", "6"},  // 2.5 -> 2, 3.5 -> 4
      {3, 2, true, "5", "3"},  {3, 2, false, "5", "8"},    {3, 2, false, "3", "4"},  // 7.5 -> 8, 4.5 -> 4
      {640, 480, true, "", "0"}, {10, 3, true, "5", "2"},  // 1.5 -> 2: the product before the division
  };
  for (const auto& c : cases) {
    SizeBoxes boxes{std::to_string(c.ow), std::to_string(c.oh), true, c.ow, c.oh};
    c.width ? boxes.TypeWidth(c.typed) : boxes.TypeHeight(c.typed);
    EXPECT_EQ(c.width ? boxes.txtH : boxes.txtW, c.other) << c.ow << "x" << c.oh << " " << c.width << c.typed;
    EXPECT_FALSE(boxes.Changing);
  }
  SizeBoxes boxes{"4", "2", false, 4, 2};
  boxes.TypeWidth("9");  // proportions off
  EXPECT_EQ(boxes.txtH, "2");
  boxes.chkKeepProportions = true;
  boxes.Changing = true;  // a write from the other box is under way
  boxes.TypeHeight("5");
  EXPECT_EQ(boxes.txtW, "9");
  boxes.Changing = false;
  boxes.Write(11, 13);  // a program write of both boxes does not apply the rule
  EXPECT_EQ(boxes.txtW + "," + boxes.txtH, "11,13");
}

TEST(NewDialog, StandardSizesAndTheRunsOwnList) {
  fNew dialog;
  EXPECT_TRUE(dialog.OP == fNew::White && dialog.CP == 0xFFFFFF);
  EXPECT_EQ(dialog.size.txtW + " x " + dialog.size.txtH, dialog.cbDefault[dialog.cbDefaultIndex]);
  dialog.ChooseStandardSize(7);
  dialog.ChooseStandardSize(0);  // "Custom..." leaves the boxes alone
  EXPECT_EQ(dialog.size.txtW + " x " + dialog.size.txtH, "768 x 1024");
  dialog.ChooseStandardSize(2);
  dialog.TypeHeight("250");  // typing goes back to "Custom..."
  EXPECT_EQ(dialog.cbDefaultIndex, 0);
  EXPECT_EQ(dialog.size.txtW, "320");
  dialog.ChooseStandardSize(2);  // the standard size's proportions are kept
  dialog.SetKeepProportions(true);
  dialog.TypeWidth("100");
  EXPECT_EQ(dialog.size.txtH, "75");

  dialog.SetKeepProportions(false);
  dialog.TypeHeight("45");
  Doc doc;
  EXPECT_TRUE(doc.Ok(dialog).closed);
  ASSERT_EQ(dialog.cbDefault.size(), 10u);
  EXPECT_EQ(dialog.cbDefault.back(), "100 x 45");
  dialog.ChooseStandardSize(4);  // a size already in the list: no new item
  doc.Ok(dialog);
  EXPECT_EQ(dialog.cbDefault.size(), 10u);
  EXPECT_EQ(SizeText(doc.bits.Width(), doc.bits.Height()), "640 x 480");
  EXPECT_EQ(fNew().cbDefault.size(), 9u);  // a fresh start has the first list
}

TEST(NewDialog, BackgroundsFillTheNewPicture) {
  const struct { int32_t option; Bgr fill; } cases[] = {  // the colour's red is its low byte
      {fNew::White, {255, 255, 255}}, {fNew::Transparent, {0, 0, 0}}, {fNew::Custom, {0x33, 0x22, 0x11}}};
  for (const auto& c : cases) {
    fNew dialog;
    dialog.TypeWidth("3");
    dialog.TypeHeight("2");
    dialog.SetBackground(c.option);
    dialog.ColorPick(0x00332211);
    Doc doc;
    ASSERT_TRUE(doc.Ok(dialog).closed);
    SCOPED_TRACE(c.option);
    ExpectSameBytes(doc.bits, Picture({{c.fill, c.fill, c.fill}, {c.fill, c.fill, c.fill}}));
    ASSERT_NE(doc.region.RegionMain(), nullptr);
    EXPECT_EQ(doc.region.Region(), nullptr);
  }
}

TEST(SizeDialog, QuickFactorsMultiplyTheOriginalSizeRoundedToEven) {
  // "1.5 /" is times 0.75 (2.25 -> 2); 7.5 -> 8, 10.5 -> 10; 3.75, 5.25; 2.5 -> 2, 3.5 -> 4.
  const struct { int32_t w, h, index, nw, nh; } cases[] = {
      {3, 3, 2, 2, 2}, {5, 7, 0, 8, 10}, {5, 7, 1, 10, 14}, {5, 7, 2, 4, 5}, {5, 7, 3, 2, 4}};
  for (const auto& c : cases) {
    fSize dialog(c.w, c.h);
    dialog.TypeWidth("999");  // the factor works from the original, not the boxes
    dialog.ChoosePreset(c.index);
    EXPECT_EQ(SizeText(dialog.size.Width(), dialog.size.Height()), SizeText(c.nw, c.nh)) << c.w << " #" << c.index;
  }
}

TEST(SizeDialog, OkCopiesTheNearestPixelsOrResamplesRoundingEachStep) {
  // Without anti-alias, 2 x 2 to 4 x 4: the factor is 2 / 4, so column x takes source Floor(x / 2).
  fSize dialog(2, 2);
  dialog.chkInterpolate = false;
  dialog.ChoosePreset(1);
  Doc doc{{}, Picture({{A, B}, {C, D}}), {}};
  const DialogResult r = doc.Ok(dialog);
  EXPECT_TRUE(r.closed && r.takeUndo);
  EXPECT_EQ(r.statusSize, "4 x 4");
  ExpectSameBytes(doc.bits, Picture({{A, A, B, B}, {A, A, B, B}, {C, C, D, D}, {C, C, D, D}}));
  int32_t l, t, rr, bb;
  EXPECT_FALSE(doc.region.BoundRect(l, t, rr, bb));  // no selection after Init
  EXPECT_TRUE(doc.region.RegionMain() && doc.engine.BitsRegionHandle() == doc.region.RegionMain());

  // With anti-alias, 2 x 2 to 3 x 3, steps of 1/3 on a linear blue: every step is whole.
  fSize up(2, 2);
  up.size.chkKeepProportions = false;
  up.TypeWidth("3");
  up.TypeHeight("3");
  doc.bits = Picture({{{0, 0, 0}, {90, 0, 0}}, {{30, 0, 0}, {120, 0, 0}}});
  ASSERT_TRUE(doc.Ok(up).closed);
  ExpectSameBytes(doc.bits, Picture({{{0, 0, 0}, {30, 0, 0}, {60, 0, 0}},
                                     {{10, 0, 0}, {40, 0, 0}, {70, 0, 0}},
                                     {{20, 0, 0}, {50, 0, 0}, {80, 0, 0}}}));
  // Green 1, 3 over 2, 4 at 2 x 2, steps of 1/2: (1, 1) takes Round(1.5) = 2
  // and Round(3.5) = 4 down the columns, then Round(3) = 3 across (a single
  // rounding of 2.5 would give 2).
  fSize same(2, 2);
  doc.bits = Picture({{{0, 1, 0}, {0, 3, 0}}, {{0, 2, 0}, {0, 4, 0}}});
  ASSERT_TRUE(doc.Ok(same).closed);
  ExpectSameBytes(doc.bits, Picture({{{0, 1, 0}, {0, 2, 0}}, {{0, 2, 0}, {0, 3, 0}}}));
}

TEST(CanvasDialog, SizeChangesCentreThePictureRoundedToEven) {
  const struct { int32_t preset; const char *w, *h; bool keep; int32_t nw, nh, ox, oy; } cases[] = {
      {0, nullptr, nullptr, false, 12, 10, 1, 1}, {1, nullptr, nullptr, false, 14, 12, 2, 2},
      {2, nullptr, nullptr, false, 16, 14, 3, 3}, {3, nullptr, nullptr, false, 8, 6, -1, -1},
      {4, nullptr, nullptr, false, 6, 4, -2, -2}, {5, nullptr, nullptr, false, 4, 2, -3, -3},
      // Offsets 1.5 -> 2, 0.5 -> 0, -1.5 -> -2, -2.5 -> -2.
      {-1, "13", nullptr, false, 13, 8, 2, 0}, {-1, "11", nullptr, false, 11, 8, 0, 0},
      {-1, "7", nullptr, false, 7, 8, -2, 0}, {-1, "5", nullptr, false, 5, 8, -2, 0},
      // Proportions: height 12 follows, offset 2.5 -> 2; width Round(3.75) = 4, offset -2.5 -> -2.
      {-1, "15", nullptr, true, 15, 12, 2, 2}, {-1, nullptr, "3", true, 4, 3, -3, -2}};
  for (const auto& c : cases) {
    fCanvas dialog(10, 8);
    dialog.size.chkKeepProportions = c.keep;
    if (c.preset >= 0) dialog.ChoosePreset(c.preset);
    if (c.w) dialog.TypeWidth(c.w);
    if (c.h) dialog.TypeHeight(c.h);
    SCOPED_TRACE(testing::Message() << c.preset << " " << (c.w ? c.w : "-") << " " << (c.h ? c.h : "-"));
    EXPECT_EQ(SizeText(dialog.size.Width(), dialog.size.Height()), SizeText(c.nw, c.nh));
    EXPECT_EQ(SizeText(dialog.OffsetX, dialog.OffsetY), SizeText(c.ox, c.oy));
  }
}

TEST(CanvasDialog, ADragOfTheScaledPictureSetsTheOffset) {
  fCanvas dialog(10, 10);
  dialog.TypeWidth("20");  // centred at (5, 0); 5 box pixels a pixel, the canvas from y 25
  EXPECT_EQ(dialog.View(100, 100).iImg, (Rect{25, 25, 75, 75}));
  dialog.DragImage(10, 25, 100, 100);
  EXPECT_EQ(SizeText(dialog.OffsetX, dialog.OffsetY), "2 x 0");
  dialog.DragImage(-12, 38, 100, 100);  // off the canvas: -2.4 and 2.6
  EXPECT_EQ(SizeText(dialog.OffsetX, dialog.OffsetY), "-2 x 3");
}

TEST(CanvasDialog, OkLaysThePictureAtItsOffsetOnAZeroCanvas) {
  fCanvas grown(2, 2);
  grown.ChoosePreset(0);  // 4 x 4, picture at (1, 1)
  Doc doc{{}, Picture({{A, B}, {C, D}}), {}};
  const DialogResult r = doc.Ok(grown);
  EXPECT_TRUE(r.closed && r.takeUndo && r.statusSize == "4 x 4");
  ExpectSameBytes(doc.bits, Picture({{O, O, O, O}, {O, A, B, O}, {O, C, D, O}, {O, O, O, O}}));
  ASSERT_NE(doc.region.RegionMain(), nullptr);
  EXPECT_TRUE(doc.region.RegionMain()->Contains(3, 3) && !doc.region.RegionMain()->Contains(4, 3));

  // Dragged placements of a 4 x 4 picture, against a reference loop: what
  // falls outside the canvas is lost, the rest of the canvas stays zero.
  Bits picture(4, 4);
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 4; ++x)
      for (int c = 0; c < 3; ++c) picture.At(c, x, y) = static_cast<uint8_t>(40 * c + 4 * y + x + 1);
  const struct { int32_t w, h, ox, oy; } placements[] = {
      {7, 5, 3, 0}, {2, 2, -1, -1}, {4, 4, 6, 0}, {6, 5, -2, 3}, {3, 6, 1, -3}};
  for (const auto& p : placements) {
    fCanvas dialog(4, 4);
    dialog.size.Write(p.w, p.h);
    dialog.OffsetX = p.ox;
    dialog.OffsetY = p.oy;
    doc.bits = picture;
    ASSERT_TRUE(doc.Ok(dialog).closed);
    Bits expected(p.w, p.h);
    for (int y = 0; y < p.h; ++y)
      for (int x = 0; x < p.w; ++x)
        if (x - p.ox >= 0 && x - p.ox < 4 && y - p.oy >= 0 && y - p.oy < 4)
          for (int c = 0; c < 4; ++c) expected.At(c, x, y) = picture.At(c, x - p.ox, y - p.oy);
    SCOPED_TRACE(testing::Message() << p.w << "x" << p.h << " at " << p.ox << "," << p.oy);
    ExpectSameBytes(doc.bits, expected);
  }
}

}  // namespace
}  // namespace kelvane
