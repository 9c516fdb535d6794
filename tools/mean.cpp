#include "mean.hpp"

#include <qvimage/error.h>
#include <qvimage/views.h>

#include "failure.hpp"
#include "gathered.hpp"
#include "text.hpp"
#include "words.hpp"

namespace tool {

namespace {

bool has_mean(const qvimagedata &data) {
  return data.pixietype == QVIM_UINT8 || data.pixietype == QVIM_UINT16;
}

class mean_page : public page {
 public:
  mean_page(std::unique_ptr<volume> pages, const std::string &file) : pages_(std::move(pages)) {
    const qvimagedata data = pages_->image.d;
    const int32_t code = qvimage_stack(&image, &pages_->image);
    check(code, file,
          !has_mean(data) ? describe_type(data) + " pixels have no mean here, only 8- and 16-bit integers"
                          : formatted("their sums have no room: at most %d pages", most_pages(data)));
  }

 private:
  // Sums of so many of the largest values fit 32 bits.
  static int most_pages(const qvimagedata &data) { return data.pixietype == QVIM_UINT8 ? 1 << 24 : 65537; }

  const std::unique_ptr<volume> pages_;
};

bool any_compressed(document &document, const page_range &pages) {
  for (int64_t page = pages.first; page <= pages.last; page++) {
    if (document.coded(page)) return true;
  }
  return false;
}

}  // namespace

std::unique_ptr<page> mean_of(document &document, const page_range &pages, const std::string &out) {
  const bool unpacks = has_mean(document.info(pages.first).data) && any_compressed(document, pages);
  auto volume = unpacks ? nullptr : document.open_volume(pages.first, pages.last);
  if (volume == nullptr) volume = gathered(document, pages, out);
  return std::make_unique<mean_page>(std::move(volume), document.where(pages.first).file);
}

}  // namespace tool
