// Images into files. Part of qvimage/qvimage.hpp.
//
//   qv::save(image, "a.tif", {.compression = 5})   the window of a picture, or the planes of a volume
//   qv::writer::create("a.avi", first)             a file that gets its pictures one by one
//
// The end of the name tells the format (qvimage/formats.inc). A new file takes the path's name once it is
// whole: whatever fails, no file is left behind, and one that had the name before is what it was. Pixels
// pass as they are where the format has room for them, else the call fails (QVERR_DATATYPE,
// QVERR_UNSUPPORTED) and a view makes what fits; but components are put into the file's order, and colours
// that are not red, green, blue are converted for formats that have no others.
//
// A callback that is given hears how far the work has come: (step, steps), numbers of rows of a picture
// (of JPEG every eighth) or planes of a volume. What it answers, if it answers anything, stops the work
// unless it is 0, and is the status's code. What it throws leaves the call. Without one the thread's
// progress callback is called (qvimage/progress.h). All of it happens in the thread that calls.
#pragma once

#include <qvimage/cxx/files.hpp>

namespace qv {

// What is written beside the pixels; fields that a format has no room for do not count.
struct saving {
  uint32_t compression = 0;  // TIFF: 1 none, 5 LZW, 517 with differences, ... (qvimage/tiff.h)
  bool bigtiff = false;      // TIFF
  bool append = false;       // TIFF: behind the last page of a file that is there
  uint64_t stripsize = 0;    // TIFF: bytes of a strip before compression; 0: 65536
  int32_t quality = 0;       // JPEG, AVI of JPEG pictures: 1 to 100; 0: 90
  bool motion_jpeg = false;  // AVI
  uint32_t rate = 0;         // AVI: frames a second; 0: 25
  const char *description = nullptr, *software = nullptr, *copyright = nullptr, *datetime = nullptr;
  ::qvimage *palette = nullptr;           // TIFF, BMP, AVI: the colours of an image of indices
  const qvimagefileinfo *like = nullptr;  // what is not said here is as this file says
  int64_t buffer = 0;                     // bytes of the file's block; 0: 64 KiB
};

// Hears nothing.
struct no_progress {};

namespace detail {

// Makes a callable of the caller's the thread's progress callback while it lives, but not while it runs.
// Then, and afterwards, the thread has the one that it had before.
template <class F>
class progress_scope {
 public:
  explicit progress_scope(F &f) noexcept : f_(f) {
    qvimage_progress(QVIM_PROGRESS_ASK, &user_);
    callback_ = qvimage_progress(call, this);
  }
  ~progress_scope() { qvimage_progress(callback_, user_); }
  progress_scope(const progress_scope &) = delete;
  progress_scope &operator=(const progress_scope &) = delete;

  // Passes on what the callable threw.
  status ended(const status &s) {
#if defined(__cpp_exceptions)
    if (thrown_) std::rethrow_exception(std::move(thrown_));
#endif
    return s;
  }

 private:
  static int32_t call(void *user, int64_t step, int64_t steps) {
    auto *const self = static_cast<progress_scope *>(user);
    qvimage_progress(self->callback_, self->user_);
    const int32_t answer = self->told(step, steps);
    qvimage_progress(call, self);
    return answer;
  }

  int32_t told(int64_t step, int64_t steps) {
#if defined(__cpp_exceptions)
    try {
      return answer(step, steps);
    } catch (...) {
      thrown_ = std::current_exception();
      return 1;
    }
#else
    return answer(step, steps);
#endif
  }

  int32_t answer(int64_t step, int64_t steps) {
    if constexpr (std::is_void_v<decltype(f_(step, steps))>) {
      f_(step, steps);
      return 0;
    } else {
      return static_cast<int32_t>(f_(step, steps));
    }
  }

  F &f_;
  void *user_ = nullptr;
  qvimageprogress callback_;
#if defined(__cpp_exceptions)
  std::exception_ptr thrown_;
#endif
};

// Does `work`, which answers a status, with the callable as progress callback.
template <class F, class Work>
status with_progress(F &f, const Work &work) {
  if constexpr (std::is_same_v<F, no_progress>) {
    return work();
  } else {
    progress_scope<F> scope(f);
    return scope.ended(work());
  }
}

constexpr bool blue_first(int32_t hint) noexcept { return hint == QVIM_HINT_BGR || hint == QVIM_HINT_BGRPAD; }
constexpr bool red_first(int32_t hint) noexcept { return hint == QVIM_HINT_RGB || hint == QVIM_HINT_RGBPAD; }
constexpr bool cr_first(int32_t hint) noexcept {
  return hint == QVIM_HINT_YCRCB || hint == QVIM_HINT_YCRCBPAD;
}
inline bool has_red_first(const ::qvimage *palette) noexcept {
  return palette != nullptr && red_first(palette->d.pixelhint);
}
inline bool has_blue_first(const ::qvimage *palette) noexcept {
  return palette != nullptr && blue_first(palette->d.pixelhint);
}

inline qvimagefileinfo options_of(const saving &s) noexcept {
  constexpr uint32_t big = 43;
  constexpr int32_t usual_quality = 900, tenths = 10;
  qvimagefileinfo o = {};
  if (s.like != nullptr) o = *s.like;
  if (s.compression != 0) o.compression = s.compression;
  if (s.bigtiff) o.version = big;
  if (s.stripsize != 0) o.stripsize = s.stripsize;
  if (s.quality != 0) o.jpg_quality = s.quality * tenths;
  if (o.jpg_quality == 0 && o.jpg_reserved == 0) o.jpg_quality = usual_quality;
  if (s.motion_jpeg) std::memcpy(o.avi_handler, "MJPG", sizeof o.avi_handler);
  if (s.rate != 0) o.avi_ratenum = s.rate, o.avi_rateden = 1;
  // The writers only read the texts.
  if (s.description != nullptr) o.description = const_cast<char *>(s.description);
  if (s.software != nullptr) o.software = const_cast<char *>(s.software);
  if (s.copyright != nullptr) o.copyright = const_cast<char *>(s.copyright);
  if (s.datetime != nullptr) o.datetime = const_cast<char *>(s.datetime);
  if (o.fts_comment == nullptr) o.fts_comment = o.description;
  if (o.jpg_comment[0] == nullptr) {
    int comments = 0;
    for (char *const text : {o.description, o.software, o.copyright}) {
      if (text != nullptr) o.jpg_comment[comments++] = text;
    }
  }
  return o;
}

// An image for formats of grey and red, green, blue: itself, or a view on it.
class rgb_image {
 public:
  // blue: is it enough to have blue first?
  rgb_image(::qvimage *im, bool blue) noexcept : image_(im) {
    const int32_t hint = im->d.pixelhint;
    const bool other =
        cr_first(hint) || hint == QVIM_HINT_BSH || hint == QVIM_HINT_CMY || hint == QVIM_HINT_CMYK;
    if (!other && (blue || !blue_first(hint))) return;
    constexpr uint8_t share = 1;
    code_ = qvimage_colorconverter(&view_, im, hint == QVIM_HINT_BGRPAD ? QVIM_HINT_RGBPAD : QVIM_HINT_RGB,
                                   share);
    image_ = &view_;
  }
  rgb_image(const rgb_image &) = delete;
  int32_t code() const noexcept { return code_; }
  ::qvimage *get() noexcept { return image_; }

 private:
  ::qvimage view_;
  ::qvimage *image_;
  int32_t code_ = 0;
};

// What a file is to be.
struct job {
  const char *path;
  const saving &how;
  qvimagefileinfo options;
  int64_t append() const noexcept { return how.append ? QVIM_TIFF_END : 0; }
};

// A volume.
inline int32_t save_as(format id, job &j, ::qvimage3 *im) noexcept {
  constexpr uint32_t extended = 2;  // AVI files of any length
  const int32_t hint = im->d.pixelhint;
  ::qvimage *const map = j.how.palette;
  switch (id) {
    case format::tiff:
      return qvimage3_tiffwrite(nullptr, im, map, j.path, nullptr, j.how.buffer, j.append(), &j.options,
                                blue_first(hint), has_blue_first(map), cr_first(hint));
    case format::pnm:
      return qvimage_pgmwriteseq(nullptr, im, j.path, nullptr, j.how.buffer, 0, &j.options, blue_first(hint),
                                 blue_first(hint) || red_first(hint));
    case format::fits:
      return qvimage3_fitswriteseq(nullptr, im, 0, j.path, nullptr, j.how.buffer, &j.options);
    case format::avi:
      return qvimage3_aviwrite(nullptr, im, map, j.path, nullptr, j.how.buffer, &j.options, red_first(hint),
                               has_red_first(map), extended);
    default: return QVERR_UNSUPPORTED;
  }
}

// A picture.
inline int32_t save_as(format id, job &j, ::qvimage *im) noexcept {
  const int32_t hint = im->d.pixelhint;
  ::qvimage *const map = j.how.palette;
  switch (id) {
    case format::tiff:
      return qvimage_tiffwrite(nullptr, im, map, j.path, nullptr, j.how.buffer, j.append(), &j.options,
                               blue_first(hint), has_blue_first(map), cr_first(hint));
    case format::pnm: {
      rgb_image rgb(im, true);
      const int32_t shown = rgb.get()->d.pixelhint;
      return rgb.code() < 0
                 ? rgb.code()
                 : qvimage_pgmwrite(nullptr, rgb.get(), j.path, nullptr, j.how.buffer, 0, &j.options,
                                    blue_first(shown), blue_first(shown) || red_first(shown));
    }
    case format::jpeg: {
      rgb_image rgb(im, false);
      return rgb.code() < 0
                 ? rgb.code()
                 : qvimage_jpegwrite(nullptr, rgb.get(), j.path, nullptr, j.how.buffer, nullptr, &j.options);
    }
    case format::bmp: {
      rgb_image rgb(im, true);
      return rgb.code() < 0
                 ? rgb.code()
                 : qvimage_bmpwrite(nullptr, rgb.get(), map, j.path, nullptr, j.how.buffer, &j.options,
                                    red_first(rgb.get()->d.pixelhint), has_red_first(map), 0);
    }
    case format::fits: return qvimage_fitswrite(nullptr, im, 0, j.path, nullptr, j.how.buffer, &j.options);
    case format::avi: {
      ::qvimage3 film;
      const int32_t code = qvimage_def3from2(&film, im, 1);
      return code < 0 ? code : save_as(id, j, &film);
    }
    default: return QVERR_UNSUPPORTED;
  }
}
inline status no_format(const char *path) noexcept {
  return status(QVERR_UNSUPPORTED, path, "the end of the name tells no format");
}

// Why what was asked for is not done, or well.
inline status refused(const format_sign &sign, const char *path, const saving &how, bool volume) noexcept {
  const bool maps = sign.id == format::tiff || sign.id == format::bmp || sign.id == format::avi;
  if (how.palette != nullptr && !maps)
    return status(QVERR_UNSUPPORTED, path, "files of this format have no palette");
  if (how.append && sign.id != format::tiff)
    return status(QVERR_UNSUPPORTED, path, "only TIFF files are added to");
  if (sign.id == format::ico) return status(QVERR_UNSUPPORTED, path, "icons are not written");
  if (volume && sign.opens == opens::page)
    return status(QVERR_UNSUPPORTED, path, "a file of this format has one picture");
  return {};
}

}  // namespace detail

// Writes the window of a picture, or all planes of a volume, as a file: of an image, a chain, an open
// file, whose runs are set up. Fails with the codes of the format's write function, with QVERR_UNSUPPORTED
// where the name tells no format or the format has no room for what is asked; a callback's answer that
// stopped it is the code.
template <detail::has_record Image, class F = no_progress>
status save(Image &&im, path name, const saving &how = {}, F &&progress = {}) {
  const char *const where = name.c_str();
  const format_sign *const sign = format_of_name(where);
  if (sign == nullptr) return detail::no_format(where);
  auto &record = im.record();
  constexpr bool volume = std::is_same_v<decltype(record), ::qvimage3 &>;
  if (status s = detail::refused(*sign, where, how, volume); !s) return s;
  return detail::with_progress(progress, [&] {
    detail::job work = {where, how, detail::options_of(how)};
    return status::of_work(detail::save_as(sign->id, work, &record), where);
  });
}

// Writes the window of a picture as raw pixels, in its own type, without a header (qvimage_filewrite).
template <detail::has_record Image, class F = no_progress>
status save_raw(Image &&im, path name, F &&progress = {}) {
  return detail::with_progress(progress, [&] {
    return status::of_work(qvimage_filewrite(nullptr, &im.record(), name.c_str(), nullptr, 0), name.c_str());
  });
}

// A file that gets its pictures one by one: TIFF, PNM, FITS, AVI. It owns the file: moved, not copied;
// finish() completes it, and one that is destroyed before is completed likewise, without an answer. It
// appears under its name at once. Used by one thread at a time. One that was moved from, finished or never
// made refuses pictures (QVERR_USAGE).
class writer {
 public:
  // Owns nothing.
  writer() noexcept {}
  writer(writer &&other) noexcept { swap(other); }
  writer &operator=(writer &&other) noexcept {
    writer taken(std::move(other));
    swap(taken);
    return *this;
  }
  ~writer() { (void)finish(); }

  // Makes the file. `like` is a picture like those to come, in size, type and components; nothing of it is
  // written. `frames` says how many there will be, as far as that is known. Texts, palette and `like` of
  // `how` must outlive the writer. Fails with the codes of the format's functions.
  template <detail::has_record Image>
  static result<writer> create(path name, Image &&like, const saving &how = {},
                               uint32_t frames = 0) noexcept {
    writer made;
    const char *const where = name.c_str();
    const format_sign *const sign = format_of_name(where);
    if (sign == nullptr) return detail::no_format(where);
    if (status s = detail::refused(*sign, where, how, true); !s) return s;
    made.id_ = sign->id;
    made.how_ = how;
    made.options_ = detail::options_of(how);
    const int32_t code = made.begin(where, &like.record(), frames);
    if (code < 0) return status::of_file(code, where);
    return made;
  }

  // Adds the window of a picture and sets up its runs. One that failed or was stopped is no part of the file;
  // others may follow in PNM and FITS files, others end with the pictures before. The callback is that of
  // save().
  template <detail::has_record Image, class F = no_progress>
  status add(Image &&picture, F &&progress = {}) {
    if (handle_ == nullptr) return status(QVERR_USAGE, {}, "no file is being written");
    return detail::with_progress(progress, [&] { return status::of_work(put(&picture.record()), {}); });
  }

  // Completes the file and says what went wrong. Nothing where no file is being written.
  status finish() noexcept { return handle_ == nullptr ? status() : status::of_file(end(), {}); }

 private:
  void swap(writer &other) noexcept {
    std::swap(id_, other.id_);
    std::swap(how_, other.how_);
    std::swap(options_, other.options_);
    std::swap(handle_, other.handle_);
  }

  // Calls f with the address of a handle of its own type.
  template <class Handle, class F>
  int32_t with_handle(const F &f) noexcept {
    auto *h = static_cast<Handle *>(handle_);
    const int32_t code = f(&h);
    handle_ = h;
    return code;
  }

  int32_t begin(const char *path, ::qvimage *like, uint32_t frames) noexcept {
    constexpr uint32_t extended = 2;  // AVI files of any length
    const int32_t hint = like->d.pixelhint;
    switch (id_) {
      case format::tiff:
        return with_handle<tiffhandle>([&](tiffhandle **h) {
          return qvimage_tiffwriteopen(h, 1, nullptr, nullptr, path, nullptr, how_.buffer,
                                       how_.append ? QVIM_TIFF_END : 0, &options_);
        });
      case format::pnm:
        return with_handle<pgmhandle>([&](pgmhandle **h) {
          return qvimage_pgmwriteinit(nullptr, h, path, nullptr, how_.buffer, like, 0, &options_,
                                      detail::blue_first(hint),
                                      detail::blue_first(hint) || detail::red_first(hint));
        });
      case format::fits:
        return with_handle<fitshandle>([&](fitshandle **h) {
          return qvimage_fitswriteinit(h, &like->wind, nullptr, like, path, nullptr, how_.buffer, frames,
                                       &options_);
        });
      default:
        return with_handle<avihandle>([&](avihandle **h) {
          return qvimage_aviwriteinit(nullptr, h, path, nullptr, like, how_.buffer, nullptr, how_.palette,
                                      &options_, 0, detail::has_red_first(how_.palette), frames, extended);
        });
    }
  }

  int32_t put(::qvimage *picture) noexcept {
    switch (id_) {
      case format::tiff: {
        const int32_t code = with_handle<tiffhandle>([&](tiffhandle **h) { return put_page(h, picture); });
        if (code != 0) (void)end();
        return code;
      }
      case format::pnm:
        return with_handle<pgmhandle>(
            [&](pgmhandle **h) { return qvimage_pgmwriteadd(h, nullptr, picture); });
      case format::fits:
        return with_handle<fitshandle>(
            [&](fitshandle **h) { return qvimage_fitswriteadd(h, nullptr, picture, &options_); });
      default:
        return with_handle<avihandle>([&](avihandle **h) {
          return qvimage_aviwriteadd(nullptr, h, nullptr, nullptr, picture,
                                     detail::red_first(picture->d.pixelhint));
        });
    }
  }

  int32_t put_page(tiffhandle **h, ::qvimage *picture) noexcept {
    const int32_t hint = picture->d.pixelhint;
    int32_t code = qvimage_tiffwritesetup(h, picture, how_.palette, &options_, detail::blue_first(hint),
                                          detail::has_blue_first(how_.palette), detail::cr_first(hint), 1);
    if (code == 0) code = qvimage_tiffwriteifdinit(h);
    if (code == 0) code = qvimage_tiffwritedata(h, nullptr, picture, 0);
    if (code == 0) code = qvimage_tiffwriteifdfini(h);
    return code;
  }

  int32_t end() noexcept {
    switch (id_) {
      case format::tiff:
        return with_handle<tiffhandle>([&](tiffhandle **h) {
          const int32_t closed = qvimage_tiffclose(h), ended = qvimage_tifffini(h, 1);
          return closed < 0 ? closed : ended;
        });
      case format::pnm: return with_handle<pgmhandle>(qvimage_pgmwritedone);
      case format::fits: return with_handle<fitshandle>(qvimage_fitswritedone);
      default:
        return with_handle<avihandle>(
            [](avihandle **h) { return qvimage_aviwritedone(nullptr, h, nullptr); });
    }
  }

  format id_ = format::tiff;
  saving how_;
  qvimagefileinfo options_ = {};
  void *handle_ = nullptr;
};

}  // namespace qv
