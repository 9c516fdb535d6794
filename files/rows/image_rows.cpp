#include "files/rows/image_rows.hpp"

#include <qvimage/error.h>

#include "core/reason.hpp"

namespace qvim {

int32_t image_rows::set_up(uint32_t mode, int32_t pixies) {
  pixel_bytes_ = uint32_t(pixies * image_.f.pixiesize);
  const int32_t set =
      image_.ioset(&image_, mode, uint32_t(image_.d.pixietype) | QVIM_LSB, (1u << pixies) - 1);
  if (set > 0) return 0;
  return within({"the image to be written cannot be set up: "}, set < 0 ? set : int32_t{QVERR_USAGE});
}

// Some images deliver a row in several pieces; one that stops short would lose data.
int32_t image_rows::fetch(uint8_t *row, uint32_t y, uint32_t before) {
  if (const int32_t stop = told_(int64_t(before) + 1, height_); stop != 0)
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
