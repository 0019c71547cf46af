// FillScan: the flood walk shared by BitsFill and BitsFillTexture, kept in
// its own header so that the order in which a fill reaches pixels can be
// followed by any caller (a fill preview, a test).
//
// Contract:
//  - The queue starts with the seed (seedX, seedY). Each pass visits, for every
//    entry the previous pass added (the first pass: the seed), its neighbours
//    in the order left, right, up, down. A neighbour inside the picture, inside
//    `region` and not yet marked in `doneBits` is marked, whether or not it
//    then passes; it passes when |blue - old blue| + |green - old green| +
//    |red - old red| of its current colour is at most `tolerance` (0 to 765,
//    always measured from the seed's old colour `oldBGR`, never from the
//    neighbour that led there). A passing pixel goes through
//    accept(pixel, x, y) and joins the end of the queue. The walk ends after a
//    pass in which nothing passed.
//  - The seed is not marked beforehand: a neighbour's step reaches it like any
//    other pixel, so a seed that the caller has already blended is tested, and
//    changed, a second time when it passes.
//  - `doneBits` must cover the picture (x 0 to W + 2, y 0 to H + 2); the caller
//    clears it before the fill.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "document/bits.h"
#include "document/done_bits.h"
#include "document/rect_region.h"

namespace kelvane {

template <class Accept>
void FillScan(Bits& bits, const RectRegion& region, DoneBits& doneBits, int32_t seedX, int32_t seedY,
              const int32_t oldBGR[3], int32_t tolerance, Accept&& accept) {
  const int32_t w = bits.Width(), h = bits.Height();
  // The region as a per-pixel map, built from its spans once per fill, so the
  // walk's point test is one array read.
  std::vector<uint8_t> inside(static_cast<size_t>(w) * static_cast<size_t>(h), 0);
  for (int32_t y = 0; y < h; ++y) {
    uint8_t* row = inside.data() + static_cast<size_t>(y) * w;
    region.ForEachSpan(y, 0, w, [&](int32_t x0, int32_t x1) { std::fill(row + x0, row + x1, uint8_t{1}); });
  }
  static constexpr int32_t kDirections[4][2] = {{-1, 0}, {1, 0}, {0, -1}, {0, 1}};
  std::vector<Point> queue;
  queue.push_back(Point{seedX, seedY});
  size_t first = 0;
  bool changed;
  do {
    changed = false;
    const size_t stop = queue.size() - 1;
    for (size_t i = first; i <= stop; ++i) {
      const Point q = queue[i];  // a copy: the queue may grow below
      for (const auto& d : kDirections) {
        const int32_t nx = q.x + d[0], ny = q.y + d[1];
        if (nx < 0 || ny < 0 || nx >= w || ny >= h) continue;
        if (!inside[static_cast<size_t>(ny) * w + nx]) continue;
        if (!doneBits.TestAndSet(nx, ny)) continue;
        uint8_t* p = bits.Pixel(nx, ny);
        const int32_t diff = std::abs(p[0] - oldBGR[0]) + std::abs(p[1] - oldBGR[1]) + std::abs(p[2] - oldBGR[2]);
        if (diff <= tolerance) {
          accept(p, nx, ny);
          queue.push_back(Point{nx, ny});
          changed = true;
        }
      }
    }
    first = stop + 1;
  } while (changed);
}

}  // namespace kelvane
