// Colour conversions shared by the colour filters and the colour tools.
//
// Contract:
//  - RGBToHLS takes 0..255 integers and works in single precision. The hue is
//    not normalised: it lies in -1 .. 5 and stays so through every caller.
//    Grey gives hue 0 and saturation 0.
//  - HLSToRGB returns each component as Round(component * 255), ties to even,
//    not clamped.
//  - HueWrap(v) is v, or v - 240 when v exceeds 200.
#pragma once

#include <cstdint>

namespace kelvane {

struct HLS {
  float h = 0, l = 0, s = 0;
};

struct RGBValue {
  int32_t red = 0, green = 0, blue = 0;
  bool operator==(const RGBValue&) const = default;
};

float Maximum3(float a, float b, float c);
float Minimum3(float a, float b, float c);

HLS RGBToHLS(int32_t red, int32_t green, int32_t blue);
RGBValue HLSToRGB(float h, float l, float s);

int32_t HueWrap(int32_t v);

}  // namespace kelvane
