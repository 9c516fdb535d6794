// Kernels that work where a run lies.
#include "kernels/operations.hpp"
#include "kernels/run.hpp"

namespace qvim {
inline namespace QVIM_LEVEL {
namespace {

// Reads nothing.
template <class T, class>
struct set {
  static constexpr bool fills = true;
  T value;
  QVIM_INLINE set(uint32_t, uint32_t v) : value(T(v)) {}
};

template <class Operation>
concept filling = Operation::fills;

template <class T, template <class, class> class Name>
QVIM_INLINE void in_place(void *buffer, int64_t stride, uint64_t count, uint32_t value) {
  using operation_type = Name<T, T>;
  const operation_type operation(value, value);
  if constexpr (filling<operation_type>) {
    auto dst = static_cast<char *>(buffer);
    if (stride == sizeof(T))
      for (uint64_t i = 0; i < count; ++i) store(dst + i * sizeof(T), operation.value);
    else
      for (int64_t i = 0; i < int64_t(count); ++i) store(dst + i * stride, operation.value);
  } else {
    if (operation.idle()) return;
    if (stride == 0) {  // each round goes on from what the one before left, which blocks would not see
      auto pixie = static_cast<char *>(buffer);
      for (; count; --count) store<T>(pixie, operation(load<T>(pixie)));
      return;
    }
    run<T, T>(buffer, buffer, stride, stride, count, operation);
  }
}

}  // namespace
}  // namespace QVIM_LEVEL
}  // namespace qvim

#define QVIM_IN_PLACE(name, T, operation)                                                           \
  extern "C" void QVIM_KERNEL(name)(void *buffer, int64_t stride, uint64_t count, uint32_t value) { \
    qvim::in_place<T, qvim::operation>(buffer, stride, count, value);                               \
  }
#define QVIM_IN_PLACE3(name, T, operation)                                          \
  extern "C" void QVIM_KERNEL(name)(void *buffer, int64_t stride, uint64_t count) { \
    qvim::in_place<T, qvim::operation>(buffer, stride, count, 0);                   \
  }
#include <qvimage/members/npfbix.inc>
