// Where convert writes: a file, the files of a numbered series, or the standard output. Nothing of it appears
// before all of it is written.
#pragma once

#include <memory>
#include <string>

#include "format.hpp"
#include "operand.hpp"

namespace tool {

// What finish() of the writer leaves is the whole output; without finish() nothing is left. `pages` are how
// many will be written.
std::unique_ptr<writer> open_output(const operand &out, const file_format &format, int64_t pages);

// Adds pages to a file: each becomes part of it when it is complete.
std::unique_ptr<writer> open_append(const operand &out, const file_format &format, int64_t pages);

}  // namespace tool
