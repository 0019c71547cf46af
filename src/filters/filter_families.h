// The catalogue rows of each filter family, defined beside the family's
// filters and gathered by FilterMethods().
#pragma once

#include <vector>

#include "filters/filter_catalogue.h"

namespace kelvane {

std::vector<FilterMethod> FrameMethods();
std::vector<FilterMethod> ConvolutionMethods();
std::vector<FilterMethod> ColourMethods();
std::vector<FilterMethod> ColourEffectMethods();
std::vector<FilterMethod> DeformationMethods();

}  // namespace kelvane
