// A convolution mask: N x N 32-bit weights in reading order. Entry (r, c) is
// the weight of the pixel r rows below and c columns right of the window's
// top-left corner; a mask is applied as written, never flipped.
#pragma once

#include <cstdint>
#include <vector>

namespace kelvane {

struct FilterMask {
  int32_t size = 0;
  std::vector<int32_t> weights;  // size * size entries

  int32_t At(int32_t row, int32_t column) const { return weights[static_cast<size_t>(row * size + column)]; }
  bool operator==(const FilterMask&) const = default;
};

}  // namespace kelvane
