// Rows of an image, one after another: nothing more of it is held.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <qvimage/record.h>

namespace tool {

class rows {
 public:
  // `where` (the file and the page) is for messages.
  rows(qvimage *image, std::string file, std::string where);

  int32_t width() const { return image_->wind.se.x - image_->wind.nw.x; }
  int32_t height() const { return image_->wind.se.y - image_->wind.nw.y; }
  int32_t components() const { return image_->d.pixies; }
  size_t row_bytes() const { return buffer_.size(); }

  // A row's pixies in the image's own type, significant bits at the low end; valid until the next call.
  const void *read(int32_t y);

 private:
  [[noreturn]] void fail(int32_t y);
  qvimage *const image_;
  const std::string file_, where_;
  std::vector<std::byte> buffer_;
};

// Calls `action` with a value of the C++ type of such pixies.
template <class Action>
auto with_pixie_type(int32_t pixietype, Action action) {
  switch (pixietype) {
    case QVIM_UINT8: return action(uint8_t());
    case QVIM_UINT16: return action(uint16_t());
    case QVIM_UINT32: return action(uint32_t());
    case QVIM_UINT64: return action(uint64_t());
    case QVIM_FLOAT32: return action(float());
    default: return action(double());
  }
}

}  // namespace tool
