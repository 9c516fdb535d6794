// The calls that series make to the formats of their files.
#include <qvimage/bmp.h>
#include <qvimage/colour.h>
#include <qvimage/error.h>
#include <qvimage/fits.h>
#include <qvimage/jpeg.h>
#include <qvimage/pgm.h>
#include <qvimage/raw.h>
#include <qvimage/tiff.h>
#include <qvimage/views.h>

#include "core/reason.hpp"
#include "files/series/member.hpp"

namespace qvim::series {

namespace {

bool is_bgr(const qvimage *image) {
  return image && (image->d.pixelhint == QVIM_HINT_BGR || image->d.pixelhint == QVIM_HINT_BGRPAD);
}
bool is_rgb(const qvimage *image) {
  return image && (image->d.pixelhint == QVIM_HINT_RGB || image->d.pixelhint == QVIM_HINT_RGBPAD);
}
bool is_ycrcb(const qvimage *image) {
  return image->d.pixelhint == QVIM_HINT_YCRCB || image->d.pixelhint == QVIM_HINT_YCRCBPAD;
}

template <class Handle>
Handle *&handle_of(opened &file) {
  return reinterpret_cast<Handle *&>(file.handle);
}

// The first frame of a file that holds several.
int32_t take_first(opened &file, int32_t code, void (*close)(opened &)) {
  if (code < 0) return code;
  file.close = close;
  return qvimage_def2from3(&file.image, &file.frames, 0, 2, 0, 0);
}

// --- TIFF

int32_t read_tiff(opened &file, const char *path, int64_t bufsize, const frame &f) {
  const int32_t code = qvimage_tiffread(&file.image, f.lut ? &file.palette : nullptr,
                                        &handle_of<tiffhandle>(file), path, nullptr, bufsize, 0, 0);
  if (code == 0)
    file.close = [](opened &o) { qvimage_tiffreaddone(&o.image, &o.palette, &handle_of<tiffhandle>(o)); };
  return code;
}
int32_t tiff_info(qvimagefileinfo *info, const char *path, int64_t bufsize) {
  return qvimage_tiffinfo(info, path, nullptr, bufsize, 0);
}
int32_t write_tiff(const frame &f, const char *path, int64_t bufsize, qvimagefileinfo *info) {
  return qvimage_tiffwrite(nullptr, f.image, f.lut, path, nullptr, bufsize, 0, info, is_bgr(f.image),
                           is_bgr(f.lut), is_ycrcb(f.image));
}

// --- BMP: the palette's order is the lut's, colours without one have the frame's.

int32_t read_bmp(opened &file, const char *path, int64_t bufsize, const frame &f) {
  const int32_t code =
      qvimage_bmpread(&file.image, f.lut ? &file.palette : nullptr, &handle_of<bmphandle>(file), path,
                      nullptr, bufsize, is_rgb(f.lut ? f.lut : f.image), 0, 0);
  if (code == 0)
    file.close = [](opened &o) { qvimage_bmpreaddone(&o.image, &o.palette, &handle_of<bmphandle>(o)); };
  return code;
}
int32_t bmp_info(qvimagefileinfo *info, const char *path, int64_t bufsize) {
  return qvimage_bmpinfo(info, path, nullptr, bufsize, 0);
}
int32_t write_bmp(const frame &f, const char *path, int64_t bufsize, qvimagefileinfo *info) {
  return qvimage_bmpwrite(nullptr, f.image, f.lut, path, nullptr, bufsize, info, is_rgb(f.image),
                          is_rgb(f.lut), f.image->d.pixies == 4);
}

// --- JPEG

int32_t read_jpeg(opened &file, const char *path, int64_t bufsize, const frame &) {
  const int32_t code =
      qvimage_jpegread(&file.image, &handle_of<jpegcontext>(file), path, nullptr, bufsize, nullptr);
  if (code == 0) file.close = [](opened &o) { qvimage_jpegreaddone(&o.image, &handle_of<jpegcontext>(o)); };
  return code;
}
int32_t jpeg_info(qvimagefileinfo *info, const char *path, int64_t bufsize) {
  return qvimage_jpeginfo(info, path, nullptr, bufsize);
}
int32_t write_jpeg(const frame &f, const char *path, int64_t bufsize, qvimagefileinfo *info) {
  qvimage recoloured, *image = f.image;
  if (f.image->d.pixies > 1 && f.image->d.pixelhint != QVIM_HINT_RGB) {
    if (const int32_t code = qvimage_colorconverter(&recoloured, f.image, QVIM_HINT_RGB, 0); code < 0)
      return code;
    image = &recoloured;
  }
  return qvimage_jpegwrite(nullptr, image, path, nullptr, bufsize, nullptr, info);
}

// --- FITS

int32_t read_fits(opened &file, const char *path, int64_t bufsize, const frame &) {
  const int32_t code =
      qvimage3_fitsread(&file.frames, nullptr, &handle_of<fitshandle>(file), path, nullptr, bufsize, 0);
  return take_first(file, code,
                    [](opened &o) { qvimage3_fitsreaddone(&o.frames, nullptr, &handle_of<fitshandle>(o)); });
}
int32_t fits_info(qvimagefileinfo *info, const char *path, int64_t bufsize) {
  return qvimage_fitsinfo(info, path, nullptr, bufsize, 0);
}
int32_t write_fits(const frame &f, const char *path, int64_t bufsize, qvimagefileinfo *info) {
  if (f.image->d.pixietype == QVIM_FLOAT64)
    return because(QVERR_DATATYPE, {"double precision FITS files are not read back"});
  return qvimage_fitswrite(nullptr, f.image, 0, path, nullptr, bufsize, info);
}

// --- PGM

int32_t read_pgm(opened &file, const char *path, int64_t bufsize, const frame &) {
  const int32_t code =
      qvimage3_pgmread(&file.frames, nullptr, &handle_of<pgmhandle>(file), path, nullptr, bufsize, 0);
  return take_first(file, code,
                    [](opened &o) { qvimage3_pgmreaddone(&o.frames, nullptr, &handle_of<pgmhandle>(o)); });
}
int32_t pgm_info(qvimagefileinfo *info, const char *path, int64_t bufsize) {
  return qvimage_pgminfo(info, path, nullptr, bufsize);
}
int32_t write_pgm(const frame &f, const char *path, int64_t bufsize, qvimagefileinfo *info) {
  return qvimage_pgmwrite(nullptr, f.image, path, nullptr, bufsize, 0, info, is_bgr(f.image),
                          f.image->d.pixies == 4);
}

// --- raw files, which are as the frame says

int32_t read_bin(opened &file, const char *path, int64_t bufsize, const frame &f) {
  const auto &extent = f.image->imdim.se;
  const uint32_t size[2] = {uint32_t(extent.x), uint32_t(extent.y)};
  const qvimagedata d = f.image->d;
  const int32_t code =
      qvimage_file(&file.image, &handle_of<bufio>(file), path, "rb", size, uint32_t(d.pixietype),
                   d.pixietype < QVIM_FLOAT32 ? uint32_t(d.i_bitsused) : 0, uint32_t(d.pixies),
                   uint32_t(d.pixelhint), uint32_t(bufsize));
  if (code == 0) file.close = [](opened &o) { qvimage_filedone(&o.image, &handle_of<bufio>(o)); };
  return code;
}
int32_t write_bin(const frame &f, const char *path, int64_t bufsize, qvimagefileinfo *) {
  return qvimage_filewrite(nullptr, f.image, path, nullptr, uint32_t(bufsize));
}

}  // namespace

const member tiff{"BTIFFSEQ", "BTIFFSQL", 0x53455154, read_tiff, tiff_info, qvimage_tiffinfodone, write_tiff};
const member bmp{"BBMPSEQ", "BBMPSQL", 0x53455142, read_bmp, bmp_info, qvimage_bmpinfodone, write_bmp};
const member jpeg{"BJPGSEQ", nullptr, 0x5345514A, read_jpeg, jpeg_info, qvimage_jpeginfodone, write_jpeg};
const member fits{"BJPGSEQ", nullptr, 0x53455146, read_fits, fits_info, qvimage_fitsinfodone, write_fits};
const member pgm{"BJPGSEQ", nullptr, 0x53455150, read_pgm, pgm_info, qvimage_pgminfodone, write_pgm};
const member bin{"BBINSEQ", nullptr, 0x53455152, read_bin, nullptr, nullptr, write_bin};

}  // namespace qvim::series
