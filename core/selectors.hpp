// How the pixies of an integer image become those of a request, and the kernels that do it.
#pragma once

#include <cstdint>

#include <qvimage/kernel.h>
#include <qvimage/types.h>

namespace qvim {

// The change that a request needs, apart from byte order. The numbers are those that the selectors answer
// with.
enum class adapt : uint32_t { none = 0, shift_left = 8, shift_right = 16, mask = 32 };
constexpr uint32_t adapt_swap = 64;

struct adaptation {
  adapt change = adapt::none;
  uint32_t param = 0;  // a shift count or a mask
};

// Reading (image to caller) or writing (caller to image) with the given data type word.
adaptation adapt_pixies(const qvimagedata &d, bool writing, uint32_t datatype);

// The kernels of an adaptation, between two buffers or in place; both take the parameter.
npfbix_fn *adapting_kernel(int32_t pixiesize, adapt change);
npfbixn_fn *adapting_kernel_in_place(int32_t pixiesize, adapt change);

// Byte order reversed: from one buffer to another, and in place.
npfbix_fn *swapping_kernel(int32_t pixiesize);
void swap_in_place(void *pixies, int32_t pixiesize, uint64_t count);

}  // namespace qvim
