// An image transposed, mirrored, or both.
#include <utility>

#include <qvimage/views.h>

#include "core/memory.hpp"
#include "core/pixel.hpp"
#include "kernels/rectangle.hpp"
#include "views/mirrored_runs.hpp"
#include "views/view.hpp"

namespace {

using namespace qvim;

// The flags of the constructor.
constexpr uint32_t transposes = 1, mirrors_y = 2, mirrors_x = 4;

struct rotate : view<two_d, rotate> {
  static constexpr char device[] = "QVIMROTA";
  static constexpr view_traits traits{2, 1, chain_flag::turns, false};

  struct [[gnu::packed]] state : view_state<two_d> {
    uint8_t transposed;
    uint8_t mirrored[2];  // along x, along y
  };

  static int32_t build(qvimage *im, const qvimage *, uint32_t flags) {
    if (const int32_t code = check_narrow(im->d); code < 0) return code;
    state &st = state_in(im);
    st.transposed = flags & transposes;
    st.mirrored[0] = bool(flags & mirrors_x);
    st.mirrored[1] = bool(flags & mirrors_y);
    if (st.transposed) {
      im->imdim = transposed(im->imdim);
      im->wind = transposed(im->wind);
      const qvimagehints h = im->h;
      im->h.pixelwidth = h.pixelheight;
      im->h.pixelheight = h.pixelwidth;
      im->h.widthunits = h.heightunits;
      im->h.heightunits = h.widthunits;
    }
    return 0;
  }

  // --- geometry: mirrored within the whole image, or within a shared window ------------------------

  static qvywindow transposed(const qvywindow &w) { return {{w.nw.y, w.nw.x}, {w.se.y, w.se.x}}; }

  static position in_source(qvimage *im, const position &at) {
    const state &st = state_in(im);
    const auto size = box<two_d>::of(st.shared ? &im->wind : &im->imdim);
    position p = view::in_source(im, at);
    for (int axis = 0; axis < 2; axis++)
      if (st.mirrored[axis]) p[axis] = int32_t(size.extent(axis) - 1 - uint32_t(p[axis]));
    if (st.transposed) std::swap(p[0], p[1]);
    return p;
  }

  static bool set_source_window(qvimage *im, const qvywindow &wanted) {
    return view::set_source_window(im, state_in(im).transposed ? transposed(wanted) : wanted);
  }

  static bool lines_agree(qvimage *im, scan s) {
    const state &st = state_in(im);
    if (st.mirrored[0] || st.mirrored[1]) return false;
    const int axis = int(s), source_axis = st.transposed ? 1 - axis : axis;
    return origin(im)[axis] == 0 &&
           box<two_d>::of(&im->wind).extent(axis) == box<two_d>::of(&source_of(im)->wind).extent(source_axis);
  }

  // --- runs ----------------------------------------------------------------------------------------

  static int32_t set_runs(qvimage *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    if (!(colourmask & all_pixies(im->d.pixies))) return QVERR_COLOUR;
    if (!set_scan(im, mode, datatype, colourmask))
      return refuse_scan(im, mode, datatype, colourmask, QVERR_UNSUPPORTED);
    const state &st = state_in(im);
    const int32_t code = set_source(im, st.transposed ? mode ^ QVIM_YSCAN : mode, datatype, colourmask);
    if (code < 0) return code;
    install_runs_through(im);
    if (reversed(st) || source_axis(im) == 1) install_runs<move<false>, move<true>>(im);
    return code;
  }
  static bool reversed(const state &st) { return st.mirrored[int(st.run_scan)]; }
  // The axis of the source along which runs go.
  static int source_axis(qvimage *im) { return int(state_in(im).run_scan) ^ state_in(im).transposed; }

  // In opposite order the source's run begins at the far end; without that, the first pixel may be had.
  static uint32_t served(qvimage *im, uint32_t n, const position &at) {
    if (!reversed(state_in(im))) return view::served(im, n, at);
    position last = at;
    last[int(state_in(im).run_scan)] += int32_t(n - 1);
    position place = in_source(im, last);
    for (uint32_t done = 0, part; done < n; done += part, place[source_axis(im)] += int32_t(part))
      if (part = call_length(source_of(im), n - done, place); part == 0) return n > 1 ? served(im, 1, at) : 0;
    return n;
  }

  template <bool writing>
  static uint32_t move(image *im, uint32_t mode, std::conditional_t<writing, const void *, void *> buffer,
                       uint32_t count, const position &at) {
    auto *values = static_cast<buffer_of<writing> *>(buffer);
    if (source_axis(im) == 1)
      if (const uint32_t n = move_columns<writing>(im, values, count, at)) return n;
    if (reversed(state_in(im))) {
      const uint32_t n = move_backwards<writing>(im, values, count, at);
      return n ? n : move_mirrored<rotate, writing>(im, mode, values, count, at);
    }
    if constexpr (writing)
      return write_through(im, mode, buffer, count, at);
    else
      return read_through(im, mode, buffer, count, at);
  }

  // Where this view's pixels lie in a memory image: the first one, and the steps along runs and across; false
  // where the source is none.
  template <bool writing>
  static bool find_pixels(image *im, uint8_t **first, int64_t *along, int64_t *across) {
    const state &st = state_in(im);
    const auto own = box<two_d>::of(&im->wind);
    const position opposite{int32_t(own.extent(0)) - 1, int32_t(own.extent(1)) - 1};
    int64_t step[2];
    *first = memory::plain_pixels<two_d>(source_of(im), writing, in_source(im, {0, 0}),
                                         in_source(im, opposite), step);
    if (!*first) return false;
    if (st.transposed) std::swap(step[0], step[1]);
    for (int axis = 0; axis < 2; axis++)
      if (st.mirrored[axis]) step[axis] = -step[axis];
    *along = step[int(st.run_scan)];
    *across = step[1 - int(st.run_scan)];
    return true;
  }

  // Columns of a memory image; 0 where the source is none.
  template <bool writing>
  static uint32_t move_columns(image *im, buffer_of<writing> *values, uint32_t count, const position &at) {
    const auto own = box<two_d>::of(&im->wind);
    uint8_t *first;
    int64_t along, across;
    if (!own.holds(at) || !find_pixels<writing>(im, &first, &along, &across)) return 0;
    const int axis = int(state_in(im).run_scan);
    const uint32_t n = run_length(im, count, at);
    copy_run<writing>({first, along, across}, own.extent(axis), uint32_t(at[axis]), uint32_t(at[1 - axis]),
                      values, n, buffer_pixel(im));
    return n;
  }

  // A run that lies in a memory image from its last pixel to its first without a gap: in a line, or over
  // lines that follow one another. 0 where it does not.
  template <bool writing>
  static uint32_t move_backwards(image *im, buffer_of<writing> *values, uint32_t count, const position &at) {
    const auto own = box<two_d>::of(&im->wind);
    uint8_t *first;
    int64_t along, across;
    if (!own.holds(at) || !find_pixels<writing>(im, &first, &along, &across)) return 0;
    const int axis = int(state_in(im).run_scan);
    const int64_t pixel = buffer_pixel(im);
    const uint32_t n = run_length(im, count, at);
    if (n == 0 || along != -pixel || (n > rest_of_line(im, at) && across != along * own.extent(axis)))
      return 0;
    uint8_t *last = first + at[1 - axis] * across + (at[axis] + int64_t(n) - 1) * along;
    if constexpr (writing)
      npfpix1_2transposek_i(values, last, n, uint32_t(pixel));
    else
      npfpix1_2transposek_i(last, values, n, uint32_t(pixel));
    return n;
  }

  static constexpr auto bxts = bxts_through;
  static int32_t imapset(qvimage *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    const state &st = state_in(im);
    const bool turned = st.transposed || st.mirrored[0] || st.mirrored[1];
    return (turned ? view::imapset : imapset_through)(im, mode, datatype, colourmask);
  }
};

}  // namespace

extern "C" int32_t qvimage_rotate_filt(qvimage *image, qvimage *source, uint8_t sharewindow, uint32_t flags) {
  return rotate::make(image, source, sharewindow, flags);
}
