#include "fits.hpp"

#include <qvimage/error.h>
#include <qvimage/fits.h>

#include "audit/audit.hpp"
#include "failure.hpp"
#include "handle.hpp"
#include "progress.hpp"
#include "serial_writer.hpp"
#include "text.hpp"

namespace tool {

namespace {

int32_t info(qvimagefileinfo *info, const char *path, int64_t page) {
  const int32_t code = qvimage_fitsinfo(info, path, nullptr, 0, static_cast<uint64_t>(page));
  if (code >= 0) info->description = info->fts_comment;
  return code;
}

int64_t info_many(qvimagefileinfo *infos, int64_t count, const char *path, int64_t first) {
  const int64_t found = qvimage_fitsinfoN(infos, count, path, nullptr, 0, first);
  for (int64_t i = 0; i < found; i++) infos[i].description = infos[i].fts_comment;
  return found;
}

int32_t read_all(qvimage3 *image, qvimage *, void **handle, const char *path) {
  return with_handle<fitshandle>(
      handle, [&](fitshandle **h) { return qvimage3_fitsread(image, nullptr, h, path, nullptr, 0, 0); });
}

std::string kind(const qvimagefileinfo &) { return "FITS"; }

std::vector<fact> facts(const qvimagefileinfo &info) {
  std::vector<fact> facts = {
      {"bitpix", "BITPIX", formatted("%d", info.fts_bitpix), fact::as_number, info.fts_bitpix}};
  struct {
    const char *key;
    const char *text;
  } const texts[] = {{"object", info.fts_object},
                     {"observer", info.fts_observer},
                     {"origin", info.fts_origin},
                     {"observed", info.fts_date_obs}};
  for (const auto &[key, text] : texts) {
    if (text != nullptr) facts.push_back({key, key, printable(text)});
  }
  return facts;
}

bool is_held(const qvimagedata &data) { return data.pixietype != QVIM_UINT64; }

void apply(const arguments &, qvimagefileinfo &info) { info.fts_comment = info.description; }

class fits_writer : public serial_writer {
 public:
  fits_writer(const std::string &file, const std::string &shown, int64_t pages)
      : serial_writer(file, shown), pages_(pages) {}
  ~fits_writer() override { end(); }

 private:
  int32_t begin(qvimage *image, qvimage *, qvimagefileinfo &options) override {
    constexpr int64_t no_frames = -1;
    const qvywindow window = image->wind;
    return qvimage_fitswriteinit(&handle_, &window, nullptr, image, path(), nullptr, 0,
                                 pages_ == 1 ? no_frames : pages_, &options);
  }
  int32_t page(qvimage *image, qvimage *, qvimagefileinfo &options) override {
    return qvimage_fitswriteadd(&handle_, progress::callback, image, &options);
  }
  int32_t end() override { return handle_ == nullptr ? 0 : qvimage_fitswritedone(&handle_); }

  const int64_t pages_;
  fitshandle *handle_ = nullptr;
};

std::unique_ptr<writer> create(const std::string &path, const std::string &shown, bool append,
                               int64_t pages) {
  if (append) throw failure(shown, QVERR_UNSUPPORTED, "frames are not added to FITS files");
  return std::make_unique<fits_writer>(path, shown, pages);
}

}  // namespace

const file_format fits_format = {
    .sign = qv::sign_of(qv::format::fits),
    .read = {.info = info,
             .info_many = info_many,
             .info_done = qvimage_fitsinfodone,
             .read_all = read_all,
             .done_all = closing<qvimage3_fitsreaddone>::call},
    .kind = kind,
    .facts = facts,
    .texts = description_text,
    .has_resolution = true,
    .apply = apply,
    .holds = {.files = "FITS files",
              .type = is_held,
              .types = "integers of up to 32 bits and floating-point numbers",
              .way = "--bits 32"},
    .create = create,
    .audit = audit_fits,
};

}  // namespace tool
