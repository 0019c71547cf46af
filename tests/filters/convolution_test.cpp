// Convolution and rank filters: each against a plain reference loop written
// here from the filter's formula, plus hand-worked edge cases.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <vector>

#include "document/rect_region.h"
#include "filters/bit_filter.h"
#include "filters/filter_catalogue.h"
#include "filters/filter_test_support.h"
#include "filters/stock_masks.h"
#include "imagefiles/picture_io.h"
#include "test_support.h"

namespace kelvane {
namespace {

using test::MakePicture;
using test::SameBits;

// Ties to even, longhand.
int ReferenceRound(double v) {
  const double f = std::floor(v);
  if (v - f != 0.5) return static_cast<int>(std::floor(v + 0.5));
  return static_cast<int>(f) % 2 == 0 ? static_cast<int>(f) : static_cast<int>(f) + 1;
}
int Clamp255(int v) { return v < 0 ? 0 : v > 255 ? 255 : v; }

// Random picture, spare byte included; the frame stays zero.
Bits Noise(int w, int h, unsigned seed) {
  std::mt19937 rng(seed);
  Bits b(w, h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      for (int c = 0; c < 4; ++c) b.At(c, x, y) = static_cast<uint8_t>(rng());
  return b;
}
Bits Flat(int w, int h, int v) {
  return MakePicture(w, h, [=](int, int, int) { return v; });
}

// Runs a filter on one thread and on two, which must agree, and checks the
// frame's promises: progress ends with 100 and the input stays as it was.
Bits Apply(const Bits& pic, const RectRegion& region, const std::function<Bits(cBitFilter&)>& call) {
  Bits results[2];
  for (int threads : {1, 2}) {
    cBitFilter f;
    f.SetThreadCount(threads);
    f.SetBits(pic);
    f.BitsRegion(&region);
    std::vector<int> reports;
    f.SetProgressHandler([&](int p) { reports.push_back(p); });
    results[threads - 1] = call(f);
    EXPECT_FALSE(reports.empty());
    if (!reports.empty()) {
      EXPECT_EQ(reports.back(), 100);
    }
    EXPECT_TRUE(SameBits(pic, f.BitsRef())) << "the input must not change";
  }
  EXPECT_TRUE(SameBits(results[0], results[1])) << "one thread against two";
  return results[0];
}

RectRegion Whole(const Bits& b) { return RectRegion::FromRect(0, 0, b.Width(), b.Height()); }

// The plain frame: every pixel of the box (inset) that the region holds gets
// value(x, y, c) in channels 0..2; a negative value leaves the byte.
Bits Reference(const Bits& in, const RectRegion& region, int inset, const std::function<int(int, int, int)>& value) {
  Bits out = in;
  const Rect b = region.Box();
  for (int y = b.top + inset; y <= b.bottom - inset - 1; ++y)
    for (int x = b.left + inset; x <= b.right - inset - 1; ++x)
      if (region.Contains(x, y))
        for (int c = 0; c < 3; ++c) {
          const int v = value(x, y, c);
          if (v >= 0) out.At(c, x, y) = static_cast<uint8_t>(v);
        }
  return out;
}

// Sum of the eight neighbours at distance d.
int Ring(const Bits& in, int x, int y, int c, int d) {
  int s = 0;
  for (int dy = -d; dy <= d; dy += d ? d : 1)
    for (int dx = -d; dx <= d; dx += d ? d : 1)
      if (dx || dy) s += in.At(c, x + dx, y + dy);
  return d ? s : 8 * in.At(c, x, y);
}

// MaskFilter exactly as its steps read: loop over the window corners, sums
// columns-outer, test the centre, divide, add, clamp.
Bits ReferenceMask(const Bits& in, const RectRegion& region, const FilterMask& m, int divisor, int addR, int addG,
                   int addB, bool keep) {
  Bits out = in;
  const int u = m.size - 1, h = u / 2, maxX = in.Width() - 1, maxY = in.Height() - 1;
  const Rect b = region.Box();
  int left = b.left - h, right = b.right - 1 - h, top = b.top - h, bottom = b.bottom - 1 - h;
  if (keep) {
    left = std::max(left, 0);
    top = std::max(top, 0);
    right = std::min(right, maxX - u);
    bottom = std::min(bottom, maxY - u);
  }
  const int adds[3] = {addB, addG, addR};
  for (int y = top; y <= bottom; ++y)
    for (int x = left; x <= right; ++x) {
      long sum[3] = {0, 0, 0};
      for (int i = 0; i <= u; ++i)
        for (int j = 0; j <= u; ++j)
          for (int c = 0; c < 3; ++c) sum[c] += in.At(c, x + i, y + j) * m.At(j, i);
      if (region.Contains(x + h, y + h))
        for (int c = 0; c < 3; ++c)
          out.At(c, x + h, y + h) =
              static_cast<uint8_t>(Clamp255(static_cast<int>(std::trunc(double(sum[c]) / divisor)) + adds[c]));
    }
  return out;
}

FilterMask Mask(int n, std::vector<int32_t> w) { return FilterMask{n, std::move(w)}; }

const Bits kNoise = Noise(23, 17, 5);
const RectRegion kRegions[] = {RectRegion::FromRect(0, 0, 23, 17), RectRegion::FromRect(4, 3, 19, 12),
                               RectRegion::FromEllipse(1, 0, 22, 17)};

TEST(StockMasks, TableAsListedAndGetMaskParsesIt) {
  const char* names[] = {"Blur",           "Blur more",           "Soften",         "Soften more", "Sharpen",
                         "Sharpen more",   "Bump [NW]",           "Bump more [NW]", "Contour",     "Contour more",
                         "Contour [soft]", "Contour more [soft]", "Emboss [SE]",    "Engrave [SE]"};
  for (int i = 0; i < 14; ++i) EXPECT_EQ(GetMask(i).Name, names[i]);
  const UserFilterRecord bump = GetMask(6);  // "-1|-1|0|-1|4|1|0|1|1", "4|0|0|0"
  EXPECT_EQ(bump.Mask, Mask(3, {-1, -1, 0, -1, 4, 1, 0, 1, 1}));
  EXPECT_EQ(bump.Mask.At(1, 2), 1);  // row 1, column 2: right of the centre
  EXPECT_EQ(bump.Divisor, 4);
  const UserFilterRecord more = GetMask(1);
  EXPECT_EQ(more.Mask, Mask(5, std::vector<int32_t>(25, 1)));
  EXPECT_EQ(more.Divisor, 25);
  const UserFilterRecord emboss = GetMask(12);
  EXPECT_EQ(emboss.Mask.At(2, 2), -1);
  EXPECT_EQ(emboss.AddRed + emboss.AddGreen + emboss.AddBlue, 3 * 128);
  EXPECT_EQ(GetMask(9).Mask.At(1, 1), 16);
  EXPECT_EQ(GetMask(14), UserFilterRecord{});
  EXPECT_EQ(GetMask(-1), UserFilterRecord{});
}

TEST(MaskFilter, AgreesWithReferenceLoopEverywhereIncludingMargins) {
  std::mt19937 rng(3);
  std::vector<std::tuple<FilterMask, int, int, int, int>> cases = {
      {GetMask(4).Mask, 7, 0, 0, 0},
      {GetMask(6).Mask, 4, 10, -20, 30},
      {GetMask(1).Mask, 25, 0, 0, 0},
      {Mask(2, {1, 2, -3, 4}), -3, 100, 50, 0},
      {Mask(1, {-3}), 2, 300, 100, 5},
      {Mask(3, {50, -30, 20, 10, 40, -10, 5, 15, 20}), 37, -9, 0, 9}};  // sums past 16 bits
  std::vector<int32_t> random5(25);
  for (int32_t& w : random5) w = static_cast<int>(rng() % 11) - 5;
  cases.emplace_back(Mask(5, random5), -7, 40, 128, 255);
  for (const auto& [mask, divisor, r, g, b] : cases)
    for (const RectRegion& region : kRegions)
      for (bool keep : {false, true}) {
        const Bits out =
            Apply(kNoise, region, [&](cBitFilter& f) { return f.MaskFilter(mask, divisor, r, g, b, keep); });
        EXPECT_TRUE(SameBits(ReferenceMask(kNoise, region, mask, divisor, r, g, b, keep), out))
            << "size " << mask.size << " divisor " << divisor << " keep " << keep;
      }
}

TEST(MaskFilter, UnitMaskTruncationCentreTestAndZeroFrame) {
  const Bits pic = Flat(9, 7, 100);
  const RectRegion all = Whole(pic);
  EXPECT_TRUE(SameBits(
      kNoise, Apply(kNoise, kRegions[0], [](cBitFilter& f) { return f.MaskFilter(Mask(1, {1}), 1, 0, 0, 0, false); })));
  // 1 x 1, weight -3, divisor 2, add 100 on 7: trunc(-21 / 2) = -10, + 100 = 90 (a floor would give 89).
  Bits seven = Flat(3, 3, 7);
  EXPECT_EQ(
      Apply(seven, Whole(seven), [](cBitFilter& f) { return f.MaskFilter(Mask(1, {-3}), 2, 100, 100, 100, false); })
          .At(0, 1, 1),
      90);
  // Sharpen at the corner reads five zeros of the frame: (15 * 100 - 3 * 100) / 7 = 171.4 -> 171.
  const FilterMask sharpen = GetMask(4).Mask;
  Bits out = Apply(pic, all, [&](cBitFilter& f) { return f.MaskFilter(sharpen, 7, 0, 0, 0, false); });
  EXPECT_EQ(out.At(2, 0, 0), 171);
  EXPECT_EQ(out.At(2, 4, 3), 100);  // inside: (15 - 8) * 100 / 7
  // Keep margins leaves the one-pixel band as it was.
  out = Apply(pic, all, [&](cBitFilter& f) { return f.MaskFilter(sharpen, 7, 0, 0, 0, true); });
  EXPECT_TRUE(SameBits(pic, out));
  // The region tests the window's centre only: one selected pixel changes and
  // reads its unselected neighbours.
  Bits spot = pic;
  spot.At(1, 5, 3) = 30;
  const RectRegion one = RectRegion::FromRect(4, 3, 5, 4);
  out = Apply(spot, one, [&](cBitFilter& f) { return f.MaskFilter(sharpen, 7, 0, 0, 0, true); });
  Bits expected = spot;
  expected.At(1, 4, 3) = (1500 - 7 * 100 - 30) / 7;  // 110
  EXPECT_TRUE(SameBits(expected, out));
}

TEST(MaskFilter, StockMasksOnFlatPictures) {
  const Bits pic = Flat(6, 5, 60);
  const RectRegion all = Whole(pic);
  auto stock = [&](int index, bool keep) {
    const UserFilterRecord r = GetMask(index);
    return Apply(pic, all,
                 [&](cBitFilter& f) { return f.MaskFilter(r.Mask, r.Divisor, r.AddRed, r.AddGreen, r.AddBlue, keep); });
  };
  // Engrave [SE]: -60 + 60 + 128 = 128; where the lower-right weight reads the frame, -60 + 128 = 68.
  Bits out = stock(13, false);
  EXPECT_EQ(out.At(0, 2, 2), 128);
  EXPECT_EQ(out.At(0, 5, 2), 68);
  EXPECT_EQ(out.At(0, 2, 4), 68);
  out = stock(13, true);
  for (int y = 1; y < 4; ++y)
    for (int x = 1; x < 5; ++x) EXPECT_EQ(out.At(1, x, y), 128);
  // Contour: 0 + 255 inside, more than 255 at the edges: white everywhere.
  EXPECT_TRUE(SameBits(Flat(6, 5, 255), stock(8, false)));
}

TEST(MaskFilter, FailuresLeaveThePictureUnchanged) {
  const Bits pic = Noise(20, 20, 9);
  FilterMask seven = Mask(7, std::vector<int32_t>(49, 1));
  // Divisor 0, and a 7 x 7 window reaching three pixels past the picture.
  EXPECT_TRUE(SameBits(
      pic, Apply(pic, Whole(pic), [&](cBitFilter& f) { return f.MaskFilter(GetMask(0).Mask, 0, 0, 0, 0, false); })));
  EXPECT_TRUE(
      SameBits(pic, Apply(pic, Whole(pic), [&](cBitFilter& f) { return f.MaskFilter(seven, 49, 0, 0, 0, false); })));
  EXPECT_TRUE(SameBits(
      pic, Apply(pic, Whole(pic), [&](cBitFilter& f) { return f.MaskFilter(FilterMask{}, 1, 0, 0, 0, false); })));
  // One pixel further in, the same window fits the array.
  const RectRegion inner = RectRegion::FromRect(1, 1, 19, 19);
  EXPECT_TRUE(SameBits(ReferenceMask(pic, inner, seven, 49, 0, 0, 0, false),
                       Apply(pic, inner, [&](cBitFilter& f) { return f.MaskFilter(seven, 49, 0, 0, 0, false); })));
  // Weights whose sums leave 32 bits: the arithmetic overflows and nothing changes.
  const FilterMask huge = Mask(3, {0, 0, 0, 0, 1 << 30, 0, 0, 0, 0});
  EXPECT_TRUE(
      SameBits(pic, Apply(pic, Whole(pic), [&](cBitFilter& f) { return f.MaskFilter(huge, 1 << 30, 0, 0, 0, true); })));
  // Large but safe: 2^22 * c / 2^22 = c.
  const FilterMask big = Mask(3, {0, 0, 0, 0, 1 << 22, 0, 0, 0, 0});
  EXPECT_TRUE(
      SameBits(pic, Apply(pic, Whole(pic), [&](cBitFilter& f) { return f.MaskFilter(big, 1 << 22, 0, 0, 0, false); })));
}

TEST(MaskFilter, CommandLineFormWithNegativeWeights) {
  const FilterMethod* method = FindFilterMethod("MaskFilter");
  ASSERT_NE(method, nullptr);
  std::vector<ArgValue> values;
  std::string error;
  const std::vector<std::string> words = {"3",  "-1", "-1", "-1", "-1", "15", "-1",   "-1",
                                          "-1", "-1", "7",  "0",  "0",  "0",  "false"};
  ASSERT_TRUE(ParseMethodArguments(*method, words, kNoise, nullptr, values, error)) << error;
  cBitFilter f;
  f.SetBits(kNoise);
  f.BitsRegion(&kRegions[2]);
  const MethodResult r = InvokeMethod(f, *method, values);
  ASSERT_TRUE(r.pixels);
  EXPECT_TRUE(SameBits(ReferenceMask(kNoise, kRegions[2], GetMask(4).Mask, 7, 0, 0, 0, false), *r.pixels));

  test::TempDir dir;
  Bits small = MakePicture(5, 4, [](int x, int y, int c) { return 40 * x + 20 * y + c; });
  ASSERT_TRUE(SavePictureFile(dir / "a.png", small, error)) << error;
  std::vector<std::string> args = {"filter", "MaskFilter"};
  args.insert(args.end(), words.begin(), words.end());
  args.insert(args.end(), {(dir / "a.png").string(), (dir / "b.png").string()});
  const auto cli = test::RunCli(args);
  ASSERT_EQ(cli.exit_code, 0) << cli.err;
  Bits written;
  ASSERT_TRUE(LoadPictureFile(dir / "b.png", written, error)) << error;
  const Bits expected = ReferenceMask(small, Whole(small), GetMask(4).Mask, 7, 0, 0, 0, false);
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 5; ++x)
      for (int c = 0; c < 3; ++c) EXPECT_EQ(written.At(c, x, y), expected.At(c, x, y)) << x << "," << y;
}

TEST(Blurs, EightNeighboursAtDistanceTruncated) {
  for (int d : {1, 2})
    for (const RectRegion& region : kRegions)
      EXPECT_TRUE(
          SameBits(Reference(kNoise, region, 0, [&](int x, int y, int c) { return Ring(kNoise, x, y, c, d) / 8; }),
                   Apply(kNoise, region, [&](cBitFilter& f) { return f.Blurs(d); })))
          << "range " << d;
  EXPECT_TRUE(SameBits(kNoise, Apply(kNoise, kRegions[0], [](cBitFilter& f) { return f.Blurs(0); })));
  // Corner of a flat 100: three neighbours in the picture, five in the zero frame: 300 / 8 = 37.
  const Bits pic = Flat(5, 5, 100);
  EXPECT_EQ(Apply(pic, Whole(pic), [](cBitFilter& f) { return f.Blurs(1); }).At(0, 0, 0), 37);
  // Range 3 reads past the array from the picture's edge: the filter fails.
  EXPECT_TRUE(SameBits(kNoise, Apply(kNoise, kRegions[0], [](cBitFilter& f) { return f.Blurs(3); })));
  EXPECT_TRUE(
      SameBits(Reference(kNoise, kRegions[1], 0, [&](int x, int y, int c) { return Ring(kNoise, x, y, c, 3) / 8; }),
               Apply(kNoise, kRegions[1], [](cBitFilter& f) { return f.Blurs(3); })));
}

TEST(SoftenSharpenEdgeEnhance, FormulasWithTheirInsets) {
  for (const RectRegion& region : kRegions) {
    for (int level : {0, 30, 100, 103}) {
      const int w = 101 - level, div = w + 4;
      auto soften = [&](int x, int y, int c) {
        const int n = w * kNoise.At(c, x, y) + kNoise.At(c, x - 1, y) + kNoise.At(c, x + 1, y) +
                      kNoise.At(c, x, y - 1) + kNoise.At(c, x, y + 1);
        return n / div < 0 || n / div > 255 ? -1 : n / div;  // a store out of range is skipped
      };
      EXPECT_TRUE(SameBits(Reference(kNoise, region, 1, soften),
                           Apply(kNoise, region, [&](cBitFilter& f) { return f.SOFTEN(level); })))
          << "SOFTEN " << level;
    }
    for (int level : {0, 10, 40, 107, 120}) {
      auto sharpen = [&](int x, int y, int c) {
        return Clamp255(((124 - level) * kNoise.At(c, x, y) - 2 * Ring(kNoise, x, y, c, 1)) / (108 - level));
      };
      EXPECT_TRUE(SameBits(Reference(kNoise, region, 1, sharpen),
                           Apply(kNoise, region, [&](cBitFilter& f) { return f.SHARPEN(level); })))
          << "SHARPEN " << level;
      auto edge = [&](int x, int y, int c) {
        return Clamp255(((level + 9) * kNoise.At(c, x, y) - Ring(kNoise, x, y, c, 1)) / (level + 1));
      };
      EXPECT_TRUE(SameBits(Reference(kNoise, region, 0, edge),
                           Apply(kNoise, region, [&](cBitFilter& f) { return f.EDGEENHANCE(level); })))
          << "EDGEENHANCE " << level;
    }
  }
  // Hand cases. SOFTEN 100 is the five-point mean: (10 + 20 + 30 + 40 + 51) / 5 = 30.2 -> 30.
  const int crossValues[3][3] = {{0, 40, 0}, {20, 10, 30}, {0, 51, 0}};  // [y][x]
  Bits cross = MakePicture(3, 3, [&](int x, int y, int c) { return c == 0 ? crossValues[y][x] : 0; });
  EXPECT_EQ(Apply(cross, Whole(cross), [](cBitFilter& f) { return f.SOFTEN(100); }).At(0, 1, 1), 30);
  // SOFTEN 103: (-2 * 10 + 141) / 2 = 60; with a centre of 200, (-400 + 141) / 2 < 0 is skipped.
  EXPECT_EQ(Apply(cross, Whole(cross), [](cBitFilter& f) { return f.SOFTEN(103); }).At(0, 1, 1), 60);
  cross.At(0, 1, 1) = 200;
  EXPECT_EQ(Apply(cross, Whole(cross), [](cBitFilter& f) { return f.SOFTEN(103); }).At(0, 1, 1), 200);
  // Divisors of 0: SOFTEN 105, SHARPEN 108, EDGEENHANCE -1 change nothing.
  EXPECT_TRUE(SameBits(kNoise, Apply(kNoise, kRegions[0], [](cBitFilter& f) { return f.SOFTEN(105); })));
  EXPECT_TRUE(SameBits(kNoise, Apply(kNoise, kRegions[0], [](cBitFilter& f) { return f.SHARPEN(108); })));
  EXPECT_TRUE(SameBits(kNoise, Apply(kNoise, kRegions[0], [](cBitFilter& f) { return f.EDGEENHANCE(-1); })));
  // EDGEENHANCE 10 at the corner of a flat 100: (19 * 100 - 300) / 11 = 145.45 -> 145.
  const Bits flat = Flat(4, 4, 100);
  EXPECT_EQ(Apply(flat, Whole(flat), [](cBitFilter& f) { return f.EDGEENHANCE(10); }).At(2, 0, 0), 145);
}

Bits ReferenceEmboss(const Bits& in, const RectRegion& region, int weight, int sign) {
  Bits out = in;
  const int maxX = in.Width() - 1, maxY = in.Height() - 1;
  const Rect b = region.Box();
  for (int y = b.top; y < b.bottom; ++y)
    for (int x = b.left; x < b.right; ++x) {
      if (!region.Contains(x, y)) continue;
      if (x == maxX) {
        for (int c = 0; c < 3; ++c) out.At(c, x, y) = out.At(c, maxX - 1, y);
      } else if (y == maxY) {
        for (int c = 0; c < 3; ++c) out.At(c, x, y) = out.At(c, x, maxY - 1);
      } else {
        int sum = 0;
        for (int c = 0; c < 3; ++c) {
          const int d = sign * (in.At(c, x, y) - in.At(c, x + 1, y + 1));
          sum += ReferenceRound(std::fabs(d * (weight / 10.0) + 128));
        }
        for (int c = 0; c < 3; ++c) out.At(c, x, y) = static_cast<uint8_t>(Clamp255(sum / 3));
      }
    }
  return out;
}

TEST(EmbossEngrave, GreyDifferenceAndRepeatedLastRowAndColumn) {
  for (const RectRegion& region : kRegions)
    for (int weight : {0, 10, 30, 50, 5, -7}) {
      EXPECT_TRUE(SameBits(ReferenceEmboss(kNoise, region, weight, 1),
                           Apply(kNoise, region, [&](cBitFilter& f) { return f.EMBOSS(weight); })));
      EXPECT_TRUE(SameBits(ReferenceEmboss(kNoise, region, weight, -1),
                           Apply(kNoise, region, [&](cBitFilter& f) { return f.Engrave(weight); })));
    }
  const Bits flat = Flat(5, 4, 77);
  EXPECT_TRUE(SameBits(Flat(5, 4, 128), Apply(flat, Whole(flat), [](cBitFilter& f) { return f.EMBOSS(30); })));
  // Red rises by 10 a column, blue and green by 1 a column; weight 5 (k = 0.5):
  // red |-10 * 0.5 + 128| = 123, blue and green 127.5 -> 128 (ties to even): (123 + 256) / 3 = 126.
  // Engrave: 133 and 128.5 -> 128: (133 + 256) / 3 = 129. The last column and row repeat it.
  const Bits ramp = MakePicture(5, 4, [](int x, int, int c) { return c == 2 ? 10 * x : x; });
  const Bits e = Apply(ramp, Whole(ramp), [](cBitFilter& f) { return f.EMBOSS(5); });
  const Bits g = Apply(ramp, Whole(ramp), [](cBitFilter& f) { return f.Engrave(5); });
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 5; ++x) {
      EXPECT_EQ(e.At(1, x, y), 126) << x << "," << y;
      EXPECT_EQ(g.At(0, x, y), 129) << x << "," << y;
    }
}

TEST(Contour, EdgesKeepTheirResidueBackgroundTakesTheColour) {
  for (int level : {-3, 200, 256})
    for (const RectRegion& region : kRegions) {
      Bits expected = Reference(kNoise, region, 0, [&](int x, int y, int c) {
        int a = 0;
        for (int k = 0; k < 3; ++k) a += Clamp255(8 * kNoise.At(k, x, y) - Ring(kNoise, x, y, k, 1) + 255);
        const int colour[3] = {0x56, 0x34, 0x12};  // blue, green, red of 0x563412
        return a / 3 >= level ? colour[c] : Clamp255(8 * kNoise.At(c, x, y) - Ring(kNoise, x, y, c, 1) + 255);
      });
      EXPECT_TRUE(
          SameBits(expected, Apply(kNoise, region, [&](cBitFilter& f) { return f.CONTOUR(level, Colour{0x563412}); })));
    }
  // The preset colour 255255255 is 0x0F36E2D7: red 215, green 226, blue 54, everywhere on a flat picture at 255.
  const Bits flat = Flat(4, 3, 90);
  const Bits out = Apply(flat, Whole(flat), [](cBitFilter& f) { return f.CONTOUR(255, Colour{255255255}); });
  EXPECT_TRUE(SameBits(MakePicture(4, 3, [](int, int, int c) { return c == 0 ? 54 : c == 1 ? 226 : 215; }), out));
  // Above 255 the colour never wins and the flat residue is white.
  EXPECT_TRUE(
      SameBits(Flat(4, 3, 255), Apply(flat, Whole(flat), [](cBitFilter& f) { return f.CONTOUR(256, Colour{0}); })));
}

TEST(RankFilters, WindowsInsetsAndFrame) {
  auto rank = [&](bool largest, auto&& take) {
    return [&, largest, take](int x, int y, int c) {
      int v = largest ? 0 : 255;
      for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx)
          if (take(dx, dy))
            v = largest ? std::max<int>(v, kNoise.At(c, x + dx, y + dy))
                        : std::min<int>(v, kNoise.At(c, x + dx, y + dy));
      return v;
    };
  };
  auto all9 = [](int, int) { return true; };
  auto cross = [](int dx, int dy) { return std::abs(dx) != std::abs(dy) || dx == 0; };
  auto diagonal = [](int dx, int dy) { return std::abs(dx) == std::abs(dy); };
  for (const RectRegion& region : kRegions) {
    EXPECT_TRUE(SameBits(Reference(kNoise, region, 0, rank(true, all9)),
                         Apply(kNoise, region, [](cBitFilter& f) { return f.DILATE(); })));
    EXPECT_TRUE(SameBits(Reference(kNoise, region, 0, rank(false, all9)),
                         Apply(kNoise, region, [](cBitFilter& f) { return f.ERODE(); })));
    for (int op : {0, 1}) {
      EXPECT_TRUE(SameBits(Reference(kNoise, region, 1 - op, rank(op == 1, cross)),
                           Apply(kNoise, region, [&](cBitFilter& f) { return f.RankFilterN4(op); })));
      EXPECT_TRUE(SameBits(Reference(kNoise, region, 1 - op, rank(op == 1, diagonal)),
                           Apply(kNoise, region, [&](cBitFilter& f) { return f.RankFilterND(op); })));
    }
  }
  // ERODE at the corner of a flat picture meets the zero frame; DILATE spreads a spot to 3 x 3.
  const Bits flat = Flat(4, 4, 100);
  EXPECT_EQ(Apply(flat, Whole(flat), [](cBitFilter& f) { return f.ERODE(); }).At(1, 0, 0), 0);
  EXPECT_EQ(Apply(flat, Whole(flat), [](cBitFilter& f) { return f.ERODE(); }).At(1, 1, 1), 100);
  // A region reaching into the frame: the five-point filters fail as a whole;
  // DILATE only skips the pixels whose window leaves the array.
  const RectRegion past = RectRegion::FromRect(-2, 0, 4, 4);
  EXPECT_TRUE(SameBits(flat, Apply(flat, past, [](cBitFilter& f) { return f.RankFilterN4(1); })));
  const Bits d = Apply(flat, past, [](cBitFilter& f) { return f.DILATE(); });
  EXPECT_EQ(d.At(0, -2, 1), 0);
  EXPECT_EQ(d.At(0, -1, 1), 100);
}

TEST(Relief, WeightedDifferencesHalvedTruncatedPlusFifty) {
  for (const RectRegion& region : kRegions) {
    auto relief = [&](int x, int y, int c) {
      auto v = [&](int dx, int dy) { return int(kNoise.At(c, x + dx, y + dy)); };
      const int s = 2 * v(-1, -1) + v(-1, 0) + v(0, -1) - v(0, 1) - v(1, 0) - 2 * v(1, 1);
      return Clamp255(static_cast<int>(std::trunc((v(0, 0) + s) / 2.0)) + 50);
    };
    EXPECT_TRUE(SameBits(Reference(kNoise, region, 0, relief),
                         Apply(kNoise, region, [](cBitFilter& f) { return f.RELIEF(); })));
  }
  // c = 1, the pixel below 4: trunc(-3 / 2) + 50 = 49 (a floor would give 48).
  Bits pic = Flat(3, 3, 0);
  pic.At(2, 1, 1) = 1;
  pic.At(2, 1, 2) = 4;
  EXPECT_EQ(Apply(pic, Whole(pic), [](cBitFilter& f) { return f.RELIEF(); }).At(2, 1, 1), 49);
}

TEST(Painting, MeanOfTheCalmestOfThreeWindows) {
  for (const RectRegion& region : kRegions) {
    auto painting = [&](int x, int y, int c) {
      const int corners[3][2] = {{x - 2, y - 2}, {x, y - 2}, {x - 2, y}};
      int best = 99999, mean = 0;
      for (const auto& w : corners) {
        int sum = 0, spread = 0;
        for (int j = 0; j < 3; ++j)
          for (int i = 0; i < 3; ++i) sum += kNoise.At(c, w[0] + i, w[1] + j);
        for (int j = 0; j < 3; ++j)
          for (int i = 0; i < 3; ++i) spread += std::abs(kNoise.At(c, w[0] + i, w[1] + j) - sum / 9);
        if (spread < best) {
          best = spread;
          mean = sum / 9;
        }
      }
      return mean;
    };
    EXPECT_TRUE(SameBits(Reference(kNoise, region, 0, painting),
                         Apply(kNoise, region, [](cBitFilter& f) { return f.PAINTING(); })));
  }
  // A flat picture stays as it is wherever window 0 lies in the picture, the
  // lower and right edges included. At (0, 0) window 0 holds eight zeros of
  // the frame and one 33: mean 3, spread 8 * 3 + 30 = 54, less than the 132
  // of the other two (six zeros, three 33s, mean 11).
  const Bits flat = Flat(6, 6, 33);
  const Bits calm = Apply(flat, Whole(flat), [](cBitFilter& f) { return f.PAINTING(); });
  for (int y = 2; y < 6; ++y)
    for (int x = 2; x < 6; ++x) EXPECT_EQ(calm.At(2, x, y), 33) << x << "," << y;
  EXPECT_EQ(calm.At(2, 0, 0), 3);
  // At (2, 2): window 0 holds columns 10, 10, 13 (mean 99 / 9 = 11, spread 3 * (1 + 1 + 2) = 12), window 1
  // columns 13, 16, 16 (mean 135 / 9 = 15, spread 3 * (2 + 1 + 1) = 12), window 2 rows 10/0/255 (spread far
  // larger). The tie goes to window 0: 11.
  const int columns[5] = {10, 10, 13, 16, 16};
  const Bits tie = MakePicture(5, 5, [&](int x, int y, int) { return y < 3 ? columns[x] : y == 3 ? 0 : 255; });
  const RectRegion spot = RectRegion::FromRect(2, 2, 3, 3);
  EXPECT_EQ(Apply(tie, spot, [](cBitFilter& f) { return f.PAINTING(); }).At(0, 2, 2), 11);
}

TEST(Diffuse, SamplesSourcesTestedAgainstTheRegion) {
  for (const RectRegion& region : {kRegions[1], kRegions[2]})
    for (auto [h, v] : {std::pair{5, 10}, std::pair{10, 30}, std::pair{3, 0}}) {
      cBitFilter draws;
      draws.SeedRandom(11);
      Bits expected = kNoise;
      const Rect b = region.Box();
      for (int y = b.top; y < b.bottom; ++y)
        for (int x = b.left; x < b.right; ++x) {
          const double r1 = draws.Random(), r2 = draws.Random();
          const int sx = ReferenceRound(x + r1 * h - h / 2.0), sy = ReferenceRound(y + r2 * v - v / 2.0);
          if (region.Contains(sx, sy))
            for (int c = 0; c < 3; ++c) expected.At(c, x, y) = kNoise.At(c, sx, sy);
        }
      const Bits out = Apply(kNoise, region, [&](cBitFilter& f) {
        f.SeedRandom(11);
        return f.DIFFUSE(h, v);
      });
      EXPECT_TRUE(SameBits(expected, out)) << h << " " << v;
    }
  // Ranges 0 and 0 give the input back, and two draws per point of the box are still made.
  cBitFilter f, g;
  f.SetBits(kNoise);
  f.BitsRegion(&kRegions[1]);  // 15 x 9
  f.SeedRandom(4);
  g.SeedRandom(4);
  EXPECT_TRUE(SameBits(kNoise, f.DIFFUSE(0, 0)));
  for (int i = 0; i < 2 * 15 * 9; ++i) g.Random();
  EXPECT_EQ(f.Random(), g.Random());
}

TEST(ConvolutionFrame, OneSelectedPixelAtThePicturesEdge) {
  // A 3 x 3 picture with one selected pixel. Neighbour reads past the
  // picture meet the zero frame; the unselected neighbours are read, never
  // written; the filters with an inset of 1 have an empty box.
  const int values[3][3] = {{10, 20, 30}, {40, 50, 60}, {70, 80, 41}};  // [y][x]
  const Bits pic = MakePicture(3, 3, [&](int x, int y, int) { return values[y][x]; });
  const RectRegion corner = RectRegion::FromRect(2, 2, 3, 3);  // (MaxX, MaxY)
  const RectRegion side = RectRegion::FromRect(2, 1, 3, 2);    // (MaxX, 1)
  const RectRegion origin = RectRegion::FromRect(0, 0, 1, 1);
  auto only = [&](int x, int y, int v) {
    Bits expected = pic;
    for (int c = 0; c < 3; ++c) expected.At(c, x, y) = static_cast<uint8_t>(v);
    return expected;
  };
  auto run = [&](const RectRegion& region, const std::function<Bits(cBitFilter&)>& call) {
    return Apply(pic, region, call);
  };
  // Blurs 1 at (2, 2): (50 + 60 + 80 + five zeros) / 8 = 23.75 -> 23.
  EXPECT_TRUE(SameBits(only(2, 2, 23), run(corner, [](cBitFilter& f) { return f.Blurs(1); })));
  // EDGEENHANCE 0 at (0, 0): 9 * 10 - (20 + 40 + 50) = -20, Trunc(-20 / 1) clamps to 0.
  EXPECT_TRUE(SameBits(only(0, 0, 0), run(origin, [](cBitFilter& f) { return f.EDGEENHANCE(0); })));
  // DILATE / ERODE at (2, 2): 80 (its own window's largest) and 0 (the frame).
  EXPECT_TRUE(SameBits(only(2, 2, 80), run(corner, [](cBitFilter& f) { return f.DILATE(); })));
  EXPECT_TRUE(SameBits(only(2, 2, 0), run(corner, [](cBitFilter& f) { return f.ERODE(); })));
  // RankFilterN4 1 (inset 0): max of 41, 60, 80 and two zeros = 80. With op 0
  // the inset of 1 leaves a one-pixel box empty, although the smallest would be 0.
  EXPECT_TRUE(SameBits(only(2, 2, 80), run(corner, [](cBitFilter& f) { return f.RankFilterN4(1); })));
  EXPECT_TRUE(SameBits(pic, run(corner, [](cBitFilter& f) { return f.RankFilterN4(0); })));
  EXPECT_TRUE(SameBits(pic, run(corner, [](cBitFilter& f) { return f.SOFTEN(50); })));
  EXPECT_TRUE(SameBits(pic, run(corner, [](cBitFilter& f) { return f.SHARPEN(50); })));
  // RELIEF at (2, 2): S = 2 * 50 + 80 + 60 - 0 - 0 - 2 * 0 = 240; Trunc((41 + 240) / 2) = 140, + 50 = 190.
  EXPECT_TRUE(SameBits(only(2, 2, 190), run(corner, [](cBitFilter& f) { return f.RELIEF(); })));
  // RELIEF at (0, 0): S = 0 + 0 + 0 - 40 - 20 - 2 * 50 = -160; Trunc(-150 / 2) = -75, + 50 = -25 -> 0.
  EXPECT_TRUE(SameBits(only(0, 0, 0), run(origin, [](cBitFilter& f) { return f.RELIEF(); })));
  // EMBOSS on the last column repeats the output beside it, which is the
  // input there since (1, 1) is not selected: 50.
  EXPECT_TRUE(SameBits(only(2, 1, 50), run(side, [](cBitFilter& f) { return f.EMBOSS(30); })));
  // CONTOUR at (0, 0): e = 80 - 110 + 255 = 225 per channel; level 226 keeps
  // it, level 225 paints the colour.
  EXPECT_TRUE(SameBits(only(0, 0, 225), run(origin, [](cBitFilter& f) { return f.CONTOUR(226, Colour{0}); })));
  EXPECT_TRUE(SameBits(only(0, 0, 0), run(origin, [](cBitFilter& f) { return f.CONTOUR(225, Colour{0}); })));
  // MaskFilter "Blur" at (2, 2): the window from (1, 1) holds 50 + 60 + 80 + 41
  // and five zeros: 231 / 9 = 25.67 -> 25. Keep margins puts the corner out of reach.
  const UserFilterRecord blur = GetMask(0);
  EXPECT_TRUE(SameBits(only(2, 2, 25),
                       run(corner, [&](cBitFilter& f) { return f.MaskFilter(blur.Mask, 9, 0, 0, 0, false); })));
  EXPECT_TRUE(
      SameBits(pic, run(corner, [&](cBitFilter& f) { return f.MaskFilter(blur.Mask, 9, 0, 0, 0, true); })));
  // PAINTING at (2, 2): window 0 (columns and rows 0..2) has mean 401 / 9 = 44
  // and spread 34 + 24 + 14 + 4 + 6 + 16 + 26 + 36 + 3 = 163; window 1
  // (columns 2..4) holds 30, 60, 41 and six zeros: mean 14, spread 16 + 46 +
  // 27 + 6 * 14 = 173; window 2 (rows 2..4) 70, 80, 41 and six zeros: mean 21,
  // spread 49 + 59 + 20 + 6 * 21 = 254. Window 0 wins: 44.
  EXPECT_TRUE(SameBits(only(2, 2, 44), run(corner, [](cBitFilter& f) { return f.PAINTING(); })));
}

TEST(ConvolutionFrame, RegionsReachingPastTheArray) {
  // Regions reaching past the frame: filters that do not skip failed
  // statements return the picture unchanged, the others change only pixels
  // inside the array, nothing reads or writes past it (the sanitizer build
  // watches), and two threads agree with one.
  const Bits pic = Noise(12, 9, 21);
  const std::vector<std::pair<std::function<Bits(cBitFilter&)>, bool>> filters = {
      {[](cBitFilter& f) { return f.MaskFilter(GetMask(4).Mask, 7, 0, 0, 0, false); }, true},
      {[](cBitFilter& f) { return f.Blurs(1); }, true},
      {[](cBitFilter& f) { return f.CONTOUR(100, Colour{-1}); }, true},
      {[](cBitFilter& f) { return f.RankFilterN4(0); }, true},
      {[](cBitFilter& f) { return f.RankFilterND(1); }, true},
      {[](cBitFilter& f) { return f.MaskFilter(GetMask(1).Mask, 25, 0, 0, 0, true); }, false},
      {[](cBitFilter& f) { return f.SOFTEN(30); }, false},
      {[](cBitFilter& f) { return f.SHARPEN(40); }, false},
      {[](cBitFilter& f) { return f.EDGEENHANCE(10); }, false},
      {[](cBitFilter& f) { return f.EMBOSS(30); }, false},
      {[](cBitFilter& f) { return f.Engrave(10); }, false},
      {[](cBitFilter& f) { return f.DILATE(); }, false},
      {[](cBitFilter& f) { return f.ERODE(); }, false},
      {[](cBitFilter& f) { return f.RELIEF(); }, false},
      {[](cBitFilter& f) { return f.PAINTING(); }, false},
      {[](cBitFilter& f) {
         f.SeedRandom(3);
         return f.DIFFUSE(7, 7);
       },
       false}};
  for (const RectRegion& region : {RectRegion::FromRect(-6, -5, 18, 15), RectRegion::FromEllipse(-9, -3, 20, 13)})
    for (size_t i = 0; i < filters.size(); ++i) {
      const Bits out = Apply(pic, region, filters[i].first);
      if (filters[i].second) {
        EXPECT_TRUE(SameBits(pic, out)) << "filter " << i;
      }
    }
}

}  // namespace
}  // namespace kelvane
