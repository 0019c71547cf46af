// The stock convolution masks offered by the user filter dialog and used by
// the menu commands, and GetMask, which turns one of them into a record.
//
// Contract:
//  - A stock mask is kept as two texts, as it was always written down: the
//    weights in reading order separated by "|", and the divisor with the three
//    adds (red, green, blue) likewise separated.
//  - GetMask(index) for an index 0..13 parses them: N := round(sqrt(count)),
//    entry (r, c) := weight number r * N + c, so the mask is applied as
//    written. Any other index gives an empty record: a mask of size 0, zero
//    divisor and adds, and no name.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "filters/filter_mask.h"

namespace kelvane {

// A convolution with its divisor and adds: what the user filter dialog shows,
// reads, loads and saves, and what GetMask fills. Name is the stock list's
// name when the record came from GetMask, empty otherwise; it is not part of
// a saved filter.
struct UserFilterRecord {
  FilterMask Mask;
  int32_t Divisor = 0;
  int32_t AddRed = 0;
  int32_t AddGreen = 0;
  int32_t AddBlue = 0;
  std::string Name;

  bool operator==(const UserFilterRecord&) const = default;
};

struct StockMaskText {
  const char* Name;
  const char* Weights;  // reading order, "|"-separated
  const char* Factors;  // divisor, add red, add green, add blue
};

inline constexpr int32_t kStockMaskCount = 14;

// The table in index order; the names are those of the dialog's list.
extern const std::array<StockMaskText, kStockMaskCount> kStockMasks;

UserFilterRecord GetMask(int32_t index);

}  // namespace kelvane
