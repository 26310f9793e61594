// Large counts as messages show them.
#pragma once

#include <string>

namespace kly {
namespace cli {

// "300,000,000" for a whole number below 10^15, where a double still counts every unit;
// "about 3.4e+23" above.
std::string CountText(double count);

}  // namespace cli
}  // namespace kly
