// A 3-D image seen as a 2-D one: a plane along two of its axes, or all frames side by side or one below
// another.
#include <qvimage/views.h>

#include "views/view.hpp"

namespace {

using namespace qvim;

struct def2from3 : view<two_d, def2from3, three_d> {
  static constexpr char device[] = "QVIM3to2";
  static constexpr view_traits traits{1, 1, chain_flag::none, true};

  struct [[gnu::packed]] state : view_state<two_d> {
    uint8_t axes[2];  // the source's axes along the view's x and y
    int32_t plane;    // the coordinate along the third
    int8_t joined;    // the view's axis along which frames follow each other, or none
    int32_t frame;    // a frame's extent along it
  };
  static constexpr int8_t none = -1;
  enum : uint8_t { below = 0x80, beside = 0x40 };

  static int32_t build(qvimage *im, const qvimage3 *source, uint32_t xaxis, uint32_t yaxis, int32_t plane,
                       uint8_t flags) {
    const auto whole = box<three_d>::of(&source->wind);
    const int32_t size[3] = {int32_t(whole.extent(0)), int32_t(whole.extent(1)), int32_t(whole.extent(2))};
    im->h.pixeldepth = 0;
    im->h.depthunits = 0;
    state &st = state_in(im);
    st.plane = plane;
    st.joined = none;
    if (flags & (below | beside)) return join(im, flags & below ? 1 : 0, size);
    const auto is_axis = [](uint32_t code) {
      return code == QVIM_XSCAN || code == QVIM_YSCAN || code == QVIM_ZSCAN;
    };
    if (!is_axis(xaxis) || !is_axis(yaxis) || xaxis == yaxis)
      return because(QVERR_USAGE, {"scan bits ", xaxis, " and ", yaxis, " name no two axes"});
    st.axes[0] = uint8_t(xaxis / 2);
    st.axes[1] = uint8_t(yaxis / 2);
    set_size(im, {size[st.axes[0]], size[st.axes[1]]});
    return 0;
  }

  static int32_t join(qvimage *im, int axis, const int32_t size[3]) {
    state &st = state_in(im);
    st.axes[0] = 0;
    st.axes[1] = 1;
    st.joined = int8_t(axis);
    st.frame = size[axis] > 0 ? size[axis] : 1;  // an empty frame is never reached
    position joined{size[0], size[1]};
    if (__builtin_mul_overflow(size[axis], size[2], &joined[axis]))
      return because(QVERR_SPACE, {"the joined frames are longer than 2^31 - 1 pixels"});
    set_size(im, joined);
    return 0;
  }

  static three_d::point in_source(qvimage *im, const position &at) {
    const state &st = state_in(im);
    const position p = view::in_source(im, at);
    if (st.joined == none) {
      three_d::point result;
      result.fill(st.plane);
      result[st.axes[0]] = p[0];
      result[st.axes[1]] = p[1];
      return result;
    }
    three_d::point result{p[0], p[1], p[st.joined] / st.frame};
    result[st.joined] = p[st.joined] % st.frame;
    return result;
  }

  // A run along the joined axis stops at the end of its frame.
  static uint32_t run_length(qvimage *im, uint32_t count, const position &at) {
    const state &st = state_in(im);
    const uint32_t n = view::run_length(im, count, at);
    if (n == 0 || st.joined != int(st.run_scan)) return n;
    return std::min(n, uint32_t(st.frame - in_source(im, at)[st.joined]));
  }

  static int32_t set_runs(qvimage *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    if (!set_scan(im, mode, datatype, colourmask))
      return refuse_scan(im, mode, datatype, colourmask, QVERR_UNSUPPORTED);
    const state &st = state_in(im);
    const uint32_t along = st.axes[int(st.run_scan)] * 2u;
    const int32_t code = set_source(im, (mode & ~scan_bits) | along, datatype, colourmask);
    if (code < 0) return code;
    install_runs_through(im);
    return code;
  }
};

}  // namespace

extern "C" int32_t qvimage_def2from3(qvimage *image, qvimage3 *source, uint32_t xaxis, uint32_t yaxis,
                                     int32_t plane, uint8_t flags) {
  return def2from3::make(image, source, 0, xaxis, yaxis, plane, flags);
}
