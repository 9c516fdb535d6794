// Results of operations in several steps.
#pragma once

#include <cstdint>

namespace qvim {

// The worse of two results: the more negative one if any failed, else the first.
[[nodiscard]] constexpr int32_t worst(int32_t a, int32_t b) { return b < 0 && b < a ? b : a; }

}  // namespace qvim
