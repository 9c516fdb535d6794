// What bench_colour_peers and the files of its peers share: conversions by name, and who else has them.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace colour_peers {

// Lines of pixels without gaps: what is read, and what is written, of the same width and height. Where lines
// become columns, the size is that of what is read.
struct area {
  const void *from;
  void *to;
  uint32_t width, height;
  uint32_t from_pixel, to_pixel;  // bytes

  int from_line() const { return int(width * from_pixel); }
  int to_line() const { return int(width * to_pixel); }
};

using run = std::function<void()>;
using set_up = std::function<run(const area &)>;  // what is done once, outside of what is timed

struct peer {
  const char *who;
  set_up prepare;
  double difference;  // the largest to ours that its other coefficients or roundings explain
};
using peers = std::map<std::string, std::vector<peer>>;  // by the name of a conversion

// Shared by ours and the peers.
const uint8_t *palette();     // 256 entries of 4 bytes, the last of which is not used
const uint8_t *byte_table();  // 256 entries
extern const float matrix[3]
                         [4];  // of multiples of 1/64, for values from 0 to 1; inside 0 to 1 for all colours

void add_opencv(peers &);
void add_libyuv(peers &);
void add_swscale(peers &);

}  // namespace colour_peers
