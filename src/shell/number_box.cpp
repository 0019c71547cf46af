#include "shell/number_box.h"

#include <cmath>
#include <limits>

#include "base/numeric.h"

namespace kelvane {

int16_t KeyNum(int16_t ascii) {
  if ((ascii >= '0' && ascii <= '9') || ascii == 8) return ascii;
  return 0;
}

double NumberBoxValue(std::string_view text) {
  size_t i = 0;
  while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) ++i;
  double sign = 1;
  if (i < text.size() && (text[i] == '-' || text[i] == '+')) {
    if (text[i] == '-') sign = -1;
    ++i;
  }
  double value = 0;
  for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) value = value * 10 + (text[i] - '0');
  if (i < text.size() && text[i] == '.') {
    double scale = 0.1;
    for (++i; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i, scale /= 10) value += (text[i] - '0') * scale;
  }
  return sign * value;
}

int32_t NumberBoxInteger(std::string_view text) {
  const double v = RoundHalfEven(NumberBoxValue(text));
  if (v >= static_cast<double>(std::numeric_limits<int32_t>::max())) return std::numeric_limits<int32_t>::max();
  if (v <= static_cast<double>(std::numeric_limits<int32_t>::min())) return std::numeric_limits<int32_t>::min();
  return static_cast<int32_t>(v);
}

std::string NumberBoxText(int32_t value) { return std::to_string(value); }

}  // namespace kelvane
