#include "document/rect_region.h"

#include <algorithm>
#include <climits>
#include <cmath>

namespace kelvane {

Rect IntersectRect(const Rect& a, const Rect& b) {
  Rect r{std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
         std::min(a.bottom, b.bottom)};
  if (r.IsEmpty()) return Rect{};
  return r;
}

// Appends bands in top-to-bottom order and keeps the list canonical while it
// grows: empty bands are dropped and a band whose spans equal those of the band
// ending exactly where it starts is folded into that band. Spans come as an
// edge list x0, x1, x0, x1, ... already sorted, disjoint and not touching.
class RegionBandWriter {
 public:
  explicit RegionBandWriter(RectRegion& region) : region_(region) {
    region_.rects_.clear();
    region_.bands_.clear();
    region_.box_ = Rect{};
  }

  void Add(int32_t top, int32_t bottom, const std::vector<int32_t>& edges) {
    if (edges.empty() || bottom <= top) return;
    auto& rects = region_.rects_;
    auto& bands = region_.bands_;
    const uint32_t spanCount = static_cast<uint32_t>(edges.size() / 2);
    if (!bands.empty()) {
      RectRegion::Band& last = bands.back();
      if (last.bottom == top && last.count == spanCount) {
        bool same = true;
        for (uint32_t i = 0; i < spanCount && same; ++i) {
          const Rect& r = rects[last.first + i];
          same = r.left == edges[2 * i] && r.right == edges[2 * i + 1];
        }
        if (same) {
          for (uint32_t i = 0; i < spanCount; ++i) rects[last.first + i].bottom = bottom;
          last.bottom = bottom;
          return;
        }
      }
    }
    bands.push_back(RectRegion::Band{top, bottom, static_cast<uint32_t>(rects.size()), spanCount});
    for (uint32_t i = 0; i < spanCount; ++i) rects.push_back(Rect{edges[2 * i], top, edges[2 * i + 1], bottom});
  }

  void Finish() {
    auto& r = region_;
    if (r.rects_.empty()) return;
    Rect box{INT32_MAX, r.bands_.front().top, INT32_MIN, r.bands_.back().bottom};
    for (const RectRegion::Band& b : r.bands_) {
      box.left = std::min(box.left, r.rects_[b.first].left);
      box.right = std::max(box.right, r.rects_[b.first + b.count - 1].right);
    }
    r.box_ = box;
  }

 private:
  RectRegion& region_;
};

namespace {

// Sorts intervals (pairs left, right with left < right) and writes their union
// as a canonical edge list: overlapping or touching intervals merge.
void UnionIntervals(std::vector<std::pair<int32_t, int32_t>>& intervals, std::vector<int32_t>& edges) {
  edges.clear();
  std::sort(intervals.begin(), intervals.end());
  for (const auto& [l, r] : intervals) {
    if (!edges.empty() && l <= edges.back()) {
      edges.back() = std::max(edges.back(), r);
    } else {
      edges.push_back(l);
      edges.push_back(r);
    }
  }
}

// The boolean merge of two canonical span lists of one band, in one pass over
// their edges. An output edge is written only where the combined state flips,
// so spans of the two inputs that touch come out merged.
template <class Op>
void MergeSpans(const Rect* a, uint32_t na, const Rect* b, uint32_t nb, Op op, std::vector<int32_t>& out) {
  out.clear();
  const uint32_t ea = 2 * na, eb = 2 * nb;
  uint32_t ia = 0, ib = 0;
  bool inside = false;
  auto edgeOf = [](const Rect* r, uint32_t i) -> int64_t { return (i & 1) ? r[i / 2].right : r[i / 2].left; };
  while (ia < ea || ib < eb) {
    const int64_t xa = ia < ea ? edgeOf(a, ia) : INT64_MAX;
    const int64_t xb = ib < eb ? edgeOf(b, ib) : INT64_MAX;
    const int64_t x = std::min(xa, xb);
    if (xa == x) ++ia;
    if (xb == x) ++ib;
    const bool now = op((ia & 1) != 0, (ib & 1) != 0);
    if (now != inside) {
      out.push_back(static_cast<int32_t>(x));
      inside = now;
    }
  }
}

// Walks the bands of both operands top to bottom. Each step covers the rows
// up to the next band top or bottom of either operand, so every output band
// costs one linear merge of at most one band from each side.
template <class Op>
void SweepBands(const RectRegion& a, const RectRegion& b, Op op, RegionBandWriter& writer) {
  const auto& A = a.Bands();
  const auto& B = b.Bands();
  const Rect* ra = a.Rects().data();
  const Rect* rb = b.Rects().data();
  const bool keepAOnly = op(true, false);
  const bool keepBOnly = op(false, true);
  size_t ia = 0, ib = 0;
  int64_t y = INT64_MIN;
  std::vector<int32_t> edges;
  while (true) {
    const bool haveA = ia < A.size();
    const bool haveB = ib < B.size();
    if (!haveA && !haveB) break;
    if (!haveB && !keepAOnly) break;
    if (!haveA && !keepBOnly) break;
    const int64_t ya = haveA ? std::max<int64_t>(A[ia].top, y) : INT64_MAX;
    const int64_t yb = haveB ? std::max<int64_t>(B[ib].top, y) : INT64_MAX;
    const int64_t y0 = std::min(ya, yb);
    const bool inA = haveA && A[ia].top <= y0;
    const bool inB = haveB && B[ib].top <= y0;
    int64_t y1 = INT64_MAX;
    if (haveA) y1 = std::min<int64_t>(y1, inA ? A[ia].bottom : A[ia].top);
    if (haveB) y1 = std::min<int64_t>(y1, inB ? B[ib].bottom : B[ib].top);

    if ((inA && inB) || (inA && keepAOnly) || (inB && keepBOnly)) {
      MergeSpans(ra + (inA ? A[ia].first : 0), inA ? A[ia].count : 0, rb + (inB ? B[ib].first : 0),
                 inB ? B[ib].count : 0, op, edges);
      writer.Add(static_cast<int32_t>(y0), static_cast<int32_t>(y1), edges);
    }
    y = y1;
    if (haveA && A[ia].bottom <= y) ++ia;
    if (haveB && B[ib].bottom <= y) ++ib;
  }
  writer.Finish();
}

// Ceiling of a / b for b > 0. Wide is int64_t for ordinary coordinates and
// __int128 for the rare polygon whose products could overflow 64 bits.
template <class Wide>
int64_t CeilDiv(Wide a, int64_t b) {
  Wide q = a / b;
  if ((a % b != 0) && (a > 0)) ++q;
  return static_cast<int64_t>(q);
}

// The first column whose centre lies at or right of the edge's crossing with
// the centre line of row y.
template <class Wide>
int64_t CrossingColumn(int64_t x0, int64_t y0, int64_t x1, int64_t y1, int64_t y) {
  const int64_t dy = y1 - y0;
  // Crossing x = num / (2 dy); centre x + 0.5 is at or right of it when
  // x >= (num - dy) / (2 dy).
  const Wide num = static_cast<Wide>(2 * x0) * dy + static_cast<Wide>(2 * (y - y0) + 1) * (x1 - x0);
  return CeilDiv<Wide>(num - dy, 2 * dy);
}

}  // namespace

RectRegion RectRegion::FromRect(int32_t left, int32_t top, int32_t right, int32_t bottom) {
  RectRegion r;
  if (left > right) std::swap(left, right);
  if (top > bottom) std::swap(top, bottom);
  if (left == right || top == bottom) return r;
  r.rects_.push_back(Rect{left, top, right, bottom});
  r.bands_.push_back(Band{top, bottom, 0, 1});
  r.box_ = r.rects_[0];
  return r;
}

// A pixel belongs to the ellipse when its centre lies inside or on the ellipse
// inscribed in the box. Working in doubled coordinates about the box centre
// keeps everything integral, so the result is exactly symmetric both ways.
RectRegion RectRegion::FromEllipse(int32_t left, int32_t top, int32_t right, int32_t bottom) {
  RectRegion r;
  if (left > right) std::swap(left, right);
  if (top > bottom) std::swap(top, bottom);
  const int64_t w = static_cast<int64_t>(right) - left;
  const int64_t h = static_cast<int64_t>(bottom) - top;
  RegionBandWriter writer(r);
  if (w <= 0 || h <= 0) return r;
  const __int128 w2 = static_cast<__int128>(w) * w;
  const __int128 h2 = static_cast<__int128>(h) * h;
  std::vector<int32_t> edges(2);
  for (int64_t y = top; y < bottom; ++y) {
    // Doubled vertical distance of the row centre from the box centre.
    const int64_t Y = 2 * y + 1 - (static_cast<int64_t>(top) + bottom);
    const __int128 rhs = w2 * (h2 - static_cast<__int128>(Y) * Y);  // X^2 * h^2 <= rhs
    // Largest X >= 0 with X^2 * h^2 <= rhs: estimate, then settle exactly.
    int64_t X = static_cast<int64_t>(std::sqrt(static_cast<long double>(rhs)) / static_cast<long double>(h));
    while (X > 0 && static_cast<__int128>(X) * X * h2 > rhs) --X;
    while (static_cast<__int128>(X + 1) * (X + 1) * h2 <= rhs) ++X;
    // Doubled column-centre distances have the parity of w - 1.
    if (X > w - 1) X = w - 1;
    if (((X - (w - 1)) & 1) != 0) --X;
    if (X < 0) continue;
    const int64_t k = (w - 1 - X) / 2;
    edges[0] = static_cast<int32_t>(left + k);
    edges[1] = static_cast<int32_t>(right - k);
    writer.Add(static_cast<int32_t>(y), static_cast<int32_t>(y + 1), edges);
  }
  writer.Finish();
  return r;
}

// Rows are sampled at pixel centres: pixel (x, y) is inside when the point
// (x + 0.5, y + 0.5) is inside under the fill rule. A crossing is reduced to
// the first column whose centre lies at or right of it, so the count of
// crossings left of a pixel centre is exact integer arithmetic.
RectRegion RectRegion::FromPolygon(const std::vector<Point>& points, PolyFillMode mode) {
  RectRegion r;
  RegionBandWriter writer(r);
  if (points.size() < 3) return r;

  struct Edge {
    int64_t x0, y0, x1, y1;  // y0 < y1
    int dir;
  };
  std::vector<Edge> edges;
  edges.reserve(points.size());
  for (size_t i = 0; i < points.size(); ++i) {
    const Point& p = points[i];
    const Point& q = points[(i + 1) % points.size()];
    if (p.y == q.y) continue;
    if (p.y < q.y) edges.push_back(Edge{p.x, p.y, q.x, q.y, 1});
    else edges.push_back(Edge{q.x, q.y, p.x, p.y, -1});
  }
  if (edges.empty()) return r;
  std::sort(edges.begin(), edges.end(), [](const Edge& a, const Edge& b) { return a.y0 < b.y0; });
  int64_t yEnd = INT64_MIN;
  for (const Edge& e : edges) yEnd = std::max(yEnd, e.y1);
  // With every coordinate within +-2^29 the crossing products stay below 2^62.
  constexpr int32_t kSmall = 1 << 29;
  const bool small = std::all_of(points.begin(), points.end(), [](const Point& p) {
    return p.x > -kSmall && p.x < kSmall && p.y > -kSmall && p.y < kSmall;
  });

  // The active edges are kept ordered by their crossing of the previous row;
  // from one row to the next that order barely changes, so an insertion sort
  // costs little more than a pass.
  struct Crossing {
    int64_t x;
    const Edge* edge;
  };
  std::vector<Crossing> active;
  std::vector<int32_t> spans;
  size_t next = 0;
  int64_t y = edges.front().y0;
  while (y < yEnd) {
    active.erase(std::remove_if(active.begin(), active.end(), [y](const Crossing& c) { return c.edge->y1 <= y; }),
                 active.end());
    if (active.empty() && next < edges.size() && edges[next].y0 > y) y = edges[next].y0;
    const size_t carried = active.size();
    while (next < edges.size() && edges[next].y0 <= y) active.push_back(Crossing{0, &edges[next++]});

    for (Crossing& c : active) {
      const Edge* e = c.edge;
      c.x = small ? CrossingColumn<int64_t>(e->x0, e->y0, e->x1, e->y1, y)
                  : CrossingColumn<__int128>(e->x0, e->y0, e->x1, e->y1, y);
    }
    if (active.size() - carried > 32) {
      std::sort(active.begin(), active.end(), [](const Crossing& a, const Crossing& b) { return a.x < b.x; });
    } else {
      for (size_t i = 1; i < active.size(); ++i) {
        const Crossing c = active[i];
        size_t j = i;
        for (; j > 0 && active[j - 1].x > c.x; --j) active[j] = active[j - 1];
        active[j] = c;
      }
    }
    spans.clear();
    int count = 0;
    bool inside = false;
    for (size_t i = 0; i < active.size();) {
      const int64_t x = active[i].x;
      for (; i < active.size() && active[i].x == x; ++i)
        count += mode == PolyFillMode::Winding ? active[i].edge->dir : 1;
      const bool now = mode == PolyFillMode::Winding ? count != 0 : (count & 1) != 0;
      if (now != inside) {
        spans.push_back(static_cast<int32_t>(x));
        inside = now;
      }
    }
    writer.Add(static_cast<int32_t>(y), static_cast<int32_t>(y + 1), spans);
    ++y;
  }
  writer.Finish();
  return r;
}

RectRegion RectRegion::FromData(const int32_t* data, size_t count) {
  RectRegion r;
  if (!data || count < 8 || data[0] != 32 || data[1] != 1 || data[2] < 0) return r;
  const size_t n = static_cast<size_t>(data[2]);
  if (n > (count - 8) / 4) return r;
  std::vector<Rect> rects;
  rects.reserve(n);
  for (size_t i = 0; i < n; ++i) {
    const int32_t* p = data + 8 + 4 * i;
    rects.push_back(Rect{p[0], p[1], p[2], p[3]});
  }
  r.SetFromBandedRows(std::move(rects));
  return r;
}

RectRegion RectRegion::Combine(const RectRegion& a, const RectRegion& b, CombineMode mode) {
  RectRegion result;
  switch (mode) {
    case CombineMode::Copy:
      return a;
    case CombineMode::And: {
      if (a.IsEmpty() || b.IsEmpty() || IntersectRect(a.box_, b.box_).IsEmpty()) return result;
      RegionBandWriter writer(result);
      SweepBands(a, b, [](bool x, bool y) { return x && y; }, writer);
      return result;
    }
    case CombineMode::Or: {
      if (a.IsEmpty()) return b;
      if (b.IsEmpty()) return a;
      RegionBandWriter writer(result);
      SweepBands(a, b, [](bool x, bool y) { return x || y; }, writer);
      return result;
    }
    case CombineMode::Xor: {
      if (a.IsEmpty()) return b;
      if (b.IsEmpty()) return a;
      RegionBandWriter writer(result);
      SweepBands(a, b, [](bool x, bool y) { return x != y; }, writer);
      return result;
    }
    case CombineMode::Diff: {
      if (a.IsEmpty() || b.IsEmpty() || IntersectRect(a.box_, b.box_).IsEmpty()) return a;
      RegionBandWriter writer(result);
      SweepBands(a, b, [](bool x, bool y) { return x && !y; }, writer);
      return result;
    }
  }
  // An unknown mode fails as the platform call does: the destination keeps
  // the first operand.
  return a;
}

void RectRegion::Offset(int32_t dx, int32_t dy) {
  if (rects_.empty()) return;
  for (Rect& r : rects_) {
    r.left += dx;
    r.right += dx;
    r.top += dy;
    r.bottom += dy;
  }
  for (Band& b : bands_) {
    b.top += dy;
    b.bottom += dy;
  }
  box_.left += dx;
  box_.right += dx;
  box_.top += dy;
  box_.bottom += dy;
}

Rect RectRegion::Box() const { return box_; }

const RectRegion::Band* RectRegion::FindBand(int32_t y) const {
  auto it = std::upper_bound(bands_.begin(), bands_.end(), y,
                             [](int32_t v, const Band& b) { return v < b.bottom; });
  if (it == bands_.end() || it->top > y) return nullptr;
  return &*it;
}

bool RectRegion::Contains(int32_t x, int32_t y) const {
  const Band* band = FindBand(y);
  if (!band) return false;
  const Rect* first = rects_.data() + band->first;
  const Rect* last = first + band->count;
  // The first span ending right of x is the only one that can hold it.
  const Rect* it = std::upper_bound(first, last, x, [](int32_t v, const Rect& r) { return v < r.right; });
  return it != last && it->left <= x;
}

std::vector<int32_t> RectRegion::Data() const {
  std::vector<int32_t> d;
  d.reserve(8 + 4 * rects_.size());
  const int32_t n = static_cast<int32_t>(rects_.size());
  d.insert(d.end(), {32, 1, n, 16 * n, box_.left, box_.top, box_.right, box_.bottom});
  for (const Rect& r : rects_) d.insert(d.end(), {r.left, r.top, r.right, r.bottom});
  return d;
}

namespace {

// True when the list is already in the canonical form of the header.
bool IsCanonical(const std::vector<Rect>& rects) {
  size_t i = 0;
  bool havePrev = false;
  int32_t prevBottom = 0;
  size_t prevFirst = 0, prevCount = 0;
  while (i < rects.size()) {
    const int32_t top = rects[i].top, bottom = rects[i].bottom;
    if (top >= bottom) return false;
    if (havePrev && top < prevBottom) return false;
    size_t j = i;
    for (; j < rects.size() && rects[j].top == top; ++j) {
      if (rects[j].bottom != bottom || rects[j].left >= rects[j].right) return false;
      if (j > i && rects[j].left <= rects[j - 1].right) return false;
    }
    const size_t count = j - i;
    if (havePrev && top == prevBottom && count == prevCount) {
      bool same = true;
      for (size_t k = 0; k < count && same; ++k)
        same = rects[i + k].left == rects[prevFirst + k].left && rects[i + k].right == rects[prevFirst + k].right;
      if (same) return false;
    }
    havePrev = true;
    prevBottom = bottom;
    prevFirst = i;
    prevCount = count;
    i = j;
  }
  return true;
}

}  // namespace

void RectRegion::SetFromBandedRows(std::vector<Rect> rects) {
  rects.erase(std::remove_if(rects.begin(), rects.end(), [](const Rect& r) { return r.IsEmpty(); }), rects.end());
  if (IsCanonical(rects)) {
    rects_ = std::move(rects);
    RebuildBands();
    return;
  }
  // General union: cut at every top and bottom, and merge the x-intervals of
  // the rectangles covering each slice.
  std::vector<int32_t> ys;
  ys.reserve(2 * rects.size());
  for (const Rect& r : rects) {
    ys.push_back(r.top);
    ys.push_back(r.bottom);
  }
  std::sort(ys.begin(), ys.end());
  ys.erase(std::unique(ys.begin(), ys.end()), ys.end());
  std::stable_sort(rects.begin(), rects.end(), [](const Rect& a, const Rect& b) { return a.top < b.top; });

  RegionBandWriter writer(*this);
  std::vector<Rect> active;
  std::vector<std::pair<int32_t, int32_t>> intervals;
  std::vector<int32_t> edges;
  size_t next = 0;
  for (size_t i = 0; i + 1 < ys.size(); ++i) {
    const int32_t y0 = ys[i], y1 = ys[i + 1];
    active.erase(std::remove_if(active.begin(), active.end(), [y0](const Rect& r) { return r.bottom <= y0; }),
                 active.end());
    while (next < rects.size() && rects[next].top <= y0) active.push_back(rects[next++]);
    if (active.empty()) continue;
    intervals.clear();
    for (const Rect& r : active) intervals.emplace_back(r.left, r.right);
    UnionIntervals(intervals, edges);
    writer.Add(y0, y1, edges);
  }
  writer.Finish();
}

void RectRegion::RebuildBands() {
  bands_.clear();
  box_ = Rect{};
  if (rects_.empty()) return;
  Rect box{INT32_MAX, rects_.front().top, INT32_MIN, rects_.back().bottom};
  for (size_t i = 0; i < rects_.size();) {
    size_t j = i;
    while (j < rects_.size() && rects_[j].top == rects_[i].top) ++j;
    bands_.push_back(Band{rects_[i].top, rects_[i].bottom, static_cast<uint32_t>(i), static_cast<uint32_t>(j - i)});
    box.left = std::min(box.left, rects_[i].left);
    box.right = std::max(box.right, rects_[j - 1].right);
    i = j;
  }
  box_ = box;
}

}  // namespace kelvane
