// The formats of files in one table, for what holds of all of them: how frames become a file, and how it is
// opened.
#pragma once

#include "tests/files/pictures.hpp"

namespace formats {

// How a file is written.
struct saving {
  const char *mode = nullptr;
  int64_t buffer = 0;
  qvimagefileinfo options{};
};

// How a file is read: one of the two records is opened.
struct reading {
  int32_t (*open)(qvimage3 *frames, qvimage *page, void **handle, const char *path, int64_t buffer);
  int32_t (*done)(void **handle);
  int32_t (*info)(qvimagefileinfo *info, const char *path, int64_t buffer);
  void (*info_done)(qvimagefileinfo *info);
  bool of_pages;
};

struct pixels {
  int32_t type, bits, pixies, hint;
};

struct format {
  const char *name;
  pixels of;
  int32_t frames;
  int tolerance;  // of coded pixels
  reading file;
  // Of the formats that hold one frame, the first becomes the file.
  int32_t (*write)(qvimage3 *frames, qvimage *first, const char *path, saving &how);

  int32_t save(film &f, const std::string &path, saving how = {}) const {
    qvimage first = f.frame(0);
    return write(&f.image, &first, path.c_str(), how);
  }
  film picture(int32_t width, int32_t height) const {
    return {of.type, of.bits, of.pixies, of.hint, width, height, frames};
  }
  friend void PrintTo(const format &f, std::ostream *out) { *out << f.name; }
};

// A file that is open until the end, as its format opens it.
struct opened {
  opened(const format &f, const std::string &path, int64_t buffer = 0)
      : file(f.file), code(file.open(&frames, &page, &handle, path.c_str(), buffer)) {}
  ~opened() {
    if (handle) {
      EXPECT_EQ(file.done(&handle), 0);
    }
  }
  opened(const opened &) = delete;
  // Calls with the image, whichever it is.
  template <class Use>
  auto with(Use use) {
    return file.of_pages ? use(page) : use(frames);
  }
  bytes shown() {
    return with([](auto &image) { return pixels_of(image); });
  }
  size_t size() {
    return with([](auto &image) { return pixels_in(image) * size_t(image.f.pixelsize); });
  }
  int32_t error() {
    return with([](auto &image) { return int32_t(image.aeiou(&image, 'e', 1, 0, nullptr)); });
  }

  const reading file;
  qvimage3 frames{};
  qvimage page{};
  void *handle = nullptr;
  const int32_t code;
};

// The readers' functions, which differ in what stands behind the arguments that they share.
template <auto Read>
concept of_frames = requires(qvimage3 *frames) {
  Read(frames, nullptr, nullptr, nullptr, nullptr, 0, 0);
};
template <class Handle, auto Read>
int32_t open(qvimage3 *frames, qvimage *page, void **handle, const char *path, int64_t buffer) {
  const auto h = reinterpret_cast<Handle **>(handle);
  if constexpr (of_frames<Read>)
    return Read(frames, nullptr, h, path, nullptr, buffer, 0);
  else if constexpr (requires { Read(page, h, path, nullptr, buffer, nullptr); })
    return Read(page, h, path, nullptr, buffer, nullptr);
  else
    return Read(page, nullptr, h, path, nullptr, buffer, 0, 0, 0);
}
template <class Handle, auto Done>
int32_t done(void **handle) {
  const auto h = reinterpret_cast<Handle **>(handle);
  if constexpr (requires { Done(nullptr, h); })
    return Done(nullptr, h);
  else
    return Done(nullptr, nullptr, h);
}
template <auto Info>
int32_t info(qvimagefileinfo *info, const char *path, int64_t buffer) {
  if constexpr (requires { Info(info, path, nullptr, buffer); })
    return Info(info, path, nullptr, buffer);
  else
    return Info(info, path, nullptr, buffer, 0);
}
template <class Handle, auto Read, auto Done, auto Info, auto InfoDone>
constexpr reading reader = {open<Handle, Read>, done<Handle, Done>, info<Info>, InfoDone, !of_frames<Read>};

// TIFF of a compression, in strips of some rows.
template <uint32_t Compression>
int32_t write_tiff(qvimage3 *frames, qvimage *, const char *path, saving &how) {
  how.options.compression = Compression;
  how.options.stripsize = 900;
  return qvimage3_tiffwrite(nullptr, frames, nullptr, path, how.mode, how.buffer, 0, &how.options, 0, 0, 0);
}
inline int32_t write_jpeg(qvimage3 *, qvimage *first, const char *path, saving &how) {
  how.options.jpg_quality = 1000;
  return qvimage_jpegwrite(nullptr, first, path, how.mode, how.buffer, nullptr, &how.options);
}
inline int32_t write_pnm(qvimage3 *frames, qvimage *, const char *path, saving &how) {
  return qvimage_pgmwriteseq(nullptr, frames, path, how.mode, how.buffer, 0, &how.options, 0, 0);
}
inline int32_t write_bmp(qvimage3 *, qvimage *first, const char *path, saving &how) {
  return qvimage_bmpwrite(nullptr, first, nullptr, path, how.mode, how.buffer, &how.options, 0, 0, 1);
}
inline int32_t write_fits(qvimage3 *frames, qvimage *, const char *path, saving &how) {
  return qvimage3_fitswriteseq(nullptr, frames, 0, path, how.mode, how.buffer, &how.options);
}
template <uint32_t Mode>
int32_t write_avi(qvimage3 *frames, qvimage *, const char *path, saving &how) {
  return qvimage3_aviwrite(nullptr, frames, nullptr, path, how.mode, how.buffer, &how.options, 0, 0, Mode);
}
inline int32_t write_motion_jpeg(qvimage3 *frames, qvimage *first, const char *path, saving &how) {
  std::memcpy(how.options.avi_handler, "MJPG", 4);
  how.options.jpg_quality = 1000;
  return write_avi<1>(frames, first, path, how);
}
inline int32_t write_raw(qvimage3 *, qvimage *first, const char *path, saving &how) {
  return qvimage_filewrite(nullptr, first, path, how.mode, how.buffer);
}
// Raw files tell nothing of themselves, so that they all have one size here.
constexpr uint32_t raw_size[2] = {700, 20};
inline int32_t open_raw(qvimage3 *, qvimage *page, void **handle, const char *path, int64_t buffer) {
  return qvimage_file(page, reinterpret_cast<bufio **>(handle), path, "rb", raw_size, QVIM_UINT32, 31, 1,
                      QVIM_HINT_GREY, uint32_t(buffer));
}

constexpr reading
    tiff_file =
        reader<tiffhandle, qvimage3_tiffread, qvimage3_tiffreaddone, qvimage_tiffinfo, qvimage_tiffinfodone>,
    jpeg_file =
        reader<jpegcontext, qvimage_jpegread, qvimage_jpegreaddone, qvimage_jpeginfo, qvimage_jpeginfodone>,
    pnm_file =
        reader<pgmhandle, qvimage3_pgmread, qvimage3_pgmreaddone, qvimage_pgminfo, qvimage_pgminfodone>,
    bmp_file = reader<bmphandle, qvimage_bmpread, qvimage_bmpreaddone, qvimage_bmpinfo, qvimage_bmpinfodone>,
    fits_file =
        reader<fitshandle, qvimage3_fitsread, qvimage3_fitsreaddone, qvimage_fitsinfo, qvimage_fitsinfodone>,
    avi_file =
        reader<avihandle, qvimage3_aviread, qvimage3_avireaddone, qvimage_aviinfo, qvimage_aviinfodone>,
    raw_file = {open_raw, done<bufio, qvimage_filedone>, nullptr, nullptr, true};

inline const format tiff = {"tif", {QVIM_UINT16, 12, 1, QVIM_HINT_GREY}, 3, 0, tiff_file, write_tiff<5>};
inline const format jpeg = {"jpg", {QVIM_UINT8, 8, 3, QVIM_HINT_RGB}, 1, 4, jpeg_file, write_jpeg};
inline const format pnm = {"pgm", {QVIM_UINT16, 10, 3, QVIM_HINT_RGB}, 3, 0, pnm_file, write_pnm};
inline const format bmp = {"bmp", {QVIM_UINT8, 8, 3, QVIM_HINT_BGR}, 1, 0, bmp_file, write_bmp};
inline const format fits = {"fits", {QVIM_FLOAT32, 0, 1, QVIM_HINT_GREY}, 3, 0, fits_file, write_fits};
inline const format avi = {"avi", {QVIM_UINT8, 8, 3, QVIM_HINT_BGR}, 3, 0, avi_file, write_avi<2>};
inline const format raw = {"raw", {QVIM_UINT32, 31, 1, QVIM_HINT_GREY}, 1, 0, raw_file, write_raw};
inline const format all[] = {tiff, jpeg, pnm, bmp, fits, avi, raw};

}  // namespace formats
