// The selected pixies of pixels, converted on their way through the stack; block transfers of them.
#pragma once

#include <algorithm>
#include <bit>
#include <bitset>
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

// Staged pixels hold this before a source fills them in: what still has it afterwards may be a component, or
// an entry of a list, that the source leaves alone.
inline constexpr uint8_t unread = 0xA5;

// The components of a pixel that a read delivers: those that come out the same whatever was there before.
template <class Read>
uint32_t delivered_by(Read read, uint32_t colours, uint32_t size) {
  uint8_t zeros[32 * sizeof(uint64_t)] = {}, others[sizeof zeros];
  std::memset(others, 0xFF, sizeof others);
  read(zeros);
  read(others);
  uint32_t delivered = 0;
  for (uint32_t c = 0; c < colours; c++)
    if (std::memcmp(zeros + c * size, others + c * size, size) == 0) delivered |= 1u << c;
  return delivered;
}

// Pixies of staged pixels that the source left alone.
using pixie_set = std::bitset<staging_bytes>;

// Brings staged pixies to the caller, but those.
inline void bring_others(const conversion &change, uint8_t *staging, uint8_t *values, uint64_t pixies,
                         const pixie_set &left_alone) {
  if (left_alone.none()) return change.bring(staging, values, pixies);
  alignas(64) uint8_t brought[staging_bytes];
  change.bring(staging, brought, pixies);
  for (uint64_t i = 0, size = change.caller_size; i < pixies; i++)
    if (!left_alone[i]) std::memcpy(values + i * size, brought + i * size, size);
}

// Which of a chunk's pixies the source left as they were: those whose bytes are the former ones are read
// again.
template <class Kind>
pixie_set left_alone(typename Kind::image *im, const pixel_conversion &s, uint32_t mode,
                     const uint8_t *staging, const uint8_t *former, qvxyzcoord *list, uint32_t n) {
  auto *source = Kind::source_of(im);
  const uint32_t size = s.change.image_size, pixel = s.colours * size;
  pixie_set result;
  for (uint32_t i = 0; i < n; i++, staging += pixel, former += pixel) {
    uint32_t doubtful = 0;
    for (uint32_t c = 0; c < s.colours; c++)
      if (std::memcmp(staging + c * size, former + c * size, size) == 0) doubtful |= 1u << c;
    if (doubtful)
      doubtful &=
          ~delivered_by([&](void *pixels) { source->bxta(source, mode, pixels, list + i, 1, QVIM_OP_READ); },
                        s.colours, size);
    for (uint32_t c = 0; doubtful && c < s.colours; c++)
      if (doubtful >> c & 1) result.set(i * s.colours + c);
  }
  return result;
}

// Entries of a list that the source's bxtp has seen, at most a chunk of them.
template <class Kind>
uint32_t transfer_chunk(typename Kind::image *im, const pixel_conversion &s, uint32_t mode, uint8_t *values,
                        qvxyzcoord *list, uint32_t n, uint32_t op) {
  alignas(64) uint8_t staging[staging_bytes], former[staging_bytes];
  auto *source = Kind::source_of(im);
  const uint64_t pixies = uint64_t(n) * s.colours, bytes = pixies * s.change.image_size;
  const uint32_t passed = mode & ~(QVIM_LIST | passing::stays);
  if (op == QVIM_OP_READ)
    std::memset(staging, unread, bytes);
  else
    s.change.take(values, staging, pixies);
  const bool delivers = op == QVIM_OP_READ || op == QVIM_OP_EXCHANGE;
  if (delivers) std::memcpy(former, staging, bytes);
  const uint32_t done = source->bxta(source, passed, staging, list, n, op);
  if (delivers)
    bring_others(s.change, staging, values, pixies,
                 left_alone<Kind>(im, s, passed, staging, former, list, n));
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
