// The selected pixies of pixels, converted on their way through the stack; block transfers of them.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "views/conversion.hpp"
#include "views/view.hpp"

namespace qvim {

struct [[gnu::packed]] pixel_conversion {
  conversion change;
  uint8_t colours;  // pixies selected
  uint32_t chunk;   // pixels that go through the staging buffer at a time

  // False when there is no way.
  bool choose(const qvimagedata &image, const presentation &how, uint32_t datatype, uint32_t colourmask) {
    if (!change.choose(image, how, datatype)) return false;
    colours = uint8_t(std::popcount(colourmask));
    const uint32_t pixie = std::max(change.image_size, change.caller_size);
    chunk = staging_bytes / (pixie * std::max<uint32_t>(colours, 1));
    return true;
  }
};

// Entries of a list that the source's bxtp has seen, at most a chunk of them.
template <class Kind>
uint32_t transfer_chunk(typename Kind::image *im, const pixel_conversion &s, uint32_t mode, uint8_t *values,
                        qvxyzcoord *list, uint32_t n, uint32_t op) {
  alignas(64) uint8_t staging[staging_bytes];
  auto *source = Kind::source_of(im);
  const uint64_t pixies = uint64_t(n) * s.colours;
  if (op == QVIM_OP_READ)
    std::memset(staging, 0, pixies * s.change.image_size);  // should the source skip an entry
  else
    s.change.take(values, staging, pixies);
  const uint32_t done = source->bxta(source, mode & ~(uint32_t{QVIM_LIST} | 0x800u), staging, list, n, op);
  if (op == QVIM_OP_READ || op == QVIM_OP_EXCHANGE) s.change.bring(staging, values, pixies);
  return done;
}

// The whole list. Values of entries outside the window stay as they are.
template <class Kind>
uint32_t transfer_converted(typename Kind::image *im, const pixel_conversion &s, uint32_t mode,
                            uint8_t *values, qvxyzcoord *list, uint32_t count, uint32_t op) {
  uint32_t done = 0;
  while (count > 0) {
    uint32_t n = 0;
    while (n < count && n < s.chunk && list[n].z != Kind::outside) n++;
    done += n ? transfer_chunk<Kind>(im, s, mode, values, list, n, op) : 1;
    n = std::max(n, 1u);
    list += n;
    count -= n;
    values += uint64_t(n) * s.colours * s.change.caller_size;
  }
  return done;
}

}  // namespace qvim
