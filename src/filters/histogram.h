// The histogram window's model: four tables of 256 counters over a picture
// and the bar heights of the chosen table, without a window.
//
// Contract:
//  - The tables cover every pixel of the picture, 0..MaxX by 0..MaxY; the
//    selection plays no part and the two-pixel frame is not counted.
//  - A pixel's luminosity is Round(0.113 * blue + 0.586 * green + 0.301 *
//    red), summed in that order, ties to even: the weights of Equalize. Each
//    pixel adds one to its luminosity counter and one to each of its blue,
//    green and red counters. Total is the pixel count.
//  - Bar heights are in percent of the graph's height: count * 100 \ M, whole
//    number division, where M is the highest count of the chosen table. A
//    table with no counts (an empty picture) gives bars of 0. Counters are 64
//    bits wide, so no picture size overflows count * 100.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "document/bits.h"

namespace kelvane {

inline constexpr std::string_view kHistogramTitle = "Histogram";
// The status text while the tables are built.
inline constexpr std::string_view kExtractingStatus = " Extracting image information...";

// The option array optChannel, in its order.
enum class HistogramChannel : int { Blue = 0, Green = 1, Red = 2, Luminousity = 3 };
inline constexpr std::array<std::string_view, 4> kChannelCaptions = {"Blue", "Green", "Red", "Luminousity"};

// Captions of the window's frames, labels and button.
inline constexpr std::string_view kChannelFrameCaption = "Channel";
inline constexpr std::string_view kInfoFrameCaption = "Info";
inline constexpr std::string_view kQuantityCaption = "Quantity :";
inline constexpr std::string_view kPixelsCaption = "Pixels :";
inline constexpr std::string_view kLevelCaption = "Level :";
inline constexpr std::string_view kAverageCaption = "Average :";
inline constexpr std::string_view kHistogramOkCaption = "OK";

using HistogramTable = std::array<int64_t, 256>;
using HistogramBars = std::array<int32_t, 256>;

struct HistogramTables {
  HistogramTable Luminosity{};
  HistogramTable Red{};
  HistogramTable Green{};
  HistogramTable Blue{};
  int64_t Total = 0;

  const HistogramTable& Table(HistogramChannel channel) const;
};

// One pass over the picture.
HistogramTables BuildHistogram(const Bits& picture);

// The first pass of the drawing: the highest count of the table (0 when it
// has none).
int64_t HighestCount(const HistogramTable& table);
// The second pass: each level's bar height in percent, count * 100 \ M.
HistogramBars BarHeights(const HistogramTable& table);

// The level under the pointer at x on a graph `width` pixels wide: the graph
// spreads the 256 levels evenly, Trunc(x * 256 / width), held to 0..255.
int32_t LevelAt(int32_t x, int32_t width);

// The mean level of a table, sum of level * count over the count; 0 for an
// empty table.
double HistogramAverage(const HistogramTable& table);

// The window's state: the chosen channel and the value labels.
class HistogramView {
 public:
  // Builds the tables (the window's activation) and fills the labels.
  void Extract(const Bits& picture);

  // optChannel clicked: the graph and the average follow the channel.
  void SetChannel(HistogramChannel channel);
  HistogramChannel Channel() const { return channel_; }

  // The pointer over the graph at x of `width`; PointerLeft when tmrMouseIn
  // finds it gone.
  void PointerAt(int32_t x, int32_t width);
  void PointerLeft();

  const HistogramTables& Tables() const { return tables_; }
  const HistogramBars& Bars() const { return bars_; }

  // Value labels.
  std::string lblPixelsV;
  std::string lblAvgV;  // the average with two decimals
  std::string lblLevelV;
  std::string lblQuantityV;

 private:
  void Refresh();

  HistogramTables tables_;
  HistogramBars bars_{};
  HistogramChannel channel_ = HistogramChannel::Luminousity;
};

}  // namespace kelvane
