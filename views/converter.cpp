// The converter: an image presented in another data type or another number of bits.
#include <optional>

#include <qvimage/views.h>

#include "core/memory.hpp"
#include "core/pixel.hpp"
#include "views/pixel_conversion.hpp"
#include "views/view.hpp"

namespace {

using namespace qvim;

template <class Dim>
struct converter : view<Dim, converter<Dim>> {
  using base = view<Dim, converter<Dim>>;
  using base::in_pieces, base::in_source, base::source_of, base::state_in;
  using typename base::image;
  using typename base::position;
  using typename base::source_image;

  static constexpr char device[] = "QVIMCONV";
  static constexpr view_traits traits{1, 1, chain_flag::converts, false};

  struct [[gnu::packed]] state : view_state<Dim> {
    presentation how;
    pixel_conversion runs, blocks;  // what ioset and bxts choose, each for itself
  };

  // The description may be the one in the record that is being filled: it is copied.
  static int32_t make(image *im, source_image *reference, const qvimagedata *data, uint8_t sharewindow,
                      uint8_t maskundefined, uint8_t bits, uint8_t mode) {
    const std::optional<qvimagedata> given = data ? std::optional{*data} : std::nullopt;
    return base::make(im, reference, sharewindow, given, maskundefined, bits, mode);
  }
  static int32_t build(image *im, const source_image *source, const std::optional<qvimagedata> &data,
                       uint8_t maskundefined, uint8_t bits, uint8_t mode) {
    if (data) im->d = *data;
    qviminitfacts(&im->f, &im->d);
    state &st = state_in(im);
    st.how = {0, bits, mode};
    if (is_integer(source->d.pixietype)) {
      st.how.mask_undefined = maskundefined ? QVIM_DIRTY : 0;
      if (bits == 0) st.how.bits = uint8_t(source->d.i_bitsused);
    }
    return 0;
  }

  static bool is_identity(image *im, uint32_t datatype) {
    return presents_itself(source_of(im)->d, state_in(im).how, datatype);
  }

  static bool choose(pixel_conversion &s, image *im, uint32_t datatype, uint32_t colourmask) {
    return s.choose(source_of(im)->d, state_in(im).how, datatype, colourmask);
  }

  // --- runs --------------------------------------------------------------------------------------

  static int32_t set_runs(image *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    source_image *source = source_of(im);
    if (!(colourmask & all_pixies(source->d.pixies))) return QVERR_COLOUR;
    if (!base::set_scan(im, mode, datatype, colourmask)) return QVERR_USAGE;
    if (is_identity(im, datatype)) {
      const int32_t code = base::set_source(im, mode, datatype, colourmask);
      if (code >= 0) return base::install_runs_through(im), 1;
      if (code != QVERR_DATATYPE || datatype == stored_word(source->d))
        return code;  // only another type may help
    }
    if (!choose(state_in(im).runs, im, datatype, colourmask)) return QVERR_DATATYPE;
    if (state_in(im).run_scan == scan::z) return QVERR_USAGE;
    const int32_t code = base::set_source(im, mode | QVIM_STEP, stored_word(source->d), colourmask);
    if (code < 0) return code;
    base::template install_runs<read, write>(im);
    return 1;
  }

  static uint32_t read(image *im, uint32_t mode, void *buffer, uint32_t count, const position &at) {
    alignas(64) uint8_t staging[staging_bytes];
    source_image *source = source_of(im);
    const pixel_conversion &s = state_in(im).runs;
    const uint32_t pixel = uint32_t(s.colours) * s.change.caller_size;
    return in_pieces(im, count, at, UINT32_MAX, [&](const position &from, uint32_t done, uint32_t n) {
      uint8_t *out = static_cast<uint8_t *>(buffer) + uint64_t(done) * pixel;
      const auto place = in_source(im, from);
      uint8_t *in = s.change.masks_image() ? nullptr : memory::plain_run<Dim>(source, false, place, &n);
      if (in) return s.change.bring(in, out, uint64_t(n) * s.colours), n;
      n = std::min(n, uint32_t(s.chunk));
      if (source->d.pixies == 1) {  // it has no pads
        in = s.change.image_size == s.change.caller_size ? out : staging;
        n = std::min(n, call_read(source, base::read_mode(mode), in, n, place));
        return s.change.bring(in, out, n), n;
      }
      std::memset(staging, unread, n * s.colours * s.change.image_size);
      n = std::min(n, call_read(source, base::read_mode(mode), staging, n, place));
      const uint32_t pads = n ? pads_of(im, mode, staging, place) : 0;
      if (pads == 0)
        s.change.bring(staging, out, uint64_t(n) * s.colours);
      else
        bring_others(s.change, staging, out, uint64_t(n) * s.colours,
                     [&](uint64_t i) { return pads >> i % s.colours & 1; });
      return n;
    });
  }

  // The selected components that the source leaves alone in staged pixels, its pads: the same ones in all of
  // them. Where the first pixel does not look like it there are none.
  static uint32_t pads_of(image *im, uint32_t mode, const uint8_t *staging, const point<Dim> &place) {
    const pixel_conversion &s = state_in(im).runs;
    const uint32_t size = s.change.image_size, colours = s.colours;
    if (!std::memchr(staging, unread, colours * size)) return 0;
    return all_pixies(int32_t(colours)) &
           ~delivered_by(
               [&](void *pixel) { call_read(source_of(im), base::read_mode(mode), pixel, 1, place); },
               colours, size);
  }

  static uint32_t write(image *im, uint32_t mode, const void *buffer, uint32_t count, const position &at) {
    alignas(64) uint8_t staging[staging_bytes];
    source_image *source = source_of(im);
    const pixel_conversion &s = state_in(im).runs;
    const uint32_t pixel = uint32_t(s.colours) * s.change.caller_size;
    return in_pieces(im, count, at, UINT32_MAX, [&](const position &to, uint32_t done, uint32_t n) {
      const uint8_t *in = static_cast<const uint8_t *>(buffer) + uint64_t(done) * pixel;
      const auto place = in_source(im, to);
      if (s.change.adjusts()) n = std::min(n, uint32_t(s.chunk));
      if (uint8_t *out = memory::plain_run<Dim>(source, true, place, &n)) {
        s.change.take(in, out, uint64_t(n) * s.colours);
        return n;
      }
      n = std::min(n, uint32_t(s.chunk));
      s.change.take(in, staging, uint64_t(n) * s.colours);
      return call_write(source, base::write_mode(mode), staging, n, place);
    });
  }

  // --- block transfers ---------------------------------------------------------------------------

  static int32_t bxts(image *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    clear_blocks<Dim>(im);
    if (base::is_own_source(im)) return QVERR_LOGIC;
    const uint32_t stored = stored_word(source_of(im)->d);
    if (is_identity(im, datatype)) {
      const int32_t code = base::bxts_through(im, mode, datatype, colourmask);
      if (code != QVERR_DATATYPE || datatype == stored) return code;  // only another type may help
    }
    if (!choose(state_in(im).blocks, im, datatype, colourmask)) return QVERR_DATATYPE;
    if (!(colourmask & all_pixies(source_of(im)->d.pixies))) return QVERR_COLOUR;
    const int32_t code =
        base::descend(im, [&](auto *source) { return source->bxts(source, 0, stored, colourmask); });
    return code < 0 ? code : base::install_blocks(im, convert_blocks);
  }

  static uint32_t convert_blocks(image *im, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count,
                                 uint32_t op) {
    base::bxtp_through(im, mode, buffer, list, count, op);
    return transfer_converted<converter>(im, state_in(im).blocks, mode, static_cast<uint8_t *>(buffer), list,
                                         count, op);
  }

  // --- mapping -----------------------------------------------------------------------------------

  static int32_t imapset(image *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    clear_mapping<Dim>(im);
    const source_image *source = source_of(im);
    const bool integer = is_integer(source->d.pixietype);
    if (!is_identity(im, datatype) || (integer && (datatype & QVIM_SWAPPED) != source->d.i_endian))
      return QVERR_DATATYPE;
    return base::imapset_through(im, mode, datatype, colourmask);
  }
};

}  // namespace

extern "C" {

int32_t qvimage_converter(qvimage *image, qvimage *source, const qvimagedata *data, uint8_t sharewindow,
                          uint8_t maskundefined, uint8_t bits, uint8_t mode) {
  return converter<two_d>::make(image, source, data, sharewindow, maskundefined, bits, mode);
}
int32_t qvimage3_converter(qvimage3 *image, qvimage3 *source, const qvimagedata *data, uint8_t sharewindow,
                           uint8_t maskundefined, uint8_t bits, uint8_t mode) {
  return converter<three_d>::make(image, source, data, sharewindow, maskundefined, bits, mode);
}

}  // extern "C"
