// Images over rasters without a header: any stream of bytes as pixels that can be read and written.
#include "files/raw/file_image.hpp"

#include <algorithm>
#include <cstring>

#include <qvimage/data.h>
#include <qvimage/error.h>

#include "core/kind.hpp"
#include "core/pixel.hpp"
#include "core/reason.hpp"
#include "core/run_form.hpp"
#include "files/stream/bufio.hpp"
#include "files/stream/critical.hpp"

namespace qvim::raw {

namespace {

constexpr uint32_t chain_word = 1;             // the only image of its chain
constexpr uint32_t most_pixel_bytes = 32 * 8;  // 32 pixies of 64 bits
constexpr int32_t maps_lines = 0x4005;         // what imapset answers: stored pixels, a line at a time

struct [[gnu::packed]] state {
  bufio *stream;
  uint64_t first;  // byte of the stream
  // Written by ioset.
  qvimacclen_fn *length;
  scan axis;
  run_form form;
  qvimbxtstate blocks;  // written by bxts
};

uint64_t position_of(qvimage *im, const point<two_d> &at) {
  const auto window = box<two_d>::of(&im->wind);
  const uint64_t x = uint64_t(int64_t(window.nw[0]) + at[0]), y = uint64_t(int64_t(window.nw[1]) + at[1]);
  return state_of<state>(im).first + (y * uint32_t(im->imdim.se.x) + x) * uint32_t(im->f.pixelsize);
}

// Pixels that follow each other in the stream, on their way to or from a caller's buffer.
class pixels {
 public:
  pixels(bufio &stream, const run_form &form, uint32_t pixel) : stream_(stream), form_(form), pixel_(pixel) {}

  void read(uint64_t position, uint32_t count, uint8_t *to) {
    stream_.pos = position;
    if (form_.read.steps == 0) return read_bytes(stream_, to, uint64_t(count) * pixel_);
    while (count > 0) {
      stream_.pos = position;
      uint8_t *block;
      uint32_t n = uint32_t(std::min(bufio_ptr2(&stream_, 0, 'r', &block) / pixel_, uint64_t(count)));
      if (n > 0) {
        take_pixels(form_, block, to, n);
      } else {  // across blocks, or where nothing is
        uint8_t one[most_pixel_bytes];
        stream_.pos = position;
        read_bytes(stream_, one, pixel_);
        take_pixels(form_, one, to, n = 1);
      }
      position += uint64_t(n) * pixel_;
      to += uint64_t(n) * form_.selected;
      count -= n;
    }
  }

  void write(uint64_t position, uint32_t count, const uint8_t *from) {
    stream_.pos = position;
    if (form_.write.steps == 0) return write_bytes(stream_, from, uint64_t(count) * pixel_);
    while (count > 0) {
      uint32_t n = write_in_block(position, count, from);
      if (n == 0) {
        write_across_blocks(position, from);
        n = 1;
      }
      position += uint64_t(n) * pixel_;
      from += uint64_t(n) * form_.selected;
      count -= n;
    }
  }

 private:
  // Pixels that lie whole in the block of the first of them; returns how many.
  uint32_t write_in_block(uint64_t position, uint32_t count, const uint8_t *from) {
    const uint64_t room = stream_.bufsize - (position & (stream_.bufsize - 1));
    const uint32_t n = uint32_t(std::min(room / pixel_, uint64_t(count)));
    if (n == 0) return 0;
    const uint64_t bytes = uint64_t(n) * pixel_, length = stream_.filelen;
    stream_.pos = position;
    uint8_t *block;
    if (bufio_ptr2(&stream_, bytes, 'w', &block) < bytes) return n;  // latched; dropped
    clear_new(block, position, bytes, length);
    put_pixels(form_, block, from, n);
    return n;
  }

  void write_across_blocks(uint64_t position, const uint8_t *from) {
    uint8_t one[most_pixel_bytes];
    const uint64_t old =
        position < stream_.filelen ? std::min<uint64_t>(stream_.filelen - position, pixel_) : 0;
    stream_.pos = position;
    read_bytes(stream_, one, old);
    clear_new(one, position, pixel_, position + old);
    put_pixels(form_, one, from, 1);
    stream_.pos = position;
    write_bytes(stream_, one, pixel_);
  }

  // Pixies that are not written, of pixels that were not there: zeros.
  void clear_new(uint8_t *bytes, uint64_t position, uint64_t count, uint64_t length) {
    const uint64_t old = length > position ? std::min(length - position, count) : 0;
    std::memset(bytes + old, 0, count - old);
  }

  bufio &stream_;
  const run_form form_;
  const uint32_t pixel_;
};

uint32_t iolen(qvimage *im, uint32_t count, const point<two_d> &at) {
  return uint32_t(std::min(call_length_fn(state_of<state>(im).length, &im->wind, at), uint64_t(count)));
}

// Cuts a run into pieces whose pixels follow each other in the stream: `move(position, count)`.
template <class Move>
uint32_t run(qvimage *im, uint32_t count, point<two_d> at, const Move &move) {
  const state s = state_of<state>(im);
  const uint32_t n = iolen(im, count, at);
  const auto window = box<two_d>::of(&im->wind);
  const bool joined = s.axis == scan::x && window.extent(0) == uint32_t(im->imdim.se.x);
  for (uint32_t left = n; left > 0;) {
    uint32_t piece = 1;  // of a column
    if (s.axis == scan::x) piece = joined ? left : std::min(left, window.extent(0) - uint32_t(at[0]));
    move(position_of(im, at), piece);
    left -= piece;
    if (left > 0) functions<two_d>::advance(&im->wind, at, s.axis, piece);
  }
  return n;
}

uint32_t read(qvimage *im, uint32_t, void *buffer, uint32_t count, const point<two_d> &at) {
  if (!buffer) return 0;
  const transfer_call call;
  const state s = state_of<state>(im);
  const critical hold(*s.stream);
  pixels stored(*s.stream, s.form, uint32_t(im->f.pixelsize));
  auto *to = static_cast<uint8_t *>(buffer);
  return run(im, count, at, [&](uint64_t position, uint32_t n) {
    stored.read(position, n, to);
    to += uint64_t(n) * s.form.selected;
  });
}

uint32_t write(qvimage *im, uint32_t, const void *buffer, uint32_t count, const point<two_d> &at) {
  if (!buffer) return 0;
  const transfer_call call;
  const state s = state_of<state>(im);
  const critical hold(*s.stream);
  pixels stored(*s.stream, s.form, uint32_t(im->f.pixelsize));
  const auto *from = static_cast<const uint8_t *>(buffer);
  return run(im, count, at, [&](uint64_t position, uint32_t n) {
    stored.write(position, n, from);
    from += uint64_t(n) * s.form.selected;
  });
}

int32_t ioset(qvimage *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
  clear_runs<two_d>(im);
  scan axis;
  const bool has_axis = scan_of_mode<two_d>(mode, &axis);
  // Pixels of a column are moved one by one: they may follow each other just as well.
  run_form form;
  if (const int32_t code = choose_form(im->d, im->f, uint32_t(im->f.pixelsize), datatype, colourmask, &form);
      code < 0)
    return code;
  if (!has_axis) return QVERR_UNSUPPORTED;
  auto &s = state_of<state>(im);
  s.length = access_length(im, mode);
  s.axis = axis;
  s.form = form;
  set_buffer_pixel(im, form.selected);
  im->ioread = slots<two_d>::read<read>;
  im->iorite = slots<two_d>::write<write>;
  im->iolen = slots<two_d>::length<iolen>;
  return 1;
}

// A store in memory keeps its bytes where they are: pixels that lie in one of its blocks can be given out.
int32_t imap(qvimage *im, qvimagemap *map, const point<two_d> &at) {
  *map = {};
  const auto window = box<two_d>::of(&im->wind);
  if (!window.holds(at)) return 0;
  bufio &stream = *state_of<state>(im).stream;
  const uint32_t pixel = uint32_t(im->f.pixelsize);
  const critical hold(stream);
  stream.pos = position_of(im, at);
  uint8_t *block;
  const uint64_t n =
      std::min<uint64_t>(bufio_ptr2(&stream, 0, 'r', &block) / pixel, window.extent(0) - uint32_t(at[0]));
  if (n == 0) return 0;
  *map = {1, reinterpret_cast<uint64_t>(block), pixel, n};
  return 1;
}

int32_t imapset(qvimage *im, uint32_t mode, uint32_t datatype, uint32_t colourmask) {
  clear_mapping<two_d>(im);
  if (!supported_without_conversion(im, datatype)) return QVERR_DATATYPE;
  if (colourmask != all_pixies(im->d.pixies)) return QVERR_COLOUR;
  scan axis;
  if (!scan_of_mode<two_d>(mode, &axis)) return QVERR_USAGE;
  const bufio &stream = *state_of<state>(im).stream;
  const uint64_t bytes = uint64_t(im->imdim.se.x) * uint64_t(im->imdim.se.y) * uint32_t(im->f.pixelsize);
  const bool is_whole = stream.filelen >= state_of<state>(im).first + bytes;
  if (axis != scan::x || !(stream.modeflags & BUFIO_MEMORY) || !is_whole) return QVERR_UNSUPPORTED;
  im->imap = slots<two_d>::map<imap>;
  return maps_lines;
}

struct kind : kind_blocks<two_d, state> {
  static constexpr auto ioset = raw::ioset;
  static constexpr auto imapset = raw::imapset;
};

uint32_t aeiou(qvimage *im, uint32_t code, int32_t clear, int32_t, void *) {
  if (code != 'e') return kind_answer<two_d>(im, code, chain_word);
  bufio &stream = *state_of<state>(im).stream;
  const critical hold(stream);
  const int32_t latched = bufio_err(&stream);
  if (clear) bufio_errclear(&stream);
  return uint32_t(latched);
}

}  // namespace

int32_t present(qvimage *im, bufio *stream, const uint32_t size[2], const qvimagedata *d) {
  if (!stream || !size || !d) return because(QVERR_USAGE, {"no stream, size or description"});
  for (int axis = 0; axis < 2; axis++)
    if (size[axis] == 0 || size[axis] > uint32_t(INT32_MAX))
      return because(QVERR_LOGIC, {axis ? "height " : "width ", size[axis]});
  const qvimagedata data = *d;
  if (!is_valid(data)) return because(QVERR_USAGE, {"the description of the pixels is not valid"});
  qvimagefacts facts{};
  qviminitfacts(&facts, &data);
  uint64_t end;
  if (__builtin_mul_overflow(uint64_t(size[0]) * size[1], uint32_t(facts.pixelsize), &end) ||
      __builtin_add_overflow(end, stream->tare, &end))
    return because(QVERR_LOGIC, {size[0], " x ", size[1], " pixels are more bytes than any file has"});
  std::memset(static_cast<void *>(im), 0, sizeof *im);
  set_device_name(im, "QVIMFIB");
  im->imdim.se = {int32_t(size[0]), int32_t(size[1])};
  im->d = data;
  im->f = facts;
  state_of<state>(im).stream = stream;
  state_of<state>(im).first = stream->tare;
  im->aeiou = aeiou;
  im->xwind = kind_xwind<two_d, kind>;
  im->xwind(im, nullptr, 's');
  return 0;
}

}  // namespace qvim::raw
