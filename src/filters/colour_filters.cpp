// Colour filters of cBitFilter: one pixel in, one pixel out.
//
// Most of them are point operations: the output byte depends on the input
// byte alone, or on the pixel's channel sum, so the arithmetic runs once per
// possible value into a table and the pixel loop only indexes it. A table
// entry is computed by the very same expression, in the same precision and
// order, as the per-pixel formula, so the results are identical bit for bit.
// Where the processor has 64-byte registers with byte permutes, the loops
// look up or compute sixteen pixels at a time; the portable loops serve the
// other processors and the ends of spans, and give the same bytes.
//
// Conventions of the family:
//  - b, g, r are the input's channels 0, 1, 2; colour arguments are 0x00BBGGRR.
//  - Integer arguments are 32-bit; a sum that leaves that range (level + 100,
//    i + shift, ...) is a failed statement that leaves its variable at 0.
//  - Skip-on-failure filters leave the input byte where a store would fall
//    outside 0..255. BRIGHTNESS, COLORIZE, Invert, ISOLATE, Reduction,
//    ReplaceHS, ReplaceL, RotateH, RotateL and SwapBanks have no such mode: an
//    error anywhere (a store out of range, a division by zero, an overflow, a
//    region point past the array) abandons the whole filter, which then
//    returns the unchanged picture and still raises 100.
//  - Statistics (Contrast's mean, Equalize's histogram) are taken over the
//    whole picture, 0..MaxX by 0..MaxY, whatever the selection.
#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <vector>

#if defined(__x86_64__) && defined(__GNUC__)
// The 512-bit intrinsics start some results from an undefined register,
// which this compiler reports as uninitialised once they are inlined.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include <immintrin.h>
#pragma GCC diagnostic pop
#endif

#include "base/numeric.h"
#include "filters/bit_filter.h"
#include "filters/colour_space.h"
#include "filters/filter_families.h"

namespace kelvane {

// The vector helpers below are always inlined into functions compiled for one
// instruction set, so the vector calling convention (which differs with and
// without AVX) never applies to them.
#pragma GCC diagnostic ignored "-Wpsabi"

static_assert(std::endian::native == std::endian::little, "pixel words assume blue in the low byte");

namespace {

// ---------------------------------------------------------------------------
// Numbers and pixel words

constexpr int32_t kInt32Min = std::numeric_limits<int32_t>::min();
constexpr int32_t kInt32Max = std::numeric_limits<int32_t>::max();

bool FitsInt32(int64_t v) { return v >= kInt32Min && v <= kInt32Max; }
bool FitsInt32(double v) { return v >= kInt32Min && v <= kInt32Max; }

// a + b as a 32-bit statement; nullopt when the sum overflows.
std::optional<int32_t> Add32(int32_t a, int64_t b) {
  const int64_t s = a + b;
  if (!FitsInt32(s)) return std::nullopt;
  return static_cast<int32_t>(s);
}

// Round into a 32-bit integer; nullopt when the value does not fit.
std::optional<int32_t> Round32(double v) {
  const double r = RoundHalfEven(v);
  if (!FitsInt32(r)) return std::nullopt;
  return static_cast<int32_t>(r);
}

bool IsByte(int32_t v) { return v >= 0 && v <= 255; }

bool IsByteTriple(const RGBValue& v) { return IsByte(v.red) && IsByte(v.green) && IsByte(v.blue); }

// Blue, green, red of a pixel word (blue in the low byte); channel 3 above.
constexpr uint32_t kColourBits = 0x00FFFFFFu;

uint32_t LoadPixel(const uint8_t* p) {
  uint32_t v;
  std::memcpy(&v, p, 4);
  return v;
}

void StorePixel(uint8_t* p, uint32_t v) { std::memcpy(p, &v, 4); }

uint32_t PackBGR(int32_t b, int32_t g, int32_t r) {
  return static_cast<uint32_t>(b) | (static_cast<uint32_t>(g) << 8) | (static_cast<uint32_t>(r) << 16);
}

int32_t ChannelSum(uint32_t p) { return static_cast<int32_t>((p & 0xFF) + ((p >> 8) & 0xFF) + ((p >> 16) & 0xFF)); }

// Per-channel products, so that a weighted sum adds the very same doubles in
// the same order as the formula and rounds identically.
struct WeightTables {
  std::array<double, 256> blue, green, red;
  WeightTables(double wb, double wg, double wr) {
    for (int v = 0; v < 256; ++v) {
      blue[v] = v * wb;
      green[v] = v * wg;
      red[v] = v * wr;
    }
  }
};

const WeightTables& GreyWeights() {
  static const WeightTables tables(0.071, 0.707, 0.222);
  return tables;
}

const WeightTables& LumaWeights() {
  static const WeightTables tables(0.113, 0.586, 0.301);
  return tables;
}

// L(i) = i + v clamped to 0..255. An entry whose sum overflows 32 bits is a
// failed statement and stays 0.
std::array<uint8_t, 256> ShiftTable(int32_t v) {
  std::array<uint8_t, 256> t{};
  for (int i = 0; i < 256; ++i) {
    if (const auto s = Add32(v, i)) t[i] = ClampByte(*s);
  }
  return t;
}

std::array<uint8_t, 256> IdentityTable() {
  std::array<uint8_t, 256> t{};
  for (int i = 0; i < 256; ++i) t[i] = static_cast<uint8_t>(i);
  return t;
}

// A region point past the array cannot be read. The filters without the
// skip mode fail whole on it and hand back the unchanged picture. The loop box
// is the region's bounding box, so a box edge past the array means a region
// point past it.
bool RegionLeavesArray(const cBitFilter& f) {
  if (f.BoxLeft > f.BoxRight || f.BoxTop > f.BoxBottom) return false;
  return f.BoxLeft < -kBitsFrame || f.BoxRight > f.MaxX + kBitsFrame || f.BoxTop < -kBitsFrame ||
         f.BoxBottom > f.MaxY + kBitsFrame;
}

// The no-skip filters record an error here from any row; the filter then
// hands back the unchanged picture.
struct FailureFlag {
  std::atomic<bool> failed{false};
  void Raise() { failed.store(true, std::memory_order_relaxed); }
  bool Raised() const { return failed.load(std::memory_order_relaxed); }
};

// ---------------------------------------------------------------------------
// 64-byte registers with byte permutes

#if defined(__x86_64__) && defined(__GNUC__)
#define KELVANE_WIDE_BYTES 1
#define KELVANE_WIDE __attribute__((target("avx512f,avx512bw,avx512vbmi")))

bool HasWideBytes() {
  static const bool has = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                          __builtin_cpu_supports("avx512vbmi");
  return has;
}

// Byte i of a 64-byte block is channel i % 4.
constexpr __mmask64 kGreenBytes = 0x2222222222222222ull;
constexpr __mmask64 kRedBytes = 0x4444444444444444ull;
constexpr __mmask64 kFourthBytes = 0x8888888888888888ull;

// A 256-entry byte table held in four registers.
struct WideTable {
  __m512i q0, q1, q2, q3;
};

KELVANE_WIDE inline WideTable LoadWideTable(const std::array<uint8_t, 256>& t) {
  return {_mm512_loadu_si512(t.data()), _mm512_loadu_si512(t.data() + 64), _mm512_loadu_si512(t.data() + 128),
          _mm512_loadu_si512(t.data() + 192)};
}

// Each byte of x replaced by its table entry: two 128-entry permutes, the
// index's top bit choosing between them.
KELVANE_WIDE inline __m512i LookUp(const WideTable& t, __m512i x) {
  const __m512i low = _mm512_permutex2var_epi8(t.q0, x, t.q1);
  const __m512i high = _mm512_permutex2var_epi8(t.q2, x, t.q3);
  return _mm512_mask_blend_epi8(_mm512_movepi8_mask(x), low, high);
}
#endif

// ---------------------------------------------------------------------------
// Per-channel byte tables

struct PixelTables {
  std::array<uint8_t, 256> plain[3];  // blue, green, red
  // The same, shifted into their place in a pixel word for the portable loop.
  std::array<uint32_t, 256> blue, green, red;
  bool uniform;  // one table for all three channels

  PixelTables(const std::array<uint8_t, 256>& b, const std::array<uint8_t, 256>& g,
              const std::array<uint8_t, 256>& r)
      : plain{b, g, r}, uniform(b == g && g == r) {
    for (int i = 0; i < 256; ++i) {
      blue[i] = b[i];
      green[i] = static_cast<uint32_t>(g[i]) << 8;
      red[i] = static_cast<uint32_t>(r[i]) << 16;
    }
  }
  explicit PixelTables(const std::array<uint8_t, 256>& all) : PixelTables(all, all, all) {}
};

void MapSpanPortable(const uint8_t* src, uint8_t* dst, int32_t n, const PixelTables& t) {
  const uint32_t* __restrict tb = t.blue.data();
  const uint32_t* __restrict tg = t.green.data();
  const uint32_t* __restrict tr = t.red.data();
  for (; n > 0; --n, src += 4, dst += 4) {
    const uint32_t p = LoadPixel(src);
    StorePixel(dst, (p & ~kColourBits) | tb[p & 0xFF] | tg[(p >> 8) & 0xFF] | tr[(p >> 16) & 0xFF]);
  }
}

#ifdef KELVANE_WIDE_BYTES
KELVANE_WIDE void MapSpanWide(const uint8_t* src, uint8_t* dst, int32_t n, const PixelTables& t) {
  const WideTable blue = LoadWideTable(t.plain[0]);
  if (t.uniform) {
    for (; n >= 16; n -= 16, src += 64, dst += 64) {
      const __m512i x = _mm512_loadu_si512(src);
      _mm512_storeu_si512(dst, _mm512_mask_blend_epi8(kFourthBytes, LookUp(blue, x), x));
    }
  } else {
    const WideTable green = LoadWideTable(t.plain[1]);
    const WideTable red = LoadWideTable(t.plain[2]);
    for (; n >= 16; n -= 16, src += 64, dst += 64) {
      const __m512i x = _mm512_loadu_si512(src);
      __m512i r = LookUp(blue, x);
      r = _mm512_mask_blend_epi8(kGreenBytes, r, LookUp(green, x));
      r = _mm512_mask_blend_epi8(kRedBytes, r, LookUp(red, x));
      _mm512_storeu_si512(dst, _mm512_mask_blend_epi8(kFourthBytes, r, x));
    }
  }
  MapSpanPortable(src, dst, n, t);
}
#endif

void MapSpan(const uint8_t* src, uint8_t* dst, int32_t n, const PixelTables& t) {
#ifdef KELVANE_WIDE_BYTES
  if (HasWideBytes()) return MapSpanWide(src, dst, n, t);
#endif
  MapSpanPortable(src, dst, n, t);
}

// ---------------------------------------------------------------------------
// Channel shuffles: per output channel, the input byte it takes (0..3), a
// mask XORed into it (0xFF inverts) and a mask ANDed with it (0 kills).
// Channel 3 takes itself.

struct ChannelShuffle {
  std::array<uint8_t, 4> source{0, 1, 2, 3};
  std::array<uint8_t, 4> flip{0, 0, 0, 0};
  std::array<uint8_t, 4> keep{0xFF, 0xFF, 0xFF, 0xFF};
};

void ShuffleSpanPortable(const uint8_t* src, uint8_t* dst, int32_t n, const ChannelShuffle& s) {
  for (; n > 0; --n, src += 4, dst += 4) {
    const uint8_t b = (src[s.source[0]] ^ s.flip[0]) & s.keep[0];
    const uint8_t g = (src[s.source[1]] ^ s.flip[1]) & s.keep[1];
    const uint8_t r = (src[s.source[2]] ^ s.flip[2]) & s.keep[2];
    dst[0] = b;
    dst[1] = g;
    dst[2] = r;
  }
}

#ifdef KELVANE_WIDE_BYTES
KELVANE_WIDE void ShuffleSpanWide(const uint8_t* src, uint8_t* dst, int32_t n, const ChannelShuffle& s) {
  uint8_t index[64], flip[64], keep[64];
  for (int i = 0; i < 64; ++i) {
    index[i] = static_cast<uint8_t>((i & ~3) + s.source[i & 3]);
    flip[i] = s.flip[i & 3];
    keep[i] = s.keep[i & 3];
  }
  const __m512i vIndex = _mm512_loadu_si512(index);
  const __m512i vFlip = _mm512_loadu_si512(flip);
  const __m512i vKeep = _mm512_loadu_si512(keep);
  for (; n >= 16; n -= 16, src += 64, dst += 64) {
    const __m512i x = _mm512_permutexvar_epi8(vIndex, _mm512_loadu_si512(src));
    _mm512_storeu_si512(dst, _mm512_and_si512(_mm512_xor_si512(x, vFlip), vKeep));
  }
  ShuffleSpanPortable(src, dst, n, s);
}
#endif

void ShuffleSpan(const uint8_t* src, uint8_t* dst, int32_t n, const ChannelShuffle& s) {
#ifdef KELVANE_WIDE_BYTES
  if (HasWideBytes()) return ShuffleSpanWide(src, dst, n, s);
#endif
  ShuffleSpanPortable(src, dst, n, s);
}

// ---------------------------------------------------------------------------
// Filters whose colour depends on b + g + r alone: per sum, the colour word
// and the mask of the input bits it keeps (channel 3, and any channel whose
// store is skipped).

struct SumTable {
  std::array<uint32_t, 766> word{};
  std::array<uint32_t, 766> keep{};
};

void SumMapSpan(const uint8_t* src, uint8_t* dst, int32_t n, const SumTable& t) {
  for (; n > 0; --n, src += 4, dst += 4) {
    const uint32_t p = LoadPixel(src);
    const int32_t s = ChannelSum(p);
    StorePixel(dst, (p & t.keep[s]) | t.word[s]);
  }
}

// ---------------------------------------------------------------------------
// Whole-picture statistics

// Eight pixels at a time in a plain vector: the compiler makes SIMD
// instructions of the lane-wise operations.
using Lanes8 = uint32_t __attribute__((vector_size(32)));

inline __attribute__((always_inline)) Lanes8 LoadLanes8(const uint8_t* p) {
  Lanes8 v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

// The mean table T(i) = trunc(i / 3) summed over the whole picture for
// i = b + g + r, divided (trunc) by the pixel count; 0 for an empty picture
// (the division fails and the mean keeps its initial 0). For sums up to 765
// the multiply-and-shift by 21846 / 65536 gives exactly trunc(i / 3).
// Compiled for AVX2 and for the baseline, picked at load time.
__attribute__((target_clones("avx2", "default"))) int32_t MeanOfThirds(const Bits& bits, int32_t maxX,
                                                                       int32_t maxY) {
  int64_t total = 0;
  for (int32_t y = 0; y <= maxY; ++y) {
    const uint8_t* p = bits.Row(y);
    int32_t n = maxX + 1;
    while (n > 0) {
      // A lane holds at most 2048 * 255 before it is emptied into the total.
      const int32_t chunk = n < 16384 ? n : 16384;
      Lanes8 acc = {};
      int32_t i = 0;
      for (; i + 8 <= chunk; i += 8, p += 32) {
        const Lanes8 v = LoadLanes8(p);
        acc += (((v & 0xFF) + ((v >> 8) & 0xFF) + ((v >> 16) & 0xFF)) * 21846) >> 16;
      }
      for (int lane = 0; lane < 8; ++lane) total += acc[lane];
      for (; i < chunk; ++i, p += 4) total += ChannelSum(LoadPixel(p)) / 3;
      n -= chunk;
    }
  }
  const int64_t count = static_cast<int64_t>(maxX + 1) * (maxY + 1);
  return count > 0 ? static_cast<int32_t>(total / count) : 0;
}

// Equalize's luma Y = Round(b * 0.113 + g * 0.586 + r * 0.301) over the whole
// picture, counted per value. In whole numbers: with N = 113 b + 586 g + 301 r
// the double sum lies within 1e-12 of N / 1000, so it rounds as N / 1000
// does, to (N + 500) / 1000, except at exact halves (N + 500 a multiple of
// 1000), where the double sum itself decides. (Checked over all 2^24
// colours.) Four histograms side by side keep runs of equal values from
// waiting on one counter.
__attribute__((target_clones("avx2", "default"))) void LumaHistogram(const Bits& bits, int32_t maxX, int32_t maxY,
                                                                     std::array<int64_t, 256>& histogram) {
  const WeightTables& luma = LumaWeights();
  auto exact = [&](const uint8_t* p) {
    return static_cast<int32_t>(RoundHalfEven(luma.blue[p[0]] + luma.green[p[1]] + luma.red[p[2]]));
  };
  std::vector<int64_t> counts(4 * 256, 0);
  for (int32_t y = 0; y <= maxY; ++y) {
    const uint8_t* p = bits.Row(y);
    int32_t x = 0;
    for (; x + 8 <= maxX + 1; x += 8, p += 32) {
      const Lanes8 v = LoadLanes8(p);
      const Lanes8 n = (v & 0xFF) * 113 + ((v >> 8) & 0xFF) * 586 + ((v >> 16) & 0xFF) * 301 + 500;
      // n / 1000 as (n / 8) * 67109 / 2^23, exact for n up to 255500.
      const Lanes8 q = ((n >> 3) * 67109) >> 23;
      const Lanes8 rest = n - q * 1000;
      for (int i = 0; i < 8; ++i) ++counts[256 * (i & 3) + (rest[i] != 0 ? q[i] : exact(p + 4 * i))];
    }
    for (; x <= maxX; ++x, p += 4) ++counts[exact(p)];
  }
  for (int i = 0; i < 256; ++i) histogram[i] = counts[i] + counts[256 + i] + counts[512 + i] + counts[768 + i];
}

// ---------------------------------------------------------------------------
// Tolerance filters

// The reference colour of a tolerance filter.
struct RefColour {
  int32_t r, g, b;
  explicit RefColour(int32_t colour) : r(RedOf(colour)), g(GreenOf(colour)), b(BlueOf(colour)) {}
};

// d2 = (b - b0)^2 + (g - g0)^2 + (r - r0)^2 from per-channel squares.
struct DistanceTables {
  std::array<int32_t, 256> blue, green, red;
  explicit DistanceTables(const RefColour& c) {
    for (int i = 0; i < 256; ++i) {
      blue[i] = (i - c.b) * (i - c.b);
      green[i] = (i - c.g) * (i - c.g);
      red[i] = (i - c.r) * (i - c.r);
    }
  }
  int32_t operator()(const uint8_t* p) const { return blue[p[0]] + green[p[1]] + red[p[2]]; }
};

// limit := Round((t * 127.5 / 100)^2 + 1), a squared RGB distance; nullopt
// when it overflows its 32-bit variable.
std::optional<int32_t> ToleranceLimit(int32_t t) {
  const double a = t * 127.5 / 100;
  return Round32(a * a + 1);
}

// The soft replacement: each channel c moves to round(c + (n - c) * k).
void SoftReplace(const uint8_t* src, uint8_t* dst, const int32_t target[3], double k) {
  for (int c = 0; c < 3; ++c) StoreByte(dst[c], src[c] + (target[c] - src[c]) * k);
}

void ReplaceSpan(const uint8_t* src, uint8_t* dst, int32_t n, const DistanceTables& distance, int32_t limit,
                 const int32_t target[3]) {
  for (; n > 0; --n, src += 4, dst += 4) {
    const int32_t d2 = distance(src);
    if (d2 <= limit) SoftReplace(src, dst, target, 1 - static_cast<double>(d2) / limit);
  }
}

void ReplaceLSpan(const uint8_t* src, uint8_t* dst, int32_t n, const DistanceTables& distance, int32_t limit,
                  int32_t l0, int32_t band, const int32_t target[3]) {
  for (; n > 0; --n, src += 4, dst += 4) {
    const int32_t l = (src[0] + src[1] + src[2]) / 3;
    const int32_t d2 = distance(src);
    if (std::abs(l - l0) <= band && d2 <= limit) SoftReplace(src, dst, target, 1 - static_cast<double>(d2) / limit);
  }
}

// A pixel at squared distance `limit` or more becomes `fill`.
void IsolateSpan(const uint8_t* src, uint8_t* dst, int32_t n, const DistanceTables& distance, int32_t limit,
                 uint32_t fill) {
  for (; n > 0; --n, src += 4, dst += 4) {
    const uint32_t p = LoadPixel(src);
    const uint32_t far = 0u - static_cast<uint32_t>(distance(src) >= limit);  // all ones or 0
    StorePixel(dst, (p & ~(far & kColourBits)) | (fill & far));
  }
}

// A pixel strictly within `limit` moves towards its shifted value.
void ShiftSpan(const uint8_t* src, uint8_t* dst, int32_t n, const DistanceTables& distance, int32_t limit,
               const std::array<uint8_t, 256>& shifted) {
  for (; n > 0; --n, src += 4, dst += 4) {
    const int32_t d2 = distance(src);
    if (d2 < limit) {
      const double k = 1 - static_cast<double>(d2) / limit;
      for (int c = 0; c < 3; ++c) StoreByte(dst[c], src[c] + (shifted[src[c]] - src[c]) * k);
    }
  }
}

// ---------------------------------------------------------------------------
// Contrast's spill: an out-of-range channel is brought back to its bound and
// half its excess (trunc) goes to each of the two others, so that the hue
// holds; repeated until all three fit.

// General form: a sum that overflows 32 bits is a failed statement and
// leaves its channel as it was.
void SpillChecked(int32_t& B, int32_t& G, int32_t& R) {
  auto outside = [](int32_t v) { return v < 0 || v > 255; };
  auto gain = [](int32_t& v, int32_t d) {
    if (const auto s = Add32(v, d)) v = *s;
  };
  auto fix = [&](int32_t& x, int32_t& o1, int32_t& o2) {
    if (x < 0) {
      const int32_t h = x / 2;
      gain(o1, h);
      gain(o2, h);
      x = 0;
    }
    if (x > 255) {
      const int32_t h = (x - 255) / 2;
      gain(o1, h);
      gain(o2, h);
      x = 255;
    }
  };
  while (outside(B) || outside(G) || outside(R)) {
    if (B <= 0 && G <= 0 && R <= 0) B = G = R = 0;
    if (B >= 255 && G >= 255 && R >= 255) B = G = R = 255;
    fix(B, G, R);
    fix(G, B, R);
    fix(R, G, B);
  }
}

void ContrastSpanChecked(const uint8_t* src, uint8_t* dst, int32_t n, const std::array<int32_t, 256>& table) {
  for (; n > 0; --n, src += 4, dst += 4) {
    int32_t B = table[src[0]], G = table[src[1]], R = table[src[2]];
    SpillChecked(B, G, R);
    dst[0] = static_cast<uint8_t>(B);
    dst[1] = static_cast<uint8_t>(G);
    dst[2] = static_cast<uint8_t>(R);
  }
}

// Bounded form, for tables whose entries all lie within +-2^28: the values
// never grow past three times that, so no sum can overflow. Eight pixels go
// through the passes side by side, one per lane; a pass leaves a pixel that
// already fits unchanged, so every lane ends exactly as it would alone. An
// in-range channel has no excess, so each step is written without branches.
using SpillLanes = int32_t __attribute__((vector_size(32)));

struct SpillTriple {
  SpillLanes B, G, R;
};

inline __attribute__((always_inline)) void SpillStep(SpillLanes& x, SpillLanes& o1, SpillLanes& o2) {
  const SpillLanes zero = SpillLanes{} + 0, top = SpillLanes{} + 255;
  const SpillLanes clamped = x < zero ? zero : (x > top ? top : x);
  const SpillLanes h = (x - clamped) / 2;
  o1 += h;
  o2 += h;
  x = clamped;
}

inline __attribute__((always_inline)) SpillTriple SpillPasses(SpillLanes B, SpillLanes G, SpillLanes R) {
  const SpillLanes zero = SpillLanes{} + 0, top = SpillLanes{} + 255;
  for (;;) {
    const SpillLanes outside = (B < zero) | (B > top) | (G < zero) | (G > top) | (R < zero) | (R > top);
    int32_t any = 0;
    for (int i = 0; i < 8; ++i) any |= outside[i];
    if (any == 0) return {B, G, R};
    const SpillLanes low = (B <= zero) & (G <= zero) & (R <= zero);
    const SpillLanes high = (B >= top) & (G >= top) & (R >= top);
    B = low ? zero : (high ? top : B);
    G = low ? zero : (high ? top : G);
    R = low ? zero : (high ? top : R);
    SpillStep(B, G, R);
    SpillStep(G, B, R);
    SpillStep(R, G, B);
  }
}

// Contrast's tables: the unclamped values; the same shifted into their place
// in a pixel word, bit 31 marking a value outside 0..255; and for the wide
// loop the fitting values as bytes with 0xFF flags for the others.
struct ContrastTables {
  static constexpr uint32_t kOutside = 0x80000000u;
  std::array<int32_t, 256> value;
  std::array<uint32_t, 256> blue, green, red;
  std::array<uint8_t, 256> fitting, outside;
  explicit ContrastTables(const std::array<int32_t, 256>& v) : value(v) {
    for (int i = 0; i < 256; ++i) {
      const bool fits = IsByte(v[i]);
      blue[i] = fits ? static_cast<uint32_t>(v[i]) : kOutside;
      green[i] = fits ? static_cast<uint32_t>(v[i]) << 8 : kOutside;
      red[i] = fits ? static_cast<uint32_t>(v[i]) << 16 : kOutside;
      fitting[i] = fits ? static_cast<uint8_t>(v[i]) : 0;
      outside[i] = fits ? 0 : 0xFF;
    }
  }
};

// A group of eight pixels whose values all fit is stored straight from the
// shifted tables; otherwise the group goes through the lanes. Compiled for
// AVX2 and for the baseline, picked at load time.
__attribute__((target_clones("avx2", "default"))) void ContrastSpanBounded(const uint8_t* src, uint8_t* dst,
                                                                           int32_t n, const ContrastTables& t) {
  while (n > 0) {
    const int32_t k = n < 8 ? n : 8;
    uint32_t words[8];
    uint32_t flags = 0;
    for (int32_t i = 0; i < k; ++i) {
      const uint32_t p = LoadPixel(src + 4 * i);
      words[i] = t.blue[p & 0xFF] | t.green[(p >> 8) & 0xFF] | t.red[(p >> 16) & 0xFF];
      flags |= words[i];
      words[i] |= p & ~kColourBits;
    }
    if ((flags & ContrastTables::kOutside) == 0) {
      for (int32_t i = 0; i < k; ++i) StorePixel(dst + 4 * i, words[i]);
    } else {
      SpillLanes B{}, G{}, R{};
      for (int32_t i = 0; i < k; ++i) {
        B[i] = t.value[src[4 * i]];
        G[i] = t.value[src[4 * i + 1]];
        R[i] = t.value[src[4 * i + 2]];
      }
      const SpillTriple fitted = SpillPasses(B, G, R);
      for (int32_t i = 0; i < k; ++i) {
        dst[4 * i] = static_cast<uint8_t>(fitted.B[i]);
        dst[4 * i + 1] = static_cast<uint8_t>(fitted.G[i]);
        dst[4 * i + 2] = static_cast<uint8_t>(fitted.R[i]);
      }
    }
    n -= k;
    src += 4 * k;
    dst += 4 * k;
  }
}

#ifdef KELVANE_WIDE_BYTES
// The spill over sixteen pixels in the 32-bit lanes of one register each for
// B, G and R: the same passes as SpillPasses.
KELVANE_WIDE inline void SpillBlock16(const uint8_t* src, uint8_t* dst, const ContrastTables& t) {
  const __m512i x = _mm512_loadu_si512(src);
  const __m512i byte = _mm512_set1_epi32(0xFF);
  const __m512i zero = _mm512_setzero_si512();
  const __m512i top = _mm512_set1_epi32(255);
  __m512i B = _mm512_i32gather_epi32(_mm512_and_si512(x, byte), t.value.data(), 4);
  __m512i G = _mm512_i32gather_epi32(_mm512_and_si512(_mm512_srli_epi32(x, 8), byte), t.value.data(), 4);
  __m512i R = _mm512_i32gather_epi32(_mm512_and_si512(_mm512_srli_epi32(x, 16), byte), t.value.data(), 4);
  auto step = [&](__m512i& v, __m512i& o1, __m512i& o2) KELVANE_WIDE {
    const __m512i clamped = _mm512_min_epi32(_mm512_max_epi32(v, zero), top);
    const __m512i excess = _mm512_sub_epi32(v, clamped);
    // Halved towards zero: a negative excess gains 1 before the shift.
    const __m512i h = _mm512_srai_epi32(_mm512_add_epi32(excess, _mm512_srli_epi32(excess, 31)), 1);
    o1 = _mm512_add_epi32(o1, h);
    o2 = _mm512_add_epi32(o2, h);
    v = clamped;
  };
  for (;;) {
    // Compared unsigned, a negative value is above 255 as well.
    const __mmask16 outside = _mm512_cmpgt_epu32_mask(B, top) | _mm512_cmpgt_epu32_mask(G, top) |
                              _mm512_cmpgt_epu32_mask(R, top);
    if (outside == 0) break;
    const __mmask16 low =
        _mm512_cmple_epi32_mask(B, zero) & _mm512_cmple_epi32_mask(G, zero) & _mm512_cmple_epi32_mask(R, zero);
    const __mmask16 high =
        _mm512_cmpge_epi32_mask(B, top) & _mm512_cmpge_epi32_mask(G, top) & _mm512_cmpge_epi32_mask(R, top);
    B = _mm512_mask_mov_epi32(_mm512_mask_mov_epi32(B, low, zero), high, top);
    G = _mm512_mask_mov_epi32(_mm512_mask_mov_epi32(G, low, zero), high, top);
    R = _mm512_mask_mov_epi32(_mm512_mask_mov_epi32(R, low, zero), high, top);
    step(B, G, R);
    step(G, B, R);
    step(R, G, B);
  }
  const __m512i colour = _mm512_or_si512(B, _mm512_or_si512(_mm512_slli_epi32(G, 8), _mm512_slli_epi32(R, 16)));
  _mm512_storeu_si512(dst, _mm512_or_si512(colour, _mm512_andnot_si512(_mm512_set1_epi32(kColourBits), x)));
}

// Sixteen pixels at a time: a block whose values all fit is stored from one
// lookup; a block with a value outside 0..255 goes through the spill.
KELVANE_WIDE void ContrastSpanWide(const uint8_t* src, uint8_t* dst, int32_t n, const ContrastTables& t) {
  const WideTable fitting = LoadWideTable(t.fitting);
  const WideTable outside = LoadWideTable(t.outside);
  for (; n >= 16; n -= 16, src += 64, dst += 64) {
    const __m512i x = _mm512_loadu_si512(src);
    const __m512i flags = LookUp(outside, x);
    if (_mm512_mask_test_epi8_mask(~kFourthBytes, flags, flags) == 0) {
      _mm512_storeu_si512(dst, _mm512_mask_blend_epi8(kFourthBytes, LookUp(fitting, x), x));
    } else {
      SpillBlock16(src, dst, t);
    }
  }
  ContrastSpanBounded(src, dst, n, t);
}
#endif

void ContrastSpan(const uint8_t* src, uint8_t* dst, int32_t n, const ContrastTables& t) {
#ifdef KELVANE_WIDE_BYTES
  if (HasWideBytes()) return ContrastSpanWide(src, dst, n, t);
#endif
  ContrastSpanBounded(src, dst, n, t);
}

// ---------------------------------------------------------------------------
// SATURATION: round(c + f * (c - L)) clamped, L = T(b + g + r).

// The portable loop uses a 256 x 256 table over (L, c).
void SaturationSpanPortable(const uint8_t* src, uint8_t* dst, int32_t n, const uint8_t* table) {
  for (; n > 0; --n, src += 4, dst += 4) {
    const uint32_t p = LoadPixel(src);
    const uint8_t* row = table + 256 * (ChannelSum(p) / 3);
    StorePixel(dst, (p & ~kColourBits) | PackBGR(row[p & 0xFF], row[(p >> 8) & 0xFF], row[(p >> 16) & 0xFF]));
  }
}

#ifdef KELVANE_WIDE_BYTES
// Sixteen pixels at a time, computed rather than looked up: the same double
// operations in the same order (c - L exact, times f, plus c), held to 0..255
// and rounded to even, which gives RoundByte's result.
KELVANE_WIDE void SaturationSpanWide(const uint8_t* src, uint8_t* dst, int32_t n, double f, const uint8_t* table) {
  const __m512i byte = _mm512_set1_epi32(0xFF);
  const __m512d factor = _mm512_set1_pd(f), zero = _mm512_setzero_pd(), top = _mm512_set1_pd(255);
  auto half = [&](__m256i c, __m256i d) KELVANE_WIDE {
    __m512d product = _mm512_mul_pd(factor, _mm512_cvtepi32_pd(d));
    // Two roundings, as in the formula: the product may not be fused into
    // the sum.
    __asm__("" : "+v"(product));
    const __m512d v = _mm512_add_pd(_mm512_cvtepi32_pd(c), product);
    return _mm512_cvtpd_epi32(_mm512_min_pd(_mm512_max_pd(v, zero), top));
  };
  auto channel = [&](__m512i c, __m512i l) KELVANE_WIDE {
    const __m512i d = _mm512_sub_epi32(c, l);
    const __m256i low = half(_mm512_castsi512_si256(c), _mm512_castsi512_si256(d));
    const __m256i high = half(_mm512_extracti64x4_epi64(c, 1), _mm512_extracti64x4_epi64(d, 1));
    return _mm512_inserti64x4(_mm512_castsi256_si512(low), high, 1);
  };
  for (; n >= 16; n -= 16, src += 64, dst += 64) {
    const __m512i x = _mm512_loadu_si512(src);
    const __m512i b = _mm512_and_si512(x, byte);
    const __m512i g = _mm512_and_si512(_mm512_srli_epi32(x, 8), byte);
    const __m512i r = _mm512_and_si512(_mm512_srli_epi32(x, 16), byte);
    // T(b + g + r) by the exact multiply-and-shift of MeanOfThirds.
    const __m512i sum = _mm512_add_epi32(_mm512_add_epi32(b, g), r);
    const __m512i l = _mm512_srli_epi32(_mm512_mullo_epi32(sum, _mm512_set1_epi32(21846)), 16);
    const __m512i colour = _mm512_or_si512(
        channel(b, l), _mm512_or_si512(_mm512_slli_epi32(channel(g, l), 8), _mm512_slli_epi32(channel(r, l), 16)));
    _mm512_storeu_si512(dst, _mm512_or_si512(colour, _mm512_andnot_si512(_mm512_set1_epi32(kColourBits), x)));
  }
  SaturationSpanPortable(src, dst, n, table);
}
#endif

}  // namespace

// ---------------------------------------------------------------------------
// The filters

Bits cBitFilter::GreyScale() {
  const WeightTables& grey = GreyWeights();
  Bits out = CopyOfBits();
  RegionBox(0);
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    const uint8_t* src = bits_.Pixel(x0, y);
    uint8_t* dst = out.Pixel(x0, y);
    for (int32_t n = x1 - x0; n > 0; --n, src += 4, dst += 4) {
      const auto g = static_cast<uint8_t>(RoundHalfEven(grey.blue[src[0]] + grey.green[src[1]] + grey.red[src[2]]));
      dst[0] = dst[1] = dst[2] = g;
    }
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::BRIGHTNESS(int32_t level) {
  Bits out = CopyOfBits();
  // i + level overflowing is an error in a filter without the skip mode.
  if (!Add32(level, 255)) {
    RaiseProgress(100);
    return out;
  }
  const PixelTables tables(ShiftTable(level));
  RegionBox(0);
  if (RegionLeavesArray(*this)) {
    RaiseProgress(100);
    return out;
  }
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    MapSpan(bits_.Pixel(x0, y), out.Pixel(x0, y), x1 - x0, tables);
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::Invert() {
  Bits out = CopyOfBits();
  RegionBox(0);
  if (RegionLeavesArray(*this)) {
    RaiseProgress(100);
    return out;
  }
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    const uint8_t* src = bits_.Pixel(x0, y);
    uint8_t* dst = out.Pixel(x0, y);
    int32_t n = x1 - x0;
    // 255 - c is c with its bits flipped; channel 3 is left alone.
    for (; n >= 8; n -= 8, src += 32, dst += 32) {
      const Lanes8 v = LoadLanes8(src) ^ kColourBits;
      std::memcpy(dst, &v, sizeof v);
    }
    for (; n > 0; --n, src += 4, dst += 4) StorePixel(dst, LoadPixel(src) ^ kColourBits);
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::COLORIZE(float hue, float saturation, float lightness) {
  Bits out = CopyOfBits();
  // Not-a-number or infinite arguments cannot give a colour: an error here.
  if (!std::isfinite(hue) || !std::isfinite(saturation) || !std::isfinite(lightness)) {
    RaiseProgress(100);
    return out;
  }
  // The colour depends on b + g + r only. A component outside 0..255 is an
  // error in this filter, raised only if a selected pixel has that sum.
  SumTable table;
  std::array<bool, 766> invalid{};
  bool anyInvalid = false;
  for (int s = 0; s < 766; ++s) {
    const double t = static_cast<double>(s) / 765 * lightness;
    const RGBValue v = HLSToRGB(hue, saturation, static_cast<float>(t));
    invalid[s] = !IsByteTriple(v);
    anyInvalid = anyInvalid || invalid[s];
    table.word[s] = invalid[s] ? 0 : PackBGR(v.blue, v.green, v.red);
    table.keep[s] = ~kColourBits;
  }
  FailureFlag failure;
  RegionBox(0);
  if (RegionLeavesArray(*this)) {
    RaiseProgress(100);
    return out;
  }
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    if (anyInvalid) {
      const uint8_t* src = bits_.Pixel(x0, y);
      for (int32_t n = x1 - x0; n > 0; --n, src += 4) {
        if (invalid[ChannelSum(LoadPixel(src))]) return failure.Raise();
      }
    }
    SumMapSpan(bits_.Pixel(x0, y), out.Pixel(x0, y), x1 - x0, table);
  });
  if (failure.Raised()) out = bits_;
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::Contrast(int32_t level) {
  Bits out = CopyOfBits();
  const int32_t mean = MeanOfThirds(bits_, MaxX, MaxY);
  // f keeps its initial 0 when level + 100 overflows.
  const auto shifted = Add32(level, 100);
  const double f = shifted ? static_cast<double>(*shifted) / 100 : 0.0;
  // Unclamped 32-bit table; an entry that overflows stays 0.
  std::array<int32_t, 256> table{};
  for (int i = 0; i < 256; ++i) {
    if (const auto v = Round32((i - mean) * f + mean)) table[i] = *v;
  }
  constexpr int32_t kBound = 1 << 28;
  const bool bounded = std::all_of(table.begin(), table.end(), [](int32_t v) { return v > -kBound && v < kBound; });
  const ContrastTables tables(table);
  RegionBox(0);
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    if (bounded) {
      ContrastSpan(bits_.Pixel(x0, y), out.Pixel(x0, y), x1 - x0, tables);
    } else {
      ContrastSpanChecked(bits_.Pixel(x0, y), out.Pixel(x0, y), x1 - x0, table);
    }
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::GammaCorrection(int32_t level) {
  Bits out = CopyOfBits();
  // e keeps its initial 0, which makes black, when level + 100 overflows.
  const auto shifted = Add32(level, 100);
  const double e = shifted ? static_cast<double>(*shifted) / 100 : 0.0;
  std::array<uint8_t, 256> table{};
  if (e > 0) {
    const double exponent = 1 / e;
    table = IdentityTable();  // an out-of-range result leaves the byte
    for (int c = 0; c < 256; ++c) StoreByte(table[c], std::pow(c / 255.0, exponent) * 255);
  }
  const PixelTables tables(table);
  RegionBox(0);
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    MapSpan(bits_.Pixel(x0, y), out.Pixel(x0, y), x1 - x0, tables);
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::SATURATION(int32_t level) {
  Bits out = CopyOfBits();
  const double f = static_cast<double>(level) / 100;
  std::vector<uint8_t> table(256 * 256);
  for (int l = 0; l < 256; ++l)
    for (int c = 0; c < 256; ++c) table[l * 256 + c] = RoundByte(c + f * (c - l));
  RegionBox(0);
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
#ifdef KELVANE_WIDE_BYTES
    if (HasWideBytes()) return SaturationSpanWide(bits_.Pixel(x0, y), out.Pixel(x0, y), x1 - x0, f, table.data());
#endif
    SaturationSpanPortable(bits_.Pixel(x0, y), out.Pixel(x0, y), x1 - x0, table.data());
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::Equalize() {
  Bits out = CopyOfBits();
  const int64_t count = static_cast<int64_t>(MaxX + 1) * (MaxY + 1);
  if (count <= 0) {  // no picture, no median: nothing to pivot about
    RaiseProgress(100);
    return out;
  }
  std::array<int64_t, 256> histogram{};
  LumaHistogram(bits_, MaxX, MaxY, histogram);
  // The median: the first value whose running count passes half the pixels,
  // or the one below it when at most half of its own count lies past half.
  const int64_t half = count / 2;
  int64_t sum = 0;
  int32_t pivot = 0;
  for (int i = 0; i < 256; ++i) {
    sum += histogram[i];
    if (sum > half) {
      pivot = histogram[i] / 2 <= sum - half ? i - 1 : i;
      break;
    }
  }
  // A division by zero (pivot 255 or 1) leaves its factor at 0.
  const double up = pivot != 255 ? 127.0 / (255 - pivot) : 0.0;
  const double down = pivot != 1 ? 127.0 / (pivot - 1) : 0.0;
  std::array<uint8_t, 256> table = IdentityTable();  // an out-of-range result leaves the byte
  for (int c = 0; c < 256; ++c) StoreByte(table[c], c >= pivot ? (c - pivot) * up + 128 : c * down);
  const PixelTables tables(table);
  RegionBox(0);
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    MapSpan(bits_.Pixel(x0, y), out.Pixel(x0, y), x1 - x0, tables);
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::REPLACE(Colour colour, Colour newColour, int32_t tolerance) {
  Bits out = CopyOfBits();
  // An overflowing limit stays 0: only d2 = 0 qualifies, and its k = 0 / 0
  // fails too, leaving k at 0, so nothing changes.
  const auto limit = ToleranceLimit(tolerance);
  if (limit && *limit > 0) {
    const DistanceTables distance{RefColour(colour)};
    const RefColour n(newColour);
    const int32_t target[3] = {n.b, n.g, n.r};
    RegionBox(0);
    ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
      ReplaceSpan(bits_.Pixel(x0, y), out.Pixel(x0, y), x1 - x0, distance, *limit, target);
    });
  }
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::ReplaceHS(Colour colour, Colour newColour, int32_t hueTolerance, int32_t saturationTolerance,
                           int32_t applyTolerance) {
  Bits out = CopyOfBits();
  const auto limit = ToleranceLimit(applyTolerance);
  if (!limit) {  // an overflow is an error here
    RaiseProgress(100);
    return out;
  }
  const RefColour ref(colour);
  const HLS refHls = RGBToHLS(ref.r, ref.g, ref.b);
  const double hueBand = static_cast<double>(hueTolerance) / 100;
  const double saturationBand = static_cast<double>(saturationTolerance) / 100;
  const DistanceTables distance(ref);
  const RefColour n(newColour);
  const int32_t target[3] = {n.b, n.g, n.r};
  RegionBox(0);
  if (RegionLeavesArray(*this)) {
    RaiseProgress(100);
    return out;
  }
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    const uint8_t* src = bits_.Pixel(x0, y);
    uint8_t* dst = out.Pixel(x0, y);
    for (int32_t k = x1 - x0; k > 0; --k, src += 4, dst += 4) {
      // The three tests have no side effects: the cheap distance goes first.
      const int32_t d2 = distance(src);
      if (d2 > *limit) continue;
      // The single hues and saturations are subtracted in double precision.
      const HLS hls = RGBToHLS(src[2], src[1], src[0]);
      if (std::fabs(static_cast<double>(hls.h) - refHls.h) <= hueBand &&
          std::fabs(static_cast<double>(hls.s) - refHls.s) <= saturationBand) {
        SoftReplace(src, dst, target, 1 - static_cast<double>(d2) / *limit);
      }
    }
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::ReplaceL(Colour colour, Colour newColour, int32_t luminanceTolerance, int32_t applyTolerance) {
  Bits out = CopyOfBits();
  const auto limit = ToleranceLimit(applyTolerance);
  const auto band = Round32(luminanceTolerance * 2.55);
  if (!limit || !band) {  // an overflow is an error here
    RaiseProgress(100);
    return out;
  }
  const RefColour ref(colour);
  const int32_t l0 = (ref.r + ref.g + ref.b) / 3;
  const DistanceTables distance(ref);
  const RefColour n(newColour);
  const int32_t target[3] = {n.b, n.g, n.r};
  RegionBox(0);
  if (RegionLeavesArray(*this)) {
    RaiseProgress(100);
    return out;
  }
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    ReplaceLSpan(bits_.Pixel(x0, y), out.Pixel(x0, y), x1 - x0, distance, *limit, l0, *band, target);
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::ISOLATE(Colour colour, Colour background, int32_t tolerance) {
  Bits out = CopyOfBits();
  const auto limit = ToleranceLimit(tolerance);
  if (!limit) {  // an overflow is an error here
    RaiseProgress(100);
    return out;
  }
  const DistanceTables distance{RefColour(colour)};
  const RefColour bg(background);
  const uint32_t fill = PackBGR(bg.b, bg.g, bg.r);
  RegionBox(0);
  if (RegionLeavesArray(*this)) {
    RaiseProgress(100);
    return out;
  }
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    IsolateSpan(bits_.Pixel(x0, y), out.Pixel(x0, y), x1 - x0, distance, *limit, fill);
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::Shift(Colour colour, int32_t shift, int32_t tolerance) {
  Bits out = CopyOfBits();
  // An overflowing limit stays 0 and no distance is below it.
  const auto limit = ToleranceLimit(tolerance);
  if (limit && *limit > 0) {
    const DistanceTables distance{RefColour(colour)};
    const std::array<uint8_t, 256> shifted = ShiftTable(shift);
    RegionBox(0);
    ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
      ShiftSpan(bits_.Pixel(x0, y), out.Pixel(x0, y), x1 - x0, distance, *limit, shifted);
    });
  }
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::RotateH(int32_t offset, int32_t saturation) {
  Bits out = CopyOfBits();
  const double o = offset / 16.67;
  const double f = static_cast<double>(saturation) / 100;
  FailureFlag failure;
  RegionBox(0);
  if (RegionLeavesArray(*this)) {
    RaiseProgress(100);
    return out;
  }
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    const uint8_t* src = bits_.Pixel(x0, y);
    uint8_t* dst = out.Pixel(x0, y);
    // Neighbours are often equal: the last conversion serves them again.
    uint32_t lastIn = 0, lastOut = 0;
    bool haveLast = false;
    for (int32_t n = x1 - x0; n > 0; --n, src += 4, dst += 4) {
      const uint32_t p = LoadPixel(src);
      if (!haveLast || (p & kColourBits) != lastIn) {
        HLS hls = RGBToHLS(src[2], src[1], src[0]);
        // The hue is a single: the double sum is rounded back into it.
        hls.h = static_cast<float>(hls.h + o);
        if (hls.h > 5) hls.h = hls.h - 6;
        const RGBValue v = HLSToRGB(hls.h, static_cast<float>(f * hls.s), hls.l);
        if (!IsByteTriple(v)) return failure.Raise();
        lastIn = p & kColourBits;
        lastOut = PackBGR(v.blue, v.green, v.red);
        haveLast = true;
      }
      StorePixel(dst, (p & ~kColourBits) | lastOut);
    }
  });
  if (failure.Raised()) out = bits_;
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::RotateL(int32_t offset, int32_t steps) {
  const WeightTables& grey = GreyWeights();
  Bits out = CopyOfBits();
  const double o = static_cast<double>(offset) / 10;
  const double n = steps / 2.5;
  RegionBox(0);
  if (RegionLeavesArray(*this)) {
    RaiseProgress(100);
    return out;
  }
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    const uint8_t* src = bits_.Pixel(x0, y);
    uint8_t* dst = out.Pixel(x0, y);
    uint32_t lastIn = 0;
    uint8_t lastOut = 0;
    bool haveLast = false;
    for (int32_t k = x1 - x0; k > 0; --k, src += 4, dst += 4) {
      const uint32_t p = LoadPixel(src) & kColourBits;
      if (!haveLast || p != lastIn) {
        // Green first: the sum is taken in this order.
        const double luma = grey.green[src[1]] + grey.blue[src[0]] + grey.red[src[2]];
        double v = std::sin(luma / 255 * n + o) * 127.5 + 127.5;
        if (v > 255) {
          v -= 255;
        } else if (v < 0) {
          v += 255;
        }
        lastIn = p;
        lastOut = static_cast<uint8_t>(RoundHalfEven(v));
        haveLast = true;
      }
      dst[0] = dst[1] = dst[2] = lastOut;
    }
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::StretchH(int32_t offset, int32_t saturation, int32_t factor) {
  Bits out = CopyOfBits();
  const double o = offset / 16.67;
  const double f = static_cast<double>(saturation) / 100;
  const double n = static_cast<double>(factor) / 10;
  // The colour depends on b + g + r only. A component outside 0..255 is a
  // skipped store: its channel keeps the input byte.
  SumTable table;
  for (int s = 0; s < 766; ++s) {
    const double t = static_cast<double>(s) / 765;
    double h = 3 * std::sin(n * t) + o;
    if (h < -1) h += 6;
    if (h > 5) h -= 6;
    const RGBValue v = HLSToRGB(static_cast<float>(h), static_cast<float>(f), static_cast<float>(t));
    const int32_t bgr[3] = {v.blue, v.green, v.red};
    table.keep[s] = ~kColourBits;
    for (int c = 0; c < 3; ++c) {
      if (IsByte(bgr[c])) {
        table.word[s] |= static_cast<uint32_t>(bgr[c]) << (8 * c);
      } else {
        table.keep[s] |= 0xFFu << (8 * c);
      }
    }
  }
  RegionBox(0);
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    SumMapSpan(bits_.Pixel(x0, y), out.Pixel(x0, y), x1 - x0, table);
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::Reduction(int32_t level) {
  Bits out = CopyOfBits();
  const auto q = Add32(level, 1);
  if (!q || *q == 0) {  // an overflow or a division by zero: an error here
    RaiseProgress(100);
    return out;
  }
  std::array<uint8_t, 256> table{};
  for (int i = 0; i < 256; ++i) {
    // round(i / q) * q is never negative and at most 510.
    const int64_t v = static_cast<int64_t>(RoundHalfEven(static_cast<double>(i) / *q)) * *q;
    table[i] = static_cast<uint8_t>(v > 255 ? 255 : v);
  }
  const PixelTables tables(table);
  RegionBox(0);
  if (RegionLeavesArray(*this)) {
    RaiseProgress(100);
    return out;
  }
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    MapSpan(bits_.Pixel(x0, y), out.Pixel(x0, y), x1 - x0, tables);
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::Threshold(int32_t cut) {
  Bits out = CopyOfBits();
  SumTable table;
  for (int s = 0; s < 766; ++s) {
    table.word[s] = s / 3 > cut ? kColourBits : 0;
    table.keep[s] = ~kColourBits;
  }
  RegionBox(0);
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    SumMapSpan(bits_.Pixel(x0, y), out.Pixel(x0, y), x1 - x0, table);
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::KillChannel(bool red, bool green, bool blue) {
  Bits out = CopyOfBits();
  ChannelShuffle shuffle;
  shuffle.keep = {static_cast<uint8_t>(blue ? 0 : 0xFF), static_cast<uint8_t>(green ? 0 : 0xFF),
                  static_cast<uint8_t>(red ? 0 : 0xFF), 0xFF};
  RegionBox(0);
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    ShuffleSpan(bits_.Pixel(x0, y), out.Pixel(x0, y), x1 - x0, shuffle);
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::ShiftRGB(int32_t red, int32_t green, int32_t blue) {
  Bits out = CopyOfBits();
  const PixelTables tables(ShiftTable(blue), ShiftTable(green), ShiftTable(red));
  RegionBox(0);
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    MapSpan(bits_.Pixel(x0, y), out.Pixel(x0, y), x1 - x0, tables);
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::SwapRGB(int32_t redSource, int32_t greenSource, int32_t blueSource, bool invertRed,
                         bool invertGreen, bool invertBlue, bool killRed, bool killGreen, bool killBlue) {
  Bits out = CopyOfBits();
  // Output channels blue, green, red in turn. A source may name the fourth
  // byte (3); one outside 0..3 is a failed read that leaves the output byte,
  // which the kill flag still sets to 0.
  const int32_t sources[3] = {blueSource, greenSource, redSource};
  const bool inverts[3] = {invertBlue, invertGreen, invertRed};
  const bool kills[3] = {killBlue, killGreen, killRed};
  ChannelShuffle shuffle;
  for (int c = 0; c < 3; ++c) {
    const bool readable = sources[c] >= 0 && sources[c] <= 3;
    shuffle.source[c] = static_cast<uint8_t>(readable ? sources[c] : c);
    shuffle.flip[c] = readable && inverts[c] ? 0xFF : 0;
    shuffle.keep[c] = kills[c] ? 0 : 0xFF;
  }
  RegionBox(0);
  ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
    ShuffleSpan(bits_.Pixel(x0, y), out.Pixel(x0, y), x1 - x0, shuffle);
  });
  RaiseProgress(100);
  return out;
}

Bits cBitFilter::SwapBanks(int32_t order) {
  Bits out = CopyOfBits();
  // The input channel taken by output channels 0, 1, 2 for orders 1 to 5
  // ("RGB2BRG", "RGB2GBR", "RGB2RBG", "RGB2BGR", "RGB2GRB"). Other orders
  // leave the picture.
  static constexpr uint8_t kOrders[5][3] = {{1, 2, 0}, {2, 0, 1}, {1, 0, 2}, {2, 1, 0}, {0, 2, 1}};
  if (order >= 1 && order <= 5) {
    ChannelShuffle shuffle;
    for (int c = 0; c < 3; ++c) shuffle.source[c] = kOrders[order - 1][c];
    RegionBox(0);
    if (RegionLeavesArray(*this)) {
      RaiseProgress(100);
      return out;
    }
    ForEachRegionSpan(true, [&](int32_t y, int32_t x0, int32_t x1) {
      ShuffleSpan(bits_.Pixel(x0, y), out.Pixel(x0, y), x1 - x0, shuffle);
    });
  }
  RaiseProgress(100);
  return out;
}

std::vector<FilterMethod> ColourMethods() {
  return {
      Method("GreyScale", &cBitFilter::GreyScale),
      Method("BRIGHTNESS", &cBitFilter::BRIGHTNESS, {"level"}),
      Method("Invert", &cBitFilter::Invert),
      Method("COLORIZE", &cBitFilter::COLORIZE, {"hue", "saturation", "lightness"}),
      Method("Contrast", &cBitFilter::Contrast, {"level"}),
      Method("GammaCorrection", &cBitFilter::GammaCorrection, {"level"}),
      Method("SATURATION", &cBitFilter::SATURATION, {"level"}),
      Method("Equalize", &cBitFilter::Equalize),
      Method("REPLACE", &cBitFilter::REPLACE, {"colour", "new colour", "tolerance"}),
      Method("ReplaceHS", &cBitFilter::ReplaceHS,
             {"colour", "new colour", "hue tolerance", "saturation tolerance", "apply tolerance"}),
      Method("ReplaceL", &cBitFilter::ReplaceL, {"colour", "new colour", "luminance tolerance", "apply tolerance"}),
      Method("ISOLATE", &cBitFilter::ISOLATE, {"colour", "background colour", "tolerance"}),
      Method("Shift", &cBitFilter::Shift, {"colour", "shift", "tolerance"}),
      Method("RotateH", &cBitFilter::RotateH, {"offset", "saturation"}),
      Method("RotateL", &cBitFilter::RotateL, {"offset", "steps"}),
      Method("StretchH", &cBitFilter::StretchH, {"offset", "saturation", "stretch factor"}),
      Method("Reduction", &cBitFilter::Reduction, {"level"}),
      Method("Threshold", &cBitFilter::Threshold, {"cut value"}),
      Method("KillChannel", &cBitFilter::KillChannel, {"red flag", "green flag", "blue flag"}),
      Method("ShiftRGB", &cBitFilter::ShiftRGB, {"red", "green", "blue"}),
      Method("SwapRGB", &cBitFilter::SwapRGB,
             {"source of red", "source of green", "source of blue", "invert red", "invert green", "invert blue",
              "kill red", "kill green", "kill blue"}),
      Method("SwapBanks", &cBitFilter::SwapBanks, {"order"}),
  };
}

}  // namespace kelvane
