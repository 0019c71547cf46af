// Convolution and rank filters of cBitFilter: an output pixel from a
// neighbourhood of input pixels.
//
// All of them read the input array and write the copy, so none is recursive
// except EMBOSS and Engrave on the last row and column, which repeat the
// output beside them. Neighbour reads at the picture's edge land in the
// two-pixel frame. A read past the array is a failed statement: in the filters
// that skip failed statements the pixel keeps its value; in those that do not
// (MaskFilter, Blurs, CONTOUR, RankFilterN4, RankFilterND) the whole filter
// fails and the picture comes back unchanged. Only a region reaching past the
// picture, a large Blurs range or a large mask gets there.
#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <vector>

#include "base/numeric.h"
#include "filters/bit_filter.h"
#include "filters/filter_families.h"
#include "filters/filter_mask.h"

namespace kelvane {

namespace {

constexpr int64_t kInt32Min = std::numeric_limits<int32_t>::min();
constexpr int64_t kInt32Max = std::numeric_limits<int32_t>::max();

// Narrows the loop box to the pixels whose reads, from x - left to x + right
// and from y - up to y + down, stay inside the array: the others would fail
// their statements and keep the copied value, so they need no visit.
void KeepWindowsInArray(cBitFilter& f, int32_t left, int32_t right, int32_t up, int32_t down) {
  f.BoxLeft = std::max(f.BoxLeft, -kBitsFrame + left);
  f.BoxRight = std::min(f.BoxRight, f.MaxX + kBitsFrame - right);
  f.BoxTop = std::max(f.BoxTop, -kBitsFrame + up);
  f.BoxBottom = std::min(f.BoxBottom, f.MaxY + kBitsFrame - down);
}

// True when a pixel of the region inside the loop box reads past the array
// with a window reaching `reach` pixels every way.
bool WindowLeavesArray(const cBitFilter& f, int64_t reach) {
  const RectRegion* region = f.BitsRegionHandle();
  if (!region) return false;
  for (const Rect& r : region->Rects()) {
    const int64_t x0 = std::max(r.left, f.BoxLeft);
    const int64_t x1 = std::min<int64_t>(static_cast<int64_t>(r.right) - 1, f.BoxRight);
    const int64_t y0 = std::max(r.top, f.BoxTop);
    const int64_t y1 = std::min<int64_t>(static_cast<int64_t>(r.bottom) - 1, f.BoxBottom);
    if (x0 > x1 || y0 > y1) continue;
    if (x0 - reach < -kBitsFrame || x1 + reach > f.MaxX + kBitsFrame || y0 - reach < -kBitsFrame ||
        y1 + reach > f.MaxY + kBitsFrame) {
      return true;
    }
  }
  return false;
}

// trunc(numerator / divisor) as a byte, either clamped or, for the filters
// that skip a failed store, -1 when it does not fit. A numerator outside the
// 32-bit range or a divisor of 0 is a failed statement (-1) in both modes.
int32_t QuotientByte(int64_t numerator, int64_t divisor, bool clamp) {
  if (divisor == 0 || numerator < kInt32Min || numerator > kInt32Max) return -1;
  const int64_t q = numerator / divisor;
  if (clamp) return static_cast<int32_t>(std::clamp<int64_t>(q, 0, 255));
  return q >= 0 && q <= 255 ? static_cast<int32_t>(q) : -1;
}

// The same over a small numerator range, worked out once per filter: the
// divisions leave the pixel loop.
class QuotientTable {
 public:
  static constexpr int64_t kMaxEntries = int64_t{1} << 20;

  // Usable when the range [low, high] is small enough for a table.
  QuotientTable(int64_t low, int64_t high, int64_t divisor, bool clamp) : low_(low) {
    if (high - low + 1 > kMaxEntries) return;
    entries_.resize(static_cast<size_t>(high - low + 1));
    for (int64_t n = low; n <= high; ++n)
      entries_[static_cast<size_t>(n - low)] = static_cast<int16_t>(QuotientByte(n, divisor, clamp));
  }
  bool Usable() const { return !entries_.empty(); }
  int32_t operator()(int64_t numerator) const { return entries_[static_cast<size_t>(numerator - low_)]; }

 private:
  int64_t low_;
  std::vector<int16_t> entries_;
};

// Vectors of the compiler's own extension, portable between GCC and Clang and
// no wider than the baseline's 16-byte registers. Sixteen bytes are four
// pixels and eight bytes two; the arithmetic runs on every byte, spare bytes
// included, and the spare byte is put back when storing.
using U8x16 = uint8_t __attribute__((vector_size(16)));
using U8x8 = uint8_t __attribute__((vector_size(8)));
using I16x8 = int16_t __attribute__((vector_size(16)));
using I16x4 = int16_t __attribute__((vector_size(8)));
using I32x4 = int32_t __attribute__((vector_size(16)));
using F32x4 = float __attribute__((vector_size(16)));

inline U8x16 LoadBytes(const uint8_t* p) {
  U8x16 v;
  std::memcpy(&v, p, sizeof v);
  return v;
}
// Two pixels, widened to sixteen bits.
inline I16x8 LoadWide(const uint8_t* p) {
  U8x8 v;
  std::memcpy(&v, p, sizeof v);
  return __builtin_convertvector(v, I16x8);
}
inline I16x8 LoadShorts(const int16_t* p) {
  I16x8 v;
  std::memcpy(&v, p, sizeof v);
  return v;
}
inline void StoreShorts(int16_t* p, I16x8 v) { std::memcpy(p, &v, sizeof v); }
// The sum of the three colour channels of each of two pixels, in all four of
// its lanes.
inline I16x8 ColourSums(I16x8 v) {
  return __builtin_shufflevector(v, v, 0, 0, 0, 0, 4, 4, 4, 4) + __builtin_shufflevector(v, v, 1, 1, 1, 1, 5, 5, 5, 5) +
         __builtin_shufflevector(v, v, 2, 2, 2, 2, 6, 6, 6, 6);
}
inline I16x8 Abs(I16x8 v) { return v < 0 ? -v : v; }
inline I16x8 Clamp255(I16x8 v) {
  const I16x8 zero = {};
  v = v < zero ? zero : v;
  return v > zero + 255 ? zero + 255 : v;
}
inline I32x4 Clamp255(I32x4 v) {
  const I32x4 zero = {};
  v = v < zero ? zero : v;
  return v > zero + 255 ? zero + 255 : v;
}
// trunc(v / divisor) for the eight lanes, as two halves of 32 bits. For
// numerators inside 16 bits a single-precision division is exact, divisors up
// to 2^24: a quotient that is not whole lies at least 1 / |divisor| from the
// nearest whole number, far beyond the division's rounding.
inline void DivideTrunc(I16x8 v, float divisor, I32x4& low, I32x4& high) {
  const I32x4 a = __builtin_convertvector(__builtin_shufflevector(v, v, 0, 1, 2, 3), I32x4);
  const I32x4 b = __builtin_convertvector(__builtin_shufflevector(v, v, 4, 5, 6, 7), I32x4);
  low = __builtin_convertvector(__builtin_convertvector(a, F32x4) / divisor, I32x4);
  high = __builtin_convertvector(__builtin_convertvector(b, F32x4) / divisor, I32x4);
}
// Back to sixteen bits; every lane must fit.
inline I16x8 Join(I32x4 low, I32x4 high) {
  return __builtin_shufflevector(__builtin_convertvector(low, I16x4), __builtin_convertvector(high, I16x4), 0, 1, 2, 3,
                                 4, 5, 6, 7);
}
// Writes channels 0..2 of four pixels and leaves their spare bytes.
inline void StoreColours(uint8_t* dst, U8x16 v) {
  const U8x16 spare = {0, 0, 0, 255, 0, 0, 0, 255, 0, 0, 0, 255, 0, 0, 0, 255};
  const U8x16 r = (v & ~spare) | (LoadBytes(dst) & spare);
  std::memcpy(dst, &r, sizeof r);
}
// The same for two pixels held as sixteen-bit values 0..255.
inline void StoreColours(uint8_t* dst, I16x8 v) {
  const U8x8 spare = {0, 0, 0, 255, 0, 0, 0, 255};
  U8x8 d;
  std::memcpy(&d, dst, sizeof d);
  const U8x8 r = (__builtin_convertvector(v, U8x8) & ~spare) | (d & spare);
  std::memcpy(dst, &r, sizeof r);
}

// The pixel loop of the 3 x 3 filters whose result is trunc(numerator /
// divisor): `numerator(p, c)` gives the numerator of channel c of the pixel at
// p, `numerators(p)` those of two pixels at once, used when every numerator
// fits 16 bits. Otherwise the quotient comes from a table when the range
// allows, or from a division.
template <class Walk, class Numerator, class Numerators>
void RunQuotientFilter(Walk&& walk, int64_t low, int64_t high, int64_t divisor, bool clamp, Numerator&& numerator,
                       Numerators&& numerators) {
  const QuotientTable table(low, high, divisor, clamp);
  auto single = [&](const uint8_t* src, uint8_t* dst, auto&& quotient) {
    for (int c = 0; c < 3; ++c) {
      const int32_t q = quotient(numerator(src, c));
      if (q >= 0) dst[c] = static_cast<uint8_t>(q);
    }
  };
  if (!table.Usable()) {
    auto quotient = [&](int64_t n) { return QuotientByte(n, divisor, clamp); };
    walk([&](const uint8_t* src, uint8_t* dst, int32_t count) {
      for (; count > 0; --count, src += 4, dst += 4) single(src, dst, quotient);
    });
    return;
  }
  // With every numerator inside 16 bits (and -32768 / -1 kept out, so that the
  // quotients fit as well) the division runs on vectors, two pixels a step.
  const bool vectors = low > std::numeric_limits<int16_t>::min() && high <= std::numeric_limits<int16_t>::max() &&
                       divisor != 0 && std::llabs(divisor) <= (int64_t{1} << 24);
  const auto floatDivisor = static_cast<float>(divisor);
  walk([&](const uint8_t* src, uint8_t* dst, int32_t count) {
    if (vectors) {
      for (; count >= 2; count -= 2, src += 8, dst += 8) {
        I32x4 low, high;
        DivideTrunc(numerators(src), floatDivisor, low, high);
        const I16x8 q = Join(low, high);
        if (clamp) {
          StoreColours(dst, Clamp255(q));
        } else {
          StoreColours(dst, (q >= 0) & (q <= 255) ? q : LoadWide(dst));
        }
      }
    }
    for (; count > 0; --count, src += 4, dst += 4) single(src, dst, table);
  });
}

// Largest (or smallest) per channel of the pixels at the given offsets from
// each pixel of a span.
template <bool kLargest, size_t K>
void RankPixels(const uint8_t* p, uint8_t* dst, int32_t count, const std::array<ptrdiff_t, K>& offsets) {
  for (; count >= 4; count -= 4, p += 16, dst += 16) {
    U8x16 m = LoadBytes(p + offsets[0]);
    for (size_t i = 1; i < K; ++i) {
      const U8x16 v = LoadBytes(p + offsets[i]);
      m = kLargest ? (v > m ? v : m) : (v < m ? v : m);
    }
    StoreColours(dst, m);
  }
  for (; count > 0; --count, p += 4, dst += 4) {
    for (int c = 0; c < 3; ++c) {
      uint8_t m = p[c + offsets[0]];
      for (size_t i = 1; i < K; ++i) m = kLargest ? std::max(m, p[c + offsets[i]]) : std::min(m, p[c + offsets[i]]);
      dst[c] = m;
    }
  }
}

}  // namespace

// ---------------------------------------------------------------------------
// MaskFilter

Bits cBitFilter::MaskFilter(const FilterMask& mask, int32_t divisor, int32_t addRed, int32_t addGreen, int32_t addBlue,
                            bool keepMargins) {
  Bits out = CopyOfBits();
  const int32_t n = mask.size;
  // A mask without entries or a divisor of 0 is an error this filter does not
  // handle: nothing changes.
  if (n <= 0 || mask.weights.size() != static_cast<size_t>(n) * static_cast<size_t>(n) || divisor == 0) {
    RaiseProgress(100);
    return out;
  }
  const int32_t u = n - 1;
  const int32_t h = u / 2;
  // The loop runs over the top-left corners of the windows whose centres lie
  // in the region's box.
  RegionBox(0);
  BoxLeft -= h;
  BoxRight -= h;
  BoxTop -= h;
  BoxBottom -= h;
  if (keepMargins) {
    if (BoxLeft < 0) BoxLeft = 0;
    if (BoxTop < 0) BoxTop = 0;
    if (BoxRight > MaxX - u) BoxRight = MaxX - u;
    if (BoxBottom > MaxY - u) BoxBottom = MaxY - u;
  }
  // Every window of the box is read, in the region or not: one reaching past
  // the array fails the whole filter.
  if (BoxLeft <= BoxRight && BoxTop <= BoxBottom &&
      (BoxLeft < -kBitsFrame || static_cast<int64_t>(BoxRight) + u > MaxX + kBitsFrame || BoxTop < -kBitsFrame ||
       static_cast<int64_t>(BoxBottom) + u > MaxY + kBitsFrame)) {
    RaiseProgress(100);
    return out;
  }

  // The weights that take part, as (offset of the pixel from the window's
  // top-left corner, weight); zero weights add nothing.
  struct Tap {
    ptrdiff_t offset;
    int32_t weight;
  };
  std::vector<Tap> taps;
  for (int32_t j = 0; j <= u; ++j)
    for (int32_t i = 0; i <= u; ++i)
      if (mask.At(j, i) != 0) taps.push_back({bits_.Offset(0, i, j) - bits_.Offset(0, 0, 0), mask.At(j, i)});

  // With 255 * sum |w| small no sum can overflow in any order and the whole
  // range of sums is known: the quotients and adds go into tables, one per
  // channel, and the sums are made sixteen bits wide when they fit.
  int64_t negative = 0, positive = 0;
  for (int32_t w : mask.weights) (w < 0 ? negative : positive) += w;
  const int64_t low = 255 * negative, high = 255 * positive;
  const int64_t adds[3] = {addBlue, addGreen, addRed};
  const bool smallAdds = std::all_of(adds, adds + 3, [](int64_t a) { return std::llabs(a) <= (int64_t{1} << 24); });
  const bool tabled = high - low + 1 <= QuotientTable::kMaxEntries && smallAdds;
  const bool shorts = tabled && low >= std::numeric_limits<int16_t>::min() &&
                      high <= std::numeric_limits<int16_t>::max() && std::llabs(divisor) <= (int64_t{1} << 24);
  const auto floatDivisor = static_cast<float>(divisor);
  const I32x4 addLanes = {addBlue, addGreen, addRed, 0};
  std::vector<uint8_t> tables[3];
  if (tabled) {
    for (int c = 0; c < 3; ++c) {
      tables[c].resize(static_cast<size_t>(high - low + 1));
      for (int64_t s = low; s <= high; ++s) {
        tables[c][static_cast<size_t>(s - low)] =
            static_cast<uint8_t>(std::clamp<int64_t>(s / divisor + adds[c], 0, 255));
      }
    }
  }

  const RectRegion* region = BitsRegionHandle();
  const int32_t spanLeft = BoxLeft + h;
  const int32_t spanEnd = BoxRight + h + 1;
  if (tabled) {
    ForEachRow(BoxTop, BoxBottom, region != nullptr, [&](int32_t y) {
      if (!region) return;
      const int32_t centreY = y + h;
      region->ForEachSpan(centreY, spanLeft, spanEnd, [&](int32_t x0, int32_t x1) {
        const uint8_t* corner = bits_.Pixel(x0 - h, y);
        uint8_t* dst = out.Pixel(x0, centreY);
        int32_t count = x1 - x0;
        if (shorts) {
          // Four pixels a step: sixteen-bit sums, then trunc(sum / divisor)
          // as a single-precision division, exact for sums below 2^15 and
          // divisors up to 2^24, then the add and the clamp.
          auto finish = [&](const I16x8& acc, uint8_t* d) {
            I32x4 low, high;
            DivideTrunc(acc, floatDivisor, low, high);
            StoreColours(d, Join(Clamp255(low + addLanes), Clamp255(high + addLanes)));
          };
          for (; count >= 4; count -= 4, corner += 16, dst += 16) {
            I16x8 acc0 = {}, acc1 = {};
            for (const Tap& t : taps) {
              const auto w = static_cast<int16_t>(t.weight);
              acc0 += LoadWide(corner + t.offset) * w;
              acc1 += LoadWide(corner + t.offset + 8) * w;
            }
            finish(acc0, dst);
            finish(acc1, dst + 8);
          }
        }
        for (; count > 0; --count, corner += 4, dst += 4) {
          int32_t acc[3] = {0, 0, 0};
          for (const Tap& t : taps) {
            const uint8_t* src = corner + t.offset;
            acc[0] += t.weight * src[0];
            acc[1] += t.weight * src[1];
            acc[2] += t.weight * src[2];
          }
          dst[0] = tables[0][static_cast<size_t>(acc[0] - low)];
          dst[1] = tables[1][static_cast<size_t>(acc[1] - low)];
          dst[2] = tables[2][static_cast<size_t>(acc[2] - low)];
        }
      });
    });
    RaiseProgress(100);
    return out;
  }

  // Huge weights or adds: every step is checked as the 32-bit arithmetic of
  // the original would be, and an overflow fails the filter. The sums are
  // made for every window of the box, the division and the add only for the
  // centres in the region.
  std::atomic<bool> failed{false};
  ForEachRow(BoxTop, BoxBottom, region != nullptr, [&](int32_t y) {
    if (!region || BoxLeft > BoxRight) return;
    thread_local std::vector<int64_t> wide;
    const size_t count = 4 * (static_cast<size_t>(BoxRight) - BoxLeft + 1);
    wide.assign(count, 0);
    int64_t* acc = wide.data();
    const uint8_t* corner = bits_.Pixel(BoxLeft, y);
    bool overflow = false;
    for (const Tap& t : taps) {
      const uint8_t* src = corner + t.offset;
      const int64_t w = t.weight;
      for (size_t k = 0; k < count; ++k) {
        const int64_t product = w * src[k];
        overflow |= product < kInt32Min || product > kInt32Max;
        acc[k] += product;
      }
    }
    for (size_t k = 0; k < count; ++k) overflow |= acc[k] < kInt32Min || acc[k] > kInt32Max;
    const int32_t centreY = y + h;
    region->ForEachSpan(centreY, spanLeft, spanEnd, [&](int32_t x0, int32_t x1) {
      uint8_t* dst = out.Pixel(x0, centreY);
      const int64_t* s = acc + 4 * static_cast<size_t>(x0 - spanLeft);
      for (size_t k = 0; k < 4 * static_cast<size_t>(x1 - x0); k += 4) {
        for (int c = 0; c < 3; ++c) {
          const int64_t q = s[k + c] / divisor;
          const int64_t v = q + adds[c];
          overflow |= q > kInt32Max || v < kInt32Min || v > kInt32Max;
          dst[k + c] = static_cast<uint8_t>(std::clamp<int64_t>(v, 0, 255));
        }
      }
    });
    if (overflow) failed = true;
  });
  if (failed) out = bits_;
  RaiseProgress(100);
  return out;
}

// ---------------------------------------------------------------------------
// Fixed neighbourhood filters

Bits cBitFilter::Blurs(int32_t range) {
  Bits out = CopyOfBits();
  RegionBox(0);
  if (WindowLeavesArray(*this, std::llabs(static_cast<int64_t>(range)))) {
    RaiseProgress(100);
    return out;
  }
  const ptrdiff_t dx = 4 * static_cast<ptrdiff_t>(range);
  const ptrdiff_t dy = bits_.Stride() * range;
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    const uint8_t* p = bits_.Pixel(x0, y);
    uint8_t* dst = out.Pixel(x0, y);
    int32_t count = x1 - x0;
    for (; count >= 2; count -= 2, p += 8, dst += 8) {
      const I16x8 s = LoadWide(p - dy - dx) + LoadWide(p - dy) + LoadWide(p - dy + dx) + LoadWide(p - dx) +
                      LoadWide(p + dx) + LoadWide(p + dy - dx) + LoadWide(p + dy) + LoadWide(p + dy + dx);
      StoreColours(dst, s >> 3);
    }
    for (; count > 0; --count, p += 4, dst += 4) {
      for (int c = 0; c < 3; ++c) {
        const int32_t s = p[c - dy - dx] + p[c - dy] + p[c - dy + dx] + p[c - dx] + p[c + dx] + p[c + dy - dx] +
                          p[c + dy] + p[c + dy + dx];
        dst[c] = static_cast<uint8_t>(s / 8);
      }
    }
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::SOFTEN(int32_t level) {
  Bits out = CopyOfBits();
  const int64_t w = 101 - static_cast<int64_t>(level);
  const int64_t div = w + 4;
  RegionBox(1);
  KeepWindowsInArray(*this, 1, 1, 1, 1);
  const ptrdiff_t row = bits_.Stride();
  auto walk = [&](auto&& pixels) {
    ForEachRegionSpan(
        true, [&](int32_t y, int32_t x0, int32_t x1) { pixels(bits_.Pixel(x0, y), out.Pixel(x0, y), x1 - x0); });
  };
  const auto w16 = static_cast<int16_t>(w);  // used only when every numerator fits 16 bits
  // w * c lies between 0 and 255 w; the four neighbours add 0 to 1020.
  RunQuotientFilter(
      walk, std::min<int64_t>(0, 255 * w), std::max<int64_t>(0, 255 * w) + 1020, div, false,
      [&](const uint8_t* p, int c) { return w * p[c] + p[c - 4] + p[c + 4] + p[c - row] + p[c + row]; },
      [&](const uint8_t* p) {
        return LoadWide(p) * w16 + LoadWide(p - 4) + LoadWide(p + 4) + LoadWide(p - row) + LoadWide(p + row);
      });
  RaiseProgress(100);
  return out;
}

namespace {

// Sum of the eight neighbours at distance 1, of one channel or of two pixels.
inline int32_t Ring8(const uint8_t* p, ptrdiff_t row) {
  return p[-row - 4] + p[-row] + p[-row + 4] + p[-4] + p[4] + p[row - 4] + p[row] + p[row + 4];
}
inline I16x8 Ring8Wide(const uint8_t* p, ptrdiff_t row) {
  return LoadWide(p - row - 4) + LoadWide(p - row) + LoadWide(p - row + 4) + LoadWide(p - 4) + LoadWide(p + 4) +
         LoadWide(p + row - 4) + LoadWide(p + row) + LoadWide(p + row + 4);
}

}  // namespace

Bits cBitFilter::SHARPEN(int32_t level) {
  Bits out = CopyOfBits();
  const int64_t w = 124 - static_cast<int64_t>(level);
  const int64_t div = 108 - static_cast<int64_t>(level);
  RegionBox(1);
  KeepWindowsInArray(*this, 1, 1, 1, 1);
  const ptrdiff_t row = bits_.Stride();
  auto walk = [&](auto&& pixels) {
    ForEachRegionSpan(
        true, [&](int32_t y, int32_t x0, int32_t x1) { pixels(bits_.Pixel(x0, y), out.Pixel(x0, y), x1 - x0); });
  };
  const auto w16 = static_cast<int16_t>(w);
  RunQuotientFilter(
      walk, std::min<int64_t>(0, 255 * w) - 2 * 2040, std::max<int64_t>(0, 255 * w), div, true,
      [&](const uint8_t* p, int c) { return w * p[c] - 2 * Ring8(p + c, row); },
      [&](const uint8_t* p) { return LoadWide(p) * w16 - Ring8Wide(p, row) * static_cast<int16_t>(2); });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::EDGEENHANCE(int32_t level) {
  Bits out = CopyOfBits();
  const int64_t w = static_cast<int64_t>(level) + 9;
  const int64_t div = static_cast<int64_t>(level) + 1;
  RegionBox(0);
  KeepWindowsInArray(*this, 1, 1, 1, 1);
  const ptrdiff_t row = bits_.Stride();
  auto walk = [&](auto&& pixels) {
    ForEachRegionSpan(
        true, [&](int32_t y, int32_t x0, int32_t x1) { pixels(bits_.Pixel(x0, y), out.Pixel(x0, y), x1 - x0); });
  };
  const auto w16 = static_cast<int16_t>(w);
  RunQuotientFilter(
      walk, std::min<int64_t>(0, 255 * w) - 2040, std::max<int64_t>(0, 255 * w), div, true,
      [&](const uint8_t* p, int c) { return w * p[c] - Ring8(p + c, row); },
      [&](const uint8_t* p) { return LoadWide(p) * w16 - Ring8Wide(p, row); });
  RaiseProgress(100);
  return out;
}

namespace {

// v(d) = round(|d k + 128|) for d = -255..255, k = weight / 10; `sign` -1
// turns the difference around for Engrave. A v of 765 or more makes the grey
// 255 whatever the other two channels hold, so the table stops there and the
// sums stay small.
std::vector<int32_t> EmbossTable(int32_t weight, int sign) {
  const double k = weight / 10.0;
  std::vector<int32_t> table(511);
  for (int i = -255; i <= 255; ++i) {
    const int d = sign * i;
    const double v = RoundHalfEven(std::fabs(d * k + 128));
    table[static_cast<size_t>(i + 255)] = v >= 765 ? 765 : static_cast<int32_t>(v);
  }
  return table;
}

// The pixel loop shared by EMBOSS and Engrave; `walk(parallel, span)` walks the
// region's spans of the engine's box. The last column repeats the output just
// left of it and the last row the output just above it, so the last row runs
// after all the others.
template <class Walk>
void EmbossPixels(cBitFilter& f, const Bits& in, Bits& out, const std::vector<int32_t>& table, Walk&& walk) {
  const int32_t* v = table.data() + 255;
  const ptrdiff_t stride = in.Stride();
  const ptrdiff_t next = stride + 4;  // from (x, y) to (x + 1, y + 1)
  const int32_t maxX = f.MaxX, maxY = f.MaxY;
  auto row = [&](int32_t y, int32_t x0, int32_t x1, bool lastRow) {
    if ((y == maxY) != lastRow) return;
    const uint8_t* p = in.Pixel(x0, y);
    uint8_t* dst = out.Pixel(x0, y);
    for (int32_t x = x0; x < x1; ++x, p += 4, dst += 4) {
      if (x == maxX) {
        std::memcpy(dst, dst - 4, 3);
      } else if (y == maxY) {
        std::memcpy(dst, dst - stride, 3);
      } else if (x < maxX + kBitsFrame && y < maxY + kBitsFrame) {  // else the read past the array fails
        const int32_t g = (v[p[0] - p[next]] + v[p[1] - p[next + 1]] + v[p[2] - p[next + 2]]) / 3;
        dst[0] = dst[1] = dst[2] = static_cast<uint8_t>(g > 255 ? 255 : g);
      }
    }
  };
  walk(true, [&](int32_t y, int32_t x0, int32_t x1) { row(y, x0, x1, false); });
  if (f.BoxTop <= maxY && maxY <= f.BoxBottom) {
    const int32_t top = f.BoxTop, bottom = f.BoxBottom;
    f.BoxTop = f.BoxBottom = maxY;
    walk(false, [&](int32_t y, int32_t x0, int32_t x1) { row(y, x0, x1, true); });
    f.BoxTop = top;
    f.BoxBottom = bottom;
  }
}

}  // namespace

Bits cBitFilter::EMBOSS(int32_t weight) {
  Bits out = CopyOfBits();
  const std::vector<int32_t> table = EmbossTable(weight, 1);
  RegionBox(0);
  EmbossPixels(*this, bits_, out, table, [&](bool parallel, auto&& span) { ForEachRegionSpan(parallel, span); });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::Engrave(int32_t weight) {
  Bits out = CopyOfBits();
  const std::vector<int32_t> table = EmbossTable(weight, -1);
  RegionBox(0);
  EmbossPixels(*this, bits_, out, table, [&](bool parallel, auto&& span) { ForEachRegionSpan(parallel, span); });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::CONTOUR(int32_t level, Colour colour) {
  Bits out = CopyOfBits();
  RegionBox(0);
  if (WindowLeavesArray(*this, 1)) {
    RaiseProgress(100);
    return out;
  }
  const uint8_t paint[3] = {BlueOf(colour), GreenOf(colour), RedOf(colour)};
  const ptrdiff_t row = bits_.Stride();
  // e = 8 c - S + 255 per channel, clamped; the pixel takes the colour when
  // the mean of its three e reaches the level.
  auto finish = [&](const int16_t* e, uint8_t* dst) {
    const uint8_t* result = paint;
    uint8_t edge[3];
    if ((e[0] + e[1] + e[2]) / 3 < level) {
      for (int c = 0; c < 3; ++c) edge[c] = static_cast<uint8_t>(e[c]);
      result = edge;
    }
    dst[0] = result[0];
    dst[1] = result[1];
    dst[2] = result[2];
  };
  // The mean of three clamped values is 0..255: a level outside that range
  // means always or never.
  const auto threshold = static_cast<int16_t>(std::clamp(level, 0, 256));
  const I16x8 paintLanes = {paint[0], paint[1], paint[2], 0, paint[0], paint[1], paint[2], 0};
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    const uint8_t* p = bits_.Pixel(x0, y);
    uint8_t* dst = out.Pixel(x0, y);
    int32_t count = x1 - x0;
    for (; count >= 2; count -= 2, p += 8, dst += 8) {
      const I16x8 e = Clamp255(LoadWide(p) * static_cast<int16_t>(8) - Ring8Wide(p, row) + static_cast<int16_t>(255));
      const I16x8 mean = ColourSums(e) / 3;
      StoreColours(dst, mean >= threshold ? paintLanes : e);
    }
    for (; count > 0; --count, p += 4, dst += 4) {
      int16_t e[3];
      for (int c = 0; c < 3; ++c) e[c] = static_cast<int16_t>(std::clamp(8 * p[c] - Ring8(p + c, row) + 255, 0, 255));
      finish(e, dst);
    }
  });
  RaiseProgress(100);
  return out;
}

template <bool kLargest>
Bits cBitFilter::RankOf3x3() {
  Bits out = CopyOfBits();
  RegionBox(0);
  KeepWindowsInArray(*this, 1, 1, 1, 1);
  const ptrdiff_t r = bits_.Stride();
  const std::array<ptrdiff_t, 9> window = {0, -r - 4, -r, -r + 4, -4, 4, r - 4, r, r + 4};
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    RankPixels<kLargest>(bits_.Pixel(x0, y), out.Pixel(x0, y), x1 - x0, window);
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::DILATE() { return RankOf3x3<true>(); }

Bits cBitFilter::ERODE() { return RankOf3x3<false>(); }

Bits cBitFilter::RankFilterN4(int32_t op) {
  Bits out = CopyOfBits();
  RegionBox(1 - op);
  if (WindowLeavesArray(*this, 1)) {
    RaiseProgress(100);
    return out;
  }
  const ptrdiff_t r = bits_.Stride();
  const std::array<ptrdiff_t, 5> cross = {0, -r, -4, 4, r};
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    if (op == 0) {
      RankPixels<false>(bits_.Pixel(x0, y), out.Pixel(x0, y), x1 - x0, cross);
    } else {
      RankPixels<true>(bits_.Pixel(x0, y), out.Pixel(x0, y), x1 - x0, cross);
    }
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::RankFilterND(int32_t op) {
  Bits out = CopyOfBits();
  RegionBox(1 - op);
  if (WindowLeavesArray(*this, 1)) {
    RaiseProgress(100);
    return out;
  }
  const ptrdiff_t r = bits_.Stride();
  const std::array<ptrdiff_t, 5> diagonals = {0, -r - 4, -r + 4, r - 4, r + 4};
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    if (op == 0) {
      RankPixels<false>(bits_.Pixel(x0, y), out.Pixel(x0, y), x1 - x0, diagonals);
    } else {
      RankPixels<true>(bits_.Pixel(x0, y), out.Pixel(x0, y), x1 - x0, diagonals);
    }
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::RELIEF() {
  Bits out = CopyOfBits();
  RegionBox(0);
  KeepWindowsInArray(*this, 1, 1, 1, 1);
  const ptrdiff_t row = bits_.Stride();
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    const uint8_t* p = bits_.Pixel(x0, y);
    uint8_t* dst = out.Pixel(x0, y);
    int32_t count = x1 - x0;
    for (; count >= 2; count -= 2, p += 8, dst += 8) {
      const I16x8 two = {};
      const I16x8 n = LoadWide(p) + (LoadWide(p - row - 4) - LoadWide(p + row + 4)) * (two + 2) + LoadWide(p - 4) +
                      LoadWide(p - row) - LoadWide(p + row) - LoadWide(p + 4);
      // Halving towards zero: a negative sum is moved up by one first.
      const I16x8 half = (n + (n < 0 ? two + 1 : two)) >> 1;
      StoreColours(dst, Clamp255(half + static_cast<int16_t>(50)));
    }
    for (; count > 0; --count, p += 4, dst += 4) {
      for (int c = 0; c < 3; ++c) {
        const uint8_t* q = p + c;
        const int32_t s = 2 * q[-row - 4] + q[-4] + q[-row] - q[row] - q[4] - 2 * q[row + 4];
        dst[c] = static_cast<uint8_t>(std::clamp((q[0] + s) / 2 + 50, 0, 255));
      }
    }
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::PAINTING() {
  Bits out = CopyOfBits();
  RegionBox(0);
  KeepWindowsInArray(*this, 2, 2, 2, 2);
  // The three windows of (x, y) are the 3 x 3 blocks centred on (x - 1, y - 1),
  // (x + 1, y - 1) and (x - 1, y + 1). A row works out the mean m and the
  // spread D of every block centred on rows y - 1 and y + 1 once, per byte
  // (spare bytes included, never stored), and then picks per pixel.
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    thread_local std::vector<int16_t> means[2], spreads[2];
    const size_t n = static_cast<size_t>(x1 - x0);
    const size_t blocks = 4 * (n + 2);  // block centres x0 - 1 .. x1
    for (int b = 0; b < 2; ++b) {
      const int32_t centreY = b == 0 ? y - 1 : y + 1;
      const uint8_t* r0 = bits_.Pixel(x0 - 2, centreY - 1);
      const uint8_t* r1 = bits_.Pixel(x0 - 2, centreY);
      const uint8_t* r2 = bits_.Pixel(x0 - 2, centreY + 1);
      means[b].resize(blocks);
      spreads[b].resize(blocks);
      int16_t* m = means[b].data();
      int16_t* d = spreads[b].data();
      size_t k = 0;
      for (; k + 8 <= blocks; k += 8) {
        I16x8 v[9];
        for (size_t t = 0; t < 3; ++t) {
          v[3 * t] = LoadWide(r0 + k + 4 * t);
          v[3 * t + 1] = LoadWide(r1 + k + 4 * t);
          v[3 * t + 2] = LoadWide(r2 + k + 4 * t);
        }
        I16x8 sum = v[0];
        for (int i = 1; i < 9; ++i) sum += v[i];
        const I16x8 mean = sum / 9;
        I16x8 spread = Abs(v[0] - mean);
        for (int i = 1; i < 9; ++i) spread += Abs(v[i] - mean);
        StoreShorts(m + k, mean);
        StoreShorts(d + k, spread);
      }
      for (; k < blocks; ++k) {
        int32_t sum = 0;
        for (size_t t = 0; t <= 8; t += 4) sum += r0[k + t] + r1[k + t] + r2[k + t];
        const int32_t mean = sum / 9;
        int32_t spread = 0;
        for (size_t t = 0; t <= 8; t += 4) {
          spread += std::abs(r0[k + t] - mean) + std::abs(r1[k + t] - mean) + std::abs(r2[k + t] - mean);
        }
        m[k] = static_cast<int16_t>(mean);
        d[k] = static_cast<int16_t>(spread);
      }
    }
    const int16_t* mTop = means[0].data();
    const int16_t* mBottom = means[1].data();
    const int16_t* dTop = spreads[0].data();
    const int16_t* dBottom = spreads[1].data();
    uint8_t* dst = out.Pixel(x0, y);
    // Window 0 first; a later window must be strictly calmer.
    size_t k = 0;
    for (; k + 8 <= 4 * n; k += 8) {
      I16x8 mean = LoadShorts(mTop + k);
      I16x8 best = LoadShorts(dTop + k);
      const I16x8 d1 = LoadShorts(dTop + k + 8);
      mean = d1 < best ? LoadShorts(mTop + k + 8) : mean;
      best = d1 < best ? d1 : best;
      mean = LoadShorts(dBottom + k) < best ? LoadShorts(mBottom + k) : mean;
      StoreColours(dst + k, mean);
    }
    for (; k < 4 * n; ++k) {
      if ((k & 3) == 3) continue;
      int16_t mean = mTop[k];
      int16_t best = dTop[k];
      if (dTop[k + 8] < best) {
        best = dTop[k + 8];
        mean = mTop[k + 8];
      }
      if (dBottom[k] < best) mean = mBottom[k];
      dst[k] = static_cast<uint8_t>(mean);
    }
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::DIFFUSE(int32_t horizontal, int32_t vertical) {
  Bits out = CopyOfBits();
  RegionBox(0);
  const RectRegion* region = BitsRegionHandle();
  if (!region || BoxLeft > BoxRight || BoxTop > BoxBottom) {
    RaiseProgress(100);
    return out;
  }
  // Two draws are made for every point of the box, in the region or in the
  // array or not, so that a seed gives the same picture whatever is selected.
  const int64_t boxWidth = static_cast<int64_t>(BoxRight) - BoxLeft + 1;
  auto drawRows = [&](int64_t rows) {
    for (int64_t i = 2 * rows * boxWidth; i > 0; --i) Random();
  };
  // The rows of the region, found once: a source point is tested against the
  // spans of its row.
  const Rect box = region->Box();
  std::vector<const RectRegion::Band*> bandOfRow(static_cast<size_t>(box.bottom - box.top));
  for (const RectRegion::Band& band : region->Bands())
    for (int32_t y = band.top; y < band.bottom; ++y) bandOfRow[static_cast<size_t>(y - box.top)] = &band;
  const Rect* rects = region->Rects().data();
  auto sourceInRegion = [&](int32_t x, int32_t y) {
    if (y < box.top || y >= box.bottom) return false;
    const RectRegion::Band* band = bandOfRow[static_cast<size_t>(y - box.top)];
    if (!band) return false;
    const Rect* first = rects + band->first;
    if (band->count == 1) return x >= first->left && x < first->right;
    const Rect* last = first + band->count;
    const Rect* it = std::upper_bound(first, last, x, [](int32_t v, const Rect& r) { return v < r.right; });
    return it != last && it->left <= x;
  };
  const double h = horizontal, v = vertical;
  const double halfH = h / 2, halfV = v / 2;
  const int32_t first = std::max(BoxTop, -kBitsFrame);
  const int32_t last = std::min(BoxBottom, MaxY + kBitsFrame);
  if (first > last) {
    drawRows(static_cast<int64_t>(BoxBottom) - BoxTop + 1);
  } else {
    drawRows(static_cast<int64_t>(first) - BoxTop);
    const int32_t left = BoxLeft, right = BoxRight;
    ForEachRow(first, last, false, [&](int32_t y) {
      uint8_t* dst = out.Pixel(0, y);
      for (int32_t x = left; x <= right; ++x) {
        const double r1 = Random();
        const double r2 = Random();
        if (x < -kBitsFrame || x > MaxX + kBitsFrame) continue;
        const double sx = RoundHalfEven(x + r1 * h - halfH);
        const double sy = RoundHalfEven(y + r2 * v - halfV);
        // A source past the array keeps the point as it was: either the
        // region does not hold it or the read fails.
        if (sx < -kBitsFrame || sx > MaxX + kBitsFrame || sy < -kBitsFrame || sy > MaxY + kBitsFrame) continue;
        const int32_t xs = static_cast<int32_t>(sx), ys = static_cast<int32_t>(sy);
        if (!sourceInRegion(xs, ys)) continue;
        std::memcpy(dst + 4 * static_cast<ptrdiff_t>(x), bits_.Pixel(xs, ys), 3);
      }
    });
    drawRows(static_cast<int64_t>(BoxBottom) - last);
  }
  RaiseProgress(100);
  return out;
}

std::vector<FilterMethod> ConvolutionMethods() {
  return {
      Method("MaskFilter", &cBitFilter::MaskFilter,
             {"mask", "divisor", "add red", "add green", "add blue", "keep margins"}),
      Method("Blurs", &cBitFilter::Blurs, {"range"}),
      Method("SOFTEN", &cBitFilter::SOFTEN, {"level"}),
      Method("SHARPEN", &cBitFilter::SHARPEN, {"level"}),
      Method("EMBOSS", &cBitFilter::EMBOSS, {"weight"}),
      Method("Engrave", &cBitFilter::Engrave, {"weight"}),
      Method("CONTOUR", &cBitFilter::CONTOUR, {"level", "colour"}),
      Method("DILATE", &cBitFilter::DILATE),
      Method("ERODE", &cBitFilter::ERODE),
      Method("RELIEF", &cBitFilter::RELIEF),
      Method("PAINTING", &cBitFilter::PAINTING),
      Method("EDGEENHANCE", &cBitFilter::EDGEENHANCE, {"level"}),
      Method("DIFFUSE", &cBitFilter::DIFFUSE, {"horizontal range", "vertical range"}),
      Method("RankFilterN4", &cBitFilter::RankFilterN4, {"operation"}),
      Method("RankFilterND", &cBitFilter::RankFilterND, {"operation"}),
  };
}

}  // namespace kelvane
