// The mean of the frames of a 3-D image.
#include <bit>

#include <qvimage/npfpix.h>
#include <qvimage/views.h>

#include "core/memory.hpp"
#include "core/pixel.hpp"
#include "core/selectors.hpp"
#include "views/view.hpp"

namespace {

using namespace qvim;

struct stack : view<two_d, stack, three_d> {
  static constexpr char device[] = "QVIMSTAK";
  static constexpr view_traits traits{2, 1, chain_flag::averages, false};

  struct [[gnu::packed]] state : view_state<two_d> {
    uint32_t frames;
    npfpixass_fn *finish;
    uint32_t operand;  // of finish
    // How numbers become what the caller asks for.
    npfbixn_fn *adapt;
    uint32_t adapt_param;
    uint8_t reversed, colours;
  };

  // Sums of so many frames of the largest pixies fit 32 bits.
  static constexpr uint32_t most_frames(int32_t pixiesize) { return pixiesize == 1 ? 1u << 24 : 65537; }

  static int32_t build(qvimage *im, const qvimage3 *source) {
    if (const int32_t code = check_narrow(im->d); code < 0) return code;
    const auto seen = box<three_d>::of(&source->wind);
    state &st = state_in(im);
    st.frames = seen.extent(2);
    if (st.frames > most_frames(im->f.pixiesize))
      return because(QVERR_SPACE, {"sums of ", st.frames, " frames do not fit 32 bits"});
    choose_finish(st, im->f.pixiesize);
    serve_numbers(im);
    im->d.i_dirtyrite = 0;
    // The size is that of the whole frames, whatever of them the source's window has.
    const auto whole = box<three_d>::of(&source->imdim);
    set_size(im, {whole.se[0], whole.se[1]});
    return 0;
  }

  static void choose_finish(state &st, int32_t pixiesize) {
    if (st.frames == 0 || std::has_single_bit(st.frames)) {
      st.finish = pixiesize == 1 ? npfpix41_assshri : npfpix42_assshri;
      st.operand = st.frames ? uint32_t(std::countr_zero(st.frames)) : 0;
    } else {
      st.finish = pixiesize == 1 ? npfpix41_assdivi : npfpix42_assdivi;
      st.operand = st.frames;
    }
  }

  static three_d::point in_source(qvimage *im, const position &at) {
    const position p = view::in_source(im, at);
    return {p[0], p[1], 0};
  }

  // The source gives numbers; what the caller's word says beyond the type is done to their mean.
  static int32_t set_runs(qvimage *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    state &st = state_in(im);
    if (type_word(datatype).type() != uint32_t(im->d.pixietype)) return QVERR_DATATYPE;
    const uint32_t asked = type_word(datatype).as_numbers().bits;
    if (!set_scan(im, mode, datatype, colourmask))
      return refuse_scan(im, mode, asked, colourmask, QVERR_UNSUPPORTED);
    const int32_t code = set_source(im, mode, asked, colourmask);
    if (code < 0) return code;
    const adaptation change = adapt_pixies(im->d, false, datatype);
    st.adapt = adapting_kernel_in_place(im->f.pixiesize, change.change);
    st.adapt_param = change.param;
    st.reversed = datatype & QVIM_SWAPPED && im->f.pixiesize > 1;
    st.colours = uint8_t(std::popcount(colourmask));
    install_reads<read>(im);
    return code;
  }

  // What all frames have.
  static uint32_t served(qvimage *im, uint32_t n, const position &at) {
    three_d::point place = in_source(im, at);
    for (uint32_t z = 0; z < std::max(uint32_t(state_in(im).frames), 1u) && n; z++) {
      place[2] = int32_t(z);
      n = call_length(source_of(im), n, place);
    }
    return n;
  }

  static uint32_t read(qvimage *im, uint32_t mode, void *buffer, uint32_t count, const position &at) {
    constexpr uint32_t most_sums = staging_bytes / sizeof(uint32_t);
    alignas(64) uint32_t sums[most_sums];
    const state &st = state_in(im);
    const uint32_t bytes = buffer_pixel(im);
    return in_pieces(im, count, at, most_sums / st.colours,
                     [&](const position &from, uint32_t done, uint32_t n) {
                       std::memset(sums, 0, sizeof sums);
                       for (uint32_t z = 0; z < std::max(uint32_t(st.frames), 1u) && n; z++)
                         n = add_frame(im, mode, sums, from, int32_t(z), n);
                       uint8_t *out = static_cast<uint8_t *>(buffer) + uint64_t(done) * bytes;
                       const uint32_t pixies = n * st.colours, operand = st.operand;
                       st.finish(sums, 0, out, pixies, &operand);
                       st.adapt(out, im->f.pixiesize, pixies, st.adapt_param);
                       if (st.reversed) swap_in_place(out, im->f.pixiesize, pixies);
                       return n;
                     });
  }

  // Adds the pixels of a run in a frame to their sums; returns how many the source had.
  static uint32_t add_frame(qvimage *im, uint32_t mode, uint32_t *sums, const position &at, int32_t z,
                            uint32_t n) {
    alignas(64) uint8_t staging[staging_bytes];
    qvimage3 *source = source_of(im);
    const state &st = state_in(im);
    three_d::point place = in_source(im, at);
    place[2] = z;
    uint32_t done = 0;
    while (done < n) {
      uint32_t part = n - done;
      const uint8_t *in = memory::plain_run<three_d>(source, false, place, &part);
      if (!in) in = staging, part = read_staged(im, mode, staging, part, place, buffer_pixel(im));
      if (part == 0) break;
      (buffer_pixel(im) == st.colours ? npfpix14_pairadd : npfpix24_pairadd)(in, sums + done * st.colours,
                                                                             part * st.colours);
      done += part;
      place[int(st.run_scan)] += int32_t(part);
    }
    return done;
  }
};

}  // namespace

extern "C" int32_t qvimage_stack(qvimage *image, qvimage3 *source) { return stack::make(image, source, 0); }
