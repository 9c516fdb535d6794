// From values to what is seen: levels, colours, turned as wanted.
#pragma once

#include "canvas.hpp"
#include "picture.hpp"

namespace tool::show {

struct development {
  tool::show::levels levels;
  bool inverted = false;
  bool false_colours = false;  // of one channel
  bool other = false;          // of the file beside
  int difference = 0;          // 0: none; else how often the difference of both files is amplified
  bool operator==(const development &) const = default;
};

// Of one grey value, 0 to 255.
colour false_colour(int grey);

canvas develop(const picture &picture, const development &how);

}  // namespace tool::show
