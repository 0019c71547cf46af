// Deformation filters of cBitFilter: each output pixel is read from a
// displaced source point.
#include "filters/bit_filter.h"
#include "filters/filter_families.h"

namespace kelvane {

std::vector<FilterMethod> DeformationMethods() {
  return {};
}

}  // namespace kelvane
