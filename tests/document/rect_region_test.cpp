// The rectangle-list region against a brute-force pixel model, plus worked
// examples that pin the exact list layout (bands, canonical order, data).
#include "document/rect_region.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace kelvane {
namespace {

using Rects = std::vector<Rect>;
using Ints = std::vector<int32_t>;

RectRegion R(int32_t l, int32_t t, int32_t r, int32_t b) { return RectRegion::FromRect(l, t, r, b); }

// A pixel set over a fixed window, the brute-force model of a region.
struct Grid {
  static constexpr int kMin = -8, kMax = 40;  // x and y in [kMin, kMax)
  std::vector<bool> cells = std::vector<bool>((kMax - kMin) * (kMax - kMin), false);
  bool Get(int x, int y) const {
    return x >= kMin && y >= kMin && x < kMax && y < kMax && cells[(y - kMin) * (kMax - kMin) + (x - kMin)];
  }
  void Set(int x, int y, bool v) { cells[(y - kMin) * (kMax - kMin) + (x - kMin)] = v; }
  template <class Fn>
  static Grid Of(Fn&& inside) {
    Grid g;
    for (int y = kMin; y < kMax; ++y)
      for (int x = kMin; x < kMax; ++x) g.Set(x, y, inside(x, y));
    return g;
  }
};

Grid GridOfRect(const Rect& r) {
  return Grid::Of([&](int x, int y) { return x >= r.left && x < r.right && y >= r.top && y < r.bottom; });
}

Grid GridCombine(const Grid& a, const Grid& b, CombineMode mode) {
  return Grid::Of([&](int x, int y) {
    const bool p = a.Get(x, y), q = b.Get(x, y);
    switch (mode) {
      case CombineMode::And: return p && q;
      case CombineMode::Or: return p || q;
      case CombineMode::Xor: return p != q;
      case CombineMode::Diff: return p && !q;
      case CombineMode::Copy: return p;
    }
    return p;
  });
}

// The canonical rectangle list written the plain way: runs per row, then
// consecutive rows with identical runs joined into one band.
Rects ReferenceCanonical(const Grid& g) {
  Rects out;
  std::vector<std::pair<int, int>> prevRuns;
  size_t prevFirst = 0;
  int prevRow = Grid::kMin - 10;
  for (int y = Grid::kMin; y < Grid::kMax; ++y) {
    std::vector<std::pair<int, int>> runs;
    for (int x = Grid::kMin; x < Grid::kMax; ++x) {
      if (!g.Get(x, y)) continue;
      const int start = x;
      while (x < Grid::kMax && g.Get(x, y)) ++x;
      runs.emplace_back(start, x);
    }
    if (runs.empty()) continue;
    if (prevRow == y - 1 && runs == prevRuns) {
      for (size_t i = prevFirst; i < out.size(); ++i) out[i].bottom = y + 1;
    } else {
      prevFirst = out.size();
      for (auto [l, r] : runs) out.push_back(Rect{l, y, r, y + 1});
    }
    prevRuns = runs;
    prevRow = y;
  }
  return out;
}

// The region against the model: point test, exact canonical list, and the
// span walk of every row.
void ExpectMatches(const RectRegion& region, const Grid& g, const std::string& what) {
  ASSERT_EQ(region.Rects(), ReferenceCanonical(g)) << what;
  for (int y = Grid::kMin; y < Grid::kMax; ++y) {
    std::vector<bool> row(Grid::kMax - Grid::kMin, false);
    region.ForEachSpan(y, Grid::kMin, Grid::kMax, [&](int32_t x0, int32_t x1) {
      for (int x = x0; x < x1; ++x) row[x - Grid::kMin] = true;
    });
    for (int x = Grid::kMin; x < Grid::kMax; ++x) {
      ASSERT_EQ(region.Contains(x, y), g.Get(x, y)) << what << " at " << x << "," << y;
      ASSERT_EQ(row[x - Grid::kMin], g.Get(x, y)) << what << " span at " << x << "," << y;
    }
  }
}

TEST(RectRegionCombine, WorkedExamplesPinBandsAndOrder) {
  const RectRegion a = R(0, 0, 10, 10), b = R(5, 5, 15, 15);
  const RectRegion u = RectRegion::Combine(a, b, CombineMode::Or);
  EXPECT_EQ(u.Rects(), (Rects{{0, 0, 10, 5}, {0, 5, 15, 10}, {5, 10, 15, 15}}));
  ASSERT_EQ(u.Bands().size(), 3u);
  EXPECT_EQ((Ints{u.Bands()[1].top, u.Bands()[1].bottom, int32_t(u.Bands()[1].first), int32_t(u.Bands()[1].count)}),
            (Ints{5, 10, 1, 1}));
  EXPECT_EQ(u.Box(), (Rect{0, 0, 15, 15}));
  EXPECT_EQ(u.Data(), (Ints{32, 1, 3, 48, 0, 0, 15, 15, 0, 0, 10, 5, 0, 5, 15, 10, 5, 10, 15, 15}));
  EXPECT_EQ(RectRegion().Data(), (Ints{32, 1, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(RectRegion().Box(), (Rect{0, 0, 0, 0}));
  // A hole: the frame splits into three bands, the middle one of two rectangles.
  EXPECT_EQ(RectRegion::Combine(a, R(3, 3, 6, 6), CombineMode::Diff).Rects(),
            (Rects{{0, 0, 10, 3}, {0, 3, 3, 6}, {6, 3, 10, 6}, {0, 6, 10, 10}}));
  // Two-span bands coalesce once they become equal.
  const RectRegion two = RectRegion::Combine(R(0, 0, 3, 4), R(6, 0, 9, 8), CombineMode::Or);
  EXPECT_EQ(RectRegion::Combine(two, R(0, 4, 3, 8), CombineMode::Or).Rects(), (Rects{{0, 0, 3, 8}, {6, 0, 9, 8}}));
  EXPECT_TRUE(RectRegion::Combine(a, R(20, 20, 30, 30), CombineMode::And).Bands().empty());
}

TEST(RectRegionCanonical, RandomOperationSequencesMatchPixelModel) {
  std::mt19937 rng(1234);
  auto coord = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
  const CombineMode modes[] = {CombineMode::And, CombineMode::Or, CombineMode::Xor, CombineMode::Diff,
                               CombineMode::Copy};
  for (int trial = 0; trial < 300; ++trial) {
    RectRegion region;
    Grid model;
    for (int s = 0, steps = coord(1, 8); s < steps; ++s) {
      // Corners in any order: the shape is the normalised rectangle.
      const int x0 = coord(-6, 30), y0 = coord(-6, 30), x1 = coord(-6, 38), y1 = coord(-6, 38);
      const RectRegion shape = R(x0, y0, x1, y1);
      const Grid shapeModel = GridOfRect({std::min(x0, x1), std::min(y0, y1), std::max(x0, x1), std::max(y0, y1)});
      const CombineMode mode = s == 0 ? CombineMode::Or : modes[coord(0, 4)];
      // Alternate which side the shape is on, so both operand roles get used.
      if (coord(0, 1) == 0 || mode == CombineMode::Copy) {
        region = RectRegion::Combine(region, shape, mode);
        model = GridCombine(model, shapeModel, mode);
      } else {
        region = RectRegion::Combine(shape, region, mode);
        model = GridCombine(shapeModel, model, mode);
      }
    }
    ExpectMatches(region, model, "trial " + std::to_string(trial));
    if (::testing::Test::HasFatalFailure()) return;
  }
}

TEST(RectRegionCanonical, UnionOfOverlappingDataMatchesPixelModel) {
  std::mt19937 rng(99);
  auto coord = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
  for (int trial = 0; trial < 50; ++trial) {
    Grid model;
    RectRegion united;
    Ints data = {32, 1, 7, 16 * 7, 0, 0, 0, 0};  // the same rectangles, unsorted and overlapping
    for (int i = 0; i < 7; ++i) {
      const int l = coord(-5, 30), t = coord(-5, 30), r = l + coord(1, 9), b = t + coord(1, 9);
      model = GridCombine(model, GridOfRect({l, t, r, b}), CombineMode::Or);
      united = RectRegion::Combine(R(l, t, r, b), united, CombineMode::Or);
      data.insert(data.end(), {l, t, r, b});
    }
    ExpectMatches(united, model, "union " + std::to_string(trial));
    ExpectMatches(RectRegion::FromData(data), model, "data " + std::to_string(trial));
    if (::testing::Test::HasFatalFailure()) return;
  }
}

TEST(RectRegionBasics, ClippedSpansOffsetAndIntersect) {
  RectRegion r = RectRegion::Combine(R(0, 0, 4, 2), R(6, 0, 9, 2), CombineMode::Or);
  std::vector<std::pair<int, int>> spans;
  r.ForEachSpan(1, 2, 7, [&](int32_t a, int32_t b) { spans.emplace_back(a, b); });
  r.ForEachSpan(1, 4, 6, [&](int32_t a, int32_t b) { spans.emplace_back(a, b); });  // in the gap: nothing
  r.ForEachSpan(2, 0, 9, [&](int32_t a, int32_t b) { spans.emplace_back(a, b); });  // below: nothing
  EXPECT_EQ(spans, (std::vector<std::pair<int, int>>{{2, 4}, {6, 7}}));
  r.Offset(10, -5);
  EXPECT_EQ(r.Rects(), (Rects{{10, -5, 14, -3}, {16, -5, 19, -3}}));
  EXPECT_EQ(r.Box(), (Rect{10, -5, 19, -3}));
  EXPECT_TRUE(r.Contains(16, -4));
  EXPECT_FALSE(r.Contains(6, 0));
  EXPECT_EQ(IntersectRect({0, 0, 10, 10}, {5, 2, 20, 4}), (Rect{5, 2, 10, 4}));
  EXPECT_EQ(IntersectRect({0, 0, 10, 10}, {10, 0, 20, 4}), (Rect{0, 0, 0, 0}));
}

TEST(RectRegionShapes, EllipseHoldsThePixelCentresInside) {
  // Radius 2 about (2, 2): the corners drop.
  EXPECT_EQ(RectRegion::FromEllipse(0, 0, 4, 4).Rects(), (Rects{{1, 0, 3, 1}, {0, 1, 4, 3}, {1, 3, 3, 4}}));
  EXPECT_EQ(RectRegion::FromEllipse(20, 14, 3, 2), RectRegion::FromEllipse(3, 2, 20, 14));
  const Rect boxes[] = {{0, 0, 20, 10}, {3, -4, 30, 7}, {-5, -5, 6, 30}, {0, 0, 2, 30},
                        {1, 1, 38, 2},  {-8, 0, 39, 39}, {0, 0, 1, 1},  {0, 0, 0, 9}};
  for (const Rect& b : boxes) {
    const int64_t w = b.right - b.left, h = b.bottom - b.top;
    // Centre of the pixel within the ellipse, in doubled coordinates.
    const Grid model = Grid::Of([&](int x, int y) {
      const int64_t X = 2 * x + 1 - (b.left + b.right), Y = 2 * y + 1 - (b.top + b.bottom);
      return X * X * h * h + Y * Y * w * w <= w * w * h * h;
    });
    ExpectMatches(RectRegion::FromEllipse(b.left, b.top, b.right, b.bottom), model, "ellipse");
  }
}

// Fill-rule oracle: count crossings of the row through the pixel centre that
// lie at or left of the centre.
Grid PolygonModel(const std::vector<Point>& pts, bool winding) {
  return Grid::Of([&](int x, int y) {
    const double cx = x + 0.5, cy = y + 0.5;
    int crossings = 0, wind = 0;
    for (size_t i = 0; i < pts.size(); ++i) {
      const Point p = pts[i], q = pts[(i + 1) % pts.size()];
      if (p.y == q.y || cy < std::min(p.y, q.y) || cy > std::max(p.y, q.y)) continue;
      if (p.x + (cy - p.y) * (q.x - p.x) / (q.y - p.y) <= cx) {
        ++crossings;
        wind += q.y > p.y ? 1 : -1;
      }
    }
    return winding ? wind != 0 : crossings % 2 == 1;
  });
}

TEST(RectRegionShapes, PolygonWorkedExamples) {
  // Right triangle: the hypotenuse crosses row y at x = 3.5 - y, and a centre
  // lying exactly on a right-hand edge is outside, so row y keeps 3 - y pixels.
  EXPECT_EQ(RectRegion::FromPolygon({{0, 0}, {4, 0}, {0, 4}}, PolyFillMode::Winding).Rects(),
            (Rects{{0, 0, 3, 1}, {0, 1, 2, 2}, {0, 2, 1, 3}}));
  // Far from the origin the fill is the same shape, moved.
  const int32_t far = 1 << 30;
  RectRegion near = RectRegion::FromPolygon({{0, 0}, {9, 0}, {0, 6}}, PolyFillMode::Alternate);
  near.Offset(far, 7);
  EXPECT_EQ(RectRegion::FromPolygon({{far, 7}, {far + 9, 7}, {far, 13}}, PolyFillMode::Alternate), near);
  EXPECT_TRUE(RectRegion::FromPolygon({{0, 0}, {5, 5}}, PolyFillMode::Winding).IsEmpty());
  EXPECT_TRUE(RectRegion::FromPolygon({{0, 0}, {5, 5}, {10, 10}}, PolyFillMode::Winding).IsEmpty());
  // A pentagram: winding fills the inner pentagon, alternate leaves it.
  const std::vector<Point> star = {{16, 1}, {25, 28}, {2, 11}, {30, 11}, {7, 28}};
  const RectRegion alt = RectRegion::FromPolygon(star, PolyFillMode::Alternate);
  const RectRegion wind = RectRegion::FromPolygon(star, PolyFillMode::Winding);
  EXPECT_FALSE(alt.Contains(16, 16));
  EXPECT_TRUE(wind.Contains(16, 16));
  ExpectMatches(wind, PolygonModel(star, true), "winding");
}

TEST(RectRegionShapes, RandomPolygonsMatchFillRuleOracle) {
  std::mt19937 rng(7);
  auto coord = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
  for (int trial = 0; trial < 120; ++trial) {
    std::vector<Point> pts(coord(3, 9));
    for (Point& p : pts) p = Point{coord(-10, 45), coord(-10, 45)};
    const bool winding = trial % 2 == 0;
    const RectRegion r = RectRegion::FromPolygon(pts, winding ? PolyFillMode::Winding : PolyFillMode::Alternate);
    // Clip to the model window before comparing the exact list.
    const RectRegion clipped = RectRegion::Combine(r, R(Grid::kMin, Grid::kMin, Grid::kMax, Grid::kMax), CombineMode::And);
    ExpectMatches(clipped, PolygonModel(pts, winding), "polygon " + std::to_string(trial));
    if (::testing::Test::HasFatalFailure()) return;
  }
}

TEST(RectRegionData, FromDataCanonicalisesAndIgnoresTheRest) {
  const RectRegion hole = RectRegion::Combine(R(0, 0, 10, 10), R(3, 3, 6, 6), CombineMode::Diff);
  // The box and integers beyond nCount rectangles are ignored.
  Ints d = hole.Data();
  d[4] = 100;
  d.insert(d.end(), {7, 7, 7, 7, 1, 2});
  EXPECT_EQ(RectRegion::FromData(d), hole);
  // Unsorted, overlapping, touching, empty and reversed rectangles.
  const Ints messy = {32, 1, 6, 96, 0, 0, 0, 0,  //
                      5, 0, 10, 4,   // right half
                      0, 0, 5, 4,    // left half, touching
                      2, 4, 8, 8,    // below
                      3, 5, 7, 6,    // inside the one above
                      9, 9, 9, 12,   // empty
                      20, 20, 12, 12};  // reversed: contributes nothing
  EXPECT_EQ(RectRegion::FromData(messy).Rects(), (Rects{{0, 0, 10, 4}, {2, 4, 8, 8}}));
}

TEST(RectRegionData, MalformedDataGivesEmptyRegion) {
  const Ints good = {32, 1, 1, 16, 0, 0, 4, 4, 0, 0, 4, 4};
  ASSERT_EQ(RectRegion::FromData(good).Rects(), (Rects{{0, 0, 4, 4}}));
  // dwSize, iType, a negative count, a count beyond the integers given; nRgnSize is not checked.
  const struct { size_t at; int32_t v; bool empty; } edits[] = {
      {0, 33, true}, {1, 2, true}, {2, -1, true}, {2, 2, true}, {3, 999, false}};
  for (const auto& e : edits) {
    Ints d = good;
    d[e.at] = e.v;
    EXPECT_EQ(RectRegion::FromData(d).IsEmpty(), e.empty) << e.at << " = " << e.v;
  }
  EXPECT_TRUE(RectRegion::FromData(Ints{32, 1, 0, 0, 0, 0, 0}).IsEmpty());  // 7 integers
  EXPECT_TRUE(RectRegion::FromData(good.data(), 11).IsEmpty());            // last rectangle cut short
  EXPECT_TRUE(RectRegion::FromData(nullptr, 12).IsEmpty());
}

TEST(RectRegionScale, LargeRegionsCombineByBands) {
  const RectRegion a = RectRegion::FromEllipse(0, 0, 3000, 2000);
  const RectRegion b = RectRegion::FromEllipse(1000, 500, 4000, 2500);
  const RectRegion x = RectRegion::Combine(a, b, CombineMode::Xor);
  for (int y = 0; y < 2500; y += 37)
    for (int xx = 0; xx < 4000; xx += 41) ASSERT_EQ(x.Contains(xx, y), a.Contains(xx, y) != b.Contains(xx, y));
  EXPECT_EQ(RectRegion::Combine(x, b, CombineMode::Xor), a);
}

}  // namespace
}  // namespace kelvane
