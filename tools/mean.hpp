// The option --mean: the pages of a document as one page, the mean of them.
#pragma once

#include <memory>
#include <string>

#include "command.hpp"
#include "document.hpp"
#include "format.hpp"
#include "pages.hpp"

namespace tool {

// Compressed pages, and those of several files, are unpacked beside `out`. Pages that are not alike, and
// pixels that have no mean, are refused.
std::unique_ptr<page> mean_of(document &document, const page_range &pages, const std::string &out);

constexpr option mean_option = {"--mean", "", "the mean of the pages as one page, before other options"};

}  // namespace tool
