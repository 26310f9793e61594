// kly::curves::InverseLengths against the scalar 1 / sqrt(s), bit for bit.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "kly/curves/inverse_lengths.h"

namespace {

TEST(InverseLengths, EveryCountMatchesTheScalarFormulaBitForBit) {
  // Counts 0 to 19 cover whole and partial groups of two and of eight; values include an exact
  // square, a zero (infinity), a NaN, the smallest normal and the largest finite double.
  const std::vector<double> values = {4.0,
                                      2.0,
                                      0.0,
                                      std::numeric_limits<double>::quiet_NaN(),
                                      1e-48,
                                      3.0e-10,
                                      7.25,
                                      std::numeric_limits<double>::min(),
                                      std::numeric_limits<double>::max(),
                                      0.1,
                                      12345.678,
                                      1e300,
                                      5.5,
                                      6.5,
                                      8.0,
                                      9.0,
                                      10.0,
                                      11.0,
                                      1e-300};
  for (uint32_t n = 0; n <= values.size(); ++n) {
    std::vector<double> k(values.size() + 1, -1.0);
    kly::curves::InverseLengths(values.data(), k.data(), n);
    for (uint32_t i = 0; i < n; ++i) {
      const double expected = 1.0 / std::sqrt(values[i]);
      EXPECT_EQ(0, std::memcmp(&expected, &k[i], sizeof(double))) << "n " << n << ", i " << i;
    }
    EXPECT_EQ(-1.0, k[n]) << "written past " << n;  // nothing past the count
  }
  double exact = 0.0;
  kly::curves::InverseLengths(&values[0], &exact, 1);
  EXPECT_EQ(0.5, exact);  // 1 / sqrt(4)
}

}  // namespace
