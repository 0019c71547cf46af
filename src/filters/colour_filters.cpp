// Colour filters of cBitFilter: one pixel in, one pixel out.
#include <array>

#include "base/numeric.h"
#include "filters/bit_filter.h"
#include "filters/filter_families.h"

namespace kelvane {

namespace {

// Per-channel products, so that the weighted sum adds the very same doubles in
// the same order as the formula and rounds identically.
struct GreyTables {
  std::array<double, 256> blue, green, red;
  GreyTables() {
    for (int v = 0; v < 256; ++v) {
      blue[v] = v * 0.071;
      green[v] = v * 0.707;
      red[v] = v * 0.222;
    }
  }
};

}  // namespace

Bits cBitFilter::GreyScale() {
  static const GreyTables tables;
  Bits out = CopyOfBits();
  RegionBox(0);
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    const uint8_t* src = bits_.Pixel(x0, y);
    uint8_t* dst = out.Pixel(x0, y);
    for (int32_t n = x1 - x0; n > 0; --n, src += 4, dst += 4) {
      const auto g = static_cast<uint8_t>(
          RoundHalfEven(tables.blue[src[0]] + tables.green[src[1]] + tables.red[src[2]]));
      dst[0] = dst[1] = dst[2] = g;
    }
  });
  RaiseProgress(100);
  return out;
}

std::vector<FilterMethod> ColourMethods() {
  return {
      Method("GreyScale", &cBitFilter::GreyScale),
  };
}

}  // namespace kelvane
