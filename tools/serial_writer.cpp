#include "serial_writer.hpp"

#include <cerrno>

#include <qvimage/error.h>

#include "failure.hpp"
#include "interrupt.hpp"
#include "pixels.hpp"
#include "progress.hpp"
#include "words.hpp"

namespace tool {

void serial_writer::add(pixels &page, qvimage *palette, qvimagefileinfo &options, bool computed) {
  const auto ahead = computed ? read_ahead(page, path_) : nullptr;
  write(ahead ? *ahead : page, palette, options);
}

void serial_writer::write(pixels &page, qvimage *palette, qvimagefileinfo &options) {
  qvimage *image = page.image(0);
  errno = 0;
  if (!begun_) checked(begin(image, palette, options));
  begun_ = true;
  const int32_t code = this->page(image, palette, options);
  if (code == 0) return;
  if (const int signal = noted_interrupt(); signal != 0) throw interrupted{signal};
  page.blame(0, progress::last_step() - 1);
  checked(code);
}

void serial_writer::finish() {
  errno = 0;
  checked(end());
}

void serial_writer::checked(int32_t code) const {
  if (code < 0) throw failure(shown_, code, reason(code, "this format does not hold these pixels"));
}

void serial_writer::refuse(const std::string &why) const { throw failure(shown_, QVERR_UNSUPPORTED, why); }

bool red_first(const qvimage *image) {
  const int32_t hint = image->d.pixelhint;
  return is_rgb(hint) && !blue_first(hint);
}

}  // namespace tool
