#include "document.hpp"

#include <qvimage/error.h>
#include <qvimage/null.h>

#include "text.hpp"
#include "words.hpp"

namespace tool {

namespace {

constexpr int32_t page_missing = -12;

std::string shape_of(const qvimagefileinfo &info) {
  return formatted("%d x %d pixels of %d x %s, ", info.wind.se.x, info.wind.se.y, info.data.pixies,
                   describe_type(info.data).c_str()) +
         describe_colour(info.data) + (info.palette != 0 ? " with a colour map" : "");
}

}  // namespace

page::page() {
  qvimage_defnull(&image);
  qvimage_defnull(&palette);
}

volume::volume() { qvimage3_defnull(&image); }

const qvimagefileinfo &document::info(int64_t page) {
  const description &found = describe(page);
  if (found.refused) throw failure(*found.refused);
  return found.info;
}

void document::check_number(int64_t page) const {
  if (page < 0 || page >= pages_)
    throw failure(
        where(0).file, page_missing,
        formatted("page %lld of %lld", static_cast<long long>(page + 1), static_cast<long long>(pages_)));
}

void document::check_alike(int64_t first, int64_t last, int64_t model) {
  const std::string one = shape_of(info(model));
  for (int64_t page = first; page <= last; page++) {
    const std::string other = shape_of(info(page));
    if (other != one) {
      const place here = where(page), there = where(model);
      throw failure(here.file, QVERR_UNSUPPORTED,
                    here.page + " has " + other + ", " +
                        (there.file == here.file && model == pages_ - 1 ? "the last page of the file"
                                                                        : there.page + " of " + there.file) +
                        " " + one + "; pages taken together must be alike");
    }
  }
}

}  // namespace tool
