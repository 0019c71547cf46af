// DoneBits: the stroke table of a document. One 16-bit boolean per pixel,
// x from 0 to W + 2 and y from 0 to H + 2, cleared at the start of every
// stroke, so that the brush family never paints one pixel twice in a stroke
// (the opacity would build up) and a fill visits each pixel once.
//
// Contract:
//  - Create(W, H) re-creates the table cleared for a W x H picture; sizes
//    below 0 count as 0. An entry holds 0 (clear) or -1 (set), as the
//    platform's 16-bit booleans do.
//  - Get and Set outside the table are harmless: Get answers false and Set
//    does nothing, so a table left over from an older picture size can never
//    reach outside its storage.
#pragma once

#include <cstdint>
#include <vector>

namespace kelvane {

class DoneBits {
 public:
  DoneBits() = default;
  DoneBits(int width, int height) { Create(width, height); }

  void Create(int width, int height) {
    columns_ = (width < 0 ? 0 : width) + 3;
    rows_ = (height < 0 ? 0 : height) + 3;
    table_.assign(static_cast<size_t>(columns_) * static_cast<size_t>(rows_), 0);
  }

  bool Inside(int x, int y) const { return x >= 0 && y >= 0 && x < columns_ && y < rows_; }
  bool Get(int x, int y) const { return Inside(x, y) && table_[Index(x, y)] != 0; }
  void Set(int x, int y) {
    if (Inside(x, y)) table_[Index(x, y)] = -1;
  }
  // Once per stroke: false when (x, y) was already set; otherwise sets it.
  bool TestAndSet(int x, int y) {
    if (!Inside(x, y)) return true;
    int16_t& entry = table_[Index(x, y)];
    if (entry) return false;
    entry = -1;
    return true;
  }

  // Highest indices of the table: W + 2 and H + 2 (-1 when never created).
  int MaxX() const { return columns_ - 1; }
  int MaxY() const { return rows_ - 1; }
  bool IsEmpty() const { return table_.empty(); }

 private:
  size_t Index(int x, int y) const { return static_cast<size_t>(y) * static_cast<size_t>(columns_) + x; }

  std::vector<int16_t> table_;
  int columns_ = 0;
  int rows_ = 0;
};

}  // namespace kelvane
