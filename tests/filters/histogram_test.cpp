// The histogram's tables and bar heights on small pictures worked out by
// hand, and against a slow reference count.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "filters/filter_test_support.h"
#include "filters/histogram.h"

namespace kelvane {
namespace {

using test::MakePicture;

// Round half to even written out longhand.
int ReferenceRound(double v) {
  const double f = std::floor(v);
  const double frac = v - f;
  if (frac > 0.5) return static_cast<int>(f) + 1;
  if (frac < 0.5) return static_cast<int>(f);
  return static_cast<int>(f) % 2 == 0 ? static_cast<int>(f) : static_cast<int>(f) + 1;
}

int ReferenceLuminosity(int b, int g, int r) { return ReferenceRound(0.113 * b + 0.586 * g + 0.301 * r); }

HistogramTable Counts(std::initializer_list<std::pair<int, int64_t>> entries) {
  HistogramTable t{};
  for (auto [level, count] : entries) t[static_cast<size_t>(level)] = count;
  return t;
}

TEST(Histogram, WindowTexts) {
  EXPECT_EQ(kHistogramTitle, "Histogram");
  EXPECT_EQ(kExtractingStatus, " Extracting image information...");
  EXPECT_EQ(kChannelFrameCaption, "Channel");
  EXPECT_EQ(kChannelCaptions[0], "Blue");
  EXPECT_EQ(kChannelCaptions[1], "Green");
  EXPECT_EQ(kChannelCaptions[2], "Red");
  EXPECT_EQ(kChannelCaptions[3], "Luminousity");
  EXPECT_EQ(kInfoFrameCaption, "Info");
  EXPECT_EQ(kQuantityCaption, "Quantity :");
  EXPECT_EQ(kPixelsCaption, "Pixels :");
  EXPECT_EQ(kLevelCaption, "Level :");
  EXPECT_EQ(kAverageCaption, "Average :");
  EXPECT_EQ(kHistogramOkCaption, "OK");
}

TEST(Histogram, SixPixelsByHand) {
  // Pixels as (blue, green, red) and their luminosity:
  //   (0, 0, 0)        0
  //   (255, 255, 255)  28.815 + 149.43 + 76.755 = 255
  //   (10, 20, 30)     1.13 + 11.72 + 9.03 = 21.88 -> 22
  //   (100, 0, 0)      11.3 -> 11
  //   (0, 0, 100)      30.1 -> 30
  //   (0, 100, 0)      58.6 -> 59
  const int px[6][3] = {{0, 0, 0}, {255, 255, 255}, {10, 20, 30}, {100, 0, 0}, {0, 0, 100}, {0, 100, 0}};
  Bits pic = MakePicture(3, 2, [&](int x, int y, int c) { return px[y * 3 + x][c]; });
  const HistogramTables t = BuildHistogram(pic);
  EXPECT_EQ(t.Total, 6);
  EXPECT_EQ(t.Luminosity, Counts({{0, 1}, {255, 1}, {22, 1}, {11, 1}, {30, 1}, {59, 1}}));
  EXPECT_EQ(t.Blue, Counts({{0, 3}, {255, 1}, {10, 1}, {100, 1}}));
  EXPECT_EQ(t.Green, Counts({{0, 3}, {255, 1}, {20, 1}, {100, 1}}));
  EXPECT_EQ(t.Red, Counts({{0, 3}, {255, 1}, {30, 1}, {100, 1}}));

  // Bars of the blue table: M = 3; 3 * 100 \ 3 = 100, 1 * 100 \ 3 = 33.
  const HistogramBars bars = BarHeights(t.Blue);
  EXPECT_EQ(HighestCount(t.Blue), 3);
  for (int v = 0; v < 256; ++v) {
    const int expected = v == 0 ? 100 : (v == 255 || v == 10 || v == 100) ? 33 : 0;
    EXPECT_EQ(bars[static_cast<size_t>(v)], expected) << v;
  }
}

TEST(Histogram, LuminosityTiesGoToTheEvenLevel) {
  // Colours whose weighted sum is exactly a half in double arithmetic.
  std::vector<std::array<int, 3>> ties;
  for (int b = 0; b < 256 && ties.size() < 400; ++b)
    for (int g = 0; g < 256 && ties.size() < 400; g += 3)
      for (int r = 0; r < 256 && ties.size() < 400; r += 5) {
        const double s = 0.113 * b + 0.586 * g + 0.301 * r;
        if (s - std::floor(s) == 0.5) ties.push_back({b, g, r});
      }
  ASSERT_FALSE(ties.empty());
  const int w = static_cast<int>(ties.size());
  Bits pic = MakePicture(w, 1, [&](int x, int, int c) { return ties[static_cast<size_t>(x)][c]; });
  HistogramTable expected{};
  for (const auto& t : ties) {
    const int l = ReferenceLuminosity(t[0], t[1], t[2]);
    ASSERT_EQ(l % 2, 0);
    ++expected[static_cast<size_t>(l)];
  }
  EXPECT_EQ(BuildHistogram(pic).Luminosity, expected);
}

TEST(Histogram, AgreesWithASlowCountAndIgnoresTheFrame) {
  std::mt19937 rng(5);
  Bits pic(37, 29);
  // Noise everywhere, frame and fourth byte included: only the picture's
  // three colour bytes may count.
  for (size_t i = 0; i < pic.ByteSize(); ++i) pic.Data()[i] = static_cast<uint8_t>(rng());
  HistogramTable lum{}, red{}, green{}, blue{};
  for (int y = 0; y < 29; ++y)
    for (int x = 0; x < 37; ++x) {
      const int b = pic.At(0, x, y), g = pic.At(1, x, y), r = pic.At(2, x, y);
      ++lum[static_cast<size_t>(ReferenceLuminosity(b, g, r))];
      ++blue[static_cast<size_t>(b)];
      ++green[static_cast<size_t>(g)];
      ++red[static_cast<size_t>(r)];
    }
  const HistogramTables t = BuildHistogram(pic);
  EXPECT_EQ(t.Total, 37 * 29);
  EXPECT_EQ(t.Luminosity, lum);
  EXPECT_EQ(t.Blue, blue);
  EXPECT_EQ(t.Green, green);
  EXPECT_EQ(t.Red, red);
}

TEST(Histogram, BarHeightsTruncateAndNeverOverflow) {
  // 3 * 100 \ 7 = 42 (42.86 truncated); 6 * 100 \ 7 = 85 (85.71).
  HistogramBars bars = BarHeights(Counts({{0, 7}, {1, 3}, {2, 6}, {255, 1}}));
  EXPECT_EQ(bars[0], 100);
  EXPECT_EQ(bars[1], 42);
  EXPECT_EQ(bars[2], 85);
  EXPECT_EQ(bars[255], 14);  // 100 \ 7
  EXPECT_EQ(bars[3], 0);
  // Counts of a 6000 x 4000 picture: 24,000,000 * 100 passes 32 bits.
  bars = BarHeights(Counts({{10, 24000000}, {11, 23999999}, {12, 240000}}));
  EXPECT_EQ(bars[10], 100);
  EXPECT_EQ(bars[11], 99);  // 2,399,999,900 \ 24,000,000
  EXPECT_EQ(bars[12], 1);
  // No counts at all: no bars.
  const HistogramBars none = BarHeights(HistogramTable{});
  for (int32_t b : none) EXPECT_EQ(b, 0);
  EXPECT_EQ(HighestCount(HistogramTable{}), 0);
}

TEST(Histogram, OneColourGivesOneFullBar) {
  Bits pic = MakePicture(5, 4, [](int, int, int c) { return c == 0 ? 40 : (c == 1 ? 90 : 200); });
  const HistogramTables t = BuildHistogram(pic);
  // Luminosity 4.52 + 52.74 + 60.2 = 117.46 -> 117.
  for (auto [table, level] : {std::pair{&t.Blue, 40}, {&t.Green, 90}, {&t.Red, 200}, {&t.Luminosity, 117}}) {
    const HistogramBars bars = BarHeights(*table);
    for (int v = 0; v < 256; ++v) EXPECT_EQ(bars[static_cast<size_t>(v)], v == level ? 100 : 0) << v;
  }
  const HistogramTables empty = BuildHistogram(Bits(0, 0));
  EXPECT_EQ(empty.Total, 0);
  EXPECT_EQ(empty.Luminosity, HistogramTable{});
}

TEST(Histogram, PointerLevelsAndAverage) {
  EXPECT_EQ(LevelAt(0, 256), 0);
  EXPECT_EQ(LevelAt(255, 256), 255);
  EXPECT_EQ(LevelAt(511, 512), 255);
  EXPECT_EQ(LevelAt(1, 512), 0);
  EXPECT_EQ(LevelAt(99, 100), 253);  // 25344 \ 100
  EXPECT_EQ(LevelAt(100, 100), 255);
  EXPECT_EQ(LevelAt(-3, 100), 0);
  EXPECT_EQ(LevelAt(5, 0), 0);

  // (0 * 3 + 255 * 1) / 4 = 63.75
  EXPECT_DOUBLE_EQ(HistogramAverage(Counts({{0, 3}, {255, 1}})), 63.75);
  EXPECT_EQ(HistogramAverage(HistogramTable{}), 0);
}

TEST(Histogram, ViewFollowsTheChannelAndThePointer) {
  // Blue 0 and 255 side by side, green 10, red 20 and 30.
  Bits pic = MakePicture(2, 1, [](int x, int, int c) { return c == 0 ? 255 * x : (c == 1 ? 10 : 20 + 10 * x); });
  HistogramView view;
  view.Extract(pic);
  EXPECT_EQ(view.Channel(), HistogramChannel::Luminousity);
  EXPECT_EQ(view.lblPixelsV, "2");
  // Luminosity: 5.86 + 6.02 = 11.88 -> 12 and 28.815 + 5.86 + 9.03 = 43.705 -> 44.
  EXPECT_EQ(view.Bars()[12], 100);
  EXPECT_EQ(view.Bars()[44], 100);
  EXPECT_EQ(view.lblAvgV, "28.00");
  view.SetChannel(HistogramChannel::Blue);
  EXPECT_EQ(view.lblAvgV, "127.50");
  EXPECT_EQ(view.Bars()[0], 100);
  EXPECT_EQ(view.Bars()[255], 100);
  view.PointerAt(255, 256);
  EXPECT_EQ(view.lblLevelV, "255");
  EXPECT_EQ(view.lblQuantityV, "1");
  view.SetChannel(HistogramChannel::Green);
  view.PointerAt(20, 512);  // level 10
  EXPECT_EQ(view.lblLevelV, "10");
  EXPECT_EQ(view.lblQuantityV, "2");
  view.PointerLeft();
  EXPECT_EQ(view.lblLevelV, "");
  EXPECT_EQ(view.lblQuantityV, "");
}

}  // namespace
}  // namespace kelvane
