// Colour filters: hand-worked values on small pictures, slow per-pixel
// reference loops on noise (odd widths, so both the 16-pixel blocks and the
// span ends are checked), selections reaching into the frame, whole-picture
// statistics under a selection, and the no-skip failure cases.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstdint>
#include <functional>
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
using Triple = std::array<int, 3>;  // b, g, r

// Round half to even written out longhand.
int64_t RefRound(double v) {
  const double f = std::floor(v);
  const double frac = v - f;
  const auto i = static_cast<int64_t>(f);
  if (frac > 0.5) return i + 1;
  if (frac < 0.5) return i;
  return i % 2 == 0 ? i : i + 1;
}

int Clamp255(int64_t v) { return static_cast<int>(v < 0 ? 0 : (v > 255 ? 255 : v)); }

// Every byte random, frame and fourth byte included, so that any stray write
// shows.
Bits Noise(int w, int h, unsigned seed) {
  std::mt19937 rng(seed);
  Bits b(w, h);
  for (size_t i = 0; i < b.ByteSize(); ++i) b.Data()[i] = static_cast<uint8_t>(rng());
  return b;
}

Bits Apply(const Bits& picture, const RectRegion* region, const std::function<Bits(cBitFilter&)>& call,
         std::vector<int>* reports = nullptr) {
  cBitFilter f;
  f.SetBits(picture);
  f.BitsRegion(region);
  if (reports) f.SetProgressHandler([reports](int p) { reports->push_back(p); });
  Bits out = call(f);
  EXPECT_TRUE(SameBits(picture, f.BitsRef())) << "the input must stay unchanged";
  return out;
}

// The picture with every region pixel of the array (frame included) replaced
// in channels 0..2 by ref(b, g, r).
Bits Expected(const Bits& picture, const RectRegion& region, const std::function<Triple(Triple)>& ref) {
  Bits out = picture;
  for (int y = -2; y < picture.Height() + 2; ++y)
    for (int x = -2; x < picture.Width() + 2; ++x) {
      if (!region.Contains(x, y)) continue;
      const Triple v = ref({picture.At(0, x, y), picture.At(1, x, y), picture.At(2, x, y)});
      for (int c = 0; c < 3; ++c) out.At(c, x, y) = static_cast<uint8_t>(v[c]);
    }
  return out;
}

// A colour argument: red in the low byte, then green, then blue.
Colour ColourOf(int r, int g, int b) { return Colour{r | (g << 8) | (b << 16)}; }

Triple PixelAt(const Bits& b, int x, int y) { return {b.At(0, x, y), b.At(1, x, y), b.At(2, x, y)}; }

Bits Row(const std::vector<Triple>& pixels) {
  return MakePicture(static_cast<int>(pixels.size()), 1, [&](int x, int, int c) { return pixels[x][c]; });
}

struct Case {
  const char* name;
  std::function<Bits(cBitFilter&)> call;
  std::function<Triple(Triple)> ref;
};

TEST(ColourFilters, PointFiltersMatchTheirFormulasInAnEllipseReachingIntoTheFrame) {
  const Bits pic = Noise(53, 37, 5);
  const RectRegion ellipse = RectRegion::FromEllipse(-2, 3, 50, 39);
  auto each = [](auto fn) { return [fn](Triple p) { return Triple{fn(p[0]), fn(p[1]), fn(p[2])}; }; };
  auto third = [](Triple p) { return (p[0] + p[1] + p[2]) / 3; };
  const std::vector<Case> cases = {
      {"BRIGHTNESS 37", [](cBitFilter& f) { return f.BRIGHTNESS(37); }, each([](int c) { return Clamp255(c + 37); })},
      {"BRIGHTNESS -300", [](cBitFilter& f) { return f.BRIGHTNESS(-300); }, each([](int) { return 0; })},
      {"Invert", [](cBitFilter& f) { return f.Invert(); }, each([](int c) { return 255 - c; })},
      {"GammaCorrection 50", [](cBitFilter& f) { return f.GammaCorrection(50); },
       each([](int c) { return static_cast<int>(RefRound(std::pow(c / 255.0, 1 / 1.5) * 255)); })},
      {"GammaCorrection -40", [](cBitFilter& f) { return f.GammaCorrection(-40); },
       each([](int c) { return static_cast<int>(RefRound(std::pow(c / 255.0, 1 / 0.6) * 255)); })},
      {"Reduction 6", [](cBitFilter& f) { return f.Reduction(6); },
       each([](int c) { return Clamp255(RefRound(c / 7.0) * 7); })},
      {"ShiftRGB 40 -25 300", [](cBitFilter& f) { return f.ShiftRGB(40, -25, 300); },
       [](Triple p) { return Triple{Clamp255(p[0] + 300), Clamp255(p[1] - 25), Clamp255(p[2] + 40)}; }},
      {"KillChannel red blue", [](cBitFilter& f) { return f.KillChannel(true, false, true); },
       [](Triple p) { return Triple{0, p[1], 0}; }},
      {"Threshold 100", [](cBitFilter& f) { return f.Threshold(100); },
       [&](Triple p) { return third(p) > 100 ? Triple{255, 255, 255} : Triple{0, 0, 0}; }},
  };
  // SATURATION: c + f (c - L), L the truncated mean, clamped.
  std::vector<Case> all = cases;
  for (int level : {-70, 35, 250}) {
    all.push_back({"SATURATION", [level](cBitFilter& f) { return f.SATURATION(level); }, [=](Triple p) {
                     const int l = third(p);
                     Triple out;
                     for (int c = 0; c < 3; ++c) out[c] = Clamp255(RefRound(p[c] + level / 100.0 * (p[c] - l)));
                     return out;
                   }});
  }
  for (const Case& c : all) {
    EXPECT_TRUE(SameBits(Expected(pic, ellipse, c.ref), Apply(pic, &ellipse, c.call))) << c.name;
  }
}

TEST(ColourFilters, HandWorkedPointValues) {
  const RectRegion one = RectRegion::FromRect(0, 0, 1, 1);
  auto single = [&](Triple px, const std::function<Bits(cBitFilter&)>& call) {
    return PixelAt(Apply(Row({px}), &one, call), 0, 0);
  };
  // 64 / 255 = 0.25098; sqrt = 0.50098; * 255 = 127.75 -> 128.
  EXPECT_EQ(single({64, 0, 255}, [](cBitFilter& f) { return f.GammaCorrection(100); }), (Triple{128, 0, 255}));
  EXPECT_EQ(single({64, 9, 255}, [](cBitFilter& f) { return f.GammaCorrection(-100); }), (Triple{0, 0, 0}));
  EXPECT_EQ(single({64, 9, 255}, [](cBitFilter& f) { return f.GammaCorrection(0); }), (Triple{64, 9, 255}));
  // L = trunc(330 / 3) = 110, f = 0.5: 101 - 4.5 = 96.5 -> 96; 119 + 4.5 = 123.5 -> 124.
  EXPECT_EQ(single({101, 110, 119}, [](cBitFilter& f) { return f.SATURATION(50); }), (Triple{96, 110, 124}));
  // q = 2: round(0.5) = 0, round(1.5) * 2 = 4, round(2.5) * 2 = 4, round(127.5) * 2 = 256 -> 255.
  EXPECT_EQ(single({1, 3, 5}, [](cBitFilter& f) { return f.Reduction(1); }), (Triple{0, 4, 4}));
  EXPECT_EQ(single({255, 3, 0}, [](cBitFilter& f) { return f.Reduction(1); }), (Triple{255, 4, 0}));
  // a = trunc(303 / 3) = 101 and trunc(302 / 3) = 100; a equal to the cut is black.
  EXPECT_EQ(single({100, 101, 102}, [](cBitFilter& f) { return f.Threshold(100); }), (Triple{255, 255, 255}));
  EXPECT_EQ(single({100, 101, 102}, [](cBitFilter& f) { return f.Threshold(101); }), (Triple{0, 0, 0}));
  EXPECT_EQ(single({100, 100, 102}, [](cBitFilter& f) { return f.Threshold(100); }), (Triple{0, 0, 0}));
  EXPECT_EQ(single({255, 255, 255}, [](cBitFilter& f) { return f.Threshold(255); }), (Triple{0, 0, 0}));
  // ShiftRGB takes red first: only channel 2 moves.
  EXPECT_EQ(single({10, 20, 30}, [](cBitFilter& f) { return f.ShiftRGB(5, 0, 0); }), (Triple{10, 20, 35}));
}

TEST(ColourFilters, ChannelOrdersAndSwaps) {
  const RectRegion one = RectRegion::FromRect(0, 0, 1, 1);
  Bits px = Row({{10, 20, 30}});  // b = 10, g = 20, r = 30
  px.At(3, 0, 0) = 40;
  auto run = [&](const std::function<Bits(cBitFilter&)>& call) { return PixelAt(Apply(px, &one, call), 0, 0); };
  // Output channels 0, 1, 2 take (g, r, b), (r, b, g), (g, b, r), (r, g, b), (b, r, g).
  EXPECT_EQ(run([](cBitFilter& f) { return f.SwapBanks(1); }), (Triple{20, 30, 10}));
  EXPECT_EQ(run([](cBitFilter& f) { return f.SwapBanks(2); }), (Triple{30, 10, 20}));
  EXPECT_EQ(run([](cBitFilter& f) { return f.SwapBanks(3); }), (Triple{20, 10, 30}));
  EXPECT_EQ(run([](cBitFilter& f) { return f.SwapBanks(4); }), (Triple{30, 20, 10}));
  EXPECT_EQ(run([](cBitFilter& f) { return f.SwapBanks(5); }), (Triple{10, 30, 20}));
  EXPECT_EQ(run([](cBitFilter& f) { return f.SwapBanks(0); }), (Triple{10, 20, 30}));
  EXPECT_EQ(run([](cBitFilter& f) { return f.SwapBanks(6); }), (Triple{10, 20, 30}));
  // SwapRGB(source of red, green, blue, inverts, kills): the preset 2, 1, 0 is
  // the identity; the kill flag wins over the invert flag.
  EXPECT_EQ(run([](cBitFilter& f) { return f.SwapRGB(2, 1, 0, false, false, false, false, false, false); }),
            (Triple{10, 20, 30}));
  EXPECT_EQ(run([](cBitFilter& f) { return f.SwapRGB(0, 0, 1, true, false, false, false, false, true); }),
            (Triple{0, 10, 245}));
  EXPECT_EQ(run([](cBitFilter& f) { return f.SwapRGB(1, 2, 2, true, true, false, true, false, false); }),
            (Triple{30, 225, 0}));
  // Source 3 reads the fourth byte; a source outside 0..3 leaves the byte
  // (inverted or not), and the kill flag still clears it.
  EXPECT_EQ(run([](cBitFilter& f) { return f.SwapRGB(3, 7, -1, false, true, false, false, false, true); }),
            (Triple{0, 20, 40}));
  EXPECT_EQ(run([](cBitFilter& f) { return f.KillChannel(false, true, false); }), (Triple{10, 0, 30}));
  const Bits after = Apply(px, &one, [](cBitFilter& f) { return f.SwapBanks(4); });
  EXPECT_EQ(after.At(3, 0, 0), 40) << "the fourth byte is never written";
}

TEST(ColourFilters, WideAndNarrowLoopsAgreeAcrossSpanLengths) {
  // Spans of every length 1..40 on successive rows: every split between the
  // 16-pixel blocks and the pixel-by-pixel end.
  const Bits pic = Noise(40, 40, 17);
  RectRegion region;
  for (int y = 0; y < 40; ++y)
    region = RectRegion::Combine(region, RectRegion::FromRect(0, y, y + 1, y + 1), CombineMode::Or);
  const std::vector<Case> cases = {
      {"SwapRGB", [](cBitFilter& f) { return f.SwapRGB(0, 2, 1, false, true, false, false, false, true); },
       [](Triple p) { return Triple{0, 255 - p[2], p[0]}; }},
      {"ShiftRGB", [](cBitFilter& f) { return f.ShiftRGB(-9, 17, 3); },
       [](Triple p) { return Triple{Clamp255(p[0] + 3), Clamp255(p[1] + 17), Clamp255(p[2] - 9)}; }},
      {"Invert", [](cBitFilter& f) { return f.Invert(); },
       [](Triple p) { return Triple{255 - p[0], 255 - p[1], 255 - p[2]}; }},
  };
  for (const Case& c : cases) EXPECT_TRUE(SameBits(Expected(pic, region, c.ref), Apply(pic, &region, c.call))) << c.name;
}

// Contrast as the rule reads, in 64-bit arithmetic with 32-bit overflows
// skipped: the mean over the whole picture, the unclamped table, the spill.
Bits ReferenceContrast(const Bits& pic, const RectRegion& region, int level) {
  int64_t sum = 0;
  for (int y = 0; y < pic.Height(); ++y)
    for (int x = 0; x < pic.Width(); ++x) sum += (pic.At(0, x, y) + pic.At(1, x, y) + pic.At(2, x, y)) / 3;
  const int64_t mean = sum / (static_cast<int64_t>(pic.Width()) * pic.Height());
  const int64_t shifted = static_cast<int64_t>(level) + 100;
  const double f = shifted <= INT32_MAX ? shifted / 100.0 : 0.0;
  int64_t table[256];
  for (int i = 0; i < 256; ++i) {
    const int64_t v = RefRound((i - mean) * f + mean);
    table[i] = v >= INT32_MIN && v <= INT32_MAX ? v : 0;
  }
  auto fits = [](int64_t v) { return v >= 0 && v <= 255; };
  auto gain = [](int64_t& v, int64_t d) {
    if (v + d >= INT32_MIN && v + d <= INT32_MAX) v += d;
  };
  return Expected(pic, region, [&](Triple p) {
    int64_t v[3] = {table[p[0]], table[p[1]], table[p[2]]};
    while (!fits(v[0]) || !fits(v[1]) || !fits(v[2])) {
      if (v[0] <= 0 && v[1] <= 0 && v[2] <= 0) v[0] = v[1] = v[2] = 0;
      if (v[0] >= 255 && v[1] >= 255 && v[2] >= 255) v[0] = v[1] = v[2] = 255;
      for (int c = 0; c < 3; ++c) {
        int64_t half = 0;
        if (v[c] < 0) {
          half = v[c] / 2;
          v[c] = 0;
        } else if (v[c] > 255) {
          half = (v[c] - 255) / 2;
          v[c] = 255;
        }
        gain(v[(c + 1) % 3], half);
        gain(v[(c + 2) % 3], half);
      }
    }
    return Triple{static_cast<int>(v[0]), static_cast<int>(v[1]), static_cast<int>(v[2])};
  });
}

TEST(Contrast, SpillsTheExcessWithTheWholePictureMean) {
  // Pixel A (b, g, r) = (49, 180, 164): T = 393 / 3 = 131; pixel B grey 70:
  // T = 70. Mean trunc(201 / 2) = 100 although only A is selected. Level 150:
  // f = 2.5, L(i) = round(2.5 (i - 100) + 100): L(49) = -27.5 -> -28 (to
  // even), L(180) = 300, L(164) = 260.
  // Pass 1: B < 0: G, R gain trunc(-28 / 2) = -14 -> G 286, R 246, B 0.
  //         G > 255: B, R gain trunc(31 / 2) = 15 -> B 15, R 261, G 255.
  //         R > 255: B, G gain trunc(6 / 2) = 3 -> B 18, G 258, R 255.
  // Pass 2: G > 255: B, R gain trunc(3 / 2) = 1 -> B 19, R 256, G 255.
  //         R > 255: trunc(1 / 2) = 0 -> R 255. Result (19, 255, 255).
  const Bits pic = Row({{49, 180, 164}, {70, 70, 70}});
  const RectRegion onlyA = RectRegion::FromRect(0, 0, 1, 1);
  const Bits out = Apply(pic, &onlyA, [](cBitFilter& f) { return f.Contrast(150); });
  EXPECT_EQ(PixelAt(out, 0, 0), (Triple{19, 255, 255}));
  EXPECT_EQ(PixelAt(out, 1, 0), (Triple{70, 70, 70}));
  // B alone: L(70) = round(2.5 * -30 + 100) = 25.
  const RectRegion both = RectRegion::FromRect(0, 0, 2, 1);
  EXPECT_EQ(PixelAt(Apply(pic, &both, [](cBitFilter& f) { return f.Contrast(150); }), 1, 0), (Triple{25, 25, 25}));
  // Level -100: f = 0, every channel becomes the mean; level 0 changes nothing.
  const Bits flat = Apply(pic, &both, [](cBitFilter& f) { return f.Contrast(-100); });
  EXPECT_EQ(PixelAt(flat, 0, 0), (Triple{100, 100, 100}));
  EXPECT_EQ(PixelAt(flat, 1, 0), (Triple{100, 100, 100}));
  EXPECT_TRUE(SameBits(pic, Apply(pic, &both, [](cBitFilter& f) { return f.Contrast(0); })));
}

TEST(Contrast, MatchesTheRuleOnNoiseAtEveryLevel) {
  const Bits pic = Noise(61, 23, 9);
  const RectRegion ellipse = RectRegion::FromEllipse(-3, -2, 60, 25);
  const RectRegion whole = RectRegion::FromRect(0, 0, 61, 23);
  // 2000000000 makes table entries beyond 32 bits and spills that overflow.
  for (int level : {-100, -60, 0, 30, 50, 150, 250, 1000, 2000000000, INT_MAX}) {
    for (const RectRegion* region : {&ellipse, &whole}) {
      EXPECT_TRUE(SameBits(ReferenceContrast(pic, *region, level),
                           Apply(pic, region, [level](cBitFilter& f) { return f.Contrast(level); })))
          << "level " << level;
    }
  }
}

// Equalize as the rule reads: a double-precision luma histogram over the whole
// picture, the median, the two slopes.
Bits ReferenceEqualize(const Bits& pic, const RectRegion& region) {
  int64_t hist[256] = {};
  for (int y = 0; y < pic.Height(); ++y)
    for (int x = 0; x < pic.Width(); ++x)
      ++hist[RefRound(pic.At(0, x, y) * 0.113 + pic.At(1, x, y) * 0.586 + pic.At(2, x, y) * 0.301)];
  const int64_t half = static_cast<int64_t>(pic.Width()) * pic.Height() / 2;
  int64_t sum = 0;
  int p = 0;
  for (int i = 0; i < 256; ++i) {
    sum += hist[i];
    if (sum > half) {
      p = hist[i] / 2 <= sum - half ? i - 1 : i;
      break;
    }
  }
  const double up = p == 255 ? 0 : 127.0 / (255 - p);
  const double down = p == 1 ? 0 : 127.0 / (p - 1);
  return Expected(pic, region, [&](Triple px) {
    for (int& c : px) c = static_cast<int>(RefRound(c >= p ? (c - p) * up + 128 : c * down));
    return px;
  });
}

TEST(Equalize, PivotsAboutTheMedian) {
  auto grey = [](int v) { return Triple{v, v, v}; };
  auto equalize = [](const Bits& pic, const RectRegion& region) {
    return Apply(pic, &region, [](cBitFilter& f) { return f.Equalize(); });
  };
  // Greys 10, 50, 100, 200: half = 2, the running count passes it at 100
  // (3); trunc(1 / 2) = 0 <= 3 - 2, so p = 99. up = 127 / 156, down = 127 / 98:
  // 10 -> 12.96 -> 13; 50 -> 64.8 -> 65; 100 -> 128.81 -> 129; 200 -> 210.2 -> 210.
  Bits out = equalize(Row({grey(10), grey(50), grey(100), grey(200)}), RectRegion::FromRect(0, 0, 4, 1));
  EXPECT_EQ(PixelAt(out, 0, 0), grey(13));
  EXPECT_EQ(PixelAt(out, 1, 0), grey(65));
  EXPECT_EQ(PixelAt(out, 2, 0), grey(129));
  EXPECT_EQ(PixelAt(out, 3, 0), grey(210));
  // Seven greys 100 and three 200: half = 5, count 7 at 100, trunc(7 / 2) = 3 > 2:
  // p = 100. 100 -> 128; 200 -> 100 * 127 / 155 + 128 = 209.9 -> 210.
  std::vector<Triple> ten(7, grey(100));
  ten.insert(ten.end(), 3, grey(200));
  out = equalize(Row(ten), RectRegion::FromRect(0, 0, 10, 1));
  EXPECT_EQ(PixelAt(out, 0, 0), grey(128));
  EXPECT_EQ(PixelAt(out, 9, 0), grey(210));
  // Flat grey 2: p = 1, 127 / 0 fails and down stays 0; 2 -> 0.5 + 128 -> 128 (to even).
  out = equalize(Row({grey(2), grey(2), grey(2)}), RectRegion::FromRect(0, 0, 3, 1));
  EXPECT_EQ(PixelAt(out, 1, 0), grey(128));
  // Luma weights per channel: (b, g, r) = (200, 0, 0) has Y = round(22.6) = 23,
  // (0, 0, 200) 60, (0, 200, 0) 117. Three of the first: p = 22 (count 3 > 2,
  // trunc(3 / 2) = 1 <= 1). Only pixel 4 is selected, the histogram is the
  // whole picture's: 200 -> 178 * 127 / 233 + 128 = 225.02 -> 225.
  out = equalize(Row({{200, 0, 0}, {200, 0, 0}, {200, 0, 0}, {0, 0, 200}, {0, 200, 0}}),
                 RectRegion::FromRect(4, 0, 5, 1));
  EXPECT_EQ(PixelAt(out, 4, 0), (Triple{0, 225, 0}));
  EXPECT_EQ(PixelAt(out, 0, 0), (Triple{200, 0, 0}));
}

TEST(Equalize, MatchesTheRuleOnNoiseAndOnExactHalves) {
  const Bits noise = Noise(67, 29, 21);
  const RectRegion ellipse = RectRegion::FromEllipse(0, -2, 69, 30);
  EXPECT_TRUE(SameBits(ReferenceEqualize(noise, ellipse), Apply(noise, &ellipse, [](cBitFilter& f) {
                         return f.Equalize();
                       })));
  // Colours whose weighted sum is a half in exact arithmetic: the double sum
  // decides how they round.
  std::vector<Triple> halves;
  for (int b = 0; b < 256 && halves.size() < 600; ++b)
    for (int g = 0; g < 256 && halves.size() < 600; g += 7)
      for (int r = 0; r < 256; r += 3)
        if ((113 * b + 586 * g + 301 * r) % 1000 == 500) halves.push_back({b, g, r});
  const Bits pic = MakePicture(30, 20, [&](int x, int y, int c) { return halves[y * 30 + x][c]; });
  const RectRegion all = RectRegion::FromRect(0, 0, 30, 20);
  EXPECT_TRUE(SameBits(ReferenceEqualize(pic, all), Apply(pic, &all, [](cBitFilter& f) { return f.Equalize(); })));
}

TEST(ColourFilters, ToleranceFiltersAtTheirLimits) {
  // Tolerance 100: limit = round(127.5^2 + 1) = round(16257.25) = 16257.
  const Colour grey = ColourOf(100, 100, 100);
  const Colour target = ColourOf(200, 0, 50);  // red 200, green 0, blue 50
  const RectRegion one = RectRegion::FromRect(0, 0, 1, 1);
  auto single = [&](Triple px, const std::function<Bits(cBitFilter&)>& call) {
    return PixelAt(Apply(Row({px}), &one, call), 0, 0);
  };
  // d2 = 100, k = 1 - 100 / 16257: 100 - 50k = 50.31 -> 50; 100 - 100k = 0.62 -> 1;
  // 110 + 90k = 199.45 -> 199.
  EXPECT_EQ(single({100, 100, 110}, [&](cBitFilter& f) { return f.REPLACE(grey, target, 100); }),
            (Triple{50, 1, 199}));
  // Tolerance 0: limit 1; the exact colour takes the new one, d2 = 1 has k = 0.
  EXPECT_EQ(single({100, 100, 100}, [&](cBitFilter& f) { return f.REPLACE(grey, target, 0); }),
            (Triple{50, 0, 200}));
  EXPECT_EQ(single({100, 100, 101}, [&](cBitFilter& f) { return f.REPLACE(grey, target, 0); }),
            (Triple{100, 100, 101}));
  // ISOLATE: d2 = 120^2 + 40^2 + 16^2 = 16256 stays; 127^2 + 8^2 + 8^2 = 16257 goes.
  EXPECT_EQ(single({220, 140, 116}, [&](cBitFilter& f) { return f.ISOLATE(grey, target, 100); }),
            (Triple{220, 140, 116}));
  EXPECT_EQ(single({227, 108, 108}, [&](cBitFilter& f) { return f.ISOLATE(grey, target, 100); }),
            (Triple{50, 0, 200}));
  // Shift is strict: at d2 = limit nothing moves; the exact colour takes the
  // whole shift, clamped: (10, 20, 250) + 30 -> (40, 50, 255).
  EXPECT_EQ(single({227, 108, 108}, [&](cBitFilter& f) { return f.Shift(grey, 30, 100); }), (Triple{227, 108, 108}));
  EXPECT_EQ(single({10, 20, 250}, [](cBitFilter& f) { return f.Shift(ColourOf(250, 20, 10), 30, 0); }),
            (Triple{40, 50, 255}));
  // ReplaceL: band = round(50 * 2.55) = round(127.49999999999999) = 127. From
  // black (l0 = 0), grey 127 is inside the band, grey 128 outside; limit at
  // tolerance 200 is 65026, above both distances (48387, 49152).
  const Colour black{0};
  const Colour white = ColourOf(255, 255, 255);
  // k = 1 - 48387 / 65026 = 0.25588: 127 + 128k = 159.75 -> 160.
  EXPECT_EQ(single({127, 127, 127}, [&](cBitFilter& f) { return f.ReplaceL(black, white, 50, 200); }),
            (Triple{160, 160, 160}));
  EXPECT_EQ(single({128, 128, 128}, [&](cBitFilter& f) { return f.ReplaceL(black, white, 50, 200); }),
            (Triple{128, 128, 128}));
  // ReplaceHS from pure red (h0 = 0, s0 = 1): (r, g, b) = (255, 50, 0) has
  // h = 50 / 255 = 0.196, outside a hue band of 0.10, inside one of 0.20.
  const Colour red = ColourOf(255, 0, 0);
  EXPECT_EQ(single({0, 50, 255}, [&](cBitFilter& f) { return f.ReplaceHS(red, white, 10, 50, 100); }),
            (Triple{0, 50, 255}));
  // d2 = 2500, k = 1 - 2500 / 16257 = 0.84622: 0 + 255k = 215.79 -> 216;
  // 50 + 205k = 223.47 -> 223; 255 stays.
  EXPECT_EQ(single({0, 50, 255}, [&](cBitFilter& f) { return f.ReplaceHS(red, white, 20, 50, 100); }),
            (Triple{216, 223, 255}));
}

TEST(ColourFilters, ToleranceFiltersMatchTheirRuleOnNoise) {
  const Bits pic = Noise(45, 31, 33);
  const RectRegion ellipse = RectRegion::FromEllipse(2, 1, 44, 30);
  const int r0 = 140, g0 = 90, b0 = 60;
  const Colour ref = ColourOf(r0, g0, b0);
  const Colour newColour = ColourOf(10, 250, 128);
  const int target[3] = {128, 250, 10};
  for (int t : {0, 60, 100, 200}) {
    const double a = t * 127.5 / 100;
    const int64_t limit = RefRound(a * a + 1);
    auto d2 = [&](Triple p) { return (p[0] - b0) * (p[0] - b0) + (p[1] - g0) * (p[1] - g0) + (p[2] - r0) * (p[2] - r0); };
    auto soft = [&](Triple p, const int* to, double k) {
      for (int c = 0; c < 3; ++c) p[c] = static_cast<int>(RefRound(p[c] + (to[c] - p[c]) * k));
      return p;
    };
    EXPECT_TRUE(SameBits(Expected(pic, ellipse, [&](Triple p) {
                           return d2(p) <= limit ? soft(p, target, 1 - static_cast<double>(d2(p)) / limit) : p;
                         }),
                         Apply(pic, &ellipse, [&](cBitFilter& f) { return f.REPLACE(ref, newColour, t); })))
        << "REPLACE " << t;
    EXPECT_TRUE(SameBits(Expected(pic, ellipse, [&](Triple p) {
                           return d2(p) >= limit ? Triple{128, 250, 10} : p;
                         }),
                         Apply(pic, &ellipse, [&](cBitFilter& f) { return f.ISOLATE(ref, newColour, t); })))
        << "ISOLATE " << t;
    EXPECT_TRUE(SameBits(Expected(pic, ellipse, [&](Triple p) {
                           if (d2(p) >= limit) return p;
                           const int shifted[3] = {Clamp255(p[0] - 70), Clamp255(p[1] - 70), Clamp255(p[2] - 70)};
                           return soft(p, shifted, 1 - static_cast<double>(d2(p)) / limit);
                         }),
                         Apply(pic, &ellipse, [&](cBitFilter& f) { return f.Shift(ref, -70, t); })))
        << "Shift " << t;
  }
}

TEST(ColourFilters, HueAndGreyRotationsByHand) {
  const RectRegion one = RectRegion::FromRect(0, 0, 1, 1);
  auto single = [&](Triple px, const std::function<Bits(cBitFilter&)>& call) {
    return PixelAt(Apply(Row({px}), &one, call), 0, 0);
  };
  // COLORIZE(0.5, 0.25, 1) on grey 127: t = 381 / 765 = 0.498 <= 0.5, min = 0.75t,
  // max = 1.25t, hue 0.5: red = max = 158.75 -> 159, green = min + 0.5d = t -> 127,
  // blue = min = 95.25 -> 95.
  EXPECT_EQ(single({127, 127, 127}, [](cBitFilter& f) { return f.COLORIZE(0.5f, 0.25f, 1.0f); }),
            (Triple{95, 127, 159}));
  // Saturation 0: every channel round(t * 255) = (b + g + r) / 3 = 60.
  EXPECT_EQ(single({30, 60, 90}, [](cBitFilter& f) { return f.COLORIZE(0.3f, 0.0f, 1.0f); }), (Triple{60, 60, 60}));
  // RotateH of pure red (h 0, l 0.5, s 1) by 50 / 16.67 = 2.9994: in 2..3 red =
  // min = 0, green = max = 255, blue = 0.9994 * 255 = 254.85 -> 255.
  EXPECT_EQ(single({0, 0, 255}, [](cBitFilter& f) { return f.RotateH(50, 100); }), (Triple{255, 255, 0}));
  // Saturation 0 leaves l = 0.5: 127.5 -> 128 on all three.
  EXPECT_EQ(single({0, 0, 255}, [](cBitFilter& f) { return f.RotateH(0, 0); }), (Triple{128, 128, 128}));
  // RotateL: black gives sin(o) * 127.5 + 127.5; o = 0 -> 127.5 -> 128; o = 1.6 ->
  // 254.95 -> 255. White: Y = 255, steps 25 give n = 10: sin(10) = -0.544 -> 58.
  EXPECT_EQ(single({0, 0, 0}, [](cBitFilter& f) { return f.RotateL(0, 25); }), (Triple{128, 128, 128}));
  EXPECT_EQ(single({0, 0, 0}, [](cBitFilter& f) { return f.RotateL(16, 25); }), (Triple{255, 255, 255}));
  EXPECT_EQ(single({255, 255, 255}, [](cBitFilter& f) { return f.RotateL(0, 25); }), (Triple{58, 58, 58}));
  // StretchH(0, 100, 0): h = 0, s = 1, l = t. Sum 381: max = 2t -> 254 red only.
  EXPECT_EQ(single({100, 140, 141}, [](cBitFilter& f) { return f.StretchH(0, 100, 0); }), (Triple{0, 0, 254}));
  // Saturation 200 (s = 2) on sum 100: min = -t -> -33 is a skipped store in
  // blue and green, red = 3t = 100 is stored.
  EXPECT_EQ(single({30, 30, 40}, [](cBitFilter& f) { return f.StretchH(0, 200, 0); }), (Triple{30, 30, 100}));
}

// The colour conversions as they read: the inputs over 255 and the three
// results are singles, everything between them is double.
struct RefHls {
  float h = 0, s = 0, l = 0;
};

RefHls RefRGBToHLS(int red, int green, int blue) {
  const float r = static_cast<float>(red / 255.0), g = static_cast<float>(green / 255.0),
              b = static_cast<float>(blue / 255.0);
  const double max = std::max({r, g, b}), min = std::min({r, g, b});
  RefHls out;
  out.l = static_cast<float>((max + min) / 2);
  if (max == min) return out;
  out.s = static_cast<float>(out.l <= 0.5f ? (max - min) / (max + min) : (max - min) / (2 - max - min));
  if (r == max) {
    out.h = static_cast<float>((g - static_cast<double>(b)) / (max - min));
  } else if (g == max) {
    out.h = static_cast<float>(2 + (b - static_cast<double>(r)) / (max - min));
  } else {
    out.h = static_cast<float>(4 + (r - static_cast<double>(g)) / (max - min));
  }
  return out;
}

// Returns b, g, r.
Triple RefHLSToRGB(float hue, float saturation, float lightness) {
  const double h = hue, s = saturation, l = lightness;
  double r = l, g = l, b = l;
  if (s != 0) {
    const double lo = l <= 0.5 ? (1 - s) * l : l - (1 - l) * s;
    const double hi = 2 * l - lo;
    const double d = hi - lo;
    if (h < 0) {
      r = hi, g = lo, b = lo - d * h;
    } else if (h < 1) {
      r = hi, g = lo + d * h, b = lo;
    } else if (h < 2) {
      r = lo - d * (h - 2), g = hi, b = lo;
    } else if (h < 3) {
      r = lo, g = hi, b = lo + d * (h - 2);
    } else if (h < 4) {
      r = lo, g = lo - d * (h - 4), b = hi;
    } else {
      r = lo + d * (h - 4), g = lo, b = hi;
    }
  }
  return {static_cast<int>(RefRound(b * 255)), static_cast<int>(RefRound(g * 255)),
          static_cast<int>(RefRound(r * 255))};
}

TEST(ColourFilters, HlsKeepsSinglesOnlyWhereTheyAreStored) {
  // Lightness of (r, g, b) = (5, 0, 0): the single nearest 5 / 510 is
  // 0.0098039219, a little above it, so l * 255 = 2.50000009 rounds up to 3.
  // Multiplying in single precision would land on 2.5 exactly and give 2.
  const HLS dark = RGBToHLS(5, 0, 0);
  EXPECT_EQ(dark.l, static_cast<float>(5 / 510.0));
  EXPECT_EQ(HLSToRGB(0.0f, 0.0f, dark.l), (RGBValue{3, 3, 3}));
  const RectRegion one = RectRegion::FromRect(0, 0, 1, 1);
  EXPECT_EQ(PixelAt(Apply(Row({{0, 0, 5}}), &one, [](cBitFilter& f) { return f.RotateH(0, 0); }), 0, 0),
            (Triple{3, 3, 3}));
  // Hue differences are taken in double too. From (200, 100, 50), h0 = the
  // single of 1/3 = 0.333333343; (150, 17, 0) has h = the single of 17 / 150 =
  // 0.113333337. |h - h0| = 0.2200000063 in double: outside a band of 0.22
  // (the single difference, 0.2199999988, would be inside), inside 0.23.
  // There d2 = 50^2 + 83^2 + 50^2 = 11889 against the limit 65026 of
  // tolerance 200: k = 1 - 11889 / 65026 = 0.8171654 towards white:
  // 150 + 105k = 235.80 -> 236, 17 + 238k = 211.49 -> 211, 255k = 208.38 -> 208.
  const Colour ref = ColourOf(200, 100, 50);
  const Colour white = ColourOf(255, 255, 255);
  const Bits px = Row({{0, 17, 150}});
  EXPECT_EQ(PixelAt(Apply(px, &one, [&](cBitFilter& f) { return f.ReplaceHS(ref, white, 22, 100, 200); }), 0, 0),
            (Triple{0, 17, 150}));
  EXPECT_EQ(PixelAt(Apply(px, &one, [&](cBitFilter& f) { return f.ReplaceHS(ref, white, 23, 100, 200); }), 0, 0),
            (Triple{208, 211, 236}));
}

TEST(ColourFilters, HueFiltersMatchTheConversionsOnNoise) {
  const Bits pic = Noise(47, 33, 71);
  // Both reach into the frame but not past the array.
  const RectRegion ellipse = RectRegion::FromEllipse(-2, -1, 49, 35);
  const RectRegion rect = RectRegion::FromRect(5, -2, 30, 20);
  const double o = 25 / 16.67;
  const std::vector<Case> cases = {
      {"RotateH 25 80", [](cBitFilter& f) { return f.RotateH(25, 80); },
       [&](Triple p) {
         const RefHls v = RefRGBToHLS(p[2], p[1], p[0]);
         float h = static_cast<float>(v.h + o);
         if (h > 5) h = h - 6;
         return RefHLSToRGB(h, static_cast<float>(0.8 * v.s), v.l);
       }},
      // An offset that wraps hues above 5 back to -1 and more.
      {"RotateH 60 100", [](cBitFilter& f) { return f.RotateH(60, 100); },
       [&](Triple p) {
         const RefHls v = RefRGBToHLS(p[2], p[1], p[0]);
         float h = static_cast<float>(v.h + 60 / 16.67);
         if (h > 5) h = h - 6;
         return RefHLSToRGB(h, static_cast<float>(1.0 * v.s), v.l);
       }},
      {"COLORIZE 1.3 0.6 0.9", [](cBitFilter& f) { return f.COLORIZE(1.3f, 0.6f, 0.9f); },
       [](Triple p) {
         const double t = (p[0] + p[1] + p[2]) / 765.0 * 0.9f;
         return RefHLSToRGB(1.3f, 0.6f, static_cast<float>(t));
       }},
      {"StretchH -40 70 35", [](cBitFilter& f) { return f.StretchH(-40, 70, 35); },
       [](Triple p) {
         const double t = (p[0] + p[1] + p[2]) / 765.0;
         double h = 3 * std::sin(3.5 * t) + -40 / 16.67;
         if (h < -1) h += 6;
         if (h > 5) h -= 6;
         return RefHLSToRGB(static_cast<float>(h), 0.7f, static_cast<float>(t));
       }},
  };
  for (const RectRegion* region : {&ellipse, &rect}) {
    for (const Case& c : cases) {
      EXPECT_TRUE(SameBits(Expected(pic, *region, c.ref), Apply(pic, region, c.call))) << c.name;
    }
    // ReplaceHS: the three tests, then the soft replacement towards the new colour.
    const RefHls h0 = RefRGBToHLS(180, 60, 90);
    const double a = 120 * 127.5 / 100;
    const int64_t limit = RefRound(a * a + 1);
    const Bits expected = Expected(pic, *region, [&](Triple p) {
      const RefHls v = RefRGBToHLS(p[2], p[1], p[0]);
      const int d2 = (p[0] - 90) * (p[0] - 90) + (p[1] - 60) * (p[1] - 60) + (p[2] - 180) * (p[2] - 180);
      if (std::fabs(static_cast<double>(v.h) - h0.h) > 0.35 || std::fabs(static_cast<double>(v.s) - h0.s) > 0.4 ||
          d2 > limit) {
        return p;
      }
      const double k = 1 - static_cast<double>(d2) / limit;
      const int to[3] = {200, 40, 10};
      for (int c = 0; c < 3; ++c) p[c] = static_cast<int>(RefRound(p[c] + (to[c] - p[c]) * k));
      return p;
    });
    EXPECT_TRUE(SameBits(expected, Apply(pic, region, [](cBitFilter& f) {
                           return f.ReplaceHS(ColourOf(180, 60, 90), ColourOf(10, 40, 200), 35, 40, 120);
                         })))
        << "ReplaceHS";
  }
}

TEST(ColourFilters, GreyAndDarkBrightRulesOnNoise) {
  const Bits pic = Noise(51, 27, 88);
  const RectRegion ellipse = RectRegion::FromEllipse(-2, -2, 53, 29);
  const RectRegion rect = RectRegion::FromRect(0, 9, 51, 10);  // one row, edge pixels included
  const std::vector<Case> cases = {
      {"RotateL 7 13", [](cBitFilter& f) { return f.RotateL(7, 13); },
       [](Triple p) {
         const double y = p[1] * 0.707 + p[0] * 0.071 + p[2] * 0.222;
         double v = std::sin(y / 255 * (13 / 2.5) + 0.7) * 127.5 + 127.5;
         if (v > 255) {
           v -= 255;
         } else if (v < 0) {
           v += 255;
         }
         const int g = static_cast<int>(RefRound(v));
         return Triple{g, g, g};
       }},
      {"GreyScale", [](cBitFilter& f) { return f.GreyScale(); },
       [](Triple p) {
         const int g = static_cast<int>(RefRound(p[0] * 0.071 + p[1] * 0.707 + p[2] * 0.222));
         return Triple{g, g, g};
       }},
      {"OLDPHOTO", [](cBitFilter& f) { return f.OLDPHOTO(); },
       [](Triple p) {
         const int y = static_cast<int>(RefRound(p[0] * 0.071 + p[1] * 0.707 + p[2] * 0.222));
         return Triple{p[0], y, y};
       }},
      {"THERMIQUE", [](cBitFilter& f) { return f.THERMIQUE(); },
       [](Triple p) {
         const int b = p[0], g = p[1], r = p[2];
         if (r > g && r > b) return Triple{0, 0, r};
         if (g > r && g > b) return Triple{0, g, 0};
         if (b > g && b > r) return Triple{b, 0, 0};
         return p;
       }},
      {"XBLACK", [](cBitFilter& f) { return f.XBLACK(); },
       [](Triple p) {
         int dark = 0;
         for (int c : p) dark += c <= 127.5;
         if (dark == 0) return p;
         return dark == 3 ? Triple{255, 255, 255} : Triple{0, 0, 0};
       }},
      {"PHOTOCOP", [](cBitFilter& f) { return f.PHOTOCOP(); },
       [](Triple p) {
         int dark = 0;
         for (int c : p) dark += c <= 127.5;
         if (dark == 0) return p;
         return dark == 3 ? Triple{0, 0, 0} : Triple{255, 255, 255};
       }},
      {"SpecialColors green", [](cBitFilter& f) { return f.SpecialColors(false, true, false); },
       [](Triple p) { return Triple{0, p[1], 0}; }},
  };
  for (const RectRegion* region : {&ellipse, &rect}) {
    for (const Case& c : cases) {
      EXPECT_TRUE(SameBits(Expected(pic, *region, c.ref), Apply(pic, region, c.call))) << c.name;
    }
  }
  // A flat picture is a fixed point of THERMIQUE, XBLACK keeps a bright one.
  const Bits flat = MakePicture(9, 4, [](int, int, int) { return 200; });
  const RectRegion all = RectRegion::FromRect(0, 0, 9, 4);
  EXPECT_TRUE(SameBits(flat, Apply(flat, &all, [](cBitFilter& f) { return f.THERMIQUE(); })));
  EXPECT_TRUE(SameBits(flat, Apply(flat, &all, [](cBitFilter& f) { return f.XBLACK(); })));
}

TEST(ColourFilters, FiltersWithoutSkipModeLeaveThePictureOnAnError) {
  const Bits pic = Noise(19, 11, 41);
  const RectRegion all = RectRegion::FromRect(0, 0, 19, 11);
  const std::vector<std::pair<const char*, std::function<Bits(cBitFilter&)>>> calls = {
      {"BRIGHTNESS overflow", [](cBitFilter& f) { return f.BRIGHTNESS(INT_MAX); }},
      {"Reduction by zero", [](cBitFilter& f) { return f.Reduction(-1); }},
      {"Reduction overflow", [](cBitFilter& f) { return f.Reduction(INT_MAX); }},
      {"ISOLATE limit overflow", [](cBitFilter& f) { return f.ISOLATE(Colour{0}, Colour{0}, 100000); }},
      {"ReplaceL band overflow", [](cBitFilter& f) { return f.ReplaceL(Colour{0}, Colour{0}, INT_MAX, 100); }},
      {"ReplaceHS limit overflow", [](cBitFilter& f) { return f.ReplaceHS(Colour{0}, Colour{0}, 50, 50, -60000); }},
      {"RotateH saturation 2", [](cBitFilter& f) { return f.RotateH(10, 200); }},
      {"COLORIZE not a number", [](cBitFilter& f) { return f.COLORIZE(NAN, 0.5f, 1.0f); }},
      {"COLORIZE saturation 2", [](cBitFilter& f) { return f.COLORIZE(0.0f, 2.0f, 1.0f); }},
  };
  for (const auto& [name, call] : calls) {
    std::vector<int> reports;
    EXPECT_TRUE(SameBits(pic, Apply(pic, &all, call, &reports))) << name;
    ASSERT_FALSE(reports.empty()) << name;
    EXPECT_EQ(reports.back(), 100) << name;
  }
  // COLORIZE(-3, 1, 1): a pixel of sum 60 fits (red 2t -> 40, blue 6t -> 120),
  // one of sum 300 does not (blue 600). The error counts only when the bad
  // pixel is selected.
  const Bits two = Row({{20, 20, 20}, {100, 100, 100}});
  const RectRegion first = RectRegion::FromRect(0, 0, 1, 1);
  const RectRegion both = RectRegion::FromRect(0, 0, 2, 1);
  auto colorize = [](cBitFilter& f) { return f.COLORIZE(-3.0f, 1.0f, 1.0f); };
  EXPECT_EQ(PixelAt(Apply(two, &first, colorize), 0, 0), (Triple{120, 0, 40}));
  EXPECT_TRUE(SameBits(two, Apply(two, &both, colorize)));
}

TEST(ColourFilters, RegionPastThePictureWritesTheFrameAndEmptyRegionNothing) {
  const Bits pic = MakePicture(5, 3, [](int x, int y, int c) { return 10 * x + y + c; });
  const RectRegion beyond = RectRegion::FromRect(-6, -6, 11, 9);
  // A filter that skips failed statements leaves the points past the array
  // alone and does the rest: the zero frame becomes 9 in channels 0..2,
  // channel 3 stays 0.
  const Bits out = Apply(pic, &beyond, [](cBitFilter& f) { return f.ShiftRGB(9, 9, 9); });
  EXPECT_EQ(PixelAt(out, -2, -2), (Triple{9, 9, 9}));
  EXPECT_EQ(PixelAt(out, 6, 4), (Triple{9, 9, 9}));
  EXPECT_EQ(out.At(3, 6, 4), 0);
  EXPECT_EQ(PixelAt(out, 4, 2), (Triple{51, 52, 53}));
  // The filters without that mode fail whole on the first point they cannot
  // read, even when the region only just leaves the array on one side.
  const RectRegion left = RectRegion::FromRect(-3, 0, 2, 2);
  const RectRegion frameOnly = RectRegion::FromRect(-2, -2, 7, 5);
  const std::vector<std::pair<const char*, std::function<Bits(cBitFilter&)>>> noSkip = {
      {"BRIGHTNESS", [](cBitFilter& f) { return f.BRIGHTNESS(9); }},
      {"Invert", [](cBitFilter& f) { return f.Invert(); }},
      {"COLORIZE", [](cBitFilter& f) { return f.COLORIZE(1.0f, 0.5f, 1.0f); }},
      {"ISOLATE", [](cBitFilter& f) { return f.ISOLATE(Colour{0}, ColourOf(1, 2, 3), 10); }},
      {"Reduction", [](cBitFilter& f) { return f.Reduction(3); }},
      {"ReplaceHS", [](cBitFilter& f) { return f.ReplaceHS(Colour{0}, ColourOf(1, 2, 3), 100, 100, 200); }},
      {"ReplaceL", [](cBitFilter& f) { return f.ReplaceL(Colour{0}, ColourOf(1, 2, 3), 100, 200); }},
      {"RotateH", [](cBitFilter& f) { return f.RotateH(20, 50); }},
      {"RotateL", [](cBitFilter& f) { return f.RotateL(5, 10); }},
      {"SwapBanks", [](cBitFilter& f) { return f.SwapBanks(4); }},
  };
  for (const auto& [name, call] : noSkip) {
    std::vector<int> reports;
    EXPECT_TRUE(SameBits(pic, Apply(pic, &left, call, &reports))) << name;
    EXPECT_EQ(reports.back(), 100) << name;
    // The frame itself is part of the array: a region over it runs.
    EXPECT_FALSE(SameBits(pic, Apply(pic, &frameOnly, call))) << name;
  }
  const RectRegion empty;
  std::vector<int> reports;
  EXPECT_TRUE(SameBits(pic, Apply(pic, &empty, [](cBitFilter& f) { return f.Equalize(); }, &reports)));
  EXPECT_EQ(reports, std::vector<int>{100});
}

}  // namespace
}  // namespace kelvane
