#include "bmp.hpp"

#include <cmath>

#include <qvimage/bmp.h>
#include <qvimage/error.h>

#include "audit/audit.hpp"
#include "failure.hpp"
#include "handle.hpp"
#include "progress.hpp"
#include "serial_writer.hpp"
#include "text.hpp"
#include "words.hpp"

namespace tool {

namespace {

constexpr uint32_t colour_palette = 1;                  // of bmp_palettekind
constexpr uint32_t unit_inch = 2, unit_centimetre = 3;  // of resunit
constexpr double inches_a_metre = 1 / 0.0254;

int32_t described(qvimagefileinfo *info, const char *path, bool icon) {
  const int32_t code = qvimage_bmpinfo(info, path, nullptr, 0, icon);
  if (code < 0) return code;
  info->palette = info->bmp_palettekind == colour_palette;
  if (info->bmp_xppm <= 0 || info->bmp_yppm <= 0) return code;
  info->resunit = unit_centimetre;
  info->xres[0] = static_cast<uint32_t>(info->bmp_xppm);
  info->yres[0] = static_cast<uint32_t>(info->bmp_yppm);
  info->xres[1] = info->yres[1] = 100;
  return code;
}

int32_t info(qvimagefileinfo *info, const char *path, int64_t) { return described(info, path, false); }
int32_t icon_info(qvimagefileinfo *info, const char *path, int64_t) { return described(info, path, true); }

int32_t opened(qvimage *image, qvimage *palette, void **handle, const char *path, bool icon) {
  return with_handle<bmphandle>(handle, [&](bmphandle **h) {
    return qvimage_bmpread(image, palette, h, path, nullptr, 0, 1, 0, icon);
  });
}
int32_t read(qvimage *image, qvimage *palette, void **handle, const char *path, int64_t) {
  return opened(image, palette, handle, path, false);
}
int32_t read_icon(qvimage *image, qvimage *palette, void **handle, const char *path, int64_t) {
  return opened(image, palette, handle, path, true);
}

std::string kind(const qvimagefileinfo &) { return "BMP"; }
std::string icon_kind(const qvimagefileinfo &) { return "ICO"; }

void apply(const arguments &, qvimagefileinfo &info) { set_pixels_a_metre(info); }

class bmp_writer : public serial_writer {
 public:
  bmp_writer(const std::string &file, const std::string &shown) : serial_writer(file, shown) {}

 private:
  int32_t begin(qvimage *, qvimage *, qvimagefileinfo &) override { return 0; }
  int32_t page(qvimage *image, qvimage *palette, qvimagefileinfo &options) override {
    if (written_)
      refuse(
          "a BMP file holds one page (--pages chooses it, a name with a ? for each digit makes a file of "
          "each)");
    written_ = true;
    return qvimage_bmpwrite(progress::callback, image, palette, path(), "w+b", 0, &options, red_first(image),
                            palette != nullptr && red_first(palette), 0);
  }
  int32_t end() override { return 0; }
  bool written_ = false;
};

std::unique_ptr<writer> create(const std::string &path, const std::string &shown, bool append, int64_t) {
  if (append) throw failure(shown, QVERR_UNSUPPORTED, "a BMP file holds one page");
  return std::make_unique<bmp_writer>(path, shown);
}

}  // namespace

bool is_bitmap(const qvimagedata &data) {
  if (data.pixietype >= QVIM_FLOAT32) return false;
  return data.i_bitsused == 8 || (data.pixies == 1 && (data.i_bitsused == 1 || data.i_bitsused == 4));
}

void set_pixels_a_metre(qvimagefileinfo &info) {
  const double a_metre = info.resunit == unit_inch         ? inches_a_metre
                         : info.resunit == unit_centimetre ? 100
                                                           : 0;
  const double x = resolution(info.xres) * a_metre, y = resolution(info.yres) * a_metre;
  info.bmp_xppm = x <= INT32_MAX ? static_cast<int32_t>(std::lround(x)) : 0;
  info.bmp_yppm = y <= INT32_MAX ? static_cast<int32_t>(std::lround(y)) : 0;
}

const file_format bmp_format = {
    .sign = qv::sign_of(qv::format::bmp),
    .read = {.info = info,
             .info_done = qvimage_bmpinfodone,
             .read = read,
             .done = closing<qvimage_bmpreaddone>::call},
    .kind = kind,
    .has_resolution = true,
    .apply = apply,
    .holds = bitmaps_in("BMP files"),
    .create = create,
    .audit = audit_bmp,
};

const file_format ico_format = {
    .sign = qv::sign_of(qv::format::ico),
    .read = {.info = icon_info,
             .info_done = qvimage_bmpinfodone,
             .read = read_icon,
             .done = closing<qvimage_bmpreaddone>::call},
    .kind = icon_kind,
    .apply = apply,
};

}  // namespace tool
