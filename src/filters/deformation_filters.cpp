// Deformation filters of cBitFilter: each output pixel is read from a
// displaced source point.
//
// Shared habits of this family:
//  - cx = Trunc(MaxX / 2), cy = Trunc(MaxY / 2) are the centre; dx = x - cx,
//    dy = y - cy.
//  - Filters that test the source walk the whole region box (clipped to the
//    array, since a write past it would fail) and test the source point with
//    RegionTest; the others walk the region's spans.
//  - A coordinate whose rounding does not fit in 32 bits fails its
//    statement: that pixel is left as copied. A table entry whose assignment
//    fails keeps its initial 0, as a failed assignment to a fresh variable does.
//  - Per-column and per-row products are worked out once; they are the very
//    doubles the per-pixel formula would produce, added in the same order, so
//    the results are bit for bit those of the plain formula.
#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "base/numeric.h"
#include "filters/bit_filter.h"
#include "filters/filter_families.h"

namespace kelvane {

namespace {

// Degrees to radians, and the whole turn, with the engine's own constants.
constexpr double kRadiansPerDegree = 0.017453288659453392;
constexpr float kTurn = 6.283184f;

// Round (ties to even) into a 32-bit integer; false when the value does not
// fit or is not a number, which is a failed statement.
inline bool RoundIntChecked(double v, int32_t& out) {
  const double r = RoundHalfEven(v);
  if (!(r >= -2147483648.0 && r <= 2147483647.0)) return false;
  out = static_cast<int32_t>(r);
  return true;
}

#if defined(__SSE2__)
// The conversion instruction rounds in the current mode, which the engine
// never moves from round-to-nearest-even (RoundHalfEven relies on it too); a
// value out of range or not a number gives INT32_MIN, which is then settled
// the careful way. One instruction instead of the add-and-subtract pair.
inline int32_t RoundSmall(double v) { return _mm_cvtsd_si32(_mm_set_sd(v)); }

inline bool RoundInt(double v, int32_t& out) {
  const int32_t r = RoundSmall(v);
  if (r != INT32_MIN) {
    out = r;
    return true;
  }
  return RoundIntChecked(v, out);
}
#else
inline int32_t RoundSmall(double v) { return static_cast<int32_t>(RoundHalfEven(v)); }
inline bool RoundInt(double v, int32_t& out) { return RoundIntChecked(v, out); }
#endif

// The same for an assignment whose failure leaves its variable at 0.
inline int32_t RoundOrZero(double v) {
  int32_t r = 0;
  return RoundInt(v, r) ? r : 0;
}

inline int64_t FloorDiv(int64_t a, int64_t b) {  // b > 0
  const int64_t q = a / b;
  return (a % b != 0 && a < 0) ? q - 1 : q;
}

inline int64_t CeilDiv(int64_t a, int64_t b) {  // b > 0
  const int64_t q = a / b;
  return (a % b != 0 && a > 0) ? q + 1 : q;
}

// Largest m >= 0 with m * m < rem (rem > 0).
inline int64_t WidestOffset(int64_t rem) {
  auto m = static_cast<int64_t>(std::sqrt(static_cast<double>(rem)));
  while (m > 0 && m * m >= rem) --m;
  while ((m + 1) * (m + 1) < rem) ++m;
  return m;
}

inline int32_t Clamp32(int64_t v) {
  return static_cast<int32_t>(std::clamp<int64_t>(v, INT32_MIN, INT32_MAX));
}

// The rows of a lens or flare circle of radius r > 0: dy from -r to r, with
// the progress Trunc((dy + r) * 100 / (2r)) after each. Rows outside the box
// or the array do nothing; a circle too large to walk row by row is walked
// over the rows between lowDy and highDy only.
struct CircleRows {
  int32_t first, last;
  int64_t radius;
  int32_t Percent(int32_t dy) const { return static_cast<int32_t>((int64_t{dy} + radius) * 100 / (2 * radius)); }
};

inline CircleRows CircleRowsOf(int64_t r, int64_t lowDy, int64_t highDy) {
  constexpr int64_t kWalkAll = int64_t{1} << 20;
  if (r > kWalkAll) return {Clamp32(std::max(lowDy, -r)), Clamp32(std::min(highDy, r)), r};
  return {static_cast<int32_t>(-r), static_cast<int32_t>(r), r};
}

inline void Copy3(uint8_t* dst, const uint8_t* src) {
  dst[0] = src[0];
  dst[1] = src[1];
  dst[2] = src[2];
}

// The point-in-region test at any point, for the filters that test the
// source. Each row of the region's box keeps its run of rectangles, so a test
// needs no search for the usual selections.
class RegionTest {
 public:
  explicit RegionTest(const RectRegion* region) {
    if (!region || region->IsEmpty()) return;
    region_ = region;
    box_ = region->Box();
    single_ = region->Rects().size() == 1;
    const int64_t rows = static_cast<int64_t>(box_.bottom) - box_.top;
    if (rows > (int64_t{1} << 24)) return;  // an absurd box: ask the region itself
    rects_ = region->Rects().data();
    rows_.assign(static_cast<size_t>(rows), Run{0, 0});
    for (const RectRegion::Band& band : region->Bands()) {
      for (int32_t y = band.top; y < band.bottom; ++y) rows_[static_cast<size_t>(y - box_.top)] = {band.first, band.count};
    }
  }

  bool operator()(int32_t x, int32_t y) const {
    if (!region_ || x < box_.left || x >= box_.right || y < box_.top || y >= box_.bottom) return false;
    if (single_) return true;
    if (!rects_) return region_->Contains(x, y);
    const Run run = rows_[static_cast<size_t>(y - box_.top)];
    const Rect* r = rects_ + run.first;
    for (uint32_t n = run.count; n > 0; --n, ++r) {
      if (x < r->left) return false;
      if (x < r->right) return true;
    }
    return false;
  }

 private:
  struct Run {
    uint32_t first, count;
  };
  const RectRegion* region_ = nullptr;
  bool single_ = false;
  const Rect* rects_ = nullptr;
  Rect box_;
  std::vector<Run> rows_;
};

// The filter's box (inclusive bounds) clipped to the array, frame included.
struct Walk {
  int32_t left, right, top, bottom;
};

Walk ClipToArray(const cBitFilter& f) {
  return {std::max(f.BoxLeft, -kBitsFrame), std::min(f.BoxRight, f.MaxX + kBitsFrame),
          std::max(f.BoxTop, -kBitsFrame), std::min(f.BoxBottom, f.MaxY + kBitsFrame)};
}

// One row of a source-tested filter: map(x, sx, sy) gives the source of
// (x, y), or false when its statement fails. A source in the region is copied
// (a source outside the array fails the copy); one outside the region leaves
// the pixel, or writes black when `clean` is set.
template <class Map>
inline void FetchRow(const Bits& in, Bits& out, const RegionTest& inRegion, bool clean, int32_t y, int32_t x0,
                     int32_t x1, Map&& map) {
  uint8_t* dst = out.Pixel(x0, y);
  const uint8_t* origin = in.Pixel(0, 0);
  const ptrdiff_t stride = in.Stride();
  for (int32_t x = x0; x < x1; ++x, dst += 4) {
    int32_t sx, sy;
    if (!map(x, sx, sy)) continue;
    if (inRegion(sx, sy)) {
      if (in.InArray(sx, sy)) Copy3(dst, origin + sy * stride + 4 * static_cast<ptrdiff_t>(sx));
    } else if (clean) {
      dst[0] = dst[1] = dst[2] = 0;
    }
  }
}

// Per-column and per-row tables over a walk.
template <class T>
struct AxisTable {
  int32_t first = 0;
  std::vector<T> values;
  T operator[](int32_t v) const { return values[static_cast<size_t>(v - first)]; }
  template <class Fn>
  void Fill(int32_t from, int32_t to, Fn&& fn) {
    first = from;
    values.clear();
    for (int32_t v = from; v <= to; ++v) values.push_back(fn(v));
  }
};

// A coordinate worked out in advance, with whether its statement succeeded.
struct Coord {
  int32_t value;
  bool ok;
};

inline Coord RoundCoord(double v) {
  Coord c{0, false};
  c.ok = RoundInt(v, c.value);
  return c;
}

// The positions a loop `for p = start to end step step` lays tiles of
// `extent` pixels at, in the order they are laid.
class TileAxis {
 public:
  TileAxis(int64_t start, int64_t end, int64_t step, int64_t extent) : start_(start), step_(step), extent_(extent) {
    if (step > 0 && end >= start) count_ = (end - start) / step + 1;
    if (step < 0 && start >= end) count_ = (start - end) / (-step) + 1;
  }

  // Calls fn(offset into the tile) for each laid tile covering v, the last
  // laid first, until fn returns true; returns whether it did.
  template <class Fn>
  bool Cover(int64_t v, Fn&& fn) const {
    if (count_ == 0 || extent_ <= 0) return false;
    int64_t lo, hi;
    if (step_ > 0) {
      hi = FloorDiv(v - start_, step_);
      lo = CeilDiv(v - extent_ + 1 - start_, step_);
    } else {
      lo = CeilDiv(start_ - v, -step_);
      hi = FloorDiv(start_ - v + extent_ - 1, -step_);
    }
    lo = std::max<int64_t>(lo, 0);
    hi = std::min<int64_t>(hi, count_ - 1);
    for (int64_t k = hi; k >= lo; --k) {
      if (fn(static_cast<int32_t>(v - (start_ + k * step_)))) return true;
    }
    return false;
  }

 private:
  int64_t start_, step_, extent_;
  int64_t count_ = 0;
};

enum class GlassMove { None, SlantX, SlantY, Columns, Rows, Both, CurtainRow, CurtainProduct, CurtainSum };

// The displacement of one axis for the "vertical", "horizontal" and "squary"
// styles: level 0 adds 2 tan v, level 1 takes `sine` sin v, level 2 takes
// 10 cos v, with v a plain whole number in radians.
inline Coord GlassAxis(int32_t v, int32_t level, double sine) {
  const double d = v;
  switch (level) {
    case 0: return RoundCoord(d + 2 * std::tan(d));
    case 1: return RoundCoord(d - sine * std::sin(d));
    default: return RoundCoord(d - 10 * std::cos(d));
  }
}

}  // namespace

// ---------------------------------------------------------------------------
// Source-tested geometric maps

Bits cBitFilter::BEND(double radiusFactor, bool cleanBack) {
  Bits out = CopyOfBits();
  const float f = static_cast<float>(radiusFactor / 100 + 2);
  RegionBox(0);
  const int32_t cx = MaxX / 2, cy = MaxY / 2;
  const RegionTest inRegion(BitsRegionHandle());
  const Walk walk = ClipToArray(*this);
  const double maxX = MaxX, maxY = MaxY;
  ForEachRow(walk.top, walk.bottom, true, [&](int32_t y) {
    const int32_t dy = y - cy;
    const double dy2 = static_cast<double>(dy) * dy;
    FetchRow(bits_, out, inRegion, cleanBack, y, walk.left, walk.right + 1, [&](int32_t x, int32_t& sx, int32_t& sy) {
      const int32_t dx = x - cx;
      const double rho = f * std::sqrt(static_cast<double>(dx) * dx + dy2);
      double a = -AngleOf(dy, dx);
      if (dy < 0 || dx > 0) a += kTurn;
      return RoundInt(maxX * a / kTurn, sx) && RoundInt(maxY - rho, sy);
    });
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::ROTATE(double degrees, bool cleanBack) {
  Bits out = CopyOfBits();
  const double c = std::cos(degrees * kRadiansPerDegree);
  const double s = std::sin(degrees * kRadiansPerDegree);
  RegionBox(0);
  const int32_t cx = MaxX / 2, cy = MaxY / 2;
  const RegionTest inRegion(BitsRegionHandle());
  const Walk walk = ClipToArray(*this);
  AxisTable<double> dxc, dxs;
  dxc.Fill(walk.left, walk.right, [&](int32_t x) { return static_cast<double>(x - cx) * c; });
  dxs.Fill(walk.left, walk.right, [&](int32_t x) { return static_cast<double>(x - cx) * s; });
  ForEachRow(walk.top, walk.bottom, true, [&](int32_t y) {
    const double dys = static_cast<double>(y - cy) * s, dyc = static_cast<double>(y - cy) * c;
    FetchRow(bits_, out, inRegion, cleanBack, y, walk.left, walk.right + 1, [&](int32_t x, int32_t& sx, int32_t& sy) {
      return RoundInt(dxc[x] - dys + cx, sx) && RoundInt(dxs[x] + dyc + cy, sy);
    });
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::RotateSmooth(double degrees) {
  Bits out = CopyOfBits();
  const double c = std::cos(degrees * kRadiansPerDegree);
  const double s = std::sin(degrees * kRadiansPerDegree);
  RegionBox(0);
  const int32_t cx = MaxX / 2, cy = MaxY / 2;
  const Walk walk = ClipToArray(*this);
  AxisTable<double> dxc, dxs;
  dxc.Fill(walk.left, walk.right, [&](int32_t x) { return static_cast<double>(x - cx) * c; });
  dxs.Fill(walk.left, walk.right, [&](int32_t x) { return static_cast<double>(x - cx) * s; });
  // (x0, y0) must lie in BitsBounds: 0 <= u < MaxX + 1 and 0 <= v < MaxY + 1.
  const float endU = static_cast<float>(MaxX + 1), endV = static_cast<float>(MaxY + 1);
  ForEachRow(walk.top, walk.bottom, true, [&](int32_t y) {
    const double dys = static_cast<double>(y - cy) * s, dyc = static_cast<double>(y - cy) * c;
    uint8_t* dst = out.Pixel(walk.left, y);
    for (int32_t x = walk.left; x <= walk.right; ++x, dst += 4) {
      const auto u = static_cast<float>(dxc[x] - dys + cx);
      const auto v = static_cast<float>(dxs[x] + dyc + cy);
      if (!(u >= 0.0f && u < endU && v >= 0.0f && v < endV)) continue;
      const auto x0 = static_cast<int32_t>(u), y0 = static_cast<int32_t>(v);
      const double fx = u - static_cast<float>(x0), fy = v - static_cast<float>(y0);
      const uint8_t* top = bits_.Pixel(x0, y0);
      const uint8_t* below = bits_.Pixel(x0, y0 + 1);
      // Along y first, rounding, then along x, as the resampler does.
      // Every stage mixes two bytes, so it stays within 0..255.
      for (int ch = 0; ch < 3; ++ch) {
        const int32_t left = RoundSmall((1 - fy) * top[ch] + fy * below[ch]);
        const int32_t right = RoundSmall((1 - fy) * top[4 + ch] + fy * below[4 + ch]);
        dst[ch] = static_cast<uint8_t>(RoundSmall((1 - fx) * left + fx * right));
      }
    }
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::STRETCH(double horizontalFactor, double verticalFactor, bool cleanBack) {
  Bits out = CopyOfBits();
  const double sh = horizontalFactor / 100 + 1, sv = verticalFactor / 100 + 1;
  RegionBox(0);
  const int32_t cx = MaxX / 2, cy = MaxY / 2;
  const RegionTest inRegion(BitsRegionHandle());
  const Walk walk = ClipToArray(*this);
  AxisTable<int32_t> columns, rows;
  columns.Fill(walk.left, walk.right, [&](int32_t x) { return RoundOrZero(static_cast<double>(x - cx) * sh + cx); });
  rows.Fill(walk.top, walk.bottom, [&](int32_t y) { return RoundOrZero(static_cast<double>(y - cy) * sv + cy); });
  ForEachRow(walk.top, walk.bottom, true, [&](int32_t y) {
    const int32_t sy0 = rows[y];
    FetchRow(bits_, out, inRegion, cleanBack, y, walk.left, walk.right + 1, [&](int32_t x, int32_t& sx, int32_t& sy) {
      sx = columns[x];
      sy = sy0;
      return true;
    });
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::FOLD(double horizontalFactor, double verticalFactor, bool cleanBack) {
  Bits out = CopyOfBits();
  RegionBox(0);
  const int32_t cx = MaxX / 2, cy = MaxY / 2;
  const RegionTest inRegion(BitsRegionHandle());
  const Walk walk = ClipToArray(*this);
  // With a one-row (one-column) picture every division by MaxY (MaxX) fails,
  // so x' (y') is never assigned and stays 0.
  AxisTable<double> columnFactor;
  if (MaxX != 0) {
    columnFactor.Fill(walk.left, walk.right,
                      [&](int32_t x) { return static_cast<double>(x - cx) / 100 * horizontalFactor / MaxX + 1; });
  }
  ForEachRow(walk.top, walk.bottom, true, [&](int32_t y) {
    const int32_t dy = y - cy;
    const double rowFactor = MaxY != 0 ? static_cast<double>(dy) / 100 * verticalFactor / MaxY + 1 : 0.0;
    FetchRow(bits_, out, inRegion, cleanBack, y, walk.left, walk.right + 1, [&](int32_t x, int32_t& sx, int32_t& sy) {
      sx = 0;
      sy = 0;
      if (MaxY != 0 && !RoundInt(static_cast<double>(x - cx) * rowFactor + cx, sx)) return false;
      if (MaxX != 0 && !RoundInt(dy * columnFactor[x] + cy, sy)) return false;
      return true;
    });
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::TWIRL(double level, double offsetDegrees, bool cleanBack) {
  Bits out = CopyOfBits();
  RegionBox(0);
  const int32_t cx = MaxX / 2, cy = MaxY / 2;
  // A picture two columns wide or less has cx = 0: the division fails and k
  // keeps 0, so the twirl reduces to a turn by the offset.
  const double k = cx != 0 ? level / 10 / cx : 0.0;
  const double o = offsetDegrees * kRadiansPerDegree;
  const RegionTest inRegion(BitsRegionHandle());
  const Walk walk = ClipToArray(*this);
  ForEachRow(walk.top, walk.bottom, true, [&](int32_t y) {
    const int32_t dy = y - cy;
    const double dy2 = static_cast<double>(dy) * dy;
    FetchRow(bits_, out, inRegion, cleanBack, y, walk.left, walk.right + 1, [&](int32_t x, int32_t& sx, int32_t& sy) {
      const int32_t dx = x - cx;
      int32_t rho;
      if (!RoundInt(std::sqrt(static_cast<double>(dx) * dx + dy2), rho)) return false;
      if (rho == 0) {
        sx = cx;
        sy = cy;
        return true;
      }
      const double a = AngleOf(dx, dy) - rho * k;
      return RoundInt(rho * std::cos(a + o) + cx, sx) && RoundInt(rho * std::sin(a + o) + cy, sy);
    });
  });
  RaiseProgress(100);
  return out;
}

// ---------------------------------------------------------------------------
// Destination-tested maps

Bits cBitFilter::WAVES(double frequency, double amplitude, double startDegree) {
  Bits out = CopyOfBits();
  RegionBox(0);
  const Walk walk = ClipToArray(*this);
  AxisTable<int32_t> rows;
  rows.Fill(walk.top, walk.bottom, [&](int32_t y) {
    int32_t t = RoundOrZero(y + amplitude * 0.25 * std::sin((startDegree + frequency * y) * kRadiansPerDegree));
    if (t < 0) t = 0;
    if (t > MaxY) t = MaxY;
    return t;
  });
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    const uint8_t* src = bits_.Pixel(x0, rows[y]);
    uint8_t* dst = out.Pixel(x0, y);
    for (int32_t n = x1 - x0; n > 0; --n, src += 4, dst += 4) Copy3(dst, src);
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::LENS(double centreX, double centreY, double diameter, double magnify) {
  Bits out = CopyOfBits();
  RegionBox(0);
  const int32_t lx = RoundOrZero(centreX * MaxX), ly = RoundOrZero(centreY * MaxY);
  const int64_t r = RoundOrZero(MaxY < MaxX ? diameter * MaxX : diameter * MaxY);
  const auto f = static_cast<float>(static_cast<double>(r) * (150 - magnify) / 150);
  const double r2 = static_cast<double>(r) * static_cast<double>(r);
  // A negative square (magnify outside 0..300) fails: S stays 0 and so does
  // the limit, and nothing changes.
  const double s2 = r2 - static_cast<double>(f) * f;
  const double s = s2 >= 0 ? std::sqrt(s2) : 0.0;
  const double limit = RoundHalfEven(s * s);
  const RectRegion* region = BitsRegionHandle();
  if (r > 0) {
    const int64_t first = std::max<int64_t>({int64_t{ly} - r, BoxTop, -kBitsFrame});
    const int64_t last = std::min<int64_t>({int64_t{ly} + r, BoxBottom, MaxY + kBitsFrame});
    const CircleRows rows = CircleRowsOf(r, first - ly, last - ly);
    ForEachRow(rows.first, rows.last, true, [&](int32_t circleRow) {
      const int64_t dy = circleRow;
      const int64_t y64 = int64_t{ly} + dy;
      if (!region || y64 < first || y64 > last) return;
      const auto y = static_cast<int32_t>(y64);
      const double rest = limit - static_cast<double>(dy * dy);
      if (rest <= 0) return;
      const int64_t m = std::min<int64_t>(WidestOffset(static_cast<int64_t>(rest)), r);
      const int32_t minX = Clamp32(std::max<int64_t>(int64_t{lx} - m, -kBitsFrame));
      const int32_t endX = Clamp32(std::min<int64_t>(int64_t{lx} + m, MaxX + kBitsFrame) + 1);
      const double rowRest = r2 - static_cast<double>(dy * dy);
      const double qyNumerator = RoundHalfEven(static_cast<double>(dy) * f);
      region->ForEachSpan(y, minX, endX, [&](int32_t x0, int32_t x1) {
        uint8_t* dst = out.Pixel(x0, y);
        for (int32_t x = x0; x < x1; ++x, dst += 4) {
          const int64_t dx = int64_t{x} - lx;
          // z >= 1 inside the limit, which lies below R^2.
          const auto z = static_cast<int64_t>(RoundHalfEven(std::sqrt(rowRest - static_cast<double>(dx * dx))));
          const auto qx = static_cast<int64_t>(RoundHalfEven(static_cast<double>(dx) * f)) / z;
          const auto qy = static_cast<int64_t>(qyNumerator) / z;
          const int64_t sx = lx + qx, sy = ly + qy;
          if (sx >= -kBitsFrame && sx <= MaxX + kBitsFrame && sy >= -kBitsFrame && sy <= MaxY + kBitsFrame) {
            Copy3(dst, bits_.Pixel(static_cast<int32_t>(sx), static_cast<int32_t>(sy)));
          }
        }
      });
    }, [&](int32_t dy) { return rows.Percent(dy); });
  }
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::Light(double centreX, double centreY, double extension, double intensity, double definition) {
  // This filter has no skip-on-failure mode: the first failing statement ends
  // it, and its caller keeps the picture. Any failure therefore gives back the
  // unchanged copy.
  Bits out = CopyOfBits();
  RegionBox(0);
  int32_t lx = 0, ly = 0, r = 0;
  const RectRegion* region = BitsRegionHandle();
  if (!RoundInt(MaxX * centreX, lx) || !RoundInt(MaxY * centreY, ly) ||
      !RoundInt(extension * std::max(MaxX, MaxY), r) || !region) {
    RaiseProgress(100);
    return out;
  }
  const double e = 1 - definition / 100;
  const int64_t r2 = int64_t{r} * r;
  std::atomic<bool> failed{false};
  const int64_t first = std::max<int64_t>(int64_t{ly} - r, BoxTop);
  const int64_t last = std::min<int64_t>(int64_t{ly} + r, BoxBottom);
  if (r > 0) {
    const CircleRows rows = CircleRowsOf(r, first - ly, last - ly);
    ForEachRow(rows.first, rows.last, true, [&](int32_t circleRow) {
      const int64_t dy = circleRow;
      const int64_t y64 = int64_t{ly} + dy;
      if (y64 < first || y64 > last || failed.load(std::memory_order_relaxed)) return;
      const auto y = static_cast<int32_t>(y64);
      const int64_t rest = r2 - dy * dy;
      if (rest <= 0) return;
      const int64_t m = WidestOffset(rest);
      const int32_t minX = Clamp32(std::max<int64_t>(int64_t{lx} - m, BoxLeft));
      const int32_t endX = Clamp32(std::min<int64_t>(int64_t{lx} + m, BoxRight) + 1);
      const bool rowInArray = y >= -kBitsFrame && y <= MaxY + kBitsFrame;
      region->ForEachSpan(y, minX, endX, [&](int32_t x0, int32_t x1) {
        // A point of the circle in the region but past the array fails.
        if (!rowInArray || x0 < -kBitsFrame || x1 - 1 > MaxX + kBitsFrame) {
          failed.store(true, std::memory_order_relaxed);
          return;
        }
        uint8_t* p = out.Pixel(x0, y);
        for (int32_t x = x0; x < x1; ++x, p += 4) {
          const int64_t dx = int64_t{x} - lx;
          int32_t a;
          if (!RoundInt((1 - e * std::sqrt(static_cast<double>(dx * dx + dy * dy)) / r) * intensity, a)) {
            failed.store(true, std::memory_order_relaxed);
            return;
          }
          for (int ch = 0; ch < 3; ++ch) {
            int64_t v = int64_t{p[ch]} + a;
            if (v > INT32_MAX || v < 0) {  // overflow, or a byte below 0
              failed.store(true, std::memory_order_relaxed);
              return;
            }
            if (v > 255) v = 255;
            p[ch] = static_cast<uint8_t>(v);
          }
        }
      });
    }, [&](int32_t dy) { return rows.Percent(dy); });
  }
  if (failed.load()) out = bits_;
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::TILE(double factor) {
  Bits out = CopyOfBits();
  int32_t w = RoundOrZero(MaxX / factor), h = RoundOrZero(MaxY / factor);
  if (w < 1) w = 1;
  if (h < 1) h = 1;
  const double sx = static_cast<double>(MaxX) / w, sy = static_cast<double>(MaxY) / h;
  RegionBox(0);
  const Walk walk = ClipToArray(*this);
  // Neighbouring tiles share a column (row); the later tile, which starts
  // there, is drawn last, so a point shows its offset into the last tile
  // begun at or before it.
  AxisTable<int32_t> columns, rows;
  columns.Fill(walk.left, walk.right, [&](int32_t x) { return Round(((int64_t{x} - BoxLeft) % w) * sx); });
  rows.Fill(walk.top, walk.bottom, [&](int32_t y) { return Round(((int64_t{y} - BoxTop) % h) * sy); });
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    const uint8_t* src = bits_.Row(rows[y]);
    uint8_t* dst = out.Pixel(x0, y);
    for (int32_t x = x0; x < x1; ++x, dst += 4) Copy3(dst, src + 4 * static_cast<ptrdiff_t>(columns[x]));
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::TileMask(const Bits& tile, int32_t left, int32_t top, bool tiled, double opacity,
                          Colour transparent) {
  // No skip-on-failure mode here: a failure (a blended byte outside 0..255, a
  // target in the region past the array) ends the filter, and the picture
  // comes back unchanged.
  Bits out = CopyOfBits();
  RegionBox(0);
  const RectRegion* region = BitsRegionHandle();
  const int64_t tw = tile.Width(), th = tile.Height();
  const int64_t stepX = tiled ? tw : int64_t{MaxX} - left + 1;
  const int64_t stepY = tiled ? th : int64_t{MaxY} - top + 1;
  // A zero step makes a loop without end that delivers nothing; it only
  // happens with an empty tile or with the tile laid wholly past the picture.
  if (!region || tw <= 0 || th <= 0 || stepX == 0 || stepY == 0) {
    RaiseProgress(100);
    return out;
  }
  const TileAxis axisX(left, MaxX, stepX, tw), axisY(top, MaxY, stepY, th);
  const double o = opacity / 100;
  double inputPart[256], tilePart[256];
  for (int v = 0; v < 256; ++v) {
    inputPart[v] = v * o;
    tilePart[v] = v * (1 - o);
  }
  auto opaque = [&](int32_t i, int32_t j) -> const uint8_t* {
    const uint8_t* p = tile.Pixel(i, j);
    return RGB(p[2], p[1], p[0]) == transparent.value ? nullptr : p;
  };
  // The tile column offsets of the columns in the array, last laid first.
  const int32_t minX = std::max(BoxLeft, -kBitsFrame), maxX = std::min(BoxRight, MaxX + kBitsFrame);
  std::vector<uint32_t> columnStart;
  std::vector<int32_t> columnOffsets;
  for (int32_t x = minX; x <= maxX; ++x) {
    columnStart.push_back(static_cast<uint32_t>(columnOffsets.size()));
    axisX.Cover(x, [&](int32_t i) {
      columnOffsets.push_back(i);
      return false;
    });
  }
  columnStart.push_back(static_cast<uint32_t>(columnOffsets.size()));

  std::atomic<bool> failed{false};
  ForEachRow(BoxTop, BoxBottom, true, [&](int32_t y) {
    if (failed.load(std::memory_order_relaxed)) return;
    int32_t rowOffsets[4];
    int n = 0;
    std::vector<int32_t> moreRows;
    axisY.Cover(y, [&](int32_t j) {
      if (n < 4) rowOffsets[n++] = j;
      else moreRows.push_back(j);
      return false;
    });
    if (n == 0) return;
    const bool rowInArray = y >= -kBitsFrame && y <= MaxY + kBitsFrame;
    // The tile pixel drawn last at (x, y): the last laid tile whose pixel is
    // not the transparent colour.
    auto drawn = [&](int32_t x) -> const uint8_t* {
      auto inRows = [&](auto&& eachColumn) -> const uint8_t* {
        const uint8_t* found = nullptr;
        auto tryRow = [&](int32_t j) {
          return eachColumn([&](int32_t i) { return (found = opaque(i, j)) != nullptr; });
        };
        for (int k = 0; k < n; ++k)
          if (tryRow(rowOffsets[k])) return found;
        for (int32_t j : moreRows)
          if (tryRow(j)) return found;
        return nullptr;
      };
      if (rowInArray && x >= minX && x <= maxX) {
        const size_t c = static_cast<size_t>(x - minX);
        return inRows([&](auto&& fn) {
          for (uint32_t q = columnStart[c]; q < columnStart[c + 1]; ++q)
            if (fn(columnOffsets[q])) return true;
          return false;
        });
      }
      return inRows([&](auto&& fn) { return axisX.Cover(x, fn); });
    };
    region->ForEachSpan(y, BoxLeft, Clamp32(int64_t{BoxRight} + 1), [&](int32_t x0, int32_t x1) {
      for (int32_t x = x0; x < x1; ++x) {
        const uint8_t* t = drawn(x);
        if (!t) continue;
        if (!rowInArray || x < -kBitsFrame || x > MaxX + kBitsFrame) {
          failed.store(true, std::memory_order_relaxed);
          return;
        }
        const uint8_t* in = bits_.Pixel(x, y);
        uint8_t* dst = out.Pixel(x, y);
        for (int ch = 0; ch < 3; ++ch) {
          // Out of range (or not a number) comes back below 0 or above 255.
          const int32_t v = RoundSmall(inputPart[in[ch]] + tilePart[t[ch]]);
          if (v < 0 || v > 255) {
            failed.store(true, std::memory_order_relaxed);
            return;
          }
          dst[ch] = static_cast<uint8_t>(v);
        }
      }
    });
  });
  if (failed.load()) out = bits_;
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::Grid(int32_t horizontalStep, int32_t verticalStep, bool forceMargins, Colour colour,
                      double opacity) {
  Bits out = CopyOfBits();
  RegionBox(0);
  // A zero step is a loop that never ends; nothing is ever delivered.
  if (horizontalStep == 0 || verticalStep == 0 || BoxLeft > BoxRight || BoxTop > BoxBottom) {
    RaiseProgress(100);
    return out;
  }
  const double o = opacity / 255;
  // Blended bytes per channel and input; -1 where the store fails.
  int16_t blend[3][256];
  const uint8_t channel[3] = {BlueOf(colour), GreenOf(colour), RedOf(colour)};
  for (int ch = 0; ch < 3; ++ch) {
    for (int v = 0; v < 256; ++v) {
      uint8_t b = 0;
      blend[ch][v] = StoreByte(b, o * channel[ch] + (1 - o) * v) ? b : -1;
    }
  }
  auto draw = [&](uint8_t* dst, const uint8_t* src) {
    for (int ch = 0; ch < 3; ++ch)
      if (blend[ch][src[ch]] >= 0) dst[ch] = static_cast<uint8_t>(blend[ch][src[ch]]);
  };
  // Every write reads the input, so a point that both passes reach gets the
  // same value twice.
  const Walk walk = ClipToArray(*this);
  const RectRegion* region = BitsRegionHandle();
  auto drawRow = [&](int64_t y) {
    if (y < walk.top || y > walk.bottom) return;
    const auto row = static_cast<int32_t>(y);
    region->ForEachSpan(row, walk.left, walk.right + 1, [&](int32_t x0, int32_t x1) {
      const uint8_t* src = bits_.Pixel(x0, row);
      uint8_t* dst = out.Pixel(x0, row);
      for (int32_t n = x1 - x0; n > 0; --n, src += 4, dst += 4) draw(dst, src);
    });
  };
  const RegionTest inRegion(region);
  // Draws the columns first, first + step, ... (count of them) down from row
  // fromY, row by row so that close columns share their cache lines.
  auto drawColumns = [&](int64_t first, int64_t step, int64_t count, int64_t fromY) {
    const auto top = static_cast<int32_t>(std::max<int64_t>(fromY, walk.top));
    for (int32_t y = top; y <= walk.bottom; ++y) {
      const uint8_t* src = bits_.Pixel(0, y);
      uint8_t* dst = out.Pixel(0, y);
      for (int64_t j = 0; j < count; ++j) {
        const int64_t x = first + j * step;
        if (x < walk.left || x > walk.right || !inRegion(static_cast<int32_t>(x), y)) continue;
        draw(dst + 4 * x, src + 4 * x);
      }
    }
  };
  // The number of steps a loop from `start` to `end` by `step` takes.
  auto steps = [](int64_t start, int64_t end, int64_t step) -> int64_t {
    if (step > 0) return end >= start ? (end - start) / step + 1 : 0;
    return start >= end ? (start - end) / -step + 1 : 0;
  };
  auto percentOf = [](int64_t v, int32_t max) {
    return max != 0 ? static_cast<int32_t>(v * 100 / max) : 0;
  };
  // Row pass: rows from BoxTop by the vertical step, each across the box.
  const int64_t rowCount = steps(BoxTop, BoxBottom, verticalStep);
  ForEachRow(0, Clamp32(rowCount - 1), true, [&](int32_t k) { drawRow(BoxTop + int64_t{k} * verticalStep); },
             [&](int32_t k) { return percentOf(BoxTop + int64_t{k} * verticalStep, MaxY); });
  if (forceMargins) drawRow(MaxY);
  // Column pass: columns from BoxLeft by the horizontal step, each drawn down
  // from the row numbered like the box's left edge, not from its top, with
  // the progress Trunc(x * 100 / MaxX) of its column. Close columns are drawn
  // together, as many as fit in 64 pixels, and report the last of them.
  const int64_t columnCount = steps(BoxLeft, BoxRight, horizontalStep);
  const int64_t together = std::max<int64_t>(1, 64 / std::llabs(int64_t{horizontalStep}));
  auto lastColumnOf = [&](int32_t k) { return std::min(columnCount, (int64_t{k} + 1) * together) - 1; };
  ForEachRow(
      0, Clamp32((columnCount + together - 1) / together - 1), true,
      [&](int32_t k) {
        const int64_t first = int64_t{k} * together;
        drawColumns(BoxLeft + first * horizontalStep, horizontalStep, lastColumnOf(k) - first + 1, BoxLeft);
      },
      [&](int32_t k) { return percentOf(BoxLeft + lastColumnOf(k) * horizontalStep, MaxX); });
  if (forceMargins) drawColumns(MaxX, 1, 1, BoxTop);
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::GLASS(const std::string& style, int32_t level) {
  Bits out = CopyOfBits();
  RegionBox(0);
  GlassMove move = GlassMove::None;
  double sine = 3;
  if (style == "slanting") {
    if (level == 0) move = GlassMove::SlantX;
    if (level == 1) move = GlassMove::SlantY;
  } else if (style == "vertical" || style == "horizontal" || style == "squary") {
    if (level >= 0 && level <= 2) {
      move = style == "vertical" ? GlassMove::Columns : style == "horizontal" ? GlassMove::Rows : GlassMove::Both;
      if (style == "squary") sine = 5;
    }
  } else if (style == "curtain") {
    if (level == 1) move = GlassMove::CurtainRow;
    if (level == 2) move = GlassMove::Columns;
    if (level == 3) move = GlassMove::CurtainProduct;
    if (level == 4) move = GlassMove::CurtainSum;
  }
  const bool curtain = style == "curtain";
  const Walk walk = ClipToArray(*this);
  const RegionTest inRegion(BitsRegionHandle());
  // Sines, cosines and tangents of the plain column and row numbers.
  AxisTable<Coord> columnMap, rowMap;
  AxisTable<double> columnTan, rowTan;
  if (move == GlassMove::Columns || move == GlassMove::Both) {
    columnMap.Fill(walk.left, walk.right, [&](int32_t x) {
      return curtain ? RoundCoord(std::tan(static_cast<double>(x))) : GlassAxis(x, level, sine);
    });
  }
  if (move == GlassMove::Rows || move == GlassMove::Both) {
    rowMap.Fill(walk.top, walk.bottom, [&](int32_t y) { return GlassAxis(y, level, sine); });
  }
  if (move == GlassMove::CurtainRow) {
    rowMap.Fill(walk.top, walk.bottom, [&](int32_t y) { return RoundCoord(std::tan(static_cast<double>(y))); });
  }
  if (move == GlassMove::CurtainProduct || move == GlassMove::CurtainSum) {
    columnTan.Fill(walk.left, walk.right, [&](int32_t x) { return std::tan(static_cast<double>(x)); });
    rowTan.Fill(walk.top, walk.bottom, [&](int32_t y) { return std::tan(static_cast<double>(y)); });
  }
  // The running counter counts every point of the box, row by row from its
  // top-left corner, whether or not the point is in the region or the array.
  const int64_t boxWidth = int64_t{BoxRight} - BoxLeft + 1;
  auto counter = [&](int32_t x, int32_t y) {
    return static_cast<double>((int64_t{y} - BoxTop) * boxWidth + (int64_t{x} - BoxLeft));
  };
  auto run = [&](auto&& map) {
    ForEachRow(walk.top, walk.bottom, true, [&](int32_t y) {
      FetchRow(bits_, out, inRegion, false, y, walk.left, walk.right + 1,
               [&](int32_t x, int32_t& sx, int32_t& sy) { return map(x, y, sx, sy); });
    });
  };
  auto take = [](Coord c, int32_t& v) {
    v = c.value;
    return c.ok;
  };
  switch (move) {
    case GlassMove::None:
      break;  // no displacement: every point is its own source
    case GlassMove::SlantX:
      run([&](int32_t x, int32_t y, int32_t& sx, int32_t& sy) {
        sy = y;
        return RoundInt(x - 3 * std::sin(counter(x, y)), sx);
      });
      break;
    case GlassMove::SlantY:
      run([&](int32_t x, int32_t y, int32_t& sx, int32_t& sy) {
        sx = x;
        return RoundInt(y - 10 * std::sin(counter(x, y)), sy);
      });
      break;
    case GlassMove::Columns:
      run([&](int32_t x, int32_t y, int32_t& sx, int32_t& sy) {
        sy = y;
        return take(columnMap[x], sx);
      });
      break;
    case GlassMove::Rows:
      run([&](int32_t x, int32_t y, int32_t& sx, int32_t& sy) {
        sx = x;
        return take(rowMap[y], sy);
      });
      break;
    case GlassMove::Both:
      run([&](int32_t x, int32_t y, int32_t& sx, int32_t& sy) { return take(columnMap[x], sx) && take(rowMap[y], sy); });
      break;
    case GlassMove::CurtainRow:
      run([&](int32_t, int32_t y, int32_t& sx, int32_t& sy) {
        sy = y;
        return take(rowMap[y], sx);
      });
      break;
    case GlassMove::CurtainProduct:
      run([&](int32_t x, int32_t y, int32_t& sx, int32_t& sy) {
        sy = y;
        return RoundInt(rowTan[y] * columnTan[x], sx);
      });
      break;
    case GlassMove::CurtainSum:
      run([&](int32_t x, int32_t y, int32_t& sx, int32_t& sy) {
        sx = x;
        return RoundInt(columnTan[x] + rowTan[y], sy);
      });
      break;
  }
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::Texturize(const Bits& texture) {
  Bits out = CopyOfBits();
  RegionBox(0);
  const int32_t tw = texture.MaxX(), th = texture.MaxY();
  // An empty texture draws nothing; one a single pixel wide or high makes a
  // zero step, a loop that never ends: either way the picture stays.
  if (tw <= 0 || th <= 0 || texture.IsNull()) {
    RaiseProgress(100);
    return out;
  }
  // round(c * (t / 128)) clamped, for every picture byte c and texture byte t.
  struct Products {
    uint8_t of[256][256];
    Products() {
      for (int t = 0; t < 256; ++t) {
        const double m = t / 128.0;
        for (int c = 0; c < 256; ++c) of[t][c] = RoundByte(c * m);
      }
    }
  };
  static const Products products;
  // Copies are laid every tw columns and share their edge column; the later
  // copy, drawn last, shows its column 0 there.
  const Walk walk = ClipToArray(*this);
  AxisTable<int32_t> columns, rows;
  columns.Fill(walk.left, walk.right, [&](int32_t x) { return static_cast<int32_t>((int64_t{x} - BoxLeft) % tw); });
  rows.Fill(walk.top, walk.bottom, [&](int32_t y) { return static_cast<int32_t>((int64_t{y} - BoxTop) % th); });
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    const uint8_t* tex = texture.Row(rows[y]);
    uint8_t* dst = out.Pixel(x0, y);
    for (int32_t x = x0; x < x1; ++x, dst += 4) {
      const uint8_t(&row)[256] = products.of[tex[4 * static_cast<ptrdiff_t>(columns[x])]];
      dst[0] = row[dst[0]];
      dst[1] = row[dst[1]];
      dst[2] = row[dst[2]];
    }
  });
  RaiseProgress(100);
  return out;
}

std::vector<FilterMethod> DeformationMethods() {
  return {
      Method("BEND", &cBitFilter::BEND, {"radius factor", "clean back"}),
      Method("FOLD", &cBitFilter::FOLD, {"horizontal factor", "vertical factor", "clean back"}),
      Method("GLASS", &cBitFilter::GLASS, {"style", "level"}),
      Method("Grid", &cBitFilter::Grid, {"horizontal step", "vertical step", "force margins", "colour", "opacity"}),
      Method("LENS", &cBitFilter::LENS, {"centre x fraction", "centre y fraction", "diameter fraction", "magnify factor"}),
      Method("Light", &cBitFilter::Light,
             {"centre x fraction", "centre y fraction", "extension fraction", "intensity", "definition"}),
      Method("ROTATE", &cBitFilter::ROTATE, {"degrees", "clean back"}),
      Method("RotateSmooth", &cBitFilter::RotateSmooth, {"degrees"}),
      Method("STRETCH", &cBitFilter::STRETCH, {"horizontal factor", "vertical factor", "clean back"}),
      Method("Texturize", &cBitFilter::Texturize, {"texture"}),
      Method("TILE", &cBitFilter::TILE, {"factor"}),
      Method("TileMask", &cBitFilter::TileMask, {"tile", "left", "top", "tiled", "opacity", "transparent colour"}),
      Method("TWIRL", &cBitFilter::TWIRL, {"level", "offset degrees", "clean back"}),
      Method("WAVES", &cBitFilter::WAVES, {"frequency", "amplitude", "start degree"}),
  };
}

}  // namespace kelvane
