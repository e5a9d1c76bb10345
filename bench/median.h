// The median of measured values.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace bench {

// Of at least one value; of an even number the higher of the two in the middle.
inline double Median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace bench
