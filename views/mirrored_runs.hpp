// Runs of a view that lie in its source in the opposite order: what begins a run here ends it there.
#pragma once

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include <qvimage/npfpix.h>

#include "core/memory.hpp"
#include "views/view.hpp"

namespace qvim {

template <bool writing>
using buffer_of = std::conditional_t<writing, const uint8_t, uint8_t>;

// Lines of a memory image along x are mirrored where they lie, others pass through the stack.
template <class Kind, bool writing>
uint32_t move_mirrored(qvimage *im, uint32_t mode, buffer_of<writing> *buffer, uint32_t count,
                       const two_d::point &at) {
  alignas(64) uint8_t staging[staging_bytes];
  qvimage *source = Kind::source_of(im);
  const uint32_t bytes = buffer_pixel(im), chunk = staging_bytes / bytes;
  const int axis = int(Kind::state_in(im).run_scan);
  return Kind::in_pieces(im, count, at, UINT32_MAX, [&](two_d::point from, uint32_t done, uint32_t wanted) {
    auto *values = buffer + uint64_t(done) * bytes;
    const auto first_in_source = [&](uint32_t run) {
      two_d::point last = from;
      last[axis] += int32_t(run - 1);
      return Kind::in_source(im, last);
    };
    uint32_t n = wanted;
    uint8_t *plain = memory::plain_run<two_d>(source, writing, first_in_source(n), &n);
    const auto through = [&](uint8_t *pixels, uint32_t run) {
      // On reads too: the source leaves components alone that it has no values for.
      if (writing || pixels == staging) npfpix1_2transposek_i(values, pixels, run, bytes);
      const bool all =
          pixels == plain || Kind::template move_all<writing>(im, mode, pixels, run, first_in_source(run),
                                                              Kind::source_axis(im));
      if constexpr (!writing)
        if (all) npfpix1_2transposek_i(pixels, values, run, bytes);
      return all;
    };
    if (plain && n == wanted) return through(plain, n), n;
    // Asked before any of it is written: a run may be only partly in the source.
    n = Kind::served(im, std::min(wanted, chunk), from);
    return n && through(staging, n) ? n : 0;
  });
}

}  // namespace qvim
