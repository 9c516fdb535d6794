#include "pnm.hpp"

#include <qvimage/pgm.h>

#include "audit/audit.hpp"
#include "document.hpp"
#include "handle.hpp"
#include "progress.hpp"
#include "serial_writer.hpp"
#include "text.hpp"
#include "words.hpp"

namespace tool {

namespace {

// The library counts a file's comments as texts, the first of which is the date. Most begin with something
// else: then the first ones are what other formats have room for.
int32_t info(qvimagefileinfo *info, const char *path, int64_t) {
  const int32_t code = qvimage_pgminfo(info, path, nullptr, 0);
  if (code < 0 || info->datetime == nullptr || is_datetime(info->datetime)) return code;
  char *const comments[] = {info->datetime, info->software, info->description, info->copyright};
  info->description = comments[0];
  info->software = comments[1];
  info->copyright = comments[2];
  info->datetime = comments[3];
  return code;
}

int32_t read_all(qvimage3 *image, qvimage *, void **handle, const char *path) {
  return with_handle<pgmhandle>(
      handle, [&](pgmhandle **h) { return qvimage3_pgmread(image, nullptr, h, path, nullptr, 0, 0); });
}

std::string kind(const qvimagefileinfo &info) {
  return info.pgm_magic == '4' ? "PBM" : info.pgm_magic == '5' ? "PGM" : "PPM";
}

std::vector<fact> facts(const qvimagefileinfo &info) {
  if (info.pgm_magic == '4') return {};
  return {{"maximum", "maximum", formatted("%u", info.pgm_maxvalue), fact::as_number, info.pgm_maxvalue}};
}

bool is_short(const qvimagedata &data) { return data.pixietype < QVIM_FLOAT32 && data.i_bitsused <= 16; }

// Frames behind one header, all alike.
class pnm_writer : public serial_writer {
 public:
  pnm_writer(const std::string &file, const std::string &shown, bool append)
      : serial_writer(file, shown), frames_(append ? open_file({file, shown, &pnm_format})->pages() : 0) {}
  ~pnm_writer() override { end(); }

 private:
  int32_t begin(qvimage *image, qvimage *, qvimagefileinfo &options) override {
    const int32_t hint = image->d.pixelhint;
    return qvimage_pgmwriteinit(nullptr, &handle_, path(), nullptr, 0, image, static_cast<uint64_t>(frames_),
                                &options, blue_first(hint), is_rgb(hint));
  }
  int32_t page(qvimage *image, qvimage *, qvimagefileinfo &) override {
    return qvimage_pgmwriteadd(&handle_, progress::callback, image);
  }
  int32_t end() override { return handle_ == nullptr ? 0 : qvimage_pgmwritedone(&handle_); }

  const int64_t frames_;  // of the file, before
  pgmhandle *handle_ = nullptr;
};

std::unique_ptr<writer> create(const std::string &path, const std::string &shown, bool append, int64_t) {
  return std::make_unique<pnm_writer>(path, shown, append);
}

}  // namespace

const file_format pnm_format = {
    .sign = qv::sign_of(qv::format::pnm),
    .read = {.info = info,
             .info_done = qvimage_pgminfodone,
             .read_all = read_all,
             .done_all = closing<qvimage3_pgmreaddone>::call},
    .kind = kind,
    .facts = facts,
    .texts = all_texts,
    .has_resolution = true,
    .holds = {.files = "anymaps",
              .type = is_short,
              .types = "integers of 1 to 16 bits",
              .way = "--bits 16",
              .grey_or_rgb = true},
    .create = create,
    .audit = audit_pnm,
};

}  // namespace tool
