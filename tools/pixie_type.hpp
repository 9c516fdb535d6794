// From the number of a pixie type to the type.
#pragma once

#include <cstdint>

#include <qvimage/types.h>

namespace tool {

// Calls `action` with a value of the C++ type of such pixies.
template <class Action>
auto with_pixie_type(int32_t pixietype, Action action) {
  switch (pixietype) {
    case QVIM_UINT8: return action(uint8_t());
    case QVIM_UINT16: return action(uint16_t());
    case QVIM_UINT32: return action(uint32_t());
    case QVIM_UINT64: return action(uint64_t());
    case QVIM_FLOAT32: return action(float());
    default: return action(double());
  }
}

}  // namespace tool
