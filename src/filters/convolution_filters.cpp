// Convolution and rank filters of cBitFilter: an output pixel from a
// neighbourhood of input pixels.
#include "filters/bit_filter.h"
#include "filters/filter_families.h"

namespace kelvane {

std::vector<FilterMethod> ConvolutionMethods() {
  return {};
}

}  // namespace kelvane
