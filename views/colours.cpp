// An image presented in another colour interpretation.
#include <cstring>

#include <qvimage/colour.h>
#include <qvimage/npfbix.h>

#include "views/interpretations.hpp"
#include "views/view.hpp"

namespace {

using namespace qvim;

template <class Dim>
struct colorconverter : view<Dim, colorconverter<Dim>> {
  using base = view<Dim, colorconverter<Dim>>;
  using base::in_source, base::source_of, base::state_in;
  using typename base::image;
  using typename base::position;
  using typename base::source_image;

  static constexpr const char *device = Dim::axes == 2 ? "QVIMCLR" : "QVIMCLR3";
  static constexpr view_traits traits{2, 1, chain_flag::converts, false};

  struct [[gnu::packed]] state : view_state<Dim> {
    colour_steps steps;
    npfbix_fn *copy;        // of single components
    uint32_t source_pixel;  // bytes
    uint32_t pixel, pixie;
    uint32_t component;  // first byte of the component that runs transfer, when it is one
    uint8_t pads;        // the source's pixels have a component that no conversion gives a value
  };

  static int32_t build(image *im, const source_image *source, int32_t hint) {
    state &st = state_in(im);
    const qvimagedata d = source->d;
    if (qvimdatasize(uint32_t(d.pixietype)) == 0 || d.pixietype == QVIM_UINT64) return QVERR_DATATYPE;
    if (!choose_colours(d, hint, &st.steps))
      return because(QVERR_COLOUR, {"no way from hint ", d.pixelhint, " to hint ", hint});
    im->d.pixies = components_of(hint);
    im->d.pixelhint = hint;
    base::serve_numbers(im);
    st.pads = is_padded(d.pixelhint);
    st.source_pixel = uint32_t(source->f.pixelsize);
    st.pixel = uint32_t(im->f.pixelsize);
    st.pixie = uint32_t(im->f.pixiesize);
    st.copy = qvimdatapackf16(st.pixie);
    return 0;
  }

  static int32_t set_runs(image *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    if (!supported_without_conversion(im, datatype)) return QVERR_DATATYPE;
    if (!base::set_scan(im, mode, datatype, colourmask) || state_in(im).run_scan == scan::z)
      return QVERR_USAGE;
    const uint32_t all = all_pixies(source_of(im)->d.pixies);
    const int32_t code = base::set_source(im, mode, type_word(datatype).as_numbers().bits, all);
    if (code < 0) return code;
    int32_t first;
    const int32_t pixies = im->d.pixies, selected = qvimcolormap(pixies, colourmask, &first);
    if (selected == pixies) {
      base::template install_runs<read, write>(im);
    } else if (selected == 1) {
      state_in(im).component = uint32_t(first) * state_in(im).pixie;
      base::template install_runs<read_component, write_component>(im);
    } else {
      return QVERR_COLOUR;
    }
    return 1;
  }

  static uint32_t read(image *im, uint32_t mode, void *buffer, uint32_t count, const position &at) {
    return base::read_converted(im, mode, buffer, count, at, state_in(im).source_pixel,
                                [&](auto *from, auto *to, uint32_t n) { present(im, from, to, n); });
  }
  static uint32_t write(image *im, uint32_t mode, const void *buffer, uint32_t count, const position &at) {
    const state &st = state_in(im);
    return base::write_converted(im, mode, buffer, count, at, st.source_pixel, st.pads,
                                 [&](auto *from, auto *to, uint32_t n) { take(im, from, to, n); });
  }

  static uint32_t read_component(image *im, uint32_t mode, void *buffer, uint32_t count, const position &at) {
    alignas(64) uint8_t presented[staging_bytes] = {};  // kernels leave pads as they are
    const state &st = state_in(im);
    return base::read_converted(im, mode, buffer, count, at, st.source_pixel,
                                [&](const uint8_t *from, uint8_t *to, uint32_t left) {
                                  while (left > 0) {
                                    const uint32_t n = std::min(left, staging_bytes / st.pixel);
                                    present(im, from, presented, n);
                                    st.copy(presented + st.component, to, st.pixel, st.pixie, n, st.pixie, 0);
                                    from += n * st.source_pixel;
                                    to += n * st.pixie;
                                    left -= n;
                                  }
                                });
  }

  // A component may depend on all those of the source's pixel, which is read, changed and written.
  static uint32_t write_component(image *im, uint32_t mode, const void *buffer, uint32_t count,
                                  const position &at) {
    alignas(64) uint8_t staging[staging_bytes], presented[staging_bytes];
    source_image *source = source_of(im);
    const state &st = state_in(im);
    const uint32_t most = staging_bytes / std::max(uint32_t(st.pixel), uint32_t(st.source_pixel));
    return base::in_pieces(im, count, at, most, [&](const position &to, uint32_t done, uint32_t n) {
      const position place = in_source(im, to);
      n = call_read(source, base::read_mode(mode), staging, n, place);
      present(im, staging, presented, n);
      const uint8_t *in = static_cast<const uint8_t *>(buffer) + uint64_t(done) * st.pixie;
      st.copy(in, presented + st.component, st.pixie, st.pixel, n, st.pixie, 0);
      take(im, presented, staging, n);
      return call_write(source, base::write_mode(mode), staging, n, place);
    });
  }

  static void present(const image *im, const uint8_t *from, uint8_t *to, uint32_t n) {
    const auto &st = state_of<const state>(im);
    convert(im, st.steps.read, from, st.source_pixel, to, st.pixel, n);
  }
  static void take(const image *im, const uint8_t *from, uint8_t *to, uint32_t n) {
    const auto &st = state_of<const state>(im);
    const qvimagedata d = im->d;
    if (is_integer(d.pixietype) && d.i_dirtyrite && d.i_bitsused < 8 * im->f.pixiesize)
      take_dirty(im, from, to, n);
    else
      convert(im, st.steps.write, from, st.pixel, to, st.source_pixel, n);
  }
  // Where unused bits may hold anything, colours are those of the other ones.
  static void take_dirty(const image *im, const uint8_t *from, uint8_t *to, uint32_t left) {
    alignas(64) uint8_t clean[staging_bytes];
    const auto &st = state_of<const state>(im);
    while (left > 0) {
      const uint32_t n = std::min(left, staging_bytes / st.pixel), pixies = n * uint32_t(im->d.pixies);
      std::memcpy(clean, from, n * st.pixel);
      (st.pixie == 1   ? npfbix1_mask
       : st.pixie == 2 ? npfbix2_mask
                       : npfbix4_mask)(clean, st.pixie, pixies, (1u << im->d.i_bitsused) - 1);
      convert(im, st.steps.write, clean, st.pixel, to, st.source_pixel, n);
      from += n * st.pixel;
      to += n * st.source_pixel;
      left -= n;
    }
  }
  static void convert(const image *im, const colour_step &step, const uint8_t *from, uint32_t from_pixel,
                      uint8_t *to, uint32_t to_pixel, uint32_t n) {
    const bool integer = is_integer(im->d.pixietype);
    const uint32_t bits = integer ? uint32_t(im->d.i_bitsused) : 0;
    const uint32_t maxvalue = !integer ? 0 : bits - 1 < 32 ? 0xFFFFFFFF >> (32 - bits) : 0xFFFFFFFF;
    const void *param = step.coefficients;
    if (state_of<const state>(im).steps.take_bits && integer) param = &bits;
    step.kernel(from, to, from_pixel, to_pixel, n, maxvalue, param);
  }
};

}  // namespace

extern "C" {

int32_t qvimage_colorconverter(qvimage *view, qvimage *source, int32_t hint, uint8_t mode) {
  return colorconverter<two_d>::make(view, source, mode, hint);
}
int32_t qvimage3_colorconverter(qvimage3 *view, qvimage3 *source, int32_t hint, uint8_t mode) {
  return colorconverter<three_d>::make(view, source, mode, hint);
}

}  // extern "C"
