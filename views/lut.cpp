// An image whose values pass through tables: one pair a component, or up to four that make a pseudo-colour
// image of one component.
#include <qvimage/npfpix.h>
#include <qvimage/views.h>

#include "views/view.hpp"

namespace {

using namespace qvim;

constexpr int most_tables = 4;
using table_list = const void *const *;

// Values of that type to table entries; null when there are no tables of them.
npfpix2xlat_fn *translation(int32_t pixietype, bool masked) {
  switch (pixietype) {
    case QVIM_UINT8: return masked ? npfpix1_2xlats_n : npfpix1_2xlat_n;
    case QVIM_UINT16: return masked ? npfpix2_2xlats_n : npfpix2_2xlat_n;
    case QVIM_UINT32: return masked ? npfpix4_2xlats_n : npfpix4_2xlat_n;
    default: return nullptr;
  }
}

enum : uint32_t { three_tables = 1, unmasked = 2 };  // flags

template <class Dim>
struct lut : view<Dim, lut<Dim>> {
  using base = view<Dim, lut<Dim>>;
  using base::source_of, base::state_in;
  using typename base::image;
  using typename base::position;
  using typename base::source_image;

  static constexpr const char *device = Dim::axes == 2 ? "QVIMLUT2" : "QVIMLUT3";
  static constexpr view_traits traits{2, 1, chain_flag::converts, true};

  struct [[gnu::packed]] state : view_state<Dim> {
    const void *read_tables[most_tables], *write_tables[most_tables];
    npfpix2xlat_fn *translate;
    npfbix_fn *copy;          // components without a table
    uint8_t tables;           // components that have one
    uint8_t pixie;            // bytes
    uint8_t bits;             // of a value that are the index
    uint8_t first, selected;  // components that runs transfer
    uint8_t source_pixel;     // bytes of what they are to the source
  };

  static int32_t build(image *im, const source_image *source, table_list read, table_list write,
                       int32_t pixies, int32_t pixelhint, uint32_t flags) {
    const qvimagedata d = source->d;
    if (!read || !write) return because(QVERR_USAGE, {"no tables"});
    if (d.pixies > most_tables) return because(QVERR_USAGE, {d.pixies, " components, tables serve 4"});
    if (pixies &&
        (pixies < 0 || pixies > most_tables || components_of(pixelhint) > most_tables || d.pixies != 1))
      return because(QVERR_USAGE, {"pseudo-colour makes up to 4 components of one"});
    state &st = state_in(im);
    const bool all_used = d.i_bitsused == 8 * qvimdatasize(uint32_t(d.pixietype));
    st.translate = translation(d.pixietype, !(flags & unmasked) && !all_used);
    if (!st.translate) return because(QVERR_DATATYPE, {"no tables of such pixies"});
    if (pixies) im->d.pixies = pixies, im->d.pixelhint = pixelhint;
    st.tables = uint8_t(std::min(im->d.pixies, flags & three_tables ? 3 : most_tables));
    for (int i = 0; i < st.tables; i++) {
      if (!read[i] || !write[i]) return because(QVERR_USAGE, {"no table for component ", i + 1});
      st.read_tables[i] = read[i];
      st.write_tables[i] = write[i];
    }
    base::serve_numbers(im);
    st.pixie = uint8_t(im->f.pixiesize);
    st.bits = uint8_t(d.i_bitsused);
    st.copy = qvimdatapackf16(st.pixie);
    return 0;
  }

  static int32_t set_runs(image *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    if (!supported_without_conversion(im, datatype)) return QVERR_DATATYPE;
    int32_t first;
    const int32_t pixies = im->d.pixies, selected = qvimcolormap(pixies, colourmask, &first);
    if (selected != 1 && selected != pixies) return QVERR_COLOUR;
    if (!base::set_scan(im, mode, datatype, colourmask) || state_in(im).run_scan == scan::z)
      return QVERR_USAGE;
    state &st = state_in(im);
    const bool pseudo_colour = pixies != source_of(im)->d.pixies;
    st.first = uint8_t(first);
    st.selected = uint8_t(selected);
    st.source_pixel = uint8_t(pseudo_colour ? st.pixie : selected * st.pixie);
    const int32_t code =
        base::set_source(im, mode, type_word(datatype).as_numbers().bits, pseudo_colour ? 1 : colourmask);
    if (code < 0) return code;
    if (pseudo_colour)
      base::template install_reads<read>(im);
    else
      base::template install_runs<read, write>(im);
    return 1;
  }

  static uint32_t read(image *im, uint32_t mode, void *buffer, uint32_t count, const position &at) {
    const state &st = state_in(im);
    return base::read_converted(im, mode, buffer, count, at, st.source_pixel,
                                [&](auto *from, auto *to, uint32_t n) {
                                  translate(st, from, st.source_pixel, to, buffer_pixel(im), n,
                                            [&](uint32_t i) { return st.read_tables[i]; });
                                });
  }
  static uint32_t write(image *im, uint32_t mode, const void *buffer, uint32_t count, const position &at) {
    const state &st = state_in(im);
    const uint32_t pixel = st.source_pixel;
    return base::write_converted(
        im, mode, buffer, count, at, pixel, false, [&](auto *from, auto *to, uint32_t n) {
          translate(st, from, pixel, to, pixel, n, [&](uint32_t i) { return st.write_tables[i]; });
        });
  }

  // A source pixel of one component serves all that are selected.
  template <class Table>
  static void translate(const state &st, const uint8_t *from, uint32_t from_pixel, uint8_t *to,
                        uint32_t to_pixel, uint32_t n, Table table) {
    const uint32_t size = st.pixie, step = from_pixel == size ? 0 : size, bits = st.bits;
    for (uint32_t i = 0; i < st.selected; i++, from += step, to += size)
      if (st.first + i < st.tables)
        st.translate(from, to, from_pixel, to_pixel, n, table(st.first + i), bits);
      else
        st.copy(from, to, from_pixel, to_pixel, n, size, 0);
  }
};

}  // namespace

extern "C" {

int32_t qvimage_lut2(qvimage *image, qvimage *source, uint8_t sharewindow, const void *const readtables[4],
                     const void *const writetables[4], int32_t pixies, int32_t pixelhint, uint32_t,
                     uint32_t flags) {
  return lut<two_d>::make(image, source, sharewindow, readtables, writetables, pixies, pixelhint, flags);
}
int32_t qvimage_lut2a(qvimage *image, qvimage *source, uint8_t sharewindow, const void *r0, const void *r1,
                      const void *r2, const void *r3, const void *w0, const void *w1, const void *w2,
                      const void *w3, int32_t pixies, int32_t pixelhint, uint32_t reserved, uint32_t flags) {
  const void *const read[] = {r0, r1, r2, r3}, *const write[] = {w0, w1, w2, w3};
  return qvimage_lut2(image, source, sharewindow, read, write, pixies, pixelhint, reserved, flags);
}
int32_t qvimage_lut3(qvimage3 *image, qvimage3 *source, uint8_t sharewindow, const void *const readtables[4],
                     const void *const writetables[4], int32_t pixies, int32_t pixelhint, uint32_t) {
  return lut<three_d>::make(image, source, sharewindow, readtables, writetables, pixies, pixelhint, 0);
}
int32_t qvimage_lut3a(qvimage3 *image, qvimage3 *source, uint8_t sharewindow, const void *r0, const void *r1,
                      const void *r2, const void *r3, const void *w0, const void *w1, const void *w2,
                      const void *w3, int32_t pixies, int32_t pixelhint, uint32_t reserved) {
  const void *const read[] = {r0, r1, r2, r3}, *const write[] = {w0, w1, w2, w3};
  return qvimage_lut3(image, source, sharewindow, read, write, pixies, pixelhint, reserved);
}

}  // extern "C"
