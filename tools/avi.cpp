#include "avi.hpp"

#include <algorithm>
#include <cstring>

#include <qvimage/avi.h>
#include <qvimage/error.h>

#include "audit/audit.hpp"
#include "bmp.hpp"
#include "failure.hpp"
#include "handle.hpp"
#include "jpeg.hpp"
#include "progress.hpp"
#include "serial_writer.hpp"
#include "text.hpp"
#include "words.hpp"

namespace tool {

namespace {

constexpr char bitmaps[] = "DIB ", motion_jpeg[] = "MJPG";

int32_t info(qvimagefileinfo *info, const char *path, int64_t) {
  const int32_t code = qvimage_aviinfo(info, path, nullptr, 0);
  if (code >= 0) info->palette = info->data.pixelhint == QVIM_HINT_INDEX;
  return code;
}

constexpr uint32_t lenient = 1;  // whatever the handler is called: other programs leave its name out

int32_t read_all(qvimage3 *image, qvimage *palette, void **handle, const char *path) {
  return with_handle<avihandle>(
      handle, [&](avihandle **h) { return qvimage3_aviread(image, palette, h, path, nullptr, 0, lenient); });
}

bool is_motion_jpeg(const qvimagefileinfo &info) {
  return std::memcmp(info.avi_handler, motion_jpeg, 4) == 0;
}

std::string kind(const qvimagefileinfo &) { return "AVI"; }

// Frames of other codecs are too short for bitmaps, or refused as JPEG pictures.
std::string codec_of(const qvimagefileinfo &info) {
  if (is_motion_jpeg(info)) return "mjpg";
  if (info.avi_compression == 0) return "bitmaps";
  char name[sizeof info.avi_compression];
  std::memcpy(name, &info.avi_compression, sizeof name);
  return printable(std::string(name, sizeof name));
}

std::vector<fact> facts(const qvimagefileinfo &info) {
  const std::string codec = codec_of(info);
  const double rate = info.avi_rateden == 0 ? 25 : static_cast<double>(info.avi_ratenum) / info.avi_rateden;
  return {{"codec", "codec", codec, fact::as_words, 0, true},
          {"rate", "rate", formatted("%g frames a second", rate)}};
}

constexpr option codec_option = {"--codec", "bitmaps|mjpg", "of AVI files; else IN's, or bitmaps"};
constexpr option mjpeg_option = {"--mjpeg", "", "the same as --codec mjpg"};
constexpr option rate_option = {"--rate", "N[,M]",
                                "N frames in M seconds (M: 1) of AVI files, also --fps; else IN's, or 25"};
constexpr option writing_options[] = {codec_option, mjpeg_option, rate_option, quality_option};

void set_rate(const std::string &text, qvimagefileinfo &info) {
  if (const auto pair = numbers<int64_t>(text, ',', 1, INT32_MAX); pair && pair->size() <= 2) {
    info.avi_ratenum = static_cast<uint32_t>(pair->front());
    info.avi_rateden = pair->size() == 2 ? static_cast<uint32_t>(pair->back()) : 1;
    return;
  }
  const auto one = numbers(text, ',', 0.001, 4e6);
  if (!one || one->size() != 1)
    throw usage_error("--rate (--fps) takes N or N,M, numbers from 1 on, or one with a point, not " +
                      printable(text));
  uint32_t ratio[2];
  set_ratio(ratio, one->front());
  info.avi_ratenum = ratio[0];
  info.avi_rateden = ratio[1];
}

void apply(const arguments &arguments, qvimagefileinfo &info) {
  apply_quality(arguments, info);
  set_pixels_a_metre(info);
  if (const auto codec = arguments.value(codec_option.name)) {
    const char *const handlers[] = {bitmaps, motion_jpeg};
    std::memcpy(info.avi_handler, handlers[chosen(codec_option, *codec)], 4);
  }
  if (arguments.has(mjpeg_option.name)) std::memcpy(info.avi_handler, motion_jpeg, 4);
  if (const auto rate = arguments.value(rate_option.name)) set_rate(*rate, info);
  // Of a page: before there is one, options alone are judged.
  if (info.width != 0 && arguments.has(quality_option.name) && !is_motion_jpeg(info))
    throw usage_error("--quality is for motion JPEG (--mjpeg), not for bitmaps");
}

class avi_writer : public serial_writer {
 public:
  avi_writer(const std::string &file, const std::string &shown, int64_t pages)
      : serial_writer(file, shown), pages_(pages) {}
  ~avi_writer() override { end(); }

 private:
  int32_t begin(qvimage *image, qvimage *palette, qvimagefileinfo &options) override {
    constexpr uint32_t extended = 2;  // of any length
    return qvimage_aviwriteinit(nullptr, &handle_, path(), nullptr, image, 0, nullptr, palette, &options, 0,
                                palette != nullptr && red_first(palette),
                                static_cast<uint32_t>(std::min<int64_t>(pages_, INT32_MAX)), extended);
  }
  int32_t page(qvimage *image, qvimage *, qvimagefileinfo &options) override {
    return qvimage_aviwriteadd(progress::callback, &handle_, path(), &options, image, red_first(image));
  }
  int32_t end() override { return handle_ == nullptr ? 0 : qvimage_aviwritedone(nullptr, &handle_, path()); }

  const int64_t pages_;
  avihandle *handle_ = nullptr;
};

std::unique_ptr<writer> create(const std::string &path, const std::string &shown, bool append,
                               int64_t pages) {
  if (append) throw failure(shown, QVERR_UNSUPPORTED, "frames are not added to AVI files");
  return std::make_unique<avi_writer>(path, shown, pages);
}

}  // namespace

const file_format avi_format = {
    .sign = qv::sign_of(qv::format::avi),
    .read = {.info = info,
             .info_done = qvimage_aviinfodone,
             .read_all = read_all,
             .done_all = closing<qvimage3_avireaddone>::call},
    .coded = is_motion_jpeg,
    .kind = kind,
    .facts = facts,
    .texts = all_texts,
    .has_resolution = true,
    .options = writing_options,
    .apply = apply,
    .holds = bitmaps_in("AVI files"),
    .create = create,
    .audit = audit_avi,
};

}  // namespace tool
