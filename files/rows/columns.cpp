// Pieces of rows that are kept for the runs beside the one they were read for.
#include "files/rows/columns.hpp"

#include <algorithm>
#include <cstring>

namespace qvim {

void columns::reserve(uint32_t width, uint32_t lines, uint32_t pixel_bytes) {
  uint64_t wanted;
  if (__builtin_mul_overflow(uint64_t(lines) * pixel_bytes, uint64_t(width), &wanted)) wanted = most_bytes;
  wanted = std::min(wanted, most_bytes);
  const uint64_t marks = lines / 8 + uint64_t{1};
  if (uint64_t(lines) * pixel_bytes > most_bytes) return;
  if (wanted <= pixels_.size() && marks <= held_.size()) return;
  width_ = 0;
  if (!pixels_.allocate(std::max(wanted, pixels_.size())) || !held_.allocate(std::max(marks, held_.size())))
    pixels_.clear();
}

bool columns::turn_to(const bundle &runs, uint32_t x) {
  const uint64_t column_bytes = uint64_t(runs.lines) * runs.pixel_bytes;
  uint64_t most = std::min<uint64_t>(pixels_.size() / column_bytes, runs.width);
  if (!runs.down) most = std::min(most, std::max(most_across_planes / runs.pixel_bytes, uint64_t{1}));
  if (x >= runs.width || most == 0 || held_.size() * 8 < runs.lines) return false;
  if (runs == runs_ && x - first_ < width_) return true;
  runs_ = runs;
  first_ = x - x % uint32_t(most);
  width_ = std::min(uint32_t(most), runs.width - first_);
  std::memset(held_.data(), 0, runs.lines / 8 + uint64_t{1});
  return true;
}

}  // namespace qvim
