// cBitRegion: a document's selection, kept three ways: the whole picture
// (RegionMain), the selection in picture pixels (Region) and the selection
// scaled to the view's zoom (RegionScaled) for drawing its moving outline.
//
// Contract:
//  - Coordinates are picture pixels, right and bottom exclusive; a pixel is
//    selected when Region()->Contains(x, y). Filters and paint primitives walk
//    the selection with RectRegion::ForEachSpan instead of a point test each.
//  - "No selection" and "an empty selection" are different states, as a null
//    region handle and an empty region are on the platform: Region() is null
//    until a shape, Invert, SetRegion or LoadFromFile makes one, and again after
//    Init or Clear. An empty selection is a region with no rectangles.
//    IsEmptyRegion() and BoundRect() treat both alike (the box is empty); the
//    difference shows in CreateRect/CreateEllipse/CreatePolygon: with no
//    selection the shape becomes the selection (except for Diff, which then
//    does nothing), with one the shape is combined into it as
//    selection <mode> shape (so Copy leaves it as it was).
//  - After every change of the selection GetData() is rebuilt as the
//    selection's region data (RGNDATA integers, see rect_region.h), and the
//    scaled copy is rebuilt from it: integers 4 onward (box and rectangles)
//    become Round(value * zoom), ties to even. Without a selection both data
//    arrays are empty.
//  - ZoomFactor starts at 1; a negative value is stored as 0.01.
//  - SaveToFile writes GetData() as little-endian 32-bit integers over the
//    start of the file without truncating it: a longer old file keeps its tail
//    behind the new data, which the reader ignores because it only takes
//    nCount rectangles. LoadFromFile reads file length / 4 integers; data that
//    are not region data give an empty selection. RegionMain is never touched
//    by a load: the caller runs Crop to cut a selection from a larger picture.
//    Both return false only when the file cannot be opened or written.
//  - Operations that need RegionMain (Crop, the combine in Invert) leave the
//    selection alone before the first Init, as the platform call with a null
//    handle fails; Invert of an empty box then selects an empty rectangle.
//  - Outline drawing is left to the app layer, which has the window: it
//    fills OutlineRegion(x, y) (the one-pixel inner frame of RegionScaled,
//    moved by the view's scroll offset) with the stripe pattern
//    BrushPattern(BrushIndex()) and calls RotateBrush on each timer tick.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

#include "document/rect_region.h"

namespace kelvane {

class cBitRegion {
 public:
  cBitRegion() = default;

  // Clear, then RegionMain becomes the rectangle (normally 0, 0, W, H).
  void Init(int32_t left, int32_t top, int32_t right, int32_t bottom);

  // Combine a shape into the selection (see the contract for the null case);
  // with crop set, the selection is then ANDed with RegionMain.
  void CreateRect(int32_t left, int32_t top, int32_t right, int32_t bottom, CombineMode mode, bool crop);
  // The ellipse inscribed in the box.
  void CreateEllipse(int32_t left, int32_t top, int32_t right, int32_t bottom, CombineMode mode, bool crop);
  // xy holds x0, y0, x1, y1, ...; the point count is xy.size() / 2 (an odd
  // trailing integer is ignored), the fill rule winding. Fewer than three
  // integers are ignored altogether.
  void CreatePolygon(const std::vector<int32_t>& xy, CombineMode mode, bool crop);

  // An empty box selects RegionMain's box; otherwise RegionMain XOR selection.
  void Invert();
  // Selection = RegionMain AND selection.
  void Crop();
  void Offset(int32_t dx, int32_t dy);
  // Forgets all three regions and both data arrays.
  void Clear();

  // The outline stripe brushes: BrushIndex 0 to 7, advanced by RotateBrush.
  void RotateBrush() { brushIndex_ = (brushIndex_ + 1) % 8; }
  int32_t BrushIndex() const { return brushIndex_; }
  // Rows of the 8 x 8 one-bit pattern k (taken mod 8), top row first; bit 7
  // is the leftmost pixel. A set bit takes the background colour and a clear
  // one the foreground colour, white and black by default. The pattern is
  // aligned to the canvas origin.
  static std::array<uint8_t, 8> BrushPattern(int k);
  // The window-free stand-in for framing RegionScaled on the canvas: the
  // pixels of RegionScaled that have a 4-neighbour outside it, moved by
  // (x, y). Empty without a selection.
  RectRegion OutlineRegion(int32_t x, int32_t y) const;

  // The selection's box; false (and a zero box) when it is empty or absent.
  bool BoundRect(int32_t& left, int32_t& top, int32_t& right, int32_t& bottom) const;
  bool IsEmptyRegion() const;

  bool SaveToFile(const std::filesystem::path& path) const;
  bool LoadFromFile(const std::filesystem::path& path);

  std::vector<int32_t> GetData() const { return regionData_; }
  int32_t GetDataCount() const { return static_cast<int32_t>(regionData_.size()); }

  float ZoomFactor() const { return zoomFactor_; }
  void SetZoomFactor(float zoom);

  // The selection, or null when there is none. Owned by this object.
  const RectRegion* Region() const { return region_ ? &*region_ : nullptr; }
  // Makes a copy of the region the selection (an empty region gives an empty
  // selection, not no selection).
  void SetRegion(const RectRegion& region);
  const RectRegion* RegionScaled() const { return regionScaled_ ? &*regionScaled_ : nullptr; }
  const std::vector<int32_t>& RegionDataScaled() const { return regionDataScaled_; }
  const RectRegion* RegionMain() const { return regionMain_ ? &*regionMain_ : nullptr; }

 private:
  void ApplyShape(RectRegion shape, CombineMode mode, bool crop);
  void RebuildData();
  void RebuildScaled();

  std::optional<RectRegion> regionMain_;
  std::optional<RectRegion> region_;
  std::optional<RectRegion> regionScaled_;
  float zoomFactor_ = 1.0f;
  std::vector<int32_t> regionData_;
  std::vector<int32_t> regionDataScaled_;
  int32_t brushIndex_ = 0;
};

}  // namespace kelvane
