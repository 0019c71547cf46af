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
  // Neighbourhood filters. Each reads the input only and writes the pixels of
  // the region (DIFFUSE tests its source point, MaskFilter the centre of its
  // window). A filter that cannot run (a divisor of 0 in MaskFilter, a read
  // past the array in a filter that does not skip failed statements) returns
  // the picture unchanged and still reports 100. The FilterMask is declared
  // in filters/filter_mask.h.
  Bits MaskFilter(const struct FilterMask& mask, int32_t divisor, int32_t addRed, int32_t addGreen, int32_t addBlue,
                  bool keepMargins);
  Bits Blurs(int32_t range);
  Bits SOFTEN(int32_t level);
  Bits SHARPEN(int32_t level);
  Bits EDGEENHANCE(int32_t level);
  Bits EMBOSS(int32_t weight);
  Bits Engrave(int32_t weight);
  Bits CONTOUR(int32_t level, Colour colour);
  Bits DILATE();
  Bits ERODE();
  Bits RankFilterN4(int32_t op);
  Bits RankFilterND(int32_t op);
  Bits RELIEF();
  Bits PAINTING();
  Bits DIFFUSE(int32_t horizontal, int32_t vertical);
  // (end of convolution and rank filters)

  // --- colour filters (colour_filters.cpp) -------------------------------------
  Bits GreyScale();
  // Point operations: each output pixel from the same input pixel. Statistics
  // (Contrast's mean, Equalize's histogram) cover the whole picture. Filters
  // that have no skip-on-failure mode (BRIGHTNESS, COLORIZE, Invert, ISOLATE,
  // Reduction, ReplaceHS, ReplaceL, RotateH, RotateL, SwapBanks) return the
  // unchanged picture when their arguments would raise an error or their
  // region reaches past the array.
  Bits BRIGHTNESS(int32_t level);
  Bits Invert();
  Bits COLORIZE(float hue, float saturation, float lightness);
  Bits Contrast(int32_t level);
  Bits GammaCorrection(int32_t level);
  Bits SATURATION(int32_t level);
  Bits Equalize();
  Bits REPLACE(Colour colour, Colour newColour, int32_t tolerance);
  Bits ReplaceHS(Colour colour, Colour newColour, int32_t hueTolerance, int32_t saturationTolerance,
                 int32_t applyTolerance);
  Bits ReplaceL(Colour colour, Colour newColour, int32_t luminanceTolerance, int32_t applyTolerance);
  Bits ISOLATE(Colour colour, Colour background, int32_t tolerance);
  Bits Shift(Colour colour, int32_t shift, int32_t tolerance);
  Bits RotateH(int32_t offset, int32_t saturation);
  Bits RotateL(int32_t offset, int32_t steps);
  Bits StretchH(int32_t offset, int32_t saturation, int32_t factor);
  Bits Reduction(int32_t level);
  Bits Threshold(int32_t cut);
  Bits KillChannel(bool red, bool green, bool blue);
  Bits ShiftRGB(int32_t red, int32_t green, int32_t blue);
  Bits SwapRGB(int32_t redSource, int32_t greenSource, int32_t blueSource, bool invertRed, bool invertGreen,
               bool invertBlue, bool killRed, bool killGreen, bool killBlue);
  Bits SwapBanks(int32_t order);
  // (end of colour filters)

  // --- colour effects (colour_effects.cpp) -------------------------------------
  // Stylised colourings, block filters, dithers, noise, palettes, gradients.
  // SKETCH reads the eight neighbours; HALFTONE and PIXELIZE work in blocks
  // and carry their last mean from block to block; StuckiBW and PaletteApply
  // diffuse errors forward, and PaletteApply diffuses into the engine's own
  // array: the one filter that changes its input. NOISE and Dissolve draw from
  // Random() in raster order, so a seed reproduces them. ClassyColors,
  // HALFTONE and PaletteApply do not skip failed statements: where one would
  // fail (a region reaching past the array, a zero radius, a value that does
  // not fit in a byte) the picture comes back unchanged, progress 100 all the
  // same. The palette record is declared in filters/palette.h.
  Bits SpecialColors(bool keepRed, bool keepGreen, bool keepBlue);
  Bits ClassyColors(int32_t style);
  Bits OLDPHOTO();
  Bits THERMIQUE();
  Bits XBLACK();
  Bits PHOTOCOP();
  Bits SKETCH(int32_t weight, bool blackAndWhite, Colour colour);
  Bits HALFTONE(int32_t radius, int32_t definition, int32_t intensity);
  Bits PIXELIZE(int32_t size);
  Bits NOISE(int32_t intensity, bool equalized);
  Bits StuckiBW(int32_t contrast);
  Bits PaletteApply();
  Bits Scanlines(int32_t opacity);
  // Each channel of each selected pixel takes the picture's channel at the
  // same point with probability level / 100 (three draws a pixel, channels
  // 0, 1, 2); points outside the picture keep theirs.
  Bits Dissolve(const Bits& picture, int32_t level);
  // Paint over a copy of `source`, reading the old values from it.
  Bits GradientLinear(const Bits& source, int32_t x1, int32_t y1, int32_t x2, int32_t y2, Colour colour1,
                      Colour colour2, int32_t opacity, int32_t frequency);
  Bits GradientCircular(const Bits& source, int32_t x1, int32_t y1, int32_t x2, int32_t y2, Colour colour1,
                        Colour colour2, int32_t opacity, int32_t frequency);
  // (end of colour effects)

  // --- deformation filters (deformation_filters.cpp) ---------------------------
  // Each output pixel is fetched from a computed source point, nearest
  // neighbour except in RotateSmooth. Unless a filter says otherwise the whole
  // region box is walked and the source point is tested against the region:
  // a source inside is copied (a source outside the array is a failed
  // statement: the pixel stays), one outside leaves the pixel, or paints it
  // black when `cleanBack` is set. Factors and degrees are the dialog's
  // numbers; fractions are of the picture's last column or row.
  Bits BEND(double radiusFactor, bool cleanBack);
  Bits FOLD(double horizontalFactor, double verticalFactor, bool cleanBack);
  // The destination lies in the region; the loop is over the lens circle.
  Bits LENS(double centreX, double centreY, double diameter, double magnify);
  // Lens flare over a circle; the destination lies in the region. An error
  // (a byte below 0, a point of the circle in the region but past the array)
  // leaves the whole picture unchanged.
  Bits Light(double centreX, double centreY, double extension, double intensity, double definition);
  Bits ROTATE(double degrees, bool cleanBack);
  // Bilinear; the floor of the source point must lie in the picture.
  Bits RotateSmooth(double degrees);
  Bits STRETCH(double horizontalFactor, double verticalFactor, bool cleanBack);
  // The picture shrunk into tiles laid from the box's corner; destination test.
  Bits TILE(double factor);
  // Lays `tile` from (left, top), repeated at the tile's size when `tiled`,
  // else once; output = round(input * opacity / 100 + tile * (1 - opacity /
  // 100)); tile pixels equal to `transparent` (0x00BBGGRR, -1 none) are
  // skipped. An error leaves the whole picture unchanged.
  Bits TileMask(const Bits& tile, int32_t left, int32_t top, bool tiled, double opacity, Colour transparent);
  Bits TWIRL(double level, double offsetDegrees, bool cleanBack);
  // Rows displaced vertically; destination test.
  Bits WAVES(double frequency, double amplitude, double startDegree);
  Bits Grid(int32_t horizontalStep, int32_t verticalStep, bool forceMargins, Colour colour, double opacity);
  // Styles "slanting", "vertical", "horizontal", "squary" (levels 0..2) and
  // "curtain" (levels 1..4); any other pair moves nothing.
  Bits GLASS(const std::string& style, int32_t level);
  // Multiplies by texture channel 0 / 128, the texture laid from the box's
  // corner; destination test.
  Bits Texturize(const Bits& texture);
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
  // A zeroed array of the given size for the operations that dimension Bits
  // anew, reusing the spare buffer's pages where it is large enough.
  Bits BlankOfSize(int32_t width, int32_t height);
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
  // The same for loops whose steps are not picture rows (the rows of a lens
  // circle, the columns of a grid pass): after step i the 10 ms rule reports
  // percent(i) instead of Trunc(i * 100 / MaxY).
  template <class RowFn, class PercentFn>
  void ForEachRow(int32_t first, int32_t last, bool parallel, RowFn&& row, PercentFn&& percent) {
    RunRows(
        first, last, parallel, [](void* ctx, int32_t y) { (*static_cast<RowFn*>(ctx))(y); }, &row,
        [](void* ctx, int32_t i) { return static_cast<int32_t>((*static_cast<PercentFn*>(ctx))(i)); }, &percent);
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
  void RunRows(int32_t first, int32_t last, bool parallel, void (*row)(void*, int32_t), void* ctx,
               int32_t (*percent)(void*, int32_t) = nullptr, void* percentCtx = nullptr);
  // The 10 ms rule for a percentage worked out by the caller.
  void ReportProgress(int32_t percent);
  void AdoptExtents();
  // DILATE and ERODE: the largest or smallest of the 3 x 3 window per channel.
  template <bool kLargest>
  Bits RankOf3x3();
  // GradientLinear and GradientCircular: one walk, two distance rules.
  template <bool kCircular>
  Bits Gradient(const Bits& source, int32_t x1, int32_t y1, int32_t x2, int32_t y2, Colour colour1, Colour colour2,
                int32_t opacity, int32_t frequency);

  Bits spare_;
  const RectRegion* region_ = nullptr;
  ProgressHandler progress_;
  int threads_ = 1;
  std::mt19937 random_{static_cast<uint32_t>(std::random_device{}())};
};

}  // namespace kelvane
