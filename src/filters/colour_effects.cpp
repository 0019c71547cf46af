// Colour effects of cBitFilter: stylised colourings, halftones, noise,
// palettes, gradients.
//
// Most are one pixel in, one pixel out, row-parallel. The exceptions keep
// their order of work where it shows in the result: HALFTONE and PIXELIZE
// carry a mean from one block to the next (both split the work so that rows
// still run in parallel and the carried means are settled separately),
// StuckiBW and PaletteApply push errors forward and run in raster order, and
// NOISE and Dissolve draw from the engine's random source in raster order.
//
// Region points outside the array cannot be read: the filters that skip
// failed statements leave them alone; ClassyColors, HALFTONE and PaletteApply,
// which do not, fail whole and return the picture unchanged.
#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <vector>

#include "base/numeric.h"
#include "filters/bit_filter.h"
#include "filters/filter_families.h"
#include "filters/palette.h"

namespace kelvane {

namespace {

constexpr int64_t kInt32Min = std::numeric_limits<int32_t>::min();
constexpr int64_t kInt32Max = std::numeric_limits<int32_t>::max();

template <class Fn>
inline void PerPixel(const Bits& in, Bits& out, int32_t y, int32_t x0, int32_t x1, Fn&& fn) {
  const uint8_t* s = in.Pixel(x0, y);
  uint8_t* d = out.Pixel(x0, y);
  for (int32_t n = x1 - x0; n > 0; --n, s += 4, d += 4) fn(s, d);
}

// True when every region point of the loop box lies in the array (an empty
// box trivially). The box is the region's bounding box, so a box edge past
// the array means a region point past it.
bool BoxInsideArray(const cBitFilter& f) {
  if (f.BoxLeft > f.BoxRight || f.BoxTop > f.BoxBottom) return true;
  return f.BoxLeft >= -kBitsFrame && f.BoxRight <= f.MaxX + kBitsFrame && f.BoxTop >= -kBitsFrame &&
         f.BoxBottom <= f.MaxY + kBitsFrame;
}

// Floor division and the multiples of a positive step, for negative
// coordinates in the frame as well.
int64_t FloorDiv(int64_t a, int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }
int64_t FloorToMultiple(int64_t a, int64_t step) { return FloorDiv(a, step) * step; }
int64_t CeilToMultiple(int64_t a, int64_t step) { return -FloorDiv(-a, step) * step; }

// The mean table T(i) = trunc(i / 3) for i = b + g + r.
struct MeanTable {
  std::array<uint8_t, 766> t;
  MeanTable() {
    for (int i = 0; i < 766; ++i) t[i] = static_cast<uint8_t>(i / 3);
  }
};
const MeanTable& Mean3() {
  static const MeanTable table;
  return table;
}

// Per-channel products of the luminance weights 0.071, 0.707, 0.222, so that
// the weighted sum adds the very same doubles in the same order as the
// formula. (The same tables as GreyScale's, kept here as a file-local copy.)
struct LumaTables {
  std::array<double, 256> blue, green, red;
  LumaTables() {
    for (int v = 0; v < 256; ++v) {
      blue[v] = v * 0.071;
      green[v] = v * 0.707;
      red[v] = v * 0.222;
    }
  }
};

// The pair tables of ClassyColors, indexed [first * 256 + second].
struct ClassyTables {
  std::vector<uint8_t> mean99;    // (u, v): round((u * 0.99 + v * 0.99) / 2)
  std::vector<uint8_t> softBlue;  // (b, g): round(b * arctan(g) / 1.9)
  std::vector<uint8_t> retro;     // (b, r): round((2 * b * 0.99 + r * 0.99) / 12)
  ClassyTables() : mean99(65536), softBlue(65536), retro(65536) {
    for (int u = 0; u < 256; ++u)
      for (int v = 0; v < 256; ++v) {
        const size_t i = static_cast<size_t>(u * 256 + v);
        mean99[i] = static_cast<uint8_t>(Round((u * 0.99 + v * 0.99) / 2));
        softBlue[i] = static_cast<uint8_t>(Round(u * std::atan(static_cast<double>(v)) / 1.9));
        retro[i] = static_cast<uint8_t>(Round((2.0 * u * 0.99 + v * 0.99) / 12));
      }
  }
};

// One colour argument split into channel values in pixel order (blue,
// green, red); -1 means "the pixel's own value".
struct SplitColour {
  bool own = false;
  double channel[3] = {0, 0, 0};
  explicit SplitColour(int32_t colour) {
    if (colour == -1) {
      own = true;
      return;
    }
    channel[0] = BlueOf(colour);
    channel[1] = GreenOf(colour);
    channel[2] = RedOf(colour);
  }
};

// What the two gradients share, worked out once before the pixel loop.
struct GradientSetup {
  int32_t length = 0;  // L, the rounded distance of the two points
  double cosine = 0, sine = 0;
  float bands = 0;     // S
  double opacity = 0;  // o
  double x1 = 0, y1 = 0;

  GradientSetup(int32_t px1, int32_t py1, int32_t px2, int32_t py2, int32_t opacityPercent, int32_t frequency) {
    const double dx = static_cast<double>(px2) - px1;
    const double dy = static_cast<double>(py2) - py1;
    x1 = px1;
    y1 = py1;
    length = Round(std::sqrt(dx * dx + dy * dy));
    if (length == 0) return;
    opacity = opacityPercent / 100.0;
    bands = static_cast<float>(frequency - 1) * 3.141592f;
    if (length < bands) bands = static_cast<float>(length);
    // The angle in degrees, the arctangent turned into degrees by the same
    // factor that turns the degrees back into radians below.
    constexpr double kRadiansPerDegree = 0.0174532;
    double angle;
    if (dx != 0) {
      angle = std::atan(dy / dx) / kRadiansPerDegree;
    } else {
      angle = (dy > 0 ? 1.0 : (dy < 0 ? -1.0 : 0.0)) * 90.0;
    }
    if (dx < 0) {
      angle += 180;
    } else if (dy < 0) {
      angle += 360;
    }
    angle *= kRadiansPerDegree;
    cosine = std::cos(angle) / length;
    sine = std::sin(angle) / length;
  }
};

template <bool kCircular>
void GradientSpan(const GradientSetup& g, const SplitColour& c1, const SplitColour& c2, const Bits& source,
                  Bits& out, int32_t y, int32_t x0, int32_t x1) {
  // The source may be shaped unlike the engine's array: stay inside it.
  if (y < -kBitsFrame || y >= source.Height() + kBitsFrame) return;
  x0 = std::max(x0, -kBitsFrame);
  x1 = std::min(x1, source.Width() + kBitsFrame);
  if (x0 >= x1) return;
  const double v = y - g.y1;
  const double rest = 1 - g.opacity;
  const uint8_t* s = source.Pixel(x0, y);
  uint8_t* d = out.Pixel(x0, y);
  for (int32_t x = x0; x < x1; ++x, s += 4, d += 4) {
    const double u = x - g.x1;
    double t = kCircular ? std::sqrt(u * u + v * v) / g.length : u * g.cosine + v * g.sine;
    if (g.bands > 0) {
      t = std::sin(t * g.bands);
      t = t * t;
    }
    t = std::clamp(t, 0.0, 1.0);
    for (int c = 0; c < 3; ++c) {
      const double old = s[c];
      const double from = c1.own ? old : c1.channel[c];
      const double to = c2.own ? old : c2.channel[c];
      d[c] = RoundByte(g.opacity * (t * to + (1 - t) * from) + rest * old);
    }
  }
}

}  // namespace

// ---------------------------------------------------------------------------
// Colourings

Bits cBitFilter::SpecialColors(bool keepRed, bool keepGreen, bool keepBlue) {
  Bits out = CopyOfBits();
  RegionBox(0);
  const bool kill[3] = {!keepBlue, !keepGreen, !keepRed};
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    PerPixel(bits_, out, y, x0, x1, [&](const uint8_t*, uint8_t* d) {
      for (int c = 0; c < 3; ++c)
        if (kill[c]) d[c] = 0;
    });
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::ClassyColors(int32_t style) {
  static const ClassyTables tables;
  Bits out = CopyOfBits();
  RegionBox(0);
  // A region point past the array is a failed read, and this filter does not
  // skip failed statements: nothing changes.
  if (!BoxInsideArray(*this)) {
    RaiseProgress(100);
    return out;
  }
  const uint8_t* m = tables.mean99.data();
  std::atomic<bool> failed{false};
  auto run = [&](auto&& pixel) {
    ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) { PerPixel(bits_, out, y, x0, x1, pixel); });
  };
  // Channels: s/d[0] blue, [1] green, [2] red. Each output is written on top
  // of the copy in the order given; lower-case values are the input's.
  switch (style) {
    case 0:  // SOFTBLUE
      run([&](const uint8_t* s, uint8_t* d) {
        d[1] = m[s[2] * 256 + s[1]];
        d[2] = d[1];
        d[0] = tables.softBlue[s[0] * 256 + s[1]];
      });
      break;
    case 1:  // SOFTGREEN
      run([&](const uint8_t* s, uint8_t* d) {
        d[1] = m[s[2] * 256 + s[1]];
        d[2] = d[1];
      });
      break;
    case 2:  // PURPLE
      run([&](const uint8_t* s, uint8_t* d) {
        d[2] = m[s[2] * 256 + s[0]];
        d[0] = s[2];
      });
      break;
    case 3:  // SOFTRED
      run([&](const uint8_t* s, uint8_t* d) {
        d[1] = m[s[1] * 256 + s[0]];
        d[0] = d[1];
      });
      break;
    case 6:  // SPOTTED
      run([&](const uint8_t* s, uint8_t* d) {
        d[0] = static_cast<uint8_t>(Round(s[2] / 2.0 + s[0] / 4.0));
        d[1] = static_cast<uint8_t>(Round(s[2] / 4.0 + s[1] / 2.0));
        d[2] = static_cast<uint8_t>(Round(s[1] / 4.0 + s[0] / 2.0));
      });
      break;
    case 7:  // RETRO
      run([&](const uint8_t* s, uint8_t* d) {
        const int32_t t = tables.retro[s[0] * 256 + s[2]];
        // |t - g - 1| reaches 256 for a full green over a near-black blue
        // and red: a byte overflow that fails the whole filter.
        const int32_t blue = std::abs(t - s[1] - 1);
        if (blue > 255) {
          failed.store(true, std::memory_order_relaxed);
          return;
        }
        d[0] = static_cast<uint8_t>(blue);
        d[1] = static_cast<uint8_t>(std::abs(t - s[2] - 1));
        d[2] = static_cast<uint8_t>(std::abs(t - s[0] - 1));
      });
      break;
    case 8:  // SOFTYELLOW
      run([&](const uint8_t* s, uint8_t* d) {
        d[0] = s[1];
        d[1] = s[2];
      });
      break;
    case 10:  // ORANGE
      run([&](const uint8_t* s, uint8_t* d) {
        d[2] = s[2];
        d[0] = static_cast<uint8_t>(Round(s[1] / 2.0));
        d[1] = static_cast<uint8_t>(Round(s[2] / 2.0));
      });
      break;
    case 11:  // WETPAPER
      run([&](const uint8_t* s, uint8_t* d) {
        d[2] = 170;
        d[1] = s[0];
        d[0] = s[1];
      });
      break;
    default:  // other styles leave the pixels; the rows are still walked
      ForEachRegionSpan(true, [](int32_t, int32_t, int32_t) {});
      break;
  }
  if (failed.load()) out = bits_;
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::OLDPHOTO() {
  static const LumaTables tables;
  Bits out = CopyOfBits();
  RegionBox(0);
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    PerPixel(bits_, out, y, x0, x1, [&](const uint8_t* s, uint8_t* d) {
      const auto luma =
          static_cast<uint8_t>(RoundHalfEven(tables.blue[s[0]] + tables.green[s[1]] + tables.red[s[2]]));
      d[1] = d[2] = luma;
    });
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::THERMIQUE() {
  Bits out = CopyOfBits();
  RegionBox(0);
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    PerPixel(bits_, out, y, x0, x1, [](const uint8_t* s, uint8_t* d) {
      const uint8_t b = s[0], g = s[1], r = s[2];
      if (r > g && r > b) {
        d[0] = 0, d[1] = 0, d[2] = r;
      } else if (g > r && g > b) {
        d[0] = 0, d[1] = g, d[2] = 0;
      } else if (b > g && b > r) {
        d[0] = b, d[1] = 0, d[2] = 0;
      }
    });
  });
  RaiseProgress(100);
  return out;
}

namespace {

// XBLACK and PHOTOCOP: a channel is dark at or below 127.5, bright at or
// above it; for bytes that is c <= 127 and c >= 128.
template <uint8_t kAllDark, uint8_t kMixed>
void DarkBrightPixel(const uint8_t* s, uint8_t* d) {
  const int dark = (s[0] <= 127) + (s[1] <= 127) + (s[2] <= 127);
  if (dark == 0) return;
  const uint8_t v = dark == 3 ? kAllDark : kMixed;
  d[0] = d[1] = d[2] = v;
}

}  // namespace

Bits cBitFilter::XBLACK() {
  Bits out = CopyOfBits();
  RegionBox(0);
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    PerPixel(bits_, out, y, x0, x1, DarkBrightPixel<255, 0>);
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::PHOTOCOP() {
  Bits out = CopyOfBits();
  RegionBox(0);
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    PerPixel(bits_, out, y, x0, x1, DarkBrightPixel<0, 255>);
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::SKETCH(int32_t weight, bool blackAndWhite, Colour colour) {
  Bits out = CopyOfBits();
  RegionBox(0);
  // A pixel on the array's outer ring would read past the array: its
  // statements fail and it keeps its value, so it is not visited.
  BoxLeft = std::max(BoxLeft, -kBitsFrame + 1);
  BoxRight = std::min(BoxRight, MaxX + kBitsFrame - 1);
  BoxTop = std::max(BoxTop, -kBitsFrame + 1);
  BoxBottom = std::min(BoxBottom, MaxY + kBitsFrame - 1);
  const uint8_t paint[3] = {BlueOf(colour), GreenOf(colour), RedOf(colour)};
  const ptrdiff_t stride = bits_.Stride();
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    PerPixel(bits_, out, y, x0, x1, [&](const uint8_t* s, uint8_t* d) {
      const uint8_t* up = s - stride;
      const uint8_t* down = s + stride;
      int32_t sum = 0;
      for (int c = 0; c < 3; ++c) {
        const int32_t around = up[c - 4] + up[c] + up[c + 4] + s[c - 4] + s[c + 4] + down[c - 4] + down[c] +
                               down[c + 4];
        sum += 8 * s[c] - around + 255;
      }
      const uint8_t w = sum / 3 > weight ? 255 : 0;
      if (blackAndWhite) {
        d[0] = d[1] = d[2] = w;
      } else if (w == 255) {
        d[0] = paint[0], d[1] = paint[1], d[2] = paint[2];
      }
    });
  });
  RaiseProgress(100);
  return out;
}

// ---------------------------------------------------------------------------
// Block filters

Bits cBitFilter::HALFTONE(int32_t radius, int32_t definition, int32_t intensity) {
  Bits out = CopyOfBits();
  RegionBox(0);
  const RectRegion* region = region_;
  auto unchanged = [&]() {
    RaiseProgress(100);
    return std::move(out);
  };
  // A radius of 0 divides by zero and a negative one walks no block; with no
  // block to walk nothing is computed at all.
  if (radius <= 0 || !region || BoxLeft > BoxRight || BoxTop > BoxBottom) return unchanged();
  const int64_t r = radius;
  const int64_t step = 2 * r;
  const int64_t sumRD = r + definition;
  const double f = (intensity + 100.0) / 100.0;
  // Errors of this filter, which does not skip them: a step or R + D past the
  // 32-bit range, f = 0 (count / f divides by zero in the first block), a
  // region point past the array.
  if (step > kInt32Max || sumRD < kInt32Min || sumRD > kInt32Max || f == 0 || !BoxInsideArray(*this)) {
    return unchanged();
  }
  const double limitValue = RoundHalfEven(static_cast<double>(sumRD) / r * r * r);
  if (limitValue < kInt32Min || limitValue > kInt32Max) return unchanged();
  const auto limit = static_cast<int64_t>(limitValue);

  const int64_t blocksX = (static_cast<int64_t>(BoxRight) - BoxLeft) / step + 1;
  const int64_t blocksY = (static_cast<int64_t>(BoxBottom) - BoxTop) / step + 1;
  const int32_t left = BoxLeft, top = BoxTop, right = BoxRight, bottom = BoxBottom;

  // Means travel packed as blue | green << 8 | red << 16; -1 is "none yet".
  // The blocks of a row whose mean is carried in from an earlier row (their
  // count / f rounds to 0 before any block of the row got a mean) wait in
  // `waiting` and are painted once the carried means are known.
  std::vector<std::vector<int32_t>> waiting(static_cast<size_t>(blocksY));
  std::vector<int32_t> lastMean(static_cast<size_t>(blocksY), -1);
  std::atomic<bool> failed{false};

  // Block (j, k) has its top-left corner at (left + k * step, top + j * step)
  // and reads the closed square of side 2R + 1 from there; neighbouring
  // blocks share a row or column, which the later block paints. So each block
  // paints its half-open square of side 2R, the last row and column of blocks
  // their closing line as well: the squares are disjoint.
  // The weight of a point at (dx, dy) from its block's centre: 1 - q / L,
  // or kBlack beyond L, or kFails where L = 0 makes it 0 / 0. Tabled for the
  // radii of everyday use; the table holds the very same doubles.
  constexpr double kBlack = -1, kFails = -2;
  auto weightAt = [&](int64_t dx, int64_t dy) {
    const int64_t q = dx * dx + dy * dy;
    if (q > limit) return kBlack;
    if (limit == 0) return kFails;
    return 1 - static_cast<double>(q) / static_cast<double>(limit);
  };
  const int64_t side = 2 * r + 1;
  std::vector<double> weights;
  if (side <= 129) {
    weights.resize(static_cast<size_t>(side * side));
    for (int64_t dy = -r; dy <= r; ++dy)
      for (int64_t dx = -r; dx <= r; ++dx) weights[static_cast<size_t>((dy + r) * side + dx + r)] = weightAt(dx, dy);
  }

  auto paintBlock = [&](int64_t j, int64_t k, int32_t mean) {
    const int64_t bx = left + k * step, by = top + j * step;
    const int64_t cx = bx + r, cy = by + r;
    const int64_t xEnd = std::min<int64_t>(k == blocksX - 1 ? bx + step : bx + step - 1, right) + 1;
    const int64_t yEnd = std::min<int64_t>(j == blocksY - 1 ? by + step : by + step - 1, bottom);
    const int32_t m[3] = {mean & 0xFF, (mean >> 8) & 0xFF, (mean >> 16) & 0xFF};
    for (int64_t yy = by; yy <= yEnd; ++yy) {
      const int64_t dy = yy - cy;
      const double* row = weights.empty() ? nullptr : weights.data() + (dy + r) * side + r;
      region->ForEachSpan(static_cast<int32_t>(yy), static_cast<int32_t>(bx), static_cast<int32_t>(xEnd),
                          [&](int32_t x0, int32_t x1) {
                            uint8_t* d = out.Pixel(x0, static_cast<int32_t>(yy));
                            for (int32_t x = x0; x < x1; ++x, d += 4) {
                              const int64_t dx = x - cx;
                              const double w = row ? row[dx] : weightAt(dx, dy);
                              if (w == kBlack) {
                                d[0] = d[1] = d[2] = 0;
                              } else if (w == kFails) {
                                failed.store(true, std::memory_order_relaxed);
                              } else {
                                for (int c = 0; c < 3; ++c) d[c] = static_cast<uint8_t>(Round(w * m[c]));
                              }
                            }
                          });
    }
  };

  struct BlockSums {
    int64_t sum[3];
    int64_t count;
  };
  ForEachRow(top, bottom, true, [&](int32_t y) {
    if ((static_cast<int64_t>(y) - top) % step != 0) return;
    const int64_t j = (static_cast<int64_t>(y) - top) / step;
    thread_local std::vector<BlockSums> sums;
    sums.assign(static_cast<size_t>(blocksX), BlockSums{{0, 0, 0}, 0});
    const int64_t lastRow = std::min<int64_t>(y + step, bottom);
    for (int64_t yy = y; yy <= lastRow; ++yy) {
      region->ForEachSpan(static_cast<int32_t>(yy), left, right + 1, [&](int32_t a, int32_t b) {
        int64_t k = (a - left) / step;
        if ((a - left) % step == 0 && k > 0) --k;
        const int64_t kLast = std::min<int64_t>((b - 1 - left) / step, blocksX - 1);
        for (; k <= kLast; ++k) {
          const int64_t bx = left + k * step;
          const int64_t x0 = std::max<int64_t>(a, bx), x1 = std::min<int64_t>(b, bx + step + 1);
          if (x0 >= x1) continue;
          BlockSums& s = sums[static_cast<size_t>(k)];
          const uint8_t* p = bits_.Pixel(static_cast<int32_t>(x0), static_cast<int32_t>(yy));
          for (int64_t n = x1 - x0; n > 0; --n, p += 4) {
            s.sum[0] += p[0];
            s.sum[1] += p[1];
            s.sum[2] += p[2];
          }
          s.count += x1 - x0;
        }
      });
    }
    int32_t mean = -1;
    std::vector<int32_t>& wait = waiting[static_cast<size_t>(j)];
    for (int64_t k = 0; k < blocksX; ++k) {
      const BlockSums& s = sums[static_cast<size_t>(k)];
      if (s.count == 0) continue;  // no point of it is selected: it paints nothing
      const double n = RoundHalfEven(static_cast<double>(s.count) / f);
      if (n > kInt32Max || n < kInt32Min) {
        failed.store(true, std::memory_order_relaxed);
        continue;
      }
      if (n > 0) {
        mean = 0;
        for (int c = 0; c < 3; ++c) {
          const int32_t v = std::min(Round(static_cast<double>(s.sum[c]) / n), 255);
          mean |= v << (8 * c);
        }
      }
      if (mean >= 0) {
        paintBlock(j, k, mean);
      } else {
        wait.push_back(static_cast<int32_t>(k));
      }
    }
    lastMean[static_cast<size_t>(j)] = mean;
  });
  // The means carried from row to row: black before the first one.
  int32_t carried = 0;
  for (int64_t j = 0; j < blocksY; ++j) {
    for (int32_t k : waiting[static_cast<size_t>(j)]) paintBlock(j, k, carried);
    if (lastMean[static_cast<size_t>(j)] >= 0) carried = lastMean[static_cast<size_t>(j)];
  }
  if (failed.load()) out = bits_;
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::PIXELIZE(int32_t size) {
  Bits out = CopyOfBits();
  RegionBox(0);
  const RectRegion* region = region_;
  // A size of 0 divides by zero in every statement; sizes below 1 are taken
  // as leaving the picture.
  if (size < 1 || !region) {
    RaiseProgress(100);
    return out;
  }
  const int32_t first = std::max(BoxTop, -kBitsFrame);
  const int32_t last = std::min(BoxBottom, MaxY + kBitsFrame);
  const int32_t minX = std::max(BoxLeft, -kBitsFrame);
  const int32_t endX = std::min(BoxRight, MaxX + kBitsFrame) + 1;
  if (first > last || minX >= endX) {
    RaiseProgress(100);
    return out;
  }
  const int64_t n = size;
  const int32_t maxX = MaxX, maxY = MaxY;
  // bx = trunc(x / size) * size, by likewise (towards zero, as written).
  auto blockRowOf = [&](int32_t y) { return static_cast<int64_t>(y / size) * size; };
  // A block that does not meet the image has no pixel to count: its division
  // fails and the mean stays as it was.
  auto meetsRows = [&](int64_t by) { return by <= maxY && by + n - 1 >= 0; };
  auto meetsColumns = [&](int64_t bx) { return bx <= maxX && bx + n - 1 >= 0; };

  // The multiples of size across the walked columns: the block columns.
  const int64_t firstMultiple = CeilToMultiple(minX, n);
  const int64_t multiples = firstMultiple < endX ? (endX - 1 - firstMultiple) / n + 1 : 0;

  auto blockMean = [&](int64_t bx, int64_t by) {
    const int32_t x0 = static_cast<int32_t>(std::max<int64_t>(bx, 0)), x1 = static_cast<int32_t>(std::min<int64_t>(bx + n - 1, maxX));
    const int32_t y0 = static_cast<int32_t>(std::max<int64_t>(by, 0)), y1 = static_cast<int32_t>(std::min<int64_t>(by + n - 1, maxY));
    int64_t sum[3] = {0, 0, 0};
    for (int32_t y = y0; y <= y1; ++y) {
      const uint8_t* p = bits_.Pixel(x0, y);
      for (int32_t x = x0; x <= x1; ++x, p += 4) sum[0] += p[0], sum[1] += p[1], sum[2] += p[2];
    }
    const int64_t count = static_cast<int64_t>(x1 - x0 + 1) * (y1 - y0 + 1);
    return std::array<uint8_t, 3>{static_cast<uint8_t>(sum[0] / count), static_cast<uint8_t>(sum[1] / count),
                                  static_cast<uint8_t>(sum[2] / count)};
  };

  // The mean a row starts with is the last one computed before it: the block
  // of the last selected multiple of size, meeting the image, in the nearest
  // row above that has one. Found here, in raster order, from the spans only.
  const size_t rows = static_cast<size_t>(last - first + 1);
  std::vector<int64_t> lastMultiple(rows, std::numeric_limits<int64_t>::min());
  std::vector<int32_t> enteringRow(rows, std::numeric_limits<int32_t>::min());
  int32_t previous = std::numeric_limits<int32_t>::min();
  for (int32_t y = first; y <= last; ++y) {
    const size_t i = static_cast<size_t>(y - first);
    enteringRow[i] = previous;
    if (!meetsRows(blockRowOf(y))) continue;
    region->ForEachSpan(y, minX, endX, [&](int32_t x0, int32_t x1) {
      const int64_t m = FloorToMultiple(std::min<int64_t>(x1 - 1, maxX), n);
      if (m >= x0 && meetsColumns(m)) lastMultiple[i] = m;
    });
    if (lastMultiple[i] != std::numeric_limits<int64_t>::min()) previous = y;
  }

  // Block means of one block row, per thread, reused by the rows of that
  // block row the thread gets.
  struct RowMeans {
    uint64_t call = 0;
    int64_t by = 0;
    std::vector<std::array<uint8_t, 3>> mean;
    std::vector<uint8_t> valid;
    std::vector<int64_t> columnSums;
  };
  static std::atomic<uint64_t> calls{0};
  const uint64_t call = ++calls;

  ForEachRow(first, last, true, [&](int32_t y) {
    thread_local RowMeans cache;
    const int64_t by = blockRowOf(y);
    if (cache.call != call || cache.by != by) {
      cache.call = call;
      cache.by = by;
      cache.mean.assign(static_cast<size_t>(multiples), {0, 0, 0});
      cache.valid.assign(static_cast<size_t>(multiples), 0);
      if (meetsRows(by) && multiples > 0) {
        // Column sums over the block row, then block sums across.
        const int64_t c0 = std::max<int64_t>(firstMultiple, 0);
        const int64_t c1 = std::min<int64_t>(firstMultiple + multiples * n - 1, maxX);
        const int32_t y0 = static_cast<int32_t>(std::max<int64_t>(by, 0));
        const int32_t y1 = static_cast<int32_t>(std::min<int64_t>(by + n - 1, maxY));
        if (c0 <= c1) {
          cache.columnSums.assign(static_cast<size_t>(3 * (c1 - c0 + 1)), 0);
          for (int32_t yy = y0; yy <= y1; ++yy) {
            const uint8_t* p = bits_.Pixel(static_cast<int32_t>(c0), yy);
            int64_t* sums = cache.columnSums.data();
            for (int64_t x = c0; x <= c1; ++x, p += 4, sums += 3) sums[0] += p[0], sums[1] += p[1], sums[2] += p[2];
          }
          for (int64_t i = 0; i < multiples; ++i) {
            const int64_t bx = firstMultiple + i * n;
            if (!meetsColumns(bx)) continue;
            const int64_t x0 = std::max<int64_t>(bx, 0), x1 = std::min<int64_t>(bx + n - 1, maxX);
            int64_t sum[3] = {0, 0, 0};
            for (int64_t x = x0; x <= x1; ++x) {
              const int64_t* s = cache.columnSums.data() + 3 * (x - c0);
              sum[0] += s[0], sum[1] += s[1], sum[2] += s[2];
            }
            const int64_t count = (x1 - x0 + 1) * (y1 - y0 + 1);
            cache.mean[static_cast<size_t>(i)] = {static_cast<uint8_t>(sum[0] / count),
                                                  static_cast<uint8_t>(sum[1] / count),
                                                  static_cast<uint8_t>(sum[2] / count)};
            cache.valid[static_cast<size_t>(i)] = 1;
          }
        }
      }
    }
    std::array<uint8_t, 3> current{0, 0, 0};
    bool known = false;
    auto entering = [&]() {
      const int32_t from = enteringRow[static_cast<size_t>(y - first)];
      if (from != std::numeric_limits<int32_t>::min()) {
        current = blockMean(lastMultiple[static_cast<size_t>(from - first)], blockRowOf(from));
      }
      known = true;
    };
    region->ForEachSpan(y, minX, endX, [&](int32_t x0, int32_t x1) {
      int64_t x = x0;
      uint8_t* d = out.Pixel(x0, y);
      while (x < x1) {
        int64_t next;
        if (x % n == 0) {
          const size_t i = static_cast<size_t>((x - firstMultiple) / n);
          if (cache.valid[i]) {
            current = cache.mean[i];
            known = true;
          }
          next = x + n;
        } else {
          next = CeilToMultiple(x, n);
        }
        if (!known) entering();
        const int64_t stop = std::min<int64_t>(next, x1);
        for (; x < stop; ++x, d += 4) d[0] = current[0], d[1] = current[1], d[2] = current[2];
      }
    });
  });
  RaiseProgress(100);
  return out;
}

// ---------------------------------------------------------------------------
// Noise and dithers

Bits cBitFilter::NOISE(int32_t intensity, bool equalized) {
  Bits out = CopyOfBits();
  RegionBox(0);
  const double v = intensity;
  const double a = 2.0 * intensity + 1;
  // The draws follow the pixels in raster order: one thread.
  ForEachRegionSpan(false, [&](int32_t y, int32_t x0, int32_t x1) {
    PerPixel(bits_, out, y, x0, x1, [&](const uint8_t* s, uint8_t* d) {
      if (equalized) {
        const double term = a * Random() - v;
        for (int c = 0; c < 3; ++c) d[c] = RoundByte(s[c] + term);
      } else {
        const double red = a * Random() - v;
        const double green = a * Random() - v;
        const double blue = a * Random() - v;
        d[2] = RoundByte(s[2] + red);
        d[1] = RoundByte(s[1] + green);
        d[0] = RoundByte(s[0] + blue);
      }
    });
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::StuckiBW(int32_t contrast) {
  const MeanTable& t = Mean3();
  Bits out = CopyOfBits();

  // The mean over the whole image, as Contrast takes it.
  int64_t total = 0;
  for (int32_t y = 0; y <= MaxY; ++y) {
    const uint8_t* p = bits_.Row(y);
    for (int32_t x = 0; x <= MaxX; ++x, p += 4) total += t.t[p[0] + p[1] + p[2]];
  }
  const int64_t pixels = static_cast<int64_t>(MaxX + 1) * (MaxY + 1);
  const int32_t mean = pixels > 0 ? static_cast<int32_t>(total / pixels) : 0;

  // E(e, k) = trunc(e * weight(k) / 42) for e = -255..255.
  static const auto errors = [] {
    constexpr int kWeights[12] = {8, 4, 2, 4, 8, 4, 2, 1, 2, 4, 2, 1};
    std::array<std::array<int32_t, 12>, 511> e{};
    for (int d = -255; d <= 255; ++d)
      for (int k = 0; k < 12; ++k) e[static_cast<size_t>(d + 255)][static_cast<size_t>(k)] = d * kWeights[k] / 42;
    return e;
  }();

  RegionBox(0);
  // Three rows of error, over the array's columns; the columns of the frame
  // never receive any, so they read as zero, as do the image's edges.
  const int32_t width = MaxX + 1 + 2 * kBitsFrame;
  std::vector<int32_t> buffer(static_cast<size_t>(3 * std::max(width, 0)), 0);
  int current = 0;
  auto row = [&](int i) { return buffer.data() + static_cast<size_t>(((current + i) % 3) * width) + kBitsFrame; };

  const int32_t first = std::max(BoxTop, -kBitsFrame);
  const int32_t last = std::min(BoxBottom, MaxY + kBitsFrame);
  const int32_t minX = std::max(BoxLeft, -kBitsFrame);
  const int32_t endX = std::min(BoxRight, MaxX + kBitsFrame) + 1;
  const RectRegion* region = region_;
  const int32_t maxX = MaxX, maxY = MaxY;
  // With a contrast of 0 the statement that takes L divides by zero and
  // fails every time: L keeps its first value, 0.
  int32_t level = 0;
  ForEachRow(first, last, false, [&](int32_t y) {
    int32_t* here = row(0);
    int32_t* below = row(1);
    int32_t* below2 = row(2);
    if (region) {
      region->ForEachSpan(y, minX, endX, [&](int32_t x0, int32_t x1) {
        const uint8_t* s = bits_.Pixel(x0, y);
        uint8_t* d = out.Pixel(x0, y);
        for (int32_t x = x0; x < x1; ++x, s += 4, d += 4) {
          if (contrast != 0) {
            level = t.t[s[0] + s[1] + s[2]] + static_cast<int32_t>(static_cast<int64_t>(here[x]) * 10 / contrast);
          }
          level = std::clamp(level, 0, 255);
          const int32_t w = level >= mean ? 255 : 0;
          d[0] = d[1] = d[2] = static_cast<uint8_t>(w);
          const int32_t e = level - w;
          if (e == 0) continue;
          const std::array<int32_t, 12>& k = errors[static_cast<size_t>(e + 255)];
          if (x < maxX - 1) here[x + 1] += k[0];
          if (x < maxX - 2) here[x + 2] += k[1];
          if (y < maxY - 1) {
            if (x > 1) below[x - 2] += k[2];
            if (x > 0) below[x - 1] += k[3];
            below[x] += k[4];
            if (x < maxX - 1) below[x + 1] += k[5];
            if (x < maxX - 2) below[x + 2] += k[6];
          }
          if (y < maxY - 2) {
            if (x > 1) below2[x - 2] += k[7];
            if (x > 0) below2[x - 1] += k[8];
            below2[x] += k[9];
            if (x < maxX - 1) below2[x + 1] += k[10];
            if (x < maxX - 2) below2[x + 2] += k[11];
          }
        }
      });
    }
    // The row just done becomes the empty row two below the next one.
    std::fill(here - kBitsFrame, here - kBitsFrame + width, 0);
    current = (current + 1) % 3;
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::PaletteApply() {
  Bits out = CopyOfBits();
  RegionBox(0);
  PaletteLookup palette(CurrentPalette());
  // No colour to give, a colour that does not fit in a byte, or a region
  // point past the array: errors this filter does not skip. The engine's
  // array is left untouched as well.
  if (!palette.Usable() || !BoxInsideArray(*this)) {
    RaiseProgress(100);
    return out;
  }
  const int32_t maxX = MaxX, maxY = MaxY;
  const ptrdiff_t stride = bits_.Stride();
  auto gain = [](uint8_t* p, int32_t e) { *p = ClampByte(*p + e); };
  // Error diffusion over the engine's own array, in raster order.
  ForEachRegionSpan(false, [&](int32_t y, int32_t x0, int32_t x1) {
    uint8_t* s = bits_.Pixel(x0, y);
    uint8_t* d = out.Pixel(x0, y);
    for (int32_t x = x0; x < x1; ++x, s += 4, d += 4) {
      const PaletteColor& c = palette.Entry(palette.Nearest(s[2], s[1], s[0]));
      d[0] = static_cast<uint8_t>(c.blue);
      d[1] = static_cast<uint8_t>(c.green);
      d[2] = static_cast<uint8_t>(c.red);
      const int32_t e[3] = {s[0] - c.blue, s[1] - c.green, s[2] - c.red};
      if (std::abs(e[0]) + std::abs(e[1]) + std::abs(e[2]) <= 3) continue;
      if (x < maxX) {
        for (int k = 0; k < 3; ++k) gain(s + 4 + k, e[k] * 7 / 16);
      }
      if (y < maxY && x >= 1 && x <= maxX - 1) {
        for (int k = 0; k < 3; ++k) gain(s + stride + k, e[k] * 4 / 16);
      }
    }
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::Scanlines(int32_t opacity) {
  Bits out = CopyOfBits();
  RegionBox(0);
  // L(i) = i - v, at least 0; above 255 the store fails and the byte stays.
  std::array<int16_t, 256> table;
  for (int i = 0; i < 256; ++i) {
    const int64_t v = std::max<int64_t>(int64_t{i} - opacity, 0);
    table[static_cast<size_t>(i)] = static_cast<int16_t>(v > 255 ? -1 : v);
  }
  const int64_t top = BoxTop;
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    if ((y - top) % 2 != 0) return;
    PerPixel(bits_, out, y, x0, x1, [&](const uint8_t* s, uint8_t* d) {
      for (int c = 0; c < 3; ++c) {
        const int16_t v = table[s[c]];
        if (v >= 0) d[c] = static_cast<uint8_t>(v);
      }
    });
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::Dissolve(const Bits& picture, int32_t level) {
  Bits out = CopyOfBits();
  RegionBox(0);
  const double share = level;
  const int32_t w = picture.Width(), h = picture.Height();
  // Three draws a selected pixel whatever the picture covers, so that a seed
  // gives the same grain over pictures of any size.
  ForEachRegionSpan(false, [&](int32_t y, int32_t x0, int32_t x1) {
    const bool rowInPicture = y >= 0 && y < h;
    uint8_t* d = out.Pixel(x0, y);
    for (int32_t x = x0; x < x1; ++x, d += 4) {
      const bool inPicture = rowInPicture && x >= 0 && x < w;
      for (int c = 0; c < 3; ++c) {
        const double u = Random();
        if (inPicture && u * 100 < share) d[c] = picture.At(c, x, y);
      }
    }
  });
  RaiseProgress(100);
  return out;
}

// ---------------------------------------------------------------------------
// Gradients

template <bool kCircular>
Bits cBitFilter::Gradient(const Bits& source, int32_t x1, int32_t y1, int32_t x2, int32_t y2, Colour colour1,
                          Colour colour2, int32_t opacity, int32_t frequency) {
  Bits out(source);
  const GradientSetup setup(x1, y1, x2, y2, opacity, frequency);
  if (setup.length != 0) {
    const SplitColour c1(colour1), c2(colour2);
    RegionBox(0);
    ForEachRegionSpan(true, [&](int32_t y, int32_t a, int32_t b) {
      GradientSpan<kCircular>(setup, c1, c2, source, out, y, a, b);
    });
  }
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::GradientLinear(const Bits& source, int32_t x1, int32_t y1, int32_t x2, int32_t y2, Colour colour1,
                                Colour colour2, int32_t opacity, int32_t frequency) {
  return Gradient<false>(source, x1, y1, x2, y2, colour1, colour2, opacity, frequency);
}

Bits cBitFilter::GradientCircular(const Bits& source, int32_t x1, int32_t y1, int32_t x2, int32_t y2,
                                  Colour colour1, Colour colour2, int32_t opacity, int32_t frequency) {
  return Gradient<true>(source, x1, y1, x2, y2, colour1, colour2, opacity, frequency);
}

std::vector<FilterMethod> ColourEffectMethods() {
  return {
      Method("SpecialColors", &cBitFilter::SpecialColors, {"keep red", "keep green", "keep blue"}),
      Method("ClassyColors", &cBitFilter::ClassyColors, {"style"}),
      Method("OLDPHOTO", &cBitFilter::OLDPHOTO),
      Method("THERMIQUE", &cBitFilter::THERMIQUE),
      Method("XBLACK", &cBitFilter::XBLACK),
      Method("PHOTOCOP", &cBitFilter::PHOTOCOP),
      Method("SKETCH", &cBitFilter::SKETCH, {"weight", "black and white", "colour"}),
      Method("HALFTONE", &cBitFilter::HALFTONE, {"radius", "definition", "intensity"}),
      Method("PIXELIZE", &cBitFilter::PIXELIZE, {"pixel size"}),
      Method("NOISE", &cBitFilter::NOISE, {"intensity", "equalized"}),
      Method("StuckiBW", &cBitFilter::StuckiBW, {"contrast"}),
      Method("PaletteApply", &cBitFilter::PaletteApply),
      Method("Scanlines", &cBitFilter::Scanlines, {"opacity"}),
      Method("Dissolve", &cBitFilter::Dissolve, {"picture", "level"}),
      Method("GradientLinear", &cBitFilter::GradientLinear,
             {"source", "x1", "y1", "x2", "y2", "colour1", "colour2", "opacity", "frequency"}),
      Method("GradientCircular", &cBitFilter::GradientCircular,
             {"source", "x1", "y1", "x2", "y2", "colour1", "colour2", "opacity", "frequency"}),
  };
}

}  // namespace kelvane
