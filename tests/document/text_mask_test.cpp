// The text tool's mask: size from points at 96 dpi, black-and-white pixels in
// the convention BitsBWMask paints, the line's height, the trimming of the
// record's blank padding, the font fallback, and the inputs that give none.
#include "document/text_mask.h"

#include <gtest/gtest.h>

#include <string>

#include "document/painting.h"

namespace kelvane {
namespace {

struct MaskStats {
  int ink = 0, white = 0, other = 0;
  int firstInkRow = -1, lastInkRow = -1, firstInkColumn = -1, lastInkColumn = -1;
  bool frameWhite = true;
};

// Counts by a plain walk over every byte, frame included.
MaskStats Survey(const Bits& m) {
  MaskStats s;
  for (int y = -2; y < m.Height() + 2; ++y)
    for (int x = -2; x < m.Width() + 2; ++x) {
      const bool inside = x >= 0 && y >= 0 && x < m.Width() && y < m.Height();
      const uint8_t b = m.At(0, x, y), g = m.At(1, x, y), r = m.At(2, x, y), spare = m.At(3, x, y);
      if (!inside) {
        if (b != 255 || g != 255 || r != 255 || spare != 255) s.frameWhite = false;
        continue;
      }
      if (b == 0 && g == 0 && r == 0 && spare == 255) {
        ++s.ink;
        if (s.firstInkRow < 0) s.firstInkRow = y;
        s.lastInkRow = y;
        if (s.firstInkColumn < 0 || x < s.firstInkColumn) s.firstInkColumn = x;
        if (x > s.lastInkColumn) s.lastInkColumn = x;
      } else if (b == 255 && g == 255 && r == 255 && spare == 255) {
        ++s.white;
      } else {
        ++s.other;
      }
    }
  return s;
}

TEST(TextMask, PixelSizeIsPointsAt96DpiRounded) {
  const std::pair<int, int> cases[] = {{20, 27}, {1, 1},   {2, 3},   {9, 12},
                                      {72, 96}, {0, 0}, {-5, -7}, {750, 1000}};
  for (auto [points, pixels] : cases) EXPECT_EQ(TextPixelSize(points), pixels) << points;
}

// 20 pt is a 27-pixel em. The line (ascent + descent) of a common sans lies
// between 1.0 and 1.3 em, about 27 to 35 rows; "1.0" is three figures of
// about half an em each, so 30 to 45 columns of ink.
TEST(TextMask, DefaultTextIsABlackOnWhiteLineHighMask) {
  const Bits m = MakeTextMask("1.0", "Arial", 20);
  ASSERT_FALSE(m.IsNull());
  EXPECT_GE(m.Height(), 15);
  EXPECT_LE(m.Height(), 40);
  EXPECT_GE(m.Width(), 20);
  EXPECT_LE(m.Width(), 60);
  const MaskStats s = Survey(m);
  EXPECT_EQ(s.other, 0) << "coverage is cut at half: only black and white";
  EXPECT_TRUE(s.frameWhite);
  EXPECT_GT(s.ink, 30);
  EXPECT_GT(s.white, s.ink);
  // The ink box is tight with one white column either side.
  EXPECT_EQ(s.firstInkColumn, 1);
  EXPECT_EQ(s.lastInkColumn, m.Width() - 2);
  // Figures stand on the baseline below the ascent: white rows above them
  // and the descent's rows below.
  EXPECT_GT(s.firstInkRow, 0);
  EXPECT_LT(s.lastInkRow, m.Height() - 1);
}

TEST(TextMask, EveryGlyphGetsTheLinesHeight) {
  const Bits one = MakeTextMask("1", "", 20);
  const Bits dot = MakeTextMask(".", "", 20);
  ASSERT_FALSE(one.IsNull());
  ASSERT_FALSE(dot.IsNull());
  EXPECT_EQ(dot.Height(), one.Height());
  EXPECT_LT(dot.Width(), one.Width());
  // The full stop sits low on the line, the figure reaches high.
  const MaskStats d = Survey(dot), o = Survey(one);
  EXPECT_GT(d.firstInkRow, o.firstInkRow + 27 / 3);
  EXPECT_EQ(d.lastInkRow, o.lastInkRow);  // both end on the baseline
}

TEST(TextMask, BlankTextGivesNoMask) {
  const std::string field(256, ' ');  // a blank record field
  for (std::string_view text : {std::string_view(""), std::string_view(" "), std::string_view("   "),
                                std::string_view("\t"), std::string_view(field)})
    EXPECT_TRUE(MakeTextMask(text, "Arial", 20).IsNull()) << '"' << text << '"';
}

TEST(TextMask, SizesThatGiveNoPixelOrTooManyGiveNoMask) {
  for (int points : {0, -20, 751, 32767})
    EXPECT_TRUE(MakeTextMask("1.0", "Arial", points).IsNull()) << points;
  EXPECT_FALSE(MakeTextMask("1.0", "Arial", 6).IsNull());  // an 8-pixel em still has ink
}

TEST(TextMask, RecordPaddingIsTrimmed) {
  const Bits plain = MakeTextMask("1.0", "Arial", 20);
  const Bits padded = MakeTextMask("  1.0" + std::string(251, ' '), "Arial" + std::string(251, ' '), 20);
  ASSERT_FALSE(padded.IsNull());
  EXPECT_TRUE(padded == plain);
}

TEST(TextMask, UnknownOrBlankFamilyFallsBackToTheDefaultSans) {
  for (const char* family : {"No Such Family Kv9", "", "   "}) {
    const Bits m = MakeTextMask("1.0", family, 20);
    ASSERT_FALSE(m.IsNull()) << family;
    EXPECT_GT(Survey(m).ink, 30) << family;
  }
}

TEST(TextMask, LargerSizeGivesALargerMask) {
  const Bits small = MakeTextMask("1.0", "Arial", 20);
  const Bits large = MakeTextMask("1.0", "Arial", 40);
  ASSERT_FALSE(small.IsNull());
  ASSERT_FALSE(large.IsNull());
  EXPECT_GT(large.Width(), small.Width());
  EXPECT_GT(large.Height(), small.Height());
  // Twice the points, about twice the line (the ceilings of ascent and
  // descent add a row or two at most).
  EXPECT_NEAR(large.Height(), 2 * small.Height(), 3);
  EXPECT_GT(Survey(large).ink, 3 * Survey(small).ink);
}

TEST(TextMask, InnerSpacesKeepTheirAdvance) {
  const Bits tight = MakeTextMask("10", "Arial", 20);
  const Bits spaced = MakeTextMask("1   0", "Arial", 20);
  ASSERT_FALSE(tight.IsNull());
  ASSERT_FALSE(spaced.IsNull());
  EXPECT_GT(spaced.Width(), tight.Width() + 15);  // three spaces of about a quarter em
}

TEST(TextMask, BytesThatAreNotUtf8AreLatin1AndControlsArePassedOver) {
  const Bits latin = MakeTextMask("\xC4\xFF\xE9x\xC3", "Arial", 20);  // not valid UTF-8
  EXPECT_FALSE(latin.IsNull());
  const Bits utf8 = MakeTextMask("\xC3\x84", "Arial", 20);  // "Ä"
  EXPECT_FALSE(utf8.IsNull());
  EXPECT_TRUE(MakeTextMask("\x01\x02", "Arial", 20).IsNull());  // no ink
}

// BitsBWMask through the mask paints exactly the black pixels, fully.
TEST(TextMask, PaintsItsInkThroughBitsBWMask) {
  const Bits m = MakeTextMask("1.0", "Arial", 20);
  ASSERT_FALSE(m.IsNull());
  Bits picture(m.Width() + 10, m.Height() + 10);
  picture.Fill(255);
  cBitRegion region;
  region.Init(0, 0, picture.Width(), picture.Height());
  DoneBits done;
  const bool exists = true;
  PaintRandom random(1);
  PaintTarget target{picture, region, done, exists, random};
  BitsBWMask(target, 5, 5, m, 0x0000FF, 100);  // red
  for (int y = 0; y < picture.Height(); ++y)
    for (int x = 0; x < picture.Width(); ++x) {
      const int mx = x - 5, my = y - 5;
      const bool ink = mx >= 0 && my >= 0 && mx < m.Width() && my < m.Height() && m.At(0, mx, my) == 0;
      ASSERT_EQ(picture.At(2, x, y), 255) << x << "," << y;
      ASSERT_EQ(picture.At(0, x, y), ink ? 0 : 255) << x << "," << y;
    }
}

}  // namespace
}  // namespace kelvane
