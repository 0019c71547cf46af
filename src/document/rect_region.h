// RectRegion: a region as a list of rectangles, with the platform's region
// semantics (the ones the selection files were written with).
//
// Contract:
//  - Canonical form, kept after every operation: rectangles with right and
//    bottom exclusive, grouped in horizontal bands (all rectangles of a band
//    share top and bottom), bands sorted top to bottom and not overlapping,
//    rectangles of a band sorted left to right, not touching and not
//    overlapping (touching ones are merged), and a band never identical in its
//    x-spans to the band directly above it when the two touch (they are merged
//    into one). No empty rectangle is ever stored. Two regions covering the
//    same pixels therefore have identical rectangle lists.
//  - Data() is the RGNDATA layout as 32-bit integers: dwSize 32, iType 1,
//    nCount, nRgnSize = 16 * nCount, the bounding box, then the rectangles.
//    An empty region gives eight integers with a zero box.
//  - Contains(x, y) is the point test: left <= x < right, top <= y < bottom.
//  - Bands() lets pixel loops walk the region as horizontal spans; a point test
//    per pixel is the meaning, spans are how filters compute it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kelvane {

struct Rect {
  int32_t left = 0, top = 0, right = 0, bottom = 0;
  bool IsEmpty() const { return right <= left || bottom <= top; }
  int32_t Width() const { return right - left; }
  int32_t Height() const { return bottom - top; }
  bool operator==(const Rect&) const = default;
};

// Intersection of two rectangles; an empty result is (0, 0, 0, 0), as the
// platform's IntersectRect gives.
Rect IntersectRect(const Rect& a, const Rect& b);

struct Point {
  int32_t x = 0, y = 0;
  bool operator==(const Point&) const = default;
};

// The platform's combine modes, with their numbers.
enum class CombineMode : int { And = 1, Or = 2, Xor = 3, Diff = 4, Copy = 5 };

// The platform's polygon fill modes.
enum class PolyFillMode : int { Alternate = 1, Winding = 2 };

class RectRegion {
 public:
  struct Band {
    int32_t top, bottom;   // rows top .. bottom - 1
    uint32_t first, count;  // rectangles Rects()[first .. first + count - 1]
  };

  RectRegion() = default;
  // A rectangle region; an empty rectangle gives an empty region (a rectangle
  // given with left > right or top > bottom is normalised first, as the
  // platform does).
  static RectRegion FromRect(int32_t left, int32_t top, int32_t right, int32_t bottom);
  // The elliptic region inscribed in the rectangle (normalised as above): a
  // pixel belongs when its centre lies inside or on the ellipse, so the shape
  // is mirror-symmetric both ways and never leaves the rectangle.
  static RectRegion FromEllipse(int32_t left, int32_t top, int32_t right, int32_t bottom);
  // A polygon region, the closing edge implied; fewer than 3 points gives an
  // empty region. Filled at pixel centres: a centre exactly on an edge counts
  // as right of it, so a left edge includes and a right edge excludes, and an
  // axis-aligned polygon (0,0)-(10,0)-(10,10)-(0,10) is the rectangle
  // (0, 0, 10, 10).
  static RectRegion FromPolygon(const std::vector<Point>& points, PolyFillMode mode);
  // Builds a region from RGNDATA integers (ExtCreateRegion): reads nCount
  // rectangles from index 8 on, bounded by the integers actually given.
  // Anything that is not region data yields an empty region.
  static RectRegion FromData(const int32_t* data, size_t count);
  static RectRegion FromData(const std::vector<int32_t>& data) { return FromData(data.data(), data.size()); }

  static RectRegion Combine(const RectRegion& a, const RectRegion& b, CombineMode mode);

  void Offset(int32_t dx, int32_t dy);
  // The bounding box; (0, 0, 0, 0) when empty.
  Rect Box() const;
  bool IsEmpty() const { return rects_.empty(); }
  bool Contains(int32_t x, int32_t y) const;

  const std::vector<Rect>& Rects() const { return rects_; }
  const std::vector<Band>& Bands() const { return bands_; }
  std::vector<int32_t> Data() const;

  // Calls fn(x0, x1) for each span [x0, x1) of row y, clipped to [minX, maxX).
  template <class Fn>
  void ForEachSpan(int32_t y, int32_t minX, int32_t maxX, Fn&& fn) const {
    const Band* band = FindBand(y);
    if (!band) return;
    for (uint32_t i = band->first; i < band->first + band->count; ++i) {
      const int32_t x0 = rects_[i].left > minX ? rects_[i].left : minX;
      const int32_t x1 = rects_[i].right < maxX ? rects_[i].right : maxX;
      if (x0 < x1) fn(x0, x1);
    }
  }

  // The band holding row y, or null.
  const Band* FindBand(int32_t y) const;

  bool operator==(const RectRegion& other) const { return rects_ == other.rects_; }

 private:
  // Takes rectangles already in canonical order (bands, sorted, merged) or
  // not: normalises them into canonical form.
  void SetFromBandedRows(std::vector<Rect> rects);
  // Derives bands_ and box_ from rects_, which must already be canonical.
  void RebuildBands();

  friend class RegionBandWriter;

  std::vector<Rect> rects_;
  std::vector<Band> bands_;
  Rect box_;  // cached bounding box, (0, 0, 0, 0) when empty
};

}  // namespace kelvane
