#include "document/rect_region.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <vector>

namespace kelvane {
namespace {

using Rects = std::vector<Rect>;

// A pixel set over a fixed window, the brute-force model of a region.
struct Grid {
  static constexpr int kMin = -8, kMax = 40;  // x and y in [kMin, kMax)
  std::vector<bool> cells = std::vector<bool>((kMax - kMin) * (kMax - kMin), false);
  bool Get(int x, int y) const {
    if (x < kMin || y < kMin || x >= kMax || y >= kMax) return false;
    return cells[(y - kMin) * (kMax - kMin) + (x - kMin)];
  }
  void Set(int x, int y, bool v) { cells[(y - kMin) * (kMax - kMin) + (x - kMin)] = v; }
};

Grid GridOfRect(const Rect& r) {
  Grid g;
  for (int y = std::max(r.top, Grid::kMin); y < std::min(r.bottom, Grid::kMax); ++y)
    for (int x = std::max(r.left, Grid::kMin); x < std::min(r.right, Grid::kMax); ++x) g.Set(x, y, true);
  return g;
}

Grid GridCombine(const Grid& a, const Grid& b, CombineMode mode) {
  Grid out;
  for (int y = Grid::kMin; y < Grid::kMax; ++y)
    for (int x = Grid::kMin; x < Grid::kMax; ++x) {
      const bool p = a.Get(x, y), q = b.Get(x, y);
      bool v = p;
      switch (mode) {
        case CombineMode::And: v = p && q; break;
        case CombineMode::Or: v = p || q; break;
        case CombineMode::Xor: v = p != q; break;
        case CombineMode::Diff: v = p && !q; break;
        case CombineMode::Copy: v = p; break;
      }
      out.Set(x, y, v);
    }
  return out;
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
    for (int x = Grid::kMin; x < Grid::kMax;) {
      if (!g.Get(x, y)) {
        ++x;
        continue;
      }
      int e = x;
      while (e < Grid::kMax && g.Get(e, y)) ++e;
      runs.emplace_back(x, e);
      x = e;
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

// Checks the region against the model: point test over the whole window,
// the exact canonical list, and the span walk of every row.
void ExpectMatches(const RectRegion& region, const Grid& g, const std::string& what) {
  for (int y = Grid::kMin; y < Grid::kMax; ++y)
    for (int x = Grid::kMin; x < Grid::kMax; ++x)
      ASSERT_EQ(region.Contains(x, y), g.Get(x, y)) << what << " at " << x << "," << y;
  ASSERT_EQ(region.Rects(), ReferenceCanonical(g)) << what;
  for (int y = Grid::kMin; y < Grid::kMax; ++y) {
    std::vector<bool> row(Grid::kMax - Grid::kMin, false);
    region.ForEachSpan(y, Grid::kMin, Grid::kMax, [&](int32_t x0, int32_t x1) {
      for (int x = x0; x < x1; ++x) row[x - Grid::kMin] = true;
    });
    for (int x = Grid::kMin; x < Grid::kMax; ++x) ASSERT_EQ(row[x - Grid::kMin], g.Get(x, y)) << what;
  }
}

TEST(RectRegionCombine, TwoOverlappingRectanglesOrGiveThreeBands) {
  const RectRegion a = RectRegion::FromRect(0, 0, 10, 10);
  const RectRegion b = RectRegion::FromRect(5, 5, 15, 15);
  const RectRegion u = RectRegion::Combine(a, b, CombineMode::Or);
  EXPECT_EQ(u.Rects(), (Rects{{0, 0, 10, 5}, {0, 5, 15, 10}, {5, 10, 15, 15}}));
  ASSERT_EQ(u.Bands().size(), 3u);
  EXPECT_EQ(u.Bands()[1].top, 5);
  EXPECT_EQ(u.Bands()[1].bottom, 10);
  EXPECT_EQ(u.Bands()[1].first, 1u);
  EXPECT_EQ(u.Bands()[1].count, 1u);
  EXPECT_EQ(u.Box(), (Rect{0, 0, 15, 15}));
}

TEST(RectRegionCombine, WorkedExamplesOfEachMode) {
  const RectRegion a = RectRegion::FromRect(0, 0, 10, 10);
  const RectRegion b = RectRegion::FromRect(5, 5, 15, 15);
  EXPECT_EQ(RectRegion::Combine(a, b, CombineMode::And).Rects(), (Rects{{5, 5, 10, 10}}));
  EXPECT_EQ(RectRegion::Combine(a, b, CombineMode::Xor).Rects(),
            (Rects{{0, 0, 10, 5}, {0, 5, 5, 10}, {10, 5, 15, 10}, {5, 10, 15, 15}}));
  EXPECT_EQ(RectRegion::Combine(a, b, CombineMode::Diff).Rects(), (Rects{{0, 0, 10, 5}, {0, 5, 5, 10}}));
  EXPECT_EQ(RectRegion::Combine(b, a, CombineMode::Diff).Rects(), (Rects{{10, 5, 15, 10}, {5, 10, 15, 15}}));
  // Copy takes the first operand.
  EXPECT_EQ(RectRegion::Combine(a, b, CombineMode::Copy).Rects(), (Rects{{0, 0, 10, 10}}));
  // A hole: the frame splits into three bands.
  EXPECT_EQ(RectRegion::Combine(a, RectRegion::FromRect(3, 3, 6, 6), CombineMode::Diff).Rects(),
            (Rects{{0, 0, 10, 3}, {0, 3, 3, 6}, {6, 3, 10, 6}, {0, 6, 10, 10}}));
}

TEST(RectRegionCombine, EmptyResultsAndEmptyOperands) {
  const RectRegion a = RectRegion::FromRect(0, 0, 10, 10);
  const RectRegion far = RectRegion::FromRect(20, 20, 30, 30);
  const RectRegion none;
  EXPECT_TRUE(RectRegion::Combine(a, a, CombineMode::Xor).IsEmpty());
  EXPECT_TRUE(RectRegion::Combine(a, a, CombineMode::Diff).IsEmpty());
  EXPECT_TRUE(RectRegion::Combine(a, far, CombineMode::And).IsEmpty());
  EXPECT_TRUE(RectRegion::Combine(a, none, CombineMode::And).IsEmpty());
  EXPECT_EQ(RectRegion::Combine(none, a, CombineMode::Or), a);
  EXPECT_EQ(RectRegion::Combine(none, a, CombineMode::Xor), a);
  EXPECT_TRUE(RectRegion::Combine(none, a, CombineMode::Diff).IsEmpty());
  EXPECT_EQ(RectRegion::Combine(a, far, CombineMode::Diff), a);
  EXPECT_EQ(RectRegion::Combine(a, far, CombineMode::And).Box(), (Rect{0, 0, 0, 0}));
  EXPECT_TRUE(RectRegion::Combine(a, far, CombineMode::And).Bands().empty());
}

TEST(RectRegionCanonical, VerticallyTouchingIdenticalBandsCoalesce) {
  const RectRegion top = RectRegion::FromRect(0, 0, 10, 5);
  const RectRegion bottom = RectRegion::FromRect(0, 5, 10, 9);
  EXPECT_EQ(RectRegion::Combine(top, bottom, CombineMode::Or).Rects(), (Rects{{0, 0, 10, 9}}));
  // A gap between them keeps two bands.
  EXPECT_EQ(RectRegion::Combine(top, RectRegion::FromRect(0, 6, 10, 9), CombineMode::Or).Rects(),
            (Rects{{0, 0, 10, 5}, {0, 6, 10, 9}}));
  // Two-span bands coalesce too, once a difference makes them equal.
  RectRegion two = RectRegion::Combine(RectRegion::FromRect(0, 0, 3, 4), RectRegion::FromRect(6, 0, 9, 8),
                                       CombineMode::Or);
  EXPECT_EQ(two.Rects(), (Rects{{0, 0, 3, 4}, {6, 0, 9, 4}, {6, 4, 9, 8}}));
  two = RectRegion::Combine(two, RectRegion::FromRect(0, 4, 3, 8), CombineMode::Or);
  EXPECT_EQ(two.Rects(), (Rects{{0, 0, 3, 8}, {6, 0, 9, 8}}));
}

TEST(RectRegionCanonical, HorizontallyTouchingRectanglesMerge) {
  EXPECT_EQ(RectRegion::Combine(RectRegion::FromRect(0, 0, 5, 10), RectRegion::FromRect(5, 0, 10, 10),
                                CombineMode::Or)
                .Rects(),
            (Rects{{0, 0, 10, 10}}));
  EXPECT_EQ(RectRegion::Combine(RectRegion::FromRect(0, 0, 5, 10), RectRegion::FromRect(5, 5, 10, 15),
                                CombineMode::Or)
                .Rects(),
            (Rects{{0, 0, 5, 5}, {0, 5, 10, 10}, {5, 10, 10, 15}}));
  // Xor of touching rectangles is their union as well.
  EXPECT_EQ(RectRegion::Combine(RectRegion::FromRect(0, 0, 5, 10), RectRegion::FromRect(5, 0, 10, 10),
                                CombineMode::Xor)
                .Rects(),
            (Rects{{0, 0, 10, 10}}));
}

TEST(RectRegionCanonical, RandomOperationSequencesMatchPixelModel) {
  std::mt19937 rng(1234);
  auto coord = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
  const CombineMode modes[] = {CombineMode::And, CombineMode::Or, CombineMode::Xor, CombineMode::Diff,
                               CombineMode::Copy};
  for (int trial = 0; trial < 300; ++trial) {
    RectRegion region;
    Grid model;
    const int steps = coord(1, 8);
    for (int s = 0; s < steps; ++s) {
      const Rect r{coord(-6, 30), coord(-6, 30), coord(-6, 38), coord(-6, 38)};
      const RectRegion shape = RectRegion::FromRect(r.left, r.top, r.right, r.bottom);
      const Rect normal{std::min(r.left, r.right), std::min(r.top, r.bottom), std::max(r.left, r.right),
                        std::max(r.top, r.bottom)};
      const CombineMode mode = s == 0 ? CombineMode::Or : modes[coord(0, 4)];
      // Alternate which side the shape is on, so both operand roles get used.
      if (coord(0, 1) == 0 || mode == CombineMode::Copy) {
        region = RectRegion::Combine(region, shape, mode);
        model = GridCombine(model, GridOfRect(normal), mode);
      } else {
        region = RectRegion::Combine(shape, region, mode);
        model = GridCombine(GridOfRect(normal), model, mode);
      }
    }
    ExpectMatches(region, model, "trial " + std::to_string(trial));
    if (::testing::Test::HasFatalFailure()) return;
  }
}

TEST(RectRegionCanonical, ResultIndependentOfOperationOrder) {
  std::mt19937 rng(99);
  auto coord = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
  for (int trial = 0; trial < 50; ++trial) {
    std::vector<Rect> rects;
    Grid model;
    for (int i = 0; i < 7; ++i) {
      const int l = coord(-5, 30), t = coord(-5, 30);
      rects.push_back(Rect{l, t, l + coord(1, 9), t + coord(1, 9)});
      model = GridCombine(model, GridOfRect(rects.back()), CombineMode::Or);
    }
    RectRegion forward, backward;
    for (const Rect& r : rects) forward = RectRegion::Combine(forward, RectRegion::FromRect(r.left, r.top, r.right, r.bottom), CombineMode::Or);
    for (auto it = rects.rbegin(); it != rects.rend(); ++it)
      backward = RectRegion::Combine(RectRegion::FromRect(it->left, it->top, it->right, it->bottom), backward, CombineMode::Or);
    // The same union built as overlapping unsorted data.
    std::vector<int32_t> data = {32, 1, static_cast<int32_t>(rects.size()), 16 * static_cast<int32_t>(rects.size()), 0, 0, 0, 0};
    for (const Rect& r : rects) data.insert(data.end(), {r.left, r.top, r.right, r.bottom});
    const RectRegion fromData = RectRegion::FromData(data);
    ASSERT_EQ(forward.Rects(), backward.Rects());
    ASSERT_EQ(forward.Rects(), fromData.Rects());
    ExpectMatches(forward, model, "union " + std::to_string(trial));
    // A region with rectangles removed in a different order than added.
    RectRegion carved = forward;
    Grid carvedModel = model;
    for (size_t i = 0; i < rects.size(); i += 2) {
      const Rect& r = rects[i];
      const Rect hole{r.left + 1, r.top + 1, r.right, r.bottom};
      carved = RectRegion::Combine(carved, RectRegion::FromRect(hole.left, hole.top, hole.right, hole.bottom), CombineMode::Diff);
      if (!hole.IsEmpty()) carvedModel = GridCombine(carvedModel, GridOfRect(hole), CombineMode::Diff);
    }
    ExpectMatches(carved, carvedModel, "carved " + std::to_string(trial));
    if (::testing::Test::HasFatalFailure()) return;
  }
}

TEST(RectRegionBasics, PointTestSpansAndOffset) {
  RectRegion r = RectRegion::Combine(RectRegion::FromRect(0, 0, 4, 2), RectRegion::FromRect(6, 0, 9, 2),
                                     CombineMode::Or);
  EXPECT_TRUE(r.Contains(0, 0));
  EXPECT_TRUE(r.Contains(3, 1));
  EXPECT_FALSE(r.Contains(4, 1));  // right exclusive
  EXPECT_FALSE(r.Contains(5, 0));
  EXPECT_TRUE(r.Contains(6, 0));
  EXPECT_FALSE(r.Contains(0, 2));  // bottom exclusive
  EXPECT_FALSE(r.Contains(-1, 0));
  EXPECT_EQ(r.FindBand(2), nullptr);
  EXPECT_EQ(r.FindBand(-1), nullptr);
  ASSERT_NE(r.FindBand(1), nullptr);
  std::vector<std::pair<int, int>> spans;
  r.ForEachSpan(1, 2, 7, [&](int32_t a, int32_t b) { spans.emplace_back(a, b); });
  EXPECT_EQ(spans, (std::vector<std::pair<int, int>>{{2, 4}, {6, 7}}));
  spans.clear();
  r.ForEachSpan(1, 4, 6, [&](int32_t a, int32_t b) { spans.emplace_back(a, b); });
  EXPECT_TRUE(spans.empty());

  r.Offset(10, -5);
  EXPECT_EQ(r.Rects(), (Rects{{10, -5, 14, -3}, {16, -5, 19, -3}}));
  EXPECT_EQ(r.Box(), (Rect{10, -5, 19, -3}));
  EXPECT_TRUE(r.Contains(16, -4));
  EXPECT_FALSE(r.Contains(6, 0));
}

TEST(RectRegionBasics, RectangleNormalisationAndIntersect) {
  EXPECT_EQ(RectRegion::FromRect(10, 8, 2, 3).Rects(), (Rects{{2, 3, 10, 8}}));
  EXPECT_TRUE(RectRegion::FromRect(5, 0, 5, 10).IsEmpty());
  EXPECT_TRUE(RectRegion::FromRect(0, 7, 10, 7).IsEmpty());
  EXPECT_EQ(RectRegion().Box(), (Rect{0, 0, 0, 0}));
  EXPECT_EQ(IntersectRect({0, 0, 10, 10}, {5, 2, 20, 4}), (Rect{5, 2, 10, 4}));
  EXPECT_EQ(IntersectRect({0, 0, 10, 10}, {10, 0, 20, 4}), (Rect{0, 0, 0, 0}));
}

TEST(RectRegionShapes, SmallCircleIsExact) {
  // Pixel centres inside a circle of radius 2 about (2, 2): the corners drop.
  EXPECT_EQ(RectRegion::FromEllipse(0, 0, 4, 4).Rects(), (Rects{{1, 0, 3, 1}, {0, 1, 4, 3}, {1, 3, 3, 4}}));
  EXPECT_EQ(RectRegion::FromEllipse(0, 0, 1, 1).Rects(), (Rects{{0, 0, 1, 1}}));
  EXPECT_TRUE(RectRegion::FromEllipse(0, 0, 0, 9).IsEmpty());
  EXPECT_EQ(RectRegion::FromEllipse(20, 14, 3, 2), RectRegion::FromEllipse(3, 2, 20, 14));
}

TEST(RectRegionShapes, EllipseIsSymmetricInsideItsBoxAndMatchesCentreTest) {
  const Rect boxes[] = {{0, 0, 20, 10}, {3, -4, 30, 7}, {-5, -5, 6, 30}, {0, 0, 2, 30}, {1, 1, 38, 2}, {-8, 0, 39, 39}};
  for (const Rect& b : boxes) {
    const RectRegion e = RectRegion::FromEllipse(b.left, b.top, b.right, b.bottom);
    const int64_t w = b.right - b.left, h = b.bottom - b.top;
    Grid model;
    for (int y = Grid::kMin; y < Grid::kMax; ++y)
      for (int x = Grid::kMin; x < Grid::kMax; ++x) {
        // Centre of pixel within the ellipse, in doubled coordinates.
        const int64_t X = 2 * x + 1 - (b.left + b.right), Y = 2 * y + 1 - (b.top + b.bottom);
        model.Set(x, y, X * X * h * h + Y * Y * w * w <= w * w * h * h);
      }
    ExpectMatches(e, model, "ellipse");
    for (int y = b.top; y < b.bottom; ++y)
      for (int x = b.left; x < b.right; ++x) {
        ASSERT_EQ(e.Contains(x, y), e.Contains(b.left + b.right - 1 - x, y));
        ASSERT_EQ(e.Contains(x, y), e.Contains(x, b.top + b.bottom - 1 - y));
      }
    const Rect box = e.Box();
    EXPECT_GE(box.left, b.left);
    EXPECT_GE(box.top, b.top);
    EXPECT_LE(box.right, b.right);
    EXPECT_LE(box.bottom, b.bottom);
  }
  // A wide ellipse reaches its box on all four sides.
  EXPECT_EQ(RectRegion::FromEllipse(0, 0, 20, 10).Box(), (Rect{0, 0, 20, 10}));
}

// Fill-rule oracle: count crossings of the row through the pixel centre that
// lie at or left of the centre.
Grid PolygonModel(const std::vector<Point>& pts, bool winding) {
  Grid g;
  for (int y = Grid::kMin; y < Grid::kMax; ++y)
    for (int x = Grid::kMin; x < Grid::kMax; ++x) {
      const double cx = x + 0.5, cy = y + 0.5;
      int crossings = 0, wind = 0;
      for (size_t i = 0; i < pts.size(); ++i) {
        const Point p = pts[i], q = pts[(i + 1) % pts.size()];
        if (p.y == q.y) continue;
        const double ylo = std::min(p.y, q.y), yhi = std::max(p.y, q.y);
        if (cy < ylo || cy > yhi) continue;
        const double xc = p.x + (cy - p.y) * (q.x - p.x) / (q.y - p.y);
        if (xc <= cx) {
          ++crossings;
          wind += q.y > p.y ? 1 : -1;
        }
      }
      g.Set(x, y, winding ? wind != 0 : (crossings % 2) == 1);
    }
  return g;
}

TEST(RectRegionShapes, PolygonFillsAtPixelCentres) {
  EXPECT_EQ(RectRegion::FromPolygon({{0, 0}, {10, 0}, {10, 10}, {0, 10}}, PolyFillMode::Alternate).Rects(),
            (Rects{{0, 0, 10, 10}}));
  // Right triangle: the hypotenuse crosses row y at x = 3.5 - y, and a centre
  // lying exactly on a right-hand edge is outside, so row y keeps 3 - y pixels.
  EXPECT_EQ(RectRegion::FromPolygon({{0, 0}, {4, 0}, {0, 4}}, PolyFillMode::Winding).Rects(),
            (Rects{{0, 0, 3, 1}, {0, 1, 2, 2}, {0, 2, 1, 3}}));
  // Hypotenuse x = 9 - 1.5 * (y + 0.5): 8.25, 6.75, 5.25, 3.75, 2.25, 0.75.
  EXPECT_EQ(RectRegion::FromPolygon({{0, 0}, {9, 0}, {0, 6}}, PolyFillMode::Alternate).Rects(),
            (Rects{{0, 0, 8, 1}, {0, 1, 7, 2}, {0, 2, 5, 3}, {0, 3, 4, 4}, {0, 4, 2, 5}, {0, 5, 1, 6}}));
  // Far from the origin the fill is the same shape, moved.
  const int32_t far = 1 << 30;
  RectRegion near = RectRegion::FromPolygon({{0, 0}, {9, 0}, {0, 6}}, PolyFillMode::Alternate);
  near.Offset(far, 7);
  EXPECT_EQ(RectRegion::FromPolygon({{far, 7}, {far + 9, 7}, {far, 13}}, PolyFillMode::Alternate), near);
  EXPECT_TRUE(RectRegion::FromPolygon({{0, 0}, {5, 5}}, PolyFillMode::Winding).IsEmpty());
  EXPECT_TRUE(RectRegion::FromPolygon({{0, 0}, {5, 5}, {10, 10}}, PolyFillMode::Winding).IsEmpty());
}

TEST(RectRegionShapes, PentagramWindingFillsCentreAlternateLeavesIt) {
  // Five points round (16, 16), joined every second one.
  const std::vector<Point> star = {{16, 1}, {25, 28}, {2, 11}, {30, 11}, {7, 28}};
  const RectRegion alt = RectRegion::FromPolygon(star, PolyFillMode::Alternate);
  const RectRegion wind = RectRegion::FromPolygon(star, PolyFillMode::Winding);
  EXPECT_FALSE(alt.Contains(16, 16));
  EXPECT_TRUE(wind.Contains(16, 16));
  EXPECT_TRUE(alt.Contains(16, 5));  // a tip
  EXPECT_TRUE(wind.Contains(16, 5));
  EXPECT_FALSE(wind.Contains(16, 27));  // between the two lower tips
  ExpectMatches(alt, PolygonModel(star, false), "alternate");
  ExpectMatches(wind, PolygonModel(star, true), "winding");
  // The winding fill is the alternate fill plus the inner pentagon.
  EXPECT_TRUE(RectRegion::Combine(alt, wind, CombineMode::Diff).IsEmpty());
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
    const RectRegion clipped = RectRegion::Combine(
        r, RectRegion::FromRect(Grid::kMin, Grid::kMin, Grid::kMax, Grid::kMax), CombineMode::And);
    ExpectMatches(clipped, PolygonModel(pts, winding), "polygon " + std::to_string(trial));
    if (::testing::Test::HasFatalFailure()) return;
  }
}

TEST(RectRegionData, LayoutOfEmptyAndNonEmptyRegions) {
  EXPECT_EQ(RectRegion().Data(), (std::vector<int32_t>{32, 1, 0, 0, 0, 0, 0, 0}));
  const RectRegion u = RectRegion::Combine(RectRegion::FromRect(0, 0, 10, 10), RectRegion::FromRect(5, 5, 15, 15),
                                           CombineMode::Or);
  EXPECT_EQ(u.Data(), (std::vector<int32_t>{32, 1, 3, 48, 0, 0, 15, 15,  //
                                            0, 0, 10, 5, 0, 5, 15, 10, 5, 10, 15, 15}));
}

TEST(RectRegionData, FromDataRoundTripAndCanonicalisation) {
  const RectRegion hole = RectRegion::Combine(RectRegion::FromRect(0, 0, 10, 10), RectRegion::FromRect(3, 3, 6, 6),
                                              CombineMode::Diff);
  EXPECT_EQ(RectRegion::FromData(hole.Data()), hole);
  // Trailing integers beyond nCount rectangles are ignored; so is the box.
  std::vector<int32_t> d = hole.Data();
  d[4] = 100;
  d.insert(d.end(), {7, 7, 7, 7, 1, 2});
  EXPECT_EQ(RectRegion::FromData(d), hole);
  // Unsorted, overlapping, touching and empty rectangles are canonicalised.
  const std::vector<int32_t> messy = {32, 1, 5, 80, 0, 0, 0, 0,  //
                                      5, 0, 10, 4,                 // right half
                                      0, 0, 5, 4,                  // left half, touching
                                      2, 4, 8, 8,                  // below
                                      3, 5, 7, 6,                  // inside the one above
                                      9, 9, 9, 12};                // empty
  EXPECT_EQ(RectRegion::FromData(messy).Rects(), (Rects{{0, 0, 10, 4}, {2, 4, 8, 8}}));
  // A reversed rectangle contributes nothing.
  EXPECT_TRUE(RectRegion::FromData({32, 1, 1, 16, 0, 0, 0, 0, 10, 10, 0, 0}).IsEmpty());
}

TEST(RectRegionData, MalformedDataGivesEmptyRegion) {
  const std::vector<int32_t> good = {32, 1, 1, 16, 0, 0, 4, 4, 0, 0, 4, 4};
  ASSERT_EQ(RectRegion::FromData(good).Rects(), (Rects{{0, 0, 4, 4}}));
  auto with = [&](size_t i, int32_t v) {
    std::vector<int32_t> d = good;
    d[i] = v;
    return RectRegion::FromData(d);
  };
  EXPECT_TRUE(with(0, 33).IsEmpty());   // dwSize
  EXPECT_TRUE(with(1, 2).IsEmpty());    // iType
  EXPECT_TRUE(with(2, -1).IsEmpty());   // negative count
  EXPECT_TRUE(with(2, 2).IsEmpty());    // count beyond the integers given
  EXPECT_FALSE(with(3, 999).IsEmpty());  // nRgnSize is not checked
  EXPECT_TRUE(RectRegion::FromData(std::vector<int32_t>{32, 1, 0, 0, 0, 0, 0}).IsEmpty());  // 7 ints
  EXPECT_TRUE(RectRegion::FromData(std::vector<int32_t>{}).IsEmpty());
  EXPECT_TRUE(RectRegion::FromData(good.data(), 11).IsEmpty());  // last rectangle cut short
  EXPECT_TRUE(RectRegion::FromData(nullptr, 12).IsEmpty());
}

TEST(RectRegionScale, LargeRegionsCombineByBands) {
  // Many bands on each side; the result must still be exactly right at samples.
  const RectRegion a = RectRegion::FromEllipse(0, 0, 3000, 2000);
  const RectRegion b = RectRegion::FromEllipse(1000, 500, 4000, 2500);
  const RectRegion x = RectRegion::Combine(a, b, CombineMode::Xor);
  for (int y = 0; y < 2500; y += 37)
    for (int xx = 0; xx < 4000; xx += 41) ASSERT_EQ(x.Contains(xx, y), a.Contains(xx, y) != b.Contains(xx, y));
  EXPECT_EQ(RectRegion::Combine(x, b, CombineMode::Xor), a);
}

}  // namespace
}  // namespace kelvane
