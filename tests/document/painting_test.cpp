// The painting primitives: hand-worked pixels for the anti-aliased plot and
// the fill, reference loops written from the formulas for the disc family,
// clipping to the selection, and one run through kelvane-cli paint.
#include "document/painting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/numeric.h"
#include "document/fill_scan.h"
#include "imagefiles/picture_io.h"
#include "test_support.h"

namespace kelvane {
namespace {

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
};

// Every pixel of the picture, channels 0..2, compared with a grey map.
void ExpectGreys(const Canvas& c, const std::vector<std::vector<int>>& rows) {
  for (int y = 0; y < static_cast<int>(rows.size()); ++y)
    for (int x = 0; x < static_cast<int>(rows[y].size()); ++x)
      for (int ch = 0; ch < 3; ++ch)
        ASSERT_EQ(c.bits.At(ch, x, y), rows[y][x]) << "(" << x << ", " << y << ") ch " << ch;
}

bool SpareBytesUntouched(const Canvas& c) {
  for (int y = 0; y < c.bits.Height(); ++y)
    for (int x = 0; x < c.bits.Width(); ++x)
      if (c.bits.At(3, x, y) != 77) return false;
  return true;
}

// ---------------------------------------------------------------------------
// Reading pixels, array sources.

TEST(PaintingArraySources, GetPixelBoundsAndNoPicture) {
  Canvas c(4, 3, 0);
  c.Set(3, 0, 0x30, 0x20, 0x10);
  EXPECT_EQ(BitsGetPixel(c.target, 3, 0), 0x302010);
  EXPECT_EQ(BitsGetPixel(c.target, 4, 0), 0);
  EXPECT_EQ(BitsGetPixel(c.target, -1, 0), 0);
  EXPECT_EQ(BitsGetPixel(c.target, 0, 3), 0);
  c.exists = false;
  EXPECT_EQ(BitsGetPixel(c.target, 3, 0), -1);
}

TEST(PaintingArraySources, PaintOverlapsKeyColourAndOpacity) {
  Canvas c(5, 4, 200);
  Bits src(3, 3);
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 3; ++x) {
      uint8_t* p = src.Pixel(x, y);
      p[0] = 10, p[1] = 20, p[2] = 30;
    }
  // The key colour 0x00BBGGRR = (b 10, g 20, r 31) differs in red: nothing skipped.
  uint8_t* key = src.Pixel(2, 2);
  key[2] = 31;
  // At (-1, -1) only source pixels (1..2, 1..2) overlap target (0..1, 0..1).
  BitsPaint(c.target, -1, -1, src, RGB(31, 20, 10), 50, true);
  // 0.5 * 10 + 0.5 * 200 = 105; 0.5 * 20 + 100 = 110; 0.5 * 30 + 100 = 115.
  EXPECT_EQ(c.B(0, 0), 105);
  EXPECT_EQ(c.G(0, 0), 110);
  EXPECT_EQ(c.R(0, 0), 115);
  EXPECT_EQ(c.R(1, 0), 115);
  EXPECT_EQ(c.R(1, 1), 200);  // the key pixel is skipped
  EXPECT_EQ(c.R(2, 0), 200);
  EXPECT_EQ(c.R(0, 2), 200);
  EXPECT_TRUE(SpareBytesUntouched(c));
}

TEST(PaintingArraySources, OneColumnOverlapAndOnePixelSourcesPaintNothing) {
  Canvas c(5, 4, 200);
  Bits src(3, 3);  // zero pixels
  // Source right edge (x + sw) = 0 meets the target's left edge: a one-column
  // overlap, which the rectangle intersection calls empty.
  BitsPaint(c.target, -2, 0, src, -1, 100, true);
  EXPECT_EQ(c.B(0, 0), 200);
  Bits thin(1, 3);
  BitsPaint(c.target, 0, 0, thin, -1, 100, true);
  EXPECT_EQ(c.B(0, 0), 200);
  // A regular overlap copies inclusively: columns 0..2 of the target.
  BitsPaint(c.target, 0, 0, src, -1, 100, true);
  EXPECT_EQ(c.B(2, 2), 0);
  EXPECT_EQ(c.B(3, 0), 200);
}

TEST(PaintingArraySources, PreMaskedSkipsOnly255AndBWMaskSoftEdge) {
  Canvas c(4, 3, 100);
  Bits src(3, 3);
  src.At(3, 0, 0) = 255;
  src.At(3, 1, 0) = 254;
  BitsPaintPreMasked(c.target, 0, 0, src, 100, true);
  EXPECT_EQ(c.B(0, 0), 100);
  EXPECT_EQ(c.B(1, 0), 0);

  Canvas m(4, 3, 100);
  Bits mask(3, 3);
  mask.Fill(255);
  mask.At(0, 0, 0) = 189;
  mask.At(0, 1, 0) = 190;
  mask.At(0, 2, 0) = 95;
  BitsBWMask(m.target, 0, 0, mask, RGB(0, 0, 255), 100);
  // w = 1 - 189 / 190: 100 + (255 - 100) / 190 = 100.816 -> 101 in blue only.
  EXPECT_EQ(m.B(0, 0), 101);
  EXPECT_EQ(m.R(0, 0), 99);  // red towards 0: 100 * 189 / 190 = 99.47
  EXPECT_EQ(m.B(1, 0), 100);
  // w = 0.5: 0.5 * 255 + 0.5 * 100 = 177.5 -> 178 (ties to even), red 50.
  EXPECT_EQ(m.B(2, 0), 178);
  EXPECT_EQ(m.R(2, 0), 50);
}

TEST(PaintingArraySources, UseSelectionFalseIgnoresTheSelection) {
  Canvas c(4, 3, 100);
  c.region.CreateRect(0, 0, 1, 1, CombineMode::Or, true);
  Bits src(3, 3);
  BitsPaint(c.target, 0, 0, src, -1, 100, true);
  EXPECT_EQ(c.B(0, 0), 0);
  EXPECT_EQ(c.B(1, 0), 100);
  BitsPaint(c.target, 0, 0, src, -1, 100, false);
  EXPECT_EQ(c.B(1, 0), 0);
}

// ---------------------------------------------------------------------------
// Anti-aliased line and ellipse, worked by hand.

TEST(PaintingAntiAlias, LineWeightsByHand) {
  // (0, 0)-(1, 0): n = 2, four plots at x 0.25, 0.5, 0.75, 1.001, y 0.001.
  // Corner weights (left, right): (191, 64), (127, 127), (64, 191), then
  // (254, 0) one pixel further; the row below gets weights that round to 0.
  // White towards black at alpha 255:
  //   (0,0): 255 -> 64 -> 32.13 = 32 -> 23.97 = 24
  //   (1,0): 255 -> 191 -> 95.87 = 96 -> 24.09 = 24 -> 0.09 = 0
  Canvas c(4, 3, 255);
  BitsLine(c.target, 0, 0, 1, 0, 0, 100);
  ExpectGreys(c, {{24, 0, 255, 255}, {255, 255, 255, 255}, {255, 255, 255, 255}});
  EXPECT_TRUE(SpareBytesUntouched(c));
}

TEST(PaintingAntiAlias, OpacityZeroStillPaintsFaintly) {
  // alpha is raised to 1, so f = weight / 65025:
  //   (0,0): 255 -> 254.25 = 254 -> 253.50 = 254 -> 253.75 = 254
  //   (1,0): 255 -> 254.75 = 255 -> 254.50 = 255 -> 254.25 = 254 -> 253.01 = 253
  Canvas c(4, 3, 255);
  BitsLine(c.target, 0, 0, 1, 0, 0, 0);
  ExpectGreys(c, {{254, 253, 255, 255}, {255, 255, 255, 255}, {255, 255, 255, 255}});
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
  want[1][2] = after(48);
  want[1][3] = after(16);
  want[2][2] = after(143);
  want[2][3] = after(48);
  ExpectGreys(c, want);
  EXPECT_LT(want[1][3], 255);
  EXPECT_GT(want[1][3], want[1][2]);
}

// The plot and the line transcribed from their formulas, for whole-picture
// comparisons.
struct PlotReference {
  Bits& bits;
  int alpha;
  int part[3];
  void Plot(double px, double py) {
    if (std::floor(px) == px) px += 0.001;
    if (std::floor(py) == py) py += 0.001;
    const double ax = px - 0.5, ay = py - 0.5, by = ay + 1;
    const int ix = Round(ax), iy = Round(ay), iy2 = Round(by);
    const double cx = ix + 0.5;
    const double hx = (cx - ax) * 256 - cx + ax, lx = 255 - hx;
    const double wy0 = iy + 0.5 - ay, wy1 = by - iy2 + 0.5;
    const struct {
      int x, y;
      double w;
    } corners[4] = {{ix, iy, wy0 * hx}, {ix + 1, iy, wy0 * lx}, {ix, iy2, wy1 * hx}, {ix + 1, iy2, wy1 * lx}};
    for (const auto& k : corners) {
      if (k.x < 0 || k.y < 0 || k.x >= bits.Width() || k.y >= bits.Height()) continue;
      const double f = RoundByte(k.w) / 255.0 * alpha / 255;
      for (int ch = 0; ch < 3; ++ch) {
        uint8_t& v = bits.At(ch, k.x, k.y);
        v = RoundByte(v - f * (v - part[ch]));
      }
    }
  }
  void Line(int x1, int y1, int x2, int y2) {
    const double dx = x2 - x1, dy = y2 - y1, n = std::max(std::fabs(dx), std::fabs(dy)) + 1;
    double px = x1, py = y1;
    for (int step = 0; step < 2 * n; ++step) {
      px += dx / n / 2;
      py += dy / n / 2;
      Plot(px, py);
    }
  }
};

TEST(PaintingAntiAlias, ShapesMatchTheFormulasEverywhere) {
  struct Case {
    int x1, y1, x2, y2;
    double opacity;
  } lines[] = {{2, 3, 17, 9, 60}, {15, 1, 3, 14, 100}, {4, 12, 4, 2, 25}, {-3, -2, 8, 5, 80}};
  for (const auto& l : lines) {
    Canvas c(20, 16, 240), ref(20, 16, 240);
    BitsLine(c.target, l.x1, l.y1, l.x2, l.y2, RGB(10, 90, 200), l.opacity);
    PlotReference{ref.bits, std::max(1, Round(l.opacity * 2.55)), {200, 90, 10}}.Line(l.x1, l.y1, l.x2, l.y2);
    EXPECT_TRUE(c.bits == ref.bits) << "line " << l.x1 << "," << l.y1 << " - " << l.x2 << "," << l.y2;
  }
  struct ECase {
    double x, y, rx, ry;
  } ellipses[] = {{10, 8, 6, 4}, {9.5, 7, 3, 7}, {10, 8, -5, -2}};
  for (const auto& e : ellipses) {
    Canvas c(20, 16, 30), ref(20, 16, 30);
    BitsEllipse(c.target, e.x, e.y, e.rx, e.ry, RGB(250, 0, 128), 70);
    PlotReference plot{ref.bits, Round(70 * 2.55), {128, 0, 250}};
    const double m = std::max(e.rx, e.ry), v = 6.283185 * 0.085;
    const double step = m < 0 ? -v / m : v / m;
    for (double a = 0; a < 6.283185;) {
      a += step;
      plot.Plot(e.x + e.rx * std::cos(a), e.y + e.ry * std::sin(a));
    }
    EXPECT_TRUE(c.bits == ref.bits) << "ellipse " << e.rx << " x " << e.ry;
  }
  // The rectangle's four sides in their order, each from its own start.
  Canvas r(12, 10, 255), rref(12, 10, 255);
  BitsRectangle(r.target, 2, 2, 9, 7, 0, 40);
  PlotReference rplot{rref.bits, 102, {0, 0, 0}};
  rplot.Line(2, 2, 9, 2), rplot.Line(9, 2, 9, 7), rplot.Line(9, 7, 2, 7), rplot.Line(2, 7, 2, 2);
  EXPECT_TRUE(r.bits == rref.bits);
  // A square round (6, 5) with a corner at (10, 5): a0 = 0, R = 4, step
  // 1.570795, four sides (a0 + 4.712385 <= a0 + 4.713385); the corners round
  // to (10, 5), (6, 9), (2, 5), (6, 1).
  Canvas p(12, 10, 255), pref(12, 10, 255);
  BitsPolygon(p.target, 6, 5, 10, 5, 4, 0, 100);
  PlotReference pplot{pref.bits, 255, {0, 0, 0}};
  pplot.Line(10, 5, 6, 9), pplot.Line(6, 9, 2, 5), pplot.Line(2, 5, 6, 1), pplot.Line(6, 1, 10, 5);
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

TEST(PaintingDisc, BrushSizesAndOncePerStroke) {
  Canvas c(9, 9, 255);
  BitsBrush(c.target, 4, 4, 1, 100, 0);  // r = Round(0.5) = 0: one pixel
  EXPECT_EQ(c.B(4, 4), 0);
  EXPECT_EQ(c.B(3, 4), 255);
  EXPECT_EQ(c.B(4, 3), 255);

  Canvas d(9, 9, 255);
  BitsBrush(d.target, 4, 4, 5, 50, RGB(0, 0, 100));  // r = Round(2.5) = 2, limit 5
  BitsBrush(d.target, 4, 4, 5, 50, RGB(0, 0, 100));  // same stroke: nothing more
  const auto disc = Disc(4, 4, 5);
  EXPECT_EQ(disc.size(), 13u);  // rows of 1, 3, 5, 3, 1
  for (int y = 0; y < 9; ++y)
    for (int x = 0; x < 9; ++x) {
      const bool in = disc.count({x, y}) > 0;
      ASSERT_EQ(d.B(x, y), in ? 178 : 255) << x << "," << y;  // 0.5 * 100 + 127.5 = 177.5 -> 178
      ASSERT_EQ(d.R(x, y), in ? 128 : 255) << x << "," << y;  // 127.5 -> 128
    }
  CreateDoneBitsTable(d.target);  // a new stroke paints again
  BitsBrush(d.target, 4, 4, 1, 50, RGB(0, 0, 100));
  EXPECT_EQ(d.R(4, 4), 64);
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
    const double len = 0.7;
    double px = x1, py = y1;
    for (int i = 0; i <= Round(n / len); ++i) {
      for (const auto& p : Disc(Round(px), Round(py), 7))
        if (p.first >= 0 && p.second >= 0 && p.first < 32 && p.second < 30) touched.insert(p);
      px += static_cast<double>(dx) / n * len;
      py += static_cast<double>(dy) / n * len;
    }
  }
  for (int y = 0; y < 30; ++y)
    for (int x = 0; x < 32; ++x) ASSERT_EQ(c.B(x, y), touched.count({x, y}) ? 128 : 255) << x << "," << y;
  EXPECT_TRUE(SpareBytesUntouched(c));
}

TEST(PaintingDisc, BrushLineStepsAndModes) {
  // Size 1 steps a tenth of (dx / n): from (1,1) to (6,1) n = 6, 61 dabs
  // from x 1 to 1 + 60 * 5 / 60 = 6; the end point is reached, not passed.
  Canvas c(10, 3, 255);
  BitsBrushLine(c.target, 1, 1, 6, 1, 1, 100, 0, kBrushPaint);  // size 1: r 0, stepLen 0.1
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
}

TEST(PaintingDisc, BrightnessTables) {
  Canvas c(5, 5, 10, 100, 240);
  BitsBrightness(c.target, 2, 2, 1, 50, true);
  EXPECT_EQ(c.B(2, 2), 15);  // 1.5 * 10
  EXPECT_EQ(c.G(2, 2), 150);
  EXPECT_EQ(c.R(2, 2), 255);  // 360 capped
  Canvas d(5, 5, 5, 3, 255);
  BitsBrightness(d.target, 2, 2, 1, 50, false);
  EXPECT_EQ(d.B(2, 2), 2);    // 2.5 -> 2
  EXPECT_EQ(d.G(2, 2), 2);    // 1.5 -> 2
  EXPECT_EQ(d.R(2, 2), 128);  // 127.5 -> 128
}

// Soften and sharpen in place over the disc, from their formulas.
void ReferenceNeighbourhood(Bits& b, int cx, int cy, int size, int k, int d, bool sharpen) {
  const int r = Round(size * 0.5);
  for (int dy = -r; dy <= r; ++dy)
    for (int dx = -r; dx <= r; ++dx) {
      const int x = cx + dx, y = cy + dy;
      if (dx * dx + dy * dy >= r * r + 1 || x < 0 || y < 0 || x >= b.Width() || y >= b.Height()) continue;
      for (int ch = 0; ch < 3; ++ch) {
        const int around = b.At(ch, x - 1, y) + b.At(ch, x, y - 1) + b.At(ch, x, y + 1) + b.At(ch, x + 1, y);
        if (sharpen) {
          const int v = (b.At(ch, x, y) * k - around) / d;
          b.At(ch, x, y) = static_cast<uint8_t>(std::clamp(v, 0, 255));
        } else {
          b.At(ch, x, y) = static_cast<uint8_t>((b.At(ch, x, y) * k + around) / d);
        }
      }
    }
}

TEST(PaintingDisc, SoftenAndSharpenInPlace) {
  auto pattern = [](Canvas& c) {
    for (int y = 0; y < c.bits.Height(); ++y)
      for (int x = 0; x < c.bits.Width(); ++x)
        c.Set(x, y, static_cast<uint8_t>((x * 37 + y * 11) % 256), static_cast<uint8_t>((x * y * 7) % 256),
              static_cast<uint8_t>(((x + y) % 2) * 250));
  };
  struct Case {
    double strength;
    int k;
  } softs[] = {{100, 0}, {25, 8}, {50, 5}, {0, 10}};
  for (const auto& s : softs) {
    Canvas c(12, 10, 0), ref(12, 10, 0);
    pattern(c), pattern(ref);
    BitsSoften(c.target, 5, 4, 6, s.strength, false);
    ReferenceNeighbourhood(ref.bits, 5, 4, 6, s.k, s.k + 4, false);
    EXPECT_TRUE(c.bits == ref.bits) << "soften " << s.strength;
    // Without force a second pass in the same stroke changes nothing; with force it does.
    Bits before = c.bits;
    BitsSoften(c.target, 5, 4, 6, s.strength, false);
    EXPECT_TRUE(c.bits == before);
    BitsSoften(c.target, 5, 4, 6, s.strength, true);
    ReferenceNeighbourhood(ref.bits, 5, 4, 6, s.k, s.k + 4, false);
    EXPECT_TRUE(c.bits == ref.bits) << "forced soften " << s.strength;
  }
  struct SCase {
    double strength;
    int k;
  } sharps[] = {{100, 8}, {50, 12}, {0, 15}, {22.5, 14}};
  for (const auto& s : sharps) {
    Canvas c(12, 10, 0), ref(12, 10, 0);
    pattern(c), pattern(ref);
    BitsSharpen(c.target, 6, 5, 7, s.strength);
    ReferenceNeighbourhood(ref.bits, 6, 5, 7, s.k, s.k - 4, true);
    EXPECT_TRUE(c.bits == ref.bits) << "sharpen " << s.strength;
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
      const int want = (tx < 2 && ty < 2) ? 100 + 10 * tx + ty : 0;
      ASSERT_EQ(c.G(x, y), want) << x << "," << y;
    }
}

TEST(PaintingDisc, AirbrushDensitySoftnessAndSeed) {
  Canvas none(9, 9, 255);
  none.random.Seed(3);
  BitsAirbrush(none.target, 4, 4, 5, 100, 0, 0, 0);  // density 0: values are >= 0, none <= 0 bar exact 0
  int painted = 0;
  for (int y = 0; y < 9; ++y)
    for (int x = 0; x < 9; ++x) painted += none.B(x, y) != 255;
  EXPECT_LE(painted, 1);

  // Full density, softness 0 (f = 1): a = 1 - dist / r; at the centre full, at
  // distance r nothing, at distance 1 (r = 2) half: 127.5 -> 128.
  Canvas c(9, 9, 255);
  BitsAirbrush(c.target, 4, 4, 5, 100, 100, 0, 0);
  EXPECT_EQ(c.B(4, 4), 0);
  EXPECT_EQ(c.B(5, 4), 128);
  EXPECT_EQ(c.B(6, 4), 255);
  EXPECT_EQ(c.B(5, 5), RoundByte(255 * (std::sqrt(2.0) / 2)));
  // Repeated passes build up.
  BitsAirbrush(c.target, 4, 4, 5, 100, 100, 0, 0);
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
  FillScan(c.bits, *c.region.RegionMain(), c.done, 1, 1, old, 765, [&](uint8_t*, int32_t x, int32_t y) {
    order.push_back({x, y});
  });
  // Pass 1 from the seed: left, right, up, down. Pass 2 from (0,1): the seed
  // (not marked before), (0,0), (0,2); from (2,1): (2,0), (2,2).
  const std::vector<std::pair<int, int>> want = {{0, 1}, {2, 1}, {1, 0}, {1, 2}, {1, 1},
                                                 {0, 0}, {0, 2}, {2, 0}, {2, 2}};
  EXPECT_EQ(order, want);
  // Every visited pixel is marked, and only those.
  for (int y = 0; y < 6; ++y)
    for (int x = 0; x < 6; ++x) EXPECT_EQ(c.done.Get(x, y), x < 3 && y < 3) << x << "," << y;
}

TEST(PaintingFill, SeedIsBlendedTwiceWhenItPassesAgain) {
  // White, black at 50 %: the seed first becomes Round(127.5) = 128; the
  // tables map 255 -> Round(127.5 + 0) = 128 and 128 -> 64. The blended seed
  // lies 3 * 127 = 381 from white.
  for (const auto& [tolerance, seed] : {std::pair{381, 64}, std::pair{380, 128}}) {
    Canvas c(4, 3, 255);
    BitsFill(c.target, 1, 1, 0, tolerance, 50);
    ExpectGreys(c, {{128, 128, 128, 128}, {128, seed, 128, 128}, {128, 128, 128, 128}});
    EXPECT_TRUE(SpareBytesUntouched(c));
  }
  // At 100 % the second pass changes nothing visible.
  Canvas c(4, 3, 255);
  BitsFill(c.target, 1, 1, RGB(10, 20, 30), 765, 100);
  EXPECT_EQ(c.R(1, 1), 10);
  EXPECT_EQ(c.G(1, 1), 20);
  EXPECT_EQ(c.B(1, 1), 30);
  EXPECT_EQ(c.B(3, 2), 30);
}

TEST(PaintingFill, ToleranceIsMeasuredFromTheSeed) {
  // A ramp 0, 5, 10, 15, 20, 25 on all channels: distances from the seed 0,
  // 15, 30, 45, ... With tolerance 30 only x 0..2 pass, though each step is 15.
  Canvas c(6, 1, 0);
  for (int x = 0; x < 6; ++x) c.Set(x, 0, 5 * x, 5 * x, 5 * x);
  BitsFill(c.target, 0, 0, RGB(200, 200, 200), 30, 100);
  ExpectGreys(c, {{200, 200, 200, 15, 20, 25}});
}

TEST(PaintingFill, NearColourChangesOnlyTheSeedAndTablesRound) {
  Canvas c(4, 3, 100);
  BitsFill(c.target, 2, 1, RGB(109, 91, 100), 765, 100);
  EXPECT_EQ(c.R(2, 1), 109);
  EXPECT_EQ(c.G(2, 1), 91);
  EXPECT_EQ(c.R(1, 1), 100);
  EXPECT_EQ(c.R(3, 1), 100);
  // 30 %: a = 1 - 0.3 and w = 1 - a, in doubles, so w * 255 is
  // 76.50000000000001; the seed's sum 70 + 76.50000000000001 is the double
  // 146.5, a tie that goes to 146, while the tables round w * 255 first:
  // Round(70 + 77) = 147.
  Canvas d(4, 3, 100);
  BitsFill(d.target, 0, 0, RGB(255, 255, 255), 0, 30);
  const double a = 1 - 30 / 100.0, w = 1 - a;
  EXPECT_GT(w * 255, 76.5);
  EXPECT_EQ(a * 100 + w * 255, 146.5);
  EXPECT_EQ(d.R(0, 0), 146);
  EXPECT_EQ(d.R(3, 2), 147);
  // White over white-ish at 50 %: Round(0.5 * 255 + Round(127.5) = 128) would
  // be 256; it stays at 255.
  Canvas e(3, 1, 255, 255, 0);
  BitsFill(e.target, 0, 0, RGB(255, 255, 255), 765, 50);
  EXPECT_EQ(e.B(2, 0), 255);
  EXPECT_EQ(e.R(2, 0), 128);
  EXPECT_EQ(e.R(0, 0), 192);  // the seed: 127.5 -> 128, then Round(64 + 128)
}

TEST(PaintingFill, TextureFillUsesTheTileAtEachPixel) {
  Bits tile(1, 1);  // periods 2: tile (0, 0) and its zero frame alternate
  tile.At(0, 0, 0) = 40, tile.At(1, 0, 0) = 80, tile.At(2, 0, 0) = 120;
  Canvas c(4, 2, 200);
  BitsFillTexture(c.target, 0, 0, tile, 765, 50);
  // Tile pixel at (x mod 2, y mod 2): (0,0) is the tile, others the zero frame.
  // Seed (0, 0): 0.5 * 200 + 0.5 * 40 = 120, then again 0.5 * 120 + 20 = 80.
  EXPECT_EQ(c.B(0, 0), 80);
  EXPECT_EQ(c.R(0, 0), 0.5 * (0.5 * 200 + 60) + 60);
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

TEST(PaintingClip, EveryPrimitiveStaysInsideTheSelection) {
  const int w = 24, h = 20;
  Bits tile(3, 3);
  tile.Fill(0);
  Bits big(16, 14);  // zero: black, and a fully painting mask
  auto run = [&](PaintTarget& t, int which) {
    switch (which) {
      case 0:
        BitsBrush(t, 12, 10, 15, 100, 0);
        break;
      case 1:
        BitsBrushLine(t, 2, 3, 21, 17, 6, 100, 0, kBrushPaint);
        break;
      case 2:
        BitsAirbrush(t, 12, 10, 15, 100, 100, 0, 0);
        break;
      case 3:
        BitsBrightness(t, 12, 10, 15, 100, false);
        break;
      case 4:
        BitsMasked(t, 12, 10, tile, 15, 100);
        break;
      case 5:
        BitsSoften(t, 12, 10, 15, 100, false);
        break;
      case 6:
        BitsSharpen(t, 12, 10, 15, 100);
        break;
      case 7:
        BitsFill(t, 12, 10, 0, 765, 100);
        break;
      case 8:
        BitsFillTexture(t, 12, 10, tile, 765, 100);
        break;
      case 9:
        BitsLine(t, -4, 2, 30, 18, 0, 100);
        break;
      case 10:
        BitsEllipse(t, 12, 10, 8, 6, 0, 100);
        break;
      case 11:
        BitsPolygon(t, 12, 10, 16, 12, 5, 0, 100);
        break;
      case 12:
        BitsPaint(t, 2, 1, big, -1, 100, true);
        break;
      case 13:
        BitsBWMask(t, 2, 1, big, 0, 100);
        break;
    }
  };
  for (int which = 0; which < 14; ++which) {
    Canvas c(w, h, 0);
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) c.Set(x, y, static_cast<uint8_t>(120 + (x * 3 + y) % 60), 200, 160);
    const Bits before = c.bits;
    // An ellipse plus a rectangle: the selection is walked as spans.
    c.region.CreateEllipse(6, 4, 18, 16, CombineMode::Or, true);
    c.region.CreateRect(0, 0, 5, 3, CombineMode::Or, true);
    const RectRegion& sel = *c.region.Region();
    run(c.target, which);
    int inside = 0;
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) {
        const bool changed = std::memcmp(c.bits.Pixel(x, y), before.Pixel(x, y), 4) != 0;
        if (!sel.Contains(x, y)) {
          ASSERT_FALSE(changed) << "primitive " << which << " at " << x << "," << y;
        }
        inside += changed;
      }
    EXPECT_GT(inside, 0) << "primitive " << which;
    EXPECT_TRUE(std::memcmp(c.bits.Data(), before.Data(), c.bits.Stride() * 2) == 0) << "frame, primitive " << which;
  }
}

TEST(PaintingClip, FillDoesNotCrossTheBorderAndSeedOutsideIsNotBlended) {
  Canvas c(6, 3, 255);
  c.region.CreateRect(2, 0, 6, 3, CombineMode::Or, true);
  BitsFill(c.target, 1, 1, 0, 765, 100);
  // The seed (1, 1) lies outside: it keeps its colour, but the walk starts
  // from it and reaches (2, 1) inside the selection.
  ExpectGreys(c, {{255, 255, 0, 0, 0, 0}, {255, 255, 0, 0, 0, 0}, {255, 255, 0, 0, 0, 0}});
}

TEST(PaintingClip, NothingHappensWithoutAPicture) {
  Canvas c(8, 8, 90);
  c.exists = false;
  const Bits before = c.bits;
  Bits tile(3, 3);
  BitsBrush(c.target, 4, 4, 5, 100, 0);
  BitsBrushLine(c.target, 0, 0, 7, 7, 5, 100, 0, kBrushPaint);
  BitsAirbrush(c.target, 4, 4, 5, 100, 100, 0, 0);
  BitsLine(c.target, 0, 0, 7, 7, 0, 100);
  BitsEllipse(c.target, 4, 4, 3, 3, 0, 100);
  BitsFill(c.target, 4, 4, 0, 765, 100);
  BitsFillTexture(c.target, 4, 4, tile, 765, 100);
  BitsPaint(c.target, 0, 0, tile, -1, 100, false);
  BitsSharpen(c.target, 4, 4, 5, 50);
  BitsSoften(c.target, 4, 4, 5, 50, true);
  EXPECT_TRUE(c.bits == before);
  CreateDoneBitsTable(c.target);
  EXPECT_EQ(c.done.MaxX(), 2);  // a 0 x 0 table without a picture
}

// ---------------------------------------------------------------------------
// The command line.

TEST(PaintingCli, FillRunClearsTheStrokeTableAndHonoursTheSelection) {
  test::TempDir dir;
  Bits in(5, 4);
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 5; ++x) {
      uint8_t* p = in.Pixel(x, y);
      p[0] = p[1] = p[2] = x == 2 ? 0 : 200;  // a black wall at x = 2
    }
  std::string error;
  ASSERT_TRUE(SavePictureFile(dir / "in.png", in, error)) << error;
  // Red 255 at 50 % from (0, 0), tolerance 25, selection rows 0..2.
  auto r = test::RunCli({"paint", "BitsFill", "0", "0", "255", "25", "50", (dir / "in.png").string(),
                         (dir / "out.png").string(), "--select", "0,0,5,3"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  Bits out;
  ASSERT_TRUE(LoadPictureFile(dir / "out.png", out, error)) << error;
  // Others: blue and green Round(0.5 * 200 + 0) = 100, red Round(100 + Round(127.5) = 128) = 228.
  // The seed first RoundByte(100 + 127.5) = 228 (227.5 ties to even) and
  // then lies 100 + 100 + 28 = 228 from its old colour: outside 25, once only.
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 5; ++x) {
      const uint8_t* p = out.Pixel(x, y);
      const bool filled = x < 2 && y < 3;
      EXPECT_EQ(p[0], filled ? 100 : (x == 2 ? 0 : 200)) << x << "," << y;
      EXPECT_EQ(p[2], filled ? 228 : (x == 2 ? 0 : 200)) << x << "," << y;
    }
  r = test::RunCli({"paint", "BitsGetPixel", "1", "0", (dir / "out.png").string(), (dir / "same.png").string()});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(r.out, "BitsGetPixel: " + std::to_string(228 | 100 << 8 | 100 << 16) + "\n");
  r = test::RunCli({"paint", "BitsBrushLine", "0", "0", "40000", "0", "5", "100", "0", "0", (dir / "in.png").string(),
                    (dir / "bad.png").string()});
  EXPECT_NE(r.exit_code, 0);
  EXPECT_NE(r.err.find("16-bit"), std::string::npos) << r.err;
  r = test::RunCli(
      {"paint", "BitsFill", "0", "0", "red", "25", "50", (dir / "in.png").string(), (dir / "bad.png").string()});
  EXPECT_NE(r.exit_code, 0);
}

}  // namespace
}  // namespace kelvane
