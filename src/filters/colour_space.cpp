#include "filters/colour_space.h"

#include <cmath>
#include <cstdint>

#include "base/numeric.h"

namespace kelvane {

float Maximum3(float a, float b, float c) {
  float m = a;
  if (b > m) m = b;
  if (c > m) m = c;
  return m;
}

float Minimum3(float a, float b, float c) {
  float m = a;
  if (b < m) m = b;
  if (c < m) m = c;
  return m;
}

// The inputs over 255 and the three results are held as singles; the
// arithmetic between them is in double precision, as everywhere in the
// engine, and is rounded to single only where a result is stored.
HLS RGBToHLS(int32_t red, int32_t green, int32_t blue) {
  const float r = static_cast<float>(red / 255.0);
  const float g = static_cast<float>(green / 255.0);
  const float b = static_cast<float>(blue / 255.0);
  const double max = Maximum3(r, g, b);
  const double min = Minimum3(r, g, b);
  HLS out;
  out.l = static_cast<float>((max + min) / 2);
  if (max == min) return out;
  const double d = max - min;
  out.s = static_cast<float>(out.l <= 0.5f ? d / (max + min) : d / (2 - max - min));
  if (r == max) {
    out.h = static_cast<float>((g - static_cast<double>(b)) / d);
  } else if (g == max) {
    out.h = static_cast<float>(2 + (b - static_cast<double>(r)) / d);
  } else {
    out.h = static_cast<float>(4 + (r - static_cast<double>(g)) / d);
  }
  return out;
}

// The arguments are singles; min, max, the components and their products by
// 255 are taken in double precision, and only the final Round makes integers.
RGBValue HLSToRGB(float hue, float saturation, float lightness) {
  const double h = hue, l = lightness, s = saturation;
  double r, g, b;
  if (saturation == 0.0f) {
    r = g = b = l;
  } else {
    const double min = lightness <= 0.5f ? (1 - s) * l : l - (1 - l) * s;
    const double max = 2 * l - min;
    const double d = max - min;
    if (h < 0) {
      r = max; g = min; b = min - d * h;
    } else if (h < 1) {
      r = max; g = min + d * h; b = min;
    } else if (h < 2) {
      r = min - d * (h - 2); g = max; b = min;
    } else if (h < 3) {
      r = min; g = max; b = min + d * (h - 2);
    } else if (h < 4) {
      r = min; g = min - d * (h - 4); b = max;
    } else {
      r = min + d * (h - 4); g = min; b = max;
    }
  }
  // Components far outside the bytes (huge or not-a-number arguments) cannot
  // become 32-bit integers; they come back as INT32_MIN, outside 0..255 like
  // the value they stand for.
  auto component = [](double v) {
    const double x = RoundHalfEven(v * 255);
    return x >= -2147483648.0 && x <= 2147483647.0 ? static_cast<int32_t>(x) : INT32_MIN;
  };
  return {component(r), component(g), component(b)};
}

int32_t HueWrap(int32_t v) { return v > 200 ? v - 240 : v; }

}  // namespace kelvane
