// The values of the part of a page that is shown, one for each screen pixel and channel: those of the page's
// pixel there, or the mean of its pixels.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "source.hpp"
#include "view.hpp"

namespace tool::show {

struct raster {
  enum row_state : uint8_t { missing, rough, exact, broken };

  int64_t columns = 0, rows = 0;
  int channels = 1;
  std::vector<double> values;  // row by row, channels side by side
  std::vector<row_state> states;

  raster() = default;
  raster(const stored_cover &cover, int channels_a_pixel);
  double *row(int64_t y) { return &values[static_cast<size_t>(y * columns * channels)]; }
  const double *row(int64_t y) const { return &values[static_cast<size_t>(y * columns * channels)]; }
  bool complete() const;
  bool has_broken() const;
};

// Called after each row that was read; false ends the reading.
using between_rows = std::function<bool()>;

// Reads one pixel of each cell, or all; rows that cannot be read become broken, and the first one's reason is
// answered.
std::string read_raster(shown_page &page, const stored_cover &cover, bool whole_cells, raster &to,
                        const between_rows &go_on);

}  // namespace tool::show
