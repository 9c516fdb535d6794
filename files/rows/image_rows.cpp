#include "files/rows/image_rows.hpp"

#include <qvimage/error.h>

#include "core/pixel.hpp"
#include "core/reason.hpp"

namespace qvim {

int32_t judge(const qvimage &image) {
  if (!is_valid(image.d))
    return because(QVERR_USAGE, {"no pixels have ", image.d.pixies, " pixies of type ", image.d.pixietype,
                                 " and ", image.d.i_bitsused, " bits"});
  const auto holds_any = [](int32_t from, int32_t to) { return from >= 0 && to > from; };
  if (!holds_any(image.wind.nw.x, image.wind.se.x) || !holds_any(image.wind.nw.y, image.wind.se.y))
    return because(QVERR_USAGE, {"the image's window is empty"});
  return 0;
}

int32_t image_rows::set_up(uint32_t mode, int32_t pixies) {
  pixel_bytes_ = uint32_t(pixies * image_.f.pixiesize);
  const int32_t set =
      image_.ioset(&image_, mode, uint32_t(image_.d.pixietype) | QVIM_LSB, all_pixies(pixies));
  if (set > 0) return 0;
  return within({"the image to be written cannot be set up"}, set < 0 ? set : int32_t{QVERR_USAGE});
}

// Some images deliver a row in several pieces; one that stops short would lose data.
int32_t image_rows::fetch(uint8_t *row, uint32_t y, uint32_t before) {
  if (const int32_t stop = told_(int64_t(before) + first_, height_); stop != 0)
    return stop < 0 ? because(stop, {"stopped by the callback at row ", y + 1}) : stop;
  for (uint32_t done = 0; done < width_;) {
    const uint32_t moved = image_.ioread(&image_, 0, row + uint64_t(done) * pixel_bytes_, width_ - done,
                                         int32_t(done), int32_t(y));
    if (moved == 0 || moved > width_ - done) {
      const int32_t latched = int32_t(image_.aeiou(&image_, 'e', 0, 1, nullptr));
      return within({"row ", y + 1, " of the image to be written"},
                    latched < 0 ? latched : int32_t{QVERR_IO});
    }
    done += moved;
  }
  return 0;
}

}  // namespace qvim
