// cBitFilter: the filter engine. It holds one pixel array (shaped as a
// document's Bits) and the handle of a selection region, and turns the array
// into a new one.
//
// Contract of every filter:
//  - The input array is not changed while a filter runs: the filter writes a
//    copy and returns it; all reads see the original picture (the few filters
//    that read their own output say so).
//  - Only pixels inside the region change (tested at the written pixel unless a
//    filter says otherwise). A null region counts as empty: the output equals
//    the input and progress 100 is still raised.
//  - Channels 0, 1, 2 are written; channel 3 keeps what the copy had.
//  - Neighbour reads land in the two-pixel frame at the edges; its bytes take
//    part in the result. Loops are bounded by the array: a region reaching past
//    the picture walks into the frame but never past the array.
//  - Rounding is Round (ties to even) unless a filter says Trunc or Floor; a
//    byte store that falls outside 0..255 is skipped and leaves the copied
//    input byte, except in the filters that clamp.
//  - Progress: after each row at most every 10 ms, Trunc(y * 100 / MaxY); a
//    final 100 always.
//  - Row-parallel execution (SetThreadCount) gives results identical to one
//    thread: only filters whose rows do not depend on each other use it.
#pragma once

#include <cstdint>
#include <functional>
#include <random>

#include "document/bits.h"
#include "document/rect_region.h"

namespace kelvane {

class cDIBSection;

// A colour argument 0x00BBGGRR; -1 means no colour. A type of its own so that
// the catalogue can tell colours from plain integers.
struct Colour {
  int32_t value = 0;
  constexpr operator int32_t() const { return value; }
};

class cBitFilter {
 public:
  using ProgressHandler = std::function<void(int32_t percent)>;

  cBitFilter() = default;
  cBitFilter(const cBitFilter&) = delete;
  cBitFilter& operator=(const cBitFilter&) = delete;

  // --- frame ---------------------------------------------------------------
  int32_t BitsWidth() const { return MaxX + 1; }
  int32_t BitsHeight() const { return MaxY + 1; }
  // Bits (get): a copy of the array.
  Bits GetBits() const { return bits_; }
  // The array itself, for callers that copy from it only when needed.
  const Bits& BitsRef() const { return bits_; }
  // Bits (set): takes the array; MaxX, MaxY and BitsBounds follow it. The
  // rvalue form hands the array over without a copy.
  void SetBits(const Bits& bits);
  void SetBits(Bits&& bits);
  // Stores the handle; nothing is copied and the caller keeps ownership.
  void BitsRegion(const RectRegion* region) { region_ = region; }
  const RectRegion* BitsRegionHandle() const { return region_; }

  // In place: every pixel of the box that lies in the region becomes 0, all
  // four bytes.
  void BitsBlack();
  void BitsCrop(const Bits& source, int32_t left, int32_t top, int32_t right, int32_t bottom);
  void BitsCropMasked(const Bits& source, int32_t left, int32_t top, int32_t right, int32_t bottom);
  void BitsResample(const Bits& source, int32_t newWidth, int32_t newHeight);
  void BitsResize(const Bits& source, int32_t newWidth, int32_t newHeight);
  void BitsRotate90(const Bits& source);
  void BitsTakeFromPicture(const cDIBSection& picture, int32_t width, int32_t height);
  Bits Flip(bool horizontal, bool vertical);
  Bits NewDoc(uint8_t red, uint8_t green, uint8_t blue);
  int32_t GetLMax();
  int32_t GetLMin();
  int32_t GetLMed();

  // --- convolution and rank filters (convolution_filters.cpp) -----------------
  // (end of convolution and rank filters)

  // --- colour filters (colour_filters.cpp) -------------------------------------
  Bits GreyScale();
  // (end of colour filters)

  // --- colour effects (colour_effects.cpp) -------------------------------------
  // (end of colour effects)

  // --- deformation filters (deformation_filters.cpp) ---------------------------
  // (end of deformation filters)

  // --- engine settings -------------------------------------------------------
  void SetProgressHandler(ProgressHandler handler) { progress_ = std::move(handler); }
  // Threads used by row-parallel filters; 1 runs everything on the caller's
  // thread.
  void SetThreadCount(int threads) { threads_ = threads < 1 ? 1 : threads; }
  int ThreadCount() const { return threads_; }
  // The filters' random source: uniform in [0, 1), single precision. Seeded
  // from the clock until SeedRandom makes a run reproducible.
  void SeedRandom(uint32_t seed) { random_.seed(seed); }
  float Random() { return static_cast<float>(random_() >> 8) * (1.0f / 16777216.0f); }

  // Fills a header for a W x H picture's array and dimensions the array.
  static void MakeFilterHeader(BitmapHeader& header, Bits& bits, int32_t width, int32_t height);
  // Angle of (dx, dy) in radians, single precision, with pi taken as 3.141592.
  static float AngleOf(double dx, double dy);

  // --- fields ----------------------------------------------------------------
  int32_t MaxX = -1;
  int32_t MaxY = -1;
  Rect BitsBounds;
  int32_t CurX = 0, CurX2 = 0, CurX3 = 0;
  int32_t CurY = 0, CurY2 = 0, CurY3 = 0;
  int32_t BoxLeft = 0, BoxRight = -1, BoxTop = 0, BoxBottom = -1;
  uint32_t LastProgressTime = 0;

 protected:
  // Sets the Box fields from the region's bounding box, inset by d.
  void RegionBox(int32_t inset);
  // The output of a filter: a copy of the array, reusing a spare buffer.
  Bits CopyOfBits();
  void RaiseProgress(int32_t percent);
  // The end-of-row rule: at most every 10 ms, Trunc(y * 100 / MaxY).
  void ReportRowProgress(int32_t y);

  // Runs row(y) for y from first to last, then the end-of-row rule. Rows may
  // run on several threads when `parallel` is set, so row(y) must write only
  // row y of the output and read nothing the other rows write.
  template <class RowFn>
  void ForEachRow(int32_t first, int32_t last, bool parallel, RowFn&& row) {
    RunRows(first, last, parallel, [](void* ctx, int32_t y) { (*static_cast<RowFn*>(ctx))(y); }, &row);
  }

  // The frame of most filters: after RegionBox, calls span(y, x0, x1) for every
  // span [x0, x1) of the region inside the box and the array, row by row from
  // BoxTop to BoxBottom (clipped to the array), with the end-of-row rule.
  template <class SpanFn>
  void ForEachRegionSpan(bool parallel, SpanFn&& span) {
    const int32_t first = BoxTop > -kBitsFrame ? BoxTop : -kBitsFrame;
    const int32_t last = BoxBottom < MaxY + kBitsFrame ? BoxBottom : MaxY + kBitsFrame;
    const int32_t minX = BoxLeft > -kBitsFrame ? BoxLeft : -kBitsFrame;
    const int32_t endX = (BoxRight < MaxX + kBitsFrame ? BoxRight : MaxX + kBitsFrame) + 1;
    const RectRegion* region = region_;
    ForEachRow(first, last, parallel && region, [&](int32_t y) {
      if (region) region->ForEachSpan(y, minX, endX, [&](int32_t x0, int32_t x1) { span(y, x0, x1); });
    });
  }

  bool InRegion(int32_t x, int32_t y) const { return region_ && region_->Contains(x, y); }

  Bits bits_;

 private:
  void RunRows(int32_t first, int32_t last, bool parallel, void (*row)(void*, int32_t), void* ctx);
  void AdoptExtents();

  Bits spare_;
  const RectRegion* region_ = nullptr;
  ProgressHandler progress_;
  int threads_ = 1;
  std::mt19937 random_{static_cast<uint32_t>(std::random_device{}())};
};

}  // namespace kelvane
