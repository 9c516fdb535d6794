// Loading and saving the frames of a numbered series of files.
#include "files/series/series.hpp"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include <qvimage/colour.h>
#include <qvimage/error.h>
#include <qvimage/utility.h>
#include <qvimage/views.h>

#include "core/pixel.hpp"
#include "core/reason.hpp"
#include "core/record.hpp"

namespace qvim::series {

namespace {

constexpr int32_t place = '?';  // of a digit in a pattern

// All pixels of an image, in the form of another one's, with significant bits at the low end.
int32_t read_pixels(qvimage *from, const qvimage &form, array<uint8_t> *pixels) {
  const uint64_t width = uint32_t(from->imdim.se.x), height = uint32_t(from->imdim.se.y);
  const uint32_t pixel = uint32_t(form.f.pixelsize);
  if (!pixels->allocate(width * height * pixel)) return QVERR_MEMORY;
  const uint32_t low_end = is_integer(form.d.pixietype) ? uint32_t(QVIM_LSB) : 0;
  const int32_t set = from->ioset(from, 0, uint32_t(form.d.pixietype) | low_end, all_pixies(form.d.pixies));
  if (set <= 0) return set < 0 ? set : int32_t{QVERR_USAGE};
  for (uint64_t y = 0; y < height; y++)
    for (uint64_t x = 0; x < width;) {
      const uint32_t n = from->ioread(from, 0, pixels->data() + (y * width + x) * pixel, uint32_t(width - x),
                                      int32_t(x), int32_t(y));
      if (n == 0) {
        const int32_t latched = int32_t(from->aeiou(from, 'e', 1, 1, nullptr));
        return latched < 0 ? latched : because(QVERR_FORMAT, {"row ", y + 1, " stops short"});
      }
      x += n;
    }
  // Raw files read as zeros beyond their end, and say so.
  const int32_t latched = int32_t(from->aeiou(from, 'e', 0, 1, nullptr));
  return latched < 0 ? latched : 0;
}

int32_t write_pixels(qvimage *to, const array<uint8_t> &pixels) {
  const uint32_t low_end = is_integer(to->d.pixietype) ? uint32_t(QVIM_LSB) : 0;
  const int32_t set = to->ioset(to, 0, uint32_t(to->d.pixietype) | low_end, all_pixies(to->d.pixies));
  if (set <= 0) return set < 0 ? set : int32_t{QVERR_USAGE};
  const uint32_t width = uint32_t(to->imdim.se.x), pixel = uint32_t(to->f.pixelsize);
  for (int32_t y = 0; y < to->imdim.se.y; y++)
    for (uint32_t x = 0; x < width;) {
      const uint32_t n =
          to->iorite(to, 0, pixels.data() + (uint64_t(y) * width + x) * pixel, width - x, int32_t(x), y);
      if (n == 0) {
        const int32_t latched = int32_t(to->aeiou(to, 'e', 0, 1, nullptr));
        return latched < 0 ? latched : because(QVERR_IO, {"the frame buffer takes no pixels"});
      }
      x += n;
    }
  return 0;
}

bool same_size(const qvimage &a, const qvimage &b) {
  return a.imdim.se.x == b.imdim.se.x && a.imdim.se.y == b.imdim.se.y;
}

// An image as another one's colours, type and bits.
struct converted {
  qvimage colours, types;
  qvimage *top;

  int32_t put(qvimage *image, const qvimage &form, bool keeps_colours) {
    top = image;
    if (image->d.pixelhint != form.d.pixelhint && !keeps_colours) {
      if (const int32_t code = qvimage_colorconverter(&colours, top, form.d.pixelhint, 0); code < 0)
        return code;
      top = &colours;
    }
    const bool integer = is_integer(form.d.pixietype);
    if (top->d.pixietype == form.d.pixietype && (!integer || top->d.i_bitsused == form.d.i_bitsused))
      return 0;
    const uint8_t bits = integer ? uint8_t(form.d.i_bitsused) : 0;
    if (const int32_t code = qvimage_converter(&types, top, &form.d, 0, 0, bits, 0); code < 0) return code;
    top = &types;
    return 0;
  }
};

}  // namespace

qvimage copy_of(qvimage *image) {
  qvimage copy = *image;
  for (int64_t &source : copy.source)
    if (source != 0) source = reinterpret_cast<intptr_t>(resolve<qvimage>(image, source));
  // Its whole extent, unless it has that already: views that share a window would hand it on.
  const bool is_whole = std::memcmp(&copy.wind, &copy.imdim, sizeof copy.wind) == 0;
  qvimage *const fixed = &copy;
  if (!is_whole) fixed->xwind(fixed, nullptr, 's');
  return copy;
}

void numbered_files::forget_info() {
  if (info_frame_ != none && member_->info_done) member_->info_done(&info_);
  info_frame_ = none;
}

int32_t numbered_files::set(const member &m, const request &r) {
  array<char> pattern;
  const size_t size = std::strlen(r.pattern) + 1;
  if (!pattern.allocate(size)) return QVERR_MEMORY;
  std::memcpy(pattern.data(), r.pattern, size);
  forget_info();
  member_ = &m;
  identity = m.identity;
  held_ = r.held;
  pattern_ = std::move(pattern);
  bufsize_ = r.bufsize;
  first_ = r.first;
  last_ = r.last;
  current_ = none;
  last_error_ = 0;
  dirty_ = false;
  writes_back_ = r.writes_back;
  locks_ = r.locks;
  return 0;
}

int32_t numbered_files::keep(int32_t code) {
  if (code < 0) last_error_ = code;
  return code;
}

// is_own: no other frame has the same file.
int32_t numbered_files::name(int64_t n, array<char> *path, bool *is_own) const {
  if (!path->allocate(pattern_.size())) return QVERR_MEMORY;
  std::memcpy(path->data(), pattern_.data(), pattern_.size());
  const int32_t number = int32_t(first_ + n);
  if (number < 0) return because(QVERR_USAGE, {"files are not numbered ", number});
  const bool written = pathseq(path->data(), number, place) == 1;
  array<char> longest;
  if (!longest.allocate(pattern_.size())) return QVERR_MEMORY;
  std::memcpy(longest.data(), pattern_.data(), pattern_.size());
  const bool all_written = pathseq(longest.data(), int32_t(last_), place) == 1;
  // Without a place for digits, 0 "is_own" as no number does.
  const bool has_place = pathseqcountrc(pattern_.data(), place) > 0;
  *is_own = first_ == last_ ? written || !has_place : written && all_written && has_place;
  return 0;
}

int32_t numbered_files::save_current() {
  array<char> path;
  bool is_own;
  if (const int32_t code = name(current_, &path, &is_own); code < 0) return code;
  if (!is_own)
    return because(QVERR_NOFILE,
                   {"frames of ", pattern_.data(), " would share a file: frame ", current_ + 1});
  if (info_frame_ != current_ && member_->info) {
    forget_info();
    if (member_->info(&info_, path.data(), bufsize_) == 0) info_frame_ = current_;
  }
  qvimage image = copy_of(held_.image), lut;
  if (held_.lut) lut = copy_of(held_.lut);
  const frame held{&image, held_.lut ? &lut : nullptr};
  return within({path.data()},
                member_->write(held, path.data(), bufsize_, info_frame_ == current_ ? &info_ : nullptr));
}

int32_t numbered_files::save() {
  if (!writes_back_ || !dirty_ || current_ == none) return 0;
  dirty_ = false;
  return keep(save_current());
}

int32_t numbered_files::read_current(int64_t n) {
  array<char> path;
  bool is_own;
  if (const int32_t code = name(n, &path, &is_own); code < 0) return code;
  opened file;
  int32_t code = member_->read(file, path.data(), bufsize_, held_);
  if (code == 0 && !same_size(file.image, *held_.image))
    code =
        because(QVERR_FORMAT, {file.image.imdim.se.x, " x ", file.image.imdim.se.y, " pixels in a series of ",
                               held_.image->imdim.se.x, " x ", held_.image->imdim.se.y});
  // The whole frame before anything of the one in memory is lost.
  converted shown;
  array<uint8_t> pixels, colours;
  if (code == 0) code = shown.put(&file.image, *held_.image, held_.lut != nullptr);
  if (code == 0) code = read_pixels(shown.top, *held_.image, &pixels);
  const bool has_map = held_.lut && file.palette.d.pixies > 0 && same_size(file.palette, *held_.lut);
  converted map;
  if (code == 0 && has_map) code = map.put(&file.palette, *held_.lut, false);
  if (code == 0 && has_map) code = read_pixels(map.top, *held_.lut, &colours);
  if (code < 0) return within({path.data()}, code);
  forget_info();
  if (member_->info) {
    code = member_->info(&info_, path.data(), bufsize_);
    if (code < 0) return within({path.data()}, code);
    info_frame_ = n;
  }
  current_ = none;  // from here on neither frame is whole
  qvimage image = copy_of(held_.image);
  code = write_pixels(&image, pixels);
  if (code == 0 && has_map) {
    qvimage lut = copy_of(held_.lut);
    code = write_pixels(&lut, colours);
  }
  if (code < 0) return within({path.data()}, code);
  current_ = n;
  return 0;
}

int32_t numbered_files::load(int64_t n) {
  if (n == current_) return 0;
  if (n < 0 || n >= int64_t{frames()}) return because(QVERR_USAGE, {"there is no frame ", n + 1});
  const int32_t saved = save(), loaded = keep(read_current(n));
  return loaded < 0 ? loaded : saved;
}

int32_t numbered_files::replace(int64_t n, const char *path) {
  if (n < 0 || n >= int64_t{frames()} || !path) return because(QVERR_USAGE, {"no such frame, or no path"});
  const int32_t saved = save();
  array<char> old;
  bool is_own;
  if (const int32_t code = name(n, &old, &is_own); code < 0) return code;
  if (access(old.data(), F_OK) != 0 || std::rename(path, old.data()) != 0)
    return because(QVERR_USAGE, {"frame ", n + 1, " cannot be replaced"});
  if (info_frame_ == n) forget_info();
  if (current_ == n) current_ = none;
  return saved;
}

}  // namespace qvim::series
