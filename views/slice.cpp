// One component of an image's pixels, seen as an image of its own.
#include <qvimage/colour.h>

#include "views/view.hpp"

namespace {

using namespace qvim;

template <class Dim>
struct slice : view<Dim, slice<Dim>> {
  using base = view<Dim, slice<Dim>>;
  using base::in_pieces, base::in_source, base::source_of, base::state_in;
  using typename base::image;
  using typename base::position;
  using typename base::source_image;

  static constexpr char device[] = "ClrSlice";
  static constexpr view_traits traits{1, 1, chain_flag::none, true};

  struct [[gnu::packed]] state : view_state<Dim> {
    uint32_t mask;    // selects the component in the source
    uint32_t first;   // where it lies in the pixels that the source is asked for, in bytes,
    uint32_t pixie;   // its size,
    uint32_t pixel;   // and theirs
    npfbix_fn *copy;  // of components
  };

  static int32_t build(image *im, const source_image *source, uint32_t mask) {
    if (qvimcolormap(source->d.pixies, mask, nullptr) != 1)
      return because(QVERR_USAGE, {"mask ", mask, " selects not one of ", source->d.pixies, " components"});
    state_in(im).mask = mask;
    im->d.pixies = 1;
    qviminitfacts(&im->f, &im->d);
    return 0;
  }

  // A source that has no access to single components is read and written in whole pixels.
  static int32_t set_runs(image *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    if (!base::set_scan(im, mode, datatype, colourmask)) return QVERR_USAGE;
    if (colourmask != 1) return QVERR_COLOUR;
    state &st = state_in(im);
    base::install_runs_through(im);
    if (base::set_source(im, mode, datatype, st.mask) >= 0) return 1;
    const int32_t pixies = source_of(im)->d.pixies;
    const int32_t code = base::set_source(im, mode, datatype, all_pixies(pixies));
    if (code < 0) return code;
    if (type_word(datatype).type() == QVIM_UINT64) return QVERR_DATATYPE;
    st.pixie = uint32_t(qvimdatasize(datatype));
    st.first = uint32_t(__builtin_ctz(st.mask)) * st.pixie;
    st.pixel = uint32_t(pixies) * st.pixie;
    st.copy = qvimdatapackf16(st.pixie);
    base::template install_runs<read, write>(im);
    return 1;
  }

  static uint32_t read(image *im, uint32_t mode, void *buffer, uint32_t count, const position &at) {
    alignas(64) uint8_t staging[staging_bytes];
    const state &st = state_in(im);
    return in_pieces(im, count, at, staging_bytes / st.pixel,
                     [&](const position &from, uint32_t done, uint32_t n) {
                       n = call_read(source_of(im), base::read_mode(mode), staging, n, in_source(im, from));
                       uint8_t *out = static_cast<uint8_t *>(buffer) + uint64_t(done) * st.pixie;
                       st.copy(staging + st.first, out, st.pixel, st.pixie, n, st.pixie, 0);
                       return n;
                     });
  }

  static uint32_t write(image *im, uint32_t mode, const void *buffer, uint32_t count, const position &at) {
    alignas(64) uint8_t staging[staging_bytes];
    const state &st = state_in(im);
    return in_pieces(im, count, at, staging_bytes / st.pixel,
                     [&](const position &to, uint32_t done, uint32_t n) {
                       const position place = in_source(im, to);
                       n = call_read(source_of(im), base::read_mode(mode), staging, n, place);
                       const uint8_t *in = static_cast<const uint8_t *>(buffer) + uint64_t(done) * st.pixie;
                       st.copy(in, staging + st.first, st.pixie, st.pixel, n, st.pixie, 0);
                       return call_write(source_of(im), base::write_mode(mode), staging, n, place);
                     });
  }
};

}  // namespace

extern "C" {

int32_t qvimage_colorslice(qvimage *view, qvimage *source, uint8_t mode, uint32_t mask, uint32_t) {
  return slice<two_d>::make(view, source, mode, mask);
}
int32_t qvimage3_colorslice(qvimage3 *view, qvimage3 *source, uint8_t mode, uint32_t mask, uint32_t) {
  return slice<three_d>::make(view, source, mode, mask);
}

}  // extern "C"
