#pragma once

#include <cstdint>

namespace qvim {

// Pixels that must be converted or moved apart go through this much of the stack, a piece at a time.
inline constexpr uint32_t staging_bytes = 2048;

}  // namespace qvim
