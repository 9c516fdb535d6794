#include "unpacked.hpp"

#include <cerrno>

#include <qvimage/error.h>
#include <qvimage/memory.h>

#include "failure.hpp"
#include "progress.hpp"
#include "scratch.hpp"
#include "text.hpp"

namespace tool {

namespace {

class unpacked_volume : public volume {
 public:
  unpacked_volume(volume &packed, const std::string &file, const std::string &beside)
      : row_(static_cast<size_t>(width(packed)) * static_cast<size_t>(packed.image.f.pixelsize)),
        rows_(packed.image.wind.se.y),
        pages_(packed.image.wind.se.z - packed.image.wind.nw.z),
        pixels_(row_ * static_cast<size_t>(rows_) * static_cast<size_t>(pages_), beside) {
    const int32_t size[3] = {width(packed), rows_, pages_};
    const qvimagedata data = packed.image.d;
    check(qvimage3_memdata(&image, pixels_.data(), 0, size, 0, 0, &data, nullptr, 0), file, "");
    fill(packed.image, file);
  }

 private:
  static int32_t width(const volume &volume) { return volume.image.wind.se.x; }

  void fill(qvimage3 &packed, const std::string &file) {
    const auto type = static_cast<uint32_t>(packed.d.pixietype) | QVIM_LSB;
    check(packed.ioset(&packed, 0, type, (uint32_t{1} << packed.d.pixies) - 1), file, "");
    std::byte *row = pixels_.data();
    const auto pixels = static_cast<uint32_t>(image.imdim.se.x);
    for (int32_t page = 0; page < pages_; page++) {
      progress::step(pages_);
      for (int32_t y = 0; y < rows_; y++, row += row_) {
        if (packed.ioread(&packed, 0, row, pixels, 0, y, page) == pixels) continue;
        const auto kept = static_cast<int32_t>(packed.aeiou(&packed, 'e', 1, 1, nullptr));
        const int32_t code = kept < 0 ? kept : QVERR_IO;
        throw failure(file, code,
                      reason(code, formatted("page %d, row %d: it cannot be read",
                                             packed.wind.nw.z + page + 1, y + 1)));
      }
    }
  }

  const size_t row_;  // bytes
  const int32_t rows_, pages_;
  const scratch pixels_;
};

}  // namespace

std::unique_ptr<volume> unpacked(volume &packed, const std::string &file, const std::string &beside) {
  return std::make_unique<unpacked_volume>(packed, file, beside);
}

}  // namespace tool
