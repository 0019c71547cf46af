#include "filters/stock_masks.h"

#include <charconv>
#include <cmath>
#include <string_view>
#include <vector>

#include "base/numeric.h"

namespace kelvane {

const std::array<StockMaskText, kStockMaskCount> kStockMasks = {{
    {"Blur", "1|1|1|1|1|1|1|1|1", "9|0|0|0"},
    {"Blur more", "1|1|1|1|1|1|1|1|1|1|1|1|1|1|1|1|1|1|1|1|1|1|1|1|1", "25|0|0|0"},
    {"Soften", "0|1|0|1|3|1|0|1|0", "7|0|0|0"},
    {"Soften more", "1|3|1|3|9|3|1|3|1", "25|0|0|0"},
    {"Sharpen", "-1|-1|-1|-1|15|-1|-1|-1|-1", "7|0|0|0"},
    {"Sharpen more", "0|-1|0|-1|5|-1|0|-1|0", "1|0|0|0"},
    {"Bump [NW]", "-1|-1|0|-1|4|1|0|1|1", "4|0|0|0"},
    {"Bump more [NW]", "-1|-1|0|-1|2|1|0|1|1", "2|0|0|0"},
    {"Contour", "-1|-1|-1|-1|8|-1|-1|-1|-1", "1|255|255|255"},
    {"Contour more", "-2|-2|-2|-2|16|-2|-2|-2|-2", "1|255|255|255"},
    {"Contour [soft]", "0|-1|0|-1|4|-1|0|-1|0", "1|255|255|255"},
    {"Contour more [soft]", "0|-2|0|-2|8|-2|0|-2|0", "1|255|255|255"},
    {"Emboss [SE]", "0|0|0|0|1|0|0|0|-1", "1|128|128|128"},
    {"Engrave [SE]", "0|0|0|0|-1|0|0|0|1", "1|128|128|128"},
}};

namespace {

std::vector<int32_t> SplitNumbers(std::string_view text) {
  std::vector<int32_t> numbers;
  size_t start = 0;
  for (;;) {
    const size_t bar = text.find('|', start);
    const std::string_view word =
        text.substr(start, bar == std::string_view::npos ? std::string_view::npos : bar - start);
    int32_t value = 0;
    std::from_chars(word.data(), word.data() + word.size(), value);
    numbers.push_back(value);
    if (bar == std::string_view::npos) return numbers;
    start = bar + 1;
  }
}

}  // namespace

UserFilterRecord GetMask(int32_t index) {
  UserFilterRecord record;
  if (index < 0 || index >= kStockMaskCount) return record;
  const StockMaskText& stock = kStockMasks[static_cast<size_t>(index)];
  const std::vector<int32_t> weights = SplitNumbers(stock.Weights);
  const int32_t n = Round(std::sqrt(static_cast<double>(weights.size())));
  record.Mask.size = n;
  record.Mask.weights.assign(static_cast<size_t>(n) * n, 0);
  for (size_t k = 0; k < record.Mask.weights.size() && k < weights.size(); ++k) record.Mask.weights[k] = weights[k];
  const std::vector<int32_t> factors = SplitNumbers(stock.Factors);
  record.Divisor = factors.at(0);
  record.AddRed = factors.at(1);
  record.AddGreen = factors.at(2);
  record.AddBlue = factors.at(3);
  record.Name = stock.Name;
  return record;
}

}  // namespace kelvane
