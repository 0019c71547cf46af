// Colour effects: expectations worked out by hand from the formulas, or from
// slow literal loops written here (point tests per pixel, a full-size error
// buffer, the blocks walked one by one), never from the filters themselves.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "filters/colour_test_support.h"

namespace kelvane {
namespace {

using namespace colour_test;

// The regions most tests run over: a rectangle, an ellipse, and a union with
// a hole-like gap, all inside a 41 x 29 picture.
std::vector<RectRegion> Regions() {
  return {RectRegion::FromRect(0, 0, 41, 29), RectRegion::FromRect(3, 2, 30, 21),
          RectRegion::FromEllipse(1, 1, 39, 28),
          RectRegion::Combine(RectRegion::FromRect(0, 0, 12, 10), RectRegion::FromRect(17, 6, 41, 29),
                              CombineMode::Or)};
}

// The walk over a region's box for the references below.
void ForRegion(const RectRegion& region, const std::function<void(int, int)>& fn) {
  const Rect box = region.Box();
  for (int y = box.top; y < box.bottom; ++y)
    for (int x = box.left; x < box.right; ++x)
      if (region.Contains(x, y)) fn(x, y);
}

// --- one pixel in, one pixel out --------------------------------------------------------------

// ClassyColors written from the table; false when a byte overflows.
bool ReferenceClassy(int style, Triple& p) {
  const int b = p[0], g = p[1], r = p[2];
  int &B = p[0], &G = p[1], &R = p[2];
  auto m = [](int u, int v) { return Rnd((u * 0.99 + v * 0.99) / 2); };
  switch (style) {
    case 0: G = m(r, g); R = G; B = Rnd(b * std::atan(static_cast<double>(g)) / 1.9); break;
    case 1: G = m(r, g); R = G; break;
    case 2: R = m(r, b); B = r; break;
    case 3: G = m(g, b); B = G; break;
    case 6: B = Rnd(r / 2.0 + b / 4.0); G = Rnd(r / 4.0 + g / 2.0); R = Rnd(g / 4.0 + b / 2.0); break;
    case 7: {
      const int t = Rnd((2.0 * b * 0.99 + r * 0.99) / 12);
      B = std::abs(t - g - 1), G = std::abs(t - r - 1), R = std::abs(t - b - 1);
      return B <= 255 && G <= 255 && R <= 255;
    }
    case 8: B = g; G = r; break;
    case 10: B = Rnd(g / 2.0); G = Rnd(r / 2.0); break;
    case 11: R = 170; G = b; B = g; break;
    default: break;
  }
  return true;
}

TEST(ColourEffects, ClassyColorsFollowsItsTableForEveryStyle) {
  Bits pic = Noise(41, 29, 3);
  // Keep RETRO clear of its overflow (green 255 over near-black blue and red).
  for (int y = 0; y < 29; ++y)
    for (int x = 0; x < 41; ++x) pic.At(1, x, y) = std::min<uint8_t>(pic.At(1, x, y), 254);
  for (const RectRegion& region : Regions())
    for (int style = -1; style <= 12; ++style) {
      const Bits expected = Expected(pic, region, [&](Triple p) {
        EXPECT_TRUE(ReferenceClassy(style, p));
        return p;
      });
      EXPECT_TRUE(SameBits(expected, Apply(pic, &region, CALL(ClassyColors(style)), 2))) << "style " << style;
    }
}

TEST(ColourEffects, ClassyColorsFailsWholeOnTheRetroOverflowAndPastTheArray) {
  // RETRO at b 0, g 255, r 0: t = 0 and B = |0 - 255 - 1| = 256, a byte
  // overflow in a filter that does not skip it: the whole picture stays.
  const Bits two = Row({{0, 255, 0}, {90, 90, 90}});
  const Call retro = CALL(ClassyColors(7));
  const RectRegion both = RectRegion::FromRect(0, 0, 2, 1), second = RectRegion::FromRect(1, 0, 2, 1);
  EXPECT_TRUE(SameBits(two, Apply(two, &both, retro)));
  // The same pixel outside the region does no harm: (90, 90, 90) has
  // t = round((178.2 + 89.1) / 12) = round(22.275) = 22, each |22 - 91| = 69.
  const Bits out = Apply(two, &second, retro);
  EXPECT_EQ(PixelAt(out, 1, 0), (Triple{69, 69, 69}));
  EXPECT_EQ(PixelAt(out, 0, 0), (Triple{0, 255, 0}));
  const RectRegion past = RectRegion::FromRect(-3, 0, 2, 1);
  EXPECT_TRUE(SameBits(two, Apply(two, &past, CALL(ClassyColors(11)))));
}

TEST(ColourEffects, ScanlinesEverySecondRowFromTheBoxTop) {
  // One column, rows 20, 200, 100, 50. Opacity 30: L(i) = max(i - 30, 0).
  const Bits pic = Grey(1, 4, {20, 200, 100, 50});
  const RectRegion all = RectRegion::FromRect(0, 0, 1, 4), fromOne = RectRegion::FromRect(0, 1, 1, 4);
  ExpectGreyRows(Apply(pic, &all, CALL(Scanlines(30))), 1, 4, {0, 200, 70, 50});
  ExpectGreyRows(Apply(pic, &fromOne, CALL(Scanlines(30))), 1, 4, {20, 170, 100, 20});
  // Opacity -100: 200 + 100 = 300 does not fit, the byte stays; 20 -> 120.
  ExpectGreyRows(Apply(pic, &all, CALL(Scanlines(-100))), 1, 4, {120, 200, 200, 50});
}

// --- SKETCH ---------------------------------------------------------------------------------------

// Points of the outer frame ring have no neighbours to read and stay.
Bits ReferenceSketch(const Bits& in, const RectRegion& region, int weight, bool bw, int colour) {
  Bits out = in;
  for (int y = -1; y <= in.Height(); ++y)
    for (int x = -1; x <= in.Width(); ++x) {
      if (!region.Contains(x, y)) continue;
      int e = 0;
      for (int c = 0; c < 3; ++c) {
        int s = 0;
        for (int dy = -1; dy <= 1; ++dy)
          for (int dx = -1; dx <= 1; ++dx) s += (dx || dy) ? in.At(c, x + dx, y + dy) : 0;
        e += 8 * in.At(c, x, y) - s + 255;
      }
      const int w = e / 3 > weight ? 255 : 0;
      const Triple to = bw ? Triple{w, w, w} : Triple{(colour >> 16) & 255, (colour >> 8) & 255, colour & 255};
      if (bw || w == 255)
        for (int c = 0; c < 3; ++c) out.At(c, x, y) = static_cast<uint8_t>(to[c]);
    }
  return out;
}

TEST(ColourEffects, SketchAgreesWithReferenceIncludingARegionIntoTheFrame) {
  // Flat 100 has a = 255 inside, against weights 254 and 255 (strictly above),
  // and far more where the zero frame is a neighbour.
  for (const Bits& pic : {Noise(23, 17, 4), MakePicture(23, 17, [](int, int, int) { return 100; })})
    for (const RectRegion& region : {RectRegion::FromRect(-2, -2, 25, 19), RectRegion::FromEllipse(2, 1, 20, 16)})
      for (int weight : {0, 128, 254, 255, 300})
        for (bool bw : {false, true})
          EXPECT_TRUE(SameBits(ReferenceSketch(pic, region, weight, bw, 0x123456),
                               Apply(pic, &region, CALL(SKETCH(weight, bw, Colour{0x123456})), 2)))
              << weight << " " << bw;
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
          for (int c = 0; c < 3; ++c) out.At(c, px, py) = static_cast<uint8_t>(q > L ? 0 : Rnd((1 - q / L) * mean[c]));
        }
    }
  return out;
}

TEST(ColourEffects, HalftoneAgreesWithTheBlockByBlockWalk) {
  const Bits pic = Noise(41, 29, 5);
  struct Args {
    int r, d, i;
  };
  for (const RectRegion& region : Regions())
    for (const Args& a : {Args{1, 50, 0}, Args{2, 0, 100}, Args{3, 17, 60}, Args{5, 100, -50}, Args{1, 0, 100},
                          Args{25, 50, 0}, Args{70, 10, 0}, Args{2, -3, 0}, Args{4, 10, 300}})
      for (int threads : {1, 3})
        EXPECT_TRUE(SameBits(ReferenceHalftone(pic, region, a.r, a.d, a.i),
                             Apply(pic, &region, CALL(HALFTONE(a.r, a.d, a.i)), threads)))
            << a.r << " " << a.d << " " << a.i << " threads " << threads;
  // R 1, I 100: a lone point has count 1, n = round(0.5) = 0, so it shows the
  // last mean computed before it, perhaps rows above and in another thread's
  // rows. Lone points at block centres down a tall picture, with a few bars
  // of full blocks that change the carried mean now and then.
  const Bits tall = Noise(120, 160, 21);
  std::vector<int32_t> data = {32, 1, 0, 0, 0, 0, 0, 0};
  auto add = [&](int l, int t, int r, int b) { data.insert(data.end(), {l, t, r, b}); };
  for (int y = 1; y < 160; y += 2) {
    if (y % 40 == 1) {
      add(0, y - 1, 120, y + 1);
      continue;
    }
    for (int x = 1 + (y % 6); x < 120; x += 12) add(x, y, x + 1, y + 1);
  }
  data[2] = static_cast<int32_t>((data.size() - 8) / 4);
  const RectRegion lone = RectRegion::FromData(data);
  ASSERT_FALSE(lone.IsEmpty());
  const Bits expected = ReferenceHalftone(tall, lone, 1, 2, 100);
  for (int threads : {1, 2, 5}) EXPECT_TRUE(SameBits(expected, Apply(tall, &lone, CALL(HALFTONE(1, 2, 100)), threads)));
}

TEST(ColourEffects, HalftoneFailuresLeaveThePicture) {
  const Bits pic = Noise(12, 9, 7);
  const RectRegion all = RectRegion::FromRect(0, 0, 12, 9), past = RectRegion::FromRect(-3, 0, 12, 9), empty;
  std::vector<int> reports;
  auto run = [&](const RectRegion* region, int r, int d, int i) {
    reports.clear();
    return Apply(pic, region, CALL(HALFTONE(r, d, i)), 1, 1, &reports);
  };
  EXPECT_TRUE(SameBits(pic, run(&all, 0, 50, 0)));       // radius 0 divides by zero
  EXPECT_TRUE(SameBits(pic, run(&all, -2, 50, 0)));      // a negative step walks nothing
  EXPECT_TRUE(SameBits(pic, run(&all, 2, 50, -100)));    // f = 0
  EXPECT_TRUE(SameBits(pic, run(&all, 1, -1, 0)));       // L = 0: the centre divides 0 by 0
  EXPECT_TRUE(SameBits(pic, run(&past, 2, 50, 0)));      // a point past the array
  EXPECT_TRUE(SameBits(pic, run(&empty, 2, 50, -100)));  // no block: nothing fails either
  EXPECT_EQ(reports, std::vector<int>{100});
  // L < 0 (R 2, D -3: round(-1 / 2 * 4) = -2): every point is beyond it, black.
  const Bits black = run(&all, 2, -3, 0);
  for (int y = 0; y < 9; ++y)
    for (int x = 0; x < 12; ++x) ASSERT_EQ(PixelAt(black, x, y), (Triple{0, 0, 0}));
}

// --- PIXELIZE --------------------------------------------------------------------------------------

Bits ReferencePixelize(const Bits& in, const RectRegion& region, int size) {
  Bits out = in;
  int mean[3] = {0, 0, 0};
  ForRegion(region, [&](int x, int y) {
    if (!in.InArray(x, y)) return;
    const int bx = (x / size) * size, by = (y / size) * size;
    if (x % size == 0) {
      long sum[3] = {0, 0, 0}, count = 0;
      for (int yy = std::max(by, 0); yy <= std::min(by + size - 1, in.Height() - 1); ++yy)
        for (int xx = std::max(bx, 0); xx <= std::min(bx + size - 1, in.Width() - 1); ++xx, ++count)
          for (int c = 0; c < 3; ++c) sum[c] += in.At(c, xx, yy);
      if (count > 0)
        for (int c = 0; c < 3; ++c) mean[c] = static_cast<int>(sum[c] / count);
    }
    for (int c = 0; c < 3; ++c) out.At(c, x, y) = static_cast<uint8_t>(mean[c]);
  });
  return out;
}

TEST(ColourEffects, PixelizeAgreesWithThePointByPointWalk) {
  const Bits pic = Noise(41, 29, 9);
  std::vector<RectRegion> regions = Regions();
  regions.push_back(RectRegion::FromRect(-2, -2, 43, 31));     // the whole array, frame included
  regions.push_back(RectRegion::FromEllipse(-6, -4, 30, 20));  // reaching past the array
  for (const RectRegion& region : regions)
    for (int size : {1, 2, 3, 5, 7, 40, 100})
      for (int threads : {1, 3})
        EXPECT_TRUE(SameBits(ReferencePixelize(pic, region, size), Apply(pic, &region, CALL(PIXELIZE(size)), threads)))
            << "size " << size << " threads " << threads;
  // Sizes below 1 leave the picture.
  for (int size : {0, -2}) EXPECT_TRUE(SameBits(pic, Apply(pic, &regions[0], CALL(PIXELIZE(size)))));
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
  const Bits pic = Noise(13, 7, 10);
  const RectRegion region = RectRegion::FromEllipse(0, 0, 13, 7);
  for (bool equalized : {false, true})
    for (int v : {0, 20, 100}) {
      const Call noise = CALL(NOISE(v, equalized));
      const Bits out = Apply(pic, &region, noise, 2, 99);
      const std::vector<float> u = Draws(99, 3 * 13 * 7);
      size_t next = 0;
      const double a = 2 * v + 1;
      // By channel b, g, r; the draws come red, green, blue.
      const Bits expected = Expected(pic, region, [&](Triple p) {
        const double shared = equalized ? a * u[next++] - v : 0;
        for (int c = 2; c >= 0; --c) p[c] = Clamp255(RefRound(p[c] + (equalized ? shared : a * u[next++] - v)));
        return p;
      });
      EXPECT_TRUE(SameBits(expected, out)) << v << " " << equalized;
      // The same seed gives the same picture, another seed another.
      EXPECT_TRUE(SameBits(out, Apply(pic, &region, noise, 1, 99)));
      if (v > 0) {
        EXPECT_FALSE(SameBits(out, Apply(pic, &region, noise, 1, 98)));
      }
    }
}

TEST(ColourEffects, DissolveTakesThePicturesChannelsByTheDraws) {
  const Bits pic = Noise(9, 6, 12);
  const Bits other = MakePicture(5, 4, [](int x, int y, int c) { return 200 + x + 10 * y + c; });
  const RectRegion all = RectRegion::FromRect(0, 0, 9, 6);
  for (int level : {0, 37, 100}) {
    const std::vector<float> u = Draws(5, 3 * 9 * 6);
    size_t next = 0;
    Bits expected = pic;
    for (int y = 0; y < 6; ++y)
      for (int x = 0; x < 9; ++x)
        for (int c = 0; c < 3; ++c)
          if (u[next++] * 100.0 < level && x < 5 && y < 4) expected.At(c, x, y) = other.At(c, x, y);
    EXPECT_TRUE(SameBits(expected, Apply(pic, &all, CALL(Dissolve(other, level)), 2, 5))) << level;
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
  std::vector<int> err(static_cast<size_t>((H + 4) * (W + 4)), 0);
  auto cell = [&](int x, int y) -> int& { return err[static_cast<size_t>((y + 2) * (W + 4) + x + 2)]; };
  // (dx, dy, weight); x + d needs x < MaxX - d, x - d needs x > d - 1, row y + d needs y < MaxY - d.
  const int taps[12][3] = {{1, 0, 8},  {2, 0, 4},  {-2, 1, 2}, {-1, 1, 4}, {0, 1, 8}, {1, 1, 4},
                           {2, 1, 2}, {-2, 2, 1}, {-1, 2, 2}, {0, 2, 4},  {1, 2, 2}, {2, 2, 1}};
  int L = 0;
  ForRegion(region, [&](int x, int y) {
    if (contrast != 0) L = (in.At(0, x, y) + in.At(1, x, y) + in.At(2, x, y)) / 3 + cell(x, y) * 10 / contrast;
    L = Clamp255(L);
    const int w = L >= m ? 255 : 0;
    for (int c = 0; c < 3; ++c) out.At(c, x, y) = static_cast<uint8_t>(w);
    for (const auto& [dx, dy, weight] : taps) {
      const bool fitsX = dx == 0 || (dx > 0 ? x < maxX - dx : x > -dx - 1);
      if (fitsX && (dy == 0 || y < maxY - dy)) cell(x + dx, y + dy) += (L - w) * weight / 42;
    }
  });
  return out;
}

TEST(ColourEffects, StuckiAgreesWithAFullErrorField) {
  const Bits pic = Noise(41, 29, 13);
  for (const RectRegion& region : Regions())
    for (int contrast : {1, 7, 10, 40, -10, 0})
      EXPECT_TRUE(SameBits(ReferenceStucki(pic, region, contrast), Apply(pic, &region, CALL(StuckiBW(contrast)), 2)))
          << contrast;
}

// --- PaletteApply -----------------------------------------------------------------------------------

// Diffuses on a working copy; `diffused` receives that copy.
Bits ReferencePaletteApply(const Bits& in, const RectRegion& region, const PaletteRecord& p, Bits& diffused) {
  Bits work = in, out = in;
  const int maxX = in.Width() - 1, maxY = in.Height() - 1;
  ForRegion(region, [&](int x, int y) {
    const PaletteColor& e =
        p.PaletteColors[static_cast<size_t>(ReferenceNearest(p, work.At(2, x, y), work.At(1, x, y), work.At(0, x, y)))];
    const int pc[3] = {e.blue, e.green, e.red};
    int err[3];
    for (int c = 0; c < 3; ++c) {
      out.At(c, x, y) = static_cast<uint8_t>(pc[c]);
      err[c] = work.At(c, x, y) - pc[c];
    }
    if (std::abs(err[0]) + std::abs(err[1]) + std::abs(err[2]) <= 3) return;
    for (int c = 0; c < 3; ++c) {
      if (x < maxX) work.At(c, x + 1, y) = static_cast<uint8_t>(Clamp255(work.At(c, x + 1, y) + err[c] * 7 / 16));
      if (y < maxY && x >= 1 && x <= maxX - 1)
        work.At(c, x, y + 1) = static_cast<uint8_t>(Clamp255(work.At(c, x, y + 1) + err[c] * 4 / 16));
    }
  });
  diffused = work;
  return out;
}

// PaletteApply writes its input, so it runs on an engine of its own.
Bits RunPaletteApply(const Bits& pic, const RectRegion& region, Bits* input = nullptr) {
  cBitFilter f;
  f.SetBits(pic);
  f.BitsRegion(&region);
  Bits out = f.PaletteApply();
  if (input) *input = f.BitsRef();
  return out;
}

TEST(ColourEffects, PaletteApplyAgreesWithTheLiteralWalk) {
  PaletteGuard guard;
  std::mt19937 rng(14);
  auto randomPalette = [&](int n) { return RandomPalette(rng, n, 0, 256); };
  const std::vector<PaletteRecord> palettes = {
      randomPalette(1), randomPalette(2), randomPalette(16), randomPalette(256), DefaultPalette(),
      // duplicates and equal distances: ties go to the earlier entry
      MakePalette({{10, 10, 10}, {20, 20, 20}, {10, 10, 10}, {0, 20, 10}})};
  const Bits pic = Noise(41, 29, 15);
  for (const PaletteRecord& palette : palettes)
    for (const RectRegion& region : Regions()) {
      CurrentPalette() = palette;
      Bits input, diffused;
      const Bits out = RunPaletteApply(pic, region, &input);
      EXPECT_TRUE(SameBits(ReferencePaletteApply(pic, region, palette, diffused), out)) << palette.PaletteCount;
      EXPECT_TRUE(SameBits(diffused, input));
    }
}

TEST(ColourEffects, PaletteApplyRefusesWhatItCannotStore) {
  PaletteGuard guard;
  const Bits pic = Noise(8, 6, 16);
  const RectRegion all = RectRegion::FromRect(0, 0, 8, 6), past = RectRegion::FromRect(0, 0, 8, 9);
  auto unchanged = [&](const PaletteRecord& palette, const RectRegion& region) {
    CurrentPalette() = palette;
    Bits input;
    const Bits out = RunPaletteApply(pic, region, &input);
    return SameBits(pic, out) && SameBits(pic, input);
  };
  const PaletteRecord blackWhite = MakePalette({{0, 0, 0}, {255, 255, 255}});
  EXPECT_TRUE(unchanged(MakePalette({}), all));
  EXPECT_TRUE(unchanged(MakePalette({{0, 0, 0}, {256, 0, 0}}), all));
  EXPECT_TRUE(unchanged(blackWhite, past));
  EXPECT_FALSE(unchanged(blackWhite, all));
  // Only the first PaletteCount entries take part.
  CurrentPalette().PaletteCount = 1;
  const Bits out = RunPaletteApply(pic, all);
  for (int y = 0; y < 6; ++y)
    for (int x = 0; x < 8; ++x) ASSERT_EQ(PixelAt(out, x, y), (Triple{0, 0, 0}));
}

// --- gradients ---------------------------------------------------------------------------------------

TEST(ColourEffects, GradientLinearHandWorkedRamps) {
  // Along x from 0 to 10: L = 10, angle 0, t = x / 10 held to 0..1, over grey 100.
  const Bits pic = Grey(13, 1, std::vector<int>(13, 100));
  const RectRegion all = RectRegion::FromRect(0, 0, 13, 1);
  struct Ramp {
    int x1, x2, c1, opacity, frequency;
    std::vector<int> out;
  };
  const std::vector<Ramp> ramps = {
      // Grey 200 over black at full opacity: round(t * 200) = 20 x, 200 past the end.
      {0, 10, 0, 100, 1, {0, 20, 40, 60, 80, 100, 120, 140, 160, 180, 200, 200, 200}},
      // Opacity 50 over old 100: 0.5 * 20x + 0.5 * 100 = 50 + 10x.
      {0, 10, 0, 50, 1, {50, 60, 70, 80, 90, 100, 110, 120, 130, 140, 150, 150, 150}},
      // Colour -1 stands for the old value: t * 200 + (1 - t) * 100 = 100 + 10x.
      {0, 10, -1, 100, 1, {100, 110, 120, 130, 140, 150, 160, 170, 180, 190, 200, 200, 200}},
      // Backwards (dx < 0): angle 180, t = (10 - x) / 10; t < 0 holds colour1.
      {10, 0, 0, 100, 1, {200, 180, 160, 140, 120, 100, 80, 60, 40, 20, 0, 0, 0}},
      // Frequency 2: S = pi, t = sin(pi x / 10)^2 -> round(200 sin^2), then
      // t = 1.1: sin^2 = 0.0955 -> 19.
      {0, 10, 0, 100, 2, {0, 19, 69, 131, 181, 200, 181, 131, 69, 19, 0, 19, 69}},
      // Equal points: the source comes back.
      {3, 3, 0, 100, 1, std::vector<int>(13, 100)},
  };
  for (const Ramp& r : ramps)
    ExpectGreyRows(Apply(pic, &all, CALL(GradientLinear(f.BitsRef(), r.x1, 0, r.x2, 0, Colour{r.c1}, Colour{0xC8C8C8},
                                                        r.opacity, r.frequency))),
                   13, 1, r.out);
  // Vertical, upwards (dx = 0, dy < 0: -90 + 360 = 270 degrees): t = -(y - 10) / 10.
  const RectRegion column = RectRegion::FromRect(0, 0, 1, 11);
  const Bits up = Apply(Grey(1, 11, std::vector<int>(11, 0)), &column,
                        CALL(GradientLinear(f.BitsRef(), 0, 10, 0, 0, Colour{0}, Colour{0xC8C8C8}, 100, 1)));
  for (int y = 0; y <= 10; ++y) EXPECT_EQ(up.At(1, 0, y), 200 - 20 * y) << y;
}

TEST(ColourEffects, GradientsMatchTheirRuleOnNoise) {
  // The circle's t = sqrt(u^2 + v^2) / L is exact. The line's t is the
  // projection of (u, v) on the line over L squared, compared within 1 for the
  // rounding of the angle's path. Then the bands through the single S, the
  // share of the old value, RoundByte; a colour of -1 on either side.
  const Bits pic = Noise(41, 29, 19);
  struct Run {
    int x1, y1, x2, y2;
    int32_t c1, c2;
    int opacity, frequency;
  };
  const std::vector<Run> runs = {{20, 14, 30, 20, 0x203040, 0xF0E0D0, 100, 1}, {0, 0, 40, 28, -1, 0x0080FF, 65, 4},
                                 {7, 21, 9, 22, 0x7F7F7F, -1, 30, 3},  // L = 2 caps S at 2
                                 {40, 0, 12, 9, 0x000000, 0xFFFFFF, 100, 7}, {35, 20, 2, 18, 0x102030, -1, 70, 3},
                                 {20, 25, 22, 1, 0x102030, -1, 70, 1}};
  for (const Run& run : runs)
    for (bool circular : {true, false})
      for (const RectRegion& region : Regions()) {
        const auto gradient = circular ? &cBitFilter::GradientCircular : &cBitFilter::GradientLinear;
        const Bits out = Apply(pic, &region, [&](cBitFilter& f) {
          return (f.*gradient)(f.BitsRef(), run.x1, run.y1, run.x2, run.y2, Colour{run.c1}, Colour{run.c2}, run.opacity,
                               run.frequency);
        });
        const double dx = run.x2 - run.x1, dy = run.y2 - run.y1, dist = std::sqrt(dx * dx + dy * dy);
        const int L = Rnd(dist);
        float S = static_cast<float>(run.frequency - 1) * 3.141592f;
        if (L < S) S = static_cast<float>(L);
        const double o = run.opacity / 100.0;
        ForRegion(region, [&](int x, int y) {
          const double u = x - run.x1, v = y - run.y1;
          double t = circular ? std::sqrt(u * u + v * v) / L : (u * dx + v * dy) / dist / L;
          if (S > 0) t = std::sin(t * S), t = t * t;
          t = std::min(std::max(t, 0.0), 1.0);
          for (int c = 0; c < 3; ++c) {
            const double old = pic.At(c, x, y);
            const double from = run.c1 == -1 ? old : (run.c1 >> (16 - 8 * c)) & 0xFF;
            const double to = run.c2 == -1 ? old : (run.c2 >> (16 - 8 * c)) & 0xFF;
            const int expected = Clamp255(Rnd(o * (t * to + (1 - t) * from) + (1 - o) * old));
            if (circular) {
              ASSERT_EQ(out.At(c, x, y), expected) << x << "," << y;
            } else {
              ASSERT_LE(std::abs(out.At(c, x, y) - expected), 1) << x << "," << y;
            }
          }
        });
        // Nothing outside the region changes.
        Bits outside = out;
        ForRegion(region, [&](int x, int y) {
          for (int c = 0; c < 3; ++c) outside.At(c, x, y) = pic.At(c, x, y);
        });
        EXPECT_TRUE(SameBits(pic, outside)) << run.x1 << "," << run.y1 << " f" << run.frequency;
      }
}

// --- shared frame ------------------------------------------------------------------------------------

TEST(ColourEffects, EmptyRegionLeavesThePictureAndReportsHundred) {
  const Bits pic = Noise(10, 8, 18);
  const RectRegion empty;
  const std::vector<Call> calls = {
      CALL(SpecialColors(true, false, false)), CALL(ClassyColors(0)), CALL(Equalize()), CALL(Contrast(50)),
      CALL(SKETCH(10, true, Colour{0})), CALL(HALFTONE(2, 50, 0)), CALL(PIXELIZE(3)), CALL(NOISE(50, false)),
      CALL(StuckiBW(10)), CALL(PaletteApply()), CALL(Scanlines(50)),
      CALL(GradientCircular(f.BitsRef(), 1, 1, 5, 5, Colour{0}, Colour{255}, 100, 1))};
  for (size_t i = 0; i < calls.size(); ++i)
    for (const RectRegion* region : {&empty, static_cast<const RectRegion*>(nullptr)}) {
      std::vector<int> reports;
      EXPECT_TRUE(SameBits(pic, Apply(pic, region, calls[i], 1, 1, &reports))) << i;
      EXPECT_EQ(reports, std::vector<int>{100}) << i;
    }
}

}  // namespace
}  // namespace kelvane
