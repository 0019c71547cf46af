// The histogram's tables and bar heights on small pictures worked out by
// hand, and against a slow reference count.
#include <gtest/gtest.h>

#include <vector>

#include "filters/dialog_test_support.h"
#include "filters/histogram.h"

namespace kelvane {
namespace {

using test::MakePicture;

int ReferenceLuminosity(int b, int g, int r) { return test::ReferenceRound(0.113 * b + 0.586 * g + 0.301 * r); }

HistogramTable Counts(std::initializer_list<std::pair<int, int64_t>> entries) {
  HistogramTable t{};
  for (auto [level, count] : entries) t[static_cast<size_t>(level)] = count;
  return t;
}

TEST(Histogram, SixPixelsByHand) {
  EXPECT_EQ(kExtractingStatus, " Extracting image information...");
  EXPECT_EQ(kChannelCaptions[3], "Luminousity");
  EXPECT_EQ(kQuantityCaption, "Quantity :");
  // Pixels as (blue, green, red) and their luminosity: 0; 28.815 + 149.43 +
  // 76.755 = 255; 1.13 + 11.72 + 9.03 = 21.88 -> 22; 11.3 -> 11; 30.1 -> 30;
  // 58.6 -> 59.
  const int px[6][3] = {{0, 0, 0}, {255, 255, 255}, {10, 20, 30}, {100, 0, 0}, {0, 0, 100}, {0, 100, 0}};
  const HistogramTables t = BuildHistogram(MakePicture(3, 2, [&](int x, int y, int c) { return px[y * 3 + x][c]; }));
  EXPECT_EQ(t.Total, 6);
  EXPECT_EQ(t.Luminosity, Counts({{0, 1}, {255, 1}, {22, 1}, {11, 1}, {30, 1}, {59, 1}}));
  EXPECT_EQ(t.Blue, Counts({{0, 3}, {255, 1}, {10, 1}, {100, 1}}));
  EXPECT_EQ(t.Green, Counts({{0, 3}, {255, 1}, {20, 1}, {100, 1}}));
  EXPECT_EQ(t.Red, Counts({{0, 3}, {255, 1}, {30, 1}, {100, 1}}));
}

TEST(Histogram, AgreesWithASlowCountTiesToEvenAndIgnoresTheFrame) {
  // Colours whose weighted sum is exactly a half in double arithmetic.
  std::vector<std::array<int, 3>> ties;
  for (int b = 0; b < 256 && ties.size() < 400; ++b)
    for (int g = 0; g < 256 && ties.size() < 400; g += 3)
      for (int r = 0; r < 256 && ties.size() < 400; r += 5) {
        const double s = 0.113 * b + 0.586 * g + 0.301 * r;
        if (s - std::floor(s) == 0.5) ties.push_back({b, g, r});
      }
  ASSERT_FALSE(ties.empty());
  const Bits tied = MakePicture(static_cast<int>(ties.size()), 1, [&](int x, int, int c) { return ties[x][c]; });
  // Noise everywhere, frame and fourth byte included: only the picture's
  // three colour bytes may count.
  for (const Bits& pic : {tied, test::NoiseEverywhere(37, 29, 5)}) {
    HistogramTable lum{}, red{}, green{}, blue{};
    for (int y = 0; y < pic.Height(); ++y)
      for (int x = 0; x < pic.Width(); ++x) {
        const int b = pic.At(0, x, y), g = pic.At(1, x, y), r = pic.At(2, x, y);
        ++lum[static_cast<size_t>(ReferenceLuminosity(b, g, r))];
        ++blue[static_cast<size_t>(b)], ++green[static_cast<size_t>(g)], ++red[static_cast<size_t>(r)];
      }
    const HistogramTables t = BuildHistogram(pic);
    EXPECT_EQ(t.Total, pic.Width() * pic.Height());
    EXPECT_EQ(t.Luminosity, lum);
    EXPECT_EQ(t.Blue, blue);
    EXPECT_EQ(t.Green, green);
    EXPECT_EQ(t.Red, red);
  }
}

TEST(Histogram, BarHeightsTruncateAndNeverOverflow) {
  // 3 * 100 \ 7 = 42 (42.86 truncated); 6 * 100 \ 7 = 85; 100 \ 7 = 14.
  HistogramBars bars = BarHeights(Counts({{0, 7}, {1, 3}, {2, 6}, {255, 1}}));
  EXPECT_EQ(HighestCount(Counts({{0, 7}, {1, 3}})), 7);
  HistogramBars expected{};
  expected[0] = 100, expected[1] = 42, expected[2] = 85, expected[255] = 14;
  EXPECT_EQ(bars, expected);
  // Counts of a 6000 x 4000 picture: 24,000,000 * 100 passes 32 bits.
  bars = BarHeights(Counts({{10, 24000000}, {11, 23999999}, {12, 240000}}));
  EXPECT_EQ(bars[10], 100);
  EXPECT_EQ(bars[11], 99);  // 2,399,999,900 \ 24,000,000
  EXPECT_EQ(bars[12], 1);
  EXPECT_EQ(BarHeights(HistogramTable{}), HistogramBars{});  // no counts at all: no bars
  EXPECT_EQ(HighestCount(HistogramTable{}), 0);

  // One colour gives one full-height bar in every channel; luminosity 4.52 +
  // 52.74 + 60.2 = 117.46 -> 117.
  const HistogramTables t =
      BuildHistogram(MakePicture(5, 4, [](int, int, int c) { return c == 0 ? 40 : c == 1 ? 90 : 200; }));
  for (auto [table, level] : {std::pair{&t.Blue, 40}, {&t.Green, 90}, {&t.Red, 200}, {&t.Luminosity, 117}}) {
    HistogramBars one{};
    one[static_cast<size_t>(level)] = 100;
    EXPECT_EQ(BarHeights(*table), one) << level;
  }
  EXPECT_EQ(BuildHistogram(Bits(0, 0)).Total, 0);
}

TEST(Histogram, PointerLevelsAverageAndTheView) {
  const int levels[][3] = {{0, 256, 0},   {255, 256, 255}, {511, 512, 255}, {1, 512, 0},
                           {99, 100, 253},  // 25344 \ 100
                           {100, 100, 255}, {-3, 100, 0},    {5, 0, 0}};
  for (const auto& l : levels) EXPECT_EQ(LevelAt(l[0], l[1]), l[2]) << l[0] << " of " << l[1];
  EXPECT_DOUBLE_EQ(HistogramAverage(Counts({{0, 3}, {255, 1}})), 63.75);  // 255 / 4
  EXPECT_EQ(HistogramAverage(HistogramTable{}), 0);

  // Blue 0 and 255 side by side, green 10, red 20 and 30.
  HistogramView view;
  view.Extract(MakePicture(2, 1, [](int x, int, int c) { return c == 0 ? 255 * x : (c == 1 ? 10 : 20 + 10 * x); }));
  EXPECT_EQ(view.Channel(), HistogramChannel::Luminousity);
  EXPECT_EQ(view.lblPixelsV, "2");
  // Luminosity: 5.86 + 6.02 = 11.88 -> 12 and 28.815 + 5.86 + 9.03 = 43.705 -> 44.
  EXPECT_EQ(view.Bars()[12] + view.Bars()[44], 200);
  EXPECT_EQ(view.lblAvgV, "28.00");
  view.SetChannel(HistogramChannel::Blue);
  EXPECT_EQ(view.lblAvgV, "127.50");
  EXPECT_EQ(view.Bars()[0] + view.Bars()[255], 200);
  view.PointerAt(255, 256);
  EXPECT_EQ(view.lblLevelV + "/" + view.lblQuantityV, "255/1");
  view.SetChannel(HistogramChannel::Green);
  view.PointerAt(20, 512);  // level 10
  EXPECT_EQ(view.lblLevelV + "/" + view.lblQuantityV, "10/2");
  view.PointerLeft();
  EXPECT_EQ(view.lblLevelV + view.lblQuantityV, "");
}

}  // namespace
}  // namespace kelvane
