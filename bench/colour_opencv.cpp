// OpenCV's conversions for bench_colour_peers.
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "bench/colour_peers.hpp"

namespace colour_peers {
namespace {

// The two sides as OpenCV's matrices over the same memory; `turned`: what is written has as many lines as
// what is read has columns.
set_up matrices(int from, int to, std::function<void(const cv::Mat &, cv::Mat &)> convert,
                bool turned = false) {
  return [=](const area &a) {
    const cv::Mat source(int(a.height), int(a.width), from, const_cast<void *>(a.from));
    cv::Mat destination(int(turned ? a.width : a.height), int(turned ? a.height : a.width), to, a.to);
    return [=]() mutable { convert(source, destination); };
  };
}

set_up colours(int from, int to, int code) {
  return matrices(from, to, [=](const cv::Mat &s, cv::Mat &d) { cv::cvtColor(s, d, code); });
}

struct depth {
  const char *suffix;
  int one;        // type of a pixel of one component
  double grey;    // what other weights of grey differ by
  double chroma;  // the same for luminance and chrominance
};

void add_depth(peers &to, const depth &d) {
  const int three = CV_MAKETYPE(d.one, 3), four = CV_MAKETYPE(d.one, 4);
  const auto add = [&](const char *name, int in, int out, int code, double difference) {
    to[name + std::string(d.suffix)].push_back({"opencv", colours(in, out, code), difference});
  };
  add("RGB to BGR", three, three, cv::COLOR_RGB2BGR, 0);
  add("RGB to BGRx", three, four, cv::COLOR_RGB2BGRA, 0);
  add("RGB to RGBx", three, four, cv::COLOR_RGB2RGBA, 0);
  add("RGBx to BGR", four, three, cv::COLOR_RGBA2BGR, 0);
  add("RGBx to RGB", four, three, cv::COLOR_RGBA2RGB, 0);
  add("RGBx to BGRx", four, four, cv::COLOR_RGBA2BGRA, 0);
  add("RGB to grey", three, d.one, cv::COLOR_RGB2GRAY, d.grey);
  add("grey to RGB", d.one, three, cv::COLOR_GRAY2RGB, 0);
  add("RGB to YCrCb", three, three, cv::COLOR_RGB2YCrCb, d.chroma);
  add("YCrCb to RGB", three, three, cv::COLOR_YCrCb2RGB, d.chroma);
}

// `full`: what the largest value stands for.
set_up transformed(int type, float full) {
  cv::Mat m(3, 4, CV_32F);
  for (int r = 0; r < 3; r++)
    for (int c = 0; c < 4; c++) m.at<float>(r, c) = matrix[r][c] * (c == 3 ? full : 1);
  return matrices(type, type, [=](const cv::Mat &s, cv::Mat &d) { cv::transform(s, d, m); });
}

set_up flipped(int type, int code) {
  return matrices(type, type, [=](const cv::Mat &s, cv::Mat &d) { cv::flip(s, d, code); });
}

set_up transposed(int type) {
  return matrices(
      type, type, [](const cv::Mat &s, cv::Mat &d) { cv::transpose(s, d); }, true);
}

set_up turned(int type) {
  return matrices(
      type, type, [](const cv::Mat &s, cv::Mat &d) { cv::rotate(s, d, cv::ROTATE_90_CLOCKWISE); }, true);
}

set_up inverted(int type) {
  return matrices(type, type, [](const cv::Mat &s, cv::Mat &d) { cv::bitwise_not(s, d); });
}

set_up by_palette() {
  cv::Mat entries(256, 1, CV_8UC3);
  for (int i = 0; i < 256; i++) {
    const uint8_t *p = palette() + 4 * i;
    entries.at<cv::Vec3b>(i) = {p[0], p[1], p[2]};
  }
  return matrices(CV_8UC1, CV_8UC3, [=](const cv::Mat &s, cv::Mat &d) { cv::applyColorMap(s, d, entries); });
}

set_up by_table() {
  const cv::Mat table(1, 256, CV_8UC1, const_cast<uint8_t *>(byte_table()));
  return matrices(CV_8UC1, CV_8UC1, [=](const cv::Mat &s, cv::Mat &d) { cv::LUT(s, table, d); });
}

}  // namespace

void add_opencv(peers &to) {
  cv::setNumThreads(1);
  add_depth(to, {" 8", CV_8UC1, 3, 4});
  add_depth(to, {" 16", CV_16UC1, 400, 400});
  add_depth(to, {" float", CV_32FC1, 1e-5, 2e-3});
  const auto add = [&](const char *name, const set_up &s, double difference = 0) {
    to[name].push_back({"opencv", s, difference});
  };
  add("RGBx to grey 8", colours(CV_8UC4, CV_8UC1, cv::COLOR_RGBA2GRAY), 3);
  add("grey to RGBx 8", colours(CV_8UC1, CV_8UC4, cv::COLOR_GRAY2RGBA));
  add("RGB to BSH 8", colours(CV_8UC3, CV_8UC3, cv::COLOR_RGB2HSV_FULL), 1);
  add("RGB to BSH float", colours(CV_32FC3, CV_32FC3, cv::COLOR_RGB2HSV_FULL), 1e-2);
  add("BSH to RGB 8", colours(CV_8UC3, CV_8UC3, cv::COLOR_HSV2RGB_FULL), 7);  // its circle has 255 steps
  add("BSH to RGB float", colours(CV_32FC3, CV_32FC3, cv::COLOR_HSV2RGB_FULL), 1e-4);
  add("RGB to CMY 8", inverted(CV_8UC3));
  add("RGB to CMY 16", inverted(CV_16UC3));
  add("palette to RGB 8", by_palette());
  add("matrix 8", transformed(CV_8UC3, 255), 1);
  add("matrix limited 8", transformed(CV_8UC3, 255), 1);
  add("matrix limited 16", transformed(CV_16UC3, 65535), 1);
  add("matrix float", transformed(CV_32FC3, 1), 1e-5);
  add("table of bytes", by_table());
  add("mirrored 8", flipped(CV_8UC1, 1));
  add("mirrored 16", flipped(CV_16UC1, 1));
  add("mirrored RGB 8", flipped(CV_8UC3, 1));
  add("mirrored RGBx 8", flipped(CV_8UC4, 1));
  add("transposed 8", transposed(CV_8UC1));
  add("transposed 16", transposed(CV_16UC1));
  add("transposed RGB 8", transposed(CV_8UC3));
  add("transposed RGBx 8", transposed(CV_8UC4));
  add("turned by 90 8", turned(CV_8UC1));
  add("turned by 90 RGB 8", turned(CV_8UC3));
  add("turned by 180 8", flipped(CV_8UC1, -1));
  add("turned by 180 RGB 8", flipped(CV_8UC3, -1));
}

}  // namespace colour_peers
