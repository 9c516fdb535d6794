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

// Brings staged pixies to the caller, but those of which left_alone(i) says that the source left them alone.
template <class LeftAlone>
void bring_others(const conversion &change, uint8_t *staging, uint8_t *values, uint64_t pixies,
                  LeftAlone left_alone) {
  alignas(64) uint8_t brought[staging_bytes];
  change.bring(staging, brought, pixies);
  for (uint64_t i = 0, size = change.caller_size; i < pixies; i++)
    if (!left_alone(i)) std::memcpy(values + i * size, brought + i * size, size);
}

using pixie_set = std::bitset<staging_bytes>;

// Pixels on the stack, with room for a word read at any of their bytes.
struct alignas(64) stage {
  uint8_t bytes[staging_bytes + sizeof(uint64_t)] = {};
};

// From which byte on do two stages agree in one? At most eight bytes before it, or the end.
inline uint32_t agreement(const uint8_t *a, const uint8_t *b, uint32_t from, uint32_t end) {
  constexpr uint64_t low = 0x0101010101010101, high = low << 7;
  for (; from < end; from += sizeof(uint64_t)) {
    const uint64_t differing = load_value<uint64_t>(a + from) ^ load_value<uint64_t>(b + from);
    if ((differing - low) & ~differing & high) break;  // a byte of it is 0
  }
  return from;
}

// Which of a chunk's pixies did the source leave as they were? Entries with a pixie whose bytes are the
// former ones are read again, over the complement.
template <class Kind>
void find_left_alone(typename Kind::image *im, const pixel_conversion &s, uint32_t mode,
                     const uint8_t *staging, const uint8_t *former, qvxyzcoord *list, uint32_t n,
                     pixie_set &found) {
  auto *source = Kind::source_of(im);
  const uint32_t size = s.change.image_size, pixel = s.colours * size;
  const auto same = [&](uint32_t byte) { return std::memcmp(staging + byte, former + byte, size) == 0; };
  const auto is_doubtful = [&](uint32_t entry) {
    for (uint32_t c = 0; c < s.colours; c++)
      if (same(entry * pixel + c * size)) return true;
    return false;
  };
  for (uint32_t begin = 0, end; begin < n; begin = std::max(end, begin + 1)) {
    begin = std::max(begin, agreement(staging, former, begin * pixel, n * pixel) / pixel);
    for (end = begin; end < n && is_doubtful(end); end++) {
    }
    if (end == begin) continue;
    alignas(64) uint8_t again[staging_bytes];
    for (uint32_t i = begin * pixel; i < end * pixel; i++) again[i] = uint8_t(~former[i]);
    source->bxta(source, mode, again + begin * pixel, list + begin, end - begin, QVIM_OP_READ);
    for (uint32_t i = begin * pixel; i < end * pixel; i += size) {
      bool untouched = same(i);
      for (uint32_t k = i; k < i + size; k++) untouched &= again[k] == uint8_t(~former[k]);
      if (untouched) found.set(i / size);
    }
  }
}

// Entries of a list that the source's bxtp has seen, at most a chunk of them.
template <class Kind>
uint32_t transfer_chunk(typename Kind::image *im, const pixel_conversion &s, uint32_t mode, uint8_t *values,
                        qvxyzcoord *list, uint32_t n, uint32_t op) {
  stage staged, former;
  auto *source = Kind::source_of(im);
  const uint64_t pixies = uint64_t(n) * s.colours, bytes = pixies * s.change.image_size;
  const uint32_t passed = mode & ~(QVIM_LIST | passing::stays);
  if (op == QVIM_OP_READ)
    std::memset(staged.bytes, unread, bytes);
  else
    s.change.take(values, staged.bytes, pixies);
  const bool delivers = op == QVIM_OP_READ || op == QVIM_OP_EXCHANGE;
  if (delivers) std::memcpy(former.bytes, staged.bytes, bytes);
  const uint32_t done = source->bxta(source, passed, staged.bytes, list, n, op);
  if (!delivers) return done;
  pixie_set left_alone;
  find_left_alone<Kind>(im, s, passed, staged.bytes, former.bytes, list, n, left_alone);
  if (left_alone.none())
    s.change.bring(staged.bytes, values, pixies);
  else
    bring_others(s.change, staged.bytes, values, pixies, [&](uint64_t i) { return left_alone[i]; });
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
