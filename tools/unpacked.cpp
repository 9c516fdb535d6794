#include "unpacked.hpp"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include <qvimage/error.h>
#include <qvimage/memory.h>

#include "failure.hpp"
#include "interrupt.hpp"
#include "progress.hpp"
#include "text.hpp"

namespace tool {

namespace {

namespace fs = std::filesystem;

// Bytes of a file that has no name and goes with the program, whatever ends it.
class nameless_file {
 public:
  nameless_file(size_t bytes, const std::string &beside) : bytes_(bytes) {
    errno = 0;
    const int descriptor = opened(fs::path(beside).parent_path());
    // All of its room is taken at once: a full disk is an error here and not a signal later.
    if (descriptor >= 0) errno = posix_fallocate(descriptor, 0, static_cast<off_t>(bytes));
    if (errno == 0) map_ = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    const std::string why = system_detail(
        QVERR_NOTCREATED, formatted("no room of %zu bytes beside it for the unpacked pages", bytes));
    if (descriptor >= 0) close(descriptor);
    if (map_ == MAP_FAILED) throw failure(beside, QVERR_NOTCREATED, why);
  }
  ~nameless_file() { munmap(map_, bytes_); }
  nameless_file(const nameless_file &) = delete;
  nameless_file &operator=(const nameless_file &) = delete;
  void *data() const { return map_; }

 private:
  static int opened(const fs::path &folder) {
    std::string name = (folder / ".qvimage-XXXXXX").string();
    const int descriptor = mkostemp(name.data(), O_CLOEXEC);
    if (descriptor >= 0) {
      unlink(name.c_str());
      errno = 0;
    }
    return descriptor;
  }
  void *map_ = MAP_FAILED;
  const size_t bytes_;
};

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
    auto *row = static_cast<std::byte *>(pixels_.data());
    const auto pixels = static_cast<uint32_t>(image.imdim.se.x);
    for (int32_t page = 0; page < pages_; page++) {
      progress::callback(page, pages_);
      if (const int signal = noted_interrupt(); signal != 0) throw interrupted{signal};
      for (int32_t y = 0; y < rows_; y++, row += row_) {
        if (packed.ioread(&packed, 0, row, pixels, 0, y, page) == pixels) continue;
        const auto kept = static_cast<int32_t>(packed.aeiou(&packed, 'e', 1, 1, nullptr));
        const int32_t code = kept < 0 ? kept : QVERR_IO;
        throw failure(file, code,
                      system_detail(code, formatted("page %d, row %d: it cannot be read",
                                                    packed.wind.nw.z + page + 1, y + 1)));
      }
    }
  }

  const size_t row_;  // bytes
  const int32_t rows_, pages_;
  const nameless_file pixels_;
};

}  // namespace

std::unique_ptr<volume> unpacked(volume &packed, const std::string &file, const std::string &beside) {
  return std::make_unique<unpacked_volume>(packed, file, beside);
}

}  // namespace tool
