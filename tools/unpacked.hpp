// Pages of a volume unpacked into scratch room: rows of compressed pages can be reached only through
// all rows before them, so that going from page to page with each row would unpack every page over and over.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "document.hpp"

namespace tool {

// The pixels of `packed`, seen as memory. `beside`: see scratch. `file` is the name for messages.
std::unique_ptr<volume> unpacked(volume &packed, const std::string &file, const std::string &beside);

}  // namespace tool
