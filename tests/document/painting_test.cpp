// The painting primitives: hand-worked pixels for the anti-aliased plot and
// the fill, reference loops written from the formulas for the disc family,
// clipping to the selection, and one run through kelvane-cli paint.
#include "document/painting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <iterator>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "base/numeric.h"
#include "document/fill_scan.h"
#include "imagefiles/picture_io.h"
#include "test_support.h"

namespace kelvane {
namespace {

using Trio = std::array<int, 3>;

// A document's painting state for a W x H picture of one colour.
struct Canvas {
  Bits bits;
  cBitRegion region;
  DoneBits done;
  bool exists = true;
  PaintRandom random{7};
  PaintTarget target{bits, region, done, exists, random};

  Canvas(int w, int h, uint8_t b, uint8_t g, uint8_t r) : bits(w, h) {
    region.Init(0, 0, w, h);
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) Set(x, y, b, g, r);
    CreateDoneBitsTable(target);
  }
  Canvas(int w, int h, uint8_t grey) : Canvas(w, h, grey, grey, grey) {}

  void Set(int x, int y, uint8_t b, uint8_t g, uint8_t r) {
    uint8_t* p = bits.Pixel(x, y);
    p[0] = b, p[1] = g, p[2] = r, p[3] = 77;  // the spare byte must survive
  }
  int B(int x, int y) const { return bits.At(0, x, y); }
  int G(int x, int y) const { return bits.At(1, x, y); }
  int R(int x, int y) const { return bits.At(2, x, y); }
  Trio BGR(int x, int y) const { return {B(x, y), G(x, y), R(x, y)}; }
};

// Every pixel of the picture, channels 0..2, compared with a grey map; the
// spare byte keeps its 77.
void ExpectGreys(const Canvas& c, const std::vector<std::vector<int>>& rows) {
  for (int y = 0; y < static_cast<int>(rows.size()); ++y)
    for (int x = 0; x < static_cast<int>(rows[y].size()); ++x)
      for (int ch = 0; ch < 4; ++ch)
        ASSERT_EQ(c.bits.At(ch, x, y), ch == 3 ? 77 : rows[y][x]) << "(" << x << ", " << y << ") ch " << ch;
}

bool SpareBytesUntouched(const Canvas& c) {
  for (int y = 0; y < c.bits.Height(); ++y)
    for (int x = 0; x < c.bits.Width(); ++x)
      if (c.bits.At(3, x, y) != 77) return false;
  return true;
}

// ---------------------------------------------------------------------------
// Reading pixels, array sources.

TEST(PaintingArraySources, GetPixelAndPaintOverlapKeyOpacityAndSelection) {
  Canvas g(4, 3, 0);
  g.Set(3, 0, 0x30, 0x20, 0x10);
  EXPECT_EQ(BitsGetPixel(g.target, 3, 0), 0x302010);
  for (auto [x, y] : {std::pair{4, 0}, std::pair{-1, 0}, std::pair{0, 3}}) EXPECT_EQ(BitsGetPixel(g.target, x, y), 0);
  g.exists = false;
  EXPECT_EQ(BitsGetPixel(g.target, 3, 0), -1);

  Canvas c(5, 4, 200);
  Bits src(3, 3);
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 3; ++x) src.At(0, x, y) = 10, src.At(1, x, y) = 20, src.At(2, x, y) = 30;
  src.At(2, 2, 2) = 31;  // equals the key (b 10, g 20, r 31); the rest differ in red
  // At (-1, -1) only source pixels (1..2, 1..2) overlap target (0..1, 0..1).
  BitsPaint(c.target, -1, -1, src, RGB(31, 20, 10), 50, true);
  EXPECT_EQ(c.BGR(0, 0), (Trio{105, 110, 115}));  // 0.5 * 10 + 0.5 * 200, ...
  EXPECT_EQ(c.R(1, 0), 115);
  EXPECT_EQ(c.R(1, 1), 200);  // the key pixel is skipped
  EXPECT_EQ(c.R(2, 0), 200);
  EXPECT_EQ(c.R(0, 2), 200);
  EXPECT_TRUE(SpareBytesUntouched(c));

  Canvas s(4, 3, 100);
  s.region.CreateRect(0, 0, 1, 1, CombineMode::Or, true);
  Bits zero(3, 3);
  BitsPaint(s.target, 0, 0, zero, -1, 100, true);
  EXPECT_EQ(s.B(0, 0), 0);
  EXPECT_EQ(s.B(1, 0), 100);
  BitsPaint(s.target, 0, 0, zero, -1, 100, false);  // use selection false: RegionMain
  EXPECT_EQ(s.B(1, 0), 0);
}

TEST(PaintingArraySources, EmptyOverlapsPreMaskAndBWMaskSoftEdge) {
  Canvas c(5, 4, 200);
  Bits src(3, 3), thin(1, 3);
  // Source right edge (x + sw) = 0 meets the target's left edge: a one-column
  // overlap, which the rectangle intersection calls empty.
  BitsPaint(c.target, -2, 0, src, -1, 100, true);
  BitsPaint(c.target, 0, 0, thin, -1, 100, true);
  EXPECT_EQ(c.B(0, 0), 200);
  BitsPaint(c.target, 0, 0, src, -1, 100, true);  // columns 0..2 inclusive
  EXPECT_EQ(c.B(2, 2), 0);
  EXPECT_EQ(c.B(3, 0), 200);

  Canvas p(4, 3, 100);
  src.At(3, 0, 0) = 255;
  src.At(3, 1, 0) = 254;
  BitsPaintPreMasked(p.target, 0, 0, src, 100, true);
  EXPECT_EQ(p.B(0, 0), 100);
  EXPECT_EQ(p.B(1, 0), 0);

  Canvas m(4, 3, 100);
  Bits mask(3, 3);
  mask.Fill(255);
  mask.At(0, 0, 0) = 189, mask.At(0, 1, 0) = 190, mask.At(0, 2, 0) = 95;
  BitsBWMask(m.target, 0, 0, mask, RGB(0, 0, 255), 100);
  // w = 1/190: blue 100 + 155 / 190 = 100.816, red 100 * 189 / 190 = 99.47.
  EXPECT_EQ(m.BGR(0, 0), (Trio{101, 99, 99}));
  EXPECT_EQ(m.BGR(1, 0), (Trio{100, 100, 100}));
  EXPECT_EQ(m.BGR(2, 0), (Trio{178, 50, 50}));  // w = 0.5: 177.5 ties to even
}

// ---------------------------------------------------------------------------
// Anti-aliased line and ellipse.

TEST(PaintingAntiAlias, LineWeightsByHand) {
  // (0, 0)-(1, 0): n = 2, four plots at x 0.25, 0.5, 0.75, 1.001, y 0.001.
  // Corner weights (left, right): (191, 64), (127, 127), (64, 191), then
  // (254, 0) one pixel further; the row below gets weights that round to 0.
  //   100 %: (0,0) 255 -> 64 -> 32 -> 24; (1,0) 255 -> 191 -> 96 -> 24 -> 0.
  //   0 % (alpha raised to 1, f = weight / 65025):
  //     (0,0) 255 -> 254 -> 254 (253.50) -> 254; (1,0) 255 -> 255 -> 255 (254.50) -> 254 -> 253.
  for (const auto& [opacity, left, right] : {std::tuple{100.0, 24, 0}, std::tuple{0.0, 254, 253}}) {
    Canvas c(4, 3, 255);
    BitsLine(c.target, 0, 0, 1, 0, 0, opacity);
    ExpectGreys(c, {{left, right, 255, 255}, {255, 255, 255, 255}, {255, 255, 255, 255}});
  }
}

TEST(PaintingAntiAlias, EllipseOfRadiusZeroPlotsTwelveTimesWithHandWeights) {
  // rx = ry = 0: step 6.283185 * 0.085 = 0.53407; 11 steps stay below 2 pi,
  // the 12th passes it, so 12 plots at (2.25, 1.75): ax 1.75 -> ix 2,
  // hx 191.25, lx 63.75; ay 1.25 -> iy 1, iy2 2, wy0 0.25, wy1 0.75.
  // Weights (2,1) 47.81 -> 48, (3,1) 15.94 -> 16, (2,2) 143.44 -> 143, (3,2) 48.
  Canvas c(6, 4, 255);
  BitsEllipse(c.target, 2.25, 1.75, 0, 0, 0, 100);
  auto after = [](int weight) {
    int v = 255;
    for (int i = 0; i < 12; ++i) v = RoundByte(v - (weight / 255.0) * 255 / 255 * (v - 0));
    return v;
  };
  std::vector<std::vector<int>> want(4, std::vector<int>(6, 255));
  want[1][2] = after(48), want[1][3] = after(16), want[2][2] = after(143), want[2][3] = after(48);
  ExpectGreys(c, want);
}

// The plot and the line transcribed from their formulas.
struct PlotReference {
  Bits& bits;
  int alpha;
  int part[3];
  void Plot(double px, double py) {
    if (std::floor(px) == px) px += 0.001;
    if (std::floor(py) == py) py += 0.001;
    const double ax = px - 0.5, ay = py - 0.5, by = ay + 1;
    const int ix = Round(ax), iy = Round(ay), iy2 = Round(by);
    const double cx = ix + 0.5, hx = (cx - ax) * 256 - cx + ax, lx = 255 - hx;
    const double wy0 = iy + 0.5 - ay, wy1 = by - iy2 + 0.5;
    const int xs[4] = {ix, ix + 1, ix, ix + 1}, ys[4] = {iy, iy, iy2, iy2};
    const double ws[4] = {wy0 * hx, wy0 * lx, wy1 * hx, wy1 * lx};
    for (int i = 0; i < 4; ++i) {
      if (xs[i] < 0 || ys[i] < 0 || xs[i] >= bits.Width() || ys[i] >= bits.Height()) continue;
      const double f = RoundByte(ws[i]) / 255.0 * alpha / 255;
      for (int ch = 0; ch < 3; ++ch) {
        uint8_t& v = bits.At(ch, xs[i], ys[i]);
        v = RoundByte(v - f * (v - part[ch]));
      }
    }
  }
  void Line(int x1, int y1, int x2, int y2) {
    const double dx = x2 - x1, dy = y2 - y1, n = std::max(std::fabs(dx), std::fabs(dy)) + 1;
    double px = x1, py = y1;
    for (int step = 0; step < 2 * n; ++step) Plot(px += dx / n / 2, py += dy / n / 2);
  }
};

TEST(PaintingAntiAlias, ShapesMatchTheFormulasEverywhere) {
  const std::array<int, 5> lines[] = {{2, 3, 17, 9, 60}, {15, 1, 3, 14, 100}, {4, 12, 4, 2, 25}, {-3, -2, 8, 5, 80}};
  for (const auto& [x1, y1, x2, y2, opacity] : lines) {
    Canvas c(20, 16, 240), ref(20, 16, 240);
    BitsLine(c.target, x1, y1, x2, y2, RGB(10, 90, 200), opacity);
    PlotReference{ref.bits, std::max(1, Round(opacity * 2.55)), {200, 90, 10}}.Line(x1, y1, x2, y2);
    EXPECT_TRUE(c.bits == ref.bits) << "line " << x1 << "," << y1 << " - " << x2 << "," << y2;
  }
  const std::array<double, 4> ellipses[] = {{10, 8, 6, 4}, {9.5, 7, 3, 7}, {10, 8, -5, -2}};
  for (const auto& [x, y, rx, ry] : ellipses) {
    Canvas c(20, 16, 30), ref(20, 16, 30);
    BitsEllipse(c.target, x, y, rx, ry, RGB(250, 0, 128), 70);
    PlotReference plot{ref.bits, Round(70 * 2.55), {128, 0, 250}};
    const double m = std::max(rx, ry), v = 6.283185 * 0.085, step = m < 0 ? -v / m : v / m;
    for (double a = 0; a < 6.283185;) {
      a += step;
      plot.Plot(x + rx * std::cos(a), y + ry * std::sin(a));
    }
    EXPECT_TRUE(c.bits == ref.bits) << "ellipse " << rx << " x " << ry;
  }
  // The rectangle's four sides in their order, each from its own start; a
  // square round (6, 5) with a corner at (10, 5): a0 = 0, R = 4, four sides
  // whose corners round to (10, 5), (6, 9), (2, 5), (6, 1).
  Canvas r(12, 10, 255), rref(12, 10, 255), p(12, 10, 255), pref(12, 10, 255);
  BitsRectangle(r.target, 2, 2, 9, 7, 0, 40);
  BitsPolygon(p.target, 6, 5, 10, 5, 4, 0, 100);
  PlotReference rplot{rref.bits, 102, {0, 0, 0}}, pplot{pref.bits, 255, {0, 0, 0}};
  rplot.Line(2, 2, 9, 2), rplot.Line(9, 2, 9, 7), rplot.Line(9, 7, 2, 7), rplot.Line(2, 7, 2, 2);
  pplot.Line(10, 5, 6, 9), pplot.Line(6, 9, 2, 5), pplot.Line(2, 5, 6, 1), pplot.Line(6, 1, 10, 5);
  EXPECT_TRUE(r.bits == rref.bits);
  EXPECT_TRUE(p.bits == pref.bits);
}

// ---------------------------------------------------------------------------
// The disc family.

// The disc's pixels round (x, y) for a size, from its definition.
std::set<std::pair<int, int>> Disc(int x, int y, int size) {
  const int r = Round(size * 0.5);
  std::set<std::pair<int, int>> out;
  for (int dy = -r; dy <= r; ++dy)
    for (int dx = -r; dx <= r; ++dx)
      if (dx * dx + dy * dy < r * r + 1) out.insert({x + dx, y + dy});
  return out;
}

TEST(PaintingDisc, BrushDiscOncePerStroke) {
  // Size 1: r = Round(0.5) = 0, one pixel; size 5: r = Round(2.5) = 2, limit
  // 5, rows of 1, 3, 5, 3, 1; size 8: r = 4, limit 17.
  for (const auto& [size, count] : {std::pair{1, 1u}, std::pair{5, 13u}, std::pair{8, 49u}}) {
    Canvas d(11, 11, 255);
    BitsBrush(d.target, 5, 5, size, 50, RGB(0, 0, 100));
    BitsBrush(d.target, 5, 5, size, 50, RGB(0, 0, 100));  // same stroke: nothing more
    const auto disc = Disc(5, 5, size);
    EXPECT_EQ(disc.size(), count);
    for (int y = 0; y < 11; ++y)
      for (int x = 0; x < 11; ++x)  // 177.5 -> 178 and 127.5 -> 128
        ASSERT_EQ(d.BGR(x, y), disc.count({x, y}) ? (Trio{178, 128, 128}) : (Trio{255, 255, 255})) << x << "," << y;
    CreateDoneBitsTable(d.target);  // a new stroke paints again
    BitsBrush(d.target, 5, 5, 1, 50, RGB(0, 0, 100));
    EXPECT_EQ(d.R(5, 5), 64);
  }
}

TEST(PaintingDisc, BrushStrokeOfSeveralSegmentsNeverPaintsTwice) {
  // Size 7: r = Round(3.5) = 4, dabs every 0.7 pixels, so discs overlap many
  // times over; at 50 % every touched pixel must still be exactly 128.
  Canvas c(32, 30, 255);
  const int path[][2] = {{5, 5}, {20, 8}, {12, 20}, {5, 5}, {27, 25}};
  std::set<std::pair<int, int>> touched;
  for (size_t s = 0; s + 1 < std::size(path); ++s) {
    const int x1 = path[s][0], y1 = path[s][1], x2 = path[s + 1][0], y2 = path[s + 1][1];
    BitsBrushLine(c.target, x1, y1, x2, y2, 7, 50, 0, kBrushPaint);
    const int dx = x2 - x1, dy = y2 - y1, n = std::max(std::abs(dx), std::abs(dy)) + 1;
    const double sx = static_cast<double>(dx) / n * 0.7, sy = static_cast<double>(dy) / n * 0.7;
    double px = x1, py = y1;
    for (int i = 0; i <= Round(n / 0.7); ++i, px += sx, py += sy)
      for (const auto& p : Disc(Round(px), Round(py), 7))
        if (p.first >= 0 && p.second >= 0 && p.first < 32 && p.second < 30) touched.insert(p);
  }
  for (int y = 0; y < 30; ++y)
    for (int x = 0; x < 32; ++x) ASSERT_EQ(c.B(x, y), touched.count({x, y}) ? 128 : 255) << x << "," << y;
  EXPECT_TRUE(SpareBytesUntouched(c));
}

TEST(PaintingDisc, BrushLineStepsModesAndBrightnessTables) {
  // Size 1 steps a tenth of (dx / n): from (1,1) to (6,1) n = 6, 61 dabs
  // from x 1 to 1 + 60 * 5 / 60 = 6; the end point is reached, not passed.
  Canvas c(10, 3, 255);
  BitsBrushLine(c.target, 1, 1, 6, 1, 1, 100, 0, kBrushPaint);
  for (int x = 0; x < 10; ++x) EXPECT_EQ(c.B(x, 1), x >= 1 && x <= 6 ? 0 : 255) << x;
  // Unknown modes paint nothing; mode 5 darkens once per stroke.
  Canvas d(10, 3, 200);
  BitsBrushLine(d.target, 1, 1, 6, 1, 1, 100, 0, 6);
  BitsBrushLine(d.target, 1, 1, 6, 1, 1, 100, 0, -1);
  EXPECT_EQ(d.B(3, 1), 200);
  BitsBrushLine(d.target, 1, 1, 6, 1, 1, 25, 0, kBrushDarken);
  EXPECT_EQ(d.B(3, 1), 150);  // Round(0.75 * 200)
  BitsBrushLine(d.target, 1, 1, 6, 1, 1, 25, 0, kBrushLighten);
  EXPECT_EQ(d.B(3, 1), 150);  // already done in this stroke

  // Strength 50: lighten 1.5 * i capped at 255; darken 0.5 * i, ties to even.
  for (const auto& [lighten, in, out] :
       {std::tuple{true, Trio{10, 100, 240}, Trio{15, 150, 255}}, std::tuple{false, Trio{5, 3, 255}, Trio{2, 2, 128}}}) {
    Canvas b(5, 5, in[0], in[1], in[2]);
    BitsBrightness(b.target, 2, 2, 1, 50, lighten);
    EXPECT_EQ(b.BGR(2, 2), out);
  }
}

// Soften and sharpen in place over the disc, from their formulas.
void ReferenceNeighbourhood(Bits& b, int cx, int cy, int size, int k, bool sharpen) {
  const int r = Round(size * 0.5), d = sharpen ? k - 4 : k + 4;
  for (int dy = -r; dy <= r; ++dy)
    for (int dx = -r; dx <= r; ++dx) {
      const int x = cx + dx, y = cy + dy;
      if (dx * dx + dy * dy >= r * r + 1 || x < 0 || y < 0 || x >= b.Width() || y >= b.Height()) continue;
      for (int ch = 0; ch < 3; ++ch) {
        const int around = b.At(ch, x - 1, y) + b.At(ch, x, y - 1) + b.At(ch, x, y + 1) + b.At(ch, x + 1, y);
        const int v = sharpen ? (b.At(ch, x, y) * k - around) / d : (b.At(ch, x, y) * k + around) / d;
        b.At(ch, x, y) = static_cast<uint8_t>(std::clamp(v, 0, 255));
      }
    }
}

TEST(PaintingDisc, SoftenAndSharpenInPlace) {
  using Case = std::tuple<bool, double, int>;  // sharpen, strength, k
  for (const auto& [sharpen, strength, k] : {Case{false, 100, 0}, Case{false, 25, 8}, Case{false, 50, 5},
                                             Case{false, 0, 10}, Case{true, 100, 8}, Case{true, 50, 12},
                                             Case{true, 0, 15}, Case{true, 22.5, 14}}) {
    Canvas c(12, 10, 0), ref(12, 10, 0);
    for (Canvas* p : {&c, &ref})
      for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 12; ++x)
          p->Set(x, y, (x * 37 + y * 11) % 256, (x * y * 7) % 256, ((x + y) % 2) * 250);
    if (sharpen) {
      BitsSharpen(c.target, 6, 5, 7, strength);
      ReferenceNeighbourhood(ref.bits, 6, 5, 7, k, true);
      EXPECT_TRUE(c.bits == ref.bits) << "sharpen " << strength;
      continue;
    }
    BitsSoften(c.target, 5, 4, 6, strength, false);
    ReferenceNeighbourhood(ref.bits, 5, 4, 6, k, false);
    EXPECT_TRUE(c.bits == ref.bits) << "soften " << strength;
    // Without force a second pass in the same stroke changes nothing; with force it does.
    BitsSoften(c.target, 5, 4, 6, strength, false);
    EXPECT_TRUE(c.bits == ref.bits);
    BitsSoften(c.target, 5, 4, 6, strength, true);
    ReferenceNeighbourhood(ref.bits, 5, 4, 6, k, false);
    EXPECT_TRUE(c.bits == ref.bits) << "forced soften " << strength;
  }
}

TEST(PaintingDisc, MaskedTileIsAnchoredWithItsFramePeriod) {
  // A 2 x 2 tile has highest indices 3: periods 3, so tile column 2 (frame,
  // zero) shows every third pixel.
  Bits tile(2, 2);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 2; ++x)
      tile.At(0, x, y) = tile.At(1, x, y) = tile.At(2, x, y) = static_cast<uint8_t>(100 + 10 * x + y);
  Canvas c(8, 4, 255);
  BitsMasked(c.target, 3, 1, tile, 20, 100);
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 8; ++x) {
      const int tx = x % 3, ty = y % 3;
      ASSERT_EQ(c.G(x, y), (tx < 2 && ty < 2) ? 100 + 10 * tx + ty : 0) << x << "," << y;
    }
}

TEST(PaintingDisc, AirbrushDensitySoftnessAndSeed) {
  Canvas none(9, 9, 255), white(9, 9, 255);
  BitsAirbrush(none.target, 4, 4, 5, 100, 0, 0, 0);  // density 0: only an exact 0 draw would pass
  EXPECT_TRUE(none.bits == white.bits);

  // Full density, softness 0 (f = 1): a = 1 - dist / r; at the centre full, at
  // distance r nothing, at distance 1 (r = 2) half: 127.5 -> 128.
  Canvas c(9, 9, 255);
  BitsAirbrush(c.target, 4, 4, 5, 100, 100, 0, 0);
  EXPECT_EQ(c.B(4, 4), 0);
  EXPECT_EQ(c.B(5, 4), 128);
  EXPECT_EQ(c.B(6, 4), 255);
  EXPECT_EQ(c.B(5, 5), RoundByte(255 * (std::sqrt(2.0) / 2)));
  BitsAirbrush(c.target, 4, 4, 5, 100, 100, 0, 0);  // repeated passes build up
  EXPECT_EQ(c.B(5, 4), 64);

  Canvas s1(20, 20, 255), s2(20, 20, 255);
  s1.random.Seed(42);
  s2.random.Seed(42);
  BitsAirbrush(s1.target, 10, 10, 15, 60, 40, 50, RGB(0, 0, 0));
  BitsAirbrush(s2.target, 10, 10, 15, 60, 40, 50, RGB(0, 0, 0));
  EXPECT_TRUE(s1.bits == s2.bits);
}

// ---------------------------------------------------------------------------
// Flood fill.

TEST(PaintingFill, ScanOrderPassByPassLeftRightUpDown) {
  Canvas c(3, 3, 255);
  const int32_t old[3] = {255, 255, 255};
  std::vector<std::pair<int, int>> order;
  FillScan(c.bits, *c.region.RegionMain(), c.done, 1, 1, old, 765,
           [&](uint8_t*, int32_t x, int32_t y) { order.push_back({x, y}); });
  // Pass 1 from the seed: left, right, up, down. Pass 2 from (0,1): the seed
  // (not marked before), (0,0), (0,2); from (2,1): (2,0), (2,2).
  const std::vector<std::pair<int, int>> want = {{0, 1}, {2, 1}, {1, 0}, {1, 2}, {1, 1},
                                                 {0, 0}, {0, 2}, {2, 0}, {2, 2}};
  EXPECT_EQ(order, want);
  for (int y = 0; y < 6; ++y)  // every visited pixel is marked, and only those
    for (int x = 0; x < 6; ++x) EXPECT_EQ(c.done.Get(x, y), x < 3 && y < 3) << x << "," << y;
}

TEST(PaintingFill, SeedIsBlendedTwiceWhenItPassesAgain) {
  // White, black at 50 %: the seed first becomes Round(127.5) = 128; the
  // tables map 255 -> 128 and 128 -> 64. The blended seed lies 3 * 127 = 381
  // from white.
  for (const auto& [tolerance, seed] : {std::pair{381, 64}, std::pair{380, 128}}) {
    Canvas c(4, 3, 255);
    BitsFill(c.target, 1, 1, 0, tolerance, 50);
    ExpectGreys(c, {{128, 128, 128, 128}, {128, seed, 128, 128}, {128, 128, 128, 128}});
  }
  Canvas c(4, 3, 255);  // at 100 % the second pass changes nothing visible
  BitsFill(c.target, 1, 1, RGB(10, 20, 30), 765, 100);
  EXPECT_EQ(c.BGR(1, 1), (Trio{30, 20, 10}));
  EXPECT_EQ(c.BGR(3, 2), (Trio{30, 20, 10}));
}

TEST(PaintingFill, ToleranceFromTheSeedNearColourAndTableRounding) {
  // A ramp 0, 5, 10, ... on all channels: distances from the seed 0, 15, 30,
  // 45: with tolerance 30 only x 0..2 pass, though each step is 15.
  Canvas r(6, 1, 0);
  for (int x = 0; x < 6; ++x) r.Set(x, 0, 5 * x, 5 * x, 5 * x);
  BitsFill(r.target, 0, 0, RGB(200, 200, 200), 30, 100);
  ExpectGreys(r, {{200, 200, 200, 15, 20, 25}});

  Canvas c(4, 3, 100);  // within 9 on every channel: only the seed changes
  BitsFill(c.target, 2, 1, RGB(109, 91, 100), 765, 100);
  EXPECT_EQ(c.BGR(2, 1), (Trio{100, 91, 109}));
  EXPECT_EQ(c.BGR(1, 1), (Trio{100, 100, 100}));
  EXPECT_EQ(c.BGR(3, 1), (Trio{100, 100, 100}));
  // 30 %: a = 1 - 0.3 and w = 1 - a in doubles, so w * 255 = 76.50000000000001
  // and the seed's sum 70 + that is the double 146.5, a tie going to 146,
  // while the tables round w * 255 first: Round(70 + 77) = 147.
  Canvas d(4, 3, 100);
  BitsFill(d.target, 0, 0, RGB(255, 255, 255), 0, 30);
  EXPECT_EQ(d.R(0, 0), 146);
  EXPECT_EQ(d.R(3, 2), 147);
  // White over white-ish at 50 %: Round(127.5 + 128) would be 256; it stays 255.
  Canvas e(3, 1, 255, 255, 0);
  BitsFill(e.target, 0, 0, RGB(255, 255, 255), 765, 50);
  EXPECT_EQ(e.BGR(2, 0), (Trio{255, 255, 128}));
  EXPECT_EQ(e.BGR(0, 0), (Trio{255, 255, 192}));  // the seed: 127.5 -> 128, then Round(64 + 128)
}

TEST(PaintingFill, TextureFillUsesTheTileAtEachPixel) {
  Bits tile(1, 1);  // periods 2: tile (0, 0) and its zero frame alternate
  tile.At(0, 0, 0) = 40, tile.At(1, 0, 0) = 80, tile.At(2, 0, 0) = 120;
  Canvas c(4, 2, 200);
  BitsFillTexture(c.target, 0, 0, tile, 765, 50);
  // Seed (0, 0) twice: blue 0.5 * 200 + 0.5 * 40 = 120, then 0.5 * 120 + 20 = 80.
  EXPECT_EQ(c.BGR(0, 0), (Trio{80, 110, 140}));  // red 0.5 * 200 + 60 = 160, then 80 + 60
  EXPECT_EQ(c.B(2, 0), 120);
  EXPECT_EQ(c.B(1, 0), 100);
  EXPECT_EQ(c.B(3, 1), 100);
  Bits empty;
  Canvas d(4, 2, 200);
  BitsFillTexture(d.target, 0, 0, empty, 765, 50);
  EXPECT_EQ(d.B(0, 0), 200);
}

// ---------------------------------------------------------------------------
// Clipping and the missing picture.

// Every primitive once, on a 24 x 20 picture: black paint, zero tiles and masks.
std::vector<std::function<void(PaintTarget&)>> EveryPrimitive() {
  static const Bits tile(3, 3), big(16, 14);
  return {
      [](PaintTarget& t) { BitsBrush(t, 12, 10, 15, 100, 0); },
      [](PaintTarget& t) { BitsBrushLine(t, 2, 3, 21, 17, 6, 100, 0, kBrushPaint); },
      [](PaintTarget& t) { BitsAirbrush(t, 12, 10, 15, 100, 100, 0, 0); },
      [](PaintTarget& t) { BitsBrightness(t, 12, 10, 15, 100, false); },
      [](PaintTarget& t) { BitsMasked(t, 12, 10, tile, 15, 100); },
      [](PaintTarget& t) { BitsMaskedLine(t, 2, 3, 21, 17, 6, 100, tile); },
      [](PaintTarget& t) { BitsSoften(t, 12, 10, 15, 100, false); },
      [](PaintTarget& t) { BitsSharpen(t, 12, 10, 15, 100); },
      [](PaintTarget& t) { BitsFill(t, 12, 10, 0, 765, 100); },
      [](PaintTarget& t) { BitsFillTexture(t, 12, 10, tile, 765, 100); },
      [](PaintTarget& t) { BitsLine(t, -4, 2, 30, 18, 0, 100); },
      [](PaintTarget& t) { BitsRectangle(t, 3, 2, 20, 17, 0, 100); },
      [](PaintTarget& t) { BitsEllipse(t, 12, 10, 8, 6, 0, 100); },
      [](PaintTarget& t) { BitsPolygon(t, 12, 10, 16, 12, 5, 0, 100); },
      [](PaintTarget& t) { BitsPaint(t, 2, 1, big, -1, 100, true); },
      [](PaintTarget& t) { BitsPaintPreMasked(t, 2, 1, big, 100, true); },
      [](PaintTarget& t) { BitsBWMask(t, 2, 1, big, 0, 100); },
  };
}

TEST(PaintingClip, EveryPrimitiveStaysInsideTheSelectionAndNeedsAPicture) {
  const int w = 24, h = 20;
  const auto primitives = EveryPrimitive();
  for (size_t which = 0; which < primitives.size(); ++which) {
    Canvas c(w, h, 0);
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) c.Set(x, y, static_cast<uint8_t>(120 + (x * 3 + y) % 60), 200, 160);
    const Bits before = c.bits;
    c.exists = false;
    primitives[which](c.target);
    ASSERT_TRUE(c.bits == before) << "without a picture, primitive " << which;
    c.exists = true;
    c.region.CreateEllipse(6, 4, 18, 16, CombineMode::Or, true);  // walked as spans
    c.region.CreateRect(0, 0, 5, 3, CombineMode::Or, true);
    const RectRegion& sel = *c.region.Region();
    primitives[which](c.target);
    int inside = 0;
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) {
        const bool changed = std::memcmp(c.bits.Pixel(x, y), before.Pixel(x, y), 4) != 0;
        ASSERT_FALSE(changed && !sel.Contains(x, y)) << "primitive " << which << " at " << x << "," << y;
        inside += changed;
      }
    EXPECT_GT(inside, 0) << "primitive " << which;
    EXPECT_TRUE(std::memcmp(c.bits.Data(), before.Data(), c.bits.Stride() * 2) == 0) << "frame, primitive " << which;
  }
  Canvas none(8, 8, 90);
  none.exists = false;
  CreateDoneBitsTable(none.target);
  EXPECT_EQ(none.done.MaxX(), 2);  // a 0 x 0 table without a picture
}

TEST(PaintingClip, FillDoesNotCrossTheBorderAndSeedOutsideIsNotBlended) {
  Canvas c(6, 3, 255);
  c.region.CreateRect(2, 0, 6, 3, CombineMode::Or, true);
  BitsFill(c.target, 1, 1, 0, 765, 100);
  // The seed (1, 1) lies outside: it keeps its colour, but the walk starts
  // from it and reaches (2, 1) inside the selection.
  ExpectGreys(c, {{255, 255, 0, 0, 0, 0}, {255, 255, 0, 0, 0, 0}, {255, 255, 0, 0, 0, 0}});
}

// ---------------------------------------------------------------------------
// The command line.

TEST(PaintingCli, FillRunClearsTheStrokeTableAndHonoursTheSelection) {
  test::TempDir dir;
  Bits in(5, 4);
  in.Fill(200);
  for (int y = 0; y < 4; ++y) std::memset(in.Pixel(2, y), 0, 3);  // a black wall at x = 2
  std::string error;
  const std::string src = (dir / "in.png").string(), out = (dir / "out.png").string(), bad = (dir / "bad.png").string();
  ASSERT_TRUE(SavePictureFile(src, in, error)) << error;
  // Red 255 at 50 % from (0, 0), tolerance 25, selection rows 0..2.
  auto r = test::RunCli({"paint", "BitsFill", "0", "0", "255", "25", "50", src, out, "--select", "0,0,5,3"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  Bits got;
  ASSERT_TRUE(LoadPictureFile(out, got, error)) << error;
  // Others: blue and green Round(0.5 * 200) = 100, red Round(100 + Round(127.5)) = 228.
  // The seed: RoundByte(100 + 127.5) = 228 (ties to even), then 228 from its
  // old colour: outside 25, blended once only.
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 5; ++x) {
      const bool filled = x < 2 && y < 3;
      EXPECT_EQ(got.At(0, x, y), filled ? 100 : (x == 2 ? 0 : 200)) << x << "," << y;
      EXPECT_EQ(got.At(2, x, y), filled ? 228 : (x == 2 ? 0 : 200)) << x << "," << y;
    }
  r = test::RunCli({"paint", "BitsGetPixel", "1", "0", out, (dir / "same.png").string()});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(r.out, "BitsGetPixel: " + std::to_string(228 | 100 << 8 | 100 << 16) + "\n");
  r = test::RunCli({"paint", "BitsBrushLine", "0", "0", "40000", "0", "5", "100", "0", "0", src, bad});
  EXPECT_NE(r.exit_code, 0);
  EXPECT_NE(r.err.find("16-bit"), std::string::npos) << r.err;
  r = test::RunCli({"paint", "BitsFill", "0", "0", "red", "25", "50", src, bad});
  EXPECT_NE(r.exit_code, 0);
}

}  // namespace
}  // namespace kelvane
