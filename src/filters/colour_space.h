// Colour conversions shared by the colour filters and the colour tools.
//
// Contract:
//  - RGBToHLS takes 0..255 integers. The inputs over 255 and the results are
//    singles; the arithmetic between them is double, rounded to single only
//    where a result is stored. The hue is not normalised: it lies in -1 .. 5
//    and stays so through every caller. Grey gives hue 0 and saturation 0.
//  - HLSToRGB takes hue, saturation and lightness, in this order, as singles,
//    works in double and returns each component as
//    Round(component * 255), ties to even, not clamped (a component beyond
//    the 32-bit range comes back as INT32_MIN).
//  - HueWrap(v) is v, or v - 240 when v exceeds 200.
#pragma once

#include <cstdint>

namespace kelvane {

struct HLS {
  float h = 0, s = 0, l = 0;
};

struct RGBValue {
  int32_t red = 0, green = 0, blue = 0;
  bool operator==(const RGBValue&) const = default;
};

float Maximum3(float a, float b, float c);
float Minimum3(float a, float b, float c);

HLS RGBToHLS(int32_t red, int32_t green, int32_t blue);
RGBValue HLSToRGB(float hue, float saturation, float lightness);

int32_t HueWrap(int32_t v);

}  // namespace kelvane
