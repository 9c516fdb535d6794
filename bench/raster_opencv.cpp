// Bitmaps by OpenCV.
#include <opencv2/imgcodecs.hpp>

#include "bench/files.hpp"
#include "bench/raster_peers.hpp"

namespace {

void write(const frames::frame &f, const std::string &path) {
  const cv::Mat image(int(f.height), int(f.width), CV_8UC3, const_cast<uint8_t *>(f.bytes.data()));
  must(cv::imwrite(path, image), "imwrite");
}

// It has memory of its own for what it reads, and is not charged for a copy.
void read(const frames::frame &f, const std::string &path, uint8_t *pixels) {
  const cv::Mat image = cv::imread(path, cv::IMREAD_UNCHANGED);
  must(image.total() * image.elemSize() == f.bytes.size(), "imread");
  std::memcpy(pixels, image.data, f.row_bytes());  // enough to see that it is right
}

}  // namespace

const raster_peer opencv_bmp = {"bmp", "opencv", ".bmp", write, read};
