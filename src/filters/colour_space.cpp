#include "filters/colour_space.h"

#include <cmath>

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

HLS RGBToHLS(int32_t red, int32_t green, int32_t blue) {
  const float r = static_cast<float>(red) / 255.0f;
  const float g = static_cast<float>(green) / 255.0f;
  const float b = static_cast<float>(blue) / 255.0f;
  const float max = Maximum3(r, g, b);
  const float min = Minimum3(r, g, b);
  HLS out;
  out.l = (max + min) / 2.0f;
  if (max == min) return out;
  const float d = max - min;
  out.s = out.l <= 0.5f ? d / (max + min) : d / (2.0f - max - min);
  if (r == max) {
    out.h = (g - b) / d;
  } else if (g == max) {
    out.h = 2.0f + (b - r) / d;
  } else {
    out.h = 4.0f + (r - g) / d;
  }
  return out;
}

RGBValue HLSToRGB(float h, float l, float s) {
  float r, g, b;
  if (s == 0.0f) {
    r = g = b = l;
  } else {
    const float min = l <= 0.5f ? (1.0f - s) * l : l - (1.0f - l) * s;
    const float max = 2.0f * l - min;
    const float d = max - min;
    if (h < 0.0f) {
      r = max; g = min; b = min - d * h;
    } else if (h < 1.0f) {
      r = max; g = min + d * h; b = min;
    } else if (h < 2.0f) {
      r = min - d * (h - 2.0f); g = max; b = min;
    } else if (h < 3.0f) {
      r = min; g = max; b = min + d * (h - 2.0f);
    } else if (h < 4.0f) {
      r = min; g = min - d * (h - 4.0f); b = max;
    } else {
      r = min + d * (h - 4.0f); g = min; b = max;
    }
  }
  auto component = [](float v) { return static_cast<int32_t>(std::nearbyint(v * 255.0f)); };
  return {component(r), component(g), component(b)};
}

int32_t HueWrap(int32_t v) { return v > 200 ? v - 240 : v; }

}  // namespace kelvane
