#include "document/painting.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "base/numeric.h"
#include "document/fill_scan.h"

namespace kelvane {

namespace {

bool Ready(const PaintTarget& t) { return t.pictureExists && !t.bits.IsNull(); }

bool InPicture(const Bits& bits, int32_t x, int32_t y) {
  return x >= 0 && y >= 0 && x < bits.Width() && y < bits.Height();
}

// A table left from another picture size would let marks fall outside it, and
// a fill whose marks do not stick would never end: such a table is made anew.
void EnsureDoneBits(PaintTarget& t) {
  if (t.doneBits.MaxX() < t.bits.Width() + 2 || t.doneBits.MaxY() < t.bits.Height() + 2) CreateDoneBitsTable(t);
}

inline void Blend(uint8_t* p, double w, double b, double g, double r) {
  const double keep = 1 - w;
  p[0] = RoundByte(w * b + keep * p[0]);
  p[1] = RoundByte(w * g + keep * p[1]);
  p[2] = RoundByte(w * r + keep * p[2]);
}

// Walks the pixels of the disc round (cx, cy) that lie in the region and in
// the picture, row by row from the top and left to right within a row, as
// spans of the region; fn(pixel, x, y, dx, dy).
template <class Fn>
void ForEachDiscPixel(Bits& bits, const RectRegion& region, int32_t cx, int32_t cy, int32_t size, Fn&& fn) {
  const int32_t r = Round(size * 0.5);
  const int64_t limit = static_cast<int64_t>(r) * r + 1;
  for (int32_t dy = -r; dy <= r; ++dy) {
    const int32_t y = cy + dy;
    if (y < 0 || y >= bits.Height()) continue;
    // Widest |dx| with dx * dx + dy * dy < limit.
    const int64_t rest = limit - static_cast<int64_t>(dy) * dy;
    int64_t half = static_cast<int64_t>(std::sqrt(static_cast<double>(rest)));
    while (half * half >= rest) --half;
    while ((half + 1) * (half + 1) < rest) ++half;
    const int64_t lo = std::max<int64_t>(static_cast<int64_t>(cx) - half, 0);
    const int64_t hi = std::min<int64_t>(static_cast<int64_t>(cx) + half + 1, bits.Width());
    if (lo >= hi) continue;
    region.ForEachSpan(y, static_cast<int32_t>(lo), static_cast<int32_t>(hi), [&](int32_t x0, int32_t x1) {
      uint8_t* p = bits.Pixel(x0, y);
      for (int32_t x = x0; x < x1; ++x, p += 4) fn(p, x, y, x - cx, dy);
    });
  }
}

// The overlap of the target (0, 0, W - 1, H - 1) and the source placed at
// (x, y), both with inclusive right and bottom; false when there is nothing
// to do.
bool SourceOverlap(const Bits& target, const Bits& source, int32_t x, int32_t y, Rect& out) {
  if (source.IsNull()) return false;
  const int32_t tw = target.MaxX(), th = target.MaxY(), sw = source.MaxX(), sh = source.MaxY();
  if (tw == 0 || th == 0 || sw == 0 || sh == 0) return false;
  out = IntersectRect(Rect{0, 0, tw, th}, Rect{x, y, x + sw, y + sh});
  return !out.IsEmpty();
}

// fn(target pixel, source pixel) for every pixel of the overlap inside the
// region, row by row.
template <class Fn>
void ForEachSourcePixel(Bits& bits, const RectRegion& region, const Bits& source, int32_t x, int32_t y, Fn&& fn) {
  Rect r;
  if (!SourceOverlap(bits, source, x, y, r)) return;
  for (int32_t row = r.top; row <= r.bottom; ++row) {
    region.ForEachSpan(row, r.left, r.right + 1, [&](int32_t x0, int32_t x1) {
      uint8_t* p = bits.Pixel(x0, row);
      const uint8_t* s = source.Pixel(x0 - x, row - y);
      for (int32_t col = x0; col < x1; ++col, p += 4, s += 4) fn(p, s);
    });
  }
}

// The anti-aliased plot of BitsLine and BitsEllipse: one real point spread
// over four pixels.
class AntiAliasPlotter {
 public:
  AntiAliasPlotter(Bits& bits, const RectRegion& region, int32_t colour, double opacity)
      : bits_(bits), region_(region) {
    alpha_ = Round(opacity * 2.55);
    if (alpha_ == 0) alpha_ = 1;
    part_[0] = BlueOf(colour);
    part_[1] = GreenOf(colour);
    part_[2] = RedOf(colour);
  }

  void Plot(double px, double py) {
    // Keeps the arithmetic off exact pixel centres.
    if (std::floor(px) == px) px += 0.001;
    if (std::floor(py) == py) py += 0.001;
    const double ax = px - 0.5, ay = py - 0.5;
    const double by = ay + 1;
    const int32_t ix = Round(ax), ix2 = ix + 1, iy = Round(ay), iy2 = Round(by);
    const double cx = ix + 0.5;
    const double hx = (cx - ax) * 256 - cx + ax;
    const double lx = 255 - hx;
    const double wy0 = iy + 0.5 - ay;
    const double wy1 = by - iy2 + 0.5;
    Corner(ix, iy, RoundByte(wy0 * hx));
    Corner(ix2, iy, RoundByte(wy0 * lx));
    Corner(ix, iy2, RoundByte(wy1 * hx));
    Corner(ix2, iy2, RoundByte(wy1 * lx));
  }

 private:
  void Corner(int32_t x, int32_t y, uint8_t weight) {
    if (!InPicture(bits_, x, y) || !region_.Contains(x, y)) return;
    const double f = (weight / 255.0) * alpha_ / 255;
    uint8_t* p = bits_.Pixel(x, y);
    for (int c = 0; c < 3; ++c) p[c] = RoundByte(p[c] - f * (p[c] - part_[c]));
  }

  Bits& bits_;
  const RectRegion& region_;
  int32_t alpha_;
  int32_t part_[3];
};

// The shared stepping of BitsBrushLine and BitsMaskedLine: a dab every tenth
// of the size along the line.
template <class Dab>
void StepAlongLine(int16_t x1, int16_t y1, int16_t x2, int16_t y2, int32_t size, Dab&& dab) {
  if (size == 0) return;  // no step length: there is no line to walk
  const int32_t dx = x2 - x1, dy = y2 - y1;
  const int32_t n = std::max(std::abs(dx), std::abs(dy)) + 1;
  const double stepLen = size / 10.0;
  const double stepX = static_cast<double>(dx) / n * stepLen;
  const double stepY = static_cast<double>(dy) / n * stepLen;
  double px = x1, py = y1;
  const int32_t count = Round(n / stepLen);
  for (int32_t i = 0; i <= count; ++i) {
    dab(Round(px), Round(py));
    px += stepX;
    py += stepY;
  }
}

}  // namespace

const RectRegion* PaintRegion(const cBitRegion& bitRegion) {
  return bitRegion.IsEmptyRegion() ? bitRegion.RegionMain() : bitRegion.Region();
}

void CreateDoneBitsTable(PaintTarget& target) {
  const bool has = Ready(target);
  target.doneBits.Create(has ? target.bits.Width() : 0, has ? target.bits.Height() : 0);
}

int32_t BitsGetPixel(const PaintTarget& target, int32_t x, int32_t y) {
  if (!Ready(target)) return -1;
  if (!InPicture(target.bits, x, y)) return 0;
  const uint8_t* p = target.bits.Pixel(x, y);
  return RGB(p[2], p[1], p[0]);
}

void BitsPaint(PaintTarget& target, int32_t x, int32_t y, const Bits& source, int32_t transparent, double opacity,
               bool useSelection) {
  if (!Ready(target)) return;
  const RectRegion* region = useSelection ? PaintRegion(target.bitRegion) : target.bitRegion.RegionMain();
  if (!region) return;
  const double w = opacity / 100;
  const bool keyed = transparent != -1;
  const int32_t kb = BlueOf(transparent), kg = GreenOf(transparent), kr = RedOf(transparent);
  ForEachSourcePixel(target.bits, *region, source, x, y, [&](uint8_t* p, const uint8_t* s) {
    if (keyed && s[2] == kr && s[1] == kg && s[0] == kb) return;
    Blend(p, w, s[0], s[1], s[2]);
  });
}

void BitsPaintPreMasked(PaintTarget& target, int32_t x, int32_t y, const Bits& source, double opacity,
                        bool useSelection) {
  if (!Ready(target)) return;
  const RectRegion* region = useSelection ? PaintRegion(target.bitRegion) : target.bitRegion.RegionMain();
  if (!region) return;
  const double w = opacity / 100;
  ForEachSourcePixel(target.bits, *region, source, x, y, [&](uint8_t* p, const uint8_t* s) {
    if (s[3] == 255) return;
    Blend(p, w, s[0], s[1], s[2]);
  });
}

void BitsBWMask(PaintTarget& target, int32_t x, int32_t y, const Bits& mask, int32_t colour, double opacity) {
  if (!Ready(target)) return;
  const RectRegion* region = PaintRegion(target.bitRegion);
  if (!region) return;
  const double b = BlueOf(colour), g = GreenOf(colour), r = RedOf(colour);
  ForEachSourcePixel(target.bits, *region, mask, x, y, [&](uint8_t* p, const uint8_t* s) {
    const int32_t v = s[0];
    if (v >= 190) return;
    Blend(p, (opacity / 100) * (1 - v / 190.0), b, g, r);
  });
}

void BitsLine(PaintTarget& target, int32_t x1, int32_t y1, int32_t x2, int32_t y2, int32_t colour, double opacity) {
  if (!Ready(target)) return;
  const RectRegion* region = PaintRegion(target.bitRegion);
  if (!region) return;
  AntiAliasPlotter plotter(target.bits, *region, colour, opacity);
  const double dx = static_cast<double>(x2) - x1, dy = static_cast<double>(y2) - y1;
  const double n = std::max(std::fabs(dx), std::fabs(dy)) + 1;
  const double sx = dx / n / 2, sy = dy / n / 2;
  double px = x1, py = y1, k = 0;
  while (k < n) {
    k += 0.5;
    px += sx;
    py += sy;
    plotter.Plot(px, py);
  }
}

void BitsRectangle(PaintTarget& target, int32_t x1, int32_t y1, int32_t x2, int32_t y2, int32_t colour,
                   double opacity) {
  BitsLine(target, x1, y1, x2, y1, colour, opacity);
  BitsLine(target, x2, y1, x2, y2, colour, opacity);
  BitsLine(target, x2, y2, x1, y2, colour, opacity);
  BitsLine(target, x1, y2, x1, y1, colour, opacity);
}

void BitsPolygon(PaintTarget& target, int32_t x1, int32_t y1, int32_t x2, int32_t y2, int32_t sides, int32_t colour,
                 double opacity) {
  if (!Ready(target) || sides < 1) return;
  const double dx = static_cast<double>(x2) - x1, dy = static_cast<double>(y2) - y1;
  double a0;
  if (dx == 0) {
    a0 = (dy > 0 ? 1 : (dy < 0 ? -1 : 0)) * 1.5708;
  } else {
    a0 = std::atan(dy / dx);
  }
  if (dx < 0) {
    a0 += 3.1416;
  } else if (dy < 0) {
    a0 += 6.2832;
  }
  const double step = 6.28318 / sides;
  const int32_t radius = Round(std::sqrt(dx * dx + dy * dy));
  const double last = a0 + 6.28318 - step + 0.001;
  for (double a = a0; a <= last; a += step) {
    BitsLine(target, Round(x1 + radius * std::cos(a)), Round(y1 + radius * std::sin(a)),
             Round(x1 + radius * std::cos(a + step)), Round(y1 + radius * std::sin(a + step)), colour, opacity);
  }
}

void BitsEllipse(PaintTarget& target, double x, double y, double rx, double ry, int32_t colour, double opacity) {
  if (!Ready(target)) return;
  const RectRegion* region = PaintRegion(target.bitRegion);
  if (!region) return;
  AntiAliasPlotter plotter(target.bits, *region, colour, opacity);
  const double v = 6.283185 * 0.085;
  const double m = std::max(ry, rx);
  const double step = m < 0 ? -v / m : (m == 0 ? v : v / m);
  double a = 0;
  while (a < 6.283185) {
    a += step;
    plotter.Plot(x + rx * std::cos(a), y + ry * std::sin(a));
  }
}

void BitsBrush(PaintTarget& target, int32_t x, int32_t y, int32_t size, double opacity, int32_t colour) {
  if (!Ready(target)) return;
  const RectRegion* region = PaintRegion(target.bitRegion);
  if (!region) return;
  EnsureDoneBits(target);
  const double w = opacity / 100;
  const double b = BlueOf(colour), g = GreenOf(colour), r = RedOf(colour);
  ForEachDiscPixel(target.bits, *region, x, y, size, [&](uint8_t* p, int32_t px, int32_t py, int32_t, int32_t) {
    if (target.doneBits.TestAndSet(px, py)) Blend(p, w, b, g, r);
  });
}

void BitsBrushLine(PaintTarget& target, int16_t x1, int16_t y1, int16_t x2, int16_t y2, int32_t size, double opacity,
                   int32_t colour, int32_t mode) {
  if (!Ready(target) || mode < kBrushPaint || mode > kBrushDarken) return;
  StepAlongLine(x1, y1, x2, y2, size, [&](int32_t px, int32_t py) {
    switch (mode) {
      case kBrushPaint:
        BitsBrush(target, px, py, size, opacity, colour);
        break;
      case kBrushSoften:
        BitsSoften(target, px, py, size, opacity, false);
        break;
      case kBrushSoftenForced:
        BitsSoften(target, px, py, size, opacity, true);
        break;
      case kBrushSharpen:
        BitsSharpen(target, px, py, size, opacity);
        break;
      case kBrushLighten:
        BitsBrightness(target, px, py, size, opacity, true);
        break;
      case kBrushDarken:
        BitsBrightness(target, px, py, size, opacity, false);
        break;
      default:
        break;
    }
  });
}

void BitsAirbrush(PaintTarget& target, int32_t x, int32_t y, int32_t size, double opacity, double density,
                  double softness, int32_t colour) {
  if (!Ready(target)) return;
  const RectRegion* region = PaintRegion(target.bitRegion);
  if (!region) return;
  const double o = opacity / 100, d = density / 100, f = 1 - softness / 100;
  const int32_t r = Round(size * 0.5);
  const double b = BlueOf(colour), g = GreenOf(colour), red = RedOf(colour);
  ForEachDiscPixel(target.bits, *region, x, y, size, [&](uint8_t* p, int32_t, int32_t, int32_t dx, int32_t dy) {
    if (target.random.Next() > d) return;
    // The centre of a one-pixel disc (r = 0) gets the full weight.
    const double fall = (dx == 0 && dy == 0) ? 0.0 : f * std::sqrt(static_cast<double>(dx * dx + dy * dy)) / r;
    Blend(p, (1 - fall) * o, b, g, red);
  });
}

void BitsBrightness(PaintTarget& target, int32_t x, int32_t y, int32_t size, double strength, bool lighten) {
  if (!Ready(target)) return;
  const RectRegion* region = PaintRegion(target.bitRegion);
  if (!region) return;
  EnsureDoneBits(target);
  uint8_t table[256];
  const double factor = lighten ? 1 + strength / 100 : 1 - strength / 100;
  for (int i = 0; i < 256; ++i) table[i] = ClampByte(Round(factor * i));
  ForEachDiscPixel(target.bits, *region, x, y, size, [&](uint8_t* p, int32_t px, int32_t py, int32_t, int32_t) {
    if (!target.doneBits.TestAndSet(px, py)) return;
    p[0] = table[p[0]];
    p[1] = table[p[1]];
    p[2] = table[p[2]];
  });
}

void BitsMasked(PaintTarget& target, int32_t x, int32_t y, const Bits& tile, int32_t size, double opacity) {
  if (!Ready(target) || tile.IsNull()) return;
  const RectRegion* region = PaintRegion(target.bitRegion);
  if (!region) return;
  EnsureDoneBits(target);
  const double w = opacity / 100;
  // The periods are the tile's highest indices, W + 1 and H + 1.
  const int32_t tw = tile.Width() + 1, th = tile.Height() + 1;
  ForEachDiscPixel(target.bits, *region, x, y, size, [&](uint8_t* p, int32_t px, int32_t py, int32_t, int32_t) {
    if (!target.doneBits.TestAndSet(px, py)) return;
    const uint8_t* s = tile.Pixel(px % tw, py % th);
    Blend(p, w, s[0], s[1], s[2]);
  });
}

void BitsMaskedLine(PaintTarget& target, int16_t x1, int16_t y1, int16_t x2, int16_t y2, int32_t size, double opacity,
                    const Bits& tile) {
  if (!Ready(target)) return;
  StepAlongLine(x1, y1, x2, y2, size, [&](int32_t px, int32_t py) { BitsMasked(target, px, py, tile, size, opacity); });
}

void BitsSoften(PaintTarget& target, int32_t x, int32_t y, int32_t size, double strength, bool force) {
  if (!Ready(target)) return;
  const RectRegion* region = PaintRegion(target.bitRegion);
  if (!region) return;
  EnsureDoneBits(target);
  const int32_t k = Round(10 - strength / 10);
  const int32_t d = k + 4;
  const ptrdiff_t stride = target.bits.Stride();
  ForEachDiscPixel(target.bits, *region, x, y, size, [&](uint8_t* p, int32_t px, int32_t py, int32_t, int32_t) {
    if (target.doneBits.Get(px, py) && !force) return;
    target.doneBits.Set(px, py);
    if (d == 0) return;
    for (int c = 0; c < 3; ++c) {
      const int32_t sum = p[c] * k + p[c - 4] + p[c - stride] + p[c + stride] + p[c + 4];
      StoreByte(p[c], sum / d);
    }
  });
}

void BitsSharpen(PaintTarget& target, int32_t x, int32_t y, int32_t size, double strength) {
  if (!Ready(target)) return;
  const RectRegion* region = PaintRegion(target.bitRegion);
  if (!region) return;
  EnsureDoneBits(target);
  const int32_t k = Round(15 - strength / 15);
  const int32_t d = k - 4;
  const ptrdiff_t stride = target.bits.Stride();
  ForEachDiscPixel(target.bits, *region, x, y, size, [&](uint8_t* p, int32_t px, int32_t py, int32_t, int32_t) {
    if (!target.doneBits.TestAndSet(px, py) || d == 0) return;
    for (int c = 0; c < 3; ++c) {
      const int32_t sum = p[c] * k - p[c - 4] - p[c - stride] - p[c + stride] - p[c + 4];
      p[c] = ClampByte(sum / d);
    }
  });
}

void BitsFill(PaintTarget& target, int32_t x, int32_t y, int32_t colour, int32_t tolerance, double opacity) {
  if (!Ready(target) || !InPicture(target.bits, x, y)) return;
  const RectRegion* region = PaintRegion(target.bitRegion);
  if (!region) return;
  EnsureDoneBits(target);
  const int32_t fresh[3] = {BlueOf(colour), GreenOf(colour), RedOf(colour)};
  uint8_t* seed = target.bits.Pixel(x, y);
  const int32_t old[3] = {seed[0], seed[1], seed[2]};
  const double a = 1 - opacity / 100;
  const double w = 1 - a;
  if (region->Contains(x, y)) {
    for (int c = 0; c < 3; ++c) seed[c] = RoundByte(a * old[c] + w * fresh[c]);
  }
  // A colour this close to the seed counts as already filled.
  if (std::abs(fresh[0] - old[0]) < 10 && std::abs(fresh[1] - old[1]) < 10 && std::abs(fresh[2] - old[2]) < 10) return;
  uint8_t table[3][256];
  for (int c = 0; c < 3; ++c) {
    const int32_t premultiplied = Round(w * fresh[c]);
    for (int i = 0; i < 256; ++i) table[c][i] = RoundByte(a * i + premultiplied);
  }
  FillScan(target.bits, *region, target.doneBits, x, y, old, tolerance, [&](uint8_t* p, int32_t, int32_t) {
    p[0] = table[0][p[0]];
    p[1] = table[1][p[1]];
    p[2] = table[2][p[2]];
  });
}

void BitsFillTexture(PaintTarget& target, int32_t x, int32_t y, const Bits& tile, int32_t tolerance, double opacity) {
  if (!Ready(target) || tile.IsNull() || !InPicture(target.bits, x, y)) return;
  const RectRegion* region = PaintRegion(target.bitRegion);
  if (!region) return;
  EnsureDoneBits(target);
  // The periods are the tile's highest indices, W + 1 and H + 1.
  const int32_t tw = tile.Width() + 1, th = tile.Height() + 1;
  uint8_t* seed = target.bits.Pixel(x, y);
  const int32_t old[3] = {seed[0], seed[1], seed[2]};
  const uint8_t* seedTile = tile.Pixel(x % tw, y % th);
  const double a = 1 - opacity / 100;
  const double w = 1 - a;
  if (region->Contains(x, y)) {
    for (int c = 0; c < 3; ++c) seed[c] = RoundByte(a * old[c] + w * seedTile[c]);
  }
  if (std::abs(seedTile[0] - old[0]) < 10 && std::abs(seedTile[1] - old[1]) < 10 &&
      std::abs(seedTile[2] - old[2]) < 10) {
    return;
  }
  FillScan(target.bits, *region, target.doneBits, x, y, old, tolerance, [&](uint8_t* p, int32_t px, int32_t py) {
    const uint8_t* s = tile.Pixel(px % tw, py % th);
    for (int c = 0; c < 3; ++c) p[c] = RoundByte(a * p[c] + w * s[c]);
  });
}

}  // namespace kelvane
