// Palettes of image files: arrays of entries as images, and images as arrays of entries.
#pragma once

#include <cstdint>

#include <qvimage/record.h>

#include "core/owned.hpp"

namespace qvim {

// A memory image over 2^bits entries of red, green, blue in the smallest pixie type that holds the bits: one
// row.
[[nodiscard]] int32_t present_palette(qvimage *palette, int32_t bits, array<uint8_t> &entries);

// Is this image none at all, as readers leave palettes of pages without a map?
inline bool is_none(const qvimage *palette) { return !palette || palette->d.pixies == 0; }

// The palette's first `count` entries, three components each, as values of that pixie type with the
// significant bits at the top. Palettes of any data type are taken. -1 for fewer components or entries; a
// set-up code of the palette. Sets up its runs.
[[nodiscard]] int32_t read_entries(qvimage *palette, uint32_t pixietype, void *entries, uint32_t count);

}  // namespace qvim
