// TIFF files being written, page by page through the library's writer steps: the file is opened once, however
// many pages it gets.
#include <algorithm>
#include <cerrno>

#include <qvimage/error.h>
#include <qvimage/tiff.h>

#include "failure.hpp"
#include "format.hpp"
#include "interrupt.hpp"
#include "progress.hpp"
#include "words.hpp"

namespace tool {

namespace {

// In which order an image holds its components: files hold red first and Cb before Cr.
bool blue_first(int32_t hint) { return hint == QVIM_HINT_BGR || hint == QVIM_HINT_BGRPAD; }
bool cr_first(int32_t hint) { return hint == QVIM_HINT_YCRCB || hint == QVIM_HINT_YCRCBPAD; }

// Why the library refused what it was given; it says no more than that it did.
std::string why_refused(const qvimagedata &data, const qvimagefileinfo &options) {
  const uint32_t compression = options.compression;
  const bool plain = compression == 0 || compression == 1;
  if (data.pixies > 4) return "at most 4 components can be stored";
  if (data.pixietype >= QVIM_FLOAT32 && !plain)
    return "floating-point pixels can be stored only uncompressed";
  if (compression_is_arithmetic(compression) && data.i_bitsused > 12)
    return "arithmetic coding takes samples of at most 12 bits";
  return describe_type(data) + " pixels cannot be stored this way";
}

class tiff_writer : public writer {
 public:
  tiff_writer(const std::string &path, std::string shown, qvimagefileinfo &options, bool append)
      : shown_(std::move(shown)) {
    const int64_t after = append ? open_tiff(path)->pages() : 0;
    errno = 0;
    checked(qvimage_tiffwriteopen(&handle_, 1, nullptr, nullptr, path.c_str(), nullptr, 0, after, &options),
            "it cannot be opened for writing");
  }

  ~tiff_writer() override {
    if (handle_ != nullptr) qvimage_tifffini(&handle_, 1);
  }

  void add(qvimage *image, qvimage *palette, qvimagefileinfo &options) override {
    const qvimagedata data = image->d;
    errno = 0;
    const int32_t code = qvimage_tiffwritesetup(
        &handle_, image, palette, &options, blue_first(data.pixelhint),
        palette != nullptr && blue_first(palette->d.pixelhint), cr_first(data.pixelhint), pages_ > 0);
    if (code == QVERR_USAGE) throw failure(shown_, code, why_refused(data, options));
    checked(code, "the page cannot be set up");
    checked(qvimage_tiffwriteifdinit(&handle_), "writing failed");
    checked(qvimage_tiffwritedata(&handle_, progress::callback, image, 0), "writing failed");
    check_source(image);
    checked(qvimage_tiffwriteifdfini(&handle_), "writing failed");
    checked(qvimage_tifferror(&handle_), "writing failed");
    pages_++;
  }

  void finish() override {
    errno = 0;
    const int32_t closed = qvimage_tiffclose(&handle_);
    const int32_t ended = qvimage_tifffini(&handle_, 1);
    handle_ = nullptr;
    checked(std::min({closed, ended, 0}), "writing failed");
  }

 private:
  void checked(int32_t code, const std::string &what) {
    if (code >= 0) return;
    if (const int signal = noted_interrupt(); signal != 0) throw interrupted{signal};
    if (code == QVERR_FORMAT) throw failure(shown_, code, "classic TIFF ends at 4 GiB (--bigtiff does not)");
    throw failure(shown_, code, system_detail(code, what));
  }

  // Transfers tell of no errors; the image keeps them until it is asked.
  void check_source(qvimage *image) {
    const auto code = static_cast<int32_t>(image->aeiou(image, 'e', 1, 1, nullptr));
    if (code < 0) throw failure(shown_, code, "the pixels to be written cannot be read");
  }

  const std::string shown_;
  tiffhandle *handle_ = nullptr;
  int64_t pages_ = 0;
};

}  // namespace

std::unique_ptr<writer> create_tiff(const std::string &path, const std::string &shown,
                                    qvimagefileinfo &options, bool append) {
  return std::make_unique<tiff_writer>(path, shown, options, append);
}

}  // namespace tool
