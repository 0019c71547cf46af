// Shared pieces of the engine, dialog and command tests: seeded pictures, a
// longhand round half to even, and an engine loaded with a picture.
#pragma once

#include <cmath>
#include <random>

#include "document/rect_region.h"
#include "filters/bit_filter.h"
#include "filters/filter_test_support.h"

namespace kelvane::test {

// Seeded noise in channels 0..2; the fourth byte and the frame stay 0.
inline Bits RandomPicture(int w, int h, unsigned seed) {
  std::mt19937 rng(seed);
  return MakePicture(w, h, [&](int, int, int) { return static_cast<int>(rng() & 255); });
}

// Seeded noise in every byte, the frame and the fourth byte included.
inline Bits NoiseEverywhere(int w, int h, unsigned seed) {
  std::mt19937 rng(seed);
  Bits b(w, h);
  for (size_t i = 0; i < b.ByteSize(); ++i) b.Data()[i] = static_cast<uint8_t>(rng());
  return b;
}

// Round half to even written out longhand, independent of the engine's helper.
inline int ReferenceRound(double v) {
  const double f = std::floor(v);
  const int i = static_cast<int>(f);
  return v - f > 0.5 || (v - f == 0.5 && i % 2 != 0) ? i + 1 : i;
}

inline void Load(cBitFilter& engine, const Bits& picture, const RectRegion* region, int threads = 1) {
  engine.SetThreadCount(threads);
  engine.SetBits(picture);
  engine.BitsRegion(region);
}

}  // namespace kelvane::test
