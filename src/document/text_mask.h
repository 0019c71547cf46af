// The text tool's stamp: a line of text drawn black on white, painted through
// BitsBWMask like a stamp in mask mode.
//
// Contract:
//  - The family is resolved by fontconfig; a blank or unknown family falls
//    back to the system's default sans font. Leading and trailing blanks of
//    the text and of the family are dropped (the record pads both).
//  - The pixel size is the point size at 96 dots per inch, rounded ties to
//    even as everywhere in the engine (20 pt is 27 pixels).
//  - Glyphs are drawn anti-aliased and the coverage is cut at half: a pixel
//    is black (0 in channels 0 to 2, which BitsBWMask paints fully) when the
//    glyph covers at least half of it, white (255, left alone) otherwise.
//    Channel 3 and the two-pixel frame are white as well.
//  - The array is as high as the line (ascent plus descent, grown where a
//    glyph reaches beyond it) and as wide as the ink, with one white column
//    on each side so that even a one-column glyph is wide enough to paint.
//    Spaces inside the text keep their advance; blanks at either end do not
//    count.
//  - Text is taken as UTF-8 where it is valid, otherwise byte for byte as
//    Latin-1. Control characters are passed over; a character the font lacks
//    shows the font's missing-glyph shape.
//  - A null Bits comes back for empty or all-blank text, a point size that
//    gives no pixel or more than kMaxTextPixelSize, a font that cannot be
//    found or loaded, text without any ink, or a mask larger than
//    kMaxTextMaskPixels. Nothing is thrown.
#pragma once

#include <cstdint>
#include <string_view>

#include "document/bits.h"

namespace kelvane {

inline constexpr int32_t kMaxTextPixelSize = 1000;
inline constexpr int64_t kMaxTextMaskPixels = 16 * 1024 * 1024;

// The point size's pixel size at 96 dpi: Round(pointSize * 96 / 72).
int32_t TextPixelSize(int32_t pointSize);

Bits MakeTextMask(std::string_view text, std::string_view fontFamily, int32_t pointSize);

}  // namespace kelvane
