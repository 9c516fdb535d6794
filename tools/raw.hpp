// Files of bare pixels: the entry of the table of formats. What other files say in their heads stands in the
// word of the command line, which readers and writers take in place of a path:
//
//   raw:FILE:WxH[xN]:TYPE[xC][:BITS][:le|be][@OFFSET]
//
// TYPE is u8, u16, u32, u64, f32 or f64. N pictures (else as many as the file has) of W x H pixels of C
// components begin at byte OFFSET.
#pragma once

#include <string>

#include "format.hpp"

namespace tool {

extern const file_format raw_format;

constexpr std::string_view raw_mark = "raw:";
inline bool is_raw(const std::string &word) { return word.starts_with(raw_mark); }

struct raw_parts {
  std::string file, behind;
};
raw_parts parts_of_raw(const std::string &word);
void check_raw_form(const std::string &word);  // throws usage_error unless it tells one

}  // namespace tool
