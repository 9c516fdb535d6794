// Views and their sources: construction, where pixels lie, windows. The first part of view.hpp, which says
// what this serves.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include <qvimage/block.h>
#include <qvimage/data.h>
#include <qvimage/error.h>
#include <qvimage/types.h>

#include "core/dimension.hpp"
#include "core/functions.hpp"
#include "core/null.hpp"
#include "core/pixel.hpp"
#include "core/reason.hpp"
#include "core/record.hpp"
#include "views/chain.hpp"

namespace qvim {

template <class Dim>
struct [[gnu::packed]] view_state {
  typename Dim::length_fn *run_length;  // of the window, by the mode of ioset
  typename Dim::length_fn *map_length;  // by the mode of imapset
  qvimbxtstate blocks;                  // of the generic block transfer
  scan run_scan;
  uint8_t shared;    // the view uses the window and coordinates of its source
  uint8_t by_lines;  // runs are cut at the ends of the window's lines: the source's lines are others
};

template <class Dim, class Kind, class SourceDim>
struct view_window {
  using image = record<Dim>;
  using window = typename Dim::window;
  using position = point<Dim>;
  using source_image = record<SourceDim>;
  using fn = functions<Dim>;

  static source_image *source_of(image *im) { return resolve<source_image>(im, im->source[0]); }
  static bool is_own_source(image *im) { return static_cast<void *>(source_of(im)) == im; }
  static auto &state_in(image *im) { return state_of<typename Kind::state>(im); }

  // What act(source) answers; it goes on from source to source. `refusal` where a view is its own source, or
  // the chain a ring.
  template <class Result, class Act>
  static Result descend(image *im, Result refusal, Act act) {
    const chain_step step;
    return step.too_deep() || is_own_source(im) ? refusal : act(source_of(im));
  }

  template <class Act>
  static int32_t descend(image *im, Act act) {
    return descend(im, int32_t{QVERR_LOGIC}, act);
  }

  // --- construction ------------------------------------------------------------------------------

  // A constructor: begin, what the kind changes, finish. A negative code of the kind leaves the null image.
  template <class... Arguments>
  static int32_t make(image *im, source_image *reference, uint8_t shared, const Arguments &...arguments) {
    const public_call call;
    if (!im) return call.result(because(QVERR_USAGE, {"no record to fill"}));
    if (!reference) return call.result(fail(im, because(QVERR_USAGE, {"no source"})));
    const source_image *source = begin(im, reference, shared);
    if (!can_be_presented(source->d))
      return call.result(fail(im, because(QVERR_USAGE, {"the source's description is none"})));
    const int32_t code = Kind::build(im, source, arguments...);
    return call.result(code < 0 ? fail(im, code) : finish(im));
  }
  static int32_t build(image *, const source_image *) { return 0; }
  // Has it no more components than a colour mask can select, nor pixies more bits than they hold? A null
  // image has none of either.
  static bool can_be_presented(const qvimagedata &d) {
    const int32_t width = 8 * qvimdatasize(uint32_t(d.pixietype));
    return d.pixies >= 0 && d.pixies <= most_pixies &&
           (!is_integer(d.pixietype) || width == 0 || (d.i_bitsused >= 0 && d.i_bitsused <= width));
  }

  // For kinds that have kernels for integers of 8 and 16 bits only.
  static int32_t check_narrow(const qvimagedata &d) {
    if (d.pixietype == QVIM_UINT8 || d.pixietype == QVIM_UINT16) return 0;
    return because(QVERR_DATATYPE, {"the source's pixies are no integers of 8 or 16 bits"});
  }

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
    qviminitfacts(&im->f, &im->d);
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
    im->ioset = Kind::ioset;
    im->bxts = Kind::bxts;
    im->imapset = Kind::imapset;
  }

  // For kinds that compute with values: what they serve are clean numbers at the
  // low end of the container, in the host's byte order.
  static void serve_numbers(image *im) {
    qviminitfacts(&im->f, &im->d);
    if (!is_integer(im->d.pixietype)) return;
    im->d.i_dirtyread = im->d.i_endian = 0;
    if (im->d.i_bitsxsb == QVIM_MSB) im->d.i_bitsxsb = QVIM_LSB;
  }

  // --- geometry ----------------------------------------------------------------------------------

  // The view's window begins here in the source's window.
  static position origin(image *im) { return state_in(im).shared ? position{} : box<Dim>::of(&im->wind).nw; }

  static position in_source(image *im, position at) {
    const position from = origin(im);
    for (int axis = 0; axis < Dim::axes; axis++) at[axis] = moved(at[axis], from[axis]);
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

  // --- windows -----------------------------------------------------------------------------------

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
    auto there = as_source(wanted);
    return descend(im, false, [&](auto *source) { return source->xwind(source, &there, 's') != nullptr; });
  }
};

}  // namespace qvim
