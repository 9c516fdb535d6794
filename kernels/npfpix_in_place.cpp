// Pixel operation kernels that work where a run lies.
#include <qvimage/npfpix.h>

#include "kernels/pixel/arithmetic.hpp"
#include "kernels/pixel/bits.hpp"
#include "kernels/pixel/curves.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {
namespace {

template <class Operation>
concept kept = Operation::is_kept;

// For operations that cost more than a look into a small table of their results. It begins full of the result
// of 0, which is right for 0 and looked up for no other value.
template <class T, class Operation>
QVIM_INLINE void run_kept(char *buffer, uint64_t count, const Operation &operation) {
  constexpr uint32_t slots = sizeof(T) == 1 ? 256 : 2048;
  struct result {
    T of, is;
  } results[slots];
  const result zero{0, operation(0)};
  for (result &r : results) r = zero;
  for (uint64_t i = 0; i < count; ++i) {
    const T v = load<T>(buffer + i * sizeof(T));
    result &r = results[v % slots];
    if (r.of != v) r = {v, operation(v)};
    store(buffer + i * sizeof(T), r.is);
  }
}

template <class T, class Operation>
QVIM_INLINE void in_place(void *buffer, uint64_t count, const void *operand) {
  if (!count) return;
  auto run = static_cast<char *>(buffer);
  with_operation<Operation>(
      operand, [=](const auto &operation) __attribute__((always_inline)) {
        if constexpr (shuffling<Operation>)
          if (shuffle_run(run, run, count, Operation::order, gaps::others, operation)) return;
        if constexpr (kept<Operation>)
          run_kept<T>(run, count, operation);
        else
          run_dense<T, T>(run, run, count, operation);
      });
}

// The first pixel is made by hand, all others are copies.
template <class T>
QVIM_INLINE void set_pixels(void *buffer, uint64_t count, uint32_t pixies, const void *operand) {
  if (!count) return;
  auto pixel = static_cast<char *>(buffer);
  for (uint32_t i = 0; i < pixies; ++i)
    store(pixel + i * sizeof(T), load<T>(static_cast<const char *>(operand) + 4 * uint64_t(i)));
  npfbyte_repl(buffer, buffer, pixies * sizeof(T), count);
}

}  // namespace
}  // namespace QVIM_LEVEL
}  // namespace qvim

#define QVIM_PIX(name, T, operation)                                                                         \
  extern "C" void QVIM_KERNEL(name)(void *buffer, uint64_t count, uint32_t, uint32_t, const void *operand) { \
    qvim::in_place<T, qvim::operation<T>>(buffer, count, operand);                                           \
  }
#define QVIM_PIX_PIXELS(name, T)                                                             \
  extern "C" void QVIM_KERNEL(name)(void *buffer, uint64_t count, uint32_t pixies, uint32_t, \
                                    const void *operand) {                                   \
    qvim::set_pixels<T>(buffer, count, pixies, operand);                                     \
  }
#include <qvimage/members/npfpix.inc>
