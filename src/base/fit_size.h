// FitSize: the proportional fitting rule of previews and thumbnails.
//
// Contract: a size that fits into maxWidth x maxHeight stays. Otherwise
// rx = maxWidth / width in double precision and ry = maxHeight / height
// rounded to single precision; if rx < ry the width becomes maxWidth and the
// height round(rx * height), else the height becomes maxHeight and the width
// round(ry * width); rounding ties to even. The single-precision ry matters:
// 84 x 112 fits into 160 x 110 as 83 x 110, where a double ratio would land on
// the tie 82.5 and give 82.
#pragma once

#include <cstdint>

namespace kelvane {

void FitSize(int32_t width, int32_t height, int32_t maxWidth, int32_t maxHeight, int32_t& outWidth,
             int32_t& outHeight);

}  // namespace kelvane
