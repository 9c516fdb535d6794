#include "jpeg.hpp"

#include <algorithm>
#include <cerrno>
#include <cmath>

#include <qvimage/error.h>
#include <qvimage/jpeg.h>

#include "audit/audit.hpp"
#include "document.hpp"
#include "failure.hpp"
#include "handle.hpp"
#include "interrupt.hpp"
#include "parallel.hpp"
#include "pixels.hpp"
#include "progress.hpp"
#include "text.hpp"
#include "words.hpp"

namespace tool {

namespace {

// Units as the file counts them, and as pages are described.
constexpr uint8_t density_inch = 1, density_centimetre = 2;
constexpr uint32_t unit_inch = 2, unit_centimetre = 3;

// Comments are texts, and densities a resolution, as other formats have them.
int32_t info(qvimagefileinfo *info, const char *path, int64_t) {
  const int32_t code = qvimage_jpeginfo(info, path, nullptr, 0);
  if (code < 0) return code;
  info->description = info->jpg_comment[0];
  info->software = info->jpg_comment[1];
  info->copyright = info->jpg_comment[2];
  if (info->jpg_densityunit == density_inch || info->jpg_densityunit == density_centimetre) {
    info->resunit = info->jpg_densityunit == density_inch ? unit_inch : unit_centimetre;
    info->xres[0] = info->jpg_xdensity;
    info->yres[0] = info->jpg_ydensity;
    info->xres[1] = info->yres[1] = 1;
  }
  return code;
}

int32_t read(qvimage *image, qvimage *, void **handle, const char *path, int64_t) {
  return with_handle<jpegcontext>(
      handle, [&](jpegcontext **c) { return qvimage_jpegread(image, c, path, nullptr, 0, nullptr); });
}

int32_t done(qvimage *image, qvimage *, void **handle) {
  return with_handle<jpegcontext>(handle, [&](jpegcontext **c) { return qvimage_jpegreaddone(image, c); });
}

bool has_8_bits(const qvimagedata &data) { return data.pixietype == QVIM_UINT8 && data.i_bitsused == 8; }
bool coded(const qvimagefileinfo &) { return true; }
std::string kind(const qvimagefileinfo &) { return "JPEG"; }

std::vector<fact> facts(const qvimagefileinfo &info) {
  if (info.jpg_quality <= 0) return {};
  const double quality = info.jpg_quality / 10.0;
  return {{"quality", "quality", formatted("%g", quality), fact::as_number, std::lround(quality), true}};
}

constexpr option writing_options[] = {quality_option};

void apply(const arguments &arguments, qvimagefileinfo &info) {
  apply_quality(arguments, info);
  info.jpg_comment[0] = info.description;
  info.jpg_comment[1] = info.software;
  info.jpg_comment[2] = info.copyright;
  const double x = resolution(info.xres), y = resolution(info.yres);
  if (info.resunit < unit_inch || x > UINT16_MAX || y > UINT16_MAX) return;
  info.jpg_densityunit = info.resunit == unit_inch ? density_inch : density_centimetre;
  info.jpg_xdensity = static_cast<uint16_t>(std::lround(x));
  info.jpg_ydensity = static_cast<uint16_t>(std::lround(y));
}

class jpeg_writer : public writer {
 public:
  jpeg_writer(std::string path, std::string shown) : path_(std::move(path)), shown_(std::move(shown)) {}

  void add(pixels &page, qvimage *, qvimagefileinfo &options, bool) override {
    if (written_)
      throw failure(shown_, QVERR_UNSUPPORTED,
                    "a JPEG file holds one page (--pages chooses it, a name with a ? for each digit makes a "
                    "file of each)");
    jpegcontext *context = nullptr;
    const std::vector<uint32_t> firsts = first_rows(page);
    const auto bands = static_cast<uint32_t>(firsts.size() - 1);
    errno = 0;
    checked(qvimage_jpegwrite0(&context, bands, nullptr, page.image(0), &firsts[1], path_.c_str(), nullptr, 0,
                               nullptr, &options));
    // Whatever comes of it, the context is given back.
    try {
      in_shares(bands, bands, [&](unsigned thread, int64_t band, int64_t) {
        write_band(&context, page, thread, static_cast<size_t>(band), firsts);
      });
    } catch (...) {
      qvimage_jpegwrite2(&context, nullptr, page.image(0), path_.c_str(), nullptr, QVERR_IO);
      throw;
    }
    checked(qvimage_jpegwrite2(&context, nullptr, page.image(0), path_.c_str(), nullptr, 0));
    written_ = true;
  }

  void finish() override {}

 private:
  // Of the bands, one for each thread, and the end of the last. Blocks have eight rows.
  static std::vector<uint32_t> first_rows(pixels &page) {
    const auto height = static_cast<uint64_t>(page.height());
    const uint64_t bands = std::clamp<uint64_t>(page.threads(), 1, (height + 7) / 8);
    std::vector<uint32_t> rows;
    for (uint64_t i = 0; i < bands; i++) rows.push_back(static_cast<uint32_t>(i * height / bands / 8 * 8));
    rows.push_back(static_cast<uint32_t>(height));
    return rows;
  }

  void write_band(jpegcontext **context, pixels &page, unsigned thread, size_t band,
                  const std::vector<uint32_t> &firsts) {
    const int32_t rows[2] = {static_cast<int32_t>(firsts[band]), static_cast<int32_t>(firsts[band + 1])};
    errno = 0;
    const int32_t code = qvimage_jpegwrite1(context, static_cast<uint32_t>(band), progress::callback,
                                            page.image(thread), rows);
    if (code == 0) return;
    if (const int signal = noted_interrupt(); signal != 0) throw interrupted{signal};
    if (others_failed()) throw ended_with_others{};
    page.blame(thread, progress::last_step() - 1);
    checked(code);
  }

  void checked(int32_t code) const {
    if (code < 0) throw failure(shown_, code, reason(code, "writing failed"));
  }

  const std::string path_, shown_;
  bool written_ = false;
};

std::unique_ptr<writer> create(const std::string &path, const std::string &shown, bool append, int64_t) {
  if (append) throw failure(shown, QVERR_UNSUPPORTED, "a JPEG file holds one page");
  return std::make_unique<jpeg_writer>(path, shown);
}

}  // namespace

void apply_quality(const arguments &arguments, qvimagefileinfo &info) {
  constexpr int32_t usual_quality = 900;  // in tenths
  if (info.jpg_quality == 0 && info.jpg_reserved == 0) info.jpg_quality = usual_quality;
  const auto text = arguments.value(quality_option.name);
  if (!text) return;
  const auto found = numbers<double>(*text, ',', 1, 100);
  if (!found || found->size() != 1)
    throw usage_error("--quality takes a number from 1 to 100, not " + printable(*text));
  info.jpg_quality = static_cast<int32_t>(std::lround(10 * found->front()));
}

const file_format jpeg_format = {
    .sign = qv::sign_of(qv::format::jpeg),
    .read = {.info = info, .info_done = qvimage_jpeginfodone, .read = read, .done = done},
    .extras = jpeg_extras,
    .coded = coded,
    .kind = kind,
    .facts = facts,
    .texts = software_text | description_text | copyright_text,
    .has_resolution = true,
    .options = writing_options,
    .apply = apply,
    .holds = {.files = "JPEG files",
              .type = has_8_bits,
              .types = "8-bit samples",
              .way = "--bits 8",
              .grey_or_rgb = true,
              .red_first = true},
    .create = create,
    .audit = audit_jpeg,
};

}  // namespace tool
