// What someone wants to see, and what there is to be seen.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "levels.hpp"
#include "raster.hpp"
#include "view.hpp"

namespace tool::show {

// A rectangle of a page as it is stored.
struct region {
  int64_t x = 0, y = 0, width = 0, height = 0;
  bool operator==(const region &) const = default;
};

enum class level_rule {
  kept,       // those of the wish, whatever the page
  natural,    // the bits in use, or the smallest and largest floating-point number; kept for pages alike
  automatic,  // all but a part of the values at either end
  full        // all that the type holds
};

struct wish {
  uint64_t number = 0;  // larger for later ones
  size_t file = 0;
  int64_t page = 0;
  int component = all_components;
  look as = look::colours;
  orientation turned;
  tool::show::view view;
  bool fit = true;
  level_rule rule = level_rule::natural;
  tool::show::levels levels;
  qvimagedata levels_for = {};        // natural ones are kept for pages of this type and so many bits
  double left_out = 0;                // by automatic levels, at either end
  std::optional<region> levels_from;  // else from the page
  std::optional<size_t> beside;       // another file, the same place of which is wanted, too
  std::vector<uint32_t> reloads;      // of each file, how often it was to be read again
};

struct picture {
  wish wanted;       // the page, view and levels as they came to be
  std::string path;  // of the file that the page lies in
  int64_t pages = 1;
  qvimagedata data = {};  // of the values shown
  extent stored;          // the page's size
  int components = 1;
  bool has_palette = false;
  double frames_per_second = 0;  // 0: the file says nothing
  tool::show::view::cover cover;
  raster values, beside;
  bool finished = false;  // means are exact, and every row is there or cannot be read
  std::string remark;     // what is not shown, and why
};

}  // namespace tool::show
