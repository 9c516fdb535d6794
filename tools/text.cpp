#include "text.hpp"

#include <algorithm>
#include <charconv>
#include <cstdarg>
#include <cstdio>

namespace tool {

namespace {

struct utf8_range {
  unsigned char first, last;  // of the leading byte
  size_t length;
  unsigned char low, high;  // of the second byte: neither overlong forms nor surrogates
};

constexpr utf8_range utf8_ranges[] = {
    {0x00, 0x7F, 1, 0, 0},       {0xC2, 0xDF, 2, 0x80, 0xBF}, {0xE0, 0xE0, 3, 0xA0, 0xBF},
    {0xE1, 0xEC, 3, 0x80, 0xBF}, {0xED, 0xED, 3, 0x80, 0x9F}, {0xEE, 0xEF, 3, 0x80, 0xBF},
    {0xF0, 0xF0, 4, 0x90, 0xBF}, {0xF1, 0xF3, 4, 0x80, 0xBF}, {0xF4, 0xF4, 4, 0x80, 0x8F}};

bool continues(std::string_view text, const utf8_range &range) {
  if (text.size() < range.length) return false;
  for (size_t i = 1; i < range.length; i++) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte < (i == 1 ? range.low : 0x80) || byte > (i == 1 ? range.high : 0xBF)) return false;
  }
  return true;
}

// C1 controls (U+0080 to U+009F) are controls to a terminal even when they come as UTF-8.
bool is_control(std::string_view character) {
  const auto byte = static_cast<unsigned char>(character[0]);
  if (character.size() == 1) return byte < 0x20 || byte == 0x7F;
  return character.size() == 2 && byte == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0;
}

std::string escaped(char character) {
  switch (character) {
    case '\n': return "\\n";
    case '\r': return "\\r";
    case '\t': return "\\t";
    default: return formatted("\\x%02X", static_cast<unsigned char>(character));
  }
}

}  // namespace

size_t utf8_length(std::string_view text) {
  if (text.empty()) return 0;
  const auto lead = static_cast<unsigned char>(text[0]);
  for (const utf8_range &range : utf8_ranges) {
    if (lead >= range.first && lead <= range.last) return continues(text, range) ? range.length : 0;
  }
  return 0;
}

std::string printable(std::string_view text) {
  std::string line;
  while (!text.empty()) {
    const size_t length = utf8_length(text);
    const std::string_view character = text.substr(0, length == 0 ? 1 : length);
    if (length != 0 && !is_control(character)) {
      line += character;
    } else {
      for (const char byte : character) line += escaped(byte);
    }
    text.remove_prefix(character.size());
  }
  return line;
}

template <class Number>
std::optional<std::vector<Number>> numbers(std::string_view text, char separator, Number least, Number most) {
  std::vector<Number> found;
  const char *at = text.data(), *const end = at + text.size();
  for (;;) {
    Number number = 0;
    const auto [stop, error] = std::from_chars(at, end, number);
    if (error != std::errc() || !(number >= least && number <= most)) return std::nullopt;
    found.push_back(number);
    if (stop == end) return found;
    if (*stop != separator) return std::nullopt;
    at = stop + 1;
  }
}

template std::optional<std::vector<int64_t>> numbers(std::string_view, char, int64_t, int64_t);
template std::optional<std::vector<double>> numbers(std::string_view, char, double, double);

std::string wrapped(std::string_view text, size_t indent) {
  constexpr size_t columns = 79;
  const std::string margin(indent, ' ');
  std::string lines;
  while (!text.empty()) {
    const size_t room = columns - indent;
    size_t end = text.size() <= room ? text.size() : text.rfind(' ', room);
    if (end == text.npos) end = text.size();
    lines.append(margin).append(text.substr(0, end)).append("\n");
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

std::string formatted(const char *pattern, ...) {
  va_list arguments, again;
  va_start(arguments, pattern);
  va_copy(again, arguments);
  std::string text(static_cast<size_t>(std::vsnprintf(nullptr, 0, pattern, arguments)), '\0');
  std::vsnprintf(text.data(), text.size() + 1, pattern, again);
  va_end(again);
  va_end(arguments);
  return text;
}

}  // namespace tool
