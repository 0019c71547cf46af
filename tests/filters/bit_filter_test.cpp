// The engine's frame: reshaping operations, statistics, progress, regions,
// threads, and the model filter GreyScale.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "filters/colour_space.h"
#include "filters/dialog_test_support.h"

namespace kelvane {
namespace {

using test::MakePicture;
using test::NoiseEverywhere;
using test::SameBits;

int ReferenceGrey(const Bits& p, int x, int y) {
  return test::ReferenceRound(p.At(0, x, y) * 0.071 + p.At(1, x, y) * 0.707 + p.At(2, x, y) * 0.222);
}

TEST(GreyScale, WeightedSumTiesToEvenInsideTheRegionOnly) {
  // Every combination in a block whose sum lands exactly on a half.
  std::vector<std::array<int, 3>> ties;
  for (int b = 0; b < 256; ++b)
    for (int g = 0; g < 40; ++g)
      for (int r = 0; r < 40; ++r) {
        const double s = b * 0.071 + g * 0.707 + r * 0.222;
        if (s - std::floor(s) == 0.5) ties.push_back({b, g, r});
      }
  ASSERT_FALSE(ties.empty());
  const int w = static_cast<int>(ties.size());
  const Bits tied = MakePicture(w, 1, [&](int x, int, int c) { return ties[x][c]; });
  const RectRegion row = RectRegion::FromRect(0, 0, w, 1);
  cBitFilter f;
  test::Load(f, tied, &row);
  const Bits out = f.GreyScale();
  for (int x = 0; x < w; ++x) {
    ASSERT_EQ(ReferenceGrey(tied, x, 0) % 2, 0);
    for (int c = 0; c < 3; ++c) ASSERT_EQ(out.At(c, x, 0), ReferenceGrey(tied, x, 0)) << "tie at x " << x;
  }

  // Only pixels in the region change; the fourth byte and the input stay.
  const Bits pic = NoiseEverywhere(37, 23, 7);
  for (const RectRegion& region : {RectRegion::FromRect(5, 3, 20, 17), RectRegion::FromEllipse(2, 1, 33, 22),
                                   RectRegion::Combine(RectRegion::FromRect(0, 0, 10, 10),
                                                       RectRegion::FromRect(20, 5, 37, 23), CombineMode::Or)}) {
    test::Load(f, pic, &region);
    Bits expected = pic;
    for (int y = 0; y < 23; ++y)
      for (int x = 0; x < 37; ++x)
        for (int c = 0; c < 3 && region.Contains(x, y); ++c) expected.At(c, x, y) = uint8_t(ReferenceGrey(pic, x, y));
    EXPECT_TRUE(SameBits(expected, f.GreyScale()));
    EXPECT_TRUE(SameBits(pic, f.BitsRef())) << "the input must stay unchanged";
  }
}

TEST(EngineFrame, ProgressOnEmptyRegionsAndOnThreads) {
  // An empty or missing region leaves the picture and still reports 100.
  const Bits small = NoiseEverywhere(8, 8, 3);
  const RectRegion empty;
  for (const RectRegion* region : {&empty, static_cast<const RectRegion*>(nullptr)}) {
    cBitFilter f;
    std::vector<int> reports;
    f.SetProgressHandler([&](int p) { reports.push_back(p); });
    test::Load(f, small, region);
    EXPECT_TRUE(SameBits(small, f.GreyScale()));
    EXPECT_EQ(reports, std::vector<int>{100});
  }
  // Reports stay within 0..100 and end with 100, on one thread or two.
  const Bits big = NoiseEverywhere(600, 400, 5);
  const RectRegion all = RectRegion::FromRect(0, 0, 600, 400);
  for (int threads : {1, 2}) {
    cBitFilter f;
    std::vector<int> reports;
    f.SetProgressHandler([&](int p) { reports.push_back(p); });
    test::Load(f, big, &all, threads);
    for (int i = 0; i < 3; ++i) f.GreyScale();
    ASSERT_FALSE(reports.empty());
    EXPECT_EQ(reports.back(), 100);
    EXPECT_TRUE(std::all_of(reports.begin(), reports.end(), [](int p) { return p >= 0 && p <= 100; }));
  }
}

TEST(EngineFrame, ExtentsAndBitsBlackZeroesAllFourBytesInsideTheRegion) {
  Bits pic = MakePicture(6, 4, [](int, int, int) { return 200; });
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 6; ++x) pic.At(3, x, y) = 9;
  const RectRegion region = RectRegion::FromRect(1, 1, 4, 3);
  cBitFilter f;
  test::Load(f, pic, &region);
  EXPECT_EQ(std::tuple(f.MaxX, f.MaxY, f.BitsWidth(), f.BitsHeight()), std::tuple(5, 3, 6, 4));
  EXPECT_EQ(f.BitsBounds, (Rect{0, 0, 6, 4}));
  f.BitsBlack();
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 6; ++x)
      for (int c = 0; c < 4; ++c) {
        const bool inside = x >= 1 && x < 4 && y >= 1 && y < 3;
        EXPECT_EQ(f.BitsRef().At(c, x, y), inside ? 0 : (c == 3 ? 9 : 200)) << x << "," << y << " c" << c;
      }
}

TEST(EngineFrame, ResampleRoundsTwoStagesVerticalFirstAndResizeTakesTheNearest) {
  // 4 x 4 to 2 x 2: sx = sy = 3 / 2, so output (1, 1) sits half-way between
  // source columns 1, 2 and rows 1, 2. Vertical: round(1.5) = 2, round(3.5) =
  // 4; horizontal: round(3) = 3. Without the stage rounding it would be 2.
  Bits src(4, 4);
  src.At(0, 1, 1) = 1, src.At(0, 1, 2) = 2, src.At(0, 2, 1) = 3, src.At(0, 2, 2) = 4;
  cBitFilter f;
  f.BitsResample(src, 2, 2);
  EXPECT_EQ(std::tuple(f.MaxX, f.MaxY, f.BitsRef().At(0, 1, 1), f.BitsRef().At(0, 0, 0)), std::tuple(1, 1, 3, 0));
  // 4 x 1 to 2 x 1: x = 1 reads columns 1 and 2 at 0.5: 16.5 -> 16; the last
  // column (30) is approached, not reached.
  static const int reds[4] = {0, 10, 23, 30};
  f.BitsResample(MakePicture(4, 1, [](int x, int, int c) { return c == 2 ? reds[x] : 0; }), 2, 1);
  EXPECT_EQ(std::tuple(f.BitsRef().At(2, 0, 0), f.BitsRef().At(2, 1, 0)), std::tuple(0, 16));
  EXPECT_EQ(f.BitsRef().At(3, 1, 0), 0) << "the fourth byte of a new array is 0";

  // Resize: factor source width / new width, Floor.
  f.BitsResize(MakePicture(4, 2, [](int x, int y, int c) { return 10 * x + 100 * y + c; }), 2, 1);
  EXPECT_TRUE(SameBits(MakePicture(2, 1, [](int x, int, int c) { return 20 * x + c; }), f.BitsRef()));
  // Enlarging repeats pixels: 2 -> 5 columns maps x to floor(x * 0.4).
  f.BitsResize(MakePicture(2, 1, [](int x, int, int) { return x ? 50 : 5; }), 5, 1);
  EXPECT_TRUE(SameBits(MakePicture(5, 1, [](int x, int, int) { return x < 3 ? 5 : 50; }), f.BitsRef()));
}

TEST(EngineFrame, Rotate90AndFlip) {
  const Bits src = MakePicture(3, 2, [](int x, int y, int c) { return 1 + x + 10 * y + 100 * (c == 1); });
  const RectRegion tiny = RectRegion::FromRect(0, 0, 1, 1);
  cBitFilter f;
  test::Load(f, src, &tiny);
  // Flip mirrors the whole image whatever the region.
  const Bits h = f.Flip(true, false), v = f.Flip(false, true), both = f.Flip(true, true);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 3; ++x) {
      EXPECT_EQ(h.At(0, x, y), src.At(0, 2 - x, y));
      EXPECT_EQ(v.At(0, x, y), src.At(0, x, 1 - y));
      EXPECT_EQ(both.At(0, x, y), src.At(0, 2 - x, 1 - y));
    }
  // A quarter turn counter-clockwise, new(y, MaxX - x) = source(x, y): the
  // top-right source pixel lands top-left.
  f.BitsRotate90(src);
  EXPECT_TRUE(SameBits(MakePicture(2, 3, [&](int x, int y, int c) { return src.At(c, 2 - y, x); }), f.BitsRef()));
}

TEST(EngineFrame, CropsCopyAllFourChannelsAndClip) {
  Bits src = MakePicture(5, 4, [](int x, int y, int c) { return x + 10 * y + 50 * c; });
  src.At(3, 2, 1) = 77;
  cBitFilter f;
  std::vector<int> reports;
  f.SetProgressHandler([&](int p) { reports.push_back(p); });
  f.SetBits(src);  // the rectangle is clipped to the engine's bounds
  f.BitsCrop(src, 1, 1, 9, 3);
  ASSERT_EQ(std::tuple(f.BitsWidth(), f.BitsHeight()), std::tuple(4, 2));
  const Bits& b = f.BitsRef();
  EXPECT_EQ(std::tuple(b.At(0, 0, 0), b.At(2, 3, 1), b.At(3, 1, 0)), std::tuple(11, 24 + 100, 77));
  EXPECT_EQ(b.At(0, 4, 0), 0) << "margins stay zero";
  // A rectangle outside leaves only the margin.
  reports.clear();
  f.BitsCrop(src, 10, 10, 20, 20);
  EXPECT_EQ(std::tuple(f.MaxX, f.MaxY, f.BitsRef().ByteSize()), std::tuple(-1, -1, 64u));
  EXPECT_EQ(reports, std::vector<int>{100});

  // Masked: clipped against the source (4 x 5 here); points outside the
  // region get only a fourth byte of 255.
  const Bits six = MakePicture(6, 6, [](int x, int y, int) { return 1 + x + 10 * y; });
  const RectRegion region = RectRegion::FromRect(2, 2, 4, 4);
  test::Load(f, six, &region);
  f.BitsCropMasked(six, 1, 1, 5, 8);
  ASSERT_EQ(std::tuple(f.BitsWidth(), f.BitsHeight()), std::tuple(4, 5));
  for (int y = 0; y < 5; ++y)
    for (int x = 0; x < 4; ++x) {
      const bool inside = region.Contains(1 + x, 1 + y);
      EXPECT_EQ(f.BitsRef().At(0, x, y), inside ? 1 + (1 + x) + 10 * (1 + y) : 0) << x << "," << y;
      EXPECT_EQ(f.BitsRef().At(3, x, y), inside ? 0 : 255) << x << "," << y;
    }
}

TEST(EngineFrame, NewDocFillsTheRegionsBoxWithoutAPointTest) {
  const RectRegion ellipse = RectRegion::FromEllipse(2, 2, 8, 8);
  cBitFilter f;
  test::Load(f, Bits(10, 10), &ellipse);
  const Rect box = ellipse.Box();
  ASSERT_FALSE(ellipse.Contains(box.left, box.top)) << "the corner shows the box is filled, not the ellipse";
  EXPECT_TRUE(SameBits(MakePicture(10, 10,
                                   [&](int x, int y, int c) {
                                     const bool in = x >= box.left && x < box.right && y >= box.top && y < box.bottom;
                                     return in ? 30 - 10 * c : 0;
                                   }),
                       f.NewDoc(10, 20, 30)));
}

TEST(EngineFrame, LuminanceStatisticsAndAngles) {
  // Pixel sums 3, 2, 765, 100: L = 1, 0, 255, 33; taken over the whole image.
  const int px[4][3] = {{1, 1, 1}, {0, 0, 2}, {255, 255, 255}, {0, 50, 50}};
  const RectRegion small = RectRegion::FromRect(0, 0, 1, 1);
  cBitFilter f;
  test::Load(f, MakePicture(2, 2, [&](int x, int y, int c) { return px[y * 2 + x][c]; }), &small);
  EXPECT_EQ(std::tuple(f.GetLMax(), f.GetLMin(), f.GetLMed()), std::tuple(255, 0, (1 + 0 + 255 + 33) / 4));
  f.SetBits(MakePicture(1, 1, [](int, int, int) { return 255; }));
  EXPECT_EQ(f.GetLMed(), 255);

  constexpr float kPi = 3.141592f;
  const std::tuple<int, int, float> angles[] = {
      {0, 0, -kPi / 2}, {0, 5, kPi / 2}, {0, -5, -kPi / 2}, {1, 1, static_cast<float>(std::atan(1.0))},
      {-1, 1, static_cast<float>(std::atan(-1.0) + kPi)}, {-1, -1, static_cast<float>(std::atan(1.0) + kPi)}};
  for (const auto& [dx, dy, a] : angles) EXPECT_FLOAT_EQ(cBitFilter::AngleOf(dx, dy), a) << dx << "," << dy;
}

TEST(ColourSpace, HlsOfGreyAndPrimariesAndBack) {
  const HLS grey = RGBToHLS(128, 128, 128);
  EXPECT_EQ(std::tuple(grey.h, grey.s), std::tuple(0.0f, 0.0f));
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
  EXPECT_EQ(std::tuple(HueWrap(200), HueWrap(201), Maximum3(1, 3, 2), Minimum3(1, -3, 2)), std::tuple(200, -39, 3, -3));
}

}  // namespace
}  // namespace kelvane
