// Deformation filters: hand-worked small pictures, identities, the quirks, and
// slow references that follow the formulas literally (box loops, tiles laid
// one after another with their overlaps) compared over whole pictures.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "base/numeric.h"
#include "filters/filter_catalogue.h"
#include "filters/neighbourhood_test_support.h"

namespace kelvane {
namespace {

using namespace test;

// The engine's angle: pi taken as the single 3.141592.
float RefAngle(double dx, double dy) {
  const float pi = 3.141592f;
  if (dx == 0) return dy > 0 ? pi / 2 : -pi / 2;
  return static_cast<float>(std::atan(dy / dx) + (dx < 0 ? pi : 0));
}

constexpr double kDeg = 0.017453288659453392;
constexpr float kTurn = 6.283184f;

// Random bytes, the frame included, so that reads of the margin show.
Bits RandomPicture(int w, int h, unsigned seed) { return Noise(w, h, seed, true); }

// Each pixel a different colour: blue = x, green = y, red = x + 16 y.
Bits Numbered(int w, int h) {
  return MakePicture(w, h, [](int x, int y, int c) { return c == 0 ? x : c == 1 ? y : x + 16 * y; });
}

void CopyPixel(Bits& out, const Bits& in, long x, long y, long sx, long sy) {
  for (int c = 0; c < 3; ++c) out.At(c, x, y) = in.At(c, sx, sy);
}

const RectRegion& Ellipse() {
  static const RectRegion e = RectRegion::FromEllipse(3, 2, 34, 21);
  return e;
}

TEST(DeformIdentities, NeutralParametersGiveTheInputBack) {
  const Bits pic = RandomPicture(9, 7, 1);
  const FilterCall calls[] = {
      [](cBitFilter& f) { return f.ROTATE(0, true); },     [](cBitFilter& f) { return f.RotateSmooth(0); },
      [](cBitFilter& f) { return f.STRETCH(0, 0, true); }, [](cBitFilter& f) { return f.FOLD(0, 0, true); },
      [](cBitFilter& f) { return f.WAVES(25, 0, 40); },
      [](cBitFilter& f) { return f.LENS(0.5, 0.5, 0.3, 0); },  // F = R, S = 0, limit 0
      [](cBitFilter& f) { return f.Texturize(Flat(5, 4, 128)); }};
  for (size_t i = 0; i < std::size(calls); ++i) EXPECT_TRUE(SameBits(pic, Apply(pic, Whole(pic), calls[i]))) << i;
}

TEST(DeformRotate, QuarterTurnWithAndWithoutCleanBack) {
  // 5 x 5, centre (2, 2). 90 degrees is 1.5707959793507752 rad: c = 3.5e-7,
  // s = 1 - 6e-14, so the source of (x, y) is (4 - y, x). On the top three
  // rows a source is in the region only for x < 3: columns 3 and 4 turn black
  // with clean back and keep the input without. Rows 3 and 4 stay.
  const Bits pic = Numbered(5, 5);
  for (bool clean : {true, false}) {
    const Bits out = Apply(pic, RectRegion::FromRect(0, 0, 5, 3), [&](cBitFilter& f) { return f.ROTATE(90, clean); });
    for (int y = 0; y < 5; ++y)
      for (int x = 0; x < 5; ++x) {
        const int expected = y >= 3 || (x >= 3 && !clean) ? x + 16 * y : x >= 3 ? 0 : (4 - y) + 16 * x;
        EXPECT_EQ(out.At(2, x, y), expected) << x << "," << y << " clean " << clean;
      }
  }
}

TEST(DeformRotate, SmoothMatchesBilinearReferenceWithSingleCoordinates) {
  const Bits pic = RandomPicture(31, 19, 3);
  for (const RectRegion& region : {Ellipse(), RectRegion::FromRect(-3, -2, 35, 22)})
    for (double deg : {17.0, 90.0, 180.0, -33.3}) {
      const double c = std::cos(deg * kDeg), s = std::sin(deg * kDeg);
      Bits expected = pic;
      const Rect b = region.Box();
      for (int y = b.top; y < b.bottom; ++y)
        for (int x = b.left; x < b.right; ++x) {
          if (!pic.InArray(x, y)) continue;
          const float u = static_cast<float>((x - 15) * c - (y - 9) * s + 15);
          const float v = static_cast<float>((x - 15) * s + (y - 9) * c + 9);
          const int x0 = static_cast<int>(std::floor(u)), y0 = static_cast<int>(std::floor(v));
          if (x0 < 0 || x0 > 30 || y0 < 0 || y0 > 18) continue;  // outside BitsBounds: the pixel stays
          const double fx = u - x0, fy = v - y0;
          for (int ch = 0; ch < 3; ++ch) {
            const long l = RefRound((1 - fy) * pic.At(ch, x0, y0) + fy * pic.At(ch, x0, y0 + 1));
            const long r = RefRound((1 - fy) * pic.At(ch, x0 + 1, y0) + fy * pic.At(ch, x0 + 1, y0 + 1));
            expected.At(ch, x, y) = static_cast<uint8_t>(RefRound((1 - fx) * l + fx * r));
          }
        }
      EXPECT_TRUE(SameBits(expected, Apply(pic, region, [&](cBitFilter& f) { return f.RotateSmooth(deg); }))) << deg;
    }
}

TEST(DeformStretchFold, HandWorkedRowsWithTiesAndCleanBack) {
  // 7 x 5, cx = 3, blue = x. STRETCH -50 0: X(x) = round((x - 3) * 0.5 + 3) = 2 (1.5), 2, 2 (2.5), 3,
  // 4 (3.5), 4, 4 (4.5). STRETCH 100 0: X(x) = 2x - 3 = -3, -1, 1, 3, 5, 7, 9; outside the region, black.
  // FOLD 0 100: x' = round(dx * (dy / 4 + 1) + 3); row 0 (factor 0.5) as STRETCH -50; row 4 (factor 1.5):
  // -4.5 + 3 -> -2 (outside: stays), 0, 1.5 -> 2, 3, 4.5 -> 4, 6, 7.5 -> 8 (stays); row 2 unmoved.
  const Bits pic = Numbered(7, 5);
  const std::tuple<FilterCall, int, std::array<int, 7>> rows[] = {
      {[](cBitFilter& f) { return f.STRETCH(-50, 0, false); }, 3, {2, 2, 2, 3, 4, 4, 4}},
      {[](cBitFilter& f) { return f.STRETCH(100, 0, true); }, 3, {0, 0, 1, 3, 5, 0, 0}},
      {[](cBitFilter& f) { return f.FOLD(0, 100, false); }, 0, {2, 2, 2, 3, 4, 4, 4}},
      {[](cBitFilter& f) { return f.FOLD(0, 100, false); }, 2, {0, 1, 2, 3, 4, 5, 6}},
      {[](cBitFilter& f) { return f.FOLD(0, 100, false); }, 4, {0, 0, 2, 3, 4, 6, 6}}};
  for (const auto& [call, y, blue] : rows) {
    const Bits out = Apply(pic, Whole(pic), call);
    for (int x = 0; x < 7; ++x) EXPECT_EQ(out.At(0, x, y), blue[x]) << x << "," << y;
  }
}

// The source-tested filters against their formulas through the literal frame
// (every point of the box; a source in the region is copied unless it lies
// past the array, one outside it is painted black with clean back), on the
// ellipse and on a region reaching past the array. 37 x 23: cx = 18, cy = 11.
TEST(DeformSourceTested, MatchTheirFormulasOnEllipseAndOversizedRegion) {
  const Bits pic = RandomPicture(37, 23, 2);
  const RectRegion big = RectRegion::FromRect(-6, -5, 44, 29);
  using Map = std::function<void(long x, long y, long& sx, long& sy)>;
  struct Case {
    std::string name;
    bool clean;  // takes a clean back flag
    std::function<Bits(cBitFilter&, bool)> call;
    Map map;
  };
  const double c = std::cos(30 * kDeg), s = std::sin(30 * kDeg);
  const float bend = static_cast<float>(-150.0 / 100 + 2);
  const double twirlK = 55.0 / 10 / 18, twirlO = -30 * kDeg;
  const auto large = [](double v) { return v + 2 * std::tan(v); };
  const auto tight = [](double v) { return v - 10 * std::cos(v); };
  std::vector<Case> cases = {
      {"ROTATE 30", true, [](cBitFilter& f, bool k) { return f.ROTATE(30, k); },
       [&](long x, long y, long& sx, long& sy) {
         sx = RefRound((x - 18) * c - (y - 11) * s + 18), sy = RefRound((x - 18) * s + (y - 11) * c + 11);
       }},
      {"FOLD 40 -70", true, [](cBitFilter& f, bool k) { return f.FOLD(40, -70, k); },
       [&](long x, long y, long& sx, long& sy) {
         const double dx = x - 18, dy = y - 11;
         sx = RefRound(dx * ((dy / 100 * -70) / 22 + 1) + 18), sy = RefRound(dy * ((dx / 100 * 40) / 36 + 1) + 11);
       }},
      {"BEND -150", true, [](cBitFilter& f, bool k) { return f.BEND(-150, k); },
       [&](long x, long y, long& sx, long& sy) {
         const double dx = x - 18, dy = y - 11;
         double a = -RefAngle(dy, dx);  // the centre takes -AngleOf(0, 0) = pi / 2
         if (dy < 0 || dx > 0) a += kTurn;
         sx = RefRound(36 * a / kTurn), sy = RefRound(22 - bend * std::sqrt(dx * dx + dy * dy));
       }},
      {"TWIRL 55 -30", true, [](cBitFilter& f, bool k) { return f.TWIRL(55, -30, k); },
       [&](long x, long y, long& sx, long& sy) {
         const long dx = x - 18, dy = y - 11;
         const long rho = RefRound(std::sqrt(static_cast<double>(dx * dx + dy * dy)));
         const double a = RefAngle(dx, dy) - rho * twirlK;
         sx = rho == 0 ? 18 : RefRound(rho * std::cos(a + twirlO) + 18);
         sy = rho == 0 ? 11 : RefRound(rho * std::sin(a + twirlO) + 11);
       }},
  };
  auto glass = [&](const char* style, int level, Map map) {
    cases.push_back({std::string(style) + " " + std::to_string(level), false,
                     [=](cBitFilter& f, bool) { return f.GLASS(style, level); }, std::move(map)});
  };
  glass("vertical", 0, [&](long x, long y, long& sx, long& sy) { sx = RefRound(large(x)), sy = y; });
  glass("vertical", 2, [&](long x, long y, long& sx, long& sy) { sx = RefRound(tight(x)), sy = y; });
  glass("horizontal", 2, [&](long x, long y, long& sx, long& sy) { sx = x, sy = RefRound(tight(y)); });
  glass("squary", 0, [&](long x, long y, long& sx, long& sy) { sx = RefRound(large(x)), sy = RefRound(large(y)); });
  glass("squary", 2, [&](long x, long y, long& sx, long& sy) { sx = RefRound(tight(x)), sy = RefRound(tight(y)); });
  glass("curtain", 1, [&](long, long y, long& sx, long& sy) { sx = RefRound(std::tan(y)), sy = y; });
  glass("curtain", 3, [&](long x, long y, long& sx, long& sy) { sx = RefRound(std::tan(y) * std::tan(x)), sy = y; });
  glass("curtain", 4, [&](long x, long y, long& sx, long& sy) { sx = x, sy = RefRound(std::tan(x) + std::tan(y)); });
  for (const Case& k : cases)
    for (const RectRegion* region : {&Ellipse(), &big})
      for (bool clean : {false, true}) {
        if (clean && !k.clean) continue;
        Bits expected = pic;
        const Rect b = region->Box();
        for (long y = b.top; y < b.bottom; ++y)
          for (long x = b.left; x < b.right; ++x) {
            long sx, sy;
            if (!pic.InArray(x, y)) continue;
            k.map(x, y, sx, sy);
            if (region->Contains(sx, sy)) {
              if (pic.InArray(sx, sy)) CopyPixel(expected, pic, x, y, sx, sy);
            } else if (clean) {
              for (int ch = 0; ch < 3; ++ch) expected.At(ch, x, y) = 0;
            }
          }
        EXPECT_TRUE(SameBits(expected, Apply(pic, *region, [&](cBitFilter& f) { return k.call(f, clean); })))
            << k.name << " clean " << clean << (region == &big ? " oversized" : " ellipse");
      }
}

TEST(DeformWaves, HandWorkedRowsClampAndDestinationTest) {
  const Bits pic = Numbered(3, 5);
  // f = 90, amp = 8: T(y) = round(y + 2 sin(90 y degrees)) = 0, 3, 2 (+1.4e-6), 1, 4 (-2.8e-6).
  // amp = 40: 0, 11 -> 4, 2, -7 -> 0, 4: the edge rows repeat.
  const Bits out8 = Apply(pic, Whole(pic), [](cBitFilter& f) { return f.WAVES(90, 8, 0); });
  const Bits out40 = Apply(pic, Whole(pic), [](cBitFilter& f) { return f.WAVES(90, 40, 0); });
  const int rows8[5] = {0, 3, 2, 1, 4}, rows40[5] = {0, 4, 2, 0, 4};
  for (int y = 0; y < 5; ++y) {
    EXPECT_EQ(out8.At(1, 1, y), rows8[y]) << y;
    EXPECT_EQ(out40.At(1, 2, y), rows40[y]) << y;
  }
  // The destination is tested: only column 1 of rows 1..3 changes.
  Bits expected = pic;
  CopyPixel(expected, pic, 1, 1, 1, 4);
  CopyPixel(expected, pic, 1, 3, 1, 0);
  EXPECT_TRUE(SameBits(expected, Apply(pic, RectRegion::FromRect(1, 1, 2, 4), [](cBitFilter& f) { return f.WAVES(90, 40, 0); })));
}

// The lens loop literally: every dx, dy from -R to R.
Bits RefLens(const Bits& in, const RectRegion& region, double xf, double yf, double dia, double mag) {
  Bits out = in;
  const int maxX = in.MaxX(), maxY = in.MaxY();
  const long cx = RefRound(xf * maxX), cy = RefRound(yf * maxY);
  const long r = RefRound(maxY < maxX ? dia * maxX : dia * maxY);
  const float f = static_cast<float>(r * (150 - mag) / 150);
  const double s = std::sqrt(static_cast<double>(r) * r - static_cast<double>(f) * f);
  const long limit = RefRound(s * s);
  for (long dy = -r; dy <= r; ++dy)
    for (long dx = -r; dx <= r; ++dx) {
      if (dx * dx + dy * dy >= limit || !region.Contains(dx + cx, dy + cy) || !in.InArray(dx + cx, dy + cy)) continue;
      const long z = RefRound(std::sqrt(static_cast<double>(r * r - dx * dx - dy * dy)));
      // F is a single, but dx * F is worked in double precision like all the
      // rest: -5 * 0.7f is -3.49999994, not the single -3.5.
      const double fd = f;
      const long sx = cx + RefRound(dx * fd) / z, sy = cy + RefRound(dy * fd) / z;
      if (in.InArray(sx, sy)) CopyPixel(out, in, dx + cx, dy + cy, sx, sy);
    }
  return out;
}

TEST(DeformLens, MatchesLiteralLoopIncludingFisheyePreset) {
  const Bits pic = RandomPicture(37, 23, 8);
  struct Case {
    double xf, yf, dia, mag;
  };
  for (const Case& c : {Case{0.4, 0.6, 0.3, 50}, Case{0.0, 1.0, 0.5, 100}, Case{0.9, 0.2, 0.25, 140},
                        Case{0.5, 0.5, 0.6, 200}, Case{50, 50, 60, 60}})
    for (const RectRegion& region : {Ellipse(), Whole(pic)})
      EXPECT_TRUE(SameBits(RefLens(pic, region, c.xf, c.yf, c.dia, c.mag),
                           Apply(pic, region, [&](cBitFilter& f) { return f.LENS(c.xf, c.yf, c.dia, c.mag); })))
          << c.xf << " " << c.yf << " " << c.dia << " " << c.mag;
}

TEST(DeformLens, ProductWithTheSingleFactorIsWorkedInDouble) {
  // 15 x 15, centre (7, 7), diameter 0.5: R = round(0.5 * 14) = 7. Magnify
  // 135: F = 7 * 15 / 150 = 0.7, held as the single 0.699999988;
  // limit = round(49 - 0.49) = 49. At (dx, dy) = (-3, -5): z = round(sqrt 15)
  // = 4, round(-3 F) = round(-2.0999999) = -2 and round(-5 F) =
  // round(-3.49999994) = -3 (a single product would be -3.5 and give -4):
  // both divide to 0, so (4, 2) reads the centre (7, 7), not (7, 6).
  const Bits pic = Numbered(15, 15);
  const Bits out = Apply(pic, Whole(pic), [](cBitFilter& f) { return f.LENS(0.5, 0.5, 0.5, 135); });
  EXPECT_EQ(out.At(0, 4, 2), 7);
  EXPECT_EQ(out.At(1, 4, 2), 7);
  // (dx, dy) = (-4, -5): z = round(sqrt 8) = 3, round(-2.8) = -3 -> -1 and -3 -> -1: (6, 6).
  EXPECT_EQ(out.At(0, 3, 2), 6);
  EXPECT_EQ(out.At(1, 3, 2), 6);
  // Outside the limit (dx^2 + dy^2 >= 49) nothing moves: (0, 7) and (7, 0).
  EXPECT_EQ(out.At(0, 0, 7), 0);
  EXPECT_EQ(out.At(1, 7, 0), 0);
  EXPECT_TRUE(SameBits(RefLens(pic, Whole(pic), 0.5, 0.5, 0.5, 135), out));
}

TEST(DeformLens, LensAndFlareProgressRunsOverTheRowsOfTheCircle) {
  // 21 x 21, centre (10, 10), R = round(0.3 * 20) = 6: the circle's rows
  // 4..16 report Trunc((dy + 6) * 100 / 12), from 0 at dy = -6 (the first
  // report always goes out), whatever the picture row.
  const Bits pic = Flat(21, 21, 40);
  auto allowed = [](int p) {
    for (int k = 0; k <= 12; ++k)
      if (k * 100 / 12 == p) return true;
    return false;
  };
  for (int which = 0; which < 2; ++which)
    for (int threads : {1, 2}) {
      const std::vector<int> r = ProgressOf(pic, Whole(pic), [&](cBitFilter& f) {
        return which == 0 ? f.LENS(0.5, 0.5, 0.3, 60) : f.Light(0.5, 0.5, 0.3, 50, 50);
      }, threads);
      ASSERT_GE(r.size(), 2u);
      EXPECT_TRUE(threads == 2 || r.front() == 0) << which;
      EXPECT_EQ(r.back(), 100);
      EXPECT_TRUE(std::is_sorted(r.begin(), r.end())) << which;
      for (int p : r) EXPECT_TRUE(allowed(p)) << p;
    }
}

TEST(DeformLight, HandWorkedFlareCapAndFailure) {
  // 11 x 11, centre (5, 5), extension 0.2: R = 2. Definition 50: e = 0.5.
  // a = round((1 - 0.5 d / 2) * 100): d 0 -> 100, d 1 -> 75, d sqrt 2 -> round(64.64) = 65.
  Bits pic = Flat(11, 11, 100);
  pic.At(2, 6, 5) = 200;  // 200 + 75 caps at 255
  Bits expected = pic;
  for (int dy = -1; dy <= 1; ++dy)
    for (int dx = -1; dx <= 1; ++dx) {
      const int a = dx == 0 && dy == 0 ? 100 : dx == 0 || dy == 0 ? 75 : 65;
      for (int c = 0; c < 3; ++c)
        expected.At(c, 5 + dx, 5 + dy) = static_cast<uint8_t>(std::min(255, pic.At(c, 5 + dx, 5 + dy) + a));
    }
  EXPECT_TRUE(SameBits(expected, Apply(pic, Whole(pic), [](cBitFilter& f) { return f.Light(0.5, 0.5, 0.2, 100, 50); })));
  // Intensity -150 makes a byte negative, and a point of the circle past the
  // array fails too: the filter fails as a whole.
  EXPECT_TRUE(SameBits(pic, Apply(pic, Whole(pic), [](cBitFilter& f) { return f.Light(0.5, 0.5, 0.2, -150, 50); })));
  EXPECT_TRUE(SameBits(pic, Apply(pic, RectRegion::FromRect(-9, -9, 11, 11), [](cBitFilter& f) {
                         return f.Light(0, 0, 0.5, 10, 0);
                       })));
}

TEST(DeformTile, FactorTwoGivesTwoByTwoAndMatchesTheLaidTiles) {
  const Bits pic = RandomPicture(100, 100, 10);
  // w = h = round(99 / 2) = 50 (49.5 to even), sx = sy = 1.98.
  const Bits out = Apply(pic, Whole(pic), [](cBitFilter& f) { return f.TILE(2); });
  for (int y : {0, 7, 49, 50, 51, 99})
    for (int x : {0, 13, 49, 50, 77, 99})
      for (int c = 0; c < 3; ++c)
        ASSERT_EQ(out.At(c, x, y), pic.At(c, RefRound((x % 50) * 1.98), RefRound((y % 50) * 1.98))) << x << "," << y;
  // The literal loop: tiles from the box corner, each w + 1 by h + 1 points,
  // drawn one after another, on an ellipse whose box starts off the origin.
  const Bits small = RandomPicture(37, 23, 11);
  for (double factor : {2.0, 3.0, 7.5}) {
    const long w = std::max(1L, RefRound(36 / factor)), h = std::max(1L, RefRound(22 / factor));
    const double sx = 36.0 / w, sy = 22.0 / h;
    const Rect b = Ellipse().Box();
    Bits expected = small;
    for (long ty = b.top; ty < b.bottom; ty += h)
      for (long tx = b.left; tx < b.right; tx += w)
        for (long v = ty; v <= ty + h; ++v)
          for (long u = tx; u <= tx + w; ++u)
            if (Ellipse().Contains(u, v)) CopyPixel(expected, small, u, v, RefRound((u - tx) * sx), RefRound((v - ty) * sy));
    EXPECT_TRUE(SameBits(expected, Apply(small, Ellipse(), [&](cBitFilter& f) { return f.TILE(factor); }))) << factor;
  }
}

TEST(DeformTile, TiesRoundToEvenAndAFailedWidthBecomesOne) {
  // 6 x 3, factor 2: w = round(5 / 2 = 2.5) = 2, h = round(2 / 2) = 1;
  // sx = 5 / 2 = 2.5, sy = 2. Column offsets 0, 1 read columns 0 and
  // round(2.5) = 2; every row is offset 0 into its tile and reads row 0.
  // Factor 0: MaxX / 0 fails, w and h stay 0 and become 1; every offset is 0.
  const Bits pic = Numbered(6, 3);
  for (double factor : {2.0, 0.0}) {
    Bits expected = pic;
    for (int y = 0; y < 3; ++y)
      for (int x = 0; x < 6; ++x) CopyPixel(expected, pic, x, y, factor == 2 && x % 2 ? 2 : 0, 0);
    EXPECT_TRUE(SameBits(expected, Apply(pic, Whole(pic), [&](cBitFilter& f) { return f.TILE(factor); }))) << factor;
  }
}

// TileMask literally: tiles laid in order, later ones drawn over earlier ones;
// pixels of the transparent colour skipped.
Bits RefTileMask(const Bits& in, const RectRegion& region, const Bits& tile, long left, long top, bool tiled, double op,
                 int colour) {
  Bits out = in;
  const long stepX = tiled ? tile.Width() : in.MaxX() - left + 1, stepY = tiled ? tile.Height() : in.MaxY() - top + 1;
  for (long ty = top; ty <= in.MaxY(); ty += stepY)
    for (long tx = left; tx <= in.MaxX(); tx += stepX)
      for (long j = 0; j < tile.Height(); ++j)
        for (long i = 0; i < tile.Width(); ++i) {
          if (!region.Contains(tx + i, ty + j) || RGB(tile.At(2, i, j), tile.At(1, i, j), tile.At(0, i, j)) == colour)
            continue;
          for (int c = 0; c < 3; ++c)
            out.At(c, tx + i, ty + j) =
                static_cast<uint8_t>(RefRound(in.At(c, tx + i, ty + j) * (op / 100) + tile.At(c, i, j) * (1 - op / 100)));
        }
  return out;
}

TEST(DeformTileMask, OnceOrTiledMatchesLiteralLoopOnEllipse) {
  const Bits pic = RandomPicture(37, 23, 12);
  Bits tile = RandomPicture(7, 5, 13);
  tile.At(0, 2, 2) = 1, tile.At(1, 2, 2) = 2, tile.At(2, 2, 2) = 3;
  const int colour = RGB(3, 2, 1);
  struct Case {
    long left, top;
    bool tiled;
    double op;
  };
  for (const Case& c : {Case{4, 3, true, 50}, Case{-3, -2, true, 71}, Case{20, 15, false, 0}, Case{33, 20, false, 100}})
    EXPECT_TRUE(SameBits(RefTileMask(pic, Ellipse(), tile, c.left, c.top, c.tiled, c.op, colour),
                         Apply(pic, Ellipse(), [&](cBitFilter& f) {
                           return f.TileMask(tile, c.left, c.top, c.tiled, c.op, Colour{colour});
                         })))
        << c.left << "," << c.top;
}

TEST(DeformTileMask, FailuresLeaveThePictureWhole) {
  const Bits pic = Flat(5, 5, 100), tile = Flat(4, 4, 200);
  // Opacity 300: 100 * 3 + 200 * -2 = -100 is no byte.
  EXPECT_TRUE(SameBits(pic, Apply(pic, Whole(pic), [&](cBitFilter& f) { return f.TileMask(tile, 0, 0, true, 300, Colour{-1}); })));
  // Tiles at 0 and 4 cover columns up to 7; the region reaches column 9, but
  // the array ends at 6 (frame included): the write past it fails.
  EXPECT_TRUE(SameBits(pic, Apply(pic, RectRegion::FromRect(0, 0, 10, 5), [&](cBitFilter& f) {
                         return f.TileMask(tile, 0, 0, true, 0, Colour{-1});
                       })));
  // Reaching only into the frame is fine: tiles at 0 and 3 cover columns up
  // to 5, which is written in the frame; column 6 is covered by no tile.
  const Bits out = Apply(pic, RectRegion::FromRect(0, 0, 7, 5), [&](cBitFilter& f) {
    return f.TileMask(Flat(3, 3, 200), 0, 0, true, 0, Colour{-1});
  });
  EXPECT_EQ(out.At(0, 4, 4), 200);
  EXPECT_EQ(out.At(0, 5, 2), 200);
  EXPECT_EQ(out.At(0, 6, 2), 0);
}

TEST(DeformTexturize, MatchesLiteralLoopOnEllipse) {
  const Bits pic = RandomPicture(37, 23, 14), tex = RandomPicture(6, 4, 15);
  const Rect b = Ellipse().Box();
  Bits expected = pic;
  for (long ty = b.top; ty < b.bottom; ty += 3)
    for (long tx = b.left; tx < b.right; tx += 5)
      for (long j = 0; j <= 3; ++j)
        for (long i = 0; i <= 5; ++i)
          if (Ellipse().Contains(tx + i, ty + j))
            for (int c = 0; c < 3; ++c)
              expected.At(c, tx + i, ty + j) =
                  static_cast<uint8_t>(std::min(255L, RefRound(pic.At(c, tx + i, ty + j) * (tex.At(0, i, j) / 128.0))));
  EXPECT_TRUE(SameBits(expected, Apply(pic, Ellipse(), [&](cBitFilter& f) { return f.Texturize(tex); })));
}

TEST(DeformGrid, ColumnPassStartsAtTheRowNumberedLikeTheLeftEdge) {
  // Box 10..29 x 2..19. Rows 2, 9, 16 are drawn across; columns 10, 15, 20, 25
  // run down from row 10 (the left edge's number), not from row 2.
  const Bits pic = Flat(40, 30, 0);
  const Bits out = Apply(pic, RectRegion::FromRect(10, 2, 30, 20), [](cBitFilter& f) {
    return f.Grid(5, 7, false, Colour{0xFFFFFF}, 255);
  });
  Bits expected = pic;
  for (int y = 2; y <= 19; ++y)
    for (int x = 10; x <= 29; ++x)
      if ((y - 2) % 7 == 0 || ((x - 10) % 5 == 0 && y >= 10))
        for (int c = 0; c < 3; ++c) expected.At(c, x, y) = 255;
  EXPECT_TRUE(SameBits(expected, out));
}

// Grid literally: the row pass, the forced last row, the column pass from the
// row numbered like the box's left edge, the forced last column; every point
// tested against the region, every blend read from the input, a blend out of
// byte range skipped.
Bits RefGrid(const Bits& in, const RectRegion& region, long hs, long vs, bool force, int colour, double opacity) {
  Bits out = in;
  const Rect b = region.Box();
  const long left = b.left, right = b.right - 1, top = b.top, bottom = b.bottom - 1;
  const double o = opacity / 255;
  const int paint[3] = {(colour >> 16) & 255, (colour >> 8) & 255, colour & 255};
  auto point = [&](long x, long y) {
    if (!region.Contains(x, y)) return;
    for (int c = 0; c < 3; ++c) {
      const long v = RefRound(o * paint[c] + (1 - o) * in.At(c, x, y));
      if (v >= 0 && v <= 255) out.At(c, x, y) = static_cast<uint8_t>(v);
    }
  };
  for (long y = top; vs > 0 ? y <= bottom : y >= bottom; y += vs)
    for (long x = left; x <= right; ++x) point(x, y);
  if (force)
    for (long x = left; x <= right; ++x) point(x, in.MaxY());
  for (long x = left; hs > 0 ? x <= right : x >= right; x += hs)
    for (long y = left; y <= bottom; ++y) point(x, y);
  if (force)
    for (long y = top; y <= bottom; ++y) point(in.MaxX(), y);
  return out;
}

TEST(DeformGrid, EllipseAndEdgeSelectionsMatchTheLiteralPasses) {
  const Bits pic = RandomPicture(37, 23, 18);
  const RectRegion edge = RectRegion::FromRect(30, 4, 37, 23);  // reaches the last row and column
  const RectRegion low = RectRegion::FromEllipse(12, 1, 36, 22);  // columns begin at row 12, not 1
  const int colour = RGB(250, 20, 130);
  for (const RectRegion* region : {&Ellipse(), &edge, &low})
    for (auto [hs, vs] : {std::pair{4, 3}, std::pair{1, 5}, std::pair{7, 1}, std::pair{3, -2}})
      for (bool force : {false, true})
        for (int opacity : {90, 300})  // 300 drives some blends out of byte range
          EXPECT_TRUE(SameBits(RefGrid(pic, *region, hs, vs, force, colour, opacity), Apply(pic, *region, [&](cBitFilter& f) {
                                 return f.Grid(hs, vs, force, Colour{colour}, opacity);
                               })))
              << hs << " " << vs << " " << force << " " << opacity;
}

TEST(DeformGrid, ColumnPassReportsItsColumns) {
  // 301 x 11, box columns 5..300, rows 2..10. A negative vertical step takes
  // no row, so the first report comes from the column pass: Trunc(5 * 100 /
  // 300) = 1 for column 5, not the row rule's Trunc(2 * 100 / 10) = 20. The
  // later columns 75, 145, 215, 285 give 25, 48, 71, 95.
  const Bits pic = Flat(301, 11, 10);
  const RectRegion region = RectRegion::FromRect(5, 2, 301, 11);
  std::vector<int> reports = ProgressOf(pic, region, [](cBitFilter& f) { return f.Grid(70, -3, false, Colour{0}, 255); });
  ASSERT_GE(reports.size(), 2u);
  EXPECT_EQ(reports.front(), 1);
  EXPECT_EQ(reports.back(), 100);
  for (size_t i = 1; i + 1 < reports.size(); ++i)
    EXPECT_TRUE(reports[i] == 25 || reports[i] == 48 || reports[i] == 71 || reports[i] == 95) << reports[i];
  // With rows to draw, the row pass reports first by the row rule: row 2 of MaxY 10.
  reports = ProgressOf(pic, region, [](cBitFilter& f) { return f.Grid(70, 3, false, Colour{0}, 255); });
  EXPECT_EQ(reports.front(), 20);
}

TEST(DeformGlass, SlantingCounterRunsOverEveryPointOfTheBox) {
  const Bits pic = RandomPicture(20, 12, 16);
  const RectRegion region =
      RectRegion::Combine(RectRegion::FromRect(3, 2, 17, 11), RectRegion::FromRect(5, 4, 9, 8), CombineMode::Diff);
  for (int level : {0, 1}) {
    // The counter starts at 0 and rises after every point of the box, holes of the region included.
    Bits expected = pic;
    long t = 0;
    for (int y = 2; y < 11; ++y)
      for (int x = 3; x < 17; ++x, ++t) {
        const long sx = level == 0 ? RefRound(x - 3 * std::sin(static_cast<double>(t))) : x;
        const long sy = level == 1 ? RefRound(y - 10 * std::sin(static_cast<double>(t))) : y;
        if (region.Contains(sx, sy)) CopyPixel(expected, pic, x, y, sx, sy);
      }
    EXPECT_TRUE(SameBits(expected, Apply(pic, region, [&](cBitFilter& f) { return f.GLASS("slanting", level); })))
        << level;
  }
}

TEST(DeformGlass, UnknownStyleAndLevelPairsMoveNothing) {
  const Bits pic = RandomPicture(37, 23, 17);
  for (auto [style, level] : {std::pair{"curtain", 0}, {"slanting", 2}, {"Squary", 0}, {"nothing", 1}})
    EXPECT_TRUE(SameBits(pic, Apply(pic, Ellipse(), [&](cBitFilter& f) { return f.GLASS(style, level); })))
        << style << " " << level;
}

}  // namespace
}  // namespace kelvane
