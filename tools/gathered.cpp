#include "gathered.hpp"

#include <cerrno>

#include <qvimage/error.h>
#include <qvimage/memory.h>

#include "failure.hpp"
#include "progress.hpp"
#include "scratch.hpp"
#include "text.hpp"

namespace tool {

namespace {

class gathered_volume : public volume {
 public:
  gathered_volume(document &document, const page_range &pages, const qvimage &model,
                  const std::string &beside)
      : row_(static_cast<size_t>(model.imdim.se.x) * static_cast<size_t>(model.f.pixelsize)),
        pixels_(row_ * static_cast<size_t>(model.imdim.se.y) * static_cast<size_t>(pages.count()), beside) {
    const int32_t size[3] = {model.imdim.se.x, model.imdim.se.y, static_cast<int32_t>(pages.count())};
    const qvimagedata data = model.d;
    check(qvimage3_memdata(&image, pixels_.data(), 0, size, 0, 0, &data, nullptr, 0), beside, "");
    std::byte *place = pixels_.data();
    for (int64_t number = pages.first; number <= pages.last; number++) {
      progress::step(pages.count());
      const auto opened = document.open(number, colour_map::applied);
      place = fill(opened->image, place, document.where(number));
    }
  }

 private:
  // Returns where the next page's pixels go.
  std::byte *fill(qvimage &page, std::byte *place, const struct place &where) const {
    const auto type = static_cast<uint32_t>(page.d.pixietype) | QVIM_LSB;
    check(page.ioset(&page, 0, type, (uint32_t{1} << page.d.pixies) - 1), where.file, where.page);
    const auto width = static_cast<uint32_t>(image.imdim.se.x);
    for (int32_t y = 0; y < image.imdim.se.y; y++, place += row_) {
      if (page.ioread(&page, 0, place, width, 0, y) == width) continue;
      const auto kept = static_cast<int32_t>(page.aeiou(&page, 'e', 1, 1, nullptr));
      const int32_t code = kept < 0 ? kept : QVERR_IO;
      throw failure(where.file, code,
                    reason(code, where.page + formatted(", row %d: it cannot be read", y + 1)));
    }
    return place;
  }

  const size_t row_;  // bytes
  const scratch pixels_;
};

}  // namespace

std::unique_ptr<volume> gathered(document &document, const page_range &pages, const std::string &beside) {
  document.check_alike(pages.first, pages.last, pages.last);
  const auto model = document.open(pages.last, colour_map::applied);
  return std::make_unique<gathered_volume>(document, pages, model->image, beside);
}

}  // namespace tool
