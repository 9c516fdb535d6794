// A table, stored as an image of one row, with another number of entries.
#include <bit>

#include <qvimage/views.h>

#include "views/view.hpp"

namespace {

using namespace qvim;

struct lutconvert : view<two_d, lutconvert> {
  static constexpr char device[] = "QVIMLUT";
  static constexpr view_traits traits{2, 1, chain_flag::selects, false};

  struct [[gnu::packed]] state : view_state<two_d> {
    int8_t spread;  // logarithm of how many entries one of the source becomes; negative: how many become one
    uint8_t decimate;  // of those, the first stands for all; else the table is cut off
  };

  static int32_t build(qvimage *im, const qvimage *source, uint32_t entries, bool decimate) {
    const auto table = box<two_d>::of(&source->imdim);
    if (table.extent(1) != 1 || !std::has_single_bit(table.extent(0)) || !std::has_single_bit(entries) ||
        entries > uint32_t(INT32_MAX))
      return QVERR_USAGE;
    set_size(im, {int32_t(entries), 1});
    state_in(im).spread = int8_t(std::countr_zero(entries) - std::countr_zero(table.extent(0)));
    state_in(im).decimate = decimate;
    return 0;
  }

  // Entries are those of the whole table; positions begin at the source's window.
  static position in_source(qvimage *im, const position &at) {
    const state &st = state_in(im);
    position p = view::in_source(im, at);
    if (st.spread > 0)
      p[0] >>= st.spread;
    else if (st.decimate)
      p[0] <<= -st.spread;
    const auto window = box<two_d>::of(&source_of(im)->wind);
    return {distance(window.nw[0], p[0]), distance(window.nw[1], p[1])};
  }

  static int32_t set_runs(qvimage *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    if (type_word(datatype).type() != uint32_t(im->d.pixietype)) return QVERR_DATATYPE;
    if (colourmask & ~all_pixies(im->d.pixies)) return QVERR_COLOUR;
    const int32_t code = source_of(im)->ioset(source_of(im), source_mode(mode, false), datatype, colourmask);
    if (code < 0) return code;
    if (!set_scan(im, mode, datatype, colourmask)) return QVERR_UNSUPPORTED;
    install_runs_through(im);
    return 1;
  }

  // Neighbours in the view are not neighbours in the source.
  static uint32_t stretch(qvimage *, uint32_t, const position &) { return 1; }
};

}  // namespace

extern "C" int32_t qvimage_lutconvert(qvimage *image, qvimage *source, uint32_t entries, uint32_t decimate) {
  return lutconvert::make(image, source, 0, entries, decimate != 0);
}
