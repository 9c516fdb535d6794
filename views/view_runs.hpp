// Runs of pixels through views: their set-up, in pieces, converted or as they are. A part of view.hpp, which
// says what this serves.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/memory.hpp"
#include "views/staging.hpp"
#include "views/view_window.hpp"

namespace qvim {

template <class Dim, class Kind, class SourceDim>
struct view_runs : view_window<Dim, Kind, SourceDim> {
  using base = view_window<Dim, Kind, SourceDim>;
  using base::descend, base::source_of, base::state_in;
  using typename base::fn, typename base::image, typename base::position, typename base::source_image;

  static int32_t ioset(image *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    clear_runs<Dim>(im);
    const int32_t code = descend(im, [&](auto *) {
      return im->d.pixies ? Kind::set_runs(im, mode, datatype, colourmask) : QVERR_COLOUR;
    });
    // A source that moves nothing, having lost its window, accepts pixels of no size too.
    if (code < 0 || buffer_pixel(im) == 0)
      clear_runs<Dim>(im);
    else
      note_source(im);
    return code;
  }

  // Where someone else sets the source up for other pixels, this view's set-up is out of date. Transfers do
  // not look at that, but whoever must not trust the program does.
  static void note_source(image *im) {
    const run_facts source = run_facts_of(source_of(im));
    run_facts &own = run_facts_of(im);
    own.source_pixel = source.buffer_pixel;
    own.in_memory = source.in_memory;
    own.has_source = true;
  }

  // Notes how runs go in this view's window; false when the scan bits name no axis.
  static bool set_scan(image *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    scan s;
    if (!scan_of_mode<Dim>(mode, &s)) return false;
    auto &st = state_in(im);
    st.run_scan = s;
    st.run_length = fn::length_by_mode(im, mode);
    set_buffer_pixel(im, uint32_t(qvimdatasize(datatype) * __builtin_popcount(colourmask)));
    st.by_lines = mode & QVIM_WRAP && !Kind::lines_agree(im, s);
    return true;
  }

  // Sets up the source for runs, after set_scan. What the caller promises about positions holds for this
  // window only, and runs that are cut at the ends of lines must not go on in the source.
  static int32_t set_source(image *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    source_image *source = source_of(im);
    return source->ioset(source, source_mode(mode, state_in(im).by_lines), datatype, colourmask);
  }
  // The code for a scan order that the image has not. What the source refuses in every order comes first.
  static int32_t refuse_scan(image *im, uint32_t mode, uint32_t datatype, uint32_t colourmask, int32_t code) {
    const int32_t of_source = set_source(im, mode & ~scan_bits, datatype, colourmask);
    return of_source < 0 ? of_source : code;
  }
  static uint32_t source_mode(uint32_t mode, bool by_lines) {
    return mode & ~uint32_t{QVIM_TRUST} & ~uint32_t(by_lines ? QVIM_WRAP : 0);
  }

  template <auto Read, auto Write>
  static void install_runs(image *im) {
    install_reads<Read>(im);
    im->iorite = slots<Dim>::template write<Write>;
  }
  template <auto Read>
  static void install_reads(image *im) {
    im->ioread = slots<Dim>::template read<Read>;
    im->iolen = slots<Dim>::template length<length>;
  }

  // Runs that the source serves in the caller's data type.
  static int32_t set_runs(image *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    if (!set_scan(im, mode, datatype, colourmask))
      return refuse_scan(im, mode, datatype, colourmask, QVERR_UNSUPPORTED);
    const int32_t code = set_source(im, mode, datatype, colourmask);
    if (code >= 0) install_runs_through(im);
    return code;
  }
  static void install_runs_through(image *im) {
    install_runs<read_through, write_through>(im);
    im->iowait = wait_through;
  }

  // Pixels from a position to the end of the run in this window.
  static uint32_t run_length(image *im, uint32_t count, const position &at) {
    return uint32_t(std::min<uint64_t>(count, call_length_fn(state_in(im).run_length, &im->wind, at)));
  }

  static uint32_t rest_of_line(image *im, const position &at) {
    const int axis = int(state_in(im).run_scan);
    return box<Dim>::of(&im->wind).extent(axis) - uint32_t(at[axis]);
  }

  // How many pixels of a run, of `count` that begin here, lie in the source as a run.
  static uint32_t stretch(image *im, uint32_t count, const position &at) {
    return state_in(im).by_lines ? std::min(count, rest_of_line(im, at)) : count;
  }

  // Moves a run in pieces: stretches of at most `most` pixels. move(position in the view's window, pixels
  // moved before, pixels wanted) says how many it moved; fewer than wanted is no end of the run, none is.
  template <class Move>
  static uint32_t in_pieces(image *im, uint32_t count, position at, uint32_t most, Move move) {
    const uint32_t n = Kind::run_length(im, count, at);
    uint32_t done = 0;
    while (done < n) {
      const uint32_t wanted = Kind::stretch(im, std::min(n - done, most), at);
      const uint32_t moved = std::min(wanted, move(at, done, wanted));
      if (moved == 0) break;
      done += moved;
      if (done < n) fn::advance(&im->wind, at, state_in(im).run_scan, moved);
    }
    return done;
  }

  // How many pixels of a stretch the source moves at once.
  static uint32_t served(image *im, uint32_t n, const position &at) {
    return call_length(source_of(im), n, Kind::in_source(im, at));
  }

  // Asks the source for every piece that a transfer would move: its window may end before this one, and its
  // frames may lie apart.
  static uint32_t length(image *im, uint32_t count, const position &at) {
    return in_pieces(im, count, at, UINT32_MAX,
                     [&](const position &from, uint32_t, uint32_t n) { return Kind::served(im, n, from); });
  }

  // Pixels on the stack: components that the source has no values for, which it leaves as they are, are zeros
  // and not what the stack held.
  static uint32_t read_staged(image *im, uint32_t mode, void *staging, uint32_t n,
                              const point<SourceDim> &place, uint32_t bytes) {
    std::memset(staging, 0, n * bytes);
    return call_read(source_of(im), read_mode(mode), staging, n, place);
  }

  // Runs of pixels that a kind converts: convert(the source's pixels, the caller's, count), or the other way
  // round for writes. It works on a memory image's own pixels where they are those that the source was asked
  // for, else on staged ones, of `bytes` bytes each in the source.
  template <class Convert>
  static uint32_t read_converted(image *im, uint32_t mode, void *buffer, uint32_t count, const position &at,
                                 uint32_t bytes, Convert convert) {
    alignas(64) uint8_t staging[staging_bytes];
    source_image *source = source_of(im);
    const uint64_t pixel = buffer_pixel(im);
    return in_pieces(im, count, at, UINT32_MAX, [&](const position &from, uint32_t done, uint32_t n) {
      const auto place = Kind::in_source(im, from);
      const uint8_t *in = memory::plain_run<SourceDim>(source, false, place, &n);
      if (!in) {
        in = staging;
        n = read_staged(im, mode, staging, std::min(n, staging_bytes / bytes), place, bytes);
      }
      convert(in, static_cast<uint8_t *>(buffer) + done * pixel, n);
      return n;
    });
  }
  // Where convert leaves bytes of the source's pixels as they are, they are written as zeros.
  template <class Convert>
  static uint32_t write_converted(image *im, uint32_t mode, const void *buffer, uint32_t count,
                                  const position &at, uint32_t bytes, bool leaves_bytes, Convert convert) {
    alignas(64) uint8_t staging[staging_bytes];
    if (leaves_bytes) std::memset(staging, 0, sizeof staging);
    source_image *source = source_of(im);
    const uint64_t pixel = buffer_pixel(im);
    return in_pieces(im, count, at, UINT32_MAX, [&](const position &to, uint32_t done, uint32_t n) {
      const auto *in = static_cast<const uint8_t *>(buffer) + done * pixel;
      const auto place = Kind::in_source(im, to);
      if (!leaves_bytes)
        if (uint8_t *out = memory::plain_run<SourceDim>(source, true, place, &n))
          return convert(in, out, n), n;
      n = std::min(n, staging_bytes / bytes);
      convert(in, staging, n);
      return call_write(source, write_mode(mode), staging, n, place);
    });
  }

  // The mode words with which transfers reach the source.
  static uint32_t read_mode(uint32_t mode) { return mode & ~passing::stays; }
  static uint32_t write_mode(uint32_t mode) { return read_mode(mode) | passing::marks_writes; }

  static uint32_t read_through(image *im, uint32_t mode, void *buffer, uint32_t count, const position &at) {
    source_image *source = source_of(im);
    const uint64_t bytes = buffer_pixel(im);
    return in_pieces(im, count, at, UINT32_MAX, [&](const position &from, uint32_t done, uint32_t n) {
      return call_read(source, read_mode(mode), static_cast<uint8_t *>(buffer) + done * bytes, n,
                       Kind::in_source(im, from));
    });
  }
  static uint32_t write_through(image *im, uint32_t mode, const void *buffer, uint32_t count,
                                const position &at) {
    source_image *source = source_of(im);
    const uint64_t bytes = buffer_pixel(im);
    return in_pieces(im, count, at, UINT32_MAX, [&](const position &to, uint32_t done, uint32_t n) {
      return call_write(source, write_mode(mode), static_cast<const uint8_t *>(buffer) + done * bytes, n,
                        Kind::in_source(im, to));
    });
  }
  // Moves n pixels of the source from a position on along an axis, in as many calls as it takes; false when
  // it stops before.
  template <bool writing>
  static bool move_all(image *im, uint32_t mode, uint8_t *pixels, uint32_t n, point<SourceDim> at, int axis) {
    source_image *source = source_of(im);
    for (uint32_t done = 0, moved; done < n; done += moved) {
      uint8_t *here = pixels + done * uint64_t{buffer_pixel(im)};
      moved = writing ? call_write(source, write_mode(mode), here, n - done, at)
                      : call_read(source, read_mode(mode), here, n - done, at);
      if (moved == 0) return false;
      at[axis] += int32_t(moved);
    }
    return true;
  }
  static int32_t wait_through(image *im, uint32_t mode, void *buffer) {
    source_image *source = source_of(im);
    return source->iowait(source, mode, buffer);
  }
};

}  // namespace qvim
