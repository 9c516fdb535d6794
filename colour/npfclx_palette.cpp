// Indices replaced by palette entries.
#include "colour/pixels.hpp"

namespace qvim {
namespace {

// Only entries that occur are read, and of each only the three components: the palette may be short.
template <class T, int components>
QVIM_INLINE void look_up(const void *source, void *destination, uint64_t srcstride, uint64_t dststride,
                         uint64_t count, const void *palette) {
  struct entry {
    T c[3];
  };
  auto src = static_cast<const char *>(source);
  auto dst = static_cast<char *>(destination);
  const auto table = static_cast<const char *>(palette);
  for (; count; --count, src += srcstride, dst += dststride) {
    // Four times a 32-bit index is formed in 32 bits.
    const T index = load<T>(src);
    const uint64_t at = components == 4 ? uint64_t(uint32_t(index) * 4u) : uint64_t(index) * 3;
    store(dst, load<entry>(table + at * sizeof(T)));
  }
}

}  // namespace
}  // namespace qvim

#define QVIM_CLX_PALETTE(name, T, components)                                                   \
  extern "C" QVIM_CLONES void QVIM_KERNEL(name)(const void *src, void *dst, uint64_t srcstride, \
                                                uint64_t dststride, uint64_t count, uint32_t,   \
                                                const void *param) {                            \
    qvim::look_up<T, components>(src, dst, srcstride, dststride, count, param);                 \
  }
#include <qvimage/members/npfclx.inc>
