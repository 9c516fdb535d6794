// An image of every n-th pixel of every m-th line.
#include <qvimage/npfbix.h>
#include <qvimage/views.h>

#include "core/memory.hpp"
#include "views/view.hpp"

namespace {

using namespace qvim;

struct decimate : view<two_d, decimate> {
  static constexpr char device[] = "QVIMDECI";
  static constexpr view_traits traits{2, 1, chain_flag::selects, true};

  struct [[gnu::packed]] state : view_state<two_d> {
    uint32_t period[2], phase[2];
  };

  static int32_t build(qvimage *im, const qvimage *source, std::array<uint32_t, 2> period,
                       std::array<uint32_t, 2> phase) {
    const auto whole = box<two_d>::of(&source->wind);
    if (im->d.pixies > 1)
      return because(QVERR_USAGE, {"the source has ", im->d.pixies, " components, not one"});
    position size;
    for (int axis = 0; axis < 2; axis++) {
      if (phase[axis] >= period[axis])
        return because(QVERR_USAGE, {"phase ", phase[axis], " of a period of ", period[axis]});
      size[axis] = int32_t(whole.extent(axis) / period[axis]);
      if (size[axis] == 0)
        return because(QVERR_USAGE, {"the source is smaller than a period of ", period[axis]});
      state_in(im).period[axis] = period[axis];
      state_in(im).phase[axis] = phase[axis];
    }
    if (const int32_t code = check_narrow(im->d); code < 0) return code;
    set_size(im, size);
    return 0;
  }

  static position in_source(qvimage *im, const position &at) {
    const state &st = state_in(im);
    position p = view::in_source(im, at);
    for (int axis = 0; axis < 2; axis++)
      p[axis] = int32_t(uint32_t(p[axis]) * st.period[axis] + st.phase[axis]);
    return p;
  }

  static bool lines_agree(qvimage *, scan) { return false; }

  // Runs along a line whose pixels are all shown go to the source as they are.
  static int32_t set_runs(qvimage *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
    if (!set_scan(im, mode, datatype, colourmask))
      return refuse_scan(im, mode, datatype, colourmask, QVERR_USAGE);
    const int32_t code = set_source(im, mode, datatype, colourmask);
    if (code < 0) return code;
    install_runs_through(im);
    if (period(im) > 1) install_runs<read, write>(im);
    return code;
  }
  static uint32_t period(qvimage *im) { return state_in(im).period[int(state_in(im).run_scan)]; }

  // Pixels of the source from the first of a run of n to the last, and how many of n a run of the source has.
  static uint32_t spanned(uint32_t n, uint32_t period) {
    return uint32_t(std::min<uint64_t>(uint64_t(n - 1) * period + 1, UINT32_MAX));
  }
  static uint32_t shown(uint32_t span, uint32_t period) { return span ? (span - 1) / period + 1 : 0; }

  // A source that converts has pixels of any size.
  static void copy(const void *from, void *to, int64_t from_stride, int64_t to_stride, uint32_t n,
                   uint32_t bytes) {
    qvimdatapackf16(bytes)(from, to, from_stride, to_stride, n, bytes, 0);
  }

  static uint32_t served(qvimage *im, uint32_t n, const position &at) {
    const uint32_t step = period(im);
    return shown(call_length(source_of(im), spanned(n, step), in_source(im, at)), step);
  }

  static uint32_t read(qvimage *im, uint32_t mode, void *buffer, uint32_t count, const position &at) {
    alignas(64) uint8_t staging[staging_bytes];
    qvimage *source = source_of(im);
    const uint32_t bytes = buffer_pixel(im), step = period(im), room = shown(staging_bytes / bytes, step);
    return in_pieces(im, count, at, UINT32_MAX, [&](const position &from, uint32_t done, uint32_t n) {
      const auto place = in_source(im, from);
      uint32_t span = spanned(n, step);
      uint8_t *in = memory::plain_run<two_d>(source, false, place, &span);
      if (!in) {
        in = staging;
        span = call_read(source, read_mode(mode), staging, spanned(std::min(n, room), step), place);
      }
      n = shown(span, step);
      copy(in, static_cast<uint8_t *>(buffer) + uint64_t(done) * bytes, int64_t(step) * bytes, bytes, n,
           bytes);
      return n;
    });
  }

  // The pixels between are not touched: outside of memory each is written by itself. (To read them and write
  // them back could lose what the source does not show.)
  static uint32_t write(qvimage *im, uint32_t mode, const void *buffer, uint32_t count, const position &at) {
    qvimage *source = source_of(im);
    const uint32_t bytes = buffer_pixel(im), step = period(im);
    return in_pieces(im, count, at, UINT32_MAX, [&](const position &to, uint32_t done, uint32_t n) {
      const uint8_t *in = static_cast<const uint8_t *>(buffer) + uint64_t(done) * bytes;
      const auto place = in_source(im, to);
      uint32_t span = spanned(n, step);
      uint8_t *out = memory::plain_run<two_d>(source, true, place, &span);
      if (!out) return call_write(source, write_mode(mode), in, 1, place);
      n = shown(span, step);
      copy(in, out, bytes, int64_t(step) * bytes, n, bytes);
      return n;
    });
  }
};

}  // namespace

extern "C" int32_t qvimage_decimate(qvimage *image, qvimage *source, uint32_t, uint32_t xperiod,
                                    uint32_t yperiod, uint32_t xphase, uint32_t yphase) {
  return decimate::make(image, source, 0, std::array{xperiod, yperiod}, std::array{xphase, yphase});
}
