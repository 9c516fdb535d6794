// The converter: an image presented in another data type or another number of bits.
#include <bit>
#include <optional>

#include <qvimage/npfbix.h>
#include <qvimage/views.h>

#include "convert/view.hpp"
#include "core/memory.hpp"

namespace {

using namespace qvim;

constexpr uint8_t normalised = 1;  // mode: 0.0 to 1.0 stand for the integers' range

constexpr bool is_integer(uint32_t type) { return type & 0x0F; }
constexpr bool has_kernels(uint32_t type) {
  return type == QVIM_UINT8 || type == QVIM_UINT16 || type == QVIM_UINT32 || type == QVIM_FLOAT32 ||
         type == QVIM_FLOAT64;
}

// A kernel with its parameters.
struct [[gnu::packed]] conversion {
  npfbix_fn *kernel;
  uint32_t shift, mask;
  uint8_t from, to;  // bytes of a pixie

  void operator()(const void *source, void *destination, uint64_t pixies) const {
    kernel(source, destination, from, to, pixies, shift, mask);
  }
  bool operator==(const conversion &) const = default;
};

// Pixies on one side of a conversion: a type word and the number of significant bits.
struct side {
  uint32_t word, bits;

  uint32_t type() const { return word & 0xFF; }
  bool integer() const { return is_integer(word); }
  uint32_t size() const { return uint32_t(qvimdatasize(word)); }
  bool partial() const { return integer() && bits < 8 * size(); }
  uint32_t significant() const {  // of partial pixies
    const uint64_t low = (uint64_t{1} << bits) - 1;
    return uint32_t(word & QVIM_LSB ? low : low << (8 * size() - bits));
  }
};

conversion select(const side &from, const side &to, uint32_t direction, uint8_t mode) {
  npfbix_fn *kernel = nullptr;
  uint32_t shift, mask;
  qvimselectpfbixfunc(from.size(), to.size(), from.word, to.word, direction, from.bits, to.bits, mode,
                      &kernel, &shift, &mask);
  return {kernel, shift, mask, uint8_t(from.size()), uint8_t(to.size())};
}

void mask_in_place(uint8_t *values, uint32_t size, uint64_t pixies, uint32_t mask) {
  (size == 1 ? npfbix1_mask : size == 2 ? npfbix2_mask : npfbix4_mask)(values, size, pixies, mask);
}

// Reverses the byte order of pixies of 2 or 4 bytes; source and destination may be the same.
void reverse_bytes(const void *source, void *destination, uint32_t size, uint64_t pixies) {
  (size == 2 ? npfbix_2to2_sbi : npfbix_4to4_sbi)(source, destination, size, size, pixies, 0, 0);
}

template <class Dim>
struct converter : view<Dim, converter<Dim>> {
  using base = view<Dim, converter<Dim>>;
  using base::in_pieces, base::in_source, base::source_of, base::state_in;
  using typename base::image;
  using typename base::position;
  using typename base::source_image;

  static constexpr char device[] = "QVIMCONV";
  static constexpr view_traits traits{1, 1, 0x40000, false};

  struct [[gnu::packed]] state : view_state<Dim> {
    uint16_t mask_undefined;  // QVIM_DIRTY: the source's unused bits hold anything, whatever it says
    uint8_t bits;             // presented to callers; 0: the source's pixies are reals, and none were named
    uint8_t mode;
    conversion read, write;  // source to caller, caller to source
    uint32_t read_bits;      // masks beside the kernels', or 0: of the source's values before they are read
    uint32_t given_bits;     // of the caller's values before they are written,
    uint32_t stored_bits;    // and of what they become
    uint8_t reversed;        // the caller's pixies are in the reverse of the host's byte order
    uint8_t colours;         // pixies selected
    uint32_t chunk;          // pixels that go through the staging buffer at a time
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
    st.bits = bits;
    st.mode = mode;
    if (is_integer(uint32_t(source->d.pixietype))) {
      st.mask_undefined = maskundefined ? QVIM_DIRTY : 0;
      if (bits == 0) st.bits = uint8_t(source->d.i_bitsused);
    }
    return 0;
  }

  // --- choosing ----------------------------------------------------------------------------------

  // The source's type word, with the form in which it stores values.
  static uint32_t stored_word(const source_image *source) {
    const uint32_t type = uint32_t(source->d.pixietype);
    return is_integer(type) ? type | uint32_t(source->d.i_bitsxsb) | source->d.i_dirtyread : type;
  }

  // Significant bits on each side. An image of reals has none: it takes part with those presented to the
  // caller, or else with all of the caller's.
  static uint32_t presented_bits(image *im, uint32_t datatype) {
    const uint8_t bits = state_in(im).bits;
    return bits ? bits : 8 * uint32_t(qvimdatasize(datatype));
  }
  static uint32_t source_bits(image *im, uint32_t datatype) {
    const source_image *source = source_of(im);
    return is_integer(uint32_t(source->d.pixietype)) ? uint32_t(source->d.i_bitsused)
                                                     : presented_bits(im, datatype);
  }

  // Does the source by itself deliver what this view presents? It does in its own type, when the view's bits
  // and its masking make no difference to the kernel. A source that is a view may serve other types too, but
  // as its own bits and mode have them.
  static bool is_identity(image *im, uint32_t datatype) {
    const state &st = state_in(im);
    const source_image *source = source_of(im);
    const side stored{stored_word(source), uint32_t(source->d.i_bitsused)}, caller{datatype, stored.bits};
    if (caller.type() != stored.type()) return false;
    if (!stored.integer()) return true;
    if (!st.mask_undefined && st.bits == stored.bits) return true;
    // Values at the high end with more bits than the source has would fill its unused ones.
    if (datatype & QVIM_MSB && st.bits > stored.bits && !source->d.i_dirtyrite) return false;
    const uint32_t clean = stored.word & ~uint32_t{QVIM_DIRTY}, masked = stored.word | st.mask_undefined;
    return select({masked, stored.bits}, {datatype, st.bits}, 0, st.mode) ==
           select({st.mask_undefined ? clean : stored.word, stored.bits}, caller, 0, st.mode);
  }

  // Chooses the kernels of both directions; false when there are none.
  static bool choose(image *im, uint32_t datatype, uint32_t colourmask) {
    state &st = state_in(im);
    const source_image *source = source_of(im);
    const side caller{datatype, presented_bits(im, datatype)},
        stored{stored_word(source), source_bits(im, datatype)};
    if (!has_kernels(caller.type()) || !has_kernels(stored.type())) return false;
    choose_reading(st, {stored.word | st.mask_undefined, stored.bits}, caller);
    choose_writing(st, caller, stored, stored.integer() && source->d.i_dirtyrite);
    st.reversed = caller.integer() && datatype & QVIM_SWAPPED && caller.size() > 1;
    st.colours = uint8_t(std::popcount(colourmask));
    st.chunk = staging_bytes / (std::max(caller.size(), stored.size()) * std::max<uint32_t>(st.colours, 1));
    return st.read.kernel && st.write.kernel;
  }

  static void choose_reading(state &st, const side &stored, const side &caller) {
    st.read = select(stored, caller, 0, st.mode);
    st.read_bits = lacks_mask(st.mode, stored, caller) ? stored.significant() : 0;
  }

  static void choose_writing(state &st, side caller, side stored, bool tolerant) {
    const bool justified = caller.word & (QVIM_MSB | QVIM_LSB);
    const bool vague = caller.integer() && caller.word & QVIM_DIRTY && !justified;
    // Where the caller does not say which bits are significant, the stored form tells; reals count from
    // below.
    if (vague && stored.integer()) {
      caller.word &= ~uint32_t{QVIM_DIRTY};
    } else if (vague) {
      caller.word |= QVIM_LSB;
      caller.bits = stored.bits = std::min(caller.bits, 8 * caller.size());
    }
    if (stored.integer()) stored.word = (stored.word & ~uint32_t{QVIM_DIRTY}) | (tolerant ? QVIM_DIRTY : 0);
    st.write = select(caller, stored, 1, st.mode);
    st.given_bits = lacks_mask(st.mode, caller, stored) ? caller.significant() : 0;
    // Unused bits of the source stay clean unless it does without.
    const bool spills = !caller.integer() || vague || caller.bits > stored.bits;
    st.stored_bits = stored.partial() && !tolerant && spills ? stored.significant() : 0;
  }

  // Kernels that normalise have one argument for mask and scale, the scale: they let all bits through.
  static bool lacks_mask(uint8_t mode, const side &from, const side &to) {
    return mode == normalised && !to.integer() && from.partial() && from.word & QVIM_DIRTY;
  }

  // --- runs --------------------------------------------------------------------------------------

  static int32_t set_runs(image *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    source_image *source = source_of(im);
    const int32_t pixies = source->d.pixies;
    if ((colourmask & uint32_t((uint64_t{1} << (pixies & 63)) - 1)) == 0) return -21;
    if (!base::set_scan(im, mode, datatype, colourmask)) return -1;
    if (is_identity(im, datatype)) {
      const int32_t code = base::set_source(im, mode, datatype, colourmask);
      if (code >= 0) return base::install_runs_through(im), 1;
      if (code != -19 || datatype == stored_word(source)) return code;  // only another type may help
    }
    if (!choose(im, datatype, colourmask)) return -19;
    if (state_in(im).run_scan == scan::z) return -1;
    const int32_t code = base::set_source(im, mode | QVIM_STEP, stored_word(source), colourmask);
    if (code < 0) return code;
    base::template install_runs<read, write>(im);
    return 1;
  }

  static uint32_t read(image *im, uint32_t mode, void *buffer, uint32_t count, const position &at) {
    alignas(64) uint8_t staging[staging_bytes];
    source_image *source = source_of(im);
    const state &st = state_in(im);
    const uint32_t pixel = uint32_t(st.colours) * st.read.to;
    return in_pieces(im, count, at, UINT32_MAX, [&](const position &from, uint32_t done, uint32_t n) {
      uint8_t *out = static_cast<uint8_t *>(buffer) + uint64_t(done) * pixel;
      const auto place = in_source(im, from);
      uint8_t *in = st.read_bits ? nullptr : memory::plain_run<Dim>(source, false, place, &n);
      if (!in) {
        in = st.read.from == st.read.to ? out : staging;  // the kernel may work in place
        n = std::min(n, uint32_t(st.chunk));
        n = std::min(n, call_read(source, base::read_mode(mode), in, n, place));
      }
      bring(st, in, out, uint64_t(n) * st.colours);
      return n;
    });
  }

  static uint32_t write(image *im, uint32_t mode, const void *buffer, uint32_t count, const position &at) {
    alignas(64) uint8_t staging[staging_bytes];
    source_image *source = source_of(im);
    const state &st = state_in(im);
    const uint32_t pixel = uint32_t(st.colours) * st.read.to;
    const bool adjusts = st.reversed || st.given_bits;  // in a buffer of that size
    return in_pieces(im, count, at, UINT32_MAX, [&](const position &to, uint32_t done, uint32_t n) {
      const uint8_t *in = static_cast<const uint8_t *>(buffer) + uint64_t(done) * pixel;
      const auto place = in_source(im, to);
      if (adjusts) n = std::min(n, uint32_t(st.chunk));
      if (uint8_t *out = memory::plain_run<Dim>(source, true, place, &n)) {
        take(st, in, out, uint64_t(n) * st.colours);
        return n;
      }
      n = std::min(n, uint32_t(st.chunk));
      take(st, in, staging, uint64_t(n) * st.colours);
      return call_write(source, base::write_mode(mode), staging, n, place);
    });
  }

  // The source's pixies become the caller's. They may lie in the same place.
  static void bring(const state &st, uint8_t *from, uint8_t *to, uint64_t pixies) {
    if (st.read_bits) mask_in_place(from, st.read.from, pixies, st.read_bits);
    st.read(from, to, pixies);
    if (st.reversed) reverse_bytes(to, to, st.read.to, pixies);
  }

  // The caller's pixies, left as they are, become the source's.
  static void take(const state &st, const uint8_t *from, uint8_t *to, uint64_t pixies) {
    alignas(64) uint8_t adjusted[staging_bytes];
    const uint32_t size = st.write.from;
    if (st.reversed || st.given_bits) {
      if (st.reversed)
        reverse_bytes(from, adjusted, size, pixies);
      else
        std::memcpy(adjusted, from, pixies * size);
      if (st.given_bits) mask_in_place(adjusted, size, pixies, st.given_bits);
      from = adjusted;
    }
    st.write(from, to, pixies);
    if (st.stored_bits) mask_in_place(to, st.write.to, pixies, st.stored_bits);
  }

  // --- block transfers ---------------------------------------------------------------------------

  static int32_t bxts(image *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    clear_blocks<Dim>(im);
    const chain_step step;
    if (step.too_deep() || base::is_own_source(im)) return -5;
    source_image *source = source_of(im);
    if (is_identity(im, datatype)) {
      const int32_t code = base::bxts_through(im, mode, datatype, colourmask);
      if (code != -19 || datatype == stored_word(source)) return code;  // only another type may help
    }
    if (!choose(im, datatype, colourmask)) return -19;
    const int32_t code = source->bxts(source, 0, stored_word(source), colourmask);
    return code < 0 ? code : base::install_blocks(im, convert_blocks);
  }

  static uint32_t convert_blocks(image *im, uint32_t mode, void *buffer, qvxyzcoord *list, uint32_t count,
                                 uint32_t op) {
    const state &st = state_in(im);
    base::bxtp_through(im, mode, buffer, list, count, op);
    uint8_t *values = static_cast<uint8_t *>(buffer);
    uint32_t done = 0;
    while (count > 0) {
      // Values of entries outside the window stay as they are.
      uint32_t n = 0;
      while (n < count && n < st.chunk && list[n].z != base::outside) n++;
      done += n ? convert_chunk(im, st, mode, values, list, n, op) : 1;
      n = std::max(n, 1u);
      list += n;
      count -= n;
      values += uint64_t(n) * st.colours * st.read.to;
    }
    return done;
  }

  static uint32_t convert_chunk(image *im, const state &st, uint32_t mode, uint8_t *values, qvxyzcoord *list,
                                uint32_t n, uint32_t op) {
    alignas(64) uint8_t staging[staging_bytes];
    source_image *source = source_of(im);
    const uint64_t pixies = uint64_t(n) * st.colours;
    if (op == QVIM_OP_READ)
      std::memset(staging, 0, pixies * st.read.from);  // should the source skip an entry
    else
      take(st, values, staging, pixies);
    const uint32_t done = source->bxta(source, mode & ~(uint32_t{QVIM_LIST} | 0x800u), staging, list, n, op);
    if (op == QVIM_OP_READ || op == QVIM_OP_EXCHANGE) bring(st, staging, values, pixies);
    return done;
  }

  // --- mapping -----------------------------------------------------------------------------------

  static int32_t imapset(image *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    clear_mapping<Dim>(im);
    const source_image *source = source_of(im);
    const bool integer = is_integer(uint32_t(source->d.pixietype));
    if (!is_identity(im, datatype) || (integer && (datatype & QVIM_SWAPPED) != source->d.i_endian))
      return -19;
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
