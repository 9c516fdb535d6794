// TIFF files being written, page by page through the library's writer steps: the file is opened once, however
// many pages it gets.
#include <algorithm>
#include <cerrno>

#include <qvimage/error.h>
#include <qvimage/tiff.h>

#include "failure.hpp"
#include "interrupt.hpp"
#include "parallel.hpp"
#include "pixels.hpp"
#include "progress.hpp"
#include "tiff.hpp"
#include "tiff_layout.hpp"
#include "words.hpp"

namespace tool {

namespace {

// Files hold Cb before Cr.
bool cr_first(int32_t hint) { return hint == QVIM_HINT_YCRCB || hint == QVIM_HINT_YCRCBPAD; }

// Why the library refused what it was given; it says no more than that it did.
std::string why_refused(const qvimagedata &data, const qvimagefileinfo &options) {
  const uint32_t compression = options.compression;
  const bool plain = compression == 0 || compression == 1;
  if (data.pixies > 4) return "at most 4 components can be stored";
  if (data.pixietype >= QVIM_FLOAT32 && !plain)
    return "floating-point pixels can be stored only uncompressed (--compression none)";
  if (compression_is_arithmetic(compression) && data.i_bitsused > 12)
    return "arithmetic coding takes samples of at most 12 bits";
  return describe_type(data) + " pixels cannot be stored this way";
}

class tiff_writer : public writer {
 public:
  tiff_writer(std::string path, std::string shown, bool append)
      : path_(std::move(path)), shown_(std::move(shown)), behind_others_(append) {}

  ~tiff_writer() override {
    if (handle_ != nullptr) qvimage_tifffini(&handle_, bands_);
  }

  void add(pixels &page, qvimage *palette, qvimagefileinfo &options, bool computed) override {
    const tiff_layout layout =
        tiff_layout_of(page.data(), page.width(), page.height(), options, computed, page.threads());
    options.stripsize = layout.strip;
    const auto ahead = layout.bands == 1 && computed ? read_ahead(page, path_) : nullptr;
    write(ahead ? *ahead : page, palette, options, layout.bands);
  }

  void finish() override {
    if (handle_ != nullptr) close();
  }

 private:
  void write(pixels &page, qvimage *palette, qvimagefileinfo &options, int32_t bands) {
    const int32_t hint = page.data().pixelhint;
    if (handle_ == nullptr || bands != bands_) open(page, bands, options);
    errno = 0;
    const int32_t code = qvimage_tiffwritesetup(&handle_, page.image(0), palette, &options, blue_first(hint),
                                                palette != nullptr && blue_first(palette->d.pixelhint),
                                                cr_first(hint), behind_others_);
    if (code == QVERR_USAGE) throw failure(shown_, code, why_refused(page.data(), options));
    checked(code, "the page cannot be set up");
    checked(qvimage_tiffwriteifdinit(&handle_), "writing failed");
    in_turn(page.threads(), bands_,
            [&](unsigned thread, int64_t band) { write_band(page, thread, static_cast<int32_t>(band)); });
    checked(qvimage_tiffwriteifdfini(&handle_), "writing failed");
    checked(qvimage_tifferror(&handle_), "writing failed");
    behind_others_ = true;
  }

  // The number of bands is that of a handle: for another one the file is opened anew, behind its last page.
  void open(pixels &page, int32_t bands, qvimagefileinfo &options) {
    if (handle_ != nullptr) close();
    const qvimagedata data = page.data();
    const uint32_t size[2] = {static_cast<uint32_t>(page.width()), static_cast<uint32_t>(page.height())};
    const int64_t place = behind_others_ ? QVIM_TIFF_END : 0;
    errno = 0;
    checked(qvimage_tiffwriteopen(&handle_, bands, size, &data, path_.c_str(), nullptr, 0, place, &options),
            "it cannot be opened for writing");
    bands_ = bands;
  }

  void close() {
    errno = 0;
    const int32_t closed = qvimage_tiffclose(&handle_);
    const int32_t ended = qvimage_tifffini(&handle_, bands_);
    handle_ = nullptr;
    checked(std::min({closed, ended, 0}), "writing failed");
  }

  void write_band(pixels &page, unsigned thread, int32_t band) {
    errno = 0;
    const int32_t code = qvimage_tiffwritedata(&handle_, progress::callback, page.image(thread), band);
    if (code == 0) return;
    if (const int signal = noted_interrupt(); signal != 0) throw interrupted{signal};
    if (others_failed()) throw ended_with_others{};
    page.blame(thread, progress::last_step() - 1);
    checked(code, "writing failed");
  }

  void checked(int32_t code, const std::string &what) {
    if (code >= 0) return;
    if (const int signal = noted_interrupt(); signal != 0) throw interrupted{signal};
    throw failure(shown_, code, reason(code, what));
  }

  const std::string path_, shown_;
  bool behind_others_;  // pages of the file
  tiffhandle *handle_ = nullptr;
  int32_t bands_ = 0;
};

}  // namespace

std::unique_ptr<writer> create_tiff(const std::string &path, const std::string &shown, bool append, int64_t) {
  return std::make_unique<tiff_writer>(path, shown, append);
}

}  // namespace tool
