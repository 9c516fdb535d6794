#include "pnm.hpp"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <optional>
#include <utility>

#include <qvimage/error.h>
#include <qvimage/pgm.h>

#include "document.hpp"
#include "failure.hpp"
#include "interrupt.hpp"
#include "pixels.hpp"
#include "progress.hpp"
#include "text.hpp"
#include "words.hpp"

namespace tool {

namespace {

// P1 to P3 are text, which the library refuses in its own words.
bool recognises(std::string_view, std::string_view head) {
  return head.size() > 2 && head[0] == 'P' && head[1] >= '1' && head[1] <= '6' &&
         std::isspace(static_cast<unsigned char>(head[2])) != 0;
}

// The library counts a file's comments as texts, the first of which is the date. Most begin with something else: then
// the first ones are what other formats have room for.
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

int32_t read_all(qvimage3 *image, void **handle, const char *path) {
  auto *mine = static_cast<pgmhandle *>(*handle);
  const int32_t code = qvimage3_pgmread(image, nullptr, &mine, path, nullptr, 0, 0);
  *handle = mine;
  return code;
}

int32_t done_all(qvimage3 *image, void **handle) {
  auto *mine = static_cast<pgmhandle *>(*handle);
  const int32_t code = qvimage3_pgmreaddone(image, nullptr, &mine);
  *handle = mine;
  return code;
}

bool coded(const qvimagefileinfo &) { return false; }

std::string kind(const qvimagefileinfo &info) {
  return info.pgm_magic == '4' ? "PBM" : info.pgm_magic == '5' ? "PGM" : "PPM";
}

std::vector<fact> facts(const qvimagefileinfo &info) {
  if (info.pgm_magic == '4') return {};
  return {{"maximum", "maximum", formatted("%u", info.pgm_maxvalue), fact::as_number, info.pgm_maxvalue}};
}

void apply(const arguments &, qvimagefileinfo &) {}

// Frames behind one header, all alike.
class pnm_writer : public writer {
 public:
  pnm_writer(std::string path, std::string shown, bool append)
      : path_(std::move(path)),
        shown_(std::move(shown)),
        frames_(append ? open_document(path_)->pages() : 0) {}

  ~pnm_writer() override {
    if (handle_ != nullptr) qvimage_pgmwritedone(&handle_);
  }

  void add(pixels &page, qvimage *palette, qvimagefileinfo &options, bool computed) override {
    if (palette != nullptr)
      throw failure(shown_, QVERR_UNSUPPORTED, "anymaps have no palettes (--colour rgb applies one)");
    const auto ahead = computed ? read_ahead(page, path_) : nullptr;
    write(ahead ? *ahead : page, options);
  }

  void finish() override {
    errno = 0;
    if (handle_ != nullptr) checked(qvimage_pgmwritedone(&handle_));
  }

 private:
  void write(pixels &page, qvimagefileinfo &options) {
    qvimage *image = page.image(0);
    const int32_t hint = image->d.pixelhint;
    errno = 0;
    if (handle_ == nullptr)
      checked(qvimage_pgmwriteinit(nullptr, &handle_, path_.c_str(), nullptr, 0, image,
                                   static_cast<uint64_t>(frames_), &options, blue_first(hint), is_rgb(hint)));
    const int32_t code = qvimage_pgmwriteadd(&handle_, progress::callback, image);
    if (code == 0) return;
    if (const int signal = noted_interrupt(); signal != 0) throw interrupted{signal};
    page.blame(0, progress::last_step() - 1);
    checked(code);
  }

  void checked(int32_t code) const {
    if (code < 0) throw failure(shown_, code, reason(code, "these pixels cannot be stored as an anymap"));
  }

  const std::string path_, shown_;
  const int64_t frames_;  // of the file, before
  pgmhandle *handle_ = nullptr;
};

std::unique_ptr<writer> create(const std::string &path, const std::string &shown, bool append) {
  return std::make_unique<pnm_writer>(path, shown, append);
}

}  // namespace

const file_format pnm_format = {
    "PNM",      ".pbm .pgm .ppm .pnm ",
    recognises, {info, nullptr, qvimage_pgminfodone, nullptr, nullptr, read_all, done_all},
    nullptr,    coded,
    kind,       facts,
    {},         apply,
    create};

}  // namespace tool
