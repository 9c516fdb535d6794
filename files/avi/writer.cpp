// Writing AVI files: headers, frames, indexes.
#include "files/avi/writer.hpp"

#include <algorithm>
#include <cstring>

#include <qvimage/alloc.h>
#include <qvimage/colour.h>
#include <qvimage/error.h>

#include "core/dimension.hpp"
#include "core/reason.hpp"
#include "core/result.hpp"
#include "files/jpeg/writer.hpp"
#include "files/rows/image_rows.hpp"
#include "files/rows/write_rows.hpp"
#include "files/stream/number_writer.hpp"

namespace qvim::avi {

namespace {

constexpr uint64_t longest_chunk = 0xFFFFFFFF;
constexpr uint32_t movie_alignment = 8192, fewest_super_entries = 256, most_super_entries = 1 << 20;
constexpr uint32_t super_entry_bytes = 16, old_entry_bytes = 16, index_head_bytes = 24;
constexpr uint32_t usual_rate = 25, usual_scale = 1;
constexpr uint32_t has_index = 0x10, trusts_chunk_type = 0x800;  // flags of the main header

number_writer numbers(bufio &file) { return number_writer(file, std::endian::little); }

}  // namespace

writer::~writer() {
  for (const text_chunk &t : text_chunks) qvfreep(&(options_.*t.member));
  for (char *&comment : options_.jpg_comment) qvfreep(&comment);
}

// --- chunks

// Returns where the length is to be written.
uint64_t writer::begin_chunk(uint32_t code) {
  numbers(file).put(code, 4);
  numbers(file).put(0, 4);
  return file.pos - 4;
}

uint64_t writer::begin_list(uint32_t form, uint32_t code) {
  const uint64_t place = begin_chunk(form);
  numbers(file).put(code, 4);
  return place;
}

// Data of an odd length is followed by a zero, which the length does not count.
void writer::end_chunk(uint64_t length_place) {
  const uint64_t length = file.pos - length_place - 4;
  if (length % 2) numbers(file).put(0, 1);
  patch(length_place, uint32_t(length));
}

void writer::patch(uint64_t place, uint32_t value) {
  const uint64_t here = file.pos;
  file.pos = place;
  numbers(file).put(value, 4);
  file.pos = here;
}

// --- headers

int32_t writer::copy_options(const qvimagefileinfo *options) {
  if (!options) return 0;
  const qvimagefileinfo &o = *options;
  options_.jpg_quality = o.jpg_quality;
  options_.jpg_reserved = o.jpg_reserved;
  options_.jpg_encodemode = o.jpg_encodemode;
  options_.jpg_xdensity = o.jpg_xdensity;
  options_.jpg_ydensity = o.jpg_ydensity;
  options_.jpg_densityunit = o.jpg_densityunit;
  const auto copy = [](const char *text, char **to) {
    if (!text) return true;
    const size_t size = std::strlen(text) + 1;
    *to = static_cast<char *>(qvmalloc(size));
    if (*to) std::memcpy(*to, text, size);
    return *to != nullptr;
  };
  for (const text_chunk &t : text_chunks)
    if (!copy(o.*t.member, &(options_.*t.member))) return QVERR_MEMORY;
  for (int i = 0; i < 3; i++)
    if (!copy(o.jpg_comment[i], &options_.jpg_comment[i])) return QVERR_MEMORY;
  return 0;
}

int32_t writer::plan(const qvimage &image, const request &r) {
  if (r.mode != uint32_t(layout::classic) && r.mode != uint32_t(layout::extended))
    return because(QVERR_USAGE, {"mode ", r.mode, " is neither 1 nor 2"});
  if (const int32_t code = judge(image); code < 0) return code;
  if (image.d.pixietype != QVIM_UINT8)
    return because(QVERR_DATATYPE, {"AVI files have components of 8 bits"});
  layout_ = layout(r.mode);
  is_jpeg_ = r.options && std::memcmp(r.options->avi_handler, "MJPG", 4) == 0;
  const int32_t pixies = image.d.pixies, bits = image.d.i_bitsused;
  const bool single = pixies == 1;
  if ((!single && pixies != 3 && pixies != 4) ||
      (single && bits != 8 && (is_jpeg_ || (bits != 1 && bits != 4))))
    return because(QVERR_UNSUPPORTED, {pixies, " components of ", bits, " bits"});
  format_.width = int32_t(width_of(image.wind));
  format_.height = int32_t(height_of(image.wind));
  format_.bits = uint16_t(single ? bits : 24);
  if (is_jpeg_) format_.compression = jpeg_handler;
  if (r.options) format_.xppm = r.options->bmp_xppm, format_.yppm = r.options->bmp_yppm;
  frame_bytes_ = format_.picture_bytes();
  if (frame_bytes_ > longest_chunk) return because(QVERR_FORMAT, {"frames of ", frame_bytes_, " bytes"});
  format_.image_bytes = uint32_t(frame_bytes_);
  rate_ = r.options && r.options->avi_ratenum ? r.options->avi_ratenum : usual_rate;
  scale_ =
      r.options && r.options->avi_ratenum && r.options->avi_rateden ? r.options->avi_rateden : usual_scale;
  expected_ = r.frames;
  frames_per_part_ = std::max<uint64_t>(r.part_bytes / frame_bytes_, 1);
  const uint64_t parts = (uint64_t{expected_} + frames_per_part_ - 1) / frames_per_part_;
  super_index_room_ = uint32_t(std::clamp<uint64_t>(parts, fewest_super_entries, most_super_entries));
  classic_bytes_ = r.classic_bytes;
  if (!is_jpeg_ && format_.has_palette())
    if (const int32_t code = palette_.take(r.palette, format_.bits, r.exchanges_palette); code < 0)
      return code;
  if (const int32_t code = copy_options(r.options); code < 0) return code;
  const row_form form{format_.columns(), single ? 1u : 3u, single ? uint32_t(bits) : 8u, single};
  return encoder_.prepare(image, form, changes_);
}

int32_t writer::open(const request &r, output_file::way how) {
  if (const int32_t code = output_.open(r.path, r.fopenmode, r.bufsize, how); code < 0) return code;
  bufio_ptr2truncate(&file, 0);  // a file opened for update is written anew
  write_headers();
  const int32_t code = bufio_err(&file);
  if (code < 0) output_.drop();
  return code;
}

void writer::write_headers() {
  at_.riff_length = begin_list(riff, avi_form);
  const uint64_t all = begin_list(list, headers);
  write_main_header();
  const uint64_t stream = begin_list(list, stream_list);
  write_stream_header();
  const uint64_t form = begin_chunk(stream_format);
  number_writer out = numbers(file);
  format_.write(out);
  if (!is_jpeg_ && format_.has_palette()) palette_.write(out, format_.bits);
  end_chunk(form);
  if (is_extended()) write_super_index();
  end_chunk(stream);
  if (is_extended()) {
    constexpr uint32_t extended_bytes = 248;
    const uint64_t extended = begin_list(list, extended_list), header = begin_chunk(extended_header);
    at_.extended_frames = file.pos;
    numbers(file).put(expected_, 4);
    numbers(file).zeros(extended_bytes - 4);
    end_chunk(header);
    end_chunk(extended);
  }
  end_chunk(all);
  if (is_extended()) {
    const uint64_t filler = begin_chunk(junk);
    numbers(file).zeros((movie_alignment - file.pos % movie_alignment) % movie_alignment);
    end_chunk(filler);
  }
  begin_movie();
}

void writer::write_main_header() {
  const uint64_t chunk = begin_chunk(main_header);
  number_writer out = numbers(file);
  const double bytes_per_second = double(frame_bytes_) * rate_ / scale_;
  out.put(uint32_t(std::min(double(scale_) * 1e6 / rate_ + 0.5, double(longest_chunk))),
          4);  // microseconds a frame
  out.put(uint32_t(std::min(bytes_per_second + 0.5, double(longest_chunk))), 4);
  out.put(0, 4);  // padding granularity
  out.put(is_jpeg_ ? has_index : has_index | trusts_chunk_type, 4);
  at_.total_frames = file.pos;
  out.put(expected_, 4);
  out.put(0, 4);  // initial frames
  out.put(1, 4);  // streams
  out.put(is_jpeg_ ? 0 : frame_bytes_, 4);
  out.put(format_.columns(), 4);
  out.put(format_.rows(), 4);
  out.zeros(16);
  end_chunk(chunk);
}

void writer::write_stream_header() {
  constexpr uint32_t longest_short_side = 0xFFFF;
  const uint64_t chunk = begin_chunk(stream_header);
  number_writer out = numbers(file);
  out.put(video, 4);
  out.put(is_jpeg_ ? jpeg_handler : plain_handler, 4);
  out.zeros(12);  // flags, priority, language, initial frames
  out.put(scale_, 4);
  out.put(rate_, 4);
  out.put(0, 4);  // start
  at_.stream_length = file.pos;
  out.put(expected_, 4);
  out.put(is_jpeg_ ? 0 : frame_bytes_, 4);
  out.put(1, 4);  // quality
  out.put(0, 4);  // sample size: frames are no samples
  const int side = is_extended() && std::max(format_.columns(), format_.rows()) <= longest_short_side ? 2 : 4;
  out.zeros(uint64_t(2 * side));
  out.put(format_.columns(), side);
  out.put(format_.rows(), side);
  end_chunk(chunk);
}

void writer::write_super_index() {
  const uint64_t chunk = begin_chunk(super_index);
  at_.super_index = file.pos;
  number_writer out = numbers(file);
  out.put(4, 2);  // numbers of 32 bits an entry
  out.put(0, 1);
  out.put(index_of_indexes, 1);
  out.put(0, 4);  // entries in use
  out.put(frame_code(), 4);
  out.zeros(12 + uint64_t{super_index_room_} * super_entry_bytes);
  end_chunk(chunk);
}

void writer::begin_movie() {
  at_.movie_length = begin_list(list, movie);
  at_.movie = file.pos - 4;
  part_begin_ = count_;
  complete_ = file.pos;
}

// --- frames

int32_t writer::reserve_frame() {
  if (count_ < frames_.size()) return 0;
  constexpr uint64_t few = 100, many = 1000;
  const uint64_t more = count_ < few ? few : count_ < many ? count_ : count_ / 2;
  return frames_.resize(count_ + more) ? 0 : int32_t{QVERR_MEMORY};
}

int32_t writer::write_frame(const progress &told, qvimage &frame, const qvimagefileinfo *options) {
  if (!is_jpeg_) {
    image_rows rows(frame, told);
    const int32_t code = rows.set_up();
    return code == 0
               ? write_rows(file, rows, encoder_, {true, uint32_t(format_.row_bytes() - encoder_.bytes())})
               : code;
  }
  qvimage recoloured, *source = &frame;
  if (frame.d.pixies > 1 && frame.d.pixelhint != QVIM_HINT_RGB) {
    if (const int32_t code = qvimage_colorconverter(&recoloured, &frame, QVIM_HINT_RGB, 0); code < 0)
      return code;
    source = &recoloured;
  }
  bufio_tareset(&file, file.pos);
  const int32_t code = jpeg::write_picture(*source, &file, options ? options : &options_, told);
  bufio_tareclr(&file);
  return code;
}

int32_t writer::add(const progress &told, qvimage &frame, const qvimagefileinfo *options,
                    bool exchanges_rgb) {
  if (worst_ < 0) return worst_;
  if (!encoder_.fits(frame)) return because(QVERR_USAGE, {"the frame is unlike the first one"});
  if (const int32_t code = reserve_frame(); code < 0) return code;
  if (exchanges_rgb != changes_.exchanges_rgb) {
    changes_.exchanges_rgb = exchanges_rgb;
    const bool single = frame.d.pixies == 1;
    const row_form form{format_.columns(), single ? 1u : 3u, single ? format_.bits : 8u, single};
    if (const int32_t code = encoder_.prepare(frame, form, changes_); code < 0) return code;
  }
  if (is_extended() && count_ - part_begin_ == frames_per_part_) {
    int32_t code = end_part();
    if (code == 0) {
      at_.riff_length = begin_list(riff, more_form);
      begin_movie();
      code = bufio_err(&file);
    }
    if (code < 0) return worst_ = worst(worst_, code);
  }
  file.pos = complete_;
  const uint64_t length_place = begin_chunk(frame_code()), begin = file.pos;
  int32_t code = write_frame(told, frame, options);
  const uint64_t bytes = file.pos - begin;
  if (code == 0 && bytes > longest_chunk) code = because(QVERR_FORMAT, {"a frame of ", bytes, " bytes"});
  // A classic file has 32 bits for its length, which counts the index and texts to come, but no head.
  const uint64_t classic_length = file.pos + bytes % 2 + (count_ + 1) * old_entry_bytes + text_bytes();
  if (code == 0 && !is_extended() && classic_length > classic_bytes_)
    code = because(QVERR_FORMAT, {"classic AVI files end at 4 GiB"});
  if (code == 0 && bytes % 2) numbers(file).put(0, 1);
  if (code == 0) {
    // The length of a coded frame counts the zero behind it.
    patch(length_place, uint32_t(bytes + (is_jpeg_ ? bytes % 2 : 0)));
    frames_[count_++] = {begin, uint32_t(bytes + (is_jpeg_ ? bytes % 2 : 0))};
    complete_ = file.pos;
  } else if (bufio_err(&file) == 0) {
    bufio_ptr2truncate(&file, complete_);
  }
  worst_ = worst(worst_, bufio_err(&file));
  return code;
}

// --- ends

// Closes the movie and, in extended files, its part: an index behind the movie, and its entry in the index of
// indexes.
int32_t writer::end_part() {
  file.pos = complete_;
  end_chunk(at_.movie_length);
  if (!is_extended()) return 0;
  if (parts_ == super_index_room_)
    return because(QVERR_SPACE, {"no room for more than ", parts_, " parts of 1 GiB"});
  const uint64_t begin = file.pos, entries = count_ - part_begin_;
  const uint64_t chunk = begin_chunk(chunk_index), base = at_.movie + 4;
  number_writer out = numbers(file);
  out.put(2, 2);  // numbers of 32 bits an entry
  out.put(0, 1);
  out.put(index_of_chunks, 1);
  out.put(entries, 4);
  out.put(frame_code(), 4);
  out.put(base, 8);
  out.put(0, 4);
  for (uint64_t i = part_begin_; i < count_; i++) {
    out.put(frames_[i].position - base, 4);
    out.put(frames_[i].bytes, 4);
  }
  end_chunk(chunk);
  const uint64_t end = file.pos;
  file.pos = at_.super_index + index_head_bytes + uint64_t{parts_} * super_entry_bytes;
  out.put(begin, 8);
  out.put(end - begin, 4);
  out.put(entries, 4);
  parts_++;
  file.pos = end;
  patch(at_.super_index + 4, parts_);
  patch(at_.riff_length, uint32_t(end - at_.riff_length - 4));
  return bufio_err(&file);
}

void writer::write_old_index() {
  const uint64_t chunk = begin_chunk(old_index);
  number_writer out = numbers(file);
  for (uint64_t i = 0; i < count_; i++) {
    out.put(frame_code(), 4);
    out.put(key_frame, 4);
    out.put(frames_[i].position - chunk_head - at_.movie, 4);
    out.put(frames_[i].bytes, 4);
  }
  end_chunk(chunk);
}

uint64_t writer::text_bytes() const {
  uint64_t all = 0;
  for (const text_chunk &t : text_chunks)
    if (const char *text = options_.*t.member) all += chunk_head + (std::strlen(text) + 2) / 2 * 2;
  return all ? list_head + all : 0;
}

void writer::write_texts() {
  if (text_bytes() == 0) return;
  const uint64_t all = begin_list(list, texts_list);
  for (const text_chunk &t : text_chunks) {
    if (!(options_.*t.member)) continue;
    const uint64_t chunk = begin_chunk(t.code);
    write_bytes(file, options_.*t.member, std::strlen(options_.*t.member) + 1);
    end_chunk(chunk);
  }
  end_chunk(all);
}

int32_t writer::end(int32_t code) {
  if (code == 0) code = worst_;
  if (code == 0) code = end_part();
  if (code == 0) {
    if (!is_extended()) write_old_index();
    write_texts();
    // The frames before the numbers that tell of them.
    bufio_flush(&file);
    patch(at_.riff_length, uint32_t(file.pos - at_.riff_length - 4));
    if (count_ != expected_) {
      for (const uint64_t place : {at_.total_frames, at_.stream_length, at_.extended_frames})
        if (place) patch(place, uint32_t(count_));
    }
    code = bufio_err(&file);
  }
  if (code == 0) return output_.keep();
  output_.drop();
  return code;
}

}  // namespace qvim::avi
