#include "filters/histogram.h"

#include <cstdio>

#include "base/numeric.h"

namespace kelvane {

namespace {

// Per-channel products, so that the sum adds the very same doubles in the
// same order as the formula and rounds identically.
struct LuminosityTables {
  std::array<double, 256> blue, green, red;
  LuminosityTables() {
    for (int v = 0; v < 256; ++v) {
      blue[v] = 0.113 * v;
      green[v] = 0.586 * v;
      red[v] = 0.301 * v;
    }
  }
};

}  // namespace

const HistogramTable& HistogramTables::Table(HistogramChannel channel) const {
  switch (channel) {
    case HistogramChannel::Blue: return Blue;
    case HistogramChannel::Green: return Green;
    case HistogramChannel::Red: return Red;
    case HistogramChannel::Luminousity: break;
  }
  return Luminosity;
}

HistogramTables BuildHistogram(const Bits& picture) {
  static const LuminosityTables weights;
  HistogramTables t;
  // 32-bit counters keep the inner loop narrow; they are added into the
  // 64-bit tables before they could overflow.
  std::array<uint32_t, 256> lum{}, red{}, green{}, blue{};
  auto flush = [&]() {
    for (int v = 0; v < 256; ++v) {
      t.Luminosity[v] += lum[v];
      t.Blue[v] += blue[v];
      t.Green[v] += green[v];
      t.Red[v] += red[v];
    }
    lum.fill(0);
    red.fill(0);
    green.fill(0);
    blue.fill(0);
  };
  const int w = picture.Width();
  uint64_t pending = 0;
  for (int y = 0; y < picture.Height(); ++y) {
    if (pending + static_cast<uint64_t>(w) > 0xFFFFFFFFu) {
      flush();
      pending = 0;
    }
    const uint8_t* p = picture.Row(y);
    for (int x = 0; x < w; ++x, p += 4) {
      const double l = weights.blue[p[0]] + weights.green[p[1]] + weights.red[p[2]];
      // The weights sum to 1, so l never passes 255 by more than a rounding
      // error; the clamp only guards the index.
      ++lum[RoundByte(l)];
      ++blue[p[0]];
      ++green[p[1]];
      ++red[p[2]];
    }
    pending += static_cast<uint64_t>(w);
  }
  flush();
  t.Total = static_cast<int64_t>(w) * picture.Height();
  return t;
}

int64_t HighestCount(const HistogramTable& table) {
  int64_t m = 0;
  for (int64_t count : table)
    if (count > m) m = count;
  return m;
}

HistogramBars BarHeights(const HistogramTable& table) {
  HistogramBars bars{};
  const int64_t m = HighestCount(table);
  // With no counts the division fails for every level and no bar is drawn.
  if (m == 0) return bars;
  for (int v = 0; v < 256; ++v) bars[v] = static_cast<int32_t>(table[v] * 100 / m);
  return bars;
}

int32_t LevelAt(int32_t x, int32_t width) {
  if (width <= 0 || x < 0) return 0;
  const int64_t level = static_cast<int64_t>(x) * 256 / width;
  return level > 255 ? 255 : static_cast<int32_t>(level);
}

double HistogramAverage(const HistogramTable& table) {
  int64_t count = 0;
  double sum = 0;
  for (int v = 0; v < 256; ++v) {
    count += table[v];
    sum += static_cast<double>(table[v]) * v;
  }
  return count == 0 ? 0.0 : sum / static_cast<double>(count);
}

void HistogramView::Extract(const Bits& picture) {
  tables_ = BuildHistogram(picture);
  lblPixelsV = std::to_string(tables_.Total);
  lblLevelV.clear();
  lblQuantityV.clear();
  Refresh();
}

void HistogramView::SetChannel(HistogramChannel channel) {
  channel_ = channel;
  Refresh();
}

void HistogramView::PointerAt(int32_t x, int32_t width) {
  const int32_t level = LevelAt(x, width);
  lblLevelV = std::to_string(level);
  lblQuantityV = std::to_string(tables_.Table(channel_)[static_cast<size_t>(level)]);
}

void HistogramView::PointerLeft() {
  lblLevelV.clear();
  lblQuantityV.clear();
}

void HistogramView::Refresh() {
  const HistogramTable& table = tables_.Table(channel_);
  bars_ = BarHeights(table);
  char text[32];
  std::snprintf(text, sizeof text, "%.2f", HistogramAverage(table));
  lblAvgV = text;
}

}  // namespace kelvane
