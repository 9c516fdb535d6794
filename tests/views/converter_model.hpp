// What a converter makes of a value, one bit or one number at a time.
#pragma once

#include <algorithm>
#include <cmath>

#include "tests/views/values.hpp"

namespace model {

struct converted {
  int bits = 0;  // 0: the source's
  bool masks = false, normalised = false;
};

// Places the significant bits of a value, of which the most significant ones agree.
inline uint64_t move_bits(uint64_t value, int fromtop, int totop) {
  uint64_t result = 0;
  for (int i = 0; i < 64; i++)
    if (value >> i & 1 && i + totop - fromtop >= 0 && i + totop - fromtop < 64)
      result |= uint64_t{1} << (i + totop - fromtop);
  return result;
}

inline double as_real(uint64_t raw, int size) {
  float f;
  double d;
  std::memcpy(&f, &raw, 4);
  std::memcpy(&d, &raw, 8);
  return size == 4 ? double(f) : d;
}
inline uint64_t as_raw(double v, int size) {
  const float f = float(v);
  uint64_t raw = 0;
  std::memcpy(&raw, size == 4 ? static_cast<const void *>(&f) : &v, size_t(size));
  return raw;
}
// Real to integer, no larger than `most`; with `scale`, 1.0 becomes that. All in the real type.
inline uint64_t to_integer(double v, int size, uint64_t most, bool scaled) {
  const double limit = size == 4 ? double(float(most)) : double(most);
  if (std::isnan(v) || v <= 0) return 0;
  if (v >= (scaled ? 1.0 : limit)) return most;
  const double scaled_value = scaled ? (size == 4 ? double(float(v) * float(most)) : v * limit) : v;
  return scaled_value >= 4294967295.0 ? 0xFFFFFFFF : uint64_t(scaled_value);
}
inline uint64_t to_real(uint64_t number, int size, uint64_t one, bool scaled) {
  if (size == 4)
    return as_raw(double(scaled ? float(uint32_t(number)) * (1.0f / float(one)) : float(uint32_t(number))),
                  4);
  return as_raw(scaled ? double(number) * (1.0 / double(one)) : double(number), 8);
}

inline int source_top(const form &im) { return im.high() ? 8 * im.size() : im.used(); }

// The end of the caller's significant bits; 0 when values go as they are stored.
inline int caller_top(const request &r, int bits) {
  if (r.datatype & QVIM_LSB) return std::min(bits, 8 * r.size());
  return r.datatype & QVIM_MSB ? 8 * r.size() : 0;
}
inline int presented(const form &im, const converted &c, const request &r) {
  if (c.bits) return c.bits;
  return im.integer() ? im.used() : 8 * r.size();
}

inline bits read_converted(const form &im, uint64_t stored, const converted &c, const request &r) {
  const int size = r.size(), width = 8 * size, shown = presented(im, c, r), top = caller_top(r, shown);
  const bool integer = is_integer(r.datatype);
  if (!im.integer()) {
    const double v = as_real(stored, im.size());
    if (!integer) {
      if (im.size() == 8 && size == 4 && std::isfinite(v) && std::abs(v) > 3.4e38) return {0, 0};
      return {as_raw(v, size)};
    }
    const uint64_t number = to_integer(v, im.size(), ones(width), c.normalised);
    return {top ? move_bits(number, shown, top) & ones(width) : number};
  }
  const uint64_t clean = stored & im.significant();
  const uint64_t dirt = im.dirty() || c.masks ? ~im.significant() & ones(8 * im.size()) : 0;
  if (integer) {
    const int from = source_top(im), to = top ? top : from;
    const uint64_t loose = r.datatype & QVIM_DIRTY ? move_bits(dirt, from, to) : 0;
    // Bits shifted out at the bottom may be kept by no container, those above the top are cut off by it.
    return {move_bits(clean, from, to) & ones(width), ~loose};
  }
  const int number_top = c.normalised ? im.used() : shown;
  const uint64_t number = move_bits(clean, source_top(im), number_top) & 0xFFFFFFFF;
  return {to_real(number, size, ones(8 * im.size()), c.normalised)};
}

inline bits write_converted(const form &im, uint64_t given, const converted &c, const request &r) {
  const int width = 8 * im.size(), shown = presented(im, c, r), top = caller_top(r, shown);
  const bool integer = is_integer(r.datatype), partial = im.integer() && im.used() < width;
  if (!integer) {
    const double v = as_real(given, r.size());
    if (!im.integer()) return {as_raw(v, im.size())};
    const uint64_t scaled =
        to_integer(v, r.size(), c.normalised ? ones(width) : ones(im.used()), c.normalised);
    const uint64_t number = std::min(scaled, ones(im.used()));
    const uint64_t moved = move_bits(number, c.normalised ? im.used() : shown, source_top(im)) & ones(width);
    return {im.tolerant() ? moved : moved & im.significant()};
  }
  // The caller's significant bits; without a justification they are not told from the others.
  const int shown_here = std::min(shown, 8 * r.size());
  const bool dirt = r.datatype & QVIM_DIRTY;
  const uint64_t meant = top ? ones(shown_here) << (top - shown_here) : ones(8 * r.size());
  if (!im.integer()) {
    const uint64_t told = dirt ? given & (top ? meant : ones(shown_here)) : given;
    const uint64_t moved = (top ? move_bits(told, top, shown) : told) & 0xFFFFFFFF;
    return {to_real(moved, im.size(), ones(8 * r.size()), c.normalised)};
  }
  const auto placed = [&](uint64_t v) { return (top ? move_bits(v, top, source_top(im)) : v) & ones(width); };
  const uint64_t unused = partial ? ~im.significant() & ones(width) : 0;
  // Dirt may fill what the image has room for; where it has none, unused bits are cleared.
  uint64_t known = dirt ? placed(meant) : ones(width);
  if (unused && im.tolerant()) return {placed(given), known & im.significant()};
  return {placed(given) & ~unused, known | unused};
}

// Does a converter leave it to its source to deliver the caller's type? Only where its bits and masks make no
// difference to the way that the significant bits go.
inline bool transparent(const form &im, const converted &c, const request &r) {
  if (!c.masks && (c.bits == 0 || (im.integer() && c.bits == im.used()))) return true;
  const int width = 8 * r.size(), used = im.integer() ? im.used() : width, shown = c.bits ? c.bits : used;
  if (im.high() && im.used() < 8 * im.size() && r.datatype & QVIM_MSB && shown > used && !im.tolerant())
    return false;
  const bool integer = is_integer(r.datatype);
  const int from_top = im.high() ? 8 * im.size() : used;
  // By how many places the bits go up when the caller has so many of them.
  const auto way = [&](int bits) {
    if (integer) {
      const int top = caller_top(r, bits);
      return top ? top - (im.integer() ? from_top : c.normalised ? bits : used) : 0;
    }
    return im.integer() ? (c.normalised ? used : bits) - from_top : 0;
  };
  const auto dirt_arrives = [&](bool dirty, int by) {
    const uint64_t dirt = ones(8 * im.size()) & ~im.significant();
    const bool wanted = integer && r.datatype & QVIM_DIRTY;
    return im.integer() && dirty && !wanted && move_bits(dirt, 0, by) & ones(integer ? width : 32);
  };
  return way(shown) == way(used) &&
         dirt_arrives(im.dirty() || c.masks, way(shown)) == dirt_arrives(im.dirty(), way(used));
}

}  // namespace model
