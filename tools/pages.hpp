// The option --pages.
#pragma once

#include <cstdint>
#include <string>

#include "command.hpp"

namespace tool {

// Pages first to last, both counted from 0 and both included.
struct page_range {
  int64_t first, last;
  int64_t count() const { return last - first + 1; }
};

// What --pages asks for: "A-B", "A-" or "A", counted from 1; all `pages` without it.
page_range chosen_pages(const arguments &arguments, const std::string &file, int64_t pages);

constexpr option pages_option = {"--pages", "A-B",
                                 "only pages A to B, counted from 1; also A (one page) and A-"};

}  // namespace tool
