// Deformation filters: hand-worked small pictures, identities, the quirks, and
// slow references that follow the formulas literally (box loops, tiles laid
// one after another with their overlaps) compared over whole pictures.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "base/numeric.h"
#include "document/rect_region.h"
#include "filters/bit_filter.h"
#include "filters/filter_catalogue.h"
#include "filters/filter_test_support.h"

namespace kelvane {
namespace {

using test::MakePicture;
using test::SameBits;

// Ties to even, written out with floor.
long RefRound(double v) {
  const double f = std::floor(v);
  const double frac = v - f;
  if (frac > 0.5) return static_cast<long>(f) + 1;
  if (frac < 0.5) return static_cast<long>(f);
  return static_cast<long>(f) % 2 == 0 ? static_cast<long>(f) : static_cast<long>(f) + 1;
}

// The engine's angle: pi taken as the single 3.141592.
float RefAngle(double dx, double dy) {
  const float pi = 3.141592f;
  if (dx == 0) return dy > 0 ? pi / 2 : -pi / 2;
  double a = std::atan(dy / dx);
  if (dx < 0) a += pi;
  return static_cast<float>(a);
}

constexpr double kDeg = 0.017453288659453392;
constexpr float kTurn = 6.283184f;

Bits RandomPicture(int w, int h, unsigned seed) {
  std::mt19937 rng(seed);
  Bits b(w, h);
  for (size_t i = 0; i < b.ByteSize(); ++i) b.Data()[i] = static_cast<uint8_t>(rng());
  return b;
}

// Each pixel a different colour: blue = x, green = y, red = x + 16 y.
Bits Numbered(int w, int h) { return MakePicture(w, h, [](int x, int y, int c) { return c == 0 ? x : c == 1 ? y : x + 16 * y; }); }

Bits Flat(int w, int h, int v) { return MakePicture(w, h, [v](int, int, int) { return v; }); }

template <class Call>
Bits Filtered(const Bits& pic, const RectRegion* region, Call&& call, int threads = 1) {
  cBitFilter f;
  f.SetThreadCount(threads);
  f.SetBits(pic);
  f.BitsRegion(region);
  return call(f);
}

void CopyPixel(Bits& out, const Bits& in, long x, long y, long sx, long sy) {
  for (int c = 0; c < 3; ++c) out.At(c, x, y) = in.At(c, sx, sy);
}

// The source-tested frame, literally: every point of the box; a source in
// the region is copied unless it lies past the array; one outside the region
// is painted black with `clean`.
using SourceMap = std::function<bool(long x, long y, long& sx, long& sy)>;
Bits RefSourceMap(const Bits& in, const RectRegion& region, bool clean, const SourceMap& map) {
  Bits out = in;
  const Rect b = region.Box();
  for (long y = b.top; y < b.bottom; ++y)
    for (long x = b.left; x < b.right; ++x) {
      long sx, sy;
      if (!in.InArray(x, y) || !map(x, y, sx, sy)) continue;
      if (region.Contains(sx, sy)) {
        if (in.InArray(sx, sy)) CopyPixel(out, in, x, y, sx, sy);
      } else if (clean) {
        for (int c = 0; c < 3; ++c) out.At(c, x, y) = 0;
      }
    }
  return out;
}

const RectRegion& Ellipse() {
  static const RectRegion e = RectRegion::FromEllipse(3, 2, 34, 21);
  return e;
}

// --- ROTATE, RotateSmooth ------------------------------------------------------

TEST(DeformRotate, ZeroIsIdentityQuarterTurnAndCleanBack) {
  Bits rnd = RandomPicture(9, 7, 1);
  RectRegion whole = RectRegion::FromRect(0, 0, 9, 7);
  EXPECT_TRUE(SameBits(rnd, Filtered(rnd, &whole, [](cBitFilter& f) { return f.ROTATE(0, true); })));
  EXPECT_TRUE(SameBits(rnd, Filtered(rnd, &whole, [](cBitFilter& f) { return f.RotateSmooth(0); })));
  // 5 x 5, centre (2, 2). 90 degrees is 1.5707959793507752 rad: c = 3.5e-7,
  // s = 1 - 6e-14, so x' = round(-dy + 2) = 4 - y and y' = round(dx + 2) = x.
  Bits pic = Numbered(5, 5);
  RectRegion all = RectRegion::FromRect(0, 0, 5, 5);
  Bits out = Filtered(pic, &all, [](cBitFilter& f) { return f.ROTATE(90, true); });
  for (int y = 0; y < 5; ++y)
    for (int x = 0; x < 5; ++x) EXPECT_EQ(out.At(2, x, y), (4 - y) + 16 * x) << x << "," << y;
  // Region: the top three rows. The box is rows 0..2; a source (4 - y, x) is in
  // the region only for x < 3, so columns 3 and 4 turn black; rows 3, 4 stay.
  RectRegion top = RectRegion::FromRect(0, 0, 5, 3);
  out = Filtered(pic, &top, [](cBitFilter& f) { return f.ROTATE(90, true); });
  for (int y = 0; y < 5; ++y)
    for (int x = 0; x < 5; ++x) {
      const int expected = y >= 3 ? x + 16 * y : x >= 3 ? 0 : (4 - y) + 16 * x;
      EXPECT_EQ(out.At(2, x, y), expected) << x << "," << y;
    }
  // Without clean back the same pixels keep the input.
  out = Filtered(pic, &top, [](cBitFilter& f) { return f.ROTATE(90, false); });
  EXPECT_EQ(out.At(2, 4, 0), 4);
}

TEST(DeformRotate, SmoothMatchesBilinearReferenceWithSingleCoordinates) {
  Bits pic = RandomPicture(31, 19, 3);
  RectRegion big = RectRegion::FromRect(-3, -2, 35, 22);
  for (const RectRegion* region : {&Ellipse(), static_cast<const RectRegion*>(&big)})
    for (double deg : {17.0, 90.0, 180.0, -33.3}) {
      const double c = std::cos(deg * kDeg), s = std::sin(deg * kDeg);
      Bits expected = pic;
      const Rect b = region->Box();
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
      EXPECT_TRUE(SameBits(expected, Filtered(pic, region, [&](cBitFilter& f) { return f.RotateSmooth(deg); }))) << deg;
    }
}

// --- STRETCH, FOLD, BEND, TWIRL -------------------------------------------------

TEST(DeformStretch, IdentityShrinkWithTiesAndCleanBack) {
  Bits pic = Numbered(7, 1);
  RectRegion all = RectRegion::FromRect(0, 0, 7, 1);
  EXPECT_TRUE(SameBits(pic, Filtered(pic, &all, [](cBitFilter& f) { return f.STRETCH(0, 0, true); })));
  // cx = 3, sh = 0.5: X(x) = round((x - 3) * 0.5 + 3) = 2 (1.5), 2, 2 (2.5), 3, 4 (3.5), 4, 4 (4.5).
  Bits out = Filtered(pic, &all, [](cBitFilter& f) { return f.STRETCH(-50, 0, false); });
  const int grow[7] = {2, 2, 2, 3, 4, 4, 4};
  for (int x = 0; x < 7; ++x) EXPECT_EQ(out.At(0, x, 0), grow[x]) << x;
  // sh = 2: X(x) = 2x - 3 = -3, -1, 1, 3, 5, 7, 9; those outside the region go black.
  out = Filtered(pic, &all, [](cBitFilter& f) { return f.STRETCH(100, 0, true); });
  const int shrink[7] = {0, 0, 1, 3, 5, 0, 0};
  for (int x = 0; x < 7; ++x) EXPECT_EQ(out.At(0, x, 0), shrink[x]) << x;
}

TEST(DeformFold, IdentityAndHandWorkedRows) {
  Bits pic = Numbered(5, 5);
  RectRegion all = RectRegion::FromRect(0, 0, 5, 5);
  EXPECT_TRUE(SameBits(pic, Filtered(pic, &all, [](cBitFilter& f) { return f.FOLD(0, 0, true); })));
  // h = 0, v = 100, MaxY = 4: x' = round(dx * (dy / 4 + 1) + 2), y' = y.
  // Row 0 (dy = -2, factor 0.5): round(1), round(1.5), 2, round(2.5), round(3) = 1, 2, 2, 2, 3.
  // Row 4 (dy = 2, factor 1.5): -1 (outside, stays), round(0.5) = 0, 2, round(3.5) = 4, 5 (stays).
  Bits out = Filtered(pic, &all, [](cBitFilter& f) { return f.FOLD(0, 100, false); });
  const int row0[5] = {1, 2, 2, 2, 3}, row4[5] = {0, 0, 2, 4, 4};
  for (int x = 0; x < 5; ++x) {
    EXPECT_EQ(out.At(0, x, 0), row0[x]) << x;
    EXPECT_EQ(out.At(0, x, 4), row4[x]) << x;
    EXPECT_EQ(out.At(0, x, 2), x);
  }
}

TEST(DeformBend, HandWorkedPointsAroundTheCentre) {
  // 5 x 5, factor 0: f = 2. p is the single 3.141592, the turn 2p.
  //  (2,2): rho 0, a = -angle(0, 0) = p/2: x' = round(4 (p/2) / 2p) = 1, y' = 4.
  //  (3,2): angle(0, 1) = p/2, a = -p/2 + 2p (dx > 0): x' = round(4 * 1.5p / 2p) = 3, y' = 4 - 2 = 2.
  //  (2,1): angle(-1, 0) = 0 + p, a = -p + 2p (dy < 0): x' = 2, y' = 2.
  //  (2,3): angle(1, 0) = 0, a = 0: x' = 0, y' = 2.
  Bits pic = Numbered(5, 5);
  RectRegion all = RectRegion::FromRect(0, 0, 5, 5);
  Bits out = Filtered(pic, &all, [](cBitFilter& f) { return f.BEND(0, false); });
  EXPECT_EQ(out.At(2, 2, 2), 1 + 16 * 4);
  EXPECT_EQ(out.At(2, 3, 2), 3 + 16 * 2);
  EXPECT_EQ(out.At(2, 2, 1), 2 + 16 * 2);
  EXPECT_EQ(out.At(2, 2, 3), 0 + 16 * 2);
}

TEST(DeformTwirl, OffsetTurnsAPointAndTheCentreReadsItself) {
  // Level 0, offset 90, 5 x 5: at (3, 2) rho = 1, angle 0, so
  // x' = round(cos(1.5707959...) + 2) = 2 and y' = round(1 + 2) = 3.
  Bits pic = Numbered(5, 5);
  RectRegion all = RectRegion::FromRect(0, 0, 5, 5);
  Bits out = Filtered(pic, &all, [](cBitFilter& f) { return f.TWIRL(0, 90, false); });
  EXPECT_EQ(out.At(2, 3, 2), 2 + 16 * 3);
  EXPECT_EQ(out.At(2, 2, 2), 2 + 16 * 2) << "rho 0 reads the centre";
}

// The source-tested filters against their formulas through the literal
// frame, on the ellipse and on a region reaching past the array (a source in
// it but past the array leaves its pixel). 37 x 23: cx = 18, cy = 11.
TEST(DeformSourceTested, MatchTheirFormulasOnEllipseAndOversizedRegion) {
  Bits pic = RandomPicture(37, 23, 2);
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
         double a = -RefAngle(dy, dx);
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
        Bits expected = RefSourceMap(pic, *region, clean, [&](long x, long y, long& sx, long& sy) {
          k.map(x, y, sx, sy);
          return true;
        });
        EXPECT_TRUE(SameBits(expected, Filtered(pic, region, [&](cBitFilter& f) { return k.call(f, clean); })))
            << k.name << " clean " << clean << (region == &big ? " oversized" : " ellipse");
      }
}

// --- WAVES -------------------------------------------------------------------

TEST(DeformWaves, ZeroAmplitudeHandWorkedRowsAndClamp) {
  Bits pic = Numbered(3, 5);
  RectRegion all = RectRegion::FromRect(0, 0, 3, 5);
  EXPECT_TRUE(SameBits(pic, Filtered(pic, &all, [](cBitFilter& f) { return f.WAVES(25, 0, 40); })));
  // f = 90, amp = 8: T(y) = round(y + 2 sin(90 y degrees)) = 0, 3, 2 (+1.4e-6), 1, 4 (-2.8e-6).
  Bits out = Filtered(pic, &all, [](cBitFilter& f) { return f.WAVES(90, 8, 0); });
  const int rows8[5] = {0, 3, 2, 1, 4};
  for (int y = 0; y < 5; ++y) EXPECT_EQ(out.At(1, 1, y), rows8[y]) << y;
  // amp = 40: 0, 11 -> 4, 2, -7 -> 0, 4: the edge rows repeat.
  out = Filtered(pic, &all, [](cBitFilter& f) { return f.WAVES(90, 40, 0); });
  const int rows40[5] = {0, 4, 2, 0, 4};
  for (int y = 0; y < 5; ++y) EXPECT_EQ(out.At(1, 2, y), rows40[y]) << y;
  // The destination is tested: only column 1 of rows 1..3 changes.
  RectRegion part = RectRegion::FromRect(1, 1, 2, 4);
  out = Filtered(pic, &part, [](cBitFilter& f) { return f.WAVES(90, 40, 0); });
  Bits expected = pic;
  CopyPixel(expected, pic, 1, 1, 1, 4);
  CopyPixel(expected, pic, 1, 3, 1, 0);
  EXPECT_TRUE(SameBits(expected, out));
}

// --- LENS, Light -------------------------------------------------------------

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

TEST(DeformLens, HandWorkedSmallLensWithTiesAndTruncation) {
  // 11 x 11, centre (5, 5), diameter 0.3: R = 3. Magnify 75: F = 1.5,
  // S^2 = 9 - 2.25 = 6.75, limit = 7. round(+-1.5) = +-2, round(+-3) = +-3.
  //  |dx|, |dy| <= 1: z = 3 (sqrt 9, 8, 7), +-2 / 3 truncates to 0: source (5, 5).
  //  (+-2, 0): z = round(sqrt 5) = 2, +-3 / 2 = +-1.  (+-2, +-1), (+-1, +-2): z = 2, both +-1.
  Bits pic = Numbered(11, 11);
  RectRegion all = RectRegion::FromRect(0, 0, 11, 11);
  Bits out = Filtered(pic, &all, [](cBitFilter& f) { return f.LENS(0.5, 0.5, 0.3, 75); });
  Bits expected = pic;
  auto sign = [](int v) { return (v > 0) - (v < 0); };
  for (int dy = -2; dy <= 2; ++dy)
    for (int dx = -2; dx <= 2; ++dx) {
      if (dx * dx + dy * dy >= 7) continue;
      const bool inner = std::abs(dx) <= 1 && std::abs(dy) <= 1;
      CopyPixel(expected, pic, 5 + dx, 5 + dy, inner ? 5 : 5 + sign(dx), inner ? 5 : 5 + sign(dy));
    }
  EXPECT_TRUE(SameBits(expected, out));
  // Magnify 25: F = 2.5, limit = round(2.75) = 3. round(+-2.5) = +-2 (ties to
  // even), +-2 / 3 = 0: the nine points all read the centre.
  out = Filtered(pic, &all, [](cBitFilter& f) { return f.LENS(0.5, 0.5, 0.3, 25); });
  expected = pic;
  for (int dy = -1; dy <= 1; ++dy)
    for (int dx = -1; dx <= 1; ++dx) CopyPixel(expected, pic, 5 + dx, 5 + dy, 5, 5);
  EXPECT_TRUE(SameBits(expected, out));
  // Magnify 0: F = R, S = 0, limit 0: nothing changes.
  EXPECT_TRUE(SameBits(pic, Filtered(pic, &all, [](cBitFilter& f) { return f.LENS(0.5, 0.5, 0.3, 0); })));
}

TEST(DeformLens, MatchesLiteralLoopIncludingFisheyePreset) {
  Bits pic = RandomPicture(37, 23, 8);
  struct Case {
    double xf, yf, dia, mag;
  };
  for (const Case& c : {Case{0.4, 0.6, 0.3, 50}, Case{0.0, 1.0, 0.5, 100}, Case{0.9, 0.2, 0.25, 140},
                        Case{0.5, 0.5, 0.6, 200}, Case{50, 50, 60, 60}})
    for (const RectRegion* region : {&Ellipse(), static_cast<const RectRegion*>(nullptr)}) {
      RectRegion all = RectRegion::FromRect(0, 0, 37, 23);
      const RectRegion& r = region ? *region : all;
      EXPECT_TRUE(SameBits(RefLens(pic, r, c.xf, c.yf, c.dia, c.mag),
                           Filtered(pic, &r, [&](cBitFilter& f) { return f.LENS(c.xf, c.yf, c.dia, c.mag); })))
          << c.xf << " " << c.yf << " " << c.dia << " " << c.mag;
    }
}

TEST(DeformLens, ProductWithTheSingleFactorIsWorkedInDouble) {
  // 15 x 15, centre (7, 7), diameter 0.5: R = round(0.5 * 14) = 7. Magnify
  // 135: F = 7 * 15 / 150 = 0.7, held as the single 0.699999988;
  // limit = round(49 - 0.49) = 49. At (dx, dy) = (-3, -5): z = round(sqrt 15)
  // = 4, round(-3 F) = round(-2.0999999) = -2 and round(-5 F) =
  // round(-3.49999994) = -3 (a single product would be -3.5 and give -4):
  // both divide to 0, so (4, 2) reads the centre (7, 7), not (7, 6).
  Bits pic = Numbered(15, 15);
  RectRegion all = RectRegion::FromRect(0, 0, 15, 15);
  Bits out = Filtered(pic, &all, [](cBitFilter& f) { return f.LENS(0.5, 0.5, 0.5, 135); });
  EXPECT_EQ(out.At(0, 4, 2), 7);
  EXPECT_EQ(out.At(1, 4, 2), 7);
  // (dx, dy) = (-4, -5): z = round(sqrt 8) = 3, round(-2.8) = -3 -> -1 and -3 -> -1: (6, 6).
  EXPECT_EQ(out.At(0, 3, 2), 6);
  EXPECT_EQ(out.At(1, 3, 2), 6);
  // Outside the limit (dx^2 + dy^2 >= 49) nothing moves: (0, 7) and (7, 0).
  EXPECT_EQ(out.At(0, 0, 7), 0);
  EXPECT_EQ(out.At(1, 7, 0), 0);
  EXPECT_TRUE(SameBits(RefLens(pic, all, 0.5, 0.5, 0.5, 135), out));
}

// Progress reports of one run. The first end-of-step report always goes out
// (the engine's clock starts at 0), the later ones at most every 10 ms, and
// the last is 100.
std::vector<int> ProgressOf(const Bits& pic, const RectRegion& region, const std::function<Bits(cBitFilter&)>& call,
                            int threads = 1) {
  cBitFilter f;
  f.SetThreadCount(threads);
  f.SetBits(pic);
  f.BitsRegion(&region);
  std::vector<int> reports;
  f.SetProgressHandler([&](int p) { reports.push_back(p); });
  call(f);
  return reports;
}

TEST(DeformLens, ProgressRunsOverTheRowsOfTheCircle) {
  // 21 x 21, centre (10, 10), R = round(0.3 * 20) = 6: the circle's rows
  // 4..16 report Trunc((dy + 6) * 100 / 12), from 0 at dy = -6, whatever the
  // picture row; the flare walks its circle the same way.
  Bits pic = Flat(21, 21, 40);
  RectRegion all = RectRegion::FromRect(0, 0, 21, 21);
  std::vector<int> allowed;
  for (int dy = -6; dy <= 6; ++dy) allowed.push_back((dy + 6) * 100 / 12);
  for (int which = 0; which < 2; ++which)
    for (int threads : {1, 2}) {
      const std::vector<int> reports = ProgressOf(pic, all, [&](cBitFilter& f) {
        return which == 0 ? f.LENS(0.5, 0.5, 0.3, 60) : f.Light(0.5, 0.5, 0.3, 50, 50);
      }, threads);
      ASSERT_GE(reports.size(), 2u);
      if (threads == 1) {
        EXPECT_EQ(reports.front(), 0) << which;
      }
      EXPECT_EQ(reports.back(), 100);
      for (size_t i = 0; i + 1 < reports.size(); ++i) {
        EXPECT_NE(std::find(allowed.begin(), allowed.end(), reports[i]), allowed.end()) << reports[i];
        if (i > 0) {
          EXPECT_LE(reports[i - 1], reports[i]);
        }
      }
    }
}

TEST(DeformLight, HandWorkedFlareCapAndFailure) {
  // 11 x 11, centre (5, 5), extension 0.2: R = 2. Definition 50: e = 0.5.
  // a = round((1 - 0.5 d / 2) * 100): d 0 -> 100, d 1 -> 75, d sqrt 2 -> round(64.64) = 65.
  Bits pic = Flat(11, 11, 100);
  pic.At(2, 6, 5) = 200;  // 200 + 75 caps at 255
  RectRegion all = RectRegion::FromRect(0, 0, 11, 11);
  Bits out = Filtered(pic, &all, [](cBitFilter& f) { return f.Light(0.5, 0.5, 0.2, 100, 50); });
  Bits expected = pic;
  for (int dy = -1; dy <= 1; ++dy)
    for (int dx = -1; dx <= 1; ++dx) {
      const int a = dx == 0 && dy == 0 ? 100 : dx == 0 || dy == 0 ? 75 : 65;
      for (int c = 0; c < 3; ++c) expected.At(c, 5 + dx, 5 + dy) = static_cast<uint8_t>(std::min(255, pic.At(c, 5 + dx, 5 + dy) + a));
    }
  EXPECT_TRUE(SameBits(expected, out));
  EXPECT_EQ(out.At(2, 6, 5), 255);
  EXPECT_EQ(out.At(1, 6, 5), 175);
  // Intensity -150 makes a byte negative: the filter fails as a whole.
  EXPECT_TRUE(SameBits(pic, Filtered(pic, &all, [](cBitFilter& f) { return f.Light(0.5, 0.5, 0.2, -150, 50); })));
  // A region reaching past the array: a point of the circle there fails too.
  RectRegion wide = RectRegion::FromRect(-9, -9, 11, 11);
  EXPECT_TRUE(SameBits(pic, Filtered(pic, &wide, [](cBitFilter& f) { return f.Light(0, 0, 0.5, 10, 0); })));
}

// --- TILE, TileMask, Texturize -------------------------------------------------

TEST(DeformTile, FactorTwoGivesTwoByTwoAndMatchesTheLaidTiles) {
  Bits pic = RandomPicture(100, 100, 10);
  RectRegion all = RectRegion::FromRect(0, 0, 100, 100);
  // w = h = round(99 / 2) = 50 (49.5 to even), sx = sy = 1.98.
  Bits out = Filtered(pic, &all, [](cBitFilter& f) { return f.TILE(2); });
  for (int y : {0, 7, 49, 50, 51, 99})
    for (int x : {0, 13, 49, 50, 77, 99}) {
      const long sx = RefRound((x % 50) * 1.98), sy = RefRound((y % 50) * 1.98);
      for (int c = 0; c < 3; ++c) ASSERT_EQ(out.At(c, x, y), pic.At(c, sx, sy)) << x << "," << y;
    }
  // The literal loop: tiles from the box corner, each w + 1 by h + 1 points,
  // drawn one after another, on an ellipse whose box starts off the origin.
  Bits small = RandomPicture(37, 23, 11);
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
    EXPECT_TRUE(SameBits(expected, Filtered(small, &Ellipse(), [&](cBitFilter& f) { return f.TILE(factor); }))) << factor;
  }
}

TEST(DeformTile, TiesRoundToEvenAndAFailedWidthBecomesOne) {
  // 6 x 3, factor 2: w = round(5 / 2 = 2.5) = 2, h = round(2 / 2) = 1;
  // sx = 5 / 2 = 2.5, sy = 2. Column offsets 0, 1 read columns 0 and
  // round(2.5) = 2; every row is offset 0 into its tile and reads row 0.
  Bits pic = Numbered(6, 3);
  RectRegion all = RectRegion::FromRect(0, 0, 6, 3);
  Bits out = Filtered(pic, &all, [](cBitFilter& f) { return f.TILE(2); });
  Bits expected = pic;
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 6; ++x) CopyPixel(expected, pic, x, y, x % 2 == 0 ? 0 : 2, 0);
  EXPECT_TRUE(SameBits(expected, out));
  // Factor 0: MaxX / 0 fails, w and h stay 0 and become 1; every offset is 0.
  out = Filtered(pic, &all, [](cBitFilter& f) { return f.TILE(0); });
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 6; ++x) CopyPixel(expected, pic, x, y, 0, 0);
  EXPECT_TRUE(SameBits(expected, out));
}

// TileMask literally: tiles laid in order, later ones drawn over earlier ones.
Bits RefTileMask(const Bits& in, const RectRegion& region, const Bits& tile, long left, long top, bool tiled, double op,
                 int colour) {
  Bits out = in;
  const long stepX = tiled ? tile.Width() : in.MaxX() - left + 1, stepY = tiled ? tile.Height() : in.MaxY() - top + 1;
  const double o = op / 100;
  for (long ty = top; ty <= in.MaxY(); ty += stepY)
    for (long tx = left; tx <= in.MaxX(); tx += stepX)
      for (long j = 0; j < tile.Height(); ++j)
        for (long i = 0; i < tile.Width(); ++i) {
          if (!region.Contains(tx + i, ty + j)) continue;
          const int rgb = tile.At(2, i, j) | tile.At(1, i, j) << 8 | tile.At(0, i, j) << 16;
          if (rgb == colour) continue;
          for (int c = 0; c < 3; ++c)
            out.At(c, tx + i, ty + j) = static_cast<uint8_t>(RefRound(in.At(c, tx + i, ty + j) * o + tile.At(c, i, j) * (1 - o)));
        }
  return out;
}

TEST(DeformTileMask, TiledWithTransparentColourAndTiesToEven) {
  // 2 x 2 tile from (1, 1) on a flat 100 picture, opacity 50:
  //  200 -> 50 + 100 = 150; 53 -> 50 + 26.5 = 76.5 -> 76; 0 -> 50; pure red skipped.
  Bits tile(2, 2);
  for (int c = 0; c < 3; ++c) {
    tile.At(c, 0, 0) = 200;
    tile.At(c, 0, 1) = 53;
    tile.At(c, 1, 1) = 0;
  }
  tile.At(2, 1, 0) = 255;  // blue 0, green 0, red 255: the colour 255
  Bits pic = Flat(5, 5, 100);
  RectRegion all = RectRegion::FromRect(0, 0, 5, 5);
  Bits out = Filtered(pic, &all, [&](cBitFilter& f) { return f.TileMask(tile, 1, 1, true, 50, Colour{255}); });
  for (int y = 0; y < 5; ++y)
    for (int x = 0; x < 5; ++x) {
      int expected = 100;
      if (x >= 1 && y >= 1) {
        const int i = (x - 1) % 2, j = (y - 1) % 2;
        expected = i == 0 ? (j == 0 ? 150 : 76) : (j == 0 ? 100 : 50);
      }
      EXPECT_EQ(out.At(0, x, y), expected) << x << "," << y;
    }
  EXPECT_TRUE(SameBits(RefTileMask(pic, all, tile, 1, 1, true, 50, 255), out));
}

TEST(DeformTileMask, OnceOrTiledMatchesLiteralLoopOnEllipse) {
  Bits pic = RandomPicture(37, 23, 12);
  Bits tile = RandomPicture(7, 5, 13);
  tile.At(0, 2, 2) = 1, tile.At(1, 2, 2) = 2, tile.At(2, 2, 2) = 3;
  const int colour = RGB(3, 2, 1);
  struct Case {
    long left, top;
    bool tiled;
    double op;
  };
  for (const Case& c : {Case{4, 3, true, 30}, Case{-3, -2, true, 71}, Case{20, 15, false, 0}, Case{33, 20, false, 100}})
    EXPECT_TRUE(SameBits(RefTileMask(pic, Ellipse(), tile, c.left, c.top, c.tiled, c.op, colour),
                         Filtered(pic, &Ellipse(), [&](cBitFilter& f) {
                           return f.TileMask(tile, c.left, c.top, c.tiled, c.op, Colour{colour});
                         })))
        << c.left << "," << c.top;
}

TEST(DeformTileMask, FailuresLeaveThePictureWhole) {
  Bits pic = Flat(5, 5, 100);
  Bits tile = Flat(4, 4, 200);
  RectRegion all = RectRegion::FromRect(0, 0, 5, 5);
  // Opacity 300: 100 * 3 + 200 * -2 = -100 is no byte.
  EXPECT_TRUE(SameBits(pic, Filtered(pic, &all, [&](cBitFilter& f) { return f.TileMask(tile, 0, 0, true, 300, Colour{-1}); })));
  // Tiles at 0 and 4 cover columns up to 7; the region reaches column 9, but
  // the array ends at 6 (frame included): the write past it fails.
  RectRegion past = RectRegion::FromRect(0, 0, 10, 5);
  EXPECT_TRUE(SameBits(pic, Filtered(pic, &past, [&](cBitFilter& f) { return f.TileMask(tile, 0, 0, true, 0, Colour{-1}); })));
  // Reaching only into the frame is fine: tiles at 0 and 3 cover columns up
  // to 5, which is written in the frame; column 6 is covered by no tile.
  RectRegion frame = RectRegion::FromRect(0, 0, 7, 5);
  Bits tile3 = Flat(3, 3, 200);
  Bits out = Filtered(pic, &frame, [&](cBitFilter& f) { return f.TileMask(tile3, 0, 0, true, 0, Colour{-1}); });
  EXPECT_EQ(out.At(0, 4, 4), 200);
  EXPECT_EQ(out.At(0, 5, 2), 200);
  EXPECT_EQ(out.At(0, 6, 2), 0);
}

TEST(DeformTexturize, SharedEdgesProductsTiesAndClamp) {
  // Texture 4 x 3 (MaxX 3, MaxY 2): copies every 3 columns and 2 rows, the
  // shared column 3 and row 2 showing the next copy's column 0 and row 0.
  // Channel 0: (0,0) 128 -> x1, (1,0) 64 -> x0.5, (2,0) 255 -> x1.9921875,
  // (0,1) 1, (1,1) 0, (2,1) 192 -> x1.5; column 3 and row 2 are 10 (never seen).
  Bits tex = Flat(4, 3, 10);
  const int t[2][3] = {{128, 64, 255}, {1, 0, 192}};
  for (int j = 0; j < 2; ++j)
    for (int i = 0; i < 3; ++i) tex.At(0, i, j) = static_cast<uint8_t>(t[j][i]);
  Bits pic = Flat(7, 5, 100);
  pic.At(1, 2, 0) = 200;  // 200 * 1.99 caps at 255
  pic.At(2, 1, 0) = 5;    // 5 * 0.5 = 2.5 -> 2
  RectRegion all = RectRegion::FromRect(0, 0, 7, 5);
  Bits out = Filtered(pic, &all, [&](cBitFilter& f) { return f.Texturize(tex); });
  // 100 times: 1 -> 100, 0.5 -> 50, 1.9921875 -> 199.2 -> 199, 1/128 -> 0.78 -> 1, 0, 1.5 -> 150.
  const int v[2][3] = {{100, 50, 199}, {1, 0, 150}};
  for (int y = 0; y < 5; ++y)
    for (int x = 0; x < 7; ++x) EXPECT_EQ(out.At(0, x, y), v[y % 2][x % 3]) << x << "," << y;
  EXPECT_EQ(out.At(1, 2, 0), 255);
  EXPECT_EQ(out.At(2, 1, 0), 2);
  // All 128 is the identity.
  EXPECT_TRUE(SameBits(pic, Filtered(pic, &all, [&](cBitFilter& f) { return f.Texturize(Flat(5, 4, 128)); })));
}

TEST(DeformTexturize, MatchesLiteralLoopOnEllipse) {
  Bits pic = RandomPicture(37, 23, 14);
  Bits tex = RandomPicture(6, 4, 15);
  const Rect b = Ellipse().Box();
  Bits expected = pic;
  for (long ty = b.top; ty < b.bottom; ty += 3)
    for (long tx = b.left; tx < b.right; tx += 5)
      for (long j = 0; j <= 3; ++j)
        for (long i = 0; i <= 5; ++i)
          if (Ellipse().Contains(tx + i, ty + j))
            for (int c = 0; c < 3; ++c)
              expected.At(c, tx + i, ty + j) = static_cast<uint8_t>(
                  std::min(255L, RefRound(pic.At(c, tx + i, ty + j) * (tex.At(0, i, j) / 128.0))));
  EXPECT_TRUE(SameBits(expected, Filtered(pic, &Ellipse(), [&](cBitFilter& f) { return f.Texturize(tex); })));
}

// --- Grid --------------------------------------------------------------------

TEST(DeformGrid, ColumnPassStartsAtTheRowNumberedLikeTheLeftEdge) {
  // Box 10..29 x 2..19. Rows 2, 9, 16 are drawn across; columns 10, 15, 20, 25
  // run down from row 10 (the left edge's number), not from row 2.
  Bits pic = Flat(40, 30, 0);
  RectRegion region = RectRegion::FromRect(10, 2, 30, 20);
  Bits out = Filtered(pic, &region, [](cBitFilter& f) { return f.Grid(5, 7, false, Colour{0xFFFFFF}, 255); });
  Bits expected = pic;
  for (int y = 2; y <= 19; ++y)
    for (int x = 10; x <= 29; ++x) {
      const bool row = (y - 2) % 7 == 0, column = (x - 10) % 5 == 0 && y >= 10;
      if (row || column)
        for (int c = 0; c < 3; ++c) expected.At(c, x, y) = 255;
    }
  EXPECT_TRUE(SameBits(expected, out));
  EXPECT_EQ(out.At(0, 15, 5), 0);
  EXPECT_EQ(out.At(0, 15, 12), 255);
}

TEST(DeformGrid, ForceMarginsBlendAndSkippedBytes) {
  // 12 x 9 whole, steps 5: rows 0, 5 and forced 8; columns 0, 5, 10 and forced 11.
  Bits pic = Flat(12, 9, 100);
  RectRegion all = RectRegion::FromRect(0, 0, 12, 9);
  // Red 255 at opacity 128: o = 128/255. Red: o 255 + (1 - o) 100 = 177.8 -> 178;
  // green, blue: (1 - o) 100 = 49.8 -> 50. Crossings get the same, once.
  Bits out = Filtered(pic, &all, [](cBitFilter& f) { return f.Grid(5, 5, true, Colour{255}, 128); });
  for (int y = 0; y < 9; ++y)
    for (int x = 0; x < 12; ++x) {
      const bool line = y % 5 == 0 || y == 8 || x % 5 == 0 || x == 11;
      EXPECT_EQ(out.At(2, x, y), line ? 178 : 100) << x << "," << y;
      EXPECT_EQ(out.At(0, x, y), line ? 50 : 100) << x << "," << y;
    }
  // Without force the last row and column stay.
  out = Filtered(pic, &all, [](cBitFilter& f) { return f.Grid(5, 5, false, Colour{255}, 128); });
  EXPECT_EQ(out.At(2, 3, 8), 100);
  EXPECT_EQ(out.At(2, 11, 3), 100);
  // Opacity 300, green 200: o = 1.176; green 235.29 - 17.65 = 217.65 -> 218,
  // blue and red -17.6 are no bytes and stay.
  out = Filtered(pic, &all, [](cBitFilter& f) { return f.Grid(5, 5, false, Colour{RGB(0, 200, 0)}, 300); });
  EXPECT_EQ(out.At(1, 0, 0), 218);
  EXPECT_EQ(out.At(0, 0, 0), 100);
  EXPECT_EQ(out.At(2, 0, 0), 100);
}

// Grid literally: the row pass, the forced last row, the column pass from the
// row numbered like the box's left edge, the forced last column; every point
// tested against the region, every blend read from the input.
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
  Bits pic = RandomPicture(37, 23, 18);
  const RectRegion edge = RectRegion::FromRect(30, 4, 37, 23);  // reaches the last row and column
  const RectRegion low = RectRegion::FromEllipse(12, 1, 36, 22);  // columns begin at row 12, not 1
  for (const RectRegion* region : {&Ellipse(), &edge, &low})
    for (auto [hs, vs] : {std::pair{4, 3}, std::pair{1, 5}, std::pair{7, 1}, std::pair{3, -2}})
      for (bool force : {false, true})
        for (int threads : {1, 2}) {
          const int colour = RGB(250, 20, 130);
          EXPECT_TRUE(SameBits(RefGrid(pic, *region, hs, vs, force, colour, 90),
                               Filtered(pic, region, [&](cBitFilter& f) {
                                 return f.Grid(hs, vs, force, Colour{colour}, 90);
                               }, threads)))
              << hs << " " << vs << " " << force << " " << threads;
        }
}

TEST(DeformGrid, ColumnPassReportsItsColumns) {
  // 301 x 11, box columns 5..300, rows 2..10. A negative vertical step takes
  // no row, so the first report comes from the column pass: Trunc(5 * 100 /
  // 300) = 1 for column 5, not the row rule's Trunc(2 * 100 / 10) = 20. The
  // later columns 75, 145, 215, 285 give 25, 48, 71, 95.
  Bits pic = Flat(301, 11, 10);
  RectRegion region = RectRegion::FromRect(5, 2, 301, 11);
  std::vector<int> reports = ProgressOf(pic, region, [](cBitFilter& f) {
    return f.Grid(70, -3, false, Colour{0}, 255);
  });
  ASSERT_GE(reports.size(), 2u);
  EXPECT_EQ(reports.front(), 1);
  EXPECT_EQ(reports.back(), 100);
  for (size_t i = 1; i + 1 < reports.size(); ++i) {
    EXPECT_TRUE(reports[i] == 25 || reports[i] == 48 || reports[i] == 71 || reports[i] == 95) << reports[i];
  }
  // With rows to draw, the row pass reports first by the row rule: row 2 of MaxY 10.
  reports = ProgressOf(pic, region, [](cBitFilter& f) { return f.Grid(70, 3, false, Colour{0}, 255); });
  EXPECT_EQ(reports.front(), 20);
}

// --- GLASS -------------------------------------------------------------------

TEST(DeformGlass, SlantingCounterRunsOverEveryPointOfTheBox) {
  Bits pic = RandomPicture(20, 12, 16);
  RectRegion region = RectRegion::Combine(RectRegion::FromRect(3, 2, 17, 11), RectRegion::FromRect(5, 4, 9, 8),
                                          CombineMode::Diff);
  for (int level : {0, 1}) {
    // The counter as a loop would keep it: it starts at 0 and rises after
    // every point of the box, holes of the region included.
    Bits expected = pic;
    long t = 0;
    for (int y = 2; y < 11; ++y)
      for (int x = 3; x < 17; ++x, ++t) {
        const long sx = level == 0 ? RefRound(x - 3 * std::sin(static_cast<double>(t))) : x;
        const long sy = level == 1 ? RefRound(y - 10 * std::sin(static_cast<double>(t))) : y;
        if (region.Contains(sx, sy)) CopyPixel(expected, pic, x, y, sx, sy);
      }
    EXPECT_TRUE(SameBits(expected, Filtered(pic, &region, [&](cBitFilter& f) { return f.GLASS("slanting", level); })))
        << level;
  }
}

TEST(DeformGlass, HandWorkedColumnsAndUnknownPairsMoveNothing) {
  // "vertical" 2, x' = round(x - 10 cos x): x = 2 -> round(6.16) = 6,
  // x = 3 -> round(12.90) = 13, x = 0 -> -10 (outside: stays).
  Bits num = Numbered(20, 3);
  RectRegion strip = RectRegion::FromRect(0, 0, 20, 3);
  Bits out = Filtered(num, &strip, [](cBitFilter& f) { return f.GLASS("vertical", 2); });
  EXPECT_EQ(out.At(0, 2, 1), 6);
  EXPECT_EQ(out.At(0, 3, 1), 13);
  EXPECT_EQ(out.At(0, 0, 1), 0);
  Bits pic = RandomPicture(37, 23, 17);
  for (auto [style, level] : {std::pair{"curtain", 0}, {"slanting", 2}, {"Squary", 0}, {"nothing", 1}})
    EXPECT_TRUE(SameBits(pic, Filtered(pic, &Ellipse(), [&](cBitFilter& f) { return f.GLASS(style, level); })))
        << style << " " << level;
}

// --- catalogue -----------------------------------------------------------------

TEST(DeformCatalogue, EveryFilterIsRegisteredWithItsParameterKinds) {
  // N number, B boolean, I integer, T text, C colour, P picture.
  const std::vector<std::pair<const char*, std::string>> rows = {
      {"BEND", "NB"},   {"FOLD", "NNB"},    {"GLASS", "TI"},  {"Grid", "IIBCN"},  {"LENS", "NNNN"},
      {"Light", "NNNNN"}, {"ROTATE", "NB"}, {"RotateSmooth", "N"}, {"STRETCH", "NNB"}, {"Texturize", "P"},
      {"TILE", "N"},    {"TileMask", "PIIBNC"}, {"TWIRL", "NNB"}, {"WAVES", "NNN"}};
  const std::string letters = "NBITCP";
  const ParamKind kinds[] = {ParamKind::Number, ParamKind::Boolean, ParamKind::Integer,
                             ParamKind::Text,   ParamKind::Colour,  ParamKind::Picture};
  for (const auto& [name, code] : rows) {
    const FilterMethod* m = FindFilterMethod(name);
    ASSERT_NE(m, nullptr) << name;
    ASSERT_EQ(m->params.size(), code.size()) << name;
    for (size_t i = 0; i < code.size(); ++i) EXPECT_EQ(m->params[i].kind, kinds[letters.find(code[i])]) << name << i;
  }
}

}  // namespace
}  // namespace kelvane
