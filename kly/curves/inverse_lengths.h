// Scales to unit length, many at once: k[i] = 1 / sqrt(s[i]), the factor by which
// KLY_Normalize multiplies a vector of squared length s[i]. The grid of a patch needs one for
// every vertex and every triangle, and the square roots and divisions are most of its time.
//
// The widest instructions the processor offers are used. Square root and division are
// correctly rounded in every one of them, so the results are the scalar ones to the last bit.
#pragma once

#include <cstdint>

namespace kly {
namespace curves {

void InverseLengths(const double* s, double* k, uint32_t n);

}  // namespace curves
}  // namespace kly
