// The engine's frame: reshaping operations, statistics, progress, regions,
// threads, and the model filter GreyScale.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "document/rect_region.h"
#include "filters/bit_filter.h"
#include "filters/colour_space.h"
#include "filters/filter_test_support.h"

namespace kelvane {
namespace {

using test::MakePicture;
using test::SameBits;

// Round half to even written out longhand, independent of the engine's helper.
int ReferenceRound(double v) {
  const double f = std::floor(v);
  const double frac = v - f;
  if (frac > 0.5) return static_cast<int>(f) + 1;
  if (frac < 0.5) return static_cast<int>(f);
  return static_cast<int>(f) % 2 == 0 ? static_cast<int>(f) : static_cast<int>(f) + 1;
}

int ReferenceGrey(int b, int g, int r) { return ReferenceRound(b * 0.071 + g * 0.707 + r * 0.222); }

Bits RandomPicture(int w, int h, unsigned seed) {
  std::mt19937 rng(seed);
  Bits b(w, h);
  for (size_t i = 0; i < b.ByteSize(); ++i) b.Data()[i] = static_cast<uint8_t>(rng());
  return b;
}

TEST(GreyScale, MatchesWeightedSumWithTiesToEven) {
  // Every combination whose sum lands exactly on a half must go to the even
  // neighbour; search a cube of values for such ties and check them all.
  std::vector<std::array<int, 3>> ties;
  for (int b = 0; b < 256; b += 1)
    for (int g = 0; g < 40; ++g)
      for (int r = 0; r < 40; ++r) {
        const double s = b * 0.071 + g * 0.707 + r * 0.222;
        if (s - std::floor(s) == 0.5) ties.push_back({b, g, r});
      }
  ASSERT_FALSE(ties.empty());
  const int w = static_cast<int>(ties.size());
  Bits pic = MakePicture(w, 1, [&](int x, int, int c) { return ties[x][c]; });
  RectRegion all = RectRegion::FromRect(0, 0, w, 1);
  cBitFilter f;
  f.SetBits(pic);
  f.BitsRegion(&all);
  Bits out = f.GreyScale();
  for (int x = 0; x < w; ++x) {
    const int expected = ReferenceGrey(ties[x][0], ties[x][1], ties[x][2]);
    ASSERT_EQ(expected % 2, 0);
    for (int c = 0; c < 3; ++c) ASSERT_EQ(out.At(c, x, 0), expected) << "tie at x " << x;
  }
}

TEST(GreyScale, ChangesOnlyPixelsInTheRegionAndKeepsTheFourthByte) {
  Bits pic = RandomPicture(37, 23, 7);
  for (const RectRegion& region : {RectRegion::FromRect(5, 3, 20, 17), RectRegion::FromEllipse(2, 1, 33, 22),
                                   RectRegion::Combine(RectRegion::FromRect(0, 0, 10, 10),
                                                       RectRegion::FromRect(20, 5, 37, 23), CombineMode::Or)}) {
    cBitFilter f;
    f.SetBits(pic);
    f.BitsRegion(&region);
    Bits out = f.GreyScale();
    Bits expected = pic;
    for (int y = 0; y < 23; ++y)
      for (int x = 0; x < 37; ++x)
        if (region.Contains(x, y)) {
          const int g = ReferenceGrey(pic.At(0, x, y), pic.At(1, x, y), pic.At(2, x, y));
          for (int c = 0; c < 3; ++c) expected.At(c, x, y) = static_cast<uint8_t>(g);
        }
    EXPECT_TRUE(SameBits(expected, out));
    EXPECT_TRUE(SameBits(pic, f.BitsRef())) << "the input must stay unchanged";
  }
}

TEST(GreyScale, EmptyOrMissingRegionLeavesPictureAndStillReportsHundred) {
  Bits pic = RandomPicture(8, 8, 3);
  RectRegion empty;
  for (const RectRegion* region : {static_cast<const RectRegion*>(&empty), static_cast<const RectRegion*>(nullptr)}) {
    cBitFilter f;
    std::vector<int> reports;
    f.SetProgressHandler([&](int p) { reports.push_back(p); });
    f.SetBits(pic);
    f.BitsRegion(region);
    EXPECT_TRUE(SameBits(pic, f.GreyScale()));
    EXPECT_EQ(reports, std::vector<int>{100});
  }
}

TEST(EngineFrame, ProgressIsRateLimitedNondecreasingAndEndsWithHundred) {
  Bits pic = RandomPicture(600, 400, 5);
  RectRegion all = RectRegion::FromRect(0, 0, 600, 400);
  for (int threads : {1, 2}) {
    cBitFilter f;
    f.SetThreadCount(threads);
    std::vector<int> reports;
    f.SetProgressHandler([&](int p) { reports.push_back(p); });
    f.SetBits(pic);
    f.BitsRegion(&all);
    for (int i = 0; i < 3; ++i) f.GreyScale();
    ASSERT_FALSE(reports.empty());
    EXPECT_EQ(reports.back(), 100);
    for (int p : reports) {
      EXPECT_GE(p, 0);
      EXPECT_LE(p, 100);
    }
  }
}

TEST(EngineFrame, RowParallelResultsEqualSingleThread) {
  Bits pic = RandomPicture(301, 257, 11);
  RectRegion region = RectRegion::FromEllipse(-5, 3, 290, 250);
  auto run = [&](int threads, auto&& call) {
    cBitFilter f;
    f.SetThreadCount(threads);
    f.SetBits(pic);
    f.BitsRegion(&region);
    return call(f);
  };
  auto grey = [](cBitFilter& f) { return f.GreyScale(); };
  auto flip = [](cBitFilter& f) { return f.Flip(true, true); };
  auto resample = [&](cBitFilter& f) {
    f.BitsResample(pic, 150, 333);
    return f.GetBits();
  };
  auto newdoc = [](cBitFilter& f) { return f.NewDoc(1, 2, 3); };
  EXPECT_TRUE(SameBits(run(1, grey), run(2, grey)));
  EXPECT_TRUE(SameBits(run(1, flip), run(2, flip)));
  EXPECT_TRUE(SameBits(run(1, resample), run(3, resample)));
  EXPECT_TRUE(SameBits(run(1, newdoc), run(2, newdoc)));
}

TEST(EngineFrame, SetBitsFollowsTheArrayExtents) {
  cBitFilter f;
  f.SetBits(Bits(12, 5));
  EXPECT_EQ(f.MaxX, 11);
  EXPECT_EQ(f.MaxY, 4);
  EXPECT_EQ(f.BitsBounds, (Rect{0, 0, 12, 5}));
  EXPECT_EQ(f.BitsWidth(), 12);
  EXPECT_EQ(f.BitsHeight(), 5);
}

TEST(EngineFrame, BitsBlackZeroesAllFourBytesInsideTheRegionOnly) {
  Bits pic = MakePicture(6, 4, [](int, int, int) { return 200; });
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 6; ++x) pic.At(3, x, y) = 9;
  RectRegion region = RectRegion::FromRect(1, 1, 4, 3);
  cBitFilter f;
  f.SetBits(pic);
  f.BitsRegion(&region);
  f.BitsBlack();
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 6; ++x)
      for (int c = 0; c < 4; ++c) {
        const bool inside = x >= 1 && x < 4 && y >= 1 && y < 3;
        EXPECT_EQ(f.BitsRef().At(c, x, y), inside ? 0 : (c == 3 ? 9 : 200)) << x << "," << y << " c" << c;
      }
}

TEST(BitsResample, TwoRoundedStagesVerticalFirst) {
  // 4 x 4 to 2 x 2: sx = sy = 3 / 2, so output (1, 1) sits half-way between
  // source columns 1, 2 and rows 1, 2. Vertical: round(1.5) = 2, round(3.5) = 4;
  // horizontal: round(3) = 3. Without the stage rounding it would be 2.
  Bits src(4, 4);
  src.At(0, 1, 1) = 1;
  src.At(0, 1, 2) = 2;
  src.At(0, 2, 1) = 3;
  src.At(0, 2, 2) = 4;
  cBitFilter f;
  f.SetBits(src);
  f.BitsResample(src, 2, 2);
  EXPECT_EQ(f.MaxX, 1);
  EXPECT_EQ(f.MaxY, 1);
  EXPECT_EQ(f.BitsRef().At(0, 1, 1), 3);
  EXPECT_EQ(f.BitsRef().At(0, 0, 0), 0);
}

TEST(BitsResample, HorizontalTieRoundsToEvenAndLastColumnIsApproached) {
  // 4 x 1 to 2 x 1: sx = 3 / 2. x = 1 reads columns 1 and 2 at 0.5: 16.5 -> 16.
  static const int reds[4] = {0, 10, 23, 30};
  Bits src = MakePicture(4, 1, [](int x, int, int c) { return c == 2 ? reds[x] : 0; });
  cBitFilter f;
  f.SetBits(src);
  f.BitsResample(src, 2, 1);
  EXPECT_EQ(f.BitsRef().At(2, 0, 0), 0);
  EXPECT_EQ(f.BitsRef().At(2, 1, 0), 16);
  EXPECT_EQ(f.BitsRef().At(3, 1, 0), 0) << "the fourth byte of a new array is 0";
}

TEST(BitsResize, NearestNeighbourBySourceWidthOverNewWidth) {
  Bits src = MakePicture(4, 2, [](int x, int y, int c) { return 10 * x + 100 * y + c; });
  cBitFilter f;
  f.SetBits(src);
  f.BitsResize(src, 2, 1);
  Bits expected(2, 1);
  for (int c = 0; c < 3; ++c) {
    expected.At(c, 0, 0) = static_cast<uint8_t>(c);
    expected.At(c, 1, 0) = static_cast<uint8_t>(20 + c);
  }
  EXPECT_TRUE(SameBits(expected, f.BitsRef()));
  // Enlarging repeats pixels: 2 -> 5 columns maps x to floor(x * 0.4).
  Bits row = MakePicture(2, 1, [](int x, int, int) { return x ? 50 : 5; });
  f.BitsResize(row, 5, 1);
  const int want[5] = {5, 5, 5, 50, 50};
  for (int x = 0; x < 5; ++x) EXPECT_EQ(f.BitsRef().At(0, x, 0), want[x]) << x;
}

TEST(BitsRotate90, QuarterTurnCounterClockwise) {
  Bits src = MakePicture(3, 2, [](int x, int y, int c) { return 1 + x + 10 * y + 100 * (c == 1); });
  cBitFilter f;
  f.SetBits(src);
  f.BitsRotate90(src);
  EXPECT_EQ(f.BitsWidth(), 2);
  EXPECT_EQ(f.BitsHeight(), 3);
  // new(y, MaxX - x) = source(x, y): the top-right source pixel lands top-left.
  EXPECT_EQ(f.BitsRef().At(0, 0, 0), 3);
  EXPECT_EQ(f.BitsRef().At(0, 1, 0), 13);
  EXPECT_EQ(f.BitsRef().At(0, 0, 2), 1);
  EXPECT_EQ(f.BitsRef().At(1, 1, 2), 111);
}

TEST(BitsCrop, CopiesAllFourChannelsAndClipsToBounds) {
  Bits src = MakePicture(5, 4, [](int x, int y, int c) { return x + 10 * y + 50 * c; });
  src.At(3, 2, 1) = 77;
  cBitFilter f;
  f.SetBits(src);
  f.BitsCrop(src, 1, 1, 9, 3);
  ASSERT_EQ(f.BitsWidth(), 4);
  ASSERT_EQ(f.BitsHeight(), 2);
  EXPECT_EQ(f.BitsRef().At(0, 0, 0), 11);
  EXPECT_EQ(f.BitsRef().At(2, 3, 1), 24 + 100);
  EXPECT_EQ(f.BitsRef().At(3, 1, 0), 77);
  EXPECT_EQ(f.BitsRef().At(0, 4, 0), 0) << "margins stay zero";
}

TEST(BitsCrop, RectangleOutsideLeavesOnlyTheMargin) {
  Bits src = MakePicture(5, 4, [](int, int, int) { return 1; });
  cBitFilter f;
  std::vector<int> reports;
  f.SetProgressHandler([&](int p) { reports.push_back(p); });
  f.SetBits(src);
  f.BitsCrop(src, 10, 10, 20, 20);
  EXPECT_EQ(f.MaxX, -1);
  EXPECT_EQ(f.MaxY, -1);
  EXPECT_EQ(f.BitsRef().ByteSize(), 64u);
  EXPECT_EQ(reports, std::vector<int>{100});
}

TEST(BitsCropMasked, MarksPointsOutsideTheRegionWithFourthByte255) {
  Bits src = MakePicture(6, 6, [](int x, int y, int c) { return 1 + x + 10 * y; });
  RectRegion region = RectRegion::FromRect(2, 2, 4, 4);
  cBitFilter f;
  f.SetBits(src);
  f.BitsRegion(&region);
  f.BitsCropMasked(src, 1, 1, 5, 8);  // clipped against the source: 4 x 5
  ASSERT_EQ(f.BitsWidth(), 4);
  ASSERT_EQ(f.BitsHeight(), 5);
  for (int y = 0; y < 5; ++y)
    for (int x = 0; x < 4; ++x) {
      const bool inside = region.Contains(1 + x, 1 + y);
      EXPECT_EQ(f.BitsRef().At(0, x, y), inside ? 1 + (1 + x) + 10 * (1 + y) : 0) << x << "," << y;
      EXPECT_EQ(f.BitsRef().At(3, x, y), inside ? 0 : 255) << x << "," << y;
    }
}

TEST(Flip, MirrorsTheWholeImageIgnoringTheRegion) {
  Bits src = MakePicture(3, 2, [](int x, int y, int c) { return x + 10 * y; });
  RectRegion tiny = RectRegion::FromRect(0, 0, 1, 1);
  cBitFilter f;
  f.SetBits(src);
  f.BitsRegion(&tiny);
  Bits h = f.Flip(true, false);
  Bits v = f.Flip(false, true);
  Bits both = f.Flip(true, true);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 3; ++x) {
      EXPECT_EQ(h.At(0, x, y), (2 - x) + 10 * y);
      EXPECT_EQ(v.At(0, x, y), x + 10 * (1 - y));
      EXPECT_EQ(both.At(0, x, y), (2 - x) + 10 * (1 - y));
    }
}

TEST(NewDoc, FillsTheRegionsBoxWithoutAPointTest) {
  Bits src(10, 10);
  RectRegion ellipse = RectRegion::FromEllipse(2, 2, 8, 8);
  cBitFilter f;
  f.SetBits(src);
  f.BitsRegion(&ellipse);
  Bits out = f.NewDoc(10, 20, 30);
  const Rect box = ellipse.Box();
  for (int y = 0; y < 10; ++y)
    for (int x = 0; x < 10; ++x) {
      const bool inBox = x >= box.left && x < box.right && y >= box.top && y < box.bottom;
      EXPECT_EQ(out.At(0, x, y), inBox ? 30 : 0);
      EXPECT_EQ(out.At(1, x, y), inBox ? 20 : 0);
      EXPECT_EQ(out.At(2, x, y), inBox ? 10 : 0);
      EXPECT_EQ(out.At(3, x, y), 0);
    }
  EXPECT_FALSE(ellipse.Contains(box.left, box.top)) << "the corner shows the box is filled, not the ellipse";
}

TEST(LuminanceStatistics, MaxMinAndTruncatedMeanOverTheWholeImage) {
  // Pixel sums 3, 2, 765, 100: L = 1, 0, 255, 33.
  const int px[4][3] = {{1, 1, 1}, {0, 0, 2}, {255, 255, 255}, {0, 50, 50}};
  Bits pic = MakePicture(2, 2, [&](int x, int y, int c) { return px[y * 2 + x][c]; });
  RectRegion small = RectRegion::FromRect(0, 0, 1, 1);
  cBitFilter f;
  f.SetBits(pic);
  f.BitsRegion(&small);
  EXPECT_EQ(f.GetLMax(), 255);
  EXPECT_EQ(f.GetLMin(), 0);
  EXPECT_EQ(f.GetLMed(), (1 + 0 + 255 + 33) / 4);
  cBitFilter one;
  one.SetBits(MakePicture(1, 1, [](int, int, int) { return 255; }));
  EXPECT_EQ(one.GetLMed(), 255);
}

TEST(AngleOf, QuadrantsAndTheVerticalCases) {
  constexpr float kPi = 3.141592f;
  EXPECT_FLOAT_EQ(cBitFilter::AngleOf(0, 0), -kPi / 2);
  EXPECT_FLOAT_EQ(cBitFilter::AngleOf(0, 5), kPi / 2);
  EXPECT_FLOAT_EQ(cBitFilter::AngleOf(0, -5), -kPi / 2);
  EXPECT_FLOAT_EQ(cBitFilter::AngleOf(1, 1), static_cast<float>(std::atan(1.0)));
  EXPECT_FLOAT_EQ(cBitFilter::AngleOf(-1, 1), static_cast<float>(std::atan(-1.0) + kPi));
  EXPECT_FLOAT_EQ(cBitFilter::AngleOf(-1, -1), static_cast<float>(std::atan(1.0) + kPi));
}

TEST(ColourSpace, HlsOfGreyAndPrimariesAndBack) {
  const HLS grey = RGBToHLS(128, 128, 128);
  EXPECT_EQ(grey.h, 0.0f);
  EXPECT_EQ(grey.s, 0.0f);
  EXPECT_FLOAT_EQ(grey.l, 128.0f / 255.0f);
  for (float h : {-1.0f, 0.0f, 2.5f, 4.7f}) {
    EXPECT_EQ(HLSToRGB(h, 0.0f, 0.5f), (RGBValue{128, 128, 128})) << "round(127.5) goes to even 128";
  }
  // Hue is left in -1 .. 5: red 0, green 2, blue 4, magenta -1.
  struct Case { int r, g, b; float h; };
  for (const Case& c : {Case{255, 0, 0, 0}, Case{0, 255, 0, 2}, Case{0, 0, 255, 4}, Case{255, 0, 255, -1}}) {
    const HLS v = RGBToHLS(c.r, c.g, c.b);
    EXPECT_FLOAT_EQ(v.h, c.h);
    EXPECT_FLOAT_EQ(v.s, 1.0f);
    EXPECT_FLOAT_EQ(v.l, 0.5f);
    EXPECT_EQ(HLSToRGB(v.h, v.s, v.l), (RGBValue{c.r, c.g, c.b}));
  }
  // A light tint: l > 0.5 uses the second saturation formula.
  const HLS pink = RGBToHLS(255, 204, 204);
  EXPECT_FLOAT_EQ(pink.l, (1.0f + 0.8f) / 2);
  EXPECT_NEAR(pink.s, 0.2f / (2.0f - 1.0f - 0.8f), 1e-6);
  EXPECT_EQ(HLSToRGB(pink.h, pink.s, pink.l), (RGBValue{255, 204, 204}));
  EXPECT_EQ(HueWrap(200), 200);
  EXPECT_EQ(HueWrap(201), -39);
  EXPECT_EQ(Maximum3(1, 3, 2), 3);
  EXPECT_EQ(Minimum3(1, -3, 2), -3);
}

}  // namespace
}  // namespace kelvane
