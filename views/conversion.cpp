#include "views/conversion.hpp"

#include <algorithm>
#include <cstring>

#include <qvimage/data.h>
#include <qvimage/npfbix.h>

#include "core/pixel.hpp"
#include "views/staging.hpp"

namespace qvim {
namespace {

constexpr uint8_t normalised = 1;  // of presentation::mode

bool has_kernels(uint32_t type) { return type != QVIM_UINT64 && qvimdatasize(type) != 0; }

// Pixies on one side of a conversion: a type word and the number of significant bits.
struct side {
  type_word word;
  uint32_t bits;

  uint32_t type() const { return word.type(); }
  bool integer() const { return word.integer(); }
  uint32_t size() const { return uint32_t(word.size()); }
  bool partial() const { return integer() && bits < 8 * size(); }
  // Of partial pixies: the place of the lowest significant bit, and all of them.
  uint32_t lowest() const { return word.has(QVIM_LSB) ? 0 : 8 * size() - bits; }
  uint32_t significant() const { return uint32_t(((uint64_t{1} << bits) - 1) << lowest()); }
};

struct selection : conversion::step {
  bool operator==(const selection &other) const {
    return kernel == other.kernel && shift == other.shift && mask == other.mask;
  }
};
selection select(const side &from, const side &to, uint32_t direction, uint8_t mode) {
  npfbix_fn *kernel = nullptr;
  uint32_t shift, mask;
  qvimselectpfbixfunc(from.size(), to.size(), from.word.bits, to.word.bits, direction, from.bits, to.bits,
                      mode, &kernel, &shift, &mask);
  return {{kernel, shift, mask}};
}

// Kernels that normalise have one argument for mask and scale, the scale: they let all bits through.
bool lacks_mask(uint8_t mode, const side &from, const side &to) {
  return mode == normalised && !to.integer() && from.partial() && from.word.has(QVIM_DIRTY);
}

void choose_reading(conversion &c, const side &stored, const side &caller, uint8_t mode) {
  c.read = select(stored, caller, 0, mode);
  c.read_bits = lacks_mask(mode, stored, caller) ? stored.significant() : 0;
}

void choose_writing(conversion &c, side caller, side stored, bool tolerant, uint8_t mode) {
  const bool justified = caller.word.has(justification);
  const bool vague = caller.integer() && caller.word.has(QVIM_DIRTY) && !justified;
  // Where the caller does not say which bits are significant, the stored form tells; reals count from below.
  if (vague && stored.integer()) {
    caller.word = caller.word.without(QVIM_DIRTY);
  } else if (vague) {
    caller.word = caller.word.with(QVIM_LSB);
    caller.bits = stored.bits = std::min(caller.bits, 8 * caller.size());
  }
  if (stored.integer()) stored.word = stored.word.without(QVIM_DIRTY).with(tolerant ? QVIM_DIRTY : 0);
  const bool scales = mode == normalised && !caller.integer() && stored.partial();
  c.limit = scales ? stored.significant() >> stored.lowest() : 0;
  c.raise = uint8_t(scales ? stored.lowest() : 0);
  if (scales) stored = {stored.word.with(all_bits_used), 8 * stored.size()};  // all that the scale covers
  c.write = select(caller, stored, 1, mode);
  c.given_bits = lacks_mask(mode, caller, stored) ? caller.significant() : 0;
  // Unused bits of the image stay clean unless it does without.
  const bool spills = !caller.integer() || vague || caller.bits > stored.bits;
  c.stored_bits = stored.partial() && !tolerant && spills ? stored.significant() : 0;
}

void run(const conversion::step &s, const void *from, void *to, uint32_t from_size, uint32_t to_size,
         uint64_t pixies) {
  s.kernel(from, to, from_size, to_size, pixies, s.shift, s.mask);
}

void mask_in_place(uint8_t *values, uint32_t size, uint64_t pixies, uint32_t mask) {
  (size == 1 ? npfbix1_mask : size == 2 ? npfbix2_mask : npfbix4_mask)(values, size, pixies, mask);
}

// Reverses the byte order of pixies of 2 or 4 bytes; source and destination may be the same.
void reverse_bytes(const void *source, void *destination, uint32_t size, uint64_t pixies) {
  (size == 2 ? npfbix_2to2_sbi : npfbix_4to4_sbi)(source, destination, size, size, pixies, 0, 0);
}

template <class T>
void limit_each(uint8_t *values, uint64_t pixies, uint32_t limit, uint32_t raise) {
  for (; pixies; pixies--, values += sizeof(T))
    store_value(values, T(std::min(load_value<T>(values), T(limit)) << raise));
}
// Limits numbers and moves them to their place in the container.
void limit_in_place(uint8_t *values, uint32_t size, uint64_t pixies, uint32_t limit, uint32_t raise) {
  (size == 1   ? limit_each<uint8_t>
   : size == 2 ? limit_each<uint16_t>
               : limit_each<uint32_t>)(values, pixies, limit, raise);
}

}  // namespace

uint32_t stored_word(const qvimagedata &image) {
  const auto type = uint32_t(image.pixietype);
  return is_integer(image.pixietype) ? type | uint32_t(image.i_bitsxsb) | image.i_dirtyread : type;
}

// It does when the bits and the masking make no difference to the kernel. Where the image is a view that
// serves another type, its own bits and mode hold for that.
bool presents_itself(const qvimagedata &image, const presentation &p, uint32_t datatype) {
  side stored{stored_word(image), uint32_t(image.i_bitsused)};
  if (!stored.integer()) stored.bits = p.bits ? 8 * uint32_t(qvimdatasize(datatype)) : 0;
  if (!p.mask_undefined && p.bits == stored.bits) return true;
  // Values at the high end with more bits than the image has there would fill its unused ones.
  const bool high = stored.partial() && !stored.word.has(QVIM_LSB);
  if (high && datatype & QVIM_MSB && p.bits > stored.bits && !image.i_dirtyrite) return false;
  const type_word unmasked = p.mask_undefined ? stored.word.without(QVIM_DIRTY) : stored.word;
  return select({stored.word.with(p.mask_undefined), stored.bits}, {datatype, p.bits}, 0, p.mode) ==
         select({unmasked, stored.bits}, {datatype, stored.bits}, 0, p.mode);
}

bool conversion::choose(const qvimagedata &image, const presentation &p, uint32_t datatype) {
  // Reals have no significant bits: they take part with those presented, or else with all of the caller's.
  const side caller{datatype, p.bits ? p.bits : 8 * uint32_t(qvimdatasize(datatype))},
      stored{stored_word(image), is_integer(image.pixietype) ? uint32_t(image.i_bitsused) : caller.bits};
  if (!has_kernels(caller.type()) || !has_kernels(stored.type())) return false;
  choose_reading(*this, {stored.word.with(p.mask_undefined), stored.bits}, caller, p.mode);
  choose_writing(*this, caller, stored, stored.integer() && image.i_dirtyrite, p.mode);
  image_size = uint8_t(stored.size());
  caller_size = uint8_t(caller.size());
  reversed = caller.integer() && datatype & QVIM_SWAPPED && caller.size() > 1;
  return read.kernel && write.kernel;
}

void conversion::bring(uint8_t *from, uint8_t *to, uint64_t pixies) const {
  if (read_bits) mask_in_place(from, image_size, pixies, read_bits);
  run(read, from, to, image_size, caller_size, pixies);
  if (reversed) reverse_bytes(to, to, caller_size, pixies);
}

void conversion::take(const uint8_t *from, uint8_t *to, uint64_t pixies) const {
  alignas(64) uint8_t adjusted[staging_bytes];
  if (adjusts()) {
    if (reversed)
      reverse_bytes(from, adjusted, caller_size, pixies);
    else
      std::memcpy(adjusted, from, pixies * caller_size);
    if (given_bits) mask_in_place(adjusted, caller_size, pixies, given_bits);
    from = adjusted;
  }
  run(write, from, to, caller_size, image_size, pixies);
  if (limit) limit_in_place(to, image_size, pixies, limit, raise);
  if (stored_bits) mask_in_place(to, image_size, pixies, stored_bits);
}

}  // namespace qvim
