// Colour filters: slow per-pixel reference loops on noise (odd widths, spans of
// every length, regions reaching into the frame), hand-worked values where a
// tie, a limit or a spill decides, whole-picture statistics under a selection,
// and the no-skip failure cases.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <vector>

#include "filters/colour_space.h"
#include "filters/colour_test_support.h"

namespace kelvane {
namespace {

using namespace colour_test;

// A colour argument: red in the low byte, then green, then blue.
Colour ColourOf(int r, int g, int b) { return Colour{r | (g << 8) | (b << 16)}; }

struct Case {
  const char* name;
  Call call;
  std::function<Triple(Triple)> ref;
};

void ExpectCases(const Bits& pic, const std::vector<const RectRegion*>& regions, const std::vector<Case>& cases) {
  for (const RectRegion* region : regions)
    for (const Case& c : cases)
      EXPECT_TRUE(SameBits(Expected(pic, *region, c.ref), Apply(pic, region, c.call))) << c.name;
}

TEST(ColourFilters, PointFiltersMatchTheirFormulasOnAnEllipseAndEverySpanLength) {
  const Bits pic = Noise(53, 37, 5);
  const RectRegion ellipse = RectRegion::FromEllipse(-2, 3, 50, 39);
  // Spans of every length 1..37 on successive rows: every split between the
  // 16-pixel blocks and the pixel-by-pixel end.
  RectRegion spans;
  for (int y = 0; y < 37; ++y)
    spans = RectRegion::Combine(spans, RectRegion::FromRect(0, y, y + 1, y + 1), CombineMode::Or);
  auto each = [](auto fn) { return [fn](Triple p) { return Triple{fn(p[0]), fn(p[1]), fn(p[2])}; }; };
  auto third = [](Triple p) { return (p[0] + p[1] + p[2]) / 3; };
  std::vector<Case> cases = {
      {"BRIGHTNESS 37", CALL(BRIGHTNESS(37)), each([](int c) { return Clamp255(c + 37); })},
      {"BRIGHTNESS -300", CALL(BRIGHTNESS(-300)), each([](int) { return 0; })},
      {"Invert", CALL(Invert()), each([](int c) { return 255 - c; })},
      // q = 2 puts a tie on every odd value; q = 7 never ties.
      {"Reduction 1", CALL(Reduction(1)), each([](int c) { return Clamp255(RefRound(c / 2.0) * 2); })},
      {"Reduction 6", CALL(Reduction(6)), each([](int c) { return Clamp255(RefRound(c / 7.0) * 7); })},
      {"ShiftRGB 40 -25 300", CALL(ShiftRGB(40, -25, 300)),
       [](Triple p) { return Triple{Clamp255(p[0] + 300), Clamp255(p[1] - 25), Clamp255(p[2] + 40)}; }},
      {"KillChannel red blue", CALL(KillChannel(true, false, true)), [](Triple p) { return Triple{0, p[1], 0}; }},
      {"SwapRGB", CALL(SwapRGB(0, 2, 1, false, true, false, false, false, true)),
       [](Triple p) { return Triple{0, 255 - p[2], p[0]}; }},
  };
  for (int cut : {100, 255})
    cases.push_back({"Threshold", [cut](cBitFilter& f) { return f.Threshold(cut); },
                     [=](Triple p) { return third(p) > cut ? Triple{255, 255, 255} : Triple{0, 0, 0}; }});
  // Level -100 is black, 0 the identity.
  for (int level : {-100, -40, 0, 50, 100}) {
    const double e = (level + 100) / 100.0;
    cases.push_back({"GammaCorrection", [level](cBitFilter& f) { return f.GammaCorrection(level); },
                     each([e](int c) { return e <= 0 ? 0 : Rnd(std::pow(c / 255.0, 1 / e) * 255); })});
  }
  // c + f (c - L), L the truncated mean, clamped; f = 0.5 ties on odd c - L.
  for (int level : {-70, 35, 50, 250}) {
    cases.push_back({"SATURATION", [level](cBitFilter& f) { return f.SATURATION(level); }, [=](Triple p) {
                       const int l = third(p);
                       for (int& c : p) c = Clamp255(RefRound(c + level / 100.0 * (c - l)));
                       return p;
                     }});
  }
  ExpectCases(pic, {&ellipse, &spans}, cases);
}

struct HandCase {
  const char* name;
  Triple in;
  Call call;
  Triple out;
};

TEST(ColourFilters, HandWorkedPixels) {
  const Colour grey = ColourOf(100, 100, 100), target = ColourOf(200, 0, 50);
  const Colour black{0}, white = ColourOf(255, 255, 255);
  const std::vector<HandCase> cases = {
      // SwapRGB(source of red, green, blue, inverts, kills): the kill flag wins.
      {"SwapRGB kill", {10, 20, 30}, CALL(SwapRGB(0, 0, 1, true, false, false, false, false, true)), {0, 10, 245}},
      {"SwapRGB invert", {10, 20, 30}, CALL(SwapRGB(1, 2, 2, true, true, false, true, false, false)), {30, 225, 0}},
      // Source 3 reads the fourth byte (40); a source outside 0..3 leaves the byte.
      {"SwapRGB sources", {10, 20, 30}, CALL(SwapRGB(3, 7, -1, false, true, false, false, false, true)), {0, 20, 40}},
      // Tolerance 0: limit 1; the exact colour takes the new one, d2 = 1 has k = 0.
      {"REPLACE exact", {100, 100, 100}, CALL(REPLACE(grey, target, 0)), {50, 0, 200}},
      {"REPLACE d2 1", {100, 100, 101}, CALL(REPLACE(grey, target, 0)), {100, 100, 101}},
      // Tolerance 100: limit round(16257.25) = 16257. ISOLATE keeps d2 = 120^2 +
      // 40^2 + 16^2 = 16256, takes 127^2 + 8^2 + 8^2 = 16257; Shift is strict.
      {"ISOLATE below", {220, 140, 116}, CALL(ISOLATE(grey, target, 100)), {220, 140, 116}},
      {"ISOLATE at", {227, 108, 108}, CALL(ISOLATE(grey, target, 100)), {50, 0, 200}},
      {"Shift at", {227, 108, 108}, CALL(Shift(grey, 30, 100)), {227, 108, 108}},
      // ReplaceL: band = round(50 * 2.55) = round(127.49999999999999) = 127; from
      // black grey 127 is inside, 128 outside. Limit 65026 at 200: k = 1 - 48387 /
      // 65026 = 0.25588: 127 + 128k = 159.75 -> 160.
      {"ReplaceL in", {127, 127, 127}, CALL(ReplaceL(black, white, 50, 200)), {160, 160, 160}},
      {"ReplaceL out", {128, 128, 128}, CALL(ReplaceL(black, white, 50, 200)), {128, 128, 128}},
      // StretchH(0, 200, 0) on sum 100: min = -t -> -33 is a skipped store in
      // blue and green, red = 3t = 100 is stored.
      {"StretchH", {30, 30, 40}, CALL(StretchH(0, 200, 0)), {30, 30, 100}},
  };
  // Output channels 0, 1, 2 take (g, r, b), (r, b, g), (g, b, r), (r, g, b), (b, r, g); others leave.
  const Triple banks[7] = {{10, 20, 30}, {20, 30, 10}, {30, 10, 20}, {20, 10, 30},
                           {30, 20, 10}, {10, 30, 20}, {10, 20, 30}};
  std::vector<HandCase> all = cases;
  for (int order = 0; order < 7; ++order)
    all.push_back({"SwapBanks", {10, 20, 30}, [order](cBitFilter& f) { return f.SwapBanks(order); }, banks[order]});
  const RectRegion one = RectRegion::FromRect(0, 0, 1, 1);
  for (const HandCase& c : all) {
    Bits px = Row({c.in});
    px.At(3, 0, 0) = 40;
    const Bits out = Apply(px, &one, c.call);
    EXPECT_EQ(PixelAt(out, 0, 0), c.out) << c.name;
    EXPECT_EQ(out.At(3, 0, 0), 40) << c.name << ": the fourth byte is never written";
  }
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
  auto fits32 = [](int64_t v) { return v >= INT32_MIN && v <= INT32_MAX; };
  int64_t table[256];
  for (int i = 0; i < 256; ++i) {
    const int64_t v = RefRound((i - mean) * f + mean);
    table[i] = fits32(v) ? v : 0;
  }
  auto fits = [](int64_t v) { return v >= 0 && v <= 255; };
  return Expected(pic, region, [&](Triple p) {
    int64_t v[3] = {table[p[0]], table[p[1]], table[p[2]]};
    while (!fits(v[0]) || !fits(v[1]) || !fits(v[2])) {
      if (v[0] <= 0 && v[1] <= 0 && v[2] <= 0) v[0] = v[1] = v[2] = 0;
      if (v[0] >= 255 && v[1] >= 255 && v[2] >= 255) v[0] = v[1] = v[2] = 255;
      for (int c = 0; c < 3; ++c) {
        int64_t half = 0;
        if (v[c] < 0) half = v[c] / 2, v[c] = 0;
        else if (v[c] > 255) half = (v[c] - 255) / 2, v[c] = 255;
        for (int o : {1, 2})
          if (fits32(v[(c + o) % 3] + half)) v[(c + o) % 3] += half;
      }
    }
    return Triple{static_cast<int>(v[0]), static_cast<int>(v[1]), static_cast<int>(v[2])};
  });
}

TEST(Contrast, MatchesTheRuleOnNoiseAtEveryLevel) {
  const Bits pic = Noise(61, 23, 9);
  const RectRegion ellipse = RectRegion::FromEllipse(-3, -2, 60, 25);
  const RectRegion whole = RectRegion::FromRect(0, 0, 61, 23);
  // 2000000000 makes table entries beyond 32 bits and spills that overflow.
  for (int level : {-100, -60, 0, 30, 50, 150, 250, 1000, 2000000000, INT_MAX})
    for (const RectRegion* region : {&ellipse, &whole})
      EXPECT_TRUE(SameBits(ReferenceContrast(pic, *region, level),
                           Apply(pic, region, [level](cBitFilter& f) { return f.Contrast(level); })))
          << "level " << level;
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
    for (int& c : px) c = Rnd(c >= p ? (c - p) * up + 128 : c * down);
    return px;
  });
}

TEST(Equalize, PivotsAboutTheMedian) {
  struct Line {
    std::vector<int> in, out;
  };
  const std::vector<Line> rows = {
      // half = 2, the count passes it at 100 (3); trunc(1 / 2) = 0 <= 1: p = 99.
      // up = 127 / 156, down = 127 / 98: 12.96, 64.8, 128.81, 210.2.
      {{10, 50, 100, 200}, {13, 65, 129, 210}},
      // half = 5, count 7 at 100, trunc(7 / 2) = 3 > 2: p = 100. 200 -> 209.9.
      {{100, 100, 100, 100, 100, 100, 100, 200, 200, 200}, {128, 128, 128, 128, 128, 128, 128, 210, 210, 210}},
      // p = 1: 127 / 0 fails and down stays 0; 2 -> 0.5 + 128 -> 128 (to even).
      {{2, 2, 2}, {128, 128, 128}},
  };
  for (const Line& r : rows) {
    const int w = static_cast<int>(r.in.size());
    const RectRegion all = RectRegion::FromRect(0, 0, w, 1);
    ExpectGreyRows(Apply(Grey(w, 1, r.in), &all, CALL(Equalize())), w, 1, r.out);
  }
}

TEST(Equalize, MatchesTheRuleOnNoiseAndOnExactHalves) {
  const Bits noise = Noise(67, 29, 21);
  const RectRegion ellipse = RectRegion::FromEllipse(0, -2, 69, 30);
  const Call equalize = CALL(Equalize());
  EXPECT_TRUE(SameBits(ReferenceEqualize(noise, ellipse), Apply(noise, &ellipse, equalize)));
  // Colours whose weighted sum is a half in exact arithmetic: the double sum
  // decides how they round.
  std::vector<Triple> halves;
  for (int b = 0; b < 256 && halves.size() < 600; ++b)
    for (int g = 0; g < 256 && halves.size() < 600; g += 7)
      for (int r = 0; r < 256; r += 3)
        if ((113 * b + 586 * g + 301 * r) % 1000 == 500) halves.push_back({b, g, r});
  const Bits pic = MakePicture(30, 20, [&](int x, int y, int c) { return halves[y * 30 + x][c]; });
  const RectRegion all = RectRegion::FromRect(0, 0, 30, 20);
  EXPECT_TRUE(SameBits(ReferenceEqualize(pic, all), Apply(pic, &all, equalize)));
}

TEST(ColourFilters, ToleranceFiltersMatchTheirRuleOnNoise) {
  const Bits pic = Noise(45, 31, 33);
  const RectRegion ellipse = RectRegion::FromEllipse(2, 1, 44, 30);
  const Colour ref = ColourOf(140, 90, 60), newColour = ColourOf(10, 250, 128);
  auto d2 = [](Triple p) { return Dist2(p, {60, 90, 140}); };
  auto soft = [](Triple p, Triple to, double k) {
    for (int c = 0; c < 3; ++c) p[c] = Rnd(p[c] + (to[c] - p[c]) * k);
    return p;
  };
  for (int t : {0, 60, 100, 200}) {
    const double a = t * 127.5 / 100;
    const int64_t limit = RefRound(a * a + 1);
    auto k = [&](Triple p) { return 1 - static_cast<double>(d2(p)) / limit; };
    ExpectCases(pic, {&ellipse},
                {{"REPLACE", CALL(REPLACE(ref, newColour, t)),
                  [&](Triple p) { return d2(p) <= limit ? soft(p, {128, 250, 10}, k(p)) : p; }},
                 {"ISOLATE", CALL(ISOLATE(ref, newColour, t)),
                  [&](Triple p) { return d2(p) >= limit ? Triple{128, 250, 10} : p; }},
                 {"Shift", CALL(Shift(ref, -70, t)), [&](Triple p) {
                    const Triple to = {Clamp255(p[0] - 70), Clamp255(p[1] - 70), Clamp255(p[2] - 70)};
                    return d2(p) >= limit ? p : soft(p, to, k(p));
                  }}});
  }
}

// The colour conversions as they read: the inputs over 255 and the three
// results are singles, everything between them is double.
struct RefHls {
  float h = 0, s = 0, l = 0;
};

RefHls RefRGBToHLS(int red, int green, int blue) {
  const float r = static_cast<float>(red / 255.0), g = static_cast<float>(green / 255.0),
              b = static_cast<float>(blue / 255.0);
  const double max = std::max({r, g, b}), min = std::min({r, g, b}), d = max - min;
  RefHls out;
  out.l = static_cast<float>((max + min) / 2);
  if (max == min) return out;
  out.s = static_cast<float>(out.l <= 0.5f ? d / (max + min) : d / (2 - max - min));
  const double h = r == max   ? (g - static_cast<double>(b)) / d
                   : g == max ? 2 + (b - static_cast<double>(r)) / d
                              : 4 + (r - static_cast<double>(g)) / d;
  out.h = static_cast<float>(h);
  return out;
}

// Returns b, g, r.
Triple RefHLSToRGB(float hue, float saturation, float lightness) {
  const double h = hue, s = saturation, l = lightness;
  double r = l, g = l, b = l;
  if (s != 0) {
    const double lo = l <= 0.5 ? (1 - s) * l : l - (1 - l) * s, hi = 2 * l - lo, d = hi - lo;
    if (h < 0) r = hi, g = lo, b = lo - d * h;
    else if (h < 1) r = hi, g = lo + d * h, b = lo;
    else if (h < 2) r = lo - d * (h - 2), g = hi, b = lo;
    else if (h < 3) r = lo, g = hi, b = lo + d * (h - 2);
    else if (h < 4) r = lo, g = lo - d * (h - 4), b = hi;
    else r = lo + d * (h - 4), g = lo, b = hi;
  }
  return {Rnd(b * 255), Rnd(g * 255), Rnd(r * 255)};
}

TEST(ColourFilters, HlsKeepsSinglesOnlyWhereTheyAreStored) {
  // Lightness of (r, g, b) = (5, 0, 0): the single nearest 5 / 510 is
  // 0.0098039219, a little above it, so l * 255 = 2.50000009 rounds up to 3.
  // Multiplying in single precision would land on 2.5 exactly and give 2.
  const HLS dark = RGBToHLS(5, 0, 0);
  EXPECT_EQ(dark.l, static_cast<float>(5 / 510.0));
  EXPECT_EQ(HLSToRGB(0.0f, 0.0f, dark.l), (RGBValue{3, 3, 3}));
  const RectRegion one = RectRegion::FromRect(0, 0, 1, 1);
  EXPECT_EQ(PixelAt(Apply(Row({{0, 0, 5}}), &one, CALL(RotateH(0, 0))), 0, 0), (Triple{3, 3, 3}));
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
  EXPECT_EQ(PixelAt(Apply(px, &one, CALL(ReplaceHS(ref, white, 22, 100, 200))), 0, 0), (Triple{0, 17, 150}));
  EXPECT_EQ(PixelAt(Apply(px, &one, CALL(ReplaceHS(ref, white, 23, 100, 200))), 0, 0), (Triple{208, 211, 236}));
}

TEST(ColourFilters, HueFiltersMatchTheConversionsOnNoise) {
  const Bits pic = Noise(47, 33, 71);
  // Both reach into the frame but not past the array.
  const RectRegion ellipse = RectRegion::FromEllipse(-2, -1, 49, 35);
  const RectRegion rect = RectRegion::FromRect(5, -2, 30, 20);
  auto rotateH = [](int offset, int saturation) {
    return [=](Triple p) {
      const RefHls v = RefRGBToHLS(p[2], p[1], p[0]);
      float h = static_cast<float>(v.h + offset / 16.67);
      if (h > 5) h = h - 6;
      return RefHLSToRGB(h, static_cast<float>(saturation / 100.0 * v.s), v.l);
    };
  };
  // ReplaceHS: the three tests, then the soft replacement towards the new colour.
  const RefHls h0 = RefRGBToHLS(180, 60, 90);
  const double a = 120 * 127.5 / 100;
  const int64_t limit = RefRound(a * a + 1);
  const std::vector<Case> cases = {
      {"RotateH 25 80", CALL(RotateH(25, 80)), rotateH(25, 80)},
      // An offset that wraps hues above 5 back to -1 and more.
      {"RotateH 60 100", CALL(RotateH(60, 100)), rotateH(60, 100)},
      {"COLORIZE 1.3 0.6 0.9", CALL(COLORIZE(1.3f, 0.6f, 0.9f)),
       [](Triple p) { return RefHLSToRGB(1.3f, 0.6f, static_cast<float>((p[0] + p[1] + p[2]) / 765.0 * 0.9f)); }},
      {"StretchH -40 70 35", CALL(StretchH(-40, 70, 35)), [](Triple p) {
         const double t = (p[0] + p[1] + p[2]) / 765.0;
         double h = 3 * std::sin(3.5 * t) + -40 / 16.67;
         if (h < -1) h += 6;
         if (h > 5) h -= 6;
         return RefHLSToRGB(static_cast<float>(h), 0.7f, static_cast<float>(t));
       }},
      {"ReplaceHS", CALL(ReplaceHS(ColourOf(180, 60, 90), ColourOf(10, 40, 200), 35, 40, 120)), [&](Triple p) {
         const RefHls v = RefRGBToHLS(p[2], p[1], p[0]);
         const int d2 = Dist2(p, {90, 60, 180});
         if (std::fabs(double{v.h} - h0.h) > 0.35 || std::fabs(double{v.s} - h0.s) > 0.4 || d2 > limit) return p;
         const double k = 1 - static_cast<double>(d2) / limit;
         const int to[3] = {200, 40, 10};
         for (int c = 0; c < 3; ++c) p[c] = Rnd(p[c] + (to[c] - p[c]) * k);
         return p;
       }},
  };
  ExpectCases(pic, {&ellipse, &rect}, cases);
}

TEST(ColourFilters, GreyAndDarkBrightRulesOnNoise) {
  const Bits pic = Noise(51, 27, 88);
  const RectRegion ellipse = RectRegion::FromEllipse(-2, -2, 53, 29);
  const RectRegion rect = RectRegion::FromRect(0, 9, 51, 10);  // one row, edge pixels included
  auto luma = [](Triple p) { return Rnd(p[0] * 0.071 + p[1] * 0.707 + p[2] * 0.222); };
  // Dark is c <= 127.5: none dark stays, all dark and mixed take their colours.
  auto darkRule = [](int allDark, int mixed) {
    return [=](Triple p) {
      int dark = 0;
      for (int c : p) dark += c <= 127.5;
      if (dark == 0) return p;
      const int v = dark == 3 ? allDark : mixed;
      return Triple{v, v, v};
    };
  };
  const std::vector<Case> cases = {
      {"RotateL 7 13", CALL(RotateL(7, 13)), [](Triple p) {
         const double y = p[1] * 0.707 + p[0] * 0.071 + p[2] * 0.222;
         double v = std::sin(y / 255 * (13 / 2.5) + 0.7) * 127.5 + 127.5;
         if (v > 255) v -= 255;
         else if (v < 0) v += 255;
         return Triple{Rnd(v), Rnd(v), Rnd(v)};
       }},
      {"GreyScale", CALL(GreyScale()), [&](Triple p) { return Triple{luma(p), luma(p), luma(p)}; }},
      {"OLDPHOTO", CALL(OLDPHOTO()), [&](Triple p) { return Triple{p[0], luma(p), luma(p)}; }},
      {"THERMIQUE", CALL(THERMIQUE()), [](Triple p) {
         const int b = p[0], g = p[1], r = p[2];
         if (r > g && r > b) return Triple{0, 0, r};
         if (g > r && g > b) return Triple{0, g, 0};
         if (b > g && b > r) return Triple{b, 0, 0};
         return p;
       }},
      {"XBLACK", CALL(XBLACK()), darkRule(255, 0)},
      {"PHOTOCOP", CALL(PHOTOCOP()), darkRule(0, 255)},
      {"SpecialColors red green", CALL(SpecialColors(true, true, false)),
       [](Triple p) { return Triple{0, p[1], p[2]}; }},
  };
  ExpectCases(pic, {&ellipse, &rect}, cases);
}

TEST(ColourFilters, FiltersWithoutSkipModeFailWholeOnBadArgumentsOrPointsPastTheArray) {
  const Bits noise = Noise(19, 11, 41), pic = MakePicture(5, 3, [](int x, int y, int c) { return 10 * x + y + c; });
  const RectRegion all = RectRegion::FromRect(0, 0, 19, 11);
  auto unchanged = [](const Bits& in, const RectRegion& region, const Call& call) {
    std::vector<int> reports;
    const Bits out = Apply(in, &region, call, 1, 1, &reports);
    EXPECT_TRUE(!reports.empty() && reports.back() == 100);
    return SameBits(in, out);
  };
  const std::vector<std::pair<const char*, Call>> badArguments = {
      {"BRIGHTNESS overflow", CALL(BRIGHTNESS(INT_MAX))},
      {"Reduction by zero", CALL(Reduction(-1))},
      {"Reduction overflow", CALL(Reduction(INT_MAX))},
      {"ISOLATE limit overflow", CALL(ISOLATE(Colour{0}, Colour{0}, 100000))},
      {"ReplaceL band overflow", CALL(ReplaceL(Colour{0}, Colour{0}, INT_MAX, 100))},
      {"ReplaceHS limit overflow", CALL(ReplaceHS(Colour{0}, Colour{0}, 50, 50, -60000))},
      {"RotateH saturation 2", CALL(RotateH(10, 200))},
      {"COLORIZE not a number", CALL(COLORIZE(NAN, 0.5f, 1.0f))},
      {"COLORIZE saturation 2", CALL(COLORIZE(0.0f, 2.0f, 1.0f))},
  };
  for (const auto& [name, call] : badArguments) EXPECT_TRUE(unchanged(noise, all, call)) << name;
  // They fail on the first point they cannot read, even when the region only
  // just leaves the array on one side; the frame itself is part of the array.
  const RectRegion left = RectRegion::FromRect(-3, 0, 2, 2), frameOnly = RectRegion::FromRect(-2, -2, 7, 5);
  const std::vector<std::pair<const char*, Call>> noSkip = {
      {"BRIGHTNESS", CALL(BRIGHTNESS(9))},
      {"Invert", CALL(Invert())},
      {"COLORIZE", CALL(COLORIZE(1.0f, 0.5f, 1.0f))},
      {"ISOLATE", CALL(ISOLATE(Colour{0}, ColourOf(1, 2, 3), 10))},
      {"Reduction", CALL(Reduction(3))},
      {"ReplaceHS", CALL(ReplaceHS(Colour{0}, ColourOf(1, 2, 3), 100, 100, 200))},
      {"ReplaceL", CALL(ReplaceL(Colour{0}, ColourOf(1, 2, 3), 100, 200))},
      {"RotateH", CALL(RotateH(20, 50))},
      {"RotateL", CALL(RotateL(5, 10))},
      {"SwapBanks", CALL(SwapBanks(4))},
  };
  for (const auto& [name, call] : noSkip) {
    EXPECT_TRUE(unchanged(pic, left, call)) << name;
    EXPECT_FALSE(unchanged(pic, frameOnly, call)) << name;
  }
  // COLORIZE(-3, 1, 1): a pixel of sum 60 fits (red 2t -> 40, blue 6t -> 120),
  // one of sum 300 does not (blue 600). The error counts only when the bad
  // pixel is selected.
  const Bits two = Row({{20, 20, 20}, {100, 100, 100}});
  const RectRegion first = RectRegion::FromRect(0, 0, 1, 1), both = RectRegion::FromRect(0, 0, 2, 1);
  EXPECT_EQ(PixelAt(Apply(two, &first, CALL(COLORIZE(-3.0f, 1.0f, 1.0f))), 0, 0), (Triple{120, 0, 40}));
  EXPECT_TRUE(SameBits(two, Apply(two, &both, CALL(COLORIZE(-3.0f, 1.0f, 1.0f)))));
}

TEST(ColourFilters, SkippingFiltersWriteTheFrameAndLeavePointsPastTheArray) {
  // The zero frame becomes 9 in channels 0..2, channel 3 stays 0.
  const Bits pic = MakePicture(5, 3, [](int x, int y, int c) { return 10 * x + y + c; });
  const RectRegion beyond = RectRegion::FromRect(-6, -6, 11, 9);
  const Bits out = Apply(pic, &beyond, CALL(ShiftRGB(9, 9, 9)));
  EXPECT_EQ(PixelAt(out, -2, -2), (Triple{9, 9, 9}));
  EXPECT_EQ(PixelAt(out, 6, 4), (Triple{9, 9, 9}));
  EXPECT_EQ(out.At(3, 6, 4), 0);
  EXPECT_EQ(PixelAt(out, 4, 2), (Triple{51, 52, 53}));
}

}  // namespace
}  // namespace kelvane
