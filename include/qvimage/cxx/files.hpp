// Open files as images. Part of qvimage/qvimage.hpp.
//
//   qv::open(path), qv::open_stack(path)   a file of any format: one of its pictures, or all of them
//   qv::tiff::open(path), jpeg, bmp        a picture of a file of that format
//   qv::tiff_stack::open(path), pnm, fits, avi   all pictures of it, as the planes of a volume
//   qv::raw::open<T>(path, size)           pixels without a header, to be read and written
//   qv::info::of(path)                     what a file says about a picture
//
// An open file is used like an image (qvimage/cxx/image.hpp); pixels are decoded as they are asked for. It
// owns the file: it is moved, not copied, and closes it at the end. Regions, copies and chains made of it are
// values that read through it, and it must outlive them; where several threads read one file, each uses a
// copy(). An object that was moved from, closed, or never opened is null images: every call is safe, and
// nothing is transferred.
#pragma once

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <qvimage/avi.h>
#include <qvimage/bmp.h>
#include <qvimage/cxx/formats.hpp>
#include <qvimage/cxx/views.hpp>
#include <qvimage/fits.h>
#include <qvimage/jpeg.h>
#include <qvimage/pgm.h>
#include <qvimage/raw.h>
#include <qvimage/tiff.h>

namespace qv {

// A path: text that ends with a zero (null is no file's), or anything with c_str(), such as strings and
// std::filesystem::path.
class path {
 public:
  path(const char *text) noexcept : text_(text == nullptr ? "" : text) {}
  template <class Text>
  requires requires(const Text &t) {
    { t.c_str() } -> std::convertible_to<const char *>;
  }
  path(const Text &text) noexcept : text_(text.c_str()) {}
  const char *c_str() const noexcept { return text_; }

 private:
  const char *text_;
};

// How a file is opened.
struct opening {
  uint64_t page = 0;       // of the pictures in a file, where one is opened
  bool palette = false;    // colour maps: pixels are indices, and palette() is the map; else colours
  bool lenient = false;    // FITS and AVI: files that are refused otherwise (qvimage/fits.h, avi.h)
  bool red_first = false;  // BMP: colours as red, green, blue
  bool icon = false;       // BMP: an icon file; found out by qv::open
  int64_t buffer = 0;      // bytes of the file's block; 0: 64 KiB
};

namespace detail {

// The formats' functions with the same arguments. `open` makes an image of a picture, or of all.
struct of_tiff {
  using handle = tiffhandle;
  static int32_t open(::qvimage *im, ::qvimage *map, handle **h, const char *path,
                      const opening &o) noexcept {
    return qvimage_tiffread(im, map, h, path, nullptr, o.buffer, o.page, 0);
  }
  static int32_t open(::qvimage3 *im, ::qvimage *map, handle **h, const char *path,
                      const opening &o) noexcept {
    return qvimage3_tiffread(im, map, h, path, nullptr, o.buffer, 0);
  }
  static int32_t done(::qvimage *, handle **h) noexcept { return qvimage_tiffreaddone(nullptr, nullptr, h); }
  static int32_t done(::qvimage3 *, handle **h) noexcept {
    return qvimage3_tiffreaddone(nullptr, nullptr, h);
  }
  static int32_t info(handle *h, qvimagefileinfo *i, uint64_t page) noexcept {
    return qvimage_tiffreadinfo(h, i, page);
  }
  static void info_done(qvimagefileinfo *i) noexcept { qvimage_tiffinfodone(i); }
};

struct of_jpeg {
  using handle = jpegcontext;
  static int32_t open(::qvimage *im, ::qvimage *, handle **h, const char *path, const opening &o) noexcept {
    return qvimage_jpegread(im, h, path, nullptr, o.buffer, nullptr);
  }
  static int32_t done(::qvimage *, handle **h) noexcept { return qvimage_jpegreaddone(nullptr, h); }
  static int32_t info(handle *h, qvimagefileinfo *i, uint64_t) noexcept { return qvimage_jpegreadinfo(h, i); }
  static void info_done(qvimagefileinfo *i) noexcept { qvimage_jpeginfodone(i); }
};

struct of_bmp {
  using handle = bmphandle;
  static int32_t open(::qvimage *im, ::qvimage *map, handle **h, const char *path,
                      const opening &o) noexcept {
    return qvimage_bmpread(im, map, h, path, nullptr, o.buffer, o.red_first, 0, o.icon);
  }
  static int32_t done(::qvimage *, handle **h) noexcept { return qvimage_bmpreaddone(nullptr, nullptr, h); }
  static int32_t info(handle *h, qvimagefileinfo *i, uint64_t) noexcept {
    return qvimage_bmpreadinfo(h, i, 0);
  }
  static void info_done(qvimagefileinfo *i) noexcept { qvimage_bmpinfodone(i); }
};

struct of_pgm {
  using handle = pgmhandle;
  static int32_t open(::qvimage3 *im, ::qvimage *, handle **h, const char *path, const opening &o) noexcept {
    return qvimage3_pgmread(im, nullptr, h, path, nullptr, o.buffer, o.lenient);
  }
  static int32_t done(::qvimage3 *, handle **h) noexcept { return qvimage3_pgmreaddone(nullptr, nullptr, h); }
  static int32_t info(handle *h, qvimagefileinfo *i, uint64_t) noexcept { return qvimage_pgmreadinfo(h, i); }
  static void info_done(qvimagefileinfo *i) noexcept { qvimage_pgminfodone(i); }
};

struct of_fits {
  using handle = fitshandle;
  static int32_t open(::qvimage3 *im, ::qvimage *, handle **h, const char *path, const opening &o) noexcept {
    return qvimage3_fitsread(im, nullptr, h, path, nullptr, o.buffer, o.lenient);
  }
  static int32_t done(::qvimage3 *, handle **h) noexcept {
    return qvimage3_fitsreaddone(nullptr, nullptr, h);
  }
  static int32_t info(handle *h, qvimagefileinfo *i, uint64_t page) noexcept {
    return qvimage_fitsreadinfo(h, i, page);
  }
  static void info_done(qvimagefileinfo *i) noexcept { qvimage_fitsinfodone(i); }
};

struct of_avi {
  using handle = avihandle;
  static int32_t open(::qvimage3 *im, ::qvimage *map, handle **h, const char *path,
                      const opening &o) noexcept {
    return qvimage3_aviread(im, map, h, path, nullptr, o.buffer, o.lenient);
  }
  static int32_t done(::qvimage3 *, handle **h) noexcept { return qvimage3_avireaddone(nullptr, nullptr, h); }
  static int32_t info(handle *h, qvimagefileinfo *i, uint64_t) noexcept { return qvimage_avireadinfo(h, i); }
  static void info_done(qvimagefileinfo *i) noexcept { qvimage_aviinfodone(i); }
};

struct of_raw {
  using handle = bufio;
  static int32_t done(::qvimage *, handle **h) noexcept {
    bufio_flush(*h);
    const int32_t code = bufio_err(*h);
    qvimage_filedone(nullptr, h);
    return code;
  }
  static int32_t info(handle *, qvimagefileinfo *, uint64_t) noexcept { return QVERR_UNSUPPORTED; }
  static void info_done(qvimagefileinfo *) noexcept {}
};

// The same without the handle's type.
struct file_calls {
  int32_t (*done)(void *handle) noexcept;
  int32_t (*info)(void *handle, qvimagefileinfo *info, uint64_t page) noexcept;
  void (*info_done)(qvimagefileinfo *info) noexcept;
};
template <class Format, class Record>
inline constexpr file_calls calls_of = {[](void *handle) noexcept {
                                          auto *h = static_cast<typename Format::handle *>(handle);
                                          return Format::done(static_cast<Record *>(nullptr), &h);
                                        },
                                        [](void *handle, qvimagefileinfo *info, uint64_t page) noexcept {
                                          return Format::info(static_cast<typename Format::handle *>(handle),
                                                              info, page);
                                        },
                                        Format::info_done};

// Does a format open as a picture (qvimage), as a volume (qvimage3)?
template <class Format, class Record>
concept opens_as = requires(Record *im, typename Format::handle **h, const opening &o) {
  Format::open(im, nullptr, h, nullptr, o);
};

template <class Top>
struct opener;

}  // namespace detail

// What a file says about a picture, beside its pixels: an owner of the C record (qvimage/fileinfo.h) and its
// texts. Moved, not copied; one that was moved from is all 0.
class info {
 public:
  info() noexcept {}
  info(info &&other) noexcept
      : record_(std::exchange(other.record_, {})), done_(std::exchange(other.done_, nullptr)) {}
  info &operator=(info &&other) noexcept {
    std::swap(record_, other.record_);
    std::swap(done_, other.done_);
    return *this;
  }
  ~info() {
    if (done_ != nullptr) done_(&record_);
  }

  // Of a file of any format; fails as qv::open does.
  static result<info> of(path name, uint64_t page = 0) noexcept;

  const qvimagefileinfo &operator*() const noexcept { return record_; }
  const qvimagefileinfo *operator->() const noexcept { return &record_; }

 private:
  template <class>
  friend class basic_file;
  qvimagefileinfo record_ = {};
  void (*done_)(qvimagefileinfo *) noexcept = nullptr;
};

// An open file, whatever its format: a picture (file) or a volume (stack).
template <class Top>
class basic_file : public image_calls<basic_file<Top>, Top> {
 public:
  // Owns nothing.
  basic_file() noexcept {}
  basic_file(basic_file &&other) noexcept { swap(other); }
  basic_file &operator=(basic_file &&other) noexcept {
    basic_file taken(std::move(other));
    swap(taken);
    return *this;
  }
  ~basic_file() { (void)close(); }

  // Closes the file; nothing where none is open. The answer says, of files that are written, what went wrong.
  status close() noexcept {
    if (handle_ == nullptr) return {};
    const int32_t code = calls_->done(std::exchange(handle_, nullptr));
    images_ = {};
    palette_ = image();
    return status::of_file(code, {});
  }
  bool is_open() const noexcept { return handle_ != nullptr; }

  // The image as a value that reads through this file, with a window and set-ups of its own.
  chain<2, Top> copy() const noexcept { return images_; }

  // The image in its place, and the record for C functions.
  basic_view<Top> &top() noexcept { return images_.top(); }
  Top &record() noexcept { return images_.record(); }
  const Top &record() const noexcept { return images_.record(); }

  // The colour map, where there is one and it was asked for: an image of 2^bits entries; else a null image.
  // It belongs to this file.
  image &palette() noexcept { return palette_; }

  // What the file says: of the picture that was opened, or of a page of a stack. Fails with QVERR_UNSUPPORTED
  // for files that say nothing, with QVERR_USAGE where no file is open, else with codes of the format's
  // readinfo.
  result<qv::info> info(uint64_t page) const noexcept {
    if (handle_ == nullptr) return status(QVERR_USAGE, {}, "no file is open");
    qv::info found;
    const int32_t code = calls_->info(handle_, &found.record_, page);
    if (code < 0) return status::of_file(code, {});
    found.done_ = calls_->info_done;
    return found;
  }
  result<qv::info> info() const noexcept { return info(page_); }

  // How many pictures the file has: of a stack its planes; of a picture what the file says, 0 where it says
  // nothing.
  int32_t pages() const noexcept {
    if constexpr (detail::dimension<Top>::axes == 3) return record().imdim.se.z;
    const auto found = info();
    return found ? static_cast<int32_t>((*found)->pagecount) : 0;
  }

  // A plane of a stack, counted from 0, as a picture. One that there is not has no pixels.
  result<chain<3>> page(int32_t number) const noexcept requires(detail::dimension<Top>::axes == 3) {
    return images_.with(plane{number});
  }

 protected:
  template <class>
  friend struct detail::opener;
  void swap(basic_file &other) noexcept {
    std::swap(images_, other.images_);
    std::swap(palette_, other.palette_);
    std::swap(handle_, other.handle_);
    std::swap(calls_, other.calls_);
    std::swap(page_, other.page_);
  }

  chain<2, Top> images_;  // the top is the image; below it what it is a view of, or a null image
  image palette_;
  void *handle_ = nullptr;
  const detail::file_calls *calls_ = nullptr;
  uint64_t page_ = 0;
};

using file = basic_file<::qvimage>;
using stack = basic_file<::qvimage3>;

namespace detail {

template <class Top>
struct opener {
  // Opens a file of that format into `to`, through a view where the format has another dimension.
  template <class Format>
  static status open(basic_file<Top> &to, const char *path, const opening &o) noexcept {
    ::qvimage *const map = o.palette ? &to.palette_ : nullptr;
    if constexpr (opens_as<Format, Top>) {
      return take<Format, Top>(to, to.images_.record(), map, path, o);
    } else if constexpr (dimension<Top>::axes == 2) {
      image3 all;
      if (status s = take<Format, ::qvimage3>(to, all, map, path, o); !s) return s;
      const bool there = o.page < static_cast<uint64_t>(all.imdim.se.z);
      return put(to, all, plane{there ? static_cast<int32_t>(o.page) : -1}, there, path);
    } else {
      image one;
      if (status s = take<Format, ::qvimage>(to, one, map, path, o); !s) return s;
      return put(to, one, volume{}, true, path);
    }
  }

  // Opens raw pixels.
  static status open_raw(basic_file<Top> &to, const char *path, const char *mode, const extent &size,
                         int32_t type, int32_t bits, int32_t components, int32_t hint) noexcept {
    const uint32_t sides[2] = {static_cast<uint32_t>(size.size[0]), static_cast<uint32_t>(size.size[1])};
    bufio *h = nullptr;
    const int32_t code = qvimage_file(&to.record(), &h, path, mode, sides, static_cast<uint32_t>(type),
                                      static_cast<uint32_t>(bits), static_cast<uint32_t>(components),
                                      static_cast<uint32_t>(hint), 0);
    to.handle_ = h;
    to.calls_ = &calls_of<of_raw, ::qvimage>;
    return status::of_file(code, path);
  }

 private:
  template <class Format, class Record>
  static status take(basic_file<Top> &to, Record &im, ::qvimage *map, const char *path,
                     const opening &o) noexcept {
    typename Format::handle *h = nullptr;
    const int32_t code = Format::open(&im, map, &h, path, o);
    to.handle_ = h;
    to.calls_ = &calls_of<Format, Record>;
    to.page_ = o.page;
    return status::of_file(code, path);
  }

  template <class Image, class View>
  static status put(basic_file<Top> &to, const Image &source, const View &view, bool there,
                    const char *path) noexcept {
    const auto made = source | view;
    if (there && made) {
      to.images_ = *made;
      return {};
    }
    const status why = there ? made.error() : status(QVERR_USAGE, path, "the file has no such page");
    (void)to.close();
    return why;
  }
};

// Opens a file of whatever format its first bytes tell.
template <class Top>
result<basic_file<Top>> open_any(const char *path, opening how) noexcept {
  std::FILE *const f = std::fopen(path, "rbe");
  if (f == nullptr) return status(QVERR_NOTFOUND, path, std::strerror(errno));
  char head[signature_bytes];
  const std::size_t bytes = std::fread(head, 1, sizeof head, f);
  std::fclose(f);
  const format_sign *const sign = format_of_content({head, bytes});
  if (sign == nullptr) return status(QVERR_FORMAT, path, "no known format begins so");
  how.icon = sign->id == format::ico;
  basic_file<Top> made;
  status s;
  switch (sign->id) {
#define QVIM_FORMAT(id, stem, name, suffixes, signature, opens) \
  case format::id:                                              \
    s = opener<Top>::template open<of_##stem>(made, path, how); \
    break;
#include <qvimage/formats.inc>
#undef QVIM_FORMAT
  }
  if (!s) return s;
  return made;
}

}  // namespace detail

// A picture of a file of any format: the first one, or that of the page asked for. Fails with QVERR_NOTFOUND
// where there is no file, QVERR_FORMAT where it is none of the formats, else with the codes of the format's
// read function. Files of raw pixels say nothing of themselves: raw::open.
inline result<file> open(path name, const opening &how = {}) noexcept {
  return detail::open_any<::qvimage>(name.c_str(), how);
}

// All pictures of a file of any format as the planes of a volume; a file of one picture is a volume of one
// plane.
inline result<stack> open_stack(path name, const opening &how = {}) noexcept {
  return detail::open_any<::qvimage3>(name.c_str(), how);
}

// A file of one format: tiff, jpeg, bmp; stacks: tiff_stack, pnm, fits, avi.
template <class Format, class Top>
class file_of : public basic_file<Top> {
 public:
  // Opens a file. Fails with the codes of the format's read function, with path and reason.
  static result<file_of> open(path name, const opening &how = {}) noexcept {
    file_of made;
    if (status s = detail::opener<Top>::template open<Format>(made, name.c_str(), how); !s) return s;
    return made;
  }

  // The open file, for C functions; null when none is open.
  typename Format::handle *handle() const noexcept {
    return static_cast<typename Format::handle *>(this->handle_);
  }
};

// Pictures, and stacks.
using tiff = file_of<detail::of_tiff, ::qvimage>;
using jpeg = file_of<detail::of_jpeg, ::qvimage>;
using bmp = file_of<detail::of_bmp, ::qvimage>;
using tiff_stack = file_of<detail::of_tiff, ::qvimage3>;
using pnm = file_of<detail::of_pgm, ::qvimage3>;
using fits = file_of<detail::of_fits, ::qvimage3>;
using avi = file_of<detail::of_avi, ::qvimage3>;

// Pixels in a file without a header, read and written where they lie (qvimage/raw.h). What is written may
// stay in the file's block until close(), which says what went wrong.
class raw : public file {
 public:
  // Opens a file of such pixels to read, with writable to write, too. Size, components, bits and hint are
  // those of over(). Fails with the codes of qvimage_file.
  template <class T>
  static result<raw> open(path name, extent size, int32_t components = 1, int32_t bits = 0,
                          bool writable = false, int32_t hint = -1) noexcept {
    return made<T>(name, writable ? "r+b" : "rb", size, components, bits, hint);
  }

  // Makes a new file, or empties one that is there.
  template <class T>
  static result<raw> create(path name, extent size, int32_t components = 1, int32_t bits = 0,
                            int32_t hint = -1) noexcept {
    return made<T>(name, "wb", size, components, bits, hint);
  }

 private:
  template <class T>
  static result<raw> made(path name, const char *mode, const extent &size, int32_t components, int32_t bits,
                          int32_t hint) noexcept {
    raw r;
    const int32_t means = hint < 0 ? detail::usual_hint(components) : hint;
    const status s = detail::opener<::qvimage>::open_raw(r, name.c_str(), mode, size,
                                                         detail::pixie_type_of<T>(), bits, components, means);
    if (!s) return s;
    return r;
  }
};

inline result<info> info::of(path name, uint64_t page) noexcept {
  auto opened = qv::open(name, {.page = page});
  if (!opened) return opened.error();
  return opened->info(page);
}

}  // namespace qv
