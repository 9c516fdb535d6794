// A 2-D image seen as a 3-D one that is one frame deep.
#include <qvimage/views.h>

#include "views/view.hpp"

namespace {

using namespace qvim;

struct def3from2 : view<three_d, def3from2, two_d> {
  static constexpr char device[] = "QVIM2to3";
  static constexpr view_traits traits{1, 1, chain_flag::none, true};

  using state = view_state<three_d>;

  // Pixels of other frames, which only callers that promise their positions ask for, lie outside the source.
  static two_d::point in_source(qvimage3 *im, const position &at) {
    if (moved(at[2], box<three_d>::of(&im->wind).nw[2]) != 0) return {outside, outside};
    const position p = view::in_source(im, at);
    return {p[0], p[1]};
  }

  static constexpr auto bxts = bxts_through;
  static constexpr auto imapset = imapset_through;
};

}  // namespace

extern "C" int32_t qvimage_def3from2(qvimage3 *image, qvimage *source, uint8_t sharewindow) {
  return def3from2::make(image, source, sharewindow);
}
