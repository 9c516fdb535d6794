// A TIFF file of what an image of either dimension shows, and the image that it is then.
#pragma once

#include "fuzz/scratch_file.hpp"
#include "tests/views/image_model.hpp"

namespace model {

class tiff_file {
 public:
  tiff_file() = default;
  tiff_file(const tiff_file &) = delete;
  tiff_file &operator=(const tiff_file &) = delete;
  ~tiff_file() {
    if (is_open()) qvimage_tiffreaddone(nullptr, nullptr, &handle_);
  }

  // Are pixels so described found again in their order, one sample a pixie?
  static bool holds(const qvimagedata &d) {
    return (d.pixies == 1 || (d.pixies == 3 && d.pixelhint != QVIM_HINT_YCRCB)) && d.pixietype != QVIM_UINT64;
  }

  int32_t write(const chain_link &im, uint32_t compression, uint32_t strip) {
    static const uint32_t compressions[] = {1, 32773, 5, 517};
    qvimagefileinfo options{};
    options.compression = compressions[is_integer(uint32_t(im.data().pixietype)) ? compression : 0];
    options.stripsize = strip;
    const std::string path = file_.path();
    return im.deep
               ? qvimage3_tiffwrite(nullptr, im.volume(), nullptr, path.c_str(), "w+b", 0, 0, &options, 0, 0,
                                    0)
               : qvimage_tiffwrite(nullptr, im.flat(), nullptr, path.c_str(), "w+b", 0, 0, &options, 0, 0, 0);
  }
  void open(const chain_link &im) {
    const std::string path = file_.path();
    require(im.deep ? qvimage3_tiffread(im.volume(), nullptr, &handle_, path.c_str(), nullptr, 0, 0) == 0
                    : qvimage_tiffread(im.flat(), nullptr, &handle_, path.c_str(), nullptr, 0, 0, 0) == 0);
  }
  bool is_open() const { return handle_ != nullptr; }

 private:
  scratch_file file_;
  tiffhandle *handle_ = nullptr;
};

}  // namespace model
