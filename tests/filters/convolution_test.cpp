// Convolution and rank filters: each against a plain reference loop written
// here from the filter's formula, plus hand-worked edge cases and quirks.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <tuple>
#include <vector>

#include "filters/filter_catalogue.h"
#include "filters/neighbourhood_test_support.h"
#include "filters/stock_masks.h"
#include "imagefiles/picture_io.h"
#include "test_support.h"

namespace kelvane {
namespace {

using namespace test;

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

// Sum of the eight neighbours at distance d > 0.
int Ring(const Bits& in, int x, int y, int c, int d) {
  int s = 0;
  for (int dy = -d; dy <= d; dy += d)
    for (int dx = -d; dx <= d; dx += d)
      if (dx || dy) s += in.At(c, x + dx, y + dy);
  return s;
}

// MaskFilter exactly as its steps read: loop over the window corners, sums
// columns-outer, test the centre, divide, add, clamp.
Bits ReferenceMask(const Bits& in, const RectRegion& region, const FilterMask& m, int divisor, int addR, int addG,
                   int addB, bool keep) {
  Bits out = in;
  const int u = m.size - 1, h = u / 2;
  const Rect b = region.Box();
  int left = b.left - h, right = b.right - 1 - h, top = b.top - h, bottom = b.bottom - 1 - h;
  if (keep) {
    left = std::max(left, 0);
    top = std::max(top, 0);
    right = std::min(right, in.MaxX() - u);
    bottom = std::min(bottom, in.MaxY() - u);
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
              static_cast<uint8_t>(Clamp255(static_cast<long>(std::trunc(double(sum[c]) / divisor)) + adds[c]));
    }
  return out;
}

FilterMask Mask(int n, std::vector<int32_t> w) { return FilterMask{n, std::move(w)}; }

const Bits kNoise = Noise(23, 17, 5);
const RectRegion kRegions[] = {RectRegion::FromRect(0, 0, 23, 17), RectRegion::FromRect(4, 3, 19, 12),
                               RectRegion::FromEllipse(1, 0, 22, 17)};

int N(int c, int x, int y) { return kNoise.At(c, x, y); }

// The largest or smallest of the 3 x 3 window's points that take(dx, dy) keeps.
std::function<int(int, int, int)> RankOf(bool largest, bool (*take)(int, int)) {
  return [=](int x, int y, int c) {
    int v = largest ? 0 : 255;
    for (int dy = -1; dy <= 1; ++dy)
      for (int dx = -1; dx <= 1; ++dx)
        if (take(dx, dy)) v = largest ? std::max(v, N(c, x + dx, y + dy)) : std::min(v, N(c, x + dx, y + dy));
    return v;
  };
}

// PAINTING: the mean of the first of the three windows with the smallest spread.
int PaintingOf(int x, int y, int c) {
  const int corners[3][2] = {{x - 2, y - 2}, {x, y - 2}, {x - 2, y}};
  int best = 99999, mean = 0;
  for (const auto& w : corners) {
    int sum = 0, spread = 0;
    for (int k = 0; k < 9; ++k) sum += N(c, w[0] + k % 3, w[1] + k / 3);
    for (int k = 0; k < 9; ++k) spread += std::abs(N(c, w[0] + k % 3, w[1] + k / 3) - sum / 9);
    if (spread < best) best = spread, mean = sum / 9;
  }
  return mean;
}

TEST(StockMasks, NamesAndGetMaskParsing) {
  EXPECT_EQ(GetMask(0).Name, "Blur");
  EXPECT_EQ(GetMask(6).Name, "Bump [NW]");
  EXPECT_EQ(GetMask(11).Name, "Contour more [soft]");
  EXPECT_EQ(GetMask(13).Name, "Engrave [SE]");
  const UserFilterRecord bump = GetMask(6);  // "-1|-1|0|-1|4|1|0|1|1", "4|0|0|0"
  EXPECT_EQ(bump.Mask, Mask(3, {-1, -1, 0, -1, 4, 1, 0, 1, 1}));
  EXPECT_EQ(bump.Mask.At(1, 2), 1);  // row 1, column 2: right of the centre
  EXPECT_EQ(bump.Divisor, 4);
  EXPECT_EQ(GetMask(1).Mask, Mask(5, std::vector<int32_t>(25, 1)));
  EXPECT_EQ(GetMask(1).Divisor, 25);
  EXPECT_EQ(GetMask(14), UserFilterRecord{});
  EXPECT_EQ(GetMask(-1), UserFilterRecord{});
}

TEST(MaskFilter, AgreesWithReferenceLoopEverywhereIncludingMargins) {
  std::mt19937 rng(3);
  std::vector<int32_t> random5(25);
  for (int32_t& w : random5) w = static_cast<int>(rng() % 11) - 5;
  const std::tuple<FilterMask, int, int, int, int> cases[] = {
      {GetMask(4).Mask, 7, 0, 0, 0},
      {GetMask(6).Mask, 4, 10, -20, 30},
      {GetMask(1).Mask, 25, 0, 0, 0},
      {Mask(2, {1, 2, -3, 4}), -3, 100, 50, 0},
      {Mask(1, {-3}), 2, 300, 100, 5},  // Trunc, not Floor, of negative sums
      {Mask(3, {50, -30, 20, 10, 40, -10, 5, 15, 20}), 37, -9, 0, 9},  // sums past 16 bits
      {Mask(5, random5), -7, 40, 128, 255}};
  for (const auto& [mask, divisor, r, g, b] : cases)
    for (const RectRegion& region : kRegions)
      for (bool keep : {false, true})
        EXPECT_TRUE(SameBits(ReferenceMask(kNoise, region, mask, divisor, r, g, b, keep),
                             Apply(kNoise, region, [&](cBitFilter& f) { return f.MaskFilter(mask, divisor, r, g, b, keep); })))
            << "size " << mask.size << " divisor " << divisor << " keep " << keep;
}

TEST(MaskFilter, CommandLineFormWithNegativeWeights) {
  TempDir dir;
  std::string error;
  const Bits small = MakePicture(5, 4, [](int x, int y, int c) { return 40 * x + 20 * y + c; });
  ASSERT_TRUE(SavePictureFile(dir / "a.png", small, error)) << error;
  const auto cli = RunCli({"filter", "MaskFilter", "3", "-1", "-1", "-1", "-1", "15", "-1", "-1", "-1", "-1", "7", "0",
                           "0", "0", "false", (dir / "a.png").string(), (dir / "b.png").string()});
  ASSERT_EQ(cli.exit_code, 0) << cli.err;
  Bits written;
  ASSERT_TRUE(LoadPictureFile(dir / "b.png", written, error)) << error;
  const Bits expected = ReferenceMask(small, Whole(small), GetMask(4).Mask, 7, 0, 0, 0, false);
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 5; ++x)
      for (int c = 0; c < 3; ++c) EXPECT_EQ(written.At(c, x, y), expected.At(c, x, y)) << x << "," << y;
}

TEST(FixedFilters, AgreeWithTheirFormulasOnEveryRegion) {
  struct Row {
    std::string name;
    int inset;
    FilterCall call;
    std::function<int(int, int, int)> value;  // negative: the store is skipped
  };
  std::vector<Row> rows = {
      {"DILATE", 0, [](cBitFilter& f) { return f.DILATE(); }, RankOf(true, [](int, int) { return true; })},
      {"ERODE", 0, [](cBitFilter& f) { return f.ERODE(); }, RankOf(false, [](int, int) { return true; })},
      {"PAINTING", 0, [](cBitFilter& f) { return f.PAINTING(); }, PaintingOf},
      {"RELIEF", 0, [](cBitFilter& f) { return f.RELIEF(); }, [](int x, int y, int c) {
         const int s = 2 * N(c, x - 1, y - 1) + N(c, x - 1, y) + N(c, x, y - 1) - N(c, x, y + 1) - N(c, x + 1, y) -
                       2 * N(c, x + 1, y + 1);
         return Clamp255(static_cast<long>(std::trunc((N(c, x, y) + s) / 2.0)) + 50);
       }}};
  auto add = [&](const std::string& name, int level, int inset, FilterCall call, std::function<int(int, int, int)> v) {
    rows.push_back({name + " " + std::to_string(level), inset, std::move(call), std::move(v)});
  };
  for (int op : {0, 1}) {  // inset 1 - op
    add("RankFilterN4", op, 1 - op, [=](cBitFilter& f) { return f.RankFilterN4(op); },
        RankOf(op == 1, [](int dx, int dy) { return std::abs(dx) != std::abs(dy) || dx == 0; }));
    add("RankFilterND", op, 1 - op, [=](cBitFilter& f) { return f.RankFilterND(op); },
        RankOf(op == 1, [](int dx, int dy) { return std::abs(dx) == std::abs(dy); }));
  }
  for (int d : {1, 2})
    add("Blurs", d, 0, [=](cBitFilter& f) { return f.Blurs(d); },
        [=](int x, int y, int c) { return Ring(kNoise, x, y, c, d) / 8; });
  for (int level : {0, 30, 100, 103})
    add("SOFTEN", level, 1, [=](cBitFilter& f) { return f.SOFTEN(level); }, [=](int x, int y, int c) {
      const int n = (101 - level) * N(c, x, y) + N(c, x - 1, y) + N(c, x + 1, y) + N(c, x, y - 1) + N(c, x, y + 1);
      const int v = n / (105 - level);
      return v > 255 ? -1 : v;  // a store out of range is skipped
    });
  for (int level : {0, 10, 40, 107, 120}) {
    add("SHARPEN", level, 1, [=](cBitFilter& f) { return f.SHARPEN(level); }, [=](int x, int y, int c) {
      return Clamp255(((124 - level) * N(c, x, y) - 2 * Ring(kNoise, x, y, c, 1)) / (108 - level));
    });
    add("EDGEENHANCE", level, 0, [=](cBitFilter& f) { return f.EDGEENHANCE(level); }, [=](int x, int y, int c) {
      return Clamp255(((level + 9) * N(c, x, y) - Ring(kNoise, x, y, c, 1)) / (level + 1));
    });
  }
  for (int level : {-3, 200, 256})
    add("CONTOUR", level, 0, [=](cBitFilter& f) { return f.CONTOUR(level, Colour{0x563412}); }, [=](int x, int y, int c) {
      auto e = [&](int k) { return Clamp255(8 * N(k, x, y) - Ring(kNoise, x, y, k, 1) + 255); };
      const int colour[3] = {0x56, 0x34, 0x12};  // blue, green, red of 0x563412
      return (e(0) + e(1) + e(2)) / 3 >= level ? colour[c] : e(c);
    });
  for (const Row& row : rows)
    for (const RectRegion& region : kRegions)
      EXPECT_TRUE(SameBits(Reference(kNoise, region, row.inset, row.value), Apply(kNoise, region, row.call))) << row.name;
}

TEST(ConvolutionFrame, FailuresAndNeutralParametersLeaveThePicture) {
  // Blurs 0; Blurs 3 and a 7 x 7 mask reading past the array from the
  // picture's edge; divisors of 0; no mask; mask sums that leave 32 bits; and,
  // large but safe, 2^22 c / 2^22 = c.
  const FilterMask seven = Mask(7, std::vector<int32_t>(49, 1));
  auto centre = [](int32_t w) { return Mask(3, {0, 0, 0, 0, w, 0, 0, 0, 0}); };
  const FilterCall calls[] = {[](cBitFilter& f) { return f.Blurs(0); },
                              [](cBitFilter& f) { return f.Blurs(3); },
                              [&](cBitFilter& f) { return f.MaskFilter(seven, 49, 0, 0, 0, false); },
                              [](cBitFilter& f) { return f.MaskFilter(GetMask(0).Mask, 0, 0, 0, 0, false); },
                              [](cBitFilter& f) { return f.SOFTEN(105); },
                              [](cBitFilter& f) { return f.SHARPEN(108); },
                              [](cBitFilter& f) { return f.EDGEENHANCE(-1); },
                              [](cBitFilter& f) { return f.MaskFilter(FilterMask{}, 1, 0, 0, 0, false); },
                              [&](cBitFilter& f) { return f.MaskFilter(centre(1 << 30), 1 << 30, 0, 0, 0, true); },
                              [&](cBitFilter& f) { return f.MaskFilter(centre(1 << 22), 1 << 22, 0, 0, 0, false); }};
  for (size_t i = 0; i < std::size(calls); ++i) EXPECT_TRUE(SameBits(kNoise, Apply(kNoise, kRegions[0], calls[i]))) << i;
  // One pixel further in, the same windows fit the array.
  const RectRegion inner = RectRegion::FromRect(1, 1, 22, 16);
  EXPECT_TRUE(SameBits(ReferenceMask(kNoise, inner, seven, 49, 0, 0, 0, false), Apply(kNoise, inner, calls[2])));
  EXPECT_TRUE(SameBits(Reference(kNoise, kRegions[1], 0, [](int x, int y, int c) { return Ring(kNoise, x, y, c, 3) / 8; }),
                       Apply(kNoise, kRegions[1], calls[1])));
}

TEST(ConvolutionFrame, DesignedCasesOnFlatPictures) {
  const Bits flat = Flat(6, 5, 60);
  auto run = [&](const FilterCall& call) { return Apply(flat, Whole(flat), call); };
  auto stock = [&](int index) {
    const UserFilterRecord r = GetMask(index);
    return run([&](cBitFilter& f) { return f.MaskFilter(r.Mask, r.Divisor, r.AddRed, r.AddGreen, r.AddBlue, false); });
  };
  // Engrave [SE]: -60 + 60 + 128 = 128; where the lower-right weight reads the frame, -60 + 128 = 68.
  const Bits engraved = stock(13);
  EXPECT_EQ(engraved.At(0, 2, 2), 128);
  EXPECT_EQ(engraved.At(0, 5, 2), 68);
  EXPECT_EQ(engraved.At(0, 2, 4), 68);
  // Contour: 0 + 255 inside, more than 255 at the edges: white. EMBOSS: grey 128 everywhere.
  EXPECT_TRUE(SameBits(Flat(6, 5, 255), stock(8)));
  EXPECT_TRUE(SameBits(Flat(6, 5, 128), run([](cBitFilter& f) { return f.EMBOSS(30); })));
  // The CONTOUR preset colour 255255255 is 0x0F36E2D7: red 215, green 226, blue 54.
  EXPECT_TRUE(SameBits(MakePicture(6, 5, [](int, int, int c) { return c == 0 ? 54 : c == 1 ? 226 : 215; }),
                       run([](cBitFilter& f) { return f.CONTOUR(255, Colour{255255255}); })));
  // PAINTING at (2, 2): window 0 holds columns 10, 10, 13 (mean 99 / 9 = 11, spread 3 * (1 + 1 + 2) = 12),
  // window 1 columns 13, 16, 16 (mean 15, spread 3 * (2 + 1 + 1) = 12). The tie goes to window 0.
  const int columns[5] = {10, 10, 13, 16, 16};
  const Bits tie = MakePicture(5, 5, [&](int x, int y, int) { return y < 3 ? columns[x] : y == 3 ? 0 : 255; });
  EXPECT_EQ(Apply(tie, RectRegion::FromRect(2, 2, 3, 3), [](cBitFilter& f) { return f.PAINTING(); }).At(0, 2, 2), 11);
}

Bits ReferenceEmboss(const Bits& in, const RectRegion& region, int weight, int sign) {
  Bits out = in;
  const int maxX = in.MaxX(), maxY = in.MaxY();
  const Rect b = region.Box();
  for (int y = b.top; y < b.bottom; ++y)
    for (int x = b.left; x < b.right; ++x) {
      if (!region.Contains(x, y)) continue;
      const int sx = x == maxX ? maxX - 1 : x, sy = x != maxX && y == maxY ? maxY - 1 : y;
      if (sx != x || sy != y) {  // the last column, then the last row, repeat the output beside them
        for (int c = 0; c < 3; ++c) out.At(c, x, y) = out.At(c, sx, sy);
        continue;
      }
      int sum = 0;
      for (int c = 0; c < 3; ++c)
        sum += RefRound(std::fabs(sign * (in.At(c, x, y) - in.At(c, x + 1, y + 1)) * (weight / 10.0) + 128));
      for (int c = 0; c < 3; ++c) out.At(c, x, y) = static_cast<uint8_t>(Clamp255(sum / 3));
    }
  return out;
}

TEST(EmbossEngrave, GreyDifferenceAndRepeatedLastRowAndColumn) {
  for (const RectRegion& region : kRegions)
    for (int weight : {0, 10, 30, 50, 5, -7}) {  // weight 5 makes ties
      EXPECT_TRUE(SameBits(ReferenceEmboss(kNoise, region, weight, 1),
                           Apply(kNoise, region, [&](cBitFilter& f) { return f.EMBOSS(weight); })));
      EXPECT_TRUE(SameBits(ReferenceEmboss(kNoise, region, weight, -1),
                           Apply(kNoise, region, [&](cBitFilter& f) { return f.Engrave(weight); })));
    }
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
          const long sx = RefRound(x + r1 * h - h / 2.0), sy = RefRound(y + r2 * v - v / 2.0);
          if (region.Contains(sx, sy))
            for (int c = 0; c < 3; ++c) expected.At(c, x, y) = kNoise.At(c, sx, sy);
        }
      EXPECT_TRUE(SameBits(expected, Apply(kNoise, region, [&](cBitFilter& f) {
                             f.SeedRandom(11);
                             return f.DIFFUSE(h, v);
                           }))) << h << " " << v;
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
  // A 3 x 3 picture with one selected pixel. Neighbour reads past the picture
  // meet the zero frame; the unselected neighbours are read, never written;
  // the filters with an inset of 1 have an empty box (expected -1: no change).
  const int values[3][3] = {{10, 20, 30}, {40, 50, 60}, {70, 80, 41}};  // [y][x]
  const Bits pic = MakePicture(3, 3, [&](int x, int y, int) { return values[y][x]; });
  const FilterMask blur = GetMask(0).Mask;
  struct Case {
    int x, y;
    FilterCall call;
    int expected;
  };
  const Case cases[] = {
      // (50 + 60 + 80 + five zeros) / 8 = 23.75 -> 23.
      {2, 2, [](cBitFilter& f) { return f.Blurs(1); }, 23},
      // 9 * 10 - (20 + 40 + 50) = -20: Trunc(-20 / 1) clamps to 0.
      {0, 0, [](cBitFilter& f) { return f.EDGEENHANCE(0); }, 0},
      // The window's largest, and the frame's 0.
      {2, 2, [](cBitFilter& f) { return f.DILATE(); }, 80},
      {2, 2, [](cBitFilter& f) { return f.ERODE(); }, 0},
      // N4 op 1 (inset 0): the largest of 41, 60, 80 and two zeros. Op 0, SOFTEN and
      // SHARPEN have an inset of 1, although op 0's smallest would be 0.
      {2, 2, [](cBitFilter& f) { return f.RankFilterN4(1); }, 80},
      {2, 2, [](cBitFilter& f) { return f.RankFilterN4(0); }, -1},
      {2, 2, [](cBitFilter& f) { return f.SOFTEN(50); }, -1},
      {2, 2, [](cBitFilter& f) { return f.SHARPEN(50); }, -1},
      // RELIEF: S = 2 * 50 + 80 + 60 - 0 - 0 - 2 * 0 = 240; Trunc((41 + 240) / 2) = 140, + 50 = 190.
      {2, 2, [](cBitFilter& f) { return f.RELIEF(); }, 190},
      // S = 0 + 0 + 0 - 40 - 20 - 2 * 50 = -160; Trunc(-150 / 2) = -75, + 50 = -25 -> 0.
      {0, 0, [](cBitFilter& f) { return f.RELIEF(); }, 0},
      // EMBOSS on the last column repeats the output beside it: the input, as (1, 1) is not selected.
      {2, 1, [](cBitFilter& f) { return f.EMBOSS(30); }, 50},
      // CONTOUR: e = 80 - 110 + 255 = 225 per channel; level 226 keeps it, level 225 paints the colour.
      {0, 0, [](cBitFilter& f) { return f.CONTOUR(226, Colour{0}); }, 225},
      {0, 0, [](cBitFilter& f) { return f.CONTOUR(225, Colour{0}); }, 0},
      // "Blur": the window from (1, 1) holds 50 + 60 + 80 + 41 and five zeros: 231 / 9 -> 25.
      // Keep margins puts the corner out of reach.
      {2, 2, [&](cBitFilter& f) { return f.MaskFilter(blur, 9, 0, 0, 0, false); }, 25},
      {2, 2, [&](cBitFilter& f) { return f.MaskFilter(blur, 9, 0, 0, 0, true); }, -1},
      // PAINTING: window 0 (columns and rows 0..2) mean 401 / 9 = 44, spread 163; window 1
      // (30, 60, 41 and six zeros) mean 14, spread 16 + 46 + 27 + 6 * 14 = 173; window 2
      // (70, 80, 41 and six zeros) mean 21, spread 254. Window 0 wins.
      {2, 2, [](cBitFilter& f) { return f.PAINTING(); }, 44}};
  for (size_t i = 0; i < std::size(cases); ++i) {
    const Case& k = cases[i];
    Bits expected = pic;
    if (k.expected >= 0)
      for (int c = 0; c < 3; ++c) expected.At(c, k.x, k.y) = static_cast<uint8_t>(k.expected);
    EXPECT_TRUE(SameBits(expected, Apply(pic, RectRegion::FromRect(k.x, k.y, k.x + 1, k.y + 1), k.call))) << "case " << i;
  }
}

TEST(ConvolutionFrame, RegionsReachingPastTheArray) {
  // Filters that do not skip failed statements return the picture unchanged;
  // the others change only pixels inside the array, nothing reads or writes
  // past it (the sanitizer build watches), and two threads agree with one.
  const Bits pic = Noise(12, 9, 21);
  const FilterCall failing[] = {
      [](cBitFilter& f) { return f.MaskFilter(GetMask(4).Mask, 7, 0, 0, 0, false); },
      [](cBitFilter& f) { return f.Blurs(1); }, [](cBitFilter& f) { return f.CONTOUR(100, Colour{-1}); },
      [](cBitFilter& f) { return f.RankFilterN4(0); }, [](cBitFilter& f) { return f.RankFilterND(1); }};
  const FilterCall skipping[] = {
      [](cBitFilter& f) { return f.MaskFilter(GetMask(1).Mask, 25, 0, 0, 0, true); },
      [](cBitFilter& f) { return f.SOFTEN(30); }, [](cBitFilter& f) { return f.SHARPEN(40); },
      [](cBitFilter& f) { return f.EDGEENHANCE(10); }, [](cBitFilter& f) { return f.EMBOSS(30); },
      [](cBitFilter& f) { return f.Engrave(10); }, [](cBitFilter& f) { return f.DILATE(); },
      [](cBitFilter& f) { return f.ERODE(); }, [](cBitFilter& f) { return f.RELIEF(); },
      [](cBitFilter& f) { return f.PAINTING(); },
      [](cBitFilter& f) {
        f.SeedRandom(3);
        return f.DIFFUSE(7, 7);
      }};
  for (const RectRegion& region : {RectRegion::FromRect(-6, -5, 18, 15), RectRegion::FromEllipse(-9, -3, 20, 13)}) {
    for (size_t i = 0; i < std::size(failing); ++i) EXPECT_TRUE(SameBits(pic, Apply(pic, region, failing[i]))) << i;
    for (const FilterCall& call : skipping) Apply(pic, region, call);
  }
  // Reaching into the frame only: the five-point filters fail as a whole;
  // DILATE skips just the pixels whose window leaves the array.
  const Bits flat = Flat(4, 4, 100);
  const RectRegion past = RectRegion::FromRect(-2, 0, 4, 4);
  EXPECT_TRUE(SameBits(flat, Apply(flat, past, [](cBitFilter& f) { return f.RankFilterN4(1); })));
  const Bits d = Apply(flat, past, [](cBitFilter& f) { return f.DILATE(); });
  EXPECT_EQ(d.At(0, -2, 1), 0);
  EXPECT_EQ(d.At(0, -1, 1), 100);
}

}  // namespace
}  // namespace kelvane
