#include "histogram.hpp"

#include <algorithm>
#include <cmath>

namespace tool {

namespace {

// A cell filled by none, ... all of its levels.
constexpr const char *blocks[] = {" ", "▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
constexpr const char *marks[] = {" ", ".", ":", "|"};

std::span<const char *const> cells(bool unicode) {
  return unicode ? std::span<const char *const>(blocks) : std::span<const char *const>(marks);
}

int height(uint64_t count, uint64_t tallest, int full) {
  if (count == 0) return 0;
  const double share = static_cast<double>(count) / static_cast<double>(tallest);
  return std::max(1, static_cast<int>(std::lround(share * full)));
}

}  // namespace

std::vector<std::string> drawn(std::span<const uint64_t> counts, int lines, bool unicode) {
  const auto levels = cells(unicode);
  const int levels_a_line = static_cast<int>(levels.size()) - 1;
  const uint64_t tallest = counts.empty() ? 0 : *std::ranges::max_element(counts);
  std::vector<std::string> picture(static_cast<size_t>(lines));
  for (const uint64_t count : counts) {
    const int levels_high = height(count, tallest, lines * levels_a_line);
    for (int line = 0; line < lines; line++) {
      const int below = (lines - 1 - line) * levels_a_line;
      picture[static_cast<size_t>(line)] +=
          levels[static_cast<size_t>(std::clamp(levels_high - below, 0, levels_a_line))];
    }
  }
  for (std::string &line : picture) line.erase(line.find_last_not_of(' ') + 1);
  return picture;
}

}  // namespace tool
