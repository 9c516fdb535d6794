// Pages gathered in scratch room as the planes of one image: where a format does not give them so, and where
// rows of compressed pages can be reached only through all rows before them, so that going from page to page
// with each row would unpack every page over and over.
#pragma once

#include <memory>
#include <string>

#include "document.hpp"
#include "pages.hpp"

namespace tool {

// `beside`: see scratch.
std::unique_ptr<volume> gathered(document &document, const page_range &pages, const std::string &beside);

}  // namespace tool
