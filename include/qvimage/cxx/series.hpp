// Numbered files as a volume that is read and written where it lies. Part of qvimage/qvimage.hpp.
#pragma once

#include <qvimage/cxx/files.hpp>
#include <qvimage/series.h>
#include <qvimage/utility.h>

namespace qv {

// How a series is opened.
struct series_opening {
  bool writeback = false;  // changed frames are saved
  bool locking = false;    // several threads may use copies
  int64_t buffer = 0;      // bytes of the files' blocks; 0: 64 KiB
};

// A series of files, a plane each, of which one is in memory (qvimage/series.h). It is used like a volume,
// and is writable: with writeback a changed frame is saved before the next one is loaded, and when the
// series is closed. It owns the frame's memory: moved, not copied; regions and chains made of it read
// through it, and it must outlive them. One that was moved from, closed or never opened is a null image.
// Used by one thread at a time, unless it is opened with locking: then each thread uses a copy().
class series : public image_calls<series, ::qvimage3> {
 public:
  // Opens the files of the numbers first to last. In the pattern every '?' is replaced by a digit, from
  // the right; its end tells the format. All frames are like the first, which must be there. Fails as
  // qv::open does on the first file; with QVERR_UNSUPPORTED for a format without series; with QVERR_USAGE
  // for numbers or a pattern that are none; with QVERR_MEMORY.
  static result<series> open(path pattern, int32_t first, int32_t last,
                             const series_opening &how = {}) noexcept {
    const char *const name = pattern.c_str();
    const calls *const format = calls_of(name);
    if (format == nullptr)
      return status(QVERR_UNSUPPORTED, name, "the end of the name tells no format of series");
    char number[4096];
    if (first < 0 || last < first || std::strlen(name) >= sizeof number)
      return status(QVERR_USAGE, name, "numbers are not negative and rise; the path has a length");
    std::strcpy(number, name);
    pathseq(number, first, '?');
    auto like = qv::open(number);
    if (!like) return like.error();
    const qvimagedata d = like->record().d;
    const bool real = d.pixietype >= QVIM_FLOAT32;
    series made;
    made.format_ = format;
    made.frame_ = qvimage_memmalloc2(nullptr, d.pixietype, real ? 0 : d.i_bitsused, d.pixies, d.pixelhint,
                                     like->width(), like->height(), 0, 0, 0);
    if (made.frame_ == nullptr) return status(QVERR_MEMORY, name, "no memory for a frame");
    const int32_t code = format->open(&made.handle_, &made.image_, made.frame_, nullptr, name, how.buffer,
                                      first, last, how.writeback, how.locking);
    if (code < 0) return status::of_file(code, name);
    return made;
  }

  // Owns nothing.
  series() noexcept {}
  series(series &&other) noexcept { swap(other); }
  series &operator=(series &&other) noexcept {
    series taken(std::move(other));
    swap(taken);
    return *this;
  }
  ~series() { (void)close(); }

  // Saves the frame in memory, if it was changed and is to be written back.
  status save() noexcept { return ask('f', 0); }

  // Loads a frame, counted from 0; the one in memory is saved before, if it was changed.
  status load(int32_t number) noexcept { return ask('p', number); }

  // Saves the frame in memory and frees all; nothing where no series is open.
  status close() noexcept {
    if (handle_ == nullptr) return {};
    const status saved = save();
    format_->done(&handle_, &image_);
    qvimage_memfree2(std::exchange(frame_, nullptr), 0);
    return saved;
  }
  bool is_open() const noexcept { return handle_ != nullptr; }

  // The number of frames, and one of them as a picture, which may be written, too. One that there is not has
  // no pixels.
  int32_t pages() const noexcept { return image_.imdim.se.z; }
  result<chain<2>> page(int32_t number) const noexcept { return image_ | plane{number}; }

  // The image as a value that works through this series.
  image3 copy() const noexcept { return image_; }
  ::qvimage3 &record() noexcept { return image_; }
  const ::qvimage3 &record() const noexcept { return image_; }

 private:
  struct calls {
    decltype(&qvimage3_buftiffseq) open;
    decltype(&qvimage3_buftiffseqdone) done;
  };

  static const calls *calls_of(const char *name) noexcept {
    static constexpr calls of_tiff = {qvimage3_buftiffseq, qvimage3_buftiffseqdone},
                           of_bmp = {qvimage3_bufbmpseq, qvimage3_bufbmpseqdone},
                           of_jpeg = {qvimage3_bufjpegseq, qvimage3_bufjpegseqdone},
                           of_fits = {qvimage3_buffitsseq, qvimage3_buffitsseqdone},
                           of_pnm = {qvimage3_bufpgmseq, qvimage3_bufpgmseqdone};
    const format_sign *const sign = format_of_name(name);
    if (sign == nullptr) return nullptr;
    switch (sign->id) {
      case format::tiff: return &of_tiff;
      case format::bmp: return &of_bmp;
      case format::jpeg: return &of_jpeg;
      case format::fits: return &of_fits;
      case format::pnm: return &of_pnm;
      default: return nullptr;
    }
  }

  status ask(char what, int32_t argument) noexcept {
    const auto letter = static_cast<uint32_t>(what);
    return status::of_file(static_cast<int32_t>(image_.aeiou(&image_, letter, argument, 0, nullptr)), {});
  }

  void swap(series &other) noexcept {
    std::swap(image_, other.image_);
    std::swap(frame_, other.frame_);
    std::swap(handle_, other.handle_);
    std::swap(format_, other.format_);
  }

  image3 image_;
  ::qvimage *frame_ = nullptr;
  seqhandle *handle_ = nullptr;
  const calls *format_ = nullptr;
};

}  // namespace qv
