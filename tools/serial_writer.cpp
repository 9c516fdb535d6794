#include "serial_writer.hpp"

#include <cerrno>

#include <qvimage/error.h>

#include "failure.hpp"
#include "interrupt.hpp"
#include "pixels.hpp"
#include "progress.hpp"
#include "text.hpp"
#include "words.hpp"

namespace tool {

void serial_writer::add(pixels &page, qvimage *palette, qvimagefileinfo &options, bool computed) {
  const auto ahead = computed ? read_ahead(page, path_) : nullptr;
  write(ahead ? *ahead : page, palette, options);
}

void serial_writer::write(pixels &page, qvimage *palette, qvimagefileinfo &options) {
  qvimage *image = page.image(0);
  check_alike(page);
  errno = 0;
  if (pages_ == 0) checked(begin(image, palette, options));
  pages_++;
  const int32_t code = this->page(image, palette, options);
  if (code == 0) return;
  if (const int signal = noted_interrupt(); signal != 0) throw interrupted{signal};
  page.blame(0, progress::last_step() - 1);
  checked(code);
}

// A file has one header for all of its pages.
void serial_writer::check_alike(pixels &page) {
  const qvimagedata data = page.data();
  const std::string mine = formatted("%d x %d, %d x %s %s", page.width(), page.height(), data.pixies,
                                     describe_type(data).c_str(), describe_colour(data).c_str());
  if (pages_ == 0) first_ = mine;
  if (mine != first_)
    throw failure(shown_, QVERR_USAGE,
                  formatted("page %lld would be %s, the first one is %s; ",
                            static_cast<long long>(pages_ + 1), mine.c_str(), first_.c_str()) +
                      "a name with a ? for each digit of a number makes a file of each page");
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
