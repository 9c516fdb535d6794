// An image whose lines show the odd, or the even, line of each pair twice.
#include <qvimage/views.h>

#include "views/view.hpp"

namespace {

using namespace qvim;

struct yodd : view<two_d, yodd> {
  static constexpr char device[] = "QVIMYOdd";
  static constexpr view_traits traits{1, 1, chain_flag::selects, true};

  struct [[gnu::packed]] state : view_state<two_d> {
    uint8_t odd;
  };

  static int32_t build(qvimage *im, const qvimage *source, uint32_t selector) {
    if (selector > 1 || (selector && box<two_d>::of(&source->wind).extent(1) == 1)) return QVERR_USAGE;
    state_in(im).odd = uint8_t(selector);
    return 0;
  }

  // Odd and even are lines of the whole image, wherever its window is. Where the line lies outside the
  // source's window, the next one of its kind that is inside is shown, or else the line itself.
  static position in_source(qvimage *im, const position &at) {
    const bool shared = state_in(im).shared;
    const int32_t top = im->wind.nw.y, line = at[1] + top, before = shared ? top : 0;
    const int32_t height = int32_t(box<two_d>::of(&source_of(im)->wind).extent(1));
    int32_t y = (state_in(im).odd ? line | 1 : line & ~1) - before;
    if (y < 0) y += 2;
    if (y >= height) y -= 2;
    if (y < 0) y = line - before;
    return {view::in_source(im, at)[0], y};
  }

  // Lines follow each other in another order than the source's: runs go by lines, or pixel by pixel.
  static bool lines_agree(qvimage *, scan) { return false; }
  static uint32_t stretch(qvimage *im, uint32_t count, const position &at) {
    return state_in(im).run_scan == scan::y ? std::min(count, 1u) : view::stretch(im, count, at);
  }

  static constexpr auto bxts = bxts_through;
  static int32_t imapset(qvimage *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    const int32_t answer = imapset_through(im, mode, datatype, colourmask);
    return answer < 0 || !(mode & QVIM_YSCAN) ? answer : view::imapset(im, mode, datatype, colourmask);
  }
};

}  // namespace

extern "C" int32_t qvimage_yodd(qvimage *image, qvimage *source, uint8_t sharewindow, uint32_t selector) {
  return yodd::make(image, source, sharewindow, selector);
}
