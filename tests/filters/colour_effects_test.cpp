// Colour effects: expectations worked out by hand from the formulas, or from
// slow literal loops written here (point tests per pixel, a full-size error
// buffer, the blocks walked one by one), never from the filters themselves.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <random>
#include <vector>

#include "document/rect_region.h"
#include "filters/bit_filter.h"
#include "filters/filter_test_support.h"
#include "filters/palette.h"

namespace kelvane {
namespace {

using test::MakePicture;
using test::SameBits;

// Round half to even, written out longhand.
int Rnd(double v) {
  const double f = std::floor(v);
  const double frac = v - f;
  if (frac > 0.5) return static_cast<int>(f) + 1;
  if (frac < 0.5) return static_cast<int>(f);
  return static_cast<int>(f) % 2 == 0 ? static_cast<int>(f) : static_cast<int>(f) + 1;
}
int Clamp255(int v) { return v < 0 ? 0 : (v > 255 ? 255 : v); }

Bits RandomPicture(int w, int h, unsigned seed) {
  std::mt19937 rng(seed);
  Bits b(w, h);
  for (size_t i = 0; i < b.ByteSize(); ++i) b.Data()[i] = static_cast<uint8_t>(rng());
  return b;
}

// Runs one filter on a fresh engine.
Bits Apply(const Bits& pic, const RectRegion* region, const std::function<Bits(cBitFilter&)>& call, int threads = 1,
         uint32_t seed = 1) {
  cBitFilter f;
  f.SetThreadCount(threads);
  f.SeedRandom(seed);
  f.SetBits(pic);
  f.BitsRegion(region);
  return call(f);
}

// Every pixel (x, y, c) of a W x H picture with channels (b, g, r).
Bits Grey(int w, int h, const std::vector<int>& values) {
  return MakePicture(w, h, [&](int x, int y, int) { return values[static_cast<size_t>(y * w + x)]; });
}

void ExpectGreyRows(const Bits& out, int w, int h, const std::vector<int>& values) {
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      for (int c = 0; c < 3; ++c)
        EXPECT_EQ(out.At(c, x, y), values[static_cast<size_t>(y * w + x)]) << "(" << x << ", " << y << ") c" << c;
}

// The regions most tests run over: a rectangle, an ellipse, and a union with
// a hole-like gap, all inside a 41 x 29 picture.
std::vector<RectRegion> Regions() {
  return {RectRegion::FromRect(0, 0, 41, 29), RectRegion::FromRect(3, 2, 30, 21),
          RectRegion::FromEllipse(1, 1, 39, 28),
          RectRegion::Combine(RectRegion::FromRect(0, 0, 12, 10), RectRegion::FromRect(17, 6, 41, 29),
                              CombineMode::Or)};
}

// --- one pixel in, one pixel out --------------------------------------------------------------

TEST(ColourEffects, SpecialColorsKeepsTheFlaggedChannelsInTheRegionOnly) {
  Bits pic = MakePicture(2, 1, [](int, int, int c) { return 10 * (c + 1); });  // b 10, g 20, r 30
  RectRegion first = RectRegion::FromRect(0, 0, 1, 1);
  struct Case {
    bool r, g, b;
    int eb, eg, er;
  };
  for (const Case& k : {Case{true, false, false, 0, 0, 30}, Case{false, true, true, 10, 20, 0},
                        Case{true, false, true, 10, 0, 30}, Case{false, false, false, 0, 0, 0}}) {
    Bits out = Apply(pic, &first, [&](cBitFilter& f) { return f.SpecialColors(k.r, k.g, k.b); });
    EXPECT_EQ(out.At(0, 0, 0), k.eb);
    EXPECT_EQ(out.At(1, 0, 0), k.eg);
    EXPECT_EQ(out.At(2, 0, 0), k.er);
    EXPECT_EQ(out.At(2, 1, 0), 30) << "outside the region";
  }
}

// ClassyColors written from the table, pixel by pixel.
void ReferenceClassy(int style, int b, int g, int r, int& B, int& G, int& R, bool& fails) {
  auto m = [](int u, int v) { return Rnd((u * 0.99 + v * 0.99) / 2); };
  B = b, G = g, R = r;
  fails = false;
  switch (style) {
    case 0: G = m(r, g); R = G; B = Rnd(b * std::atan(static_cast<double>(g)) / 1.9); break;
    case 1: G = m(r, g); R = G; break;
    case 2: R = m(r, b); B = r; break;
    case 3: G = m(g, b); B = G; break;
    case 6: B = Rnd(r / 2.0 + b / 4.0); G = Rnd(r / 4.0 + g / 2.0); R = Rnd(g / 4.0 + b / 2.0); break;
    case 7: {
      const int t = Rnd((2.0 * b * 0.99 + r * 0.99) / 12);
      B = std::abs(t - g - 1);
      G = std::abs(t - r - 1);
      R = std::abs(t - b - 1);
      fails = B > 255 || G > 255 || R > 255;
      break;
    }
    case 8: B = g; G = r; break;
    case 10: B = Rnd(g / 2.0); G = Rnd(r / 2.0); break;
    case 11: R = 170; G = b; B = g; break;
    default: break;
  }
}

TEST(ColourEffects, ClassyColorsFollowsItsTableForEveryStyle) {
  Bits pic = RandomPicture(41, 29, 3);
  // Keep RETRO clear of its overflow (green 255 over near-black blue and red).
  for (int y = 0; y < 29; ++y)
    for (int x = 0; x < 41; ++x)
      if (pic.At(1, x, y) == 255) pic.At(1, x, y) = 254;
  for (const RectRegion& region : Regions()) {
    for (int style = -1; style <= 12; ++style) {
      Bits out = Apply(pic, &region, [&](cBitFilter& f) { return f.ClassyColors(style); }, 2);
      Bits expected = pic;
      for (int y = 0; y < 29; ++y)
        for (int x = 0; x < 41; ++x) {
          if (!region.Contains(x, y)) continue;
          int B, G, R;
          bool fails;
          ReferenceClassy(style, pic.At(0, x, y), pic.At(1, x, y), pic.At(2, x, y), B, G, R, fails);
          ASSERT_FALSE(fails);
          expected.At(0, x, y) = static_cast<uint8_t>(B);
          expected.At(1, x, y) = static_cast<uint8_t>(G);
          expected.At(2, x, y) = static_cast<uint8_t>(R);
        }
      EXPECT_TRUE(SameBits(expected, out)) << "style " << style;
    }
  }
}

TEST(ColourEffects, ClassyColorsHandValuesAndTheRetroOverflow) {
  // b 100, g 150, r 200. SOFTGREEN: G = R = round((198 + 148.5) / 2) =
  // round(173.25) = 173. SPOTTED: B = round(100 + 25) = 125, G = round(50 + 75)
  // = 125, R = round(37.5 + 50) = round(87.5) = 88. ORANGE: B = round(75) = 75,
  // G = round(100) = 100. WETPAPER: R = 170, G = 100, B = 150.
  Bits pic = MakePicture(1, 1, [](int, int, int c) { return c == 0 ? 100 : (c == 1 ? 150 : 200); });
  RectRegion all = RectRegion::FromRect(0, 0, 1, 1);
  auto bgr = [&](int style) {
    Bits out = Apply(pic, &all, [&](cBitFilter& f) { return f.ClassyColors(style); });
    return std::vector<int>{out.At(0, 0, 0), out.At(1, 0, 0), out.At(2, 0, 0)};
  };
  EXPECT_EQ(bgr(1), (std::vector<int>{100, 173, 173}));
  EXPECT_EQ(bgr(6), (std::vector<int>{125, 125, 88}));
  EXPECT_EQ(bgr(10), (std::vector<int>{75, 100, 200}));
  EXPECT_EQ(bgr(11), (std::vector<int>{150, 100, 170}));
  EXPECT_EQ(bgr(8), (std::vector<int>{150, 200, 200}));
  EXPECT_EQ(bgr(5), (std::vector<int>{100, 150, 200}));

  // RETRO at b 0, g 255, r 0: t = 0 and B = |0 - 255 - 1| = 256, a byte
  // overflow in a filter that does not skip it: the whole picture stays.
  Bits two = MakePicture(2, 1, [](int x, int, int c) { return x == 0 ? (c == 1 ? 255 : 0) : 90; });
  RectRegion both = RectRegion::FromRect(0, 0, 2, 1);
  EXPECT_TRUE(SameBits(two, Apply(two, &both, [](cBitFilter& f) { return f.ClassyColors(7); })));
  // The same pixel outside the region does no harm. x = 1 (90, 90, 90):
  // t = round((178.2 + 89.1) / 12) = round(22.275) = 22, each |22 - 91| = 69.
  RectRegion second = RectRegion::FromRect(1, 0, 2, 1);
  Bits out = Apply(two, &second, [](cBitFilter& f) { return f.ClassyColors(7); });
  EXPECT_EQ(out.At(0, 1, 0), 69);
  EXPECT_EQ(out.At(1, 0, 0), 255);
  // A region reaching past the array is a failed read: unchanged.
  RectRegion past = RectRegion::FromRect(-3, 0, 2, 1);
  EXPECT_TRUE(SameBits(two, Apply(two, &past, [](cBitFilter& f) { return f.ClassyColors(11); })));
}

TEST(ColourEffects, OldPhotoThermiqueXBlackPhotoCop) {
  // OLDPHOTO of (b 10, g 20, r 30): Y = round(0.71 + 14.14 + 6.66) =
  // round(21.51) = 22; blue stays.
  const std::vector<std::array<int, 3>> px = {
      {10, 20, 30},    {10, 30, 20},    {30, 20, 10},    {30, 30, 10},    {77, 77, 77},
      {127, 127, 127}, {128, 128, 128}, {127, 128, 200}, {0, 0, 0},       {255, 255, 255}};
  const int w = static_cast<int>(px.size());
  Bits pic = MakePicture(w, 1, [&](int x, int, int c) { return px[static_cast<size_t>(x)][static_cast<size_t>(c)]; });
  RectRegion all = RectRegion::FromRect(0, 0, w, 1);
  auto at = [](const Bits& b, int x) { return std::array<int, 3>{b.At(0, x, 0), b.At(1, x, 0), b.At(2, x, 0)}; };

  Bits old = Apply(pic, &all, [](cBitFilter& f) { return f.OLDPHOTO(); });
  EXPECT_EQ(at(old, 0), (std::array<int, 3>{10, 22, 22}));

  Bits th = Apply(pic, &all, [](cBitFilter& f) { return f.THERMIQUE(); });
  EXPECT_EQ(at(th, 0), (std::array<int, 3>{0, 0, 30}));    // red dominant
  EXPECT_EQ(at(th, 1), (std::array<int, 3>{0, 30, 0}));    // green dominant
  EXPECT_EQ(at(th, 2), (std::array<int, 3>{30, 0, 0}));    // blue dominant
  EXPECT_EQ(at(th, 3), (std::array<int, 3>{30, 30, 10}));  // blue and green tie: stays
  EXPECT_EQ(at(th, 4), (std::array<int, 3>{77, 77, 77}));  // grey stays

  // Dark is c <= 127.5, bright c >= 127.5.
  Bits xb = Apply(pic, &all, [](cBitFilter& f) { return f.XBLACK(); });
  Bits pc = Apply(pic, &all, [](cBitFilter& f) { return f.PHOTOCOP(); });
  const std::array<int, 3> white{255, 255, 255}, black{0, 0, 0};
  EXPECT_EQ(at(xb, 5), white);  // all dark
  EXPECT_EQ(at(pc, 5), black);
  EXPECT_EQ(at(xb, 6), (std::array<int, 3>{128, 128, 128}));  // none dark: stays
  EXPECT_EQ(at(pc, 6), (std::array<int, 3>{128, 128, 128}));
  EXPECT_EQ(at(xb, 7), black);  // mixed
  EXPECT_EQ(at(pc, 7), white);
  EXPECT_EQ(at(xb, 8), white);  // black turns white
  EXPECT_EQ(at(xb, 9), white);  // white stays white
  EXPECT_EQ(at(pc, 0), black);
}

TEST(ColourEffects, ScanlinesEverySecondRowFromTheBoxTop) {
  // One column, rows 20, 200, 100, 50. Opacity 30: L(i) = max(i - 30, 0).
  Bits pic = Grey(1, 4, {20, 200, 100, 50});
  RectRegion all = RectRegion::FromRect(0, 0, 1, 4);
  ExpectGreyRows(Apply(pic, &all, [](cBitFilter& f) { return f.Scanlines(30); }), 1, 4, {0, 200, 70, 50});
  RectRegion fromOne = RectRegion::FromRect(0, 1, 1, 4);
  ExpectGreyRows(Apply(pic, &fromOne, [](cBitFilter& f) { return f.Scanlines(30); }), 1, 4, {20, 170, 100, 20});
  // Opacity -100: 200 + 100 = 300 does not fit, the byte stays; 20 -> 120.
  ExpectGreyRows(Apply(pic, &all, [](cBitFilter& f) { return f.Scanlines(-100); }), 1, 4, {120, 200, 200, 50});
}

// --- SKETCH ---------------------------------------------------------------------------------------

Bits ReferenceSketch(const Bits& in, const RectRegion& region, int weight, bool bw, int colour) {
  Bits out = in;
  for (int y = -1; y <= in.Height(); ++y)
    for (int x = -1; x <= in.Width(); ++x) {
      if (!region.Contains(x, y)) continue;
      int e[3];
      for (int c = 0; c < 3; ++c) {
        int s = 0;
        for (int dy = -1; dy <= 1; ++dy)
          for (int dx = -1; dx <= 1; ++dx)
            if (dx != 0 || dy != 0) s += in.At(c, x + dx, y + dy);
        e[c] = 8 * in.At(c, x, y) - s + 255;
      }
      const int a = (e[0] + e[1] + e[2]) / 3;
      const int w = a > weight ? 255 : 0;
      if (bw) {
        for (int c = 0; c < 3; ++c) out.At(c, x, y) = static_cast<uint8_t>(w);
      } else if (w == 255) {
        out.At(0, x, y) = static_cast<uint8_t>((colour >> 16) & 255);
        out.At(1, x, y) = static_cast<uint8_t>((colour >> 8) & 255);
        out.At(2, x, y) = static_cast<uint8_t>(colour & 255);
      }
    }
  return out;
}

TEST(ColourEffects, SketchFlatPictureAndTheZeroFrame) {
  // Flat 100: inside, e = 800 - 800 + 255 = 255 per channel, a = 255. At the
  // corner five neighbours are frame zeros: e = 800 - 300 + 255 = 755.
  Bits pic = MakePicture(4, 3, [](int, int, int) { return 100; });
  RectRegion all = RectRegion::FromRect(0, 0, 4, 3);
  Bits out = Apply(pic, &all, [](cBitFilter& f) { return f.SKETCH(254, true, Colour{0}); });
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 4; ++x) EXPECT_EQ(out.At(0, x, y), 255);
  // Weight 255: a = 255 is not above it inside, black; the edge pixels stay
  // above (their a >= 255 + 100 = 355), white.
  out = Apply(pic, &all, [](cBitFilter& f) { return f.SKETCH(255, true, Colour{0}); });
  EXPECT_EQ(out.At(0, 1, 1), 0);
  EXPECT_EQ(out.At(0, 0, 0), 255);
  // Colour mode: white points take the colour (r 1, g 2, b 3), others stay.
  out = Apply(pic, &all, [](cBitFilter& f) { return f.SKETCH(255, false, Colour{0x030201}); });
  EXPECT_EQ(out.At(0, 0, 0), 3);
  EXPECT_EQ(out.At(1, 0, 0), 2);
  EXPECT_EQ(out.At(2, 0, 0), 1);
  EXPECT_EQ(out.At(2, 1, 1), 100);
}

TEST(ColourEffects, SketchAgreesWithReferenceIncludingARegionIntoTheFrame) {
  Bits pic = RandomPicture(23, 17, 4);
  std::vector<RectRegion> regions = {RectRegion::FromRect(-2, -2, 25, 19), RectRegion::FromEllipse(2, 1, 20, 16)};
  for (const RectRegion& region : regions)
    for (int weight : {0, 128, 300})
      for (bool bw : {false, true}) {
        Bits out = Apply(pic, &region, [&](cBitFilter& f) { return f.SKETCH(weight, bw, Colour{0x123456}); }, 2);
        EXPECT_TRUE(SameBits(ReferenceSketch(pic, region, weight, bw, 0x123456), out)) << weight << " " << bw;
      }
}

// --- HALFTONE --------------------------------------------------------------------------------------

// The blocks walked one by one, the mean carried in a variable.
Bits ReferenceHalftone(const Bits& in, const RectRegion& region, int R, int D, int I) {
  Bits out = in;
  const Rect box = region.Box();
  if (R <= 0 || box.IsEmpty()) return out;
  const double L = Rnd(static_cast<double>(R + D) / R * R * R);
  const double f = (I + 100) / 100.0;
  int mean[3] = {0, 0, 0};
  for (int y = box.top; y <= box.bottom - 1; y += 2 * R)
    for (int x = box.left; x <= box.right - 1; x += 2 * R) {
      long sum[3] = {0, 0, 0}, count = 0;
      for (int yy = y; yy <= y + 2 * R; ++yy)
        for (int xx = x; xx <= x + 2 * R; ++xx)
          if (region.Contains(xx, yy)) {
            for (int c = 0; c < 3; ++c) sum[c] += in.At(c, xx, yy);
            ++count;
          }
      const int n = Rnd(count / f);
      if (n > 0)
        for (int c = 0; c < 3; ++c) mean[c] = std::min(Rnd(static_cast<double>(sum[c]) / n), 255);
      for (int dy = -R; dy <= R; ++dy)
        for (int dx = -R; dx <= R; ++dx) {
          const int px = x + dx + R, py = y + dy + R;
          if (!region.Contains(px, py)) continue;
          const int q = dx * dx + dy * dy;
          for (int c = 0; c < 3; ++c)
            out.At(c, px, py) = static_cast<uint8_t>(q > L ? 0 : Rnd((1 - q / L) * mean[c]));
        }
    }
  return out;
}

TEST(ColourEffects, HalftoneHandWorkedBlocks) {
  // 3 x 3 flat 90, R 1, D 1, I 0: L = round(2 / 1 * 1 * 1) = 2, f = 1.
  // Blocks at x, y = 0, 2 (step 2), each reading 3 x 3 points. Every block's
  // mean is 90. Centre: 90; q = 1: (1 - 1/2) * 90 = 45; q = 2: 0. The shared
  // column and row are painted by the later block, with the same values here.
  Bits flat = Grey(3, 3, std::vector<int>(9, 90));
  RectRegion all = RectRegion::FromRect(0, 0, 3, 3);
  ExpectGreyRows(Apply(flat, &all, [](cBitFilter& f) { return f.HALFTONE(1, 1, 0); }), 3, 3,
                 {0, 45, 0, 45, 90, 45, 0, 45, 0});

  // R 1, D 2, I 100, over the rows 0-1 and the single point (2, 2):
  // L = round(3 * 1 * 1) = 3, f = 2.
  //  block (0, 0): 7 points, sum 630, n = round(3.5) = 4, mean round(157.5) = 158;
  //  block (2, 0): (2, 0), (2, 1), (2, 2): n = round(1.5) = 2, mean 135;
  //  blocks (0, 2) and (2, 2): one point, n = round(0.5) = 0: the mean carries
  //  over from block (2, 0), across the row of blocks.
  // q = 1: round(2/3 * 158) = 105, round(2/3 * 135) = 90; q = 2: round(158 / 3)
  // = 53, round(135 / 3) = 45.
  RectRegion shape = RectRegion::Combine(RectRegion::FromRect(0, 0, 3, 2), RectRegion::FromRect(2, 2, 3, 3),
                                         CombineMode::Or);
  ExpectGreyRows(Apply(flat, &shape, [](cBitFilter& f) { return f.HALFTONE(1, 2, 100); }), 3, 3,
                 {53, 105, 45, 105, 158, 90, 90, 90, 45});
}

TEST(ColourEffects, HalftoneAgreesWithTheBlockByBlockWalk) {
  Bits pic = RandomPicture(41, 29, 5);
  struct Args {
    int r, d, i;
  };
  for (const RectRegion& region : Regions())
    for (const Args& a : {Args{1, 50, 0}, Args{2, 0, 100}, Args{3, 17, 60}, Args{5, 100, -50}, Args{1, 0, 100},
                          Args{25, 50, 0}, Args{70, 10, 0}, Args{2, -3, 0}, Args{4, 10, 300}})
      for (int threads : {1, 3}) {
        Bits out = Apply(pic, &region, [&](cBitFilter& f) { return f.HALFTONE(a.r, a.d, a.i); }, threads);
        EXPECT_TRUE(SameBits(ReferenceHalftone(pic, region, a.r, a.d, a.i), out))
            << a.r << " " << a.d << " " << a.i << " threads " << threads;
      }
}

TEST(ColourEffects, HalftoneIsolatedPointsTakeTheMeanCarriedFromRowsAbove) {
  // R 1 (step 2), I 100 (f = 2): a lone point has count 1, n = round(0.5) = 0,
  // so it shows the last mean computed before it, at q = 0 the full mean. The
  // lone points sit at block centres (odd x, odd y) down the picture; a few
  // bars of full blocks change the carried mean now and then.
  Bits pic = RandomPicture(120, 160, 21);
  std::vector<int32_t> data = {32, 1, 0, 0, 0, 0, 0, 0};
  auto add = [&](int l, int t, int r, int b) { data.insert(data.end(), {l, t, r, b}); };
  for (int y = 1; y < 160; y += 2) {
    if (y % 40 == 1) {
      add(0, y - 1, 120, y + 1);  // a bar of two rows: full blocks
      continue;
    }
    for (int x = 1 + (y % 6); x < 120; x += 12) add(x, y, x + 1, y + 1);
  }
  data[2] = static_cast<int32_t>((data.size() - 8) / 4);
  const RectRegion region = RectRegion::FromData(data);
  ASSERT_FALSE(region.IsEmpty());
  const Bits expected = ReferenceHalftone(pic, region, 1, 2, 100);
  for (int threads : {1, 2, 5}) {
    EXPECT_TRUE(SameBits(expected, Apply(pic, &region, [](cBitFilter& f) { return f.HALFTONE(1, 2, 100); }, threads)))
        << "threads " << threads;
  }
}

TEST(ColourEffects, HalftoneFailuresLeaveThePicture) {
  Bits pic = RandomPicture(12, 9, 7);
  RectRegion all = RectRegion::FromRect(0, 0, 12, 9);
  RectRegion past = RectRegion::FromRect(-3, 0, 12, 9);
  RectRegion empty;
  std::vector<int> reports;
  auto run = [&](const RectRegion* region, int r, int d, int i) {
    cBitFilter f;
    reports.clear();
    f.SetProgressHandler([&](int p) { reports.push_back(p); });
    f.SetBits(pic);
    f.BitsRegion(region);
    return f.HALFTONE(r, d, i);
  };
  EXPECT_TRUE(SameBits(pic, run(&all, 0, 50, 0)));      // radius 0 divides by zero
  EXPECT_TRUE(SameBits(pic, run(&all, -2, 50, 0)));     // a negative step walks nothing
  EXPECT_TRUE(SameBits(pic, run(&all, 2, 50, -100)));   // f = 0
  EXPECT_TRUE(SameBits(pic, run(&all, 1, -1, 0)));      // L = 0: the centre divides 0 by 0
  EXPECT_TRUE(SameBits(pic, run(&past, 2, 50, 0)));     // a point past the array
  EXPECT_TRUE(SameBits(pic, run(&empty, 2, 50, -100)));  // no block: nothing fails either
  EXPECT_EQ(reports, std::vector<int>{100});
  // L < 0 (R 2, D -3: round(-1 / 2 * 4) = -2): every point is beyond it, black.
  Bits black = run(&all, 2, -3, 0);
  for (int y = 0; y < 9; ++y)
    for (int x = 0; x < 12; ++x) ASSERT_EQ(black.At(1, x, y), 0);
}

// --- PIXELIZE --------------------------------------------------------------------------------------

Bits ReferencePixelize(const Bits& in, const RectRegion& region, int size) {
  Bits out = in;
  const Rect box = region.Box();
  int mean[3] = {0, 0, 0};
  for (int y = box.top; y < box.bottom; ++y)
    for (int x = box.left; x < box.right; ++x) {
      if (!region.Contains(x, y) || !in.InArray(x, y)) continue;
      const int bx = (x / size) * size, by = (y / size) * size;
      if (x % size == 0) {
        long sum[3] = {0, 0, 0}, count = 0;
        for (int yy = std::max(by, 0); yy <= std::min(by + size - 1, in.Height() - 1); ++yy)
          for (int xx = std::max(bx, 0); xx <= std::min(bx + size - 1, in.Width() - 1); ++xx) {
            for (int c = 0; c < 3; ++c) sum[c] += in.At(c, xx, yy);
            ++count;
          }
        if (count > 0)
          for (int c = 0; c < 3; ++c) mean[c] = static_cast<int>(sum[c] / count);
      }
      for (int c = 0; c < 3; ++c) out.At(c, x, y) = static_cast<uint8_t>(mean[c]);
    }
  return out;
}

TEST(ColourEffects, PixelizeBlocksAndTheMeanCarriedIntoASelection) {
  // Rows 10 20 30 41 / 50 60 70 80, size 2: block 0 = 140 / 4 = 35, block 1 =
  // 221 / 4 = 55.25, truncated to 55.
  Bits pic = Grey(4, 2, {10, 20, 30, 41, 50, 60, 70, 80});
  RectRegion all = RectRegion::FromRect(0, 0, 4, 2);
  ExpectGreyRows(Apply(pic, &all, [](cBitFilter& f) { return f.PIXELIZE(2); }), 4, 2, {35, 35, 55, 55, 35, 35, 55, 55});
  // Starting at column 1: the first row has no mean yet (black) until column 2;
  // the second row starts with the mean last computed, block 1's.
  RectRegion fromOne = RectRegion::FromRect(1, 0, 4, 2);
  ExpectGreyRows(Apply(pic, &fromOne, [](cBitFilter& f) { return f.PIXELIZE(2); }), 4, 2,
                 {10, 0, 55, 55, 50, 55, 55, 55});
  // Size 3: block 0 = columns 0..2 (rows 0..1) = 240 / 6 = 40; block 1 =
  // column 3 only, limited to the image: 121 / 2 = 60.
  ExpectGreyRows(Apply(pic, &all, [](cBitFilter& f) { return f.PIXELIZE(3); }), 4, 2, {40, 40, 40, 60, 40, 40, 40, 60});
  // Sizes below 1 leave the picture.
  EXPECT_TRUE(SameBits(pic, Apply(pic, &all, [](cBitFilter& f) { return f.PIXELIZE(0); })));
  EXPECT_TRUE(SameBits(pic, Apply(pic, &all, [](cBitFilter& f) { return f.PIXELIZE(-2); })));
}

TEST(ColourEffects, PixelizeAgreesWithThePointByPointWalk) {
  Bits pic = RandomPicture(41, 29, 9);
  std::vector<RectRegion> regions = Regions();
  regions.push_back(RectRegion::FromRect(-2, -2, 43, 31));  // the whole array, frame included
  regions.push_back(RectRegion::FromEllipse(-6, -4, 30, 20));  // reaching past the array
  for (const RectRegion& region : regions)
    for (int size : {1, 2, 3, 5, 7, 40, 100})
      for (int threads : {1, 3}) {
        Bits out = Apply(pic, &region, [&](cBitFilter& f) { return f.PIXELIZE(size); }, threads);
        EXPECT_TRUE(SameBits(ReferencePixelize(pic, region, size), out)) << "size " << size << " threads " << threads;
      }
}

// --- random filters ------------------------------------------------------------------------------

// The draws a freshly seeded engine gives.
std::vector<float> Draws(uint32_t seed, size_t n) {
  cBitFilter f;
  f.SeedRandom(seed);
  std::vector<float> out(n);
  for (float& u : out) u = f.Random();
  return out;
}

TEST(ColourEffects, NoiseFollowsTheDrawsInRasterOrder) {
  Bits pic = RandomPicture(13, 7, 10);
  RectRegion region = RectRegion::FromEllipse(0, 0, 13, 7);
  for (bool equalized : {false, true})
    for (int v : {0, 20, 100}) {
      Bits out = Apply(pic, &region, [&](cBitFilter& f) { return f.NOISE(v, equalized); }, 2, 99);
      const std::vector<float> u = Draws(99, 3 * 13 * 7);
      size_t next = 0;
      Bits expected = pic;
      const double a = 2 * v + 1;
      for (int y = 0; y < 7; ++y)
        for (int x = 0; x < 13; ++x) {
          if (!region.Contains(x, y)) continue;
          double term[3];  // by channel b, g, r; the draws come red, green, blue
          if (equalized) {
            term[0] = term[1] = term[2] = a * u[next++] - v;
          } else {
            term[2] = a * u[next++] - v;
            term[1] = a * u[next++] - v;
            term[0] = a * u[next++] - v;
          }
          for (int c = 0; c < 3; ++c) expected.At(c, x, y) = static_cast<uint8_t>(Clamp255(Rnd(pic.At(c, x, y) + term[c])));
        }
      EXPECT_TRUE(SameBits(expected, out)) << v << " " << equalized;
      // The same seed gives the same picture, another seed another.
      EXPECT_TRUE(SameBits(out, Apply(pic, &region, [&](cBitFilter& f) { return f.NOISE(v, equalized); }, 1, 99)));
      if (v > 0) {
        EXPECT_FALSE(SameBits(out, Apply(pic, &region, [&](cBitFilter& f) { return f.NOISE(v, equalized); }, 1, 98)));
      }
    }
}

TEST(ColourEffects, NoiseIntensityZeroBrightensByAtMostOne) {
  Bits pic = RandomPicture(30, 20, 11);
  RectRegion all = RectRegion::FromRect(0, 0, 30, 20);
  Bits out = Apply(pic, &all, [](cBitFilter& f) { return f.NOISE(0, false); });
  int raised = 0;
  for (int y = 0; y < 20; ++y)
    for (int x = 0; x < 30; ++x)
      for (int c = 0; c < 3; ++c) {
        const int d = out.At(c, x, y) - pic.At(c, x, y);
        ASSERT_TRUE(d == 0 || (d == 1 && pic.At(c, x, y) < 255));
        raised += d;
      }
  EXPECT_GT(raised, 0);
}

TEST(ColourEffects, DissolveTakesThePicturesChannelsByTheDraws) {
  Bits pic = RandomPicture(9, 6, 12);
  Bits other = MakePicture(5, 4, [](int x, int y, int c) { return 200 + x + 10 * y + c; });
  RectRegion all = RectRegion::FromRect(0, 0, 9, 6);
  for (int level : {0, 37, 100}) {
    Bits out = Apply(pic, &all, [&](cBitFilter& f) { return f.Dissolve(other, level); }, 2, 5);
    const std::vector<float> u = Draws(5, 3 * 9 * 6);
    size_t next = 0;
    Bits expected = pic;
    for (int y = 0; y < 6; ++y)
      for (int x = 0; x < 9; ++x)
        for (int c = 0; c < 3; ++c) {
          const double draw = u[next++];
          if (x < 5 && y < 4 && draw * 100 < level) expected.At(c, x, y) = other.At(c, x, y);
        }
    EXPECT_TRUE(SameBits(expected, out)) << level;
  }
}

// --- StuckiBW ---------------------------------------------------------------------------------------

// A full-size error field instead of three rolling rows.
Bits ReferenceStucki(const Bits& in, const RectRegion& region, int contrast) {
  Bits out = in;
  const int W = in.Width(), H = in.Height(), maxX = W - 1, maxY = H - 1;
  long total = 0;
  for (int y = 0; y < H; ++y)
    for (int x = 0; x < W; ++x) total += (in.At(0, x, y) + in.At(1, x, y) + in.At(2, x, y)) / 3;
  const int m = static_cast<int>(total / (W * H));
  std::vector<std::vector<int>> err(static_cast<size_t>(H + 4), std::vector<int>(static_cast<size_t>(W + 4), 0));
  auto add = [&](int x, int y, int e, int weight) { err[static_cast<size_t>(y + 2)][static_cast<size_t>(x + 2)] += e * weight / 42; };
  int L = 0;
  const Rect box = region.Box();
  for (int y = box.top; y < box.bottom; ++y)
    for (int x = box.left; x < box.right; ++x) {
      if (!region.Contains(x, y)) continue;
      if (contrast != 0) {
        L = (in.At(0, x, y) + in.At(1, x, y) + in.At(2, x, y)) / 3 +
            err[static_cast<size_t>(y + 2)][static_cast<size_t>(x + 2)] * 10 / contrast;
      }
      L = Clamp255(L);
      const int w = L >= m ? 255 : 0;
      for (int c = 0; c < 3; ++c) out.At(c, x, y) = static_cast<uint8_t>(w);
      const int e = L - w;
      if (x < maxX - 1) add(x + 1, y, e, 8);
      if (x < maxX - 2) add(x + 2, y, e, 4);
      if (y < maxY - 1) {
        if (x > 1) add(x - 2, y + 1, e, 2);
        if (x > 0) add(x - 1, y + 1, e, 4);
        add(x, y + 1, e, 8);
        if (x < maxX - 1) add(x + 1, y + 1, e, 4);
        if (x < maxX - 2) add(x + 2, y + 1, e, 2);
      }
      if (y < maxY - 2) {
        if (x > 1) add(x - 2, y + 2, e, 1);
        if (x > 0) add(x - 1, y + 2, e, 2);
        add(x, y + 2, e, 4);
        if (x < maxX - 1) add(x + 1, y + 2, e, 2);
        if (x < maxX - 2) add(x + 2, y + 2, e, 1);
      }
    }
  return out;
}

TEST(ColourEffects, StuckiHandWorkedRow) {
  // Greys 100 100 100 0: mean m = trunc(300 / 4) = 75; MaxX = 3, one row.
  // Contrast 10 (buffer * 10 / 10):
  //  x0: L 100 -> white, e = -155; x1 += trunc(-155*8/42) = -29, x2 += trunc(-155*4/42) = -14
  //  x1: L 71 -> black, e = 71; x2 += trunc(71*8/42) = 13 (x1 < MaxX - 2 fails for x3)
  //  x2: L = 100 - 1 = 99 -> white; x3: L 0 -> black.
  Bits pic = Grey(4, 1, {100, 100, 100, 0});
  RectRegion all = RectRegion::FromRect(0, 0, 4, 1);
  ExpectGreyRows(Apply(pic, &all, [](cBitFilter& f) { return f.StuckiBW(10); }), 4, 1, {255, 0, 255, 0});
  // Contrast 20: x1: L = 100 + trunc(-290/20) = 86 -> white, e = -169, x2 +=
  // trunc(-169*8/42) = -32; x2: L = 100 + trunc(-460/20) = 77 -> white.
  ExpectGreyRows(Apply(pic, &all, [](cBitFilter& f) { return f.StuckiBW(20); }), 4, 1, {255, 255, 255, 0});
  // Contrast 0: L never gets a value and stays 0, below the mean: black.
  ExpectGreyRows(Apply(pic, &all, [](cBitFilter& f) { return f.StuckiBW(0); }), 4, 1, {0, 0, 0, 0});
}

TEST(ColourEffects, StuckiAgreesWithAFullErrorField) {
  Bits pic = RandomPicture(41, 29, 13);
  for (const RectRegion& region : Regions())
    for (int contrast : {1, 7, 10, 40, -10, 0}) {
      Bits out = Apply(pic, &region, [&](cBitFilter& f) { return f.StuckiBW(contrast); }, 2);
      EXPECT_TRUE(SameBits(ReferenceStucki(pic, region, contrast), out)) << contrast;
    }
}

// --- PaletteApply -----------------------------------------------------------------------------------

struct PaletteGuard {
  PaletteRecord saved = CurrentPalette();
  ~PaletteGuard() { CurrentPalette() = saved; }
};

PaletteRecord MakePalette(const std::vector<PaletteColor>& colours) {
  PaletteRecord p;
  p.PaletteColors = colours;
  p.PaletteCount = static_cast<int32_t>(colours.size());
  return p;
}

int ReferenceNearest(const PaletteRecord& p, int r, int g, int b) {
  int best = 0, bound = 765;
  for (int i = 0; i < p.PaletteCount; ++i) {
    const PaletteColor& e = p.PaletteColors[static_cast<size_t>(i)];
    const int d = std::abs(r - e.red) + std::abs(g - e.green) + std::abs(b - e.blue);
    if (d == 0) return i;
    if (d < bound) bound = d, best = i;
  }
  return best;
}

// Diffuses on a working copy; `diffused` receives that copy.
Bits ReferencePaletteApply(const Bits& in, const RectRegion& region, const PaletteRecord& p, Bits& diffused) {
  Bits work = in, out = in;
  const int maxX = in.Width() - 1, maxY = in.Height() - 1;
  const Rect box = region.Box();
  for (int y = box.top; y < box.bottom; ++y)
    for (int x = box.left; x < box.right; ++x) {
      if (!region.Contains(x, y)) continue;
      const PaletteColor& e = p.PaletteColors[static_cast<size_t>(
          ReferenceNearest(p, work.At(2, x, y), work.At(1, x, y), work.At(0, x, y)))];
      const int pc[3] = {e.blue, e.green, e.red};
      int err[3];
      for (int c = 0; c < 3; ++c) {
        out.At(c, x, y) = static_cast<uint8_t>(pc[c]);
        err[c] = work.At(c, x, y) - pc[c];
      }
      if (std::abs(err[0]) + std::abs(err[1]) + std::abs(err[2]) <= 3) continue;
      for (int c = 0; c < 3; ++c) {
        if (x < maxX) work.At(c, x + 1, y) = static_cast<uint8_t>(Clamp255(work.At(c, x + 1, y) + err[c] * 7 / 16));
        if (y < maxY && x >= 1 && x <= maxX - 1)
          work.At(c, x, y + 1) = static_cast<uint8_t>(Clamp255(work.At(c, x, y + 1) + err[c] * 4 / 16));
      }
    }
  diffused = work;
  return out;
}

TEST(ColourEffects, PaletteApplyHandWorkedDiffusion) {
  PaletteGuard guard;
  CurrentPalette() = MakePalette({{0, 0, 0}, {255, 255, 255}});
  // Greys 100, 120. x0: black (300 against 465), e = 100; x1 gains trunc(700 /
  // 16) = 43 -> 163, which is nearer white (276 against 489). Undiffused, 120
  // would have gone black.
  Bits pic = Grey(2, 1, {100, 120});
  RectRegion all = RectRegion::FromRect(0, 0, 2, 1);
  cBitFilter f;
  f.SetBits(pic);
  f.BitsRegion(&all);
  ExpectGreyRows(f.PaletteApply(), 2, 1, {0, 255});
  // The engine's own array carries the diffused values.
  EXPECT_EQ(f.BitsRef().At(0, 1, 0), 163);
  EXPECT_EQ(f.BitsRef().At(0, 0, 0), 100);
}

TEST(ColourEffects, PaletteApplyAgreesWithTheLiteralWalk) {
  PaletteGuard guard;
  std::mt19937 rng(14);
  auto randomPalette = [&](int n) {
    std::vector<PaletteColor> colours;
    for (int i = 0; i < n; ++i)
      colours.push_back({static_cast<int32_t>(rng() & 255), static_cast<int32_t>(rng() & 255),
                         static_cast<int32_t>(rng() & 255)});
    return MakePalette(colours);
  };
  std::vector<PaletteRecord> palettes = {randomPalette(1), randomPalette(2), randomPalette(16), randomPalette(256),
                                         DefaultPalette(),
                                         // duplicates and equal distances: ties go to the earlier entry
                                         MakePalette({{10, 10, 10}, {20, 20, 20}, {10, 10, 10}, {0, 20, 10}})};
  Bits pic = RandomPicture(41, 29, 15);
  for (const PaletteRecord& palette : palettes)
    for (const RectRegion& region : Regions()) {
      CurrentPalette() = palette;
      cBitFilter f;
      f.SetBits(pic);
      f.BitsRegion(&region);
      Bits out = f.PaletteApply();
      Bits diffused;
      EXPECT_TRUE(SameBits(ReferencePaletteApply(pic, region, palette, diffused), out)) << palette.PaletteCount;
      EXPECT_TRUE(SameBits(diffused, f.BitsRef()));
    }
}

TEST(ColourEffects, PaletteApplyRefusesWhatItCannotStore) {
  PaletteGuard guard;
  Bits pic = RandomPicture(8, 6, 16);
  RectRegion all = RectRegion::FromRect(0, 0, 8, 6);
  RectRegion past = RectRegion::FromRect(0, 0, 8, 9);
  auto unchanged = [&](const RectRegion& region) {
    cBitFilter f;
    f.SetBits(pic);
    f.BitsRegion(&region);
    const Bits out = f.PaletteApply();
    return SameBits(pic, out) && SameBits(pic, f.BitsRef());
  };
  CurrentPalette() = MakePalette({});
  EXPECT_TRUE(unchanged(all));
  CurrentPalette() = MakePalette({{0, 0, 0}, {256, 0, 0}});
  EXPECT_TRUE(unchanged(all));
  CurrentPalette() = MakePalette({{0, 0, 0}, {255, 255, 255}});
  EXPECT_TRUE(unchanged(past));
  EXPECT_FALSE(unchanged(all));
  // Only the first PaletteCount entries take part.
  CurrentPalette().PaletteCount = 1;
  cBitFilter f;
  f.SetBits(pic);
  f.BitsRegion(&all);
  Bits out = f.PaletteApply();
  for (int y = 0; y < 6; ++y)
    for (int x = 0; x < 8; ++x) ASSERT_EQ(out.At(2, x, y), 0);
}

// --- gradients ---------------------------------------------------------------------------------------

TEST(ColourEffects, GradientLinearHandWorkedRamps) {
  // Along x from 0 to 10: L = 10, angle 0, t = x / 10 held to 0..1. Grey 200
  // over black at full opacity: round(t * 200) = 20 x, 200 past the end.
  Bits pic = Grey(13, 1, std::vector<int>(13, 100));
  RectRegion all = RectRegion::FromRect(0, 0, 13, 1);
  const Colour black{0}, grey{0xC8C8C8}, own{-1};
  auto run = [&](int x1, int y1, int x2, int y2, Colour c1, Colour c2, int opacity, int frequency) {
    return Apply(pic, &all, [&](cBitFilter& f) {
      return f.GradientLinear(f.BitsRef(), x1, y1, x2, y2, c1, c2, opacity, frequency);
    });
  };
  ExpectGreyRows(run(0, 0, 10, 0, black, grey, 100, 1), 13, 1,
                 {0, 20, 40, 60, 80, 100, 120, 140, 160, 180, 200, 200, 200});
  // Opacity 50 over old 100: 0.5 * 20x + 0.5 * 100 = 50 + 10x.
  ExpectGreyRows(run(0, 0, 10, 0, black, grey, 50, 1), 13, 1,
                 {50, 60, 70, 80, 90, 100, 110, 120, 130, 140, 150, 150, 150});
  // Colour -1 stands for the old value: t * 200 + (1 - t) * 100 = 100 + 10x.
  ExpectGreyRows(run(0, 0, 10, 0, own, grey, 100, 1), 13, 1,
                 {100, 110, 120, 130, 140, 150, 160, 170, 180, 190, 200, 200, 200});
  // Backwards (dx < 0): angle 180, t = (10 - x) / 10; points before x = 0 of
  // the ramp (t < 0) hold colour1.
  ExpectGreyRows(run(10, 0, 0, 0, black, grey, 100, 1), 13, 1,
                 {200, 180, 160, 140, 120, 100, 80, 60, 40, 20, 0, 0, 0});
  // Frequency 2: S = pi, t = sin(pi x / 10)^2 -> round(200 sin^2): 0, 19,
  // 69, 131, 181, 200, 181, 131, 69, 19, 0, then t = 1.1: sin^2 = 0.0955 -> 19.
  ExpectGreyRows(run(0, 0, 10, 0, black, grey, 100, 2), 13, 1,
                 {0, 19, 69, 131, 181, 200, 181, 131, 69, 19, 0, 19, 69});
  // Equal points: the source comes back.
  EXPECT_TRUE(SameBits(pic, run(3, 0, 3, 0, black, grey, 100, 1)));
}

TEST(ColourEffects, GradientDirectionsAndTheCircle) {
  // Vertical, upwards (dx = 0, dy < 0: -90 + 360 = 270 degrees): t = -(y - 10) / 10.
  Bits column = Grey(1, 11, std::vector<int>(11, 0));
  RectRegion all = RectRegion::FromRect(0, 0, 1, 11);
  Bits up = Apply(column, &all, [](cBitFilter& f) {
    return f.GradientLinear(f.BitsRef(), 0, 10, 0, 0, Colour{0}, Colour{0xC8C8C8}, 100, 1);
  });
  for (int y = 0; y <= 10; ++y) EXPECT_EQ(up.At(1, 0, y), 200 - 20 * y) << y;

  // Circle about (5, 5) reaching (8, 9): L = 5, t = distance / 5. Red ramp
  // from 0 to 250 (colour 0x0000FA) leaves green and blue at 0 throughout.
  Bits square = Grey(11, 11, std::vector<int>(121, 0));
  RectRegion box = RectRegion::FromRect(0, 0, 11, 11);
  Bits circle = Apply(square, &box, [](cBitFilter& f) {
    return f.GradientCircular(f.BitsRef(), 5, 5, 8, 9, Colour{0}, Colour{0xFA}, 100, 1);
  });
  EXPECT_EQ(circle.At(2, 5, 5), 0);
  EXPECT_EQ(circle.At(2, 8, 5), 150);   // distance 3: 0.6 * 250
  EXPECT_EQ(circle.At(2, 8, 9), 250);   // distance 5
  EXPECT_EQ(circle.At(2, 0, 0), 250);   // beyond: held at 1
  EXPECT_EQ(circle.At(2, 6, 5), 50);
  EXPECT_EQ(circle.At(1, 8, 9), 0);
}

TEST(ColourEffects, GradientLinearMatchesProjectionOntoTheLine) {
  // Any direction: t is the projection of (x - x1, y - y1) on the line over
  // L squared. Compared within 1 for rounding of the angle's path.
  Bits pic = RandomPicture(40, 30, 17);
  RectRegion region = RectRegion::FromEllipse(0, 0, 40, 30);
  struct Line {
    int x1, y1, x2, y2;
  };
  for (const Line& l : {Line{3, 4, 30, 20}, Line{30, 2, 5, 25}, Line{20, 25, 22, 1}, Line{35, 20, 2, 18}})
    for (int frequency : {1, 3}) {
      Bits out = Apply(pic, &region, [&](cBitFilter& f) {
        return f.GradientLinear(f.BitsRef(), l.x1, l.y1, l.x2, l.y2, Colour{0x102030}, Colour{-1}, 70, frequency);
      }, 2);
      const double dx = l.x2 - l.x1, dy = l.y2 - l.y1;
      const double dist = std::sqrt(dx * dx + dy * dy);
      const double L = Rnd(dist);
      double S = (frequency - 1) * 3.141592;
      if (L < S) S = L;
      for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 40; ++x) {
          if (!region.Contains(x, y)) continue;
          double t = ((x - l.x1) * dx + (y - l.y1) * dy) / dist / L;
          if (S > 0) t = std::pow(std::sin(t * S), 2);
          t = std::min(std::max(t, 0.0), 1.0);
          const int c1[3] = {0x10, 0x20, 0x30};
          for (int c = 0; c < 3; ++c) {
            const double old = pic.At(c, x, y);
            const int expected = Clamp255(Rnd(0.7 * (t * old + (1 - t) * c1[c]) + 0.3 * old));
            ASSERT_LE(std::abs(out.At(c, x, y) - expected), 1) << x << "," << y;
          }
        }
    }
}

TEST(ColourEffects, GradientCircularMatchesTheRuleExactly) {
  // No angle is involved: t = sqrt(u^2 + v^2) / L, the bands through the
  // single S, the share of the old value, RoundByte. Over a rectangle, an
  // ellipse and a union, with a colour of -1 on either side.
  Bits pic = RandomPicture(41, 29, 19);
  struct Run {
    int x1, y1, x2, y2;
    int32_t c1, c2;
    int opacity, frequency;
  };
  const std::vector<Run> runs = {{20, 14, 30, 20, 0x203040, 0xF0E0D0, 100, 1},
                                 {0, 0, 40, 28, -1, 0x0080FF, 65, 4},
                                 {7, 21, 9, 22, 0x7F7F7F, -1, 30, 3},   // L = 2 caps S at 2
                                 {40, 0, 12, 9, 0x000000, 0xFFFFFF, 100, 7}};
  for (const Run& run : runs)
    for (const RectRegion& region : Regions()) {
      const Bits out = Apply(pic, &region, [&](cBitFilter& f) {
        return f.GradientCircular(f.BitsRef(), run.x1, run.y1, run.x2, run.y2, Colour{run.c1}, Colour{run.c2},
                                  run.opacity, run.frequency);
      });
      const double dx = run.x2 - run.x1, dy = run.y2 - run.y1;
      const int L = Rnd(std::sqrt(dx * dx + dy * dy));
      float S = static_cast<float>(run.frequency - 1) * 3.141592f;
      if (L < S) S = static_cast<float>(L);
      const double o = run.opacity / 100.0;
      Bits expected = pic;
      for (int y = -2; y < 31; ++y)
        for (int x = -2; x < 43; ++x) {
          if (!region.Contains(x, y)) continue;
          const double u = x - run.x1, v = y - run.y1;
          double t = std::sqrt(u * u + v * v) / L;
          if (S > 0) {
            t = std::sin(t * S);
            t = t * t;
          }
          t = std::min(std::max(t, 0.0), 1.0);
          for (int c = 0; c < 3; ++c) {
            const double old = pic.At(c, x, y);
            const double from = run.c1 == -1 ? old : (run.c1 >> (16 - 8 * c)) & 0xFF;
            const double to = run.c2 == -1 ? old : (run.c2 >> (16 - 8 * c)) & 0xFF;
            expected.At(c, x, y) = static_cast<uint8_t>(Clamp255(Rnd(o * (t * to + (1 - t) * from) + (1 - o) * old)));
          }
        }
      EXPECT_TRUE(SameBits(expected, out)) << run.x1 << "," << run.y1 << " f" << run.frequency;
    }
}

// --- shared frame ------------------------------------------------------------------------------------

TEST(ColourEffects, EmptyRegionLeavesThePictureAndReportsHundred) {
  Bits pic = RandomPicture(10, 8, 18);
  RectRegion empty;
  const std::vector<std::function<Bits(cBitFilter&)>> calls = {
      [](cBitFilter& f) { return f.SpecialColors(true, false, false); },
      [](cBitFilter& f) { return f.ClassyColors(0); },
      [](cBitFilter& f) { return f.OLDPHOTO(); },
      [](cBitFilter& f) { return f.SKETCH(10, true, Colour{0}); },
      [](cBitFilter& f) { return f.HALFTONE(2, 50, 0); },
      [](cBitFilter& f) { return f.PIXELIZE(3); },
      [](cBitFilter& f) { return f.NOISE(50, false); },
      [](cBitFilter& f) { return f.StuckiBW(10); },
      [](cBitFilter& f) { return f.PaletteApply(); },
      [](cBitFilter& f) { return f.Scanlines(50); },
      [](cBitFilter& f) { return f.GradientCircular(f.BitsRef(), 1, 1, 5, 5, Colour{0}, Colour{255}, 100, 1); },
  };
  for (size_t i = 0; i < calls.size(); ++i)
    for (const RectRegion* region : {static_cast<const RectRegion*>(&empty), static_cast<const RectRegion*>(nullptr)}) {
      cBitFilter f;
      std::vector<int> reports;
      f.SetProgressHandler([&](int p) { reports.push_back(p); });
      f.SetBits(pic);
      f.BitsRegion(region);
      EXPECT_TRUE(SameBits(pic, calls[i](f))) << i;
      ASSERT_FALSE(reports.empty());
      EXPECT_EQ(reports.back(), 100);
    }
}

}  // namespace
}  // namespace kelvane
