// From values to grey: which value is black and which is white, and how they are found.
#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <vector>

#include <qvimage/types.h>

namespace tool::show {

struct levels {
  double black = 0, white = 255;
  bool operator==(const levels &) const = default;

  // 0 to 255, rounded to nearest; what is no number has none and gives -1.
  int of(double value) const {
    if (!(white > black)) return value > black ? 255 : value <= black ? 0 : -1;
    const double grey = (value - black) * 255 / (white - black) + 0.5;
    return grey >= 256 ? 255 : grey >= 0 ? static_cast<int>(grey) : grey < 0 ? 0 : -1;
  }
};

// What integers can hold; of floating-point numbers 0 to 1.
levels full_range(const qvimagedata &data);

// Values counted, so that the levels of any number of pixels are found in little memory: small integers each
// by itself, others through a sample of at most a million.
class census {
 public:
  explicit census(const qvimagedata &data);
  void add(double value);
  levels range() const;                   // smallest to largest; {0, 1} when there is none
  levels between(double fraction) const;  // what lies beyond: this part of the values at either end
  bool empty() const { return count_ == 0; }

 private:
  static constexpr size_t most_samples = size_t{1} << 20;
  double at(double fraction) const;
  std::vector<uint64_t> counts_;  // of integers up to 16 bits
  mutable std::vector<double> sample_;
  uint64_t count_ = 0, step_ = 1;
  double least_ = std::numeric_limits<double>::infinity(), most_ = -least_;
};

}  // namespace tool::show
