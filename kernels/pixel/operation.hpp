// What the operations of the pixel kernels have in common. Each works on one value of type T and is
// constructed from the kernel's operand block. Operations that take other ways for some operands have a
// member with() instead: it passes an operation to a loop.
#pragma once

#include <cstdint>

#include "kernels/run.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {

// Word i of an operand block, and what a kernel for values of type T sees of it.
QVIM_INLINE uint32_t word_of(const void *operand, int i) {
  return load<uint32_t>(static_cast<const char *>(operand) + 4 * i);
}
template <class T>
QVIM_INLINE T value_of(const void *operand, int i) {
  return T(word_of(operand, i));
}

template <class Operation>
concept choosing = Operation::chooses;

// Calls body(operation), once.
template <class Operation>
QVIM_INLINE void with_operation(const void *operand, const auto &body) {
  if constexpr (choosing<Operation>)
    Operation::with(operand, body);
  else
    body(Operation(operand));
}

template <class T>
struct nothing {
  QVIM_INLINE T operator()(T) const { return 0; }
};

}  // namespace QVIM_LEVEL
}  // namespace qvim
