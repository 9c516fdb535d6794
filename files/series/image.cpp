// A series of files as one 3-D image, and its colour maps as another.
#include <algorithm>
#include <cstring>

#include <qvimage/data.h>
#include <qvimage/error.h>

#include "core/kind.hpp"
#include "core/pixel.hpp"
#include "core/reason.hpp"
#include "files/series/series.hpp"
#include "files/stream/handle.hpp"

namespace qvim::series {

namespace {

struct [[gnu::packed]] state {
  numbered_files *frames;
  bool shows_lut;
  // Written by ioset.
  qvim3acclen_fn *length;
  scan axis;
  uint32_t mode, datatype, colourmask;  // of the set-up in a frame
  qvimbxtstate blocks;                  // written by bxts
};

qvimage *shown_by(const state &s) { return s.shows_lut ? s.frames->held().lut : s.frames->held().image; }

// Moves a run plane by plane: `move(frame, buffer, count, x, y)` works on the one in memory.
template <class Move>
uint32_t run(qvimage3 *im, void *buffer, uint32_t count, point<three_d> at, bool writing, const Move &move) {
  const transfer_call call;
  const state s = state_of<state>(im);
  if (!buffer) return 0;
  const auto n = uint32_t(std::min(call_length_fn(s.length, &im->wind, at), uint64_t(count)));
  const auto window = box<three_d>::of(&im->wind);
  auto *bytes = static_cast<uint8_t *>(buffer);
  const critical hold(*s.frames);
  uint32_t done = 0;
  while (done < n) {
    const int64_t plane = int64_t(at[2]) + window.nw[2];
    // A save that failed is told by 'e'; the frame asked for may be there all the same.
    static_cast<void>(s.frames->load(plane));
    if (!s.frames->is_current(plane)) break;
    qvimage frame = copy_of(shown_by(s));
    if (frame.ioset(&frame, s.mode, s.datatype, s.colourmask) <= 0) break;
    const int axis = int(s.axis);
    const uint32_t line = axis == 2 ? 1 : std::min(n - done, window.extent(axis) - uint32_t(at[axis]));
    const uint32_t moved = move(&frame, bytes, line, at[0] + window.nw[0], at[1] + window.nw[1]);
    if (moved == 0) break;
    if (writing) s.frames->changed();
    bytes += uint64_t(moved) * buffer_pixel(im);
    done += moved;
    if (done < n) functions<three_d>::advance(&im->wind, at, s.axis, moved);
  }
  return done;
}

uint32_t read(qvimage3 *im, uint32_t mode, void *buffer, uint32_t count, const point<three_d> &at) {
  return run(im, buffer, count, at, false,
             [&](qvimage *frame, uint8_t *to, uint32_t n, int32_t x, int32_t y) {
               return frame->ioread(frame, mode, to, n, x, y);
             });
}

uint32_t write(qvimage3 *im, uint32_t mode, const void *buffer, uint32_t count, const point<three_d> &at) {
  return run(im, const_cast<void *>(buffer), count, at, true,
             [&](qvimage *frame, const uint8_t *from, uint32_t n, int32_t x, int32_t y) {
               return frame->iorite(frame, mode, from, n, x, y);
             });
}

uint32_t iolen(qvimage3 *im, uint32_t count, const point<three_d> &at) {
  return uint32_t(std::min(call_length_fn(state_of<state>(im).length, &im->wind, at), uint64_t(count)));
}

int32_t ioset(qvimage3 *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
  clear_runs<three_d>(im);
  auto &s = state_of<state>(im);
  scan axis;
  if (!scan_of_mode<three_d>(mode, &axis)) return QVERR_UNSUPPORTED;
  // Along z a frame gives one pixel at a time.
  const uint32_t in_frame = axis == scan::y ? uint32_t(QVIM_YSCAN) : 0;
  const critical hold(*s.frames);
  qvimage frame = copy_of(shown_by(s));
  const int32_t code = frame.ioset(&frame, in_frame, datatype, colourmask);
  if (code <= 0) return code;
  s.length = access_length(im, mode);
  s.axis = axis;
  s.mode = in_frame;
  s.datatype = datatype;
  s.colourmask = colourmask;
  int32_t first;
  set_buffer_pixel(im, uint32_t(qvimcolormap(im->d.pixies, colourmask, &first) * qvimdatasize(datatype)));
  im->ioread = slots<three_d>::read<read>;
  im->iorite = slots<three_d>::write<write>;
  im->iolen = slots<three_d>::length<iolen>;
  return code;
}

struct kind : kind_blocks<three_d, state> {
  static constexpr auto ioset = series::ioset;
  static constexpr auto imapset =
      nops<three_d>::imapset;  // a plane stays only until the next one is asked for
};

uint32_t aeiou(qvimage3 *im, uint32_t code, int32_t argument, int32_t, void *buffer) {
  const state s = state_of<state>(im);
  numbered_files &frames = *s.frames;
  const critical hold(frames);
  switch (code) {
    case 'e': {
      const int32_t kept = frames.last_error(argument != 0);
      qvimage *const shown = shown_by(s);
      const uint32_t frames_own = shown->aeiou(shown, code, argument, 0, nullptr);
      return kept < 0 ? uint32_t(kept) : frames_own;
    }
    case 'f': return uint32_t(public_call().result(frames.save()));
    case 'p': return uint32_t(public_call().result(frames.load(argument)));
    case 'r':
      return uint32_t(public_call().result(frames.replace(argument, static_cast<const char *>(buffer))));
    default: {
      qvimage *const shown = shown_by(s);
      return kind_answer<three_d>(im, code, shown->aeiou(shown, code, 0, 0, nullptr) + 1);
    }
  }
}

void present(qvimage3 *im, numbered_files *frames, const char *device, bool shows_lut) {
  std::memset(static_cast<void *>(im), 0, sizeof *im);
  set_device_name(im, device);
  auto &s = state_of<state>(im);
  s.frames = frames;
  s.shows_lut = shows_lut;
  const qvimage *const shown = shown_by(s);
  im->imdim.se = {shown->imdim.se.x, shown->imdim.se.y, int32_t(frames->frames())};
  im->d = shown->d;
  im->f = shown->f;
  im->h = shown->h;
  im->aeiou = aeiou;
  im->xwind = kind_xwind<three_d, kind>;
  im->xwind(im, nullptr, 's');
}

int32_t open(const member &m, seqhandle **h, qvimage3 *image, const numbered_files::request &r) {
  if (!image || !h || !r.held.image || !r.pattern || r.first > r.last || r.bufsize < 0 ||
      int64_t(r.last) - r.first >= INT32_MAX)
    return because(QVERR_USAGE, {"a handle's place, images, a pattern, and first up to last are needed"});
  numbered_files *frames = static_cast<numbered_files *>(*h);
  if (frames && frames->identity != m.identity) return QVERR_HANDLE;
  owned<numbered_files> made;
  if (!frames) {
    made = make_owned<numbered_files>();
    if (!made) return QVERR_MEMORY;
    frames = &*made;
  }
  if (const int32_t code = frames->set(m, r); code < 0) return code;
  present(image, frames, m.device, false);
  if (made) *h = made.release();
  return 0;
}

int32_t open_luts(const member &m, qvimage3 *luts, qvimage3 *seq, qvimage *lut) {
  if (!luts || !seq || !lut || !has_device_name(seq, m.device))
    return because(QVERR_USAGE, {"no series with colour maps"});
  numbered_files *const frames = state_of<state>(seq).frames;
  if (frames->identity != m.identity || frames->held().lut != lut)
    return because(QVERR_USAGE, {"the image is not the series' own for colour maps"});
  present(luts, frames, m.lut_device, true);
  return 0;
}

int32_t close(const member &m, seqhandle **h, qvimage3 *image) {
  if (image) qvimage3_defnull(image);
  if (!h || !*h) return QVERR_USAGE;
  if ((*h)->identity != m.identity) return QVERR_HANDLE;
  owned<numbered_files> released(static_cast<numbered_files *>(*h));
  *h = nullptr;
  return 0;
}

}  // namespace

}  // namespace qvim::series

using namespace qvim;

extern "C" {

#define QVIM_SERIES(name)                                                                                \
  int32_t qvimage3_buf##name##seq(seqhandle **h, qvimage3 *image, qvimage *framebuffer, qvimage *lut,    \
                                  const char *pattern, int64_t bufsize, int32_t first, int32_t last,     \
                                  uint8_t writeback, uint8_t locking) {                                  \
    const public_call door;                                                                              \
    qvimage *const map = series::name.lut_device ? lut : nullptr;                                        \
    const int32_t code =                                                                                 \
        series::open(series::name, h, image,                                                             \
                     {{framebuffer, map}, pattern, bufsize, first, last, writeback != 0, locking != 0}); \
    return door.result(code < 0 && image ? fail(image, code) : code);                                    \
  }                                                                                                      \
  int32_t qvimage3_buf##name##seqdone(seqhandle **h, qvimage3 *image) {                                  \
    return public_call().result(series::close(series::name, h, image));                                  \
  }
QVIM_SERIES(tiff)
QVIM_SERIES(bmp)
QVIM_SERIES(jpeg)
QVIM_SERIES(fits)
QVIM_SERIES(pgm)
QVIM_SERIES(bin)
#undef QVIM_SERIES

#define QVIM_SERIES_LUT(name)                                                         \
  int32_t qvimage3_buf##name##lutseq(qvimage3 *lutseq, qvimage3 *seq, qvimage *lut) { \
    const public_call door;                                                           \
    const int32_t code = series::open_luts(series::name, lutseq, seq, lut);           \
    return door.result(code < 0 && lutseq ? fail(lutseq, code) : code);               \
  }
QVIM_SERIES_LUT(tiff)
QVIM_SERIES_LUT(bmp)
#undef QVIM_SERIES_LUT

}  // extern "C"
