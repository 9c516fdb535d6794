// A 3-D image with its frames numbered circularly from another one of them.
#include <qvimage/views.h>

#include "views/view.hpp"

namespace {

using namespace qvim;

struct def3from3 : view<three_d, def3from3> {
  static constexpr char device[] = "QVIM3to3";
  static constexpr view_traits traits{1, 1, chain_flag::none, true};

  struct [[gnu::packed]] state : view_state<three_d> {
    int32_t offset;
    int32_t depth;  // frames of the source that are numbered
  };

  static int32_t build(qvimage3 *im, const qvimage3 *source, int32_t frameoffset) {
    const int32_t depth = im->imdim.se.z;  // the source's, or that of its window
    if (depth == 0) return QVERR_USAGE;
    state_in(im).offset = frameoffset;
    state_in(im).depth = depth;
    im->imdim = source->imdim;
    return 0;
  }

  // The number in the source of a frame of this view, counted from the first of the numbered ones.
  static int32_t frame(qvimage3 *im, int32_t z) {
    const state &st = state_in(im);
    const int32_t rest = int32_t((int64_t{z} + im->wind.nw.z + st.offset) % st.depth);
    return rest < 0 ? rest + st.depth : rest;
  }

  static position in_source(qvimage3 *im, const position &at) {
    const position p = view::in_source(im, at);
    return {p[0], p[1], frame(im, at[2]) - (state_in(im).shared ? im->wind.nw.z : 0)};
  }

  static bool renumbers(qvimage3 *im) { return state_in(im).offset % state_in(im).depth != 0; }
  static bool lines_agree(qvimage3 *im, scan s) { return !renumbers(im) && view::lines_agree(im, s); }

  // Along z a run of the source ends at its last frame.
  static uint32_t stretch(qvimage3 *im, uint32_t count, const position &at) {
    const uint32_t n = view::stretch(im, count, at);
    if (state_in(im).run_scan != scan::z) return n;
    return std::min(n, uint32_t(state_in(im).depth - frame(im, at[2])));
  }

  static constexpr auto bxts = bxts_through;
  static int32_t imapset(qvimage3 *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    const bool through_frames = renumbers(im) && (mode & scan_bits) == QVIM_ZSCAN;
    const int32_t answer = imapset_through(im, mode, datatype, colourmask);
    return answer < 0 || !through_frames ? answer : view::imapset(im, mode, datatype, colourmask);
  }
};

}  // namespace

extern "C" int32_t qvimage3_def3from3(qvimage3 *image, qvimage3 *source, int32_t frameoffset, uint32_t,
                                      uint32_t, uint8_t sharewindow) {
  return def3from3::make(image, source, sharewindow, frameoffset);
}
