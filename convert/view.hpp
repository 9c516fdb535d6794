// What all views share: images that present the pixels of another image, their source.
//
// A kind of view derives from view<Dim, Kind> and holds what makes it different:
//   device      its device name
//   traits      how it answers queries
//   state       packed, begins with view_state<Dim>: what it keeps in the record
//   in_source   where a pixel of the view lies in the source
// and passes to make() what its constructor is given.
//
// Any function of the base that a kind declares itself takes the place of the base's:
//   build       its part of construction: what is not as in the source
//   set_runs    its part of ioset: asks the source (set_source) and installs transfers (install_runs); the
//               base's passes runs on
//   bxts        generic block transfer; bxts_through passes block transfers on
//   imapset     none; imapset_through maps what the source maps
//   stretch, lines_agree, run_length, served   how far a run goes
//   set_source_window, aeiou
// Views keep no pointer into their own record and call the source through its reference, resolved at every
// call, so that records may be copied and moved as a block.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include <qvimage/block.h>
#include <qvimage/data.h>
#include <qvimage/types.h>

#include "convert/chain.hpp"
#include "convert/staging.hpp"
#include "core/dimension.hpp"
#include "core/functions.hpp"
#include "core/memory.hpp"
#include "core/null.hpp"
#include "core/pixel.hpp"
#include "core/record.hpp"

namespace qvim {

// How a kind answers queries: the images it adds to the chain counts, the flag bit it sets there, and whether
// other queries are passed to the source.
struct view_traits {
  uint8_t adds_for_blocks;  // 'b'
  uint8_t adds;             // 'i', 'm'
  uint32_t flag;
  bool forwards;
};

template <class Dim>
struct [[gnu::packed]] view_state {
  typename Dim::length_fn *run_length;  // of the window, by the mode of ioset
  typename Dim::length_fn *map_length;  // by the mode of imapset
  qvimbxtstate blocks;                  // of the generic block transfer
  uint32_t pixel_bytes;                 // of a pixel in the caller's buffer
  scan run_scan;
  uint8_t shared;    // the view uses the window and coordinates of its source
  uint8_t by_lines;  // runs are cut at the ends of the window's lines: the source's lines are others
};

template <class Dim, class Kind, class SourceDim = Dim>
struct view {
  using image = record<Dim>;
  using window = typename Dim::window;
  using position = point<Dim>;
  using source_image = record<SourceDim>;
  using fn = functions<Dim>;

  static source_image *source_of(image *im) { return resolve<source_image>(im, im->source[0]); }
  static bool is_own_source(image *im) { return static_cast<void *>(source_of(im)) == im; }
  static auto &state_in(image *im) { return state_of<typename Kind::state>(im); }

  // --- construction ------------------------------------------------------------------------------

  // A constructor: begin, what the kind changes, finish. A negative code of the kind leaves the null image.
  template <class... Arguments>
  static int32_t make(image *im, source_image *reference, uint8_t shared, const Arguments &...arguments) {
    if (!im) return -1;
    if (!reference) return fail(im, -1);
    const source_image *source = begin(im, reference, shared);
    const int32_t code = Kind::build(im, source, arguments...);
    return code < 0 ? fail(im, code) : finish(im);
  }
  static int32_t build(image *, const source_image *) { return 0; }

  // Clears the record and takes over the source's description and, where the view has all axes of the source,
  // its size; along an axis of its own the view is one pixel deep. The source is an address or a relative
  // reference, never null.
  static source_image *begin(image *im, source_image *reference, uint8_t shared) {
    std::memset(static_cast<void *>(im), 0, sizeof *im);
    set_device_name(im, Kind::device);
    im->source[0] = int64_t(reinterpret_cast<intptr_t>(reference));
    source_image *source = source_of(im);
    im->d = source->d;
    im->f = source->f;
    im->h = source->h;
    state_in(im).shared = shared;
    if constexpr (has_source_axes) {
      if (shared) {
        im->imdim = as_own(source->imdim);
        im->wind = as_own(source->wind);
      } else {
        const window seen = as_own(source->wind);
        const auto w = box<Dim>::of(&seen);
        position size;
        for (int axis = 0; axis < Dim::axes; axis++) size[axis] = int32_t(w.extent(axis));
        set_size(im, size);
      }
    }
    return source;
  }

  static void set_size(image *im, const position &size) {
    im->imdim = im->wind = std::bit_cast<window>(box<Dim>{{}, size});
  }

  // A window of the source as one of a view that has all its axes, and back.
  static constexpr bool has_source_axes = Dim::axes >= SourceDim::axes;
  static window as_own(const typename SourceDim::window &w) {
    const auto from = box<SourceDim>::of(&w);
    box<Dim> to;
    to.nw.fill(0);
    to.se.fill(1);
    std::copy(from.nw.begin(), from.nw.end(), to.nw.begin());
    std::copy(from.se.begin(), from.se.end(), to.se.begin());
    return std::bit_cast<window>(to);
  }
  static typename SourceDim::window as_source(const window &w) {
    const auto from = box<Dim>::of(&w);
    box<SourceDim> to;
    std::copy_n(from.nw.begin(), SourceDim::axes, to.nw.begin());
    std::copy_n(from.se.begin(), SourceDim::axes, to.se.begin());
    return std::bit_cast<typename SourceDim::window>(to);
  }

  // A window that does not fit leaves the view null-windowed: built, but moving nothing until one is set.
  static int32_t finish(image *im) {
    im->aeiou = Kind::aeiou;
    im->xwind = Kind::xwind;
    const window now = im->wind, whole = im->imdim;
    if (fn::check_inside(&whole, &now) >= 0)
      reset(im);
    else
      fn::null_window(im);
    return 0;
  }

  static void reset(image *im) {
    clear_transfers<Dim>(im);
    im->ioset = ioset;
    im->bxts = Kind::bxts;
    im->imapset = Kind::imapset;
  }

  // For kinds that compute with values: what they serve, and ask their source for, are clean numbers at the
  // low end of the container, in the host's byte order.
  static void serve_numbers(image *im) {
    qviminitfacts(&im->f, &im->d);
    if (!is_integer(im->d.pixietype)) return;
    im->d.i_dirtyread = im->d.i_endian = 0;
    if (im->d.i_bitsxsb == QVIM_MSB) im->d.i_bitsxsb = QVIM_LSB;
  }
  static uint32_t numbers_of(uint32_t datatype) { return (datatype & ~0xF00u) | QVIM_LSB; }

  // --- geometry ----------------------------------------------------------------------------------

  // The view's window begins here in the source's window.
  static position origin(image *im) { return state_in(im).shared ? position{} : box<Dim>::of(&im->wind).nw; }

  static position in_source(image *im, position at) {
    const position from = origin(im);
    for (int axis = 0; axis < Dim::axes; axis++)
      at[axis] = int32_t(uint32_t(at[axis]) + uint32_t(from[axis]));
    return at;
  }

  // Does a wrapped run pass over the same pixels in both windows? It does when their lines (and planes) begin
  // and end together; along the last axis the view's own length ends the run.
  static bool lines_agree(image *im, scan s) {
    if constexpr (has_source_axes) {
      if (int(s) >= SourceDim::axes) return false;  // the source refuses such runs
      const auto own = box<Dim>::of(&im->wind);
      const auto other = box<SourceDim>::of(&source_of(im)->wind);
      const position from = origin(im);
      const auto order = axes_of<Dim>(s);
      for (int i = 0; i < SourceDim::axes - 1; i++)
        if (from[order[i]] != 0 || own.extent(order[i]) != other.extent(order[i])) return false;
      return true;
    }
    return false;
  }

  // --- runs --------------------------------------------------------------------------------------

  static int32_t ioset(image *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    clear_runs<Dim>(im);
    const chain_step step;
    if (step.too_deep() || is_own_source(im)) return -5;
    const int32_t code = Kind::set_runs(im, mode, datatype, colourmask);
    // A source that moves nothing, having lost its window, accepts pixels of no size too.
    if (code < 0 || state_in(im).pixel_bytes == 0) clear_runs<Dim>(im);
    return code;
  }

  // Notes how runs go in this view's window; false when the scan bits name no axis.
  static bool set_scan(image *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    scan s;
    if (!scan_of_mode<Dim>(mode, &s)) return false;
    auto &st = state_in(im);
    st.run_scan = s;
    st.run_length = fn::length_by_mode(im, mode);
    st.pixel_bytes = uint32_t(qvimdatasize(datatype) * __builtin_popcount(colourmask));
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
    const int32_t of_source = set_source(im, mode & ~6u, datatype, colourmask);
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
    if (!set_scan(im, mode, datatype, colourmask)) return refuse_scan(im, mode, datatype, colourmask, -11);
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

  // Runs of pixels that a kind converts: convert(the source's pixels, the caller's, count), or the other way
  // round for writes. It works on a memory image's own pixels where they are those that the source was asked
  // for, else on staged ones, of `bytes` bytes each in the source.
  template <class Convert>
  static uint32_t read_converted(image *im, uint32_t mode, void *buffer, uint32_t count, const position &at,
                                 uint32_t bytes, Convert convert) {
    alignas(64) uint8_t staging[staging_bytes];
    source_image *source = source_of(im);
    const uint64_t pixel = state_in(im).pixel_bytes;
    return in_pieces(im, count, at, UINT32_MAX, [&](const position &from, uint32_t done, uint32_t n) {
      const auto place = Kind::in_source(im, from);
      const uint8_t *in = memory::plain_run<SourceDim>(source, false, place, &n);
      if (!in) {
        in = staging;
        n = call_read(source, read_mode(mode), staging, std::min(n, staging_bytes / bytes), place);
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
    const uint64_t pixel = state_in(im).pixel_bytes;
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
  static uint32_t read_mode(uint32_t mode) { return mode & ~0x800u; }
  static uint32_t write_mode(uint32_t mode) { return (mode & ~0x800u) | 0x1000u; }

  static uint32_t read_through(image *im, uint32_t mode, void *buffer, uint32_t count, const position &at) {
    source_image *source = source_of(im);
    const uint64_t bytes = state_in(im).pixel_bytes;
    return in_pieces(im, count, at, UINT32_MAX, [&](const position &from, uint32_t done, uint32_t n) {
      return call_read(source, read_mode(mode), static_cast<uint8_t *>(buffer) + done * bytes, n,
                       Kind::in_source(im, from));
    });
  }
  static uint32_t write_through(image *im, uint32_t mode, const void *buffer, uint32_t count,
                                const position &at) {
    source_image *source = source_of(im);
    const uint64_t bytes = state_in(im).pixel_bytes;
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
      uint8_t *here = pixels + done * uint64_t(state_in(im).pixel_bytes);
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

  // --- block transfers: the generic one over the view's own runs, or the source's ----------------

  static int32_t bxts(image *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    clear_blocks<Dim>(im);
    const int32_t code = fn::bxts(&state_in(im).blocks, im, mode, datatype, colourmask);
    if (code < 0) return code;
    im->bxtp = generic_bxtp;
    im->bxta = generic_bxta;
    im->bxtw = generic_bxtw;
    return code;
  }
  static uint32_t generic_bxtp(image *im, uint32_t mode, void *b, qvxyzcoord *list, uint32_t count,
                               uint32_t op) {
    return fn::bxtp(&state_in(im).blocks, im, mode, b, list, count, op);
  }
  static uint32_t generic_bxta(image *im, uint32_t mode, void *b, qvxyzcoord *list, uint32_t count,
                               uint32_t op) {
    return fn::bxta(&state_in(im).blocks, im, mode, b, list, count, op);
  }
  static int32_t generic_bxtw(image *im, uint32_t mode, void *b, qvxyzcoord *list, uint32_t count,
                              uint32_t op) {
    return fn::bxtw(&state_in(im).blocks, im, mode, b, list, count, op);
  }

  // Block transfers that the source serves in the caller's data type.
  static int32_t bxts_through(image *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    clear_blocks<Dim>(im);
    const chain_step step;
    if (step.too_deep() || is_own_source(im)) return -5;
    source_image *source = source_of(im);
    const int32_t code = source->bxts(source, mode, datatype, colourmask);
    return code < 0 ? code : install_blocks(im, bxta_through);
  }
  static int32_t install_blocks(image *im, decltype(image::bxta) transfer) {
    im->bxtp = bxtp_through;
    im->bxta = transfer;
    im->bxtw = bxtw_through;
    return 1;
  }

  // Turns the view's coordinates into the source's, and on into its pointers where it has some. Entries
  // outside this window become such as no window holds, told by their last word too: no pointer form uses
  // that.
  static constexpr int32_t outside = INT32_MIN;
  static uint32_t bxtp_through(image *im, uint32_t mode, void *b, qvxyzcoord *list, uint32_t count,
                               uint32_t op) {
    source_image *source = source_of(im);
    if (!(mode & QVIM_LIST)) return source->bxtp(source, mode, b, list, count, op);
    const auto own = box<Dim>::of(&im->wind);
    for (uint32_t i = 0; i < count; i++) {
      position at;
      std::memcpy(&at, &list[i], sizeof at);
      if (own.holds(at)) {
        const auto there = Kind::in_source(im, at);
        list[i].z = 0;
        std::memcpy(&list[i], &there, sizeof there);
      } else {
        list[i] = {outside, outside, outside};
      }
    }
    return source->bxtp(source, mode, b, list, count, op) | QVIM_LIST;
  }
  static uint32_t bxta_through(image *im, uint32_t mode, void *b, qvxyzcoord *list, uint32_t count,
                               uint32_t op) {
    source_image *source = source_of(im);
    bxtp_through(im, mode, b, list, count, op);
    return source->bxta(source, mode & ~uint32_t{QVIM_LIST}, b, list, count, op);
  }
  static int32_t bxtw_through(image *im, uint32_t mode, void *b, qvxyzcoord *list, uint32_t count,
                              uint32_t op) {
    source_image *source = source_of(im);
    return source->bxtw(source, mode, b, list, count, op);
  }

  // --- mapping: none, or the source's ------------------------------------------------------------

  static int32_t imapset(image *im, uint32_t, uint32_t, uint32_t) {
    clear_mapping<Dim>(im);
    return -11;
  }

  // For kinds whose pixels lie in the source as they are: maps what the source maps, within this window.
  static int32_t imapset_through(image *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    clear_mapping<Dim>(im);
    const chain_step step;
    if (step.too_deep() || is_own_source(im)) return -5;
    scan s;
    const bool known = scan_of_mode<Dim>(mode, &s);
    const uint32_t asked = source_mode(mode, known && mode & QVIM_WRAP && !Kind::lines_agree(im, s));
    source_image *source = source_of(im);
    const int32_t answer = source->imapset(source, asked, datatype, colourmask);
    if (answer < 0 || !known) return std::min(answer, -1);
    state_in(im).map_length = fn::length_by_mode(im, (mode & QVIM_TRUST) | asked);
    im->imap = slots<Dim>::template map<map_through>;
    im->imapr = unmap_through;
    return answer;
  }
  static int32_t map_through(image *im, qvimagemap *map, const position &at) {
    const uint64_t n = call_length_fn(state_in(im).map_length, &im->wind, at);
    if (n == 0 || !map) return nops<Dim>::imapr(im, map);
    const int32_t answer = call_map(source_of(im), map, Kind::in_source(im, at));
    if (map->count && map->length > n) map->length = n;
    return answer;
  }
  static int32_t unmap_through(image *im, qvimagemap *map) {
    source_image *source = source_of(im);
    return source->imapr(source, map);
  }

  // --- queries and windows -----------------------------------------------------------------------

  static uint32_t aeiou(image *im, uint32_t code, int32_t arg1, int32_t arg2, void *buffer) {
    constexpr uint32_t save_iostate = '*' << 8 | 'x', restore_iostate = '*' << 8 | 'X';
    constexpr view_traits traits = Kind::traits;
    const auto ask_source = [&]() -> uint32_t {
      const chain_step step;
      if (step.too_deep() || is_own_source(im)) return 0;
      source_image *source = source_of(im);
      return source->aeiou(source, code, arg1, arg2, buffer);
    };
    switch (code) {
      case 'b': return chained(ask_source(), traits.adds_for_blocks, traits.flag);
      case 'i':
      case 'm': return chained(ask_source(), traits.adds, traits.flag);
      case save_iostate:
      case restore_iostate: return 0;  // the caller copies the bytes of this record, not of the source's
      default: break;
    }
    if (traits.forwards) return ask_source();
    switch (code) {
      case 'B': return 0xFFFFFFFF / sizeof(qvxyzcoord);
      case 'I': {
        const int32_t bytes = im->f.pixelsize;
        return 0xFFFFFFFF / uint32_t(bytes > 0 ? bytes : 1);
      }
      case 'e': return arg2 ? ask_source() : 0;
      default: return 0;
    }
  }
  static uint32_t chained(uint32_t answer, uint8_t adds, uint32_t flag) {
    const uint32_t images = std::min((answer & 0xFF) + adds, 255u);
    return (answer & ~0xFFu) | images | flag;
  }

  // Setting a shared window sets the source's too, unless it does not even fit here.
  static void *xwind(image *im, window *given, int32_t letter) {
    window *result = given;
    if (letter != 's') return fn::xwind(im, &result, letter), result;
    const window whole = im->imdim;
    window wanted = given ? *given : whole;  // a copy: the window given may lie in one of the records
    if constexpr (has_source_axes)
      if (state_in(im).shared && fn::check_inside(&whole, &wanted) >= 0 &&
          !Kind::set_source_window(im, wanted))
        return fn::null_window(im), nullptr;
    result = &wanted;
    if (!fn::xwind(im, &result, 's')) return nullptr;
    reset(im);
    return im;
  }
  static bool set_source_window(image *im, const window &wanted) {
    const chain_step step;
    if (step.too_deep() || is_own_source(im)) return false;
    source_image *source = source_of(im);
    auto there = as_source(wanted);
    return source->xwind(source, &there, 's') != nullptr;
  }
};

}  // namespace qvim
