// Colour effects of cBitFilter: stylised colourings, halftones, noise,
// palettes, gradients.
#include "filters/bit_filter.h"
#include "filters/filter_families.h"

namespace kelvane {

std::vector<FilterMethod> ColourEffectMethods() {
  return {};
}

}  // namespace kelvane
