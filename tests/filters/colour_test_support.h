// Helpers of the colour, colour-effect and palette tests: rounding written out
// longhand, noise pictures, one-call runs and per-pixel expectations.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <random>
#include <vector>

#include "document/rect_region.h"
#include "filters/bit_filter.h"
#include "filters/filter_test_support.h"
#include "filters/palette.h"

namespace kelvane::colour_test {

using test::MakePicture;
using test::SameBits;
using Triple = std::array<int, 3>;  // b, g, r
using Call = std::function<Bits(cBitFilter&)>;

// One filter call, for the tables: CALL(BRIGHTNESS(37)). It captures by
// reference, so loop variables need a lambda of their own.
#define CALL(...) ([&](cBitFilter& f) { return f.__VA_ARGS__; })

// Round half to even, written out longhand.
inline int64_t RefRound(double v) {
  const double f = std::floor(v);
  const auto i = static_cast<int64_t>(f);
  if (v - f != 0.5) return v - f > 0.5 ? i + 1 : i;
  return i % 2 == 0 ? i : i + 1;
}
inline int Rnd(double v) { return static_cast<int>(RefRound(v)); }
inline int Clamp255(int64_t v) { return static_cast<int>(v < 0 ? 0 : (v > 255 ? 255 : v)); }

// Every byte random, frame and fourth byte included, so that any stray write shows.
inline Bits Noise(int w, int h, unsigned seed) {
  std::mt19937 rng(seed);
  Bits b(w, h);
  for (size_t i = 0; i < b.ByteSize(); ++i) b.Data()[i] = static_cast<uint8_t>(rng());
  return b;
}

// Runs one filter on a fresh engine; the input must come back unchanged.
inline Bits Apply(const Bits& picture, const RectRegion* region, const Call& call, int threads = 1,
                  uint32_t seed = 1, std::vector<int>* reports = nullptr) {
  cBitFilter f;
  f.SetThreadCount(threads);
  f.SeedRandom(seed);
  f.SetBits(picture);
  f.BitsRegion(region);
  if (reports) f.SetProgressHandler([reports](int p) { reports->push_back(p); });
  Bits out = call(f);
  EXPECT_TRUE(SameBits(picture, f.BitsRef())) << "the input must stay unchanged";
  return out;
}

// The picture with every region pixel of the array (frame included) replaced
// in channels 0..2 by ref(b, g, r).
inline Bits Expected(const Bits& picture, const RectRegion& region, const std::function<Triple(Triple)>& ref) {
  Bits out = picture;
  for (int y = -2; y < picture.Height() + 2; ++y)
    for (int x = -2; x < picture.Width() + 2; ++x) {
      if (!region.Contains(x, y)) continue;
      const Triple v = ref({picture.At(0, x, y), picture.At(1, x, y), picture.At(2, x, y)});
      for (int c = 0; c < 3; ++c) out.At(c, x, y) = static_cast<uint8_t>(v[c]);
    }
  return out;
}

inline int Dist2(Triple p, Triple q) {
  return (p[0] - q[0]) * (p[0] - q[0]) + (p[1] - q[1]) * (p[1] - q[1]) + (p[2] - q[2]) * (p[2] - q[2]);
}

inline Triple PixelAt(const Bits& b, int x, int y) { return {b.At(0, x, y), b.At(1, x, y), b.At(2, x, y)}; }

inline Bits Row(const std::vector<Triple>& pixels) {
  return MakePicture(static_cast<int>(pixels.size()), 1, [&](int x, int, int c) { return pixels[x][c]; });
}

// A W x H grey picture, row by row, and the check of one.
inline Bits Grey(int w, int h, const std::vector<int>& values) {
  return MakePicture(w, h, [&](int x, int y, int) { return values[static_cast<size_t>(y * w + x)]; });
}
inline void ExpectGreyRows(const Bits& out, int w, int h, const std::vector<int>& values) {
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      for (int c = 0; c < 3; ++c)
        EXPECT_EQ(out.At(c, x, y), values[static_cast<size_t>(y * w + x)]) << "(" << x << ", " << y << ") c" << c;
}

struct PaletteGuard {
  PaletteRecord saved = CurrentPalette();
  ~PaletteGuard() { CurrentPalette() = saved; }
};

inline PaletteRecord MakePalette(const std::vector<PaletteColor>& colours) {
  return PaletteRecord{static_cast<int32_t>(colours.size()), colours};
}

// n entries with components lo .. lo + span - 1.
inline PaletteRecord RandomPalette(std::mt19937& rng, int n, int lo, int span) {
  std::vector<PaletteColor> c(static_cast<size_t>(n));
  for (PaletteColor& e : c) {
    e.red = lo + static_cast<int32_t>(rng() % span);
    e.green = lo + static_cast<int32_t>(rng() % span);
    e.blue = lo + static_cast<int32_t>(rng() % span);
  }
  return MakePalette(c);
}

// The nearest entry by the literal walk: exact first, else the least sum
// below 765, ties to the earlier.
inline int ReferenceNearest(const PaletteRecord& p, int r, int g, int b) {
  int best = 0, bound = 765;
  for (int i = 0; i < p.PaletteCount && i < static_cast<int>(p.PaletteColors.size()); ++i) {
    const PaletteColor& e = p.PaletteColors[static_cast<size_t>(i)];
    const int d = std::abs(r - e.red) + std::abs(g - e.green) + std::abs(b - e.blue);
    if (d == 0) return i;
    if (d < bound) bound = d, best = i;
  }
  return best;
}

}  // namespace kelvane::colour_test
