#include "rows.hpp"

#include <cerrno>

#include <qvimage/error.h>

#include "failure.hpp"
#include "text.hpp"

namespace tool {

namespace {

uint32_t all_pixies(int32_t pixies) { return pixies >= 32 ? 0xFFFFFFFF : (uint32_t{1} << pixies) - 1; }

}  // namespace

rows::rows(qvimage *image, std::string file, std::string where)
    : image_(image), file_(std::move(file)), where_(std::move(where)) {
  const auto type = static_cast<uint32_t>(image->d.pixietype) | QVIM_LSB;
  check(image->ioset(image, 0, type, all_pixies(image->d.pixies)), file_, where_);
  buffer_.resize(static_cast<size_t>(width()) * static_cast<size_t>(image->f.pixelsize));
}

const void *rows::read(int32_t y) {
  errno = 0;
  const auto pixels = static_cast<uint32_t>(width());
  if (image_->ioread(image_, 0, buffer_.data(), pixels, 0, y) != pixels) fail(y);
  image_->iowait(image_, 0, buffer_.data());
  return buffer_.data();
}

// A transfer only says that it moved nothing; the image knows why.
void rows::fail(int32_t y) {
  const auto kept = static_cast<int32_t>(image_->aeiou(image_, 'e', 1, 1, nullptr));
  const int32_t code = kept < 0 ? kept : QVERR_IO;
  throw failure(file_, code, system_detail(code, where_ + formatted(", row %d: it cannot be read", y + 1)));
}

}  // namespace tool
