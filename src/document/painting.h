// The painting primitives: the only code that changes single pixels of a
// document's Bits. Each takes a PaintTarget, the document's narrow face for
// painting: its pixels, its selection, its stroke table, its PictureExists
// flag and the spray's random source.
//
// Contract:
//  - Every primitive does nothing while PictureExists is false, and none of
//    them repaints: the caller updates the view.
//  - Clipping: a pixel is painted only inside PaintRegion, which is the
//    selection, or the whole picture (RegionMain) when the selection is empty.
//    Before the selection's first Init there is no region and nothing is
//    painted. Coordinates outside the picture are rejected by the region
//    before any array access; area primitives walk the region as row spans.
//  - Blend: with opacity o in percent, w = o / 100 and each of channels 0..2
//    becomes RoundByte(w * src + (1 - w) * dst), ties to even. Channel 3 of
//    the target is never written. Colours are 0x00BBGGRR: blue goes to
//    channel 0, green to 1, red to 2.
//  - The brush disc: r = Round(size * 0.5) (size 1 gives r = 0, one pixel),
//    and (X + dx, Y + dy) belongs to it when dx * dx + dy * dy < r * r + 1.
//    Pixels are taken row by row from the top, left to right, which matters
//    to BitsSoften and BitsSharpen: they work in place, so the neighbours to
//    the left and above have already been changed.
//  - Once per stroke: BitsBrush, BitsBrightness, BitsMasked, BitsSharpen,
//    BitsSoften (unless forced), BitsFill and BitsFillTexture mark the pixels
//    they reach in DoneBits and skip marked ones. The caller clears the table
//    (CreateDoneBitsTable) at the start of a stroke and before every fill.
//    BitsAirbrush never looks at it: repeated passes build up.
//  - Array sources (BitsPaint, BitsPaintPreMasked, BitsBWMask) and tiles have
//    the shape of Bits. A source or target one pixel wide or high is ignored,
//    and so is an overlap of a single column or row (the platform's rectangle
//    intersection calls it empty). A tile's periods are its highest indices,
//    W + 1 and H + 1, frame column and row included.
//  - Results that would leave 0..255 are clamped (the fill's tables, the
//    brightness table, the sharpen); a soften or sharpen whose divisor is 0 or
//    whose soften result falls outside 0..255 leaves that byte as it was.
//  - BitsFill and BitsFillTexture do nothing when the seed lies outside the
//    picture. The seed inside the picture but outside the region is not
//    blended, but the walk still starts from it.
//  - BitsAirbrush draws one value from PaintTarget's random source per disc
//    pixel inside the region; a seed makes a spray reproducible.
#pragma once

#include <cstdint>
#include <random>

#include "document/bit_region.h"
#include "document/bits.h"
#include "document/done_bits.h"

namespace kelvane {

// The spray's random source: uniform in [0, 1), single precision. Seeded from
// the system until Seed makes a run reproducible.
class PaintRandom {
 public:
  PaintRandom() : engine_(static_cast<uint32_t>(std::random_device{}())) {}
  explicit PaintRandom(uint32_t seed) : engine_(seed) {}
  void Seed(uint32_t seed) { engine_.seed(seed); }
  float Next() { return static_cast<float>(engine_() >> 8) * (1.0f / 16777216.0f); }

 private:
  std::mt19937 engine_;
};

// What a document lends to the primitives. The document owns every part; the
// target only refers to them, so it can be made per call or kept for the
// document's life.
struct PaintTarget {
  Bits& bits;
  const cBitRegion& bitRegion;
  DoneBits& doneBits;
  const bool& pictureExists;
  PaintRandom& random;
};

// The selection, or RegionMain when the selection is empty; null when the
// selection object has never been initialised.
const RectRegion* PaintRegion(const cBitRegion& bitRegion);

// Re-creates DoneBits cleared for the picture's size (0 x 0 without a picture).
void CreateDoneBitsTable(PaintTarget& target);

// -1 without a picture, 0 outside (0, 0, W, H), else the pixel as 0x00BBGGRR.
int32_t BitsGetPixel(const PaintTarget& target, int32_t x, int32_t y);

// Copies `source` with its top-left pixel at (x, y). A source pixel whose red,
// green and blue all equal `transparent` is skipped (-1: none). Clipped to
// RegionMain when useSelection is false, to PaintRegion otherwise.
void BitsPaint(PaintTarget& target, int32_t x, int32_t y, const Bits& source, int32_t transparent, double opacity,
               bool useSelection);
// The same without a key colour: a source pixel whose channel 3 is 255 is
// masked out; any other value of channel 3 paints.
void BitsPaintPreMasked(PaintTarget& target, int32_t x, int32_t y, const Bits& source, double opacity,
                        bool useSelection);
// Paints `colour` through a black-on-white mask (channel 0): v >= 190 leaves
// the pixel, below it w = (opacity / 100) * (1 - v / 190). Always PaintRegion.
void BitsBWMask(PaintTarget& target, int32_t x, int32_t y, const Bits& mask, int32_t colour, double opacity);

// Anti-aliased line of 2n half-pixel steps, n = max(|dx|, |dy|) + 1; the
// first point lies half a step past (x1, y1). Opacity 0 still paints faintly.
void BitsLine(PaintTarget& target, int32_t x1, int32_t y1, int32_t x2, int32_t y2, int32_t colour, double opacity);
void BitsRectangle(PaintTarget& target, int32_t x1, int32_t y1, int32_t x2, int32_t y2, int32_t colour, double opacity);
// Regular polygon round the centre (x1, y1) with a corner at (x2, y2). Fewer
// than one side draws nothing.
void BitsPolygon(PaintTarget& target, int32_t x1, int32_t y1, int32_t x2, int32_t y2, int32_t sides, int32_t colour,
                 double opacity);
// Anti-aliased ellipse round (x, y) with radii rx and ry.
void BitsEllipse(PaintTarget& target, double x, double y, double rx, double ry, int32_t colour, double opacity);

void BitsBrush(PaintTarget& target, int32_t x, int32_t y, int32_t size, double opacity, int32_t colour);
// Modes of BitsBrushLine.
enum BrushLineMode : int32_t {
  kBrushPaint = 0,
  kBrushSoften = 1,
  kBrushSoftenForced = 2,
  kBrushSharpen = 3,
  kBrushLighten = 4,
  kBrushDarken = 5,
};
// A dab of the mode's primitive every tenth of `size` along the line; any
// other mode and sizes below 1 paint nothing.
void BitsBrushLine(PaintTarget& target, int16_t x1, int16_t y1, int16_t x2, int16_t y2, int32_t size, double opacity,
                   int32_t colour, int32_t mode);
void BitsAirbrush(PaintTarget& target, int32_t x, int32_t y, int32_t size, double opacity, double density,
                  double softness, int32_t colour);
void BitsBrightness(PaintTarget& target, int32_t x, int32_t y, int32_t size, double strength, bool lighten);
// Paints tile pixel (x mod tw, y mod th) through the disc, anchored to the
// picture. An empty tile paints nothing.
void BitsMasked(PaintTarget& target, int32_t x, int32_t y, const Bits& tile, int32_t size, double opacity);
void BitsMaskedLine(PaintTarget& target, int16_t x1, int16_t y1, int16_t x2, int16_t y2, int32_t size, double opacity,
                    const Bits& tile);
void BitsSoften(PaintTarget& target, int32_t x, int32_t y, int32_t size, double strength, bool force);
void BitsSharpen(PaintTarget& target, int32_t x, int32_t y, int32_t size, double strength);

// Flood fill from (x, y). Tolerance bounds the summed distance of red, green
// and blue from the seed's old colour (0 to 765). See painting.cpp for the
// walk (fill_scan.h), whose order and double blend of the seed are part of
// the behaviour. The seed is blended first when it lies in the region; a
// colour within 9 of the seed on each of red, green and blue stops there.
void BitsFill(PaintTarget& target, int32_t x, int32_t y, int32_t colour, int32_t tolerance, double opacity);
void BitsFillTexture(PaintTarget& target, int32_t x, int32_t y, const Bits& tile, int32_t tolerance, double opacity);

}  // namespace kelvane
