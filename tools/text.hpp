// Text from files and command lines: made safe to show, and read as numbers.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

// Bytes of the UTF-8 character that `text` starts with; 0 when it starts with none.
size_t utf8_length(std::string_view text);

// The text on one line, without anything that a terminal would obey: control characters and bytes that are
// not UTF-8 become \n, \t, \xHH.
std::string printable(std::string_view text);

// "1,2,3": decimal numbers between `least` and `most` with `separator` between them, nothing else. For
// int64_t and double.
template <class Number>
std::optional<std::vector<Number>> numbers(std::string_view text, char separator, Number least, Number most);

// Broken into lines of at most 79 columns, each behind `indent` blanks and with a newline at its end.
std::string wrapped(std::string_view text, size_t indent);

// printf into a string.
[[gnu::format(printf, 1, 2)]] std::string formatted(const char *pattern, ...);

}  // namespace tool
