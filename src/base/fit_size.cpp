#include "base/fit_size.h"

#include "base/numeric.h"

namespace kelvane {

void FitSize(int32_t width, int32_t height, int32_t maxWidth, int32_t maxHeight, int32_t& outWidth,
             int32_t& outHeight) {
  if (width <= maxWidth && height <= maxHeight) {
    outWidth = width;
    outHeight = height;
    return;
  }
  const double rx = static_cast<double>(maxWidth) / width;
  const float ry = static_cast<float>(static_cast<double>(maxHeight) / height);
  if (rx < ry) {
    outWidth = maxWidth;
    outHeight = Round(rx * height);
  } else {
    outHeight = maxHeight;
    outWidth = Round(static_cast<double>(ry) * width);
  }
}

}  // namespace kelvane
