// Pictures, a rounding oracle and a checked runner for the neighbourhood and
// deformation filter tests.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <random>
#include <vector>

#include "document/rect_region.h"
#include "filters/bit_filter.h"
#include "filters/filter_test_support.h"

namespace kelvane::test {

// Ties to even, written out with floor.
inline long RefRound(double v) {
  const double f = std::floor(v), frac = v - f;
  if (frac != 0.5) return static_cast<long>(f) + (frac > 0.5 ? 1 : 0);
  return static_cast<long>(f) % 2 == 0 ? static_cast<long>(f) : static_cast<long>(f) + 1;
}
inline int Clamp255(long v) { return v < 0 ? 0 : v > 255 ? 255 : static_cast<int>(v); }

// Random bytes, spare byte included; with `frame` the two-pixel margin too.
inline Bits Noise(int w, int h, unsigned seed, bool frame = false) {
  std::mt19937 rng(seed);
  Bits b(w, h);
  for (int y = frame ? -2 : 0; y < (frame ? h + 2 : h); ++y)
    for (int x = frame ? -2 : 0; x < (frame ? w + 2 : w); ++x)
      for (int c = 0; c < 4; ++c) b.At(c, x, y) = static_cast<uint8_t>(rng());
  return b;
}
inline Bits Flat(int w, int h, int v) { return MakePicture(w, h, [=](int, int, int) { return v; }); }
inline RectRegion Whole(const Bits& b) { return RectRegion::FromRect(0, 0, b.Width(), b.Height()); }

using FilterCall = std::function<Bits(cBitFilter&)>;

// One run of a filter; the progress reports go to `reports`.
inline Bits Run(const Bits& pic, const RectRegion& region, const FilterCall& call, int threads, std::vector<int>& reports) {
  cBitFilter f;
  f.SetThreadCount(threads);
  f.SetBits(pic);
  f.BitsRegion(&region);
  f.SetProgressHandler([&](int p) { reports.push_back(p); });
  Bits out = call(f);
  EXPECT_TRUE(SameBits(pic, f.BitsRef())) << "the input must not change";
  return out;
}

inline std::vector<int> ProgressOf(const Bits& pic, const RectRegion& region, const FilterCall& call, int threads = 1) {
  std::vector<int> reports;
  Run(pic, region, call, threads, reports);
  return reports;
}

// Runs a filter on one thread and on two, which must agree, with progress
// closing at 100. Returns the one-thread result.
inline Bits Apply(const Bits& pic, const RectRegion& region, const FilterCall& call) {
  std::vector<int> reports[2];
  const Bits one = Run(pic, region, call, 1, reports[0]), two = Run(pic, region, call, 2, reports[1]);
  for (const std::vector<int>& r : reports) EXPECT_TRUE(!r.empty() && r.back() == 100) << "progress must close with 100";
  EXPECT_TRUE(SameBits(one, two)) << "one thread against two";
  return one;
}

}  // namespace kelvane::test
