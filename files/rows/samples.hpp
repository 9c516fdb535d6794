// Steps on samples of any size that reading and writing have in common.
#pragma once

#include <cstdint>

#include <qvimage/kernel.h>

namespace qvim {

// Reverses the bytes of each sample, in place.
void swap_samples(uint8_t *samples, int size, uint64_t count);

// Each sample less than the highest that so many bits hold, in place.
void invert_samples(uint8_t *samples, int size, uint64_t count, uint32_t bits);

// Adds to each sample of 1, 2 or 4 bytes, modulo its size, in place.
void add_to_samples(uint8_t *samples, int size, uint64_t count, uint32_t value);

// Exchanges the second and third sample of pixels. It moves bytes only, so that floating samples are served
// by the integers of their size; never in place.
npfclx_fn *chroma_exchange(int sample_bytes);

// Of every byte.
void reverse_bit_order(uint8_t *bytes, uint64_t count);

}  // namespace qvim
